#include "file_access.h"

#include <system_error>

#ifdef _WIN32
#define WIN32_LEAN_AND_MEAN
#ifndef NOMINMAX
#define NOMINMAX
#endif
#include <windows.h>
#else
#include <cerrno>
#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>
#endif

namespace tav3d::tools
{

namespace fs = std::filesystem;

#ifdef _WIN32

bool isLockedByAnotherProgram(const fs::path& file)
{
    constexpr DWORD shareAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;
    const HANDLE handle = CreateFileW(file.c_str(), GENERIC_READ, shareAll, nullptr, OPEN_EXISTING, 0, nullptr);
    if (handle == INVALID_HANDLE_VALUE)
        return GetLastError() == ERROR_SHARING_VIOLATION; // opened without letting readers in
    // Regions: any lock of another program that forbids reading overlaps the whole file.
    OVERLAPPED begin = {};
    const bool isLocked =
        !LockFileEx(handle, LOCKFILE_FAIL_IMMEDIATELY, 0, MAXDWORD, MAXDWORD, &begin) && GetLastError() == ERROR_LOCK_VIOLATION;
    CloseHandle(handle); // and with it the shared lock
    return isLocked;
}

#else

bool isLockedByAnotherProgram(const fs::path& file)
{
    const int descriptor = open(file.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
    if (descriptor < 0)
        return false;
    // Two families that do not know of each other: HDF5 locks whole files with flock, others regions with fcntl.
    bool isLocked = flock(descriptor, LOCK_SH | LOCK_NB) != 0 && errno == EWOULDBLOCK;
    struct flock region = {};
    region.l_type = F_RDLCK;
    region.l_whence = SEEK_SET;
    if (!isLocked && fcntl(descriptor, F_GETLK, &region) == 0)
        isLocked = region.l_type != F_UNLCK;
    close(descriptor); // and with it the shared lock
    return isLocked;
}

#endif

bool isWriteProtected(const fs::path& file)
{
    std::error_code error;
    const fs::file_status status = fs::status(file, error);
    constexpr fs::perms anybody = fs::perms::owner_write | fs::perms::group_write | fs::perms::others_write;
    return !error && fs::is_regular_file(status) && (status.permissions() & anybody) == fs::perms::none;
}

} // namespace tav3d::tools
