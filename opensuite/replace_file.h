#pragma once

// Putting a finished file in the place of another in one step.

#include <filesystem>

namespace tav3d::opensuite
{

/// Name for a file to be built beside `target`: same folder, unique for this computer, process and call, and not taken at the time of the call. It is longer
/// than that of `target` where the system takes longer names, else it is cut: where `target` can be, its temporary file can be.
[[nodiscard]] std::filesystem::path temporaryNameBeside(const std::filesystem::path& target);

/// Gives the file `from` the name `to` in one step; what had that name is gone. On Windows it is tried for a second while another program holds one of
/// them. Throws std::filesystem::filesystem_error; both files are then as they were.
void moveOnto(const std::filesystem::path& from, const std::filesystem::path& to);

/// Flushes the file `finished` to the disk and gives it the name `target` in one step: whoever opens `target` sees the old file or the new one,
/// complete. On Windows each of the two steps is tried for a second. Throws std::filesystem::filesystem_error; both files are then as they were.
void replaceFile(const std::filesystem::path& finished, const std::filesystem::path& target);

/// Removes what ended processes left beside `target` while they were building it: files with names of temporaryNameBeside() whose process on this computer
/// does not run any more. Those of running processes, this one included, and of other computers stay. What cannot be removed stays silently.
/// Returns how many were removed.
int removeAbandonedTemporaries(const std::filesystem::path& target);

} // namespace tav3d::opensuite
