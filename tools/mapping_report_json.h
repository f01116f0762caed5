#pragma once

#include "mapping_report.h"

#include <string>

namespace tav3d::tools
{

/// The report's facts (all but the surfaces and their values) as indented JSON with a line end, the same bytes for the same report: keys stand in
/// the order of the structs, floats in the shortest form that reads back to the same float, doubles likewise, NaN and infinities as null.
/// Text stays UTF-8; invalid bytes become U+FFFD. `seconds` of stages is the only content that differs between runs of the same job.
[[nodiscard]] std::string mappingReportJson(const MappingReport& report);

/// Names of rules and regions as the JSON has them, e.g. "nearest_of_kind", "part_surface".
[[nodiscard]] const char* jsonName(ValueRule rule) noexcept;
[[nodiscard]] const char* jsonName(Region region) noexcept;

} // namespace tav3d::tools
