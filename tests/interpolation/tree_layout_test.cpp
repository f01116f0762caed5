// A search tree filled at once against the same tree filled point by point.

#include "interpolation/point_search_tree.h"
#include "point_clouds.h"

#include <gtest/gtest.h>

#include <cstring>

namespace tree_layout_test
{

using clouds::Kind;
using clouds::Places;
using meshes::Points;

namespace
{

/// Returns the number of nodes.
int compare(const Points& points, double halfSize)
{
    CPointSearchTree single(-halfSize, halfSize, 0, 0, 0, 0);
    for (std::size_t i = 1; i < points.x.size(); ++i)
        single.Insert(points.x[i], points.y[i], points.z[i]);
    CPointSearchTree whole(-halfSize, halfSize, 0, 0, 0, 0);
    whole.InsertAll({points.x.data(), points.y.data(), points.z.data(), points.count()});

    EXPECT_EQ(whole.m_nLastPoint, single.m_nLastPoint);
    EXPECT_EQ(whole.m_nTreeNodeCapacity, single.m_nTreeNodeCapacity);
    EXPECT_EQ(whole.m_bCanGrow, single.m_bCanGrow);
    EXPECT_EQ(whole.m_Point.size(), single.m_Point.size());
    EXPECT_EQ(whole.m_Point.capacity(), single.m_Point.capacity());
    if (whole.m_Point.size() == single.m_Point.size() && !whole.m_Point.empty())
    {
        EXPECT_EQ(std::memcmp(whole.m_Point.data(), single.m_Point.data(), single.m_Point.size() * sizeof single.m_Point[0]), 0);
    }
    EXPECT_EQ(whole.m_nTreeNode, single.m_nTreeNode);
    if (whole.m_nTreeNode == single.m_nTreeNode)
    {
        const std::size_t nodes = static_cast<std::size_t>(single.m_nTreeNode) + 1;
        EXPECT_EQ(std::memcmp(whole.m_pTreeNode.get(), single.m_pTreeNode.get(), nodes * sizeof single.m_pTreeNode[0]), 0);
        EXPECT_EQ(std::memcmp(whole.m_pNodeCenter.get(), single.m_pNodeCenter.get(), nodes * sizeof single.m_pNodeCenter[0]), 0);
    }
    return single.m_nTreeNode;
}

} // namespace

TEST(TreeLayout, small_trees_filled_at_once_are_those_of_single_insertions)
{
    int nodes = 0;
    for (const Kind kind : clouds::allKinds)
    {
        SCOPED_TRACE(static_cast<int>(kind));
        Places places(kind, 1);
        for (int round = 0; round < 1500; ++round)
            nodes += compare(clouds::cloud(places, round % 60), round % 3 == 0 ? 0.05 : 3.0);
    }
    EXPECT_GT(nodes, 100000);
}

TEST(TreeLayout, large_trees_filled_at_once_are_those_of_single_insertions)
{
    for (const Kind kind : clouds::allKinds)
    {
        SCOPED_TRACE(static_cast<int>(kind));
        Places places(kind, 2);
        compare(clouds::cloud(places, 3000), 1.0);
    }
    Places places(Kind::Scattered, 3);
    EXPECT_GT(compare(clouds::cloud(places, 40000), 1.0), 15000) << "the table grows";
}

TEST(TreeLayout, points_in_mesh_order_make_the_deep_tree_of_single_insertions)
{
    EXPECT_GT(compare(meshes::grid(24, 24.0).node, 12.0), 20000);
    EXPECT_GT(compare(meshes::grid(24, 24.0, 0.3).node, 12.0), 5000);
    Points line;
    for (int i = 0; i < 2000; ++i)
        line.add(i, 0, 0);
    compare(line, 1000.0);
}

TEST(TreeLayout, points_that_no_split_parts_are_refused_by_both)
{
    Points points;
    double x = 1e15;
    for (int i = 0; i < 100; ++i, x = std::nextafter(x, 1e16))
        points.add(x, 0.1, 0.1);
    compare(points, 0.0);
    // The table grows at a split that does not part the points.
    Places places(Kind::Scattered, 4);
    Points many = clouds::cloud(places, 20000);
    for (std::size_t i = 1; i <= 100; ++i)
        for (int repeat = 0; repeat < 100; ++repeat)
            many.add(points.x[i], points.y[i], points.z[i]);
    compare(many, 0.0);
}

TEST(TreeLayout, points_inserted_later_go_on_from_there)
{
    Places places(Kind::Scattered, 5);
    const Points first = clouds::cloud(places, 500);
    const Points second = clouds::cloud(places, 500);
    CPointSearchTree single(0, 1, 0, 1, 0, 1);
    CPointSearchTree whole(0, 1, 0, 1, 0, 1);
    for (const Points* points : {&first, &second})
    {
        for (std::size_t i = 1; i < points->x.size(); ++i)
            single.Insert(points->x[i], points->y[i], points->z[i]);
        whole.InsertAll({points->x.data(), points->y.data(), points->z.data(), points->count()});
    }
    ASSERT_EQ(whole.m_nTreeNode, single.m_nTreeNode);
    EXPECT_EQ(whole.m_nLastPoint, 999);
    const std::size_t nodes = static_cast<std::size_t>(single.m_nTreeNode) + 1;
    EXPECT_EQ(std::memcmp(whole.m_pTreeNode.get(), single.m_pTreeNode.get(), nodes * sizeof single.m_pTreeNode[0]), 0);
}

} // namespace tree_layout_test
