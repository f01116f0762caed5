#pragma once

// Moving a voxel result file aside, so that the mapped result can take its name.

#include <string>

namespace tav3d::resultmapping
{

/// The calls that moving a file needs; tests put counters in their place, so that no test has to sleep.
struct FileCalls
{
    int (*remove)(const char* fileName);                     ///< 0 = removed
    int (*rename)(const char* oldName, const char* newName); ///< 0 = renamed
    void (*wait)(int milliseconds);
};

/// The C runtime's removal and renaming and a real wait.
[[nodiscard]] const FileCalls& systemFileCalls() noexcept;

/// "part.q7f" becomes "part_vox.q7f": "_vox" before the last "." of the path. Throws std::out_of_range without a ".".
[[nodiscard]] std::string voxelFileName(const std::string& fileName);

/// Tries up to 3 times to remove a file and waits 500 ms after every failure, the last one included: the process that wrote the file may
/// still hold it. Returns 0, or the code of the last try. A file that is not there counts as a failure, so this then takes 1.5 s.
int removeWithRetries(const char* fileName, const FileCalls& calls);

/// Clears the way (removeWithRetries) and moves `fileName` to `newName`, in up to 5 tries with 5 ms after every failure.
/// Returns 1, or -1 after the fifth failure, which is also told on standard output; the file then stands under its old name.
int moveAside(const char* fileName, const std::string& newName, const FileCalls& calls);

} // namespace tav3d::resultmapping
