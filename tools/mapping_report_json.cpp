#include "mapping_report_json.h"

#include <nlohmann/json.hpp>

#include <charconv>
#include <cmath>

namespace tav3d::tools
{

namespace
{

using Json = nlohmann::ordered_json;

/// The double nearest to the shortest decimal text of the float, so that 230.4f is written as 230.4 and not as 230.39999389648438.
Json number(float value)
{
    if (!std::isfinite(value))
    {
        return nullptr;
    }
    char text[32];
    const auto end = std::to_chars(std::begin(text), std::end(text), value).ptr;
    double shortest = 0.0;
    std::from_chars(text, end, shortest);
    // Two roundings (to double, then to float) could in principle miss the float; then its exact value is written.
    return static_cast<float>(shortest) == value ? shortest : static_cast<double>(value);
}

Json number(double value)
{
    return std::isfinite(value) ? Json(value) : Json(nullptr);
}

Json valuesJson(const ValueSummary& values)
{
    return {{"nodes", values.count}, {"min", number(values.minimum)}, {"mean", number(values.mean)}, {"max", number(values.maximum)}};
}

Json distancesJson(const DistanceSummary& distances)
{
    return {{"nodes", distances.count},
            {"mean", number(distances.mean())},
            {"max", number(distances.maximum)},
            {"bin_bounds_in_cell_sizes", DistanceSummary::binBounds},
            {"nodes_per_bin", distances.bins}};
}

Json regionJson(const RegionReport& region)
{
    Json rules = Json::object();
    for (std::size_t rule = 0; rule < valueRuleCount; ++rule)
    {
        rules[jsonName(static_cast<ValueRule>(rule))] = region.origin.nodesByRule[rule];
    }
    return {{"region", jsonName(region.region)},
            {"nodes", region.origin.nodes},
            {"nodes_by_rule", std::move(rules)},
            {"nodes_without_value", region.nodesWithoutValue},
            {"distances", distancesJson(region.origin.distances)},
            {"before", valuesJson(region.before)},
            {"after", valuesJson(region.after)}};
}

Json itemJson(const ItemReport& item)
{
    Json regions = Json::array();
    for (const RegionReport& region : item.regions)
    {
        regions.push_back(regionJson(region));
    }
    return {{"number", item.number},
            {"name", item.name},
            {"unit", item.unit},
            {"type", item.resultType},
            {"mapped", item.known},
            {"smoothed", item.smoothed},
            {"through_id_map", item.throughIdMap},
            {"regions", std::move(regions)}};
}

Json fileJson(const FileReport& file)
{
    Json items = Json::array();
    for (const ItemReport& item : file.items)
    {
        items.push_back(itemJson(item));
    }
    Json json{{"source", file.source}, {"target", file.target}, {"kind", file.kind}, {"outcome", file.failed ? "failed" : "mapped"}};
    if (file.failed)
    {
        json["reason"] = file.reason;
    }
    json["items"] = std::move(items);
    return json;
}

} // namespace

const char* jsonName(ValueRule rule) noexcept
{
    constexpr const char* names[] = {"assigned_node", "nearest_of_kind", "wrong_kind", "out_of_range"};
    return names[static_cast<int>(rule)];
}

const char* jsonName(Region region) noexcept
{
    constexpr const char* names[] = {"all", "part_surface", "part_insert_surface", "plastic_inside", "mold_base"};
    return names[static_cast<int>(region)];
}

std::string mappingReportJson(const MappingReport& report)
{
    Json stages = Json::array();
    for (const StageTime& stage : report.stages)
    {
        stages.push_back({{"stage", stage.stage}, {"seconds", number(stage.seconds)}});
    }
    Json files = Json::array();
    for (const FileReport& file : report.files)
    {
        files.push_back(fileJson(file));
    }
    const Json json{{"format", "tav3d-mapping-report"},
                    {"format_version", 1},
                    {"tool_version", report.toolVersion},
                    {"mesh_file", report.meshFile},
                    {"title", report.title},
                    {"length_unit", report.lengthUnit},
                    {"cell_size", number(report.cellSize)},
                    {"voxel_nodes", report.voxelNodes},
                    {"cut_cell_nodes", report.cutCellNodes},
                    {"mode", report.mode},
                    {"part_insert_mode", report.partInsertMode},
                    {"smoothing", report.smoothing},
                    {"stages", std::move(stages)},
                    {"files", std::move(files)}};
    return json.dump(2, ' ', false, Json::error_handler_t::replace) + '\n';
}

} // namespace tav3d::tools
