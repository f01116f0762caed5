#include "cgns_reader.h"

#include "cgns_driver.h"
#include "cgns_hdf5.h"
#include "common/file_names.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <limits>
#include <optional>
#include <string_view>
#include <vector>

namespace tav3d::opensuite
{

namespace
{

using namespace hdf5;

struct ReadQuietly : Quiet
{
    ReadQuietly()
        : Quiet(AfterFailure::StayQuiet)
    {
    }
};

constexpr int maxRank = 12;                // of CGNS
constexpr std::int64_t maxLinkText = 4096; // characters of a file name or a path

/// Looks at the superblock before HDF5 does: it is cheap, tells the kinds of failure apart, and an old HDF5 is not to be fed with anything else.
/// Version 2 and 3, 48 bytes: signature [8], version, size of offsets, size of lengths, flags, base address [8], extension [8], end of file [8],
/// root group [8], checksum [4].
void checkSuperblock(const std::string& file, const std::filesystem::path& path)
{
    std::error_code error;
    const auto status = std::filesystem::status(path, error);
    if (!std::filesystem::exists(status))
        throw FileError(FileFailure::CannotOpen, file, "", "there is no such file" + common::ifTooLong(path));
    if (!std::filesystem::is_regular_file(status))
        throw FileError(FileFailure::CannotOpen, file, "", std::filesystem::is_directory(status) ? "is a folder" : "is not a regular file");
    const std::uintmax_t size = std::filesystem::file_size(path, error);
    std::ifstream stream(path, std::ios::binary);
    if (error || !stream)
        throw FileError(FileFailure::CannotOpen, file, "", "cannot be opened for reading" + common::ifTooLong(path));
    if (size == 0)
        throw FileError(FileFailure::WrongKind, file, "", "is empty");

    std::array<unsigned char, 48> block{};
    stream.read(reinterpret_cast<char*>(block.data()), block.size());
    const auto got = static_cast<std::size_t>(stream.gcount());
    constexpr unsigned char signature[8] = {0x89, 'H', 'D', 'F', '\r', '\n', 0x1a, '\n'};
    if (std::memcmp(block.data(), signature, std::min<std::size_t>(got, 8)) != 0)
        throw FileError(FileFailure::WrongKind, file, "", "is not an HDF5 file");
    if (got < block.size())
        throw FileError(FileFailure::BadContent, file, "superblock", "the file ends within its first 48 bytes");
    if (block[8] < 2 || block[8] > 3 || block[9] != 8 || block[10] != 8)
        throw FileError(FileFailure::WrongKind, file, "superblock", "is an HDF5 file of another layout");

    const auto address = [&](std::size_t at)
    {
        std::uint64_t value = 0;
        for (std::size_t k = 8; k-- > 0;)
            value = value << 8 | block[at + k];
        return value;
    };
    const std::uint64_t base = address(12);
    const std::uint64_t end = address(28);
    const std::uint64_t root = address(36);
    if (base != 0 || root >= end)
        throw FileError(FileFailure::BadContent, file, "superblock", "its addresses are not possible");
    if (end > size)
        throw FileError(FileFailure::BadContent, file, "superblock",
                        "the file has " + std::to_string(size) + " bytes where it should have " + std::to_string(end) + " (cut off?)");
}

/// Text of a fixed-length string attribute of `size` bytes; nothing when there is none of that form.
std::optional<std::string> textAttribute(hid_t group, const char* name, std::size_t size)
{
    const Attribute attribute(H5Aopen(group, name, H5P_DEFAULT));
    if (!attribute)
        return {};
    const Type type(H5Aget_type(attribute.get()));
    const Space space(H5Aget_space(attribute.get()));
    if (!type || !space || H5Tget_class(type.get()) != H5T_STRING || H5Tis_variable_str(type.get()) != 0 ||
        H5Tget_size(type.get()) != size || H5Sget_simple_extent_npoints(space.get()) != 1)
        return {};
    std::array<char, nameSize + 1> text{};
    if (H5Aread(attribute.get(), type.get(), text.data()) < 0)
        return {};
    text[size - 1] = '\0';
    return std::string(text.data());
}

/// Describes the object at `name`; false when HDF5 cannot load it or its header claims messages that are shared with other objects. No CGNS file has
/// those, and old versions of HDF5 trip over invented ones.
bool describe(hid_t group, const char* name, H5O_info_t& object)
{
    return H5Oget_info_by_name2(group, name, &object, H5O_INFO_BASIC | H5O_INFO_HDR, H5P_DEFAULT) >= 0 && object.hdr.mesg.shared == 0;
}

/// Opens a child by a plain link; nothing when there is none or it is not of the kind `wanted`. Sets `damaged` when something stands there that
/// HDF5 cannot load: that must not pass for nothing.
template <class Object, hid_t (*Open)(hid_t, const char*, hid_t)>
Object openChild(hid_t group, const char* name, H5O_type_t wanted, bool& damaged)
{
    const htri_t exists = H5Lexists(group, name, H5P_DEFAULT);
    if (exists == 0)
        return {};
    H5L_info_t link;
    damaged = exists < 0 || H5Lget_info(group, name, &link, H5P_DEFAULT) < 0;
    if (damaged || link.type != H5L_TYPE_HARD)
        return {};
    H5O_info_t object;
    damaged = !describe(group, name, object);
    if (damaged || object.type != wanted)
        return {};
    Object opened(Open(group, name, H5P_DEFAULT));
    damaged = !opened;
    return opened;
}

struct NameList
{
    std::vector<std::string> names;
    bool complete = true;
};

/// Called by HDF5 for each link of a group; C code stands between, so nothing may be thrown through it.
herr_t collectName(hid_t group, const char* name, const H5L_info_t* link, void* data) noexcept
{
    auto& list = *static_cast<NameList*>(data);
    try
    {
        H5O_info_t object;
        if (name[0] == ' ' || link->type != H5L_TYPE_HARD)
            return 0;
        if (!describe(group, name, object))
            return -1;
        if (object.type == H5O_TYPE_GROUP)
            list.names.emplace_back(name);
        return 0;
    }
    catch (...)
    {
        list.complete = false;
        return -1;
    }
}

} // namespace

class CgnsArray::Impl
{
public:
    std::string file;
    std::string path;
    CgnsNodeInfo info;
    Dataset dataset;
    std::vector<hsize_t> dims; // as in the file: slowest first
};

CgnsArray::CgnsArray() = default;
CgnsArray::~CgnsArray() = default;
CgnsArray::CgnsArray(CgnsArray&&) noexcept = default;
CgnsArray& CgnsArray::operator=(CgnsArray&&) noexcept = default;

const CgnsNodeInfo& CgnsArray::info() const noexcept
{
    static const CgnsNodeInfo none;
    return impl_ ? impl_->info : none;
}

void CgnsArray::readOf(CgnsType type, std::int64_t first, void* out, std::int64_t count) const
{
    const ReadQuietly quiet;
    if (!impl_ || count == 0)
        return;
    const auto fail = [&](const char* reason) { throw FileError(FileFailure::BadContent, impl_->file, impl_->path, reason); };
    if (type != impl_->info.type)
        fail("the array is of another type");
    const std::int64_t rowSize = impl_->info.count / impl_->info.dims.back();
    if (first < 0 || count < 0 || first > impl_->info.count - count || first % rowSize != 0 || count % rowSize != 0)
        fail("the elements asked for do not lie in the array");

    std::vector<hsize_t> start(impl_->dims.size(), 0);
    std::vector<hsize_t> extent = impl_->dims;
    start[0] = static_cast<hsize_t>(first / rowSize);
    extent[0] = static_cast<hsize_t>(count / rowSize);
    const Space inFile(H5Dget_space(impl_->dataset.get()));
    const Space inMemory(H5Screate_simple(static_cast<int>(extent.size()), extent.data(), nullptr));
    if (H5Sselect_hyperslab(inFile.get(), H5S_SELECT_SET, start.data(), nullptr, extent.data(), nullptr) < 0 ||
        H5Dread(impl_->dataset.get(), memoryType(type), inMemory.get(), inFile.get(), H5P_DEFAULT, out) < 0)
        fail("the data cannot be read");
}

class CgnsReader::Impl
{
public:
    explicit Impl(const std::string& file)
        : file_(file)
    {
        const ReadQuietly quiet;
        if (file.empty())
            throw FileError(FileFailure::CannotOpen, file, "", "no file name");
        const std::filesystem::path path = common::pathOf(file);
        checkSuperblock(file, path);
        input_ = std::make_unique<CgnsInput>(path);
        if (!input_->isOpen())
            throw FileError(FileFailure::CannotOpen, file, "", "cannot be opened for reading");
        size_ = input_->size();

        const Properties access(H5Pcreate(H5P_FILE_ACCESS));
        H5Pset_fclose_degree(access.get(), H5F_CLOSE_STRONG);
        input_->attachTo(access.get());
        id_ = File(H5Fopen(file.c_str(), H5F_ACC_RDONLY, access.get()));
        if (!id_)
            throw FileError(FileFailure::BadContent, file, "", "the HDF5 structure is damaged");
        H5O_info_t object;
        root_ = Group(H5Gopen2(id_.get(), "/", H5P_DEFAULT));
        if (!root_ || !describe(root_.get(), ".", object))
            fail("/", "the node is damaged");
        if (textAttribute(root_.get(), "label", nameSize) != "Root Node of HDF5 File")
            throw FileError(FileFailure::WrongKind, file, "", "is an HDF5 file, but not laid out as CGNS");
    }

