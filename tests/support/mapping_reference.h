#pragma once

// What the mesh mapping must find in a model, worked out from the model in memory by the shortest way: sets, maps and scans over all nodes.

#include "opensuite/mesh_model.h"

#include <array>
#include <utility>
#include <vector>

namespace tav3d::test
{

/// Arrays have an entry 0 that stays zero.
struct VoxelReference
{
    int nodeTotal = 0;
    std::vector<float> x, y, z;
    std::vector<int> plastic, part, insert, fixed; // marks
    std::vector<int> compact;                      // compact numbers
    int surfaceNodeTotal = 0, insertNodeTotal = 0;
    float elementLengthSquared = 0.0f;
    std::vector<std::array<int, 4>> facet;       // surface facets that count, from entry 1
    std::vector<std::array<int, 4>> insertFacet; // interface facets, from entry 1
    std::vector<std::vector<int>> facetsOfNode;  // at most nine
};
VoxelReference voxelReference(const opensuite::MeshModel& model);

struct CutCellReference
{
    int nodeTotal = 0;
    std::vector<float> x, y, z;
    std::vector<int> plastic, moldBase, part, insert, region;
    int surfaceNodeTotal = 0, insertNodeTotal = 0;
    std::vector<int> reported; // nodes that join the mould base because they are on the insert's interface
};
CutCellReference cutCellReference(const opensuite::MeshModel& model, bool ignoreInsert);

/// A row of the Gauss search.
struct GaussRowReference
{
    std::vector<int> node;
    std::vector<float> weight;
    float self = 1.0f;
};
bool hasGaussRow(const VoxelReference& voxel, int node);
GaussRowReference gaussRowReference(const VoxelReference& voxel, int node);

/// A row of the cut-cell search: ten nodes, or ten zeros.
bool hasCutCellRow(const CutCellReference& cutCell, int node);
std::array<int, 10> cutCellRowReference(const VoxelReference& voxel, const CutCellReference& cutCell, int node);

/// One result item through smoothing (with Gauss rows) and pick-up.
std::vector<float> smoothedReference(const VoxelReference& voxel, std::vector<float> value);

} // namespace tav3d::test
