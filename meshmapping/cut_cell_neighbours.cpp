#include "cut_cell_neighbours.h"

#include "TAVOptKer.h"

#include <cmath>
#include <vector>

namespace tav3d::meshmapping
{
namespace
{

/// The voxel nodes of one kind in a cube around a point, with their squared distances from it.
void collectMatches(const VoxelTarget& voxel, unsigned char part, unsigned char partInsert, double x, double y, double z, double halfWidth,
                    std::vector<DistantNode>& match)
{
    match.clear();
    int total = 0;
    const int* compact =
        voxel.tree->SearchNearBlockID(x - halfWidth, y - halfWidth, z - halfWidth, x + halfWidth, y + halfWidth, z + halfWidth, total, 0);
    for (int k = 0; k < total; ++k)
    {
        const int node = voxel.nodeOfCompact[compact[k]];
        if (voxel.kinds.part[node] == part && voxel.kinds.partInsert[node] == partInsert)
            match.push_back({squaredDistance(voxel.points, node, x, y, z), node});
    }
}

/// Fills one row. Half-widths of the cubes: 2·e·1.5^t for t = 0..9, e the voxel element length in single precision.
void findNearest(const VoxelTarget& voxel, unsigned char part, unsigned char partInsert, double x, double y, double z,
                 std::vector<DistantNode>& match, int* row)
{
    const double elementLength = static_cast<double>(std::sqrt(voxel.elementLengthSquared));
    double growth = 1.0; // 1.5^t, exact
    for (int attempt = 0; attempt < 10; ++attempt, growth *= 1.5)
    {
        collectMatches(voxel, part, partInsert, x, y, z, elementLength * growth * 2.0, match);
        if (match.size() < static_cast<std::size_t>(cutCellNeighbourTotal))
            continue;
        // DELIBERATE cut-cell-first-cube: the nearest ten of this cube. A node just beyond a face of the cube may be nearer than one
        // in its corner, and is not looked for.
        std::partial_sort(match.begin(), match.begin() + cutCellNeighbourTotal, match.end(), isNearer);
        for (int k = 0; k < cutCellNeighbourTotal; ++k)
            row[k + 1] = match[static_cast<std::size_t>(k)].node;
        return;
    }
}

} // namespace

CutCellNeighbours findCutCellNeighbours(const NodePoints& points, const NodeKinds& kinds, const VoxelTarget& voxel, int rowTotal)
{
    const int nodeTotal = kinds.part.count();
    CutCellNeighbours rows{makeNumbered<int>(nodeTotal), RowTable<int>(rowTotal, cutCellNeighbourTotal + 1)};
    std::vector<DistantNode> match;
    int row = 0;
    for (int node = 1; node <= nodeTotal; ++node)
    {
        if (!kinds.onSurface(node))
            continue;
        rows.rowOfNode[node] = ++row;
        if (voxel.tree)
            findNearest(voxel, kinds.part[node], kinds.partInsert[node], points.x[node], points.y[node], points.z[node], match,
                        rows.neighbour[row]);
    }
    return rows;
}

} // namespace tav3d::meshmapping
