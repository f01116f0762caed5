#include "engine_mesh.h"

#include "TAVFEM_ElemLib.h"
#include "TAVOptKer.h"
#include "cell_geometry.h"
#include "common/exact_math.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <span>

namespace tav3d::tools
{

using opensuite::CellKind;

namespace
{

/// Elements have no state: one of each kind serves all cells.
const CFEM_Elem3D& elementOf(CellKind kind)
{
    static const std::unique_ptr<CFEM_Elem3D> elements[] = {std::unique_ptr<CFEM_Elem3D>(CFEM_Elem3D_Factory().Make_TETRA4()),
                                                            std::unique_ptr<CFEM_Elem3D>(CFEM_Elem3D_Factory().Make_PYRAMID5()),
                                                            std::unique_ptr<CFEM_Elem3D>(CFEM_Elem3D_Factory().Make_PRISM6()),
                                                            std::unique_ptr<CFEM_Elem3D>(CFEM_Elem3D_Factory().Make_HEXA8())};
    return *elements[static_cast<std::size_t>(kind)];
}

struct CellBox
{
    Vec3 low, high;
};

/// CellBox around the corners, wider by what rounding may take from a point on it.
CellBox boxAround(std::span<const Vec3> corner)
{
    CellBox box{corner[0], corner[0]};
    for (const Vec3& p : corner)
        for (int axis = 0; axis < 3; ++axis)
        {
            box.low[axis] = std::min(box.low[axis], p[axis]);
            box.high[axis] = std::max(box.high[axis], p[axis]);
        }
    const double margin = 1e-6 * length(box.high - box.low);
    for (int axis = 0; axis < 3; ++axis)
    {
        box.low[axis] -= margin;
        box.high[axis] += margin;
    }
    return box;
}

double distanceToSegment(Vec3 p, Vec3 a, Vec3 b)
{
    const Vec3 along = b - a;
    const double square = dot(along, along);
    const double t = square > 0 ? std::clamp(dot(p - a, along) / square, 0.0, 1.0) : 0.0;
    return length(p - (a + t * along));
}

/// Over the triangle the distance to its plane, else that to the nearest edge.
double distanceToTriangle(Vec3 p, Vec3 a, Vec3 b, Vec3 c)
{
    const Vec3 normal = cross(b - a, c - a);
    const double size = length(normal);
    const bool isOver =
        size > 0 && dot(cross(b - a, p - a), normal) >= 0 && dot(cross(c - b, p - b), normal) >= 0 && dot(cross(a - c, p - c), normal) >= 0;
    if (isOver)
        return std::abs(dot(p - a, normal)) / size;
    return std::min({distanceToSegment(p, a, b), distanceToSegment(p, b, c), distanceToSegment(p, c, a)});
}

} // namespace

EngineMesh::EngineMesh(const FieldGrid& grid)
    : grid_(grid)
{
    const auto numbered = [](const std::vector<float>& values)
    {
        std::vector<double> out(1, 0.0);
        out.insert(out.end(), values.begin(), values.end());
        return out;
    };
    nodeX = numbered(grid.x);
    nodeY = numbered(grid.y);
    nodeZ = numbered(grid.z);

    const opensuite::CellList& cells = grid.cells;
    entry_.reserve(cells.node.size() + cells.size());
    cellX.assign(cells.size() + 1, 0.0);
    cellY = cellZ = cellX;
    for (std::size_t c = 0; c < cells.size(); ++c)
    {
        const int count = nodeCount(cells.kind[c]);
        entry_.push_back(count);
        Vec3 sum;
        for (std::int64_t k = cells.start[c]; k < cells.start[c + 1]; ++k)
        {
            entry_.push_back(cells.node[static_cast<std::size_t>(k)]);
            sum = sum + node(entry_.back());
        }
        cellX[c + 1] = sum.x / count;
        cellY[c + 1] = sum.y / count;
        cellZ[c + 1] = sum.z / count;
    }
    row.reserve(cells.size() + 1);
    row.push_back(nullptr);
    int* next = entry_.data();
    for (std::size_t c = 0; c < cells.size(); ++c)
    {
        row.push_back(next);
        next += 1 + next[0];
    }
}

EngineMesh::~EngineMesh() = default;

double EngineMesh::smallestShape(int cell, Vec3 p) const
{
    const int* const nodes = row[static_cast<std::size_t>(cell)];
    const auto count = static_cast<std::size_t>(nodes[0]);
    std::array<double, 8> X{}, Y{}, Z{}, N{};
    std::array<Vec3, 8> corner{};
    for (std::size_t k = 0; k < count; ++k)
    {
        corner[k] = node(nodes[k + 1]);
        X[k] = corner[k].x;
        Y[k] = corner[k].y;
        Z[k] = corner[k].z;
    }
    const CellBox box = boxAround({corner.data(), count});
    for (int axis = 0; axis < 3; ++axis)
        if (p[axis] < box.low[axis] || p[axis] > box.high[axis])
            return -std::numeric_limits<double>::infinity();
    elementOf(grid_.cells.kind[static_cast<std::size_t>(cell) - 1]).GetShapeFunction(p.x, p.y, p.z, X.data(), Y.data(), Z.data(), N.data());
    return *std::min_element(N.begin(), N.begin() + nodes[0]);
}

void EngineMesh::needTree() const
{
    if (tree_)
        return;
    tree_ = std::make_unique<CTAVOptKer>();
    CellBox all{{1, 1, 1}, {-1, -1, -1}};
    std::vector<CellBox> boxes;
    boxes.reserve(row.size());
    std::vector<Vec3> corner;
    for (int cell = 1; cell <= cellTotal(); ++cell)
    {
        const int* const nodes = row[static_cast<std::size_t>(cell)];
        corner.clear();
        for (int k = 1; k <= nodes[0]; ++k)
            corner.push_back(node(nodes[k]));
        const CellBox box = boxAround(corner);
        for (int axis = 0; axis < 3; ++axis)
        {
            all.low[axis] = cell == 1 ? box.low[axis] : std::min(all.low[axis], box.low[axis]);
            all.high[axis] = cell == 1 ? box.high[axis] : std::max(all.high[axis], box.high[axis]);
        }
        boxes.push_back(box);
    }
    low_ = all.low;
    high_ = all.high;
    tree_->SetADTreeRange(all.high.x, all.high.y, all.high.z, all.low.x, all.low.y, all.low.z, 1, 10000, 200000);
    for (std::size_t c = 0; c < boxes.size(); ++c)
        tree_->AddSurfaceToADTree(static_cast<int>(c) + 1, boxes[c].high.x, boxes[c].high.y, boxes[c].high.z, boxes[c].low.x,
                                  boxes[c].low.y, boxes[c].low.z);
}

/// Cells whose boxes come within `reach` of the point on every axis, ascending; valid until the next call.
std::span<const int> EngineMesh::cellsNear(Vec3 p, double reach) const
{
    needTree();
    int count = 0;
    const int* const found =
        tree_->SearchNearBlockID(p.x - reach, p.y - reach, p.z - reach, p.x + reach, p.y + reach, p.z + reach, count, 0);
    return {found, static_cast<std::size_t>(count)};
}

int EngineMesh::cellThatHolds(Vec3 p) const
{
    int best = 0;
    double depth = onSurface;
    for (const int cell : cellsNear(p, 0.0))
    {
        const double smallest = smallestShape(cell, p);
        if (smallest > depth || (best == 0 && smallest == depth))
        {
            best = cell;
            depth = smallest;
        }
    }
    return best;
}

void EngineMesh::keepNearest(std::span<const int> cells, Vec3 p, std::pair<int, double>& nearest) const
{
    for (const int cell : cells)
        if (const double distance = distanceToSurface(cell, p); distance < nearest.second)
            nearest = {cell, distance};
}

std::pair<int, double> EngineMesh::nearestCell(Vec3 p) const
{
    needTree();
    // Some cell near the place where the box around the mesh is nearest; its distance bounds that of the nearest cell.
    Vec3 onBox;
    for (int axis = 0; axis < 3; ++axis)
        onBox[axis] = std::clamp(p[axis], low_[axis], high_[axis]);
    std::pair<int, double> nearest{0, std::numeric_limits<double>::infinity()};
    for (double reach = length(high_ - low_) / common::fractionalPower(cellTotal(), 1.0 / 3.0); nearest.first == 0; reach *= 2)
        keepNearest(cellsNear(onBox, reach), p, nearest);
    const double bound = nearest.second;
    nearest = {0, std::numeric_limits<double>::infinity()};
    keepNearest(cellsNear(p, bound), p, nearest); // boxes are a little wider than their cells: rounding loses none
    return nearest;
}

int EngineMesh::nodeAt(int cell, Vec3 p, double reach) const
{
    const int* const nodes = row[static_cast<std::size_t>(cell)];
    int nearest = 0;
    for (int k = 1; k <= nodes[0]; ++k)
        if (const double distance = length(node(nodes[k]) - p); distance <= reach && (nearest == 0 || distance < reach))
        {
            nearest = nodes[k];
            reach = distance;
        }
    return nearest;
}

double EngineMesh::distanceToSurface(int cell, Vec3 p) const
{
    const int* const nodes = row[static_cast<std::size_t>(cell)];
    double nearest = std::numeric_limits<double>::infinity();
    for (const auto& face : facesOf(grid_.cells.kind[static_cast<std::size_t>(cell) - 1]))
    {
        const Vec3 a = node(nodes[1 + face[0]]), b = node(nodes[1 + face[1]]), c = node(nodes[1 + face[2]]);
        nearest = std::min(nearest, distanceToTriangle(p, a, b, c));
        if (face[3] >= 0)
            nearest = std::min(nearest, distanceToTriangle(p, a, c, node(nodes[1 + face[3]])));
    }
    return nearest;
}

} // namespace tav3d::tools