    /// The group at `path`, reached over plain links alone; negative when there is no such group. It stays open for the next that lies below it, until
    /// one that does not is asked for.
    hid_t find(const std::string& path)
    {
        std::size_t at = 1;
        std::size_t level = 0;
        for (; at < path.size(); ++level)
        {
            const std::size_t slash = std::min(path.find('/', at), path.size());
            const std::string_view name = std::string_view(path).substr(at, slash - at);
            if (level == below_.size() || below_[level].name != name)
            {
                while (below_.size() > level)
                    below_.pop_back(); // a group before those above it
                Level next{std::string(name), {}};
                bool damaged = false;
                next.group = openChild<Group, H5Gopen2>(groupAt(level), next.name.c_str(), H5O_TYPE_GROUP, damaged);
                if (damaged)
                    fail(path.substr(0, slash), "the node is damaged");
                if (!next.group)
                    return -1;
                below_.push_back(std::move(next));
            }
            at = slash + 1;
        }
        return groupAt(level);
    }

    hid_t get(const std::string& path)
    {
        const hid_t group = find(path);
        if (group < 0)
            fail(path, "the node is missing");
        return group;
    }

    /// A dataset of the node at `path`.
    Dataset openDataset(hid_t group, const char* name, const std::string& path) const
    {
        bool damaged = false;
        Dataset dataset = openChild<Dataset, H5Dopen2>(group, name, H5O_TYPE_DATASET, damaged);
        if (!dataset)
            fail(path, damaged ? "the node's data are damaged" : "the node has no data");
        return dataset;
    }

