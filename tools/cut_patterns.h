#pragma once

// How a tetrahedron or a pyramid is cut into cells along a surface that separates its corners.
//
// A tetrahedron is cut as in marching tetrahedra, but kept whole in its pieces: each side becomes one tetrahedron, pyramid or prism. Each of its
// faces is then cut in a way that depends on the corners of that face alone (uncut; a triangle and a quadrilateral; or two triangles when the cut
// runs through a corner), so that the cells of two neighbours meet in common faces without further ado.

#include "opensuite/mesh_model.h"

#include <span>

namespace tav3d::tools
{

/// Side of a corner: -1 in the part, 0 on its surface, +1 outside.
using Side = std::int8_t;

struct Corner
{
    std::int32_t node = 0; // number in the mesh
    Side side = 0;
    std::int8_t local = 0; // for the caller, to find the cut point between two corners
};

/// A piece of a cut tetrahedron or pyramid.
struct Piece
{
    opensuite::CellKind kind;
    Side side; // -1 or +1
    std::array<std::int32_t, 8> node;
};

/// Where pieces go, and where the nodes of cut points come from.
class CutContext
{
public:
    virtual ~CutContext() = default;
    /// Node of the point where the surface cuts the edge between two corners on different sides.
    virtual std::int32_t cutPoint(const Corner& a, const Corner& b) = 0;
    /// A new node at the mean of the given nodes.
    virtual std::int32_t meanPoint(std::span<const std::int32_t> nodes) = 0;
    virtual void add(const Piece& piece) = 0;
};

/// Cuts a tetrahedron (element order). Not all corners may lie on the surface.
void cutTetra(const std::array<Corner, 4>& corner, CutContext& context);

/// Cuts a pyramid (element order, apex last) whose base corners do not lie on different sides; the base is not cut and stays one quadrilateral. Not all
/// corners may lie on the surface.
void cutPyramid(const std::array<Corner, 5>& corner, CutContext& context);

} // namespace tav3d::tools
