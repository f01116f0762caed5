#pragma once

// Points from a CSV file, and values at points as CSV.

#include "vec3.h"

#include <string>
#include <string_view>
#include <vector>

namespace tav3d::tools
{

/// Reads points, one per line. Columns stand between commas, blanks around them do not count. The first line may name the columns: then x, y and z
/// (in any case) are taken wherever they stand, and other columns are passed over. Without such a line there are three columns, x, y, z.
/// Empty lines and lines that begin with '#' are passed over. Throws opensuite::FileError naming file and line for anything else, also for
/// numbers that are not finite and for a file without points.
[[nodiscard]] std::vector<Vec3> readPoints(const std::string& file);

/// The same from text; `file` is for the messages.
[[nodiscard]] std::vector<Vec3> parsePoints(std::string_view text, const std::string& file);

/// `text` as a field of a CSV file: within quotation marks where it needs them.
[[nodiscard]] std::string csvField(const std::string& text);

} // namespace tav3d::tools