    /// `data`, when asked for, gets the node's dataset.
    CgnsNodeInfo info(hid_t group, const std::string& path, Dataset* data = nullptr) const
    {
        CgnsNodeInfo result;
        const auto label = textAttribute(group, "label", nameSize);
        const auto type = textAttribute(group, "type", typeSize);
        if (!label || !type)
            fail(path, "the node has no proper label and type");
        const auto known = std::ranges::find(typeNames, *type);
        if (known == std::end(typeNames))
            fail(path, "the node has the unknown type " + *type);
        result.label = *label;
        result.type = static_cast<CgnsType>(known - std::begin(typeNames));
        if (result.type == CgnsType::Empty || result.type == CgnsType::Link)
            return result;
        Dataset dataset = openDataset(group, " data", path);
        checkDataset(dataset.get(), path, result);
        if (data != nullptr)
            *data = std::move(dataset);
        return result;
    }

    /// Fills in the dimensions of `info`, whose type is set, and holds everything that the dataset tells against the file.
    void checkDataset(hid_t dataset, const std::string& path, CgnsNodeInfo& info) const
    {
        const Type type(H5Dget_type(dataset));
        if (!type || H5Tequal(type.get(), fileType(info.type)) <= 0)
            fail(path, "the data are not of the type that the node tells");

        const Space space(H5Dget_space(dataset));
        const int rank = space && H5Sis_simple(space.get()) > 0 ? H5Sget_simple_extent_ndims(space.get()) : -1;
        if (rank < 1 || rank > maxRank)
            fail(path, "the data have an impossible number of dimensions");
        std::array<hsize_t, maxRank> dims{};
        H5Sget_simple_extent_dims(space.get(), dims.data(), nullptr);
        const std::uint64_t size = elementSize(info.type);
        std::uint64_t count = 1;
        for (int k = 0; k < rank; ++k)
        {
            const hsize_t d = dims[static_cast<std::size_t>(k)];
            if (d == 0 || d > size_ / size / count) // no more elements than the whole file has room for
                fail(path, d == 0 ? "a dimension is 0" : "the dimensions are larger than the file");
            count *= d;
            info.dims.insert(info.dims.begin(), static_cast<std::int64_t>(d));
        }
        info.count = static_cast<std::int64_t>(count);

        const Properties creation(H5Dget_create_plist(dataset));
        if (!creation || H5Pget_layout(creation.get()) != H5D_CONTIGUOUS || H5Pget_nfilters(creation.get()) != 0 ||
            H5Pget_external_count(creation.get()) != 0)
            fail(path, "the data are compressed, in chunks or in another file");
        const haddr_t offset = H5Dget_offset(dataset);
        const std::uint64_t bytes = count * size;
        if (H5Dget_storage_size(dataset) != bytes || offset == HADDR_UNDEF || offset > size_ || bytes > size_ - offset)
            fail(path, "the data do not lie within the file");
    }

