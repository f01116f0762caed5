// The layout is that of the CGNS library's HDF5 files (CGNS/HDF5 file mapping, cgns.org): a node is a group with the attributes name, label, type
// and flags, its data a dataset named " data" whose dimensions stand in reverse, because HDF5 counts the last as the fastest.

#include "cgns_writer.h"

#include "cgns_driver.h"
#include "cgns_hdf5.h"
#include "common/error_text.h"
#include "common/file_names.h"
#include "replace_file.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <filesystem>
#include <map>

namespace tav3d::opensuite
{

namespace
{

using namespace hdf5;

constexpr const char* dataName = " data";
constexpr float cgnsVersion = 3.4f; // the first whose mixed sections carry ElementStartOffset

Properties properties(hid_t kind)
{
    Properties list(H5Pcreate(kind));
    // Times would make every file different.
    H5Pset_obj_track_times(list.get(), false);
    return list;
}

Properties groupProperties(hid_t kind)
{
    Properties list = properties(kind);
    H5Pset_link_creation_order(list.get(), H5P_CRT_ORDER_TRACKED | H5P_CRT_ORDER_INDEXED);
    return list;
}

Type textType(std::size_t size)
{
    Type type(H5Tcopy(H5T_C_S1));
    H5Tset_size(type.get(), size);
    return type;
}

Space oneElement()
{
    const hsize_t one = 1;
    return Space(H5Screate_simple(1, &one, nullptr));
}

} // namespace

class CgnsWriter::Impl
{
public:
    explicit Impl(const std::string& target)
        : target_(target)
        , targetPath_(common::pathOf(target))
    {
        const Quiet quiet;
        if (target.empty())
            throw FileError(FileFailure::CannotWrite, target, "", "no file name");
        if (const std::string reason = common::whyNoTarget(targetPath_); !reason.empty())
            throw FileError(FileFailure::CannotWrite, target, "", reason);
        temporary_ = temporaryNameBeside(targetPath_);
        try
        {
            createFile();
            describeNode(root_.get(), "HDF5 MotherNode", "Root Node of HDF5 File", CgnsType::Empty, false);
            std::array<char, 33> version{};
            unsigned v[3];
            H5get_libversion(&v[0], &v[1], &v[2]);
            const std::string text = "HDF5 Version " + std::to_string(v[0]) + "." + std::to_string(v[1]) + "." + std::to_string(v[2]);
            text.copy(version.data(), version.size() - 1);
            writeWhole(root_.get(), " format", "IEEE_LITTLE_32", 15);
            writeWhole(root_.get(), " hdf5version", version.data(), version.size());
            addArray("/", "CGNSLibraryVersion", "CGNSLibraryVersion_t", CgnsType::Float, &cgnsVersion, 1, {1});
        }
        catch (...)
        {
            discard();
            throw;
        }
    }

    ~Impl() { discard(); }

    std::string addNode(const std::string& parent, const std::string& name, const std::string& label, CgnsType type)
    {
        const Quiet quiet;
        std::string path;
        createGroup(parent, name, label, type, path);
        return path;
    }

    std::string addArray(const std::string& parent, const std::string& name, const std::string& label, CgnsType type, const void* data,
                         std::size_t count, CgnsDims dims)
    {
        if (dims.empty())
            dims = {static_cast<std::int64_t>(count)};
        std::string path = beginArray(parent, name, label, type, std::move(dims));
        append(path, type, data, count);
        if (pending_.contains(path))
            throw FileError(FileFailure::BadInput, target_, path, "the dimensions do not fit the data");
        return path;
    }

