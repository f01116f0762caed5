#include "meshmapping/node_mapping.h"

#include <gtest/gtest.h>

#include <cmath>
#include <vector>

namespace tav3d::meshmapping::node_mapping_test
{
namespace
{

/// One cut-cell node that takes its value from voxel node 2 of 5; its nearest node of its own kind is voxel node 4.
struct OneNode
{
    std::vector<int> voxelNode{0, 2};
    std::vector<int> region{0, 0};
    std::vector<unsigned char> part{0, 0}, insert{0, 0};
    std::vector<unsigned char> voxelPart{0, 0, 0, 0, 0, 0}, voxelInsert{0, 0, 0, 0, 0, 0};
    std::vector<int> rowOfNode{0, 1};
    std::vector<std::vector<int>> neighbour{std::vector<int>(11, 0), {0, 4, 0, 0, 0, 0, 0, 0, 0, 0, 0}};
    PickUpRules rules{true, true, -77.0f};
    std::vector<float> voxelValue{100, 1, 2, 3, 4, 5};
    float max = -1.0e30f, min = 1.0e30f;

    float pickUp(float before = 55.0f)
    {
        std::vector<float> value{0, before};
        const std::vector<const int*> rows{neighbour[0].data(), neighbour[1].data()};
        const int n = static_cast<int>(voxelValue.size()) - 1;
        pickUpNodeValues({{voxelNode.data(), 1}, {region.data(), 1}, {{part.data(), 1}, {insert.data(), 1}}, rowOfNode.data(), rows.data()},
                         {{voxelPart.data(), 5}, {voxelInsert.data(), 5}}, rules, {voxelValue.data(), n}, {value.data(), 1}, max, min);
        return value[1];
    }
};

TEST(PickUp, an_interior_node_takes_the_value_of_its_voxel_node)
{
    OneNode node;
    EXPECT_EQ(node.pickUp(), 2.0f);
    EXPECT_EQ(node.max, 2.0f);
    EXPECT_EQ(node.min, 2.0f);
}

// DELIBERATE region-rule-cooling-only
TEST(PickUp, a_surface_region_rejects_voxel_nodes_off_that_surface)
{
    for (const int region : {1, 2})
    {
        OneNode node;
        node.region[1] = region;
        EXPECT_EQ(node.pickUp(), -77.0f) << "region " << region;
        (region == 1 ? node.voxelInsert : node.voxelPart)[2] = 1; // the other surface does not help
        EXPECT_EQ(node.pickUp(), -77.0f) << "region " << region;
        (region == 1 ? node.voxelPart : node.voxelInsert)[2] = 1;
        EXPECT_EQ(node.pickUp(), 2.0f) << "region " << region;
    }
}

// DELIBERATE region-rule-cooling-only
TEST(PickUp, the_region_rule_needs_both_rules_on)
{
    OneNode node;
    node.region[1] = 1;
    node.rules.neighbours = false;
    EXPECT_EQ(node.pickUp(), 2.0f);
    node.rules = {true, false, -77.0f};
    EXPECT_EQ(node.pickUp(), 2.0f);
}

// DELIBERATE neighbour-override
TEST(PickUp, surface_nodes_take_the_value_of_their_nearest_node_of_their_own_kind)
{
    for (const bool substitute : {false, true})
        for (const bool onPart : {false, true})
        {
            OneNode node;
            node.rules.substitute = substitute;
            (onPart ? node.part : node.insert)[1] = 1;
            EXPECT_EQ(node.pickUp(), 4.0f);
            node.rules.neighbours = false;
            EXPECT_EQ(node.pickUp(), 2.0f);
        }
}

// DELIBERATE neighbour-override
TEST(PickUp, the_override_undoes_the_region_rule)
{
    OneNode node;
    node.region[1] = 1;
    node.part[1] = 1;
    EXPECT_EQ(node.pickUp(), 4.0f);
}

TEST(PickUp, an_override_beyond_the_values_leaves_what_the_rules_gave)
{
    OneNode node;
    node.part[1] = 1;
    node.voxelValue = {100, 1, 2, 3}; // node 4 has no value
    EXPECT_EQ(node.pickUp(), 2.0f);
    node.region[1] = 1;
    EXPECT_EQ(node.pickUp(), -77.0f);
    node.voxelValue.push_back(4); // and now it has one, the last
    EXPECT_EQ(node.pickUp(), 4.0f);
}

TEST(PickUp, a_row_without_neighbours_reads_entry_zero)
{
    OneNode node;
    node.part[1] = 1;
    node.neighbour[1][1] = 0;
    EXPECT_EQ(node.pickUp(), 100.0f);
}

TEST(PickUp, a_voxel_node_beyond_the_values_keeps_or_substitutes_and_gets_no_override)
{
    OneNode node;
    node.voxelNode[1] = 6;
    node.part[1] = 1; // would be overridden, were its voxel node in range
    EXPECT_EQ(node.pickUp(), -77.0f);
    node.rules.substitute = false;
    EXPECT_EQ(node.pickUp(), 55.0f);
    EXPECT_EQ(node.max, -1.0e30f);
    EXPECT_EQ(node.min, 1.0e30f);
}

// DELIBERATE range-of-picked-values
TEST(PickUp, the_range_reflects_the_picked_value_whatever_is_stored)
{
    OneNode substituted;
    substituted.region[1] = 1;
    EXPECT_EQ(substituted.pickUp(), -77.0f);
    EXPECT_EQ(substituted.max, 2.0f);
    EXPECT_EQ(substituted.min, 2.0f);

    OneNode overridden;
    overridden.part[1] = 1;
    EXPECT_EQ(overridden.pickUp(), 4.0f);
    EXPECT_EQ(overridden.max, 2.0f);
    EXPECT_EQ(overridden.min, 2.0f);
}

// DELIBERATE range-of-picked-values
TEST(PickUp, stored_values_do_not_widen_the_range)
{
    OneNode overridden; // picks up 2, stores 4
    overridden.part[1] = 1;
    overridden.max = 3.0f;
    overridden.pickUp();
    EXPECT_EQ(overridden.max, 3.0f);

    OneNode substituted; // picks up 2, stores -77
    substituted.region[1] = 1;
    substituted.min = -5.0f;
    substituted.pickUp();
    EXPECT_EQ(substituted.min, -5.0f);
}

// DELIBERATE range-of-picked-values
TEST(PickUp, the_picked_value_is_read_before_the_result_is_stored_over_it)
{
    OneNode node;
    std::vector<float> both{100, 1, 2, 3, 4, 5}; // voxel values and result in one array
    const std::vector<int> assigned{0, 1};
    const std::vector<unsigned char> onPart{0, 1};
    const std::vector<const int*> rows{node.neighbour[0].data(), node.neighbour[1].data()};
    pickUpNodeValues(
        {{assigned.data(), 1}, {node.region.data(), 1}, {{onPart.data(), 1}, {node.insert.data(), 1}}, node.rowOfNode.data(), rows.data()},
        {{node.voxelPart.data(), 5}, {node.voxelInsert.data(), 5}}, node.rules, {both.data(), 5}, {both.data(), 1}, node.max, node.min);
    EXPECT_EQ(both[1], 4.0f);
    EXPECT_EQ(node.max, 1.0f);
    EXPECT_EQ(node.min, 1.0f);
}

TEST(PickUp, the_range_accumulates_over_calls)
{
    OneNode node;
    node.max = 1.5f;
    node.min = -9.0f;
    node.pickUp();
    EXPECT_EQ(node.max, 2.0f);
    EXPECT_EQ(node.min, -9.0f);
}

TEST(PickUp, a_value_that_is_no_number_is_stored_and_leaves_the_range)
{
    OneNode node;
    node.voxelValue[2] = std::nanf("");
    EXPECT_TRUE(std::isnan(node.pickUp()));
    EXPECT_EQ(node.max, -1.0e30f);
    EXPECT_EQ(node.min, 1.0e30f);
}

TEST(PickUp, without_cut_cell_nodes_nothing_happens)
{
    float max = 1.0f, min = 2.0f;
    pickUpNodeValues({}, {}, {}, {nullptr, 0}, {nullptr, 0}, max, min);
    EXPECT_EQ(max, 1.0f);
    EXPECT_EQ(min, 2.0f);
}

} // namespace
} // namespace tav3d::meshmapping::node_mapping_test
