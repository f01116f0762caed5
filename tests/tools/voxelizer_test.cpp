#include "shapes.h"
#include "tools/voxelizer.h"

#include <gtest/gtest.h>

#include <cmath>
#include <numbers>

namespace voxelizer_test
{

using namespace tav3d::tools;
using namespace tav3d::test;

namespace
{

/// Cell centres of n³ cells over the cube from -half to half, slightly shifted.
Lattice latticeOver(double half, int n)
{
    const double step = 2 * half / n;
    const double first = -half + 0.5 * step;
    return {{first + 1.3e-5 * step, first + 0.7e-5 * step, first + 1.1e-5 * step}, step, {n, n, n}};
}

double filledVolume(const Fill& filled, double step)
{
    return static_cast<double>(filled.insideTotal) * step * step * step;
}

} // namespace

TEST(Voxelizer, box_on_the_lattice_planes_is_filled_exactly)
{
    // faces exactly on the points of an unshifted lattice: the shift decides, for all faces alike
    const Lattice lattice{{1.3e-5, 0.7e-5, 1.1e-5}, 1.0, {8, 8, 8}};
    const Fill filled = fill(box({2, 2, 2}, {3, 4, 5}), lattice);
    EXPECT_EQ(filled.insideTotal, 3U * 4 * 5);
    EXPECT_EQ(filled.disputed, 0U);
    for (int k = 0; k < 8; ++k)
    {
        for (int j = 0; j < 8; ++j)
        {
            for (int i = 0; i < 8; ++i)
            {
                EXPECT_EQ(filled.inside[lattice.index(i, j, k)] != 0, i >= 2 && i < 5 && j >= 2 && j < 6 && k >= 2 && k < 7);
            }
        }
    }
}

TEST(Voxelizer, every_point_of_a_sphere_is_decided_right)
{
    const TriangleMesh ball = sphere({0, 0, 0}, 1, 64);
    const Lattice lattice = latticeOver(1.2, 40);
    const Fill filled = fill(ball, lattice);
    EXPECT_EQ(filled.disputed, 0U);
    for (int k = 0; k < 40; ++k)
    {
        for (int j = 0; j < 40; ++j)
        {
            for (int i = 0; i < 40; ++i)
            {
                const double r = length(lattice.point(i, j, k));
                if (r > 1 || r < std::cos(std::numbers::pi / 64)) // between, the facets decide
                {
                    EXPECT_EQ(filled.inside[lattice.index(i, j, k)] != 0, r < 1) << i << ' ' << j << ' ' << k;
                }
            }
        }
    }
}

TEST(Voxelizer, volumes_of_sphere_turned_box_and_torus_are_met)
{
    const struct
    {
        TriangleMesh mesh;
        double volume;
    } cases[] = {
        {sphere({0.1, 0, -0.05}, 0.8, 200), 4.0 / 3 * std::numbers::pi * 0.512},
        {turned(box({-0.5, -0.4, -0.3}, {1, 0.8, 0.6}), 0.7), 0.48},
        {turned(torus(0.7, 0.25, 200), 0.3), 2 * std::numbers::pi * std::numbers::pi * 0.7 * 0.0625},
    };
    for (const auto& c : cases)
    {
        const Lattice lattice = latticeOver(1, 100);
        const Fill filled = fill(c.mesh, lattice);
        EXPECT_NEAR(filledVolume(filled, lattice.step), c.volume, 0.003 * c.volume);
        EXPECT_EQ(filled.disputed, 0U);
    }
}

TEST(Voxelizer, cavity_inside_a_body_is_left_out)
{
    const Lattice lattice = latticeOver(1, 20);
    const Fill filled = fill(joined(box({-0.8, -0.8, -0.8}, {1.6, 1.6, 1.6}), flipped(box({-0.4, -0.4, -0.4}, {0.8, 0.8, 0.8}))), lattice);
    EXPECT_EQ(filled.insideTotal, 16U * 16 * 16 - 8U * 8 * 8);
}

TEST(Voxelizer, orientation_does_not_matter)
{
    const Lattice lattice = latticeOver(1, 20);
    EXPECT_EQ(fill(sphere({0, 0, 0}, 0.7, 20), lattice).inside, fill(flipped(sphere({0, 0, 0}, 0.7, 20)), lattice).inside);
}

TEST(Voxelizer, missing_triangle_is_outvoted_by_the_other_axes)
{
    TriangleMesh ball = sphere({0, 0, 0}, 0.8, 24);
    const Lattice lattice = latticeOver(1, 40);
    const auto whole = fill(ball, lattice).inside;
    ball.triangle.erase(ball.triangle.begin() + 400);
    const Fill holed = fill(ball, lattice);
    std::size_t different = 0;
    for (std::size_t i = 0; i < whole.size(); ++i)
    {
        different += whole[i] != holed.inside[i];
    }
    EXPECT_LE(different, 4U); // right behind the hole, where the lines along two axes run through it
    EXPECT_GT(holed.disputed, 0U);
}

TEST(Voxelizer, empty_mesh_fills_nothing)
{
    EXPECT_EQ(fill({}, latticeOver(1, 4)).insideTotal, 0U);
}

} // namespace voxelizer_test
