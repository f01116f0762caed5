// Four doubles side by side, each of which goes through the IEEE operations that a lone double would: with AVX2 in one register, with SSE2 in two,
// elsewhere in an array. The same lanes give the same bits in all three.
//
// A source file that is compiled for one instruction set says which by defining TAV3D_LANES_AVX2 or TAV3D_LANES_SSE2 (neither: the array) and
// includes this file once. Everything here has internal linkage, so that no code compiled for one instruction set can be linked into the code
// of another; for the same reason such a file uses no templates or inline functions of the standard library.

#if defined(TAV3D_LANES_AVX2) || defined(TAV3D_LANES_SSE2)
#include <immintrin.h>
#endif

namespace
{

#if defined(TAV3D_LANES_AVX2)

struct Lanes
{
    __m256d v;

    static Lanes all(double value) { return {_mm256_set1_pd(value)}; }
    static Lanes from(const double* values) { return {_mm256_loadu_pd(values)}; }
    void to(double* values) const { _mm256_storeu_pd(values, v); }
    [[nodiscard]] double first() const { return _mm256_cvtsd_f64(v); }
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
inline Lanes magnitude(Lanes a)
{
    return {_mm256_andnot_pd(_mm256_set1_pd(-0.0), a.v)};
}
/// The larger one in each lane; b where one is NaN.
inline Lanes larger(Lanes a, Lanes b)
{
    return {_mm256_max_pd(a.v, b.v)};
}
/// The smaller one in each lane; b where one is NaN.
inline Lanes smaller(Lanes a, Lanes b)
{
    return {_mm256_min_pd(a.v, b.v)};
}
/// Whether every lane of a is at most that of b; false where one is NaN.
inline bool allAtMost(Lanes a, Lanes b)
{
    return _mm256_movemask_pd(_mm256_cmp_pd(a.v, b.v, _CMP_LE_OQ)) == 15;
}
/// Whether every lane of a is below that of b; false where one is NaN.
inline bool allBelow(Lanes a, Lanes b)
{
    return _mm256_movemask_pd(_mm256_cmp_pd(a.v, b.v, _CMP_LT_OQ)) == 15;
}
/// (1, 0, 3, 2)
inline Lanes swapPairs(Lanes a)
{
    return {_mm256_permute_pd(a.v, 5)};
}
/// (2, 3, 0, 1)
inline Lanes swapHalves(Lanes a)
{
    return {_mm256_permute2f128_pd(a.v, a.v, 1)};
}
/// (1, 2, 0, 3)
inline Lanes rotateDown(Lanes a)
{
    return {_mm256_permute4x64_pd(a.v, 0xC9)};
}
/// (2, 0, 1, 3)
inline Lanes rotateUp(Lanes a)
{
    return {_mm256_permute4x64_pd(a.v, 0xD2)};
}
/// Rows x, y, z become four columns (x_i, y_i, z_i, 0).
inline void transpose(Lanes x, Lanes y, Lanes z, Lanes (&column)[4])
{
    const __m256d none = _mm256_setzero_pd();
    const __m256d even = _mm256_unpacklo_pd(x.v, y.v);
    const __m256d odd = _mm256_unpackhi_pd(x.v, y.v);
    const __m256d evenZ = _mm256_unpacklo_pd(z.v, none);
    const __m256d oddZ = _mm256_unpackhi_pd(z.v, none);
    column[0].v = _mm256_permute2f128_pd(even, evenZ, 0x20);
    column[1].v = _mm256_permute2f128_pd(odd, oddZ, 0x20);
    column[2].v = _mm256_permute2f128_pd(even, evenZ, 0x31);
    column[3].v = _mm256_permute2f128_pd(odd, oddZ, 0x31);
}

#elif defined(TAV3D_LANES_SSE2)

struct Lanes
{
    __m128d low, high;

