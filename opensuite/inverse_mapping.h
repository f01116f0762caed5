#pragma once

// From a physical point to the reference coordinates of an element (docs/elements.md). A function returns false, with its output undefined, when
// the element has no usable inverse there: flat or collapsed nodes, no solution, a solution far away, or numbers that are not finite. Elements may
// be inverted (mirrored). Nothing here allocates.

#include <cstddef>
#include <span>

namespace tav3d::opensuite
{

/// Reference coordinates beyond this (the element spans -1 to 1) are not used: the products of coordinates in the shape functions then cancel
/// so many digits that they no longer sum to 1 within 1e-9.
inline constexpr double farthest = 100.0;

/// Coordinates of n nodes in element order.
template <std::size_t n>
struct Nodes
{
    std::span<const double, n> X, Y, Z;
};

template <std::size_t n>
struct PlaneNodes
{
    std::span<const double, n> X, Y;
};

/// Closed form. xi = weights of nodes 2, 3, 4. False only for a flat element.
bool invertTetra(const double (&x)[3], const Nodes<4>& node, double (&xi)[3]) noexcept;

/// Closed form. xi = weights of nodes 2, 3. False only for a flat element.
bool invertTriangle(const double (&x)[2], const PlaneNodes<3>& node, double (&xi)[2]) noexcept;

/// Closed form (one quadratic equation). xi = r, s and r s, see quadShape(). Where the equation has no usable solution the product is set to 0
/// and r, s are the solution without it, so that linear fields are still reproduced. False only when the midlines are parallel.
bool invertQuad(const double (&x)[2], const PlaneNodes<4>& node, double (&xi)[3]) noexcept;

/// Closed form (one quadratic equation). xi = h, u, v and w = u v / h, see pyramidShape(); all 0 at the apex. Where the equation has no usable
/// solution w is set to 0 as above. False only when apex and midlines lie in one plane.
bool invertPyramid(const double (&x)[3], const Nodes<5>& node, double (&xi)[4]) noexcept;

/// Newton's method from the element's centre. xi = r, s, t, see prismShape().
bool invertPrism(const double (&x)[3], const Nodes<6>& node, double (&xi)[3]) noexcept;

/// Newton's method from the element's centre. xi = r, s, t, see hexaShape().
bool invertHexa(const double (&x)[3], const Nodes<8>& node, double (&xi)[3]) noexcept;

} // namespace tav3d::opensuite
