// The fast shape functions: the same bits with every instruction set, the weights of the careful way, and answers wherever they are meant to give one.

#include "fem_elements_cases.h"

#include "common/compiler.h"
#include "common/processor.h"
#include "opensuite/fast_shapes.h"
#include "opensuite/inverse_mapping.h"
#include "opensuite/shape_functions.h"
#include "opensuite/solid_elements.h"

#include <gtest/gtest.h>

#include <cstring>
#include <limits>

namespace tav3d::test::fast_shapes_test
{
namespace
{

using common::canRun;
using common::LaneSet;
using opensuite::FastShape;
using opensuite::FastShapes;

constexpr const char* kindNames[] = {"TETRA4", "PRISM6", "HEXA8"};

FastShape ofKind(const FastShapes& shapes, const std::string& name)
{
    return name == "TETRA4" ? shapes.tetra : name == "PRISM6" ? shapes.prism : shapes.hexa;
}

const CFEM_Elem3D& ofKind(const opensuite::FastElements& elements, const std::string& name)
{
    return *(name == "TETRA4" ? elements.tetra : name == "PRISM6" ? elements.prism : elements.hexa);
}

/// Those of the widest instruction set that can run here.
const FastShapes& best()
{
#if defined(TAV3D_X86_64)
    return canRun(LaneSet::avx2) ? opensuite::avx2::fastShapes : opensuite::sse2::fastShapes;
#else
    return opensuite::plain_lanes::fastShapes;
#endif
}

struct Answer
{
    bool isGiven = false;
    std::array<double, 8> N{};
};

struct Coordinates
{
    std::array<double, 8> X{}, Y{}, Z{};

