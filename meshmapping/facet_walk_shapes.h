#pragma once

// The walk of the Gauss search over boundary facets, for many nodes of a mesh that is regular nearly everywhere.
//
// What a walk finds depends on which nodes lie on the facets of the nodes that it passes, and on their kinds. Told in node numbers relative to the
// node itself, this surroundings is the same for most nodes of a grid. So surroundings are numbered, each different one once:
//   near(i)   the nodes on the facets at i, in walk order, relative to i, with the kinds of all
//   shape(i)  near(i) and near(k) of all nodes k that near(i) names
//   key(i)    shape(i) and shape(k) of all these
// Two nodes with equal keys have the same walk, moved by the difference of their numbers. Nothing here is a guess: sequences are compared whole.

#include "gauss_neighbours.h"

#include <array>
#include <cstdint>
#include <vector>

namespace tav3d::meshmapping
{

/// Hash of a sequence of words. The products do not wait for each other.
template <class Word>
[[nodiscard]] std::uint64_t hashOf(std::span<const Word> words) noexcept
{
    std::uint64_t sum = words.size(), factor = 0x9e3779b97f4a7c15u;
    for (const Word word : words)
    {
        sum += static_cast<std::uint64_t>(word) * factor;
        factor += 0x3c6ef372fe94f82au;
    }
    sum *= 0xd6e8feb86659fd93u;
    return sum ^ sum >> 32;
}

/// Numbers sequences: equal ones get the same number, counted from 0.
class SequenceBook
{
public:
    [[nodiscard]] int numberOf(std::span<const int> words);
    [[nodiscard]] std::span<const int> operator[](int number) const noexcept
    {
        const std::uint32_t* at = &start_[static_cast<std::size_t>(number)];
        return {words_.data() + at[0], words_.data() + at[1]};
    }

private:
    void grow();

    std::vector<int> words_;                             // all sequences
    std::vector<std::uint32_t> start_{0};                // sequence n is words start_[n]..start_[n+1]-1
    std::vector<int> slot_ = std::vector<int>(1024, -1); // hash table of the numbers; a power of two long
};

/// Nodes on the facets of one node, itself among them: nine facets of four corners each at most.
inline constexpr int nearCap = 36;

class FacetWalkShapes
{
public:
    FacetWalkShapes(const NodeKinds& kinds, NumberedSpan<const int> fixed, const FacetTables& facets);

    /// The key of a node: a view of `room`.
    [[nodiscard]] std::span<const int> keyOf(int node, std::array<int, nearCap + 1>& room) const;

    /// The nodes of the start's kind within three rings of facets, the start left out, in walk order, the first 50. `found` has room for 51;
    /// returns their number.
    int walk(int start, int* found);

private:
    /// What is found at node numbers relative to the node whose `near` it is.
    [[nodiscard]] std::span<const int> nearOf(int node) const noexcept
    {
        const std::span<const int> words = near_[nearNumber_[static_cast<std::size_t>(node)]];
        return words.empty() ? words : words.subspan(1, static_cast<std::size_t>(words[0]));
    }

    SequenceBook near_, shape_;
    std::vector<int> kind_;                     // per node: equal kinds exchange values; fixed nodes have a kind of their own
    std::vector<int> nearNumber_, shapeNumber_; // per node
    std::vector<int> seenFrom_, passedFrom_;    // per node: the start that last saw it, and that last went on from it in the second ring
};

} // namespace tav3d::meshmapping
