#pragma once

// Models for tests of the mesh mapping, and changes to models.

#include "opensuite/mesh_model.h"

namespace tav3d::test
{

/// A plate of 6 x 4 x 1 part cells in the middle of a block of 8 x 6 x 3 unit cells, in both meshes. 252 nodes; node (i, j, k) is 1 + i + 9(j + 7k).
/// `edge` is the edge of the cut-cell grid's cells: with another edge than 1 the two meshes share no more than the origin.
opensuite::MeshModel plateModel(float cutCellEdge = 1.0f);

/// The same with a part insert of 2 x 2 x 1 cells below the plate: 3 <= x <= 5, 2 <= y <= 4, 0 <= z <= 1.
opensuite::MeshModel plateWithInsertModel(float cutCellEdge = 1.0f);

/// The node at a grid point of these models.
constexpr int plateNode(int i, int j, int k)
{
    return 1 + i + 9 * (j + 7 * k);
}

/// Gives kind `kind` to every surface facet of kind 0 whose centre is (x, y, z); returns how many there are.
int setFacetKind(opensuite::MeshZone& zone, float x, float y, float z, std::int32_t kind);

/// Renumbers the nodes: node n becomes newNumber[n] (entry 0 is not used).
opensuite::MeshZone renumbered(const opensuite::MeshZone& zone, const std::vector<int>& newNumber);

} // namespace tav3d::test
