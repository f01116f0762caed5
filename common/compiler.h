#pragma once

// What differs between compilers, in one place. The exceptions: common/processor.cpp, which asks the processor what it can, and the exported headers in
// include/, which stand by themselves. tests/house/own_compiler_words.py looks after it.
//
// Microsoft's compiler is asked for first: clang in its place (scripts/check_msvc_syntax.sh) is a GNU compiler too.

/// Defined where the processor is an x86-64 one: there is SSE2, and AVX2 can be asked for.
#if defined(__x86_64__) || (defined(_M_X64) && !defined(_M_ARM64EC))
#define TAV3D_X86_64 1
#endif

/// Keeps what has just been read in a register, where the compiler would rather read it again for every use.
#if defined(__GNUC__) && !defined(_MSC_VER) && defined(TAV3D_X86_64)
#define TAV3D_KEEP_IN_REGISTER(value) __asm__("" : "+x"(value))
#else
#define TAV3D_KEEP_IN_REGISTER(value) static_cast<void>(0)
#endif

/// In front of a function that is to be part of its callers, however large it is and however many they are.
#if defined(_MSC_VER)
#define TAV3D_ALWAYS_INLINE __forceinline
#else
#define TAV3D_ALWAYS_INLINE inline __attribute__((always_inline))
#endif

#if defined(_MSC_VER) && defined(TAV3D_X86_64)
#include <xmmintrin.h>
#endif

namespace tav3d::common
{

/// Asks for the cache line at an address that will be read soon; any address will do. Static: a source file that is compiled for a wider
/// instruction set must not lend its copy to others.
static inline void prefetch([[maybe_unused]] const void* address) noexcept
{
#if defined(_MSC_VER) && defined(TAV3D_X86_64)
    _mm_prefetch(static_cast<const char*>(address), _MM_HINT_T0);
#elif defined(__GNUC__)
    __builtin_prefetch(address);
#endif
}

} // namespace tav3d::common
