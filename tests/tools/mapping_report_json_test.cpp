#include "tests/tools/mapping_report_sample.h"
#include "tools/mapping_report_json.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <bit>
#include <cmath>
#include <limits>
#include <random>

namespace mapping_report_json_test
{

using namespace tav3d::tools;

namespace
{

/// A report with one item whose "before" has the given values, written and read again.
nlohmann::json beforeOf(const ValueSummary& before)
{
    MappingReport report;
    RegionReport region;
    region.before = before;
    ItemReport item;
    item.regions = {region};
    FileReport file;
    file.items = {item};
    report.files = {file};
    return nlohmann::json::parse(mappingReportJson(report))["files"][0]["items"][0]["regions"][0]["before"];
}

} // namespace

TEST(MappingReportJson, two_boxes_give_exactly_this)
{
    EXPECT_EQ(mappingReportJson(tav3d::tests::twoBoxes()), R"({
  "format": "tav3d-mapping-report",
  "format_version": 1,
  "tool_version": "0.1.0",
  "mesh_file": "boxes.krn",
  "title": "Zwei Würfel",
  "length_unit": "mm",
  "cell_size": 1.0,
  "voxel_nodes": 8,
  "cut_cell_nodes": 8,
  "mode": 1,
  "part_insert_mode": 0,
  "smoothing": true,
  "stages": [
    {
      "stage": "load mesh",
      "seconds": 0.25
    },
    {
      "stage": "map",
      "seconds": 0.5
    }
  ],
  "files": [
    {
      "source": "boxes_vox.q7f",
      "target": "boxes.q7f",
      "kind": "filling",
      "outcome": "mapped",
      "items": [
        {
          "number": 1,
          "name": "Pressure",
          "unit": "MPa",
          "type": 1,
          "mapped": true,
          "smoothed": false,
          "through_id_map": false,
          "regions": [
            {
              "region": "all",
              "nodes": 8,
              "nodes_by_rule": {
                "assigned_node": 4,
                "nearest_of_kind": 3,
                "wrong_kind": 1,
                "out_of_range": 0
              },
              "nodes_without_value": 1,
              "distances": {
                "nodes": 7,
                "mean": 0.5571428571428572,
                "max": 2.5,
                "bin_bounds_in_cell_sizes": [
                  0.25,
                  0.5,
                  0.75,
                  1.0,
                  1.5,
                  2.0
                ],
                "nodes_per_bin": [
                  4,
                  1,
                  1,
                  0,
                  0,
                  0,
                  1
                ]
              },
              "before": {
                "nodes": 8,
                "min": 0.1,
                "mean": 3.5125000001862645,
                "max": 7.0
              },
              "after": {
                "nodes": 7,
                "min": 0.1,
                "mean": 3.014285714498588,
                "max": 6.0
              }
            }
          ]
        },
        {
          "number": 6,
          "name": "Temperature",
          "unit": "°C",
          "type": 1,
          "mapped": true,
          "smoothed": true,
          "through_id_map": true,
          "regions": [
            {
              "region": "part_surface",
              "nodes": 8,
              "nodes_by_rule": {
                "assigned_node": 4,
                "nearest_of_kind": 3,
                "wrong_kind": 1,
                "out_of_range": 0
              },
              "nodes_without_value": 0,
              "distances": {
                "nodes": 7,
                "mean": 0.5571428571428572,
                "max": 2.5,
                "bin_bounds_in_cell_sizes": [
                  0.25,
                  0.5,
                  0.75,
                  1.0,
                  1.5,
                  2.0
                ],
                "nodes_per_bin": [
                  4,
                  1,
                  1,
                  0,
                  0,
                  0,
                  1
                ]
              },
              "before": {
                "nodes": 8,
                "min": 230.4,
                "mean": 233.54999923706055,
                "max": 237.0
              },
              "after": {
                "nodes": 8,
                "min": 230.4,
                "mean": 233.54999923706055,
                "max": 237.0
              }
            }
          ]
        }
      ]
    },
    {
      "source": "boxes_vox.q7c",
      "target": "boxes.q7c",
      "kind": "cooling",
      "outcome": "failed",
      "reason": "cannot be read: truncated",
      "items": []
    }
  ]
}
)");
}

TEST(MappingReportJson, numbers_read_back_to_the_same_bits)
{
    std::mt19937 random(20240607);
    for (int i = 0; i < 20000; ++i)
    {
        const auto minimum = std::bit_cast<float>(static_cast<std::uint32_t>(random()));
        const auto mean = std::bit_cast<double>(static_cast<std::uint64_t>(random()) << 32 | random());
        if (!std::isfinite(minimum) || !std::isfinite(mean))
        {
            continue;
        }
        const nlohmann::json read = beforeOf({1, minimum, 0.0f, mean});
        ASSERT_EQ(std::bit_cast<std::uint32_t>(static_cast<float>(read["min"].get<double>())), std::bit_cast<std::uint32_t>(minimum));
        ASSERT_EQ(std::bit_cast<std::uint64_t>(read["mean"].get<double>()), std::bit_cast<std::uint64_t>(mean));
    }
}

TEST(MappingReportJson, what_is_no_number_becomes_null)
{
    const nlohmann::json read = beforeOf(
        {0, std::numeric_limits<float>::quiet_NaN(), -std::numeric_limits<float>::infinity(), std::numeric_limits<double>::infinity()});
    EXPECT_TRUE(read["min"].is_null());
    EXPECT_TRUE(read["max"].is_null());
    EXPECT_TRUE(read["mean"].is_null());
}

TEST(MappingReportJson, text_of_any_kind_comes_back_as_it_was)
{
    MappingReport report = tav3d::tests::twoBoxes();
    report.title = "größer \"quoted\" \\ back \n line \x01 控制 </script>";
    EXPECT_EQ(nlohmann::json::parse(mappingReportJson(report))["title"], report.title);
}

TEST(MappingReportJson, bytes_that_are_no_utf8_are_replaced)
{
    MappingReport report = tav3d::tests::twoBoxes();
    report.title = "a\xFF"
                   "b";
    EXPECT_EQ(nlohmann::json::parse(mappingReportJson(report))["title"], "a\xEF\xBF\xBD"
                                                                         "b");
}

TEST(MappingReportJson, the_worst_texts_still_give_valid_json)
{
    MappingReport report = tav3d::tests::twoBoxes();
    tav3d::tests::makeHostile(report);
    const nlohmann::json read = nlohmann::json::parse(mappingReportJson(report));
    EXPECT_EQ(read["files"].size(), 2u);
    EXPECT_EQ(read["files"][0]["items"][1]["number"], 6);
}

} // namespace mapping_report_json_test
