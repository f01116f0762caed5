#include "tools/file_access.h"

#include "support/scratch_folder.h"

#include <gtest/gtest.h>

#ifdef _WIN32
#include "support/held_file.h"
#endif

namespace file_access_test
{

using namespace tav3d;
using namespace tav3d::test;

TEST(FileAccess, file_that_nobody_uses_and_missing_file_are_not_locked)
{
    const ScratchFolder folder;
    writeBytes(folder.file("ä.q7f"), "content");
    EXPECT_FALSE(tools::isLockedByAnotherProgram(common::pathOf(folder.file("ä.q7f"))));
    EXPECT_FALSE(tools::isLockedByAnotherProgram(common::pathOf(folder.file("missing"))));
}

TEST(FileAccess, file_that_nobody_may_write_is_write_protected)
{
    const ScratchFolder folder;
    const std::filesystem::path file = common::pathOf(folder.file("a.q7f"));
    EXPECT_FALSE(tools::isWriteProtected(file)) << "there is none";
    writeBytes(folder.file("a.q7f"), "content");
    EXPECT_FALSE(tools::isWriteProtected(file));
    std::filesystem::permissions(file, std::filesystem::perms::owner_read);
    EXPECT_TRUE(tools::isWriteProtected(file));
    std::filesystem::permissions(file, std::filesystem::perms::owner_all);
    EXPECT_FALSE(tools::isWriteProtected(file));
}

#ifdef _WIN32

TEST(FileAccess, file_that_lets_no_reader_in_is_locked)
{
    const ScratchFolder folder;
    writeBytes(folder.file("a.q7f"), "content");
    {
        const HeldFile held(folder.file("a.q7f"), FILE_SHARE_READ | FILE_SHARE_WRITE);
        EXPECT_FALSE(tools::isLockedByAnotherProgram(folder.file("a.q7f")));
    }
    HeldFile held(folder.file("a.q7f"));
    EXPECT_TRUE(tools::isLockedByAnotherProgram(folder.file("a.q7f")));
    held.release();
    EXPECT_FALSE(tools::isLockedByAnotherProgram(folder.file("a.q7f")));
}

TEST(FileAccess, file_with_a_locked_region_is_locked)
{
    const ScratchFolder folder;
    writeBytes(folder.file("a.q7f"), "content");
    const HANDLE handle = CreateFileW(common::pathOf(folder.file("a.q7f")).c_str(), GENERIC_READ | GENERIC_WRITE,
                                      FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr, OPEN_EXISTING, 0, nullptr);
    ASSERT_NE(handle, INVALID_HANDLE_VALUE);
    OVERLAPPED begin = {};
    begin.Offset = 3;
    ASSERT_TRUE(LockFileEx(handle, LOCKFILE_EXCLUSIVE_LOCK, 0, 2, 0, &begin));
    EXPECT_TRUE(tools::isLockedByAnotherProgram(folder.file("a.q7f")));
    CloseHandle(handle);
    EXPECT_FALSE(tools::isLockedByAnotherProgram(folder.file("a.q7f")));
}

#endif

} // namespace file_access_test
