#pragma once

// The grid of cubes over a part and the mould block around it.

#include "voxelizer.h"

namespace tav3d::tools
{

/// Grid of cells[0] × cells[1] × cells[2] cubes. Nodes and cells are numbered from 0, x running fastest; corner c of a cell (0..7) lies at the high
/// side in x, y, z where bit 0, 1, 2 of c is set.
struct BlockGrid
{
    Vec3 origin;
    double cellSize = 1;
    std::array<std::int32_t, 3> cells{};

    [[nodiscard]] Lattice nodes() const noexcept { return {origin, cellSize, {cells[0] + 1, cells[1] + 1, cells[2] + 1}}; }
    [[nodiscard]] Lattice centres() const noexcept { return {origin + 0.5 * Vec3{cellSize, cellSize, cellSize}, cellSize, cells}; }
    [[nodiscard]] std::size_t cellTotal() const noexcept { return centres().size(); }
    [[nodiscard]] std::size_t nodeTotal() const noexcept { return nodes().size(); }
    [[nodiscard]] std::size_t cellIndex(std::int32_t i, std::int32_t j, std::int32_t k) const noexcept
    {
        return (std::size_t(k) * cells[1] + j) * cells[0] + i;
    }
    [[nodiscard]] std::array<std::int32_t, 3> cellAt(std::size_t index) const noexcept
    {
        const auto row = static_cast<std::int32_t>(index / cells[0]);
        return {static_cast<std::int32_t>(index % cells[0]), row % cells[1], row / cells[1]};
    }
    /// Steps from node (i, j, k) to its neighbours along the axes.
    [[nodiscard]] std::array<std::int32_t, 3> nodeStride() const noexcept { return {1, cells[0] + 1, (cells[0] + 1) * (cells[1] + 1)}; }
    /// The eight nodes of a cell, in corner order.
    [[nodiscard]] std::array<std::int32_t, 8> cornerNodes(std::int32_t i, std::int32_t j, std::int32_t k) const noexcept
    {
        const auto stride = nodeStride();
        const std::int32_t first = i + j * stride[1] + k * stride[2];
        std::array<std::int32_t, 8> node{};
        for (int c = 0; c < 8; ++c)
        {
            node[c] = first + (c & 1) * stride[0] + (c >> 1 & 1) * stride[1] + (c >> 2) * stride[2];
        }
        return node;
    }
};

/// Corners of a cell in the node order of a hexahedron.
inline constexpr std::array<int, 8> hexahedronCorners{0, 1, 3, 2, 4, 5, 7, 6};

/// Lattice lines must not run within faces of the part, which often lie exactly on grid planes. All sampling therefore happens in a grid that is
/// shifted by this vector, far below any tolerance and different for each axis.
inline Vec3 samplingShift(double cellSize)
{
    return cellSize * Vec3{1.3e-5, 0.7e-5, 1.1e-5};
}

} // namespace tav3d::tools
