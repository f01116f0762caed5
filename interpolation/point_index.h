#pragma once

#include "interpolation/numbered.h"
#include "interpolation/two_doubles.h"

#include <array>
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

/// Points in a tree of bounding boxes, eight children to a branch and up to eight points to a leaf, for searches that leave out what lies
/// too far away. Built once; searched any number of times without allocating.
///
/// A search is an object that is shown points and decides what to keep:
///   std::array<double, 3> target               where it looks from; finite
///   static constexpr bool usesReach            whether it wants to know reaches; they are 0 otherwise
///   bool mayHold(square, reach, least) const   whether a box could hold a point that matters
///   void meet(square, reach, number)           a point
/// `square` is the squared distance (dx² + dy²) + dz² as rounded, `reach` is max(|dx|, |dy|, |dz|). Those of a box are computed by the same
/// operations in the same order from offsets that are not longer, and rounding is monotone: they never exceed those of a point inside, so
/// leaving out a box because of them is exact, ties included. `least` is the least number in the box. A free place of a leaf is shown
/// as well: infinitely far away, number 0.
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
            runBranch(0, search);
    }

private:
    static constexpr int width = 8;
    static constexpr double infinity = std::numeric_limits<double>::infinity();

    struct alignas(64) Leaf
    {
        double x[3][width];
        std::int32_t number[width];
    };

    /// Boxes of free places are empty: no point of the plane is at a finite distance.
    struct alignas(64) Branch
    {
        double low[3][width];
        double high[3][width];
        std::int32_t child[width]; // a branch, or ~ of a leaf
        std::int32_t least[width];
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

    template <class Search>
    void runLeaf(const Leaf& leaf, Search& search) const
    {
        double square[width];
        double reach[width] = {};
        for (int i = 0; i < width; i += 2)
        {
            TwoDoubles offset[3];
            for (int k = 0; k < 3; ++k)
                offset[k] = TwoDoubles::load(&leaf.x[k][i]) - TwoDoubles::both(search.target[static_cast<std::size_t>(k)]);
            measure<Search>(offset, &square[i], &reach[i]);
        }
        for (int i = 0; i < width; ++i)
            search.meet(square[i], reach[i], leaf.number[i]);
    }

    template <class Search>
    void runBranch(std::int32_t number, Search& search) const
    {
        const Branch& branch = branches_[static_cast<std::size_t>(number)];
        double square[width];
        double reach[width] = {};
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
            measure<Search>(offset, &square[i], &reach[i]);
        }

        // The nearest first: what it yields leaves out most of the others.
        int nearest = 0;
        double least = square[0];
        for (int i = 1; i < width; ++i)
        {
            nearest = square[i] < least ? i : nearest;
            least = square[i] < least ? square[i] : least;
        }
        const auto runChild = [&](int i)
        {
            if (!search.mayHold(square[i], reach[i], branch.least[i]))
                return;
            const std::int32_t child = branch.child[i];
            if (child < 0)
                runLeaf(leaves_[static_cast<std::size_t>(~child)], search);
            else
                runBranch(child, search);
        };
        runChild(nearest);
        for (int i = 0; i < width; ++i)
            if (i != nearest)
                runChild(i);
    }

    template <class Search>
    static void measure(const TwoDoubles (&offset)[3], double* square, double* reach)
    {
        ((offset[0] * offset[0] + offset[1] * offset[1]) + offset[2] * offset[2]).store(square);
        if constexpr (Search::usesReach)
            larger(larger(magnitude(offset[0]), magnitude(offset[1])), magnitude(offset[2])).store(reach);
    }

    std::vector<Branch> branches_; // the root first; none without points
    std::vector<Leaf> leaves_;
};

} // namespace tav3d::interpolation
