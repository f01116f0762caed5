#include "file_state.h"

#ifdef _WIN32
#define WIN32_LEAN_AND_MEAN
#ifndef NOMINMAX
#define NOMINMAX
#endif
#include <windows.h>
#else
#include <sys/stat.h>

#include <ctime>
#endif

namespace tav3d::opensuite
{

namespace
{

constexpr std::int64_t settled = 2000000000; // ns

}

#ifdef _WIN32

std::optional<FileState> settledStateOf(const std::filesystem::path& path)
{
    constexpr DWORD shareAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;
    const HANDLE handle = CreateFileW(path.c_str(), FILE_READ_ATTRIBUTES, shareAll, nullptr, OPEN_EXISTING, 0, nullptr);
    if (handle == INVALID_HANDLE_VALUE)
        return {};
    BY_HANDLE_FILE_INFORMATION file = {};
    FILE_BASIC_INFO times = {};
    const bool isTold =
        GetFileInformationByHandle(handle, &file) && GetFileInformationByHandleEx(handle, FileBasicInfo, &times, sizeof times);
    CloseHandle(handle);
    constexpr DWORD noFile = FILE_ATTRIBUTE_DIRECTORY | FILE_ATTRIBUTE_DEVICE;
    if (!isTold || (file.dwFileAttributes & noFile) != 0 || times.ChangeTime.QuadPart == 0) // FAT keeps no time of change
        return {};

    const auto whole = [](DWORD high, DWORD low) { return std::uint64_t{high} << 32 | low; };
    const auto nanoseconds = [](std::uint64_t ticks) // since 1970; those of Windows are 100 ns long and count from 1601
    { return (static_cast<std::int64_t>(ticks) - 116444736000000000) * 100; };
    FILETIME now = {};
    GetSystemTimeAsFileTime(&now);
    const std::int64_t changed = nanoseconds(static_cast<std::uint64_t>(times.ChangeTime.QuadPart));
    if (nanoseconds(whole(now.dwHighDateTime, now.dwLowDateTime)) - changed < settled)
        return {};
    return FileState{file.dwVolumeSerialNumber, whole(file.nFileIndexHigh, file.nFileIndexLow),
                     whole(file.nFileSizeHigh, file.nFileSizeLow), nanoseconds(static_cast<std::uint64_t>(times.LastWriteTime.QuadPart)),
                     changed};
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
    if (nanoseconds(now) - nanoseconds(status.st_ctim) < settled)
        return {};
    return FileState{status.st_dev, status.st_ino, static_cast<std::uint64_t>(status.st_size), nanoseconds(status.st_mtim),
                     nanoseconds(status.st_ctim)};
}

#endif

} // namespace tav3d::opensuite
