#include "sample_flow.h"

#include "common/exact_math.h"

#include <algorithm>
#include <cmath>
#include <numbers>
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

constexpr double flowIndex = 0.35; // n of a shear-thinning melt

/// Speed of the melt and the pressure drop that follows from it, for a flow that takes one second, over slices of one cell's width.
class FlowProfile
{
public:
    FlowProfile(const SampleGrid& grid, const std::vector<double>& distance, double leastArea)
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
        const std::size_t n = volume.size();
        speed_.assign(n, 0.0);
        double beyond = 0.0;
        for (std::size_t s = n; s-- > 0;)
        {
            const double area = (volume[s == 0 ? 0 : s - 1] + 2 * volume[s] + volume[std::min(s + 1, n - 1)]) / (4 * width_);
            speed_[s] = (beyond + 0.5 * volume[s]) / std::max(area, leastArea);
            beyond += volume[s];
        }
        drop_.assign(n, 0.0);
        for (std::size_t s = n - 1; s-- > 0;)
        {
            drop_[s] = drop_[s + 1] +
                       0.5 * width_ * (common::fractionalPower(speed_[s], flowIndex) + common::fractionalPower(speed_[s + 1], flowIndex));
        }
    }

    /// q/A at a distance.
    [[nodiscard]] double speed(double distance) const { return at(speed_, distance); }

    /// Integral of (q/A)^n from a distance to the end.
    [[nodiscard]] double drop(double distance) const { return at(drop_, distance); }

private:
    [[nodiscard]] double at(const std::vector<double>& table, double distance) const
    {
        const double place = distance / width_;
        const auto slice = std::min(static_cast<std::size_t>(place), table.size() - 2);
        const double share = std::min(place - static_cast<double>(slice), 1.0);
        return table[slice] * (1 - share) + table[slice + 1] * share;
    }

    double width_;
    std::vector<double> speed_;
    std::vector<double> drop_;
};

/// t = T V(d) / V(end) for all nodes of the part: nodes in the order of their distance, equal distances at the same time.
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
    const double wall = 2 * volume / grid.partSurfaceArea;
    const FlowProfile profile(grid, flow.distance, 2 * std::numbers::pi * wall * wall);
    const double end = profile.drop(farthest);
    const double whole = profile.drop(0.0) - end;
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
        flow.pressure[i] = whole > 0 ? conditions.injectionPressure * std::max(profile.drop(d) - end, 0.0) / whole : 0.0;
        flow.speed[i] = profile.speed(d) / conditions.fillingTime;
        flow.shearRate[i] = 6 * flow.speed[i] / wall * std::clamp(1 - 2 * toWall[i] / wall, 0.0, 1.0);
    }
    return flow;
}

} // namespace tav3d::tools
