#pragma once

// The file below a CgnsWriter, as HDF5 sees it.

#include <hdf5.h>

#include <filesystem>
#include <fstream>

namespace tav3d::opensuite
{

/// A file under construction that never fails towards HDF5. An HDF5 file whose flush fails can be neither closed nor given up: HDF5 keeps it, and
/// takes the process down when it ends. So writes that fail (disk full) are remembered here and dropped, HDF5 closes in peace, and
/// the writer asks `failed`.
class CgnsOutput
{
public:
    /// Creates or empties the file.
    explicit CgnsOutput(const std::filesystem::path& path);
    ~CgnsOutput();
    CgnsOutput(const CgnsOutput&) = delete;
    CgnsOutput& operator=(const CgnsOutput&) = delete;

    /// Whether the file could not be created or anything in it could not be written.
    [[nodiscard]] bool failed() const noexcept { return failed_; }

    /// Makes `fileAccess`, a file access property list, lead to this file, whatever name HDF5 is given.
    void attachTo(hid_t fileAccess);

    /// Closes the file, after HDF5 has; false when it is not complete.
    bool finish();

    // What HDF5's driver calls come down to.
    void read(std::uint64_t address, std::size_t size, char* out);
    void write(std::uint64_t address, std::size_t size, const char* data);
    [[nodiscard]] std::uint64_t size() const noexcept { return size_; }
    void setFinalSize(std::uint64_t size) noexcept { finalSize_ = size; }

private:
    std::filesystem::path path_;
    std::filebuf file_;
    bool failed_ = false;
    std::uint64_t size_ = 0;      // written so far
    std::uint64_t finalSize_ = 0; // as HDF5 has recorded it in the file
    hid_t driver_ = -1;
};

} // namespace tav3d::opensuite
