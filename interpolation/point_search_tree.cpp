#include "interpolation/point_search_tree.h"

#include "interpolation/tree_layout.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <new>
#include <numeric>
#include <span>

using namespace tav3d::interpolation;
using tav3d::common::zeroedArray;

namespace
{

constexpr std::int32_t initialCapacity = 10000; // of points and of tree nodes
constexpr std::int32_t leafCapacity = 8;
constexpr std::int32_t internalNode = -1;
constexpr std::int32_t rootNode = 1;

constexpr std::int64_t grownCapacity(std::int32_t capacity)
{
    return std::max<std::int64_t>(3 * std::int64_t{capacity} / 2, 100);
}

/// Whether a split needs a larger table.
constexpr bool isShort(std::int32_t nodes, std::int32_t capacity)
{
    return nodes > capacity - 16;
}

/// Searches growing cubes until one holds at least `wanted` points or the largest has been searched.
void searchGrowingBox(CPointSearchTree& tree, double x, double y, double z, std::size_t wanted, std::vector<std::int32_t>& list)
{
    for (const double r : searchRadii)
    {
        tree.SearchBox(x, y, z, r, list);
        if (list.size() >= wanted)
            return;
    }
}

} // namespace

CPointSearchTree::CPointSearchTree(double xMin, double xMax, double yMin, double yMax, double zMin, double zMax)
    : m_nTreeNode(1)
    , m_nTreeNodeCapacity(initialCapacity)
    , m_nLastPoint(-1)
    , m_pTreeNode(zeroedArray<TreeNode>(initialCapacity))
    , m_pVisitList(zeroedArray<std::int32_t>(initialCapacity))
    , m_pNodeCenter(zeroedArray<Point>(initialCapacity))
    , m_dHalfSize(0.5 * std::max({xMax - xMin, yMax - yMin, zMax - zMin}))
    , m_dXMin(xMin)
    , m_dXMax(xMax)
    , m_dYMin(yMin)
    , m_dYMax(yMax)
    , m_dZMin(zMin)
    , m_dZMax(zMax)
    , m_bCanGrow(1)
{
    if (!m_pTreeNode || !m_pVisitList || !m_pNodeCenter)
        throw std::bad_alloc();
    m_Point.reserve(initialCapacity);
}

void CPointSearchTree::Insert(double x, double y, double z)
{
    // A point that is not finite lies in no cube, and its coordinates would spoil the centroid of its leaf: it only gets a number.
    bool enterLeaf = std::isfinite(x) && std::isfinite(y) && std::isfinite(z);
    std::int32_t leaf = rootNode;
    if (enterLeaf)
    {
        leaf = leafOf(x, y, z, rootNode);
        while (m_pTreeNode[leaf].state == leafCapacity)
        {
            // DELIBERATE tree-growth-pause: the table is not enlarged at two splits in a row; the point is then dropped without a number.
            if (isShort(m_nTreeNode, m_nTreeNodeCapacity))
            {
                if (!growNodeTable())
                    return;
                m_bCanGrow = 0;
            }
            else
                m_bCanGrow = 1;

            if (!splitLeaf(leaf))
            {
                enterLeaf = false;
                break;
            }
            leaf = leafOf(x, y, z, leaf);
        }
    }

    // DELIBERATE tree-duplicate-number: a duplicate is numbered, so that numbers stay equal to insertion positions, but enters no leaf.
    if (enterLeaf)
    {
        const TreeNode& node = m_pTreeNode[leaf];
        enterLeaf = !isDuplicate(m_Point, std::span(node.slot).first(static_cast<std::size_t>(node.state)), {x, y, z}, squaredTolerance());
    }
    ++m_nLastPoint;
    m_nVisited = 0;
    m_pQueries.reset();
    if (enterLeaf)
    {
        TreeNode& node = m_pTreeNode[leaf];
        node.slot[static_cast<std::size_t>(node.state++)] = m_nLastPoint;
    }

    if (m_Point.size() == m_Point.capacity())
        m_Point.reserve(3 * m_Point.size() / 2);
    m_Point.push_back({x, y, z});
}

