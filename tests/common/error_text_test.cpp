#include "common/error_text.h"

#include "common/file_names.h"
#include "support/scratch_folder.h"

#include <gtest/gtest.h>

#include <cerrno>

#ifdef _WIN32
#define WIN32_LEAN_AND_MEAN
#ifndef NOMINMAX
#define NOMINMAX
#endif
#include <windows.h>
#endif

namespace error_text_test
{

using namespace tav3d::common;
using namespace tav3d::test;

TEST(ErrorText, is_in_our_own_words)
{
    EXPECT_EQ(errorText(std::make_error_code(std::errc::no_space_on_device)), "No space left on device");
    EXPECT_EQ(errorText(std::error_code(EACCES, std::generic_category())), "Permission denied");
    EXPECT_EQ(errorText(std::error_code(29876, std::system_category())), "system error 29876");
    errno = ENOENT;
    EXPECT_EQ(lastErrorText(), "No such file or directory");
}

#ifdef _WIN32

TEST(ErrorText, of_windows_tells_the_same_causes)
{
    const auto textOf = [](DWORD error) { return errorText(std::error_code(static_cast<int>(error), std::system_category())); };
    EXPECT_EQ(textOf(ERROR_FILE_NOT_FOUND), "No such file or directory");
    EXPECT_EQ(textOf(ERROR_PATH_NOT_FOUND), "No such file or directory");
    EXPECT_EQ(textOf(ERROR_ACCESS_DENIED), "Permission denied");
    EXPECT_EQ(textOf(ERROR_DISK_FULL), "No space left on device");
    EXPECT_EQ(textOf(ERROR_HANDLE_DISK_FULL), "No space left on device");
    EXPECT_EQ(textOf(ERROR_SHARING_VIOLATION), "another program has the file open");
    EXPECT_EQ(textOf(ERROR_LOCK_VIOLATION), "another program has the file open");
}

#endif

TEST(ErrorText, of_a_failed_call_on_a_file_names_the_file)
{
    EXPECT_EQ(failureText(std::runtime_error("part.q7f: is empty")), "part.q7f: is empty");
    const ScratchFolder folder;
    const std::string missing = folder.file("ä.q7f");
    try
    {
        static_cast<void>(std::filesystem::file_size(pathOf(missing)));
        FAIL();
    }
    catch (const std::exception& error)
    {
        EXPECT_EQ(failureText(error), missing + ": No such file or directory");
    }
}

} // namespace error_text_test
