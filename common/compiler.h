#pragma once

// What differs between compilers, in one place.

/// Defined where the processor is an x86-64 one: there is SSE2, and AVX2 can be asked for.
#if defined(__x86_64__) || (defined(_M_X64) && !defined(_M_ARM64EC))
#define TAV3D_X86_64 1
#endif