    static Lanes all(double value) { return {_mm_set1_pd(value), _mm_set1_pd(value)}; }
    static Lanes from(const double* values) { return {_mm_loadu_pd(values), _mm_loadu_pd(values + 2)}; }
    void to(double* values) const
    {
        _mm_storeu_pd(values, low);
        _mm_storeu_pd(values + 2, high);
    }
    [[nodiscard]] double first() const { return _mm_cvtsd_f64(low); }
};

inline Lanes operator+(Lanes a, Lanes b)
{
    return {_mm_add_pd(a.low, b.low), _mm_add_pd(a.high, b.high)};
}
inline Lanes operator-(Lanes a, Lanes b)
{
    return {_mm_sub_pd(a.low, b.low), _mm_sub_pd(a.high, b.high)};
}
inline Lanes operator*(Lanes a, Lanes b)
{
    return {_mm_mul_pd(a.low, b.low), _mm_mul_pd(a.high, b.high)};
}
inline Lanes operator/(Lanes a, Lanes b)
{
    return {_mm_div_pd(a.low, b.low), _mm_div_pd(a.high, b.high)};
}
inline Lanes magnitude(Lanes a)
{
    const __m128d sign = _mm_set1_pd(-0.0);
    return {_mm_andnot_pd(sign, a.low), _mm_andnot_pd(sign, a.high)};
}
/// The larger one in each lane; b where one is NaN.
inline Lanes larger(Lanes a, Lanes b)
{
    return {_mm_max_pd(a.low, b.low), _mm_max_pd(a.high, b.high)};
}
/// The smaller one in each lane; b where one is NaN.
inline Lanes smaller(Lanes a, Lanes b)
{
    return {_mm_min_pd(a.low, b.low), _mm_min_pd(a.high, b.high)};
}
/// Whether every lane of a is at most that of b; false where one is NaN.
inline bool allAtMost(Lanes a, Lanes b)
{
    return _mm_movemask_pd(_mm_and_pd(_mm_cmple_pd(a.low, b.low), _mm_cmple_pd(a.high, b.high))) == 3;
}
/// Whether every lane of a is below that of b; false where one is NaN.
inline bool allBelow(Lanes a, Lanes b)
{
    return _mm_movemask_pd(_mm_and_pd(_mm_cmplt_pd(a.low, b.low), _mm_cmplt_pd(a.high, b.high))) == 3;
}
/// (1, 0, 3, 2)
inline Lanes swapPairs(Lanes a)
{
    return {_mm_shuffle_pd(a.low, a.low, 1), _mm_shuffle_pd(a.high, a.high, 1)};
}
/// (2, 3, 0, 1)
inline Lanes swapHalves(Lanes a)
{
    return {a.high, a.low};
}
/// (1, 2, 0, 3)
inline Lanes rotateDown(Lanes a)
{
    return {_mm_shuffle_pd(a.low, a.high, 1), _mm_shuffle_pd(a.low, a.high, 2)};
}
/// (2, 0, 1, 3)
inline Lanes rotateUp(Lanes a)
{
    return {_mm_shuffle_pd(a.high, a.low, 0), _mm_shuffle_pd(a.low, a.high, 3)};
}
/// Rows x, y, z become four columns (x_i, y_i, z_i, 0).
inline void transpose(Lanes x, Lanes y, Lanes z, Lanes (&column)[4])
{
    const __m128d none = _mm_setzero_pd();
    column[0] = {_mm_unpacklo_pd(x.low, y.low), _mm_unpacklo_pd(z.low, none)};
    column[1] = {_mm_unpackhi_pd(x.low, y.low), _mm_unpackhi_pd(z.low, none)};
    column[2] = {_mm_unpacklo_pd(x.high, y.high), _mm_unpacklo_pd(z.high, none)};
    column[3] = {_mm_unpackhi_pd(x.high, y.high), _mm_unpackhi_pd(z.high, none)};
}

#else

struct Lanes
{
    double v[4];

