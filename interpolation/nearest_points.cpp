// What k scans with marks pick, from the k nearest points. A scan takes the least of the distances, by which an unpicked point has its own and a
// picked one has the mark, and the lower number among equals. So it either takes the next of the points in the order of (distance,
// number), or, when that one lies behind the mark, the lowest number among the picked ones.

#include "interpolation/nearest_points.h"

#include "interpolation/neighbour_sorting.h"

#include <algorithm>
#include <cassert>
#include <cmath>

namespace tav3d::interpolation
{

namespace
{

IndexedPoints copyOf(const NumberedPoints& points)
{
    IndexedPoints copy;
    copy.reserve(static_cast<std::size_t>(std::max(points.count(), 0)));
    for (int i = 1; i <= points.count(); ++i)
    {
        const Point p = points[i];
        copy.push_back({{p.x, p.y, p.z}, i});
    }
    return copy;
}

} // namespace

NearestPoints::NearestPoints(const NumberedPoints& points, int k)
    : index_(copyOf(points))
    , best_(static_cast<std::size_t>(std::max(k, 0)))
{
}

void NearestPoints::select(const Point& target, int k, int* out)
{
    if (k < 1)
        return;
    assert(static_cast<std::size_t>(k) <= best_.size());
    const std::span<Found> best(best_.data(), static_cast<std::size_t>(k));
    KeepNearest search(target, beyondAll, best);
    // From a place that is not finite no point is at a distance that counts.
    if (std::isfinite(target.x) && std::isfinite(target.y) && std::isfinite(target.z))
        index_.run(search);

    std::size_t next = 0;
    Found mark{picked, 0, 0}; // with the lowest number picked so far
    for (int r = 1; r <= k; ++r)
    {
        const bool isNext = next < best.size() && best[next].number != 0 && (mark.number == 0 || best[next] < mark);
        if (isNext)
        {
            out[r] = best[next].number;
            mark.number = next == 0 ? out[r] : std::min(mark.number, out[r]);
            ++next;
        }
        else
            out[r] = mark.number;
    }
}

void NearestPoints::selectAll(const NumberedPoints& targets, int k, int* const* rows)
{
    PointIndex(copyOf(targets)).forEach([&](const IndexedPoint& p) { select({p.x[0], p.x[1], p.x[2]}, k, rows[p.number]); });
}

} // namespace tav3d::interpolation
