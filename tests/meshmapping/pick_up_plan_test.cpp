#include "meshmapping/pick_up_plan.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <iterator>
#include <limits>
#include <random>
#include <vector>

namespace tav3d::meshmapping::pick_up_plan_test
{
namespace
{

using Random = std::mt19937;

int below(Random& random, int n)
{
    return static_cast<int>(random() % static_cast<unsigned>(n));
}

float wickedValue(Random& random)
{
    constexpr float infinity = std::numeric_limits<float>::infinity();
    constexpr float special[] = {0.0f,     -0.0f,     1.0f,     -1.0f,   std::numeric_limits<float>::quiet_NaN(),
                                 infinity, -infinity, 1.0e-44f, 3.0e38f, -3.0e38f};
    const int k = below(random, 2 * static_cast<int>(std::size(special)));
    return k < static_cast<int>(std::size(special)) ? special[k] : static_cast<float>(below(random, 9)) - 4.0f;
}

/// Cut-cell nodes of all kinds, with sources in 0 .. `reach`; the values end before that.
struct Scene
{
    Scene(Random& random, int cutCellNodes, int reach)
        : cutCellTotal(cutCellNodes)
        , voxelTotal(reach)
    {
        const auto fill = [&](auto& array, int n, int values)
        {
            array.assign(static_cast<std::size_t>(n) + 1, 0);
            for (int j = 1; j <= n; ++j)
                array[static_cast<std::size_t>(j)] = static_cast<typename std::decay_t<decltype(array)>::value_type>(below(random, values));
        };
        fill(voxelNode, cutCellNodes, reach + 1);
        fill(region, cutCellNodes, 3);
        fill(part, cutCellNodes, 2 + below(random, 3)); // mostly interior, or mostly on a surface
        fill(insert, cutCellNodes, 2 + below(random, 3));
        fill(voxelPart, reach, 2);
        fill(voxelInsert, reach, 2);
        fill(rowOfNode, cutCellNodes, 4);
        for (auto& row : rows)
            row = {0, below(random, reach + 1)};
        if (below(random, 2) == 0)
            std::fill(region.begin(), region.end(), 0);
        for (std::size_t k = 0; k < rows.size(); ++k)
            table[k] = rows[k].data();
    }

    [[nodiscard]] CutCellSources sources() const
    {
        const int n = cutCellTotal;
        return {{voxelNode.data(), n}, {region.data(), n}, {{part.data(), n}, {insert.data(), n}}, rowOfNode.data(), table};
    }
    [[nodiscard]] NodeKinds voxelKinds() const { return {{voxelPart.data(), voxelTotal}, {voxelInsert.data(), voxelTotal}}; }

