#pragma once

#include "mapping_report.h"

#include <string>

namespace tav3d::tools
{

/// The data of the page's interactive view, as <script> elements of inert types:
///   id "view-data"  JSON: per mesh its counts and bounding box, per item in view its name, unit, range and files
///   id "<mesh>-points", "<mesh>-facets", "<mesh>-item-<k>"  base64 of little-endian arrays; <mesh> is "voxel" or "cut"
/// Coordinates become 16-bit fractions of the mesh's bounding box (x, y, z per point), point indices 16 or 32 bits wide, values 16-bit
/// fractions 0..65534 of the item's range over both meshes, 65535 where there is no finite value: 1/65534 of the range is far below what a
/// colour scale shows.
/// Empty when one of the surfaces has no facets. Throws std::invalid_argument, naming file and item, when an item has values but not one for
/// each point, and when a facet names a point that does not exist.
[[nodiscard]] std::string viewDataHtml(const MappingReport& report);

} // namespace tav3d::tools
