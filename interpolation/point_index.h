#pragma once

#include "common/compiler.h"
#include "common/large_pages.h"
#include "interpolation/numbered.h"
#include "interpolation/two_doubles.h"

#include <array>
#include <bit>
#include <cstdint>
#include <limits>
#include <span>
#include <vector>

namespace tav3d::interpolation
{

struct IndexedPoint
{
    std::array<double, 3> x;
    std::int32_t number;
};

/// What a search still wants to see: points with
///   reach < radius && (reach < smaller || square < this square || (square == this square && number < this number)).
/// Only finite points are meant; `number` may be larger than all to take equals without looking at numbers.
struct SearchLimits
{
    double square;
    double radius = std::numeric_limits<double>::infinity();
    double smaller = 0.0;
    std::int32_t number = std::numeric_limits<std::int32_t>::max();
};

/// Points in a tree of bounding boxes, eight children to a branch and up to eight points to a leaf, for searches that leave out what lies
/// too far away. Built once; searched any number of times without allocating.
///
/// A search is an object that is shown points and decides what to keep:
///   std::array<double, 3> target               where it looks from; finite
///   static constexpr bool usesReach            false: reaches are not computed, and its limits are those of squares and numbers alone
///   SearchLimits limits() const                may become narrower with every point met
///   void meet(square, reach, number)           a point inside the limits, or just outside of them
/// `square` is the squared distance (dx² + dy²) + dz² as rounded, `reach` is max(|dx|, |dy|, |dz|). Those of a box are computed by the same
/// operations in the same order from offsets that are not longer, and rounding is monotone: they never exceed those of a point inside, so
/// leaving out a box because of them is exact, ties included.
class PointIndex
{
public:
    PointIndex() = default;

    /// Points that are not finite are left out. Numbers are from 1.
    explicit PointIndex(std::vector<IndexedPoint> points);

    template <class Search>
    void run(Search& search) const
    {
        if (!branches_.empty())
            runBranch(branches_.front(), search);
    }

    /// The points in an order in which each is near the last.
    template <class Action>
    void forEach(Action action) const
    {
        for (const Leaf& leaf : leaves_)
            for (int i = 0; i < std::popcount(leaf.used); ++i)
                action(Point{leaf.x[0][i], leaf.x[1][i], leaf.x[2][i]}, leaf.number[i]);
    }

private:
    static constexpr int width = 8;
    static constexpr double infinity = std::numeric_limits<double>::infinity();

    struct alignas(64) Leaf
    {
        double x[3][width];
        std::int32_t number[width];
        unsigned used; // bits of the places that are taken, the lower ones
    };

    struct alignas(64) Branch
    {
        double low[3][width];
        double high[3][width];
        std::int32_t child[width]; // a branch, or ~ of a leaf
        std::int32_t least[width]; // number in the box
        unsigned used;             // bits of the children that there are, the lower ones
    };

    struct Box
    {
        std::array<double, 3> low;
        std::array<double, 3> high;
        std::int32_t least;
    };

    struct Part // of the points
    {
        std::span<IndexedPoint> points;
        Box box;
    };

    static Box boxOf(std::span<const IndexedPoint> points);
    static std::size_t split(const Part& part, std::vector<IndexedPoint>& scratch);
    std::int32_t addBranch(const Part& whole, std::vector<IndexedPoint>& scratch);
    std::int32_t addLeaf(std::span<const IndexedPoint> points);

    /// Squares and reaches of eight points or boxes.
    struct Measures
    {
        double square[width];
        double reach[width];
    };

    /// Bit i: number i has a square and a reach inside the limits, its number left aside.
    template <class Search>
    static unsigned inside(const Measures& m, const SearchLimits& limits)
    {
        unsigned bits = 0;
        for (int i = 0; i < width; i += 2)
        {
            const TwoDoubles square = TwoDoubles::load(&m.square[i]);
            unsigned two = isNotGreater(square, TwoDoubles::both(limits.square));
            if constexpr (Search::usesReach)
            {
                const TwoDoubles reach = TwoDoubles::load(&m.reach[i]);
                two = isLess(reach, TwoDoubles::both(limits.radius)) & (isLess(reach, TwoDoubles::both(limits.smaller)) | two);
            }
            bits |= two << i;
        }
        return bits;
    }

