#pragma once

// Trial fits of one stencil with all shape parameters: the fast form behind quadrature.h. The same source is compiled for several
// instruction sets; what it computes is the same for all of them, bit for bit.
//
// Included by code for special instruction sets: no inline functions, no templates, nothing of the standard library.

namespace tav3d::interpolation
{

constexpr int shapeCount = 20; // 1.0, 1.1, ..., 2.9: a multiple of every number of lanes

/// A stencil of finite points and values, positions 0..n-1.
struct TrialStencil
{
    const double* x;
    const double* y;
    const double* z;
    const double* phi;
    int n;
};

/// Per axis and shape parameter what the weights w of a fit say.
struct Trials
{
    double defect[3][shapeCount];     ///< |sum of w|
    double derivative[3][shapeCount]; ///< sum of phi w
    double lastWeight[3][shapeCount]; ///< w of the last point
};

/// Doubles of room (any alignment of 32 bytes) that a stencil of n points needs.
constexpr int trialRoom(int n)
{
    const int distances = n * (n - 1) / 2 + 1 + 2 * n;
    return 4 * (2 * n * ((n + 5) | 1) + 6 * n + distances) + distances + 3 * n;
}

/// Fits the stencil with each shape parameter. With `without` given also the stencil without its last point; that asks for n >= 2,
/// otherwise n >= 1 is enough.
///   shape  the shapeCount parameters
///   room   trialRoom(n) doubles at a multiple of 32 bytes; contents do not matter
using TrialKernel = void (*)(const TrialStencil& stencil, const double* shape, double* room, Trials& with, Trials* without);

namespace avx2
{
void tryShapes(const TrialStencil& stencil, const double* shape, double* room, Trials& with, Trials* without);
}
namespace sse2
{
void tryShapes(const TrialStencil& stencil, const double* shape, double* room, Trials& with, Trials* without);
}
namespace plain_lanes
{
void tryShapes(const TrialStencil& stencil, const double* shape, double* room, Trials& with, Trials* without);
}

} // namespace tav3d::interpolation
