#include "interpolation/quadrature.h"

#include "common/compiler.h"

#include <cmath>
#include <cstdint>
#include <limits>

namespace tav3d::interpolation
{

namespace
{

/// The parameters that the plain form tries, accumulated in the same way.
constexpr std::array<double, shapeCount> shapeParameters()
{
    std::array<double, shapeCount> shape{};
    double c = firstShape;
    for (double& s : shape)
    {
        s = c;
        c = c + shapeStep;
    }
    return shape;
}

constexpr std::array<double, shapeCount> shapes = shapeParameters();
static_assert(shapes.back() <= lastShape && shapes.back() + shapeStep > lastShape, "these are all parameters");

/// Whether all magnitudes are at most `most`; not with NaN.
bool within(std::span<const double> values, double most)
{
    bool inside = true;
    for (const double v : values)
        inside = inside && std::abs(v) <= most;
    return inside;
}

/// The kernels are for stencils without infinities or NaN in their squared distances, where no row of the matrix can be zero. They also go
/// with finite values only: which of two NaN an operation passes on is the compiler's choice of operands.
bool suitsKernel(const Stencil& s, std::span<const double> phi)
{
    constexpr double farthest = 1.0e150; // squares of differences stay finite
    return s.size() > 0 && within(s.x, farthest) && within(s.y, farthest) && within(s.z, farthest) &&
           within(phi, std::numeric_limits<double>::max());
}

/// The search of the plain form over trials already made.
void chooseTrials(const Trials& trials, DerivativeFit& fit)
{
    for (std::size_t axis = 0; axis < 3; ++axis)
    {
        double best = noDefect;
        for (std::size_t t = 0; t < shapeCount; ++t)
            if (takesOver(trials.defect[axis][t], best))
            {
                best = trials.defect[axis][t];
                fit.derivative[axis] = trials.derivative[axis][t];
                fit.lastWeight[axis] = trials.lastWeight[axis][t];
            }
    }
}

TrialStencil forKernel(const Stencil& s, std::span<const double> phi)
{
    return {s.x.data(), s.y.data(), s.z.data(), phi.data(), s.size()};
}

} // namespace

TrialKernel trialKernel([[maybe_unused]] common::LaneSet lanes) noexcept
{
#if defined(TAV3D_X86_64)
    if (lanes == common::LaneSet::avx2)
        return avx2::tryShapes;
    if (lanes == common::LaneSet::sse2)
        return sse2::tryShapes;
#endif
    return plain_lanes::tryShapes;
}

std::span<const double, shapeCount> triedShapes() noexcept
{
    return shapes;
}

Quadrature::Quadrature(common::LaneSet lanes)
    : kernel_(trialKernel(lanes))
{
}

double* Quadrature::room(int n)
{
    constexpr std::size_t line = 64; // bytes
    if (n > roomFor_)
    {
        room_ = std::make_unique_for_overwrite<double[]>(static_cast<std::size_t>(trialRoom(n)) + line / sizeof(double));
        roomFor_ = n;
    }
    const auto address = reinterpret_cast<std::uintptr_t>(room_.get());
    return room_.get() + (line - address % line) % line / sizeof(double);
}

void Quadrature::fitDerivatives(const Stencil& stencil, std::span<const double> phi, DerivativeFit& fit)
{
    if (!suitsKernel(stencil, phi))
        return interpolation::fitDerivatives(stencil, phi, fit);
    kernel_(forKernel(stencil, phi), shapes.data(), room(stencil.size()), with_, nullptr);
    chooseTrials(with_, fit);
}

double Quadrature::interpolateAtPoint(std::span<const int> stencilNodes, const int* const* neighbourhood, const NumberedPoints& points,
                                      const NumberedSpan<const double>& phi, const Point& target)
{
    std::array<double, 3> sum{};
    for (const int node : stencilNodes)
    {
        const std::span<const int> neighbours = listItems(neighbourhood[node]);
        const std::size_t m = neighbours.size();
        auto& [x, y, z, value] = gathered_;
        for (std::vector<double>& run : gathered_)
            run.resize(m + 1);
        for (std::size_t i = 0; i < m; ++i)
        {
            const Point p = points[neighbours[i]];
            x[i] = p.x;
            y[i] = p.y;
            z[i] = p.z;
            value[i] = phi[neighbours[i]];
        }
        x[m] = target.x;
        y[m] = target.y;
        z[m] = target.z;
        value[m] = 0.0;

        DerivativeFit without;
        DerivativeFit with;
        const Stencil stencil{x, y, z};
        if (m > 0 && suitsKernel(stencil, value))
        {
            kernel_(forKernel(stencil, value), shapes.data(), room(stencil.size()), with_, &without_);
            chooseTrials(without_, without);
            chooseTrials(with_, with);
        }
        else
        {
            interpolation::fitDerivatives({stencil.x.first(m), stencil.y.first(m), stencil.z.first(m)}, std::span(value).first(m), without);
            interpolation::fitDerivatives(stencil, value, with);
        }
        for (std::size_t axis = 0; axis < 3; ++axis)
            sum[axis] += (without.derivative[axis] - with.derivative[axis]) / (with.lastWeight[axis] + weightGuard);
    }
    return ((sum[1] + sum[0]) + sum[2]) / static_cast<double>(3 * static_cast<int>(stencilNodes.size()));
}

} // namespace tav3d::interpolation
