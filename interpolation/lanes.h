// Doubles computed side by side: `Lanes` holds Lanes::width of them, each of which goes through the IEEE operations that a lone double would.
//
// A source file that is compiled for one instruction set says which by defining TAV3D_LANES_AVX2 or TAV3D_LANES_SSE2 (neither: one plain
// double) and includes this file once. Everything here has internal linkage, so that no code compiled for one instruction set can be linked
// into the code of another; for the same reason such a file uses no templates or inline functions of the standard library.

// No include guard against two instruction sets in one file: the names would clash, as they should.

#if defined(TAV3D_LANES_AVX2) || defined(TAV3D_LANES_SSE2)
#include <immintrin.h>
#else
#include <cmath>
#endif

namespace
{

#if defined(TAV3D_LANES_AVX2)

struct Lanes
{
    static constexpr int width = 4;
    __m256d v;

    static Lanes all(double value) { return {_mm256_set1_pd(value)}; }
    static Lanes from(const double* values) { return {_mm256_loadu_pd(values)}; }
    void to(double* values) const { _mm256_storeu_pd(values, v); }
};

struct Mask
{
    __m256d v; // all bits of a lane or none
};

inline Lanes operator+(Lanes a, Lanes b)
{
    return {_mm256_add_pd(a.v, b.v)};
}
inline Lanes operator-(Lanes a, Lanes b)
{
    return {_mm256_sub_pd(a.v, b.v)};
}
inline Lanes operator*(Lanes a, Lanes b)
{
    return {_mm256_mul_pd(a.v, b.v)};
}
inline Lanes operator/(Lanes a, Lanes b)
{
    return {_mm256_div_pd(a.v, b.v)};
}
inline Lanes squareRoot(Lanes a)
{
    return {_mm256_sqrt_pd(a.v)};
}
inline Lanes magnitude(Lanes a)
{
    return {_mm256_andnot_pd(_mm256_set1_pd(-0.0), a.v)};
}
/// The larger one; `b` where `a` is NaN.
inline Lanes larger(Lanes a, Lanes b)
{
    return {_mm256_max_pd(a.v, b.v)};
}
inline Mask atLeast(Lanes a, Lanes b)
{
    return {_mm256_cmp_pd(a.v, b.v, _CMP_GE_OQ)};
}
inline Mask equal(Lanes a, Lanes b)
{
    return {_mm256_cmp_pd(a.v, b.v, _CMP_EQ_OQ)};
}
/// Also where one is NaN.
inline Mask differs(Lanes a, Lanes b)
{
    return {_mm256_cmp_pd(a.v, b.v, _CMP_NEQ_UQ)};
}
inline Mask either(Mask a, Mask b)
{
    return {_mm256_or_pd(a.v, b.v)};
}
inline bool inAll(Mask mask)
{
    return _mm256_movemask_pd(mask.v) == 15;
}
inline bool inAny(Mask mask)
{
    return _mm256_movemask_pd(mask.v) != 0;
}
inline Lanes choose(Mask mask, Lanes yes, Lanes no)
{
    return {_mm256_blendv_pd(no.v, yes.v, mask.v)};
}
/// +0.0 outside the mask.
inline Lanes within(Mask mask, Lanes a)
{
    return {_mm256_and_pd(mask.v, a.v)};
}
inline void exchange(Mask mask, Lanes& a, Lanes& b)
{
    const __m256d change = _mm256_and_pd(mask.v, _mm256_xor_pd(a.v, b.v));
    a.v = _mm256_xor_pd(a.v, change);
    b.v = _mm256_xor_pd(b.v, change);
}

#elif defined(TAV3D_LANES_SSE2)

struct Lanes
{
    static constexpr int width = 2;
    __m128d v;