    std::string beginArray(const std::string& parent, const std::string& name, const std::string& label, CgnsType type, CgnsDims dims)
    {
        const Quiet quiet;
        if (dims.empty() || dims.size() > 12 || std::ranges::any_of(dims, [](std::int64_t d) { return d < 1; }))
            throw FileError(FileFailure::BadInput, target_, childPath(parent, name), "an array needs 1 to 12 dimensions of at least 1");
        std::string path;
        const Group group = createGroup(parent, name, label, type, path);

        PendingArray array;
        array.type = type;
        array.dims.assign(dims.rbegin(), dims.rend());
        for (std::size_t k = 1; k < array.dims.size(); ++k)
            array.rowSize *= array.dims[k];
        const Space space(H5Screate_simple(static_cast<int>(array.dims.size()), array.dims.data(), nullptr));
        array.dataset = createDataset(group.get(), dataName, type, space.get());
        pending_.emplace(path, std::move(array));
        return path;
    }

    void append(const std::string& path, CgnsType type, const void* data, std::size_t count)
    {
        const Quiet quiet;
        const auto found = pending_.find(path);
        if (found == pending_.end() || found->second.type != type)
            throw FileError(FileFailure::BadInput, target_, path, "no array of this type is open here");
        PendingArray& array = found->second;
        const hsize_t rows = count / array.rowSize;
        if (count % array.rowSize != 0 || rows > array.dims[0] - array.written)
            throw FileError(FileFailure::BadInput, target_, path, "the piece does not fit the dimensions");
        if (rows == 0)
            return;

        if (!writeRows(array, rows, data) || output_->failed())
            failWriting(path);
        array.written += rows;
        if (array.written == array.dims[0])
        {
            const bool closed = array.dataset.close();
            pending_.erase(found);
            if (!closed)
                failWriting(path);
        }
    }

    std::string addLink(const std::string& parent, const std::string& name, const CgnsLinkTarget& link)
    {
        const Quiet quiet;
        std::string path;
        const Group group = createGroup(parent, name, "", CgnsType::Link, path);
        writeWhole(group.get(), " file", link.file.c_str(), link.file.size() + 1);
        writeWhole(group.get(), " path", link.path.c_str(), link.path.size() + 1);
        if (H5Lcreate_external(link.file.c_str(), link.path.c_str(), group.get(), " link", H5P_DEFAULT, H5P_DEFAULT) < 0)
            failWriting(path);
        return path;
    }

    void commit()
    {
        const Quiet quiet;
        if (!file_)
            throw FileError(FileFailure::BadInput, target_, "", "the file is already complete");
        if (!pending_.empty())
            throw FileError(FileFailure::BadInput, target_, pending_.begin()->first, "the array is not complete");
        parent_ = {};
        root_.close();
        const bool closed = file_.close();
        if (!output_->finish() || !closed)
            failWriting("");
        try
        {
            replaceFile(temporary_, targetPath_);
        }
        catch (const std::filesystem::filesystem_error& error)
        {
            throw FileError(FileFailure::CannotWrite, target_, "", common::errorText(error.code()));
        }
        temporary_.clear();
    }

private:
    /// What every node is made with. Making these anew for each node takes longer than the node itself.
    struct NodeParts
    {
        NodeParts()
        {
            H5Pset_fill_time(datasetCreation.get(), H5D_FILL_TIME_NEVER); // every element is written before `commit` lets the file out
        }

        Properties groupCreation = groupProperties(H5P_GROUP_CREATE);
        Properties datasetCreation = properties(H5P_DATASET_CREATE);
        Type nameText = textType(nameSize);
        Type typeText = textType(typeSize);
        Space text{H5Screate(H5S_SCALAR)};
        Space flags = oneElement();
    };

    struct PendingArray
    {
        Dataset dataset;
        CgnsType type{};
        std::vector<hsize_t> dims; // as in the file: slowest first
        hsize_t rowSize = 1;
        hsize_t written = 0; // rows
    };

