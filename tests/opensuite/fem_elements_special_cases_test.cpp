// Elements far away, flat, collapsed, tangled, tiny; numbers that are not finite.

#include "fem_elements_cases.h"

#include <gtest/gtest.h>

#include <limits>

namespace fem_elements_special_cases_test
{

using namespace tav3d::test;

TEST(FemElements, mesh_far_from_the_origin_loses_no_digits_of_the_element)
{
    for (const Kind& kind : allKinds())
    {
        Points node = kind.regular;
        for (Point& p : node)
            for (int k = 0; k < (kind.isPlane ? 2 : 3); ++k)
                p[k] = 0x1p30 + p[k]; // exact
        Point x = kind.isPlane ? Point{0x1p30 + 0.25, 0x1p30 + 0.5, 0} : Point{0x1p30 + 0.25, 0x1p30 + 0.5, 0x1p30 + 0.125};
        const std::vector<double> N = shape(kind, node, x);
        const std::vector<double> expected = shape(kind, kind.regular, kind.isPlane ? Point{0.25, 0.5, 0} : Point{0.25, 0.5, 0.125});
        for (std::size_t i = 0; i < N.size(); ++i)
            EXPECT_NEAR(N[i], expected[i], 1e-15) << kind.name;
    }
}

TEST(FemElements, flat_elements_give_the_weights_of_least_norm_of_the_nearest_point_in_their_plane)
{
    Points hexa = kindNamed("HEXA8").regular;
    for (Point& p : hexa)
        p[2] = 0.0;
    const std::vector<double> centre = shape(kindNamed("HEXA8"), hexa, {0.5, 0.5, 7.0});
    for (const double n : centre)
        EXPECT_NEAR(n, 0.125, 1e-15);
    const std::vector<double> side = shape(kindNamed("HEXA8"), hexa, {1.0, 0.5, 7.0});
    for (std::size_t i = 0; i < 8; ++i)
        EXPECT_NEAR(side[i], hexa[i][0] == 1.0 ? 0.25 : 0.0, 1e-15);

    const Points tetra = {{0, 0, 0}, {1, 0, 0}, {1, 1, 0}, {0, 1, 0}}; // a tetrahedron pressed into a square
    const std::vector<double> N = shape(kindNamed("TETRA4"), tetra, {0.25, 0.5, -3.0});
    const double expected[4] = {0.375, 0.125, 0.125, 0.375};
    for (std::size_t i = 0; i < 4; ++i)
        EXPECT_NEAR(N[i], expected[i], 1e-15);

    const std::vector<double> line = shape(kindNamed("TRI3"), {{0, 0, 0}, {1, 1, 0}, {2, 2, 0}}, {2, 0, 0}); // nearest point (1, 1)
    for (const double n : line)
        EXPECT_NEAR(n, 1.0 / 3.0, 1e-15);
}

TEST(FemElements, all_nodes_in_one_place_share_evenly_except_in_that_place)
{
    for (const Kind& kind : allKinds())
    {
        const Points node(kind.regular.size(), Point{3, 4, 0});
        for (const double n : shape(kind, node, {5, 6, 0}))
            EXPECT_EQ(n, 1.0 / static_cast<double>(node.size()));
        const std::vector<double> there = shape(kind, node, {3, 4, 0});
        EXPECT_EQ(there[0], 1.0);
        EXPECT_EQ(sum(there), 1.0);
    }
}

TEST(FemElements, hexahedron_collapsed_into_a_prism_has_the_prisms_values)
{
    const Kind& prism = kindNamed("PRISM6");
    const Points& p = prism.regular;
    const Points hexa = {p[0], p[1], p[2], p[2], p[3], p[4], p[5], p[5]};
    for (const Point& x : Points{{0.2, 0.3, 0.4}, {0.05, 0.9, 0.5}, {0.5, 0.0, 1.0}})
    {
        const std::vector<double> N = shape(kindNamed("HEXA8"), hexa, x);
        const std::vector<double> expected = shape(prism, p, x);
        EXPECT_NEAR(N[0], expected[0], 1e-13);
        EXPECT_NEAR(N[1], expected[1], 1e-13);
        EXPECT_NEAR(N[2] + N[3], expected[2], 1e-13);
        EXPECT_NEAR(N[4], expected[3], 1e-13);
        EXPECT_NEAR(N[5], expected[4], 1e-13);
        EXPECT_NEAR(N[6] + N[7], expected[5], 1e-13);
    }
}

TEST(FemElements, tangled_and_collapsed_elements_give_finite_weights_that_sum_to_one)
{
    std::mt19937_64 random(7);
    std::uniform_int_distribution<int> lattice(0, 2);
    std::uniform_real_distribution<double> unit(-1, 3);
    for (const Kind& kind : allKinds())
        for (int repeat = 0; repeat < 5000; ++repeat)
        {
            Points node = kind.regular; // nodes on a coarse lattice: many coincide, many elements are flat or turned inside out
            for (Point& p : node)
                for (int k = 0; k < (kind.isPlane ? 2 : 3); ++k)
                    p[k] = lattice(random);
            const Point x = {unit(random), unit(random), kind.isPlane ? 0.0 : unit(random)};
            const std::vector<double> N = shape(kind, node, x);
            ASSERT_TRUE(std::isfinite(largest(N))) << kind.name;
            ASSERT_NEAR(sum(N), 1.0, 1e-9) << kind.name;
        }
}

TEST(FemElements, numbers_that_are_not_finite_give_nan)
{
    for (const Kind& kind : allKinds())
        for (const double bad : {std::numeric_limits<double>::quiet_NaN(), HUGE_VAL, -HUGE_VAL})
        {
            for (const double n : shape(kind, kind.regular, {0.3, bad, 0.3}))
                EXPECT_TRUE(std::isnan(n)) << kind.name << " " << bad;
            for (std::size_t i = 0; i < kind.regular.size(); ++i)
            {
                Points node = kind.regular;
                node[i][0] = bad;
                for (const double n : shape(kind, node, {0.3, 0.2, 0.1}))
                    EXPECT_TRUE(std::isnan(n)) << kind.name << " " << bad;
            }
        }
}

TEST(FemElements, tiny_and_huge_elements_keep_their_values)
{
    for (const Kind& kind : allKinds())
        for (const double size : {0x1p-40, 0x1p-20, 0x1p20, 0x1p40})
        {
            Points node = kind.regular;
            for (Point& p : node)
                for (double& c : p)
                    c *= size;
            const Point x = {0.25, 0.5, kind.isPlane ? 0 : 0.125};
            const std::vector<double> N = shape(kind, node, {x[0] * size, x[1] * size, x[2] * size});
            const std::vector<double> expected = shape(kind, kind.regular, x);
            for (std::size_t i = 0; i < N.size(); ++i)
                EXPECT_NEAR(N[i], expected[i], 1e-15) << kind.name << " " << size;
        }
}

} // namespace fem_elements_special_cases_test
