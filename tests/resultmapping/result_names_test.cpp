#include "resultmapping/result_names.h"

#include <gtest/gtest.h>

#include <set>
#include <stdexcept>
#include <vector>

namespace result_names_test
{

using namespace tav3d::resultmapping;

namespace
{

/// Items 0..100 of a file type that are known, and those that are cavity items.
struct Rules
{
    std::set<int> known;
    std::set<int> cavity;
};

Rules rulesOf(std::int32_t fileType)
{
    Rules rules;
    for (int item = 0; item <= 100; ++item)
    {
        bool isCavity = false;
        if (!isKnownItem(fileType, item, isCavity))
            continue;
        rules.known.insert(item);
        if (isCavity)
            rules.cavity.insert(item);
    }
    return rules;
}

constexpr std::size_t allItems = 101;

} // namespace

TEST(ResultNames, extension_runs_from_the_last_dot_to_the_end)
{
    EXPECT_EQ(extensionOf("part.q7f"), ".q7f");
    EXPECT_EQ(extensionOf("part.old.q7hc"), ".q7hc");
    EXPECT_EQ(extensionOf("part."), ".");
}

TEST(ResultNames, dot_in_a_folder_name_counts_as_the_last_dot)
{
    EXPECT_EQ(extensionOf("a.b/result"), ".b/result");
    EXPECT_EQ(kindOfExtension(".b/result").type, file_type::unknown);
}

// DELIBERATE name-without-dot
TEST(ResultNames, name_without_a_dot_is_out_of_range)
{
    EXPECT_THROW(static_cast<void>(extensionOf("result")), std::out_of_range);
}

TEST(ResultNames, each_extension_has_its_type_and_solver_family)
{
    struct Row
    {
        const char* extension;
        std::int32_t type;
        std::int32_t solver;
    };
    const std::vector<Row> rows{{".q7f", 0, 0}, {".q7p", 1, 1}, {".q7c", 2, 2}, {".rsc", 3, 2}, {".q7hc", 4, 2}, {".rsf", 6, 0}};
    for (const Row& row : rows)
    {
        EXPECT_EQ(kindOfExtension(row.extension).type, row.type) << row.extension;
        EXPECT_EQ(kindOfExtension(row.extension).solver, row.solver) << row.extension;
    }
}

// DELIBERATE extension-is-exact
TEST(ResultNames, extensions_are_compared_byte_for_byte_over_their_whole_length)
{
    for (const char* extension : {".Q7F", ".q7fx", ".q7", ".q7h", ".q7hcx", "q7f", "", "."})
    {
        EXPECT_EQ(kindOfExtension(extension).type, file_type::unknown) << extension;
        EXPECT_EQ(kindOfExtension(extension).solver, 3) << extension;
    }
}

TEST(ResultNames, filling_and_packing_files_know_every_item_and_smooth_five)
{
    for (const std::int32_t type : {file_type::q7f, file_type::q7p})
    {
        const Rules rules = rulesOf(type);
        EXPECT_EQ(rules.known.size(), allItems);
        EXPECT_EQ(rules.cavity, (std::set<int>{6, 14, 17, 19, 20}));
    }
}

TEST(ResultNames, cooling_files_know_nine_items_and_smooth_four)
{
    for (const std::int32_t type : {file_type::q7c, file_type::q7hc})
    {
        const Rules rules = rulesOf(type);
        EXPECT_EQ(rules.known, (std::set<int>{1, 2, 3, 4, 5, 16, 17, 33, 53}));
        EXPECT_EQ(rules.cavity, (std::set<int>{1, 2, 17, 53}));
    }
}

TEST(ResultNames, rsc_files_know_every_item_and_smooth_none)
{
    const Rules rules = rulesOf(file_type::rsc);
    EXPECT_EQ(rules.known.size(), allItems);
    EXPECT_TRUE(rules.cavity.empty());
}

TEST(ResultNames, rsf_files_know_every_item_and_smooth_item_9)
{
    const Rules rules = rulesOf(file_type::rsf);
    EXPECT_EQ(rules.known.size(), allItems);
    EXPECT_EQ(rules.cavity, (std::set<int>{9}));
}

TEST(ResultNames, unknown_type_knows_no_item_and_leaves_the_flag_alone)
{
    for (const std::int32_t type : {file_type::unknown, 7, -1})
        for (const bool before : {false, true})
        {
            bool isCavity = before;
            EXPECT_FALSE(isKnownItem(type, 6, isCavity));
            EXPECT_EQ(isCavity, before);
        }
}

} // namespace result_names_test
