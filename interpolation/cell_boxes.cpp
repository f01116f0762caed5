#include "interpolation/cell_boxes.h"

#include <algorithm>
#include <limits>
#include <vector>

namespace tav3d::interpolation
{

namespace
{

void widen(std::span<const int> nodes, const double* coordinate, double& low, double& high)
{
    low = high = coordinate[nodes.front()];
    for (const int node : nodes.subspan(1))
    {
        low = std::min(low, coordinate[node]);
        high = std::max(high, coordinate[node]);
    }
}

} // namespace

CellBox boxOf(const CellNodes& nodes, std::int32_t cell)
{
    constexpr double infinity = std::numeric_limits<double>::infinity();
    CellBox box{{infinity, infinity, infinity}, {-infinity, -infinity, -infinity}, cell};
    if (cell > nodes.count || nodes.rows == nullptr || nodes.rows[cell][0] <= 0)
        return box;
    const std::span<const int> items = listItems(nodes.rows[cell]);
    widen(items, nodes.x, box.low[0], box.high[0]);
    widen(items, nodes.y, box.low[1], box.high[1]);
    widen(items, nodes.z, box.low[2], box.high[2]);
    return box;
}

// The cells are gone through by number, which is the order of the mesh: neighbours share nodes. Only the boxes are written here and there.
common::LargePageVector<CellBox> boxesOf(const CellNodes& nodes, std::span<const std::int32_t> cells)
{
    common::LargePageVector<CellBox> boxes(cells.size());
    const std::int32_t last = cells.empty() ? 0 : *std::max_element(cells.begin(), cells.end());
    std::vector<std::int32_t> placeOf(static_cast<std::size_t>(last) + 1, -1);
    for (std::size_t place = 0; place < cells.size(); ++place)
        placeOf[static_cast<std::size_t>(cells[place])] = static_cast<std::int32_t>(place);
    for (std::int32_t cell = 1; cell <= last; ++cell)
    {
        const std::int32_t place = placeOf[static_cast<std::size_t>(cell)];
        if (place < 0)
            continue;
        const bool hasRow = cell > nodes.count || nodes.rows == nullptr || nodes.rows[cell] != nullptr;
        boxes[static_cast<std::size_t>(place)] = boxOf(hasRow ? nodes : CellNodes{}, cell);
    }
    return boxes;
}

} // namespace tav3d::interpolation
