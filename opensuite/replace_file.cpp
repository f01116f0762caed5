#include "replace_file.h"

#include "common/file_names.h"

#include <algorithm>
#include <atomic>
#include <charconv>
#include <cstdint>
#include <string>
#include <string_view>
#include <system_error>
#include <vector>

#ifdef _WIN32
#define WIN32_LEAN_AND_MEAN
#ifndef NOMINMAX
#define NOMINMAX
#endif
#include <windows.h>
#else
#include <cerrno>
#include <fcntl.h>
#include <signal.h>
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

fs::path systemNameOfComputer()
{
    wchar_t name[MAX_COMPUTERNAME_LENGTH + 1] = {};
    DWORD size = MAX_COMPUTERNAME_LENGTH + 1;
    return GetComputerNameW(name, &size) ? name : L"";
}

[[noreturn]] void failWith(const char* what, DWORD error, const fs::path& from, const fs::path& to)
{
    throw fs::filesystem_error(what, from, to, std::error_code(static_cast<int>(error), std::system_category()));
}

constexpr DWORD shareAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE; // who looks at the file meanwhile is no obstacle

/// Whether somebody has the file open in such a way that it can be neither replaced nor removed. (Replacing it is "denied" then, as without the right to.)
bool isHeld(const fs::path& file)
{
    const HANDLE handle = CreateFileW(file.c_str(), DELETE, shareAll, nullptr, OPEN_EXISTING, 0, nullptr);
    if (handle == INVALID_HANDLE_VALUE)
        return GetLastError() == ERROR_SHARING_VIOLATION;
    CloseHandle(handle);
    return false;
}

bool runs(std::uint64_t process)
{
    const HANDLE handle = OpenProcess(SYNCHRONIZE, FALSE, static_cast<DWORD>(process));
    if (handle == nullptr)
        return GetLastError() != ERROR_INVALID_PARAMETER; // which tells that there is none of this number
    const bool isEnded = WaitForSingleObject(handle, 0) == WAIT_OBJECT_0;
    CloseHandle(handle);
    return !isEnded;
}

/// Does a step that returns an error of Windows until it is done, for a second at most: virus scanners and indexers open new files for a moment without
/// letting others in. Returns the error of the last attempt.
template <class Step>
DWORD tryForAWhile(const Step& step)
{
    constexpr int tries = 20;
    constexpr DWORD wait = 50; // ms
    for (int attempt = 1;; ++attempt)
    {
        const DWORD error = step();
        const bool mayPass = error == ERROR_SHARING_VIOLATION || error == ERROR_LOCK_VIOLATION || error == ERROR_ACCESS_DENIED;
        if (!mayPass || attempt == tries)
            return error;
        Sleep(wait);
    }
}

void flushToDisk(const fs::path& file)
{
    const auto flush = [&]() -> DWORD
    {
        const HANDLE handle = CreateFileW(file.c_str(), GENERIC_WRITE, shareAll, nullptr, OPEN_EXISTING, 0, nullptr);
        if (handle == INVALID_HANDLE_VALUE)
            return GetLastError();
        const DWORD error = FlushFileBuffers(handle) ? ERROR_SUCCESS : GetLastError();
        CloseHandle(handle);
        return error;
    };
    if (const DWORD error = tryForAWhile(flush); error != ERROR_SUCCESS)
        failWith("cannot flush", error, file, {});
}

#else

long processNumber()
{
    return static_cast<long>(getpid());
}

fs::path systemNameOfComputer()
{
    char name[256] = {};
    return gethostname(name, sizeof name - 1) == 0 ? name : "";
}

