#pragma once

#include "tools/mapping_report.h"

namespace tav3d::tests
{

/// The smallest report with everything in it: two boxes of six facets, one mapped and one failed file, two items.
[[nodiscard]] tools::MappingReport twoBoxes();

/// A housing with walls, a boss and a hole, cut into cells of the given size (its length is 80), as a report of three files: what the page has to
/// look well with. The cut-cell surface is the voxel surface pulled onto the true one.
[[nodiscard]] tools::MappingReport housing(double cellSize);

/// Gives every text that comes from files the worst content: ends of elements, quotes, placeholders, line separators, bytes that are no UTF-8.
/// Text that would run sets window.harmed or loads something.
void makeHostile(tools::MappingReport& report);

} // namespace tav3d::tests
