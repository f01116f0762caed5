// The fast shape functions in lanes; included once by each source file that is compiled for one instruction set, after four_lanes.h.
//
// Coordinates are taken as offsets to the point, so that a mesh far from the origin loses no digits.
//
// TETRA4: one node per lane, N_i = V_i / V with the signed volumes V_i of the point with the face across from node i, and V their sum.
//
// HEXA8, PRISM6: a vector (x, y, z, 0) per register, and the map as a polynomial around the point reached so far,
//   f(r, s, t) = C + r R + s S + t T + rs RS + st ST + rt RT + rst RST,   solved for f = 0 by Newton's method. After a step d = (a, b, g) with
//   C + a R + b S + g T = 0 the polynomial around the new point has C' = ab RS + bg ST + ag RT + abg RST: the residual of a step is made of its mixed
//   terms alone, small numbers without cancellation. A chord step with the same Jacobian, d2 = -J^-1 C', costs a third of a Newton step and makes
//   two steps into one of third order (J. F. Traub, Iterative Methods for the Solution of Equations, 1964, ch. 8). From the solution of
//   the linear part, one such double step and one Newton step reach rounding in elements whose nodes are displaced by an eighth of an edge.
//   The steps are taken without asking, so that the processor need not guess; the size of the last one tells whether they were enough. The next would be its square.

#include "common/compiler.h"

namespace
{

constexpr double flatness = 15000.0; // cube of a node's squared distance over V^2: 0.1 in the middle of a regular element
constexpr double justInside = 1e-6;  // as in the careful form
constexpr double atCorner = 1.0 - 1e-9;
constexpr double lastStep = 1e-7; // the next one, some tenth of its square, would be rounding
constexpr double rounding = 1e-16;
constexpr double affine = 1e-16;      // a residual of the linear part's solution below this part of its start: there is nothing to correct
constexpr double nearlyAffine = 1e-5; // ... below this: chord steps gain some five digits each
constexpr int moreNewtonSteps = 3;

TAV3D_ALWAYS_INLINE bool fastTetra(double x, double y, double z, const double* X, const double* Y, const double* Z, double* N) noexcept
{
    // From the nodes to the point, in this order because the nodes can then be read by the subtraction; the sign of all volumes changes with it.
    const Lanes ax = Lanes::all(x) - Lanes::from(X);
    const Lanes ay = Lanes::all(y) - Lanes::from(Y);
    const Lanes az = Lanes::all(z) - Lanes::from(Z);
    // b = (a1, a0, a3, a2); n = a x b = (a0 x a1, a1 x a0, a2 x a3, a3 x a2), then its halves exchanged.
    const Lanes bx = swapPairs(ax);
    const Lanes by = swapPairs(ay);
    const Lanes bz = swapPairs(az);
    const Lanes nx = swapHalves(ay * bz - az * by);
    const Lanes ny = swapHalves(az * bx - ax * bz);
    const Lanes nz = swapHalves(ax * by - ay * bx);
    const Lanes volume = (bx * nx + by * ny) + bz * nz;
    const Lanes total = sumOfAll(volume);
    const Lanes square = (ax * ax + ay * ay) + az * az;
    // Flat, or seen from so far that the volumes cancel; false for NaN. At a node the other volumes are 0 and the quotient is 1.
    if (!allBelow((square * square) * square, (total * total) * Lanes::all(flatness))) [[unlikely]]
        return false;
    (volume / total + Lanes::all(0.0)).to(N); // a weight of 0 has no sign
    return true;
}

/// The polynomial, and the inverse of its Jacobian at the last Newton step. A prism has no terms rs and rst: RS and RST are not used.
template <bool isPrism>
struct TrilinearMap
{
    Lanes C, R, S, T, RS, ST, RT, RST;
    Lanes n1, n2, n3; // S x T, T x R, R x S, each rotated up
    Lanes scale;      // -1 / det J

    /// Step (a, b, g) of Newton's method by Cramer's rule, each number in all lanes.
    TAV3D_ALWAYS_INLINE void newtonStep(Lanes (&d)[3])
    {
        const Lanes rotatedR = rotateDown(R);
        const Lanes rotatedS = rotateDown(S);
        const Lanes rotatedT = rotateDown(T);
        n1 = S * rotatedT - rotatedS * T;
        n2 = T * rotatedR - rotatedT * R;
        n3 = R * rotatedS - rotatedR * S;
        scale = Lanes::all(-1.0) / sumOfAll(rotateUp(R) * n1);
        const Lanes rotated = rotateUp(C);
        d[0] = sumOfAll(rotated * n1) * scale;
        d[1] = sumOfAll(rotated * n2) * scale;
        d[2] = sumOfAll(rotated * n3) * scale;
    }

