#pragma once

#include "common/processor.h"
#include "interpolation/mq_quadrature.h"
#include "interpolation/shape_trials.h"

#include <memory>
#include <vector>

namespace tav3d::interpolation
{

/// The kernel for a lane set that can run here.
[[nodiscard]] TrialKernel trialKernel(common::LaneSet lanes) noexcept;

/// The shape parameters that are tried.
[[nodiscard]] std::span<const double, shapeCount> triedShapes() noexcept;

/// The fits of mq_quadrature.h with the same results, bit for bit, many times faster: shape parameters are tried several at a time, and the
/// two fits of a stencil without and with the target share most of their work. Keeps its working memory from call to call, and nothing else.
class Quadrature
{
public:
    explicit Quadrature(common::LaneSet lanes = common::bestLaneSet());

    /// See the function of the same name.
    void fitDerivatives(const Stencil& stencil, std::span<const double> phi, DerivativeFit& fit);

    /// See the function of the same name.
    double interpolateAtPoint(std::span<const int> stencilNodes, const int* const* neighbourhood, const NumberedPoints& points,
                              const NumberedSpan<const double>& phi, const Point& target);

private:
    /// Room for the kernel, for n points.
    double* room(int n);

    TrialKernel kernel_;
    std::unique_ptr<double[]> room_;
    int roomFor_ = 0;
    std::array<std::vector<double>, 4> gathered_; // x, y, z and value of a stencil
    Trials with_;
    Trials without_;
};

} // namespace tav3d::interpolation
