#pragma once

#include "interpolation/numbered.h"

#include <memory>
#include <span>
#include <vector>

namespace tav3d::interpolation
{

inline constexpr double beyondAll = 1.0e30; // squared distances from here on are never picked
inline constexpr double picked = 1.0e6;     // squared distance that a picked point has from then on

/// Table of counted lists, kept in few blocks, that can be handed out as the int** that the engine's members are.
class CountedTable
{
public:
    CountedTable() = default;

    /// Rows 0..capacity.size()-1; row i has room for capacity[i] items, and none yet.
    explicit CountedTable(std::span<const int> capacity);

    /// Rows 0..lastRow, to be added one after the other.
    explicit CountedTable(int lastRow);

    /// Adds the next row.
    void addRow(std::span<const int> items);

    void append(int row, int item)
    {
        int* list = rows_[row];
        list[++list[0]] = item;
    }

    [[nodiscard]] int** rows() const noexcept { return rows_.get(); }

private:
    int* addBlock(std::size_t size);

    std::unique_ptr<int*[]> rows_;
    std::vector<std::unique_ptr<int[]>> blocks_;
    std::size_t added_ = 0; // rows, and what is left of the last block
    std::span<int> free_;
};

/// Writes the numbers of the k nearest of the points to `target` into out[1..k], nearest first; out[0] is left alone. Scans all points k
/// times.
void selectNearest(const NumberedPoints& points, const Point& target, int k, int* out);

/// Row i: the cells that contain node i, ascending; a cell appears once for every time its row names the node. Rows 0..max(nodeCount,
/// lastRow); those that stand for no node are empty.
CountedTable cellsAroundNodes(const NumberedSpan<int* const>& cellNode, int nodeCount, int lastRow = 0);

/// Row i: all distinct nodes of the cells around node i (itself included), ascending. Rows 0..nodeCount, row 0 empty.
CountedTable nodesAroundNodes(const NumberedSpan<int* const>& cellNode, int nodeCount, const CountedTable& cellsAround);

/// The same, written plainly.
CountedTable nodesAroundNodesPlain(const NumberedSpan<int* const>& cellNode, int nodeCount, const CountedTable& cellsAround);

} // namespace tav3d::interpolation