    static Lanes all(double value) { return {_mm_set1_pd(value)}; }
    static Lanes from(const double* values) { return {_mm_loadu_pd(values)}; }
    void to(double* values) const { _mm_storeu_pd(values, v); }
};

struct Mask
{
    __m128d v; // all bits of a lane or none
};

inline Lanes operator+(Lanes a, Lanes b)
{
    return {_mm_add_pd(a.v, b.v)};
}
inline Lanes operator-(Lanes a, Lanes b)
{
    return {_mm_sub_pd(a.v, b.v)};
}
inline Lanes operator*(Lanes a, Lanes b)
{
    return {_mm_mul_pd(a.v, b.v)};
}
inline Lanes operator/(Lanes a, Lanes b)
{
    return {_mm_div_pd(a.v, b.v)};
}
inline Lanes squareRoot(Lanes a)
{
    return {_mm_sqrt_pd(a.v)};
}
inline Lanes magnitude(Lanes a)
{
    return {_mm_andnot_pd(_mm_set1_pd(-0.0), a.v)};
}
/// The larger one; `b` where `a` is NaN.
inline Lanes larger(Lanes a, Lanes b)
{
    return {_mm_max_pd(a.v, b.v)};
}
inline Mask atLeast(Lanes a, Lanes b)
{
    return {_mm_cmpge_pd(a.v, b.v)};
}
inline Mask equal(Lanes a, Lanes b)
{
    return {_mm_cmpeq_pd(a.v, b.v)};
}
/// Also where one is NaN.
inline Mask differs(Lanes a, Lanes b)
{
    return {_mm_cmpneq_pd(a.v, b.v)};
}
inline Mask either(Mask a, Mask b)
{
    return {_mm_or_pd(a.v, b.v)};
}
inline bool inAll(Mask mask)
{
    return _mm_movemask_pd(mask.v) == 3;
}
inline bool inAny(Mask mask)
{
    return _mm_movemask_pd(mask.v) != 0;
}
inline Lanes choose(Mask mask, Lanes yes, Lanes no)
{
    return {_mm_or_pd(_mm_and_pd(mask.v, yes.v), _mm_andnot_pd(mask.v, no.v))};
}
/// +0.0 outside the mask.
inline Lanes within(Mask mask, Lanes a)
{
    return {_mm_and_pd(mask.v, a.v)};
}
inline void exchange(Mask mask, Lanes& a, Lanes& b)
{
    const __m128d change = _mm_and_pd(mask.v, _mm_xor_pd(a.v, b.v));
    a.v = _mm_xor_pd(a.v, change);
    b.v = _mm_xor_pd(b.v, change);
}

#else

struct Lanes
{
    static constexpr int width = 1;
    double v;

    static Lanes all(double value) { return {value}; }
    static Lanes from(const double* values) { return {*values}; }
    void to(double* values) const { *values = v; }
};

struct Mask
{
    bool v;
};

inline Lanes operator+(Lanes a, Lanes b)
{
    return {a.v + b.v};
}
inline Lanes operator-(Lanes a, Lanes b)
{
    return {a.v - b.v};
}
inline Lanes operator*(Lanes a, Lanes b)
{
    return {a.v * b.v};
}
inline Lanes operator/(Lanes a, Lanes b)
{
    return {a.v / b.v};
}
inline Lanes squareRoot(Lanes a)
{
    return {std::sqrt(a.v)};
}
inline Lanes magnitude(Lanes a)
{
    return {std::abs(a.v)};
}
/// The larger one; `b` where `a` is NaN.
inline Lanes larger(Lanes a, Lanes b)
{
    return {a.v > b.v ? a.v : b.v};
}
inline Mask atLeast(Lanes a, Lanes b)
{
    return {a.v >= b.v};
}
inline Mask equal(Lanes a, Lanes b)
{
    return {a.v == b.v};
}
/// Also where one is NaN.
inline Mask differs(Lanes a, Lanes b)
{
    return {a.v != b.v};
}
inline Mask either(Mask a, Mask b)
{
    return {a.v || b.v};
}
inline bool inAll(Mask mask)
{
    return mask.v;
}
inline bool inAny(Mask mask)
{
    return mask.v;
}
inline Lanes choose(Mask mask, Lanes yes, Lanes no)
{
    return mask.v ? yes : no;
}
/// +0.0 outside the mask.
inline Lanes within(Mask mask, Lanes a)
{
    return {mask.v ? a.v : 0.0};
}
inline void exchange(Mask mask, Lanes& a, Lanes& b)
{
    const Lanes kept = a;
    a = choose(mask, b, a);
    b = choose(mask, kept, b);
}

#endif

} // namespace
