#include "resultmapping/move_aside.h"

#include "support/scratch_folder.h"
#ifdef _WIN32
#include "support/held_file.h"
#endif

#include <gtest/gtest.h>

#include <stdexcept>
#include <vector>

namespace move_aside_test
{

using namespace tav3d::resultmapping;

namespace
{

/// Stands in for the file system: fails the given number of times, then succeeds, and keeps what was called.
struct Script
{
    int failingRemovals = 0;
    int failingRenames = 0;
    std::vector<std::string> calls;
};
Script script;

const FileCalls scriptedCalls{[](const char* fileName)
                              {
                                  script.calls.push_back(std::string("remove ") + fileName);
                                  return script.failingRemovals-- > 0 ? -7 : 0;
                              },
                              [](const char* oldName, const char* newName)
                              {
                                  script.calls.push_back(std::string("rename ") + oldName + " " + newName);
                                  return script.failingRenames-- > 0 ? -1 : 0;
                              },
                              [](int milliseconds) { script.calls.push_back("wait " + std::to_string(milliseconds)); }};

using Calls = std::vector<std::string>;

} // namespace

TEST(MoveAside, new_name_has_vox_before_the_last_dot)
{
    EXPECT_EQ(voxelFileName("part.q7f"), "part_vox.q7f");
    EXPECT_EQ(voxelFileName("a.b/part.old.q7c"), "a.b/part.old_vox.q7c");
    EXPECT_EQ(voxelFileName("a.b/part"), "a_vox.b/part"); // the only dot lies in the folder's name
    EXPECT_THROW(static_cast<void>(voxelFileName("part")), std::out_of_range);
}

TEST(MoveAside, first_success_of_a_removal_ends_the_tries)
{
    script = {};
    EXPECT_EQ(removeWithRetries("old", scriptedCalls), 0);
    EXPECT_EQ(script.calls, (Calls{"remove old"}));

    script = {.failingRemovals = 2, .failingRenames = 0, .calls = {}};
    EXPECT_EQ(removeWithRetries("old", scriptedCalls), 0);
    EXPECT_EQ(script.calls, (Calls{"remove old", "wait 500", "remove old", "wait 500", "remove old"}));
}

// DELIBERATE removal-waits: also after the last try.
TEST(MoveAside, third_failing_removal_waits_too_and_gives_its_code)
{
    script = {.failingRemovals = 3, .failingRenames = 0, .calls = {}};
    EXPECT_EQ(removeWithRetries("old", scriptedCalls), -7);
    EXPECT_EQ(script.calls, (Calls{"remove old", "wait 500", "remove old", "wait 500", "remove old", "wait 500"}));
}

TEST(MoveAside, renaming_succeeds_at_the_fifth_try_after_four_waits)
{
    script = {.failingRemovals = 0, .failingRenames = 4, .calls = {}};
    EXPECT_EQ(moveAside("a.q7f", "a_vox.q7f", scriptedCalls), 1);
    Calls expected{"remove a_vox.q7f"};
    for (int attempt = 0; attempt < 4; ++attempt)
    {
        expected.emplace_back("rename a.q7f a_vox.q7f");
        expected.emplace_back("wait 5");
    }
    expected.emplace_back("rename a.q7f a_vox.q7f");
    EXPECT_EQ(script.calls, expected);
}

// DELIBERATE rename-message: the text is the same whatever the cause.
TEST(MoveAside, fifth_failing_rename_prints_the_message_and_gives_minus_1)
{
    script = {.failingRemovals = 0, .failingRenames = 5, .calls = {}};
    testing::internal::CaptureStdout();
    const int result = moveAside("a.q7f", "a_vox.q7f", scriptedCalls);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "Error renaming Vox file: Permission denied.\n");
    EXPECT_EQ(result, -1);
    EXPECT_EQ(script.calls.size(), 1u + 2 * 5);
    EXPECT_EQ(script.calls.back(), "wait 5");
}

TEST(MoveAside, existing_vox_file_is_replaced_by_the_moved_file)
{
    const tav3d::test::ScratchFolder folder;
    const std::string name = folder.file("part.q7f");
    tav3d::test::writeBytes(name, "new");
    tav3d::test::writeBytes(folder.file("part_vox.q7f"), "old");
    EXPECT_EQ(moveAside(name.c_str(), voxelFileName(name), systemFileCalls()), 1);
    EXPECT_EQ(tav3d::test::readBytes(folder.file("part_vox.q7f")), "new");
    EXPECT_EQ(folder.entries(), 1) << "the old name is free";
}

#ifdef _WIN32

TEST(MoveAside, old_file_that_is_held_for_a_while_is_removed_when_it_is_let_go)
{
    const tav3d::test::ScratchFolder folder;
    const std::string file = folder.file("part.q7f");
    const std::string old = folder.file("part_vox.q7f");
    tav3d::test::writeBytes(file, "new");
    tav3d::test::writeBytes(old, "old");
    // Let go in the second wait, so that the third try is the one that removes it.
    static int waits;
    static tav3d::test::HeldFile* holder;
    tav3d::test::HeldFile held(old);
    waits = 0;
    holder = &held;
    FileCalls calls = systemFileCalls();
    calls.wait = [](int)
    {
        if (++waits == 2)
            holder->release();
    };
    EXPECT_EQ(moveAside(file.c_str(), old, calls), 1);
    EXPECT_EQ(waits, 2);
    EXPECT_EQ(tav3d::test::readBytes(old), "new");
    EXPECT_EQ(folder.entries(), 1);
}

TEST(MoveAside, file_that_is_held_for_a_while_is_renamed_when_it_is_let_go)
{
    const tav3d::test::ScratchFolder folder;
    const std::string file = folder.file("part.q7f");
    const std::string newName = folder.file("part_vox.q7f");
    tav3d::test::writeBytes(file, "content");
    static int waits;
    static tav3d::test::HeldFile* holder;
    tav3d::test::HeldFile held(file);
    waits = 0;
    holder = &held;
    FileCalls calls = systemFileCalls();
    calls.wait = [](int)
    {
        if (++waits == 3 + 4) // three after removals, as there is nothing to remove
            holder->release();
    };
    EXPECT_EQ(moveAside(file.c_str(), newName, calls), 1);
    EXPECT_EQ(waits, 7);
    EXPECT_EQ(tav3d::test::readBytes(newName), "content");
    EXPECT_EQ(folder.entries(), 1);
}

#endif

} // namespace move_aside_test
