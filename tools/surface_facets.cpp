#include "surface_facets.h"

#include "cell_geometry.h"

#include <algorithm>
#include <limits>
#include <map>

namespace tav3d::tools
{

namespace
{

using namespace opensuite;

/// A face of one element. `key` are its nodes in ascending order, a triangle's with 0 in front.
struct CellFace
{
    std::array<std::int32_t, 4> key;
    std::array<std::int32_t, 4> node; // counter-clockwise as seen from outside the element; a triangle repeats its third
    std::int32_t element;             // numbered over plastic, then mould base, from 1
    std::int32_t body;
};

template <class Visit>
void forAllElements(const MeshZone& zone, Visit visit)
{
    std::int32_t number = 0;
    for (const CellList* list : {&zone.plastic, &zone.moldBase})
    {
        for (std::size_t e = 0; e < list->size(); ++e)
        {
            visit(++number, list->kind[e], list->body[e], list->node.data() + list->start[e]);
        }
    }
}

/// Nodes that elements of different bodies share, and the given outer nodes. Only faces with nothing but such nodes can be facets.
std::vector<std::uint8_t> facetNodes(const MeshZone& zone, std::span<const std::uint8_t> outerNode)
{
    std::vector<std::uint8_t> mark(outerNode.begin(), outerNode.end());
    std::vector<std::int32_t> firstBody(zone.nodeTotal(), 0);
    forAllElements(zone,
                   [&](std::int32_t, CellKind kind, std::int32_t body, const std::int32_t* node)
                   {
                       for (int i = 0; i < nodeCount(kind); ++i)
                       {
                           std::int32_t& first = firstBody[node[i] - 1];
                           if (first == 0)
                           {
                               first = body;
                           }
                           else if (first != body)
                           {
                               mark[node[i] - 1] = 1;
                           }
                       }
                   });
    return mark;
}

std::vector<CellFace> facesWith(const MeshZone& zone, const std::vector<std::uint8_t>& mark)
{
    std::vector<CellFace> faces;
    forAllElements(zone,
                   [&](std::int32_t element, CellKind kind, std::int32_t body, const std::int32_t* node)
                   {
                       for (const auto& f : facesOf(kind))
                       {
                           CellFace face{{}, {}, element, body};
                           bool all = true;
                           for (int i = 0; i < 4 && all; ++i)
                           {
                               const bool repeated = f[i] < 0;
                               face.node[i] = node[f[repeated ? 2 : i]];
                               face.key[i] = repeated ? 0 : face.node[i];
                               all = mark[face.node[i] - 1] != 0;
                           }
                           if (all)
                           {
                               std::sort(face.key.begin(), face.key.end());
                               faces.push_back(face);
                           }
                       }
                   });
    std::sort(faces.begin(), faces.end(),
              [](const CellFace& a, const CellFace& b) { return a.key != b.key ? a.key < b.key : a.element < b.element; });
    return faces;
}

void addPair(MeshZone& zone, const CellFace& a, const CellFace& b)
{
    // the part first: its elements have the lower numbers
    if (a.body == body::part)
    {
        const std::int32_t kind = b.body == body::mold ? facet_kind::partSkin : facet_kind::insertInterface;
        zone.surface.push_back({a.node, 1, kind, a.element, b.element});
    }
    for (const auto& [inside, outside] : {std::pair{&a, &b}, std::pair{&b, &a}})
    {
        if (inside->body >= body::firstInsert)
        {
            zone.partInsert.push_back({inside->node, outside->body == body::part, inside->body - body::firstInsert + 1});
        }
    }
}

void addInterfaces(MeshZone& zone)
{
    std::map<std::int32_t, std::vector<std::int32_t>> nodesOfInsert;
    for (const PartInsertFacet& facet : zone.partInsert)
    {
        if (facet.isInterface)
        {
            auto& nodes = nodesOfInsert[body::firstInsert + facet.insert - 1];
            nodes.insert(nodes.end(), facet.node.begin(), facet.node.end());
        }
    }
    for (auto& [insertBody, nodes] : nodesOfInsert)
    {
        std::sort(nodes.begin(), nodes.end());
        nodes.erase(std::unique(nodes.begin(), nodes.end()), nodes.end());
        zone.partInterface.push_back({nodes, body::part, insertBody});
        zone.partInsertInterface.push_back({nodes, insertBody, body::part});
    }
}

Vec3 nodePlace(const MeshZone& zone, std::int32_t node)
{
    return {zone.x[node - 1], zone.y[node - 1], zone.z[node - 1]};
}

} // namespace

void addFacets(MeshZone& zone, std::span<const std::uint8_t> outerNode)
{
    const std::vector<CellFace> faces = facesWith(zone, facetNodes(zone, outerNode));
    std::vector<SurfaceFacet> outer;
    for (std::size_t i = 0; i < faces.size(); ++i)
    {
        if (i + 1 < faces.size() && faces[i].key == faces[i + 1].key)
        {
            if (faces[i].body != faces[i + 1].body)
            {
                addPair(zone, faces[i], faces[i + 1]);
            }
            ++i;
        }
        else
        {
            outer.push_back({faces[i].node, 1, facet_kind::outerFace, faces[i].element, 0});
        }
    }
    const auto byElement = [](const SurfaceFacet& a, const SurfaceFacet& b) { return a.elementBehind < b.elementBehind; };
    std::stable_sort(zone.surface.begin(), zone.surface.end(), byElement);
    std::stable_sort(outer.begin(), outer.end(), byElement);
    zone.surface.insert(zone.surface.end(), outer.begin(), outer.end());
    std::stable_sort(zone.partInsert.begin(), zone.partInsert.end(),
                     [](const PartInsertFacet& a, const PartInsertFacet& b) { return a.insert < b.insert; });
    addInterfaces(zone);
}

Vec3 facetCentre(const MeshZone& zone, const SurfaceFacet& facet)
{
    const int corners = facet.node[3] == facet.node[2] ? 3 : 4;
    Vec3 sum;
    for (int i = 0; i < corners; ++i)
    {
        sum = sum + nodePlace(zone, facet.node[i]);
    }
    return 1.0 / corners * sum;
}

double markSpot(MeshZone& zone, Vec3 place, double radius, std::int32_t kind)
{
    SurfaceFacet* nearest = nullptr;
    double least = std::numeric_limits<double>::max();
    std::vector<SurfaceFacet*> within;
    for (SurfaceFacet& facet : zone.surface)
    {
        if (facet.kind != facet_kind::partSkin)
        {
            continue;
        }
        const double distance = length(facetCentre(zone, facet) - place);
        if (distance < least)
        {
            least = distance;
            nearest = &facet;
        }
        if (distance <= radius)
        {
            within.push_back(&facet);
        }
    }
    if (nearest == nullptr)
    {
        return -1;
    }
    nearest->kind = kind;
    for (SurfaceFacet* facet : within)
    {
        facet->kind = kind;
    }
    return least;
}

Vec3 defaultGate(const MeshZone& voxel)
{
    // per direction: how far out the farthest facets lie, how many they are, and the sum of their centres
    struct Layer
    {
        double height = std::numeric_limits<double>::lowest();
        std::int64_t count = 0;
        Vec3 sum;
    };
    std::array<Layer, 6> layers; // +z -z +y -y +x -x
    for (const SurfaceFacet& facet : voxel.surface)
    {
        if (facet.kind != facet_kind::partSkin)
        {
            continue;
        }
        const Vec3 corner = nodePlace(voxel, facet.node[0]);
        const Vec3 normal = cross(nodePlace(voxel, facet.node[1]) - corner, nodePlace(voxel, facet.node[2]) - corner);
        for (int d = 0; d < 6; ++d)
        {
            const int axis = 2 - d / 2;
            const double sign = d % 2 == 0 ? 1 : -1;
            if (!(sign * normal[axis] > 0.5 * length(normal)))
            {
                continue;
            }
            const double height = sign * corner[axis];
            Layer& layer = layers[d];
            if (height > layer.height)
            {
                layer = {height, 0, {}};
            }
            if (height == layer.height)
            {
                ++layer.count;
                layer.sum = layer.sum + facetCentre(voxel, facet);
            }
        }
    }
    const Layer& largest =
        *std::max_element(layers.begin(), layers.end(), [](const Layer& a, const Layer& b) { return a.count < b.count; });
    return largest.count > 0 ? 1.0 / static_cast<double>(largest.count) * largest.sum : Vec3{};
}

} // namespace tav3d::tools
