#pragma once

#include "common/zeroed_array.h"
#include "interpolation/numbered.h"
#include "interpolation/tree_queries.h"

#include <array>
#include <cstdint>
#include <memory>
#include <vector>

/// Bucket octree over points, numbered from 0 in the order of insertion.
///
/// A leaf holds up to eight points; inserting into a full leaf splits it at the centroid of its eight points. Queries are range searches
/// over cubes whose half-width grows by a factor of five, up to 9.765625, until enough points are found. Visiting order is fixed (breadth
/// first, children by ascending octant, points by slot), because ties are decided by it.
///
/// Octants 1..8 relative to a centre: (x >= cx ? 2 : 1) + (y >= cy ? 2 : 0) + (z >= cz ? 4 : 0).
class CPointSearchTree
{
public:
    /// One node of the tree, nine integers.
    ///   state 0..8  a leaf with that many points; slot[0..state-1] are their numbers
    ///   state -1    an internal node; slot[o-1] is the number of the child of octant o
    struct TreeNode
    {
        std::int32_t state = 0;
        std::array<std::int32_t, 8> slot{};
    };

    /// Up to ten point numbers, counting from 1, nearest first.
    struct Candidates
    {
        std::int32_t count = 0;
        std::array<std::int32_t, 10> number{};
    };

    /// The range only sets the distance below which a point counts as a duplicate; points outside are welcome.
    CPointSearchTree(double xMin, double xMax, double yMin, double yMax, double zMin, double zMax);

    /// Adds a point; its number is m_nLastPoint afterwards. A point within 1e-6 * min(1, m_dHalfSize) of a point of its leaf gets a number
    /// but is never found. So does a point that is not finite, and one that cannot be told apart from a full leaf's points by rounding.
    void Insert(double x, double y, double z);

    /// Inserts points 1..n in ascending order. Into an empty tree at once: the same tree, many times sooner.
    void InsertAll(const tav3d::interpolation::NumberedPoints& points);

    /// Builds the index that the searches answer from until the next insertion. They do so themselves when they have visited enough nodes.
    void BuildIndex();
    bool hasIndex();

    /// Fills `list` with the numbers of the points inside the open cube of half-width r around (x, y, z), in visiting order.
    void SearchBox(double x, double y, double z, double r, std::vector<std::int32_t>& list);

    /// Number of the nearest point, *counting from 0* (SearchCandidates counts from 1), and its *squared* distance; -1 and -1.0 when no
    /// point is in reach. Of equally near points the one visited first.
    int SearchNearestPointIndex(double x, double y, double z, double& distance);

    /// Up to ten nearest points of the first cube that holds at least two (or of the largest), *counting from 1*. Without any point in
    /// reach `result`, which the caller has zeroed, stays as it is. Always returns 1.
    int SearchCandidates(double x, double y, double z, Candidates& result);

    /// The first number that SearchCandidates would give, if it is told at once that no other candidate is as near; otherwise 0.
    int SearchOnlyNearest(double x, double y, double z);

    /// The same when the points are the centres of cells: tells whether the box of that cell holds (x, y, z). What the arrays hold must
    /// not change until the next insertion, or call of ForgetCellBoxes.
    int SearchOnlyNearest(double x, double y, double z, const tav3d::interpolation::CellNodes& cells, bool& isInBox);
    void ForgetCellBoxes();

    /// What the searches of the same names answer, by visiting the nodes of the tree and nothing else.
    int VisitNearestPointIndex(double x, double y, double z, double& distance);
    int VisitCandidates(double x, double y, double z, Candidates& result);

    std::vector<tav3d::interpolation::Point> m_Point; // every point, in insertion order
    std::int32_t m_nTreeNode;                         // nodes in use, numbered from 1 (the root)
    std::int32_t m_nTreeNodeCapacity;
    std::int32_t m_nLastPoint; // -1 before the first insertion
    tav3d::common::ZeroedArray<TreeNode> m_pTreeNode;
    tav3d::common::ZeroedArray<std::int32_t>
        m_pVisitList; // work list of SearchBox: one entry per tree node suffices, none is visited twice
    tav3d::common::ZeroedArray<tav3d::interpolation::Point> m_pNodeCenter; // split point of each internal node
    double m_dHalfSize;                                                    // half of the largest extent of the range
    double m_dXMin, m_dXMax, m_dYMin, m_dYMax, m_dZMin, m_dZMax;
    std::int32_t m_bCanGrow; // whether the next split may enlarge the node table

private:
    bool growNodeTable();
    bool splitLeaf(std::int32_t node);
    std::int32_t leafOf(double x, double y, double z, std::int32_t from) const;
    double squaredTolerance() const;
    void fillAtOnce(const tav3d::interpolation::NumberedPoints& points);

    std::int64_t m_nVisited = 0;                                   // nodes visited since the last insertion
    std::unique_ptr<tav3d::interpolation::TreeQueries> m_pQueries; // none after an insertion
};
