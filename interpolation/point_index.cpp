#include "interpolation/point_index.h"

#include <algorithm>
#include <cmath>

namespace tav3d::interpolation
{

namespace
{

bool isFinite(const IndexedPoint& p)
{
    return std::isfinite(p.x[0]) && std::isfinite(p.x[1]) && std::isfinite(p.x[2]);
}

} // namespace

PointIndex::PointIndex(std::vector<IndexedPoint> points)
{
    points.erase(std::remove_if(points.begin(), points.end(), [](const IndexedPoint& p) { return !isFinite(p); }), points.end());
    if (points.empty())
        return;
    leaves_.reserve(points.size() / 5); // a leaf of scattered points is two thirds full
    branches_.reserve(points.size() / 24);
    std::vector<IndexedPoint> scratch(points.size());
    addBranch({points, boxOf(points)}, scratch);
}

PointIndex::Box PointIndex::boxOf(std::span<const IndexedPoint> points)
{
    // In locals, for the compiler to keep them in registers.
    std::array<double, 3> low = points[0].x;
    std::array<double, 3> high = low;
    std::int32_t least = points[0].number;
    for (const IndexedPoint& p : points)
    {
        low = {std::min(low[0], p.x[0]), std::min(low[1], p.x[1]), std::min(low[2], p.x[2])};
        high = {std::max(high[0], p.x[0]), std::max(high[1], p.x[1]), std::max(high[2], p.x[2])};
        least = std::min(least, p.number);
    }
    return {low, high, least};
}

/// Parts the points at the middle of the longest edge of their box, or in equal halves when that would leave less than an eighth of them on
/// one side: so the tree is never deep. Coincident points are halved by number. Returns the size of the lower part; neither part is empty.
std::size_t PointIndex::split(const Part& part, std::vector<IndexedPoint>& scratch)
{
    const std::span<IndexedPoint> points = part.points;
    const std::size_t n = points.size();
    std::size_t axis = 0;
    for (std::size_t k = 1; k < 3; ++k)
        if (part.box.high[k] - part.box.low[k] > part.box.high[axis] - part.box.low[axis])
            axis = k;
    const double middle = part.box.low[axis] / 2 + part.box.high[axis] / 2;

    // Every point is written to both sides, and the one it belongs to moves on: there is no branch to mispredict.
    std::size_t lower = 0;
    std::size_t upper = 0;
    for (std::size_t i = 0; i < n; ++i)
    {
        const IndexedPoint p = points[i];
        const bool isUpper = p.x[axis] > middle;
        points[lower] = p;
        scratch[upper] = p;
        lower += isUpper ? 0 : 1;
        upper += isUpper ? 1 : 0;
    }
    std::copy_n(scratch.begin(), upper, points.begin() + static_cast<std::ptrdiff_t>(lower));

    if (std::min(lower, upper) < n / 8)
    {
        lower = n / 2;
        std::nth_element(points.begin(), points.begin() + static_cast<std::ptrdiff_t>(lower), points.end(),
                         [axis](const IndexedPoint& a, const IndexedPoint& b)
                         { return a.x[axis] < b.x[axis] || (a.x[axis] == b.x[axis] && a.number < b.number); });
    }
    return lower;
}

std::int32_t PointIndex::addBranch(const Part& whole, std::vector<IndexedPoint>& scratch)
{
    // The largest part is split until there are eight, or none that is too large for a leaf.
    std::array<Part, width> parts{whole};
    std::size_t count = 1;
    while (count < width)
    {
        Part& largest = *std::max_element(parts.begin(), parts.begin() + static_cast<std::ptrdiff_t>(count),
                                          [](const Part& a, const Part& b) { return a.points.size() < b.points.size(); });
        if (largest.points.size() <= width)
            break;
        const std::size_t lower = split(largest, scratch);
        const std::span<IndexedPoint> points = largest.points;
        largest = {points.first(lower), boxOf(points.first(lower))};
        parts[count++] = {points.subspan(lower), boxOf(points.subspan(lower))};
    }

    const auto number = static_cast<std::int32_t>(branches_.size());
    branches_.emplace_back().used = (1u << count) - 1;
    for (std::size_t i = 0; i < count; ++i)
    {
        const Part& part = parts[i];
        const std::int32_t child = part.points.size() <= width ? addLeaf(part.points) : addBranch(part, scratch);
        Branch& branch = branches_[static_cast<std::size_t>(number)]; // adding may have moved it
        for (std::size_t k = 0; k < 3; ++k)
        {
            branch.low[k][i] = part.box.low[k];
            branch.high[k][i] = part.box.high[k];
        }
        branch.child[i] = child;
        branch.least[i] = part.box.least;
    }
    return number;
}

std::int32_t PointIndex::addLeaf(std::span<const IndexedPoint> points)
{
    Leaf& leaf = leaves_.emplace_back();
    leaf.used = (1u << points.size()) - 1;
    for (std::size_t i = 0; i < points.size(); ++i)
    {
        for (std::size_t k = 0; k < 3; ++k)
            leaf.x[k][i] = points[i].x[k];
        leaf.number[i] = points[i].number;
    }
    return ~static_cast<std::int32_t>(leaves_.size() - 1);
}

} // namespace tav3d::interpolation
