#pragma once

// Memory for arrays that are read at random places: on large pages where the system has them, since each place then costs one miss, not two.

#include <cstddef>
#include <memory>
#include <new>
#include <vector>

#ifdef __linux__
#include <sys/mman.h>
#endif

namespace tav3d::common
{

inline constexpr std::size_t largePage = std::size_t{1} << 21;

/// Asks for large pages wherever whole ones fit into memory that has not been touched yet. A wish: that it may be refused does not matter.
inline void wishForLargePages([[maybe_unused]] void* memory, [[maybe_unused]] std::size_t size) noexcept
{
#ifdef __linux__
    void* whole = memory;
    if (std::align(largePage, largePage, whole, size) != nullptr)
        madvise(whole, size - size % largePage, MADV_HUGEPAGE);
#endif
}

/// Allocates large arrays on large pages, if the system gives any to those who ask, and everything else as usual.
template <class T>
struct LargePageAllocator
{
    using value_type = T;

    LargePageAllocator() = default;
    template <class U>
    LargePageAllocator(const LargePageAllocator<U>& /*other*/) noexcept
    {
    }

    [[nodiscard]] T* allocate(std::size_t n)
    {
        const std::size_t bytes = n * sizeof(T);
        void* memory = ::operator new(bytes, alignmentOf(bytes));
        wishForLargePages(memory, bytes);
        return static_cast<T*>(memory);
    }

    void deallocate(T* memory, std::size_t n) noexcept { ::operator delete(memory, alignmentOf(n * sizeof(T))); }

    friend bool operator==(const LargePageAllocator&, const LargePageAllocator&) { return true; }

private:
    static std::align_val_t alignmentOf(std::size_t bytes)
    {
        return static_cast<std::align_val_t>(bytes >= largePage ? largePage : alignof(T) > 64 ? alignof(T) : 64);
    }
};

template <class T>
using LargePageVector = std::vector<T, LargePageAllocator<T>>;

} // namespace tav3d::common
