#pragma once

// The mesh that a result file stands on, as far as the file refers to it.

#include "cgns_types.h"

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace tav3d::opensuite
{

/// One zone of a mesh file, and what a result file links to.
struct ResultMesh
{
    std::int64_t nodeTotal = 0;
    std::int64_t cellTotal = 0;              // volume cells
    std::string zonePath;                    // in the mesh file
    std::vector<std::string> geometry;       // children of the zone that make up its geometry: coordinates, sections, boundary conditions
    std::string basePath;                    // in the mesh file
    std::vector<std::string> families;       // children of the base that boundary conditions may name
    std::array<std::int64_t, 2> bothNodes{}; // node counts of the voxel and the cut-cell mesh
};

/// Reads it from the mesh file at `path`, or remembers it as long as the file has not changed since it was last read on this thread; nothing when there is no such file. Throws FileError when something stands there that is not a mesh
/// file with both zones.
[[nodiscard]] std::optional<ResultMesh> findResultMesh(const std::string& path, bool onCutCellMesh);

/// Number of nodes of the part in one mesh of the mesh file at `path`; remembered likewise. Throws FileError when it cannot be read.
[[nodiscard]] std::int64_t countPartNodes(const std::string& path, bool onCutCellMesh);

/// How a result file at `resultFile` refers to its mesh file: relative to the result file's folder, with '/'; absolute where no relative
/// path leads there.
[[nodiscard]] std::string meshPathToStore(const std::string& meshFile, const std::string& resultFile);

/// The path of the mesh file, from what the result file at `resultFile` holds.
[[nodiscard]] std::string meshPathFromStored(const std::string& stored, const std::string& resultFile);

} // namespace tav3d::opensuite
