#include "interpolation/neighbour_sorting.h"

#include <algorithm>
#include <vector>

namespace tav3d::interpolation
{

CountedTable::CountedTable(std::span<const int> capacity)
    : rows_(std::make_unique<int*[]>(capacity.size()))
{
    std::size_t size = 0;
    for (const int room : capacity)
        size += static_cast<std::size_t>(room) + 1;
    int* next = addBlock(size);
    for (std::size_t row = 0; row < capacity.size(); ++row)
    {
        rows_[row] = next;
        next += capacity[row] + 1;
    }
}

CountedTable::CountedTable(int lastRow)
    : rows_(std::make_unique<int*[]>(static_cast<std::size_t>(lastRow) + 1))
{
}

int* CountedTable::addBlock(std::size_t size)
{
    blocks_.push_back(std::make_unique<int[]>(size));
    return blocks_.back().get();
}

void CountedTable::addRow(std::span<const int> items)
{
    constexpr std::size_t blockSize = 1 << 18;
    const std::size_t size = items.size() + 1;
    if (free_.size() < size)
        free_ = {addBlock(std::max(size, blockSize)), std::max(size, blockSize)};
    int* row = rows_[added_++] = free_.data();
    free_ = free_.subspan(size);
    row[0] = static_cast<int>(items.size());
    std::copy(items.begin(), items.end(), row + 1);
}

void selectNearest(const NumberedPoints& points, const Point& target, int k, int* out)
{
    // Entry 0 stands for "no point": it is picked, and then marked, when every distance is NaN or beyond all.
    const int n = std::max(points.count(), 0);
    std::vector<double> d(static_cast<std::size_t>(n) + 1);
    for (int i = 1; i <= n; ++i)
    {
        const Point p = points[i];
        const double dx = p.x - target.x;
        const double dy = p.y - target.y;
        const double dz = p.z - target.z;
        d[static_cast<std::size_t>(i)] = (dx * dx + dy * dy) + dz * dz;
    }

    for (int r = 1; r <= k; ++r)
    {
        double least = beyondAll;
        int nearest = 0;
        for (int i = 1; i <= n; ++i)
        {
            if (d[static_cast<std::size_t>(i)] < least)
            {
                least = d[static_cast<std::size_t>(i)];
                nearest = i;
            }
        }
        out[r] = nearest;
        // DELIBERATE sorting-finite-mark: finite, so that picked points come again when all others lie more than 1000 length units away.
        d[static_cast<std::size_t>(nearest)] = picked;
    }
}

CountedTable cellsAroundNodes(const NumberedSpan<int* const>& cellNode, int nodeCount, int lastRow)
{
    std::vector<int> capacity(static_cast<std::size_t>(std::max({nodeCount, lastRow, 0})) + 1);
    for (int c = 1; c <= cellNode.count(); ++c)
        for (const int node : listItems(cellNode[c]))
            ++capacity[static_cast<std::size_t>(node)];

    CountedTable table(capacity);
    for (int c = 1; c <= cellNode.count(); ++c)
        for (const int node : listItems(cellNode[c]))
            table.append(node, c);
    return table;
}

CountedTable nodesAroundNodesPlain(const NumberedSpan<int* const>& cellNode, int nodeCount, const CountedTable& cellsAround)
{
    const auto nodes = static_cast<std::size_t>(std::max(nodeCount, 0));
    std::vector<std::vector<int>> distinct(nodes + 1);
    std::vector<int> capacity(nodes + 1);
    for (std::size_t i = 1; i <= nodes; ++i)
    {
        std::vector<int>& row = distinct[i];
        for (const int c : listItems(cellsAround.rows()[i]))
        {
            const std::span<const int> items = listItems(cellNode[c]);
            row.insert(row.end(), items.begin(), items.end());
        }
        std::sort(row.begin(), row.end());
        row.erase(std::unique(row.begin(), row.end()), row.end());
        capacity[i] = static_cast<int>(row.size());
    }

    CountedTable table(capacity);
    for (std::size_t i = 1; i <= nodes; ++i)
        for (const int node : distinct[i])
            table.append(static_cast<int>(i), node);
    return table;
}

} // namespace tav3d::interpolation
