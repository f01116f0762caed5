#pragma once

// Reading mesh files as a whole. KRNIO_Manipulator (platform/KRNIO.h) reads them entry by entry.
//
// All of these throw FileError (file_error.h): CannotOpen, WrongKind for a file that is no mesh file, BadContent when anything in what is read is
// damaged or contradicts itself: a node number outside of 1 .. node count, a coordinate that is not finite, an unknown kind of cell, a wrong count.

#include "mesh_model.h"

#include <map>
#include <string>

namespace tav3d::opensuite
{

/// The meshes of a model, numbered like the modes of KRNIO_Manipulator::beginReading.
enum class ZoneId
{
    CutCell = 0,
    Voxel = 1,
};

/// What a file tells about one of its meshes.
struct MeshZoneSummary
{
    bool present = false;
    std::int64_t nodes = 0;
    std::int64_t plastic = 0;
    std::int64_t moldBase = 0;
    std::int64_t surface = 0;
    std::int64_t partInsert = 0;
    std::int64_t partInterfaces = 0;
    std::int64_t partInsertInterfaces = 0;
    std::map<CellKind, std::int64_t> cellsOfKind;      // plastic and mould base together
    std::map<std::int32_t, std::int64_t> cellsOfBody;  // by body number
    std::map<std::int32_t, std::int64_t> facetsOfKind; // surface facets, by facet kind
    std::int64_t interfaceFacets = 0;                  // part-insert facets on an interface
    float lowest[3] = {};                              // corners of the box around the nodes, unscaled
    float highest[3] = {};
};

struct MeshSummary
{
    std::string title;
    std::int32_t formatVersion = 0;
    double scaleFactor = 0.0;
    float cellSize = 0.0f; // unscaled; 0 = not recorded
    MeshZoneSummary voxel;
    MeshZoneSummary cutCell;
};

/// Counts of both meshes. Reads and checks the whole file, in memory that does not grow with it.
[[nodiscard]] MeshSummary readMeshSummary(const std::string& path);

/// The header values alone (title, scale factor, cell size, and per mesh the counts up to `partInsertInterfaces`): costs nothing that grows with
/// the mesh, and checks no entries.
[[nodiscard]] MeshSummary readMeshHeader(const std::string& path);

/// One mesh of the file, checked. Throws also when the file has no such mesh.
[[nodiscard]] MeshZone readMeshZone(const std::string& path, ZoneId zone);

/// The whole model. A mesh that the file lacks comes back empty.
[[nodiscard]] MeshModel readMeshFile(const std::string& path);

} // namespace tav3d::opensuite
