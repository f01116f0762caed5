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
    const Vec3 offset = place - centre;
    const double reach = std::max({std::abs(offset.x), std::abs(offset.y), std::abs(offset.z)});
    if (!(reach <= largestOffset * cellSize))
    {
        return {};
    }
    return place;
}

} // namespace tav3d::tools
