#include "conformity.h"

#include "tools/cell_geometry.h"

#include <algorithm>
#include <map>

namespace tav3d::test
{

using tools::Vec3;

namespace
{

/// The face with its lowest node first, so that equal faces have equal lists.
std::vector<std::int32_t> turnedToLowest(std::vector<std::int32_t> face)
{
    std::rotate(face.begin(), std::min_element(face.begin(), face.end()), face.end());
    return face;
}

} // namespace

Conformity checkCells(std::span<const Vec3> nodes, std::initializer_list<const opensuite::CellList*> lists)
{
    struct Face
    {
        std::vector<std::int32_t> sorted, cycle;
    };
    Conformity result;
    std::vector<Face> faces;
    for (const opensuite::CellList* cells : lists)
    {
        for (std::size_t e = 0; e < cells->size(); ++e)
        {
            const std::int32_t* node = cells->node.data() + cells->start[e];
            std::vector<Vec3> corner;
            for (int i = 0; i < opensuite::nodeCount(cells->kind[e]); ++i)
            {
                corner.push_back(nodes[node[i] - 1]);
            }
            const double volume = tools::cellVolume(cells->kind[e], corner);
            result.volume += volume;
            result.notPositive += !(volume > 0);
            for (const auto& f : tools::facesOf(cells->kind[e]))
            {
                Face face;
                for (const std::int8_t c : f)
                {
                    if (c >= 0)
                    {
                        face.cycle.push_back(node[c]);
                    }
                }
                face.cycle = turnedToLowest(face.cycle);
                face.sorted = face.cycle;
                std::sort(face.sorted.begin(), face.sorted.end());
                faces.push_back(std::move(face));
            }
        }
    }
    std::sort(faces.begin(), faces.end(), [](const Face& a, const Face& b) { return a.sorted < b.sorted; });
    for (std::size_t first = 0; first < faces.size();)
    {
        std::size_t last = first;
        while (last < faces.size() && faces[last].sorted == faces[first].sorted)
        {
            ++last;
        }
        if (last - first == 1)
        {
            result.outer.push_back(faces[first].cycle);
        }
        else
        {
            auto reversed = faces[first].cycle;
            std::reverse(reversed.begin(), reversed.end());
            result.badFaces += last - first != 2 || turnedToLowest(reversed) != faces[first + 1].cycle;
        }
        first = last;
    }
    return result;
}

std::vector<Vec3> nodesOf(const opensuite::MeshZone& zone)
{
    std::vector<Vec3> nodes;
    for (std::size_t i = 0; i < zone.nodeTotal(); ++i)
    {
        nodes.push_back({zone.x[i], zone.y[i], zone.z[i]});
    }
    return nodes;
}

std::int64_t openFacetEdges(const std::vector<std::array<std::int32_t, 4>>& facets)
{
    std::map<std::pair<std::int32_t, std::int32_t>, int> balance;
    for (const auto& f : facets)
    {
        const int n = f[3] == f[2] ? 3 : 4;
        for (int i = 0; i < n; ++i)
        {
            const std::int32_t a = f[i];
            const std::int32_t b = f[(i + 1) % n];
            balance[std::minmax(a, b)] += a < b ? 1 : -1;
        }
    }
    return std::count_if(balance.begin(), balance.end(), [](const auto& edge) { return edge.second != 0; });
}

} // namespace tav3d::test
