#include "cell_order.h"
#include "cut_cell_search.h"

#include <cmath>
#include <limits>

// The fast form of the cut-cell search. Rows are those of the plain form, bit for bit:
//
//   - Nearly every row comes from the first cube, whose half-width is two elements. Both meshes' nodes are put in the order of a grid of cells a little
//     larger than that, so that a node's cube lies in the 27 cells around it. Cells are gone through in ascending order, and so are, in step
//     with them, the nine lines of three cells around them: nothing is searched.
//   - The squared distance of the tenth nearest is guessed from the last node's. Ten nodes no farther than the guess, which is less than the
//     half-width, lie in the cube and have all nearer ones among them: the ten nearest of the cube are the ten nearest of these.
//   - Where the guess fails, the nodes of the 27 cells are tested against the cube as the tree tests boxes. Where the first cube fails, and for
//     nodes that have no cell, the plain form goes on, with the tree.

namespace tav3d::meshmapping
{
namespace
{

constexpr auto ten = static_cast<std::size_t>(cutCellNeighbourTotal);

/// The least finite coordinates of voxel nodes that can be found.
std::array<double, 3> lowestCorner(const VoxelTarget& voxel)
{
    constexpr double infinity = std::numeric_limits<double>::infinity();
    std::array<double, 3> low{infinity, infinity, infinity};
    const std::array<const float*, 3> coordinate{voxel.points.x.data(), voxel.points.y.data(), voxel.points.z.data()};
    for (int k = 1; k <= voxel.nodeOfCompact.count(); ++k)
    {
        const int node = voxel.nodeOfCompact[k];
        if (node == 0 || !voxel.kinds.onSurface(node))
            continue;
        for (std::size_t axis = 0; axis < 3; ++axis)
            if (const double c = coordinate[axis][node]; std::isfinite(c))
                low[axis] = std::min(low[axis], c);
    }
    return low;
}

/// The voxel nodes in the cells around one cell.
class Surroundings
{
public:
    Surroundings(const VoxelTarget& voxel, const CellGrid& grid)
        : points_(voxel.points)
    {
        for (int k = 1; k <= voxel.nodeOfCompact.count(); ++k)
        {
            const int found = voxel.nodeOfCompact[k];
            const std::uint64_t key = found != 0 ? grid.keyOf(voxel.points, voxel.kinds, found, 0) : 0;
            if (key != 0)
                order_.push_back({key, found, 0});
        }
        sortByKey(order_);
    }

    /// Collects the nodes around a cell. Cells come in ascending order.
    void collect(std::uint64_t cell)
    {
        x.clear();
        y.clear();
        z.clear();
        node.clear();
        std::size_t line = 0;
        for (const std::uint64_t z0 : {cell - CellGrid::stepZ, cell, cell + CellGrid::stepZ})
            for (const std::uint64_t middle : {z0 - CellGrid::stepY, z0, z0 + CellGrid::stepY})
            {
                std::size_t& at = reached_[line++];
                while (at < order_.size() && order_[at].key < middle - CellGrid::stepX)
                    ++at;
                for (std::size_t k = at; k < order_.size() && order_[k].key <= middle + CellGrid::stepX; ++k)
                {
                    const int found = order_[k].node;
                    x.push_back(points_.x[found]);
                    y.push_back(points_.y[found]);
                    z.push_back(points_.z[found]);
                    node.push_back(found);
                }
            }
    }

    std::vector<double> x, y, z;
    std::vector<int> node;

private:
    NodePoints points_;
    std::vector<CellNode> order_;
    std::array<std::size_t, 9> reached_{};
};

class TenNearest
{
public:
    explicit TenNearest(double halfWidth)
        : halfWidth_(halfWidth)
        , surelyInside_(0.999 * halfWidth * (0.999 * halfWidth))
        , guess_(surelyInside_)
    {
    }

