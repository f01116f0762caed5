#include "interpolation/nearest_points.h"

#include "interpolation/neighbour_sorting.h"
#include "point_clouds.h"
#include "support/case_count.h"

#include <gtest/gtest.h>

#include <cstring>

namespace nearest_points_test
{

using clouds::Kind;
using clouds::Places;
using meshes::Points;
using tav3d::interpolation::NearestPoints;
using tav3d::interpolation::NumberedPoints;
using tav3d::test::caseCount;

namespace
{

NumberedPoints numbered(const Points& points)
{
    return {points.x.data(), points.y.data(), points.z.data(), points.count()};
}

/// The first `targets` places: both forms pick the same. Returns how often a point was picked twice, which is what marks are for.
int compare(const Points& points, Places& places, int targets, int k)
{
    NearestPoints index(numbered(points), k);
    std::vector<int> expected(static_cast<std::size_t>(k) + 1, 77);
    std::vector<int> picked = expected;
    int repeats = 0;
    for (int t = 0; t < targets; ++t)
    {
        const auto [x, y, z] = places.next();
        tav3d::interpolation::selectNearest(numbered(points), {x, y, z}, k, expected.data());
        index.select({x, y, z}, k, picked.data());
        if (std::memcmp(picked.data(), expected.data(), picked.size() * sizeof(int)) != 0)
        {
            ADD_FAILURE() << "n " << points.count() << ", k " << k << ", target " << x << ' ' << y << ' ' << z;
            return repeats;
        }
        repeats += k > 1 && picked[static_cast<std::size_t>(k)] == picked[static_cast<std::size_t>(k) - 1] ? 1 : 0;
    }
    return repeats;
}

} // namespace

TEST(NearestPoints, few_points_give_what_scans_give)
{
    int repeats = 0;
    for (const Kind kind : clouds::allKinds)
    {
        SCOPED_TRACE(static_cast<int>(kind));
        Places places(kind, 1);
        for (int round = 0; round < 600; ++round)
            repeats += compare(clouds::cloud(places, round % 20), places, 15, 1 + round % 7);
    }
    EXPECT_GT(repeats, 10000);
}

TEST(NearestPoints, many_points_give_what_scans_give)
{
    for (const Kind kind : clouds::allKinds)
    {
        SCOPED_TRACE(static_cast<int>(kind));
        Places places(kind, 2);
        for (const int n : {63, 64, 65, 500, 3000})
            for (const int k : {1, 4, 12})
                compare(clouds::cloud(places, n), places, 200000 / n / k, k);
    }
}

TEST(NearestPoints, rows_of_many_targets_are_what_scans_give)
{
    const int total = caseCount(2500);
    for (const Kind kind : clouds::allKinds)
    {
        SCOPED_TRACE(static_cast<int>(kind));
        Places places(kind, 6);
        for (const int n : {3, 40, 200, 1000})
        {
            const Points points = clouds::cloud(places, n);
            const Points targets = clouds::cloud(places, total);
            NearestPoints index(numbered(points), 4);
            const tav3d::interpolation::CountedTable rows(std::vector<int>(static_cast<std::size_t>(total) + 1, 4));
            index.selectAll(numbered(targets), 4, rows.rows());
            for (int t = 1; t <= total; ++t)
            {
                std::array<int, 5> row{};
                tav3d::interpolation::selectNearest(numbered(points), numbered(targets)[t], 4, row.data());
                ASSERT_EQ(std::memcmp(rows.rows()[t] + 1, row.data() + 1, 4 * sizeof(int)), 0) << n << " points, target " << t;
            }
        }
    }
}

TEST(NearestPoints, targets_on_a_lattice_of_points_give_what_scans_give)
{
    Points points = meshes::grid(9, 4.5).node; // spacing 0.5, as that of the targets
    Places places(Kind::Lattice, 3);
    compare(points, places, 2000, 4);
    compare(points, places, 500, 30);
}

TEST(NearestPoints, thousands_of_coincident_points_are_picked_by_number)
{
    Points points;
    for (int i = 0; i < 5000; ++i)
        points.add(1, 2, 3);
    NearestPoints index(numbered(points), 4);
    std::array<int, 5> out{77};
    index.select({0, 0, 0}, 4, out.data());
    EXPECT_EQ(out, (std::array{77, 1, 2, 3, 4}));
}

TEST(NearestPoints, points_spread_over_all_magnitudes_give_what_scans_give)
{
    // Every split at the middle parts one point from all others.
    Points points;
    for (int e = -1000; e < 1000; ++e)
        points.add(std::ldexp(1.0, e), std::ldexp(1.0, e / 2), e);
    Places places(Kind::Scattered, 4);
    compare(points, places, 300, 4);
}

} // namespace nearest_points_test
