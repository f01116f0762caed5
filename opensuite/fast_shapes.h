#pragma once

// Shape functions at a physical point, the fast way: for points in and around ordinary elements, which is what hosts ask for. Each function answers
// false where it cannot vouch for the weights (N is undefined then): the point is at a node, or the element is flat, strongly distorted or far
// away, or a number is not finite. The careful way of shape_functions.h and inverse_mapping.h is for those. Nothing here allocates.
//
// There is one set of functions per instruction set; all give the same bits.

namespace tav3d::opensuite
{

/// Node coordinates in element order and the weights N of the nodes; as many entries as the element has nodes.
using FastShape = bool (*)(double x, double y, double z, const double* X, const double* Y, const double* Z, double* N) noexcept;

struct FastShapes
{
    FastShape tetra, prism, hexa;
};

namespace plain_lanes
{
extern const FastShapes fastShapes;
}
namespace sse2
{
extern const FastShapes fastShapes;
}
namespace avx2
{
extern const FastShapes fastShapes;
}

} // namespace tav3d::opensuite
