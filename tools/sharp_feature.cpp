#include "sharp_feature.h"

#include <algorithm>
#include <cmath>

namespace tav3d::tools
{

namespace
{

constexpr double sharpCosine = 0.9;    // normals that differ by more than 26 degrees
constexpr double pullToMean = 1e-3;    // weight of the mean, relative to the planes
constexpr double largestOffset = 0.36; // from the centre, in cell edges: the cells around the point keep their volume
constexpr double borderReach = 0.6;    // a feature this near to the centre is drawn in; it may lie in a face of the cell
constexpr double borderInFace = 0.15;  // least distance of such a place from the face's sides, in cell edges
constexpr double leastTurn = 0.02;     // at the corners of convex pieces: twice the area between two sides, in squared cell edges

struct Point2
{
    double u, v;
};

double turn(Point2 a, Point2 b, Point2 c)
{
    return (b.u - a.u) * (c.v - b.v) - (b.v - a.v) * (c.u - b.u);
}

template <std::size_t n>
bool isConvex(const std::array<Point2, n>& polygon)
{
    for (std::size_t i = 0; i < n; ++i)
    {
        if (!(turn(polygon[i], polygon[(i + 1) % n], polygon[(i + 2) % n]) > leastTurn))
        {
            return false;
        }
    }
    return true;
}

} // namespace

std::optional<Vec3> sharpFeature(EdgeCuts& cuts, std::size_t slot, const std::array<std::int32_t, 8>& node, Vec3 centre, double cellSize)
{
    std::array<const EdgeCut*, 26> found{};
    int n = 0;
    const auto take = [&](const EdgeCut& cut)
    {
        if (cut.share >= 0 && dot(cut.normal, cut.normal) > 0)
        {
            found[n++] = &cut;
        }
    };
    for (int a = 0; a < 8; ++a)
    {
        for (int bit = 1; bit < 8; bit *= 2)
        {
            if (const EdgeCut* cut = (a & bit) == 0 ? cuts.find(node, a, a | bit) : nullptr)
            {
                take(*cut);
            }
        }
        take(cuts.ofCentre[slot][a]);
    }
    for (int face = 0; face < 6; ++face)
    {
        const auto f = faceCorners(face);
        const bool other = joinsOneAndThree(cuts, node, face);
        if (const EdgeCut* cut = cuts.find(node, f[other ? 1 : 0], f[other ? 3 : 2]))
        {
            take(*cut);
        }
    }

    double least = 1;
    Vec3 mean;
    for (int i = 0; i < n; ++i)
    {
        mean = mean + 1.0 / n * found[i]->point;
        for (int j = 0; j < i; ++j)
        {
            least = std::min(least, dot(found[i]->normal, found[j]->normal));
        }
    }
    if (n < 2 || least > sharpCosine)
    {
        return {};
    }

    // (sum n n^T + e I) x = sum n (n . (p - mean)), x from the mean; solved by Cramer's rule
    Vec3 row[3]{};
    Vec3 right;
    for (int i = 0; i < n; ++i)
    {
        const Vec3 normal = found[i]->normal;
        const double height = dot(normal, found[i]->point - mean);
        for (int a = 0; a < 3; ++a)
        {
            row[a] = row[a] + normal[a] * normal;
        }
        right = right + height * normal;
    }
    for (int a = 0; a < 3; ++a)
    {
        row[a][a] += pullToMean * n;
    }
    const double determinant = dot(row[0], cross(row[1], row[2]));
    // the matrix is symmetric, so its rows are its columns
    const Vec3 x{dot(right, cross(row[1], row[2])) / determinant, dot(row[0], cross(right, row[2])) / determinant,
                 dot(row[0], cross(row[1], right)) / determinant};
    const Vec3 place = mean + x;
    Vec3 inside = centre;
    for (int a = 0; a < 3; ++a)
    {
        const double offset = (place[a] - centre[a]) / cellSize;
        if (!(std::abs(offset) <= borderReach))
        {
            return {};
        }
        inside[a] += std::clamp(offset, -largestOffset, largestOffset) * cellSize;
    }
    return inside;
}

std::optional<Vec3> sharpPlaceInFace(EdgeCuts& cuts, const std::array<std::int32_t, 8>& node, const std::array<int, 4>& corners, int from,
                                     Vec3 origin, double cellSize)
{
    // the face in its plane: corner 0 at (0, 0), corner 1 at (1, 0), corner 3 at (0, 1)
    constexpr Point2 square[4] = {{0, 0}, {1, 0}, {1, 1}, {0, 1}};
    const auto axisOf = [](int bit) { return bit == 1 ? 0 : bit == 2 ? 1 : 2; };
    const int u = axisOf(corners[0] ^ corners[1]);
    const int v = axisOf(corners[0] ^ corners[3]);

    struct Tangent
    {
        Point2 at, normal;
    };
    std::array<const EdgeCut*, 4> side{};
    std::array<Tangent, 2> tangent{};
    int n = 0;
    for (int i = 0; i < 4; ++i)
    {
        side[i] = cuts.find(node, corners[i], corners[(i + 1) % 4]);
        if (side[i] == nullptr)
        {
            continue;
        }
        const Vec3 normal = side[i]->normal;
        const double size = std::sqrt(normal[u] * normal[u] + normal[v] * normal[v]);
        if (n == 2 || !(size > 0.2))
        {
            return {}; // cut more than once, guessed, or nearly parallel to the surface
        }
        const Vec3 at = 1 / cellSize * (side[i]->point - origin);
        tangent[n++] = {{at[u], at[v]}, {normal[u] / size, normal[v] / size}};
    }
    const auto& [a, b] = tangent;
    if (n != 2 || a.normal.u * b.normal.u + a.normal.v * b.normal.v > sharpCosine)
    {
        return {};
    }
    const double determinant = a.normal.u * b.normal.v - a.normal.v * b.normal.u;
    const double ha = a.normal.u * a.at.u + a.normal.v * a.at.v;
    const double hb = b.normal.u * b.at.u + b.normal.v * b.at.v;
    const Point2 place{(ha * b.normal.v - hb * a.normal.v) / determinant, (hb * a.normal.u - ha * b.normal.u) / determinant};
    const auto within = [](double x) { return x > borderInFace && x < 1 - borderInFace; };
    if (!within(place.u) || !within(place.v))
    {
        return {};
    }

    // each half has one cut side; on either side of the cut lies a triangle or a quadrilateral
    for (int half = 0; half < 2; ++half)
    {
        const int first = (from + 2 * half) % 4;
        const Point2 p = square[first], q = square[(first + 1) % 4], r = square[(first + 2) % 4];
        const bool firstCut = side[first] != nullptr;
        const EdgeCut* cut = firstCut ? side[first] : side[(first + 1) % 4];
        if (cut == nullptr)
        {
            return {};
        }
        const Vec3 at = 1 / cellSize * (cut->point - origin);
        const Point2 c{at[u], at[v]};
        const bool convex = firstCut ? isConvex<3>({p, c, place}) && isConvex<4>({c, q, r, place})
                                     : isConvex<3>({c, r, place}) && isConvex<4>({p, q, c, place});
        if (!convex)
        {
            return {};
        }
    }
    return origin + cellSize * [&]
    {
        Vec3 offset;
        offset[u] = place.u;
        offset[v] = place.v;
        return offset;
    }();
}

} // namespace tav3d::tools
