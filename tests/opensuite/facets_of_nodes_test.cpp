#include "TAVMeshFormatTransfer.h"

#include <gtest/gtest.h>

#include <array>
#include <vector>

namespace facets_of_nodes_test
{

namespace
{

/// Facets 1..n as counted lists; row 0 holds the facet count, as the voxel mesh reader hands it over.
class Table
{
public:
    explicit Table(const std::vector<std::vector<int>>& facets)
    {
        rows_.push_back({static_cast<int>(facets.size())});
        for (const std::vector<int>& corners : facets)
        {
            rows_.push_back({static_cast<int>(corners.size())});
            rows_.back().insert(rows_.back().end(), corners.begin(), corners.end());
        }
        for (std::vector<int>& row : rows_)
            pointers_.push_back(row.data());
    }
    int** rows() { return pointers_.data(); }
    [[nodiscard]] int facetCount() const { return rows_[0][0]; }

private:
    std::vector<std::vector<int>> rows_;
    std::vector<int*> pointers_;
};

std::vector<std::array<int, 10>> facetsOfNodes(Table facets, int nodes)
{
    std::vector<std::array<int, 10>> rows(static_cast<std::size_t>(nodes) + 1);
    std::vector<int*> out;
    for (auto& row : rows)
        out.push_back(row.data());
    CTAVTransfer20to02().Get02From20(facets.facetCount(), facets.rows(), nodes, out.data());
    return rows;
}

using Row = std::array<int, 10>;

} // namespace

TEST(FacetsOfNodes, rows_list_the_facets_of_each_node_in_ascending_order)
{
    const auto rows = facetsOfNodes(Table({{1, 2, 3, 4}, {3, 4, 5, 6}, {4, 1, 6, 7}}), 8);
    EXPECT_EQ(rows[0], (Row{}));
    EXPECT_EQ(rows[1], (Row{2, 1, 3}));
    EXPECT_EQ(rows[2], (Row{1, 1}));
    EXPECT_EQ(rows[4], (Row{3, 1, 2, 3}));
    EXPECT_EQ(rows[7], (Row{1, 3}));
    EXPECT_EQ(rows[8], (Row{})); // a node of no facet
}

TEST(FacetsOfNodes, triangle_that_repeats_a_corner_is_listed_once)
{
    const auto rows = facetsOfNodes(Table({{1, 2, 3, 3}, {3, 1, 3, 2}}), 3);
    EXPECT_EQ(rows[3], (Row{2, 1, 2}));
}

TEST(FacetsOfNodes, tenth_facet_of_a_node_is_dropped)
{
    const auto rows = facetsOfNodes(Table(std::vector<std::vector<int>>(12, {1, 2, 3, 4})), 4);
    for (int n = 1; n <= 4; ++n)
        EXPECT_EQ(rows[n], (Row{9, 1, 2, 3, 4, 5, 6, 7, 8, 9}));
}

TEST(FacetsOfNodes, node_numbers_out_of_range_and_zero_are_passed_over)
{
    const auto rows = facetsOfNodes(Table({{0, 1, 2, 3}, {-5, 2, 1, 1000000}}), 2);
    EXPECT_EQ(rows[0], (Row{}));
    EXPECT_EQ(rows[1], (Row{2, 1, 2}));
    EXPECT_EQ(rows[2], (Row{2, 1, 2}));
}

TEST(FacetsOfNodes, no_facets_leave_all_rows_empty)
{
    for (const Row& row : facetsOfNodes(Table({}), 3))
        EXPECT_EQ(row, (Row{}));
}

} // namespace facets_of_nodes_test
