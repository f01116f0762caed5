#pragma once

#include "interpolation/cell_boxes.h"
#include "interpolation/nearest_points.h"

#include <array>
#include <cstdint>
#include <span>
#include <vector>

namespace tav3d::interpolation
{

/// Half-widths of the cubes that CPointSearchTree searches, one after the other.
inline constexpr std::array<double, 10> searchRadii = []
{
    std::array<double, 10> radii{};
    double r = 1e-6;
    for (double& radius : radii)
        radius = r = 5.0 * r;
    return radii;
}();
static_assert(searchRadii[8] < 5.0 && searchRadii[9] >= 5.0, "the first radius of at least 5 is the last");

/// Sorts keys 1..n and their numbers by Shell's method, gaps 1, 4, 13, ... descending. Not stable, and the order of equal keys is visible to
/// hosts: it decides which of two equally near cells is tried first, so no other sort will do.
void sortByKey(std::vector<double>& key, std::vector<std::int32_t>& number, std::size_t n);

/// What CPointSearchTree answers by visiting its nodes, answered from an index of its points: the same numbers and distances.
///
/// A visit lists the points inside a cube in visiting order. The order of the listed points is that of a visit to the whole tree, so all that an
/// answer needs of it is each point's place in that one order: its rank, from 1, which is its number in the index.
class TreeQueries
{
public:
    /// points    by point number
    /// visited   the point numbers in the order of a visit to the whole tree
    TreeQueries(std::span<const Point> points, std::span<const std::int32_t> visited);

    /// As CPointSearchTree::SearchNearestPointIndex.
    std::int32_t nearest(const Point& target, double& square) const;

    /// As CPointSearchTree::SearchOnlyNearest.
    std::int32_t onlyNearest(const Point& target) const;

    /// The same for points that are the centres of cells of their numbers; tells whether the box of the cell holds the target. Once it has been
    /// asked often enough, it keeps the boxes of all cells, and forgets them when it is asked about other arrays. The contents of the arrays
    /// must then not change.
    std::int32_t onlyNearest(const Point& target, const CellNodes& cells, bool& isInBox);

    /// The contents of the arrays have changed: boxes that are kept are read again.
    void forgetBoxes();

    /// Writes up to numbers.size() candidates as CPointSearchTree::SearchCandidates; returns how many.
    std::size_t candidates(const Point& target, std::span<std::int32_t, 10> numbers);

private:
    struct Listed // a point and its position in the list of the cube, from 0
    {
        Found found;
        std::size_t position;
    };

    void listTies(const Point& target, double radius, double farthest);

    void keepBoxes();

    PointIndex index_;           // by rank; tags are the numbers from 0
    std::vector<Listed> listed_; // kept from query to query for its room
    std::vector<std::size_t> between_;
    CellNodes cells_; // that boxes were last asked about
    std::size_t asked_ = 0;
    common::LargePageVector<CellBox> boxes_; // by rank - 1; none before they are worth it
};

} // namespace tav3d::interpolation
