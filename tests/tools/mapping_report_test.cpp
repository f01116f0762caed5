#include "tools/mapping_report.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <stdexcept>

namespace mapping_report_test
{

using namespace tav3d::tools;

namespace
{

constexpr float notANumber = std::numeric_limits<float>::quiet_NaN();
constexpr float infinity = std::numeric_limits<float>::infinity();
using Facet = std::array<std::int32_t, 4>;

} // namespace

TEST(ValueSummary, counts_finite_values_only)
{
    const ValueSummary summary = summarise(std::vector<float>{2.0f, notANumber, -1.0f, infinity, 0.5f, -infinity});
    EXPECT_EQ(summary.count, 3);
    EXPECT_EQ(summary.minimum, -1.0f);
    EXPECT_EQ(summary.maximum, 2.0f);
    EXPECT_EQ(summary.mean, 0.5);
}

TEST(ValueSummary, of_nothing_finite_is_not_a_number)
{
    for (const std::vector<float>& values : {std::vector<float>{}, std::vector<float>{notANumber, infinity}})
    {
        const ValueSummary summary = summarise(values);
        EXPECT_EQ(summary.count, 0);
        EXPECT_TRUE(std::isnan(summary.minimum) && std::isnan(summary.maximum) && std::isnan(summary.mean));
    }
}

TEST(DistanceSummary, a_distance_on_a_bound_belongs_to_the_bin_below)
{
    DistanceSummary summary;
    for (const double distance : {0.0, 0.5, 0.50001, 4.0, 4.1}) // cell size 2: bounds 0.5, 1, 1.5, 2, 3, 4
    {
        addDistance(summary, distance, 2.0);
    }
    EXPECT_EQ(summary.bins, (std::array<std::int64_t, 7>{2, 1, 0, 0, 0, 1, 1}));
    EXPECT_EQ(summary.count, 5);
    EXPECT_EQ(summary.maximum, 4.1);
    EXPECT_EQ(summary.mean(), (0.0 + 0.5 + 0.50001 + 4.0 + 4.1) / 5.0);
}

TEST(DistanceSummary, without_a_cell_size_or_a_number_the_last_bin_counts)
{
    DistanceSummary summary;
    addDistance(summary, 0.1, 0.0);
    addDistance(summary, std::numeric_limits<double>::quiet_NaN(), 1.0);
    EXPECT_EQ(summary.bins.back(), 2);
    EXPECT_TRUE(std::isnan(DistanceSummary{}.mean()));
}

TEST(SurfaceOfFacets, keeps_used_nodes_in_order_of_first_use)
{
    const std::vector<float> x{0, 1, 2, 3, 4, 5};
    const std::vector<float> y{0, 10, 20, 30, 40, 50};
    const std::vector<float> z{0, 0, 0, 0, 0, 7};
    const std::vector<Facet> facets{{5, 2, 3, 1}, {2, 5, 1, 1}};
    const NumberedSurface numbered = surfaceOfFacets(facets, x, y, z, 0.5);
    EXPECT_EQ(numbered.nodeOfPoint, (std::vector<std::int32_t>{5, 2, 3, 1}));
    EXPECT_EQ(numbered.surface.facets, (std::vector<Facet>{{0, 1, 2, 3}, {1, 0, 3, 3}}));
    EXPECT_EQ(numbered.surface.x, (std::vector<float>{2.5f, 1.0f, 1.5f, 0.5f}));
    EXPECT_EQ(numbered.surface.y, (std::vector<float>{25.0f, 10.0f, 15.0f, 5.0f}));
    EXPECT_EQ(numbered.surface.z, (std::vector<float>{3.5f, 0.0f, 0.0f, 0.0f}));
}

TEST(SurfaceOfFacets, a_facet_with_a_node_that_does_not_exist_is_refused)
{
    const std::vector<float> xyz{0, 1, 2, 3};
    for (const std::int32_t wrong : {0, -1, 4})
    {
        const std::vector<Facet> facets{{1, 2, 3, wrong}};
        EXPECT_THROW(static_cast<void>(surfaceOfFacets(facets, xyz, xyz, xyz)), std::out_of_range);
    }
    EXPECT_TRUE(surfaceOfFacets({}, {}, {}, {}).nodeOfPoint.empty());
}

TEST(PickValues, zeros_and_nodes_beyond_the_values_have_none)
{
    const std::vector<float> picked = pickValues(std::vector<std::int32_t>{2, 1, 3, 4}, std::vector<float>{99, 5, 6, -0.0f});
    ASSERT_EQ(picked.size(), 4u);
    EXPECT_EQ(picked[0], 6.0f);
    EXPECT_EQ(picked[1], 5.0f);
    EXPECT_TRUE(std::isnan(picked[2]));
    EXPECT_TRUE(std::isnan(picked[3]));
}

} // namespace mapping_report_test
