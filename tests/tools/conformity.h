#pragma once

// Whether cells fill space without gaps and overlaps.

#include "opensuite/mesh_model.h"
#include "tools/vec3.h"

#include <initializer_list>
#include <span>
#include <vector>

namespace tav3d::test
{

struct Conformity
{
    double volume = 0;                            // of all cells
    std::int64_t notPositive = 0;                 // cells without positive volume
    std::int64_t badFaces = 0;                    // faces of more than two cells, or of two cells on the same side of it
    std::vector<std::vector<std::int32_t>> outer; // faces of one cell, counter-clockwise as seen from outside
};

Conformity checkCells(std::span<const tools::Vec3> nodes, std::initializer_list<const opensuite::CellList*> lists);

/// Nodes of a mesh as it is stored.
std::vector<tools::Vec3> nodesOf(const opensuite::MeshZone& zone);

/// Edges of the given facets (four corners, triangles repeat the third) that are not run along once in each direction, or several times in equal
/// numbers. 0 for closed surfaces.
std::int64_t openFacetEdges(const std::vector<std::array<std::int32_t, 4>>& facets);

} // namespace tav3d::test
