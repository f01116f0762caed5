// Loading of result files against a made-up reader: every error code, unknown ones included, and the calls in their order.

#include "interpolation/resource_file.h"

#include "TAV3DCoolTools.h"
#include "TAV3DResultEngine.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace
{

/// What the made-up library answers, and what it was asked.
struct Library
{
    int beginStatus = 0;
    std::vector<CBinaryResultItem> items;
    std::vector<std::string> calls;
};
Library library;

using tav3d::interpolation::loadFields;

std::string printedFor(int status)
{
    library = {};
    library.beginStatus = status;
    ::testing::internal::CaptureStdout();
    EXPECT_FALSE(loadFields("some.q7f").has_value());
    EXPECT_EQ(library.calls, (std::vector<std::string>{"begin some.q7f"})) << "nothing is asked of a file that did not open";
    return ::testing::internal::GetCapturedStdout();
}

} // namespace

CTAV3DResultReader_Manipulator::CTAV3DResultReader_Manipulator()
    : m_pImpl(nullptr)
{
}
CTAV3DResultReader_Manipulator::~CTAV3DResultReader_Manipulator() = default;

int CTAV3DResultReader_Manipulator::BeginReading(const char* file, const char*)
{
    library.calls.push_back(std::string("begin ") + file);
    return library.beginStatus;
}

int CTAV3DResultReader_Manipulator::EndReading()
{
    library.calls.push_back("end");
    return 0;
}

int CTAV3DResultReader_Manipulator::GetResultItem(int item, float* buffer)
{
    library.calls.push_back("item " + std::to_string(item));
    if (item == 404)
        return -1;
    buffer[0] = 1e30f; // not part of the values
    for (int i = 1; i <= item / 100; ++i)
        buffer[i] = static_cast<float>(item + i);
    return 0;
}

int CBinaryWriteTools::GetBinaryInform(CBinaryInform& inform, CTAV3DResultReader_Manipulator&, int option)
{
    library.calls.push_back("inform " + std::to_string(option));
    inform.m_ResultItem = library.items;
    return 0;
}

int CBinaryWriteTools::GetResultItemDimension(int resultType, CTAV3DResultReader_Manipulator&)
{
    library.calls.push_back("dimension " + std::to_string(resultType));
    return resultType;
}

TEST(ResourceFile, open_errors_are_printed_with_their_code)
{
    EXPECT_EQ(printedFor(-1), "Open Binary File Error!! Error ID=-1  => fileName is NULL!\n");
    EXPECT_EQ(printedFor(-2), "Open Binary File Error!! Error ID=-2  => m_pFile is NULL!\n");
    EXPECT_EQ(printedFor(-3), "Open Binary File Error!! Error ID=-3  => writing result table data to be error!\n");
    EXPECT_EQ(printedFor(-4), "Open Binary File Error!! Error ID=-4  => Not binary file!\n");
}

// DELIBERATE open-error-unknown-code
TEST(ResourceFile, unknown_error_code_ends_without_a_line_end)
{
    EXPECT_EQ(printedFor(-17), "Open Binary File Error!! Error ID=-17  => ");
}

TEST(ResourceFile, items_come_in_the_order_of_the_record)
{
    library = {};
    library.beginStatus = 1; // not negative: no error
    for (const auto& [item, type] : {std::pair{300, 3}, std::pair{200, 2}, std::pair{404, 1}, std::pair{50, 0}})
    {
        library.items.emplace_back();
        library.items.back().m_iResultItemID = item;
        library.items.back().m_iResultType = type;
    }
    const auto fields = loadFields("some.q7f");
    ASSERT_TRUE(fields.has_value());
    ASSERT_EQ(fields->size(), 4u);
    for (int i = 1; i <= 3; ++i)
        EXPECT_EQ((*fields)[0][static_cast<std::size_t>(i)], 300.0f + static_cast<float>(i));
    EXPECT_EQ((*fields)[1][2], 202.0f);
    EXPECT_EQ((*fields)[0][0], 0.0f) << "entry 0 is not taken over";
    EXPECT_EQ((*fields)[2][1], 0.0f) << "an item that cannot be read";
    EXPECT_EQ(library.calls, (std::vector<std::string>{"begin some.q7f", "inform 0", "dimension 3", "item 300", "dimension 2", "item 200",
                                                       "dimension 1", "item 404", "dimension 0", "item 50", "end"}));
}

TEST(ResourceFile, file_without_items_gives_no_fields)
{
    library = {};
    const auto fields = loadFields("some.q7f");
    ASSERT_TRUE(fields.has_value());
    EXPECT_TRUE(fields->empty());
}
