#include "export_formats.h"

#include "opensuite/cgns_writer.h"
#include "opensuite/mesh_file_layout.h"

#include <limits>
#include <span>

namespace tav3d::tools
{

using namespace opensuite;

namespace
{

/// Cells first .. last - 1 (from 0) as a section of mixed elements.
void addSection(CgnsWriter& writer, const std::string& zone, const char* name, const CellList& cells, std::size_t first, std::size_t last)
{
    if (first == last)
        return;
    std::vector<std::int32_t> start{0};
    std::vector<std::int32_t> entry;
    for (std::size_t c = first; c < last; ++c)
    {
        entry.push_back(mesh_layout::elementType(cells.kind[c]));
        entry.insert(entry.end(), cells.node.begin() + cells.start[c], cells.node.begin() + cells.start[c + 1]);
        start.push_back(static_cast<std::int32_t>(entry.size()));
    }
    const std::string section = writer.addArray<std::int32_t>(zone, name, "Elements_t", {mesh_layout::mixed, 0});
    writer.addArray<std::int32_t>(section, "ElementRange", "IndexRange_t",
                                  {static_cast<std::int32_t>(first) + 1, static_cast<std::int32_t>(last)});
    writer.addArray(section, "ElementStartOffset", "DataArray_t", std::span<const std::int32_t>(start));
    writer.addArray(section, "ElementConnectivity", "DataArray_t", std::span<const std::int32_t>(entry));
}

void addField(CgnsWriter& writer, const std::string& solution, const GridField& field)
{
    std::vector<float> value = field.value;
    for (std::size_t n = 0; n < value.size(); ++n)
        if (!field.hasValue(n))
            value[n] = std::numeric_limits<float>::quiet_NaN();
    const std::string array = writer.addArray(solution, field.name, "DataArray_t", std::span<const float>(value));
    if (!field.unit.empty())
        writer.addText(array, "Unit", "Descriptor_t", field.unit);
}

std::string addSolution(CgnsWriter& writer, const std::string& zone, const char* name, const char* location)
{
    const std::string solution = writer.addNode(zone, name, "FlowSolution_t");
    writer.addText(solution, "GridLocation", "GridLocation_t", location);
    return solution;
}

} // namespace

void writeCgns(const FieldGrid& grid, const std::string& target)
{
    CgnsWriter writer(target);
    const std::string base = writer.addArray<std::int32_t>("/", "Export", "CGNSBase_t", {3, 3});
    if (!grid.title.empty())
        writer.addText(base, "Title", "Descriptor_t", grid.title);
    const CellList& cells = grid.cells;
    const std::string zone =
        writer.addArray<std::int32_t>(base, grid.zone == ZoneId::Voxel ? "Voxel" : "CutCell", "Zone_t",
                                      {static_cast<std::int32_t>(grid.nodeTotal()), static_cast<std::int32_t>(cells.size()), 0}, {1, 3});
    writer.addText(zone, "ZoneType", "ZoneType_t", "Unstructured");
    const std::string coordinates = writer.addNode(zone, "GridCoordinates", "GridCoordinates_t");
    writer.addArray(coordinates, "CoordinateX", "DataArray_t", std::span<const float>(grid.x));
    writer.addArray(coordinates, "CoordinateY", "DataArray_t", std::span<const float>(grid.y));
    writer.addArray(coordinates, "CoordinateZ", "DataArray_t", std::span<const float>(grid.z));
    addSection(writer, zone, "Plastic", cells, 0, grid.partCells);
    addSection(writer, zone, "MoldBase", cells, grid.partCells, cells.size());

    if (!grid.fields.empty() || !grid.nodeNumber.empty())
    {
        const std::string solution = addSolution(writer, zone, "NodeResults", "Vertex");
        for (const GridField& field : grid.fields)
            addField(writer, solution, field);
        if (!grid.nodeNumber.empty())
            writer.addArray(solution, "NodeNumber", "DataArray_t", std::span<const std::int32_t>(grid.nodeNumber));
    }
    if (cells.size() > 0)
    {
        const std::string solution = addSolution(writer, zone, "CellData", "CellCenter");
        writer.addArray(solution, "Body", "DataArray_t", std::span<const std::int32_t>(cells.body));
    }
    writer.commit();
}

} // namespace tav3d::tools
