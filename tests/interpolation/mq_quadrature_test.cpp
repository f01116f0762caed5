#include "interpolation/mq_quadrature.h"

#include "Tav3dInterpolation.h"
#include "engine_calls.h"
#include "interpolation/dense_lu.h"
#include "interpolation/sol_interpolation.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <random>

namespace mq_quadrature_test
{

using meshes::Mesh;
using meshes::Points;
using meshes::sort;
using meshes::sortCentre;
using Weights = std::array<std::vector<double>, 3>;

namespace
{

Weights weightsOf(Points points, double c)
{
    const std::size_t size = points.x.size();
    Weights w = {std::vector<double>(size, -7.0), std::vector<double>(size, -7.0), std::vector<double>(size, -7.0)};
    CTav3dInterpolation().LMQDQ_Wighting(points.x.data(), points.y.data(), points.z.data(), points.count(), c, w[0].data(), w[1].data(),
                                         w[2].data());
    return w;
}

struct Fit
{
    std::array<double, 3> derivative;
    std::array<double, 3> lastWeight;
};

Fit fitOf(Points points, std::vector<double> phi, double preset = 0.0)
{
    Fit f{{preset, preset, preset}, {preset, preset, preset}};
    CTav3dInterpolation().Drivatives_Calculator_LDQ(points.x.data(), points.y.data(), points.z.data(), phi.data(), points.count(),
                                                    f.derivative[0], f.derivative[1], f.derivative[2], f.lastWeight[0], f.lastWeight[1],
                                                    f.lastWeight[2]);
    return f;
}

Points randomPoints(int n, unsigned seed, double size = 2.0)
{
    std::mt19937 random(seed);
    std::uniform_real_distribution<double> in(0, size);
    Points points;
    for (int i = 0; i < n; ++i)
    {
        const double x = in(random), y = in(random), z = in(random);
        points.add(x, y, z);
    }
    return points;
}

/// The textbook's way, in extended precision: solve sum_i w_i g_j(p_i) = dg_j/dx (p_1) by Gauss elimination with full pivoting.
std::vector<long double> textbookWeights(const Points& p, long double c, int axis)
{
    const std::size_t n = p.x.size() - 1;
    const auto coordinate = [&](std::size_t i, int k) -> long double { return (k == 0 ? p.x : k == 1 ? p.y : p.z)[i + 1]; };
    const auto g = [&](std::size_t i, std::size_t j)
    {
        long double sum = c * c;
        for (int k = 0; k < 3; ++k)
            sum += (coordinate(i, k) - coordinate(j, k)) * (coordinate(i, k) - coordinate(j, k));
        return std::sqrt(sum);
    };
    std::vector<std::vector<long double>> a(n, std::vector<long double>(n + 1));
    for (std::size_t j = 0; j < n; ++j)
    {
        for (std::size_t i = 0; i < n; ++i)
            a[j][i] = g(i, j);
        a[j][n] = (coordinate(0, axis) - coordinate(j, axis)) / g(0, j);
    }
    std::vector<std::size_t> column(n);
    for (std::size_t k = 0; k < n; ++k)
        column[k] = k;
    for (std::size_t k = 0; k < n; ++k)
    {
        std::size_t bestRow = k, bestColumn = k;
        for (std::size_t i = k; i < n; ++i)
            for (std::size_t j = k; j < n; ++j)
                if (std::abs(a[i][j]) > std::abs(a[bestRow][bestColumn]))
                {
                    bestRow = i;
                    bestColumn = j;
                }
        std::swap(a[k], a[bestRow]);
        for (auto& row : a)
            std::swap(row[k], row[bestColumn]);
        std::swap(column[k], column[bestColumn]);
        for (std::size_t i = 0; i < n; ++i)
        {
            if (i == k)
                continue;
            const long double f = a[i][k] / a[k][k];
            for (std::size_t j = k; j <= n; ++j)
                a[i][j] -= f * a[k][j];
        }
    }
    std::vector<long double> w(n);
    for (std::size_t k = 0; k < n; ++k)
        w[column[k]] = a[k][n] / a[k][k];
    return w;
}

/// Points inside the mesh, off the surface layer.
Points interiorPoints(int n, double size, double margin, unsigned seed)
{
    std::mt19937 random(seed);
    std::uniform_real_distribution<double> in(margin, size - margin);
    Points points;
    for (int i = 0; i < n; ++i)
    {
        const double x = in(random), y = in(random), z = in(random);
        points.add(x, y, z);
    }
    return points;
}

/// Root mean square error of the node form at interior points.
template <class Function>
double nodeFormError(int cells, Function f)
{
    constexpr double size = 4.0;
    Mesh mesh = meshes::grid(cells, size, 0.15);
    Points data = interiorPoints(20, size, 1.1, 4);
    std::vector<double> phi = meshes::sample<double>(mesh.node, f);
    CSolInterpolation engine;
    sort(engine, mesh, data);
    double sum = 0;
    for (int q = 1; q <= data.count(); ++q)
    {
        double value = 0;
        engine.GetInterpolation(q, phi.data(), value);
        const auto i = static_cast<std::size_t>(q);
        const double error = value - f(data.x[i], data.y[i], data.z[i]);
        sum += error * error;
    }
    return std::sqrt(sum / data.count());
}

/// Shapes and last weights for a stencil, straight from the single weights: what the search over shape parameters must choose.
struct Trial
{
    double c;
    std::array<double, 3> defect;
    std::array<double, 3> derivative;
    std::array<double, 3> lastWeight;
};

std::vector<Trial> trialsOf(const Points& points, const std::vector<double>& phi)
{
    std::vector<Trial> trials;
    double c = 1.0;
    for (int t = 0; t < 20; ++t)
    {
        const Weights w = weightsOf(points, c);
        Trial trial{c, {}, {}, {}};
        for (std::size_t axis = 0; axis < 3; ++axis)
        {
            double sum = 0;
            for (std::size_t i = 1; i < points.x.size(); ++i)
            {
                sum += w[axis][i];
                trial.derivative[axis] += phi[i] * w[axis][i];
            }
            trial.defect[axis] = std::abs(sum);
            trial.lastWeight[axis] = w[axis].back();
        }
        trials.push_back(trial);
        c += 0.1;
    }
    return trials;
}

} // namespace

TEST(MqWeights, two_points_match_the_closed_form)
{
    // Points at 0 and h: A = [c r; r c], b = (0, -h / r). w = A^-1 b with det = c^2 - r^2 = -h^2.
    const double h = 0.75;
    const double c = 1.25;
    const double r = std::sqrt(h * h + c * c);
    const Weights w = weightsOf({{0, 0, 0}, {h, 0, 0}}, c);
    EXPECT_NEAR(w[0][1], -1.0 / h, 1e-14);
    EXPECT_NEAR(w[0][2], c / (r * h), 1e-14);
    EXPECT_EQ(w[1][2], 0.0);
    EXPECT_EQ(w[2][2], 0.0);
    EXPECT_EQ(w[0][0], -7.0) << "entry 0 is left alone";
}

TEST(MqWeights, one_point_has_no_weight_and_no_points_write_nothing)
{
    const Weights one = weightsOf({{3, 4, 5}}, 1.5);
    for (const auto& w : one)
        EXPECT_EQ(w[1], 0.0);
    double c = 1.0;
    CTav3dInterpolation().LMQDQ_Wighting(nullptr, nullptr, nullptr, 0, c, nullptr, nullptr, nullptr);
    EXPECT_EQ(c, 1.0);
}

TEST(MqWeights, derivatives_of_the_basis_functions_are_reproduced)
{
    const Points p = randomPoints(12, 21);
    const double c = 1.0;
    const Weights w = weightsOf(p, c);
    for (std::size_t j = 1; j <= 12; ++j)
    {
        const auto g = [&](std::size_t i)
        {
            const double dx = p.x[i] - p.x[j], dy = p.y[i] - p.y[j], dz = p.z[i] - p.z[j];
            return std::sqrt(dx * dx + dy * dy + dz * dz + c * c);
        };
        double dx = 0, dy = 0, dz = 0;
        for (std::size_t i = 1; i <= 12; ++i)
        {
            dx += w[0][i] * g(i);
            dy += w[1][i] * g(i);
            dz += w[2][i] * g(i);
        }
        EXPECT_NEAR(dx, (p.x[1] - p.x[j]) / g(1), 1e-9);
        EXPECT_NEAR(dy, (p.y[1] - p.y[j]) / g(1), 1e-9);
        EXPECT_NEAR(dz, (p.z[1] - p.z[j]) / g(1), 1e-9);
    }
}

TEST(MqWeights, agree_with_the_textbook_in_extended_precision)
{
    for (const unsigned seed : {1u, 2u, 3u, 4u})
        for (const double c : {0.3, 0.5, 1.0})
        {
            const Points p = randomPoints(10, seed, 3.0);
            const Weights w = weightsOf(p, c);
            for (int axis = 0; axis < 3; ++axis)
            {
                const std::vector<long double> reference = textbookWeights(p, static_cast<long double>(c), axis);
                for (std::size_t i = 0; i < reference.size(); ++i)
                    EXPECT_NEAR(w[static_cast<std::size_t>(axis)][i + 1], static_cast<double>(reference[i]),
                                1e-8 * (1 + std::abs(static_cast<double>(reference[i]))))
                        << seed << ' ' << c;
            }
        }
}

TEST(MqWeights, agree_bit_for_bit_with_the_steps_written_out)
{
    const Points p = randomPoints(9, 33);
    const double c = 1.7;
    const int n = p.count();
    using namespace tav3d::interpolation;
    NRMat a(n, n);
    const auto r = [&](std::size_t i, std::size_t j)
    {
        return std::sqrt(
            (((p.x[i] - p.x[j]) * (p.x[i] - p.x[j]) + (p.y[i] - p.y[j]) * (p.y[i] - p.y[j])) + (p.z[i] - p.z[j]) * (p.z[i] - p.z[j])) +
            c * c);
    };
    for (int i = 0; i < n; ++i)
        for (int j = 0; j < n; ++j)
            a[i][j] = r(static_cast<std::size_t>(i) + 1, static_cast<std::size_t>(j) + 1);
    NRVec<int> indx(n);
    NRVec<double> b(n);
    double d = 0;
    ludcmp(a, indx, d);
    const Weights w = weightsOf(p, c);
    const std::vector<double>* const coordinate[] = {&p.x, &p.y, &p.z};
    for (std::size_t axis = 0; axis < 3; ++axis)
    {
        const std::vector<double>& x = *coordinate[axis];
        for (int i = 0; i < n; ++i)
            b[i] = (x[1] - x[static_cast<std::size_t>(i) + 1]) / r(1, static_cast<std::size_t>(i) + 1);
        lubksb(a, indx, b);
        for (int i = 0; i < n; ++i)
            EXPECT_EQ(w[axis][static_cast<std::size_t>(i) + 1], b[i]) << "axis " << axis;
    }
}

TEST(MqWeights, coincident_points_go_through)
{
    const Weights w = weightsOf({{0, 0, 0}, {1, 0, 0}, {1, 0, 0}}, 1.0);
    // Two equal rows leave a zero pivot, taken as 1e-20; the weights are whatever comes of it, but the process goes on.
    EXPECT_NE(w[0][3], -7.0);
    const Weights near = weightsOf({{0, 0, 0}, {1, 0, 0}, {1 + 1e-9, 0, 0}}, 1.0);
    EXPECT_TRUE(std::isfinite(near[0][1]));
}

TEST(MqWeightsDeathTest, coordinates_that_are_not_numbers_end_the_process)
{
    ::testing::GTEST_FLAG(death_test_style) = "threadsafe";
    EXPECT_EXIT(
        weightsOf({{std::numeric_limits<double>::quiet_NaN(), 0, 0}, {1, 0, 0}}, 1.0), ::testing::ExitedWithCode(1),
        "^Numerical Recipes run-time error\\.\\.\\.\nSingular matrix in routine ludcmp\n\\.\\.\\.now exiting to system\\.\\.\\.\n$");
}

TEST(MqFit, derivatives_of_a_smooth_field_are_close)
{
    Mesh mesh = meshes::grid(2, 1.0);
    // point 1 in the middle of the block, where the stencil surrounds it
    Points p;
    p.add(0.5, 0.5, 0.5);
    for (int i = 1; i <= mesh.node.count(); ++i)
    {
        const auto k = static_cast<std::size_t>(i);
        if (mesh.node.x[k] != 0.5 || mesh.node.y[k] != 0.5 || mesh.node.z[k] != 0.5)
            p.add(mesh.node.x[k], mesh.node.y[k], mesh.node.z[k]);
    }
    const auto f = [](double x, double y, double z) { return std::sin(x) * std::cos(0.5 * y) + 0.3 * z; };
    const Fit fit = fitOf(p, meshes::sample<double>(p, f));
    EXPECT_NEAR(fit.derivative[0], std::cos(0.5) * std::cos(0.25), 0.03);
    EXPECT_NEAR(fit.derivative[1], -0.5 * std::sin(0.5) * std::sin(0.25), 0.03);
    EXPECT_NEAR(fit.derivative[2], 0.3, 0.03);
}

// DELIBERATE shape-ends-at-2.9
TEST(MqFit, twenty_shape_parameters_are_tried_and_each_axis_keeps_its_own)
{
    ASSERT_GT(trialsOf({{0, 0, 0}, {1, 0, 0}}, {0, 0, 0}).back().c, 2.8999999);
    ASSERT_GT(trialsOf({{0, 0, 0}, {1, 0, 0}}, {0, 0, 0}).back().c + 0.1, 3.0);
    bool differs = false;
    bool lastWins = false;
    for (unsigned seed = 1; seed <= 12; ++seed)
    {
        const Points p = randomPoints(6, seed);
        const std::vector<double> phi = meshes::sample<double>(p, [](double x, double y, double z) { return x * x + 2 * y - z * x; });
        std::array<double, 3> best = {1.0e10, 1.0e10, 1.0e10};
        Fit expected{};
        std::array<double, 3> chosen{};
        for (const Trial& t : trialsOf(p, phi))
            for (std::size_t axis = 0; axis < 3; ++axis)
                if (t.defect[axis] - best[axis] < 1.0e-10)
                {
                    best[axis] = t.defect[axis];
                    expected.derivative[axis] = t.derivative[axis];
                    expected.lastWeight[axis] = t.lastWeight[axis];
                    chosen[axis] = t.c;
                }
        differs = differs || chosen[0] != chosen[1];
        lastWins = lastWins || chosen[0] > 2.85;
        const Fit fit = fitOf(p, phi);
        for (std::size_t axis = 0; axis < 3; ++axis)
        {
            EXPECT_EQ(fit.derivative[axis], expected.derivative[axis]);
            EXPECT_EQ(fit.lastWeight[axis], expected.lastWeight[axis]);
        }
    }
    EXPECT_TRUE(differs) << "no stencil whose axes prefer different parameters: the test shows nothing";
    EXPECT_TRUE(lastWins) << "no stencil that takes the last parameter: the test does not see where the trials end";
}

// DELIBERATE shape-near-tie-takes-later
TEST(MqFit, ties_take_the_largest_shape_parameter)
{
    // All points in a plane x = 0: the x weights are zero for every parameter, a tie throughout. In y the two points are symmetric about
    // point 1, so that their weights cancel but for rounding: near-ties.
    const Points p = {{0, 0, 0}, {0, 1, 0}, {0, -1, 0}};
    const std::vector<double> phi = {0, 0, 2, -3};
    const std::vector<Trial> trials = trialsOf(p, phi);
    for (const Trial& t : trials)
        ASSERT_LT(t.defect[1], 1e-12);
    const Fit fit = fitOf(p, phi);
    EXPECT_EQ(fit.derivative[1], trials.back().derivative[1]);
    EXPECT_NE(fit.derivative[1], trials.front().derivative[1]);
    EXPECT_EQ(fit.derivative[0], 0.0);
}

TEST(MqFit, defect_takes_over_when_it_is_less_than_the_slack_worse)
{
    using tav3d::interpolation::takesOver;
    EXPECT_TRUE(takesOver(0.25, 0.5));
    EXPECT_TRUE(takesOver(0.0, 0.0));
    EXPECT_TRUE(takesOver(0.9e-10, 0.0));
    EXPECT_FALSE(takesOver(1.0e-10, 0.0));
    EXPECT_TRUE(takesOver(1.0e8, 1.0e8)) << "a tie, also where the slack is lost beside the defect";
    EXPECT_FALSE(takesOver(std::numeric_limits<double>::quiet_NaN(), 0.5));
}

TEST(MqFit, defect_beyond_the_start_never_qualifies)
{
    using tav3d::interpolation::noDefect;
    using tav3d::interpolation::takesOver;
    EXPECT_TRUE(takesOver(1.0e10, noDefect)) << "the difference is 0";
    EXPECT_FALSE(takesOver(std::nextafter(1.0e10, 2.0e10), noDefect));
    EXPECT_FALSE(takesOver(std::numeric_limits<double>::infinity(), noDefect));
}

// DELIBERATE fit-keeps-presets
TEST(MqFit, outputs_keep_their_presets_when_no_parameter_qualifies)
{
    // Infinite coordinates make every weight sum NaN without an all-zero matrix row.
    const double inf = std::numeric_limits<double>::infinity();
    const Fit fit = fitOf({{0, 0, 0}, {inf, 0, 0}}, {0, 1, 1}, 42.0);
    for (std::size_t axis = 0; axis < 3; ++axis)
    {
        EXPECT_EQ(fit.derivative[axis], 42.0);
        EXPECT_EQ(fit.lastWeight[axis], 42.0);
    }
}

TEST(MqFit, empty_stencil_gives_zeros)
{
    const Fit fit = fitOf({}, {0}, 42.0);
    for (std::size_t axis = 0; axis < 3; ++axis)
    {
        EXPECT_EQ(fit.derivative[axis], 0.0);
        EXPECT_EQ(fit.lastWeight[axis], 0.0);
    }
}

TEST(GetInterpolation, agrees_bit_for_bit_with_the_formula_over_single_fits)
{
    Mesh mesh = meshes::grid(3, 3.0, 0.2);
    Points data = {{1.3, 1.6, 1.45}};
    std::vector<double> phi = meshes::sample<double>(mesh.node, [](double x, double y, double z) { return x + y * z; });
    CSolInterpolation engine;
    sort(engine, mesh, data);
    std::array<double, 3> sum{};
    for (int j = 1; j <= 4; ++j)
    {
        const int* row = engine.m_ppNodeNeighbour[engine.m_ppDataStencil[1][j]];
        Points stencil;
        std::vector<double> values = {0.0};
        for (int i = 1; i <= row[0]; ++i)
        {
            const auto node = static_cast<std::size_t>(row[i]);
            stencil.add(mesh.node.x[node], mesh.node.y[node], mesh.node.z[node]);
            values.push_back(phi[node]);
        }
        const Fit without = fitOf(stencil, values);
        stencil.add(data.x[1], data.y[1], data.z[1]);
        values.push_back(0.0);
        const Fit with = fitOf(stencil, values);
        for (std::size_t axis = 0; axis < 3; ++axis)
            sum[axis] += (without.derivative[axis] - with.derivative[axis]) / (with.lastWeight[axis] + 1.0e-30);
    }
    double value = 0;
    engine.GetInterpolation(1, phi.data(), value);
    EXPECT_EQ(value, ((sum[1] + sum[0]) + sum[2]) / 12.0);
}

// DELIBERATE stencil-starts-at-lowest-number
TEST(GetInterpolation, derivatives_are_taken_at_the_lowest_numbered_neighbour)
{
    // The same mesh with its nodes numbered backwards has other reference points, and so other values in the last digits.
    Mesh mesh = meshes::grid(3, 3.0, 0.2);
    const int n = mesh.node.count();
    Mesh reversed;
    for (int i = n; i >= 1; --i)
    {
        const auto k = static_cast<std::size_t>(i);
        reversed.node.add(mesh.node.x[k], mesh.node.y[k], mesh.node.z[k]);
    }
    for (int c = 1; c <= mesh.cell.count(); ++c)
    {
        std::vector<int> row = mesh.cell.row(c);
        for (int& node : row)
            node = n + 1 - node;
        reversed.addCell(row);
    }
    Points data = {{1.3, 1.6, 1.45}};
    const auto f = [](double x, double y, double z) { return std::sin(x) * y + z; };
    std::array<double, 2> value{};
    for (int k = 0; k < 2; ++k)
    {
        Mesh& m = k == 0 ? mesh : reversed;
        std::vector<double> phi = meshes::sample<double>(m.node, f);
        CSolInterpolation engine;
        sort(engine, m, data);
        engine.GetInterpolation(1, phi.data(), value[static_cast<std::size_t>(k)]);
        EXPECT_NEAR(value[static_cast<std::size_t>(k)], f(1.3, 1.6, 1.45), 0.1);
    }
    EXPECT_NE(value[0], value[1]);
}

TEST(GetInterpolation, constant_field_comes_back_nearly)
{
    Mesh mesh = meshes::grid(4, 4.0, 0.15);
    Points data = interiorPoints(6, 4.0, 1.1, 9);
    std::vector<double> phi(static_cast<std::size_t>(mesh.node.count()) + 1, 5.0);
    CSolInterpolation engine;
    sort(engine, mesh, data);
    for (int q = 1; q <= data.count(); ++q)
    {
        double value = 0;
        engine.GetInterpolation(q, phi.data(), value);
        EXPECT_NEAR(value, 5.0, 0.05);
        EXPECT_NE(value, 5.0) << "the fits are not consistent for constants: an exact 5 would be another method";
    }
}

TEST(GetInterpolation, fields_may_change_between_calls)
{
    Mesh mesh = meshes::grid(2, 2.0);
    Points data = {{0.9, 1.1, 1.2}};
    std::vector<double> phi(static_cast<std::size_t>(mesh.node.count()) + 1, 1.0);
    CSolInterpolation engine;
    sort(engine, mesh, data);
    double one = 0;
    double two = 0;
    engine.GetInterpolation(1, phi.data(), one);
    std::fill(phi.begin(), phi.end(), 2.0);
    engine.GetInterpolation(1, phi.data(), two);
    EXPECT_EQ(two, 2.0 * one) << "the value is linear in the field, and doubling is exact";
}

// DELIBERATE interpolation-skips-one
TEST(GetInterpolation, data_point_in_cell_one_is_skipped)
{
    Mesh mesh = meshes::grid(2, 2.0);
    Points data = {{0.5, 0.5, 0.5}, {1.5, 0.5, 0.5}};
    std::vector<double> phi(static_cast<std::size_t>(mesh.node.count()) + 1, 5.0);
    CSolInterpolation engine;
    sort(engine, mesh, data);
    engine.m_pDataCell[1] = 1; // as SetDataPoint would have it
    double value = -3;
    engine.GetInterpolation(1, phi.data(), value);
    EXPECT_EQ(value, -3);
    engine.GetInterpolation(2, phi.data(), value);
    EXPECT_NE(value, -3);

    sortCentre(engine, mesh, data);
    engine.m_pDataCell[1] = 1;
    value = -3;
    engine.GetInterpolationCenter(1, phi.data(), value);
    EXPECT_EQ(value, -3);
}

TEST(GetInterpolation, node_without_neighbours_counts_with_zero)
{
    // Node 5 lies in no cell and is one of the four nearest; the other three are fitted as usual.
    Mesh mesh;
    mesh.node = {{0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {0, 0, 1}, {0.2, 0.2, 0.2}};
    mesh.addCell({1, 2, 3, 4});
    Points data = {{0.25, 0.25, 0.25}};
    std::vector<double> phi = {0, 6, 6, 6, 6, 6};
    CSolInterpolation engine;
    sort(engine, mesh, data);
    ASSERT_EQ(engine.m_ppDataStencil[1][1], 5);
    double value = 0;
    engine.GetInterpolation(1, phi.data(), value);
    // three of four nodes estimate; all have the same neighbourhood
    Points points = {{0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {0, 0, 1}};
    const Fit without = fitOf(points, {0, 6, 6, 6, 6});
    points.add(0.25, 0.25, 0.25);
    const Fit with = fitOf(points, {0, 6, 6, 6, 6, 0});
    double estimate = 0;
    for (std::size_t axis = 0; axis < 3; ++axis)
        estimate += (without.derivative[axis] - with.derivative[axis]) / with.lastWeight[axis];
    EXPECT_NEAR(value, 3 * estimate / 12, 1e-12 * std::abs(value));

    // No cell at all: nothing but such nodes.
    Mesh bare;
    bare.node = mesh.node;
    sort(engine, bare, data);
    value = -1;
    engine.GetInterpolation(1, phi.data(), value);
    EXPECT_EQ(value, 0.0);
}

// DELIBERATE weight-guard
TEST(GetInterpolation, axis_without_a_weight_contributes_its_derivative_times_1e30)
{
    // An infinite data point: no parameter qualifies for the second fit, whose outputs stay 0; the first fit is regular.
    Mesh mesh;
    mesh.node = {{0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {0, 0, 1}};
    mesh.addCell({1, 2, 3, 4});
    const std::array<int, 1> stencil = {1};
    const std::vector<double> phi = {0, 1, 3, 4, 5};
    const double inf = std::numeric_limits<double>::infinity();
    CSolInterpolation engine;
    Points data;
    sort(engine, mesh, data);
    const double value = tav3d::interpolation::interpolateAtPoint(
        stencil, engine.m_ppNodeNeighbour, {mesh.node.x.data(), mesh.node.y.data(), mesh.node.z.data(), 4}, {phi.data(), 4}, {inf, 0, 0});
    const Fit first = fitOf(mesh.node, phi);
    EXPECT_EQ(value, ((first.derivative[1] / 1.0e-30 + first.derivative[0] / 1.0e-30) + first.derivative[2] / 1.0e-30) / 3.0);
}

TEST(GetInterpolation, axis_that_neither_fit_qualifies_for_contributes_nothing)
{
    Mesh mesh;
    mesh.node = {{0, 0, 0}, {std::numeric_limits<double>::infinity(), 0, 0}, {0, 1, 0}, {0, 0, 1}};
    mesh.addCell({1, 2, 3, 4});
    Points data = {{0.2, 0.2, 0.2}};
    std::vector<double> phi = {0, 1, 3, 4, 5};
    CSolInterpolation engine;
    sort(engine, mesh, data);
    double value = -1;
    engine.GetInterpolation(1, phi.data(), value);
    EXPECT_EQ(value, 0.0);
}

TEST(GetInterpolation, data_point_on_a_node_returns_whatever_comes)
{
    // Two equal rows in the second fit; only the process must go on.
    Mesh mesh = meshes::grid(2, 2.0);
    Points data = {{1, 1, 1}, {1 + 1e-9, 1, 1}};
    std::vector<double> phi(static_cast<std::size_t>(mesh.node.count()) + 1, 5.0);
    CSolInterpolation engine;
    sort(engine, mesh, data);
    for (int q = 1; q <= 2; ++q)
    {
        double value = 1234.5;
        engine.GetInterpolation(q, phi.data(), value);
        EXPECT_NE(value, 1234.5);
    }
}

TEST(GetInterpolationCenter, cell_values_are_fitted_over_cell_centres)
{
    Mesh mesh = meshes::grid(4, 4.0, 0.1);
    Points data = interiorPoints(8, 4.0, 1.2, 2);
    const auto f = [](double x, double y, double z) { return 2 + 0.3 * x - 0.2 * y + 0.1 * z; };
    std::vector<double> phi = meshes::sample<double>(mesh.centre, f);
    CSolInterpolation engine;
    sortCentre(engine, mesh, data);
    for (int q = 1; q <= data.count(); ++q)
    {
        const auto i = static_cast<std::size_t>(q);
        // the node found is one of the first m_nCell ones; where it is far from the point the fit extrapolates
        const int* row = engine.m_ppNodeCell[engine.m_ppDataStencil[q][1]];
        Points stencil;
        std::vector<double> values = {0.0};
        for (int k = 1; k <= row[0]; ++k)
        {
            const auto c = static_cast<std::size_t>(row[k]);
            stencil.add(mesh.centre.x[c], mesh.centre.y[c], mesh.centre.z[c]);
            values.push_back(phi[c]);
        }
        const Fit without = fitOf(stencil, values);
        stencil.add(data.x[i], data.y[i], data.z[i]);
        values.push_back(0.0);
        const Fit with = fitOf(stencil, values);
        std::array<double, 3> e{};
        for (std::size_t axis = 0; axis < 3; ++axis)
            e[axis] = 0.0 + (without.derivative[axis] - with.derivative[axis]) / (with.lastWeight[axis] + 1.0e-30);
        double value = 0;
        engine.GetInterpolationCenter(q, phi.data(), value);
        EXPECT_EQ(value, ((e[1] + e[0]) + e[2]) / 3.0);
    }
}

TEST(GetInterpolation, error_of_a_quadratic_falls_as_the_mesh_is_refined)
{
    const auto f = [](double x, double y, double z) { return 1 + 0.5 * x * x - 0.25 * y * z + 0.125 * z * z + x; };
    const double coarse = nodeFormError(4, f);
    const double middle = nodeFormError(6, f);
    const double fine = nodeFormError(8, f);
    EXPECT_LT(middle, coarse);
    EXPECT_LT(fine, middle);
    EXPECT_LT(fine, 0.05);
}

TEST(GetInterpolation, error_of_a_smooth_field_falls_as_the_mesh_is_refined)
{
    const auto f = [](double x, double y, double z) { return std::sin(0.8 * x) * std::cos(0.6 * y) + std::exp(-0.3 * z); };
    const double coarse = nodeFormError(4, f);
    const double middle = nodeFormError(6, f);
    const double fine = nodeFormError(8, f);
    EXPECT_LT(middle, coarse);
    EXPECT_LT(fine, middle);
    EXPECT_LT(fine, 0.01);
}

} // namespace mq_quadrature_test
