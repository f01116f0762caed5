#pragma once

// Letting the disk work while a file is still being built.

#include <cstdint>
#include <filesystem>

namespace tav3d::opensuite
{

/// Tells the system that what has been written to a file can go to the disk at once: it then writes on its own while the next values are computed, and
/// the flush at the end finds little left to wait for. Only a hint: it changes no byte, reports no failure (the flush does), and does nothing on
/// systems that know no such call.
class EarlyWriteBack
{
public:
    /// `file` must exist.
    explicit EarlyWriteBack(const std::filesystem::path& file);
    ~EarlyWriteBack();
    EarlyWriteBack(const EarlyWriteBack&) = delete;
    EarlyWriteBack& operator=(const EarlyWriteBack&) = delete;

    /// These bytes will be written. Where the system finds their place on the disk before they come, it does so for all of them at once, and writing them takes
    /// less. Small pieces are left alone.
    void willWrite(std::uint64_t address, std::uint64_t size) noexcept;

    /// These bytes have been written. Small pieces are left alone: they are often written again.
    void written(std::uint64_t address, std::size_t size) noexcept;

private:
    int descriptor_ = -1;
    bool reserves_ = true; // until the file system has refused
};

} // namespace tav3d::opensuite
