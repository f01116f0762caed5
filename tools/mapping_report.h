#pragma once

// What a run of `tav3d map` has to tell: plain data, filled while files are mapped, then written as JSON (mapping_report_json.h) and as one
// self-contained HTML page (mapping_report_html.h).
//
// How to fill it:
//   1. MappingReport: the run's head; one surfaceOfFacets() per mesh gives the surface of the view and the node of each of its points.
//   2. Per file a FileReport. A file that fails keeps `failed = true` and `reason`; its items may be missing or incomplete.
//   3. Per item an ItemReport; per region of interest a RegionReport: count the rules node by node, addDistance() for each node that took a
//      voxel node's value, summarise() over the values of the region's voxel nodes (as the source file holds them, before smoothing) and of its
//      cut-cell nodes (as the target file holds them).
//   4. pickValues() gives the item's values at the points of the view; put NaN where the recorded minimum stands for a missing value. An item without them is left out of the view, not out of the tables.
// All text is UTF-8. What is not valid UTF-8 is shown with replacement characters. Nothing here is checked for being consistent, except
// that the page refuses values whose count is not that of the surface's points.

#include <array>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

namespace tav3d::tools
{

/// By which rule a cut-cell node got its value.
enum class ValueRule : std::uint8_t
{
    assignedNode,  ///< the value of the voxel node assigned to it
    nearestOfKind, ///< the value of the nearest voxel node of its own kind, which on surfaces overrides the assigned node
    wrongKind,     ///< the item's recorded minimum, because the assigned voxel node is of the wrong kind for this surface
    outOfRange,    ///< the assigned voxel node lies beyond the result's nodes: recorded minimum or, in files that know none, left untouched
};
inline constexpr std::size_t valueRuleCount = 4;

/// Parts of the model that the report tells apart. A node may belong to several.
enum class Region : std::uint8_t
{
    all,
    partSurface,
    partInsertSurface,
    plasticInside,
    moldBase,
};

/// Extremes and mean of the finite values of a set of nodes. With `count` 0 the others are NaN.
struct ValueSummary
{
    std::int64_t count = 0;
    float minimum = 0.0f;
    float maximum = 0.0f;
    double mean = 0.0;

    friend bool operator==(const ValueSummary&, const ValueSummary&) = default;
};

/// Distances between cut-cell nodes and the voxel nodes whose value they took, in the mesh's length unit.
struct DistanceSummary
{
    /// Upper bounds of the bins, in cell sizes, each inclusive. The bin after the last bound takes the rest.
    static constexpr std::array<double, 6> binBounds{0.25, 0.5, 0.75, 1.0, 1.5, 2.0};

    std::int64_t count = 0;
    double sum = 0.0;
    double maximum = 0.0;
    std::array<std::int64_t, binBounds.size() + 1> bins{};

    /// NaN when nothing was counted.
    [[nodiscard]] double mean() const noexcept;
    friend bool operator==(const DistanceSummary&, const DistanceSummary&) = default;
};

/// Where the values of a region's cut-cell nodes come from. Items of one file mostly share it; the page then shows it once.
struct ValueOrigin
{
    std::int64_t nodes = 0;                                 ///< cut-cell nodes of the region that are stored in the target
    std::array<std::int64_t, valueRuleCount> nodesByRule{}; ///< indexed by ValueRule; they add up to `nodes`
    DistanceSummary distances;                              ///< of the nodes under assignedNode and nearestOfKind

    friend bool operator==(const ValueOrigin&, const ValueOrigin&) = default;
};

struct RegionReport
{
    Region region = Region::all;
    ValueOrigin origin;
    std::int64_t nodesWithoutValue = 0; ///< stored value exactly 0, or the recorded minimum put in its place
    ValueSummary before;                ///< voxel nodes of the region, as read from the source
    ValueSummary after;                 ///< cut-cell nodes of the region, as written to the target
};

struct ItemReport
{
    std::int32_t number = 0;
    std::string name;
    std::string unit; ///< may be empty
    std::int32_t resultType = 0;
    bool known = true;                 ///< false: copied to the target unmapped, in its voxel layout; it has no regions then
    bool smoothed = false;             ///< on the voxel mesh, before it was mapped
    bool throughIdMap = false;         ///< stored for the nodes of an ID map only
    std::vector<RegionReport> regions; ///< Region::all first

    /// Values at the points of MappingReport::voxelSurface and cutCellSurface; NaN where there is none. Both empty: not in the view.
    std::vector<float> voxelSurfaceValues;
    std::vector<float> cutCellSurfaceValues;
};

struct FileReport
{
    std::string source; ///< the voxel result, under the name that it has now
    std::string target; ///< the cut-cell result
    std::string kind;   ///< in words, e.g. "filling"
    bool failed = false;
    std::string reason; ///< why it failed
    std::vector<ItemReport> items;
};

/// Outer surface of a mesh, for the view.
struct ReportSurface
{
    std::vector<float> x, y, z;                      ///< one entry per point, in the mesh's length unit
    std::vector<std::array<std::int32_t, 4>> facets; ///< 0-based point indices; a triangle repeats its third
};

struct StageTime
{
    std::string stage;
    double seconds = 0.0;
};

struct MappingReport
{
    std::string toolVersion;
    std::string meshFile;
    std::string title;      ///< of the model; may be empty
    std::string lengthUnit; ///< of coordinates and distances, e.g. "mm"; may be empty
    double cellSize = 0.0;  ///< edge length of the voxel cells, in that unit
    std::int64_t voxelNodes = 0;
    std::int64_t cutCellNodes = 0;
    std::int32_t mode = 0;
    std::int32_t partInsertMode = 0;
    bool smoothing = false;
    std::vector<StageTime> stages; ///< in the order of the run; may be empty
    std::vector<FileReport> files;
    ReportSurface voxelSurface;
    ReportSurface cutCellSurface;
};

/// Extremes and mean of the finite ones among the values; the sum runs in the given order.
[[nodiscard]] ValueSummary summarise(std::span<const float> values);

/// Counts one distance. `cellSize` <= 0 puts it into the last bin.
void addDistance(DistanceSummary& summary, double distance, double cellSize) noexcept;

/// The surface made of the given facets, and for each of its points the number of the mesh node that it is.
struct NumberedSurface
{
    ReportSurface surface;
    std::vector<std::int32_t> nodeOfPoint;
};

/// Gathers the nodes that the facets use, in the order of their first use.
///   facets    1-based node numbers, four each; a triangle repeats its third
///   x, y, z   1-based: n+1 entries, entry 0 unused; multiplied by `scale`
/// Throws std::out_of_range when a facet names a node outside of 1..n.
[[nodiscard]] NumberedSurface surfaceOfFacets(std::span<const std::array<std::int32_t, 4>> facets, std::span<const float> x,
                                              std::span<const float> y, std::span<const float> z, double scale = 1.0);

/// values[node] for each point's node; NaN for nodes beyond the values and for exact zeros, which mark nodes without a result.
///   values    1-based: entry 0 unused
[[nodiscard]] std::vector<float> pickValues(std::span<const std::int32_t> nodeOfPoint, std::span<const float> values);

} // namespace tav3d::tools
