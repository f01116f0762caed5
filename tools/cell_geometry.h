#pragma once

// Faces and volumes of tetrahedra, pyramids, prisms and hexahedra.

#include "opensuite/mesh_model.h"
#include "vec3.h"

#include <span>

namespace tav3d::tools
{

/// Faces of a cell kind as corner positions, counter-clockwise as seen from outside; a triangle has -1 in fourth place.
std::span<const std::array<std::int8_t, 4>> facesOf(opensuite::CellKind kind);

/// Volume of a cell whose quadrilateral faces are bilinear surfaces, so that the volumes of cells that share their faces add up exactly. Negative when
/// the cell is turned inside out. `corner` holds the corners in element order.
double cellVolume(opensuite::CellKind kind, std::span<const Vec3> corner);

} // namespace tav3d::tools
