// Doubles computed side by side: `Lanes` holds Lanes::width of them, each of which goes through the IEEE operations that a lone double would.
//
// A source file that is compiled for one instruction set says which by defining TAV3D_LANES_AVX2 or TAV3D_LANES_SSE2 (neither: one plain
// double) and includes this file once, without a guard. Everything here has internal linkage, so that no code compiled for one instruction
// set can be linked into the code of another; for the same reason such a file uses no templates or inline functions of the standard library.

#include "common/compiler.h"

#if defined(TAV3D_LANES_AVX2) || defined(TAV3D_LANES_SSE2)
#include <immintrin.h>
#else
#include <cmath>
#endif

namespace
{

#if defined(TAV3D_LANES_AVX2)

struct Mask
{
    __m256d v; // all bits of a lane or none

    friend Mask either(Mask a, Mask b) { return {_mm256_or_pd(a.v, b.v)}; }
    /// Bit t for lane t.
    friend unsigned bits(Mask mask) { return static_cast<unsigned>(_mm256_movemask_pd(mask.v)); }
};

struct Lanes
{
    static constexpr int width = 4;
    __m256d v;

    static Lanes all(double value) { return {_mm256_set1_pd(value)}; }
    static Lanes from(const double* values) { return {_mm256_loadu_pd(values)}; }
    void to(double* values) const { _mm256_storeu_pd(values, v); }

    friend Lanes operator+(Lanes a, Lanes b) { return {_mm256_add_pd(a.v, b.v)}; }
    friend Lanes operator-(Lanes a, Lanes b) { return {_mm256_sub_pd(a.v, b.v)}; }
    friend Lanes operator*(Lanes a, Lanes b) { return {_mm256_mul_pd(a.v, b.v)}; }
    friend Lanes operator/(Lanes a, Lanes b) { return {_mm256_div_pd(a.v, b.v)}; }
    friend Lanes squareRoot(Lanes a) { return {_mm256_sqrt_pd(a.v)}; }
    friend Lanes magnitude(Lanes a) { return {_mm256_andnot_pd(_mm256_set1_pd(-0.0), a.v)}; }
    /// The larger one; b where one is NaN.
    friend Lanes larger(Lanes a, Lanes b) { return {_mm256_max_pd(a.v, b.v)}; }
    friend Mask atLeast(Lanes a, Lanes b) { return {_mm256_cmp_pd(a.v, b.v, _CMP_GE_OQ)}; }
    friend Mask equal(Lanes a, Lanes b) { return {_mm256_cmp_pd(a.v, b.v, _CMP_EQ_OQ)}; }
    /// Also where one is NaN.
    friend Mask differs(Lanes a, Lanes b) { return {_mm256_cmp_pd(a.v, b.v, _CMP_NEQ_UQ)}; }
    friend Lanes choose(Mask mask, Lanes yes, Lanes no) { return {_mm256_blendv_pd(no.v, yes.v, mask.v)}; }
    /// +0.0 outside the mask.
    friend Lanes within(Mask mask, Lanes a) { return {_mm256_and_pd(mask.v, a.v)}; }
    /// Exchanges a and b where the mask is set.
    friend void exchange(Mask mask, Lanes& a, Lanes& b)
    {
        const __m256d kept = a.v;
        a.v = _mm256_blendv_pd(a.v, b.v, mask.v);
        b.v = _mm256_blendv_pd(b.v, kept, mask.v);
    }
};

#elif defined(TAV3D_LANES_SSE2)

struct Mask
{
    __m128d v; // all bits of a lane or none

    friend Mask either(Mask a, Mask b) { return {_mm_or_pd(a.v, b.v)}; }
    /// Bit t for lane t.
    friend unsigned bits(Mask mask) { return static_cast<unsigned>(_mm_movemask_pd(mask.v)); }
};

struct Lanes
{
    static constexpr int width = 2;
    __m128d v;

    static Lanes all(double value) { return {_mm_set1_pd(value)}; }
    static Lanes from(const double* values) { return {_mm_loadu_pd(values)}; }
    void to(double* values) const { _mm_storeu_pd(values, v); }

