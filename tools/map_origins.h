#pragma once

// Which nodes belong to which region of a model, and how cut-cell nodes get their values: what the facts about all items of a mapping share.

#include "mapping_report.h"

#include <array>
#include <cstdint>
#include <span>
#include <vector>

class CTav3dMeshMappingArrary;

namespace tav3d::tools
{

inline constexpr std::array allRegions{Region::all, Region::partSurface, Region::partInsertSurface, Region::plasticInside,
                                       Region::moldBase};

/// The nodes of each region in both meshes, indexed by Region; ascending.
struct RegionNodes
{
    std::array<std::vector<std::int32_t>, allRegions.size()> voxel;
    std::array<std::vector<std::int32_t>, allRegions.size()> cutCell;
};

[[nodiscard]] RegionNodes regionNodesOf(const CTav3dMeshMappingArrary& model);

/// How cut-cell nodes get their values in a file of one kind from items of one length; entry 0 stays unused.
struct ValueSources
{
    std::vector<ValueRule> rule;
    std::vector<double> distance;       // to the voxel node whose value was taken; negative when there was none
    std::vector<std::uint8_t> replaced; // 1 = the recorded minimum stands in its place
};

/// For items of `voxelValueTotal` values in a file of kind `fileType` (resultmapping::file_type).
[[nodiscard]] ValueSources valueSourcesOf(const CTav3dMeshMappingArrary& model, int fileType, int voxelValueTotal);

/// Where the values of `nodes` come from, of those that are stored: all of them when `stored` is empty, else those marked there.
[[nodiscard]] ValueOrigin originOf(const ValueSources& sources, std::span<const std::int32_t> nodes, std::span<const char> stored,
                                   double cellSize);

} // namespace tav3d::tools