    static Lanes all(double value) { return {{value, value, value, value}}; }
    static Lanes from(const double* values) { return {{values[0], values[1], values[2], values[3]}}; }
    void to(double* values) const
    {
        for (int i = 0; i < 4; ++i)
            values[i] = v[i];
    }
    [[nodiscard]] double first() const { return v[0]; }
};

inline Lanes operator+(const Lanes& a, const Lanes& b)
{
    return {{a.v[0] + b.v[0], a.v[1] + b.v[1], a.v[2] + b.v[2], a.v[3] + b.v[3]}};
}
inline Lanes operator-(const Lanes& a, const Lanes& b)
{
    return {{a.v[0] - b.v[0], a.v[1] - b.v[1], a.v[2] - b.v[2], a.v[3] - b.v[3]}};
}
inline Lanes operator*(const Lanes& a, const Lanes& b)
{
    return {{a.v[0] * b.v[0], a.v[1] * b.v[1], a.v[2] * b.v[2], a.v[3] * b.v[3]}};
}
inline Lanes operator/(const Lanes& a, const Lanes& b)
{
    return {{a.v[0] / b.v[0], a.v[1] / b.v[1], a.v[2] / b.v[2], a.v[3] / b.v[3]}};
}
inline double magnitude(double a)
{
    return a < 0.0 ? -a : a + 0.0; // -0.0 becomes 0.0
}
inline Lanes magnitude(const Lanes& a)
{
    return {{magnitude(a.v[0]), magnitude(a.v[1]), magnitude(a.v[2]), magnitude(a.v[3])}};
}
/// The larger one in each lane; b where one is NaN.
inline Lanes larger(const Lanes& a, const Lanes& b)
{
    return {{a.v[0] > b.v[0] ? a.v[0] : b.v[0], a.v[1] > b.v[1] ? a.v[1] : b.v[1], a.v[2] > b.v[2] ? a.v[2] : b.v[2],
             a.v[3] > b.v[3] ? a.v[3] : b.v[3]}};
}
/// The smaller one in each lane; b where one is NaN.
inline Lanes smaller(const Lanes& a, const Lanes& b)
{
    return {{a.v[0] < b.v[0] ? a.v[0] : b.v[0], a.v[1] < b.v[1] ? a.v[1] : b.v[1], a.v[2] < b.v[2] ? a.v[2] : b.v[2],
             a.v[3] < b.v[3] ? a.v[3] : b.v[3]}};
}
/// Whether every lane of a is at most that of b; false where one is NaN.
inline bool allAtMost(const Lanes& a, const Lanes& b)
{
    return a.v[0] <= b.v[0] && a.v[1] <= b.v[1] && a.v[2] <= b.v[2] && a.v[3] <= b.v[3];
}
/// Whether every lane of a is below that of b; false where one is NaN.
inline bool allBelow(const Lanes& a, const Lanes& b)
{
    return a.v[0] < b.v[0] && a.v[1] < b.v[1] && a.v[2] < b.v[2] && a.v[3] < b.v[3];
}
/// (1, 0, 3, 2)
inline Lanes swapPairs(const Lanes& a)
{
    return {{a.v[1], a.v[0], a.v[3], a.v[2]}};
}
/// (2, 3, 0, 1)
inline Lanes swapHalves(const Lanes& a)
{
    return {{a.v[2], a.v[3], a.v[0], a.v[1]}};
}
/// (1, 2, 0, 3)
inline Lanes rotateDown(const Lanes& a)
{
    return {{a.v[1], a.v[2], a.v[0], a.v[3]}};
}
/// (2, 0, 1, 3)
inline Lanes rotateUp(const Lanes& a)
{
    return {{a.v[2], a.v[0], a.v[1], a.v[3]}};
}
/// Rows x, y, z become four columns (x_i, y_i, z_i, 0).
inline void transpose(const Lanes& x, const Lanes& y, const Lanes& z, Lanes (&column)[4])
{
    for (int i = 0; i < 4; ++i)
        column[i] = {{x.v[i], y.v[i], z.v[i], 0.0}};
}

#endif

/// In every lane the sum of all, (0 + 1) + (2 + 3).
inline Lanes sumOfAll(Lanes a)
{
    const Lanes pairs = a + swapPairs(a);
    return pairs + swapHalves(pairs);
}

} // namespace
