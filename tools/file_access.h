#pragma once

// What can be known about a file before it is read or replaced.

#include <filesystem>

namespace tav3d::tools
{

/// Whether another program holds a lock on the file that forbids reading it, as programs do while they write; on Windows also, whether it has the file open
/// without letting others read. Programs that only read, and a file that is missing or whose file system has no locks, count as no.
[[nodiscard]] bool isLockedByAnotherProgram(const std::filesystem::path& file);

/// Whether the file is there and nobody may write it. The superuser may all the same, and a file in a folder that may be written can be
/// replaced: such a file is one that its owner wants to keep.
[[nodiscard]] bool isWriteProtected(const std::filesystem::path& file);

} // namespace tav3d::tools
