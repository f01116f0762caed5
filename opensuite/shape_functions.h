#pragma once

// Linear Lagrange shape functions in reference coordinates, and the affine weights that stand in for them where an element has no inverse
// mapping. Node order, formulas and sources: docs/elements.md. Nothing here allocates.

#include <span>

namespace tav3d::opensuite
{

/// Tetrahedron; (r, s, t) are the weights of nodes 2, 3 and 4.
void tetraShape(double r, double s, double t, std::span<double, 4> N) noexcept;

/// Triangle; (r, s) are the weights of nodes 2 and 3.
void triangleShape(double r, double s, std::span<double, 3> N) noexcept;

/// Quadrilateral over [-1, 1]^2; `rs` is the product r s, handed over because the inverse mapping has it with less rounding.
void quadShape(double r, double s, double rs, std::span<double, 4> N) noexcept;

/// Pyramid with rational shape functions. `h` is 0 at the apex and 1 on the base, the section at h spans u, v in [-h, h], and `w` = u v / h.
/// At the apex u = v = w = h = 0: the quotient, which has no value there, is the caller's to settle.
void pyramidShape(double h, double u, double v, double w, std::span<double, 5> N) noexcept;

/// Prism; (r, s) as in the triangle, t in [-1, 1] from the base to the top.
void prismShape(double r, double s, double t, std::span<double, 6> N) noexcept;

/// Hexahedron over [-1, 1]^3.
void hexaShape(double r, double s, double t, std::span<double, 8> N) noexcept;

/// The weights of least norm among those that sum to 1 and reproduce the point: sum N_i X_i = x. They exist for every set of nodes. Nodes in one
/// plane, on one line or all in one place (thinner than 1e-12 of their extent) reproduce the nearest point of that plane, line or place.
/// For a tetrahedron that is not flat they are its shape functions. At most 8 nodes. Every weight is NaN when the point or a node is not finite.
///   x         in    the point
///   X, Y, Z   in    node coordinates, one per weight
///   N         out   the weights
void leastNormWeights(const double (&x)[3], std::span<const double> X, std::span<const double> Y, std::span<const double> Z,
                      std::span<double> N) noexcept;

} // namespace tav3d::opensuite
