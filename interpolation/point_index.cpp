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

PointIndex::PointIndex(IndexedPoints points)
    : points_(std::move(points))
{
    points_.erase(std::remove_if(points_.begin(), points_.end(), [](const IndexedPoint& p) { return !isFinite(p); }), points_.end());
    used_ = points_.size();
    if (points_.empty())
        return;
    const IndexedPoint last = points_.back();
    points_.push_back(last);
    branches_.reserve(used_ / 32); // a leaf of scattered points is two thirds full
    IndexedPoints scratch(used_);
    const std::span<IndexedPoint> all(points_.data(), used_);
    const PointBox box = boxOf(all);
    addBranch({all, box, box.low == box.high}, scratch);
}

PointBox PointIndex::boxOf(std::span<const IndexedPoint> points)
{
    // In locals, for the compiler to keep them in registers.
    std::array<double, 3> low = points[0].x;
    std::array<double, 3> high = low;
    for (const IndexedPoint& p : points)
    {
        low = {std::min(low[0], p.x[0]), std::min(low[1], p.x[1]), std::min(low[2], p.x[2])};
        high = {std::max(high[0], p.x[0]), std::max(high[1], p.x[1]), std::max(high[2], p.x[2])};
    }
    return {low, high};
}

namespace
{

PointBox around(std::span<const PointBox> boxes)
{
    PointBox all = boxes[0];
    for (const PointBox& box : boxes)
        for (std::size_t k = 0; k < 3; ++k)
        {
            all.low[k] = std::min(all.low[k], box.low[k]);
            all.high[k] = std::max(all.high[k], box.high[k]);
        }
    return all;
}

} // namespace

/// Across the longest edge.
PointIndex::Cut PointIndex::middleOf(const PointBox& cell)
{
    std::size_t axis = 0;
    for (std::size_t k = 1; k < 3; ++k)
        if (cell.high[k] - cell.low[k] > cell.high[axis] - cell.low[axis])
            axis = k;
    return {axis, cell.low[axis] / 2 + cell.high[axis] / 2};
}

/// Puts the points that are not above the cut first, and returns how many these are.
std::size_t PointIndex::partition(std::span<IndexedPoint> points, const Cut& cut, IndexedPoints& scratch)
{
    // Every point is written to both sides, and the one it belongs to moves on: there is no branch to mispredict.
    std::size_t lower = 0;
    std::size_t upper = 0;
    for (std::size_t i = 0; i < points.size(); ++i)
    {
        const IndexedPoint p = points[i];
        const bool isUpper = p.x[cut.axis] > cut.at;
        points[lower] = p;
        scratch[upper] = p;
        lower += isUpper ? 0 : 1;
        upper += isUpper ? 1 : 0;
    }
    std::copy_n(scratch.begin(), upper, points.begin() + static_cast<std::ptrdiff_t>(lower));
    return lower;
}

/// Leaves one half of the points in `part` and returns the other: parted at the middle of their cell or, when that would leave less than an eighth of
/// them on one side, at that of the box around them, or else in equal halves: so the tree is never deep. When all are at one place it only says so.
PointIndex::Part PointIndex::split(Part& part, IndexedPoints& scratch)
{
    const std::span<IndexedPoint> points = part.points;
    const auto isBalanced = [n = points.size()](std::size_t lower) { return std::min(lower, n - lower) >= n / 8; };
    Cut cut = middleOf(part.cell);
    std::size_t lower = partition(points, cut, scratch);
    if (!isBalanced(lower))
    {
        part.cell = boxOf(points);
        part.isOnePlace = part.cell.low == part.cell.high;
        if (part.isOnePlace)
            return {};
        cut = middleOf(part.cell);
        lower = partition(points, cut, scratch);
    }
    if (!isBalanced(lower))
    {
        lower = points.size() / 2;
        std::nth_element(points.begin(), points.begin() + static_cast<std::ptrdiff_t>(lower), points.end(),
                         [axis = cut.axis](const IndexedPoint& a, const IndexedPoint& b)
                         { return a.x[axis] < b.x[axis] || (a.x[axis] == b.x[axis] && a.number < b.number); });
        cut.at = points[lower].x[cut.axis];
    }

    Part upper{points.subspan(lower), part.cell};
    part.points = points.first(lower);
    part.cell.high[cut.axis] = upper.cell.low[cut.axis] = cut.at;
    return upper;
}

PointIndex::Child PointIndex::add(const Part& part, IndexedPoints& scratch)
{
    return part.isLeaf() ? Child{~placeOf(part), boxOf(part.points)} : addBranch(part, scratch);
}

PointIndex::Child PointIndex::addBranch(const Part& all, IndexedPoints& scratch)
{
    const std::size_t number = branches_.size();
    branches_.emplace_back();
    if (all.isOnePlace)
    {
        std::sort(all.points.begin(), all.points.end(), [](const IndexedPoint& a, const IndexedPoint& b) { return a.number < b.number; });
        branches_.back().child[0] = placeOf(all);
        branches_.back().child[1] = placeOf(all) + static_cast<std::int32_t>(all.points.size());
        return {static_cast<std::int32_t>(number), boxOf(all.points.first(1))};
    }

    // The largest part is split until there are eight, or none that is too large for a leaf.
    std::array<Part, width> parts{all};
    std::size_t count = 1;
    const auto sizeToSplit = [](const Part& part) { return part.isLeaf() || part.isOnePlace ? 0 : part.points.size(); };
    while (count < width)
    {
        Part& largest = *std::max_element(parts.begin(), parts.begin() + static_cast<std::ptrdiff_t>(count),
                                          [&](const Part& a, const Part& b) { return sizeToSplit(a) < sizeToSplit(b); });
        if (sizeToSplit(largest) == 0)
            break;
        const Part other = split(largest, scratch);
        if (!largest.isOnePlace)
            parts[count++] = other;
    }

    Branch branch;
    std::array<PointBox, width> box{};
    for (std::size_t i = 0; i < count; ++i)
    {
        const Child child = add(parts[i], scratch);
        branch.child[i] = child.number;
        branch.count[i] = static_cast<std::uint8_t>(parts[i].isLeaf() ? parts[i].points.size() : 0);
        box[i] = child.box;
    }
    branch.used = static_cast<std::uint8_t>((1u << count) - 1);
    const PointBox whole = around(std::span(box).first(count));
    branch.boxes.setLattice(whole);
    for (std::size_t i = 0; i < count; ++i)
        branch.boxes.set(i, box[i]);
    branches_[number] = branch; // its place was taken before those of its children
    return {static_cast<std::int32_t>(number), whole};
}

} // namespace tav3d::interpolation
