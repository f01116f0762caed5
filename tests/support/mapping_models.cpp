#include "mapping_models.h"

#include "mesh_models.h"

#include <algorithm>
#include <cmath>

namespace tav3d::test
{

using namespace opensuite;

namespace
{

MeshModel plate(bool withInsert, float cutCellEdge)
{
    const BodyOfCell bodyOfCell = [withInsert](int i, int j, int k)
    {
        if (k == 1 && i >= 1 && i < 7 && j >= 1 && j < 5)
            return body::part;
        if (withInsert && k == 0 && i >= 3 && i < 5 && j >= 2 && j < 4)
            return body::firstInsert;
        return body::mold;
    };
    MeshModel model;
    model.title = "plate";
    model.cellSize = 1.0f;
    model.voxel = cubeGrid(8, 6, 3, 1.0f, bodyOfCell);
    model.cutCell = cubeGrid(8, 6, 3, cutCellEdge, bodyOfCell);
    deriveFacets(model.voxel);
    deriveFacets(model.cutCell);
    return model;
}

} // namespace

MeshModel plateModel(float cutCellEdge)
{
    return plate(false, cutCellEdge);
}

MeshModel plateWithInsertModel(float cutCellEdge)
{
    return plate(true, cutCellEdge);
}

int setFacetKind(MeshZone& zone, float x, float y, float z, std::int32_t kind)
{
    int changed = 0;
    for (SurfaceFacet& facet : zone.surface)
    {
        float centre[3] = {};
        for (const std::int32_t n : facet.node)
        {
            const auto at = static_cast<std::size_t>(n) - 1;
            centre[0] += zone.x[at] / 4;
            centre[1] += zone.y[at] / 4;
            centre[2] += zone.z[at] / 4;
        }
        const auto same = [](float a, float b) { return std::abs(a - b) < 1e-3f; };
        if (facet.kind == facet_kind::partSkin && same(centre[0], x) && same(centre[1], y) && same(centre[2], z))
        {
            facet.kind = kind;
            ++changed;
        }
    }
    return changed;
}

MeshZone renumbered(const MeshZone& zone, const std::vector<int>& newNumber)
{
    MeshZone out = zone;
    const auto renumber = [&](auto& nodes)
    { std::ranges::transform(nodes, nodes.begin(), [&](std::int32_t n) { return newNumber.at(static_cast<std::size_t>(n)); }); };
    for (std::size_t n = 1; n <= zone.nodeTotal(); ++n)
    {
        const auto to = static_cast<std::size_t>(newNumber.at(n)) - 1;
        out.x.at(to) = zone.x[n - 1];
        out.y.at(to) = zone.y[n - 1];
        out.z.at(to) = zone.z[n - 1];
    }
    renumber(out.plastic.node);
    renumber(out.moldBase.node);
    for (SurfaceFacet& facet : out.surface)
        renumber(facet.node);
    for (PartInsertFacet& facet : out.partInsert)
        renumber(facet.node);
    for (auto* lists : {&out.partInterface, &out.partInsertInterface})
        for (InterfaceNodes& list : *lists)
        {
            renumber(list.node);
            std::ranges::sort(list.node);
        }
    return out;
}

} // namespace tav3d::test
