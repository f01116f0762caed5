#include "cell_geometry.h"

namespace tav3d::tools
{

namespace
{

using Face = std::array<std::int8_t, 4>;

constexpr Face tetraFaces[] = {{0, 2, 1, -1}, {0, 1, 3, -1}, {1, 2, 3, -1}, {2, 0, 3, -1}};
constexpr Face pyramidFaces[] = {{0, 3, 2, 1}, {0, 1, 4, -1}, {1, 2, 4, -1}, {2, 3, 4, -1}, {3, 0, 4, -1}};
constexpr Face prismFaces[] = {{0, 2, 1, -1}, {3, 4, 5, -1}, {0, 1, 4, 3}, {1, 2, 5, 4}, {2, 0, 3, 5}};
constexpr Face hexaFaces[] = {{0, 3, 2, 1}, {4, 5, 6, 7}, {0, 1, 5, 4}, {1, 2, 6, 5}, {2, 3, 7, 6}, {3, 0, 4, 7}};

} // namespace

std::span<const Face> facesOf(opensuite::CellKind kind)
{
    switch (kind)
    {
    case opensuite::CellKind::Tetra4:
        return tetraFaces;
    case opensuite::CellKind::Pyramid5:
        return pyramidFaces;
    case opensuite::CellKind::Prism6:
        return prismFaces;
    case opensuite::CellKind::Hexa8:
        break;
    }
    return hexaFaces;
}

double cellVolume(opensuite::CellKind kind, std::span<const Vec3> corner)
{
    const Vec3 o = corner[0];
    const auto triangle = [&](Vec3 a, Vec3 b, Vec3 c) { return dot(a - o, cross(b - o, c - o)); };
    double twelve = 0;
    for (const Face& f : facesOf(kind))
    {
        const Vec3 a = corner[f[0]], b = corner[f[1]], c = corner[f[2]];
        if (f[3] < 0)
        {
            twelve += 2 * triangle(a, b, c);
        }
        else // flux through a bilinear face = mean over its two triangulations
        {
            const Vec3 d = corner[f[3]];
            twelve += triangle(a, b, c) + triangle(a, c, d) + triangle(b, c, d) + triangle(b, d, a);
        }
    }
    return twelve / 12;
}

} // namespace tav3d::tools
