#include "write_back.h"

#ifdef __linux__
#include <fcntl.h>
#include <unistd.h>
#endif

namespace tav3d::opensuite
{

#ifdef __linux__

EarlyWriteBack::EarlyWriteBack(const std::filesystem::path& file)
    : descriptor_(open(file.c_str(), O_WRONLY | O_CLOEXEC))
{
}

EarlyWriteBack::~EarlyWriteBack()
{
    if (descriptor_ >= 0)
        close(descriptor_);
}

void EarlyWriteBack::written(std::uint64_t address, std::size_t size) noexcept
{
    constexpr std::size_t worthIt = 256 * 1024;
    if (descriptor_ >= 0 && size >= worthIt)
        sync_file_range(descriptor_, static_cast<off64_t>(address), static_cast<off64_t>(size), SYNC_FILE_RANGE_WRITE);
}

#else

EarlyWriteBack::EarlyWriteBack(const std::filesystem::path&) {}
EarlyWriteBack::~EarlyWriteBack() = default;
void EarlyWriteBack::written(std::uint64_t, std::size_t) noexcept {}

#endif

} // namespace tav3d::opensuite
