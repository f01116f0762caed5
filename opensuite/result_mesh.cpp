#include "result_mesh.h"

#include "cgns_reader.h"
#include "common/file_names.h"
#include "file_state.h"
#include "mesh_file_layout.h"
#include "mesh_file_stream.h"
#include "result_layout.h"

#include <algorithm>
#include <filesystem>
#include <limits>

namespace tav3d::opensuite
{

namespace fs = std::filesystem;
namespace layout = result_layout;
using common::pathOf;

namespace
{

/// Paths of the nodes of one label below `parent`.
std::vector<std::string> childrenWithLabel(const CgnsReader& reader, const std::string& parent, std::initializer_list<const char*> labels)
{
    std::vector<std::string> found;
    for (const std::string& name : reader.children(parent))
    {
        const CgnsNodeInfo info = reader.info(childPath(parent, name));
        if (std::find(labels.begin(), labels.end(), info.label) != labels.end())
            found.push_back(name);
    }
    return found;
}

/// Node and cell count of a zone.
std::array<std::int64_t, 2> zoneSize(const CgnsReader& reader, const std::string& zone)
{
    const std::vector<std::int32_t> size = reader.read<std::int32_t>(zone, 3, 3);
    if (size[0] < 1 || size[1] < 0)
        reader.fail(zone, "impossible node or cell count");
    return {size[0], size[1]};
}

ResultMesh readResultMesh(const std::string& path, bool onCutCellMesh)
{
    const CgnsReader reader(path);
    if (!reader.has(mesh_layout::description))
        throw FileError(FileFailure::WrongKind, path, "", "is no mesh file");

    ResultMesh mesh;
    mesh.basePath = mesh_layout::base;
    const char* zones[2] = {layout::voxelZone, layout::cutCellZone};
    for (std::size_t k = 0; k < 2; ++k)
    {
        const std::string zone = childPath(mesh.basePath, zones[k]);
        if (!reader.has(zone))
            continue;
        const auto [nodes, cells] = zoneSize(reader, zone);
        mesh.bothNodes[k] = nodes;
        if (onCutCellMesh == (k == 1))
        {
            mesh.nodeTotal = nodes;
            mesh.cellTotal = cells;
            mesh.zonePath = zone;
        }
    }
    if (mesh.zonePath.empty())
        reader.fail(zones[onCutCellMesh ? 1 : 0], "the mesh is missing");
    mesh.geometry = childrenWithLabel(reader, mesh.zonePath, {"GridCoordinates_t", "Elements_t", "ZoneBC_t"});
    mesh.families = childrenWithLabel(reader, mesh.basePath, {"Family_t"});
    return mesh;
}

std::int64_t readPartNodes(const std::string& path, bool onCutCellMesh)
{
    const CgnsReader reader(path);
    std::int64_t nodes = 0;
    CellStream plastic = plasticCells(reader, onCutCellMesh ? ZoneId::CutCell : ZoneId::Voxel, nodes);
    const auto ofPart = std::make_unique<bool[]>(static_cast<std::size_t>(nodes) + 1);
    for (std::span<const std::int32_t> block; !(block = plastic.nextNodes()).empty();)
        for (const std::int32_t node : block)
            ofPart[static_cast<std::size_t>(node)] = true;
    return std::count(ofPart.get(), ofPart.get() + nodes + 1, true);
}

/// What has been read of a mesh file. The results of a model are written one after the other, and all of them ask for the same.
struct KnownMesh
{
    FileState state;
    std::optional<ResultMesh> mesh[2]; // on the voxel mesh, on the cut-cell mesh
    std::optional<std::int64_t> partNodes[2];
};
thread_local KnownMesh known; // of the file asked for last

/// The value of `kept` for the file at `path`, from memory while the file stands as it was. What cannot be read is not remembered.
template <class Value, class Read>
Value recall(const std::string& path, std::optional<Value> (KnownMesh::*kept)[2], bool onCutCellMesh, Read&& read)
{
    const std::optional<FileState> state = settledStateOf(pathOf(path));
    if (!state)
        return read(path, onCutCellMesh);
    if (known.state != *state)
    {
        known = KnownMesh();
        known.state = *state; // as it was before reading: what is changed meanwhile is not taken for it
    }
    std::optional<Value>& value = (known.*kept)[onCutCellMesh ? 1 : 0];
    if (!value)
        value = read(path, onCutCellMesh);
    return *value;
}

} // namespace

std::optional<ResultMesh> findResultMesh(const std::string& path, bool onCutCellMesh)
{
    std::error_code ignored;
    if (!fs::exists(pathOf(path), ignored))
        return {};
    return recall(path, &KnownMesh::mesh, onCutCellMesh, readResultMesh);
}

std::int64_t countPartNodes(const std::string& path, bool onCutCellMesh)
{
    return recall(path, &KnownMesh::partNodes, onCutCellMesh, readPartNodes);
}

std::string meshPathToStore(const std::string& meshFile, const std::string& resultFile)
{
    return common::relativeName(pathOf(meshFile), pathOf(resultFile).parent_path());
}

std::string meshPathFromStored(const std::string& stored, const std::string& resultFile)
{
    if (stored.empty())
        return stored;
    return common::normalNameInFolder(pathOf(resultFile).parent_path(), pathOf(stored));
}

} // namespace tav3d::opensuite
