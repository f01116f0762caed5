// Results are promised bit for bit, so the build may neither fuse multiplications with additions nor reorder sums.

#include <gtest/gtest.h>

namespace
{

// volatile keeps the compiler from computing the result itself with rules of its own
volatile double a = 0x1.0000002p0;
volatile double b = -0x1.0000004p0;
volatile double big = 1e16;

[[gnu::noinline]] double multiplyAdd(double x, double y)
{
    return x * x + y;
}

[[gnu::noinline]] double sumInOrder(double x, double y, double z)
{
    return x + y + z;
}

} // namespace

TEST(FloatingPoint, multiply_and_add_round_twice)
{
    EXPECT_EQ(multiplyAdd(a, b), 0.0); // a fused operation gives 0x1p-54
}

TEST(FloatingPoint, sums_run_in_the_written_order)
{
    EXPECT_EQ(sumInOrder(big, -big, 1.0), 1.0);
    EXPECT_EQ(sumInOrder(1.0, big, -big), 0.0);
}
