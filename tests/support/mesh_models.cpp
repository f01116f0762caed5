#include "mesh_models.h"

#include <algorithm>
#include <map>
#include <set>

namespace tav3d::test
{

using namespace opensuite;

namespace
{

using Corners = std::array<std::int32_t, 4>; // a triangle repeats its third

/// Faces of a cell, seen from outside counter-clockwise, as places (0-based) in the cell's node row.
const std::vector<Corners>& facesOf(CellKind kind)
{
    static const std::vector<Corners> tetra = {{0, 2, 1, 1}, {0, 1, 3, 3}, {1, 2, 3, 3}, {2, 0, 3, 3}};
    static const std::vector<Corners> pyramid = {{0, 3, 2, 1}, {0, 1, 4, 4}, {1, 2, 4, 4}, {2, 3, 4, 4}, {3, 0, 4, 4}};
    static const std::vector<Corners> prism = {{0, 1, 4, 3}, {1, 2, 5, 4}, {2, 0, 3, 5}, {0, 2, 1, 1}, {3, 4, 5, 5}};
    static const std::vector<Corners> hexa = {{0, 3, 2, 1}, {0, 1, 5, 4}, {1, 2, 6, 5}, {2, 3, 7, 6}, {0, 4, 7, 3}, {4, 5, 6, 7}};
    switch (kind)
    {
    case CellKind::Tetra4:
        return tetra;
    case CellKind::Pyramid5:
        return pyramid;
    case CellKind::Prism6:
        return prism;
    default:
        return hexa;
    }
}

struct Face
{
    std::int32_t element; // 1-based, plastic elements first
    std::int32_t body;
    Corners node;
};

std::vector<Face> allFaces(const MeshZone& zone)
{
    std::vector<Face> faces;
    std::int32_t element = 0;
    for (const CellList* cells : {&zone.plastic, &zone.moldBase})
        for (std::size_t c = 0; c < cells->size(); ++c)
        {
            ++element;
            const std::int32_t* node = cells->node.data() + cells->start[c];
            for (const Corners& places : facesOf(cells->kind[c]))
            {
                Face face{element, cells->body[c], {}};
                for (std::size_t k = 0; k < 4; ++k)
                    face.node[k] = node[places[k]];
                faces.push_back(face);
            }
        }
    return faces;
}

/// The same for both sides of a face, wherever a triangle starts and whichever corner it repeats.
std::set<std::int32_t> cornersOf(const Face& face)
{
    return {face.node.begin(), face.node.end()};
}

std::vector<InterfaceNodes> interfaceLists(const std::map<std::int32_t, std::set<std::int32_t>>& nodesOfInsert, bool seenFromPart)
{
    std::vector<InterfaceNodes> lists;
    for (const auto& [insert, nodes] : nodesOfInsert)
        lists.push_back({{nodes.begin(), nodes.end()}, seenFromPart ? body::part : insert, seenFromPart ? insert : body::part});
    return lists;
}

} // namespace

MeshZone cubeGrid(int nx, int ny, int nz, float h, const BodyOfCell& bodyOfCell)
{
    MeshZone zone;
    for (int k = 0; k <= nz; ++k)
        for (int j = 0; j <= ny; ++j)
            for (int i = 0; i <= nx; ++i)
            {
                zone.x.push_back(static_cast<float>(i) * h);
                zone.y.push_back(static_cast<float>(j) * h);
                zone.z.push_back(static_cast<float>(k) * h);
            }
    const auto node = [&](int i, int j, int k) { return 1 + i + (nx + 1) * (j + (ny + 1) * k); };
    for (int k = 0; k < nz; ++k)
        for (int j = 0; j < ny; ++j)
            for (int i = 0; i < nx; ++i)
            {
                const std::int32_t corners[8] = {
                    node(i, j, k),     node(i + 1, j, k),     node(i + 1, j + 1, k),     node(i, j + 1, k),
                    node(i, j, k + 1), node(i + 1, j, k + 1), node(i + 1, j + 1, k + 1), node(i, j + 1, k + 1)};
                const std::int32_t number = bodyOfCell(i, j, k);
                (number == body::part ? zone.plastic : zone.moldBase).add(CellKind::Hexa8, corners, number);
            }
    return zone;
}

void deriveFacets(MeshZone& zone, const KindOfSkin& kindOfSkin)
{
    const std::vector<Face> faces = allFaces(zone);
    std::map<std::set<std::int32_t>, std::vector<const Face*>> sharing;
    for (const Face& face : faces)
        sharing[cornersOf(face)].push_back(&face);

    const auto skinKind = [&](const Corners& corners)
    {
        if (!kindOfSkin)
            return facet_kind::partSkin;
        const std::set<std::int32_t> different(corners.begin(), corners.end());
        float centre[3] = {};
        for (const std::int32_t n : different)
        {
            const auto at = static_cast<std::size_t>(n) - 1;
            centre[0] += zone.x[at] / static_cast<float>(different.size());
            centre[1] += zone.y[at] / static_cast<float>(different.size());
            centre[2] += zone.z[at] / static_cast<float>(different.size());
        }
        return kindOfSkin(centre[0], centre[1], centre[2]);
    };

    zone.surface.clear();
    zone.partInsert.clear();
    std::map<std::int32_t, std::set<std::int32_t>> interfaceNodes;
    for (const Face& face : faces)
    {
        const auto& both = sharing.at(cornersOf(face));
        const Face* other = both.size() < 2 ? nullptr : both[0] == &face ? both[1] : both[0];
        const std::int32_t otherBody = other != nullptr ? other->body : 0;
        if (otherBody == face.body)
            continue;
        const std::int32_t inFront = other != nullptr ? other->element : 0;
        if (face.body == body::part && otherBody >= body::firstInsert)
            zone.surface.push_back({face.node, 1, facet_kind::insertInterface, face.element, inFront});
        else if (face.body == body::part)
            zone.surface.push_back({face.node, 1, skinKind(face.node), face.element, inFront});
        else if (other == nullptr)
            zone.surface.push_back({face.node, 1, facet_kind::outerFace, face.element, 0});

        if (face.body >= body::firstInsert)
        {
            zone.partInsert.push_back({face.node, otherBody == body::part, face.body - body::firstInsert + 1});
            if (otherBody == body::part)
                interfaceNodes[face.body].insert(face.node.begin(), face.node.end());
        }
    }
    zone.partInterface = interfaceLists(interfaceNodes, true);
    zone.partInsertInterface = interfaceLists(interfaceNodes, false);
}

MeshModel unitCube()
{
    return unitCubes(1, 1, 1);
}

MeshModel unitCubes(int nx, int ny, int nz)
{
    MeshModel model;
    model.title = "unit cubes";
    model.cellSize = 1.0f;
    model.voxel = cubeGrid(nx, ny, nz, 1.0f, [](int, int, int) { return body::part; });
    deriveFacets(model.voxel);
    model.cutCell = model.voxel;
    return model;
}

MeshModel oneCellOfEachKind()
{
    MeshModel model;
    model.title = "one cell of each kind";
    model.cellSize = 1.0f;
    MeshZone& zone = model.voxel;
    zone.x = {0, 1, 1, 0, 0, 1, 1, 0, 2.0f, 0, 1, 2.0f};
    zone.y = {0, 0, 1, 1, 0, 0, 1, 1, 0.5f, 2, 2, 0.5f};
    zone.z = {0, 0, 0, 0, 1, 1, 1, 1, 0.5f, 0.5f, 0.5f, -0.5f};
    const std::int32_t hexa[] = {1, 2, 3, 4, 5, 6, 7, 8};
    const std::int32_t pyramid[] = {2, 3, 7, 6, 9};
    const std::int32_t prism[] = {4, 10, 8, 3, 11, 7};
    const std::int32_t tetra[] = {2, 3, 9, 12};
    zone.plastic.add(CellKind::Hexa8, hexa, body::part);
    zone.plastic.add(CellKind::Pyramid5, pyramid, body::part);
    zone.plastic.add(CellKind::Prism6, prism, body::part);
    zone.plastic.add(CellKind::Tetra4, tetra, body::part);
    deriveFacets(zone);
    model.cutCell = zone;
    return model;
}

namespace
{

/// Puts into `out` what the hexahedron `hexa` becomes in the cut-cell mesh of modelWithInsert.
class CellCutter
{
public:
    explicit CellCutter(MeshZone& zone)
        : zone_(zone)
    {
    }

