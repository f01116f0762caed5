// Closed-form inverse mappings: tetrahedron, triangle, quadrilateral, pyramid. Those by Newton's method are in inverse_mapping_newton.cpp.

#include "inverse_mapping.h"

#include "inverse_mapping_vectors.h"

#include <algorithm>
#include <cmath>

namespace tav3d::opensuite
{

namespace
{

/// A determinant below this part of the product of its vectors' lengths is rounding: the element is flat.
constexpr double determinantFlatness = 1e-13;

/// `lengths2`: product of the squared lengths. A comparison with NaN is false, so a NaN is flat.
bool isFlat(double det, double lengths2)
{
    return !(det * det > determinantFlatness * determinantFlatness * lengths2);
}

double cross(const double (&a)[2], const double (&b)[2])
{
    return a[0] * b[1] - a[1] * b[0];
}

double dot(const double (&a)[2], const double (&b)[2])
{
    return a[0] * b[0] + a[1] * b[1];
}

/// Solves   h + w d0 = a,   r + w d1 = b,   s + w d2 = c,   w h = r s   for (h, r, s, w).
/// Eliminating h, r and s leaves A w^2 - B w + C = 0 with A = d0 + d1 d2, B = a + b d2 + c d1, C = b c. Of its two roots the one with the smaller
/// max(|r|, |s|) / |h| is taken: inside a valid element that is at most 1, and at its other preimage more. Without a usable root w = 0.
/// The first three equations hold by construction, so linear fields are reproduced to rounding whatever error w carries.
void solveBilinear(double a, double b, double c, const double (&d)[3], double (&xi)[4])
{
    xi[0] = a;
    xi[1] = b;
    xi[2] = c;
    xi[3] = 0.0;

    const double A = d[0] + d[1] * d[2];
    const double B = a + b * d[2] + c * d[1];
    const double C = b * c;
    const double discriminant = B * B - 4.0 * A * C;
    const double q = 0.5 * (B + std::copysign(std::sqrt(discriminant), B)); // NaN without a real root; without cancellation otherwise
    double best = farthest;
    for (const double w : {C / q, q / A})
    {
        const double h = a - w * d[0];
        const double r = b - w * d[1];
        const double s = c - w * d[2];
        const double distance = std::max(std::abs(r), std::abs(s)) / std::abs(h);
        if (distance <= best && std::abs(h) <= farthest) // false for NaN
        {
            best = distance;
            xi[0] = h;
            xi[1] = r;
            xi[2] = s;
            xi[3] = w;
        }
    }
}

} // namespace

// x - X1 = r e1 + s e2 + t e3, by Cramer's rule.
bool invertTetra(const double (&x)[3], const Nodes<4>& node, double (&xi)[3]) noexcept
{
    const Vector3 d = fromNode(node, 0, x);
    const Vector3 e1 = fromNode(node, 0, 1);
    const Vector3 e2 = fromNode(node, 0, 2);
    const Vector3 e3 = fromNode(node, 0, 3);
    const Vector3 n1 = cross(e2, e3);
    const double det = dot(e1, n1);
    if (isFlat(det, dot(e1, e1) * dot(e2, e2) * dot(e3, e3)))
        return false;
    const double scale = 1.0 / det;
    xi[0] = dot(d, n1) * scale;
    xi[1] = dot(d, cross(e3, e1)) * scale;
    xi[2] = dot(d, cross(e1, e2)) * scale;
    return std::isfinite(xi[0] + xi[1] + xi[2]);
}

// The same in the plane.
bool invertTriangle(const double (&x)[2], const PlaneNodes<3>& node, double (&xi)[2]) noexcept
{
    const double d[2] = {x[0] - node.X[0], x[1] - node.Y[0]};
    const double e1[2] = {node.X[1] - node.X[0], node.Y[1] - node.Y[0]};
    const double e2[2] = {node.X[2] - node.X[0], node.Y[2] - node.Y[0]};
    const double det = cross(e1, e2);
    if (isFlat(det, dot(e1, e1) * dot(e2, e2)))
        return false;
    xi[0] = cross(d, e2) / det;
    xi[1] = cross(e1, d) / det;
    return std::isfinite(xi[0] + xi[1]);
}

// x = c0 + r c1 + s c2 + rs c3 with the centre c0, half midlines c1 and c2 and the twist c3, which is resolved into c1 and c2.
bool invertQuad(const double (&x)[2], const PlaneNodes<4>& node, double (&xi)[3]) noexcept
{
    double c0[2];
    double c1[2];
    double c2[2];
    double c3[2];
    for (int k = 0; k < 2; ++k)
    {
        const std::span<const double, 4>& X = k == 0 ? node.X : node.Y;
        const double e1 = X[1] - X[0];
        const double e2 = X[2] - X[0];
        const double e3 = X[3] - X[0];
        c0[k] = x[k] - X[0] - 0.25 * (e1 + e2 + e3); // the point as seen from the centre
        c1[k] = 0.25 * ((e1 + e2) - e3);
        c2[k] = 0.25 * ((e2 + e3) - e1);
        c3[k] = 0.25 * ((e2 - e1) - e3);
    }
    const double det = cross(c1, c2);
    if (isFlat(det, dot(c1, c1) * dot(c2, c2)))
        return false;
    const double scale = 1.0 / det;
    double solution[4];
    solveBilinear(1.0, cross(c0, c2) * scale, cross(c1, c0) * scale, {0.0, cross(c3, c2) * scale, cross(c1, c3) * scale}, solution);
    for (int k = 0; k < 3; ++k)
        xi[k] = solution[k + 1];
    return std::isfinite(xi[0] + xi[1] + xi[2]);
}

// As seen from the apex, the section at h is the base shrunk by h:  x = h b0 + u b1 + v b2 + (u v / h) b3,  b0 + r b1 + s b2 + rs b3 being the base.
// The twist b3 is resolved into b0, b1 and b2.
bool invertPyramid(const double (&x)[3], const Nodes<5>& node, double (&xi)[4]) noexcept
{
    constexpr std::size_t apex = 4;
    const Vector3 d = fromNode(node, apex, x);
    const Vector3 p1 = fromNode(node, apex, std::size_t{0});
    const Vector3 p2 = fromNode(node, apex, 1);
    const Vector3 p3 = fromNode(node, apex, 2);
    const Vector3 p4 = fromNode(node, apex, 3);
    const Vector3 b0 = 0.25 * ((p1 + p2) + (p3 + p4));
    const Vector3 b1 = 0.25 * ((p2 + p3) - (p1 + p4));
    const Vector3 b2 = 0.25 * ((p3 + p4) - (p1 + p2));
    const Vector3 b3 = 0.25 * ((p1 + p3) - (p2 + p4));

    const Vector3 n0 = cross(b1, b2);
    const double det = dot(b0, n0);
    if (isFlat(det, dot(b0, b0) * dot(b1, b1) * dot(b2, b2)))
        return false;
    const double scale = 1.0 / det;
    const Vector3 n1 = cross(b2, b0);
    const Vector3 n2 = cross(b0, b1);
    // At the apex all right sides are 0, the quadratic equation is 0 = 0, and w = 0 is the limit from within.
    solveBilinear(dot(d, n0) * scale, dot(d, n1) * scale, dot(d, n2) * scale,
                  {dot(b3, n0) * scale, dot(b3, n1) * scale, dot(b3, n2) * scale}, xi);
    return std::isfinite(xi[0] + xi[1] + xi[2] + xi[3]);
}

} // namespace tav3d::opensuite
