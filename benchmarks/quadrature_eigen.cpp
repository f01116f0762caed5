// In a file of its own, which is compiled for the same instruction set as our fastest form, and for fused operations as well.

#include "benchmarks/quadrature_peers.h"

#include <Eigen/LU>

namespace tav3d::benchmarks
{

double solveByEigen(const std::vector<LinearSystem>& systems)
{
    constexpr int most = 32; // known at compile time, so that nothing is allocated
    using Matrix = Eigen::Matrix<double, Eigen::Dynamic, Eigen::Dynamic, Eigen::ColMajor, most, most>;
    using RightSides = Eigen::Matrix<double, Eigen::Dynamic, 3, Eigen::ColMajor, most, 3>;
    double sum = 0.0;
    Eigen::PartialPivLU<Matrix> lu(most);
    RightSides w;
    for (const LinearSystem& s : systems)
    {
        lu.compute(Eigen::Map<const Eigen::MatrixXd>(s.matrix.data(), s.n, s.n));
        w = lu.solve(Eigen::Map<const Eigen::Matrix<double, Eigen::Dynamic, 3>>(s.rhs.data(), s.n, 3));
        sum += w(0, 0);
    }
    return sum;
}

} // namespace tav3d::benchmarks