void CPointSearchTree::InsertAll(const NumberedPoints& points)
{
    constexpr int mostAtOnce = 100'000'000; // so many cannot need more nodes than there are numbers
    const bool isNew = m_nLastPoint < 0 && m_nTreeNode == 1 && m_nTreeNodeCapacity == initialCapacity && m_bCanGrow != 0;
    if (isNew && points.count() > leafCapacity && points.count() <= mostAtOnce)
        fillAtOnce(points);
    else
        for (int i = 1; i <= points.count(); ++i)
            Insert(points[i].x, points[i].y, points[i].z);
}

/// Makes of an empty tree what the insertion of the points one after the other would make of it.
void CPointSearchTree::fillAtOnce(const NumberedPoints& points)
{
    std::size_t room = m_Point.capacity();
    while (room < static_cast<std::size_t>(points.count()))
        room = 3 * room / 2;
    m_Point.reserve(room);
    for (int i = 1; i <= points.count(); ++i)
        m_Point.push_back(points[i]);
    m_nLastPoint = points.count() - 1;
    const TreeLayout layout(m_Point, squaredTolerance());

    // Nodes are numbered, and the table grows, in the order in which insertions split leaves. A table that has grown is not short at the next
    // split: the pause between two growths never shows.
    tav3d::common::LargePageVector<std::int32_t> firstChild(layout.splits.size());
    std::int32_t capacity = m_nTreeNodeCapacity;
    for (const std::int32_t split : layout.splitAt)
    {
        if (split == TreeLayout::none)
            continue;
        m_bCanGrow = isShort(m_nTreeNode, capacity) ? 0 : 1;
        if (m_bCanGrow == 0)
            capacity = static_cast<std::int32_t>(grownCapacity(capacity));
        if (split == TreeLayout::refused)
            continue;
        firstChild[static_cast<std::size_t>(split)] = m_nTreeNode + 1;
        m_nTreeNode += leafCapacity;
    }
    if (capacity != m_nTreeNodeCapacity)
    {
        m_pTreeNode = zeroedArray<TreeNode>(static_cast<std::size_t>(capacity));
        m_pNodeCenter = zeroedArray<Point>(static_cast<std::size_t>(capacity));
        m_pVisitList = zeroedArray<std::int32_t>(static_cast<std::size_t>(capacity));
        if (!m_pTreeNode || !m_pNodeCenter || !m_pVisitList)
            throw std::bad_alloc();
        m_nTreeNodeCapacity = capacity;
    }

    const auto nodeOf = [&](std::int32_t parent, std::uint8_t octant)
    { return parent == TreeLayout::none ? rootNode : firstChild[static_cast<std::size_t>(parent)] + octant; };
    for (std::size_t s = 0; s < layout.splits.size(); ++s)
    {
        const TreeLayout::Split& split = layout.splits[s];
        const std::int32_t node = nodeOf(split.parent, split.octant);
        m_pTreeNode[node].state = internalNode;
        std::iota(m_pTreeNode[node].slot.begin(), m_pTreeNode[node].slot.end(), firstChild[s]);
        m_pNodeCenter[node] = split.centre;
    }
    for (const TreeLayout::Leaf& leaf : layout.leaves)
        m_pTreeNode[nodeOf(leaf.parent, leaf.octant)] = {leaf.count, leaf.slot};
}

std::int32_t CPointSearchTree::leafOf(double x, double y, double z, std::int32_t from) const
{
    std::int32_t node = from;
    while (m_pTreeNode[node].state == internalNode)
        node = m_pTreeNode[node].slot[static_cast<std::size_t>(octantOf(m_pNodeCenter[node], {x, y, z}))];
    return node;
}

double CPointSearchTree::squaredTolerance() const
{
    const double tolerance = 1e-6 * std::min(1.0, m_dHalfSize);
    return tolerance * tolerance;
}

