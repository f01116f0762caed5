#pragma once

#include <string>
#include <string_view>

namespace tav3d::tools
{

/// Writes `text` to `path` in one step: whatever stood there stays until the new file is complete. Throws std::runtime_error, naming the file.
void writeTextFile(const std::string& path, std::string_view text);

/// Throws std::runtime_error, naming the file, when nothing can be written at `path`. What stands there stays as it is.
void checkCanWrite(const std::string& path);

} // namespace tav3d::tools
