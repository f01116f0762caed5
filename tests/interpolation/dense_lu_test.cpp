#include "interpolation/dense_lu.h"

#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <cstdint>
#include <limits>
#include <random>
#include <vector>

namespace dense_lu_test
{

using namespace tav3d::interpolation;

#ifdef TAV3D_TEST_HAS_LAPACK
extern "C"
{
    void dgetrf_(const int* m, const int* n, double* a, const int* lda, int* ipiv, int* info);
    void dgetrs_(const char* trans, const int* n, const int* nrhs, const double* a, const int* lda, const int* ipiv, double* b,
                 const int* ldb, int* info);
}
#endif

namespace
{

constexpr double notANumber = std::numeric_limits<double>::quiet_NaN();

using Matrix = std::vector<std::vector<double>>;

void fill(NRMat& a, const Matrix& rows)
{
    for (int i = 0; i < a.nn; ++i)
        for (int j = 0; j < a.mm; ++j)
            a[i][j] = rows[static_cast<std::size_t>(i)][static_cast<std::size_t>(j)];
}

struct Decomposed
{
    explicit Decomposed(const Matrix& rows)
        : a(static_cast<int>(rows.size()), static_cast<int>(rows.size()))
        , indx(a.nn)
    {
        fill(a, rows);
        ludcmp(a, indx, d);
    }

    [[nodiscard]] std::vector<double> solve(const std::vector<double>& rhs) const
    {
        NRVec<double> b(a.nn);
        std::copy(rhs.begin(), rhs.end(), b.v);
        lubksb(a, indx, b);
        return {b.v, b.v + b.nn};
    }

