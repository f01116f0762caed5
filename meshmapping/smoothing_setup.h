#pragma once

// Smoothing of values at the points of a host: a table of Gauss weights, built once, applied to any number of value arrays.

#include "numbered.h"

#include "TAVOptKer.h"

namespace tav3d::meshmapping
{

/// Where the points lie.
struct SmoothingPoints
{
    NumberedSpan<const double> x, y, z;
};

/// One row per point. Entry 0 is the point itself, entries 1..neighbourTotal its nearest points, itself among them.
struct SmoothingTable
{
    std::unique_ptr<CTAVOptKer> tree;
    RowTable<float> weight;
    RowTable<int> neighbour;
    std::unique_ptr<int[]> isSet; // per point: 1 = its row holds weights
};

/// View of a table.
struct SmoothingRows
{
    NumberedSpan<const int> isSet;
    const float* const* weight = nullptr;
    const int* const* neighbour = nullptr;
    int neighbourTotal = 0;
};

/// Builds the table. `lengthSquared`: square of the smoothing length; `pi`: the host's pi.
[[nodiscard]] SmoothingTable buildSmoothingTable(const SmoothingPoints& points, double lengthSquared, int neighbourTotal, float pi);

/// Copies `input` to `output` and smooths it in `sweepTotal` Jacobi sweeps; points without weights keep their value. Each sum is a float:
/// a term is formed and added in double, and the sum is rounded after every term.
///   input    may be `output`
///   scratch  as long as both
void smoothValues(const SmoothingRows& rows, NumberedSpan<const double> input, NumberedSpan<double> output, NumberedSpan<double> scratch,
                  int sweepTotal);

} // namespace tav3d::meshmapping
