#pragma once

// What the plain and the fast cut-cell search share: the search for one node, cube by cube.

#include "cut_cell_neighbours.h"

#include <vector>

namespace tav3d::meshmapping
{

/// Points stand in the tree as boxes of this half-width.
inline constexpr double treePointHalfWidth = 1.0e-6;

/// Half-width of the cube of attempt t = 0..9: 2·e·1.5^t, e the voxel element length in single precision.
[[nodiscard]] double cubeHalfWidth(const VoxelTarget& voxel, int attempt);

/// The search as it is written down.
class PlainCutCellSearch
{
public:
    PlainCutCellSearch(const NodePoints& points, const NodeKinds& kinds, const VoxelTarget& voxel)
        : points_(points)
        , kinds_(kinds)
        , voxel_(voxel)
    {
    }

    /// Fills the row of a cut-cell node, beginning with attempt `first`; leaves it when no attempt succeeds.
    void find(int node, int first, int* row);

private:
    void collectMatches(int node, double halfWidth);

    NodePoints points_;
    NodeKinds kinds_;
    VoxelTarget voxel_;
    std::vector<DistantNode> match_;
};

} // namespace tav3d::meshmapping
