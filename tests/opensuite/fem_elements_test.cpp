#include "TAVFEM_ElemLib.h"

#include "opensuite/inverse_mapping.h"
#include "opensuite/shape_functions.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <memory>
#include <random>
#include <string>
#include <vector>

namespace
{

using Point = std::array<double, 3>;
using Points = std::vector<Point>;

const double notANumber = std::numeric_limits<double>::quiet_NaN();
const double infinity = std::numeric_limits<double>::infinity();

/// An element kind with regular nodes, edges and faces (0-based node numbers).
struct Kind
{
    std::string name;
    Points regular;
    std::vector<std::array<std::size_t, 2>> edges;
    std::vector<std::vector<std::size_t>> faces;
    bool isPlane = false;
};

std::vector<Kind> allKinds()
{
    return {
        {"TETRA4",
         {{0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {0, 0, 1}},
         {{0, 1}, {1, 2}, {2, 0}, {0, 3}, {1, 3}, {2, 3}},
         {{0, 1, 2}, {0, 1, 3}, {1, 2, 3}, {2, 0, 3}}},
        {"PYRAMID5",
         {{0, 0, 0}, {1, 0, 0}, {1, 1, 0}, {0, 1, 0}, {0.5, 0.5, 1}},
         {{0, 1}, {1, 2}, {2, 3}, {3, 0}, {0, 4}, {1, 4}, {2, 4}, {3, 4}},
         {{0, 1, 2, 3}, {0, 1, 4}, {1, 2, 4}, {2, 3, 4}, {3, 0, 4}}},
        {"PRISM6",
         {{0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {0, 0, 1}, {1, 0, 1}, {0, 1, 1}},
         {{0, 1}, {1, 2}, {2, 0}, {0, 3}, {1, 4}, {2, 5}, {3, 4}, {4, 5}, {5, 3}},
         {{0, 1, 2}, {3, 4, 5}, {0, 1, 4, 3}, {1, 2, 5, 4}, {2, 0, 3, 5}}},
        {"HEXA8",
         {{0, 0, 0}, {1, 0, 0}, {1, 1, 0}, {0, 1, 0}, {0, 0, 1}, {1, 0, 1}, {1, 1, 1}, {0, 1, 1}},
         {{0, 1}, {1, 2}, {2, 3}, {3, 0}, {4, 5}, {5, 6}, {6, 7}, {7, 4}, {0, 4}, {1, 5}, {2, 6}, {3, 7}},
         {{0, 1, 2, 3}, {4, 5, 6, 7}, {0, 1, 5, 4}, {1, 2, 6, 5}, {2, 3, 7, 6}, {3, 0, 4, 7}}},
        {"TRI3", {{0, 0, 0}, {1, 0, 0}, {0, 1, 0}}, {{0, 1}, {1, 2}, {2, 0}}, {}, true},
        {"QUAD4", {{0, 0, 0}, {1, 0, 0}, {1, 1, 0}, {0, 1, 0}}, {{0, 1}, {1, 2}, {2, 3}, {3, 0}}, {}, true},
    };
}

std::vector<double> shape(const Kind& kind, const Points& node, const Point& x)
{
    std::vector<double> X, Y, Z;
    for (const Point& p : node)
    {
        X.push_back(p[0]);
        Y.push_back(p[1]);
        Z.push_back(p[2]);
    }
    std::vector<double> N(node.size(), -99.0);
    const CFEM_Elem3D_Factory space;
    const CFEM_Elem2D_Factory plane;
    if (kind.isPlane)
    {
        const std::unique_ptr<CFEM_Elem2D> element(kind.name == "TRI3" ? plane.Make_TRI3() : plane.Make_QUAD4());
        element->GetShapeFunction(x[0], x[1], X.data(), Y.data(), N.data());
    }
    else
    {
        const std::unique_ptr<CFEM_Elem3D> element(kind.name == "TETRA4"     ? space.Make_TETRA4()
                                                   : kind.name == "PYRAMID5" ? space.Make_PYRAMID5()
                                                   : kind.name == "PRISM6"   ? space.Make_PRISM6()
                                                                             : space.Make_HEXA8());
        element->GetShapeFunction(x[0], x[1], x[2], X.data(), Y.data(), Z.data(), N.data());
    }
    return N;
}

const Kind& kindNamed(const std::string& name)
{
    static const std::vector<Kind> kinds = allKinds();
    return *std::find_if(kinds.begin(), kinds.end(), [&](const Kind& k) { return k.name == name; });
}

Point mean(const Points& points)
{
    Point m{};
    for (const Point& p : points)
        for (int k = 0; k < 3; ++k)
            m[k] += p[k] / static_cast<double>(points.size());
    return m;
}

Point weighted(const std::vector<double>& N, const Points& node)
{
    Point x{};
    for (std::size_t i = 0; i < node.size(); ++i)
        for (int k = 0; k < 3; ++k)
            x[k] += N[i] * node[i][k];
    return x;
}

double sum(const std::vector<double>& N)
{
    double s = 0.0;
    for (const double n : N)
        s += n;
    return s;
}

double largest(const std::vector<double>& N)
{
    double m = 0.0;
    for (const double n : N)
        m = std::max(m, std::abs(n));
    return m;
}

/// The regular element with every node displaced.
Points displaced(const Kind& kind, std::mt19937_64& random, double amplitude)
{
    std::uniform_real_distribution<double> by(-amplitude, amplitude);
    Points node = kind.regular;
    for (Point& p : node)
        for (int k = 0; k < (kind.isPlane ? 2 : 3); ++k)
            p[k] += by(random);
    return node;
}

/// Whether the Jacobian of a hexahedron is positive at all points of a lattice. Its column along a coordinate is a mean of the four edges that run along it.
bool isValidHexa(const Points& node, double step)
{
    constexpr int edges[3][4][2] = {{{0, 1}, {3, 2}, {4, 5}, {7, 6}}, {{0, 3}, {1, 2}, {4, 7}, {5, 6}}, {{0, 4}, {1, 5}, {3, 7}, {2, 6}}};
    for (double r = -1; r <= 1; r += step)
        for (double s = -1; s <= 1; s += step)
            for (double t = -1; t <= 1; t += step)
            {
                const double at[3] = {r, s, t};
                double J[3][3] = {};
                for (int a = 0; a < 3; ++a)
                    for (int e = 0; e < 4; ++e)
                    {
                        const double first = at[a == 0 ? 1 : 0];
                        const double second = at[a == 2 ? 1 : 2];
                        const double weight = (e % 2 == 0 ? 1 - first : 1 + first) * (e < 2 ? 1 - second : 1 + second);
                        const auto& [from, to] = edges[a][e];
                        for (int k = 0; k < 3; ++k)
                            J[a][k] += weight * (node[to][k] - node[from][k]);
                    }
                const double det = J[0][0] * (J[1][1] * J[2][2] - J[1][2] * J[2][1]) - J[0][1] * (J[1][0] * J[2][2] - J[1][2] * J[2][0]) +
                                   J[0][2] * (J[1][0] * J[2][1] - J[1][1] * J[2][0]);
                if (!(det > 0))
                    return false;
            }
    return true;
}

} // namespace

TEST(FemElements, made_elements_tell_their_node_count_and_dimension)
{
    const CFEM_Elem3D_Factory space;
    const std::unique_ptr<CFEM_Elem3D> solids[] = {
        std::unique_ptr<CFEM_Elem3D>(space.Make_TETRA4()), std::unique_ptr<CFEM_Elem3D>(space.Make_PYRAMID5()),
        std::unique_ptr<CFEM_Elem3D>(space.Make_PRISM6()), std::unique_ptr<CFEM_Elem3D>(space.Make_HEXA8())};
    const int counts[] = {4, 5, 6, 8};
    for (int i = 0; i < 4; ++i)
    {
        EXPECT_EQ(solids[i]->GetNNode(), counts[i]);
        EXPECT_EQ(solids[i]->GetDimension(), 3);
    }
    const CFEM_Elem2D_Factory plane;
    const std::unique_ptr<CFEM_Elem2D> triangle(plane.Make_TRI3());
    const std::unique_ptr<CFEM_Elem2D> quad(plane.Make_QUAD4());
    EXPECT_EQ(triangle->GetNNode(), 3);
    EXPECT_EQ(quad->GetNNode(), 4);
    EXPECT_EQ(triangle->GetDimension(), 2);
    EXPECT_EQ(quad->GetDimension(), 2);
}

TEST(FemElements, regular_elements_have_the_values_of_their_formulas)
{
    const auto expectNear = [](const std::vector<double>& N, const std::vector<double>& expected)
    {
        ASSERT_EQ(N.size(), expected.size());
        for (std::size_t i = 0; i < N.size(); ++i)
            EXPECT_NEAR(N[i], expected[i], 1e-15) << "node " << i + 1;
    };
    const auto at = [](const char* name, const Point& x) { return shape(kindNamed(name), kindNamed(name).regular, x); };
    expectNear(at("TETRA4", {0.1, 0.2, 0.3}), {0.4, 0.1, 0.2, 0.3});
    expectNear(at("PYRAMID5", {0.5, 0.25, 0.5}), {0.25, 0.25, 0, 0, 0.5}); // on the side of nodes 1, 2 and 5
    expectNear(at("PYRAMID5", {0.375, 0.5, 0.5}), {0.1875, 0.0625, 0.0625, 0.1875, 0.5});
    expectNear(at("PRISM6", {0.25, 0.5, 0.25}), {0.1875, 0.1875, 0.375, 0.0625, 0.0625, 0.125});
    expectNear(at("HEXA8", {0.25, 0.5, 0.75}), {0.09375, 0.03125, 0.03125, 0.09375, 0.28125, 0.09375, 0.09375, 0.28125});
    expectNear(at("HEXA8", {2, 0, 0}), {-1, 2, 0, 0, 0, 0, 0, 0}); // outside: the same polynomials
    expectNear(at("TRI3", {0.25, 0.5, 0}), {0.25, 0.25, 0.5});
    expectNear(at("QUAD4", {0.25, 0.5, 0}), {0.375, 0.125, 0.125, 0.375});
}

TEST(FemElements, at_a_node_the_value_is_one_there_and_zero_elsewhere)
{
    std::mt19937_64 random(1);
    for (const Kind& kind : allKinds())
        for (int repeat = 0; repeat < 100; ++repeat)
        {
            const Points node = displaced(kind, random, 0.2);
            for (std::size_t i = 0; i < node.size(); ++i)
            {
                const std::vector<double> N = shape(kind, node, node[i]);
                for (std::size_t k = 0; k < node.size(); ++k)
                    ASSERT_EQ(N[k], i == k ? 1.0 : 0.0) << kind.name;

                // No step beside the node either, the pyramid's apex included.
                Point beside = node[i];
                for (int c = 0; c < (kind.isPlane ? 2 : 3); ++c)
                    beside[c] += (mean(node)[c] - node[i][c]) * 1e-12;
                const std::vector<double> near = shape(kind, node, beside);
                for (std::size_t k = 0; k < node.size(); ++k)
                    ASSERT_NEAR(near[k], N[k], 1e-11) << kind.name;
            }
        }
}

TEST(FemElements, on_an_edge_only_its_two_nodes_count)
{
    std::mt19937_64 random(2);
    for (const Kind& kind : allKinds())
        for (int repeat = 0; repeat < 100; ++repeat)
        {
            const Points node = displaced(kind, random, 0.15);
            for (const auto& [a, b] : kind.edges)
            {
                const double s = 0.1 + 0.008 * repeat;
                Point x;
                for (int k = 0; k < 3; ++k)
                    x[k] = (1 - s) * node[a][k] + s * node[b][k];
                const std::vector<double> N = shape(kind, node, x);
                for (std::size_t i = 0; i < node.size(); ++i)
                    ASSERT_NEAR(N[i], i == a ? 1 - s : i == b ? s : 0.0, 1e-13) << kind.name;
            }
        }
}

// So that the values of elements that share a face agree on it, whatever their kinds.
TEST(FemElements, on_a_face_only_its_nodes_count_as_in_the_face_itself)
{
    std::mt19937_64 random(3);
    for (const Kind& kind : allKinds())
        for (int repeat = 0; repeat < 100; ++repeat)
        {
            const Points node = displaced(kind, random, 0.15);
            for (const auto& face : kind.faces)
            {
                std::vector<double> weights(face.size());
                if (face.size() == 3)
                    tav3d::opensuite::triangleShape(0.2, 0.004 * repeat, std::span<double, 3>(weights.data(), 3));
                else
                    tav3d::opensuite::quadShape(0.3, -0.8 + 0.016 * repeat, 0.3 * (-0.8 + 0.016 * repeat),
                                                std::span<double, 4>(weights.data(), 4));
                std::vector<double> expected(node.size(), 0.0);
                for (std::size_t i = 0; i < face.size(); ++i)
                    expected[face[i]] = weights[i];
                const std::vector<double> N = shape(kind, node, weighted(expected, node));
                for (std::size_t i = 0; i < node.size(); ++i)
                    ASSERT_NEAR(N[i], expected[i], 1e-13) << kind.name;
            }
        }
}

TEST(FemElements, linear_fields_are_reproduced_inside_outside_and_far_away)
{
    std::mt19937_64 random(4);
    std::uniform_real_distribution<double> unit(-1, 1);
    for (const Kind& kind : allKinds())
        for (const double amplitude : {0.1, 0.3, 0.6}) // the last ones are partly invalid elements
            for (const double distance : {0.4, 1.0, 10.0, 1e3, 1e6})
                for (int repeat = 0; repeat < 500; ++repeat)
                {
                    const Points node = displaced(kind, random, amplitude);
                    Point x = mean(node);
                    for (int k = 0; k < (kind.isPlane ? 2 : 3); ++k)
                        x[k] += distance * unit(random);
                    const std::vector<double> N = shape(kind, node, x);
                    const double tolerance = 1e-13 * std::max(1.0, largest(N)) * static_cast<double>(N.size());
                    ASSERT_NEAR(sum(N), 1.0, tolerance) << kind.name << " " << distance;
                    const Point back = weighted(N, node);
                    for (int k = 0; k < 3; ++k)
                        ASSERT_NEAR(back[k], x[k], 2 * tolerance) << kind.name << " " << distance;
                    if (distance <= 10.0 && amplitude == 0.1 && kind.name != "PYRAMID5") // which has poles in the plane of its apex
                    {
                        ASSERT_NEAR(sum(N), 1.0, 1e-9) << kind.name;
                    }
                }
}

TEST(FemElements, pyramid_apex_is_approached_continuously_from_every_direction_within)
{
    const Kind& kind = kindNamed("PYRAMID5");
    Points node = kind.regular;
    node[2] = {1.2, 1.1, 0.15}; // the base is warped
    for (const double u : {-1.0, -0.5, 0.0, 1.0})
        for (const double v : {-1.0, 0.0, 0.7, 1.0})
            for (const double h : {1e-3, 1e-8, 1e-15, 1e-18})
            {
                std::vector<double> expected(5);
                tav3d::opensuite::pyramidShape(h, h * u, h * v, h * u * v, std::span<double, 5>(expected.data(), 5));
                Point x = node[4];
                for (std::size_t i = 0; i < 4; ++i)
                    for (int k = 0; k < 3; ++k)
                        x[k] += expected[i] * (node[i][k] - node[4][k]);
                const std::vector<double> N = shape(kind, node, x);
                for (std::size_t i = 0; i < 5; ++i)
                    EXPECT_NEAR(N[i], expected[i], 1e-15);
            }
}

TEST(FemElements, mirrored_elements_have_the_values_of_their_image)
{
    std::mt19937_64 random(5);
    for (const Kind& kind : allKinds())
    {
        const Points node = displaced(kind, random, 0.15);
        Points mirrored = node;
        for (Point& p : mirrored)
            p[0] = -p[0];
        const Point x = mean(node);
        const std::vector<double> N = shape(kind, node, x);
        const std::vector<double> M = shape(kind, mirrored, {-x[0], x[1], x[2]});
        for (std::size_t i = 0; i < N.size(); ++i)
            EXPECT_NEAR(M[i], N[i], 1e-14) << kind.name;
    }
}

// From the centre alone, Newton's method misses a few of these.
TEST(FemElements, every_point_of_a_valid_hexahedron_is_found_however_distorted)
{
    std::mt19937_64 random(6);
    std::uniform_real_distribution<double> unit(-1, 1);
    const Kind& kind = kindNamed("HEXA8");
    int valid = 0;
    while (valid < 3000)
    {
        const Points node = displaced(kind, random, 0.8);
        if (!isValidHexa(node, 2.0) || !isValidHexa(node, 0.25)) // most fail at a corner
            continue;
        ++valid;
        std::vector<double> expected(8);
        tav3d::opensuite::hexaShape(unit(random), unit(random), unit(random), std::span<double, 8>(expected.data(), 8));
        const std::vector<double> N = shape(kind, node, weighted(expected, node));
        for (std::size_t i = 0; i < 8; ++i)
            ASSERT_NEAR(N[i], expected[i], 1e-9);
    }
}

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
        for (const double bad : {notANumber, infinity, -infinity})
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
