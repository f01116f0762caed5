#include "interpolation/point_search_tree.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <deque>
#include <limits>
#include <memory>
#include <random>

namespace point_search_tree_test
{

using Candidates = CPointSearchTree::Candidates;
using List = std::vector<std::int32_t>;

namespace
{

static_assert(sizeof(CPointSearchTree::TreeNode) == 9 * sizeof(std::int32_t));

constexpr double notANumber = std::numeric_limits<double>::quiet_NaN();

CPointSearchTree unitTree()
{
    return {0, 1, 0, 1, 0, 1};
}

int nearest(CPointSearchTree& tree, double x, double y, double z)
{
    double distance = 0;
    return tree.SearchNearestPointIndex(x, y, z, distance);
}

List candidates(CPointSearchTree& tree, double x, double y, double z)
{
    Candidates result;
    EXPECT_EQ(tree.SearchCandidates(x, y, z, result), 1);
    return {result.number.begin(), result.number.begin() + result.count};
}

List box(CPointSearchTree& tree, double x, double y, double z, double r)
{
    List list;
    tree.SearchBox(x, y, z, r, list);
    return list;
}

/// The same rules over linked nodes without tables, capacities or work lists; written to disagree with the tree wherever that goes wrong.
class Oracle
{
public:
    explicit Oracle(double halfSize)
        : tolerance_(1e-6 * std::min(1.0, halfSize))
    {
    }

    void insert(double x, double y, double z)
    {
        const int number = static_cast<int>(points_.size());
        points_.push_back({x, y, z});
        Node* node = &root_;
        for (;;)
        {
            if (!node->child.empty())
                node = &node->child[octant(*node, points_.back())];
            else if (node->points.size() == 8)
                split(*node);
            else
                break;
        }
        for (const int p : node->points)
            if (!(squared(p, points_.back()) > tolerance_ * tolerance_))
                return;
        node->points.push_back(number);
    }

    [[nodiscard]] int nearest(double x, double y, double z, double& distance) const
    {
        distance = -1.0;
        int best = -1;
        for (const int p : grown({x, y, z}, 1))
            if (best < 0 || squared(p, {x, y, z}) < distance)
            {
                best = p;
                distance = squared(p, {x, y, z});
            }
        return best;
    }

    [[nodiscard]] List candidates(double x, double y, double z) const
    {
        List list = grown({x, y, z}, 2);
        std::vector<double> d;
        for (const int p : list)
            d.push_back(squared(p, {x, y, z}));
        // Shell's method from a table of gaps, by exchanges
        for (const std::size_t gap : {88573, 29524, 9841, 3280, 1093, 364, 121, 40, 13, 4, 1})
            if (gap <= list.size())
                for (std::size_t i = gap; i < list.size(); ++i)
                    for (std::size_t j = i; j >= gap && d[j - gap] > d[j]; j -= gap)
                    {
                        std::swap(d[j - gap], d[j]);
                        std::swap(list[j - gap], list[j]);
                    }
        if (list.size() > 10)
            list.resize(10);
        for (int& p : list)
            ++p;
        return list;
    }

private:
    using P = std::array<double, 3>;
    struct Node
    {
        std::vector<int> points;
        P centre{};
        std::vector<Node> child;
    };

    static std::size_t octant(const Node& node, const P& p)
    {
        std::size_t o = 0;
        for (std::size_t axis = 0; axis < 3; ++axis)
            if (p[axis] >= node.centre[axis])
                o |= std::size_t{1} << axis;
        return o;
    }

    void split(Node& node)
    {
        for (std::size_t axis = 0; axis < 3; ++axis)
        {
            double sum = 0;
            for (const int p : node.points)
                sum += points_[static_cast<std::size_t>(p)][axis];
            node.centre[axis] = sum / 8;
        }
        node.child.resize(8);
        for (const int p : node.points)
            node.child[octant(node, points_[static_cast<std::size_t>(p)])].points.push_back(p);
    }

    [[nodiscard]] double squared(int p, const P& q) const
    {
        const P& a = points_[static_cast<std::size_t>(p)];
        return (a[0] - q[0]) * (a[0] - q[0]) + (a[1] - q[1]) * (a[1] - q[1]) + (a[2] - q[2]) * (a[2] - q[2]);
    }

