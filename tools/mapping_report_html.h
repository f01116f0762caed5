#pragma once

#include "mapping_report.h"

#include <string>

namespace tav3d::tools
{

/// The report as one HTML page that needs no other file and no network: facts and tables as plain HTML, and a view of both surfaces drawn by the
/// page's script (tools/report/). Text from files is escaped wherever it stands. Without surfaces, or without values on them, the page has no view.
/// Throws std::invalid_argument where viewDataHtml (mapping_report_view.h) does.
[[nodiscard]] std::string mappingReportHtml(const MappingReport& report);

} // namespace tav3d::tools
