#include "meshmapping/gauss_neighbours.h"

#include "common/exact_math.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <cstdint>
#include <set>

namespace tav3d::meshmapping::gauss_neighbours_test
{
namespace
{

constexpr float pi = 3.1416f;

/// A surface of quads over nodes with coordinates and marks; all nodes are part nodes at first.
struct Surface
{
    std::vector<float> x{0}, y{0}, z{0};
    std::vector<unsigned char> part{0}, insert{0};
    std::vector<int> fixed{0};
    std::vector<std::array<int, 5>> quad{{}};

    int addNode(float px, float py, float pz)
    {
        x.push_back(px);
        y.push_back(py);
        z.push_back(pz);
        part.push_back(1);
        insert.push_back(0);
        fixed.push_back(0);
        return static_cast<int>(x.size()) - 1;
    }
    void addQuad(int a, int b, int c, int d) { quad.push_back({4, a, b, c, d}); }
    [[nodiscard]] int nodeTotal() const { return static_cast<int>(x.size()) - 1; }

    [[nodiscard]] std::vector<std::array<int, 10>> facetsOfNodes() const
    {
        std::vector<std::array<int, 10>> rows(x.size());
        for (int f = 1; f < static_cast<int>(quad.size()); ++f)
        {
            const auto& q = quad[static_cast<std::size_t>(f)];
            for (int node : std::set<int>(q.begin() + 1, q.end()))
            {
                auto& row = rows[static_cast<std::size_t>(node)];
                if (row[0] < 9)
                    row[static_cast<std::size_t>(++row[0])] = f;
            }
        }
        return rows;
    }

