#pragma once

// Small models whose every number can be checked by hand.

#include "opensuite/mesh_model.h"

#include <functional>

namespace tav3d::test
{

/// Chooses the body of a grid cell; i, j, k count from 0.
using BodyOfCell = std::function<std::int32_t(int i, int j, int k)>;

/// Chooses the kind of a surface facet of the part that would be a plain one (facet_kind::partSkin), by its centre (unscaled).
using KindOfSkin = std::function<std::int32_t(float x, float y, float z)>;

/// Nodes and cells of a grid of cubes with edge h and one corner at the origin: x runs fastest, in nodes and in cells; nodes of all bodies are shared.
/// Without facets.
opensuite::MeshZone cubeGrid(int nx, int ny, int nz, float h, const BodyOfCell& bodyOfCell);

/// Fills in the facets and the interface lists of a mesh from its cells:
///   surface     part against mould base or against nothing: the skin (kind 0 or what `kindOfSkin` says); part against an insert: kind 3;
///               all other faces with nothing on their other side: kind 2. Part elements stand behind their facets.
///   partInsert  every face of an insert's cell that the insert does not share with itself; interface where a part cell lies on the other side
///   interfaces  one per insert that touches the part
/// Facets come in the order of the elements behind them.
void deriveFacets(opensuite::MeshZone& zone, const KindOfSkin& kindOfSkin = {});

/// One cube of edge 1 at the origin, all part, in both meshes. 8 nodes, 6 facets of kind 0.
opensuite::MeshModel unitCube();

/// nx × ny × nz cubes of edge 1, all part, in both meshes.
opensuite::MeshModel unitCubes(int nx, int ny, int nz);

/// Four part cells, one of each kind, sharing faces: a unit cube (nodes 1..8), a pyramid on its face x = 1 (apex: node 9), a prism on its face
/// y = 1 (ridge: nodes 10, 11) and a tetrahedron (node 12) on a side of the pyramid. In both meshes; element order hexahedron, pyramid, prism, tetrahedron.
opensuite::MeshModel oneCellOfEachKind();

/// A block of 5 × 5 × 5 cells of edge 2 (scale factor 0.5): one layer of mould base around a part of 3 × 3 × 3 cells, in whose middle stands an
/// insert of 1 × 1 × 3 cells. Gate: the skin facet at the centre of x = 2; vent: the one at the centre of y = 2.
/// The voxel mesh is the grid; in the cut-cell mesh, a column of cells is cut into prisms, and two part cells into pyramids and tetrahedra, so that
/// the part has cells of all four kinds. All faces still meet face to face. 216 voxel nodes, 218 cut-cell nodes.
opensuite::MeshModel modelWithInsert();

} // namespace tav3d::test