    explicit Coordinates(const Points& node)
    {
        for (std::size_t i = 0; i < node.size(); ++i)
        {
            X[i] = node[i][0];
            Y[i] = node[i][1];
            Z[i] = node[i][2];
        }
    }
};

Answer ask(FastShape shapeAt, const Points& node, const Point& x)
{
    const Coordinates at(node);
    Answer answer;
    answer.isGiven = shapeAt(x[0], x[1], x[2], at.X.data(), at.Y.data(), at.Z.data(), answer.N.data());
    return answer;
}

Answer ask(const CFEM_Elem3D& element, const Points& node, const Point& x)
{
    const Coordinates at(node);
    Answer answer{true, {}};
    element.GetShapeFunction(x[0], x[1], x[2], at.X.data(), at.Y.data(), at.Z.data(), answer.N.data());
    return answer;
}

/// Answers of all instruction sets must agree, and those of their elements, which always have one; returns whether the fast shape function had one.
bool agrees(const std::string& name, const Points& node, const Point& x)
{
    const Answer plain = ask(ofKind(opensuite::plain_lanes::fastShapes, name), node, x);
    const Answer plainElement = ask(ofKind(opensuite::fastElements(LaneSet::plain), name), node, x);
    const std::size_t bytes = node.size() * sizeof(double);
    if (plain.isGiven)
    {
        EXPECT_EQ(std::memcmp(plainElement.N.data(), plain.N.data(), bytes), 0) << name;
    }
    [[maybe_unused]] const auto compare = [&](const FastShapes& shapes, LaneSet lanes)
    {
        const Answer other = ask(ofKind(shapes, name), node, x);
        ASSERT_EQ(other.isGiven, plain.isGiven) << name;
        if (plain.isGiven)
        {
            ASSERT_EQ(std::memcmp(other.N.data(), plain.N.data(), bytes), 0) << name;
        }
        const Answer element = ask(ofKind(opensuite::fastElements(lanes), name), node, x);
        ASSERT_EQ(std::memcmp(element.N.data(), plainElement.N.data(), bytes), 0) << name;
    };
#if defined(TAV3D_X86_64)
    if (canRun(LaneSet::sse2))
        compare(opensuite::sse2::fastShapes, LaneSet::sse2);
    if (canRun(LaneSet::avx2))
        compare(opensuite::avx2::fastShapes, LaneSet::avx2);
#endif
    return plain.isGiven;
}

/// A random mean of the nodes, away from the nodes themselves.
Point inside(const Points& node, std::mt19937_64& random)
{
    std::uniform_real_distribution<double> weight(0.05, 1.0);
    Point x{};
    double total = 0.0;
    for (const Point& p : node)
    {
        const double w = weight(random);
        total += w;
        for (int k = 0; k < 3; ++k)
            x[k] += w * p[k];
    }
    for (double& c : x)
        c /= total;
    return x;
}

} // namespace

TEST(FastShapes, every_instruction_set_gives_the_same_bits)
{
    std::mt19937_64 random(11);
    std::uniform_real_distribution<double> unit(-1, 2);
    for (const char* name : kindNames)
        for (const double amplitude : {0.0, 1e-9, 1e-6, 0.05, 0.12, 0.4, 1.0})
            for (const double size : {1.0, 0.1, 1e-60, 1e60, 1e-120, 1e120})
                for (int repeat = 0; repeat < 1000; ++repeat)
                {
                    Points node = displaced(kindNamed(name), random, amplitude);
                    Point x = repeat % 4 == 0 ? Point{unit(random), unit(random), unit(random)} : inside(node, random);
                    for (Point& p : node)
                        for (double& c : p)
                            c = size * (repeat % 3 == 0 ? c + 1000.0 : c);
                    for (double& c : x)
                        c = size * (repeat % 3 == 0 ? c + 1000.0 : c);
                    agrees(name, node, x);
                    if (HasFatalFailure())
                        return;
                }
}

TEST(FastShapes, every_instruction_set_gives_the_same_bits_in_degenerate_elements)
{
    std::mt19937_64 random(12);
    std::uniform_int_distribution<int> lattice(0, 2);
    std::uniform_int_distribution<std::size_t> any(0, 7);
    const double odd[] = {0.0,
                          -0.0,
                          HUGE_VAL,
                          -HUGE_VAL,
                          std::numeric_limits<double>::quiet_NaN(),
                          std::numeric_limits<double>::denorm_min(),
                          std::numeric_limits<double>::max(),
                          -1e-300};
    for (const char* name : kindNames)
        for (int repeat = 0; repeat < 20000; ++repeat)
        {
            Points node = kindNamed(name).regular;
            for (Point& p : node) // many coincide, many elements are flat or turned inside out
                for (double& c : p)
                    c = lattice(random);
            Point x = {0.5 * lattice(random), 0.5 * lattice(random), 0.5 * lattice(random)};
            if (repeat % 3 == 1)
                x = node[any(random) % node.size()];
            if (repeat % 5 == 1)
                node[any(random) % node.size()][any(random) % 3] = odd[any(random)];
            if (repeat % 7 == 1)
                x[any(random) % 3] = odd[any(random)];
            agrees(name, node, x);
            if (HasFatalFailure())
                return;
        }
}

TEST(FastShapes, points_inside_of_ordinary_elements_are_answered)
{
    std::mt19937_64 random(13);
    for (const char* name : kindNames)
        for (const double amplitude : {0.0, 1e-8, 0.05, 0.12})
        {
            int answered = 0;
            for (int repeat = 0; repeat < 2000; ++repeat)
            {
                const Points node = displaced(kindNamed(name), random, amplitude);
                answered += agrees(name, node, inside(node, random)) ? 1 : 0;
            }
            EXPECT_EQ(answered, 2000) << name << " " << amplitude;
        }
}

TEST(FastShapes, points_at_nodes_are_left_to_the_careful_way_or_have_one_weight)
{
    std::mt19937_64 random(14);
    for (const char* name : kindNames)
        for (int repeat = 0; repeat < 500; ++repeat)
        {
            const Points node = displaced(kindNamed(name), random, 0.12);
            for (std::size_t i = 0; i < node.size(); ++i)
            {
                const Answer answer = ask(ofKind(best(), name), node, node[i]);
                if (!answer.isGiven)
                    continue;
                for (std::size_t k = 0; k < node.size(); ++k)
                    ASSERT_EQ(answer.N[k], k == i ? 1.0 : 0.0) << name;
            }
        }
}

TEST(FastShapes, weights_are_those_of_the_careful_way)
{
    std::mt19937_64 random(15);
    for (int repeat = 0; repeat < 20000; ++repeat)
        for (const char* name : kindNames)
        {
            const Points node = displaced(kindNamed(name), random, repeat % 2 == 0 ? 0.12 : 0.3);
            const Point x = inside(node, random);
            const Answer fast = ask(ofKind(best(), name), node, x);
            if (!fast.isGiven)
                continue;
            const auto& [X, Y, Z] = Coordinates(node);
            std::array<double, 8> N{};
            const double at[3] = {x[0], x[1], x[2]};
            double xi[3] = {};
            if (node.size() == 4)
            {
                ASSERT_TRUE(opensuite::invertTetra(at,
                                                   {std::span<const double, 4>(X.data(), 4), std::span<const double, 4>(Y.data(), 4),
                                                    std::span<const double, 4>(Z.data(), 4)},
                                                   xi));
                opensuite::tetraShape(xi[0], xi[1], xi[2], std::span<double, 4>(N.data(), 4));
            }
            else if (node.size() == 6)
            {
                ASSERT_TRUE(opensuite::invertPrism(at,
                                                   {std::span<const double, 6>(X.data(), 6), std::span<const double, 6>(Y.data(), 6),
                                                    std::span<const double, 6>(Z.data(), 6)},
                                                   xi));
                opensuite::prismShape(xi[0], xi[1], xi[2], std::span<double, 6>(N.data(), 6));
            }
            else
            {
                ASSERT_TRUE(opensuite::invertHexa(at, {X, Y, Z}, xi));
                opensuite::hexaShape(xi[0], xi[1], xi[2], N);
            }
            for (std::size_t i = 0; i < node.size(); ++i)
                ASSERT_NEAR(fast.N[i], N[i], repeat % 2 == 0 ? 1e-13 : 1e-11) << name;
        }
}

} // namespace tav3d::test::fast_shapes_test
