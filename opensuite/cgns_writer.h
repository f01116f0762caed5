#pragma once

// Writing an HDF5 file laid out as CGNS.

#include "cgns_types.h"
#include "file_error.h"

#include <initializer_list>
#include <memory>
#include <span>
#include <string>
#include <string_view>

namespace tav3d::opensuite
{

/// Builds a file under a temporary name beside its target and gives it the target's name when it is complete. Nodes are addressed by path
/// ("/Base/Voxel"); every `add...` returns the path of the new node, to be used as the parent of the next. The same calls give the same bytes.
///
/// Every operation throws FileError: CannotWrite when the file system or HDF5 refuses, BadInput for a name that is empty, longer than 32
/// characters, taken or contains '/', and for dimensions that do not fit the data.
class CgnsWriter
{
public:
    /// Starts a file that will stand at `target`. Creates the root and the node CGNSLibraryVersion.
    explicit CgnsWriter(const std::string& target);

    /// Without a `commit` before it: removes what was written. `target` stays as it was.
    ~CgnsWriter();
    CgnsWriter(CgnsWriter&&) noexcept;
    CgnsWriter& operator=(CgnsWriter&&) noexcept;

    /// A node without data.
    std::string addNode(const std::string& parent, const std::string& name, const std::string& label);

    /// A node with a text, not empty.
    std::string addText(const std::string& parent, const std::string& name, const std::string& label, std::string_view text);

    /// A node with an array of `data.size()` elements, at least one; without `dims` it has one dimension.
    template <CgnsElement T>
    std::string addArray(const std::string& parent, const std::string& name, const std::string& label, std::span<const T> data,
                         CgnsDims dims = {})
    {
        return addArrayOf(cgnsTypeOf<T>, parent, name, label, data.data(), data.size(), std::move(dims));
    }

    /// The same from a list in place: `addArray<std::int32_t>(zone, "ElementRange", "IndexRange_t", {1, 8})`.
    template <CgnsElement T>
    std::string addArray(const std::string& parent, const std::string& name, const std::string& label, std::initializer_list<T> data,
                         CgnsDims dims = {})
    {
        return addArrayOf(cgnsTypeOf<T>, parent, name, label, data.begin(), data.size(), std::move(dims));
    }

    /// A node whose array is handed over in pieces by `append`; `dims` is the whole. All of it must be there before `commit`.
    template <CgnsElement T>
    std::string beginArray(const std::string& parent, const std::string& name, const std::string& label, CgnsDims dims)
    {
        return beginArrayOf(cgnsTypeOf<T>, parent, name, label, std::move(dims));
    }

    /// The next elements of the array begun at `path`, in memory order; a whole number of rows of an array of several dimensions (a row: all
    /// elements of one index of the last dimension).
    template <CgnsElement T>
    void append(const std::string& path, std::span<const T> piece)
    {
        appendOf(cgnsTypeOf<T>, path, piece.data(), piece.size());
    }

    /// A link to the node at `target.path` of the file `target.file`, which need not exist.
    std::string addLink(const std::string& parent, const std::string& name, const CgnsLinkTarget& target);

    /// Completes the file, flushes it to the disk and gives it the target's name in one step. Nothing can be added afterwards.
    void commit();

private:
    std::string addArrayOf(CgnsType type, const std::string& parent, const std::string& name, const std::string& label, const void* data,
                           std::size_t count, CgnsDims dims);
    std::string beginArrayOf(CgnsType type, const std::string& parent, const std::string& name, const std::string& label, CgnsDims dims);
    void appendOf(CgnsType type, const std::string& path, const void* data, std::size_t count);

    class Impl;
    std::unique_ptr<Impl> impl_;
};

} // namespace tav3d::opensuite
