#include "field_grid.h"

#include "common/file_names.h"
#include "opensuite/file_error.h"
#include "opensuite/mesh_file_layout.h"
#include "opensuite/result_layout.h"
#include "result_items.h"

#include <algorithm>
#include <filesystem>

namespace tav3d::tools
{

using namespace opensuite;

namespace
{

const MeshZoneSummary& zoneOf(const MeshSummary& header, ZoneId zone)
{
    return zone == ZoneId::Voxel ? header.voxel : header.cutCell;
}

ZoneId otherZone(ZoneId zone)
{
    return zone == ZoneId::Voxel ? ZoneId::CutCell : ZoneId::Voxel;
}

/// Nodes, cells and title of one mesh.
void readMesh(const std::string& meshFile, ZoneId zone, FieldGrid& grid)
{
    const MeshSummary header = readMeshHeader(meshFile);
    MeshZone mesh = readMeshZone(meshFile, zone);
    grid.title = header.title;
    grid.meshFile = meshFile;
    grid.zone = zone;
    for (auto [from, to] : {std::pair{&mesh.x, &grid.x}, {&mesh.y, &grid.y}, {&mesh.z, &grid.z}})
    {
        *to = std::move(*from);
        for (float& c : *to)
            c = mesh_layout::scaled(c, header.scaleFactor);
    }
    grid.partCells = mesh.plastic.size();
    grid.cells = std::move(mesh.plastic);
    for (std::size_t c = 0; c < mesh.moldBase.size(); ++c)
        grid.cells.add(mesh.moldBase.kind[c], mesh.moldBase.node.data() + mesh.moldBase.start[c], mesh.moldBase.body[c]);
}

void keepPart(FieldGrid& grid, const std::string& file)
{
    if (grid.partCells == 0)
        throw FileError(FileFailure::BadInput, file, std::string(meshName(grid.zone)) + " mesh", "has no cells of the part");
    CellList& cells = grid.cells;
    cells.kind.resize(grid.partCells);
    cells.body.resize(grid.partCells);
    cells.start.resize(grid.partCells + 1);
    cells.node.resize(static_cast<std::size_t>(cells.start.back()));
}

template <class T>
void keep(std::vector<T>& values, const std::vector<std::int32_t>& numbers)
{
    for (std::size_t k = 0; k < numbers.size(); ++k)
        values[k] = values[static_cast<std::size_t>(numbers[k]) - 1]; // ascending: nothing is overwritten before it is read
    values.resize(numbers.size());
    values.shrink_to_fit();
}

/// Renumbers the nodes that belong to cells 1, 2, ... in their order, and drops the others. Does nothing when there are no others.
void dropLooseNodes(FieldGrid& grid)
{
    std::vector<std::int32_t> newNumber(grid.nodeTotal() + 1, 0);
    for (const std::int32_t node : grid.cells.node)
        newNumber[static_cast<std::size_t>(node)] = 1;
    std::vector<std::int32_t> kept;
    for (std::size_t n = 1; n < newNumber.size(); ++n)
        if (newNumber[n] != 0)
        {
            kept.push_back(static_cast<std::int32_t>(n));
            newNumber[n] = static_cast<std::int32_t>(kept.size());
        }
    if (kept.size() == grid.nodeTotal())
        return;
    for (std::int32_t& node : grid.cells.node)
        node = newNumber[static_cast<std::size_t>(node)];
    for (std::vector<float>* axis : {&grid.x, &grid.y, &grid.z})
        keep(*axis, kept);
    grid.nodeNumber = std::move(kept);
}

/// The rows of the item table that are asked for, in the order of the table.
std::vector<CBinaryResultItem> chosenRows(const GridRequest& request, const CBinaryInform& description)
{
    const auto number = [](const CBinaryResultItem& row) { return row.m_iResultItemID; };
    for (const int wanted : request.items)
        if (std::ranges::find(description.m_ResultItem, wanted, number) == description.m_ResultItem.end())
        {
            std::string known;
            for (const CBinaryResultItem& row : description.m_ResultItem)
                known += (known.empty() ? "" : ", ") + std::to_string(number(row));
            throw FileError(FileFailure::BadInput, request.file, "item " + std::to_string(wanted),
                            "the file has no such item" + (known.empty() ? "" : "; it has " + known));
        }
    std::vector<CBinaryResultItem> rows = description.m_ResultItem;
    if (!request.items.empty())
        std::erase_if(rows,
                      [&](const CBinaryResultItem& row) { return std::ranges::find(request.items, number(row)) == request.items.end(); });
    return rows;
}

void readFields(const GridRequest& request, OpenResultFile& result, FieldGrid& grid, std::vector<std::string>& notes)
{
    for (const CBinaryResultItem& row : chosenRows(request, result.description()))
    {
        StoredItem stored;
        readStoredItem(result, row, stored);
        const bool isNowhere = stored.layout == StoredItem::Layout::ListedNodes && result.dimension(row.m_iResultType) == 0;
        if (isNowhere || stored.layout == StoredItem::Layout::Own)
        {
            const std::string reason = isNowhere ? "has no values"
                                                 : "has " + std::to_string(stored.value.size()) + " values, which are not those of the " +
                                                       meshName(grid.zone) + " mesh's nodes";
            if (!request.items.empty())
                throw FileError(FileFailure::BadInput, request.file, itemLabel(row), reason);
            notes.push_back(request.file + ": " + itemLabel(row) + ": left out: " + reason);
            continue;
        }
        GridField field{row.m_iResultItemID, result_layout::arrayName(row), row.m_strUnit, std::move(stored.value),
                        std::move(stored.isThere)};
        if (!grid.nodeNumber.empty())
        {
            keep(field.value, grid.nodeNumber);
            if (!field.isThere.empty())
                keep(field.isThere, grid.nodeNumber);
        }
        grid.fields.push_back(std::move(field));
    }
}

void selectCells(const GridRequest& request, FieldGrid& grid)
{
    if (request.partOnly)
        keepPart(grid, grid.meshFile);
    if (request.partOnly || request.dropLooseNodes)
        dropLooseNodes(grid);
}

FieldGrid loadMeshAlone(const GridRequest& request)
{
    if (!request.items.empty())
        throw FileError(FileFailure::BadInput, request.file, "item " + std::to_string(request.items[0]), "a mesh file has no items");
    if (!request.meshFile.empty())
        throw FileError(FileFailure::BadInput, request.file, "", "is a mesh file itself: no other can be named");
    const MeshSummary header = readMeshHeader(request.file);
    ZoneId zone = request.zone.value_or(ZoneId::CutCell);
    if (!request.zone && !zoneOf(header, zone).present)
        zone = otherZone(zone);
    FieldGrid grid;
    readMesh(request.file, zone, grid);
    selectCells(request, grid);
    return grid;
}

} // namespace

FieldGrid loadFieldGrid(const GridRequest& request, std::vector<std::string>& notes)
{
    if (kindOfFile(request.file) == FileKind::Mesh)
        return loadMeshAlone(request);

    OpenResultFile result(request.file);
    const CBinaryInform& description = result.description();
    (void)chosenRows(request, description); // a wrong number is told before the mesh is read
    const ZoneId zone = description.m_bOnCutCellMesh ? ZoneId::CutCell : ZoneId::Voxel;
    if (request.zone && *request.zone != zone)
        throw FileError(FileFailure::BadInput, request.file, "", std::string("stands on the ") + meshName(zone) + " mesh");
    const std::string meshFile = request.meshFile.empty() ? description.m_strMeshFile : request.meshFile;
    if (meshFile.empty())
        throw FileError(FileFailure::BadInput, request.file, "mesh file", "is not recorded; name it with --mesh");

    FieldGrid grid;
    try
    {
        readMesh(meshFile, zone, grid);
    }
    catch (const FileError& error)
    {
        const bool isMissing = error.failure() == FileFailure::CannotOpen && request.meshFile.empty();
        throw FileError(error.failure(), request.file, "mesh file", error.what() + std::string(isMissing ? " (--mesh names another)" : ""));
    }
    if (grid.nodeTotal() != static_cast<std::size_t>(nodeTotalOf(description)))
        throw FileError(FileFailure::BadInput, request.file, "mesh file",
                        meshFile + " has " + std::to_string(grid.nodeTotal()) + " nodes in its " + meshName(zone) + " mesh, the result " +
                            std::to_string(nodeTotalOf(description)));
    if (!description.m_strTitle.empty())
        grid.title = description.m_strTitle;
    selectCells(request, grid);
    readFields(request, result, grid, notes);
    return grid;
}

const char* meshName(ZoneId zone) noexcept
{
    return zone == ZoneId::Voxel ? "voxel" : "cut-cell";
}

bool isSameFile(const std::string& a, const std::string& b) noexcept
{
    std::error_code error;
    return std::filesystem::equivalent(common::pathOf(a), common::pathOf(b), error) && !error;
}

} // namespace tav3d::tools
