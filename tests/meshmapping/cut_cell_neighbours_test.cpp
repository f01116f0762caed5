#include "meshmapping/cut_cell_neighbours.h"

#include "platform/TAVOptKer.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <random>
#include <vector>

namespace tav3d::meshmapping::cut_cell_neighbours_test
{
namespace
{

/// Voxel nodes in a tree, under compact numbers that run against the node numbers.
struct Voxels
{
    std::vector<float> x{0}, y{0}, z{0};
    std::vector<unsigned char> part{0}, insert{0};

    int add(float px, float py, float pz, unsigned char onPart = 1, unsigned char onInsert = 0)
    {
        x.push_back(px);
        y.push_back(py);
        z.push_back(pz);
        part.push_back(onPart);
        insert.push_back(onInsert);
        return static_cast<int>(x.size()) - 1;
    }

    /// The row of one cut-cell node at a point.
    std::vector<int> row(float px, float py, float pz, unsigned char onPart = 1, unsigned char onInsert = 0,
                         float elementLengthSquared = 1.0f) const
    {
        const int n = static_cast<int>(x.size()) - 1;
        CTAVOptKer tree;
        tree.SetADTreeRange(1e3, 1e3, 1e3, -1e3, -1e3, -1e3, 1, 10000, 200000);
        std::vector<int> nodeOfCompact(x.size(), 0);
        for (int k = 1; k <= n; ++k)
        {
            const auto node = static_cast<std::size_t>(n + 1 - k);
            nodeOfCompact[static_cast<std::size_t>(k)] = static_cast<int>(node);
            tree.AddSurfaceToADTree(k, x[node] + 1e-6, y[node] + 1e-6, z[node] + 1e-6, x[node] - 1e-6, y[node] - 1e-6, z[node] - 1e-6);
        }
        const float cx[] = {0, px}, cy[] = {0, py}, cz[] = {0, pz};
        const unsigned char cutPart[] = {0, onPart}, cutInsert[] = {0, onInsert};
        const auto rows = findCutCellNeighbours({{cx, 1}, {cy, 1}, {cz, 1}}, {{cutPart, 1}, {cutInsert, 1}},
                                                {{{x.data(), n}, {y.data(), n}, {z.data(), n}},
                                                 {{part.data(), n}, {insert.data(), n}},
                                                 {nodeOfCompact.data(), n},
                                                 &tree,
                                                 elementLengthSquared},
                                                1);
        EXPECT_EQ(rows.rowOfNode[1], 1);
        return {rows.neighbour[1], rows.neighbour[1] + 11};
    }
};

const std::vector<int> noNeighbours(11, 0);

TEST(CutCellSearch, ten_nearest_come_nearest_first_with_equal_distances_by_number)
{
    Voxels voxels;
    for (int k = 0; k < 6; ++k) // nodes 1..12: pairs at equal distance
    {
        voxels.add(0.25f * static_cast<float>(6 - k), 0, 0);
        voxels.add(-0.25f * static_cast<float>(6 - k), 0, 0);
    }
    EXPECT_EQ(voxels.row(0, 0, 0), (std::vector<int>{0, 11, 12, 9, 10, 7, 8, 5, 6, 3, 4}));
}

// DELIBERATE cut-cell-first-cube
TEST(CutCellSearch, takes_the_ten_nearest_of_the_first_cube_that_holds_ten_and_not_of_all)
{
    Voxels voxels;
    for (int k = 0; k < 9; ++k)
        voxels.add(0, 0, 0.1f * static_cast<float>(k));
    const int corner = voxels.add(2, 2, 2);    // in the first cube of half-width 2, at distance 3.46
    const int nearer = voxels.add(2.1f, 0, 0); // outside of it, at distance 2.1
    const auto row = voxels.row(0, 0, 0);
    EXPECT_EQ(row[10], corner);
    EXPECT_EQ(std::count(row.begin(), row.end(), nearer), 0);
}

TEST(CutCellSearch, widens_when_the_cube_holds_nine_matches_and_takes_all_of_the_wider_one_into_account)
{
    Voxels voxels;
    for (int k = 0; k < 8; ++k)
        voxels.add(0, 0, 0.1f * static_cast<float>(k));
    const int corner = voxels.add(2, 2, 2);
    const int nearer = voxels.add(2.5f, 0, 0); // in the second cube of half-width 3
    const auto row = voxels.row(0, 0, 0);
    EXPECT_EQ(row[9], nearer);
    EXPECT_EQ(row[10], corner);
}

TEST(CutCellSearch, part_mark_and_part_insert_mark_must_both_match)
{
    Voxels voxels;
    for (int k = 0; k < 10; ++k)
    {
        voxels.add(0.1f, 0, 0.1f * static_cast<float>(k), 1, 0);
        voxels.add(0.2f, 0, 0.1f * static_cast<float>(k), 0, 1);
        voxels.add(0.3f, 0, 0.1f * static_cast<float>(k), 1, 1);
        voxels.add(0.0f, 0, 0.1f * static_cast<float>(k), 0, 0);
    }
    EXPECT_EQ(voxels.row(0, 0, 0, 1, 0)[1], 1);
    EXPECT_EQ(voxels.row(0, 0, 0, 0, 1)[1], 2);
    EXPECT_EQ(voxels.row(0, 0, 0, 1, 1)[1], 3);
}

TEST(CutCellSearch, boxes_touched_by_the_cube_belong_to_it)
{
    Voxels voxels;
    for (int k = 0; k < 10; ++k)
        voxels.add(2, 0, 0);
    voxels.add(0, 0, 2.5f);
    EXPECT_EQ(voxels.row(0, 0, 0), (std::vector<int>{0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10}));
}

TEST(CutCellSearch, gives_up_after_ten_cubes)
{
    const double last = 2.0 * std::pow(1.5, 9); // 76.9 element lengths
    for (const bool within : {true, false})
    {
        Voxels voxels;
        for (int k = 0; k < 10; ++k)
            voxels.add(static_cast<float>(within ? last - 0.1 : last + 0.1), 0, 0);
        EXPECT_EQ(voxels.row(0, 0, 0) == noNeighbours, !within);
        EXPECT_EQ(voxels.row(0, 0, 0, 1, 0, 4.0f) == noNeighbours, false) << "longer elements reach further";
    }
}

TEST(CutCellSearch, fewer_than_ten_nodes_of_a_kind_leave_the_row_zero)
{
    Voxels voxels;
    for (int k = 0; k < 9; ++k)
        voxels.add(0, 0, 0.1f * static_cast<float>(k));
    voxels.add(0, 0, 0, 0, 1);
    EXPECT_EQ(voxels.row(0, 0, 0), noNeighbours);
}

TEST(CutCellSearch, an_element_length_that_is_no_number_leaves_the_row_zero)
{
    Voxels voxels;
    for (int k = 0; k < 20; ++k)
        voxels.add(0, 0, 0);
    EXPECT_EQ(voxels.row(0, 0, 0, 1, 0, std::numeric_limits<float>::quiet_NaN()), noNeighbours);
}

TEST(CutCellSearch, rows_follow_ascending_node_numbers_and_nodes_off_the_surface_have_none)
{
    const std::vector<float> zero(5, 0.0f);
    const unsigned char part[] = {0, 1, 0, 0, 1}, insert[] = {0, 0, 0, 1, 1};
    const auto rows = findCutCellNeighbours({{zero.data(), 4}, {zero.data(), 4}, {zero.data(), 4}}, {{part, 4}, {insert, 4}}, {}, 3);
    EXPECT_EQ(std::vector<int>(rows.rowOfNode.get(), rows.rowOfNode.get() + 5), (std::vector<int>{0, 1, 0, 2, 3}));
    EXPECT_EQ(rows.neighbour.rowTotal(), 4);
}

TEST(CutCellSearch, agrees_with_a_scan_over_all_nodes)
{
    std::mt19937 random(7);
    const auto coordinate = [&] { return static_cast<float>(random() % 41) * 0.25f; };
    Voxels voxels;
    for (int k = 0; k < 400; ++k)
        voxels.add(coordinate(), coordinate(), coordinate(), random() % 2, random() % 2);
    for (int round = 0; round < 60; ++round)
    {
        const float px = coordinate() + 0.05f, py = coordinate(), pz = coordinate();
        const auto a = static_cast<unsigned char>(random() % 2), b = static_cast<unsigned char>(1 - a * (random() % 2));
        std::vector<int> expected = noNeighbours;
        for (int t = 0; t < 10 && expected == noNeighbours; ++t)
        {
            const double h = 2.0 * std::pow(1.5, t);
            std::vector<std::pair<double, int>> match;
            for (std::size_t k = 1; k < voxels.x.size(); ++k)
            {
                const double dx = voxels.x[k] - static_cast<double>(px), dy = voxels.y[k] - static_cast<double>(py),
                             dz = voxels.z[k] - static_cast<double>(pz);
                if (std::max({std::abs(dx), std::abs(dy), std::abs(dz)}) <= h + 1e-6 && voxels.part[k] == a && voxels.insert[k] == b)
                    match.emplace_back(dx * dx + dy * dy + dz * dz, static_cast<int>(k));
            }
            if (match.size() < 10)
                continue;
            std::sort(match.begin(), match.end());
            for (std::size_t k = 0; k < 10; ++k)
                expected[k + 1] = match[k].second;
        }
        EXPECT_EQ(voxels.row(px, py, pz, a, b), expected) << "round " << round;
    }
}

} // namespace
} // namespace tav3d::meshmapping::cut_cell_neighbours_test
