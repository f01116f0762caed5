#include "triangle_mesh.h"

#include <algorithm>

namespace tav3d::tools
{

Box bounds(const TriangleMesh& mesh)
{
    Box box{mesh.vertex.front(), mesh.vertex.front()};
    for (const Vec3& v : mesh.vertex)
    {
        for (int a = 0; a < 3; ++a)
        {
            box.low[a] = std::min(box.low[a], v[a]);
            box.high[a] = std::max(box.high[a], v[a]);
        }
    }
    return box;
}

double signedVolume(const TriangleMesh& mesh)
{
    if (mesh.vertex.empty())
    {
        return 0;
    }
    const Vec3 o = mesh.vertex.front(); // a reference on the part keeps the terms small
    double six = 0;
    for (const auto& t : mesh.triangle)
    {
        six += dot(mesh.vertex[t[0]] - o, cross(mesh.vertex[t[1]] - o, mesh.vertex[t[2]] - o));
    }
    return six / 6;
}

EdgeCheck checkEdges(const TriangleMesh& mesh)
{
    struct Edge
    {
        std::int32_t low, high, direction;
    };
    std::vector<Edge> edges;
    edges.reserve(3 * mesh.triangle.size());
    for (const auto& t : mesh.triangle)
    {
        for (int i = 0; i < 3; ++i)
        {
            const std::int32_t a = t[i];
            const std::int32_t b = t[(i + 1) % 3];
            edges.push_back(a < b ? Edge{a, b, 1} : Edge{b, a, -1});
        }
    }
    std::sort(edges.begin(), edges.end(), [](const Edge& a, const Edge& b) { return a.low != b.low ? a.low < b.low : a.high < b.high; });

    EdgeCheck check;
    for (std::size_t first = 0; first < edges.size();)
    {
        std::size_t last = first;
        int balance = 0;
        for (; last < edges.size() && edges[last].low == edges[first].low && edges[last].high == edges[first].high; ++last)
        {
            balance += edges[last].direction;
        }
        if ((last - first) % 2 != 0)
        {
            ++check.open;
        }
        else if (balance != 0)
        {
            ++check.misoriented;
        }
        first = last;
    }
    return check;
}

} // namespace tav3d::tools
