#include "sample_flow.h"

#include <algorithm>
#include <cmath>
#include <queue>
#include <utility>

namespace tav3d::tools
{

namespace
{

/// The distance of a node with the settled neighbours `near` (one per axis, `unreached` where there is none) at spacing h.
double solveEikonal(std::array<double, 3> near, double h)
{
    std::sort(near.begin(), near.end());
    double d = near[0] + h;
    double sum = near[0];
    double squares = near[0] * near[0];
    for (int k = 1; k < 3; ++k)
    {
        const double next = near[static_cast<std::size_t>(k)];
        if (d <= next)
        {
            break;
        }
        // (k+1) d^2 - 2 sum d + squares - h^2 = 0
        sum += next;
        squares += next * next;
        const double count = k + 1;
        const double root = sum * sum - count * (squares - h * h);
        d = (sum + std::sqrt(std::max(root, 0.0))) / count;
    }
    return d;
}

/// Cross-section of the front and integral of its inverse, over slices of one cell's width.
class FrontProfile
{
public:
    FrontProfile(const SampleGrid& grid, const std::vector<double>& distance)
        : width_(grid.spacing)
    {
        std::vector<double> volume(static_cast<std::size_t>(*std::max_element(distance.begin(), distance.end()) / width_) + 2, 0.0);
        for (std::size_t i = 0; i < grid.nodeTotal(); ++i)
        {
            if (grid.isPlastic(i))
            {
                // Shared between the two slices beside the node, so that the grid's own steps do not show.
                const double place = distance[i] / width_;
                const auto slice = static_cast<std::size_t>(place);
                volume[slice + 1] += grid.plasticVolume[i] * (place - static_cast<double>(slice));
                volume[slice] += grid.plasticVolume[i] * (1 - (place - static_cast<double>(slice)));
            }
        }
        const double least = 0.25 * width_ * width_; // a slice that only rounding makes narrower
        area_.resize(volume.size());
        for (std::size_t s = 0; s < volume.size(); ++s)
        {
            const double before = volume[s == 0 ? 0 : s - 1];
            const double after = volume[std::min(s + 1, volume.size() - 1)];
            area_[s] = std::max((before + 2 * volume[s] + after) / (4 * width_), least);
        }
        resistance_.assign(volume.size(), 0.0);
        for (std::size_t s = volume.size() - 1; s-- > 0;)
        {
            resistance_[s] = resistance_[s + 1] + 0.5 * width_ * (1 / area_[s] + 1 / area_[s + 1]);
        }
    }

    [[nodiscard]] double area(double distance) const { return at(area_, distance); }

    /// Integral of 1/A from `distance` to the end.
    [[nodiscard]] double resistance(double distance) const { return at(resistance_, distance); }

private:
    [[nodiscard]] double at(const std::vector<double>& table, double distance) const
    {
        const double place = distance / width_;
        const auto slice = std::min(static_cast<std::size_t>(place), table.size() - 2);
        const double share = std::min(place - static_cast<double>(slice), 1.0);
        return table[slice] * (1 - share) + table[slice + 1] * share;
    }

