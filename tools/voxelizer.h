#pragma once

// Which points of a regular lattice lie inside a closed surface.

#include "triangle_mesh.h"

namespace tav3d::tools
{

/// Points first + step * (i, j, k) with 0 <= i < count[0] etc., stored with i running fastest.
struct Lattice
{
    Vec3 first;
    double step = 1;
    std::array<std::int32_t, 3> count{};

    [[nodiscard]] std::size_t size() const noexcept { return std::size_t(count[0]) * count[1] * count[2]; }
    [[nodiscard]] std::size_t index(std::int32_t i, std::int32_t j, std::int32_t k) const noexcept
    {
        return (std::size_t(k) * count[1] + j) * count[0] + i;
    }
    [[nodiscard]] Vec3 point(std::int32_t i, std::int32_t j, std::int32_t k) const noexcept
    {
        return {first.x + step * i, first.y + step * j, first.z + step * k};
    }
};

struct Fill
{
    std::vector<std::uint8_t> inside; // 1 = inside, one entry per lattice point
    std::size_t insideTotal = 0;
    std::size_t disputed = 0; // points on which the three axes do not agree: 0 for a closed surface
};

/// Ray-parity fill: along each axis a lattice point is inside when an odd number of triangles lies before it on its line; the majority of the three
/// axes decides, so that a hole, which spoils the lines through it, is outvoted by the other two axes.
/// A lattice line must not run exactly within the surface: callers shift the lattice by a tiny part of the step. O(triangles + crossings + points).
Fill fill(const TriangleMesh& mesh, const Lattice& lattice);

} // namespace tav3d::tools