    /// Two prisms standing on the halves of the base.
    static void intoPrisms(const std::int32_t* h, std::int32_t bodyNumber, CellList& out)
    {
        const std::int32_t first[] = {h[0], h[1], h[2], h[4], h[5], h[6]};
        const std::int32_t second[] = {h[0], h[2], h[3], h[4], h[6], h[7]};
        out.add(CellKind::Prism6, first, bodyNumber);
        out.add(CellKind::Prism6, second, bodyNumber);
    }

    /// Pyramids from the faces to a new node in the middle; the one on face `halved` becomes two tetrahedra, cut from corner `from` to the opposite one.
    void intoPyramids(const std::int32_t* h, std::int32_t bodyNumber, std::size_t halved, std::int32_t from, CellList& out)
    {
        float centre[3] = {};
        for (int k = 0; k < 8; ++k)
        {
            const auto at = static_cast<std::size_t>(h[k]) - 1;
            centre[0] += zone_.x[at] / 8;
            centre[1] += zone_.y[at] / 8;
            centre[2] += zone_.z[at] / 8;
        }
        zone_.x.push_back(centre[0]);
        zone_.y.push_back(centre[1]);
        zone_.z.push_back(centre[2]);
        const auto apex = static_cast<std::int32_t>(zone_.x.size());

        const auto& faces = facesOf(CellKind::Hexa8);
        for (std::size_t f = 0; f < faces.size(); ++f)
        {
            // From inside a face turns the other way round than from outside.
            const std::int32_t q[] = {h[faces[f][0]], h[faces[f][3]], h[faces[f][2]], h[faces[f][1]]};
            if (f != halved)
            {
                const std::int32_t pyramid[] = {q[0], q[1], q[2], q[3], apex};
                out.add(CellKind::Pyramid5, pyramid, bodyNumber);
                continue;
            }
            const std::size_t s = static_cast<std::size_t>(std::find(q, q + 4, from) - q);
            const std::int32_t one[] = {q[s], q[(s + 1) % 4], q[(s + 2) % 4], apex};
            const std::int32_t two[] = {q[s], q[(s + 2) % 4], q[(s + 3) % 4], apex};
            out.add(CellKind::Tetra4, one, bodyNumber);
            out.add(CellKind::Tetra4, two, bodyNumber);
        }
    }

private:
    MeshZone& zone_;
};

MeshZone cutSomeCells(const MeshZone& grid)
{
    MeshZone zone;
    zone.x = grid.x;
    zone.y = grid.y;
    zone.z = grid.z;
    CellCutter cutter(zone);
    const auto cut = [&](const CellList& cells, CellList& out)
    {
        for (std::size_t c = 0; c < cells.size(); ++c)
        {
            const std::int32_t* h = cells.node.data() + cells.start[c];
            const auto first = static_cast<std::size_t>(h[0]) - 1;
            const float corner[3] = {grid.x[first], grid.y[first], grid.z[first]};
            if (corner[0] == 6.0f && corner[1] == 6.0f)
                CellCutter::intoPrisms(h, cells.body[c], out);
            else if (corner[0] == 2.0f && corner[1] == 2.0f && corner[2] == 2.0f)
                cutter.intoPyramids(h, cells.body[c], 5, h[4], out); // the two share this one's top and the next one's bottom
            else if (corner[0] == 2.0f && corner[1] == 2.0f && corner[2] == 4.0f)
                cutter.intoPyramids(h, cells.body[c], 0, h[0], out);
            else
                out.add(CellKind::Hexa8, h, cells.body[c]);
        }
    };
    cut(grid.plastic, zone.plastic);
    cut(grid.moldBase, zone.moldBase);
    return zone;
}

} // namespace

MeshModel modelWithInsert()
{
    MeshModel model;
    model.title = "part with an insert";
    model.scaleFactor = 0.5;
    model.cellSize = 2.0f;
    model.voxel = cubeGrid(5, 5, 5, model.cellSize,
                           [](int i, int j, int k)
                           {
                               if (std::min({i, j, k}) == 0 || std::max({i, j, k}) == 4)
                                   return body::mold;
                               return i == 2 && j == 2 ? body::firstInsert : body::part;
                           });
    model.cutCell = cutSomeCells(model.voxel);
    const auto kindOfSkin = [](float x, float y, float z)
    {
        if (x == 2.0f && y == 5.0f && z == 5.0f)
            return facet_kind::gate;
        return x == 5.0f && y == 2.0f && z == 5.0f ? facet_kind::vent : facet_kind::partSkin;
    };
    deriveFacets(model.voxel, kindOfSkin);
    deriveFacets(model.cutCell, kindOfSkin);
    return model;
}

} // namespace tav3d::test
