#pragma once

#include "common/compiler.h"
#include "common/large_pages.h"
#include "interpolation/numbered.h"
#include "interpolation/packed_boxes.h"
#include "interpolation/two_doubles.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstdint>
#include <limits>
#include <span>

namespace tav3d::interpolation
{

struct IndexedPoint
{
    std::array<double, 3> x;
    std::int32_t number;  // decides between equals
    std::int32_t tag = 0; // whatever a search wants to know of a point
};

using IndexedPoints = common::LargePageVector<IndexedPoint>;

/// Points in a tree of bounding boxes, eight children to a branch and up to eight points to a leaf, for searches that leave out what lies
/// too far away. Built once; searched any number of times without allocating.
///
/// A search is an object that is shown points and decides what to keep:
///   std::array<double, 3> target               where it looks from; finite
///   static constexpr bool usesReach            false: reaches are not computed, and its limits are those of squares and numbers alone
///   SearchLimits limits() const                may become narrower with every point met
///   void meet(square, reach, point)            a point inside the limits, or just outside of them
/// `square` is the squared distance (dx² + dy²) + dz² as rounded, `reach` is max(|dx|, |dy|, |dz|). Those of a box are never more than those
/// of a point inside, so leaving out a box because of them is exact, ties included.
///
/// The points themselves, sorted, are the leaves: 32 bytes a point, and branches add some 4 to that.
class PointIndex
{
public:
    PointIndex() = default;

    /// Points that are not finite are left out. Numbers are from 1.
    explicit PointIndex(IndexedPoints points);

    template <class Search>
    void run(Search& search) const
    {
        LooseLimits limits(search.limits());
        if (!branches_.empty())
            runBranch(branches_.front(), search, limits);
    }

    /// The points in an order in which each is near the last.
    template <class Action>
    void forEach(Action action) const
    {
        std::for_each_n(points_.begin(), used_, action);
    }

    [[nodiscard]] std::size_t size() const { return used_; }

private:
    static constexpr int width = PackedBoxes::width;

    /// Any number of points at one place, ascending by number, make a branch without children: child[0] is the first of them, child[1] the one after
    /// the last. A search leaves them at the first that it does not want.
    struct alignas(64) Branch
    {
        PackedBoxes boxes;
        std::int32_t child[width]; // a branch, or ~ of the first point of a leaf
        std::uint8_t count[width]; // of the points of a leaf
        std::uint8_t used = 0;     // bits of the children that there are, the lower ones
    };
    static_assert(sizeof(Branch) == 128, "two lines of the caches");

    struct Part // of the points, and a box that holds them
    {
        std::span<IndexedPoint> points;
        PointBox cell;
        bool isOnePlace = false;

        [[nodiscard]] bool isLeaf() const { return points.size() <= width; }
    };
    struct Cut
    {
        std::size_t axis;
        double at;
    };
    struct Child
    {
        std::int32_t number;
        PointBox box;
    };

    static PointBox boxOf(std::span<const IndexedPoint> points);
    static Cut middleOf(const PointBox& cell);
    static std::size_t partition(std::span<IndexedPoint> points, const Cut& cut, IndexedPoints& scratch);
    static Part split(Part& part, IndexedPoints& scratch);
    Child add(const Part& part, IndexedPoints& scratch);
    Child addBranch(const Part& all, IndexedPoints& scratch);
    std::int32_t placeOf(const Part& part) const { return static_cast<std::int32_t>(part.points.data() - points_.data()); }

