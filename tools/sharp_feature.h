#pragma once

// The place of a sharp edge or corner of the surface within a cell.

#include "edge_cuts.h"

#include <optional>

namespace tav3d::tools
{

/// The point that lies best on all tangent planes of the surface at the cell's cut points (least squares, drawn slightly to the mean of the cut
/// points, which decides along an edge). Nothing when the surface is smooth in the cell or the point lies near the cell's border or outside.
/// After Kobbelt, Botsch, Schwanecke, Seidel, "Feature sensitive surface extraction from volume data", ACM SIGGRAPH 2001, section 4.
std::optional<Vec3> sharpFeature(EdgeCuts& cuts, std::size_t slot, const std::array<std::int32_t, 8>& node, Vec3 centre, double cellSize);

} // namespace tav3d::tools
