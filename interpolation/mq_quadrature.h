#pragma once

#include "interpolation/numbered.h"

#include <array>
#include <span>

namespace tav3d::interpolation
{

/// The points of one stencil, positions 0..n-1. Derivatives are taken at position 0.
struct Stencil
{
    std::span<const double> x;
    std::span<const double> y;
    std::span<const double> z;

    [[nodiscard]] int size() const noexcept { return static_cast<int>(x.size()); }
};

/// Per axis a run of n weights.
using AxisWeights = std::array<std::span<double>, 3>;

/// Weights whose sums with the values at the stencil's points give the derivatives at position 0, exactly for the multiquadrics
/// sqrt(r^2 + c^2) centred at the stencil's points.
void derivativeWeights(const Stencil& stencil, double c, const AxisWeights& weights);

/// Per axis (x, y, z): the derivative at position 0 of the stencil, and the weight of its last point in it.
struct DerivativeFit
{
    std::array<double, 3> derivative{};
    std::array<double, 3> lastWeight{};
};

// The search over shape parameters.
inline constexpr double firstShape = 1.0;
inline constexpr double shapeStep = 0.1;
inline constexpr double lastShape = 3.0;
inline constexpr double defectSlack = 1.0e-10; ///< a trial less than this much worse than the best still replaces it
inline constexpr double weightGuard = 1.0e-30; ///< added to the last weight before it divides

/// Distance from zero of a stencil's weight sum before any shape parameter was tried. Larger ones never qualify.
inline constexpr double noDefect = 1.0e10;

/// Whether a shape parameter with this defect takes the place of the best one so far: when it is less than 1e-10 worse. Never with NaN.
[[nodiscard]] inline bool takesOver(double defect, double best) noexcept
{
    // DELIBERATE shape-near-tie-takes-later: on ties and near-ties the larger parameter wins, and `best` may creep upward.
    // Written as a difference because it rounds differently from `defect < best + slack`.
    return defect - best < defectSlack;
}

/// Fits with every shape parameter and keeps, per axis, the result of the one whose weights sum nearest to zero. What no parameter
/// qualifies for stays in `fit` as it was.
void fitDerivatives(const Stencil& stencil, std::span<const double> phi, DerivativeFit& fit);

/// Value at `target`: the mean, over the stencil nodes and the three axes, of the value that leaves the derivatives of a node's
/// neighbourhood unchanged when the target joins it.
///   stencilNodes   rows of `neighbourhood` to fit over
///   neighbourhood  counted lists of point numbers
///   points, phi    coordinates and values by point number
double interpolateAtPoint(std::span<const int> stencilNodes, const int* const* neighbourhood, const NumberedPoints& points,
                          const NumberedSpan<const double>& phi, const Point& target);

} // namespace tav3d::interpolation