    /// Shows the search a leaf's points, and finds out what it wants to see from then on.
    template <class Search>
    static void runLeaf(const IndexedPoint* points, unsigned count, Search& search, LooseLimits& loose)
    {
        double square[width];
        double reach[width];
        const SearchLimits limits = search.limits();
        unsigned bits = 0;
        for (unsigned i = 0; i < count; i += 2) // the last may read one point too many, which is there
        {
            TwoDoubles offset[3];
            for (std::size_t k = 0; k < 3; ++k)
                offset[k] = TwoDoubles::of(points[i].x[k], points[i + 1].x[k]) - TwoDoubles::both(search.target[k]);
            const TwoDoubles squares = (offset[0] * offset[0] + offset[1] * offset[1]) + offset[2] * offset[2];
            squares.store(&square[i]);
            unsigned two = isNotGreater(squares, TwoDoubles::both(limits.square));
            if constexpr (Search::usesReach)
            {
                const TwoDoubles reaches = larger(larger(magnitude(offset[0]), magnitude(offset[1])), magnitude(offset[2]));
                reaches.store(&reach[i]);
                two |= isLess(reaches, TwoDoubles::both(limits.smaller));
                two &= isLess(reaches, TwoDoubles::both(limits.radius));
            }
            bits |= two << i;
        }
        bits &= (1u << count) - 1;
        if (bits == 0)
            return;
        for (; bits != 0; bits &= bits - 1)
        {
            const int i = std::countr_zero(bits);
            search.meet(square[i], Search::usesReach ? reach[i] : 0.0, points[i]);
        }
        loose = LooseLimits(search.limits());
    }

    template <class Search>
    void runOnePlace(const Branch& branch, Search& search, LooseLimits& loose) const
    {
        const std::span points(&points_[static_cast<std::size_t>(branch.child[0])], &points_[static_cast<std::size_t>(branch.child[1])]);
        double offset[3];
        for (std::size_t k = 0; k < 3; ++k)
            offset[k] = points[0].x[k] - search.target[k];
        const double square = (offset[0] * offset[0] + offset[1] * offset[1]) + offset[2] * offset[2];
        const double reach = std::max({std::abs(offset[0]), std::abs(offset[1]), std::abs(offset[2])});
        for (const IndexedPoint& p : points)
        {
            const SearchLimits limits = search.limits();
            const bool isNear = square < limits.square || (square == limits.square && p.number < limits.number);
            if (Search::usesReach ? !(reach < limits.radius && (reach < limits.smaller || isNear)) : !isNear)
                break;
            search.meet(square, reach, p);
        }
        loose = LooseLimits(search.limits());
    }

    /// Asks for the memory of children that are likely to be looked at, so that they arrive together and not one after the other.
    void fetch(const Branch& branch, unsigned children) const
    {
        for (; children != 0; children &= children - 1)
        {
            const auto i = static_cast<std::size_t>(std::countr_zero(children));
            const std::int32_t child = branch.child[i];
            if (child < 0)
                fetch(&points_[static_cast<std::size_t>(~child)], branch.count[i] * sizeof(IndexedPoint));
            else
                fetch(&branches_[static_cast<std::size_t>(child)], sizeof(Branch));
        }
    }

    static void fetch(const void* memory, std::size_t size)
    {
        for (std::size_t at = 0; at < size; at += 64)
            common::prefetch(static_cast<const char*>(memory) + at);
        common::prefetch(static_cast<const char*>(memory) + size - 1);
    }

    template <class Search>
    void runChild(const Branch& branch, unsigned i, Search& search, LooseLimits& loose) const
    {
        const std::int32_t child = branch.child[i];
        if (child < 0)
            runLeaf(&points_[static_cast<std::size_t>(~child)], branch.count[i], search, loose);
        else
            runBranch(branches_[static_cast<std::size_t>(child)], search, loose);
    }

    template <class Search>
    void runBranch(const Branch& branch, Search& search, LooseLimits& loose) const
    {
        if (branch.used == 0)
            return runOnePlace(branch, search, loose);
        PackedBoxes::Measures m;
        branch.boxes.measure<Search::usesReach>(search.target, m);
        unsigned bits = m.inside<Search::usesReach>(loose) & branch.used;
        if (bits == 0)
            return;

        // The nearest first: what it yields leaves out most of the others.
        const unsigned first = m.nearest() & bits;
        if (first != 0)
        {
            const auto i = static_cast<unsigned>(std::countr_zero(first));
            bits &= ~(1u << i);
            runChild(branch, i, search, loose);
            bits &= m.inside<Search::usesReach>(loose);
            fetch(branch, bits);
        }
        for (; bits != 0; bits = (bits & (bits - 1)) & m.inside<Search::usesReach>(loose))
            runChild(branch, static_cast<unsigned>(std::countr_zero(bits)), search, loose);
    }

    common::LargePageVector<Branch> branches_; // the root first; none without points
    IndexedPoints points_;                     // in the order of the leaves, and one more
    std::size_t used_ = 0;
};

} // namespace tav3d::interpolation
