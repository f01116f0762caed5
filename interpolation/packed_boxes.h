#pragma once

// The bounding boxes of up to eight children of a branch, six bytes each: planes of a lattice of 250 steps along the longest edge of the box around
// all of them. A branch is then two lines of the processor's caches instead of eight, and those of a million points fit into the caches.
//
// Packed boxes are a little larger than the boxes they stand for (by at most 1 % of the branch), and what is computed from them, in floats, is never
// more than what the search computes for a point inside, in doubles: a child may be looked at in vain, but none is missed.
//   Planes lie outward by at least 1/50 of a step, and a place up to 2^16 steps away, rounded to float, is off by at most 1/256 of a step.
//   Farther away, and for what else is rounded, all relative errors together stay below 2^-20; limits are made larger by 2^-18.
//   A distance or square that is too large for a float becomes infinite, on both sides of a comparison, and what is too small becomes 0; a
//   comparison with what is not a number lets pass. A box whose edges are too short or too long has a lattice without extent, and every place
//   is in all its boxes.

#include "interpolation/four_floats.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <limits>

namespace tav3d::interpolation
{

struct PointBox
{
    std::array<double, 3> low;
    std::array<double, 3> high;
};

/// What a search still wants to see: points with
///   reach < radius && (reach < smaller || square < this square || (square == this square && number < this number)).
/// Only finite points are meant; `number` may be larger than all to take equals without looking at numbers.
struct SearchLimits
{
    double square;
    double radius = std::numeric_limits<double>::infinity();
    double smaller = 0.0;
    std::int32_t number = std::numeric_limits<std::int32_t>::max();
};

/// The limits as floats, none of them less.
struct LooseLimits
{
    FourFloats square, radius, smaller;
    bool
        bySquare; // squares alone decide: within the square nothing is out of reach, and what is within the smaller reach is within the square

    explicit LooseLimits(const SearchLimits& limits)
        : square(FourFloats::all(limits.square * looser + leastSquare))
        , radius(FourFloats::all(limits.radius * looser))
        , smaller(FourFloats::all(limits.smaller * looser))
        , bySquare(limits.square >= 3.0 * (limits.smaller * limits.smaller) && limits.square <= limits.radius * limits.radius)
    {
    }

private:
    static constexpr double looser = 1.0 + 0x1p-18;
    static constexpr double leastSquare = 1e-37; // smaller ones are rounded more, as floats
};

class PackedBoxes
{
public:
    static constexpr int width = 8;

    /// Squared distances and reaches of the boxes from a place.
    struct Measures
    {
        FourFloats square[2];
        FourFloats reach[2];

        /// Bit i: box i may hold points inside the limits.
        template <bool withReach>
        [[nodiscard]] unsigned inside(const LooseLimits& limits) const
        {
            unsigned bits = isNotAbove(square, limits.square);
            if (withReach && !limits.bySquare)
                bits = (bits | isNotAbove(reach, limits.smaller)) & isNotAbove(reach, limits.radius);
            return bits;
        }

        /// Bit i: no box is nearer than box i.
        [[nodiscard]] unsigned nearest() const { return isNotAbove(square, leastOfAll(smaller(square[0], square[1]))); }
    };

    /// For boxes inside of `whole`, which is finite.
    void setLattice(const PointBox& whole)
    {
        double extent = 0.0;
        for (std::size_t k = 0; k < 3; ++k)
            extent = std::max(extent, whole.high[k] - whole.low[k]);
        for (std::size_t k = 0; k < 3; ++k)
            origin_[k] = whole.low[k];
        const bool isOrdinary = extent > leastExtent && extent < largestExtent;
        scale_ = isOrdinary ? static_cast<float>(steps / extent) : 0.0f;
        step_ = isOrdinary ? static_cast<float>(extent / steps) : 0.0f;
    }

    void set(std::size_t child, const PointBox& box)
    {
        for (std::size_t k = 0; k < 3; ++k)
        {
            low_[k][child] = static_cast<std::uint8_t>(std::floor((box.low[k] - origin_[k]) * scale_ - outward) + firstPlane);
            high_[k][child] = static_cast<std::uint8_t>(std::ceil((box.high[k] - origin_[k]) * scale_ + outward) + firstPlane);
        }
    }

    /// Reaches only where they are asked for.
    template <bool withReach>
    void measure(const std::array<double, 3>& from, Measures& m) const
    {
        const FourFloats zero = FourFloats::all(0.0f);
        const FourFloats step =
            FourFloats::all(step_); // before squaring: a square of steps may be too large for a float where the distance is not
        for (std::size_t k = 0; k < 3; ++k)
        {
            const FourFloats at = FourFloats::all(std::clamp((from[k] - origin_[k]) * scale_ + firstPlane, -farPlane, farPlane));
            FourFloats low[2], high[2];
            fromBytes(low_[k], low);
            fromBytes(high_[k], high);
            for (int h = 0; h < 2; ++h)
            {
                const FourFloats gap = larger(larger(low[h] - at, at - high[h]), zero) * step;
                m.square[h] = k == 0 ? gap * gap : m.square[h] + gap * gap;
                if constexpr (withReach)
                    m.reach[h] = k == 0 ? gap : larger(m.reach[h], gap);
            }
        }
    }

private:
    static constexpr double steps = 250.0;
    static constexpr double outward = 1.0 / 50;
    static constexpr double firstPlane = 1.0; // planes begin at -1
    static constexpr double farPlane = 1e30;  // what lies beyond is taken for nearer, so that the number of steps is a float
    static constexpr double leastExtent = 1e-30;
    static constexpr double largestExtent = 1e20;

    double origin_[3];
    float scale_; // steps per length; 0: no extent
    float step_;
    std::uint8_t low_[3][width];
    std::uint8_t high_[3][width];
};

} // namespace tav3d::interpolation
