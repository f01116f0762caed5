#pragma once

// Reading an HDF5 file laid out as CGNS, from sources that are not trusted.

#include "cgns_types.h"
#include "file_error.h"

#include <memory>
#include <span>
#include <string>

namespace tav3d::opensuite
{

/// An array of an open file, checked and ready to be read in pieces. Must not outlive its reader.
class CgnsArray
{
public:
    CgnsArray();
    ~CgnsArray();
    CgnsArray(CgnsArray&&) noexcept;
    CgnsArray& operator=(CgnsArray&&) noexcept;

    [[nodiscard]] const CgnsNodeInfo& info() const noexcept;
    [[nodiscard]] std::int64_t count() const noexcept { return info().count; }

    /// Fills `out` with the elements from `first` (0-based, in memory order) on. Of an array of several dimensions whole rows only (a row: all
    /// elements of one index of the last dimension). Throws FileError BadContent when they lie outside of the array or are of another type.
    template <CgnsElement T>
    void read(std::int64_t first, std::span<T> out) const
    {
        readOf(cgnsTypeOf<T>, first, out.data(), static_cast<std::int64_t>(out.size()));
    }

private:
    friend class CgnsReader;
    void readOf(CgnsType type, std::int64_t first, void* out, std::int64_t count) const;

    class Impl;
    std::unique_ptr<Impl> impl_;
};

/// Opens a file for reading only. Nodes are addressed by path; nothing but plain groups of this very file is ever followed.
///
/// Every operation throws FileError: CannotOpen and WrongKind from the constructor, BadContent for what is missing, damaged or not what was
/// asked for. An array's description is held against the file before anything is allocated or read: its data must lie in one piece, uncompressed,
/// inside the file, with exactly the size that its type and dimensions tell.
class CgnsReader
{
public:
    explicit CgnsReader(const std::string& file);
    ~CgnsReader();
    CgnsReader(CgnsReader&&) noexcept;
    CgnsReader& operator=(CgnsReader&&) noexcept;

    [[nodiscard]] const std::string& file() const noexcept;

    /// Whether a node stands at `path`. Throws when one stands there that is damaged.
    [[nodiscard]] bool has(const std::string& path) const;

    /// Description of the node at `path`.
    [[nodiscard]] CgnsNodeInfo info(const std::string& path) const;

    /// Names of the nodes below `path`, in the order in which they were made.
    [[nodiscard]] std::vector<std::string> children(const std::string& path) const;

    /// The array of the node at `path`, whose elements must be of type T and number `least` to `most`.
    template <CgnsElement T>
    [[nodiscard]] CgnsArray open(const std::string& path, std::int64_t least, std::int64_t most) const
    {
        return openOf(cgnsTypeOf<T>, path, least, most);
    }

    /// All of it.
    template <CgnsElement T>
    [[nodiscard]] std::vector<T> read(const std::string& path, std::int64_t least, std::int64_t most) const
    {
        const CgnsArray array = open<T>(path, least, most);
        std::vector<T> values(static_cast<std::size_t>(array.count()));
        array.read(0, std::span<T>(values));
        return values;
    }

    /// The one element of a node.
    template <CgnsElement T>
    [[nodiscard]] T readValue(const std::string& path) const
    {
        return read<T>(path, 1, 1)[0];
    }

    /// The text of a node, at most `most` characters.
    [[nodiscard]] std::string readText(const std::string& path, std::int64_t most) const;

    /// Where the link node at `path` points. The other file is not touched.
    [[nodiscard]] CgnsLinkTarget readLink(const std::string& path) const;

    /// Throws BadContent: `item` of this file is wrong as `reason` tells. For the checks that only the layers above can make.
    [[noreturn]] void fail(const std::string& item, const std::string& reason) const;

private:
    CgnsArray openOf(CgnsType type, const std::string& path, std::int64_t least, std::int64_t most) const;

    class Impl;
    std::unique_ptr<Impl> impl_;
};

} // namespace tav3d::opensuite
