// The fast quadrature against the plain one, bit for bit, with every lane set that this machine can run.

#include "interpolation/quadrature.h"

#include "engine_calls.h"
#include "interpolation/sol_interpolation.h"

#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <random>
#include <string>

using namespace tav3d::interpolation;
using tav3d::common::LaneSet;

namespace
{

constexpr double infinity = std::numeric_limits<double>::infinity();
constexpr double notANumber = std::numeric_limits<double>::quiet_NaN();

std::vector<LaneSet> laneSets()
{
    std::vector<LaneSet> sets;
    for (const LaneSet set : {LaneSet::plain, LaneSet::sse2, LaneSet::avx2})
        if (canRun(set))
            sets.push_back(set);
    return sets;
}

const char* nameOf(LaneSet set)
{
    return set == LaneSet::avx2 ? "avx2" : set == LaneSet::sse2 ? "sse2" : "plain";
}

struct Case
{
    std::vector<double> x, y, z, phi;

    [[nodiscard]] std::size_t size() const { return x.size(); }
    [[nodiscard]] Stencil stencil(std::size_t n) const { return {std::span(x).first(n), std::span(y).first(n), std::span(z).first(n)}; }

    void add(double px, double py, double pz, double value)
    {
        x.push_back(px);
        y.push_back(py);
        z.push_back(pz);
        phi.push_back(value);
    }

    [[nodiscard]] std::string text() const
    {
        std::string all;
        for (std::size_t i = 0; i < size(); ++i)
            for (const double v : {x[i], y[i], z[i], phi[i]})
                all += std::to_string(std::bit_cast<std::uint64_t>(v)) + (v == phi[i] ? "\n" : " ");
        return all;
    }
};

/// Stencils of every sort: general ones, lattices (ties), coincident, collinear and coplanar points, huge, tiny and mixed scales, signed
/// zeros.
class Cases
{
public:
    explicit Cases(unsigned seed)
        : random_(seed)
    {
    }

    Case next(int n)
    {
        const int sort = number(0, 9);
        const double scale = scaleOf(number(0, 19));
        Case c;
        for (int i = 0; i < n; ++i)
            c.add(0, 0, 0, valueOf(number(0, 39)));
        int i = 0;
        for (std::vector<double>* run : {&c.x, &c.y, &c.z})
        {
            const int axis = i++;
            const double shift = number(0, 3) == 0 ? real(-100, 100) : 0.0;
            for (double& v : *run)
            {
                switch (sort)
                {
                case 0: // few places, some more than once
                    v = number(0, 1);
                    break;
                case 1: // a lattice
                    v = number(-2, 2);
                    break;
                case 2: // on a line along an axis
                    v = axis == 0 ? real(-2, 2) : -0.0;
                    break;
                case 3: // on an inclined line
                    v = (axis + 1) * c.x[static_cast<std::size_t>(&v - run->data())];
                    if (axis == 0)
                        v = real(-1, 1);
                    break;
                case 4: // in a plane
                    v = axis == 2 ? 0.25 : real(-2, 2);
                    break;
                case 5: // signed zeros
                    v = number(0, 2) == 0 ? 1.0 : number(0, 1) == 0 ? 0.0 : -0.0;
                    break;
                default: // a lattice with its points moved
                    v = number(-1, 1) + real(-0.2, 0.2);
                }
                v = v * scale + shift * scale;
            }
        }
        if (number(0, 7) == 0 && n > 1) // a point twice
        {
            const auto from = static_cast<std::size_t>(number(0, n - 1));
            c.x.back() = c.x[from];
            c.y.back() = c.y[from];
            c.z.back() = c.z[from];
        }
        if (number(0, 15) == 0 && n > 0) // one far away
            c.x[static_cast<std::size_t>(number(0, n - 1))] *= 1e9;
        return c;
    }

    int number(int low, int high) { return std::uniform_int_distribution<int>(low, high)(random_); }
    double real(double low, double high) { return std::uniform_real_distribution<double>(low, high)(random_); }

    /// Many small stencils, few large ones: 1 to 40 points.
    int size()
    {
        const int sort = number(0, 99);
        return sort < 75 ? number(1, 7) : sort < 98 ? number(8, 11) : number(12, 40);
    }

private:
    double scaleOf(int sort)
    {
        switch (sort)
        {
        case 0:
            return 1e140;
        case 1:
            return 1e-170;
        case 2:
            return 1e20;
        case 3:
            return 1e-9;
        case 4:
            return 1e-300;
        case 5:
            return 1e5;
        default:
            return real(0.1, 10);
        }
    }

    double valueOf(int sort)
    {
        switch (sort)
        {
        case 0:
            return -0.0;
        case 1:
            return 1e300;
        case 2:
            return 5e-324;
        case 3:
            return 0.0;
        default:
            return real(-3, 3);
        }
    }