    static bool writeRows(const PendingArray& array, hsize_t rows, const void* data)
    {
        const auto write = [&](hid_t inMemory, hid_t inFile)
        { return H5Dwrite(array.dataset.get(), memoryType(array.type), inMemory, inFile, H5P_DEFAULT, data) >= 0; };
        if (rows == array.dims[0])
            return write(H5S_ALL, H5S_ALL);
        std::vector<hsize_t> start(array.dims.size(), 0);
        std::vector<hsize_t> extent = array.dims;
        start[0] = array.written;
        extent[0] = rows;
        const Space inFile(H5Dget_space(array.dataset.get()));
        const Space inMemory(H5Screate_simple(static_cast<int>(extent.size()), extent.data(), nullptr));
        return H5Sselect_hyperslab(inFile.get(), H5S_SELECT_SET, start.data(), nullptr, extent.data(), nullptr) >= 0 &&
               write(inMemory.get(), inFile.get());
    }

    void createFile()
    {
        const Properties creation = groupProperties(H5P_FILE_CREATE);
        const Properties access(H5Pcreate(H5P_FILE_ACCESS));
        H5Pset_libver_bounds(access.get(), H5F_LIBVER_V18, H5F_LIBVER_V18);
        H5Pset_fclose_degree(access.get(), H5F_CLOSE_STRONG);
        output_ = std::make_unique<CgnsOutput>(temporary_);
        if (output_->failed())
            throw FileError(FileFailure::CannotWrite, target_, "",
                            "a file cannot be created in its folder" + common::ifTooLong(targetPath_));
        output_->attachTo(access.get());
        file_ = File(H5Fcreate(common::nameOf(temporary_).c_str(), H5F_ACC_TRUNC, creation.get(), access.get()));
        if (!file_)
            failWriting("");
        root_ = Group(H5Gopen2(file_.get(), "/", H5P_DEFAULT));
    }

    /// Closes and removes an unfinished file.
    void discard() noexcept
    {
        const Quiet quiet;
        pending_.clear();
        parent_ = {};
        root_.close();
        file_.close();
        output_.reset();
        if (!temporary_.empty())
        {
            std::error_code ignored;
            std::filesystem::remove(temporary_, ignored);
        }
    }

    /// The group at `path`, negative when there is none. It stays open for the next node that is put under it.
    hid_t openParent(const std::string& path)
    {
        if (!parent_.group || parent_.path != path)
            parent_ = {path, Group(H5Gopen2(file_.get(), path.c_str(), H5P_DEFAULT))};
        return parent_.group.get();
    }

    Group createGroup(const std::string& parent, const std::string& name, const std::string& label, CgnsType type, std::string& path)
    {
        path = childPath(parent, name);
        if (!file_)
            throw FileError(FileFailure::BadInput, target_, path, "the file is already complete");
        if (name.empty() || name == "." || name.size() >= nameSize || label.size() >= nameSize || name.find('/') != std::string::npos ||
            name.find('\0') != std::string::npos)
            throw FileError(FileFailure::BadInput, target_, path, "a node's name must have 1 to 32 characters and no '/'");
        const hid_t above = openParent(parent);
        const htri_t taken = above < 0 ? -1 : H5Lexists(above, name.c_str(), H5P_DEFAULT);
        if (taken != 0)
            throw FileError(FileFailure::BadInput, target_, path,
                            taken > 0 ? "a node of this name stands there already" : "there is no node to put it under");
        Group group(H5Gcreate2(above, name.c_str(), H5P_DEFAULT, parts_.groupCreation.get(), H5P_DEFAULT));
        if (!group || output_->failed())
            failWriting(path);
        describeNode(group.get(), name, label, type, true);
        return group;
    }

    void describeNode(hid_t group, const std::string& name, const std::string& label, CgnsType type, bool withFlags)
    {
        writeTextAttribute(group, "name", name, parts_.nameText.get(), nameSize);
        writeTextAttribute(group, "label", label, parts_.nameText.get(), nameSize);
        writeTextAttribute(group, "type", typeNames[static_cast<int>(type)], parts_.typeText.get(), typeSize);
        if (!withFlags)
            return;
        const std::int32_t flags = 1;
        const Attribute attribute(H5Acreate2(group, "flags", H5T_STD_I32LE, parts_.flags.get(), H5P_DEFAULT, H5P_DEFAULT));
        if (!attribute || H5Awrite(attribute.get(), H5T_NATIVE_INT32, &flags) < 0)
            failWriting(name);
    }

