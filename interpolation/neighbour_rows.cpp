// The nodes around every node, one row after the other: a stamp per node tells whether the row has it already, and short rows are sorted without
// a branch to mispredict.

#include "interpolation/neighbour_sorting.h"

#include <algorithm>
#include <array>

namespace tav3d::interpolation
{

namespace
{

/// Writes distinct items to `sorted` in ascending order. Each goes where the number of lesser ones says; for few items that beats a sort,
/// since all comparisons can be made side by side.
void sortDistinct(std::span<const int> items, int* sorted)
{
    constexpr std::size_t few = 40;
    if (items.size() > few)
    {
        std::copy(items.begin(), items.end(), sorted);
        std::sort(sorted, sorted + items.size());
        return;
    }
    for (const int item : items)
    {
        int lesser = 0;
        for (const int other : items)
            lesser += other < item ? 1 : 0;
        sorted[lesser] = item;
    }
}

} // namespace

CountedTable nodesAroundNodes(const NumberedSpan<int* const>& cellNode, int nodeCount, const CountedTable& cellsAround)
{
    const int lastRow = std::max(nodeCount, 0);
    CountedTable table(lastRow);
    table.addRow({});
    std::vector<int> stamp(static_cast<std::size_t>(lastRow) + 1); // by node: the last row that has it
    std::vector<int> distinct(stamp.size());
    std::vector<int> sorted;
    for (int i = 1; i <= lastRow; ++i)
    {
        std::size_t count = 0;
        for (const int c : listItems(cellsAround.rows()[i]))
            for (const int node : listItems(cellNode[c]))
            {
                // Written in any case, and passed over only if new.
                int& last = stamp[static_cast<std::size_t>(node)];
                distinct[count] = node;
                count += last != i ? 1 : 0;
                last = i;
            }
        sorted.resize(std::max(sorted.size(), count));
        sortDistinct(std::span(distinct).first(count), sorted.data());
        table.addRow(std::span(sorted).first(count));
    }
    return table;
}

} // namespace tav3d::interpolation
