#pragma once

#include "common/large_pages.h"
#include "interpolation/numbered.h"

#include <cstdint>
#include <span>

namespace tav3d::interpolation
{

/// Where the nodes of cells 1..count are; borrowed. Two of them are equal when they look at the same arrays.
struct CellNodes
{
    const int* const* rows = nullptr; // counted lists; null: no cell has a box
    const double* x = nullptr;
    const double* y = nullptr;
    const double* z = nullptr;
    std::int32_t count = 0;

    friend bool operator==(const CellNodes&, const CellNodes&) = default;
};

/// The box around a cell's nodes, and what it is the cell of, in one line of the processor's caches.
struct alignas(64) CellBox
{
    double low[3];
    double high[3];
    std::int32_t cell;

    /// Bounds included; false where the point or a bound is not a number.
    [[nodiscard]] bool holds(const Point& p) const
    {
        return low[0] <= p.x && p.x <= high[0] && low[1] <= p.y && p.y <= high[1] && low[2] <= p.z && p.z <= high[2];
    }
};

/// The box of cell 1 or above; one that holds nothing for a cell above count, without rows and for a cell without nodes. The first node makes
/// the box and the others widen it: a first node that is not a number leaves it so, another one does not count.
CellBox boxOf(const CellNodes& nodes, std::int32_t cell);

/// The boxes of the listed cells, in their order. Cells without a row are taken for cells without nodes.
common::LargePageVector<CellBox> boxesOf(const CellNodes& nodes, std::span<const std::int32_t> cells);

} // namespace tav3d::interpolation
