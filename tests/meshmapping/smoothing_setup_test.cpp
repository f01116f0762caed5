#include "meshmapping/smoothing_setup.h"

#include "common/exact_math.h"
#include "meshmapping/gauss_neighbours.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <random>
#include <vector>

namespace tav3d::meshmapping::smoothing_setup_test
{
namespace
{

constexpr float pi = 3.1416f;

struct Points
{
    std::vector<double> x{0}, y{0}, z{0};

    void add(double px, double py, double pz)
    {
        x.push_back(px);
        y.push_back(py);
        z.push_back(pz);
    }
    [[nodiscard]] int total() const { return static_cast<int>(x.size()) - 1; }
    [[nodiscard]] SmoothingTable table(double lengthSquared = 1.0, int neighbours = 50) const
    {
        const int n = total();
        return buildSmoothingTable({{x.data(), n}, {y.data(), n}, {z.data(), n}}, lengthSquared, neighbours, pi);
    }
};

Points line(int n)
{
    Points points;
    for (int i = 1; i <= n; ++i)
        points.add(i, 0, 0);
    return points;
}

std::vector<double> smoothed(const SmoothingTable& table, std::vector<double> value, int sweeps, int neighbours = 50)
{
    const int n = static_cast<int>(value.size()) - 1;
    std::vector<double> out(value.size(), 0.0), scratch(value.size(), 0.0);
    smoothValues({{table.isSet.get(), n}, table.weight.data(), table.neighbour.data(), neighbours}, {value.data(), n}, {out.data(), n},
                 {scratch.data(), n}, sweeps);
    return out;
}

// DELIBERATE smooth-point-twice
TEST(SmoothingSetup, a_point_stands_in_entry_zero_and_as_its_own_nearest_neighbour)
{
    const auto table = line(50).table();
    for (int i = 1; i <= 50; ++i)
    {
        EXPECT_EQ(table.isSet[i], 1);
        EXPECT_EQ(table.neighbour[i][0], i);
        EXPECT_EQ(table.neighbour[i][1], i);
        EXPECT_EQ(table.weight[i][1], gaussNorm(pi));
    }
}

TEST(SmoothingSetup, neighbours_come_nearest_first_with_equal_distances_by_number)
{
    const auto table = line(60).table();
    const std::vector<int> row(table.neighbour[30] + 1, table.neighbour[30] + 8);
    EXPECT_EQ(row, (std::vector<int>{30, 29, 31, 28, 32, 27, 33}));
}

TEST(SmoothingSetup, weights_follow_the_formula_and_entry_zero_is_their_remainder)
{
    const auto table = line(50).table(4.0);
    float rest = 1.0f;
    for (int t = 1; t <= 50; ++t)
    {
        const double d = table.neighbour[10][t] - 10.0;
        const double h = 1.0 * 4.0 * 1.0;
        const float w = static_cast<float>(common::exponential(-(d * d / h / static_cast<double>(3.92f)))) * gaussNorm(pi);
        EXPECT_EQ(table.weight[10][t], w) << "entry " << t;
        rest = rest - w;
    }
    EXPECT_EQ(table.weight[10][0], rest);
    EXPECT_GT(rest, 0.023f) << "the first width stands";
}

TEST(SmoothingSetup, weights_of_a_row_sum_to_one_when_taken_off_in_row_order)
{
    std::mt19937 random(11);
    Points points;
    for (int k = 0; k < 300; ++k)
        points.add(random() % 1000 / 200.0, random() % 1000 / 200.0, random() % 1000 / 200.0);
    const auto table = points.table();
    for (int i = 1; i <= 300; ++i)
    {
        float rest = 1.0f;
        for (int t = 1; t <= 50; ++t)
            rest = rest - table.weight[i][t];
        EXPECT_EQ(rest, table.weight[i][0]);
    }
}

TEST(SmoothingSetup, a_crowded_kernel_is_narrowed_until_enough_is_left)
{
    Points points; // 5 x 5 x 5 points, half a smoothing length apart
    for (int i = 0; i < 5; ++i)
        for (int j = 0; j < 5; ++j)
            for (int k = 0; k < 5; ++k)
                points.add(0.5 * i, 0.5 * j, 0.5 * k);
    const auto table = points.table();
    const int centre = 1 + 2 * 25 + 2 * 5 + 2;
    const auto restAt = [&](int j)
    {
        const double h = (1 - 0.1 * j) * 1.0 * (1 - 0.1 * j);
        float rest = 1.0f;
        for (int t = 1; t <= 50; ++t)
        {
            const auto id = static_cast<std::size_t>(table.neighbour[centre][t]);
            const double dx = 1.0 - points.x[id], dy = 1.0 - points.y[id], dz = 1.0 - points.z[id];
            rest = rest - static_cast<float>(common::exponential(-((dy * dy + dx * dx + dz * dz) / h / static_cast<double>(3.92f)))) *
                              gaussNorm(pi);
        }
        return rest;
    };
    int j = 0;
    while (j < 9 && restAt(j) <= 0.023)
        ++j;
    ASSERT_GT(j, 0) << "the case must need narrowing";
    EXPECT_EQ(table.weight[centre][0], restAt(j));
}

TEST(SmoothingSetup, points_at_one_place_all_get_the_full_norm_and_the_remainder_may_be_negative)
{
    Points points;
    for (int k = 0; k < 50; ++k)
        points.add(1, 2, 3);
    const auto table = points.table();
    for (int t = 1; t <= 50; ++t)
    {
        EXPECT_EQ(table.weight[7][t], gaussNorm(pi));
        EXPECT_EQ(table.neighbour[7][t], t) << "equal distances by number";
    }
    EXPECT_LT(table.weight[7][0], 0.0f);
}

TEST(SmoothingSetup, a_point_without_enough_points_in_reach_has_no_weights)
{
    const double reach = 3.0 * std::pow(1.2, 19); // 95.8 smoothing lengths
    for (const bool within : {true, false})
    {
        Points points;
        points.add(0, 0, 0);
        for (int k = 0; k < 49; ++k)
            points.add(within ? reach - 0.01 : reach + 0.01, 0, 0);
        const auto table = points.table();
        EXPECT_EQ(table.isSet[1], within ? 1 : 0);
        EXPECT_EQ(table.weight[1][0] != 0.0f, within);
        const auto out = smoothed(table, std::vector<double>(51, 2.5), 5);
        EXPECT_TRUE(within || out[1] == 2.5);
    }
}

TEST(SmoothingSetup, fewer_points_than_neighbours_leave_every_value_as_it_is)
{
    const auto table = line(49).table();
    std::vector<double> value{0};
    for (int i = 1; i <= 49; ++i)
        value.push_back(1.0 / i);
    auto expected = value;
    EXPECT_EQ(smoothed(table, value, 5), expected);
}

TEST(SmoothingSetup, without_points_there_is_an_empty_table)
{
    const auto table = Points().table();
    EXPECT_EQ(table.weight.rowTotal(), 1);
    EXPECT_EQ(smoothed(table, {9.0}, 5), (std::vector<double>{0.0}));
}

TEST(SmoothingSetup, points_at_the_ends_of_the_range_along_x_are_found)
{
    const auto table = line(50).table(); // all points in one plane: a range without width along y and z, exact along x
    std::vector<int> row(table.neighbour[1] + 1, table.neighbour[1] + 51);
    std::sort(row.begin(), row.end());
    EXPECT_EQ(row.front(), 1);
    EXPECT_EQ(row.back(), 50);
}

TEST(SmoothValues, no_sweeps_copy_the_input)
{
    const auto table = line(50).table();
    std::vector<double> value{0};
    for (int i = 1; i <= 50; ++i)
        value.push_back(0.1 * i); // not floats: a copy must not round them
    EXPECT_EQ(smoothed(table, value, 0), value);
}

// DELIBERATE smooth-float-sum
TEST(SmoothValues, each_sum_is_a_float_that_is_rounded_after_every_term)
{
    const auto table = line(50).table();
    std::vector<double> value{0};
    for (int i = 1; i <= 50; ++i)
        value.push_back(std::sqrt(i) * 1.0e3);
    std::vector<double> expected = value;
    for (int sweep = 0; sweep < 5; ++sweep)
    {
        const auto before = expected;
        for (int i = 1; i <= 50; ++i)
        {
            float sum = 0.0f;
            for (int t = 0; t <= 50; ++t)
                sum = static_cast<float>(sum +
                                         static_cast<double>(table.weight[i][t]) * before[static_cast<std::size_t>(table.neighbour[i][t])]);
            expected[static_cast<std::size_t>(i)] = sum;
        }
    }
    const auto out = smoothed(table, value, 5);
    EXPECT_EQ(out, expected);
    EXPECT_EQ(out[20], static_cast<double>(static_cast<float>(out[20])));
}

TEST(SmoothValues, output_may_be_the_input)
{
    const auto table = line(50).table();
    std::vector<double> value(51), scratch(51);
    for (int i = 1; i <= 50; ++i)
        value[static_cast<std::size_t>(i)] = i % 7;
    const auto expected = smoothed(table, value, 5);
    smoothValues({{table.isSet.get(), 50}, table.weight.data(), table.neighbour.data(), 50}, {value.data(), 50}, {value.data(), 50},
                 {scratch.data(), 50}, 5);
    EXPECT_EQ(std::vector<double>(value.begin() + 1, value.end()), std::vector<double>(expected.begin() + 1, expected.end()));
}

TEST(SmoothValues, a_constant_field_stays_constant_to_rounding_and_no_value_leaves_the_range)
{
    Points points;
    for (int i = 0; i < 6; ++i)
        for (int j = 0; j < 6; ++j)
            for (int k = 0; k < 6; ++k)
                points.add(i, j, k);
    const auto table = points.table();
    for (int i = 1; i <= 216; ++i)
        ASSERT_TRUE(std::all_of(table.weight[i], table.weight[i] + 51, [](float w) { return w >= 0.0f; }));
    for (const double v : smoothed(table, std::vector<double>(217, 231.5), 25))
        EXPECT_TRUE(v == 0.0 || std::abs(v - 231.5) < 231.5 * 1e-5);

    std::vector<double> value(217);
    for (std::size_t i = 1; i < value.size(); ++i)
        value[i] = std::sin(static_cast<double>(i * i));
    const auto [low, high] = std::minmax_element(value.begin() + 1, value.end());
    for (const double v : smoothed(table, value, 25))
    {
        EXPECT_GE(v, *low - 1e-5);
        EXPECT_LE(v, *high + 1e-5);
    }
}

} // namespace
} // namespace tav3d::meshmapping::smoothing_setup_test
