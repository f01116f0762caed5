#include "tools/console.h"

#include <gtest/gtest.h>

#ifdef _WIN32
#include <fcntl.h>
#include <io.h>
#endif

namespace console_test
{

#ifdef _WIN32

TEST(Console, device_that_swallows_everything_is_no_terminal)
{
    const int before = _dup(2);
    const int nothing = _open("NUL", _O_WRONLY);
    ASSERT_GE(nothing, 0);
    _dup2(nothing, 2);
    const int isDevice = _isatty(2); // which is all that the C runtime tells
    const bool isTerminal = tav3d::tools::standardErrorIsTerminal();
    _dup2(before, 2);
    _close(before);
    _close(nothing);
    EXPECT_NE(isDevice, 0);
    EXPECT_FALSE(isTerminal);
}

#endif

TEST(Console, progress_bar_draws_nothing_where_there_is_no_terminal)
{
    testing::internal::CaptureStderr();
    tav3d::tools::ProgressBar("part.q7f").update(1, 2);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

} // namespace console_test
