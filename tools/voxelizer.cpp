#include "voxelizer.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace tav3d::tools
{

namespace
{

/// Twice the signed area of (a, b, p) in the plane, computed from the lower vertex number to the higher, so that the two triangles at an edge see
/// exactly opposite values and a line near the edge hits exactly one of them.
struct Edge2
{
    double ax, ay, dx, dy;
    bool flipped;

    Edge2(std::int32_t a, std::int32_t b, const Vec3& pa, const Vec3& pb, int u, int v)
        : flipped(a > b)
    {
        const Vec3& low = flipped ? pb : pa;
        const Vec3& high = flipped ? pa : pb;
        ax = low[u];
        ay = low[v];
        dx = high[u] - low[u];
        dy = high[v] - low[v];
    }

    [[nodiscard]] double value(double x, double y) const { return dx * (y - ay) - dy * (x - ax); }
    [[nodiscard]] bool onLeft(double x, double y) const { return (value(x, y) >= 0) != flipped; }
};

std::int32_t firstAtOrAfter(double coordinate, double first, double step, std::int32_t count)
{
    return static_cast<std::int32_t>(std::clamp(std::ceil((coordinate - first) / step), 0.0, double(count)));
}

/// Flips, for every crossing of a lattice line along `axis` with the surface, the first point behind it.
void markCrossings(const TriangleMesh& mesh, const Lattice& lattice, int axis, std::vector<std::uint8_t>& flips)
{
    const int u = (axis + 1) % 3;
    const int v = (axis + 2) % 3;
    std::array<std::size_t, 3> stride{1, std::size_t(lattice.count[0]), std::size_t(lattice.count[0]) * lattice.count[1]};
    for (const auto& t : mesh.triangle)
    {
        const Vec3 &a = mesh.vertex[t[0]], &b = mesh.vertex[t[1]], &c = mesh.vertex[t[2]];
        const Edge2 ab(t[0], t[1], a, b, u, v), bc(t[1], t[2], b, c, u, v), ca(t[2], t[0], c, a, u, v);
        const Vec3 n = cross(b - a, c - a);
        if (n[axis] == 0)
        {
            continue; // parallel to the lines
        }
        const auto [uLow, uHigh] = std::minmax({a[u], b[u], c[u]});
        const auto [vLow, vHigh] = std::minmax({a[v], b[v], c[v]});
        const std::int32_t i0 = firstAtOrAfter(uLow, lattice.first[u], lattice.step, lattice.count[u]);
        const std::int32_t j0 = firstAtOrAfter(vLow, lattice.first[v], lattice.step, lattice.count[v]);
        for (std::int32_t j = j0; j < lattice.count[v]; ++j)
        {
            const double y = lattice.first[v] + lattice.step * j;
            if (y > vHigh)
            {
                break;
            }
            for (std::int32_t i = i0; i < lattice.count[u]; ++i)
            {
                const double x = lattice.first[u] + lattice.step * i;
                if (x > uHigh)
                {
                    break;
                }
                const bool left = ab.onLeft(x, y);
                if (bc.onLeft(x, y) != left || ca.onLeft(x, y) != left)
                {
                    continue;
                }
                const double w = a[axis] - (n[u] * (x - a[u]) + n[v] * (y - a[v])) / n[axis];
                const std::int32_t k = firstAtOrAfter(w, lattice.first[axis], lattice.step, lattice.count[axis]);
                if (k < lattice.count[axis])
                {
                    flips[stride[u] * i + stride[v] * j + stride[axis] * k] ^= 1;
                }
            }
        }
    }
}

} // namespace

Fill fill(const TriangleMesh& mesh, const Lattice& lattice)
{
    std::vector<std::uint8_t> votes(lattice.size());
    std::vector<std::uint8_t> flips(lattice.size());
    for (int axis = 0; axis < 3; ++axis)
    {
        std::fill(flips.begin(), flips.end(), std::uint8_t{0});
        markCrossings(mesh, lattice, axis, flips);
        // parity before a point = parity before its predecessor on the line, flipped by the crossings between
        const std::size_t stride = axis == 0 ? 1 : axis == 1 ? lattice.count[0] : std::size_t(lattice.count[0]) * lattice.count[1];
        std::size_t at = 0;
        for (std::int32_t k = 0; k < lattice.count[2]; ++k)
        {
            for (std::int32_t j = 0; j < lattice.count[1]; ++j)
            {
                for (std::int32_t i = 0; i < lattice.count[0]; ++i, ++at)
                {
                    if ((axis == 0 ? i : axis == 1 ? j : k) > 0)
                    {
                        flips[at] ^= flips[at - stride];
                    }
                    votes[at] += flips[at];
                }
            }
        }
    }

    Fill result;
    for (std::uint8_t& vote : votes)
    {
        result.disputed += vote == 1 || vote == 2;
        vote = vote >= 2;
        result.insideTotal += vote;
    }
    result.inside = std::move(votes);
    return result;
}

} // namespace tav3d::tools
