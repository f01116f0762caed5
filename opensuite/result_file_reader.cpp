#include "result_file_reader.h"

#include "common/file_names.h"
#include "result_mesh.h"

#include <algorithm>
#include <cstdlib>
#include <limits>
#include <new>

namespace tav3d::opensuite
{

namespace layout = result_layout;
using layout::Storage;

namespace
{

constexpr std::int64_t maxEntries = std::numeric_limits<std::int32_t>::max() - 1; // n+1 entries stay countable
constexpr std::int64_t maxText = std::int64_t{1} << 30;

/// Puts value k at entry id[k+1].
void scatter(std::span<const float> value, std::span<const int> id, float* to)
{
    for (std::size_t k = 0; k < value.size(); ++k)
        to[id[k + 1]] = value[k];
}

/// The same, and 0 at the other entries of 1..n. `id` ascends from entry 1 on.
void scatterAmongZeros(std::span<const float> value, std::span<const int> id, float* to, int n)
{
    constexpr int block = 4096; // stays in the first cache between the zeros and the values
    std::size_t done = 0;
    for (int last = 0; last < n;)
    {
        const int first = last + 1;
        last = n - last > block ? last + block : n;
        std::fill(to + first, to + last + 1, 0.0f);
        for (; done < value.size() && id[done + 1] <= last; ++done)
            to[id[done + 1]] = value[done];
    }
}

} // namespace

OpenResultFile::OpenResultFile(const std::string& file)
    : name_(file)
    , state_(settledStateOf(common::pathOf(file)))
    , file_(std::make_unique<CgnsReader>(file))
{
    const std::string base = childPath("/", layout::base);
    const std::string parent = childPath(base, layout::description);
    if (!file_->has(parent))
        throw FileError(FileFailure::WrongKind, file, "", "is no result file");
    const auto version = file_->readValue<std::int32_t>(childPath(parent, layout::version));
    if (version != layout::formatVersion)
        file_->fail(layout::version, "format version " + std::to_string(version) + " is not known here");

    const bool hasZone[2] = {file_->has(childPath(base, layout::voxelZone)), file_->has(childPath(base, layout::cutCellZone))};
    if (hasZone[0] == hasZone[1])
        file_->fail(base, "must hold one zone, " + std::string(layout::voxelZone) + " or " + layout::cutCellZone);
    description_.m_bOnCutCellMesh = hasZone[1];
    zone_ = childPath(base, hasZone[1] ? layout::cutCellZone : layout::voxelZone);

    readHead(parent);
    readTypes(parent);
    readItems(parent);
}

bool OpenResultFile::isStill(const std::string& file) const
{
    return file_ && state_ && file == name_ && settledStateOf(common::pathOf(file)) == state_;
}

void OpenResultFile::readHead(const std::string& parent)
{
    const auto path = [&](const char* name) { return childPath(parent, name); };
    CBinaryInform& d = description_;
    if (file_->has(path(layout::title)))
        d.m_strTitle = file_->readText(path(layout::title), maxText);
    if (file_->has(path(layout::meshFile)))
        d.m_strMeshFile = meshPathFromStored(file_->readText(path(layout::meshFile), 1 << 16), name_);
    d.m_dFillingTime = file_->readValue<double>(path(layout::fillingTime));
    if (file_->has(path(layout::outputTimes)))
        d.m_OutputTime = file_->read<double>(path(layout::outputTimes), 1, maxEntries);
    d.m_iMultipleTimeStepMode = file_->readValue<std::int32_t>(path(layout::timeStepMode));
    d.m_bHasVentingResult = file_->readValue<std::int32_t>(path(layout::venting)) != 0;
    if (file_->has(path(layout::cooling)))
    {
        const std::string cooling = path(layout::cooling);
        const std::vector<double> values = file_->read<double>(childPath(cooling, layout::values), 1, maxEntries);
        const std::vector<std::string> names = readLines(childPath(cooling, layout::names), values.size());
        for (std::size_t k = 0; k < values.size(); ++k)
            d.m_CoolInfo.emplace_back(names[k], values[k]);
    }

    const std::vector<std::int64_t> counts = file_->read<std::int64_t>(path(layout::nodeCounts), 3, 3);
    const std::vector<std::int32_t> zone = file_->read<std::int32_t>(zone_, 3, 3);
    if (counts[0] < 0 || counts[0] > maxEntries || counts[1] < 0 || counts[1] > maxEntries)
        file_->fail(layout::nodeCounts, "a node count is not in 0 .. " + std::to_string(maxEntries));
    d.m_nVoxelNode = static_cast<int>(counts[0]);
    d.m_nCutCellNode = static_cast<int>(counts[1]);
    nodeTotal_ = d.m_bOnCutCellMesh ? d.m_nCutCellNode : d.m_nVoxelNode;
    if (nodeTotal_ < 1 || zone[0] != nodeTotal_)
        file_->fail(layout::nodeCounts,
                    "the node count " + std::to_string(nodeTotal_) + " is not that of the zone, " + std::to_string(zone[0]));
    if (counts[2] < 0 || counts[2] > nodeTotal_)
        file_->fail(layout::nodeCounts, "more part nodes than nodes");
    d.m_nMaxCavityNode = counts[2];
}

void OpenResultFile::readTypes(const std::string& parent)
{
    const std::string table = childPath(parent, layout::types);
    if (!file_->has(table))
        return;
    const auto number = file_->read<std::int32_t>(childPath(table, layout::number), 1, maxEntries);
    const auto rows = static_cast<std::int64_t>(number.size());
    const auto dimension = file_->read<std::int32_t>(childPath(table, layout::dimension), rows, rows);
    const auto usesIDMap = file_->read<std::int32_t>(childPath(table, layout::usesIDMap), rows, rows);
    for (std::size_t k = 0; k < number.size(); ++k)
    {
        const std::string item = layout::typeText(number[k]);
        CBinaryResultType type;
        type.m_nDimension = dimension[k];
        type.m_bUseIDMap = usesIDMap[k] != 0;
        if (type.m_nDimension < 0 || type.m_nDimension > nodeTotal_)
            file_->fail(item, "a dimension of " + std::to_string(dimension[k]) + " for " + std::to_string(nodeTotal_) + " nodes");
        if (!type.m_bUseIDMap && type.m_nDimension != nodeTotal_)
            file_->fail(item, "has no ID map, and its dimension " + std::to_string(dimension[k]) + " is not the node count " +
                                  std::to_string(nodeTotal_));
        if (type.m_nDimension > 0 && type.m_bUseIDMap)
        {
            const std::string path = childPath(childPath(zone_, layout::mapGroup(number[k])), layout::nodeNumber);
            const CgnsArray ids = file_->open<std::int32_t>(path, dimension[k], dimension[k]);
            std::vector<int>& id = type.m_MappingID;
            id.resize(static_cast<std::size_t>(dimension[k]) + 1);
            ids.read(0, std::span<std::int32_t>(id).subspan(1));
            if (const std::size_t e = layout::firstMisfit(id, nodeTotal_); e != 0)
                file_->fail(item, "entry " + std::to_string(e) + " of its ID map is " + std::to_string(id[e]) +
                                      "; the entries must ascend from 1 to " + std::to_string(nodeTotal_));
        }
        if (!description_.m_ResultType.emplace(number[k], std::move(type)).second)
            file_->fail(item, "stands twice in the table of result types");
    }
}

void OpenResultFile::readItems(const std::string& parent)
{
    const std::string table = childPath(parent, layout::items);
    if (!file_->has(table))
        return;
    const auto number = file_->read<std::int32_t>(childPath(table, layout::number), 1, maxEntries);
    const auto rows = static_cast<std::int64_t>(number.size());
    const auto column = [&](const char* name) { return file_->read<std::int32_t>(childPath(table, name), rows, rows); };
    const auto type = column(layout::resultType);
    const auto storage = column(layout::storage);
    const auto max = file_->read<float>(childPath(table, layout::maximum), rows, rows);
    const auto min = file_->read<float>(childPath(table, layout::minimum), rows, rows);
    const auto names = readLines(childPath(table, layout::names), number.size());
    const auto units = readLines(childPath(table, layout::units), number.size());
    const auto arrays = readLines(childPath(table, layout::arrays), number.size());
    for (std::size_t k = 0; k < number.size(); ++k)
    {
        const CBinaryResultItem row{number[k], type[k], max[k], min[k], names[k], units[k]};
        if (hasItem(row.m_iResultItemID))
            file_->fail(layout::itemText(row.m_iResultItemID), "stands twice in the item table");
        items_.emplace(row.m_iResultItemID, openItem(row, storage[k], arrays[k]));
        description_.m_ResultItem.push_back(row);
    }
}

/// Finds the array of an item where the table says it stands, and holds its length against the tables.
OpenResultFile::Item OpenResultFile::openItem(const CBinaryResultItem& row, int storage, const std::string& arrayName) const
{
    const std::string text = layout::itemText(row.m_iResultItemID);
    const auto type = description_.m_ResultType.find(row.m_iResultType);
    if (type == description_.m_ResultType.end())
        file_->fail(text, layout::typeText(row.m_iResultType) + " has no dimension");
    const auto [dimension, usesIDMap] = std::pair(type->second.m_nDimension, type->second.m_bUseIDMap);
    if (arrayName.empty() || arrayName.find('/') != std::string::npos)
        file_->fail(text, "impossible name of its array");

    Item item;
    item.type = row.m_iResultType;
    item.storage = static_cast<Storage>(storage);
    const auto open = [&](const std::string& group, std::int64_t least, std::int64_t most)
    { item.array = file_->open<float>(childPath(childPath(zone_, group), arrayName), least, most); };
    switch (item.storage)
    {
    case Storage::None:
        if (!usesIDMap || dimension != 0)
            file_->fail(text, "has no values, but " + layout::typeText(row.m_iResultType) + " has " + std::to_string(dimension));
        return item;
    case Storage::NodeField:
        if (usesIDMap)
            file_->fail(text, "stands at all nodes, but " + layout::typeText(row.m_iResultType) + " has an ID map");
        open(layout::solution, nodeTotal_, nodeTotal_);
        return item;
    case Storage::IDMap:
        if (!usesIDMap || dimension == 0)
            file_->fail(text, "stands beside an ID map that " + layout::typeText(row.m_iResultType) + " has not");
        open(layout::mapGroup(row.m_iResultType), dimension, dimension);
        return item;
    case Storage::OtherLayout:
        open(layout::otherLayout, 1, maxEntries);
        return item;
    }
    file_->fail(text, "unknown storage " + std::to_string(storage));
}

/// The lines of a text; each ends with a line break.
std::vector<std::string> OpenResultFile::readLines(const std::string& path, std::size_t count) const
{
    const std::string text = file_->readText(path, maxText);
    std::vector<std::string> lines;
    std::size_t begin = 0;
    for (std::size_t end; (end = text.find('\n', begin)) != std::string::npos; begin = end + 1)
        lines.push_back(text.substr(begin, end - begin));
    if (lines.size() != count || begin != text.size())
        file_->fail(path, "has not " + std::to_string(count) + " lines");
    return lines;
}

int OpenResultFile::dimension(int resultType) const
{
    const auto type = description_.m_ResultType.find(resultType);
    return type == description_.m_ResultType.end() ? 0 : type->second.m_nDimension;
}

const OpenResultFile::Item& OpenResultFile::find(int number) const
{
    const auto item = items_.find(number);
    if (item == items_.end())
        throw FileError(FileFailure::BadContent, name_, layout::itemText(number), "the file has no such item");
    return item->second;
}

bool OpenResultFile::readItem(int number, float* buffer) const
{
    const Item& item = find(number);
    const auto room = static_cast<std::int64_t>(dimension(item.type));
    const std::int64_t stored = item.array.count();
    // Straight into the caller's buffer would leave half of the values there when the reading fails half-way.
    std::vector<float> values(static_cast<std::size_t>(std::min(room, stored)));
    item.array.read(0, std::span<float>(values));
    std::copy(values.begin(), values.end(), buffer + 1);
    std::fill(buffer + 1 + values.size(), buffer + 1 + room, 0.0f);
    return stored == room;
}

void OpenResultFile::Release::operator()(float* array) const noexcept
{
    std::free(array);
}

float* OpenResultFile::createFullResult(int number, int resultType, int& nNode)
{
    const Item& item = find(number);
    if (item.type != resultType)
        throw FileError(FileFailure::BadContent, name_, layout::itemText(number),
                        "is of result type " + std::to_string(item.type) + ", not " + std::to_string(resultType));
    const bool whole = item.storage == Storage::NodeField || item.storage == Storage::OtherLayout;
    const int n = whole ? static_cast<int>(item.array.count()) : nodeTotal_;

    full_.count = 0;
    const bool isNew = n > full_.used;
    if (isNew)
        makeRoom(n);
    else if (item.storage == Storage::None)
        std::fill_n(full_.values.get() + 1, n, 0.0f);
    float* const values = full_.values.get();
    values[0] = 0.0f; // which the caller may have changed
    if (whole)
    {
        item.array.read(0, std::span<float>(values + 1, static_cast<std::size_t>(n)));
        full_.used = std::max(full_.used, n);
    }
    else if (item.storage == Storage::IDMap)
    {
        const std::vector<int>& id = description_.m_ResultType.at(item.type).m_MappingID;
        compact_.resize(id.size() - 1);
        item.array.read(0, std::span<float>(compact_));
        if (isNew)
            scatter(compact_, id, values);
        else
            scatterAmongZeros(compact_, id, values, n);
    }
    full_.count = n;
    nNode = n;
    return values;
}

/// A new array, zeroed by the system page by page where it is touched: the node count behind a small ID map is backed by nothing in the file.
void OpenResultFile::makeRoom(int n)
{
    full_ = FullResult();
    full_.values.reset(static_cast<float*>(std::calloc(static_cast<std::size_t>(n) + 1, sizeof(float))));
    if (!full_.values)
        throw std::bad_alloc();
}

std::optional<int> OpenResultFile::lengthOf(const float* array) const
{
    if (array == nullptr || array != full_.values.get())
        return {};
    return full_.count;
}

void OpenResultFile::close()
{
    full_ = FullResult();
    items_.clear();
    file_.reset();
}

} // namespace tav3d::opensuite
