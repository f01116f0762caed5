#include "cut_cell_search.h"

#include "TAVOptKer.h"

#include <cmath>

// The plain form: what the search does, written down; cut_cell_neighbours_fast.cpp does the same in a fraction of the time.

namespace tav3d::meshmapping
{

double cubeHalfWidth(const VoxelTarget& voxel, int attempt)
{
    double growth = 1.0; // 1.5^t, exact
    for (int t = 0; t < attempt; ++t)
        growth *= 1.5;
    return static_cast<double>(std::sqrt(voxel.elementLengthSquared)) * growth * 2.0;
}

/// The voxel nodes of the node's kind in a cube around it, with their squared distances from it.
void PlainCutCellSearch::collectMatches(int node, double halfWidth)
{
    match_.clear();
    const double x = points_.x[node], y = points_.y[node], z = points_.z[node];
    int total = 0;
    const int* compact =
        voxel_.tree->SearchNearBlockID(x - halfWidth, y - halfWidth, z - halfWidth, x + halfWidth, y + halfWidth, z + halfWidth, total, 0);
    for (int k = 0; k < total; ++k)
    {
        const int found = voxel_.nodeOfCompact[compact[k]];
        if (voxel_.kinds.part[found] == kinds_.part[node] && voxel_.kinds.partInsert[found] == kinds_.partInsert[node])
            match_.push_back({squaredDistance(voxel_.points, found, x, y, z), found});
    }
}

void PlainCutCellSearch::find(int node, int first, int* row)
{
    if (!voxel_.tree)
        return;
    for (int attempt = first; attempt < 10; ++attempt)
    {
        collectMatches(node, cubeHalfWidth(voxel_, attempt));
        if (match_.size() < static_cast<std::size_t>(cutCellNeighbourTotal))
            continue;
        // DELIBERATE cut-cell-first-cube: the nearest ten of this cube. A node just beyond a face of the cube may be nearer than one
        // in its corner, and is not looked for.
        std::sort(match_.begin(), match_.end(), isNearer);
        for (int k = 0; k < cutCellNeighbourTotal; ++k)
            row[k + 1] = match_[static_cast<std::size_t>(k)].node;
        return;
    }
}

CutCellNeighbours findCutCellNeighboursPlain(const NodePoints& points, const NodeKinds& kinds, const VoxelTarget& voxel, int rowTotal)
{
    const int nodeTotal = kinds.part.count();
    CutCellNeighbours rows{makeNumbered<int>(nodeTotal), RowTable<int>(rowTotal, cutCellNeighbourTotal + 1)};
    PlainCutCellSearch search(points, kinds, voxel);
    int row = 0;
    for (int node = 1; node <= nodeTotal; ++node)
    {
        if (!kinds.onSurface(node))
            continue;
        rows.rowOfNode[node] = ++row;
        search.find(node, 0, rows.neighbour[row]);
    }
    return rows;
}

} // namespace tav3d::meshmapping