    friend Lanes operator+(Lanes a, Lanes b) { return {_mm_add_pd(a.v, b.v)}; }
    friend Lanes operator-(Lanes a, Lanes b) { return {_mm_sub_pd(a.v, b.v)}; }
    friend Lanes operator*(Lanes a, Lanes b) { return {_mm_mul_pd(a.v, b.v)}; }
    friend Lanes operator/(Lanes a, Lanes b) { return {_mm_div_pd(a.v, b.v)}; }
    friend Lanes squareRoot(Lanes a) { return {_mm_sqrt_pd(a.v)}; }
    friend Lanes magnitude(Lanes a) { return {_mm_andnot_pd(_mm_set1_pd(-0.0), a.v)}; }
    /// The larger one; b where one is NaN.
    friend Lanes larger(Lanes a, Lanes b) { return {_mm_max_pd(a.v, b.v)}; }
    friend Mask atLeast(Lanes a, Lanes b) { return {_mm_cmpge_pd(a.v, b.v)}; }
    friend Mask equal(Lanes a, Lanes b) { return {_mm_cmpeq_pd(a.v, b.v)}; }
    /// Also where one is NaN.
    friend Mask differs(Lanes a, Lanes b) { return {_mm_cmpneq_pd(a.v, b.v)}; }
    friend Lanes choose(Mask mask, Lanes yes, Lanes no) { return {_mm_or_pd(_mm_and_pd(mask.v, yes.v), _mm_andnot_pd(mask.v, no.v))}; }
    /// +0.0 outside the mask.
    friend Lanes within(Mask mask, Lanes a) { return {_mm_and_pd(mask.v, a.v)}; }
    /// Exchanges a and b where the mask is set.
    friend void exchange(Mask mask, Lanes& a, Lanes& b)
    {
        const __m128d change = _mm_and_pd(mask.v, _mm_xor_pd(a.v, b.v));
        a.v = _mm_xor_pd(a.v, change);
        b.v = _mm_xor_pd(b.v, change);
    }
};

#else

struct Mask
{
    bool v;

    friend Mask either(Mask a, Mask b) { return {a.v || b.v}; }
    friend unsigned bits(Mask mask) { return mask.v ? 1u : 0u; }
};

struct Lanes
{
    static constexpr int width = 1;
    double v;

    static Lanes all(double value) { return {value}; }
    static Lanes from(const double* values) { return {*values}; }
    void to(double* values) const { *values = v; }

    friend Lanes operator+(Lanes a, Lanes b) { return {a.v + b.v}; }
    friend Lanes operator-(Lanes a, Lanes b) { return {a.v - b.v}; }
    friend Lanes operator*(Lanes a, Lanes b) { return {a.v * b.v}; }
    friend Lanes operator/(Lanes a, Lanes b) { return {a.v / b.v}; }
    friend Lanes squareRoot(Lanes a) { return {std::sqrt(a.v)}; }
    friend Lanes magnitude(Lanes a) { return {std::abs(a.v)}; }
    /// The larger one; b where one is NaN.
    friend Lanes larger(Lanes a, Lanes b) { return {a.v > b.v ? a.v : b.v}; }
    friend Mask atLeast(Lanes a, Lanes b) { return {a.v >= b.v}; }
    friend Mask equal(Lanes a, Lanes b) { return {a.v == b.v}; }
    /// Also where one is NaN.
    friend Mask differs(Lanes a, Lanes b) { return {a.v != b.v}; }
    friend Lanes choose(Mask mask, Lanes yes, Lanes no) { return mask.v ? yes : no; }
    /// +0.0 outside the mask.
    friend Lanes within(Mask mask, Lanes a) { return {mask.v ? a.v : 0.0}; }
    /// Exchanges a and b where the mask is set.
    friend void exchange(Mask mask, Lanes& a, Lanes& b)
    {
        const Lanes kept = a;
        a = choose(mask, b, a);
        b = choose(mask, kept, b);
    }
};

#endif

/// The lanes that a mask has when it has all.
constexpr unsigned allLanes = (1u << Lanes::width) - 1;

} // namespace
