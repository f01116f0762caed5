#include "mesh_file_stream.h"

namespace tav3d::opensuite
{

namespace
{

using namespace mesh_layout;

constexpr const char* surfaceNumbers[] = {"Flag", "Kind", "ElementBehind", "ElementInFront", "Body"};
constexpr const char* partInsertNumbers[] = {"IsInterface", "Insert"};

/// Counts of a section of the given element type, whose elements must follow on number `last`; 0 when it is not there.
std::int64_t sectionCount(const CgnsReader& reader, const std::string& section, std::int32_t type, std::int64_t& last)
{
    if (!reader.has(section))
        return 0;
    if (reader.info(section).label != "Elements_t" || reader.read<std::int32_t>(section, 2, 2)[0] != type)
        reader.fail(section, "is not a section of the expected element type");
    const auto range = reader.read<std::int32_t>(section + "/ElementRange", 2, 2);
    if (range[0] != last + 1 || range[1] < range[0])
        reader.fail(section + "/ElementRange", "the element numbers do not follow on those of the sections before");
    const std::int64_t count = range[1] - last;
    last = range[1];
    return count;
}

/// Nodes, cells and a third number of a zone.
std::vector<std::int32_t> sizeOfZone(const CgnsReader& reader, const std::string& zone)
{
    if (!reader.has(zone))
        reader.fail(zone, "the file has no such mesh");
    const CgnsNodeInfo info = reader.info(zone);
    if (info.label != "Zone_t" || info.dims != CgnsDims{1, 3})
        reader.fail(zone, "is not a zone of an unstructured mesh");
    std::vector<std::int32_t> size = reader.read<std::int32_t>(zone, 3, 3);
    if (size[0] < 1)
        reader.fail(zone, "the node count is not positive");
    return size;
}

std::int64_t listLength(const CgnsReader& reader, const std::string& path)
{
    return reader.has(path) ? static_cast<std::int64_t>(reader.children(path).size()) : 0;
}

} // namespace

NodeStream::NodeStream(const CgnsReader& reader, const std::string& zone, std::int64_t nodes, double scaleFactor)
    : reader_(&reader)
    , path_(zone + "/GridCoordinates")
    , scaleFactor_(scaleFactor)
    , axis_{ArrayStream<float>(reader.open<float>(path_ + "/CoordinateX", nodes, nodes)),
            ArrayStream<float>(reader.open<float>(path_ + "/CoordinateY", nodes, nodes)),
            ArrayStream<float>(reader.open<float>(path_ + "/CoordinateZ", nodes, nodes))}
{
}

void NodeStream::rewind() noexcept
{
    for (auto& axis : axis_)
        axis.rewind();
}

void NodeStream::failAt(int axis) const
{
    const std::int64_t node = axis_[axis].count() - axis_[axis].left();
    reader_->fail(path_ + "/Coordinate" + "XYZ"[axis], "node " + std::to_string(node) + ": the coordinate is not finite");
}

MeshZoneStream::MeshZoneStream(const CgnsReader& reader, ZoneId zone, double scaleFactor)
    : reader_(&reader)
    , path_(zonePath(zone))
{
    const auto size = sizeOfZone(reader, path_);
    std::int64_t last = 0;
    counts_.present = true;
    counts_.nodes = size[0];
    counts_.plastic = sectionCount(reader, childPath(path_, mesh_layout::plastic), mixed, last);
    counts_.moldBase = sectionCount(reader, childPath(path_, mesh_layout::moldBase), mixed, last);
    if (last != size[1])
        reader.fail(path_, "the cell count is not that of the sections");
    counts_.surface = sectionCount(reader, childPath(path_, surface), quad4, last);
    counts_.partInsert = sectionCount(reader, childPath(path_, partInsert), quad4, last);
    counts_.partInterfaces = listLength(reader, childPath(path_, mesh_layout::partInterfaces));
    counts_.partInsertInterfaces = listLength(reader, childPath(path_, mesh_layout::partInsertInterfaces));

    nodes = NodeStream(reader, path_, counts_.nodes, scaleFactor);
    plastic = CellStream(reader, childPath(path_, mesh_layout::plastic), counts_.plastic, counts_.nodes);
    moldBase = CellStream(reader, childPath(path_, mesh_layout::moldBase), counts_.moldBase, counts_.nodes);
    if (counts_.surface > 0)
        surface_ = FacetStream<5>(reader, childPath(path_, surface), surfaceNumbers, counts_.surface, counts_.nodes);
    if (counts_.partInsert > 0)
        partInsert_ = FacetStream<2>(reader, childPath(path_, partInsert), partInsertNumbers, counts_.partInsert, counts_.nodes);
}

bool MeshZoneStream::nextSurface(SurfaceEntry& entry)
{
    std::int32_t number[5];
    if (!surface_.next(entry.facet.node, number))
        return false;
    const std::int64_t cells = counts_.plastic + counts_.moldBase;
    for (const std::int32_t element : {number[2], number[3]})
        if (element < 0 || element > cells)
            surface_.fail("the number of the element behind or in front of it is out of range");
    entry.facet.flag = number[0];
    entry.facet.kind = number[1];
    entry.facet.elementBehind = number[2];
    entry.facet.elementInFront = number[3];
    entry.body = number[4];
    return true;
}

bool MeshZoneStream::nextPartInsert(PartInsertFacet& facet)
{
    std::int32_t number[2];
    if (!partInsert_.next(facet.node, number))
        return false;
    if (number[0] != 0 && number[0] != 1)
        partInsert_.fail("the interface mark is neither 0 nor 1");
    facet.isInterface = number[0] == 1;
    facet.insert = number[1];
    return true;
}

std::vector<InterfaceNodes> MeshZoneStream::partInterfaces() const
{
    return interfaces(mesh_layout::partInterfaces);
}

std::vector<InterfaceNodes> MeshZoneStream::partInsertInterfaces() const
{
    return interfaces(mesh_layout::partInsertInterfaces);
}

std::vector<InterfaceNodes> MeshZoneStream::interfaces(const char* name) const
{
    std::vector<InterfaceNodes> result;
    const std::string list = childPath(path_, name);
    if (!reader_->has(list))
        return result;
    for (const std::string& child : reader_->children(list))
    {
        const std::string path = childPath(list, child);
        const auto bodies = reader_->read<std::int32_t>(childPath(path, "Bodies"), 2, 2);
        InterfaceNodes interface {
            {}, bodies[0], bodies[1]
        };
        const std::string nodeList = childPath(path, "Nodes");
        if (reader_->has(nodeList)) // an interface without nodes has no list
            interface.node = reader_->read<std::int32_t>(nodeList, 1, counts_.nodes);
        std::int32_t last = 0;
        for (const std::int32_t node : interface.node)
        {
            if (node <= last || node > counts_.nodes)
                reader_->fail(nodeList, node <= last ? "the node numbers do not ascend from 1" : "a node number is out of range");
            last = node;
        }
        result.push_back(std::move(interface));
    }
    return result;
}

void MeshZoneStream::rewind() noexcept
{
    nodes.rewind();
    plastic.rewind();
    moldBase.rewind();
    surface_.rewind();
    partInsert_.rewind();
}

MeshZoneSummary MeshZoneStream::checkAll()
{
    rewind();
    MeshZoneSummary summary = counts_;

    float c[3];
    std::fill_n(summary.lowest, 3, std::numeric_limits<float>::infinity());
    std::fill_n(summary.highest, 3, -std::numeric_limits<float>::infinity());
    while (nodes.next(c))
        for (int k = 0; k < 3; ++k)
        {
            summary.lowest[k] = std::min(summary.lowest[k], c[k]);
            summary.highest[k] = std::max(summary.highest[k], c[k]);
        }

    // Bodies come in long runs: the map is asked once per run.
    CellEntry cell;
    std::int64_t ofKind[4] = {};
    for (CellStream* cells : {&plastic, &moldBase})
    {
        std::int32_t body = 0;
        std::int64_t run = 0;
        const auto close = [&]
        {
            if (run > 0)
                summary.cellsOfBody[body] += std::exchange(run, 0);
        };
        while (cells->next(cell))
        {
            ++ofKind[static_cast<int>(cell.kind)];
            if (cell.body != body)
                close();
            body = cell.body;
            ++run;
        }
        close();
    }
    for (const CellKind kind : {CellKind::Tetra4, CellKind::Pyramid5, CellKind::Prism6, CellKind::Hexa8})
        if (const std::int64_t count = ofKind[static_cast<int>(kind)]; count > 0)
            summary.cellsOfKind[kind] = count;

    SurfaceEntry surfaceEntry;
    while (nextSurface(surfaceEntry))
        ++summary.facetsOfKind[surfaceEntry.facet.kind];
    PartInsertFacet insertFacet;
    while (nextPartInsert(insertFacet))
        summary.interfaceFacets += insertFacet.isInterface;
    (void)partInterfaces();
    (void)partInsertInterfaces();
    rewind();
    return summary;
}

CellStream plasticCells(const CgnsReader& reader, ZoneId zone, std::int64_t& nodes)
{
    const std::string path = zonePath(zone);
    nodes = sizeOfZone(reader, path)[0];
    const std::string section = childPath(path, mesh_layout::plastic);
    std::int64_t last = 0;
    const std::int64_t cells = sectionCount(reader, section, mixed, last);
    return {reader, section, cells, nodes};
}

std::string zonePath(ZoneId zone)
{
    return childPath(base, zone == ZoneId::Voxel ? voxelZone : cutCellZone);
}

MeshSummary readDescription(const CgnsReader& reader)
{
    if (!reader.has(mesh_layout::description))
        throw FileError(FileFailure::WrongKind, reader.file(), mesh_layout::description, "is a CGNS file, but not a mesh file");
    MeshSummary summary;
    summary.formatVersion = reader.readValue<std::int32_t>(mesh_layout::description + "/FormatVersion");
    if (summary.formatVersion != formatVersion)
        reader.fail(mesh_layout::description + "/FormatVersion",
                    "is " + std::to_string(summary.formatVersion) + "; this program reads version " + std::to_string(formatVersion));
    summary.scaleFactor = reader.readValue<double>(mesh_layout::description + "/ScaleFactor");
    if (!std::isfinite(summary.scaleFactor) || summary.scaleFactor <= 0)
        reader.fail(mesh_layout::description + "/ScaleFactor", "is not a positive number");
    summary.cellSize = reader.readValue<float>(mesh_layout::description + "/CellSize");
    if (!std::isfinite(summary.cellSize) || summary.cellSize < 0)
        reader.fail(mesh_layout::description + "/CellSize", "is not a number from 0 on");
    if (reader.has(base + "/Title"))
        summary.title = reader.readText(base + "/Title", maxCount);
    return summary;
}

} // namespace tav3d::opensuite
