#pragma once

// The blocks of a mesh file as streams of checked entries, in memory that does not grow with the file.

#include "cell_stream.h"
#include "cgns_reader.h"
#include "mesh_file_layout.h"
#include "mesh_file_reader.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace tav3d::opensuite
{

/// The elements of an array one after another, read from the file in chunks. A default one is empty.
template <CgnsElement T>
class ArrayStream
{
public:
    ArrayStream() = default;
    explicit ArrayStream(CgnsArray array)
        : array_(std::move(array))
        , count_(array_.count())
    {
    }
    ArrayStream(ArrayStream&&) noexcept = default; // a vector keeps its elements where they are when it is moved
    ArrayStream& operator=(ArrayStream&&) noexcept = default;

    /// The next n elements, side by side (n at most 16), valid until the next call; null when there are not that many.
    const T* take(std::size_t n)
    {
        if (static_cast<std::size_t>(end_ - next_) < n && !fetch(n))
            return nullptr;
        return std::exchange(next_, next_ + n);
    }

    [[nodiscard]] std::int64_t count() const noexcept { return count_; }
    [[nodiscard]] std::int64_t left() const noexcept { return count_ - fetched_ + (end_ - next_); }

    void rewind() noexcept
    {
        fetched_ = 0;
        next_ = end_ = nullptr;
    }

private:
    static constexpr std::int64_t chunkSize = std::int64_t{1} << 15; // 128 KiB of 4-byte elements: stays in the second cache

    bool fetch(std::size_t n)
    {
        fetched_ -= end_ - next_;
        next_ = end_ = nullptr;
        const std::int64_t size = std::min(chunkSize, count_ - fetched_);
        if (size < static_cast<std::int64_t>(n))
            return false;
        chunk_.resize(static_cast<std::size_t>(size));
        array_.read(fetched_, std::span<T>(chunk_));
        fetched_ += size;
        next_ = chunk_.data();
        end_ = next_ + size;
        return true;
    }

    CgnsArray array_;
    std::int64_t count_ = 0;
    std::vector<T> chunk_;
    const T* next_ = nullptr; // not yet taken: [next_, end_) of the chunk, and after it the file's elements from fetched_ on
    const T* end_ = nullptr;
    std::int64_t fetched_ = 0;
};

struct SurfaceEntry
{
    SurfaceFacet facet;
    std::int32_t body = 0; // of the element behind, or in front where there is none behind
};

/// The nodes of a mesh.
class NodeStream
{
public:
    NodeStream() = default;
    NodeStream(const CgnsReader& reader, const std::string& zone, std::int64_t nodes, double scaleFactor);

    /// The next node; false at the end. Throws FileError for a coordinate that is not finite, or not any more when it is scaled.
    bool next(float (&coordinate)[3])
    {
        const float* p[3];
        for (int k = 0; k < 3; ++k)
            if ((p[k] = axis_[k].take(1)) == nullptr)
                return false;
        for (int k = 0; k < 3; ++k)
        {
            coordinate[k] = *p[k];
            if (!std::isfinite(mesh_layout::scaled(*p[k], scaleFactor_)))
                failAt(k);
        }
        return true;
    }
    void rewind() noexcept;

private:
    [[noreturn]] void failAt(int axis) const;

    const CgnsReader* reader_ = nullptr;
    std::string path_;
    double scaleFactor_ = 1.0;
    ArrayStream<float> axis_[3];
};

/// The facets of a section: four corners each, and some numbers beside them. A default one is empty.
template <int Numbers>
class FacetStream
{
public:
    FacetStream() = default;
    FacetStream(const CgnsReader& reader, const std::string& section, const char* const (&names)[Numbers], std::int64_t facets,
                std::int64_t nodes)
        : reader_(&reader)
        , path_(section)
        , nodes_(static_cast<std::uint32_t>(nodes))
        , corner_(reader.open<std::int32_t>(section + "/ElementConnectivity", 4 * facets, 4 * facets))
    {
        for (int k = 0; k < Numbers; ++k)
            number_[k] = ArrayStream<std::int32_t>(reader.open<std::int32_t>(section + "/FacetData/" + names[k], facets, facets));
    }

    /// The next facet's corners and numbers; false at the end. Throws FileError for a node number out of range.
    bool next(std::array<std::int32_t, 4>& corner, std::int32_t (&number)[Numbers])
    {
        const std::int32_t* corners = corner_.take(4);
        if (corners == nullptr)
            return false;
        for (std::size_t k = 0; k < 4; ++k)
        {
            corner[k] = corners[k];
            if (static_cast<std::uint32_t>(corner[k]) - 1u >= nodes_)
                fail("a node number is out of range");
        }
        for (int k = 0; k < Numbers; ++k)
            number[k] = *number_[k].take(1); // as many as facets
        return true;
    }

    [[noreturn]] void fail(const char* reason) const
    {
        reader_->fail(path_, "facet " + std::to_string((corner_.count() - corner_.left()) / 4) + ": " + reason);
    }

    void rewind() noexcept
    {
        corner_.rewind();
        for (auto& stream : number_)
            stream.rewind();
    }

private:
    const CgnsReader* reader_ = nullptr;
    std::string path_;
    std::uint32_t nodes_ = 0;
    ArrayStream<std::int32_t> corner_;
    ArrayStream<std::int32_t> number_[Numbers];
};

/// One mesh of an open mesh file: its counts, and its blocks as streams. The constructor checks the structure; entries are checked as they come.
class MeshZoneStream
{
public:
    /// `reader` must outlive the stream. Throws FileError, also when the file has no such mesh.
    MeshZoneStream(const CgnsReader& reader, ZoneId zone, double scaleFactor);

    /// The counts that stand in the file's structure.
    [[nodiscard]] const MeshZoneSummary& counts() const noexcept { return counts_; }

    NodeStream nodes;
    CellStream plastic;
    CellStream moldBase;

    /// The next surface facet; false at the end. Throws FileError as the streams do, and for an element number out of range.
    bool nextSurface(SurfaceEntry& entry);
    /// The next part-insert facet.
    bool nextPartInsert(PartInsertFacet& facet);

    /// The interface lists, checked: node numbers in range and ascending.
    [[nodiscard]] std::vector<InterfaceNodes> partInterfaces() const;
    [[nodiscard]] std::vector<InterfaceNodes> partInsertInterfaces() const;

    /// Back to the first entry of every block.
    void rewind() noexcept;

    /// Reads every entry of the mesh once, which checks it, and counts it; rewinds.
    [[nodiscard]] MeshZoneSummary checkAll();

private:
    [[nodiscard]] std::vector<InterfaceNodes> interfaces(const char* name) const;

    const CgnsReader* reader_;
    std::string path_;
    MeshZoneSummary counts_;
    FacetStream<5> surface_;
    FacetStream<2> partInsert_;
};

/// The plastic elements of a mesh alone, and its node count. Throws FileError, also when the file has no such mesh.
[[nodiscard]] CellStream plasticCells(const CgnsReader& reader, ZoneId zone, std::int64_t& nodes);

/// The zone node's path.
[[nodiscard]] std::string zonePath(ZoneId zone);

/// The header values of an open file, without its meshes. Throws FileError WrongKind when the file is not a mesh file.
[[nodiscard]] MeshSummary readDescription(const CgnsReader& reader);

} // namespace tav3d::opensuite
