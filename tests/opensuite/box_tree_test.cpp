#include "TAVOptKer.h"

#include "support/case_count.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <random>
#include <utility>
#include <vector>

namespace box_tree_test
{

using tav3d::test::caseCount;

namespace
{

const double notANumber = std::numeric_limits<double>::quiet_NaN();
const double infinity = std::numeric_limits<double>::infinity();

struct Box
{
    std::array<double, 3> low, high;
};

void add(CTAVOptKer& tree, int id, const Box& box)
{
    tree.AddSurfaceToADTree(id, box.high[0], box.high[1], box.high[2], box.low[0], box.low[1], box.low[2]);
}

std::vector<int> search(CTAVOptKer& tree, const Box& box)
{
    int count = -1;
    const int* found = tree.SearchNearBlockID(box.low[0], box.low[1], box.low[2], box.high[0], box.high[1], box.high[2], count, 0);
    return {found, found + count};
}

/// The same by comparing with every box.
class Oracle
{
public:
    void add(int id, const Box& box) { boxes_.emplace_back(id, box); }
    [[nodiscard]] std::vector<int> search(const Box& query) const
    {
        std::vector<int> found;
        for (const auto& [id, box] : boxes_)
        {
            bool overlap = true;
            for (int k = 0; k < 3; ++k)
                overlap = overlap && box.low[k] <= query.high[k] && query.low[k] <= box.high[k];
            if (overlap)
                found.push_back(id);
        }
        std::sort(found.begin(), found.end());
        return found;
    }

private:
    std::vector<std::pair<int, Box>> boxes_;
};

Box randomBox(std::mt19937& random, int extent)
{
    std::uniform_int_distribution<int> at(0, 20);
    std::uniform_int_distribution<int> size(0, extent);
    Box box;
    for (int k = 0; k < 3; ++k)
    {
        box.low[k] = at(random);
        box.high[k] = box.low[k] + size(random);
    }
    return box;
}

const Box unitCube = {{0, 0, 0}, {1, 1, 1}};

} // namespace

TEST(BoxTree, empty_tree_finds_nothing_and_returns_an_address)
{
    CTAVOptKer tree;
    tree.SetADTreeRange(1, 1, 1, 0, 0, 0, 1, 10000, 200000);
    int count = -1;
    EXPECT_NE(tree.SearchNearBlockID(0, 0, 0, 1, 1, 1, count, 0), nullptr);
    EXPECT_EQ(count, 0);
}

TEST(BoxTree, boxes_are_handed_over_upper_corner_first_and_queries_lower_corner_first)
{
    CTAVOptKer tree;
    tree.AddSurfaceToADTree(7, 4, 5, 6, 1, 2, 3);
    int count = 0;
    const int* found = tree.SearchNearBlockID(1.5, 2.5, 3.5, 9, 9, 9, count, 0);
    ASSERT_EQ(count, 1);
    EXPECT_EQ(found[0], 7);
}

TEST(BoxTree, boxes_that_only_touch_count)
{
    CTAVOptKer tree;
    add(tree, 1, unitCube);
    EXPECT_EQ(search(tree, {{1, 1, 1}, {2, 2, 2}}), std::vector<int>{1});
    EXPECT_EQ(search(tree, {{0.5, 0.5, 1}, {0.5, 0.5, 1}}), std::vector<int>{1}); // a point on a face
    EXPECT_TRUE(search(tree, {{0.5, 0.5, std::nextafter(1.0, 2.0)}, {2, 2, 2}}).empty());
}

TEST(BoxTree, numbers_come_ascending_and_a_number_given_twice_comes_twice)
{
    CTAVOptKer tree;
    for (const int id : {5, -3, 9, 5, 0})
        add(tree, id, unitCube);
    EXPECT_EQ(search(tree, unitCube), (std::vector<int>{-3, 0, 5, 5, 9}));
}

TEST(BoxTree, boxes_outside_of_the_announced_range_are_found)
{
    CTAVOptKer tree;
    tree.SetADTreeRange(1, 1, 1, 0, 0, 0, 1, 10000, 200000);
    add(tree, 3, {{50, 50, 50}, {51, 51, 51}});
    EXPECT_EQ(search(tree, {{50, 50, 50}, {50, 50, 50}}), std::vector<int>{3});
}

TEST(BoxTree, boxes_with_nan_or_corners_exchanged_are_never_found)
{
    CTAVOptKer tree;
    add(tree, 1, {{notANumber, 0, 0}, {1, 1, 1}});
    add(tree, 2, {{0, 0, 0}, {1, notANumber, 1}});
    add(tree, 3, {{0, 0, 1}, {1, 1, 0}});
    add(tree, 4, unitCube);
    EXPECT_EQ(search(tree, {{-9, -9, -9}, {9, 9, 9}}), std::vector<int>{4});
}

TEST(BoxTree, queries_with_nan_or_corners_exchanged_find_nothing)
{
    CTAVOptKer tree;
    add(tree, 1, unitCube);
    EXPECT_TRUE(search(tree, {{0, 0, notANumber}, {1, 1, 1}}).empty());
    EXPECT_TRUE(search(tree, {{0, 0, 0}, {1, notANumber, 1}}).empty());
    EXPECT_TRUE(search(tree, {{0.7, 0, 0}, {0.3, 1, 1}}).empty());
    EXPECT_EQ(search(tree, unitCube), std::vector<int>{1});
}

TEST(BoxTree, infinite_boxes_and_queries_are_taken_as_they_are)
{
    CTAVOptKer tree;
    const double big = std::numeric_limits<double>::max();
    add(tree, 1, {{-infinity, -infinity, -infinity}, {infinity, infinity, infinity}});
    add(tree, 2, {{-big, -big, -big}, {big, big, big}});
    add(tree, 3, unitCube);
    add(tree, 4, {{2, 0, 0}, {infinity, 1, 1}});
    EXPECT_EQ(search(tree, {{0, 0, 0}, {1, 1, 1}}), (std::vector<int>{1, 2, 3}));
    EXPECT_EQ(search(tree, {{1e200, 0, 0}, {1e201, 1, 1}}), (std::vector<int>{1, 2, 4}));
    EXPECT_EQ(search(tree, {{-infinity, -infinity, -infinity}, {infinity, infinity, infinity}}), (std::vector<int>{1, 2, 3, 4}));
}

TEST(BoxTree, queries_agree_with_comparing_every_box_while_boxes_keep_coming)
{
    std::mt19937 random(11);
    for (const int extent : {0, 1, 6}) // point boxes on a lattice first: everything touches
    {
        CTAVOptKer tree;
        Oracle oracle;
        int id = 0;
        for (const int batch : {1, 3, 500, 1, 20, 2000, 7, 0, 1000}) // both ways of taking in new boxes
        {
            for (int i = 0; i < batch; ++i)
            {
                const Box box = randomBox(random, extent);
                id = (id + 7919) % 5000; // not ascending
                add(tree, id, box);
                oracle.add(id, box);
            }
            for (int i = 0; i < caseCount(4000); ++i)
            {
                const Box query = randomBox(random, 4);
                ASSERT_EQ(search(tree, query), oracle.search(query));
            }
        }
    }
}

TEST(BoxTree, result_stays_valid_until_the_next_call)
{
    CTAVOptKer tree;
    for (int id = 1; id <= 100; ++id)
        add(tree, id, unitCube);
    int count = 0;
    int* found = tree.SearchNearBlockID(0, 0, 0, 1, 1, 1, count, 0);
    std::vector<int> copy(found, found + count);
    EXPECT_EQ(copy.front(), 1);
    EXPECT_EQ(copy.back(), 100);
    EXPECT_EQ(search(tree, {{2, 2, 2}, {3, 3, 3}}), std::vector<int>{});
    EXPECT_EQ(search(tree, unitCube), copy);
}

} // namespace box_tree_test
