#include "compare_files.h"

#include "opensuite/mesh_file_layout.h"
#include "opensuite/mesh_file_reader.h"
#include "text_format.h"

#include <algorithm>

namespace tav3d::tools
{

using namespace opensuite;

namespace
{

/// The entries of two tables, equal when `same(k)` says so.
template <class Same>
TableComparison compareEntries(std::string name, const char* entry, std::size_t a, std::size_t b, Same same)
{
    TableComparison table;
    table.name = std::move(name);
    table.entry = entry;
    table.compared = static_cast<std::int64_t>(std::min(a, b));
    table.onlyInA = static_cast<std::int64_t>(a) - table.compared;
    table.onlyInB = static_cast<std::int64_t>(b) - table.compared;
    for (std::int64_t k = 0; k < table.compared; ++k)
        if (!same(static_cast<std::size_t>(k)))
        {
            ++table.differing;
            if (table.firstDiffering == 0)
                table.firstDiffering = k + 1;
        }
    if (table.firstDiffering == 0 && a != b)
        table.firstDiffering = table.compared + 1;
    return table;
}

TableComparison compareCoordinates(const std::string& mesh, const MeshZone& a, const MeshZone& b, double scaleA, double scaleB,
                                   double tolerance)
{
    const auto place = [](const MeshZone& zone, std::size_t k, double scale) -> Vec3 {
        return {mesh_layout::scaled(zone.x[k], scale), mesh_layout::scaled(zone.y[k], scale), mesh_layout::scaled(zone.z[k], scale)};
    };
    DifferenceSpot largest;
    TableComparison table = compareEntries(mesh + "coordinates", "node", a.nodeTotal(), b.nodeTotal(),
                                           [&](std::size_t k)
                                           {
                                               const Vec3 p = place(a, k, scaleA);
                                               const double distance = length(place(b, k, scaleB) - p);
                                               if (distance > largest.difference)
                                                   largest = {static_cast<std::int64_t>(k) + 1, distance, 0, 0, p};
                                               return distance <= tolerance;
                                           });
    table.absolute = largest;
    return table;
}

TableComparison compareCells(std::string name, const CellList& a, const CellList& b)
{
    const auto nodes = [](const CellList& cells, std::size_t c)
    { return std::span(cells.node).subspan(static_cast<std::size_t>(cells.start[c]), static_cast<std::size_t>(nodeCount(cells.kind[c]))); };
    return compareEntries(std::move(name), "cell", a.size(), b.size(),
                          [&](std::size_t c)
                          { return a.kind[c] == b.kind[c] && a.body[c] == b.body[c] && std::ranges::equal(nodes(a, c), nodes(b, c)); });
}

TableComparison compareInterfaces(std::string name, const std::vector<InterfaceNodes>& a, const std::vector<InterfaceNodes>& b)
{
    return compareEntries(std::move(name), "interface", a.size(), b.size(),
                          [&](std::size_t k)
                          { return a[k].node == b[k].node && a[k].thisBody == b[k].thisBody && a[k].otherBody == b[k].otherBody; });
}

void compareZones(FileComparison& out, const std::string& mesh, const MeshZone& a, const MeshZone& b, double scaleA, double scaleB,
                  double tolerance)
{
    out.tables.push_back(compareCoordinates(mesh, a, b, scaleA, scaleB, tolerance));
    out.tables.push_back(compareCells(mesh + "plastic elements", a.plastic, b.plastic));
    out.tables.push_back(compareCells(mesh + "mould-base elements", a.moldBase, b.moldBase));
    out.tables.push_back(compareEntries(mesh + "surface facets", "facet", a.surface.size(), b.surface.size(),
                                        [&](std::size_t f)
                                        {
                                            const SurfaceFacet& p = a.surface[f];
                                            const SurfaceFacet& q = b.surface[f];
                                            return p.node == q.node && p.flag == q.flag && p.kind == q.kind &&
                                                   p.elementBehind == q.elementBehind && p.elementInFront == q.elementInFront;
                                        }));
    out.tables.push_back(compareEntries(mesh + "part-insert facets", "facet", a.partInsert.size(), b.partInsert.size(),
                                        [&](std::size_t f)
                                        {
                                            const PartInsertFacet& p = a.partInsert[f];
                                            const PartInsertFacet& q = b.partInsert[f];
                                            return p.node == q.node && p.isInterface == q.isInterface && p.insert == q.insert;
                                        }));
    out.tables.push_back(compareInterfaces(mesh + "interfaces of the part", a.partInterface, b.partInterface));
    out.tables.push_back(compareInterfaces(mesh + "interfaces of the inserts", a.partInsertInterface, b.partInsertInterface));
}

} // namespace

FileComparison compareMeshes(const std::string& fileA, const std::string& fileB, double tolerance)
{
    const MeshSummary a = readMeshHeader(fileA);
    const MeshSummary b = readMeshHeader(fileB);
    FileComparison comparison;
    const auto differ = [&](const char* what, std::string inA, std::string inB)
    {
        if (inA != inB)
            comparison.description.push_back({what, std::move(inA), std::move(inB)});
    };
    differ("title", a.title, b.title);
    differ("format version", std::to_string(a.formatVersion), std::to_string(b.formatVersion));
    differ("scale factor", shortest(a.scaleFactor), shortest(b.scaleFactor));
    differ("cell size", shortest(a.cellSize), shortest(b.cellSize));
    for (const ZoneId zone : {ZoneId::Voxel, ZoneId::CutCell})
    {
        const bool inA = zone == ZoneId::Voxel ? a.voxel.present : a.cutCell.present;
        const bool inB = zone == ZoneId::Voxel ? b.voxel.present : b.cutCell.present;
        const std::string mesh = zone == ZoneId::Voxel ? "voxel mesh" : "cut-cell mesh";
        if (inA && inB)
            compareZones(comparison, mesh + ": ", readMeshZone(fileA, zone), readMeshZone(fileB, zone), a.scaleFactor, b.scaleFactor,
                         tolerance);
        else if (inA)
            comparison.onlyInA.push_back(mesh);
        else if (inB)
            comparison.onlyInB.push_back(mesh);
    }
    return comparison;
}

} // namespace tav3d::tools
