#pragma once

// What a mapping run must produce, worked out from the model in memory by the shortest way.

#include "opensuite/mesh_model.h"

#include <vector>

namespace tav3d::test
{

/// An item of a voxel result. Entry 0 of the arrays is not used.
struct VoxelItem
{
    int number = 0;
    int type = 1;
    std::vector<float> value; // one per voxel node
    float recordedMax = 0.0f;
    float recordedMin = 0.0f;
};

struct MappingRun
{
    int fileType = 0; // 0 .q7f, 1 .q7p, 2 .q7c, 3 .rsc, 4 .q7hc, 6 .rsf
    int mode = 0;
    int partInsertMode = 0;
    bool smooth = false;
};

/// An item of the mapped result.
struct MappedItem
{
    bool keepsVoxelLayout = false;
    bool throughMap = false;  // stored for some nodes only
    std::vector<float> value; // one per cut-cell node (voxel node with keepsVoxelLayout); nodes outside of the map have 0
    float max = 0.0f;
    float min = 0.0f;
};

std::vector<MappedItem> mappedReference(const opensuite::MeshModel& model, const std::vector<VoxelItem>& items, const MappingRun& run);

} // namespace tav3d::test
