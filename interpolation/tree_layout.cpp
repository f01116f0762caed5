#include "interpolation/tree_layout.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <vector>

namespace tav3d::interpolation
{

namespace
{

/// Points on their way down: a run of `buffer`, in the order of insertion, of which the first `given` are handed over by the parent's leaf.
struct Run
{
    std::uint32_t first;
    std::uint32_t last;
    std::int32_t parent;
    std::uint8_t octant;
    std::uint8_t given;
    bool inSecond; // of the two buffers
};

} // namespace

bool centreOf(std::span<const Point> points, std::span<const std::int32_t, 8> leaf, Point& centre, std::array<std::uint8_t, 8>& octants)
{
    centre = {};
    for (const std::int32_t number : leaf)
    {
        const Point& p = points[static_cast<std::size_t>(number)];
        centre.x += p.x;
        centre.y += p.y;
        centre.z += p.z;
    }
    centre.x *= 0.125;
    centre.y *= 0.125;
    centre.z *= 0.125;
    for (std::size_t s = 0; s < leaf.size(); ++s)
        octants[s] = octantOf(centre, points[static_cast<std::size_t>(leaf[s])]);
    return std::any_of(octants.begin(), octants.end(), [&](std::uint8_t o) { return o != octants[0]; });
}

bool isDuplicate(std::span<const Point> points, std::span<const std::int32_t> leaf, const Point& p, double squaredTolerance)
{
    double nearest = std::numeric_limits<double>::infinity();
    for (const std::int32_t number : leaf)
        nearest = std::min(nearest, squaredDistance(points[static_cast<std::size_t>(number)], p));
    return !leaf.empty() && !(nearest > squaredTolerance);
}

TreeLayout::TreeLayout(std::span<const Point> points, double squaredTolerance)
    : splitAt(points.size(), none)
{
    const auto at = [points](std::int32_t number) -> const Point& { return points[static_cast<std::size_t>(number)]; };
    common::LargePageVector<std::int32_t> buffers[2];
    buffers[0].reserve(points.size());
    for (std::int32_t number = 0; static_cast<std::size_t>(number) < points.size(); ++number)
        if (std::isfinite(at(number).x) && std::isfinite(at(number).y) && std::isfinite(at(number).z))
            buffers[0].push_back(number);
    buffers[1].resize(buffers[0].size());
    common::LargePageVector<std::uint8_t> octants(buffers[0].size());

    std::vector<Run> runs{{0, static_cast<std::uint32_t>(buffers[0].size()), none, 0, 0, false}};
    while (!runs.empty())
    {
        const Run run = runs.back();
        runs.pop_back();
        const std::span<const std::int32_t> all(buffers[run.inSecond ? 1 : 0]);
        const std::span<const std::int32_t> arriving = all.subspan(run.first, run.last - run.first);

        // The first eight that are no duplicates are the leaf.
        Leaf leaf{run.parent, run.octant, run.given, {}};
        std::copy_n(arriving.begin(), run.given, leaf.slot.begin());
        std::size_t next = run.given;
        for (; next < arriving.size() && leaf.count < leaf.slot.size(); ++next)
            if (!isDuplicate(points, std::span(leaf.slot).first(leaf.count), at(arriving[next]), squaredTolerance))
                leaf.slot[leaf.count++] = arriving[next];
        const std::span<const std::int32_t> rest = arriving.subspan(next);

        Split split{run.parent, run.octant, {}};
        std::array<std::uint8_t, 8> leafOctants{};
        if (rest.empty() || !centreOf(points, leaf.slot, split.centre, leafOctants))
        {
            for (const std::int32_t number : rest)
                splitAt[static_cast<std::size_t>(number)] = refused;
            if (leaf.count > 0)
                leaves.push_back(leaf);
            continue;
        }

        // All go to the children: the leaf's points first, by slot, then those that come later.
        const auto splitNumber = static_cast<std::int32_t>(splits.size());
        splits.push_back(split);
        splitAt[static_cast<std::size_t>(rest.front())] = splitNumber;
        std::array<std::uint32_t, 8> counts{};
        std::array<std::uint8_t, 8> given{};
        for (const std::uint8_t o : leafOctants)
            ++given[o];
        for (std::size_t i = 0; i < rest.size(); ++i)
        {
            octants[i] = octantOf(split.centre, at(rest[i]));
            ++counts[octants[i]];
        }
        std::array<std::int32_t*, 8> end{};
        std::uint32_t first = run.first;
        const std::size_t above = runs.size();
        for (std::uint8_t o = 0; o < 8; ++o)
        {
            const std::uint32_t last = first + given[o] + counts[o];
            end[o] = buffers[run.inSecond ? 0 : 1].data() + first;
            if (first != last)
                runs.push_back({first, last, splitNumber, o, given[o], !run.inSecond});
            first = last;
        }
        std::reverse(runs.begin() + static_cast<std::ptrdiff_t>(above), runs.end());
        for (std::size_t s = 0; s < leaf.slot.size(); ++s)
            *end[leafOctants[s]]++ = leaf.slot[s];
        for (std::size_t i = 0; i < rest.size(); ++i)
            *end[octants[i]]++ = rest[i];
    }
}

} // namespace tav3d::interpolation
