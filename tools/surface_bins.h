#pragma once

// Where line segments within grid cells cross surfaces.

#include "block_grid.h"

#include <span>

namespace tav3d::tools
{

/// The triangles of several surfaces, sorted by the grid cells that they may touch. Borrows the surfaces.
class SurfaceBins
{
public:
    /// `cells` are the cells to be asked for, ascending.
    SurfaceBins(const BlockGrid& grid, std::span<const TriangleMesh* const> surfaces, std::span<const std::int32_t> cells);

    struct Crossing
    {
        double t; // place on the segment, 0..1
        Vec3 normal;
    };

    /// Crossings of the segment p..q, which lies in cell number `slot` of `cells`, with one surface, ascending in t. Neighbouring triangles decide
    /// about their common edge in the same way, so that no crossing is lost or counted twice. The result is valid until the next call.
    std::span<const Crossing> crossings(std::size_t slot, int surface, Vec3 p, Vec3 q);

private:
    struct Entry
    {
        std::int32_t surface, triangle;
    };

    std::span<const TriangleMesh* const> surfaces_;
    std::vector<std::size_t> start_; // slot -> first entry
    std::vector<Entry> entries_;
    std::vector<Crossing> found_;
};

} // namespace tav3d::tools
