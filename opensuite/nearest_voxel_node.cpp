// A table of coordinates and a k-d tree per body. Most cut-cell nodes stand exactly on a voxel node: the table tells which, without a search. The
// tree, with a tight box at every tree node, answers for the others, and is made when the first of them comes.
//
// The bound of a box is computed like the distance of a point, operation by operation in the same order, from offsets that are not longer. Rounding
// is monotone, so the bound never exceeds the distance of a point in the box, and skipping boxes with bound > best loses no tie.

#include "nearest_voxel_node.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cassert>
#include <cmath>
#include <limits>
#include <utility>

namespace tav3d::opensuite
{

namespace
{

struct Entry
{
    std::array<float, 3> x;
    std::int32_t number;
};

class NodeTree
{
public:
    explicit NodeTree(std::vector<Entry> entries)
        : entries_(std::move(entries))
    {
        std::size_t nodes = 1;
        for (std::size_t n = entries_.size(); n > leafSize; n = (n + 1) / 2)
            nodes = 2 * nodes + 1;
        boxes_.resize(nodes);
        if (!empty())
            build(0, 0, entries_.size());
    }

    [[nodiscard]] bool empty() const { return entries_.empty(); }

    /// Number of the nearest entry, 0 when there is none. `x` is finite.
    [[nodiscard]] std::int32_t nearest(const std::array<float, 3>& x) const
    {
        if (empty())
            return 0;
        Best best;
        search(0, 0, entries_.size(), x, boxes_[0].bound(x), best);
        return best.number;
    }

private:
    static constexpr std::size_t leafSize = 8;

    struct Best
    {
        double distance2 = std::numeric_limits<double>::infinity();
        std::int32_t number = 0;
    };

    struct Box
    {
        std::array<float, 3> low, high;

        [[nodiscard]] double bound(const std::array<float, 3>& x) const
        {
            double d[3];
            for (int k = 0; k < 3; ++k)
                d[k] = double(x[k]) - double(std::clamp(x[k], low[k], high[k]));
            return d[0] * d[0] + d[1] * d[1] + d[2] * d[2];
        }
    };

    // Tree node t holds entries first..last-1; its children 2t+1 and 2t+2 hold the lower and the upper half.
    void build(std::size_t t, std::size_t first, std::size_t last)
    {
        Box& box = boxes_[t];
        box.low = box.high = entries_[first].x;
        for (std::size_t i = first + 1; i < last; ++i)
            for (int k = 0; k < 3; ++k)
            {
                box.low[k] = std::min(box.low[k], entries_[i].x[k]);
                box.high[k] = std::max(box.high[k], entries_[i].x[k]);
            }
        if (last - first <= leafSize)
            return;
        int longest = 0;
        for (int k = 1; k < 3; ++k)
            if (double(box.high[k]) - box.low[k] > double(box.high[longest]) - box.low[longest])
                longest = k;
        const std::size_t middle = first + (last - first) / 2;
        const auto at = [this](std::size_t i) { return entries_.begin() + static_cast<std::ptrdiff_t>(i); };
        std::nth_element(at(first), at(middle), at(last),
                         [longest](const Entry& a, const Entry& b) { return a.x[longest] < b.x[longest]; });
        build(2 * t + 1, first, middle);
        build(2 * t + 2, middle, last);
    }

    void search(std::size_t t, std::size_t first, std::size_t last, const std::array<float, 3>& x, double bound, Best& best) const
    {
        if (bound > best.distance2)
            return;
        if (last - first <= leafSize)
        {
            for (std::size_t i = first; i < last; ++i)
            {
                const Entry& entry = entries_[i];
                const double dx = double(x[0]) - double(entry.x[0]);
                const double dy = double(x[1]) - double(entry.x[1]);
                const double dz = double(x[2]) - double(entry.x[2]);
                const double distance2 = dx * dx + dy * dy + dz * dz;
                if (distance2 < best.distance2 || (distance2 == best.distance2 && entry.number < best.number))
                    best = {distance2, entry.number};
            }
            return;
        }
        const std::size_t middle = first + (last - first) / 2;
        const double lower = boxes_[2 * t + 1].bound(x);
        const double upper = boxes_[2 * t + 2].bound(x);
        if (lower <= upper)
        {
            search(2 * t + 1, first, middle, x, lower, best);
            search(2 * t + 2, middle, last, x, upper, best);
        }
        else
        {
            search(2 * t + 2, middle, last, x, upper, best);
            search(2 * t + 1, first, middle, x, lower, best);
        }
    }

