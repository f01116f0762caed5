#include "shapes.h"

#include <bit>
#include <cmath>
#include <numbers>
#include <sstream>

namespace tav3d::test
{

using tools::TriangleMesh;
using tools::Vec3;

TriangleMesh box(Vec3 low, Vec3 edges)
{
    TriangleMesh mesh;
    for (int c = 0; c < 8; ++c)
    {
        mesh.vertex.push_back(low + Vec3{(c & 1) * edges.x, (c >> 1 & 1) * edges.y, (c >> 2) * edges.z});
    }
    mesh.triangle = {{0, 3, 1}, {0, 2, 3}, {4, 5, 7}, {4, 7, 6}, {0, 1, 5}, {0, 5, 4},
                     {2, 7, 3}, {2, 6, 7}, {0, 4, 6}, {0, 6, 2}, {1, 3, 7}, {1, 7, 5}};
    return mesh;
}

TriangleMesh sphere(Vec3 centre, double radius, int n)
{
    TriangleMesh mesh;
    mesh.vertex.push_back(centre + Vec3{0, 0, -radius});
    for (int i = 1; i < n; ++i)
    {
        const double polar = std::numbers::pi * i / n;
        for (int j = 0; j < 2 * n; ++j)
        {
            const double around = std::numbers::pi * j / n;
            mesh.vertex.push_back(centre +
                                  radius * Vec3{std::sin(polar) * std::cos(around), std::sin(polar) * std::sin(around), -std::cos(polar)});
        }
    }
    mesh.vertex.push_back(centre + Vec3{0, 0, radius});
    const auto at = [n](int i, int j) { return 1 + (i - 1) * 2 * n + j % (2 * n); };
    const int top = static_cast<int>(mesh.vertex.size()) - 1;
    for (int j = 0; j < 2 * n; ++j)
    {
        mesh.triangle.push_back({0, at(1, j + 1), at(1, j)});
        for (int i = 1; i + 1 < n; ++i)
        {
            mesh.triangle.push_back({at(i, j), at(i, j + 1), at(i + 1, j + 1)});
            mesh.triangle.push_back({at(i, j), at(i + 1, j + 1), at(i + 1, j)});
        }
        mesh.triangle.push_back({at(n - 1, j), at(n - 1, j + 1), top});
    }
    return mesh;
}

TriangleMesh torus(double distance, double radius, int n)
{
    TriangleMesh mesh;
    for (int i = 0; i < 2 * n; ++i)
    {
        const double around = std::numbers::pi * i / n;
        for (int j = 0; j < n; ++j)
        {
            const double tube = 2 * std::numbers::pi * j / n;
            const double r = distance + radius * std::cos(tube);
            mesh.vertex.push_back({r * std::cos(around), r * std::sin(around), radius * std::sin(tube)});
        }
    }
    const auto at = [n](int i, int j) { return i % (2 * n) * n + j % n; };
    for (int i = 0; i < 2 * n; ++i)
    {
        for (int j = 0; j < n; ++j)
        {
            mesh.triangle.push_back({at(i, j), at(i + 1, j), at(i + 1, j + 1)});
            mesh.triangle.push_back({at(i, j), at(i + 1, j + 1), at(i, j + 1)});
        }
    }
    return mesh;
}

TriangleMesh turned(TriangleMesh mesh, double radians)
{
    const Vec3 axis = 1 / std::sqrt(14.0) * Vec3{1, 2, 3};
    for (Vec3& v : mesh.vertex) // Rodrigues' formula
    {
        v = std::cos(radians) * v + std::sin(radians) * cross(axis, v) + (1 - std::cos(radians)) * dot(axis, v) * axis;
    }
    return mesh;
}

TriangleMesh flipped(TriangleMesh mesh)
{
    for (auto& t : mesh.triangle)
    {
        std::swap(t[1], t[2]);
    }
    return mesh;
}

TriangleMesh joined(TriangleMesh a, const TriangleMesh& b)
{
    const auto shift = static_cast<std::int32_t>(a.vertex.size());
    a.vertex.insert(a.vertex.end(), b.vertex.begin(), b.vertex.end());
    for (const auto& t : b.triangle)
    {
        a.triangle.push_back({t[0] + shift, t[1] + shift, t[2] + shift});
    }
    return a;
}

std::string asciiStl(const TriangleMesh& mesh)
{
    std::ostringstream out;
    out.precision(17);
    out << "solid shape\n";
    for (const auto& t : mesh.triangle)
    {
        out << "  facet normal 0 0 0\n    outer loop\n";
        for (const std::int32_t corner : t)
        {
            const Vec3& v = mesh.vertex[corner];
            out << "      vertex " << v.x << ' ' << v.y << ' ' << v.z << '\n';
        }
        out << "    endloop\n  endfacet\n";
    }
    out << "endsolid shape\n";
    return out.str();
}

std::string binaryStl(const TriangleMesh& mesh)
{
    std::string bytes(80, ' ');
    const auto add = [&](std::uint32_t value, int count)
    {
        for (int i = 0; i < count; ++i)
        {
            bytes += static_cast<char>(value >> 8 * i & 0xff);
        }
    };
    add(static_cast<std::uint32_t>(mesh.triangle.size()), 4);
    for (const auto& t : mesh.triangle)
    {
        bytes.append(12, '\0');
        for (const std::int32_t corner : t)
        {
            for (int axis = 0; axis < 3; ++axis)
            {
                add(std::bit_cast<std::uint32_t>(static_cast<float>(mesh.vertex[corner][axis])), 4);
            }
        }
        add(0, 2);
    }
    return bytes;
}

} // namespace tav3d::test
