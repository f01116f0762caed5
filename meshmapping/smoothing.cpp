#include "smoothing.h"

namespace tav3d::meshmapping
{
namespace
{

/// The node's row, or 0 when it keeps its value: it is on no surface, fixed, has no neighbours, or lies beyond the mesh.
int smoothedRow(const SmoothingNodes& nodes, int node)
{
    if (!nodes.rows.rowOfNode || node > nodes.kinds.part.count())
        return 0;
    if (!nodes.kinds.onSurface(node) || nodes.fixed[node] == 1)
        return 0;
    const int row = nodes.rows.rowOfNode[node];
    return nodes.rows.count[row] != 0 ? row : 0;
}

void copyValues(NumberedSpan<const float> from, NumberedSpan<float> to)
{
    if (from.count() > 0)
        std::copy(from.data() + 1, from.data() + from.count() + 1, to.data() + 1);
}

} // namespace

void smoothByGaussWeights(const SmoothingNodes& nodes, NumberedSpan<float> value, NumberedSpan<float> work)
{
    constexpr int sweepTotal = 5;
    const int n = value.count();
    for (int sweep = 0; sweep < sweepTotal; ++sweep)
    {
        copyValues(value, work);
        for (int i = 1; i <= n; ++i)
        {
            const float own = work[i];
            // DELIBERATE smooth-zero-skip: a value of exactly 0 says "no result here"; it is skipped in every sweep, and yet pulls its
            // neighbours towards 0.
            if (own == 0.0f)
                continue;
            const int row = smoothedRow(nodes, i);
            if (row == 0)
                continue;
            const int* neighbour = nodes.rows.neighbour[row];
            const float* weight = nodes.rows.weight[row];
            float sum = 0.0f;
            sum += own * nodes.rows.selfWeight[row];
            for (int k = 1; k <= nodes.rows.count[row]; ++k)
            {
                // DELIBERATE smooth-neighbour-beyond: a neighbour that the result has no value for counts with the node's own value.
                const float x = neighbour[k] > n ? own : work[neighbour[k]];
                sum += x * weight[k];
            }
            value[i] = sum;
        }
    }
}

void smoothByNodeAverage(const SmoothingNodes& nodes, NumberedSpan<float> value, NumberedSpan<float> work)
{
    copyValues(value, work);
    const int n = value.count();
    for (int i = 1; i <= n; ++i)
    {
        // DELIBERATE average-no-guards: neither the skip of zeros nor the guard for neighbours beyond the values; averages go into the values
        // that later nodes read.
        const int row = smoothedRow(nodes, i);
        if (row == 0)
            continue;
        const int count = nodes.rows.count[row];
        float sum = 0.0f;
        sum += value[i];
        for (int k = 1; k <= count; ++k)
            sum += value.data()[nodes.rows.neighbour[row][k]];
        value[i] = sum / static_cast<float>(count + 1);
    }
}

} // namespace tav3d::meshmapping
