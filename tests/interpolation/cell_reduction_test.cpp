#include "interpolation/cell_reduction.h"

#include "Tav3dInterpolation.h"
#include "engine_calls.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <numeric>
#include <random>

namespace cell_reduction_test
{

using meshes::Mesh;
using meshes::setMesh;
using tav3d::interpolation::ReduceCellToHexa;

namespace
{

constexpr std::array<std::array<double, 3>, 8> cubeCorner = {
    {{0, 0, 0}, {1, 0, 0}, {1, 1, 0}, {0, 1, 0}, {0, 0, 1}, {1, 0, 1}, {1, 1, 1}, {0, 1, 1}}};

CSolCellCorner record(const std::vector<std::vector<double>>& points)
{
    CSolCellCorner cell;
    for (std::size_t i = 0; i < points.size(); ++i)
    {
        cell.node.push_back(static_cast<int>(i) + 1);
        cell.x.push_back(points[i][0]);
        cell.y.push_back(points[i][1]);
        cell.z.push_back(points[i][2]);
    }
    return cell;
}

/// A cube of 8 nodes in scrambled order (cell 1), one of each smaller kind, and, if asked, a cube with 4 more nodes in the middles of
/// edges.
Mesh mixedMesh(bool withTwelveNodes)
{
    Mesh mesh;
    const auto addNodes = [&mesh](const std::vector<std::array<double, 3>>& points, double shift)
    {
        std::vector<int> row;
        for (const auto& p : points)
        {
            mesh.node.add(p[0] + shift, p[1], p[2]);
            row.push_back(mesh.node.count());
        }
        return row;
    };
    mesh.addCell(addNodes(
        {cubeCorner[6], cubeCorner[0], cubeCorner[3], cubeCorner[5], cubeCorner[1], cubeCorner[2], cubeCorner[7], cubeCorner[4]}, 0));
    for (const std::size_t size : {4, 5, 6})
        mesh.addCell(
            addNodes({cubeCorner.rbegin(), cubeCorner.rbegin() + static_cast<std::ptrdiff_t>(size)}, 2.0 * static_cast<double>(size)));
    if (withTwelveNodes)
        mesh.addCell(addNodes({{0.5, 0, 0},
                               cubeCorner[0],
                               cubeCorner[1],
                               cubeCorner[2],
                               {0.5, 1, 0},
                               cubeCorner[3],
                               cubeCorner[4],
                               cubeCorner[5],
                               cubeCorner[6],
                               {1, 1, 0.5},
                               cubeCorner[7],
                               {0, 0, 0.5}},
                              20));
    return mesh;
}

} // namespace

TEST(CellReduction, cube_in_any_order_gives_the_standard_hexahedron)
{
    std::array<std::size_t, 8> order;
    std::iota(order.begin(), order.end(), 0);
    std::mt19937 random(2);
    for (int repeat = 0; repeat < 200; ++repeat)
    {
        std::vector<std::vector<double>> points;
        for (const std::size_t k : order)
            points.push_back({cubeCorner[k].begin(), cubeCorner[k].end()});
        const std::array<std::size_t, 8> corner = ReduceCellToHexa(record(points));
        for (std::size_t k = 0; k < 8; ++k)
            EXPECT_EQ(order[corner[k]], k);
        std::shuffle(order.begin(), order.end(), random);
    }
}

TEST(CellReduction, node_on_a_centre_plane_lies_on_the_lower_side)
{
    // Box 0..2, and one node in the middle of an edge from (0, 0, 0): it loses its low corner to that node, and the corner at the other end
    // of the edge, where no node stands, is not its either: the first node of the row stands in.
    const std::vector<std::vector<double>> middles = {{1, 0, 0}, {0, 1, 0}, {0, 0, 1}};
    const std::size_t empty[] = {1, 3, 4}; // corners (2, 0, 0), (0, 2, 0), (0, 0, 2) in hexahedron order
    for (std::size_t axis = 0; axis < 3; ++axis)
    {
        std::vector<std::vector<double>> points = {{0, 0, 0}, middles[axis], {2, 2, 2}};
        EXPECT_EQ(ReduceCellToHexa(record(points))[0], 0u);
        EXPECT_EQ(ReduceCellToHexa(record(points))[empty[axis]], 0u);
        // strictly above the plane it is on the upper side
        points[1][axis] = std::nextafter(1.0, 2.0);
        EXPECT_EQ(ReduceCellToHexa(record(points))[empty[axis]], 1u);
    }
}

TEST(CellReduction, nodes_equal_in_x_are_judged_by_y_and_then_by_z)
{
    // Octant low x, low y, low z of the box 0..4: among equal x the lower y, among equal y the lower z.
    const std::vector<std::vector<double>> points = {{4, 4, 4}, {1, 1, 1}, {1, 0.5, 1.5}, {1, 0.5, 0.5}, {0, 0, 4}};
    EXPECT_EQ(ReduceCellToHexa(record(points))[0], 3u);
}

TEST(CellReduction, each_axis_may_still_replace_the_corner_that_another_axis_chose)
{
    // Both in the low octant of the box 0..4. The second is worse in x but strictly better in y, and takes the corner.
    const std::vector<std::vector<double>> points = {{4, 4, 4}, {0.5, 1, 1}, {1, 0.5, 1}, {0, 4, 0}, {4, 0, 0}};
    EXPECT_EQ(ReduceCellToHexa(record(points))[0], 2u);
}

TEST(CellReduction, flat_cell_keeps_to_the_lower_side)
{
    const std::array<std::size_t, 8> corner = ReduceCellToHexa(record({{0, 0, 0}, {1, 0, 0}, {1, 1, 0}, {0, 1, 0}}));
    EXPECT_EQ(corner, (std::array<std::size_t, 8>{0, 1, 2, 3, 0, 0, 0, 0}));
}

// DELIBERATE reduce-rewrites-rows
TEST(CellReduction, one_large_cell_makes_all_rows_of_eight_and_more_be_rewritten)
{
    Mesh mesh = mixedMesh(true);
    const std::vector<int> smaller[] = {mesh.cell.row(2), mesh.cell.row(3), mesh.cell.row(4)};
    CTav3dInterpolation facade;
    setMesh(facade, mesh, true);
    EXPECT_EQ(mesh.cell.row(1), (std::vector<int>{2, 5, 6, 3, 8, 4, 1, 7}));
    for (int c = 2; c <= 4; ++c)
        EXPECT_EQ(mesh.cell.row(c), smaller[c - 2]);
    const int first = 24; // node number of the large cell's first node
    EXPECT_EQ(mesh.cell.row(5),
              (std::vector<int>{first + 1, first + 2, first + 3, first + 5, first + 6, first + 7, first + 8, first + 10}));
}

TEST(CellReduction, without_a_large_cell_or_without_the_flag_nothing_is_rewritten)
{
    for (const bool twelve : {false, true})
    {
        Mesh mesh = mixedMesh(twelve);
        const Mesh before = mixedMesh(twelve);
        CTav3dInterpolation facade;
        setMesh(facade, mesh, !twelve);
        for (int c = 1; c <= mesh.cell.count(); ++c)
            EXPECT_EQ(mesh.cell.row(c), before.cell.row(c));
    }
}

} // namespace cell_reduction_test
