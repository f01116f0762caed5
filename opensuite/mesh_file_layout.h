#pragma once

// Names and numbers of the mesh file, for its writer and its readers. docs/file-formats.md shows the whole tree.

#include "mesh_model.h"

#include <cstdint>
#include <limits>
#include <string>

namespace tav3d::opensuite::mesh_layout
{

inline constexpr std::int32_t formatVersion = 1;

inline const std::string base = "/Base";
inline const std::string description = "/Base/MeshFile"; // what makes a CGNS file a mesh file
inline constexpr const char* voxelZone = "Voxel";
inline constexpr const char* cutCellZone = "CutCell";

// Sections of a zone, in the order in which their elements are numbered. A section without elements is not there.
inline constexpr const char* plastic = "Plastic";
inline constexpr const char* moldBase = "MoldBase";
inline constexpr const char* surface = "Surface";
inline constexpr const char* partInsert = "PartInsert";

inline constexpr const char* partInterfaces = "PartInterfaces";
inline constexpr const char* partInsertInterfaces = "PartInsertInterfaces";

// Element types of CGNS.
inline constexpr std::int32_t quad4 = 7;
inline constexpr std::int32_t mixed = 20;

constexpr std::int32_t elementType(CellKind kind) noexcept
{
    constexpr std::int32_t types[] = {10, 12, 14, 17};
    return types[static_cast<int>(kind)];
}

/// The cell kind of an element type; false when it is none of ours.
constexpr bool cellKindOf(std::int32_t type, CellKind& kind) noexcept
{
    switch (type)
    {
    case 10:
        kind = CellKind::Tetra4;
        return true;
    case 12:
        kind = CellKind::Pyramid5;
        return true;
    case 14:
        kind = CellKind::Prism6;
        return true;
    case 17:
        kind = CellKind::Hexa8;
        return true;
    default:
        return false;
    }
}

/// Numbers in the file are 32-bit, and so are the counts.
inline constexpr std::int64_t maxCount = std::numeric_limits<std::int32_t>::max();

/// A coordinate in mesh length units, as every reader of the suite forms it.
inline float scaled(float coordinate, double scaleFactor) noexcept
{
    return static_cast<float>(static_cast<double>(coordinate) * scaleFactor);
}

} // namespace tav3d::opensuite::mesh_layout
