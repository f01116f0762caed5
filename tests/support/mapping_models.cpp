#include "mapping_models.h"

#include <algorithm>
#include <map>
#include <set>

namespace tav3d::support
{

using opensuite::MeshModel;
using opensuite::MeshZone;

CubeGrid::CubeGrid(int nx, int ny, int nz, Cell all)
    : nx_(nx)
    , ny_(ny)
    , nz_(nz)
    , cell_(static_cast<std::size_t>(nx * ny * nz), all)
{
}

CubeGrid& CubeGrid::fill(Cell what, int x0, int y0, int z0, int x1, int y1, int z1)
{
    for (int k = z0; k < z1; ++k)
        for (int j = y0; j < y1; ++j)
            for (int i = x0; i < x1; ++i)
                cell_.at(index(i, j, k)) = what;
    return *this;
}

Cell CubeGrid::at(int i, int j, int k) const
{
    const bool inside = i >= 0 && i < nx_ && j >= 0 && j < ny_ && k >= 0 && k < nz_;
    return inside ? cell_[index(i, j, k)] : Cell::none;
}

namespace
{

/// Corners of the face of cell (i, j, k) towards +axis or -axis, counter-clockwise as seen from outside of the cell.
std::array<std::int32_t, 4> faceCorners(const CubeGrid& grid, int i, int j, int k, int axis, bool positive)
{
    const int u = (axis + 1) % 3, v = (axis + 2) % 3;
    std::array<std::int32_t, 4> corner{};
    const int steps[4][2] = {{0, 0}, {1, 0}, {1, 1}, {0, 1}};
    for (int c = 0; c < 4; ++c)
    {
        int at[3] = {i, j, k};
        at[axis] += positive ? 1 : 0;
        at[u] += steps[c][0];
        at[v] += steps[c][1];
        corner[static_cast<std::size_t>(positive ? c : 3 - c)] = grid.node(at[0], at[1], at[2]);
    }
    return corner;
}

} // namespace

MeshZone CubeGrid::zone(float edge, float x0, float y0, float z0) const
{
    MeshZone zone;
    for (int k = 0; k <= nz_; ++k)
        for (int j = 0; j <= ny_; ++j)
            for (int i = 0; i <= nx_; ++i)
            {
                zone.x.push_back(x0 + edge * static_cast<float>(i));
                zone.y.push_back(y0 + edge * static_cast<float>(j));
                zone.z.push_back(z0 + edge * static_cast<float>(k));
            }

    std::vector<int> element(cell_.size(), 0); // numbered over plastic, then mould-base elements
    int total = 0;
    const auto addCells = [&](bool plastic)
    {
        for (int k = 0; k < nz_; ++k)
            for (int j = 0; j < ny_; ++j)
                for (int i = 0; i < nx_; ++i)
                {
                    const Cell what = at(i, j, k);
                    if (what == Cell::none || (what == Cell::part) != plastic)
                        continue;
                    const std::int32_t nodes[8] = {
                        node(i, j, k),     node(i + 1, j, k),     node(i + 1, j + 1, k),     node(i, j + 1, k),
                        node(i, j, k + 1), node(i + 1, j, k + 1), node(i + 1, j + 1, k + 1), node(i, j + 1, k + 1)};
                    const std::int32_t body = what == Cell::part   ? opensuite::body::part
                                              : what == Cell::mold ? opensuite::body::mold
                                                                   : opensuite::body::firstInsert;
                    (plastic ? zone.plastic : zone.moldBase).add(opensuite::CellKind::Hexa8, nodes, body);
                    element[index(i, j, k)] = ++total;
                }
    };
    addCells(true);
    addCells(false);

    std::set<std::int32_t> interfaceNode;
    for (int k = 0; k < nz_; ++k)
        for (int j = 0; j < ny_; ++j)
            for (int i = 0; i < nx_; ++i)
                for (int axis = 0; axis < 3; ++axis)
                    for (const bool positive : {false, true})
                    {
                        const int step = positive ? 1 : -1;
                        const int ni = i + (axis == 0 ? step : 0), nj = j + (axis == 1 ? step : 0), nk = k + (axis == 2 ? step : 0);
                        const Cell here = at(i, j, k), there = at(ni, nj, nk);
                        if (here == there || here == Cell::none)
                            continue;
                        const auto corner = faceCorners(*this, i, j, k, axis, positive);
                        const int behind = element[index(i, j, k)];
                        const int inFront = there == Cell::none ? 0 : element[index(ni, nj, nk)];
                        if (here == Cell::part)
                        {
                            const auto kind =
                                there == Cell::insert ? opensuite::facet_kind::insertInterface : opensuite::facet_kind::partSkin;
                            zone.surface.push_back({corner, 1, kind, behind, inFront});
                            if (there == Cell::insert)
                                interfaceNode.insert(corner.begin(), corner.end());
                        }
                        else if (here == Cell::insert)
                            zone.partInsert.push_back({corner, there == Cell::part, 1});
                        else if (here == Cell::mold && there == Cell::none)
                            zone.surface.push_back({corner, 1, opensuite::facet_kind::outerFace, behind, 0});
                    }
    if (!interfaceNode.empty())
    {
        const std::vector<std::int32_t> nodes(interfaceNode.begin(), interfaceNode.end());
        zone.partInterface.push_back({nodes, opensuite::body::part, opensuite::body::firstInsert});
        zone.partInsertInterface.push_back({nodes, opensuite::body::firstInsert, opensuite::body::part});
    }
    return zone;
}

int setFacetKind(MeshZone& zone, std::int32_t kind, const std::function<bool(float, float, float)>& test)
{
    int changed = 0;
    for (auto& facet : zone.surface)
    {
        float centre[3] = {0, 0, 0};
        for (const auto n : facet.node)
        {
            const auto i = static_cast<std::size_t>(n - 1);
            centre[0] += 0.25f * zone.x[i];
            centre[1] += 0.25f * zone.y[i];
            centre[2] += 0.25f * zone.z[i];
        }
        if (test(centre[0], centre[1], centre[2]))
        {
            facet.kind = kind;
            ++changed;
        }
    }
    return changed;
}

MeshZone renumbered(const MeshZone& zone, const std::vector<int>& newNumber)
{
    MeshZone out = zone;
    const auto moved = [&](std::int32_t n) { return newNumber.at(static_cast<std::size_t>(n)); };
    for (std::size_t n = 1; n <= zone.nodeTotal(); ++n)
    {
        const auto to = static_cast<std::size_t>(newNumber.at(n) - 1);
        out.x.at(to) = zone.x[n - 1];
        out.y.at(to) = zone.y[n - 1];
        out.z.at(to) = zone.z[n - 1];
    }
    for (auto* list : {&out.plastic.node, &out.moldBase.node})
        std::transform(list->begin(), list->end(), list->begin(), moved);
    for (auto& facet : out.surface)
        std::transform(facet.node.begin(), facet.node.end(), facet.node.begin(), moved);
    for (auto& facet : out.partInsert)
        std::transform(facet.node.begin(), facet.node.end(), facet.node.begin(), moved);
    for (auto* list : {&out.partInterface, &out.partInsertInterface})
        for (auto& part : *list)
        {
            std::transform(part.node.begin(), part.node.end(), part.node.begin(), moved);
            std::sort(part.node.begin(), part.node.end());
        }
    return out;
}

MeshModel modelOf(const CubeGrid& voxel, const CubeGrid& cutCell, double scaleFactor)
{
    MeshModel model;
    model.title = "cubes";
    model.scaleFactor = scaleFactor;
    model.cellSize = 1.0f;
    model.voxel = voxel.zone();
    model.cutCell = cutCell.zone();
    return model;
}

namespace
{

CubeGrid plateGrid()
{
    return CubeGrid(8, 6, 3).fill(Cell::part, 1, 1, 1, 7, 5, 2);
}

} // namespace

MeshModel plateModel()
{
    return modelOf(plateGrid(), plateGrid());
}

MeshModel plateWithInsertModel()
{
    const CubeGrid grid = plateGrid().fill(Cell::insert, 3, 2, 0, 5, 4, 1);
    return modelOf(grid, grid);
}

} // namespace tav3d::support
