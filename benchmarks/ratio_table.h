// The tables that a run ends with: how much faster ours is than the plain form and the peers, how its time grows, and which targets hold.

#pragma once

#include "benchmarks/measurement.h"

#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace tav3d::benchmarks
{

/// Time of `against` divided by time of `form`. Of the numbers of things that both were measured with, the one nearest to n counts (n = 0: the largest).
struct RatioTarget
{
    std::string_view row;
    std::string_view form;
    std::string_view against;
    std::int64_t n;
    double atLeast;
};

/// Exponent of the time of `ours` over the number of things.
struct GrowthTarget
{
    std::string_view row;
    double atMost;
};

/// A counter that the benchmark `ours` of the row sets itself.
struct CounterTarget
{
    std::string_view row;
    std::string_view counter;
    double atMost;
};

struct Targets
{
    std::span<const RatioTarget> ratios;
    std::span<const GrowthTarget> growth;
    std::span<const CounterTarget> counters;
};

/// What the project wants to reach.
[[nodiscard]] const Targets& projectTargets();

struct TimeAt
{
    std::int64_t n;
    double seconds;
};
/// Least squares of log time over log n. Nothing for fewer than two different n.
[[nodiscard]] std::optional<double> growthExponent(std::span<const TimeAt> times);

/// Markdown. Rows are those of the figures, in their order; a target whose row was measured without its peer is shown as not measured, and targets
/// whose rows were not measured at all are named at the end.
[[nodiscard]] std::string ratioTables(const std::vector<Figure>& figures, const Targets& targets);

} // namespace tav3d::benchmarks
