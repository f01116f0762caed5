#pragma once

// What differs between compilers, in one place.

/// Defined where the processor is an x86-64 one: there is SSE2, and AVX2 can be asked for.
#if defined(__x86_64__) || (defined(_M_X64) && !defined(_M_ARM64EC))
#define TAV3D_X86_64 1
#endif

/// Keeps what has just been read in a register, where the compiler would rather read it again for every use.
#if defined(__GNUC__) && defined(TAV3D_X86_64)
#define TAV3D_KEEP_IN_REGISTER(value) __asm__("" : "+x"(value))
#else
#define TAV3D_KEEP_IN_REGISTER(value) static_cast<void>(0)
#endif
