#pragma once

#include <memory>
#include <optional>
#include <vector>

namespace tav3d::interpolation
{

/// Fields by item, each an array whose entry 0 carries nothing.
using LoadedFields = std::vector<std::unique_ptr<float[]>>;

/// Reads all items of a result file, in the order of its item table. When it cannot be opened, prints why on standard output and returns
/// nothing. An item whose values cannot be read comes as zeros.
std::optional<LoadedFields> loadFields(const char* fileName);

} // namespace tav3d::interpolation
