#include "smoothing_setup.h"

#include "gauss_neighbours.h"
#include "nodes.h"

#include "common/exact_math.h"

#include <cmath>
#include <vector>

namespace tav3d::meshmapping
{
namespace
{

constexpr double pointHalfWidth = 1.0e-6; // points stand in the tree as small boxes

std::unique_ptr<CTAVOptKer> newTree(const SmoothingPoints& points)
{
    const int n = points.x.count();
    double xMax = -1.0e10, yMax = -1.0e10, zMax = -1.0e10;
    double xMin = 1.0e10, yMin = 1.0e10, zMin = 1.0e10;
    for (int i = 1; i <= n; ++i)
    {
        xMax = std::max(xMax, points.x[i]);
        yMax = std::max(yMax, points.y[i]);
        zMax = std::max(zMax, points.z[i]);
        xMin = std::min(xMin, points.x[i]);
        yMin = std::min(yMin, points.y[i]);
        zMin = std::min(zMin, points.z[i]);
    }
    auto tree = std::make_unique<CTAVOptKer>();
    // DELIBERATE smooth-range-not-widened-in-x: the announced range is widened along y and z, and exact along x.
    tree->SetADTreeRange(xMax, yMax + 1.0, zMax + 1.0, xMin, yMin - 1.0, zMin - 1.0, 1, 10000, 200000);
    const double h = pointHalfWidth;
    for (int i = 1; i <= n; ++i)
    {
        tree->AddSurfaceToADTree(i, points.x[i] + h, points.y[i] + h, points.z[i] + h, points.x[i] - h, points.y[i] - h, points.z[i] - h);
    }
    return tree;
}

/// The nearest points of point i, nearest first, from the first of 20 growing cubes that holds enough; false when none does.
/// Half-widths: 3·r0·1.2^k.
bool findNearest(CTAVOptKer& tree, const SmoothingPoints& points, int i, double r0, int neighbourTotal, std::vector<DistantNode>& near)
{
    const double x = points.x[i], y = points.y[i], z = points.z[i];
    for (int k = 0; k < 20; ++k)
    {
        const double r = r0 * common::powersOfSixFifths[static_cast<std::size_t>(k)] * 3.0;
        int total = 0;
        const int* id = tree.SearchNearBlockID(x - r, y - r, z - r, x + r, y + r, z + r, total, 0);
        if (total < neighbourTotal)
            continue;
        near.clear();
        for (int t = 0; t < total; ++t)
        {
            const double dx = x - points.x[id[t]];
            const double dy = y - points.y[id[t]];
            const double dz = z - points.z[id[t]];
            near.push_back({dy * dy + dx * dx + dz * dz, id[t]}); // y first: the order is part of the result
        }
        std::partial_sort(near.begin(), near.begin() + neighbourTotal, near.end(), isNearer);
        near.resize(static_cast<std::size_t>(neighbourTotal));
        return true;
    }
    return false;
}

/// Fills one row:
///   w_t = (float)exp(-(d²_t / h / 3.92))·norm,  h = c·L²·c,  w_0 = 1 - w_1 - w_2 - ...,  c = 1.0, 0.9, ..., 0.1
/// A kernel that leaves no more than 0.023 for entry 0 is narrowed, at most nine times.
void fitRow(const std::vector<DistantNode>& near, int i, double lengthSquared, float norm, float* weight, int* neighbour)
{
    const double scale = static_cast<double>(3.92f); // 2·1.4², as single precision has it
    float rest = 1.0f;
    for (int j = 0; j < 10; ++j)
    {
        const double c = 1.0 - 0.1 * j;
        const double h = c * lengthSquared * c;
        rest = 1.0f;
        int t = 0;
        for (const DistantNode& point : near)
        {
            ++t;
            const float w = static_cast<float>(common::exponential(-(point.squaredDistance / h / scale))) * norm;
            rest = rest - w;
            weight[t] = w;
            neighbour[t] = point.node;
        }
        if (!(rest <= 0.023))
            break;
    }
    // DELIBERATE smooth-point-twice: the point is its own nearest neighbour, so it stands in entry 0 and in entry 1.
    weight[0] = rest;
    neighbour[0] = i;
}

} // namespace

SmoothingTable buildSmoothingTable(const SmoothingPoints& points, double lengthSquared, int neighbourTotal, float pi)
{
    const int n = points.x.count();
    SmoothingTable table{newTree(points), RowTable<float>(n, neighbourTotal + 1), RowTable<int>(n, neighbourTotal + 1),
                         makeNumbered<int>(n)};
    const float norm = gaussNorm(pi);
    const double r0 = std::sqrt(lengthSquared);
    std::vector<DistantNode> near;
    for (int i = 1; i <= n; ++i)
    {
        if (!findNearest(*table.tree, points, i, r0, neighbourTotal, near))
            continue;
        table.isSet[i] = 1;
        fitRow(near, i, lengthSquared, norm, table.weight[i], table.neighbour[i]);
    }
    return table;
}

void smoothValues(const SmoothingRows& rows, NumberedSpan<const double> input, NumberedSpan<double> output, NumberedSpan<double> scratch,
                  int sweepTotal)
{
    const int n = input.count();
    for (int i = 1; i <= n; ++i)
        output[i] = input[i];
    for (int sweep = 0; sweep < sweepTotal; ++sweep)
    {
        for (int i = 1; i <= n; ++i)
            scratch[i] = output[i];
        for (int i = 1; i <= n; ++i)
        {
            if (rows.isSet[i] == 0)
                continue;
            // DELIBERATE smooth-float-sum: values are double, their sum is not.
            float sum = 0.0f;
            for (int t = 0; t <= rows.neighbourTotal; ++t)
            {
                const double term = static_cast<double>(rows.weight[i][t]) * scratch[rows.neighbour[i][t]];
                sum = static_cast<float>(static_cast<double>(sum) + term);
            }
            output[i] = static_cast<double>(sum);
        }
    }
}

} // namespace tav3d::meshmapping
