// The temperatures of a part that cools in its mould.

#include "support/mesh_models.h"
#include "tools/sample_fields.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <numbers>

namespace sample_heat_test
{

using namespace tav3d;
using namespace tav3d::test;
using namespace tav3d::tools;

namespace
{

/// A part of 3 x 3 x 3 cells of edge 1, or of another size.
SampleGrid gridWithInsert(double size = 1.0)
{
    const auto model = modelWithInsert();
    return makeSampleGrid(model.voxel, size * model.scaleFactor, "test.krn");
}

} // namespace

TEST(SampleHeat, temperatures_stay_between_coolant_and_melt)
{
    const SampleGrid grid = gridWithInsert();
    const HeatConditions conditions;
    const SampleHeat heat = computeSampleHeat(grid, conditions, {0.5, 2.0, 30.0});
    ASSERT_EQ(heat.temperature.size(), 3U);
    for (const std::vector<double>& temperature : heat.temperature)
    {
        for (std::size_t i = 0; i < grid.nodeTotal(); ++i)
        {
            EXPECT_GE(temperature[i], conditions.coolantTemperature - 1e-9);
            EXPECT_LE(temperature[i], conditions.meltTemperature + 1e-9);
            if (grid.isOuterFace[i] != 0)
            {
                EXPECT_EQ(temperature[i], conditions.coolantTemperature);
            }
        }
    }
}

TEST(SampleHeat, hottest_node_is_in_the_part_and_cools_down)
{
    const SampleGrid grid = gridWithInsert();
    const SampleHeat heat = computeSampleHeat(grid, {}, {0.1, 1.0, 10.0, 100.0});
    double before = 230.0;
    for (const std::vector<double>& temperature : heat.temperature)
    {
        const auto hottest = std::max_element(temperature.begin(), temperature.end());
        EXPECT_TRUE(grid.isPlastic(static_cast<std::size_t>(hottest - temperature.begin())));
        EXPECT_LT(*hottest, before);
        before = *hottest;
    }
    EXPECT_LT(before, 41.0) << "in the end everything is as cold as the coolant";
}

TEST(SampleHeat, slab_between_cold_faces_cools_like_the_series_solution)
{
    // 20 cells of plastic; the nodes at both ends are held at 40 degC: T = 40 + 190 * sum 4 / (m pi) sin(m pi x / L) exp(-a (m pi / L)^2 t), m odd.
    const int n = 20;
    opensuite::MeshZone zone = cubeGrid(n, 1, 1, 0.1F, [](int, int, int) { return opensuite::body::part; });
    deriveFacets(zone, [](float, float, float) { return opensuite::facet_kind::gate; });
    SampleGrid grid = makeSampleGrid(zone, 1.0, "test.krn");
    for (std::size_t i = 0; i < grid.nodeTotal(); ++i)
    {
        grid.isOuterFace[i] = i % (n + 1) == 0 || i % (n + 1) == n;
    }
    const HeatConditions conditions;
    const double length = n * grid.spacing;
    const double diffusivity = 1e-3 * conditions.plastic.conductivity / conditions.plastic.capacity; // mm2/s
    const std::vector<double> times = {1.0, 3.0, 8.0};
    const SampleHeat heat = computeSampleHeat(grid, conditions, times, 2000);
    for (std::size_t k = 0; k < times.size(); ++k)
    {
        for (int i = 0; i <= n; ++i)
        {
            double series = 0.0;
            for (int m = 1; m < 200; m += 2)
            {
                const double wave = m * std::numbers::pi / length;
                series += 4 / (m * std::numbers::pi) * std::sin(wave * i * grid.spacing) * std::exp(-diffusivity * wave * wave * times[k]);
            }
            EXPECT_NEAR(heat.temperature[k][static_cast<std::size_t>(i)], 40 + 190 * series, 0.6) << "x " << i << ", t " << times[k];
        }
    }
}

TEST(SampleHeat, insert_carries_heat_away_faster_than_plastic)
{
    const auto model = modelWithInsert();
    const SampleGrid grid = makeSampleGrid(model.voxel, model.scaleFactor, "test.krn");
    HeatConditions slow;
    slow.insert = slow.plastic;
    const std::vector<double> quick = computeSampleHeat(grid, {}, {3.0}).temperature[0];
    const std::vector<double> isolated = computeSampleHeat(grid, slow, {3.0}).temperature[0];
    double difference = 0.0;
    for (std::size_t i = 0; i < grid.nodeTotal(); ++i)
    {
        difference = std::max(difference, std::abs(quick[i] - isolated[i]));
    }
    EXPECT_GT(difference, 5.0);
}

TEST(SampleHeat, ejection_time_is_zero_for_cold_nodes_and_the_end_for_hot_ones)
{
    const SampleGrid grid = gridWithInsert();
    HeatConditions conditions;
    conditions.ejectionTemperature = 10.0; // never reached
    SampleHeat heat = computeSampleHeat(grid, conditions, {1.0, 2.0});
    for (std::size_t i = 0; i < grid.nodeTotal(); ++i)
    {
        EXPECT_DOUBLE_EQ(heat.ejectionTime[i], grid.isPlastic(i) ? 2.0 : 0.0);
    }
    conditions.ejectionTemperature = 231.0;
    heat = computeSampleHeat(grid, conditions, {1.0, 2.0});
    EXPECT_EQ(heat.ejectionTime, std::vector<double>(grid.nodeTotal(), 0.0));
}

TEST(SampleItems, items_stand_in_their_region_and_nowhere_else)
{
    const SampleFields fields = computeSampleFields(gridWithInsert(12.0), {}, {}); // large enough not to be cold all over in the end
    const SampleGrid& grid = fields.grid;
    for (const std::string_view kind : sampleKinds)
    {
        for (const SampleItem& item : sampleItems(fields, kind))
        {
            ASSERT_EQ(item.value.size(), grid.nodeTotal() + 1);
            EXPECT_EQ(item.value[0], 0.0F);
            const bool everywhere = item.name == "Temperature, all bodies" || item.name == "Temperature after packing";
            for (std::size_t i = 0; i < grid.nodeTotal(); ++i)
            {
                const bool inside = everywhere                     ? true
                                    : item.type == moldBaseType    ? grid.isMoldBase[i] != 0
                                    : item.type == partSurfaceType ? grid.isPartSurface[i] != 0
                                                                   : grid.isPlastic(i);
                if (inside)
                {
                    EXPECT_GE(item.value[i + 1], item.lowest);
                    EXPECT_LE(item.value[i + 1], item.highest);
                }
                else
                {
                    EXPECT_EQ(item.value[i + 1], 0.0F) << kind << " item " << item.number << " node " << i + 1;
                }
            }
            EXPECT_LT(item.lowest, item.highest) << kind << " item " << item.number;
        }
    }
    EXPECT_THROW((void)sampleItems(fields, ".q7x"), std::invalid_argument);
}

TEST(SampleItems, cooling_results_have_items_that_a_mapping_knows_and_others)
{
    const SampleFields fields = computeSampleFields(gridWithInsert(), {}, {});
    const std::vector<int> knownItems = {1, 2, 3, 4, 5, 16, 17, 33, 53};
    for (const std::string_view kind : {".q7c", ".q7hc"})
    {
        int known = 0;
        int unknown = 0;
        bool types[6] = {};
        for (const SampleItem& item : sampleItems(fields, kind))
        {
            ++(std::find(knownItems.begin(), knownItems.end(), item.number) != knownItems.end() ? known : unknown);
            types[item.type] = true;
        }
        EXPECT_GE(known, 5);
        EXPECT_GE(unknown, 1);
        EXPECT_TRUE(types[allNodesType] && types[moldBaseType] && types[partSurfaceType]);
    }
}

} // namespace sample_heat_test
