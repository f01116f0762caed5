#pragma once

// Views of arrays whose items are numbered from 1: entry 0 exists and carries no datum.

#include <cassert>
#include <cstddef>
#include <span>
#include <type_traits>

namespace tav3d::common
{

/// Non-owning view of an array of n+1 entries whose items are numbered 1..n. Entry 0 may be read: a zero in a table of numbers leads there.
template <class T>
class NumberedSpan
{
public:
    constexpr NumberedSpan() noexcept = default;
    constexpr NumberedSpan(T* base, int n) noexcept
        : base_(base)
        , n_(n)
    {
    }

    /// A view to change is a view to read.
    template <class U>
    requires std::is_same_v<T, const U>
    constexpr NumberedSpan(const NumberedSpan<U>& other) noexcept
        : base_(other.data())
        , n_(other.count())
    {
    }

    [[nodiscard]] constexpr T& operator[](int number) const noexcept
    {
        assert(number >= 0 && number <= n_);
        return base_[number];
    }
    [[nodiscard]] constexpr int count() const noexcept { return n_; }
    [[nodiscard]] constexpr T* data() const noexcept { return base_; }

private:
    T* base_ = nullptr; // borrowed
    int n_ = 0;
};

/// Items of a counted list: row[0] is the count k, row[1..k] are the items. No items without a row, and for k < 1.
[[nodiscard]] inline std::span<const int> listItems(const int* row) noexcept
{
    return row != nullptr && row[0] > 0 ? std::span<const int>(row + 1, static_cast<std::size_t>(row[0])) : std::span<const int>();
}

} // namespace tav3d::common
