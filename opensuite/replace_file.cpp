#include "replace_file.h"

#include <atomic>
#include <system_error>

#ifdef _WIN32
#define WIN32_LEAN_AND_MEAN
#include <windows.h>
#else
#include <cerrno>
#include <fcntl.h>
#include <unistd.h>
#endif

namespace tav3d::opensuite
{

namespace fs = std::filesystem;

namespace
{

#ifdef _WIN32

unsigned long processNumber()
{
    return GetCurrentProcessId();
}

[[noreturn]] void failWith(const char* what, const fs::path& from, const fs::path& to)
{
    throw fs::filesystem_error(what, from, to, std::error_code(static_cast<int>(GetLastError()), std::system_category()));
}

void flushToDisk(const fs::path& file)
{
    const HANDLE handle = CreateFileW(file.c_str(), GENERIC_WRITE, FILE_SHARE_READ, nullptr, OPEN_EXISTING, 0, nullptr);
    if (handle == INVALID_HANDLE_VALUE)
        failWith("cannot flush", file, {});
    const BOOL flushed = FlushFileBuffers(handle);
    CloseHandle(handle);
    if (!flushed)
        failWith("cannot flush", file, {});
}

void moveOnto(const fs::path& finished, const fs::path& target)
{
    if (!MoveFileExW(finished.c_str(), target.c_str(), MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH))
        failWith("cannot replace", finished, target);
}

#else

long processNumber()
{
    return static_cast<long>(getpid());
}

void flushToDisk(const fs::path& file)
{
    const int descriptor = open(file.c_str(), O_RDONLY | O_CLOEXEC);
    if (descriptor < 0)
        throw fs::filesystem_error("cannot flush", file, std::error_code(errno, std::generic_category()));
    const int failed = fsync(descriptor) != 0 ? errno : 0;
    close(descriptor);
    // Folders of some file systems cannot be flushed; that is no failure of ours.
    if (failed != 0 && failed != EINVAL)
        throw fs::filesystem_error("cannot flush", file, std::error_code(failed, std::generic_category()));
}

void moveOnto(const fs::path& finished, const fs::path& target)
{
    fs::rename(finished, target);
    const fs::path folder = target.has_parent_path() ? target.parent_path() : fs::path(".");
    // The new name is in place; whether it survives a power cut is all that this decides, so its failure is not ours to report.
    try
    {
        flushToDisk(folder);
    }
    catch (const fs::filesystem_error&)
    {
    }
}

#endif

} // namespace

fs::path temporaryNameBeside(const fs::path& target)
{
    static std::atomic<unsigned> counter{0};
    for (;;)
    {
        fs::path name = target;
        name += ".tmp-" + std::to_string(processNumber()) + "-" + std::to_string(counter++);
        std::error_code ignored;
        if (!fs::exists(fs::symlink_status(name, ignored)))
            return name;
    }
}

void replaceFile(const fs::path& finished, const fs::path& target)
{
    flushToDisk(finished);
    moveOnto(finished, target);
}

} // namespace tav3d::opensuite
