// Local multiquadric differential quadrature.
//
// A derivative of a field at the first point of a stencil is written as a weighted sum of the field's values at all its points. The weights
// follow from asking that the sum be exact for each basis function g_j(p) = sqrt(|p - p_j|^2 + c^2):
//   sum_i w_i g_j(p_i) = dg_j/dx (p_1) = (x_1 - x_j) / g_j(p_1),   j = 1..n
// Sources: R. L. Hardy, Multiquadric equations of topography and other irregular surfaces, J. Geophys. Res. 76 (1971) 1905-1915; C. Shu, H.
// Ding, K. S. Yeo, Local radial basis function-based differential quadrature method, Comput. Methods Appl. Mech. Engrg. 192 (2003) 941-954.

#include "interpolation/mq_quadrature.h"

#include "interpolation/dense_lu.h"

#include <cmath>
#include <vector>

namespace tav3d::interpolation
{

namespace
{

/// Multiquadric distance of points i and j.
double multiquadric(const Stencil& s, std::size_t i, std::size_t j, double c)
{
    const double dx = s.x[i] - s.x[j];
    const double dy = s.y[i] - s.y[j];
    const double dz = s.z[i] - s.z[j];
    return std::sqrt(dx * dx + dy * dy + dz * dz + c * c);
}

/// Room for the points and values of one stencil.
struct StencilData
{
    explicit StencilData(std::size_t room)
        : x(room)
        , y(room)
        , z(room)
        , phi(room)
    {
    }

    void set(std::size_t i, const Point& p, double value)
    {
        x[i] = p.x;
        y[i] = p.y;
        z[i] = p.z;
        phi[i] = value;
    }

    [[nodiscard]] DerivativeFit fitFirst(std::size_t n) const
    {
        DerivativeFit fit; // zeros, also where no shape parameter qualifies
        fitDerivatives({std::span(x).first(n), std::span(y).first(n), std::span(z).first(n)}, std::span(phi).first(n), fit);
        return fit;
    }

    std::vector<double> x;
    std::vector<double> y;
    std::vector<double> z;
    std::vector<double> phi;
};

} // namespace

void derivativeWeights(const Stencil& stencil, double c, const AxisWeights& weights)
{
    const int n = stencil.size();
    const std::array<std::span<const double>, 3> coordinate = {stencil.x, stencil.y, stencil.z};

    // right-hand sides: derivatives of the basis functions at the first point
    std::array<std::vector<double>, 3> rhs;
    for (std::vector<double>& b : rhs)
        b.resize(static_cast<std::size_t>(n));
    for (std::size_t j = 0; j < stencil.x.size(); ++j)
    {
        const double r = multiquadric(stencil, 0, j, c);
        for (std::size_t axis = 0; axis < 3; ++axis)
            rhs[axis][j] = (coordinate[axis][0] - coordinate[axis][j]) / r;
    }

    // A_ij = g_j(p_i), symmetric, c on the diagonal
    NRMat a(n, n);
    for (int i = 0; i < n; ++i)
        for (int j = 0; j < n; ++j)
            a[i][j] = multiquadric(stencil, static_cast<std::size_t>(i), static_cast<std::size_t>(j), c);

    NRVec<int> indx(n);
    NRVec<double> b(n);
    double parity = 0.0001; // ludcmp sets it; not used
    ludcmp(a, indx, parity);
    for (std::size_t axis = 0; axis < 3; ++axis)
    {
        for (int i = 0; i < n; ++i)
            b[i] = rhs[axis][static_cast<std::size_t>(i)];
        lubksb(a, indx, b);
        for (int i = 0; i < n; ++i)
            weights[axis][static_cast<std::size_t>(i)] = b[i];
    }
}

void fitDerivatives(const Stencil& stencil, std::span<const double> phi, DerivativeFit& fit)
{
    const std::size_t n = stencil.x.size();
    std::array<std::vector<double>, 3> w;
    for (std::vector<double>& axisWeights : w)
        axisWeights.resize(n);
    std::array<double, 3> best = {noDefect, noDefect, noDefect};

    // DELIBERATE shape-ends-at-2.9: the parameter is accumulated, so 20 are tried, 1.0 to 2.9; rounding carries the 21st beyond 3.0.
    for (double c = firstShape; c <= lastShape; c = c + shapeStep)
    {
        derivativeWeights(stencil, c, {w[0], w[1], w[2]});
        for (std::size_t axis = 0; axis < 3; ++axis)
        {
            double sum = 0.0; // the stencil's derivative of a constant 1, ideally 0
            double derivative = 0.0;
            for (std::size_t i = 0; i < n; ++i)
            {
                sum += w[axis][i];
                derivative += phi[i] * w[axis][i];
            }
            const double defect = std::abs(sum);
            if (takesOver(defect, best[axis]))
            {
                best[axis] = defect;
                fit.derivative[axis] = derivative;
                fit.lastWeight[axis] = n > 0 ? w[axis][n - 1] : 0.0;
            }
        }
    }
}

double interpolateAtPoint(std::span<const int> stencilNodes, const int* const* neighbourhood, const NumberedPoints& points,
                          const NumberedSpan<const double>& phi, const Point& target)
{
    std::array<double, 3> sum{};
    for (const int node : stencilNodes)
    {
        // DELIBERATE stencil-starts-at-lowest-number: neighbours come in ascending order, so derivatives are taken at the lowest-numbered
        // one and not at `node`.
        const std::span<const int> neighbours = listItems(neighbourhood[node]);
        const std::size_t m = neighbours.size();
        StencilData data(m + 1);
        for (std::size_t i = 0; i < m; ++i)
            data.set(i, points[neighbours[i]], phi[neighbours[i]]);
        data.set(m, target, 0.0);

        // With the target in the stencil at value v the derivative is D2 + W v; v = (D1 - D2) / W keeps it at D1.
        const DerivativeFit without = data.fitFirst(m);
        const DerivativeFit with = data.fitFirst(m + 1);
        for (std::size_t axis = 0; axis < 3; ++axis)
        {
            // DELIBERATE weight-guard: added, not applied by sign. An axis that no parameter qualifies for has W = 0 and contributes 1e30
            // D1.
            sum[axis] += (without.derivative[axis] - with.derivative[axis]) / (with.lastWeight[axis] + weightGuard);
        }
    }
    return ((sum[1] + sum[0]) + sum[2]) / static_cast<double>(3 * static_cast<int>(stencilNodes.size()));
}

} // namespace tav3d::interpolation
