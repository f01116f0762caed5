#pragma once

#include "mapping_report.h"

#include <string>

namespace tav3d::tools
{

/// The section of one file: outcome, items with their values, values by region, and where the values come from.
/// `index` makes the element ids ("file-<index>") different from those of other files.
[[nodiscard]] std::string fileSectionHtml(const MappingReport& report, const FileReport& file, std::size_t index);

/// The region for all nodes, or null when the item has none.
[[nodiscard]] const RegionReport* wholeModel(const ItemReport& item) noexcept;

} // namespace tav3d::tools
