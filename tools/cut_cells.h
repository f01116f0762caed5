#pragma once

// The cut-cell mesh: the grid of a mould block, its cells cut along the part's surface.
//
// Method. Every grid node and every cell centre is inside or outside the part. A cell whose corners and centre agree stays a hexahedron. Any other
// cell is divided into six pyramids from its centre to its faces. A face whose corners do not lie on different sides stays a quadrilateral (the
// neighbour may be a hexahedron); the pyramid below it is cut at most across its apex. Any other face is divided into two triangles along a diagonal,
// and the two tetrahedra below it are cut into tetrahedra, pyramids and prisms (cut_patterns.h). Cut points lie where the edge really meets the
// surface. A grid node that is nearer to a cut point than a small part of the edge is moved there and lies on the surface from then on.
// So is the centre of a cell when it lies near the surface, or when the surface has a sharp edge or corner in the cell, which the centre then takes.
//
// Why it conforms. What happens to a face of the grid depends on that face alone: on the sides and places of its corners, the diagonal (chosen from
// the corners and the face's own number) and the cut points of its edges, each of which exists once. All else lies inside one cell.
//
// Sources: regular division into tetrahedra and snapping of nodes: G. M. Treece, R. W. Prager, A. H. Gee, "Regularised marching tetrahedra: improved
// iso-surface extraction", Computers & Graphics 23 (1999); F. Labelle, J. R. Shewchuk, "Isosurface stuffing: fast tetrahedral meshes with good
// dihedral angles", ACM SIGGRAPH 2007. Places of sharp features: L. P. Kobbelt, M. Botsch, U. Schwanecke, H.-P. Seidel, "Feature sensitive surface
// extraction from volume data", ACM SIGGRAPH 2001. Keeping pyramids, prisms and hexahedra whole is our own addition.

#include "block_samples.h"
#include "opensuite/mesh_model.h"

namespace tav3d::tools
{

struct CutCellMesh
{
    std::vector<Vec3> node;              // the grid nodes, in grid order, then cut points and inner points
    std::vector<std::uint8_t> onSurface; // per node: 1 = on the surface of the part
    opensuite::CellList plastic, moldBase;
    std::int64_t guessedCuts = 0; // cut points put in the middle of an edge because the surface has a hole there
};

/// Cuts the grid. Bodies outside the part are not cut along their own surfaces: a hexahedron belongs to the body of its centre, a piece of a cut cell
/// to the body that most of its corners lie in.
/// Sources of cut points: the part's surface, and the surfaces of inserts where they stand in the part's volume.
CutCellMesh cutCells(const BlockGrid& grid, const BlockSamples& samples, const TriangleMesh& part, std::span<const TriangleMesh> inserts);

} // namespace tav3d::tools
