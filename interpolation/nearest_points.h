#pragma once

#include "interpolation/point_index.h"

#include <cstdint>
#include <span>
#include <vector>

namespace tav3d::interpolation
{

/// A point that a search has met: its squared distance, its number and its tag. Ordered by distance, then by number.
struct Found
{
    double square;
    std::int32_t number;
    std::int32_t tag;

    friend bool operator<(const Found& a, const Found& b) { return a.square < b.square || (a.square == b.square && a.number < b.number); }
};

/// Keeps the nearest of the points that are nearer than `within`: in `best`, ascending, with number 0 in the places for which there are none.
class KeepNearest
{
public:
    static constexpr bool usesReach = false;
    std::array<double, 3> target;

    KeepNearest(const Point& from, double within, std::span<Found> best)
        : target{from.x, from.y, from.z}
        , best_(best)
    {
        for (Found& found : best)
            found = {within, 0, 0};
    }

    [[nodiscard]] SearchLimits limits() const { return {.square = best_.back().square, .number = best_.back().number}; }

    void meet(double square, double /*reach*/, const IndexedPoint& point)
    {
        const Found found{square, point.number, point.tag};
        if (!(found < best_.back()))
            return;
        std::size_t i = best_.size() - 1;
        for (; i > 0 && found < best_[i - 1]; --i)
            best_[i] = best_[i - 1];
        best_[i] = found;
    }

private:
    std::span<Found> best_;
};

/// selectNearest (neighbour_sorting.h) for many targets over the same points: the same numbers, without looking at most of the points.
class NearestPoints
{
public:
    /// The coordinates are copied. k is what select() is asked for at most.
    NearestPoints(const NumberedPoints& points, int k);

    /// Writes the numbers of the k nearest points into out[1..k], nearest first; out[0] is left alone.
    void select(const Point& target, int k, int* out);

    /// select() for each target t into rows[t]; rows of targets that are not finite are left alone, as no point is near those. Goes from
    /// target to target in an order in which each is near the last: much of what one search reads is then still at hand for the next.
    void selectAll(const NumberedPoints& targets, int k, int* const* rows);

private:
    PointIndex index_;
    std::vector<Found> best_;
};

} // namespace tav3d::interpolation
