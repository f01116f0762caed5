#include "common/numbered_span.h"

#include <gtest/gtest.h>

#include <array>
#include <type_traits>
#include <vector>

namespace numbered_span_test
{

using tav3d::common::listItems;
using tav3d::common::NumberedSpan;

static_assert(std::is_convertible_v<NumberedSpan<float>, NumberedSpan<const float>>);
static_assert(!std::is_convertible_v<NumberedSpan<const float>, NumberedSpan<float>>);

TEST(NumberedSpan, items_are_the_entries_of_the_array_by_their_numbers)
{
    std::array<int, 4> array = {0, 10, 20, 30};
    const NumberedSpan<int> span(array.data(), 3);
    EXPECT_EQ(span.count(), 3);
    EXPECT_EQ(span[0], 0);
    EXPECT_EQ(span[1], 10);
    EXPECT_EQ(span[3], 30);
    span[2] = 21;
    const NumberedSpan<const int> reading = span;
    EXPECT_EQ(reading[2], 21);
    EXPECT_EQ(reading.data(), array.data());
}

TEST(NumberedSpan, without_an_array_there_are_no_items)
{
    const NumberedSpan<const int> none;
    EXPECT_EQ(none.count(), 0);
    EXPECT_EQ(none.data(), nullptr);
}

TEST(CountedLists, items_stand_behind_the_count)
{
    const int row[] = {2, 8, 9, 4};
    EXPECT_EQ(std::vector<int>(listItems(row).begin(), listItems(row).end()), (std::vector<int>{8, 9}));
}

TEST(CountedLists, a_missing_row_and_a_count_below_one_have_no_items)
{
    const int none[] = {0, 8};
    const int negative[] = {-1, 8};
    EXPECT_TRUE(listItems(nullptr).empty());
    EXPECT_TRUE(listItems(none).empty());
    EXPECT_TRUE(listItems(negative).empty());
}

} // namespace numbered_span_test
