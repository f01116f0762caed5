#include "interpolation/cell_reduction.h"

#include "interpolation/numbered.h"

#include <algorithm>
#include <utility>

namespace tav3d::interpolation
{

namespace
{

constexpr int hexaNodes = 8;

double middleOf(const std::vector<double>& values)
{
    const auto [low, high] = std::minmax_element(values.begin(), values.end());
    return (*low + *high) / 2;
}

/// Whether a lies farther out than b on the given side.
bool isMoreExtreme(double a, double b, bool upperSide)
{
    return upperSide ? a > b : a < b;
}

CSolCellCorner gather(std::span<const int> nodes, const double* nodeX, const double* nodeY, const double* nodeZ)
{
    CSolCellCorner cell;
    for (const int node : nodes)
    {
        cell.node.push_back(node);
        cell.x.push_back(nodeX[node]);
        cell.y.push_back(nodeY[node]);
        cell.z.push_back(nodeZ[node]);
    }
    return cell;
}

} // namespace

std::array<std::size_t, 8> ReduceCellToHexa(const CSolCellCorner& cell)
{
    const double cx = middleOf(cell.x);
    const double cy = middleOf(cell.y);
    const double cz = middleOf(cell.z);

    // A node on a centre plane lies on the lower side. Every octant starts from position 0, wherever that node lies.
    std::array<std::size_t, 8> corner{};
    for (std::size_t j = 0; j < cell.node.size(); ++j)
    {
        const bool upperX = cell.x[j] > cx;
        const bool upperY = cell.y[j] > cy;
        const bool upperZ = cell.z[j] > cz;
        std::size_t& best = corner[(upperX ? 1 : 0) + (upperY ? 2 : 0) + (upperZ ? 4 : 0)];
        // Each comparison is against the corner as the one before left it: once j is the corner, the later ones change nothing.
        if (isMoreExtreme(cell.x[j], cell.x[best], upperX))
            best = j;
        if (isMoreExtreme(cell.y[j], cell.y[best], upperY))
            best = j;
        if (isMoreExtreme(cell.z[j], cell.z[best], upperZ))
            best = j;
    }

    // From octant order to running round each face.
    std::swap(corner[2], corner[3]);
    std::swap(corner[6], corner[7]);
    return corner;
}

void reduceCellsToHexa(int** cellNode, int cellCount, const double* nodeX, const double* nodeY, const double* nodeZ)
{
    const std::span<int*> rows = itemsOf(cellNode, cellCount);
    if (std::none_of(rows.begin(), rows.end(), [](const int* row) { return row[0] > hexaNodes; }))
        return;
    // DELIBERATE reduce-rewrites-rows: the host's own table changes, and 8-node rows are re-ordered along with the larger ones.
    for (int* row : rows)
    {
        if (row[0] < hexaNodes)
            continue;
        const CSolCellCorner cell = gather(listItems(row), nodeX, nodeY, nodeZ);
        const std::array<std::size_t, 8> corner = ReduceCellToHexa(cell);
        row[0] = hexaNodes;
        for (std::size_t k = 0; k < corner.size(); ++k)
            row[k + 1] = cell.node[corner[k]];
    }
}

} // namespace tav3d::interpolation
