#include "file_state.h"

#ifndef _WIN32
#include <sys/stat.h>

#include <ctime>
#endif

namespace tav3d::opensuite
{

#ifdef _WIN32

std::optional<FileState> settledStateOf(const std::filesystem::path& /*path*/)
{
    return {};
}

#else

std::optional<FileState> settledStateOf(const std::filesystem::path& path)
{
    struct stat status = {};
    if (stat(path.c_str(), &status) != 0 || !S_ISREG(status.st_mode))
        return {};
    const auto nanoseconds = [](const timespec& time) { return std::int64_t{time.tv_sec} * 1000000000 + time.tv_nsec; };
    timespec now = {};
    clock_gettime(CLOCK_REALTIME, &now);
    constexpr std::int64_t settled = 2000000000; // ns
    if (nanoseconds(now) - nanoseconds(status.st_ctim) < settled)
        return {};
    return FileState{status.st_dev, status.st_ino, static_cast<std::uint64_t>(status.st_size), nanoseconds(status.st_mtim),
                     nanoseconds(status.st_ctim)};
}

#endif

} // namespace tav3d::opensuite
