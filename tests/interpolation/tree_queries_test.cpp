// The index of the search tree against visits to its nodes.

#include "interpolation/tree_queries.h"

#include "interpolation/point_search_tree.h"
#include "point_clouds.h"

#include <gtest/gtest.h>

#include <cstring>

namespace tree_queries_test
{

using clouds::Kind;
using clouds::Places;
using meshes::Points;

namespace
{

CPointSearchTree treeOf(const Points& points)
{
    CPointSearchTree tree(-1, 1, -1, 1, -1, 1);
    tree.InsertAll({points.x.data(), points.y.data(), points.z.data(), points.count()});
    return tree;
}

/// How many candidates there were in all, and how often the first of them had an equal.
struct Tally
{
    int candidates = 0;
    int ties = 0;
};

void compare(CPointSearchTree& tree, const std::array<double, 3>& target, Tally& tally)
{
    const auto [x, y, z] = target;
    double visited = 5;
    double searched = 6;
    ASSERT_EQ(tree.SearchNearestPointIndex(x, y, z, searched), tree.VisitNearestPointIndex(x, y, z, visited)) << x << ' ' << y << ' ' << z;
    ASSERT_EQ(std::memcmp(&searched, &visited, sizeof searched), 0) << searched << ' ' << visited;

    CPointSearchTree::Candidates expected;
    CPointSearchTree::Candidates found;
    tree.VisitCandidates(x, y, z, expected);
    tree.SearchCandidates(x, y, z, found);
    ASSERT_EQ(std::memcmp(&found, &expected, sizeof found), 0) << x << ' ' << y << ' ' << z;

    const int only = tree.SearchOnlyNearest(x, y, z);
    if (only != 0)
        ASSERT_EQ(only, expected.number[0]);
    else if (expected.count > 0)
        ++tally.ties;
    tally.candidates += expected.count;
}

Points scaled(Points points, double factor)
{
    for (auto* axis : {&points.x, &points.y, &points.z})
        for (double& v : *axis)
            v *= factor;
    return points;
}

std::array<double, 3> scaled(const std::array<double, 3>& x, double factor)
{
    return {factor * x[0], factor * x[1], factor * x[2]};
}

} // namespace

TEST(TreeQueries, radii_grow_by_a_factor_of_five)
{
    using tav3d::interpolation::searchRadii;
    EXPECT_EQ(searchRadii[0], 5.0 * 1e-6);
    for (std::size_t i = 1; i < searchRadii.size(); ++i)
        EXPECT_EQ(searchRadii[i], 5.0 * searchRadii[i - 1]);
    EXPECT_NEAR(searchRadii.back(), 9.765625, 1e-12);
}

TEST(TreeQueries, few_points_give_what_visits_give)
{
    Tally tally;
    for (const Kind kind : clouds::allKinds)
        for (const double scale : {1e-6, 1e-3, 1.0, 7.0})
        {
            SCOPED_TRACE(::testing::Message() << static_cast<int>(kind) << " scale " << scale);
            Places places(kind, 1);
            for (int round = 0; round < 300; ++round)
            {
                CPointSearchTree tree = treeOf(scaled(clouds::cloud(places, round % 30), scale));
                for (int t = 0; t < 9; ++t)
                    compare(tree, scaled(places.next(), scale), tally);
            }
        }
    EXPECT_GT(tally.candidates, 300000);
    EXPECT_GT(tally.ties, 2000);
}

TEST(TreeQueries, many_points_give_what_visits_give)
{
    Tally tally;
    for (const Kind kind : clouds::allKinds)
        for (const double scale : {0.01, 1.0, 20.0})
        {
            SCOPED_TRACE(::testing::Message() << static_cast<int>(kind) << " scale " << scale);
            Places places(kind, 2);
            CPointSearchTree tree = treeOf(scaled(clouds::cloud(places, 2000), scale));
            for (int t = 0; t < 150; ++t)
            {
                std::array<double, 3> target = places.next();
                target[0] += t % 3 == 0 ? 4.0 : 0.0; // outside
                compare(tree, scaled(target, scale), tally);
            }
        }
    EXPECT_GT(tally.candidates, 20000);
}

TEST(TreeQueries, targets_on_a_lattice_of_points_give_what_visits_give)
{
    Tally tally;
    for (const double spacing : {0.001, 0.3, 1.0, 4.0})
    {
        const int cells = 12;
        CPointSearchTree tree = treeOf(meshes::grid(cells, cells * spacing).node);
        Places places(Kind::Lattice, 3);
        for (int t = 0; t < 500; ++t) // corners, edge middles and centres, also outside
        {
            std::array<double, 3> target{};
            for (double& v : target)
                v = 0.5 * spacing * (places.at(2 * cells + 9) - 4);
            compare(tree, target, tally);
        }
    }
    EXPECT_GT(tally.ties, 1000);
}

TEST(TreeQueries, points_on_a_sphere_around_the_target_give_what_visits_give)
{
    // Many more than ten are equally near, at places that are computed without rounding.
    Points points;
    for (int i = -25; i <= 25; ++i)
        for (int j = -25; j <= 25; ++j)
            for (int k = -25; k <= 25; ++k)
                if (i * i + j * j + k * k == 625)
                    points.add(i / 8.0, j / 8.0, k / 8.0);
    ASSERT_GT(points.count(), 100);
    CPointSearchTree tree = treeOf(points);
    Tally tally;
    compare(tree, {0, 0, 0}, tally);
    EXPECT_EQ(tally.ties, 1);
    for (int i = 0; i < 100; ++i)
        compare(tree, {i / 8.0, -i / 16.0, 0.25}, tally);
}

TEST(TreeQueries, points_inserted_between_queries_are_found)
{
    CPointSearchTree tree(-1, 1, -1, 1, -1, 1);
    Places places(Kind::Scattered, 5);
    Tally tally;
    for (int i = 0; i < 600; ++i)
    {
        const auto [x, y, z] = places.next();
        tree.Insert(x, y, z);
        double distance = -5;
        EXPECT_EQ(tree.SearchNearestPointIndex(x, y, z, distance), i);
        EXPECT_EQ(distance, 0.0);
        for (int t = 0; t < i % 7; ++t)
            compare(tree, places.next(), tally);
    }
}

} // namespace tree_queries_test