    CgnsArray open(CgnsType type, const std::string& path, std::int64_t least, std::int64_t most)
    {
        const ReadQuietly quiet;
        const hid_t group = get(path);
        CgnsArray array;
        array.impl_ = std::make_unique<CgnsArray::Impl>();
        array.impl_->file = file_;
        array.impl_->path = path;
        array.impl_->info = info(group, path, &array.impl_->dataset);
        const CgnsNodeInfo& found = array.impl_->info;
        if (found.type != type)
            fail(path, std::string("the node is of type ") + typeNames[static_cast<int>(found.type)] + ", not " +
                           typeNames[static_cast<int>(type)]);
        if (found.count < least || found.count > most)
            fail(path, "the node has " + std::to_string(found.count) + " elements, expected " + std::to_string(least) +
                           (least == most ? "" : " to " + std::to_string(most)));
        array.impl_->dims.assign(found.dims.rbegin(), found.dims.rend());
        return array;
    }

    std::string text(hid_t group, const char* dataset, const std::string& path) const
    {
        const Dataset data = openDataset(group, dataset, path);
        CgnsNodeInfo described;
        described.type = CgnsType::Char;
        checkDataset(data.get(), path, described);
        if (described.count > maxLinkText)
            fail(path, "the text is too long");
        std::string characters(static_cast<std::size_t>(described.count), '\0');
        if (H5Dread(data.get(), memoryType(CgnsType::Char), H5S_ALL, H5S_ALL, H5P_DEFAULT, characters.data()) < 0)
            fail(path, "the text cannot be read");
        return characters.substr(0, characters.find('\0'));
    }

    [[noreturn]] void fail(const std::string& item, const std::string& reason) const
    {
        const ReadQuietly quiet;
        throw FileError(FileFailure::BadContent, file_, item, reason);
    }

    const std::string& file() const noexcept { return file_; }

private:
    struct Level
    {
        std::string name;
        Group group;
    };

    hid_t groupAt(std::size_t level) const { return level == 0 ? root_.get() : below_[level - 1].group.get(); }

    std::string file_;
    std::unique_ptr<CgnsInput> input_; // outlives id_
    std::uint64_t size_ = 0;
    File id_;
    Group root_;
    std::vector<Level> below_; // the way to the group found last
};

CgnsReader::CgnsReader(const std::string& file)
    : impl_(std::make_unique<Impl>(file))
{
}

CgnsReader::~CgnsReader()
{
    const ReadQuietly quiet; // closing a damaged file may fail, and says nothing that anybody waits for
    impl_.reset();
}

CgnsReader::CgnsReader(CgnsReader&&) noexcept = default;
CgnsReader& CgnsReader::operator=(CgnsReader&&) noexcept = default;

const std::string& CgnsReader::file() const noexcept
{
    return impl_->file();
}

bool CgnsReader::has(const std::string& path) const
{
    const ReadQuietly quiet;
    return impl_->find(path) >= 0;
}

CgnsNodeInfo CgnsReader::info(const std::string& path) const
{
    const ReadQuietly quiet;
    return impl_->info(impl_->get(path), path);
}

std::vector<std::string> CgnsReader::children(const std::string& path) const
{
    const ReadQuietly quiet;
    const hid_t group = impl_->get(path);
    NameList list;
    hsize_t position = 0;
    if (H5Literate(group, H5_INDEX_CRT_ORDER, H5_ITER_INC, &position, collectName, &list) < 0 || !list.complete)
        fail(path, "the nodes below cannot be listed");
    return std::move(list.names);
}

std::string CgnsReader::readText(const std::string& path, std::int64_t most) const
{
    const CgnsArray array = open<char>(path, 1, most);
    std::string text(static_cast<std::size_t>(array.count()), '\0');
    array.read(0, std::span<char>(text));
    return text;
}

CgnsLinkTarget CgnsReader::readLink(const std::string& path) const
{
    const ReadQuietly quiet;
    const hid_t group = impl_->get(path);
    if (impl_->info(group, path).type != CgnsType::Link)
        fail(path, "the node is not a link");
    return {impl_->text(group, " file", path), impl_->text(group, " path", path)};
}

void CgnsReader::fail(const std::string& item, const std::string& reason) const
{
    impl_->fail(item, reason);
}

CgnsArray CgnsReader::openOf(CgnsType type, const std::string& path, std::int64_t least, std::int64_t most) const
{
    return impl_->open(type, path, least, most);
}

} // namespace tav3d::opensuite