    std::mt19937 random_;
};

/// What a kernel should give for the first n points, from the weights of the plain form.
Trials plainTrials(const Case& c, std::size_t n)
{
    Trials trials{};
    std::array<std::vector<double>, 3> w = {std::vector<double>(n), std::vector<double>(n), std::vector<double>(n)};
    for (std::size_t t = 0; t < shapeCount; ++t)
    {
        derivativeWeights(c.stencil(n), triedShapes()[t], {w[0], w[1], w[2]});
        for (std::size_t axis = 0; axis < 3; ++axis)
        {
            double sum = 0.0;
            double derivative = 0.0;
            for (std::size_t i = 0; i < n; ++i)
            {
                sum += w[axis][i];
                derivative += c.phi[i] * w[axis][i];
            }
            trials.defect[axis][t] = std::abs(sum);
            trials.derivative[axis][t] = derivative;
            trials.lastWeight[axis][t] = w[axis][n - 1];
        }
    }
    return trials;
}

bool same(const Trials& a, const Trials& b)
{
    return std::memcmp(&a, &b, sizeof a) == 0;
}

struct alignas(64) Line
{
    double v[8];
};

/// All trials of `count` stencils from the seed on, as one fit and as two.
void compareTrials(unsigned seed, int count)
{
    Cases cases(seed);
    std::vector<Line> room(static_cast<std::size_t>(trialRoom(40)) / 8 + 1);
    for (int k = 0; k < count; ++k)
    {
        const int n = cases.size();
        const Case c = cases.next(n);
        const Trials with = plainTrials(c, c.size());
        Trials without{};
        if (n > 1)
            without = plainTrials(c, c.size() - 1);
        for (const LaneSet set : laneSets())
        {
            Trials first{};
            Trials second{};
            const TrialStencil stencil{c.x.data(), c.y.data(), c.z.data(), c.phi.data(), n};
            if (k % 4 == 0 || n == 1)
            {
                trialKernel(set)(stencil, triedShapes().data(), room[0].v, first, nullptr);
                ASSERT_TRUE(same(first, with)) << nameOf(set) << ", case " << k << "\n" << c.text();
            }
            if (n > 1)
            {
                trialKernel(set)(stencil, triedShapes().data(), room[0].v, first, &second);
                ASSERT_TRUE(same(first, with)) << nameOf(set) << ", case " << k << " with its last point\n" << c.text();
                ASSERT_TRUE(same(second, without)) << nameOf(set) << ", case " << k << " without its last point\n" << c.text();
            }
        }
    }
}

bool same(const DerivativeFit& a, const DerivativeFit& b)
{
    return std::memcmp(&a, &b, sizeof a) == 0;
}

} // namespace

TEST(Quadrature, shapes_tried_are_the_accumulated_ones)
{
    double c = 1.0;
    for (const double shape : triedShapes())
    {
        EXPECT_EQ(shape, c);
        c = c + 0.1;
    }
    EXPECT_GT(c, 3.0);
}

TEST(Quadrature, every_trial_of_random_and_degenerate_stencils_is_the_plain_one_a)
{
    compareTrials(1, 34000);
}

TEST(Quadrature, every_trial_of_random_and_degenerate_stencils_is_the_plain_one_b)
{
    compareTrials(2, 34000);
}

TEST(Quadrature, every_trial_of_random_and_degenerate_stencils_is_the_plain_one_c)
{
    compareTrials(3, 34000);
}

TEST(Quadrature, fits_are_the_plain_ones_also_with_infinities_and_presets)
{
    Cases cases(4);
    std::vector<Quadrature> fast;
    for (const LaneSet set : laneSets())
        fast.emplace_back(set);
    for (int k = 0; k < 3000; ++k)
    {
        Case c = cases.next(k % 97 == 0 ? 0 : cases.size());
        if (k % 3 == 0 && c.size() > 1) // alone, a point with an infinity is a row of NaN
        {
            const auto i = static_cast<std::size_t>(cases.number(0, static_cast<int>(c.size()) - 1));
            std::vector<double>& run = k % 4 == 0 ? c.phi : k % 4 == 1 ? c.x : k % 4 == 2 ? c.y : c.z;
            run[i] = k % 5 == 0 ? infinity : k % 5 == 1 ? -infinity : k % 5 == 2 ? 1e160 : 1e308;
            if (k % 4 == 0 && k % 5 == 3)
                run[i] = notANumber;
        }
        DerivativeFit expected{{1, -0.0, 3}, {4, 5, -0.0}};
        const DerivativeFit preset = expected;
        fitDerivatives(c.stencil(c.size()), c.phi, expected);
        for (Quadrature& q : fast)
        {
            DerivativeFit fit = preset;
            q.fitDerivatives(c.stencil(c.size()), c.phi, fit);
            ASSERT_TRUE(same(fit, expected)) << k << "\n" << c.text();
        }
    }
}

