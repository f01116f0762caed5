#pragma once

// The cells of a section of a mesh file, read and checked block by block.

#include "cgns_reader.h"
#include "mesh_file_layout.h"

#include <algorithm>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

namespace tav3d::opensuite
{

inline constexpr int maxCellNodes = 8;

struct CellEntry
{
    CellKind kind{};
    int nodes = 0;
    const std::int32_t* node = nullptr; // valid until the next entry is read; maxCellNodes entries may be read
    std::int32_t body = 0;
};

/// Cells in memory that does not grow with the file. A default one is empty.
///
/// A block is checked as a whole: the start offsets tell where its cells stand, so that each check is a plain loop over an array. Cells of
/// a cut-cell mesh come in no order that a processor could foresee; going through them one by one would wait at every turn.
class CellStream
{
public:
    CellStream() = default;

    /// `reader` must outlive the stream. Throws FileError for arrays that do not fit the counts.
    CellStream(const CgnsReader& reader, const std::string& section, std::int64_t cells, std::int64_t nodes);

    /// The next cell; false at the end. Throws FileError for an unknown kind, a node number out of range, or tables that do not fit each other, as soon
    /// as the block of such a cell is reached.
    bool next(CellEntry& entry)
    {
        if (at_ == inBlock_ && !fetch())
            return false;
        // 5, 6, 7 or 9 entries of the table: it has been checked that its type asks for as many.
        const std::int32_t entries = offset_[at_ + 1] - offset_[at_];
        entry.kind = static_cast<CellKind>(std::min(entries - 5, 3));
        entry.nodes = entries - 1;
        entry.node = cell_ + 1;
        entry.body = body_[at_++];
        cell_ += entries;
        return true;
    }

    /// The node numbers of the next block of cells, those of one cell after those of the other, some of them several times; none at the end. Valid
    /// until the next call. Not to be mixed with `next` but after `rewind`.
    std::span<const std::int32_t> nextNodes();

    void rewind() noexcept;

    /// Nodes of all cells together.
    [[nodiscard]] std::int64_t nodeTotal() const noexcept { return tableSize_ - cells_; }

private:
    bool fetch();
    bool readTable();
    [[nodiscard]] bool kindsFit() const;
    [[nodiscard]] bool nodesExist() const;
    [[noreturn]] void diagnose() const;
    [[noreturn]] void fail(std::int64_t cell, const char* reason) const;

    const CgnsReader* reader_ = nullptr;
    std::string path_;
    std::uint32_t nodes_ = 0;
    std::int64_t cells_ = 0;
    std::int64_t tableSize_ = 0;
    CgnsArray offsets_, table_, bodies_;

    // The block: cells first_ .. first_ + inBlock_ - 1 (from 0), whose part of the table begins at start_. at_ of them have been taken.
    std::int64_t first_ = 0;
    std::int64_t start_ = 0;
    std::size_t inBlock_ = 0;
    std::size_t at_ = 0;
    const std::int32_t* cell_ = nullptr; // the next one in `block_`: its type, then its nodes
    std::vector<std::int32_t> offset_;   // inBlock_ + 1 entries
    std::vector<std::int32_t> body_;
    std::vector<std::int32_t> block_; // and maxCellNodes entries after it that may be read
    std::size_t blockSize_ = 0;
};

} // namespace tav3d::opensuite
