#pragma once

#include "mapping_report.h"

#include <string>

namespace tav3d::tools
{

/// Bar of a region's nodes by rule, each rule in its colour, as inline SVG. Rules with nodes stay visible however few they are.
[[nodiscard]] std::string ruleBarSvg(const ValueOrigin& origin);

/// Columns of nodes by distance in cell sizes, with the share of nodes above each, as inline SVG.
[[nodiscard]] std::string distanceHistogramSvg(const DistanceSummary& distances);

} // namespace tav3d::tools