/// Turns a full leaf into an internal node. False when the centroid separates none of its points (they lie within rounding of each other,
/// or their sum overflows): no number of splits would make room.
bool CPointSearchTree::splitLeaf(std::int32_t leaf)
{
    TreeNode& node = m_pTreeNode[leaf];
    Point centre;
    std::array<std::uint8_t, leafCapacity> childOf{};
    if (!centreOf(m_Point, node.slot, centre, childOf))
        return false;

    const std::int32_t firstChild = m_nTreeNode + 1;
    for (std::size_t s = 0; s < leafCapacity; ++s)
    {
        TreeNode& child = m_pTreeNode[firstChild + childOf[s]];
        child.slot[static_cast<std::size_t>(child.state++)] = node.slot[s];
    }
    for (std::int32_t o = 0; o < leafCapacity; ++o)
        node.slot[static_cast<std::size_t>(o)] = firstChild + o;
    m_nTreeNode += leafCapacity;
    node.state = internalNode;
    m_pNodeCenter[leaf] = centre;
    return true;
}

/// Enlarges the node table by half, at least to 100 nodes. False when growth is paused or there is no memory for it; the tree is then
/// unchanged.
bool CPointSearchTree::growNodeTable()
{
    if (!m_bCanGrow)
        return false;
    const std::int64_t capacity = grownCapacity(m_nTreeNodeCapacity);
    if (capacity > std::numeric_limits<std::int32_t>::max())
        return false;

    const auto size = static_cast<std::size_t>(capacity);
    auto treeNode = zeroedArray<TreeNode>(size);
    auto nodeCenter = zeroedArray<Point>(size);
    auto visitList = zeroedArray<std::int32_t>(size);
    if (!treeNode || !nodeCenter || !visitList)
        return false;
    std::copy_n(m_pTreeNode.get(), m_nTreeNode + 1, treeNode.get());
    std::copy_n(m_pNodeCenter.get(), m_nTreeNode + 1, nodeCenter.get());
    m_pTreeNode = std::move(treeNode);
    m_pNodeCenter = std::move(nodeCenter);
    m_pVisitList = std::move(visitList);
    m_nTreeNodeCapacity = static_cast<std::int32_t>(capacity);
    return true;
}

void CPointSearchTree::SearchBox(double x, double y, double z, double r, std::vector<std::int32_t>& list)
{
    list.clear();
    std::int32_t listed = 0;
    m_pVisitList[listed++] = rootNode;
    for (std::int32_t next = 0; next < listed; ++next)
    {
        const std::int32_t n = m_pVisitList[next];
        const TreeNode& node = m_pTreeNode[n];
        if (node.state != internalNode)
        {
            for (std::int32_t s = 0; s < node.state; ++s)
            {
                const std::int32_t number = node.slot[static_cast<std::size_t>(s)];
                const Point& p = m_Point[static_cast<std::size_t>(number)];
                if (std::abs(x - p.x) < r && std::abs(y - p.y) < r && std::abs(z - p.z) < r)
                    list.push_back(number);
            }
            continue;
        }

        const Point& centre = m_pNodeCenter[n];
        const bool overlapX[2] = {x - r <= centre.x, x + r >= centre.x}; // lower side, upper side
        const bool overlapY[2] = {y - r <= centre.y, y + r >= centre.y};
        const bool overlapZ[2] = {z - r <= centre.z, z + r >= centre.z};
        for (std::size_t o = 0; o < leafCapacity; ++o)
            if (overlapX[o & 1] && overlapY[(o >> 1) & 1] && overlapZ[(o >> 2) & 1])
                m_pVisitList[listed++] = node.slot[o];
    }
    m_nVisited += listed;
}

