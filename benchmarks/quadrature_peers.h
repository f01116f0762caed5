// What solves the systems of the quadrature by itself: other libraries, each as fast as it goes.

#pragma once

#include <vector>

namespace tav3d::benchmarks
{

/// n equations with three right-hand sides.
struct LinearSystem
{
    int n = 0;
    std::vector<double> matrix; // column by column, symmetric
    std::vector<double> rhs;    // one right-hand side after the other
};

/// Solve all systems and give the sum of the first unknowns of all. Single thread.
[[nodiscard]] double solveByEigen(const std::vector<LinearSystem>& systems);
[[nodiscard]] double solveByLapack(const std::vector<LinearSystem>& systems);

} // namespace tav3d::benchmarks
