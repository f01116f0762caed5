#include "common/number_text.h"

#include <gtest/gtest.h>

#include <bit>
#include <cstdint>
#include <cstdio>
#include <limits>
#include <random>

namespace tav3d::common::number_text_test
{
namespace
{

constexpr double infinity = std::numeric_limits<double>::infinity();
constexpr double nan = std::numeric_limits<double>::quiet_NaN();

TEST(NumberText, numbers_look_as_printf_writes_them_in_the_c_locale)
{
    EXPECT_EQ(general(398.0), "398");
    EXPECT_EQ(general(0.1f), "0.1");
    EXPECT_EQ(general(1234567.0), "1.23457e+06");
    EXPECT_EQ(general(0.00001), "1e-05");
    EXPECT_EQ(general(3.14159, 3), "3.14");
    EXPECT_EQ(general(-0.0), "-0");
    EXPECT_EQ(fixed(1.0), "1.000000");
    EXPECT_EQ(fixed(-2.345, 2), "-2.35");
    EXPECT_EQ(scientific(-0.0, 4), "-0.0000e+00");
    EXPECT_EQ(scientific(1e100, 4), "1.0000e+100");
    EXPECT_EQ(shortest(0.1), "0.1");
    EXPECT_EQ(shortest(0.1f), "0.1");
    EXPECT_EQ(fixed(-std::numeric_limits<double>::max(), 50).size(), 1u + 309 + 1 + 50);
}

TEST(NumberText, what_is_not_finite_has_one_name_and_nan_no_sign)
{
    for (const auto text :
         {+[](double v) { return general(v); }, +[](double v) { return fixed(v); }, +[](double v) { return scientific(v); },
          +[](double v) { return shortest(v); }, +[](double v) { return shortest(static_cast<float>(v)); }})
    {
        EXPECT_EQ(text(nan), "nan");
        EXPECT_EQ(text(-nan), "nan");
        EXPECT_EQ(text(infinity), "inf");
        EXPECT_EQ(text(-infinity), "-inf");
    }
}

TEST(NumberText, agrees_with_the_c_library_on_numbers_of_all_sizes)
{
    std::mt19937_64 random(1);
    char expected[400];
    for (int i = 0; i < 100000; ++i)
    {
        const auto value = std::bit_cast<double>(static_cast<std::uint64_t>(random()));
        if (!std::isfinite(value))
            continue;
        const int digits = static_cast<int>(random() % 18);
        std::snprintf(expected, sizeof expected, "%.*e", digits, value);
        ASSERT_EQ(scientific(value, digits), expected);
        std::snprintf(expected, sizeof expected, "%.*g", digits, value);
        ASSERT_EQ(general(value, digits), expected);
        const double close = static_cast<double>(static_cast<std::int32_t>(random())) / 1024; // many of them halfway between two texts
        std::snprintf(expected, sizeof expected, "%.*f", digits, close);
        ASSERT_EQ(fixed(close, digits), expected);
    }
}

} // namespace
} // namespace tav3d::common::number_text_test