    int cutCellTotal, voxelTotal;
    std::vector<int> voxelNode, region, rowOfNode;
    std::vector<unsigned char> part, insert, voxelPart, voxelInsert;
    std::array<std::vector<int>, 4> rows;
    const int* table[4];
};

std::vector<float> wickedValues(Random& random, int n)
{
    std::vector<float> value(static_cast<std::size_t>(n) + 1);
    for (float& v : value)
        v = wickedValue(random);
    return value;
}

bool sameBits(const std::vector<float>& a, const std::vector<float>& b)
{
    return a.size() == b.size() && std::memcmp(a.data(), b.data(), a.size() * sizeof(float)) == 0;
}

/// Both forms on the same items, several to a plan; every bit of the values, of those beyond the last, and of the range is compared.
void compareForms(Random& random, const Scene& scene, int valueTotal)
{
    PickUpRules rules{below(random, 2) == 1, below(random, 2) == 1, 0.0f};
    const PickUpPlan plan(scene.sources(), scene.voxelKinds(), rules, valueTotal);
    ASSERT_EQ(plan.voxelValueTotal(), valueTotal);
    for (int item = 0; item < 3; ++item)
    {
        const std::vector<float> voxelValue = wickedValues(random, valueTotal);
        std::vector<float> expected = wickedValues(random, scene.cutCellTotal);
        std::vector<float> got = expected;
        std::vector<float> range{below(random, 2) == 0 ? -1.0e30f : wickedValue(random),
                                 below(random, 2) == 0 ? 1.0e30f : wickedValue(random)};
        std::vector<float> gotRange = range;
        rules.substituteValue = wickedValue(random);
        pickUpNodeValues(scene.sources(), scene.voxelKinds(), rules, {voxelValue.data(), valueTotal}, {expected.data(), scene.cutCellTotal},
                         range[0], range[1]);
        plan.take({voxelValue.data(), valueTotal}, rules.substituteValue, {got.data(), scene.cutCellTotal}, gotRange[0], gotRange[1]);
        ASSERT_TRUE(sameBits(got, expected)) << scene.cutCellTotal << " nodes, " << valueTotal << " values";
        ASSERT_TRUE(sameBits(gotRange, range)) << gotRange[0] << ' ' << gotRange[1] << ", not " << range[0] << ' ' << range[1];
        if (!plan.fillsAllNodes())
            continue;

        std::vector<int> list(1, 0);
        std::vector<float> listed(1, 0.0f);
        const int every = 1 + below(random, 4);
        for (int node = 1; node <= scene.cutCellTotal + 3; ++node)
            if (below(random, every) == 0)
            {
                list.push_back(node);
                listed.push_back(node <= scene.cutCellTotal ? expected[static_cast<std::size_t>(node)] : 0.0f);
            }
        std::vector<float> gotListed = wickedValues(random, static_cast<int>(list.size()) - 1);
        gotListed[0] = 0.0f;
        const int n = static_cast<int>(list.size()) - 1;
        ASSERT_TRUE(plan.takeOf({list.data(), n}, {voxelValue.data(), valueTotal}, rules.substituteValue, {gotListed.data(), n}));
        ASSERT_TRUE(sameBits(gotListed, listed)) << scene.cutCellTotal << " nodes, " << n << " listed";
    }
}

TEST(PickUpPlan, gives_the_bits_of_the_plain_form_for_meshes_of_all_small_sizes)
{
    Random random(20241);
    for (int round = 0; round < 40000; ++round)
    {
        const Scene scene(random, below(random, 50), 1 + below(random, 12));
        ASSERT_NO_FATAL_FAILURE(compareForms(random, scene, scene.voxelTotal - below(random, 2) * below(random, scene.voxelTotal + 1)));
    }
}

TEST(PickUpPlan, gives_the_bits_of_the_plain_form_for_meshes_of_several_blocks)
{
    Random random(7);
    for (const int nodes : {2047, 2048, 2049, 4096, 4100, 6500})
        for (int round = 0; round < 6; ++round)
        {
            const Scene scene(random, nodes, 3000);
            ASSERT_NO_FATAL_FAILURE(compareForms(random, scene, round < 3 ? 3000 : 2900));
        }
}

TEST(PickUpPlan, gives_the_bits_of_the_plain_form_for_surfaces_between_interior_nodes)
{
    Random random(31);
    for (int round = 0; round < 40000; ++round)
    {
        Scene scene(random, 20 + below(random, 150), 1 + below(random, 12));
        for (int stretch = below(random, 4); stretch > 0; --stretch)
        {
            const int first = 1 + below(random, scene.cutCellTotal);
            const int last = std::min(first + below(random, 100), scene.cutCellTotal);
            for (auto* mark : {&scene.part, &scene.insert})
                std::fill(mark->begin() + first, mark->begin() + last + 1, static_cast<unsigned char>(0));
            std::fill(scene.region.begin() + first, scene.region.begin() + last + 1, 0);
            std::fill(scene.voxelNode.begin() + first, scene.voxelNode.begin() + last + 1, below(random, scene.voxelTotal + 1));
        }
        ASSERT_NO_FATAL_FAILURE(compareForms(random, scene, scene.voxelTotal - below(random, 2)));
    }
}

/// A plan for `nodes` interior nodes, each taking the value of the voxel node of its number.
PickUpPlan planOfEqualNumbers(std::vector<int>& numbers, std::vector<unsigned char>& marks, int nodes)
{
    numbers.assign(static_cast<std::size_t>(nodes) + 1, 0);
    marks.assign(static_cast<std::size_t>(nodes) + 1, 0);
    for (int j = 1; j <= nodes; ++j)
        numbers[static_cast<std::size_t>(j)] = j;
    CutCellSources sources;
    sources.voxelNode = {numbers.data(), nodes};
    sources.kinds = {{marks.data(), nodes}, {marks.data(), nodes}};
    return PickUpPlan(sources, {}, {false, true, 0.0f}, nodes);
}

TEST(PickUpPlan, the_first_of_zeros_of_both_signs_is_the_extreme)
{
    std::vector<int> numbers;
    std::vector<unsigned char> marks;
    const PickUpPlan plan = planOfEqualNumbers(numbers, marks, 40);
    for (const float first : {0.0f, -0.0f})
    {
        std::vector<float> value(41, -first);
        value[1] = -5.0f; // the highest is a zero, and the first one stands in another lane than all others that differ from it
        value[6] = first;
        std::fill(value.begin() + 2, value.begin() + 6, -5.0f);
        std::vector<float> got(41);
        float max = -1.0e30f, min = 1.0e30f;
        plan.take({value.data(), 40}, 0.0f, {got.data(), 40}, max, min);
        EXPECT_EQ(max, 0.0f);
        EXPECT_EQ(std::signbit(max), std::signbit(first));
        EXPECT_EQ(min, -5.0f);
    }
}

TEST(PickUpPlan, a_list_that_does_not_ascend_from_1_is_refused_and_nothing_is_written)
{
    std::vector<int> numbers;
    std::vector<unsigned char> marks;
    const PickUpPlan plan = planOfEqualNumbers(numbers, marks, 3);
    const std::vector<float> value{0, 10, 20, 30};
    for (const std::vector<int>& list : {std::vector<int>{0, 0, 1}, {0, 2, 1}, {0, 2, 2}, {0, -1, 2}})
    {
        std::vector<float> got{0, 7, 7};
        EXPECT_FALSE(plan.takeOf({list.data(), 2}, {value.data(), 3}, 0.0f, {got.data(), 2}));
        EXPECT_EQ(got, (std::vector<float>{0, 7, 7}));
    }
    const std::vector<int> list{0, 1, 3};
    std::vector<float> got{0, 7, 7};
    EXPECT_TRUE(plan.takeOf({list.data(), 2}, {value.data(), 3}, 0.0f, {got.data(), 2}));
    EXPECT_EQ(got, (std::vector<float>{0, 10, 30}));
}

TEST(PickUpPlan, only_the_substitute_makes_sure_that_every_node_gets_a_value)
{
    std::vector<int> numbers{0, 1};
    std::vector<unsigned char> marks{0, 0};
    CutCellSources sources;
    sources.voxelNode = {numbers.data(), 1};
    sources.kinds = {{marks.data(), 1}, {marks.data(), 1}};
    EXPECT_TRUE(PickUpPlan(sources, {}, {false, true, 0.0f}, 1).fillsAllNodes());
    EXPECT_FALSE(PickUpPlan(sources, {}, {false, false, 0.0f}, 1).fillsAllNodes());
}

} // namespace
} // namespace tav3d::meshmapping::pick_up_plan_test
