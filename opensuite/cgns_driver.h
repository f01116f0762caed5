#pragma once

// The files below a CgnsReader and a CgnsWriter, as HDF5 sees them: a driver of our own in the place of HDF5's.

#include "write_back.h"

#include <hdf5.h>
#if H5_VERSION_GE(1, 13, 0)
#include <H5FDdevelop.h> // what drivers are made of, from then on
#endif

#include <filesystem>
#include <fstream>
#include <optional>

namespace tav3d::opensuite
{

/// A file that HDF5 reaches through its driver interface. Must outlive HDF5's own handle of it.
class CgnsFile
{
public:
    CgnsFile() = default;
    virtual ~CgnsFile();
    CgnsFile(const CgnsFile&) = delete;
    CgnsFile& operator=(const CgnsFile&) = delete;

    /// Makes `fileAccess`, a file access property list, lead to this file, whatever name HDF5 is given.
    void attachTo(hid_t fileAccess);

    // What HDF5's driver calls come down to.
    [[nodiscard]] virtual unsigned long features() const noexcept = 0;
    virtual bool read(std::uint64_t address, std::size_t size, char* out) = 0;
    virtual bool write(std::uint64_t address, std::size_t size, const char* data) = 0;
    virtual void setAllocated(std::uint64_t) noexcept {} ///< HDF5 has given away all up to this address
    virtual void setFinalSize(std::uint64_t) noexcept {}
    [[nodiscard]] std::uint64_t size() const noexcept { return size_; }

protected:
    std::filebuf file_;
    std::uint64_t size_ = 0;

private:
    hid_t driver_ = -1;
};

/// A file to be read. Every read is held against the file's length. HDF5's accumulator of metadata is left out: in old versions it runs over its own
/// buffer when a damaged file sends it to an impossible address.
class CgnsInput : public CgnsFile
{
public:
    explicit CgnsInput(const std::filesystem::path& path);
    [[nodiscard]] bool isOpen() const noexcept { return file_.is_open(); }

    [[nodiscard]] unsigned long features() const noexcept override;
    bool read(std::uint64_t address, std::size_t size, char* out) override;
    bool write(std::uint64_t address, std::size_t size, const char* data) override;
};

/// A file under construction that never fails towards HDF5. An HDF5 file whose flush fails can be neither closed nor given up: HDF5 keeps it, and
/// takes the process down when it ends. So writes that fail (disk full) are remembered here and dropped, HDF5 closes in peace, and
/// the writer asks `failed`.
class CgnsOutput : public CgnsFile
{
public:
    /// Creates or empties the file.
    explicit CgnsOutput(const std::filesystem::path& path);

    /// Whether the file could not be created or anything in it could not be written.
    [[nodiscard]] bool failed() const noexcept { return failed_; }

    /// Closes the file, after HDF5 has; false when it is not complete.
    bool finish();

    [[nodiscard]] unsigned long features() const noexcept override;
    bool read(std::uint64_t address, std::size_t size, char* out) override;
    bool write(std::uint64_t address, std::size_t size, const char* data) override;
    void setAllocated(std::uint64_t end) noexcept override;
    void setFinalSize(std::uint64_t size) noexcept override { finalSize_ = size; }

private:
    std::filesystem::path path_;
    std::optional<EarlyWriteBack> writeBack_;
    bool failed_ = false;
    std::uint64_t allocated_ = 0;
    std::uint64_t finalSize_ = 0; // as HDF5 has recorded it in the file
};

} // namespace tav3d::opensuite
