// The sample meshes are what their descriptions say: other tests rest on that.

#include "support/mesh_models.h"

#include <gtest/gtest.h>

#include <map>
#include <numeric>

namespace mesh_models_test
{

using namespace tav3d::opensuite;
using namespace tav3d::test;

namespace
{

struct Point
{
    double x, y, z;
};

Point pointOf(const MeshZone& zone, std::int32_t node)
{
    const auto at = static_cast<std::size_t>(node) - 1;
    return {zone.x[at], zone.y[at], zone.z[at]};
}

/// Signed volume of the tetrahedron (a, b, c, d): positive when d lies on the side from which a b c runs counter-clockwise.
double tetraVolume(const Point& a, const Point& b, const Point& c, const Point& d)
{
    const double ux = b.x - a.x, uy = b.y - a.y, uz = b.z - a.z;
    const double vx = c.x - a.x, vy = c.y - a.y, vz = c.z - a.z;
    const double wx = d.x - a.x, wy = d.y - a.y, wz = d.z - a.z;
    return ((uy * vz - uz * vy) * wx + (uz * vx - ux * vz) * wy + (ux * vy - uy * vx) * wz) / 6;
}

/// The tetrahedra that a cell of a kind is made of, as places in its node row.
std::vector<std::array<int, 4>> partsOf(CellKind kind)
{
    switch (kind)
    {
    case CellKind::Tetra4:
        return {{0, 1, 2, 3}};
    case CellKind::Pyramid5:
        return {{0, 1, 2, 4}, {0, 2, 3, 4}};
    case CellKind::Prism6:
        return {{0, 1, 2, 3}, {1, 2, 3, 4}, {2, 3, 4, 5}};
    default:
        return {{0, 1, 2, 5}, {0, 2, 3, 7}, {0, 5, 7, 4}, {2, 7, 5, 6}, {0, 2, 7, 5}};
    }
}

/// Sums the cells' volumes by kind; every cell must have a positive one.
std::map<CellKind, double> volumes(const MeshZone& zone, const CellList& cells)
{
    std::map<CellKind, double> sum;
    for (std::size_t c = 0; c < cells.size(); ++c)
    {
        double volume = 0;
        for (const auto& part : partsOf(cells.kind[c]))
        {
            Point p[4];
            for (int k = 0; k < 4; ++k)
                p[k] = pointOf(zone, cells.node[static_cast<std::size_t>(cells.start[c] + part[static_cast<std::size_t>(k)])]);
            volume += tetraVolume(p[0], p[1], p[2], p[3]);
        }
        EXPECT_GT(volume, 0) << "cell " << c;
        sum[cells.kind[c]] += volume;
    }
    return sum;
}

double total(const std::map<CellKind, double>& sums)
{
    return std::accumulate(sums.begin(), sums.end(), 0.0, [](double s, const auto& kind) { return s + kind.second; });
}

/// Volume enclosed by a set of facets that is closed and seen from outside counter-clockwise.
template <class Facets>
double enclosed(const MeshZone& zone, const Facets& facets)
{
    double volume = 0;
    for (const auto& facet : facets)
    {
        const auto& n = facet.node;
        const Point o{0, 0, 0};
        volume -= tetraVolume(pointOf(zone, n[0]), pointOf(zone, n[1]), pointOf(zone, n[2]), o);
        if (n[2] != n[3])
            volume -= tetraVolume(pointOf(zone, n[0]), pointOf(zone, n[2]), pointOf(zone, n[3]), o);
    }
    return volume;
}

std::vector<SurfaceFacet> facetsOfPart(const MeshZone& zone)
{
    std::vector<SurfaceFacet> facets;
    for (const SurfaceFacet& facet : zone.surface)
        if (facet.kind != facet_kind::outerFace)
            facets.push_back(facet);
    return facets;
}

std::map<std::int32_t, int> countKinds(const MeshZone& zone)
{
    std::map<std::int32_t, int> count;
    for (const SurfaceFacet& facet : zone.surface)
        ++count[facet.kind];
    return count;
}

} // namespace

TEST(MeshModels, unit_cube_has_eight_nodes_and_six_outward_facets)
{
    const MeshModel model = unitCube();
    EXPECT_EQ(model.voxel.nodeTotal(), 8u);
    EXPECT_EQ(model.voxel.surface.size(), 6u);
    EXPECT_EQ(total(volumes(model.voxel, model.voxel.plastic)), 1.0);
    EXPECT_DOUBLE_EQ(enclosed(model.voxel, model.voxel.surface), 1.0);
}

TEST(MeshModels, one_cell_of_each_kind_fits_together)
{
    const MeshModel model = oneCellOfEachKind();
    const auto sums = volumes(model.voxel, model.voxel.plastic);
    EXPECT_DOUBLE_EQ(sums.at(CellKind::Hexa8), 1.0);
    EXPECT_DOUBLE_EQ(sums.at(CellKind::Pyramid5), 1.0 / 3);
    EXPECT_DOUBLE_EQ(sums.at(CellKind::Prism6), 0.5);
    EXPECT_DOUBLE_EQ(sums.at(CellKind::Tetra4), 1.0 / 6);
    EXPECT_EQ(model.voxel.surface.size(), 6u + 5 + 5 + 4 - 2 * 3) << "three shared faces";
    EXPECT_DOUBLE_EQ(enclosed(model.voxel, model.voxel.surface), 2.0);
}

TEST(MeshModels, model_with_insert_has_all_kinds_of_cells_and_facets)
{
    const MeshModel model = modelWithInsert();
    EXPECT_EQ(model.voxel.nodeTotal(), 216u);
    EXPECT_EQ(model.cutCell.nodeTotal(), 218u);
    for (const MeshZone* zone : {&model.voxel, &model.cutCell})
    {
        EXPECT_DOUBLE_EQ(total(volumes(*zone, zone->plastic)), 24 * 8.0);
        EXPECT_DOUBLE_EQ(total(volumes(*zone, zone->moldBase)), (125 - 24) * 8.0);
        EXPECT_NEAR(enclosed(*zone, facetsOfPart(*zone)), 24 * 8.0, 1e-9) << "closed, and turned outwards";
        EXPECT_NEAR(enclosed(*zone, zone->partInsert), 3 * 8.0, 1e-9);
        ASSERT_EQ(zone->partInterface.size(), 1u);
        EXPECT_EQ(zone->partInterface[0].node.size(), 16u);
        EXPECT_EQ(zone->partInsertInterface[0].thisBody, body::firstInsert);
    }
    EXPECT_EQ(volumes(model.cutCell, model.cutCell.plastic).size(), 4u);
    EXPECT_EQ(countKinds(model.voxel), (std::map<std::int32_t, int>{{0, 50}, {1, 1}, {2, 150}, {3, 12}, {4, 1}}));
    // The column of prisms ends in two triangles where the hexahedra ended in one square.
    EXPECT_EQ(countKinds(model.cutCell).at(2), 150 + 2);
}

} // namespace mesh_models_test
