#pragma once

// Facets between the bodies of a mesh and on its outside.

#include "opensuite/mesh_model.h"
#include "vec3.h"

#include <span>

namespace tav3d::tools
{

/// Fills the surface facets (kinds 0, 2 and 3), the part-insert facets and the interface node lists of `zone` from its cells:
/// - part skin: between plastic and mould base, the plastic element behind;
/// - part/part-insert interface: between plastic and a part insert, the plastic element behind;
/// - outer face: on one element only, that element behind;
/// - part-insert facets: all around each insert, counter-clockwise as seen from outside the insert.
/// Facets are ordered by the element behind them, outer faces last. `outerNode` marks (per node, 1 = yes) the nodes on the outside of the block.
void addFacets(opensuite::MeshZone& zone, std::span<const std::uint8_t> outerNode);

/// Mean of a facet's corners, unscaled.
Vec3 facetCentre(const opensuite::MeshZone& zone, const opensuite::SurfaceFacet& facet);

/// Gives `kind` to the part-skin facets whose centre is not farther than `radius` from `place`, and in any case to the nearest one.
/// Returns the distance of the nearest one (negative when the zone has no part skin).
double markSpot(opensuite::MeshZone& zone, Vec3 place, double radius, std::int32_t kind);

/// The place of a gate when none is asked for: the middle of the largest flat outside of the part, that is of the part-skin facets of the
/// voxel mesh that lie farthest out in one of the six axis directions (of equal ones the first in the order +z, -z, +y, -y, +x, -x).
Vec3 defaultGate(const opensuite::MeshZone& voxel);

} // namespace tav3d::tools