    [[nodiscard]] GaussNeighbours search(float elementLengthSquared = 1.0f) const
    {
        const auto nodeFacet = facetsOfNodes();
        std::vector<const int*> facetRows, nodeRows;
        for (const auto& q : quad)
            facetRows.push_back(q.data());
        for (const auto& row : nodeFacet)
            nodeRows.push_back(row.data());
        const int n = nodeTotal();
        return findGaussNeighbours({{x.data(), n}, {y.data(), n}, {z.data(), n}}, {{part.data(), n}, {insert.data(), n}}, {fixed.data(), n},
                                   {facetRows.data(), nodeRows.data()}, {pi, elementLengthSquared}, n, 51);
    }
};

/// Square plate of size x size unit quads; node (i, j) is 1 + i + (size+1)·j.
Surface plate(int size)
{
    Surface s;
    for (int j = 0; j <= size; ++j)
        for (int i = 0; i <= size; ++i)
            s.addNode(static_cast<float>(i), static_cast<float>(j), 0.0f);
    for (int j = 0; j < size; ++j)
        for (int i = 0; i < size; ++i)
        {
            const int a = 1 + i + (size + 1) * j;
            s.addQuad(a, a + 1, a + size + 2, a + size + 1);
        }
    return s;
}

std::vector<int> rowNodes(const GaussNeighbours& rows, int row)
{
    return {rows.neighbour[row] + 1, rows.neighbour[row] + 1 + rows.count[row]};
}

/// The kernel at one width, written out: float exponential times float norm, subtracted one by one.
float selfWeightAtWidth(const std::vector<double>& d2, float lengthSquared, int j)
{
    const double c = 1.0 - 0.1 * j;
    float s = 1.0f;
    for (double d : d2)
        s = s - static_cast<float>(common::exponential(-d / (static_cast<double>(lengthSquared) * c * c) / static_cast<double>(3.92f))) *
                    gaussNorm(pi);
    return s;
}

// DELIBERATE five-digit-pi
TEST(GaussSearch, norm_comes_from_the_five_digit_pi)
{
    EXPECT_EQ(std::bit_cast<std::uint32_t>(gaussNorm(pi)), 0x3d860911u);
    EXPECT_EQ(gaussNorm(pi), 0.06544698f);
    EXPECT_NE(gaussNorm(3.14159265f), gaussNorm(pi));
}

TEST(GaussSearch, rows_follow_ascending_node_numbers_and_unselected_nodes_have_none)
{
    Surface s = plate(2);
    s.part[2] = 0;  // off every surface
    s.fixed[5] = 1; // the middle
    const auto rows = s.search();
    EXPECT_EQ(std::vector<int>(rows.rowOfNode.get(), rows.rowOfNode.get() + 10), (std::vector<int>{0, 1, 0, 2, 3, 0, 4, 5, 6, 7}));
}

TEST(GaussSearch, a_fixed_node_is_nobodys_neighbour)
{
    Surface s = plate(2);
    s.fixed[5] = 1;
    const auto rows = s.search();
    for (int row = 1; row <= 8; ++row)
    {
        const auto nodes = rowNodes(rows, row);
        EXPECT_EQ(std::count(nodes.begin(), nodes.end(), 5), 0) << "row " << row;
        EXPECT_EQ(nodes.size(), 7u);
    }
}

TEST(GaussSearch, neighbours_are_sorted_by_distance_and_equal_distances_by_number)
{
    const auto rows = plate(2).search();
    const int middle = rows.rowOfNode[5];
    EXPECT_EQ(rowNodes(rows, middle), (std::vector<int>{2, 4, 6, 8, 1, 3, 7, 9}));
}

TEST(GaussSearch, reaches_three_rings_of_facets_and_no_further)
{
    const auto rows = plate(8).search(); // node (i, j) is 1 + i + 9j
    const int centre = 1 + 4 + 9 * 4;
    auto found = rowNodes(rows, rows.rowOfNode[centre]);
    std::sort(found.begin(), found.end());
    std::vector<int> expected;
    for (int j = 1; j <= 7; ++j)
        for (int i = 1; i <= 7; ++i)
            if (i != 4 || j != 4)
                expected.push_back(1 + i + 9 * j);
    EXPECT_EQ(found, expected); // 48 nodes: no row of a flat plate is ever cut off
}

TEST(GaussSearch, part_mark_and_part_insert_mark_must_both_match)
{
    Surface s = plate(2);
    s.insert[1] = s.insert[2] = 1; // on part and insert
    s.part[3] = 0;
    s.insert[3] = 1; // on the insert alone
    const auto rows = s.search();
    EXPECT_EQ(rowNodes(rows, rows.rowOfNode[1]), (std::vector<int>{2}));
    EXPECT_EQ(rowNodes(rows, rows.rowOfNode[3]), (std::vector<int>{}));
    EXPECT_EQ(rowNodes(rows, rows.rowOfNode[5]), (std::vector<int>{4, 6, 8, 7, 9}));
}

TEST(GaussSearch, a_node_without_candidates_keeps_all_its_weight)
{
    Surface s;
    s.addNode(0, 0, 0);
    const auto rows = s.search();
    EXPECT_EQ(rows.rowOfNode[1], 1);
    EXPECT_EQ(rows.count[1], 0);
    EXPECT_EQ(rows.selfWeight[1], 1.0f);
}

/// Nine quads around a hub, and a quad on each of the 27 nodes of the first ring: 27 + 81 nodes in reach of the hub. Nodes that the
/// walk meets late lie nearer than those it meets early.
Surface hubOfManyFacets()
{
    Surface s;
    const int hub = s.addNode(0, 0, 0);
    std::vector<int> ring;
    float distance = 200.0f;
    const auto next = [&] { return s.addNode(distance -= 1.0f, 0, 0); };
    for (int f = 0; f < 9; ++f)
    {
        const int a = next(), b = next(), c = next();
        s.addQuad(hub, a, b, c);
        ring.insert(ring.end(), {a, b, c});
    }
    for (int inner : ring)
    {
        const int a = next(), b = next(), c = next();
        s.addQuad(inner, a, b, c);
    }
    return s;
}

// DELIBERATE gauss-first-fifty
TEST(GaussSearch, keeps_the_first_fifty_in_walk_order_and_not_the_nearest_fifty)
{
    const Surface s = hubOfManyFacets();
    const auto rows = s.search();
    ASSERT_EQ(rows.count[1], 50);

    // The walk, with a set and a list: first facet of the hub, corner by corner, facet by facet.
    const auto facets = s.facetsOfNodes();
    std::vector<int> order;
    std::set<int> seen{1};
    const auto each = [&](int node, auto&& visit)
    {
        for (int f = 1; f <= facets[static_cast<std::size_t>(node)][0]; ++f)
            for (int c = 1; c <= 4; ++c)
                visit(s.quad[static_cast<std::size_t>(facets[static_cast<std::size_t>(node)][static_cast<std::size_t>(f)])]
                            [static_cast<std::size_t>(c)]);
    };
    each(1,
         [&](int c1)
         {
             each(c1,
                  [&](int c2)
                  {
                      each(c2,
                           [&](int k)
                           {
                               if (seen.insert(k).second)
                                   order.push_back(k);
                           });
                  });
         });
    ASSERT_EQ(order.size(), 108u);
    std::vector<int> first(order.begin(), order.begin() + 50);
    auto found = rowNodes(rows, 1);
    EXPECT_TRUE(std::is_sorted(found.begin(), found.end(),
                               [&](int a, int b) { return s.x[static_cast<std::size_t>(a)] < s.x[static_cast<std::size_t>(b)]; }))
        << "nearest first";
    std::sort(first.begin(), first.end());
    std::sort(found.begin(), found.end());
    EXPECT_EQ(found, first);
    EXPECT_EQ(std::count(found.begin(), found.end(), s.nodeTotal()), 0) << "the nearest node of all is met too late";
}

TEST(GaussSearch, a_walk_stays_on_the_surface_and_does_not_see_the_wall_behind)
{
    Surface s = plate(1);
    const int first = s.addNode(0.5f, 0.5f, 0.1f); // very near, on another surface
    const int a = s.addNode(9, 9, 9), b = s.addNode(8, 9, 9), c = s.addNode(8, 8, 9);
    s.addQuad(first, a, b, c);
    const auto rows = s.search();
    EXPECT_EQ(rowNodes(rows, rows.rowOfNode[1]), (std::vector<int>{2, 3, 4}));
}

TEST(GaussSearch, a_remainder_above_the_limit_on_the_first_pass_is_not_narrowed)
{
    const auto rows = plate(1).search(); // three neighbours, at squared distances 1, 1, 2
    EXPECT_EQ(rows.selfWeight[1], selfWeightAtWidth({1, 1, 2}, 1.0f, 0));
    EXPECT_GT(rows.selfWeight[1], 0.023f);
    EXPECT_EQ(rows.weight[1][1],
              static_cast<float>(common::exponential(-1.0 / (1.0 * 1.0 * 1.0) / static_cast<double>(3.92f))) * gaussNorm(pi));
    EXPECT_EQ(rows.weight[1][0], 0.0f);
    EXPECT_EQ(rows.weight[1][4], 0.0f);
}

TEST(GaussSearch, the_kernel_narrows_until_enough_is_left_for_the_node_itself)
{
    // 48 neighbours of which the near ones lie closer than an element length: the full kernel would hand out more than there is.
    const float lengthSquared = 4.0f;
    const Surface s = plate(8);
    const int centre = 1 + 4 + 9 * 4;
    const auto rows = s.search(lengthSquared);
    const int row = rows.rowOfNode[centre];
    std::vector<double> d2;
    for (int node : rowNodes(rows, row))
    {
        const double dx = s.x[static_cast<std::size_t>(node)] - 4.0, dy = s.y[static_cast<std::size_t>(node)] - 4.0;
        d2.push_back(dx * dx + dy * dy);
    }
    int j = 0;
    while (j < 9 && selfWeightAtWidth(d2, lengthSquared, j) <= 0.023)
        ++j;
    ASSERT_GT(j, 0) << "the case must need narrowing";
    ASSERT_LT(j, 9);
    EXPECT_EQ(rows.selfWeight[row], selfWeightAtWidth(d2, lengthSquared, j));
    EXPECT_GT(rows.selfWeight[row], 0.023f);
}

TEST(GaussSearch, a_remainder_is_enough_above_0_023)
{
    // Fourteen neighbours at the node's own place take the full norm; the fifteenth decides what is left: 0.025, and 0.021.
    for (const double wanted : {0.025, 0.021})
    {
        const double norm = static_cast<double>(gaussNorm(pi));
        const double last = 1.0 - 14 * norm - wanted;
        Surface s = plate(3);
        std::fill(s.x.begin(), s.x.end(), 0.0f);
        std::fill(s.y.begin(), s.y.end(), 0.0f);
        s.x[16] = static_cast<float>(std::sqrt(-std::log(last / norm) * 3.92));
        const auto rows = s.search();
        ASSERT_EQ(rows.count[1], 15);
        std::vector<double> d2(15, 0.0);
        d2[14] = static_cast<double>(s.x[16]) * static_cast<double>(s.x[16]);
        ASSERT_NEAR(selfWeightAtWidth(d2, 1.0f, 0), wanted, 1e-4);
        int width = 0;
        while (width < 9 && selfWeightAtWidth(d2, 1.0f, width) <= 0.023)
            ++width;
        EXPECT_EQ(width == 0, wanted > 0.023);
        EXPECT_EQ(rows.selfWeight[1], selfWeightAtWidth(d2, 1.0f, width));
    }
}

TEST(GaussSearch, the_tenth_width_is_the_last)
{
    Surface s = plate(8); // 48 neighbours very near
    std::fill(s.x.begin(), s.x.end(), 0.02f);
    std::fill(s.y.begin(), s.y.end(), 0.0f);
    const int centre = 1 + 4 + 9 * 4;
    s.x[static_cast<std::size_t>(centre)] = 0.0f;
    const auto rows = s.search();
    const std::vector<double> d2(48, static_cast<double>(0.02f) * static_cast<double>(0.02f));
    ASSERT_NE(selfWeightAtWidth(d2, 1.0f, 8), selfWeightAtWidth(d2, 1.0f, 9));
    EXPECT_EQ(rows.selfWeight[rows.rowOfNode[centre]], selfWeightAtWidth(d2, 1.0f, 9));
}

TEST(GaussSearch, after_nine_narrowings_the_remainder_stands_as_it_is)
{
    // All nodes at one place: each of 48 neighbours weighs the full norm at every width.
    Surface s = plate(8);
    std::fill(s.x.begin(), s.x.end(), 1.0f);
    std::fill(s.y.begin(), s.y.end(), 1.0f);
    const auto rows = s.search();
    const int row = rows.rowOfNode[1 + 4 + 9 * 4];
    float expected = 1.0f;
    for (int k = 0; k < 48; ++k)
        expected = expected - gaussNorm(pi);
    EXPECT_EQ(rows.selfWeight[row], expected);
    EXPECT_LT(expected, 0.0f);
}

TEST(GaussSearch, weights_of_a_row_and_its_own_sum_to_one)
{
    const auto rows = plate(8).search();
    for (int row = 1; row <= 81; ++row)
    {
        float sum = rows.selfWeight[row];
        for (int k = rows.count[row]; k >= 1; --k)
            sum += rows.weight[row][k];
        EXPECT_NEAR(sum, 1.0f, 1e-6f) << "row " << row;
    }
}

TEST(GaussSearch, an_element_length_that_is_no_number_leaves_weights_that_are_none)
{
    const auto rows = plate(1).search(std::nanf(""));
    EXPECT_EQ(rows.count[1], 3);
    EXPECT_TRUE(std::isnan(rows.selfWeight[1]));
}

TEST(GaussSearch, without_nodes_there_is_row_zero_alone)
{
    const Surface s;
    const auto rows = s.search();
    EXPECT_EQ(rows.neighbour.rowTotal(), 1);
    EXPECT_EQ(rows.count[0], 0);
}

} // namespace
} // namespace tav3d::meshmapping::gauss_neighbours_test
