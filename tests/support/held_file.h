#pragma once

// A file that is kept open without letting anybody else in, as virus scanners, viewers and backups do. Windows only.

#include "common/file_names.h"

#include <stdexcept>
#include <string>

#define WIN32_LEAN_AND_MEAN
#ifndef NOMINMAX
#define NOMINMAX
#endif
#include <windows.h>

namespace tav3d::test
{

/// In this process; to Windows that is the same as in another.
class HeldFile
{
public:
    /// `share`: what others may do meanwhile (FILE_SHARE_...).
    explicit HeldFile(const std::string& file, unsigned long share = 0)
        : handle_(CreateFileW(common::pathOf(file).c_str(), GENERIC_READ, share, nullptr, OPEN_EXISTING, 0, nullptr))
    {
        if (handle_ == INVALID_HANDLE_VALUE)
            throw std::runtime_error(file + " cannot be held");
    }
    ~HeldFile() { release(); }
    HeldFile(const HeldFile&) = delete;
    HeldFile& operator=(const HeldFile&) = delete;

    void release()
    {
        if (handle_ != INVALID_HANDLE_VALUE)
            CloseHandle(handle_);
        handle_ = INVALID_HANDLE_VALUE;
    }

private:
    HANDLE handle_;
};

} // namespace tav3d::test