    double width_;
    std::vector<double> area_;
    std::vector<double> resistance_;
};

/// t = V(d) / Q for all nodes of the part: nodes in the order of their distance, equal distances at the same time.
std::vector<double> frontTimes(const SampleGrid& grid, const std::vector<double>& distance, double fillingTime)
{
    std::vector<std::size_t> order;
    for (std::size_t i = 0; i < grid.nodeTotal(); ++i)
    {
        if (grid.isPlastic(i))
        {
            order.push_back(i);
        }
    }
    std::stable_sort(order.begin(), order.end(), [&](std::size_t a, std::size_t b) { return distance[a] < distance[b]; });
    std::vector<double> time(grid.nodeTotal(), 0.0);
    double filled = 0.0;
    double before = 0.0; // volume at smaller distances
    for (std::size_t k = 0; k < order.size(); ++k)
    {
        if (k > 0 && distance[order[k]] > distance[order[k - 1]])
        {
            before = filled;
        }
        time[order[k]] = before;
        filled += grid.plasticVolume[order[k]];
    }
    if (before > 0)
    {
        for (double& t : time)
        {
            t *= fillingTime / before;
        }
    }
    return time;
}

} // namespace

std::vector<double> distanceWithinPart(const SampleGrid& grid, const std::vector<char>& source)
{
    std::vector<double> distance(grid.nodeTotal(), unreached);
    std::vector<char> settled(grid.nodeTotal(), 0);
    using Entry = std::pair<double, std::size_t>; // the smaller distance first, then the lower node number
    std::priority_queue<Entry, std::vector<Entry>, std::greater<>> queue;
    for (std::size_t i = 0; i < grid.nodeTotal(); ++i)
    {
        if (source[i] != 0 && grid.isPlastic(i))
        {
            distance[i] = 0.0;
            queue.emplace(0.0, i);
        }
    }
    while (!queue.empty())
    {
        const std::size_t node = queue.top().second;
        queue.pop();
        if (std::exchange(settled[node], 1) != 0)
        {
            continue;
        }
        for (const std::int32_t neighbour : grid.plasticNeighbour[node])
        {
            if (neighbour < 0 || settled[static_cast<std::size_t>(neighbour)] != 0)
            {
                continue;
            }
            const auto next = static_cast<std::size_t>(neighbour);
            std::array<double, 3> near = {unreached, unreached, unreached};
            for (std::size_t k = 0; k < 6; ++k)
            {
                const std::int32_t other = grid.plasticNeighbour[next][k];
                if (other >= 0 && settled[static_cast<std::size_t>(other)] != 0)
                {
                    near[k / 2] = std::min(near[k / 2], distance[static_cast<std::size_t>(other)]);
                }
            }
            const double d = solveEikonal(near, grid.spacing);
            if (d < distance[next])
            {
                distance[next] = d;
                queue.emplace(d, next);
            }
        }
    }
    return distance;
}

SampleFlow computeSampleFlow(const SampleGrid& grid, const FlowConditions& conditions)
{
    SampleFlow flow;
    flow.distance = distanceWithinPart(grid, grid.isGate);
    const std::vector<double> toWall = distanceWithinPart(grid, grid.isPartSurface);
    const std::size_t n = grid.nodeTotal();

    double farthest = 0.0;
    double volume = 0.0;
    for (std::size_t i = 0; i < n; ++i)
    {
        volume += grid.plasticVolume[i];
        if (grid.isPlastic(i) && flow.distance[i] != unreached)
        {
            farthest = std::max(farthest, flow.distance[i]);
        }
    }
    for (std::size_t i = 0; i < n; ++i)
    {
        if (flow.distance[i] == unreached)
        {
            flow.unreachedNodes += grid.isPlastic(i);
            flow.distance[i] = grid.isPlastic(i) ? farthest : 0.0;
        }
    }

    flow.frontTime = frontTimes(grid, flow.distance, conditions.fillingTime);
    const FrontProfile profile(grid, flow.distance);
    const double flowRate = volume / conditions.fillingTime;
    const double wall = 2 * volume / grid.partSurfaceArea;
    const double end = profile.resistance(farthest);
    const double whole = profile.resistance(0.0) - end;
    for (auto* field : {&flow.pressure, &flow.speed, &flow.shearRate})
    {
        field->assign(n, 0.0);
    }
    for (std::size_t i = 0; i < n; ++i)
    {
        if (!grid.isPlastic(i))
        {
            continue;
        }
        const double d = flow.distance[i];
        flow.pressure[i] = whole > 0 ? conditions.injectionPressure * std::max(profile.resistance(d) - end, 0.0) / whole : 0.0;
        flow.speed[i] = flowRate / profile.area(d);
        flow.shearRate[i] = 6 * flow.speed[i] / wall * std::clamp(1 - 2 * toWall[i] / wall, 0.0, 1.0);
    }
    return flow;
}

} // namespace tav3d::tools
