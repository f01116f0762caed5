#include "mesh_file_reader.h"

#include "mesh_file_stream.h"

namespace tav3d::opensuite
{

namespace
{

/// All cells of a section, in arrays that are made as long as they will be.
CellList readCells(CellStream& stream, std::int64_t count)
{
    CellList cells;
    cells.kind.resize(static_cast<std::size_t>(count));
    cells.body.resize(static_cast<std::size_t>(count));
    cells.start.resize(static_cast<std::size_t>(count) + 1);
    cells.node.resize(static_cast<std::size_t>(stream.nodeTotal()) + maxCellNodes); // room for what is copied too much
    std::int32_t* node = cells.node.data();
    CellEntry cell;
    for (std::size_t c = 0; stream.next(cell); ++c)
    {
        cells.kind[c] = cell.kind;
        cells.body[c] = cell.body;
        std::copy_n(cell.node, maxCellNodes, node);
        node += cell.nodes;
        cells.start[c + 1] = node - cells.node.data();
    }
    cells.node.resize(static_cast<std::size_t>(stream.nodeTotal()));
    return cells;
}

MeshZone readZone(const CgnsReader& reader, ZoneId id, double scaleFactor)
{
    MeshZoneStream stream(reader, id, scaleFactor);
    const MeshZoneSummary& counts = stream.counts();

    MeshZone zone;
    for (auto* axis : {&zone.x, &zone.y, &zone.z})
        axis->resize(static_cast<std::size_t>(counts.nodes));
    float c[3];
    for (std::size_t n = 0; stream.nodes.next(c); ++n)
    {
        zone.x[n] = c[0];
        zone.y[n] = c[1];
        zone.z[n] = c[2];
    }
    zone.plastic = readCells(stream.plastic, counts.plastic);
    zone.moldBase = readCells(stream.moldBase, counts.moldBase);

    zone.surface.reserve(static_cast<std::size_t>(counts.surface));
    SurfaceEntry surface;
    while (stream.nextSurface(surface))
        zone.surface.push_back(surface.facet);
    zone.partInsert.reserve(static_cast<std::size_t>(counts.partInsert));
    PartInsertFacet insert;
    while (stream.nextPartInsert(insert))
        zone.partInsert.push_back(insert);
    zone.partInterface = stream.partInterfaces();
    zone.partInsertInterface = stream.partInsertInterfaces();
    return zone;
}

/// Calls `use(id, summary of the mesh)` for both meshes of the file, when it has them.
template <class Use>
void forEachZone(const CgnsReader& reader, MeshSummary& summary, Use&& use)
{
    for (const auto& [id, zone] : {std::pair{ZoneId::Voxel, &summary.voxel}, std::pair{ZoneId::CutCell, &summary.cutCell}})
        if (reader.has(zonePath(id)))
            use(id, *zone);
}

} // namespace

MeshSummary readMeshSummary(const std::string& path)
{
    const CgnsReader reader(path);
    MeshSummary summary = readDescription(reader);
    forEachZone(reader, summary,
                [&](ZoneId id, MeshZoneSummary& zone) { zone = MeshZoneStream(reader, id, summary.scaleFactor).checkAll(); });
    return summary;
}

MeshSummary readMeshHeader(const std::string& path)
{
    const CgnsReader reader(path);
    MeshSummary summary = readDescription(reader);
    forEachZone(reader, summary,
                [&](ZoneId id, MeshZoneSummary& zone) { zone = MeshZoneStream(reader, id, summary.scaleFactor).counts(); });
    return summary;
}

MeshZone readMeshZone(const std::string& path, ZoneId zone)
{
    const CgnsReader reader(path);
    return readZone(reader, zone, readDescription(reader).scaleFactor);
}

MeshModel readMeshFile(const std::string& path)
{
    const CgnsReader reader(path);
    MeshSummary summary = readDescription(reader);
    MeshModel model;
    model.title = summary.title;
    model.scaleFactor = summary.scaleFactor;
    model.cellSize = summary.cellSize;
    forEachZone(reader, summary,
                [&](ZoneId id, MeshZoneSummary&)
                { (id == ZoneId::Voxel ? model.voxel : model.cutCell) = readZone(reader, id, summary.scaleFactor); });
    return model;
}

} // namespace tav3d::opensuite
