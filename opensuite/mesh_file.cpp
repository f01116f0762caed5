#include "mesh_file.h"

#include "cgns_writer.h"
#include "mesh_file_layout.h"

#include <algorithm>
#include <cmath>
#include <map>
#include <set>

namespace tav3d::opensuite
{

namespace
{

using namespace mesh_layout;

/// Elements are written in pieces of this many, so that a big mesh is not held twice.
constexpr std::size_t pieceSize = std::size_t{1} << 16;

/// Throws for what is wrong with one item of a model.
class ModelCheck
{
public:
    ModelCheck(const std::string& file, std::string zone)
        : file_(file)
        , zone_(std::move(zone))
    {
    }

    void require(bool good, const std::string& item, const std::string& reason) const
    {
        if (!good)
            throw FileError(FileFailure::BadInput, file_, zone_.empty() || item.empty() ? zone_ + item : zone_ + "/" + item, reason);
    }

    /// `fail` makes the text only when it is needed: these run once per node number.
    template <class Item>
    void requireNode(std::int32_t node, std::size_t nodeTotal, Item&& item) const
    {
        if (node < 1 || static_cast<std::size_t>(node) > nodeTotal)
            require(false, item(), "node number " + std::to_string(node) + " is not in 1 .. " + std::to_string(nodeTotal));
    }

private:
    std::string file_;
    std::string zone_;
};

void checkCells(const ModelCheck& check, const CellList& cells, std::size_t nodeTotal, const char* name)
{
    check.require(cells.body.size() == cells.size() && cells.start.size() == cells.size() + 1 && cells.start[0] == 0 &&
                      cells.start.back() == static_cast<std::int64_t>(cells.node.size()),
                  name, "the tables of the cells do not fit each other");
    check.require(cells.node.size() + cells.size() <= static_cast<std::size_t>(maxCount), name, "more than 2^31-1 entries");
    for (std::size_t c = 0; c < cells.size(); ++c)
    {
        const auto item = [&] { return std::string(name) + " element " + std::to_string(c + 1); };
        if (static_cast<int>(cells.kind[c]) > static_cast<int>(CellKind::Hexa8))
            check.require(false, item(), "unknown kind");
        if (cells.start[c + 1] - cells.start[c] != nodeCount(cells.kind[c]))
            check.require(false, item(), "the node count does not fit the kind");
        for (std::int64_t k = cells.start[c]; k < cells.start[c + 1]; ++k)
            check.requireNode(cells.node[static_cast<std::size_t>(k)], nodeTotal, item);
    }
}

void checkInterfaces(const ModelCheck& check, const std::vector<InterfaceNodes>& interfaces, std::size_t nodeTotal, const char* name)
{
    for (std::size_t i = 0; i < interfaces.size(); ++i)
    {
        const auto item = [&] { return std::string(name) + " " + std::to_string(i + 1); };
        std::int32_t last = 0;
        for (const std::int32_t node : interfaces[i].node)
        {
            check.requireNode(node, nodeTotal, item);
            check.require(node > last, item(), "the node numbers do not ascend");
            last = node;
        }
    }
}

void checkZone(const ModelCheck& check, const MeshZone& zone, double scaleFactor)
{
    const std::size_t n = zone.nodeTotal();
    check.require(zone.y.size() == n && zone.z.size() == n, "", "x, y and z are not of one length");
    check.require(n <= static_cast<std::size_t>(maxCount), "", "more than 2^31-1 nodes");
    const std::size_t cells = zone.plastic.size() + zone.moldBase.size();
    check.require(cells + zone.surface.size() + zone.partInsert.size() <= static_cast<std::size_t>(maxCount), "",
                  "more than 2^31-1 elements");

    for (std::size_t i = 0; i < n; ++i)
        for (const float c : {zone.x[i], zone.y[i], zone.z[i]})
            if (!std::isfinite(scaled(c, scaleFactor)))
                check.require(false, "node " + std::to_string(i + 1), "a coordinate is not finite");
    checkCells(check, zone.plastic, n, plastic);
    checkCells(check, zone.moldBase, n, moldBase);
    for (std::size_t f = 0; f < zone.surface.size(); ++f)
    {
        const SurfaceFacet& facet = zone.surface[f];
        const auto item = [&] { return "Surface facet " + std::to_string(f + 1); };
        for (const std::int32_t node : facet.node)
            check.requireNode(node, n, item);
        for (const std::int32_t element : {facet.elementBehind, facet.elementInFront})
            if (element < 0 || static_cast<std::size_t>(element) > cells)
                check.require(false, item(), "element number " + std::to_string(element) + " is not in 0 .. " + std::to_string(cells));
    }
    for (std::size_t f = 0; f < zone.partInsert.size(); ++f)
        for (const std::int32_t node : zone.partInsert[f].node)
            check.requireNode(node, n, [&] { return "PartInsert facet " + std::to_string(f + 1); });
    checkInterfaces(check, zone.partInterface, n, partInterfaces);
    checkInterfaces(check, zone.partInsertInterface, n, partInsertInterfaces);
}

/// Writes the array `name` of `count` numbers, the i-th given by value(i).
template <CgnsElement T, class Value>
void addComputed(CgnsWriter& writer, const std::string& parent, const char* name, std::size_t count, Value&& value)
{
    const std::string path = writer.beginArray<T>(parent, name, "DataArray_t", {static_cast<std::int64_t>(count)});
    std::vector<T> piece;
    piece.reserve(std::min(pieceSize, count));
    for (std::size_t i = 0; i < count; ++i)
    {
        piece.push_back(value(i));
        if (piece.size() == pieceSize || i + 1 == count)
        {
            writer.append(path, std::span<const T>(piece));
            piece.clear();
        }
    }
}

/// Starts an element section; `next` is the number of its first element, and after the call that of the next section's.
std::string addSection(CgnsWriter& writer, const std::string& zone, const char* name, std::int32_t type, std::size_t count,
                       std::int32_t& next)
{
    const std::string section = writer.addArray<std::int32_t>(zone, name, "Elements_t", {type, 0});
    const auto last = next + static_cast<std::int32_t>(count) - 1;
    writer.addArray<std::int32_t>(section, "ElementRange", "IndexRange_t", {next, last});
    next = last + 1;
    return section;
}

void addCells(CgnsWriter& writer, const std::string& zone, const char* name, const CellList& cells, std::int32_t& next)
{
    if (cells.size() == 0)
        return;
    const std::string section = addSection(writer, zone, name, mixed, cells.size(), next);
    // A cell takes one entry more than it has nodes: its type stands in front of them.
    addComputed<std::int32_t>(writer, section, "ElementStartOffset", cells.size() + 1,
                              [&](std::size_t c) { return static_cast<std::int32_t>(cells.start[c] + static_cast<std::int64_t>(c)); });

    const auto entries = static_cast<std::int64_t>(cells.node.size() + cells.size());
    const std::string connectivity = writer.beginArray<std::int32_t>(section, "ElementConnectivity", "DataArray_t", {entries});
    std::vector<std::int32_t> piece;
    for (std::size_t c = 0; c < cells.size(); ++c)
    {
        piece.push_back(elementType(cells.kind[c]));
        piece.insert(piece.end(), cells.node.begin() + cells.start[c], cells.node.begin() + cells.start[c + 1]);
        if (piece.size() >= pieceSize || c + 1 == cells.size())
        {
            writer.append(connectivity, std::span<const std::int32_t>(piece));
            piece.clear();
        }
    }
    const std::string data = writer.addNode(section, "CellData", "UserDefinedData_t");
    writer.addArray(data, "Body", "DataArray_t", std::span<const std::int32_t>(cells.body));
}

template <class Facet>
std::string addFacets(CgnsWriter& writer, const std::string& zone, const char* name, const std::vector<Facet>& facets, std::int32_t& next)
{
    const std::string section = addSection(writer, zone, name, quad4, facets.size(), next);
    addComputed<std::int32_t>(writer, section, "ElementConnectivity", 4 * facets.size(),
                              [&](std::size_t k) { return facets[k / 4].node[k % 4]; });
    return writer.addNode(section, "FacetData", "UserDefinedData_t");
}

/// Body of the element behind a facet, or in front of it where there is none behind.
std::int32_t bodyOf(const MeshZone& zone, const SurfaceFacet& facet)
{
    const std::int32_t element = facet.elementBehind != 0 ? facet.elementBehind : facet.elementInFront;
    if (element == 0)
        return 0;
    const auto index = static_cast<std::size_t>(element) - 1;
    return index < zone.plastic.size() ? zone.plastic.body[index] : zone.moldBase.body[index - zone.plastic.size()];
}

/// Groups of facets under one name, for viewers: the name, and the element numbers of the facets.
using FacetGroups = std::map<std::string, std::vector<std::int32_t>>;

std::string groupName(std::int32_t kind)
{
    switch (kind)
    {
    case facet_kind::partSkin:
        return "PartSkin";
    case facet_kind::gate:
        return "Gate";
    case facet_kind::outerFace:
        return "OuterFace";
    case facet_kind::insertInterface:
        return "InsertInterface";
    case facet_kind::vent:
        return "Vent";
    default:
        return "Kind" + std::to_string(kind);
    }
}

void addSurface(CgnsWriter& writer, const std::string& path, const MeshZone& zone, std::int32_t& next, FacetGroups& groups)
{
    if (zone.surface.empty())
        return;
    for (std::size_t f = 0; f < zone.surface.size(); ++f)
        groups[groupName(zone.surface[f].kind)].push_back(next + static_cast<std::int32_t>(f));

    const std::string data = addFacets(writer, path, surface, zone.surface, next);
    const auto add = [&](const char* name, auto&& value)
    { addComputed<std::int32_t>(writer, data, name, zone.surface.size(), [&](std::size_t f) { return value(zone.surface[f]); }); };
    add("Flag", [](const SurfaceFacet& f) { return f.flag; });
    add("Kind", [](const SurfaceFacet& f) { return f.kind; });
    add("ElementBehind", [](const SurfaceFacet& f) { return f.elementBehind; });
    add("ElementInFront", [](const SurfaceFacet& f) { return f.elementInFront; });
    add("Body", [&](const SurfaceFacet& f) { return bodyOf(zone, f); });
}

void addPartInsert(CgnsWriter& writer, const std::string& path, const MeshZone& zone, std::int32_t& next, FacetGroups& groups)
{
    if (zone.partInsert.empty())
        return;
    for (std::size_t f = 0; f < zone.partInsert.size(); ++f)
        groups[zone.partInsert[f].isInterface ? "PartInsertInterface" : "PartInsertOuter"].push_back(next + static_cast<std::int32_t>(f));

    const std::string data = addFacets(writer, path, partInsert, zone.partInsert, next);
    addComputed<std::int32_t>(writer, data, "IsInterface", zone.partInsert.size(),
                              [&](std::size_t f) { return zone.partInsert[f].isInterface ? 1 : 0; });
    addComputed<std::int32_t>(writer, data, "Insert", zone.partInsert.size(), [&](std::size_t f) { return zone.partInsert[f].insert; });
}

void addBoundaryConditions(CgnsWriter& writer, const std::string& zone, const FacetGroups& groups)
{
    if (groups.empty())
        return;
    const std::string list = writer.addNode(zone, "ZoneBC", "ZoneBC_t");
    for (const auto& [name, elements] : groups)
    {
        const std::string condition = writer.addText(list, name, "BC_t", "FamilySpecified");
        writer.addArray(condition, "PointList", "IndexArray_t", std::span<const std::int32_t>(elements),
                        {1, static_cast<std::int64_t>(elements.size())});
        writer.addText(condition, "GridLocation", "GridLocation_t", "FaceCenter");
        writer.addText(condition, "FamilyName", "FamilyName_t", name);
    }
}

void addInterfaces(CgnsWriter& writer, const std::string& zone, const char* name, const std::vector<InterfaceNodes>& interfaces)
{
    if (interfaces.empty())
        return;
    const std::string list = writer.addNode(zone, name, "UserDefinedData_t");
    for (std::size_t i = 0; i < interfaces.size(); ++i)
    {
        const std::string entry = writer.addNode(list, "Interface" + std::to_string(i + 1), "UserDefinedData_t");
        writer.addArray<std::int32_t>(entry, "Bodies", "DataArray_t", {interfaces[i].thisBody, interfaces[i].otherBody});
        if (!interfaces[i].node.empty())
            writer.addArray(entry, "Nodes", "DataArray_t", std::span<const std::int32_t>(interfaces[i].node));
    }
}

FacetGroups addZone(CgnsWriter& writer, const char* name, const MeshZone& mesh)
{
    const auto cells = static_cast<std::int32_t>(mesh.plastic.size() + mesh.moldBase.size());
    const std::string zone =
        writer.addArray<std::int32_t>(base, name, "Zone_t", {static_cast<std::int32_t>(mesh.nodeTotal()), cells, 0}, {1, 3});
    writer.addText(zone, "ZoneType", "ZoneType_t", "Unstructured");
    const std::string coordinates = writer.addNode(zone, "GridCoordinates", "GridCoordinates_t");
    for (const auto& [axis, values] :
         {std::pair{"CoordinateX", &mesh.x}, std::pair{"CoordinateY", &mesh.y}, std::pair{"CoordinateZ", &mesh.z}})
    {
        const std::string path = writer.addArray(coordinates, axis, "DataArray_t", std::span<const float>(*values));
        writer.addArray<float>(path, "DimensionalExponents", "DimensionalExponents_t", {0, 1, 0, 0, 0}); // a length
    }

    std::int32_t next = 1;
    FacetGroups groups;
    addCells(writer, zone, plastic, mesh.plastic, next);
    addCells(writer, zone, moldBase, mesh.moldBase, next);
    addSurface(writer, zone, mesh, next, groups);
    addPartInsert(writer, zone, mesh, next, groups);
    addBoundaryConditions(writer, zone, groups);
    addInterfaces(writer, zone, partInterfaces, mesh.partInterface);
    addInterfaces(writer, zone, partInsertInterfaces, mesh.partInsertInterface);
    return groups;
}

bool isEmpty(const MeshZone& zone)
{
    return zone.nodeTotal() == 0;
}

} // namespace

void writeMeshFile(const std::string& path, const MeshModel& model)
{
    const ModelCheck check(path, "");
    check.require(std::isfinite(model.scaleFactor) && model.scaleFactor > 0, "scale factor", "is not a positive number");
    check.require(std::isfinite(model.cellSize) && model.cellSize >= 0, "cell size", "is not a number from 0 on");
    check.require(!isEmpty(model.voxel) || !isEmpty(model.cutCell), "", "the model has no nodes");
    checkZone(ModelCheck(path, voxelZone), model.voxel, model.scaleFactor);
    checkZone(ModelCheck(path, cutCellZone), model.cutCell, model.scaleFactor);

    CgnsWriter writer(path);
    writer.addArray<std::int32_t>("/", base.substr(1), "CGNSBase_t", {3, 3});
    // Coordinates carry no unit: what one means is the scale factor times the host's length unit.
    writer.addText(base, "DataClass", "DataClass_t", "NormalizedByUnknownDimensional");
    writer.addNode(base, "MeshFile", "UserDefinedData_t"); // at `description`
    writer.addArray<std::int32_t>(description, "FormatVersion", "DataArray_t", {formatVersion});
    writer.addArray<double>(description, "ScaleFactor", "DataArray_t", {model.scaleFactor});
    writer.addArray<float>(description, "CellSize", "DataArray_t", {model.cellSize});
    if (!model.title.empty())
        writer.addText(base, "Title", "Descriptor_t", model.title);

    std::set<std::string> families;
    for (const auto& [name, zone] : {std::pair{voxelZone, &model.voxel}, std::pair{cutCellZone, &model.cutCell}})
        if (!isEmpty(*zone))
            for (const auto& [family, elements] : addZone(writer, name, *zone))
                families.insert(family);
    for (const std::string& family : families)
        writer.addNode(base, family, "Family_t");
    writer.commit();
}

} // namespace tav3d::opensuite
