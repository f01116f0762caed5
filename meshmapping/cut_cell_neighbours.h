#pragma once

// The cut-cell search: for every cut-cell node on the part's surface, the ten nearest voxel nodes of the same kind.

#include "nodes.h"

class CTAVOptKer;

namespace tav3d::meshmapping
{

/// The voxel nodes that can be found.
struct VoxelTarget
{
    NodePoints points;
    NodeKinds kinds;
    NumberedSpan<const int> nodeOfCompact; // number in the tree to voxel node
    CTAVOptKer* tree = nullptr;            // borrowed; null: nothing is found
    float elementLengthSquared = 0.0f;
};

/// One row per cut-cell node on a surface, numbered 1, 2, ... in ascending node order.
struct CutCellNeighbours
{
    std::unique_ptr<int[]> rowOfNode; // per cut-cell node: its row, 0 = none
    RowTable<int> neighbour;          // entries 1..10: voxel nodes, nearest first; all 0 when no search succeeded
};

inline constexpr int cutCellNeighbourTotal = 10;

/// Finds the rows. `rowTotal`: rows to make, row 0 not counted; at least the number of cut-cell nodes on a surface.
[[nodiscard]] CutCellNeighbours findCutCellNeighbours(const NodePoints& points, const NodeKinds& kinds, const VoxelTarget& voxel,
                                                      int rowTotal);

/// The same by the plain form, to compare with.
[[nodiscard]] CutCellNeighbours findCutCellNeighboursPlain(const NodePoints& points, const NodeKinds& kinds, const VoxelTarget& voxel,
                                                           int rowTotal);

} // namespace tav3d::meshmapping
