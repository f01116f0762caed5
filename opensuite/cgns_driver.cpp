#include "cgns_driver.h"

#include <algorithm>
#include <cstring>

namespace tav3d::opensuite
{

namespace
{

/// What HDF5 copies along with an access property list.
struct DriverInfo
{
    CgnsFile* file;
};

/// What HDF5 holds as its open file; it looks into the first member only.
struct DriverFile
{
    H5FD_t common;
    CgnsFile* file;
    haddr_t end; // of what HDF5 has allocated
};

CgnsFile& fileOf(H5FD_t* file)
{
    return *reinterpret_cast<DriverFile*>(file)->file;
}

const CgnsFile& fileOf(const H5FD_t* file)
{
    return *reinterpret_cast<const DriverFile*>(file)->file;
}

H5FD_t* openDriver(const char*, unsigned, hid_t fileAccess, haddr_t)
{
    const auto* info = static_cast<const DriverInfo*>(H5Pget_driver_info(fileAccess));
    return info == nullptr ? nullptr : reinterpret_cast<H5FD_t*>(new (std::nothrow) DriverFile{{}, info->file, 0});
}

herr_t closeDriver(H5FD_t* file)
{
    delete reinterpret_cast<DriverFile*>(file);
    return 0;
}

int compare(const H5FD_t* a, const H5FD_t* b)
{
    const CgnsFile* one = &fileOf(a);
    const CgnsFile* two = &fileOf(b);
    return one == two ? 0 : std::less<>()(one, two) ? -1 : 1;
}

herr_t query(const H5FD_t* file, unsigned long* flags)
{
    *flags = file == nullptr ? 0 : fileOf(file).features(); // HDF5 also asks about the driver as such
    return 0;
}

haddr_t getAllocatedEnd(const H5FD_t* file, H5FD_mem_t)
{
    return reinterpret_cast<const DriverFile*>(file)->end;
}

herr_t setAllocatedEnd(H5FD_t* file, H5FD_mem_t, haddr_t end)
{
    reinterpret_cast<DriverFile*>(file)->end = end;
    fileOf(file).setAllocated(end);
    return 0;
}

haddr_t getFileEnd(const H5FD_t* file, H5FD_mem_t)
{
    return fileOf(file).size();
}

herr_t readDriver(H5FD_t* file, H5FD_mem_t, hid_t, haddr_t address, std::size_t size, void* out)
{
    return fileOf(file).read(address, size, static_cast<char*>(out)) ? 0 : -1;
}

herr_t writeDriver(H5FD_t* file, H5FD_mem_t, hid_t, haddr_t address, std::size_t size, const void* data)
{
    return fileOf(file).write(address, size, static_cast<const char*>(data)) ? 0 : -1;
}

herr_t truncateDriver(H5FD_t* file, hid_t, hbool_t)
{
    fileOf(file).setFinalSize(reinterpret_cast<DriverFile*>(file)->end);
    return 0;
}

H5FD_class_t driverClass()
{
    H5FD_class_t driver{};
#if H5_VERSION_GE(1, 13, 0)
    driver.version = H5FD_CLASS_VERSION;
    driver.value = static_cast<H5FD_class_value_t>(511); // of the range for drivers that nobody else opens
#endif
    driver.name = "tav3d";
    driver.maxaddr = HADDR_MAX / 2;
    driver.fc_degree = H5F_CLOSE_WEAK;
    driver.fapl_size = sizeof(DriverInfo);
    driver.open = openDriver;
    driver.close = closeDriver;
    driver.cmp = compare;
    driver.query = query;
    driver.get_eoa = getAllocatedEnd;
    driver.set_eoa = setAllocatedEnd;
    driver.get_eof = getFileEnd;
    driver.read = readDriver;
    driver.write = writeDriver;
    driver.truncate = truncateDriver;
    constexpr H5FD_mem_t map[] = H5FD_FLMAP_DICHOTOMY; // as in HDF5's own driver: the same layout of the file
    std::copy(std::begin(map), std::end(map), driver.fl_map);
    return driver;
}

} // namespace

CgnsFile::~CgnsFile()
{
    if (driver_ >= 0)
        H5FDunregister(driver_);
}

void CgnsFile::attachTo(hid_t fileAccess)
{
    static const H5FD_class_t driver = driverClass();
    if (driver_ < 0)
        driver_ = H5FDregister(&driver);
    const DriverInfo info{this};
    H5Pset_driver(fileAccess, driver_, &info);
}

CgnsInput::CgnsInput(const std::filesystem::path& path)
{
    file_.pubsetbuf(nullptr, 0); // arrays are read in big pieces
    if (file_.open(path, std::ios::in | std::ios::binary) == nullptr)
        return;
    const std::streamoff end = file_.pubseekoff(0, std::ios::end);
    size_ = end < 0 ? 0 : static_cast<std::uint64_t>(end);
}

unsigned long CgnsInput::features() const noexcept
{
    return H5FD_FEAT_DATA_SIEVE | H5FD_FEAT_DEFAULT_VFD_COMPATIBLE;
}

bool CgnsInput::read(std::uint64_t address, std::size_t size, char* out)
{
    return address <= size_ && size <= size_ - address && file_.pubseekpos(static_cast<std::streamoff>(address)) >= 0 &&
           file_.sgetn(out, static_cast<std::streamsize>(size)) == static_cast<std::streamsize>(size);
}

bool CgnsInput::write(std::uint64_t, std::size_t, const char*)
{
    return false;
}

CgnsOutput::CgnsOutput(const std::filesystem::path& path)
    : path_(path)
{
    file_.pubsetbuf(nullptr, 0); // HDF5 gathers small pieces itself
    failed_ = file_.open(path, std::ios::in | std::ios::out | std::ios::trunc | std::ios::binary) == nullptr;
    if (!failed_)
        writeBack_.emplace(path);
}

unsigned long CgnsOutput::features() const noexcept
{
    return H5FD_FEAT_AGGREGATE_METADATA | H5FD_FEAT_ACCUMULATE_METADATA | H5FD_FEAT_DATA_SIEVE | H5FD_FEAT_AGGREGATE_SMALLDATA |
           H5FD_FEAT_DEFAULT_VFD_COMPATIBLE;
}

bool CgnsOutput::finish()
{
    writeBack_.reset();
    if (file_.is_open() && file_.close() == nullptr)
        failed_ = true;
    if (!failed_ && size_ != finalSize_)
    {
        std::error_code error;
        std::filesystem::resize_file(path_, finalSize_, error);
        failed_ = static_cast<bool>(error);
    }
    return !failed_;
}

void CgnsOutput::setAllocated(std::uint64_t end) noexcept
{
    if (writeBack_ && end > allocated_)
        writeBack_->willWrite(allocated_, end - allocated_);
    allocated_ = std::max(allocated_, end);
}

bool CgnsOutput::read(std::uint64_t address, std::size_t size, char* out)
{
    // What was never written reads as zeros.
    const std::size_t stored = address >= size_ ? 0 : static_cast<std::size_t>(std::min<std::uint64_t>(size, size_ - address));
    std::memset(out + stored, 0, size - stored);
    if (stored > 0 && (failed_ || file_.pubseekpos(static_cast<std::streamoff>(address)) < 0 ||
                       file_.sgetn(out, static_cast<std::streamsize>(stored)) != static_cast<std::streamsize>(stored)))
    {
        std::memset(out, 0, stored);
        failed_ = true;
    }
    return true;
}

bool CgnsOutput::write(std::uint64_t address, std::size_t size, const char* data)
{
    if (failed_ || file_.pubseekpos(static_cast<std::streamoff>(address)) < 0 ||
        file_.sputn(data, static_cast<std::streamsize>(size)) != static_cast<std::streamsize>(size))
        failed_ = true;
    else
    {
        size_ = std::max(size_, address + size);
        writeBack_->written(address, size);
    }
    return true;
}

} // namespace tav3d::opensuite
