// The fast quadrature against the plain one, bit for bit, with every lane set that this machine can run.

#include "interpolation/quadrature.h"

#include "Tav3dInterpolation.h"
#include "engine_calls.h"
#include "interpolation/sol_interpolation.h"
#include "support/case_count.h"

#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <random>
#include <string>

namespace quadrature_test
{

using namespace tav3d::interpolation;
using tav3d::common::LaneSet;
using tav3d::test::caseCount;

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

/// All trials of `count` stencils from the seed on, as one fit and as two; as two where `asTwo` says so of a case's number.
template <class Size, class AsTwo>
void compareTrials(unsigned seed, int count, Size sizeOf, AsTwo asTwo)
{
    Cases cases(seed);
    std::vector<Line> room(static_cast<std::size_t>(trialRoom(40)) / 8 + 1);
    for (int k = 0; k < count; ++k)
    {
        const int n = sizeOf(cases);
        const Case c = cases.next(n);
        const Trials with = plainTrials(c, c.size());
        Trials without{};
        const bool isTwo = n > 1 && asTwo(k);
        if (isTwo)
            without = plainTrials(c, c.size() - 1);
        for (const LaneSet set : laneSets())
        {
            Trials first{};
            Trials second{};
            const TrialStencil stencil{c.x.data(), c.y.data(), c.z.data(), c.phi.data(), n};
            if (k % 4 == 0 || !isTwo)
            {
                trialKernel(set)(stencil, triedShapes().data(), room[0].v, first, nullptr);
                ASSERT_TRUE(same(first, with)) << nameOf(set) << ", case " << k << "\n" << c.text();
            }
            if (isTwo)
            {
                trialKernel(set)(stencil, triedShapes().data(), room[0].v, first, &second);
                ASSERT_TRUE(same(first, with)) << nameOf(set) << ", case " << k << " with its last point\n" << c.text();
                ASSERT_TRUE(same(second, without)) << nameOf(set) << ", case " << k << " without its last point\n" << c.text();
            }
        }
    }
}

/// Many small stencils, few large ones.
void compareTrials(unsigned seed, int count)
{
    compareTrials(
        seed, count, [](Cases& cases) { return cases.size(); }, [](int) { return true; });
}

/// As many points as nodes have around them in meshes: 12 to 40, often the 27 or 28 of hexahedra. The plain form takes its time with these, so every
/// third is fitted twice only.
void compareLargeTrials(unsigned seed, int count)
{
    const auto size = [](Cases& cases)
    {
        const int sort = cases.number(0, 9);
        return sort < 6 ? cases.number(12, 20) : sort < 8 ? cases.number(27, 28) : cases.number(21, 40);
    };
    compareTrials(seed, count, size, [](int k) { return k % 3 == 0; });
}

bool same(const DerivativeFit& a, const DerivativeFit& b)
{
    return std::memcmp(&a, &b, sizeof a) == 0;
}

/// The fit that hosts get, of a stencil without points too.
DerivativeFit fitByExportedClass(Case c, DerivativeFit fit)
{
    for (std::vector<double>* run : {&c.x, &c.y, &c.z, &c.phi})
        run->insert(run->begin(), 0.0); // hosts count from 1
    auto& [d, w] = fit;
    CTav3dInterpolation().Drivatives_Calculator_LDQ(c.x.data(), c.y.data(), c.z.data(), c.phi.data(), static_cast<int>(c.size()) - 1, d[0],
                                                    d[1], d[2], w[0], w[1], w[2]);
    return fit;
}

/// What no kernel may be given, and the last numbers that one may.
constexpr std::array beyondKernels = {infinity, -infinity, 1e308, -1e308, 1e160, std::numeric_limits<double>::max(), 1.0e150, -1.0e150};

/// Puts numbers that are not finite, or nearly so, into values and coordinates. The first point keeps its coordinates: a stencil without one
/// finite point has a row of NaN, which ends the process.
void spoil(Cases& cases, Case& c)
{
    for (int i = static_cast<int>(c.size()); i > 0; i /= 2)
    {
        const auto point = static_cast<std::size_t>(cases.number(0, static_cast<int>(c.size()) - 1));
        const int run = point == 0 ? 0 : cases.number(0, 3);
        std::vector<double>& values = run == 0 ? c.phi : run == 1 ? c.x : run == 2 ? c.y : c.z;
        values[point] = run == 0 && cases.number(0, 2) == 0 ? notANumber : beyondKernels[static_cast<std::size_t>(cases.number(0, 7))];
    }
}

/// Values at points of a mesh, by the engine and by the plain form with the engine's tables.
void compareEngine(meshes::Mesh mesh, unsigned seed, int count, double size)
{
    Cases cases(seed);
    meshes::Points data;
    for (int k = 0; k < count; ++k)
        switch (k % 10)
        {
        case 0: // beside the mesh
            data.add(cases.real(-1, 0), cases.real(0, size), cases.real(size, size + 1));
            break;
        case 1: // at a node
        {
            const auto node = static_cast<std::size_t>(cases.number(1, mesh.node.count()));
            data.add(mesh.node.x[node], mesh.node.y[node], mesh.node.z[node]);
            break;
        }
        default:
            data.add(cases.real(0, size), cases.real(0, size), cases.real(0, size));
        }
    const auto f = [](double x, double y, double z) { return std::sin(x) * y + z; };
    std::vector<double> onNodes = meshes::sample<double>(mesh.node, f);
    std::vector<double> onCells = meshes::sample<double>(mesh.centre, f);
    CSolInterpolation engine;
    CSolInterpolation centres;
    meshes::sort(engine, mesh, data);
    // The sorting looks for the nearest node among as many nodes as there are cells: tetrahedra are more than nodes.
    meshes::Points nodes = mesh.node;
    while (nodes.count() < mesh.cell.count())
        nodes.add(-1e6, 0, 0);
    centres.SetSortingCenter(mesh.node.count(), mesh.cell.count(), nodes.x.data(), nodes.y.data(), nodes.z.data(), mesh.cell.data(),
                             mesh.centre.x.data(), mesh.centre.y.data(), mesh.centre.z.data(), data.count(), data.x.data(), data.y.data(),
                             data.z.data());
    for (int q = 1; q <= data.count(); ++q)
    {
        const auto k = static_cast<std::size_t>(q);
        const Point target = {data.x[k], data.y[k], data.z[k]};
        double value = 0;
        engine.GetInterpolation(q, onNodes.data(), value);
        const double onNode = interpolateAtPoint(listItems(engine.m_ppDataStencil[q]), engine.m_ppNodeNeighbour,
                                                 {engine.m_pNodeX, engine.m_pNodeY, engine.m_pNodeZ, engine.m_nNode},
                                                 {onNodes.data(), engine.m_nNode}, target);
        ASSERT_EQ(std::bit_cast<std::uint64_t>(value), std::bit_cast<std::uint64_t>(onNode)) << q;
        centres.GetInterpolationCenter(q, onCells.data(), value);
        const double onCell = interpolateAtPoint(listItems(centres.m_ppDataStencil[q]), centres.m_ppNodeCell,
                                                 {centres.m_pCellX, centres.m_pCellY, centres.m_pCellZ, centres.m_nCell},
                                                 {onCells.data(), centres.m_nCell}, target);
        ASSERT_EQ(std::bit_cast<std::uint64_t>(value), std::bit_cast<std::uint64_t>(onCell)) << q;
    }
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
    compareTrials(1, caseCount(34000));
}

TEST(Quadrature, every_trial_of_random_and_degenerate_stencils_is_the_plain_one_b)
{
    compareTrials(2, caseCount(34000));
}

TEST(Quadrature, every_trial_of_random_and_degenerate_stencils_is_the_plain_one_c)
{
    compareTrials(3, caseCount(34000));
}

TEST(Quadrature, every_trial_of_large_stencils_is_the_plain_one_a)
{
    compareLargeTrials(11, caseCount(10000));
}

TEST(Quadrature, every_trial_of_large_stencils_is_the_plain_one_b)
{
    compareLargeTrials(12, caseCount(10000));
}

TEST(Quadrature, fits_of_small_stencils_with_numbers_that_are_not_finite_are_the_plain_ones)
{
    Cases cases(6);
    std::vector<Quadrature> fast;
    for (const LaneSet set : laneSets())
        fast.emplace_back(set);
    for (int k = 0; k < caseCount(100000); ++k)
    {
        Case c = cases.next(cases.number(1, 5));
        spoil(cases, c);
        const DerivativeFit preset{{1, -0.0, 3}, {4, 5, -0.0}};
        DerivativeFit expected = preset;
        fitDerivatives(c.stencil(c.size()), c.phi, expected);
        // None of these goes to a kernel but those with the last numbers that may: one lane set at a time, and the exported class.
        DerivativeFit fit = preset;
        fast[static_cast<std::size_t>(k) % fast.size()].fitDerivatives(c.stencil(c.size()), c.phi, fit);
        ASSERT_TRUE(same(fit, expected)) << k << "\n" << c.text();
        if (k % 8 == 0)
        {
            ASSERT_TRUE(same(fitByExportedClass(c, preset), expected)) << k << "\n" << c.text();
        }
    }
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
        ASSERT_TRUE(same(fitByExportedClass(c, preset), expected)) << k << "\n" << c.text();
    }
}

TEST(Quadrature, values_at_points_are_the_plain_ones)
{
    Cases cases(5);
    std::vector<Quadrature> fast;
    for (const LaneSet set : laneSets())
        fast.emplace_back(set);
    for (int k = 0; k < caseCount(8000); ++k)
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

TEST(Quadrature, engine_gives_the_plain_values_among_hexahedra)
{
    compareEngine(meshes::grid(7, 4.0, 0.15), 7, caseCount(1200), 4.0);
}

TEST(Quadrature, engine_gives_the_plain_values_among_tetrahedra)
{
    compareEngine(meshes::inTetrahedra(meshes::grid(5, 4.0, 0.15)), 8, caseCount(2000), 4.0);
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

} // namespace quadrature_test
