#pragma once

// Views of host arrays whose items are numbered from 1.

#include <cassert>
#include <cstddef>
#include <span>

namespace tav3d::interpolation
{

/// Non-owning view of items 1..n of an array; entry 0 exists but carries nothing.
template <class T>
class NumberedSpan
{
public:
    constexpr NumberedSpan(T* base, int n) noexcept
        : base_(base)
        , n_(n)
    {
    }

    [[nodiscard]] constexpr T& operator[](int number) const noexcept
    {
        assert(number >= 1 && number <= n_);
        return base_[number];
    }

    [[nodiscard]] constexpr int count() const noexcept { return n_; }

private:
    T* base_; // borrowed
    int n_;
};

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

/// Items of a counted list: row[0] is the count k, row[1..k] the items.
[[nodiscard]] inline std::span<const int> listItems(const int* row) noexcept
{
    return row[0] > 0 ? std::span<const int>(row + 1, static_cast<std::size_t>(row[0])) : std::span<const int>();
}

/// Entries 1..n of an array as a run that starts at position 0; empty (and the pointer not looked at) for n < 1.
template <class T>
[[nodiscard]] std::span<T> itemsOf(T* base, int n) noexcept
{
    return n > 0 ? std::span<T>(base + 1, static_cast<std::size_t>(n)) : std::span<T>();
}

} // namespace tav3d::interpolation