    /// d += the step that the same Jacobian gives for another residual. Rotating the normals instead of the residual keeps the wait short.
    TAV3D_ALWAYS_INLINE void addChordStep(Lanes residual, Lanes (&d)[3], Lanes& size) const
    {
        const Lanes a = sumOfAll(residual * rotateDown(n1)) * scale;
        const Lanes b = sumOfAll(residual * rotateDown(n2)) * scale;
        const Lanes g = sumOfAll(residual * rotateDown(n3)) * scale;
        size = (magnitude(a) + magnitude(b)) + magnitude(g);
        d[0] = d[0] + a;
        d[1] = d[1] + b;
        d[2] = d[2] + g;
    }

    /// What the mixed terms make of a step.
    [[nodiscard]] TAV3D_ALWAYS_INLINE Lanes mixed(const Lanes (&d)[3]) const
    {
        const Lanes withT = (d[1] * d[2]) * ST + (d[0] * d[2]) * RT;
        if constexpr (isPrism)
            return withT;
        const Lanes ab = d[0] * d[1];
        return withT + (ab * RS + (ab * d[2]) * RST);
    }

    /// The polynomial around the point after a step, but for C.
    TAV3D_ALWAYS_INLINE void moveBy(const Lanes (&d)[3])
    {
        T = T + d[0] * RT;
        if constexpr (isPrism)
        {
            T = T + d[1] * ST;
            R = R + d[2] * RT;
            S = S + d[2] * ST;
            return;
        }
        ST = ST + d[0] * RST;
        RT = RT + d[1] * RST;
        T = T + d[1] * ST;
        R = (R + d[1] * RS) + d[2] * RT;
        S = (S + d[0] * RS) + d[2] * ST;
        RS = RS + d[2] * RST;
    }
};

/// Moves `p` from where the polynomial stands to its zero.
template <bool isPrism>
TAV3D_ALWAYS_INLINE bool findZero(TrilinearMap<isPrism>& f, Lanes (&p)[3])
{
    Lanes d[3];
    Lanes size;
    f.newtonStep(d);
    const Lanes first = f.mixed(d);
    if (allAtMost(magnitude(first), Lanes::all(nearlyAffine) * magnitude(f.C)))
    {
        if (allAtMost(magnitude(first), Lanes::all(affine) * magnitude(f.C)))
        {
            for (int k = 0; k < 3; ++k)
                p[k] = p[k] + d[k];
            return true;
        }
        // Each chord step is smaller than the one before by about the same factor.
        Lanes e[3] = {d[0], d[1], d[2]};
        Lanes nextSize;
        f.addChordStep(first, e, size);
        f.addChordStep(f.mixed(e) - first, e, nextSize);
        if (nextSize.first() * nextSize.first() <= rounding * size.first())
        {
            for (int k = 0; k < 3; ++k)
                p[k] = p[k] + e[k];
            return true;
        }
    }
    f.moveBy(d);
    f.C = first;
    for (int k = 0; k < 3; ++k)
        p[k] = p[k] + d[k];

    f.newtonStep(d);
    const Lanes second = f.mixed(d);
    f.addChordStep(second, d, size);
    Lanes residual = f.mixed(d) - second;
    for (int step = 0; step < moreNewtonSteps; ++step)
    {
        f.moveBy(d);
        f.C = residual;
        for (int k = 0; k < 3; ++k)
            p[k] = p[k] + d[k];
        f.newtonStep(d);
        size = (magnitude(d[0]) + magnitude(d[1])) + magnitude(d[2]);
        if (size.first() < lastStep)
        {
            for (int k = 0; k < 3; ++k)
                p[k] = p[k] + d[k];
            return true;
        }
        residual = f.mixed(d);
    }
    return false;
}

TAV3D_ALWAYS_INLINE bool fastHexa(double x, double y, double z, const double* X, const double* Y, const double* Z, double* N) noexcept
{
    const Lanes atX = Lanes::all(x);
    const Lanes atY = Lanes::all(y);
    const Lanes atZ = Lanes::all(z);
    const Lanes lowX = atX - Lanes::from(X);
    const Lanes lowY = atY - Lanes::from(Y);
    const Lanes lowZ = atZ - Lanes::from(Z);
    const Lanes highX = atX - Lanes::from(X + 4);
    const Lanes highY = atY - Lanes::from(Y + 4);
    const Lanes highZ = atZ - Lanes::from(Z + 4);
    Lanes sum[4]; // of the nodes along an edge in direction t
    Lanes difference[4];
    transpose(lowX + highX, lowY + highY, lowZ + highZ, sum);
    transpose(highX - lowX, highY - lowY, highZ - lowZ, difference);

    // Eight times the coefficients around the centre: sums and differences along r, then s.
    TrilinearMap<false> f;
    const Lanes front = sum[0] + sum[1];
    const Lanes back = sum[3] + sum[2];
    const Lanes alongFront = sum[1] - sum[0];
    const Lanes alongBack = sum[2] - sum[3];
    f.C = front + back;
    f.S = back - front;
    f.R = alongFront + alongBack;
    f.RS = alongBack - alongFront;
    const Lanes frontT = difference[0] + difference[1];
    const Lanes backT = difference[3] + difference[2];
    const Lanes alongFrontT = difference[1] - difference[0];
    const Lanes alongBackT = difference[2] - difference[3];
    f.T = frontT + backT;
    f.ST = backT - frontT;
    f.RT = alongFrontT + alongBackT;
    f.RST = alongBackT - alongFrontT;

    Lanes p[3] = {Lanes::all(0.0), Lanes::all(0.0), Lanes::all(0.0)};
    if (!findZero(f, p))
        return false;
    const Lanes one = Lanes::all(1.0);
    constexpr double signR[4] = {-1.0, 1.0, 1.0, -1.0};
    constexpr double signS[4] = {-1.0, -1.0, 1.0, 1.0};
    const Lanes corner = (one + Lanes::from(signR) * p[0]) * (one + Lanes::from(signS) * p[1]);
    const Lanes lower = corner * (Lanes::all(0.125) * (one - p[2]));
    const Lanes upper = corner * (Lanes::all(0.125) * (one + p[2]));
    if (!allAtMost(Lanes::all(-0.125 * justInside), smaller(lower, upper)) || !allAtMost(larger(lower, upper), Lanes::all(atCorner)))
        return false;
    lower.to(N);
    upper.to(N + 4);
    return true;
}

TAV3D_ALWAYS_INLINE bool fastPrism(double x, double y, double z, const double* X, const double* Y, const double* Z, double* N) noexcept
{
    const Lanes atX = Lanes::all(x);
    const Lanes atY = Lanes::all(y);
    const Lanes atZ = Lanes::all(z);
    Lanes first[4]; // nodes 1 to 4
    Lanes last[4];  // nodes 3 to 6
    transpose(atX - Lanes::from(X), atY - Lanes::from(Y), atZ - Lanes::from(Z), first);
    transpose(atX - Lanes::from(X + 2), atY - Lanes::from(Y + 2), atZ - Lanes::from(Z + 2), last);

    // Twice the coefficients, around the middle of the edge from node 1 to node 4; then around the centre.
    TrilinearMap<true> f;
    const Lanes lowR = first[1] - first[0];
    const Lanes lowS = first[2] - first[0];
    const Lanes highR = last[2] - last[1];
    const Lanes highS = last[3] - last[1];
    f.R = highR + lowR;
    f.S = highS + lowS;
    f.RT = highR - lowR;
    f.ST = highS - lowS;
    const Lanes third = Lanes::all(1.0 / 3.0);
    f.C = (first[0] + first[3]) + third * (f.R + f.S);
    f.T = (first[3] - first[0]) + third * (f.RT + f.ST);

    Lanes p[3] = {third, third, Lanes::all(0.0)};
    if (!findZero(f, p))
        return false;
    const double r = p[0].first();
    const double s = p[1].first();
    const double t = p[2].first();
    const double q = (1.0 - r) - s;
    if (!(r >= -justInside && s >= -justInside && q >= -justInside && t >= -(1.0 + justInside) && t <= 1.0 + justInside))
        return false;
    const double lower = 0.5 * (1.0 - t);
    const double upper = 0.5 * (1.0 + t);
    N[0] = q * lower;
    N[1] = r * lower;
    N[2] = s * lower;
    N[3] = q * upper;
    N[4] = r * upper;
    N[5] = s * upper;
    for (int i = 0; i < 6; ++i)
        if (N[i] > atCorner)
            return false;
    return true;
}

// For the table of fast shape functions.
bool tetraAt(double x, double y, double z, const double* X, const double* Y, const double* Z, double* N) noexcept
{
    return fastTetra(x, y, z, X, Y, Z, N);
}
bool prismAt(double x, double y, double z, const double* X, const double* Y, const double* Z, double* N) noexcept
{
    return fastPrism(x, y, z, X, Y, Z, N);
}
bool hexaAt(double x, double y, double z, const double* X, const double* Y, const double* Z, double* N) noexcept
{
    return fastHexa(x, y, z, X, Y, Z, N);
}

} // namespace

// The elements' evaluation. The careful way is asked last and with the same arguments, so that it costs a jump and the fast way no saving of registers.

namespace tav3d::opensuite
{

template <>
void FastElement<4, laneSet>::GetShapeFunction(double x, double y, double z, const double* X, const double* Y, const double* Z,
                                               double* N) const
{
    if (!fastTetra(x, y, z, X, Y, Z, N)) [[unlikely]]
        evaluateCarefully(x, y, z, X, Y, Z, N);
}

template <>
void FastElement<6, laneSet>::GetShapeFunction(double x, double y, double z, const double* X, const double* Y, const double* Z,
                                               double* N) const
{
    if (!fastPrism(x, y, z, X, Y, Z, N)) [[unlikely]]
        evaluateCarefully(x, y, z, X, Y, Z, N);
}

template <>
void FastElement<8, laneSet>::GetShapeFunction(double x, double y, double z, const double* X, const double* Y, const double* Z,
                                               double* N) const
{
    if (!fastHexa(x, y, z, X, Y, Z, N)) [[unlikely]]
        evaluateCarefully(x, y, z, X, Y, Z, N);
}

} // namespace tav3d::opensuite
