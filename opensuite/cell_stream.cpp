#include "cell_stream.h"

#include <algorithm>
#include <array>

namespace tav3d::opensuite
{

namespace
{

constexpr std::int64_t blockCells = 8192; // with at most 9 table entries each: a block stays in the second cache

/// Table entries of a cell of each element type: the type and its nodes; 0 for types that are none of ours.
constexpr auto entriesOfType = []
{
    std::array<std::uint8_t, 32> entries{};
    for (const CellKind kind : {CellKind::Tetra4, CellKind::Pyramid5, CellKind::Prism6, CellKind::Hexa8})
        entries[static_cast<std::size_t>(mesh_layout::elementType(kind))] = static_cast<std::uint8_t>(1 + nodeCount(kind));
    return entries;
}();

constexpr std::uint32_t highestType = 17;

std::uint32_t entriesOf(std::int32_t type) noexcept
{
    return entriesOfType[std::min<std::uint32_t>(static_cast<std::uint32_t>(type), entriesOfType.size() - 1)];
}

/// 1 in the highest bit when `node` is none of 1 .. nodes.
std::uint32_t misses(std::int32_t node, std::uint32_t nodes) noexcept
{
    const auto n = static_cast<std::uint32_t>(node);
    return (n - 1u) | (nodes - n);
}

std::int32_t one(const CgnsArray& array, std::int64_t at)
{
    std::int32_t value = 0;
    array.read(at, std::span<std::int32_t>(&value, 1));
    return value;
}

} // namespace

CellStream::CellStream(const CgnsReader& reader, const std::string& section, std::int64_t cells, std::int64_t nodes)
    : reader_(&reader)
    , path_(section)
    , nodes_(static_cast<std::uint32_t>(nodes))
    , cells_(cells)
{
    if (cells == 0)
        return;
    // A cell is its type and 4 to 8 nodes.
    table_ = reader.open<std::int32_t>(section + "/ElementConnectivity", 5 * cells, 9 * cells);
    bodies_ = reader.open<std::int32_t>(section + "/CellData/Body", cells, cells);
    offsets_ = reader.open<std::int32_t>(section + "/ElementStartOffset", cells + 1, cells + 1);
    tableSize_ = table_.count();
    if (one(offsets_, cells) != tableSize_)
        reader.fail(section + "/ElementStartOffset", "does not end where the table of nodes ends");
}

void CellStream::rewind() noexcept
{
    first_ = start_ = 0;
    inBlock_ = at_ = blockSize_ = 0;
}

std::span<const std::int32_t> CellStream::nextNodes()
{
    if (!fetch())
        return {};
    at_ = inBlock_;
    // A cell's own first node takes the place of its type.
    for (std::size_t c = 0; c < inBlock_; ++c)
    {
        const auto at = static_cast<std::size_t>(offset_[c] - start_);
        block_[at] = block_[at + 1];
    }
    return {block_.data(), blockSize_};
}

bool CellStream::fetch()
{
    first_ += static_cast<std::int64_t>(inBlock_);
    start_ += static_cast<std::int64_t>(blockSize_);
    inBlock_ = at_ = blockSize_ = 0;
    if (first_ == cells_)
        return false;
    const auto count = static_cast<std::size_t>(std::min(blockCells, cells_ - first_));
    offset_.resize(count + 1);
    body_.resize(count);
    offsets_.read(first_, std::span<std::int32_t>(offset_));
    bodies_.read(first_, std::span<std::int32_t>(body_));
    if (!readTable() || !kindsFit() || !nodesExist())
        diagnose();
    inBlock_ = count;
    cell_ = block_.data();
    return true;
}

/// The block's part of the table; false when its offsets do not lead on from the block before in steps of 5 to 9, or beyond the table.
bool CellStream::readTable()
{
    bool bad = offset_[0] != start_;
    for (std::size_t c = 0; c + 1 < offset_.size(); ++c)
        bad |= static_cast<std::uint32_t>(offset_[c + 1]) - static_cast<std::uint32_t>(offset_[c]) - 5u > 4u;
    if (bad || offset_.back() > tableSize_)
        return false;
    blockSize_ = static_cast<std::size_t>(offset_.back() - start_);
    block_.resize(blockSize_ + maxCellNodes);
    table_.read(start_, std::span<std::int32_t>(block_.data(), blockSize_));
    return true;
}

/// Whether every cell's type asks for the table entries that the offsets leave to it.
bool CellStream::kindsFit() const
{
    std::uint32_t misfit = 0;
    const std::int32_t* cell = block_.data();
    for (std::size_t c = 0; c + 1 < offset_.size(); ++c)
    {
        const std::int32_t entries = offset_[c + 1] - offset_[c];
        misfit |= entriesOf(*cell) ^ static_cast<std::uint32_t>(entries);
        cell += entries;
    }
    return misfit == 0;
}

bool CellStream::nodesExist() const
{
    std::uint32_t missed = 0;
    if (nodes_ >= highestType) // then the types pass as node numbers, and need not be told apart
    {
        for (std::size_t k = 0; k < blockSize_; ++k)
            missed |= misses(block_[k], nodes_);
        return missed >> 31 == 0;
    }
    const std::int32_t* cell = block_.data();
    for (std::size_t c = 0; c + 1 < offset_.size(); ++c)
    {
        const std::int32_t entries = offset_[c + 1] - offset_[c];
        for (std::int32_t k = 1; k < entries; ++k)
            missed |= misses(cell[k], nodes_);
        cell += entries;
    }
    return missed >> 31 == 0;
}

/// Goes through the cells one by one from the block that failed on, and tells what is wrong with the first that is.
void CellStream::diagnose() const
{
    std::int64_t at = start_;
    for (std::int64_t cell = first_; cell < cells_; ++cell)
    {
        if (one(offsets_, cell) != at)
            fail(cell, "its start offset is wrong");
        CellKind kind{};
        if (at >= tableSize_ || !mesh_layout::cellKindOf(one(table_, at), kind))
            fail(cell, "its kind is unknown");
        const int count = nodeCount(kind);
        if (tableSize_ - at - 1 < count)
            fail(cell, "the table of nodes ends within it");
        std::array<std::int32_t, maxCellNodes> node{};
        table_.read(at + 1, std::span<std::int32_t>(node.data(), static_cast<std::size_t>(count)));
        for (int k = 0; k < count; ++k)
            if (static_cast<std::uint32_t>(node[static_cast<std::size_t>(k)]) - 1u >= nodes_)
                fail(cell, "a node number is out of range");
        at += 1 + count;
    }
    fail(cells_ - 1, "the table of nodes goes on after it, the last");
}

void CellStream::fail(std::int64_t cell, const char* reason) const
{
    reader_->fail(path_, "cell " + std::to_string(cell + 1) + ": " + reason);
}

} // namespace tav3d::opensuite
