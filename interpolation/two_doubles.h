#pragma once

// Two doubles that are computed side by side: what every x86-64 processor does in one instruction, and plain C++ elsewhere.

#include "common/compiler.h"

#ifdef TAV3D_X86_64
#include <emmintrin.h>
#else
#include <cmath>
#endif

namespace tav3d::interpolation
{

#ifdef TAV3D_X86_64

struct TwoDoubles
{
    __m128d v;

    static TwoDoubles load(const double* p) { return {_mm_loadu_pd(p)}; }
    static TwoDoubles of(double a, double b) { return {_mm_set_pd(b, a)}; }
    static TwoDoubles both(double a) { return {_mm_set1_pd(a)}; }
    void store(double* p) const { _mm_storeu_pd(p, v); }

    friend TwoDoubles operator+(TwoDoubles a, TwoDoubles b) { return {_mm_add_pd(a.v, b.v)}; }
    friend TwoDoubles operator-(TwoDoubles a, TwoDoubles b) { return {_mm_sub_pd(a.v, b.v)}; }
    friend TwoDoubles operator*(TwoDoubles a, TwoDoubles b) { return {_mm_mul_pd(a.v, b.v)}; }
    friend TwoDoubles larger(TwoDoubles a, TwoDoubles b) { return {_mm_max_pd(a.v, b.v)}; } // b where either is not a number
    friend TwoDoubles smaller(TwoDoubles a, TwoDoubles b) { return {_mm_min_pd(a.v, b.v)}; }
    friend TwoDoubles magnitude(TwoDoubles a) { return {_mm_andnot_pd(_mm_set1_pd(-0.0), a.v)}; }
    friend unsigned isLess(TwoDoubles a, TwoDoubles b)
    {
        return static_cast<unsigned>(_mm_movemask_pd(_mm_cmplt_pd(a.v, b.v)));
    } // bit by bit
    friend unsigned isNotGreater(TwoDoubles a, TwoDoubles b) { return static_cast<unsigned>(_mm_movemask_pd(_mm_cmple_pd(a.v, b.v))); }
};

#else

struct TwoDoubles
{
    double v[2];

    static TwoDoubles load(const double* p) { return {{p[0], p[1]}}; }
    static TwoDoubles of(double a, double b) { return {{a, b}}; }
    static TwoDoubles both(double a) { return {{a, a}}; }
    void store(double* p) const
    {
        p[0] = v[0];
        p[1] = v[1];
    }

    friend TwoDoubles operator+(TwoDoubles a, TwoDoubles b) { return {{a.v[0] + b.v[0], a.v[1] + b.v[1]}}; }
    friend TwoDoubles operator-(TwoDoubles a, TwoDoubles b) { return {{a.v[0] - b.v[0], a.v[1] - b.v[1]}}; }
    friend TwoDoubles operator*(TwoDoubles a, TwoDoubles b) { return {{a.v[0] * b.v[0], a.v[1] * b.v[1]}}; }
    friend TwoDoubles larger(TwoDoubles a, TwoDoubles b)
    {
        return {{a.v[0] > b.v[0] ? a.v[0] : b.v[0], a.v[1] > b.v[1] ? a.v[1] : b.v[1]}};
    }
    friend TwoDoubles smaller(TwoDoubles a, TwoDoubles b)
    {
        return {{a.v[0] < b.v[0] ? a.v[0] : b.v[0], a.v[1] < b.v[1] ? a.v[1] : b.v[1]}};
    }
    friend TwoDoubles magnitude(TwoDoubles a) { return {{std::abs(a.v[0]), std::abs(a.v[1])}}; }
    friend unsigned isLess(TwoDoubles a, TwoDoubles b) { return (a.v[0] < b.v[0] ? 1u : 0u) + (a.v[1] < b.v[1] ? 2u : 0u); }
    friend unsigned isNotGreater(TwoDoubles a, TwoDoubles b) { return (a.v[0] <= b.v[0] ? 1u : 0u) + (a.v[1] <= b.v[1] ? 2u : 0u); }
};

#endif

} // namespace tav3d::interpolation
