#pragma once

// The pick-up: one value per cut-cell node, taken from a voxel node.

#include "nodes.h"

namespace tav3d::meshmapping
{

/// The cut-cell nodes and where their values come from.
struct CutCellSources
{
    NumberedSpan<const int> voxelNode;     // the voxel node that the mapping engine found
    NumberedSpan<const int> region;        // 0 interior, 1 part surface, 2 part insert
    NodeKinds kinds;                       // of the cut-cell nodes
    const int* rowOfNode = nullptr;        // cut-cell node to its row of neighbours
    const int* const* neighbour = nullptr; // rows: entry 1 is the nearest voxel node of the node's own kind, 0 = none
};

/// How a value that must not be taken is told and replaced.
struct PickUpRules
{
    bool neighbours = false; // nodes on a surface take the value of their nearest voxel node of their own kind
    bool substitute = false; // nodes without a valid value get `substituteValue`
    float substituteValue = 0.0f;
};

/// By which rule a cut-cell node gets its value.
enum class PickUpRule
{
    AssignedNode,  // the value of the voxel node that the mapping engine found
    NearestOfKind, // the value of the nearest voxel node of its own kind
    WrongKind,     // the substitute, because the assigned voxel node is off the cut-cell node's surface
    OutOfRange,    // the assigned voxel node lies beyond the voxel values: the substitute, or nothing at all
};

struct PickUp
{
    PickUpRule rule;
    int voxelNode; // whose value is taken, under the first two rules; 0 = entry 0 of the voxel values
};

/// The rule for one cut-cell node, and the voxel node that it leads to.
[[nodiscard]] PickUp pickUpOf(const CutCellSources& cutCell, const NodeKinds& voxelKinds, const PickUpRules& rules, int voxelValueTotal,
                              int cutCellNode);

/// Fills `cutCellValue` and widens [min, max] by every voxel value that is picked up. Nodes whose voxel node lies beyond the
/// voxel values keep what `cutCellValue` holds, or get the substitute, and leave the range alone.
///   voxelKinds  marks of the voxel nodes, read only with both rules on
///   voxelValue  entry 0 is what a node with neighbour 0 gets
void pickUpNodeValues(const CutCellSources& cutCell, const NodeKinds& voxelKinds, const PickUpRules& rules,
                      NumberedSpan<const float> voxelValue, NumberedSpan<float> cutCellValue, float& max, float& min);

} // namespace tav3d::meshmapping
