#pragma once

#include "opensuite/mesh_model.h"
#include "tools/cell_geometry.h"

#include <vector>

namespace tav3d::test
{

/// Corners of cell c (from 0), unscaled.
inline std::vector<tools::Vec3> cornersOf(const opensuite::MeshZone& zone, const opensuite::CellList& cells, std::size_t c)
{
    std::vector<tools::Vec3> corner;
    for (std::int64_t k = cells.start[c]; k < cells.start[c + 1]; ++k)
    {
        const auto n = static_cast<std::size_t>(cells.node[static_cast<std::size_t>(k)]) - 1;
        corner.push_back({zone.x[n], zone.y[n], zone.z[n]});
    }
    return corner;
}

} // namespace tav3d::test