    /// `type`: text of `size` bytes.
    void writeTextAttribute(hid_t group, const char* attributeName, const std::string& value, hid_t type, std::size_t size)
    {
        std::array<char, nameSize> padded{};
        value.copy(padded.data(), size - 1);
        const Attribute attribute(H5Acreate2(group, attributeName, type, parts_.text.get(), H5P_DEFAULT, H5P_DEFAULT));
        if (!attribute || H5Awrite(attribute.get(), type, padded.data()) < 0)
            failWriting(value);
    }

    Dataset createDataset(hid_t group, const char* name, CgnsType type, hid_t space)
    {
        Dataset dataset(H5Dcreate2(group, name, fileType(type), space, H5P_DEFAULT, parts_.datasetCreation.get(), H5P_DEFAULT));
        if (!dataset)
            failWriting(name);
        return dataset;
    }

    void writeWhole(hid_t group, const char* name, const char* bytes, std::size_t count)
    {
        const hsize_t size = count;
        const Space space(H5Screate_simple(1, &size, nullptr));
        const Dataset dataset = createDataset(group, name, CgnsType::Char, space.get());
        if (H5Dwrite(dataset.get(), memoryType(CgnsType::Char), H5S_ALL, H5S_ALL, H5P_DEFAULT, bytes) < 0)
            failWriting(name);
    }

    [[noreturn]] void failWriting(const std::string& item) const
    {
        throw FileError(FileFailure::CannotWrite, target_, item, "cannot be written (disk full?)");
    }

    struct OpenGroup
    {
        std::string path;
        Group group;
    };

    std::string target_;
    std::filesystem::path targetPath_;
    std::filesystem::path temporary_;
    NodeParts parts_;
    std::unique_ptr<CgnsOutput> output_; // outlives file_
    File file_;
    Group root_;
    OpenGroup parent_; // that of the last node
    std::map<std::string, PendingArray> pending_;
};

CgnsWriter::CgnsWriter(const std::string& target)
    : impl_(std::make_unique<Impl>(target))
{
}

CgnsWriter::~CgnsWriter() = default;
CgnsWriter::CgnsWriter(CgnsWriter&&) noexcept = default;
CgnsWriter& CgnsWriter::operator=(CgnsWriter&&) noexcept = default;

std::string CgnsWriter::addNode(const std::string& parent, const std::string& name, const std::string& label)
{
    return impl_->addNode(parent, name, label, CgnsType::Empty);
}

std::string CgnsWriter::addText(const std::string& parent, const std::string& name, const std::string& label, std::string_view text)
{
    return addArrayOf(CgnsType::Char, parent, name, label, text.data(), text.size(), {});
}

std::string CgnsWriter::addLink(const std::string& parent, const std::string& name, const CgnsLinkTarget& target)
{
    return impl_->addLink(parent, name, target);
}

void CgnsWriter::commit()
{
    impl_->commit();
}

std::string CgnsWriter::addArrayOf(CgnsType type, const std::string& parent, const std::string& name, const std::string& label,
                                   const void* data, std::size_t count, CgnsDims dims)
{
    return impl_->addArray(parent, name, label, type, data, count, std::move(dims));
}

std::string CgnsWriter::beginArrayOf(CgnsType type, const std::string& parent, const std::string& name, const std::string& label,
                                     CgnsDims dims)
{
    return impl_->beginArray(parent, name, label, type, std::move(dims));
}

void CgnsWriter::appendOf(CgnsType type, const std::string& path, const void* data, std::size_t count)
{
    impl_->append(path, type, data, count);
}

} // namespace tav3d::opensuite
