// LU decomposition by Crout's method with implicit (row-scaled) partial pivoting, in place: P A = L U, L with unit diagonal.
//   u_ij = a_ij - sum_{k<i} l_ik u_kj             (i <= j)
//   l_ij = (a_ij - sum_{k<j} l_ik u_kj) / u_jj    (i >  j)
// Terms are subtracted one at a time, k ascending: the order is part of the result.
// Cf. W. H. Press et al., Numerical Recipes, ch. 2.3; Golub & Van Loan, Matrix Computations, ch. 3.

#include "interpolation/dense_lu.h"

#include <cmath>
#include <cstdlib>
#include <iostream>
#include <utility>
#include <vector>

namespace tav3d::interpolation
{

namespace
{

constexpr double tinyPivot = 1.0e-20;

/// vv[i] = 1 / largest magnitude of row i. NaN elements are passed over.
std::vector<double> rowScales(const NRMat& a)
{
    const int n = a.nn;
    std::vector<double> vv(static_cast<std::size_t>(n));
    for (int i = 0; i < n; ++i)
    {
        double big = 0.0;
        for (int j = 0; j < n; ++j)
            if (std::abs(a[i][j]) > big)
                big = std::abs(a[i][j]);
        // DELIBERATE lu-singular-ends-process: a row of zeros (or of zeros and NaN) ends the host program with exit status 1.
        if (big == 0.0)
            nrerror("Singular matrix in routine ludcmp");
        vv[static_cast<std::size_t>(i)] = 1.0 / big;
    }
    return vv;
}

/// a_ij minus the first `terms` products of row i and column j.
double reducedElement(const NRMat& a, int i, int j, int terms)
{
    double sum = a[i][j];
    for (int k = 0; k < terms; ++k)
        sum -= a[i][k] * a[k][j];
    return sum;
}

} // namespace

void ludcmp(NRMat& a, NRVec<int>& indx, double& d)
{
    const int n = a.nn;
    d = 1.0;
    std::vector<double> vv = rowScales(a);
    for (int j = 0; j < n; ++j)
    {
        for (int i = 0; i < j; ++i)
            a[i][j] = reducedElement(a, i, j, i);

        // DELIBERATE lu-last-row-wins: among equal scaled candidates the last row is the pivot (>=); most libraries keep the first.
        int imax = j; // stays when every candidate is NaN
        double big = 0.0;
        for (int i = j; i < n; ++i)
        {
            const double sum = reducedElement(a, i, j, j);
            a[i][j] = sum;
            const double dum = vv[static_cast<std::size_t>(i)] * std::abs(sum);
            if (dum >= big)
            {
                big = dum;
                imax = i;
            }
        }

        if (imax != j)
        {
            for (int k = 0; k < n; ++k)
                std::swap(a[imax][k], a[j][k]);
            d = -d;
            vv[static_cast<std::size_t>(imax)] = vv[static_cast<std::size_t>(j)];
        }
        indx[j] = imax;

        // DELIBERATE lu-zero-pivot: elimination never fails; the solution may come out huge or infinite.
        if (a[j][j] == 0.0)
            a[j][j] = tinyPivot;
        if (j != n - 1)
        {
            const double dum = 1.0 / a[j][j];
            for (int i = j + 1; i < n; ++i)
                a[i][j] *= dum;
        }
    }
}

void lubksb(const NRMat& a, const NRVec<int>& indx, NRVec<double>& b)
{
    const int n = a.nn;

    // L y = P b.
    // DELIBERATE lubksb-skips-leading-zeros: products with leading zeros of b are not subtracted, which shows in the last bits and in signs
    // of zero. `ii` is one more than the position of the first non-zero (a NaN counts as one).
    int ii = 0;
    for (int i = 0; i < n; ++i)
    {
        const int ip = indx[i];
        double sum = b[ip];
        b[ip] = b[i];
        if (ii != 0)
            for (int j = ii - 1; j < i; ++j)
                sum -= a[i][j] * b[j];
        else if (sum != 0.0)
            ii = i + 1;
        b[i] = sum;
    }

    // U x = y.
    for (int i = n - 1; i >= 0; --i)
    {
        double sum = b[i];
        for (int j = i + 1; j < n; ++j)
            sum -= a[i][j] * b[j];
        b[i] = sum / a[i][i];
    }
}

void nrerror(std::string text)
{
    std::cerr << "Numerical Recipes run-time error..." << std::endl;
    std::cerr << text << std::endl;
    std::cerr << "...now exiting to system..." << std::endl;
    std::exit(1);
}

} // namespace tav3d::interpolation
