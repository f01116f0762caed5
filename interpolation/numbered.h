#pragma once

// Views of host arrays whose items are numbered from 1: what the engine uses of common/, points, and runs that start at 0.

#include "common/numbered_span.h"

#include <cassert>
#include <cstddef>
#include <span>

namespace tav3d::interpolation
{

using common::listItems;
using common::NumberedSpan;

struct Point
{
    double x = 0.0;
    double y = 0.0;
    double z = 0.0;
};

/// Points 1..n of three coordinate arrays.
class NumberedPoints
{
public:
    constexpr NumberedPoints(const double* x, const double* y, const double* z, int n) noexcept
        : x_(x)
        , y_(y)
        , z_(z)
        , n_(n)
    {
    }

    [[nodiscard]] constexpr Point operator[](int number) const noexcept
    {
        assert(number >= 1 && number <= n_);
        return {x_[number], y_[number], z_[number]};
    }

    [[nodiscard]] constexpr int count() const noexcept { return n_; }

private:
    const double* x_; // borrowed, like the others
    const double* y_;
    const double* z_;
    int n_;
};

/// Entries 1..n of an array as a run that starts at position 0; empty (and the pointer not looked at) for n < 1.
template <class T>
[[nodiscard]] std::span<T> itemsOf(T* base, int n) noexcept
{
    return n > 0 ? std::span<T>(base + 1, static_cast<std::size_t>(n)) : std::span<T>();
}

} // namespace tav3d::interpolation
