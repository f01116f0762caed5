#include "benchmarks/quadrature_peers.h"

#include <algorithm>

extern "C"
{
    void dgesv_(const int* n, const int* nrhs, double* a, const int* lda, int* ipiv, double* b, const int* ldb, int* info);
#if defined(__GNUC__)
    [[gnu::weak]] void openblas_set_num_threads(int threads); // where LAPACK is OpenBLAS
#endif
}

namespace tav3d::benchmarks
{

double solveByLapack(const std::vector<LinearSystem>& systems)
{
#if defined(__GNUC__)
    if (openblas_set_num_threads != nullptr)
        openblas_set_num_threads(1);
#endif
    std::vector<double> a(32 * 32);
    std::vector<double> b(32 * 3);
    std::vector<int> pivots(32);
    double sum = 0.0;
    for (const LinearSystem& s : systems)
    {
        std::copy(s.matrix.begin(), s.matrix.end(), a.begin()); // both are overwritten
        std::copy(s.rhs.begin(), s.rhs.end(), b.begin());
        const int three = 3;
        int info = 0;
        dgesv_(&s.n, &three, a.data(), &s.n, pivots.data(), b.data(), &s.n, &info);
        sum += b[0];
    }
    return sum;
}

} // namespace tav3d::benchmarks
