#pragma once

// The place of a sharp edge or corner of the surface within a cell.

#include "edge_cuts.h"

#include <optional>

namespace tav3d::tools
{

/// The point that lies best on all tangent planes of the surface at the cell's cut points (least squares, drawn slightly to the mean of the cut
/// points, which decides along an edge). Nothing when the surface is smooth in the cell or the point lies outside.
/// A point near the cell's border is drawn inwards.
/// After Kobbelt, Botsch, Schwanecke, Seidel, "Feature sensitive surface extraction from volume data", ACM SIGGRAPH 2001, section 4.
std::optional<Vec3> sharpFeature(EdgeCuts& cuts, std::size_t slot, const std::array<std::int32_t, 8>& node, Vec3 centre, double cellSize);

/// The place in a cell's face where a sharp edge of the surface passes through it: there meet the tangents at the cut points of the face's sides. Nothing
/// when the surface is smooth there, or when the pieces of the face's halves would not stay convex with their common corner moved there.
/// `corners` = faceCorners(); the face is halved from corners[from] to corners[from + 2]; `origin` = place of corners[0].
std::optional<Vec3> sharpPlaceInFace(EdgeCuts& cuts, const std::array<std::int32_t, 8>& node, const std::array<int, 4>& corners, int from,
                                     Vec3 origin, double cellSize);

} // namespace tav3d::tools
