#include "mapping_report.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <stdexcept>

namespace tav3d::tools
{

double DistanceSummary::mean() const noexcept
{
    return count > 0 ? sum / static_cast<double>(count) : std::numeric_limits<double>::quiet_NaN();
}

ValueSummary summarise(std::span<const float> values)
{
    ValueSummary summary{0, std::numeric_limits<float>::infinity(), -std::numeric_limits<float>::infinity(), 0.0};
    double sum = 0.0;
    for (const float value : values)
    {
        if (!std::isfinite(value))
        {
            continue;
        }
        ++summary.count;
        summary.minimum = std::min(summary.minimum, value);
        summary.maximum = std::max(summary.maximum, value);
        sum += static_cast<double>(value);
    }
    if (summary.count == 0)
    {
        constexpr float none = std::numeric_limits<float>::quiet_NaN();
        return {0, none, none, std::numeric_limits<double>::quiet_NaN()};
    }
    summary.mean = sum / static_cast<double>(summary.count);
    return summary;
}

void addDistance(DistanceSummary& summary, double distance, double cellSize) noexcept
{
    ++summary.count;
    summary.sum += distance;
    summary.maximum = std::max(summary.maximum, distance);
    std::size_t bin = 0;
    while (bin < DistanceSummary::binBounds.size() && !(cellSize > 0.0 && distance <= DistanceSummary::binBounds[bin] * cellSize))
    {
        ++bin;
    }
    ++summary.bins[bin];
}

NumberedSurface surfaceOfFacets(std::span<const std::array<std::int32_t, 4>> facets, std::span<const float> x, std::span<const float> y,
                                std::span<const float> z, double scale)
{
    const std::size_t entries = std::min({x.size(), y.size(), z.size()});
    NumberedSurface result;
    result.surface.facets.reserve(facets.size());
    std::vector<std::int32_t> pointOfNode(entries, -1);
    for (const auto& facet : facets)
    {
        std::array<std::int32_t, 4> corners{};
        for (std::size_t c = 0; c < corners.size(); ++c)
        {
            const std::int32_t node = facet[c];
            if (node < 1 || static_cast<std::size_t>(node) >= entries)
            {
                throw std::out_of_range("surface facet names node " + std::to_string(node) + ", the mesh has nodes 1 to " +
                                        std::to_string(entries > 0 ? entries - 1 : 0));
            }
            const auto n = static_cast<std::size_t>(node);
            if (pointOfNode[n] < 0)
            {
                pointOfNode[n] = static_cast<std::int32_t>(result.nodeOfPoint.size());
                result.nodeOfPoint.push_back(node);
                result.surface.x.push_back(static_cast<float>(static_cast<double>(x[n]) * scale));
                result.surface.y.push_back(static_cast<float>(static_cast<double>(y[n]) * scale));
                result.surface.z.push_back(static_cast<float>(static_cast<double>(z[n]) * scale));
            }
            corners[c] = pointOfNode[n];
        }
        result.surface.facets.push_back(corners);
    }
    return result;
}

std::vector<float> pickValues(std::span<const std::int32_t> nodeOfPoint, std::span<const float> values)
{
    std::vector<float> picked;
    picked.reserve(nodeOfPoint.size());
    for (const std::int32_t node : nodeOfPoint)
    {
        const bool inside = node >= 1 && static_cast<std::size_t>(node) < values.size();
        const float value = inside ? values[static_cast<std::size_t>(node)] : 0.0f;
        picked.push_back(value == 0.0f ? std::numeric_limits<float>::quiet_NaN() : value);
    }
    return picked;
}

} // namespace tav3d::tools
