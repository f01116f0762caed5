#pragma once

// What differs between compilers, in one place.

/// Defined where the processor is an x86-64 one: there is SSE2, and AVX2 can be asked for.
#if defined(__x86_64__) || (defined(_M_X64) && !defined(_M_ARM64EC))
#define TAV3D_X86_64 1
#endif

#if defined(_MSC_VER) && defined(TAV3D_X86_64)
#include <xmmintrin.h>
#endif

namespace tav3d::common
{

/// Asks for the cache line at an address that will be read soon; any address will do.
inline void prefetch([[maybe_unused]] const void* address) noexcept
{
#if defined(__GNUC__)
    __builtin_prefetch(address);
#elif defined(TAV3D_X86_64)
    _mm_prefetch(static_cast<const char*>(address), _MM_HINT_T0);
#endif
}

} // namespace tav3d::common