    [[nodiscard]] List grown(const P& q, std::size_t wanted) const
    {
        List list;
        for (double r = 5 * 1e-6;; r = 5 * r)
        {
            list.clear();
            // breadth first over the whole tree: nothing is pruned
            std::deque<const Node*> queue{&root_};
            while (!queue.empty())
            {
                const Node* node = queue.front();
                queue.pop_front();
                for (const Node& child : node->child)
                    queue.push_back(&child);
                if (node->child.empty())
                    for (const int p : node->points)
                    {
                        const P& a = points_[static_cast<std::size_t>(p)];
                        if (std::abs(q[0] - a[0]) < r && std::abs(q[1] - a[1]) < r && std::abs(q[2] - a[2]) < r)
                            list.push_back(p);
                    }
            }
            if (list.size() >= wanted || r >= 5.0)
                return list;
        }
    }

    double tolerance_;
    std::vector<P> points_;
    Node root_;
};

void expectAgreement(CPointSearchTree& tree, const Oracle& oracle, double x, double y, double z)
{
    SCOPED_TRACE(::testing::Message() << x << ' ' << y << ' ' << z);
    double expected = 0;
    double distance = 0;
    const int number = oracle.nearest(x, y, z, expected);
    EXPECT_EQ(tree.SearchNearestPointIndex(x, y, z, distance), number);
    EXPECT_EQ(distance, expected);
    EXPECT_EQ(candidates(tree, x, y, z), oracle.candidates(x, y, z));
}

} // namespace

TEST(PointSearchTree, new_tree_is_one_empty_leaf)
{
    CPointSearchTree tree(-1, 3, 0, 1, 0, 1);
    EXPECT_EQ(tree.m_nTreeNode, 1);
    EXPECT_EQ(tree.m_nTreeNodeCapacity, 10000);
    EXPECT_EQ(tree.m_nLastPoint, -1);
    EXPECT_EQ(tree.m_bCanGrow, 1);
    EXPECT_EQ(tree.m_dHalfSize, 2.0);
    EXPECT_GE(tree.m_Point.capacity(), 10000u);
    EXPECT_EQ(tree.m_pTreeNode[1].state, 0);
    double distance = 0;
    EXPECT_EQ(tree.SearchNearestPointIndex(0, 0, 0, distance), -1);
    EXPECT_EQ(distance, -1.0);
    EXPECT_TRUE(candidates(tree, 0, 0, 0).empty());
}

TEST(PointSearchTree, candidates_leave_the_result_alone_when_nothing_is_in_reach)
{
    CPointSearchTree tree = unitTree();
    Candidates result;
    result.count = 7;
    result.number[0] = 42;
    EXPECT_EQ(tree.SearchCandidates(0, 0, 0, result), 1);
    EXPECT_EQ(result.count, 7);
    EXPECT_EQ(result.number[0], 42);
}

// DELIBERATE tree-duplicate-number
TEST(PointSearchTree, duplicate_gets_the_next_number_and_is_never_found)
{
    CPointSearchTree tree = unitTree(); // half size 0.5: the tolerance is 5e-7
    tree.Insert(0.5, 0.5, 0.5);
    tree.Insert(0.5, 0.5, 0.5);
    EXPECT_EQ(tree.m_nLastPoint, 1);
    tree.Insert(0.5 + 4e-7, 0.5, 0.5);
    EXPECT_EQ(tree.m_nLastPoint, 2);
    tree.Insert(0.75, 0.5, 0.5);
    EXPECT_EQ(tree.m_nLastPoint, 3);
    EXPECT_EQ(tree.m_Point.size(), 4u);
    EXPECT_EQ(tree.m_pTreeNode[1].state, 2);
    EXPECT_EQ(nearest(tree, 0.5, 0.5, 0.5), 0);
    EXPECT_EQ(nearest(tree, 0.5 + 4e-7, 0.5, 0.5), 0);
    EXPECT_EQ(candidates(tree, 0.5, 0.5, 0.5), (List{1, 4}));
}

TEST(PointSearchTree, tolerance_follows_half_sizes_below_one)
{
    CPointSearchTree small(0, 0.2, 0, 0.1, 0, 0.1); // half size 0.1, tolerance 1e-7
    small.Insert(0, 0, 0);
    small.Insert(0.9e-7, 0, 0);
    small.Insert(1.1e-7, 0, 0);
    EXPECT_EQ(small.m_pTreeNode[1].state, 2);
    EXPECT_EQ(small.m_pTreeNode[1].slot[1], 2);
}

TEST(PointSearchTree, tolerance_stops_growing_at_half_size_one)
{
    CPointSearchTree large(0, 2000, 0, 1, 0, 1);
    large.Insert(0, 0, 0);
    large.Insert(0.9e-6, 0, 0);
    large.Insert(1.1e-6, 0, 0);
    EXPECT_EQ(large.m_pTreeNode[1].state, 2);
    EXPECT_EQ(large.m_pTreeNode[1].slot[1], 2);
}

TEST(PointSearchTree, without_a_range_only_equal_points_are_duplicates)
{
    CPointSearchTree tree(0, 0, 0, 0, 0, 0);
    tree.Insert(1, 1, 1);
    tree.Insert(1, 1, 1);
    tree.Insert(1 + 1e-12, 1, 1);
    EXPECT_EQ(tree.m_pTreeNode[1].state, 2);
}

TEST(PointSearchTree, duplicates_are_sought_in_the_leaf_only)
{
    // The ninth point splits the root at x = 0.5 exactly; a point just below the plane does not meet its neighbour just above.
    CPointSearchTree tree = unitTree();
    for (const double x : {0.0, 0.1, 0.2, 0.3, 0.7, 0.8, 0.9})
        tree.Insert(x, 0, 0);
    tree.Insert(1.0, 0, 0);
    tree.Insert(0.5, 0, 0);
    const double below = tree.m_pNodeCenter[1].x - 1e-9;
    ASSERT_NEAR(below, 0.5, 1e-8);
    tree.Insert(below, 0, 0);
    EXPECT_EQ(nearest(tree, below, 0, 0), 9);
}

TEST(PointSearchTree, ninth_point_splits_the_root_at_the_centroid)
{
    CPointSearchTree tree = unitTree();
    for (int i = 0; i < 8; ++i)
        tree.Insert(i & 1, (i >> 1) & 1, (i >> 2) & 1);
    EXPECT_EQ(tree.m_pTreeNode[1].state, 8);
    tree.Insert(0.9, 0.2, 0.7);
    EXPECT_EQ(tree.m_nTreeNode, 9);
    EXPECT_EQ(tree.m_pTreeNode[1].state, -1);
    for (std::int32_t o = 0; o < 8; ++o)
        EXPECT_EQ(tree.m_pTreeNode[1].slot[static_cast<std::size_t>(o)], 2 + o);
    EXPECT_EQ(tree.m_pNodeCenter[1].x, 0.5);
    EXPECT_EQ(tree.m_pNodeCenter[1].y, 0.5);
    EXPECT_EQ(tree.m_pNodeCenter[1].z, 0.5);
    // octant 6: upper x, lower y, upper z
    EXPECT_EQ(tree.m_pTreeNode[7].state, 2);
    EXPECT_EQ(tree.m_pTreeNode[7].slot[0], 5);
    EXPECT_EQ(tree.m_pTreeNode[7].slot[1], 8);
}

TEST(PointSearchTree, point_on_a_centre_plane_lies_on_the_upper_side)
{
    CPointSearchTree tree = unitTree();
    for (int i = 0; i < 8; ++i)
        tree.Insert(i & 1, (i >> 1) & 1, (i >> 2) & 1);
    tree.Insert(0.5, 0.5, 0.5);
    EXPECT_EQ(tree.m_pTreeNode[9].slot[1], 8); // octant 8
    tree.Insert(0.5, 0.25, 0.25);
    EXPECT_EQ(tree.m_pTreeNode[3].slot[1], 9); // octant 2
}

TEST(PointSearchTree, inserted_point_is_found_at_distance_zero)
{
    CPointSearchTree tree = unitTree();
    tree.Insert(0.1, 0.2, 0.3);
    tree.Insert(0.1 + 4e-6, 0.2, 0.3); // within the first cube as well
    tree.Insert(0.1 + 6e-6, 0.2, 0.3); // beyond the first cube
    double distance = -5;
    EXPECT_EQ(tree.SearchNearestPointIndex(0.1, 0.2, 0.3, distance), 0);
    EXPECT_EQ(distance, 0.0);
    EXPECT_EQ(candidates(tree, 0.1, 0.2, 0.3), (List{1, 2})) << "two points fill the first cube; the third is not looked for";
}

// DELIBERATE nearest-counts-from-zero
TEST(PointSearchTree, nearest_counts_from_zero_and_candidates_from_one)
{
    CPointSearchTree tree = unitTree();
    tree.Insert(0, 0, 0);
    tree.Insert(3, 4, 0);
    double distance = 0;
    EXPECT_EQ(tree.SearchNearestPointIndex(3, 4, 2, distance), 1);
    EXPECT_EQ(distance, 4.0) << "squared";
    EXPECT_EQ(candidates(tree, 3, 4, 2).front(), 2);
}

TEST(PointSearchTree, equally_near_points_go_to_the_one_visited_first)
{
    CPointSearchTree tree = unitTree();
    tree.Insert(1, 0, 0);
    tree.Insert(-1, 0, 0);
    EXPECT_EQ(nearest(tree, 0, 0, 0), 0);

    // After a split the octant decides, not the number: 8 lies in octant 1 and is visited before 0 in octant 2.
    CPointSearchTree split = unitTree();
    split.Insert(1, -0.25, -0.25);
    for (int i = 0; i < 7; ++i)
        split.Insert(i < 3 ? -3 - i : i, 0, 0);
    split.Insert(-1, -0.25, -0.25);
    ASSERT_EQ(split.m_pTreeNode[1].state, -1);
    const tav3d::interpolation::Point centre = split.m_pNodeCenter[1];
    ASSERT_LT(centre.x, 1);
    ASSERT_GE(centre.x, -1);
    EXPECT_EQ(nearest(split, 0, -0.25, -0.25), 8);
}

// DELIBERATE search-range
TEST(PointSearchTree, nothing_is_found_beyond_the_largest_cube)
{
    CPointSearchTree tree = unitTree();
    tree.Insert(0, 0, 0);
    double distance = 0;
    EXPECT_EQ(tree.SearchNearestPointIndex(9.765, 0, 0, distance), 0);
    EXPECT_EQ(distance, 9.765 * 9.765);
    EXPECT_EQ(tree.SearchNearestPointIndex(9.7657, 0, 0, distance), -1);
    EXPECT_EQ(distance, -1.0);
    EXPECT_TRUE(candidates(tree, 9.7657, 0, 0).empty());
    EXPECT_EQ(nearest(tree, 9.7, 9.7, 9.7), 0) << "a cube, not a sphere";
    EXPECT_EQ(nearest(tree, 1000, 0, 0), -1);
}

TEST(PointSearchTree, cube_is_open_on_every_axis)
{
    CPointSearchTree tree = unitTree();
    tree.Insert(1, 0, 0);
    tree.Insert(0, 1, 0);
    tree.Insert(0, 0, 1);
    EXPECT_TRUE(box(tree, 0, 0, 0, 1.0).empty());
    EXPECT_EQ(box(tree, 0, 0, 0, 1.0 + 1e-15).size(), 3u);
}

// DELIBERATE candidates-need-two
TEST(PointSearchTree, candidates_widen_until_there_are_two)
{
    CPointSearchTree tree = unitTree();
    tree.Insert(0, 0, 0);
    tree.Insert(3, 0, 0);
    EXPECT_EQ(candidates(tree, 0, 0, 0), (List{1, 2}));
    CPointSearchTree lonely = unitTree();
    lonely.Insert(0, 0, 0);
    EXPECT_EQ(candidates(lonely, 1, 1, 1), (List{1}));
}

TEST(PointSearchTree, of_fifteen_points_the_ten_nearest_are_candidates)
{
    CPointSearchTree tree = unitTree();
    for (int i = 15; i >= 1; --i)
        tree.Insert(5.0 + 0.1 * i, 0, 0); // within the cube of half-width 9.77, but not of 1.95
    List expected;
    for (int i = 1; i <= 10; ++i)
        expected.push_back(16 - i);
    EXPECT_EQ(candidates(tree, 0, 0, 0), expected);
}

TEST(PointSearchTree, query_that_is_not_a_number_finds_nothing)
{
    CPointSearchTree tree = unitTree();
    for (int i = 0; i < 20; ++i)
        tree.Insert(0.05 * i, 0.03 * i, 0.01 * i);
    for (const auto& q : {std::array{notANumber, 0.1, 0.1}, std::array{0.1, notANumber, 0.1}, std::array{0.1, 0.1, notANumber}})
    {
        double distance = 0;
        EXPECT_EQ(tree.SearchNearestPointIndex(q[0], q[1], q[2], distance), -1);
        EXPECT_EQ(distance, -1.0);
        EXPECT_TRUE(candidates(tree, q[0], q[1], q[2]).empty());
    }
}

TEST(PointSearchTree, points_that_are_not_finite_keep_their_numbers_and_hide_no_others)
{
    CPointSearchTree tree = unitTree();
    const double inf = std::numeric_limits<double>::infinity();
    for (int i = 0; i < 20; ++i)
        tree.Insert(i % 2 ? notANumber : inf, 0, 0);
    for (int i = 0; i < 20; ++i)
        tree.Insert(0.05 * i, 0, 0);
    EXPECT_EQ(tree.m_nLastPoint, 39);
    for (int i = 0; i < 20; ++i)
        EXPECT_EQ(nearest(tree, 0.05 * i, 0, 0), 20 + i);
}

TEST(PointSearchTree, points_within_rounding_of_each_other_do_not_split_for_ever)
{
    CPointSearchTree tree(0, 0, 0, 0, 0, 0); // no tolerance
    const double y = 0.1;                    // the sum of eight is above eight times 0.1 by rounding, so all lie on one side
    double x = 1e15;
    for (int i = 0; i < 100; ++i, x = std::nextafter(x, 1e16))
        tree.Insert(x, y, y);
    EXPECT_EQ(tree.m_nLastPoint, 99);
    EXPECT_LT(tree.m_nTreeNode, 10000);
    const double huge = std::numeric_limits<double>::max();
    CPointSearchTree overflow(0, 0, 0, 0, 0, 0);
    for (int i = 0; i < 9; ++i)
        overflow.Insert(huge / (i + 1), huge, huge); // the sum of eight is infinite
    EXPECT_EQ(overflow.m_nLastPoint, 8);
    EXPECT_EQ(nearest(overflow, huge, huge, huge), 0);
}

TEST(PointSearchTree, node_table_grows_by_half_but_at_least_to_one_hundred)
{
    CPointSearchTree tree = unitTree();
    tree.m_nTreeNodeCapacity = 16; // as if only so many had been allocated
    for (int i = 0; i < 9; ++i)
        tree.Insert(0.1 * i, 0, 0);
    EXPECT_EQ(tree.m_nTreeNodeCapacity, 100);
    EXPECT_EQ(tree.m_bCanGrow, 0);
    EXPECT_EQ(tree.m_nTreeNode, 9);
    for (int i = 0; i < 9; ++i)
        EXPECT_EQ(nearest(tree, 0.1 * i, 0, 0), i);

    CPointSearchTree large = unitTree();
    std::mt19937 random(7);
    std::uniform_real_distribution<double> in(0, 1);
    while (large.m_nTreeNodeCapacity == 10000)
        large.Insert(in(random), in(random), in(random));
    EXPECT_EQ(large.m_nTreeNodeCapacity, 15000);
    EXPECT_GT(large.m_nTreeNode, 9984);
}

// DELIBERATE tree-growth-pause
TEST(PointSearchTree, point_is_dropped_without_a_number_when_growth_is_paused)
{
    CPointSearchTree tree = unitTree();
    for (int i = 0; i < 8; ++i)
        tree.Insert(0.1 * i, 0, 0);
    tree.m_nTreeNodeCapacity = 16;
    tree.m_bCanGrow = 0; // as after a split that grew
    tree.Insert(0.85, 0, 0);
    EXPECT_EQ(tree.m_nLastPoint, 7);
    EXPECT_EQ(tree.m_Point.size(), 8u);
    EXPECT_EQ(tree.m_pTreeNode[1].state, 8);
    tree.m_nTreeNodeCapacity = 10000;
    tree.Insert(0.85, 0, 0);
    EXPECT_EQ(tree.m_nLastPoint, 8);
    EXPECT_EQ(tree.m_bCanGrow, 1) << "a split without growth ends the pause";
}

TEST(PointSearchTree, more_points_than_reserved_keep_their_numbers)
{
    CPointSearchTree tree(0, 100, 0, 100, 0, 100);
    std::mt19937 random(3);
    std::uniform_real_distribution<double> in(0, 100);
    std::vector<std::array<double, 3>> points;
    for (int i = 0; i < 30000; ++i)
    {
        points.push_back({in(random), in(random), in(random)});
        tree.Insert(points.back()[0], points.back()[1], points.back()[2]);
    }
    EXPECT_EQ(tree.m_nLastPoint, 29999);
    for (int i = 0; i < 30000; i += 611)
    {
        const auto& p = points[static_cast<std::size_t>(i)];
        EXPECT_EQ(nearest(tree, p[0], p[1], p[2]), i);
    }
}

TEST(PointSearchTree, range_search_agrees_with_comparing_every_point)
{
    // Points and edges of the cubes on one lattice, so that edges meet centre planes and points; then everything out of step.
    std::mt19937 random(13);
    std::uniform_int_distribution<int> at(0, 16);
    std::uniform_real_distribution<double> shift(0, 1.0 / 64);
    for (const auto& [uneven, scale] : {std::pair{0.0, 1.0}, std::pair{1.0, 1.0}, std::pair{1.0, 0.01}})
    {
        CPointSearchTree tree = unitTree();
        const auto coordinate = [&, u = uneven, s = scale] { return s * (at(random) / 16.0 + u * shift(random)); };
        for (int i = 0; i < 1000; ++i)
        {
            const double x = coordinate(), y = coordinate(), z = coordinate();
            if (box(tree, x, y, z, 1e-5).empty()) // no duplicates
                tree.Insert(x, y, z);
        }
        for (int i = 0; i < 500; ++i)
        {
            const double x = coordinate(), y = coordinate(), z = coordinate(), r = 0.5 * coordinate();
            List expected;
            for (std::size_t p = 0; p < tree.m_Point.size(); ++p)
                if (std::abs(x - tree.m_Point[p].x) < r && std::abs(y - tree.m_Point[p].y) < r && std::abs(z - tree.m_Point[p].z) < r)
                    expected.push_back(static_cast<std::int32_t>(p));
            List found = box(tree, x, y, z, r);
            std::sort(found.begin(), found.end());
            ASSERT_EQ(found, expected) << x << ' ' << y << ' ' << z << ' ' << r;
        }
    }
}

TEST(PointSearchTree, random_points_agree_with_the_same_rules_written_plainly)
{
    for (const double size : {0.05, 1.0, 4.0, 40.0})
    {
        CPointSearchTree tree(0, size, 0, size, 0, size);
        Oracle oracle(0.5 * size);
        std::mt19937 random(11);
        std::uniform_real_distribution<double> in(0, size);
        for (int i = 0; i < 700; ++i)
        {
            const double x = in(random), y = in(random), z = in(random);
            tree.Insert(x, y, z);
            oracle.insert(x, y, z);
        }
        for (int i = 0; i < 150; ++i)
            expectAgreement(tree, oracle, 1.2 * in(random)-0.1 * size, in(random), in(random));
    }
}

TEST(PointSearchTree, lattice_points_full_of_ties_agree_with_the_same_rules_written_plainly)
{
    CPointSearchTree tree(0, 8, 0, 8, 0, 8);
    Oracle oracle(4);
    std::mt19937 random(5);
    std::uniform_int_distribution<int> in(0, 7);
    for (int i = 0; i < 900; ++i) // repeated places: duplicates
    {
        const double x = in(random), y = in(random), z = in(random);
        tree.Insert(x, y, z);
        oracle.insert(x, y, z);
    }
    for (int i = 0; i < 200; ++i)
        expectAgreement(tree, oracle, 0.5 * in(random), 0.5 * in(random) + 0.5, 0.5 * in(random));
}

} // namespace point_search_tree_test
