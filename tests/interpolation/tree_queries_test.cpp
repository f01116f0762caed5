// The index of the search tree against visits to its nodes.

#include "interpolation/tree_queries.h"

#include "interpolation/sol_interpolation.h"
#include "point_clouds.h"

#include <gtest/gtest.h>

#include <cstring>
#include <limits>
#include <random>

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

namespace
{

/// Cells of zero to eight nodes, among them NaN, infinite, huge and tiny ones.
struct OddMesh
{
    Points nodes, centres;
    std::vector<std::array<int, 9>> rows;
    std::vector<int*> row{nullptr};

    OddMesh(const Points& cloud, double scale, std::mt19937& random)
        : centres(cloud)
    {
        const double odd[] = {-0.0, 1e300, -1e300, 1e-300, HUGE_VAL, -HUGE_VAL, std::numeric_limits<double>::quiet_NaN()};
        std::uniform_real_distribution<double> by(-0.6 * scale, 0.6 * scale);
        rows.resize(centres.x.size());
        for (int c = 1; c <= centres.count(); ++c)
        {
            const auto at = static_cast<std::size_t>(c);
            rows[at][0] = random() % 8 == 0 ? static_cast<int>(random() % 8) : 8;
            for (std::size_t k = 1; k < 9; ++k)
            {
                nodes.add(centres.x[at] + by(random), centres.y[at] + by(random), centres.z[at] + by(random));
                rows[at][k] = nodes.count();
                if (random() % 64 == 0)
                    (random() % 2 == 0 ? nodes.x : nodes.z).back() = odd[random() % 7];
            }
            if (random() % 4 == 0) // a bound at the centre
                nodes.y.back() = centres.y[at];
            row.push_back(rows[at].data());
        }
    }

    void enter(CSolInterpolation& engine, int cells)
    {
        engine.m_dXMin = engine.m_dYMin = engine.m_dZMin = -1;
        engine.m_dXMax = engine.m_dYMax = engine.m_dZMax = 1;
        engine.SetBaseData(nodes.count(), centres.count(), nodes.x.data(), nodes.y.data(), nodes.z.data(), centres.x.data(),
                           centres.y.data(), centres.z.data(), row.data(), false);
        engine.m_nCell = cells;
    }

    [[nodiscard]] bool isInBox(int cell, int cells, const std::array<double, 3>& p) const
    {
        if (cell > cells || row[static_cast<std::size_t>(cell)][0] == 0)
            return false;
        const int* items = row[static_cast<std::size_t>(cell)];
        const std::vector<double>* axes[3] = {&nodes.x, &nodes.y, &nodes.z};
        for (std::size_t k = 0; k < 3; ++k)
        {
            double low = (*axes[k])[static_cast<std::size_t>(items[1])];
            double high = low;
            for (int i = 2; i <= items[0]; ++i)
            {
                const double v = (*axes[k])[static_cast<std::size_t>(items[i])];
                low = v < low ? v : low;
                high = v > high ? v : high;
            }
            if (!(low <= p[k] && p[k] <= high))
                return false;
        }
        return true;
    }

    [[nodiscard]] int cellOf(CPointSearchTree& tree, int cells, const std::array<double, 3>& p) const
    {
        CPointSearchTree::Candidates found;
        tree.VisitCandidates(p[0], p[1], p[2], found);
        for (int i = 0; i < found.count; ++i)
            if (isInBox(found.number[static_cast<std::size_t>(i)], cells, p))
                return found.number[static_cast<std::size_t>(i)];
        return found.count == 0 ? 0 : found.number[0];
    }
};

} // namespace

TEST(TreeQueries, cells_of_data_points_are_those_of_visits_and_nodes)
{
    std::mt19937 random(5);
    int asked = 0;
    int answered = 0;
    for (const Kind kind : clouds::allKinds)
        for (const double scale : {1e-6, 1e-3, 1.0, 7.0})
        {
            SCOPED_TRACE(::testing::Message() << static_cast<int>(kind) << " scale " << scale);
            Places places(kind, 4);
            for (int round = 0; round < 60; ++round)
            {
                OddMesh mesh(scaled(clouds::cloud(places, round), scale), scale, random);
                const int cells = mesh.centres.count() - (round % 5 == 0 ? round / 5 : 0);
                CSolInterpolation engine;
                mesh.enter(engine, cells);
                for (int t = 0; t < 100; ++t, ++asked)
                {
                    std::array<double, 3> p = scaled(places.next(), scale);
                    if (t % 10 == 0 && mesh.nodes.count() > 0)
                    {
                        const std::size_t n = 1 + random() % static_cast<std::size_t>(mesh.nodes.count());
                        p = {mesh.nodes.x[n], mesh.nodes.y[n], mesh.nodes.z[n]};
                    }
                    const int cell = engine.SetDataPoint(p[0], p[1], p[2]);
                    ASSERT_EQ(cell, mesh.cellOf(*engine.m_pSearchTree, cells, p)) << p[0] << ' ' << p[1] << ' ' << p[2];
                    answered += cell > 0 && mesh.isInBox(cell, cells, p) ? 1 : 0;
                }
            }
        }
    EXPECT_GE(asked, 100000);
    EXPECT_GT(answered, asked / 10);
}

TEST(TreeQueries, boxes_of_cells_are_forgotten_with_the_arrays_they_were_made_of)
{
    std::mt19937 random(6);
    Places places(Kind::Lattice, 5);
    OddMesh mesh(clouds::cloud(places, 30), 1.0, random);
    OddMesh other(mesh.centres, 3.0, random);
    CSolInterpolation engine;
    mesh.enter(engine, mesh.centres.count());
    const auto compareAll = [&](const OddMesh& with, int cells)
    {
        for (int t = 0; t < 200; ++t)
        {
            const std::array<double, 3> p = places.next();
            ASSERT_EQ(engine.SetDataPoint(p[0], p[1], p[2]), with.cellOf(*engine.m_pSearchTree, cells, p));
        }
    };
    compareAll(mesh, mesh.centres.count());
    engine.m_pNodeX = other.nodes.x.data();
    engine.m_pNodeY = other.nodes.y.data();
    engine.m_pNodeZ = other.nodes.z.data();
    engine.m_ppCellNode = other.row.data();
    compareAll(other, mesh.centres.count());
    engine.m_nCell = 9;
    compareAll(other, 9);
    other.nodes = OddMesh(mesh.centres, 0.5, random).nodes;
    engine.m_pSearchTree->ForgetCellBoxes();
    engine.m_pNodeX = other.nodes.x.data();
    engine.m_pNodeY = other.nodes.y.data();
    engine.m_pNodeZ = other.nodes.z.data();
    compareAll(other, 9);
    engine.SetBaseData_PartitionCell(0, nullptr, nullptr, nullptr);
    engine.m_pSearchTree->Insert(0.1, 0.2, 0.3);
    compareAll(other, 9);
}

} // namespace tree_queries_test
