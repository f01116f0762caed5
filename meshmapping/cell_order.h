#pragma once

// Nodes in the order of a grid of cells, so that the nodes around one cell are found without a search.

#include "nodes.h"

#include <array>
#include <cstdint>
#include <vector>

namespace tav3d::meshmapping
{

/// A node of one of the three kinds that exchange values, and the cell that it lies in.
struct CellNode
{
    std::uint64_t key; // kind, z, y, x: the cells of a line along x have consecutive keys
    int node;
    int row; // what the user of the order wants to know of the node
};

/// Cells of equal edges. Cells are numbered from 1 along each axis, so that the neighbours of a cell have keys of the same form; a node that lies too
/// far out, or nowhere, or is of another kind, has no key (0).
class CellGrid
{
public:
    static constexpr std::uint64_t stepX = 1, stepY = stepX << 20, stepZ = stepY << 20, stepKind = stepZ << 20;

    /// `low`: the least coordinates of what is to have keys.
    CellGrid(const std::array<double, 3>& low, double edge)
        : low_(low)
        , perLength_(1.0 / edge)
    {
    }

    /// `margin`: cells by which the node must keep away from the last cells, so that its neighbours have keys too.
    [[nodiscard]] std::uint64_t keyOf(const NodePoints& points, const NodeKinds& kinds, int node, int margin) const noexcept
    {
        const unsigned part = kinds.part[node], partInsert = kinds.partInsert[node];
        if (part > 1 || partInsert > 1 || part + partInsert == 0)
            return 0;
        const double most = (1 << 20) - 4 - margin;
        const double x = (static_cast<double>(points.x[node]) - low_[0]) * perLength_;
        const double y = (static_cast<double>(points.y[node]) - low_[1]) * perLength_;
        const double z = (static_cast<double>(points.z[node]) - low_[2]) * perLength_;
        if (!(x >= -1.0 && x <= most && y >= -1.0 && y <= most && z >= -1.0 && z <= most))
            return 0;
        const auto cell = [](double c) { return static_cast<std::uint64_t>(c + 2.0); };
        return (part + 2 * partInsert) * stepKind + cell(z) * stepZ + cell(y) * stepY + cell(x);
    }

private:
    std::array<double, 3> low_;
    double perLength_;
};

/// Sorts by key, nodes of equal key as they stand: by digits, from the last to the first, those left out in which all keys agree.
inline void sortByKey(std::vector<CellNode>& nodes)
{
    constexpr int digitBits = 10;
    constexpr std::uint64_t digitMask = (1u << digitBits) - 1;
    std::uint64_t all = ~std::uint64_t{0}, any = 0;
    for (const CellNode& node : nodes)
    {
        all &= node.key;
        any |= node.key;
    }
    std::vector<CellNode> sorted(nodes.size());
    for (int shift = 0; shift < 64; shift += digitBits)
    {
        if (((all ^ any) >> shift & digitMask) == 0)
            continue;
        std::array<std::size_t, digitMask + 2> start{};
        for (const CellNode& node : nodes)
            ++start[(node.key >> shift & digitMask) + 1];
        for (std::size_t d = 1; d < start.size(); ++d)
            start[d] += start[d - 1];
        for (const CellNode& node : nodes)
            sorted[start[node.key >> shift & digitMask]++] = node;
        nodes.swap(sorted);
    }
}

} // namespace tav3d::meshmapping
