#include "error_text.h"

#include "file_names.h"

#include <cerrno>
#include <filesystem>

#ifdef _WIN32
#define WIN32_LEAN_AND_MEAN
#ifndef NOMINMAX
#define NOMINMAX
#endif
#include <windows.h>
#endif

namespace tav3d::common
{

namespace
{

struct Cause
{
    std::errc condition;
    const char* text;
};

constexpr Cause causes[] = {
    {std::errc::no_such_file_or_directory, "No such file or directory"},
    {std::errc::permission_denied, "Permission denied"},
    {std::errc::operation_not_permitted, "Operation not permitted"},
    {std::errc::no_space_on_device, "No space left on device"},
    {std::errc::read_only_file_system, "Read-only file system"},
    {std::errc::filename_too_long, "File name too long"},
    {std::errc::file_too_large, "File too large"},
    {std::errc::file_exists, "File exists"},
    {std::errc::not_a_directory, "Not a directory"},
    {std::errc::is_a_directory, "Is a directory"},
    {std::errc::too_many_files_open, "Too many open files"},
    {std::errc::not_enough_memory, "Not enough memory"},
    {std::errc::io_error, "Input/output error"},
};

#ifdef _WIN32

/// What the standard library has no condition for, or not the right one; nullptr when it has.
const char* textOfWindowsError(int error)
{
    switch (error)
    {
    case ERROR_SHARING_VIOLATION:
    case ERROR_LOCK_VIOLATION:
    case ERROR_USER_MAPPED_FILE:
        return "another program has the file open";
    case ERROR_DISK_FULL:
    case ERROR_HANDLE_DISK_FULL:
        return "No space left on device";
    case ERROR_WRITE_PROTECT:
        return "Read-only file system";
    case ERROR_FILENAME_EXCED_RANGE:
        return "File name too long";
    default:
        return nullptr;
    }
}

#endif

} // namespace

std::string errorText(const std::error_code& code)
{
#ifdef _WIN32
    if (code.category() == std::system_category())
        if (const char* const text = textOfWindowsError(code.value()))
            return text;
#elif defined(EDQUOT)
    if (code.value() == EDQUOT)
        return "Disk quota exceeded";
#endif
    for (const Cause& cause : causes)
        if (code == cause.condition)
            return cause.text;
    return "system error " + std::to_string(code.value());
}

std::string lastErrorText()
{
    return errorText(std::error_code(errno, std::generic_category()));
}

std::string failureText(const std::exception& error)
{
    const auto* const failure = dynamic_cast<const std::filesystem::filesystem_error*>(&error);
    return failure == nullptr ? error.what() : nameOf(failure->path1()) + ": " + errorText(failure->code());
}

} // namespace tav3d::common
