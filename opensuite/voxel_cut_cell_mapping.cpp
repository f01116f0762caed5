#include "KRNXT.h"

#include "mesh_file_codes.h"
#include "mesh_file_reader.h"
#include "nearest_voxel_node.h"

#include <algorithm>
#include <cstdio>
#include <new>
#include <utility>
#include <vector>

using namespace tav3d::opensuite;

class CTAVVoxelCutCellMappingEngine::Impl
{
public:
    std::vector<std::int32_t> nearest; // entry n-1: voxel node of cut-cell node n
};

namespace
{

/// What the mapping needs of a mesh; its cells and facets are released when they have told the bodies.
struct MarkedMesh
{
    std::vector<float> x, y, z;
    std::vector<NodeBody> body;

    [[nodiscard]] BodyNodes nodes() const { return {x, y, z, body}; }
};

/// Coordinates are scaled and rounded to float as hosts hold them, so that distances and ties are those that a host would find.
MarkedMesh readMarkedMesh(const char* path, ZoneId zone, double scaleFactor)
{
    MeshZone mesh = readMeshZone(path, zone);
    MarkedMesh marked;
    marked.body = bodiesOfNodes(mesh);
    for (std::vector<float>* coordinates : {&mesh.x, &mesh.y, &mesh.z})
        for (float& c : *coordinates)
            c = static_cast<float>(static_cast<double>(c) * scaleFactor);
    marked.x = std::move(mesh.x);
    marked.y = std::move(mesh.y);
    marked.z = std::move(mesh.z);
    return marked;
}

} // namespace

CTAVVoxelCutCellMappingEngine::CTAVVoxelCutCellMappingEngine()
    : m_pImpl(new Impl)
{
}

CTAVVoxelCutCellMappingEngine::~CTAVVoxelCutCellMappingEngine()
{
    delete m_pImpl;
}

int CTAVVoxelCutCellMappingEngine::Create(const char* path)
{
    m_pImpl->nearest.clear();
    if (path == nullptr || path[0] == '\0')
    {
        std::fprintf(stderr, "voxel/cut-cell mapping: no file name\n");
        return mesh_code::noFileName;
    }
    try
    {
        const double scaleFactor = readMeshHeader(path).scaleFactor;
        const MarkedMesh voxel = readMarkedMesh(path, ZoneId::Voxel, scaleFactor);
        const MarkedMesh cutCell = readMarkedMesh(path, ZoneId::CutCell, scaleFactor);
        std::vector<std::int32_t> nearest(cutCell.x.size());
        nearestVoxelNodes(cutCell.nodes(), voxel.nodes(), nearest);
        m_pImpl->nearest = std::move(nearest);
        return 0;
    }
    catch (const FileError& error)
    {
        std::fprintf(stderr, "%s\n", error.what());
        return meshCode(error.failure());
    }
    catch (const std::bad_alloc&)
    {
        std::fprintf(stderr, "%s: not enough memory for its meshes\n", path);
        return mesh_code::cannotOpen;
    }
}

int CTAVVoxelCutCellMappingEngine::GetNNodeCutCell() const
{
    return static_cast<int>(m_pImpl->nearest.size());
}

void CTAVVoxelCutCellMappingEngine::GetVoxelCutCellMappingNode(int* voxelNode) const
{
    voxelNode[0] = 0;
    std::ranges::copy(m_pImpl->nearest, voxelNode + 1);
}

TAV3DCutCellGateFace::TAV3DCutCellGateFace() = default;

TAV3DCutCellGateFace::~TAV3DCutCellGateFace() = default;
