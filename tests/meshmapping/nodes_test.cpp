#include "meshmapping/nodes.h"

#include <gtest/gtest.h>

#include <limits>
#include <random>
#include <vector>

namespace tav3d::meshmapping::nodes_test
{
namespace
{

std::vector<unsigned char> marksAt(int n, std::initializer_list<int> nodes)
{
    std::vector<unsigned char> mark(static_cast<std::size_t>(n) + 1, 0);
    for (int node : nodes)
        mark[static_cast<std::size_t>(node)] = 1;
    return mark;
}

NumberedSpan<const unsigned char> view(const std::vector<unsigned char>& mark)
{
    return {mark.data(), static_cast<int>(mark.size()) - 1};
}

TEST(RenumberingList, holds_the_marked_nodes_in_ascending_order)
{
    const auto mark = marksAt(10, {2, 5, 9});
    int count = 0;
    const auto list = listMarkedNodes(view(mark), count);
    EXPECT_EQ(count, 3);
    EXPECT_EQ(std::vector<int>(list.get(), list.get() + 4), (std::vector<int>{0, 2, 5, 9}));
}

TEST(RenumberingList, without_marks_is_one_zero)
{
    const auto mark = marksAt(4, {});
    int count = 0;
    const auto list = listMarkedNodes(view(mark), count);
    EXPECT_EQ(count, 0);
    EXPECT_EQ(list[0], 0);
}

TEST(RenumberingList, lists_random_marks_of_any_value_as_one_test_per_node_does)
{
    std::mt19937 random(5);
    for (int round = 0; round < 100000; ++round)
    {
        std::vector<unsigned char> mark(random() % 24 + 1);
        const unsigned one = random() % 5 + 1; // of how many nodes
        const bool oneValue = random() % 2 == 0;
        for (unsigned char& m : mark)
            m = random() % one == 0 ? static_cast<unsigned char>(oneValue ? 1 : random() % 3 * 127) : 0;
        const int start = static_cast<int>(random() % 3);
        std::vector<int> expected{0};
        for (std::size_t node = 1; node < mark.size(); ++node)
            if (mark[node] != 0)
                expected.push_back(static_cast<int>(node));
        int count = start;
        const auto list = listMarkedNodes(view(mark), count);
        ASSERT_EQ(count, start + static_cast<int>(expected.size()) - 1);
        expected.resize(static_cast<std::size_t>(count) + 1);
        ASSERT_TRUE(std::equal(expected.begin(), expected.end(), list.get()));
    }
}

// DELIBERATE renumber-count-grows
TEST(RenumberingList, a_count_above_zero_on_entry_makes_the_array_longer_and_adds_no_entries)
{
    const auto mark = marksAt(10, {2, 5, 9});
    int count = 2;
    const auto list = listMarkedNodes(view(mark), count);
    EXPECT_EQ(count, 5);
    EXPECT_EQ(std::vector<int>(list.get(), list.get() + 6), (std::vector<int>{0, 2, 5, 9, 0, 0}));
}

TEST(RenumberingList, a_count_below_zero_on_entry_never_makes_it_shorter_than_its_list)
{
    const auto mark = marksAt(10, {2, 5, 9});
    int count = -3;
    const auto list = listMarkedNodes(view(mark), count);
    EXPECT_EQ(count, 0);
    EXPECT_EQ(list[3], 9);
}

// DELIBERATE part-insert-node-report
TEST(MoldBaseMarks, gain_the_part_insert_nodes_and_report_each_once)
{
    const auto insert = marksAt(5, {1, 3, 5});
    bool mold[6] = {false, false, false, true, false, false};
    testing::internal::CaptureStdout();
    addPartInsertToMoldBase(view(insert), NumberedSpan<bool>(mold, 5));
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "node ID = 1\nnode ID = 5\n");
    EXPECT_EQ(std::vector<bool>(mold, mold + 6), (std::vector<bool>{false, true, false, true, false, true}));
}

TEST(DistantNodes, order_by_distance_then_number_with_unknown_distances_last)
{
    const double nan = std::numeric_limits<double>::quiet_NaN();
    std::vector<DistantNode> nodes{{nan, 2}, {2.0, 9}, {nan, 1}, {0.0, 7}, {2.0, 3}, {std::numeric_limits<double>::infinity(), 4}};
    std::sort(nodes.begin(), nodes.end(), isNearer);
    std::vector<int> numbers;
    for (const auto& n : nodes)
        numbers.push_back(n.node);
    EXPECT_EQ(numbers, (std::vector<int>{7, 3, 9, 4, 1, 2}));
}

TEST(RowTables, release_hands_over_rows_that_are_zero_and_separate)
{
    RowTable<int> table(2, 3);
    EXPECT_EQ(table.rowTotal(), 3);
    table[1][2] = 7;
    int** rows = table.release();
    EXPECT_FALSE(table);
    EXPECT_EQ(rows[0][0] + rows[1][0] + rows[2][2], 0);
    EXPECT_EQ(rows[1][2], 7);
    deleteRows(rows, 3);
}

TEST(RowTables, a_negative_size_still_has_row_zero)
{
    const RowTable<float> table(-4, 2);
    ASSERT_EQ(table.rowTotal(), 1);
    EXPECT_EQ(table[0][1], 0.0f);
}

} // namespace
} // namespace tav3d::meshmapping::nodes_test