bool runs(std::uint64_t process)
{
    return kill(static_cast<pid_t>(process), 0) == 0 || errno != ESRCH;
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

#endif

constexpr std::string_view mark = ".tmp-";

/// The name of this computer in letters and digits that all file systems take. Folders may be shared, and a process is known to its own computer only.
const std::string& computer()
{
    static const std::string name = []
    {
        std::string text = common::nameOf(systemNameOfComputer());
        for (char& c : text)
            c = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') ? c : '_';
        return text;
    }();
    return name;
}

/// The process whose temporary file for a target named `target` is named `name`, "part.q7f.tmp-mill7-4711-0"; 0 when it is no such name, or one of
/// another computer. What stands before the mark may be cut.
std::uint64_t processOfTemporary(std::string_view name, std::string_view target)
{
    const std::size_t at = name.rfind(mark);
    if (at == std::string_view::npos || !target.starts_with(name.substr(0, at)))
        return 0;
    name.remove_prefix(at + mark.size());
    if (!name.starts_with(computer() + "-"))
        return 0;
    name.remove_prefix(computer().size() + 1);
    const char* const end = name.data() + name.size();
    std::uint32_t process = 0;
    const auto [dash, badProcess] = std::from_chars(name.data(), end, process);
    if (badProcess != std::errc() || dash == end || *dash != '-' || process > 0x7fffffff)
        return 0;
    std::uint32_t counter = 0;
    const auto [rest, badCounter] = std::from_chars(dash + 1, end, counter);
    return badCounter == std::errc() && rest == end ? process : 0;
}

/// How many characters (bytes on Linux) the name of a file beside `target` may have, when `target` itself is not too long.
std::size_t roomForNameBeside([[maybe_unused]] const fs::path& target)
{
    constexpr std::size_t longestName = 255;
#ifdef _WIN32
    constexpr std::size_t longestPath = MAX_PATH - 1;
    const std::size_t length = common::fullPath(target).native().size();
    if (!target.native().starts_with(LR"(\\?\)") && length <= longestPath)
        return std::min(longestName, longestPath - (length - target.filename().native().size()));
#endif
    return longestName;
}

using Name = fs::path::string_type;

/// `front` and `end` in at most `room` characters. What is too much is cut off where `front` ends, at the border of a letter, and then where `end` begins.
Name joined(Name front, const Name& end, std::size_t room)
{
    if (end.size() >= room)
        return end.substr(end.size() - room);
    const auto isInsideLetter = [](auto c) { return sizeof(c) == 1 ? (c & 0xc0) == 0x80 : (c & 0xfc00) == 0xdc00; };
    std::size_t kept = std::min(front.size(), room - end.size());
    while (kept > 0 && kept < front.size() && isInsideLetter(front[kept]))
        --kept;
    return front.substr(0, kept) + end;
}

} // namespace

fs::path temporaryNameBeside(const fs::path& target)
{
    static std::atomic<unsigned> counter{0};
    const Name& whole = target.native();
    const Name file = target.filename().native();
    const Name folder = whole.substr(0, whole.size() - file.size());
    const std::size_t room = roomForNameBeside(target);
    for (;;)
    {
        const std::string end = std::string(mark) + computer() + "-" + std::to_string(processNumber()) + "-" + std::to_string(counter++);
        const fs::path name = folder + joined(file, common::pathOf(end).native(), room);
        std::error_code ignored;
        if (!fs::exists(fs::symlink_status(name, ignored)))
            return name;
    }
}

#ifdef _WIN32

void moveOnto(const fs::path& from, const fs::path& to)
{
    const auto move = [&]() -> DWORD
    { return MoveFileExW(from.c_str(), to.c_str(), MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH) ? ERROR_SUCCESS : GetLastError(); };
    if (const DWORD error = tryForAWhile(move); error != ERROR_SUCCESS)
        failWith("cannot replace", isHeld(to) ? ERROR_SHARING_VIOLATION : error, from, to);
}

#else

void moveOnto(const fs::path& from, const fs::path& to)
{
    fs::rename(from, to);
    const fs::path folder = to.has_parent_path() ? to.parent_path() : fs::path(".");
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

void replaceFile(const fs::path& finished, const fs::path& target)
{
    flushToDisk(finished);
    moveOnto(finished, target);
}

int removeAbandonedTemporaries(const fs::path& target)
{
    const fs::path folder = target.has_parent_path() ? target.parent_path() : fs::path(".");
    const std::string targetName = common::nameOf(target.filename());
    std::vector<fs::path> abandoned;
    std::error_code error;
    for (fs::directory_iterator entry(folder, error), end; !error && entry != end; entry.increment(error))
    {
        std::error_code ignored;
        const std::uint64_t process = processOfTemporary(common::nameOf(entry->path().filename()), targetName);
        if (process != 0 && fs::is_regular_file(entry->symlink_status(ignored)) && !runs(process))
            abandoned.push_back(entry->path());
    }
    int removed = 0;
    for (const fs::path& file : abandoned)
        removed += fs::remove(file, error) ? 1 : 0;
    return removed;
}

} // namespace tav3d::opensuite
