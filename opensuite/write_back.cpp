#include "write_back.h"

#ifdef __linux__
#include <fcntl.h>
#include <unistd.h>
#endif

namespace tav3d::opensuite
{

#ifdef __linux__

namespace
{
constexpr std::uint64_t worthIt = 256 * 1024; // bytes
}

EarlyWriteBack::EarlyWriteBack(const std::filesystem::path& file)
    : descriptor_(open(file.c_str(), O_WRONLY | O_CLOEXEC))
{
}

EarlyWriteBack::~EarlyWriteBack()
{
    if (descriptor_ >= 0)
        close(descriptor_);
}

void EarlyWriteBack::willWrite(std::uint64_t address, std::uint64_t size) noexcept
{
    // The file keeps its size: what is never written must not look as if it had been. A full disk shows when the bytes come.
    if (descriptor_ >= 0 && reserves_ && size >= worthIt)
        reserves_ = fallocate(descriptor_, FALLOC_FL_KEEP_SIZE, static_cast<off64_t>(address), static_cast<off64_t>(size)) == 0;
}

void EarlyWriteBack::written(std::uint64_t address, std::size_t size) noexcept
{
    if (descriptor_ >= 0 && size >= worthIt)
        sync_file_range(descriptor_, static_cast<off64_t>(address), static_cast<off64_t>(size), SYNC_FILE_RANGE_WRITE);
}

#else

EarlyWriteBack::EarlyWriteBack(const std::filesystem::path&) {}
EarlyWriteBack::~EarlyWriteBack() = default;
void EarlyWriteBack::willWrite(std::uint64_t, std::uint64_t) noexcept {}
void EarlyWriteBack::written(std::uint64_t, std::size_t) noexcept {}

#endif

} // namespace tav3d::opensuite
