#pragma once

// Writing a file that appears under its name only when it is complete.

#include <functional>
#include <iosfwd>
#include <string>

namespace tav3d::tools
{

/// Lets `write` fill a binary stream beside `target` and gives the file the target's name in one step. When `write` throws or the file system refuses,
/// nothing is left behind and `target` is as it was. Throws opensuite::FileError, CannotWrite, and what `write` throws.
void writeTargetFile(const std::string& target, const std::function<void(std::ostream&)>& write);

/// Throws opensuite::FileError, CannotWrite, when nothing can be written at `target`. What stands there stays as it is.
void checkCanWrite(const std::string& target);

} // namespace tav3d::tools
