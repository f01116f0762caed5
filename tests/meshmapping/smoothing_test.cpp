#include "meshmapping/smoothing.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdint>
#include <limits>
#include <random>
#include <vector>

namespace tav3d::meshmapping::smoothing_test
{
namespace
{

/// Nodes with rows; every node is a part node at first, without a row.
struct Mesh
{
    explicit Mesh(int n)
        : part(static_cast<std::size_t>(n) + 1, 1)
        , insert(part.size(), 0)
        , fixed(part.size(), 0)
        , rowOfNode(part.size(), 0)
    {
        addRow({}, {}, 0.0f); // row 0
    }

    void addRow(std::vector<int> nodes, std::vector<float> weights, float self)
    {
        count.push_back(static_cast<int>(nodes.size()));
        nodes.insert(nodes.begin(), 0);
        weights.insert(weights.begin(), 0.0f);
        neighbour.push_back(std::move(nodes));
        weight.push_back(std::move(weights));
        selfWeight.push_back(self);
    }
    void setRow(int node, std::vector<int> nodes, std::vector<float> weights, float self)
    {
        rowOfNode[static_cast<std::size_t>(node)] = static_cast<int>(count.size());
        addRow(std::move(nodes), std::move(weights), self);
    }

    template <class Method>
    void run(Method method, std::vector<float>& value, std::vector<float>& work) const
    {
        run(method, value, work, static_cast<int>(value.size()) - 1);
    }
    template <class Method>
    void run(Method method, std::vector<float>& value, std::vector<float>& work, int values) const
    {
        std::vector<const int*> neighbourRows;
        std::vector<const float*> weightRows;
        for (const auto& row : neighbour)
            neighbourRows.push_back(row.data());
        for (const auto& row : weight)
            weightRows.push_back(row.data());
        const int n = static_cast<int>(part.size()) - 1;
        method({{{part.data(), n}, {insert.data(), n}},
                {fixed.data(), n},
                {rowOfNode.data(), count.data(), neighbourRows.data(), weightRows.data(), selfWeight.data()}},
               NumberedSpan<float>(value.data(), values), NumberedSpan<float>(work.data(), values));
    }

    std::vector<float> smoothed(std::vector<float> value) const
    {
        std::vector<float> work(value.size());
        run(smoothByGaussWeights, value, work);
        return value;
    }
    std::vector<float> averaged(std::vector<float> value) const
    {
        std::vector<float> work(value.size());
        run(smoothByNodeAverage, value, work);
        return value;
    }

