#pragma once

// The one exception of the open suite's file layer.

#include <stdexcept>
#include <string>

namespace tav3d::opensuite
{

/// What kind of failure a FileError reports. The suite's return codes follow from it.
enum class FileFailure
{
    CannotOpen,  ///< missing, a folder, not readable
    WrongKind,   ///< readable, but not a file of this kind
    BadContent,  ///< a file of this kind whose content is damaged or contradicts itself
    CannotWrite, ///< nothing can be written there, or the file system failed half-way
    BadInput,    ///< the caller handed over data that such a file cannot hold
};

/// A failure on a file. The text reads "<file>: <item>: <what is wrong>", without the item where the file as a whole is meant.
class FileError : public std::runtime_error
{
public:
    FileError(FileFailure failure, const std::string& file, const std::string& item, const std::string& reason)
        : std::runtime_error(file + ": " + (item.empty() ? "" : item + ": ") + reason)
        , failure_(failure)
    {
    }

    [[nodiscard]] FileFailure failure() const noexcept { return failure_; }

private:
    FileFailure failure_;
};

} // namespace tav3d::opensuite