TEST(Quadrature, values_at_points_are_the_plain_ones)
{
    Cases cases(5);
    std::vector<Quadrature> fast;
    for (const LaneSet set : laneSets())
        fast.emplace_back(set);
    for (int k = 0; k < 2000; ++k)
    {
        // up to three overlapping rows of the same points
        Case c = cases.next(30);
        const bool hasInfinity = k % 50 == 0 || k % 40 == 1; // then no point may be alone: it would be a row of NaN
        if (k % 50 == 0)
            c.x[7] = infinity;
        if (k % 50 == 1)
            c.phi[9] = notANumber;
        meshes::Rows rows;
        std::vector<int> nodes;
        for (int r = cases.number(0, 3); r > 0; --r)
        {
            std::vector<int> row;
            const int start = cases.number(0, 8);
            for (int i = cases.size() % 20 + (hasInfinity ? 2 : 0); i > 0; --i)
                row.push_back(start + i);
            rows.add(row);
            nodes.push_back(rows.count());
        }
        c.x.insert(c.x.begin(), 0.0);
        c.y.insert(c.y.begin(), 0.0);
        c.z.insert(c.z.begin(), 0.0);
        c.phi.insert(c.phi.begin(), 0.0);
        const NumberedPoints points(c.x.data(), c.y.data(), c.z.data(), 30);
        const NumberedSpan<const double> phi(c.phi.data(), 30);
        Point target = {cases.real(-1, 1), cases.real(-1, 1), cases.real(-1, 1)};
        if (k % 10 == 0)
            target = points[5];
        if (k % 40 == 1)
            target.y = -infinity;
        const double expected = interpolateAtPoint(nodes, rows.data(), points, phi, target);
        for (Quadrature& q : fast)
        {
            const double value = q.interpolateAtPoint(nodes, rows.data(), points, phi, target);
            ASSERT_EQ(std::bit_cast<std::uint64_t>(value), std::bit_cast<std::uint64_t>(expected)) << k;
        }
    }
}

TEST(Quadrature, engine_gives_the_plain_values)
{
    meshes::Mesh mesh = meshes::grid(4, 4.0, 0.15);
    meshes::Points data = {{1.3, 1.6, 1.45}, {2.1, 2.2, 1.7}, {0.4, 3.1, 2.2}};
    const auto f = [](double x, double y, double z) { return std::sin(x) * y + z; };
    std::vector<double> onNodes = meshes::sample<double>(mesh.node, f);
    std::vector<double> onCells = meshes::sample<double>(mesh.centre, f);
    for (int q = 1; q <= data.count(); ++q)
    {
        const auto k = static_cast<std::size_t>(q);
        const Point target = {data.x[k], data.y[k], data.z[k]};
        CSolInterpolation engine;
        meshes::sort(engine, mesh, data);
        double value = 0;
        engine.GetInterpolation(q, onNodes.data(), value);
        EXPECT_EQ(value, interpolateAtPoint(listItems(engine.m_ppDataStencil[q]), engine.m_ppNodeNeighbour,
                                            {engine.m_pNodeX, engine.m_pNodeY, engine.m_pNodeZ, engine.m_nNode},
                                            {onNodes.data(), engine.m_nNode}, target));
        CSolInterpolation centres;
        meshes::sortCentre(centres, mesh, data);
        centres.GetInterpolationCenter(q, onCells.data(), value);
        EXPECT_EQ(value, interpolateAtPoint(listItems(centres.m_ppDataStencil[q]), centres.m_ppNodeCell,
                                            {centres.m_pCellX, centres.m_pCellY, centres.m_pCellZ, centres.m_nCell},
                                            {onCells.data(), centres.m_nCell}, target));
    }
}

using QuadratureDeathTest = ::testing::Test;

TEST(QuadratureDeathTest, point_that_is_not_a_number_ends_the_process_with_the_lines_of_the_plain_form)
{
    ::testing::GTEST_FLAG(death_test_style) = "threadsafe";
    Case c;
    c.add(0, 0, 0, 1);
    c.add(1, notANumber, 0, 2);
    DerivativeFit fit;
    for (const LaneSet set : laneSets())
        EXPECT_EXIT(Quadrature(set).fitDerivatives(c.stencil(2), c.phi, fit), ::testing::ExitedWithCode(1),
                    "^Numerical Recipes run-time error\\.\\.\\.\nSingular matrix in routine ludcmp\n\\.\\.\\.now exiting to system");
}
