#include "result_file_writer.h"

#include "item_observer.h"

#include "result_mesh.h"

#include <algorithm>
#include <limits>
#include <utility>

namespace tav3d::opensuite
{

namespace layout = result_layout;
using layout::Storage;

ResultFileWriter::ResultFileWriter(std::string target, bool onCutCellMesh)
    : target_(std::move(target))
    , file_(target_)
    , onCutCellMesh_(onCutCellMesh)
{
}

void ResultFileWriter::refuse(const std::string& item, const std::string& reason) const
{
    throw FileError(FileFailure::BadInput, target_, item, reason);
}

void ResultFileWriter::needBefore(bool there, const char* item, const char* what) const
{
    if (!there)
        refuse(item, std::string(what) + " must be handed over before it");
}

/// Texts stand line by line in their tables, so none may hold a line break; other control characters have no place in a name either.
void ResultFileWriter::checkText(const std::string& item, const std::string& text) const
{
    if (std::any_of(text.begin(), text.end(), [](unsigned char c) { return c < 0x20; }))
        refuse(item, "a name or unit holds a control character");
}

void ResultFileWriter::setHead(const CBinaryInform& inform, std::shared_ptr<const OpenResultFile> source, double fillingTime)
{
    if (!zone_.empty())
        refuse("head", "comes after the first item");
    if (inform.m_nVoxelNode < 0 || inform.m_nCutCellNode < 0 || inform.m_nMaxCavityNode < 0)
        refuse("head", "a node count is negative");
    checkText("head", inform.m_strMeshFile);

    CBinaryInform head; // items and result types are handed over by themselves
    head.m_strTitle = inform.m_strTitle;
    head.m_strMeshFile = inform.m_strMeshFile;
    head.m_bOnCutCellMesh = inform.m_bOnCutCellMesh;
    head.m_nVoxelNode = inform.m_nVoxelNode;
    head.m_nCutCellNode = inform.m_nCutCellNode;
    head.m_nMaxCavityNode = inform.m_nMaxCavityNode;
    head.m_iMultipleTimeStepMode = inform.m_iMultipleTimeStepMode;
    head.m_bHasVentingResult = inform.m_bHasVentingResult;
    std::optional<ResultMesh> mesh;
    if (!head.m_strMeshFile.empty())
    {
        mesh = findResultMesh(head.m_strMeshFile, onCutCellMesh_);
        head.m_strMeshFile = meshPathToStore(head.m_strMeshFile, target_);
    }
    if (mesh)
    {
        // A count of 0 is one that the record does not tell; the mesh does.
        int* counts[2] = {&head.m_nVoxelNode, &head.m_nCutCellNode};
        for (int k = 0; k < 2; ++k)
        {
            if (*counts[k] != 0 && *counts[k] != mesh->bothNodes[k])
                refuse("head", "the mesh file " + inform.m_strMeshFile + " has " + std::to_string(mesh->bothNodes[k]) + " nodes in its " +
                                   (k == 0 ? "voxel" : "cut-cell") + " mesh, not " + std::to_string(*counts[k]));
            *counts[k] = static_cast<int>(mesh->bothNodes[k]);
        }
    }
    const int nodeTotal = onCutCellMesh_ ? head.m_nCutCellNode : head.m_nVoxelNode;
    if (nodeTotal == 0)
        refuse("head", std::string("the node count of the ") + (onCutCellMesh_ ? "cut-cell" : "voxel") +
                           " mesh is not recorded, and the mesh file is not there to tell it");
    if (head.m_bOnCutCellMesh != onCutCellMesh_)
        head.m_nMaxCavityNode =
            mesh ? countPartNodes(inform.m_strMeshFile, onCutCellMesh_) : 0; // the record counts nodes of the other mesh
    if (head.m_nMaxCavityNode > nodeTotal)
        refuse("head", "more part nodes than nodes");

    head.m_dFillingTime = fillingTime;
    head.m_CoolInfo = std::move(head_.m_CoolInfo);
    head.m_OutputTime = std::move(head_.m_OutputTime);
    head_ = std::move(head);
    mesh_ = std::move(mesh);
    nodeTotal_ = nodeTotal;
    source_ = std::move(source);
    hasHead_ = true;
}

void ResultFileWriter::setCooling(const CBinaryInform& inform)
{
    for (const auto& [name, value] : inform.m_CoolInfo)
        checkText("cooling information", name);
    head_.m_CoolInfo = inform.m_CoolInfo;
}

void ResultFileWriter::setOutputTimes(const CBinaryInform& inform)
{
    head_.m_OutputTime = inform.m_OutputTime;
    timeStepMode_ = inform.m_iMultipleTimeStepMode;
}

void ResultFileWriter::setItems(const CBinaryInform& inform)
{
    if (!zone_.empty())
        refuse("item table", "comes after the first item");
    std::vector<Item> items;
    std::map<int, std::size_t> itemAt;
    for (const CBinaryResultItem& row : inform.m_ResultItem)
    {
        checkText(layout::itemText(row.m_iResultItemID), row.m_strName);
        checkText(layout::itemText(row.m_iResultItemID), row.m_strUnit);
        if (!itemAt.emplace(row.m_iResultItemID, items.size()).second)
            refuse(layout::itemText(row.m_iResultItemID), "stands twice in the item table");
        items.push_back({row, layout::arrayName(row), Storage::None, false});
    }
    items_ = std::move(items);
    itemAt_ = std::move(itemAt);
    hasItems_ = true;
}

void ResultFileWriter::setTypes(const CBinaryInform& inform)
{
    needBefore(hasHead_, "result types", "the head");
    if (!zone_.empty())
        refuse("result types", "come after the first item");
    std::map<int, CBinaryResultType> types;
    for (const auto& [number, given] : inform.m_ResultType)
    {
        CBinaryResultType type;
        type.m_bUseIDMap = given.m_bUseIDMap;
        type.m_nDimension = given.m_bUseIDMap ? given.m_nDimension : nodeTotal_;
        if (given.m_nDimension < 0 || type.m_nDimension > nodeTotal_)
            refuse(layout::typeText(number),
                   "a dimension of " + std::to_string(given.m_nDimension) + " for " + std::to_string(nodeTotal_) + " nodes");
        if (!given.m_bUseIDMap && given.m_nDimension != head_.m_nVoxelNode && given.m_nDimension != head_.m_nCutCellNode)
            refuse(layout::typeText(number),
                   "has no ID map, and its dimension " + std::to_string(given.m_nDimension) + " is the node count of neither mesh");
        types.emplace(number, std::move(type));
    }
    types_ = std::move(types);
    hasTypes_ = true;
}

void ResultFileWriter::setIDMaps(const CBinaryInform& inform)
{
    needBefore(hasTypes_, "ID maps", "the result types");
    if (!zone_.empty())
        refuse("ID maps", "come after the first item");
    for (const auto& [number, given] : inform.m_ResultType)
    {
        if (!given.m_bUseIDMap)
            continue;
        const auto found = types_.find(number);
        if (found == types_.end() || !found->second.m_bUseIDMap || found->second.m_nDimension != given.m_nDimension)
            refuse(layout::typeText(number), "its ID map contradicts the result types handed over before");
        const std::vector<int>& id = given.m_MappingID;
        const std::size_t count = static_cast<std::size_t>(given.m_nDimension);
        if (id.size() != count + 1 && !(count == 0 && id.empty()))
            refuse(layout::typeText(number), "its ID map has not " + std::to_string(count) + " entries");
        if (const std::size_t k = layout::firstMisfit(id, nodeTotal_); k != 0)
            refuse(layout::typeText(number), "entry " + std::to_string(k) + " of its ID map is " + std::to_string(id[k]) +
                                                 "; the entries must ascend from 1 to " + std::to_string(nodeTotal_));
        found->second.m_MappingID = id;
    }
}

/// Base, zone and geometry, the solution, and the ID maps; from here on descriptions that these rest on are settled.
void ResultFileWriter::beginZone()
{
    needBefore(hasHead_, "items", "the head");
    needBefore(hasItems_, "items", "the item table");
    needBefore(hasTypes_, "items", "the result types");
    for (const auto& [number, type] : types_)
        if (type.m_nDimension > 0 && type.m_bUseIDMap && type.m_MappingID.empty())
            refuse(layout::typeText(number), "its ID map is missing");

    const std::string base = file_.addArray<std::int32_t>("/", layout::base, layout::labelBase, {3, 3});
    const char* zoneName = onCutCellMesh_ ? layout::cutCellZone : layout::voxelZone;
    zone_ = file_.addArray<std::int32_t>(base, zoneName, layout::labelZone,
                                         {nodeTotal_, mesh_ ? static_cast<std::int32_t>(mesh_->cellTotal) : 0, 0}, {1, 3});
    file_.addText(zone_, "ZoneType", layout::labelZoneType, "Unstructured");
    if (mesh_)
    {
        for (const std::string& name : mesh_->geometry)
            file_.addLink(zone_, name, {head_.m_strMeshFile, childPath(mesh_->zonePath, name)});
        for (const std::string& name : mesh_->families)
            file_.addLink(base, name, {head_.m_strMeshFile, childPath(mesh_->basePath, name)});
    }
    const std::string solution = file_.addNode(zone_, layout::solution, layout::labelSolution);
    file_.addText(solution, "GridLocation", layout::labelLocation, "Vertex");
    for (const auto& [number, type] : types_)
    {
        if (!type.m_bUseIDMap || type.m_nDimension == 0)
            continue;
        const std::string group = file_.addNode(zone_, layout::mapGroup(number), layout::labelOwn);
        file_.addArray(group, layout::nodeNumber, layout::labelArray, std::span<const std::int32_t>(type.m_MappingID).subspan(1));
    }
}

void ResultFileWriter::writeItem(int number, const float* value)
{
    const auto at = itemAt_.find(number);
    if (at == itemAt_.end())
        refuse(layout::itemText(number), "does not stand in the item table");
    Item& item = items_[at->second];
    if (item.written)
        refuse(layout::itemText(number), "is written a second time");
    const auto type = types_.find(item.row.m_iResultType);
    if (type == types_.end())
        refuse(layout::itemText(number), layout::typeText(item.row.m_iResultType) + " has no dimension");
    if (zone_.empty())
        beginZone();

    // An array of the source file brings its own length. It holds a value per node of the source's mesh, so beside an ID map it stays whole.
    const std::optional<int> sourceLength = source_ ? source_->lengthOf(value) : std::nullopt;
    const std::int32_t n = sourceLength.value_or(type->second.m_nDimension);
    Storage storage = Storage::NodeField;
    if (n == 0)
        storage = Storage::None;
    else if (type->second.m_bUseIDMap)
        storage = sourceLength ? Storage::OtherLayout : Storage::IDMap;
    else if (n != nodeTotal_)
        storage = Storage::OtherLayout;
    if (n > 0 && value == nullptr)
        refuse(layout::itemText(number), "comes without values");

    std::string parent = childPath(zone_, layout::solution);
    if (storage == Storage::IDMap)
        parent = childPath(zone_, layout::mapGroup(type->first));
    else if (storage == Storage::OtherLayout)
    {
        parent = childPath(zone_, layout::otherLayout);
        if (!std::exchange(hasOtherLayout_, true))
            file_.addNode(zone_, layout::otherLayout, layout::labelOwn);
    }
    if (storage != Storage::None)
        file_.addArray(parent, item.array, layout::labelArray, std::span<const float>(value + 1, static_cast<std::size_t>(n)));
    item.storage = storage;
    item.written = true;
    tellItemStored(++storedTotal_, static_cast<int>(items_.size()));
}

void ResultFileWriter::setExtremes(const float* max, const float* min)
{
    needBefore(hasItems_, "extremes", "the item table");
    if (!items_.empty() && (max == nullptr || min == nullptr))
        refuse("extremes", "come without values");
    for (std::size_t k = 0; k < items_.size(); ++k)
    {
        items_[k].row.m_fMax = max[k];
        items_[k].row.m_fMin = min[k];
    }
}

void ResultFileWriter::finish()
{
    for (const Item& item : items_)
        if (!item.written)
            refuse(layout::itemText(item.row.m_iResultItemID), "stands in the item table but was never written");
    if (zone_.empty())
        beginZone();
    writeDescription();
    file_.commit();
    countCompletedResultFile();
}

void ResultFileWriter::addLines(const std::string& parent, const char* name, const std::vector<std::string>& lines)
{
    std::string text;
    for (const std::string& line : lines)
        text += line + '\n';
    file_.addText(parent, name, layout::labelText, text);
}

void ResultFileWriter::writeDescription()
{
    const std::string parent = file_.addNode(childPath("/", layout::base), layout::description, layout::labelOwn);
    file_.addArray<std::int32_t>(parent, layout::version, layout::labelArray, {layout::formatVersion});
    if (!head_.m_strTitle.empty())
        file_.addText(parent, layout::title, layout::labelText, head_.m_strTitle);
    if (!head_.m_strMeshFile.empty())
        file_.addText(parent, layout::meshFile, layout::labelText, head_.m_strMeshFile);
    file_.addArray<double>(parent, layout::fillingTime, layout::labelArray, {head_.m_dFillingTime});
    file_.addArray<std::int64_t>(parent, layout::nodeCounts, layout::labelArray,
                                 {head_.m_nVoxelNode, head_.m_nCutCellNode, head_.m_nMaxCavityNode});
    if (!head_.m_OutputTime.empty())
        file_.addArray(parent, layout::outputTimes, layout::labelArray, std::span<const double>(head_.m_OutputTime));
    file_.addArray<std::int32_t>(parent, layout::timeStepMode, layout::labelArray, {timeStepMode_});
    file_.addArray<std::int32_t>(parent, layout::venting, layout::labelArray, {venting_ ? 1 : 0});

    if (!head_.m_CoolInfo.empty())
    {
        const std::string cooling = file_.addNode(parent, layout::cooling, layout::labelOwn);
        std::vector<std::string> names;
        std::vector<double> values;
        for (const auto& [name, value] : head_.m_CoolInfo)
        {
            names.push_back(name);
            values.push_back(value);
        }
        addLines(cooling, layout::names, names);
        file_.addArray(cooling, layout::values, layout::labelArray, std::span<const double>(values));
    }
    writeItemTable(parent);
    writeTypeTable(parent);
}

void ResultFileWriter::writeItemTable(const std::string& parent)
{
    if (items_.empty())
        return;
    std::vector<std::int32_t> number, type, storage;
    std::vector<float> max, min;
    std::vector<std::string> names, units, arrays;
    for (const Item& item : items_)
    {
        number.push_back(item.row.m_iResultItemID);
        type.push_back(item.row.m_iResultType);
        storage.push_back(static_cast<std::int32_t>(item.storage));
        max.push_back(item.row.m_fMax);
        min.push_back(item.row.m_fMin);
        names.push_back(item.row.m_strName);
        units.push_back(item.row.m_strUnit);
        arrays.push_back(item.array);
    }
    const std::string table = file_.addNode(parent, layout::items, layout::labelOwn);
    file_.addArray(table, layout::number, layout::labelArray, std::span<const std::int32_t>(number));
    file_.addArray(table, layout::resultType, layout::labelArray, std::span<const std::int32_t>(type));
    file_.addArray(table, layout::storage, layout::labelArray, std::span<const std::int32_t>(storage));
    file_.addArray(table, layout::maximum, layout::labelArray, std::span<const float>(max));
    file_.addArray(table, layout::minimum, layout::labelArray, std::span<const float>(min));
    addLines(table, layout::names, names);
    addLines(table, layout::units, units);
    addLines(table, layout::arrays, arrays);
}

void ResultFileWriter::writeTypeTable(const std::string& parent)
{
    if (types_.empty())
        return;
    std::vector<std::int32_t> number, dimension, usesIDMap;
    for (const auto& [type, content] : types_)
    {
        number.push_back(type);
        dimension.push_back(content.m_nDimension);
        usesIDMap.push_back(content.m_bUseIDMap ? 1 : 0);
    }
    const std::string table = file_.addNode(parent, layout::types, layout::labelOwn);
    file_.addArray(table, layout::number, layout::labelArray, std::span<const std::int32_t>(number));
    file_.addArray(table, layout::dimension, layout::labelArray, std::span<const std::int32_t>(dimension));
    file_.addArray(table, layout::usesIDMap, layout::labelArray, std::span<const std::int32_t>(usesIDMap));
}

} // namespace tav3d::opensuite