/// Whether there is an index of the points to answer from. It is built when the nodes visited since the last insertion are so many that
/// mixing insertions and queries never costs much more than the visits would.
bool CPointSearchTree::hasIndex()
{
    if (!m_pQueries && m_nVisited >= m_nLastPoint / 4)
        BuildIndex();
    return m_pQueries != nullptr;
}

void CPointSearchTree::BuildIndex()
{
    tav3d::common::LargePageVector<std::int32_t> visited;
    visited.reserve(m_Point.size());
    std::int32_t listed = 0;
    m_pVisitList[listed++] = rootNode;
    for (std::int32_t next = 0; next < listed; ++next)
    {
        const TreeNode& node = m_pTreeNode[m_pVisitList[next]];
        const std::int32_t used = node.state == internalNode ? leafCapacity : node.state;
        if (node.state == internalNode)
            listed = static_cast<std::int32_t>(std::copy_n(node.slot.begin(), used, &m_pVisitList[listed]) - m_pVisitList.get());
        else
            visited.insert(visited.end(), node.slot.begin(), node.slot.begin() + used);
    }
    m_pQueries = std::make_unique<TreeQueries>(m_Point, visited);
}

// DELIBERATE search-range: cubes end at half-width 9.765625; farther points are not found.
// DELIBERATE nearest-counts-from-zero: the number is the position of insertion from 0, one less than the cell number; the distance is
// squared.
int CPointSearchTree::SearchNearestPointIndex(double x, double y, double z, double& distance)
{
    return hasIndex() ? m_pQueries->nearest({x, y, z}, distance) : VisitNearestPointIndex(x, y, z, distance);
}

int CPointSearchTree::VisitNearestPointIndex(double x, double y, double z, double& distance)
{
    std::vector<std::int32_t> list;
    searchGrowingBox(*this, x, y, z, 1, list);
    distance = -1.0;
    std::int32_t nearest = -1;
    for (const std::int32_t number : list)
    {
        const double squared = squaredDistance(m_Point[static_cast<std::size_t>(number)], {x, y, z});
        if (nearest < 0 || squared < distance)
        {
            nearest = number;
            distance = squared;
        }
    }
    return nearest;
}

int CPointSearchTree::SearchOnlyNearest(double x, double y, double z)
{
    return hasIndex() ? m_pQueries->onlyNearest({x, y, z}) : 0;
}

int CPointSearchTree::SearchOnlyNearest(double x, double y, double z, const CellNodes& cells, bool& isInBox)
{
    isInBox = false;
    return hasIndex() ? m_pQueries->onlyNearest({x, y, z}, cells, isInBox) : 0;
}

void CPointSearchTree::ForgetCellBoxes()
{
    if (m_pQueries)
        m_pQueries->forgetBoxes();
}

// DELIBERATE candidates-need-two: the cube widens until it holds two points, so that a single near centre is not the only candidate.
int CPointSearchTree::SearchCandidates(double x, double y, double z, Candidates& result)
{
    if (!hasIndex())
        return VisitCandidates(x, y, z, result);
    const std::size_t count = m_pQueries->candidates({x, y, z}, result.number);
    if (count > 0)
        result.count = static_cast<std::int32_t>(count);
    return 1;
}

int CPointSearchTree::VisitCandidates(double x, double y, double z, Candidates& result)
{
    std::vector<std::int32_t> list;
    searchGrowingBox(*this, x, y, z, 2, list);
    if (list.empty())
        return 1;

    std::vector<std::int32_t> number(list.size() + 1); // entries 1..n, as the sort expects them
    std::vector<double> key(list.size() + 1);
    for (std::size_t i = 0; i < list.size(); ++i)
    {
        number[i + 1] = list[i] + 1;
        key[i + 1] = squaredDistance(m_Point[static_cast<std::size_t>(list[i])], {x, y, z});
    }
    sortByKey(key, number, list.size());

    const std::size_t count = std::min(list.size(), result.number.size());
    result.count = static_cast<std::int32_t>(count);
    std::copy_n(number.begin() + 1, count, result.number.begin());
    return 1;
}
