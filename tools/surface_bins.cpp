#include "surface_bins.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace tav3d::tools
{

namespace
{

/// Whether the plane of triangle abc passes the cube with the given centre and half edge.
bool planeTouchesCube(Vec3 a, Vec3 normal, Vec3 centre, double half)
{
    return std::abs(dot(normal, centre - a)) <= half * (std::abs(normal.x) + std::abs(normal.y) + std::abs(normal.z));
}

/// Calls visit(slot) for every listed cell that the triangle may touch.
template <class Visit>
void forCellsNear(const BlockGrid& grid, const std::vector<std::int32_t>& slotOfCell, Vec3 a, Vec3 b, Vec3 c, Visit visit)
{
    const double reach = 1e-3 * grid.cellSize; // covers the sampling shift
    const Vec3 normal = cross(b - a, c - a);
    std::array<std::int32_t, 3> low{}, high{};
    for (int axis = 0; axis < 3; ++axis)
    {
        const auto [least, most] = std::minmax({a[axis], b[axis], c[axis]});
        const double top = grid.cells[axis] - 1;
        low[axis] = static_cast<std::int32_t>(std::clamp(std::floor((least - reach - grid.origin[axis]) / grid.cellSize), 0.0, top));
        high[axis] = static_cast<std::int32_t>(std::clamp(std::floor((most + reach - grid.origin[axis]) / grid.cellSize), 0.0, top));
    }
    const Lattice centres = grid.centres();
    for (std::int32_t k = low[2]; k <= high[2]; ++k)
    {
        for (std::int32_t j = low[1]; j <= high[1]; ++j)
        {
            for (std::int32_t i = low[0]; i <= high[0]; ++i)
            {
                const std::int32_t slot = slotOfCell[grid.cellIndex(i, j, k)];
                if (slot >= 0 && planeTouchesCube(a, normal, centres.point(i, j, k), 0.5 * grid.cellSize + reach))
                {
                    visit(slot);
                }
            }
        }
    }
}

/// On which side of the edge a-b the line p + s*d passes, computed from the lower vertex number to the higher.
bool passesLeft(std::int32_t a, std::int32_t b, const TriangleMesh& mesh, Vec3 p, Vec3 d)
{
    const bool flipped = a > b;
    const Vec3 low = mesh.vertex[flipped ? b : a] - p;
    const Vec3 high = mesh.vertex[flipped ? a : b] - p;
    return (dot(d, cross(low, high)) >= 0) != flipped;
}

} // namespace

SurfaceBins::SurfaceBins(const BlockGrid& grid, std::span<const TriangleMesh* const> surfaces, std::span<const std::int32_t> cells)
    : surfaces_(surfaces)
    , start_(cells.size() + 1)
{
    std::vector<std::int32_t> slotOfCell(grid.cellTotal(), -1);
    for (std::size_t s = 0; s < cells.size(); ++s)
    {
        slotOfCell[cells[s]] = static_cast<std::int32_t>(s);
    }
    const auto forAll = [&](auto visit)
    {
        for (std::size_t s = 0; s < surfaces_.size(); ++s)
        {
            const TriangleMesh& mesh = *surfaces_[s];
            for (std::size_t t = 0; t < mesh.triangle.size(); ++t)
            {
                const auto& corner = mesh.triangle[t];
                forCellsNear(grid, slotOfCell, mesh.vertex[corner[0]], mesh.vertex[corner[1]], mesh.vertex[corner[2]],
                             [&](std::int32_t slot) {
                                 visit(slot, Entry{static_cast<std::int32_t>(s), static_cast<std::int32_t>(t)});
                             });
            }
        }
    };
    forAll([&](std::int32_t slot, Entry) { ++start_[slot + 1]; });
    for (std::size_t s = 0; s < cells.size(); ++s)
    {
        start_[s + 1] += start_[s];
    }
    entries_.resize(start_.back());
    std::vector<std::size_t> next(start_.begin(), start_.end() - 1);
    forAll([&](std::int32_t slot, Entry entry) { entries_[next[slot]++] = entry; });
}

std::span<const SurfaceBins::Crossing> SurfaceBins::crossings(std::size_t slot, int surface, Vec3 p, Vec3 q)
{
    found_.clear();
    const TriangleMesh& mesh = *surfaces_[surface];
    const Vec3 d = q - p;
    for (std::size_t e = start_[slot]; e < start_[slot + 1]; ++e)
    {
        if (entries_[e].surface != surface)
        {
            continue;
        }
        const auto& t = mesh.triangle[entries_[e].triangle];
        const bool left = passesLeft(t[0], t[1], mesh, p, d);
        if (passesLeft(t[1], t[2], mesh, p, d) != left || passesLeft(t[2], t[0], mesh, p, d) != left)
        {
            continue;
        }
        const Vec3 a = mesh.vertex[t[0]];
        const Vec3 normal = cross(mesh.vertex[t[1]] - a, mesh.vertex[t[2]] - a);
        const double fromP = dot(normal, p - a);
        const double fromQ = dot(normal, q - a);
        if ((fromP >= 0) != (fromQ >= 0))
        {
            found_.push_back({fromP / (fromP - fromQ), (1 / length(normal)) * normal});
        }
    }
    std::sort(found_.begin(), found_.end(), [](const Crossing& x, const Crossing& y) { return x.t < y.t; });
    return found_;
}

} // namespace tav3d::tools