    std::vector<unsigned char> part, insert;
    std::vector<int> fixed, rowOfNode, count;
    std::vector<std::vector<int>> neighbour;
    std::vector<std::vector<float>> weight;
    std::vector<float> selfWeight;
};

std::vector<std::uint32_t> bits(const std::vector<float>& values)
{
    std::vector<std::uint32_t> out;
    for (float v : values)
        out.push_back(std::bit_cast<std::uint32_t>(v));
    return out;
}

TEST(GaussSmoothing, makes_exactly_five_sweeps)
{
    Mesh mesh(2);
    mesh.setRow(1, {2}, {0.5f}, 0.5f);
    // Node 2 has no row and keeps 0.5; node 1 halves its distance from it in every sweep.
    const auto value = mesh.smoothed({0, 1.5f, 0.5f});
    EXPECT_EQ(value[1], 0.5f + 1.0f / 32);
    EXPECT_EQ(value[2], 0.5f);
}

TEST(GaussSmoothing, reads_the_values_of_the_previous_sweep_only)
{
    Mesh mesh(2);
    mesh.setRow(1, {2}, {1.0f}, 0.0f);
    mesh.setRow(2, {1}, {1.0f}, 0.0f);
    EXPECT_EQ(mesh.smoothed({0, 3, 7}), (std::vector<float>{0, 7, 3})); // five exchanges
}

TEST(GaussSmoothing, adds_in_row_order_in_single_precision_starting_with_the_node_itself)
{
    // 1e8 + 3 - 1e8 in this order loses the 3; any other order or precision keeps it.
    Mesh mesh(3);
    mesh.setRow(1, {2, 3}, {1.0f, 1.0f}, 1.0f);
    mesh.fixed[2] = mesh.fixed[3] = 1;
    std::vector<float> expected{0, 1e8f, 3, -1e8f};
    for (int sweep = 0; sweep < 5; ++sweep)
    {
        if (expected[1] != 0.0f)
            expected[1] = (expected[1] * 1.0f + 3.0f * 1.0f) + -1e8f * 1.0f;
    }
    EXPECT_EQ(mesh.smoothed({0, 1e8f, 3, -1e8f}), expected);
    EXPECT_EQ(expected[1], 0.0f); // and the zero of the first sweep is skipped from then on
}

// DELIBERATE smooth-zero-skip
TEST(GaussSmoothing, a_zero_of_either_sign_never_changes)
{
    Mesh mesh(3);
    mesh.setRow(1, {3}, {0.5f}, 0.5f);
    mesh.setRow(2, {3}, {0.5f}, 0.5f);
    const auto value = mesh.smoothed({0, 0.0f, -0.0f, 8.0f});
    EXPECT_EQ(bits(value), bits({0, 0.0f, -0.0f, 8.0f}));
}

TEST(GaussSmoothing, the_zero_skip_is_made_in_every_sweep)
{
    Mesh mesh(2);
    mesh.setRow(1, {2}, {-1.0f}, 1.0f); // 5 - 5: zero after the first sweep, and from then on a node without result
    mesh.setRow(2, {2}, {1.0f}, 0.0f);
    mesh.fixed[2] = 1;
    EXPECT_EQ(mesh.smoothed({0, 5, 5})[1], 0.0f);
}

TEST(GaussSmoothing, a_value_next_to_zeros_is_pulled_towards_zero)
{
    Mesh mesh(2);
    mesh.setRow(1, {2}, {0.5f}, 0.5f);
    EXPECT_EQ(mesh.smoothed({0, 32, 0})[1], 1.0f);
}

TEST(GaussSmoothing, a_value_that_is_no_number_is_smoothed_and_spreads)
{
    Mesh mesh(2);
    mesh.setRow(1, {2}, {0.5f}, 0.5f);
    mesh.setRow(2, {1}, {0.5f}, 0.5f);
    const auto value = mesh.smoothed({0, std::numeric_limits<float>::quiet_NaN(), 1});
    EXPECT_TRUE(std::isnan(value[1]));
    EXPECT_TRUE(std::isnan(value[2]));
}

TEST(GaussSmoothing, unselected_nodes_keep_their_value_bit_for_bit)
{
    Mesh mesh(5);
    for (int node = 1; node <= 3; ++node)
        mesh.setRow(node, {5}, {0.5f}, 0.5f);
    mesh.setRow(4, {}, {}, 1.0f); // an empty row
    mesh.part[1] = 0;             // on no surface
    mesh.fixed[2] = 1;
    mesh.fixed[3] = 1;
    const float infinity = std::numeric_limits<float>::infinity();
    const std::vector<float> before{0, std::bit_cast<float>(0x7fc12345u), infinity, -0.1f, std::numeric_limits<float>::max(), 2};
    EXPECT_EQ(bits(mesh.smoothed(before)), bits(before));
    EXPECT_EQ(bits(mesh.averaged(before)), bits(before));
}

TEST(GaussSmoothing, a_part_insert_node_is_smoothed_like_a_part_node)
{
    Mesh mesh(2);
    mesh.part[1] = 0;
    mesh.insert[1] = 1;
    mesh.setRow(1, {2}, {0.5f}, 0.5f);
    EXPECT_EQ(mesh.smoothed({0, 33, 1})[1], 2.0f);
}

// DELIBERATE smooth-neighbour-beyond
TEST(GaussSmoothing, a_neighbour_beyond_the_values_counts_with_the_nodes_own_value)
{
    for (const int beyond : {3, 9}) // of two values
    {
        Mesh mesh(9);
        mesh.setRow(1, {beyond}, {0.5f}, 0.5f);
        EXPECT_EQ(mesh.smoothed({0, 4, 1}), (std::vector<float>{0, 4, 1}));
    }
    Mesh mesh(9);
    mesh.setRow(1, {2}, {1.0f}, 0.0f);
    EXPECT_EQ(mesh.smoothed({0, 4, 1})[1], 1.0f) << "the last value is within";
}

TEST(GaussSmoothing, values_beyond_the_mesh_are_kept)
{
    Mesh mesh(1);
    EXPECT_EQ(mesh.smoothed({0, 4, 1, 7}), (std::vector<float>{0, 4, 1, 7}));
}

TEST(GaussSmoothing, without_tables_every_value_is_kept)
{
    const std::vector<unsigned char> marks(3, 1);
    const std::vector<int> fixed(3, 0);
    std::vector<float> value{0, 1, 2}, work(3);
    const SmoothingNodes nodes{{{marks.data(), 2}, {marks.data(), 2}}, {fixed.data(), 2}, {}};
    smoothByGaussWeights(nodes, {value.data(), 2}, {work.data(), 2});
    smoothByNodeAverage(nodes, {value.data(), 2}, {work.data(), 2});
    EXPECT_EQ(value, (std::vector<float>{0, 1, 2}));
}

TEST(GaussSmoothing, without_values_nothing_happens)
{
    Mesh mesh(2);
    EXPECT_EQ(mesh.smoothed({9}), (std::vector<float>{9}));
    EXPECT_EQ(mesh.averaged({9}), (std::vector<float>{9}));
}

TEST(GaussSmoothing, a_negative_number_of_values_is_none)
{
    const SmoothingNodes nodes;
    std::vector<float> value{5, 6}, work{7, 8};
    smoothByGaussWeights(nodes, {value.data(), -1}, {work.data(), -1});
    smoothByNodeAverage(nodes, {value.data(), -1}, {work.data(), -1});
    EXPECT_EQ(value, (std::vector<float>{5, 6}));
    EXPECT_EQ(work, (std::vector<float>{7, 8}));
}

TEST(NodeAverage, is_one_pass_that_sees_the_values_it_has_already_made)
{
    Mesh mesh(3);
    mesh.setRow(1, {2, 3}, {0, 0}, 0); // weights play no part
    mesh.setRow(2, {1}, {0}, 0);
    const auto value = mesh.averaged({0, 1, 2, 6});
    EXPECT_EQ(value[1], 3.0f);              // (1 + 2 + 6) / 3
    EXPECT_EQ(value[2], (2.0f + 3.0f) / 2); // with the new value of node 1
    EXPECT_EQ(value[3], 6.0f);
}

// DELIBERATE average-no-guards
TEST(NodeAverage, averages_zeros_too)
{
    Mesh mesh(2);
    mesh.setRow(1, {2}, {0}, 0);
    EXPECT_EQ(mesh.averaged({0, 0, 8})[1], 4.0f);
}

// DELIBERATE average-no-guards
TEST(NodeAverage, reads_neighbours_beyond_the_values)
{
    Mesh mesh(3);
    mesh.setRow(1, {3}, {0}, 0);
    std::vector<float> value{0, 2, 5, 8}, work(4);
    std::vector<const int*> rows{mesh.neighbour[0].data(), mesh.neighbour[1].data()};
    const SmoothingNodes nodes{{{mesh.part.data(), 3}, {mesh.insert.data(), 3}},
                               {mesh.fixed.data(), 3},
                               {mesh.rowOfNode.data(), mesh.count.data(), rows.data(), nullptr, nullptr}};
    smoothByNodeAverage(nodes, {value.data(), 2}, {work.data(), 2}); // two values; the third is read all the same
    EXPECT_EQ(value[1], 5.0f);
}

TEST(NodeAverage, leaves_the_values_before_the_pass_in_the_work_array)
{
    Mesh mesh(2);
    mesh.setRow(1, {2}, {0}, 0);
    std::vector<float> value{0, 1, 3}, work{9, 9, 9};
    mesh.run(smoothByNodeAverage, value, work);
    EXPECT_EQ(work, (std::vector<float>{9, 1, 3}));
    EXPECT_EQ(value, (std::vector<float>{0, 2, 3}));
}

/// A ring of nodes with positive weights that sum to 1 (dyadic, so exactly).
Mesh ring(int n)
{
    Mesh mesh(n);
    for (int i = 1; i <= n; ++i)
        mesh.setRow(i, {i % n + 1, (i + n - 2) % n + 1}, {0.25f, 0.25f}, 0.5f);
    return mesh;
}

TEST(GaussSmoothing, weights_that_sum_to_one_keep_a_constant_field)
{
    const auto value = ring(20).smoothed(std::vector<float>(21, 3.7f));
    for (int i = 1; i <= 20; ++i)
        EXPECT_EQ(value[static_cast<std::size_t>(i)], 3.7f);
}

TEST(GaussSmoothing, non_negative_weights_never_leave_the_range_of_the_values)
{
    std::mt19937 random(20240611);
    for (int round = 0; round < 50; ++round)
    {
        std::vector<float> value(31);
        for (auto& v : value)
            v = static_cast<float>(random() % 2001) / 10.0f - 100.0f;
        const auto [low, high] = std::minmax_element(value.begin() + 1, value.end());
        const auto after = ring(30).smoothed(value);
        for (std::size_t i = 1; i < after.size(); ++i)
        {
            EXPECT_GE(after[i], *low - 1e-4f);
            EXPECT_LE(after[i], *high + 1e-4f);
        }
    }
}

/// The row that a node is smoothed with, or 0.
std::size_t rowFor(const Mesh& mesh, std::size_t node)
{
    if (node >= mesh.part.size() || (mesh.part[node] != 1 && mesh.insert[node] != 1) || mesh.fixed[node] == 1)
        return 0;
    return static_cast<std::size_t>(mesh.rowOfNode[node]);
}

/// What smoothByGaussWeights is to do, written down once more; only the first `values` values are looked at.
std::vector<float> smoothedNaively(const Mesh& mesh, std::vector<float> value, std::size_t values)
{
    for (int sweep = 0; sweep < 5; ++sweep)
    {
        const std::vector<float> old = value;
        for (std::size_t i = 1; i <= values; ++i)
        {
            const std::size_t row = rowFor(mesh, i);
            if (mesh.count[row] == 0 || old[i] == 0.0f)
                continue;
            float sum = 0.0f + old[i] * mesh.selfWeight[row]; // from +0 on: -0 alone becomes +0
            for (std::size_t k = 1; k < mesh.neighbour[row].size(); ++k)
            {
                const auto other = static_cast<std::size_t>(mesh.neighbour[row][k]);
                sum = sum + (other <= values ? old[other] : old[i]) * mesh.weight[row][k];
            }
            value[i] = sum;
        }
    }
    return value;
}

/// What smoothByNodeAverage is to do.
std::vector<float> averagedNaively(const Mesh& mesh, std::vector<float> value, std::size_t values)
{
    for (std::size_t i = 1; i <= values; ++i)
    {
        const std::size_t row = rowFor(mesh, i);
        if (mesh.count[row] == 0)
            continue;
        float sum = 0.0f + value[i];
        for (std::size_t k = 1; k < mesh.neighbour[row].size(); ++k)
            sum = sum + value[static_cast<std::size_t>(mesh.neighbour[row][k])];
        value[i] = sum / static_cast<float>(mesh.count[row] + 1);
    }
    return value;
}

/// Marks, rows and weights by chance.
Mesh anyMesh(std::mt19937& random, int n)
{
    const auto below = [&random](int limit) { return static_cast<int>(random() % static_cast<unsigned>(limit)); };
    Mesh mesh(n);
    for (int node = 1; node <= n; ++node)
    {
        const auto i = static_cast<std::size_t>(node);
        mesh.part[i] = static_cast<unsigned char>(below(8) < 6 ? 1 : below(3));
        mesh.insert[i] = static_cast<unsigned char>(below(3));
        mesh.fixed[i] = below(8) == 0 ? 1 + below(2) : 0;
        if (below(8) == 0)
            continue;
        std::vector<int> row(static_cast<std::size_t>(below(12)));
        std::vector<float> weight(row.size());
        for (std::size_t k = 0; k < row.size(); ++k)
        {
            row[k] = 1 + below(n);
            weight[k] = below(10) == 0 ? 0.0f : static_cast<float>(below(2000) - 200) / 4000.0f;
        }
        mesh.setRow(node, std::move(row), std::move(weight), static_cast<float>(below(1000)) / 1000.0f);
    }
    return mesh;
}

/// Values with zeros of both signs; `rarity`: one in so many is no ordinary number.
std::vector<float> anyValues(std::mt19937& random, int n, unsigned rarity)
{
    constexpr float infinity = std::numeric_limits<float>::infinity();
    const float odd[] = {infinity, -infinity, std::numeric_limits<float>::quiet_NaN(), std::numeric_limits<float>::max(),
                         1.0e-45f, -1.0e-38f};
    std::vector<float> value(static_cast<std::size_t>(n) + 1);
    for (float& v : value)
        v = rarity != 0 && random() % rarity == 0 ? odd[random() % 6]
            : random() % 20 == 0                  ? (random() % 2 == 0 ? 0.0f : -0.0f)
                                                  : static_cast<float>(random() % 20001) / 100.0f - 100.0f;
    return value;
}

/// The bits; which NaN comes out of a sum of two is open, so all of them count as one.
std::vector<std::uint32_t> bitsWithOneNaN(std::vector<float> values)
{
    for (float& v : values)
        if (std::isnan(v))
            v = std::numeric_limits<float>::quiet_NaN();
    return bits(values);
}

TEST(GaussSmoothing, has_the_bits_of_a_naive_loop_as_has_the_node_average)
{
    std::mt19937 random(7);
    int nodes = 0;
    for (int round = 0; round < 400; ++round)
    {
        const int n = round < 300 ? round % 4 : 1000 + 5 * (round % 100);
        const Mesh mesh = anyMesh(random, n);
        const std::vector<float> value = anyValues(random, n, round % 3 == 0 ? 0u : round % 3 == 1 ? 100u : 2000u);
        // All values, or fewer than there are nodes: then rows name nodes beyond them.
        const int values = round % 2 == 0 ? n : n - n / 5 - (n > 0 ? 1 : 0);
        std::vector<float> smoothed = value, averaged = value, work(value.size());
        mesh.run(smoothByGaussWeights, smoothed, work, values);
        mesh.run(smoothByNodeAverage, averaged, work, values);
        const auto count = static_cast<std::size_t>(values);
        ASSERT_EQ(bitsWithOneNaN(smoothed), bitsWithOneNaN(smoothedNaively(mesh, value, count))) << "round " << round;
        ASSERT_EQ(bitsWithOneNaN(averaged), bitsWithOneNaN(averagedNaively(mesh, value, count))) << "round " << round;
        nodes += n;
    }
    EXPECT_GE(nodes, 100000);
}

} // namespace
} // namespace tav3d::meshmapping::smoothing_test