    NRMat a;
    NRVec<int> indx;
    double d = 7.0;
};

} // namespace

TEST(DenseLu, rows_stand_one_behind_the_other_in_one_block)
{
    NRMat a(3, 5);
    EXPECT_EQ(a.nn, 3);
    EXPECT_EQ(a.mm, 5);
    EXPECT_EQ(a.v[1], a.v[0] + 5);
    EXPECT_EQ(a[2], a.v[0] + 10);
}

TEST(DenseLu, system_without_rows_is_left_alone)
{
    NRMat a(0, 0);
    EXPECT_EQ(a.v, nullptr);
    NRVec<int> indx(0);
    NRVec<double> b(0);
    double d = 0;
    ludcmp(a, indx, d);
    lubksb(a, indx, b);
    EXPECT_EQ(d, 1.0);
}

TEST(DenseLu, one_by_one_system)
{
    const Decomposed lu(Matrix{{4.0}});
    EXPECT_EQ(lu.indx[0], 0);
    EXPECT_EQ(lu.d, 1.0);
    EXPECT_EQ(lu.solve({2.0}), (std::vector<double>{0.5}));
}

TEST(DenseLu, two_by_two_system_with_an_exchange)
{
    const Decomposed lu(Matrix{{1.0, 4.0}, {2.0, 3.0}}); // scaled candidates 1/4 and 2/3
    EXPECT_EQ(lu.indx[0], 1);
    EXPECT_EQ(lu.indx[1], 1);
    EXPECT_EQ(lu.d, -1.0);
    EXPECT_EQ(lu.a[0][0], 2.0);
    EXPECT_EQ(lu.a[0][1], 3.0);
    EXPECT_EQ(lu.a[1][0], 0.5);
    EXPECT_EQ(lu.a[1][1], 2.5);
    EXPECT_EQ(lu.solve({6.0, 7.0}), (std::vector<double>{2.0, 1.0}));
}

TEST(DenseLu, pivots_are_judged_by_scaled_size)
{
    const Decomposed lu(Matrix{{3.0, 300.0}, {2.0, 1.0}}); // 3 is larger, but 3/300 is not
    EXPECT_EQ(lu.indx[0], 1);
}

TEST(DenseLu, scale_of_a_row_moves_with_it)
{
    // The first exchange brings row 0, of size 100, to place 2. There its candidate 49.5 counts 0.495 and loses against the 1.5 of row 1,
    // which counts 0.75. By the scale of the row that stood there before (1) it would win.
    const Decomposed lu(Matrix{{1.0, 50.0, 100.0}, {0.0, 1.5, 2.0}, {1.0, 0.5, 0.0}});
    EXPECT_EQ(lu.indx[0], 2);
    EXPECT_EQ(lu.indx[1], 1);
    EXPECT_EQ(lu.a[1][1], 1.5);
}

// DELIBERATE lu-last-row-wins
TEST(DenseLu, equal_pivots_take_the_last_row)
{
    const Decomposed lu(Matrix{{1.0, 0.5, 0.25}, {0.5, 1.0, 0.125}, {-2.0, 1.0, 0.5}}); // scaled candidates 1, 0.5, 1
    EXPECT_EQ(lu.indx[0], 2);
    EXPECT_EQ(lu.a[0][0], -2.0);
}

// DELIBERATE lu-zero-pivot
TEST(DenseLu, zero_pivot_becomes_tiny_and_the_solve_completes)
{
    const Decomposed lu(Matrix{{0.0, 1.0}, {0.0, 2.0}});
    EXPECT_EQ(lu.indx[0], 1) << "0 is not below 0: the last row wins here too";
    EXPECT_EQ(lu.a[0][0], 1.0e-20);
    EXPECT_EQ(lu.a[1][1], 1.0);
    const std::vector<double> x = lu.solve({1.0, 2.0});
    EXPECT_EQ(x[1], 1.0);
    EXPECT_EQ(x[0], 0.0);
    EXPECT_EQ(lu.solve({1.0, 4.0})[0], (4.0 - 2.0) / 1.0e-20);
}

TEST(DenseLu, last_zero_pivot_becomes_tiny_too)
{
    const Decomposed lu(Matrix{{1.0, 1.0}, {1.0, 1.0}});
    EXPECT_EQ(lu.a[1][1], 1.0e-20);
}

TEST(DenseLu, column_without_comparable_candidates_keeps_the_diagonal_row)
{
    const Decomposed lu(Matrix{{notANumber, 1.0}, {notANumber, 2.0}});
    EXPECT_EQ(lu.indx[0], 0);
    EXPECT_EQ(lu.indx[1], 1);
    EXPECT_EQ(lu.d, 1.0);
}

TEST(DenseLu, decomposition_is_the_one_worked_out_by_hand_bit_for_bit)
{
    // Crout's sums written out: u_12 = a_12 - l_10 u_02 and so on, one product at a time.
    const Matrix m = {{0.7, 0.1, 0.3}, {0.3, 0.9, 0.6}, {0.4, 0.35, 1.1}};
    const Decomposed lu(m);
    // scaled candidates of column 0: 1, 0.33, 0.36; of column 1: 0.85.. / 0.9 and 0.29.. / 1.1: no exchange at all
    ASSERT_EQ(lu.indx[0], 0);
    ASSERT_EQ(lu.indx[1], 1);
    const double l10 = 0.3 * (1.0 / 0.7);
    ASSERT_NE(l10, 0.3 / 0.7) << "multiplied by the reciprocal, not divided";
    const double l20 = 0.4 * (1.0 / 0.7);
    const double u11 = 0.9 - l10 * 0.1;
    const double l21 = (0.35 - l20 * 0.1) * (1.0 / u11);
    const double u12 = 0.6 - l10 * 0.3;
    const double u22 = (1.1 - l20 * 0.3) - l21 * u12;
    EXPECT_EQ(lu.a[1][0], l10);
    EXPECT_EQ(lu.a[2][0], l20);
    EXPECT_EQ(lu.a[1][1], u11);
    EXPECT_EQ(lu.a[2][1], l21);
    EXPECT_EQ(lu.a[1][2], u12);
    EXPECT_EQ(lu.a[2][2], u22);
    const double y1 = 2.0 - l10 * 1.0;
    const double y2 = (3.0 - l20 * 1.0) - l21 * y1;
    const double x2 = y2 / u22;
    const double x1 = (y1 - u12 * x2) / u11;
    const double x0 = ((1.0 - 0.1 * x1) - 0.3 * x2) / 0.7;
    EXPECT_EQ(lu.solve({1.0, 2.0, 3.0}), (std::vector<double>{x0, x1, x2}));
}

// DELIBERATE lubksb-skips-leading-zeros
TEST(DenseLu, products_with_leading_zeros_are_not_subtracted)
{
    // With l_10 infinite, inf * 0 would make everything NaN; the skip never forms the product.
    NRMat a(2, 2);
    fill(a, {{1.0, 0.0}, {std::numeric_limits<double>::infinity(), 1.0}});
    NRVec<int> indx(2);
    indx[0] = 0;
    indx[1] = 1;
    NRVec<double> b(2);
    b[0] = 0.0;
    b[1] = 3.0;
    lubksb(a, indx, b);
    EXPECT_EQ(b[1], 3.0);
    EXPECT_EQ(b[0], 0.0);

    // Sums start at the first entry that is not zero, for the rows behind it too: the infinity stands in the first column.
    NRMat three(3, 3);
    fill(three, {{1.0, 0.0, 0.0}, {0.0, 1.0, 0.0}, {std::numeric_limits<double>::infinity(), 2.0, 1.0}});
    NRVec<int> inOrder(3);
    NRVec<double> rhs(3);
    for (int i = 0; i < 3; ++i)
    {
        inOrder[i] = i;
        rhs[i] = 3.0 * i;
    }
    lubksb(three, inOrder, rhs);
    EXPECT_EQ(rhs[2], 6.0 - 2.0 * 3.0);

    // A NaN counts as not zero.
    b[0] = notANumber;
    b[1] = 3.0;
    lubksb(a, indx, b);
    EXPECT_TRUE(std::isnan(b[1]));
}

TEST(DenseLu, leading_zeros_give_the_full_solution)
{
    const Decomposed lu(Matrix{{4.0, 1.0, 0.5}, {1.0, 5.0, 1.0}, {0.5, 1.0, 6.0}});
    const std::vector<double> x = lu.solve({0.0, 0.0, 2.0});
    EXPECT_NEAR(4.0 * x[0] + 1.0 * x[1] + 0.5 * x[2], 0.0, 1e-15);
    EXPECT_NEAR(1.0 * x[0] + 5.0 * x[1] + 1.0 * x[2], 0.0, 1e-15);
    EXPECT_NEAR(0.5 * x[0] + 1.0 * x[1] + 6.0 * x[2], 2.0, 1e-15);
    const std::vector<double> zero = lu.solve({0.0, 0.0, 0.0});
    EXPECT_EQ(zero, (std::vector<double>{0.0, 0.0, 0.0}));
}

TEST(DenseLu, random_systems_agree_with_lapack)
{
#ifndef TAV3D_TEST_HAS_LAPACK
    GTEST_SKIP() << "no LAPACK for this system";
#else
    std::mt19937 random(17);
    std::uniform_real_distribution<double> in(-1, 1);
    for (const int n : {1, 2, 3, 5, 8, 13, 27, 28, 60})
    {
        for (int repeat = 0; repeat < 5; ++repeat)
        {
            Matrix rows(static_cast<std::size_t>(n), std::vector<double>(static_cast<std::size_t>(n)));
            std::vector<double> columnMajor;
            for (auto& row : rows)
                for (double& element : row)
                    element = in(random);
            for (std::size_t j = 0; j < rows.size(); ++j)
                for (std::size_t i = 0; i < rows.size(); ++i)
                    columnMajor.push_back(rows[i][j]);
            std::vector<double> b(static_cast<std::size_t>(n));
            for (double& element : b)
                element = in(random);

            const std::vector<double> x = Decomposed(rows).solve(b);

            std::vector<int> ipiv(static_cast<std::size_t>(n));
            std::vector<double> reference = b;
            const int one = 1;
            int info = -1;
            dgetrf_(&n, &n, columnMajor.data(), &n, ipiv.data(), &info);
            ASSERT_EQ(info, 0);
            dgetrs_("N", &n, &one, columnMajor.data(), &n, ipiv.data(), reference.data(), &n, &info);
            ASSERT_EQ(info, 0);

            double largest = 0;
            double difference = 0;
            for (std::size_t i = 0; i < x.size(); ++i)
            {
                largest = std::max(largest, std::abs(reference[i]));
                difference = std::max(difference, std::abs(reference[i] - x[i]));
            }
            EXPECT_LT(difference, 1e-11 * largest) << n;
            // a backward-stable solution leaves a residual of rounding size whatever the condition
            for (std::size_t i = 0; i < x.size(); ++i)
            {
                double residual = -b[i];
                for (std::size_t j = 0; j < x.size(); ++j)
                    residual += rows[i][j] * x[j];
                EXPECT_LT(std::abs(residual), 1e-14 * n * n * largest);
            }
        }
    }
#endif
}

using DenseLuDeathTest = ::testing::Test;

// DELIBERATE lu-singular-ends-process
TEST(DenseLuDeathTest, row_of_zeros_ends_the_process_with_three_lines)
{
    ::testing::GTEST_FLAG(death_test_style) = "threadsafe";
    const std::string lines = "^Numerical Recipes run-time error\\.\\.\\.\nSingular matrix in routine ludcmp\n\\.\\.\\.now exiting to "
                              "system\\.\\.\\.\n$";
    EXPECT_EXIT(Decomposed(Matrix{{1.0, 2.0}, {0.0, -0.0}}), ::testing::ExitedWithCode(1), lines);
    EXPECT_EXIT(Decomposed(Matrix{{notANumber, 0.0}, {1.0, 1.0}}), ::testing::ExitedWithCode(1), lines);
}

TEST(DenseLuDeathTest, fatal_error_writes_any_text_between_its_two_lines)
{
    ::testing::GTEST_FLAG(death_test_style) = "threadsafe";
    EXPECT_EXIT(nrerror("some text"), ::testing::ExitedWithCode(1), "^Numerical Recipes run-time error\\.\\.\\.\nsome text\n\\.\\.\\.now");
}

} // namespace dense_lu_test
