#pragma once

// Four floats that are computed side by side: what every x86-64 processor does in one instruction, and plain C++ elsewhere.

#include "common/compiler.h"

#include <cstdint>
#include <cstring>

#ifdef TAV3D_X86_64
#include <emmintrin.h>
#else
#include <limits>
#endif

namespace tav3d::interpolation
{

#ifdef TAV3D_X86_64

struct FourFloats
{
    __m128 v;

    static FourFloats all(float a) { return {_mm_set1_ps(a)}; }
    /// Infinite where the double is larger than any float.
    static FourFloats all(double a)
    {
        const __m128 first = _mm_cvtsd_ss(_mm_setzero_ps(), _mm_set_sd(a));
        return {_mm_shuffle_ps(first, first, 0)};
    }
    void store(float* p) const { _mm_storeu_ps(p, v); }

    friend FourFloats operator+(FourFloats a, FourFloats b) { return {_mm_add_ps(a.v, b.v)}; }
    friend FourFloats operator-(FourFloats a, FourFloats b) { return {_mm_sub_ps(a.v, b.v)}; }
    friend FourFloats operator*(FourFloats a, FourFloats b) { return {_mm_mul_ps(a.v, b.v)}; }
    friend FourFloats larger(FourFloats a, FourFloats b) { return {_mm_max_ps(a.v, b.v)}; }  // b where either is not a number
    friend FourFloats smaller(FourFloats a, FourFloats b) { return {_mm_min_ps(a.v, b.v)}; } // the same
    /// Bit by bit; set where either is not a number.
    friend unsigned isNotAbove(FourFloats a, FourFloats b) { return static_cast<unsigned>(_mm_movemask_ps(_mm_cmpngt_ps(a.v, b.v))); }
    /// The least of the four, in all places.
    friend FourFloats leastOfAll(FourFloats a)
    {
        const __m128 pairs = _mm_min_ps(a.v, _mm_shuffle_ps(a.v, a.v, _MM_SHUFFLE(2, 3, 0, 1)));
        return {_mm_min_ps(pairs, _mm_shuffle_ps(pairs, pairs, _MM_SHUFFLE(1, 0, 3, 2)))};
    }
};

/// Eight small numbers.
inline void fromBytes(const std::uint8_t* bytes, FourFloats (&eight)[2])
{
    const __m128i zero = _mm_setzero_si128();
    const __m128i shorts = _mm_unpacklo_epi8(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(bytes)), zero);
    eight[0].v = _mm_cvtepi32_ps(_mm_unpacklo_epi16(shorts, zero));
    eight[1].v = _mm_cvtepi32_ps(_mm_unpackhi_epi16(shorts, zero));
}

#else

struct FourFloats
{
    float v[4];

    static FourFloats all(float a) { return {{a, a, a, a}}; }
    static FourFloats all(double a)
    {
        constexpr float most = std::numeric_limits<float>::max();
        constexpr float infinity = std::numeric_limits<float>::infinity();
        const float f = a > most ? infinity : a < -most ? -infinity : static_cast<float>(a);
        return all(f);
    }
    void store(float* p) const { std::memcpy(p, v, sizeof v); }

    template <class Operation>
    friend FourFloats each(FourFloats a, FourFloats b, Operation operation)
    {
        for (int i = 0; i < 4; ++i)
            a.v[i] = operation(a.v[i], b.v[i]);
        return a;
    }
    friend FourFloats operator+(FourFloats a, FourFloats b)
    {
        return each(a, b, [](float x, float y) { return x + y; });
    }
    friend FourFloats operator-(FourFloats a, FourFloats b)
    {
        return each(a, b, [](float x, float y) { return x - y; });
    }
    friend FourFloats operator*(FourFloats a, FourFloats b)
    {
        return each(a, b, [](float x, float y) { return x * y; });
    }
    friend FourFloats larger(FourFloats a, FourFloats b)
    {
        return each(a, b, [](float x, float y) { return x > y ? x : y; });
    }
    friend FourFloats smaller(FourFloats a, FourFloats b)
    {
        return each(a, b, [](float x, float y) { return x < y ? x : y; });
    }
    friend unsigned isNotAbove(FourFloats a, FourFloats b)
    {
        unsigned bits = 0;
        for (unsigned i = 0; i < 4; ++i)
            bits |= a.v[i] > b.v[i] ? 0u : 1u << i;
        return bits;
    }
    friend FourFloats leastOfAll(FourFloats a)
    {
        float least = a.v[0];
        for (const float x : a.v)
            least = x < least ? x : least;
        return {{least, least, least, least}};
    }
};

inline void fromBytes(const std::uint8_t* bytes, FourFloats (&eight)[2])
{
    for (int i = 0; i < 8; ++i)
        eight[i / 4].v[i % 4] = bytes[i];
}

#endif

/// Of eight floats, the bits of those that are not above b.
inline unsigned isNotAbove(const FourFloats (&a)[2], FourFloats b)
{
    return isNotAbove(a[0], b) | isNotAbove(a[1], b) << 4;
}

} // namespace tav3d::interpolation
