#pragma once

// Views of the nodes of a mesh, and what is done with node marks alone.

#include "numbered.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <iostream>

namespace tav3d::meshmapping
{

/// Where the nodes of a mesh lie.
struct NodePoints
{
    NumberedSpan<const float> x, y, z;
};

/// What a node belongs to. Part mark and part-insert mark together are the node's kind: values pass between nodes of one kind only.
struct NodeKinds
{
    NumberedSpan<const unsigned char> part;       // 1 = on the part surface
    NumberedSpan<const unsigned char> partInsert; // 1 = on the interface of part and part insert

    [[nodiscard]] bool onSurface(int node) const noexcept { return part[node] == 1 || partInsert[node] == 1; }
};

/// A node and its squared distance from some point.
struct DistantNode
{
    double squaredDistance;
    int node;
};

/// Nearest first, equal distances by ascending number. Distances that are no numbers come last, so that this is an order for any input.
[[nodiscard]] inline bool isNearer(const DistantNode& a, const DistantNode& b) noexcept
{
    const bool aUnknown = a.squaredDistance != a.squaredDistance;
    const bool bUnknown = b.squaredDistance != b.squaredDistance;
    if (aUnknown != bUnknown)
        return bUnknown;
    if (!aUnknown && a.squaredDistance != b.squaredDistance)
        return a.squaredDistance < b.squaredDistance;
    return a.node < b.node;
}

/// Squared distance of a node from a point: dx² + dy² + dz², in double from the float coordinates.
[[nodiscard]] inline double squaredDistance(const NodePoints& points, int node, double x, double y, double z) noexcept
{
    const double dx = static_cast<double>(points.x[node]) - x;
    const double dy = static_cast<double>(points.y[node]) - y;
    const double dz = static_cast<double>(points.z[node]) - z;
    return dx * dx + dy * dy + dz * dz;
}

/// Number of nodes whose mark is 1.
[[nodiscard]] inline int countMarked(NumberedSpan<const unsigned char> mark) noexcept
{
    int count = 0;
    for (int node = 1; node <= mark.count(); ++node)
        count += mark[node] == 1;
    return count;
}

/// The numbers of the marked nodes, ascending, at entries 1.. of an array of `count`+1 entries, where `count` has grown by their number.
template <class Mark>
[[nodiscard]] std::unique_ptr<int[]> listMarkedNodes(NumberedSpan<const Mark> mark, int& count)
{
    int marked = 0;
    for (int node = 1; node <= mark.count(); ++node)
        marked += mark[node] != 0;
    // DELIBERATE renumber-count-grows: the count is not reset, so a start above 0 makes the array longer than its list.
    count += marked;
    const int last = std::max(count, marked);
    auto list =
        std::make_unique_for_overwrite<int[]>(static_cast<std::size_t>(last) + 2); // the last place is for nodes that do not keep theirs
    int* next = list.get() + 1;
    const auto add = [&](int node) // each node takes the next place, and keeps it when it is marked: no branch to foresee
    {
        *next = node;
        next += mark[node] != 0;
    };
    // Marked nodes mostly stand together, so eight marks are looked at as one number first.
    static_assert(sizeof(Mark) == 1);
    constexpr std::uint64_t allOfThem = 0x0101010101010101;
    int node = 1;
    for (; node + 7 <= mark.count(); node += 8)
    {
        std::uint64_t eight = 0;
        std::memcpy(&eight, mark.data() + node, sizeof eight);
        if (eight == allOfThem)
        {
            for (int k = 0; k < 8; ++k)
                next[k] = node + k;
            next += 8;
        }
        else if (eight != 0)
            for (int k = 0; k < 8; ++k)
                add(node + k);
    }
    for (; node <= mark.count(); ++node)
        add(node);
    list[0] = 0;
    std::fill(next, list.get() + last + 1, 0);
    return list;
}

/// Marks the part-insert nodes as mould-base nodes too, and reports each node that gains the mark.
template <class Mark>
void addPartInsertToMoldBase(NumberedSpan<const Mark> partInsert, NumberedSpan<bool> moldBase)
{
    for (int node = 1; node <= moldBase.count(); ++node)
    {
        if (partInsert[node] && !moldBase[node])
        {
            moldBase[node] = true;
            // DELIBERATE part-insert-node-report: printed whether progress lines are asked for or not.
            std::cout << "node ID = " << node << '\n';
        }
    }
}

} // namespace tav3d::meshmapping
