#pragma once

// Large tables of which only the beginning may ever be used: the system hands out their memory zeroed, and only where it is touched.

#include "common/large_pages.h"

#include <cstddef>
#include <cstdlib>
#include <memory>
#include <type_traits>

namespace tav3d::common
{

struct ReleaseArray
{
    void operator()(void* memory) const noexcept { std::free(memory); }
};

template <class T>
using ZeroedArray = std::unique_ptr<T[], ReleaseArray>;

/// n items with all bits zero; null without memory for them.
template <class T>
[[nodiscard]] ZeroedArray<T> zeroedArray(std::size_t n) noexcept
{
    static_assert(std::is_trivially_copyable_v<T> && std::is_trivially_destructible_v<T>);
    void* const memory = std::calloc(n, sizeof(T));
    if (memory != nullptr)
        wishForLargePages(memory, n * sizeof(T));
    return ZeroedArray<T>(static_cast<T*>(memory));
}

} // namespace tav3d::common
