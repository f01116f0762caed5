// Weights for points of elements that have no inverse mapping. Among all weights with sum N_i = 1 and sum N_i X_i = x, those of least norm are
//   N_i = 1/n + g . y_i,   y_i = X_i - c,   c = mean of the nodes,   M g = x - c,   M = sum y_i y_i^T.
// M is singular when the nodes lie in one plane or on one line. An orthonormal basis of the span of the y_i is therefore built first, longest
// remainder first (Gram-Schmidt with pivoting), and the equation is solved in it, which also projects x onto that plane or line.

#include "shape_functions.h"

#include <algorithm>
#include <array>
#include <cassert>
#include <cmath>
#include <limits>

namespace tav3d::opensuite
{

namespace
{

using Vector = std::array<double, 3>;

/// A remainder below this part of the nodes' extent is rounding, not a direction of its own.
constexpr double extentFlatness = 1e-12;

double dot(const Vector& a, const Vector& b)
{
    return a[0] * b[0] + a[1] * b[1] + a[2] * b[2];
}

/// Orthonormal basis of the span of `y`, whose longest vector has a length of about 1. Returns the number of directions.
int basisOfSpan(std::span<const Vector> y, std::array<Vector, 3>& e)
{
    std::array<Vector, 8> rest;
    std::copy(y.begin(), y.end(), rest.begin());
    for (int rank = 0; rank < 3; ++rank)
    {
        const auto last = rest.begin() + static_cast<std::ptrdiff_t>(y.size());
        const auto longest = std::max_element(rest.begin(), last, [](const Vector& a, const Vector& b) { return dot(a, a) < dot(b, b); });
        const double length = std::sqrt(dot(*longest, *longest));
        if (!(length > extentFlatness))
            return rank;
        for (int k = 0; k < 3; ++k)
            e[rank][k] = (*longest)[k] / length;
        for (int earlier = 0; earlier < rank; ++earlier) // once more against rounding
        {
            const double a = dot(e[rank], e[earlier]);
            for (int k = 0; k < 3; ++k)
                e[rank][k] -= a * e[earlier][k];
        }
        const double again = std::sqrt(dot(e[rank], e[rank]));
        for (int k = 0; k < 3; ++k)
            e[rank][k] /= again;
        for (auto r = rest.begin(); r != last; ++r)
        {
            const double a = dot(*r, e[rank]);
            for (int k = 0; k < 3; ++k)
                (*r)[k] -= a * e[rank][k];
        }
    }
    return 3;
}

/// Solves A g = b in place for a symmetric positive definite A of size n <= 3 (Cholesky, A = L L^T).
void solveDefinite(double (&A)[3][3], double (&b)[3], int n)
{
    for (int j = 0; j < n; ++j)
    {
        for (int k = 0; k < j; ++k)
            A[j][j] -= A[j][k] * A[j][k];
        A[j][j] = std::sqrt(A[j][j]);
        for (int i = j + 1; i < n; ++i)
        {
            for (int k = 0; k < j; ++k)
                A[i][j] -= A[i][k] * A[j][k];
            A[i][j] /= A[j][j];
        }
    }
    for (int i = 0; i < n; ++i)
    {
        for (int k = 0; k < i; ++k)
            b[i] -= A[i][k] * b[k];
        b[i] /= A[i][i];
    }
    for (int i = n - 1; i >= 0; --i)
    {
        for (int k = i + 1; k < n; ++k)
            b[i] -= A[k][i] * b[k];
        b[i] /= A[i][i];
    }
}

} // namespace

void leastNormWeights(const double (&x)[3], std::span<const double> X, std::span<const double> Y, std::span<const double> Z,
                      std::span<double> N) noexcept
{
    const std::size_t n = N.size();
    assert(n >= 1 && n <= 8 && X.size() == n && Y.size() == n && Z.size() == n);

    // Offsets from the first node, where differences of close numbers are exact; then from the mean; then scaled to an extent of 1.
    std::array<Vector, 8> y;
    Vector mean{};
    for (std::size_t i = 0; i < n; ++i)
    {
        y[i] = {X[i] - X[0], Y[i] - Y[0], Z[i] - Z[0]};
        for (int k = 0; k < 3; ++k)
            mean[k] += y[i][k] / static_cast<double>(n);
    }
    Vector d = {x[0] - X[0] - mean[0], x[1] - Y[0] - mean[1], x[2] - Z[0] - mean[2]};
    double extent = 0.0;
    double check = d[0] + d[1] + d[2]; // finite only if every number is
    for (std::size_t i = 0; i < n; ++i)
        for (int k = 0; k < 3; ++k)
        {
            y[i][k] -= mean[k];
            extent = std::max(extent, std::abs(y[i][k]));
            check += y[i][k];
        }
    if (!std::isfinite(check))
    {
        std::fill(N.begin(), N.end(), std::numeric_limits<double>::quiet_NaN());
        return;
    }

    const double even = 1.0 / static_cast<double>(n);
    std::fill(N.begin(), N.end(), even);
    if (!(extent > 0.0)) // all nodes in one place
        return;
    for (std::size_t i = 0; i < n; ++i)
        for (int k = 0; k < 3; ++k)
            y[i][k] /= extent;
    for (int k = 0; k < 3; ++k)
        d[k] /= extent;

    std::array<Vector, 3> e;
    const int rank = basisOfSpan({y.data(), n}, e);
    double M[3][3] = {};
    double g[3] = {};
    std::array<Vector, 8> local; // y in the basis
    for (std::size_t i = 0; i < n; ++i)
        for (int a = 0; a < rank; ++a)
        {
            local[i][a] = dot(y[i], e[a]);
            for (int b = 0; b <= a; ++b)
                M[a][b] += local[i][a] * local[i][b];
        }
    for (int a = 0; a < rank; ++a)
        g[a] = dot(d, e[a]);
    solveDefinite(M, g, rank);
    for (std::size_t i = 0; i < n; ++i)
        for (int a = 0; a < rank; ++a)
            N[i] += g[a] * local[i][a];
}

} // namespace tav3d::opensuite
