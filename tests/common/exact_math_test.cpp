#include "common/exact_math.h"

#include <gtest/gtest.h>

#include <bit>
#include <cfloat>
#include <cmath>
#include <cstdint>
#include <limits>
#include <random>

namespace tav3d::common::exact_math_test
{
namespace
{

constexpr double infinity = std::numeric_limits<double>::infinity();

std::uint64_t bits(double x)
{
    return std::bit_cast<std::uint64_t>(x);
}

/// Spacing of the doubles at |x|, on the side away from zero.
double spacing(double x)
{
    return std::nextafter(std::fabs(x), infinity) - std::fabs(x);
}

/// The bits of 100,000 results, folded into one number.
template <class Function>
std::uint64_t fingerprint(Function function, double low, double high)
{
    std::mt19937_64 random(7);
    std::uint64_t sum = 0xcbf29ce484222325u;
    for (int i = 0; i < 100000; ++i)
    {
        const double share = static_cast<double>(random() >> 11) * 0x1p-53;
        sum = (sum ^ bits(function(low + (high - low) * share))) * 0x100000001b3u;
    }
    return sum;
}

struct Known
{
    double x, e; // e: the double nearest to e^x, from a computation with 300 bits
};

TEST(Exponential, equals_the_nearest_double_at_simple_arguments)
{
    for (const Known& known :
         {Known{1.0, 0x1.5bf0a8b145769p+1}, Known{-1.0, 0x1.78b56362cef38p-2}, Known{0.5, 0x1.a61298e1e069cp+0},
          Known{-0.25, 0x1.8ebef9eac820bp-1}, Known{-0x1.05397829cbc15p-2, 0x1.8cb77dd18a626p-1}, Known{0x1p-30, 0x1.00000004p+0},
          Known{-0x1p-53, 0x1.fffffffffffffp-1}, Known{709.0, 0x1.d422d2be5dc9bp+1022}, Known{-708.0, 0x1.7c8ab2288c9abp-1022},
          Known{-740.0, 0x0.0000000000055p-1022}})
        EXPECT_EQ(bits(exponential(known.x)), bits(known.e)) << known.x;
}

// e^x lies within 1e-5 units of the middle between two doubles: the worst that 300,000 random arguments hold.
TEST(Exponential, is_one_of_the_two_neighbours_where_the_value_lies_midway)
{
    for (const Known& known : {Known{-0x1.45987aa4df2a9p+3, 0x1.3fbe92342d91fp-15}, Known{-0x1.07580e69dd9a4p+0, 0x1.6e0e28562ee0ep-2},
                               Known{-0x1.d03cf7f335e2cp-1, 0x1.9d8a7eafcae28p-2}, Known{-0x1.bcc7209b13060p-2, 0x1.4b9d26e66d751p-1},
                               Known{-0x1.433a148ccb25dp+3, 0x1.584f9cba0cdc2p-15}})
        EXPECT_LE(std::fabs(exponential(known.x) - known.e), spacing(known.e)) << known.x;
}

// The same for floats, which weights are rounded to: here the neighbours in double round to the same side as the value.
TEST(Exponential, rounds_to_the_right_float_where_the_value_lies_nearly_midway)
{
    for (const Known& known : {Known{-0x1.710551486f16ap+3, 0x1.493ce2ffffd16p-17}, Known{-0x1.11baa99c696a4p-1, 0x1.2bf9770000531p-1},
                               Known{-0x1.43edc9a0129a1p+3, 0x1.50d7110000913p-15}, Known{-0x1.771df8f224168p+2, 0x1.7544b50000d30p-9}})
        EXPECT_EQ(static_cast<float>(exponential(known.x)), static_cast<float>(known.e)) << known.x;
}

TEST(Exponential, treats_special_arguments_as_the_limit_does)
{
    EXPECT_EQ(bits(exponential(0.0)), bits(1.0));
    EXPECT_EQ(bits(exponential(-0.0)), bits(1.0));
    EXPECT_EQ(exponential(infinity), infinity);
    EXPECT_EQ(bits(exponential(-infinity)), bits(0.0));
    EXPECT_TRUE(std::isnan(exponential(std::numeric_limits<double>::quiet_NaN())));
    for (const double tiny : {0x1p-1074, -0x1p-1074, 0x1p-1022, -0x1p-60, 1e-20})
        EXPECT_EQ(bits(exponential(tiny)), bits(1.0)) << tiny;
    EXPECT_EQ(exponential(DBL_MAX), infinity);
    EXPECT_EQ(bits(exponential(-DBL_MAX)), bits(0.0));
}

TEST(Exponential, leaves_the_range_where_the_value_does)
{
    const double last = 0x1.62e42fefa39efp+9; // its exponential is the last that a double can hold
    EXPECT_EQ(bits(exponential(last)), bits(0x1.fffffffffff2ap+1023));
    EXPECT_EQ(exponential(std::nextafter(last, infinity)), infinity);
    EXPECT_EQ(exponential(710.0), infinity);

    const double half = -0x1.74910d52d3051p+9; // above half the smallest subnormal by less than a part in 10^13
    EXPECT_EQ(bits(exponential(half)), std::uint64_t{1});
    EXPECT_EQ(bits(exponential(std::nextafter(half, -infinity))), bits(0.0));
    EXPECT_EQ(bits(exponential(-746.0)), bits(0.0));
    EXPECT_EQ(bits(exponential(-746.1)), bits(0.0));
}

TEST(Exponential, never_falls_where_the_argument_grows_by_a_part_in_a_thousand_million)
{
    for (double x = -20.0; x < 1.0; x += 0x1p-12)
        ASSERT_LE(exponential(x), exponential(x + std::fabs(x) * 1e-9)) << x;
}

TEST(Exponential, keeps_its_error_bound_against_extended_precision)
{
    if (LDBL_MANT_DIG < 64)
        GTEST_SKIP() << "long double is double here";
    std::mt19937_64 random(1);
    const std::array<std::array<double, 3>, 4> ranges{
        {{-13.0, 0.0, 0.53}, {-708.3, 709.7, 0.53}, {-1e-3, 1e-3, 0.53}, {-745.1, -708.4, 0.77}}};
    for (const auto& [low, high, bound] : ranges)
    {
        std::uniform_real_distribution<double> draw(low, high);
        for (int i = 0; i < 100000; ++i)
        {
            const double x = draw(random), e = exponential(x);
            const long double error = std::fabs(std::exp(static_cast<long double>(x)) - static_cast<long double>(e));
            ASSERT_LE(static_cast<double>(error), bound * spacing(e)) << x;
        }
    }
}

// Kernel weights were (float)std::exp before. On the squared distances of voxel grids, and on any others, the floats are the same.
TEST(Exponential, gives_the_floats_that_the_c_library_gives)
{
    const double scale = static_cast<double>(3.92f);
    int differing = 0;
    for (int d2 = 0; d2 <= 48; ++d2)
        for (int j = 0; j < 10; ++j)
        {
            const double c = 1.0 - 0.1 * j, x = -static_cast<double>(d2) / (c * c) / scale;
            differing += static_cast<float>(exponential(x)) != static_cast<float>(std::exp(x));
        }
    std::mt19937_64 random(2);
    std::uniform_real_distribution<double> draw(-30.0, 0.0);
    for (int i = 0; i < 100000; ++i)
    {
        const double x = draw(random);
        differing += static_cast<float>(exponential(x)) != static_cast<float>(std::exp(x));
    }
    EXPECT_EQ(differing, 0);
}

TEST(Exponential, has_the_same_bits_on_every_system)
{
    EXPECT_EQ(fingerprint(exponential, -30.0, 0.0), 0xc79ab9b888583556u);
    EXPECT_EQ(fingerprint(exponential, -750.0, 715.0), 0x34d5f455bf21d3b4u);
}

TEST(PowersOfSixFifths, are_the_doubles_nearest_to_the_powers)
{
    ASSERT_EQ(powersOfSixFifths[0], 1.0);
    ASSERT_EQ(powersOfSixFifths[1], 1.2);
    // Nearest: the product by 1.2 in double, which errs by at most one unit, is next to it; what the C library gives is it.
    for (std::size_t k = 1; k < powersOfSixFifths.size(); ++k)
    {
        EXPECT_LE(std::fabs(powersOfSixFifths[k] - powersOfSixFifths[k - 1] * 1.2), spacing(powersOfSixFifths[k])) << k;
        if (LDBL_MANT_DIG >= 64)
        {
            EXPECT_EQ(powersOfSixFifths[k], static_cast<double>(std::pow(static_cast<long double>(1.2), static_cast<long double>(k)))) << k;
        }
    }
}

TEST(FractionalPower, of_binary_exponents_are_roots)
{
    for (const double x : {0.0, 0x1p-1074, 0.3, 1.0, 2.0, 1e300, infinity})
    {
        EXPECT_EQ(bits(fractionalPower(x, 0.5)), bits(std::sqrt(x))) << x;
        EXPECT_EQ(bits(fractionalPower(x, 0.75)), bits(std::sqrt(x) * std::sqrt(std::sqrt(x)))) << x;
        EXPECT_EQ(bits(fractionalPower(x, 0.0)), bits(1.0)) << x;
    }
    EXPECT_TRUE(std::isnan(fractionalPower(-1.0, 0.5)));
    EXPECT_TRUE(std::isnan(fractionalPower(std::numeric_limits<double>::quiet_NaN(), 0.5)));
}

TEST(FractionalPower, keeps_its_error_bound)
{
    std::mt19937_64 random(3);
    std::uniform_real_distribution<double> logarithm(-20.0, 20.0), exponent(0.0, 1.0);
    for (int i = 0; i < 20000; ++i)
    {
        const double x = exponential(logarithm(random)), e = i % 2 == 0 ? 0.35 : exponent(random), power = fractionalPower(x, e);
        const double expected = static_cast<double>(std::pow(static_cast<long double>(x), static_cast<long double>(e)));
        ASSERT_LE(std::fabs(power - expected), 53 * spacing(expected)) << x << " to the power " << e;
    }
}

TEST(FractionalPower, has_the_same_bits_on_every_system)
{
    EXPECT_EQ(fingerprint([](double x) { return fractionalPower(x, 0.35); }, 0.0, 100.0), 0x9805b94b839e8ce6u);
}

} // namespace
} // namespace tav3d::common::exact_math_test
