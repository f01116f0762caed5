#include "interpolation/neighbour_sorting.h"

#include "engine_calls.h"
#include "interpolation/sol_interpolation.h"

#include "Tav3dInterpolation.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <limits>
#include <numeric>
#include <set>

namespace neighbour_sorting_test
{

using meshes::Mesh;
using meshes::Points;
using meshes::Rows;
using meshes::sort;
using meshes::sortCentre;

namespace
{

constexpr double notANumber = std::numeric_limits<double>::quiet_NaN();

/// out[0..k] of SORTING; entry 0 is preset to 77.
std::vector<int> sorted(Points points, double px, double py, double pz, int k)
{
    std::vector<int> out(static_cast<std::size_t>(k) + 1, 77);
    int status = 0;
    CTav3dInterpolation().SORTING(points.x.data(), points.y.data(), points.z.data(), points.count(), px, py, pz, k, out.data(), status);
    EXPECT_EQ(status, 2);
    return out;
}

std::vector<int> listOf(const int* row)
{
    return {row, row + 1 + row[0]};
}

/// Nodes 1..7 on a line, cells 1-2-3 (as rows of any length), node 7 in none; node 5 twice in cell 3.
Mesh lineMesh()
{
    Mesh mesh;
    mesh.node = {{0, 0, 0}, {1, 0, 0}, {2, 0, 0}, {3, 0, 0}, {4, 0, 0}, {5, 0, 0}, {6, 0, 0}};
    mesh.addCell({2, 1, 3, 4});
    mesh.addCell({4, 3, 6, 5});
    mesh.addCell({5, 6, 5, 4});
    return mesh;
}

} // namespace

TEST(Sorting, nearest_points_come_first_and_entry_zero_is_left_alone)
{
    EXPECT_EQ(sorted({{5, 0, 0}, {1, 0, 0}, {3, 0, 0}, {2, 0, 0}, {4, 0, 0}}, 0, 0, 0, 4), (std::vector<int>{77, 2, 4, 3, 5}));
}

TEST(Sorting, ties_go_to_the_lower_number)
{
    Points points;
    for (int i = 1; i <= 8; ++i)
        points.add(i == 3 ? 1 : i == 7 ? -1 : 10, 0, 0);
    EXPECT_EQ(sorted(points, 0, 0, 0, 2), (std::vector<int>{77, 3, 7}));
}

TEST(Sorting, squares_are_summed_from_the_left)
{
    // h^2 is three quarters of the half digit behind 1: added one at a time both are lost, added together they are not.
    const double h = std::sqrt(0.75 * 0x1p-53);
    ASSERT_EQ((1.0 + h * h) + h * h, 1.0);
    ASSERT_GT(1.0 + (h * h + h * h), 1.0);
    EXPECT_EQ(sorted({{1, h, h}, {1, 0, 0}}, 0, 0, 0, 2), (std::vector<int>{77, 1, 2}));
}

TEST(Sorting, with_too_few_points_the_first_is_repeated)
{
    EXPECT_EQ(sorted({{3, 0, 0}, {1, 0, 0}, {2, 0, 0}}, 0, 0, 0, 4), (std::vector<int>{77, 2, 3, 1, 1}));
}

// DELIBERATE sorting-finite-mark
TEST(Sorting, picked_point_comes_again_when_all_others_are_farther_than_one_thousand)
{
    EXPECT_EQ(sorted({{std::sqrt(3.0e6), 0, 0}, {std::sqrt(2.0e6), 0, 0}}, 0, 0, 0, 3), (std::vector<int>{77, 2, 2, 2}));
    // one point within reach, one at exactly the mark (a tie: the lower number), one beyond
    EXPECT_EQ(sorted({{1001, 0, 0}, {1, 0, 0}, {1000, 0, 0}}, 0, 0, 0, 3), (std::vector<int>{77, 2, 2, 2}));
    EXPECT_EQ(sorted({{1000, 0, 0}, {1, 0, 0}, {1001, 0, 0}}, 0, 0, 0, 3), (std::vector<int>{77, 2, 1, 1}));
}

TEST(Sorting, zero_means_that_there_is_no_point)
{
    EXPECT_EQ(sorted({}, 0, 0, 0, 2), (std::vector<int>{77, 0, 0}));
    EXPECT_EQ(sorted({{0, 0, 0}, {1, 0, 0}}, notANumber, 0, 0, 2), (std::vector<int>{77, 0, 0}));
    EXPECT_EQ(sorted({{1e15, 0, 0}, {2e15, 0, 0}}, 0, 0, 0, 1), (std::vector<int>{77, 0})) << "1.0e30 is not below 1.0e30";
    EXPECT_EQ(sorted({{notANumber, 0, 0}, {1, 0, 0}}, 0, 0, 0, 1), (std::vector<int>{77, 2})) << "a point without a place is passed over";
}

TEST(Sorting, no_points_wanted_writes_nothing)
{
    EXPECT_EQ(sorted({{1, 0, 0}}, 0, 0, 0, 0), (std::vector<int>{77}));
}

TEST(SetSorting, node_neighbours_are_distinct_and_ascending)
{
    Mesh mesh = lineMesh();
    Points data = {{0.1, 0, 0}};
    CSolInterpolation engine;
    sort(engine, mesh, data);
    EXPECT_EQ(listOf(engine.m_ppNodeNeighbour[1]), (std::vector<int>{4, 1, 2, 3, 4}));
    EXPECT_EQ(listOf(engine.m_ppNodeNeighbour[3]), (std::vector<int>{6, 1, 2, 3, 4, 5, 6}));
    EXPECT_EQ(listOf(engine.m_ppNodeNeighbour[5]), (std::vector<int>{4, 3, 4, 5, 6})) << "named twice by cell 3, listed once";
    EXPECT_EQ(listOf(engine.m_ppNodeNeighbour[7]), (std::vector<int>{0})) << "in no cell";
    EXPECT_EQ(engine.m_ppNodeNeighbour[0][0], 0);
}

TEST(SetSorting, data_points_get_four_nodes_and_status_two)
{
    Mesh mesh = lineMesh();
    Points data = {{0.1, 0, 0}, {3.4, 0, 0}};
    CSolInterpolation engine;
    sort(engine, mesh, data);
    EXPECT_EQ(listOf(engine.m_ppDataStencil[1]), (std::vector<int>{4, 1, 2, 3, 4}));
    EXPECT_EQ(listOf(engine.m_ppDataStencil[2]), (std::vector<int>{4, 4, 5, 3, 6}));
    // DELIBERATE sorting-status-two
    EXPECT_EQ(engine.m_pDataCell[1], 2);
    EXPECT_EQ(engine.m_pDataCell[2], 2);
    EXPECT_EQ(engine.m_nDataPoint, 2);
    EXPECT_EQ(engine.m_pDataX, data.x.data());
    EXPECT_EQ(engine.m_pNodeZ, mesh.node.z.data());
    EXPECT_EQ(engine.m_ppCellNode, mesh.cell.data());
}

TEST(SetSorting, without_data_points_or_cells_there_is_nothing_but_row_zero)
{
    Mesh mesh;
    mesh.node = {{0, 0, 0}};
    Points data;
    CSolInterpolation engine;
    sort(engine, mesh, data);
    EXPECT_EQ(engine.m_nDataPoint, 0);
    EXPECT_NE(engine.m_ppDataStencil, nullptr);
    EXPECT_EQ(listOf(engine.m_ppNodeNeighbour[1]), (std::vector<int>{0}));
    sortCentre(engine, mesh, data);
    EXPECT_EQ(listOf(engine.m_ppNodeCell[1]), (std::vector<int>{0}));
}

TEST(SetSorting, neighbours_agree_with_sets_on_a_grid)
{
    Mesh mesh = meshes::grid(4, 4.0);
    Points data;
    CSolInterpolation engine;
    sort(engine, mesh, data);
    std::vector<std::set<int>> expected(static_cast<std::size_t>(mesh.node.count()) + 1);
    for (int c = 1; c <= mesh.cell.count(); ++c)
        for (const int a : mesh.cell.row(c))
            for (const int b : mesh.cell.row(c))
                expected[static_cast<std::size_t>(a)].insert(b);
    for (int n = 1; n <= mesh.node.count(); ++n)
    {
        const std::vector<int> row = listOf(engine.m_ppNodeNeighbour[n]);
        const std::set<int>& set = expected[static_cast<std::size_t>(n)];
        EXPECT_TRUE(std::equal(row.begin() + 1, row.end(), set.begin(), set.end())) << n;
    }
}

TEST(NeighbourRows, stamps_give_the_rows_of_plain_gathering)
{
    using tav3d::interpolation::CountedTable;
    std::mt19937 random(1);
    const auto below = [&random](std::size_t n) { return static_cast<int>(random() % n); };
    int rows = 0;
    for (int round = 0; round < 5000; ++round)
    {
        const int nodes = round % 60;
        meshes::Rows cells;
        for (int c = nodes > 0 ? below(1 + 2 * static_cast<std::size_t>(nodes)) : 0; c > 0; --c)
        {
            std::vector<int> row(static_cast<std::size_t>(below(12))); // also empty, and with repeated nodes
            for (int& node : row)
                node = 1 + below(static_cast<std::size_t>(nodes));
            cells.add(row);
        }
        const tav3d::interpolation::NumberedSpan<int* const> numbered(cells.data(), cells.count());
        const CountedTable around = tav3d::interpolation::cellsAroundNodes(numbered, nodes);
        const CountedTable plain = tav3d::interpolation::nodesAroundNodesPlain(numbered, nodes, around);
        const CountedTable stamped = tav3d::interpolation::nodesAroundNodes(numbered, nodes, around);
        for (int i = 0; i <= nodes; ++i, ++rows)
            ASSERT_EQ(listOf(stamped.rows()[i]), listOf(plain.rows()[i])) << "round " << round << ", node " << i;
    }
    EXPECT_GT(rows, 100000);
}

TEST(NeighbourRows, rows_longer_than_a_block_are_kept_whole)
{
    std::vector<int> all(300000);
    std::iota(all.rbegin(), all.rend(), 1);
    meshes::Rows cells;
    cells.add(all);
    cells.add({1, 300000});
    const tav3d::interpolation::NumberedSpan<int* const> second(cells.data() + 1, 1); // of that cell alone
    tav3d::interpolation::CountedTable table(3);
    table.addRow({});
    table.addRow(all);
    table.addRow(std::vector{5});
    EXPECT_EQ(listOf(table.rows()[0]), (std::vector{0}));
    EXPECT_EQ(table.rows()[1][0], 300000);
    EXPECT_EQ(table.rows()[1][300000], 1);
    EXPECT_EQ(listOf(table.rows()[2]), (std::vector{1, 5}));
    EXPECT_EQ(
        listOf(tav3d::interpolation::nodesAroundNodes(second, 300000, tav3d::interpolation::cellsAroundNodes(second, 300000)).rows()[1]),
        (std::vector{2, 1, 300000}));
}

TEST(SetSorting, sorting_again_replaces_the_tables)
{
    Mesh mesh = lineMesh();
    Points data = {{0.1, 0, 0}};
    Points more = {{6, 0, 0}, {5, 0, 0}, {4, 0, 0}};
    CSolInterpolation engine;
    sort(engine, mesh, data);
    sort(engine, mesh, more);
    EXPECT_EQ(engine.m_nDataPoint, 3);
    EXPECT_EQ(listOf(engine.m_ppDataStencil[1]), (std::vector<int>{4, 7, 6, 5, 4}));
    EXPECT_EQ(engine.m_pDataCell[3], 2);
}

TEST(SetSortingCenter, node_cells_are_listed_once_per_naming)
{
    Mesh mesh = lineMesh();
    Points data = {{1.1, 0, 0}};
    CSolInterpolation engine;
    sortCentre(engine, mesh, data);
    EXPECT_EQ(listOf(engine.m_ppNodeCell[1]), (std::vector<int>{1, 1}));
    EXPECT_EQ(listOf(engine.m_ppNodeCell[4]), (std::vector<int>{3, 1, 2, 3}));
    EXPECT_EQ(listOf(engine.m_ppNodeCell[5]), (std::vector<int>{3, 2, 3, 3})) << "cell 3 names node 5 twice";
    EXPECT_EQ(listOf(engine.m_ppNodeCell[7]), (std::vector<int>{0}));
    EXPECT_EQ(engine.m_ppNodeCell[0][0], 0);
    EXPECT_EQ(listOf(engine.m_ppDataStencil[1]), (std::vector<int>{1, 2}));
    EXPECT_EQ(engine.m_pDataCell[1], 2);
    EXPECT_EQ(engine.m_pCellX, mesh.centre.x.data());
}

// DELIBERATE centre-search-over-nodes
TEST(SetSortingCenter, nearest_node_is_sought_among_as_many_nodes_as_there_are_cells)
{
    Mesh mesh = lineMesh(); // 7 nodes, 3 cells
    Points data = {{6, 0, 0}};
    CSolInterpolation engine;
    sortCentre(engine, mesh, data);
    EXPECT_EQ(listOf(engine.m_ppDataStencil[1]), (std::vector<int>{1, 3})) << "node 7 is nearest, but only nodes 1 to 3 are looked at";
}

TEST(SetSortingCenter, number_beyond_the_nodes_meets_an_empty_row)
{
    // Two nodes, three cells; the node arrays hold a third entry, as the search demands, and it is the nearest.
    Mesh mesh;
    mesh.node = {{0, 0, 0}, {1, 0, 0}, {9, 9, 9}};
    for (int c = 0; c < 3; ++c)
        mesh.addCell({1, 2});
    Points data = {{9, 9, 9}};
    CSolInterpolation engine;
    engine.SetSortingCenter(2, 3, mesh.node.x.data(), mesh.node.y.data(), mesh.node.z.data(), mesh.cell.data(), mesh.centre.x.data(),
                            mesh.centre.y.data(), mesh.centre.z.data(), 1, data.x.data(), data.y.data(), data.z.data());
    EXPECT_EQ(listOf(engine.m_ppDataStencil[1]), (std::vector<int>{1, 3}));
    std::vector<double> phi(4, 5.0);
    double value = -1;
    engine.GetInterpolationCenter(1, phi.data(), value);
    EXPECT_EQ(value, 0.0);
}

TEST(SetSortingDeathTest, data_point_that_is_not_a_number_meets_empty_neighbourhoods_and_a_singular_matrix)
{
    ::testing::GTEST_FLAG(death_test_style) = "threadsafe";
    Mesh mesh = lineMesh();
    Points data = {{notANumber, 0, 0}};
    CSolInterpolation engine;
    sort(engine, mesh, data);
    EXPECT_EQ(listOf(engine.m_ppDataStencil[1]), (std::vector<int>{4, 0, 0, 0, 0}));
    std::vector<double> phi(8, 5.0);
    double value = -1;
    EXPECT_EXIT(engine.GetInterpolation(1, phi.data(), value), ::testing::ExitedWithCode(1), "Singular matrix in routine ludcmp");
}

} // namespace neighbour_sorting_test