    /// Writes the ten nodes nearest to a point, of those in its cube, to `row`; false when there are fewer.
    bool find(const Surroundings& around, double x, double y, double z, int* row)
    {
        const std::size_t total = around.node.size();
        near_.resize(total + 1);
        distance_.resize(total);
        // Two loops: the first is one that compilers turn into vector operations.
        for (std::size_t k = 0; k < total; ++k)
        {
            const double dx = around.x[k] - x, dy = around.y[k] - y, dz = around.z[k] - z;
            distance_[k] = dx * dx + dy * dy + dz * dz;
        }
        std::size_t count = 0;
        for (std::size_t k = 0; k < total; ++k)
        {
            near_[count] = {distance_[k], around.node[k]};
            count += static_cast<std::size_t>(distance_[k] <= guess_); // not predictable, hence no branch
        }
        if (count < ten)
            count = collectCube(around, x, y, z);
        if (count < ten)
            return false;
        const std::array<DistantNode, ten> nearest = firstTen({near_.data(), count});
        for (std::size_t k = 0; k < ten; ++k)
            row[k + 1] = nearest[k].node;
        guess_ = std::min(1.5 * nearest[ten - 1].squaredDistance, surelyInside_);
        return true;
    }

private:
    std::size_t collectCube(const Surroundings& around, double x, double y, double z)
    {
        const double h = treePointHalfWidth;
        const auto reaches = [&](double p, double centre) { return p - h <= centre + halfWidth_ && p + h >= centre - halfWidth_; };
        std::size_t count = 0;
        for (std::size_t k = 0; k < around.node.size(); ++k)
        {
            if (!reaches(around.x[k], x) || !reaches(around.y[k], y) || !reaches(around.z[k], z))
                continue;
            const double dx = around.x[k] - x, dy = around.y[k] - y, dz = around.z[k] - z;
            near_[count++] = {dx * dx + dy * dy + dz * dz, around.node[k]};
        }
        return count;
    }

    /// isNearer, for distances that are numbers.
    static bool isCloser(const DistantNode& a, const DistantNode& b)
    {
        return a.squaredDistance < b.squaredDistance || (a.squaredDistance == b.squaredDistance && a.node < b.node);
    }

    static std::array<DistantNode, ten> firstTen(std::span<const DistantNode> nodes)
    {
        std::array<DistantNode, ten> first;
        std::size_t held = 0;
        for (const DistantNode& item : nodes)
        {
            if (held == ten && !isCloser(item, first[ten - 1]))
                continue;
            std::size_t to = held < ten ? held++ : ten - 1;
            for (; to > 0 && isCloser(item, first[to - 1]); --to)
                first[to] = first[to - 1];
            first[to] = item;
        }
        return first;
    }

    double halfWidth_;
    double surelyInside_; // no farther than this, squared: inside the cube, whatever is rounded
    double guess_;
    std::vector<double> distance_;
    std::vector<DistantNode> near_;
};

} // namespace

CutCellNeighbours findCutCellNeighbours(const NodePoints& points, const NodeKinds& kinds, const VoxelTarget& voxel, int rowTotal)
{
    const int nodeTotal = kinds.part.count();
    CutCellNeighbours rows{makeNumbered<int>(nodeTotal), RowTable<int>(rowTotal, cutCellNeighbourTotal + 1)};
    const double halfWidth = cubeHalfWidth(voxel, 0);
    const bool hasCells = voxel.tree && halfWidth > 0.0 && std::isfinite(halfWidth);
    // Larger than the half-width by far more than rounding and the half-width of points in the tree can add.
    const CellGrid grid(hasCells ? lowestCorner(voxel) : std::array<double, 3>{}, 1.001 * halfWidth + 4 * treePointHalfWidth);

    PlainCutCellSearch plain(points, kinds, voxel);
    std::vector<CellNode> seeking;
    int row = 0;
    for (int node = 1; node <= nodeTotal; ++node)
    {
        if (!kinds.onSurface(node))
            continue;
        rows.rowOfNode[node] = ++row;
        const std::uint64_t key = hasCells ? grid.keyOf(points, kinds, node, 2) : 0;
        if (key != 0)
            seeking.push_back({key, node, row});
        else
            plain.find(node, 0, rows.neighbour[row]);
    }
    if (seeking.empty())
        return rows;

    sortByKey(seeking);
    Surroundings around(voxel, grid);
    TenNearest nearest(halfWidth);
    std::uint64_t cell = 0;
    for (const CellNode& seeker : seeking)
    {
        if (seeker.key != cell)
            around.collect(cell = seeker.key);
        int* const neighbour = rows.neighbour[seeker.row];
        if (!nearest.find(around, points.x[seeker.node], points.y[seeker.node], points.z[seeker.node], neighbour))
            plain.find(seeker.node, 1, neighbour);
    }
    return rows;
}

} // namespace tav3d::meshmapping
