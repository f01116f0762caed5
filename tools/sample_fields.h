#pragma once

// The items of sample result files: which fields stand in which kind of file, under which numbers.

#include "sample_flow.h"
#include "sample_heat.h"

#include <string>
#include <string_view>
#include <vector>

namespace tav3d::tools
{

/// Kinds of result files, by extension.
inline constexpr std::string_view sampleKinds[] = {".q7f", ".q7p", ".q7c", ".q7hc", ".rsf", ".rsc"};

/// Numbers of the result types that the samples use.
inline constexpr int allNodesType = 1;
inline constexpr int moldBaseType = 3;    // nodes of the mould base, through an ID map
inline constexpr int partSurfaceType = 5; // nodes of the part's surface, through an ID map; in cooling results

/// One item: a value per node of the voxel mesh, 0 where the item has no meaning.
struct SampleItem
{
    int number = 0;
    int type = allNodesType;
    std::string name;
    std::string unit;
    std::vector<float> value; // entries 1..n, entry 0 is 0
    float lowest = 0.0f;      // over the nodes where it has a meaning
    float highest = 0.0f;
};

/// What the fields of all kinds are made from.
struct SampleFields
{
    SampleGrid grid;
    SampleFlow flow;
    SampleHeat heat; // at the end of filling, of packing and of cooling
    FlowConditions flowConditions;
    HeatConditions heatConditions;
    double packingTime = 4.0; // s, after filling
    double coolingTime = 9.0; // s, after packing

    /// End of filling, of packing and of cooling, s.
    [[nodiscard]] std::vector<double> outputTimes() const
    {
        const double filled = flowConditions.fillingTime;
        return {filled, filled + packingTime, filled + packingTime + coolingTime};
    }
};

[[nodiscard]] SampleFields computeSampleFields(SampleGrid grid, const FlowConditions& flow, const HeatConditions& heat);

/// The items of a file of `kind`, in file order. Throws std::invalid_argument for a kind that does not exist.
[[nodiscard]] std::vector<SampleItem> sampleItems(const SampleFields& fields, std::string_view kind);

} // namespace tav3d::tools
