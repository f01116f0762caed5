#pragma once

// Names and numbers of the result file's layout, shared by its reader and its writer. docs/file-formats.md draws the whole tree.

#include <cstdint>
#include <span>
#include <string>

struct CBinaryResultItem;

namespace tav3d::opensuite::result_layout
{

inline constexpr std::int32_t formatVersion = 1;

// /Results                        CGNSBase_t
//   TavResult                     UserDefinedData_t, everything but the values
//   Voxel | CutCell               Zone_t, the mesh that the results stand on
//     NodeResults                 FlowSolution_t, one array per item with a value at every node
//     ResultType <t>              UserDefinedData_t, the items of a type with an ID map, and its node numbers
//     OtherLayout                 UserDefinedData_t, items whose length is not the zone's node count
inline constexpr const char* base = "Results";
inline constexpr const char* description = "TavResult";
inline constexpr const char* voxelZone = "Voxel";
inline constexpr const char* cutCellZone = "CutCell";
inline constexpr const char* solution = "NodeResults";
inline constexpr const char* otherLayout = "OtherLayout";
inline constexpr const char* nodeNumber = "NodeNumber";

// Children of the description.
inline constexpr const char* version = "FormatVersion";
inline constexpr const char* title = "Title";
inline constexpr const char* meshFile = "MeshFile";
inline constexpr const char* fillingTime = "FillingTime";
inline constexpr const char* nodeCounts = "NodeCounts"; // voxel mesh, cut-cell mesh, part in the mesh that the results stand on
inline constexpr const char* outputTimes = "OutputTimes";
inline constexpr const char* timeStepMode = "MultipleTimeStepMode";
inline constexpr const char* venting = "HasVentingResult";
inline constexpr const char* cooling = "Cooling";
inline constexpr const char* items = "Items";
inline constexpr const char* types = "ResultTypes";

// Columns of the tables.
inline constexpr const char* names = "Names";
inline constexpr const char* units = "Units";
inline constexpr const char* values = "Values";
inline constexpr const char* arrays = "Arrays";
inline constexpr const char* number = "Number";
inline constexpr const char* resultType = "ResultType";
inline constexpr const char* maximum = "Maximum";
inline constexpr const char* minimum = "Minimum";
inline constexpr const char* storage = "Storage";
inline constexpr const char* dimension = "Dimension";
inline constexpr const char* usesIDMap = "UsesIDMap";

// CGNS labels.
inline constexpr const char* labelBase = "CGNSBase_t";
inline constexpr const char* labelZone = "Zone_t";
inline constexpr const char* labelZoneType = "ZoneType_t";
inline constexpr const char* labelSolution = "FlowSolution_t";
inline constexpr const char* labelLocation = "GridLocation_t";
inline constexpr const char* labelArray = "DataArray_t";
inline constexpr const char* labelText = "Descriptor_t";
inline constexpr const char* labelOwn = "UserDefinedData_t";

/// Where the values of an item stand.
enum class Storage : std::int32_t
{
    None = 0,        // nowhere: its type has an ID map without nodes
    NodeField = 1,   // in the solution, one value per node
    IDMap = 2,       // beside the ID map of its type
    OtherLayout = 3, // by itself, with a length of its own
};

[[nodiscard]] inline std::string mapGroup(int type)
{
    return "ResultType " + std::to_string(type);
}

/// How messages call an item and a result type.
[[nodiscard]] inline std::string itemText(int item)
{
    return "item " + std::to_string(item);
}

[[nodiscard]] inline std::string typeText(int type)
{
    return "result type " + std::to_string(type);
}

/// The array of an item: its name, as far as 32 characters allow, and its number, which makes it unique: "Temperature (6)".
[[nodiscard]] std::string arrayName(const CBinaryResultItem& item);

/// The first of the entries 1.. of an ID map that is not above the one before it, or the first of all not above 0, or is beyond `nodeTotal`; 0 when all
/// are good.
[[nodiscard]] std::size_t firstMisfit(std::span<const std::int32_t> id, std::int32_t nodeTotal);

} // namespace tav3d::opensuite::result_layout