    template <class Search>
    static void measure(const TwoDoubles (&offset)[3], Measures& m, int i)
    {
        ((offset[0] * offset[0] + offset[1] * offset[1]) + offset[2] * offset[2]).store(&m.square[i]);
        if constexpr (Search::usesReach)
            larger(larger(magnitude(offset[0]), magnitude(offset[1])), magnitude(offset[2])).store(&m.reach[i]);
        else
            TwoDoubles::both(0.0).store(&m.reach[i]);
    }

    template <class Search>
    void runLeaf(const Leaf& leaf, Search& search) const
    {
        Measures m;
        for (int i = 0; i < width; i += 2)
        {
            TwoDoubles offset[3];
            for (int k = 0; k < 3; ++k)
                offset[k] = TwoDoubles::load(&leaf.x[k][i]) - TwoDoubles::both(search.target[static_cast<std::size_t>(k)]);
            measure<Search>(offset, m, i);
        }
        for (unsigned bits = inside<Search>(m, search.limits()) & leaf.used; bits != 0; bits &= bits - 1)
        {
            const int i = std::countr_zero(bits);
            search.meet(m.square[i], m.reach[i], leaf.number[i]);
        }
    }

    /// Asks for the memory of children that are likely to be looked at, so that they arrive together and not one after the other. Before the first
    /// leaf has narrowed a search these are all leaves of a branch; afterwards the branches and leaves that are still inside its limits.
    void fetch(const Branch& branch, unsigned children) const
    {
        for (; children != 0; children &= children - 1)
        {
            const std::int32_t child = branch.child[std::countr_zero(children)];
            if (child < 0)
                fetch(&leaves_[static_cast<std::size_t>(~child)]);
            else
                fetch(&branches_[static_cast<std::size_t>(child)]);
        }
    }

    template <class Node>
    static void fetch(const Node* node)
    {
        for (std::size_t at = 0; at < sizeof(Node); at += 64)
            common::prefetch(reinterpret_cast<const char*>(node) + at);
    }

    template <class Search>
    void runChild(const Branch& branch, const Measures& m, int i, Search& search) const
    {
        if (m.square[i] == search.limits().square && !(branch.least[i] < search.limits().number) && !(m.reach[i] < search.limits().smaller))
            return;
        const std::int32_t child = branch.child[i];
        if (child < 0)
            runLeaf(leaves_[static_cast<std::size_t>(~child)], search);
        else
            runBranch(branches_[static_cast<std::size_t>(child)], search);
    }

    template <class Search>
    void runBranch(const Branch& branch, Search& search) const
    {
        Measures m;
        TwoDoubles least = TwoDoubles::both(infinity);
        for (int i = 0; i < width; i += 2)
        {
            TwoDoubles offset[3]; // from the box; 0 inside
            for (int k = 0; k < 3; ++k)
            {
                const TwoDoubles at = TwoDoubles::both(search.target[static_cast<std::size_t>(k)]);
                const TwoDoubles below = TwoDoubles::load(&branch.low[k][i]) - at;
                const TwoDoubles above = at - TwoDoubles::load(&branch.high[k][i]);
                offset[k] = larger(larger(below, above), TwoDoubles::both(0.0));
            }
            measure<Search>(offset, m, i);
            least = smaller(least, TwoDoubles::load(&m.square[i]));
        }
        unsigned bits = inside<Search>(m, search.limits()) & branch.used;
        if (bits == 0)
            return;

        if (branch.child[0] < 0)
            fetch(branch, bits);

        // The nearest first: what it yields leaves out most of the others.
        double leasts[2];
        least.store(leasts);
        const TwoDoubles nearest = TwoDoubles::both(leasts[0] < leasts[1] ? leasts[0] : leasts[1]);
        unsigned first = 0;
        for (int i = 0; i < width; i += 2)
            first |= isNotGreater(TwoDoubles::load(&m.square[i]), nearest) << i;
        first &= bits;
        if (first != 0)
        {
            const int i = std::countr_zero(first);
            bits &= ~(1u << i);
            runChild(branch, m, i, search);
            bits &= inside<Search>(m, search.limits());
            fetch(branch, bits);
        }
        for (; bits != 0; bits = (bits & (bits - 1)) & inside<Search>(m, search.limits()))
            runChild(branch, m, std::countr_zero(bits), search);
    }

    common::LargePageVector<Branch> branches_; // the root first; none without points
    common::LargePageVector<Leaf> leaves_;
};

} // namespace tav3d::interpolation