    std::vector<Entry> entries_;
    std::vector<Box> boxes_;
};

/// Hash table of entries by place; of entries at one place it holds the lowest number.
class PlaceTable
{
public:
    /// Entries come in ascending order of their numbers, and their places are finite.
    explicit PlaceTable(std::span<const Entry> entries)
        : entries_(entries)
        , slot_(std::bit_ceil(2 * entries.size() + 2), empty)
    {
        for (std::size_t i = 0; i < entries.size(); ++i)
        {
            std::uint32_t& slot = slotOf(entries[i].x);
            if (slot == empty)
                slot = static_cast<std::uint32_t>(i);
        }
    }

    /// Number of the entry at a place, 0 when there is none.
    [[nodiscard]] std::int32_t at(const std::array<float, 3>& x)
    {
        const std::uint32_t i = slotOf(x);
        return i == empty ? 0 : entries_[i].number;
    }

private:
    static constexpr std::uint32_t empty = ~0u;

    /// The slot that holds the place, or the empty one where it would be.
    std::uint32_t& slotOf(const std::array<float, 3>& x)
    {
        std::uint64_t hash = 0;
        for (const float c : x)
            hash = (hash ^ std::bit_cast<std::uint32_t>(c + 0.0f)) * 0x9e3779b97f4a7c15u; // -0 stands where 0 does
        const std::size_t mask = slot_.size() - 1;
        std::size_t k = (hash ^ hash >> 32) & mask;
        while (slot_[k] != empty && entries_[slot_[k]].x != x)
            k = (k + 1) & mask;
        return slot_[k];
    }

    std::span<const Entry> entries_;
    std::vector<std::uint32_t> slot_;
};

bool isFinite(const std::array<float, 3>& x)
{
    return std::isfinite(x[0]) && std::isfinite(x[1]) && std::isfinite(x[2]);
}

std::array<float, 3> position(const BodyNodes& nodes, std::size_t i)
{
    return {nodes.x[i], nodes.y[i], nodes.z[i]};
}

/// The voxel nodes that `wanted(body)` holds for.
template <class Wanted>
std::vector<Entry> entriesOf(const BodyNodes& voxel, Wanted wanted)
{
    std::vector<Entry> entries;
    for (std::size_t i = 0; i < voxel.x.size(); ++i)
        if (wanted(voxel.body[i]) && isFinite(position(voxel, i)))
            entries.push_back({position(voxel, i), static_cast<std::int32_t>(i + 1)});
    return entries;
}

} // namespace

std::vector<NodeBody> bodiesOfNodes(const MeshZone& mesh)
{
    std::vector<NodeBody> bodies(mesh.nodeTotal(), NodeBody::MoldBase);
    const auto mark = [&bodies](std::int32_t node, NodeBody body)
    {
        if (node >= 1 && static_cast<std::size_t>(node) <= bodies.size())
            bodies[static_cast<std::size_t>(node) - 1] = body;
    };
    const CellList& mold = mesh.moldBase;
    for (std::size_t c = 0; c < mold.size(); ++c)
        if (mold.body[c] >= body::firstInsert)
            for (std::int64_t k = mold.start[c]; k < mold.start[c + 1]; ++k)
                mark(mold.node[static_cast<std::size_t>(k)], NodeBody::PartInsert);
    for (const PartInsertFacet& facet : mesh.partInsert)
        for (const std::int32_t node : facet.node)
            mark(node, NodeBody::PartInsert);
    for (const std::int32_t node : mesh.plastic.node)
        mark(node, NodeBody::Plastic);
    return bodies;
}

void nearestVoxelNodes(const BodyNodes& cutCell, const BodyNodes& voxel, std::span<std::int32_t> nearest)
{
    assert(nearest.size() == cutCell.x.size());
    std::array<std::vector<std::size_t>, nodeBodyCount> members; // cut-cell nodes of each body
    for (std::size_t i = 0; i < cutCell.x.size(); ++i)
        members[static_cast<std::size_t>(cutCell.body[i])].push_back(i);

    for (int b = 0; b < nodeBodyCount; ++b)
    {
        if (members[b].empty())
            continue;
        std::vector<Entry> entries = entriesOf(voxel, [b](NodeBody body) { return static_cast<int>(body) == b; });
        if (entries.empty())
            entries = entriesOf(voxel, [](NodeBody) { return true; });

        std::vector<std::size_t> elsewhere; // nodes that stand on no voxel node
        {
            PlaceTable places(entries);
            for (const std::size_t i : members[b])
            {
                const std::array<float, 3> x = position(cutCell, i);
                nearest[i] = isFinite(x) ? places.at(x) : 0;
                if (nearest[i] == 0 && isFinite(x))
                    elsewhere.push_back(i);
            }
        }
        if (elsewhere.empty())
            continue;
        const NodeTree tree(std::move(entries));
        for (const std::size_t i : elsewhere)
            nearest[i] = tree.nearest(position(cutCell, i));
    }
}

} // namespace tav3d::opensuite
