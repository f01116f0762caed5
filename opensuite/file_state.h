#pragma once

// Whether a file is still the one that was read before.

#include <cstdint>
#include <filesystem>
#include <optional>

namespace tav3d::opensuite
{

/// Tells a file in one state from every other: two states that are equal hold the same bytes.
struct FileState
{
    std::uint64_t device = 0;
    std::uint64_t number = 0; // of the file on the device
    std::uint64_t size = 0;
    std::int64_t written = 0; // ns
    std::int64_t changed = 0; // ns; also by what keeps the time of writing, such as new access rights

    friend bool operator==(const FileState&, const FileState&) = default;
};

/// The state of the file at `path`. Nothing when there is none, when it was changed less than two seconds ago (the next change might carry the same
/// times), or where the system keeps no time of change.
[[nodiscard]] std::optional<FileState> settledStateOf(const std::filesystem::path& path);

} // namespace tav3d::opensuite
