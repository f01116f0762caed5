#include "facet_walk_shapes.h"

namespace tav3d::meshmapping
{

int SequenceBook::numberOf(std::span<const int> words)
{
    const std::size_t mask = slot_.size() - 1;
    std::size_t at = hashOf<int>(words) & mask;
    for (; slot_[at] >= 0; at = (at + 1) & mask)
        if (std::ranges::equal((*this)[slot_[at]], words))
            return slot_[at];
    const int number = static_cast<int>(start_.size()) - 1;
    slot_[at] = number;
    words_.insert(words_.end(), words.begin(), words.end());
    start_.push_back(static_cast<std::uint32_t>(words_.size()));
    if (2 * start_.size() > slot_.size())
        grow();
    return number;
}

void SequenceBook::grow()
{
    slot_.assign(2 * slot_.size(), -1);
    const std::size_t mask = slot_.size() - 1;
    for (int number = 0; number + 1 < static_cast<int>(start_.size()); ++number)
    {
        std::size_t at = hashOf<int>((*this)[number]) & mask;
        while (slot_[at] >= 0)
            at = (at + 1) & mask;
        slot_[at] = number;
    }
}

FacetWalkShapes::FacetWalkShapes(const NodeKinds& kinds, NumberedSpan<const int> fixed, const FacetTables& facets)
    : kind_(static_cast<std::size_t>(kinds.part.count()) + 1)
    , nearNumber_(kind_.size())
    , shapeNumber_(nearNumber_.size())
    , seenFrom_(nearNumber_.size())
    , passedFrom_(nearNumber_.size())
{
    const int total = kinds.part.count();
    constexpr int fixedKind = -1;
    for (int node = 1; node <= total; ++node)
        kind_[static_cast<std::size_t>(node)] = fixed[node] == 1 ? fixedKind : kinds.part[node] | kinds.partInsert[node] << 8;
    // Words of near(i): their count, the nodes, the kinds of i and of the nodes. The empty sequence has number 0.
    std::array<int, 2 * nearCap + 2> words;
    (void)near_.numberOf({});
    for (int node = 1; node <= total && facets.nodeFacet != nullptr; ++node)
    {
        const std::span<const int> facetsAtNode = listItems(facets.nodeFacet[node]);
        if (facetsAtNode.empty())
            continue;
        int count = 0;
        for (const int facet : facetsAtNode)
            for (const int corner : listItems(facets.facetNode[facet]))
            {
                const int relative = corner - node;
                const int* const end = words.data() + 1 + count;
                if (std::find(static_cast<const int*>(words.data()) + 1, end, relative) == end)
                    words[static_cast<std::size_t>(++count)] = relative;
            }
        words[0] = count;
        int last = count;
        words[static_cast<std::size_t>(++last)] = kind_[static_cast<std::size_t>(node)];
        for (int k = 1; k <= count; ++k)
            words[static_cast<std::size_t>(++last)] = kind_[static_cast<std::size_t>(node + words[static_cast<std::size_t>(k)])];
        nearNumber_[static_cast<std::size_t>(node)] = near_.numberOf({words.data(), static_cast<std::size_t>(last) + 1});
    }
    (void)shape_.numberOf({});
    for (int node = 1; node <= total; ++node)
    {
        if (nearNumber_[static_cast<std::size_t>(node)] == 0)
            continue;
        words[0] = nearNumber_[static_cast<std::size_t>(node)];
        int last = 0;
        for (const int relative : nearOf(node))
            words[static_cast<std::size_t>(++last)] = nearNumber_[static_cast<std::size_t>(node + relative)];
        shapeNumber_[static_cast<std::size_t>(node)] = shape_.numberOf({words.data(), static_cast<std::size_t>(last) + 1});
    }
}

std::span<const int> FacetWalkShapes::keyOf(int node, std::array<int, nearCap + 1>& room) const
{
    std::size_t length = 0;
    room[length++] = shapeNumber_[static_cast<std::size_t>(node)];
    for (const int relative : nearOf(node))
        room[length++] = shapeNumber_[static_cast<std::size_t>(node + relative)];
    return {room.data(), length};
}

int FacetWalkShapes::walk(int start, int* found)
{
    const int kind = kind_[static_cast<std::size_t>(start)];
    seenFrom_[static_cast<std::size_t>(start)] = start;
    int count = 0;
    for (const int toFirst : nearOf(start))
        for (const int toSecond : nearOf(start + toFirst))
        {
            const int second = start + toFirst + toSecond;
            // Going on from a node again would find nothing new.
            if (std::exchange(passedFrom_[static_cast<std::size_t>(second)], start) == start)
                continue;
            for (const int toThird : nearOf(second))
            {
                const int node = second + toThird;
                if (std::exchange(seenFrom_[static_cast<std::size_t>(node)], start) == start ||
                    kind_[static_cast<std::size_t>(node)] != kind)
                    continue;
                // DELIBERATE gauss-first-fifty: as in the plain form.
                if (count < gaussNeighbourCap)
                    found[count++] = node;
            }
        }
    return count;
}

} // namespace tav3d::meshmapping
