// The fields of a melt that fills the part.

#include "support/mesh_models.h"
#include "tools/sample_flow.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <numeric>

namespace sample_flow_test
{

using namespace tav3d;
using namespace tav3d::test;
using namespace tav3d::tools;
using opensuite::MeshZone;
namespace facet_kind = opensuite::facet_kind;

namespace
{

/// Cubes of edge 1 that are part where `inPart` says so; the gate lies on the skin of x = 0.
SampleGrid gridOf(int nx, int ny, int nz, const std::function<bool(int, int, int)>& inPart = {})
{
    MeshZone zone = cubeGrid(
        nx, ny, nz, 1.0F, [&](int i, int j, int k) { return !inPart || inPart(i, j, k) ? opensuite::body::part : opensuite::body::mold; });
    deriveFacets(zone, [](float x, float, float) { return x == 0 ? facet_kind::gate : facet_kind::partSkin; });
    return makeSampleGrid(zone, 1.0, "test.krn");
}

SampleGrid gridWithInsert()
{
    const auto model = modelWithInsert();
    return makeSampleGrid(model.voxel, model.scaleFactor, "test.krn");
}

/// Node number, from 0, of a grid of nx × ny cells per layer.
std::size_t nodeAt(int nx, int ny, int i, int j, int k)
{
    return static_cast<std::size_t>(i + (nx + 1) * (j + (ny + 1) * k));
}

} // namespace

TEST(SampleGrid, cells_give_their_volume_to_their_nodes)
{
    const SampleGrid grid = gridWithInsert();
    EXPECT_DOUBLE_EQ(grid.spacing, 1.0); // edge 2, scale factor 0.5
    EXPECT_EQ(grid.nodeTotal(), 216U);
    EXPECT_NEAR(std::accumulate(grid.plasticVolume.begin(), grid.plasticVolume.end(), 0.0), 27 - 3, 1e-12);
    EXPECT_EQ(std::count(grid.isGate.begin(), grid.isGate.end(), 1), 4);
}

TEST(SampleGrid, neighbours_know_each_other)
{
    const SampleGrid grid = gridWithInsert();
    for (std::size_t i = 0; i < grid.nodeTotal(); ++i)
    {
        for (std::size_t k = 0; k < 6; ++k)
        {
            const std::int32_t other = grid.neighbour[i][k];
            if (other >= 0)
            {
                EXPECT_EQ(grid.neighbour[static_cast<std::size_t>(other)][k ^ 1], static_cast<std::int32_t>(i));
            }
            EXPECT_TRUE(grid.plasticNeighbour[i][k] < 0 || grid.plasticNeighbour[i][k] == other);
        }
    }
}

TEST(SampleGrid, mesh_without_gate_or_part_or_cubes_is_refused_by_name)
{
    const auto reason = [](const MeshZone& zone)
    {
        try
        {
            (void)makeSampleGrid(zone, 1.0, "test.krn");
        }
        catch (const std::exception& error)
        {
            return std::string(error.what());
        }
        return std::string();
    };
    MeshZone zone = unitCube().voxel;
    EXPECT_EQ(reason(zone), "test.krn: Surface: the part has no gate in the voxel mesh");
    EXPECT_EQ(reason(oneCellOfEachKind().voxel), "test.krn: Plastic element 2: the voxel mesh must be made of cubes");
    zone.x[1] = 2.0F;
    EXPECT_NE(reason(zone).find("equal cubes"), std::string::npos);
    zone.plastic = {};
    EXPECT_EQ(reason(zone), "test.krn: Plastic: the voxel mesh has no part");
}

TEST(SampleFlow, distance_along_a_bar_is_its_length)
{
    const SampleGrid grid = gridOf(10, 1, 1);
    const std::vector<double> distance = distanceWithinPart(grid, grid.isGate);
    for (int i = 0; i <= 10; ++i)
    {
        EXPECT_DOUBLE_EQ(distance[nodeAt(10, 1, i, 1, 0)], i);
    }
}

TEST(SampleFlow, distance_over_a_plate_is_close_to_the_straight_line)
{
    const int n = 40;
    SampleGrid grid = gridOf(n, n, 1);
    std::fill(grid.isGate.begin(), grid.isGate.end(), 0);
    grid.isGate[nodeAt(n, n, 0, 0, 0)] = 1;
    const std::vector<double> distance = distanceWithinPart(grid, grid.isGate);
    for (int i = 0; i <= n; ++i)
    {
        for (int j = 0; j <= n; ++j)
        {
            const double straight = std::hypot(i, j);
            const double d = distance[nodeAt(n, n, i, j, 0)];
            EXPECT_GE(d, straight - 1e-9); // along the edges of the grid it would be i + j, up to 41 % too long
            EXPECT_LE(d, straight + 1.5) << i << " " << j;
        }
    }
}

TEST(SampleFlow, distance_leads_around_a_wall)
{
    // Two arms of a U, one cell apart, joined at the far end x = 8.
    const SampleGrid grid = gridOf(8, 3, 1, [](int i, int j, int) { return j != 1 || i == 7; });
    std::vector<char> source(grid.nodeTotal(), 0);
    source[nodeAt(8, 3, 0, 0, 0)] = 1;
    const std::vector<double> distance = distanceWithinPart(grid, source);
    EXPECT_GE(distance[nodeAt(8, 3, 0, 3, 0)], 7 + 7 + 1);
    EXPECT_LE(distance[nodeAt(8, 3, 0, 3, 0)], 8 + 3 + 8);
}

TEST(SampleFlow, front_time_is_zero_at_the_gate_and_grows_away_from_it)
{
    const SampleGrid grid = gridWithInsert();
    const FlowConditions conditions;
    const SampleFlow flow = computeSampleFlow(grid, conditions);
    EXPECT_EQ(flow.unreachedNodes, 0U);
    double last = 0.0;
    for (std::size_t i = 0; i < grid.nodeTotal(); ++i)
    {
        if (!grid.isPlastic(i) || grid.isGate[i] != 0)
        {
            EXPECT_EQ(flow.frontTime[i], 0.0);
            continue;
        }
        EXPECT_GT(flow.frontTime[i], 0.0);
        last = std::max(last, flow.frontTime[i]);
        // The melt came from somewhere: a neighbour was passed before.
        EXPECT_TRUE(std::any_of(grid.plasticNeighbour[i].begin(), grid.plasticNeighbour[i].end(),
                                [&](std::int32_t j) { return j >= 0 && flow.frontTime[static_cast<std::size_t>(j)] < flow.frontTime[i]; }));
    }
    EXPECT_DOUBLE_EQ(last, conditions.fillingTime);
}

TEST(SampleFlow, front_passes_a_bar_of_even_section_at_even_speed)
{
    const SampleGrid grid = gridOf(10, 1, 1);
    const SampleFlow flow = computeSampleFlow(grid, {1.9, 60.0});
    // V(d) counts what lies before the front: half a cell at the gate's nodes, then a cell per step, of 9.5 up to the last nodes.
    for (int i = 1; i <= 10; ++i)
    {
        EXPECT_NEAR(flow.frontTime[nodeAt(10, 1, i, 0, 1)], (i - 0.5) * 0.2, 1e-12);
    }
}

TEST(SampleFlow, pressure_falls_from_the_gate_to_nothing)
{
    const SampleGrid grid = gridWithInsert();
    const FlowConditions conditions;
    const SampleFlow flow = computeSampleFlow(grid, conditions);
    std::vector<std::size_t> part;
    for (std::size_t i = 0; i < grid.nodeTotal(); ++i)
    {
        if (grid.isPlastic(i))
        {
            part.push_back(i);
        }
        else
        {
            EXPECT_EQ(flow.pressure[i], 0.0);
        }
    }
    std::sort(part.begin(), part.end(), [&](std::size_t a, std::size_t b) { return flow.distance[a] < flow.distance[b]; });
    EXPECT_DOUBLE_EQ(flow.pressure[part.front()], conditions.injectionPressure);
    EXPECT_DOUBLE_EQ(flow.pressure[part.back()], 0.0);
    for (std::size_t k = 1; k < part.size(); ++k)
    {
        if (flow.distance[part[k]] > flow.distance[part[k - 1]])
        {
            EXPECT_LT(flow.pressure[part[k]], flow.pressure[part[k - 1]]);
        }
    }
}

TEST(SampleFlow, shear_is_largest_at_the_wall_and_stays_in_the_part)
{
    const SampleGrid grid = gridOf(12, 6, 6);
    const SampleFlow flow = computeSampleFlow(grid, {});
    EXPECT_GT(flow.shearRate[nodeAt(12, 6, 4, 0, 3)], 0.0);
    EXPECT_LT(flow.shearRate[nodeAt(12, 6, 4, 3, 3)], flow.shearRate[nodeAt(12, 6, 4, 0, 3)]);
    for (const double rate : flow.shearRate)
    {
        EXPECT_GE(rate, 0.0);
    }
}

TEST(SampleFlow, nodes_without_a_way_to_the_gate_fill_last)
{
    const SampleGrid grid = gridOf(7, 1, 1, [](int i, int, int) { return i < 3 || i > 4; });
    const SampleFlow flow = computeSampleFlow(grid, {});
    EXPECT_EQ(flow.unreachedNodes, 12U);
    EXPECT_DOUBLE_EQ(flow.frontTime[nodeAt(7, 1, 7, 0, 0)], 1.2);
    EXPECT_DOUBLE_EQ(flow.pressure[nodeAt(7, 1, 7, 0, 0)], 0.0);
}

} // namespace sample_flow_test
