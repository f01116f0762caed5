// The comparisons of kernels leave out what this machine cannot run. Here that is told by name.

#include "common/processor.h"

#include <gtest/gtest.h>

namespace processor_test
{

using namespace tav3d::common;

TEST(LaneSets, plain_kernels_are_compared_here)
{
    EXPECT_TRUE(canRun(LaneSet::plain));
}

TEST(LaneSets, sse2_kernels_are_compared_here)
{
    if (!canRun(LaneSet::sse2))
        GTEST_SKIP() << "no SSE2: the comparisons of its kernels compare nothing";
    EXPECT_NE(bestLaneSet(), LaneSet::plain);
}

TEST(LaneSets, avx2_kernels_are_compared_here)
{
    if (!canRun(LaneSet::avx2))
        GTEST_SKIP() << "no AVX2: the comparisons of its kernels compare nothing";
    EXPECT_EQ(bestLaneSet(), LaneSet::avx2);
}

} // namespace processor_test
