#include "conformity.h"
#include "shapes.h"
#include "support/mesh_models.h"
#include "tools/model_builder.h"
#include "tools/surface_facets.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <set>
#include <tuple>

namespace model_builder_test
{

using namespace tav3d;
using namespace tav3d::tools;
using namespace tav3d::test;
using namespace tav3d::opensuite;

namespace
{

NamedSurface named(const std::string& name, const TriangleMesh& mesh)
{
    NamedSurface surface{name, {}};
    surface.surface.mesh = mesh;
    surface.surface.volume = std::abs(signedVolume(mesh));
    surface.surface.edges = checkEdges(mesh);
    return surface;
}

NamedSurface dataFile(const std::string& name)
{
    return {name, readStl(std::string(TAV3D_SOURCE_DIR) + "/data/" + name)};
}

ModelOptions cells(double size)
{
    ModelOptions options;
    options.cellSize = size;
    return options;
}

std::string refusal(const NamedSurface& part, const std::vector<NamedSurface>& inserts, const ModelOptions& options)
{
    try
    {
        buildModel(part, inserts, options);
    }
    catch (const std::runtime_error& error)
    {
        return error.what();
    }
    return "no error";
}

std::int64_t facetsOfKind(const MeshZone& zone, std::int32_t kind)
{
    return std::count_if(zone.surface.begin(), zone.surface.end(), [&](const SurfaceFacet& f) { return f.kind == kind; });
}

std::vector<std::array<std::int32_t, 4>> partSurface(const MeshZone& zone)
{
    std::vector<std::array<std::int32_t, 4>> facets;
    for (const SurfaceFacet& f : zone.surface)
    {
        if (f.kind != facet_kind::outerFace)
        {
            facets.push_back(f.node);
        }
    }
    return facets;
}

/// Volume behind closed facets.
double volumeBehind(const MeshZone& zone, const std::vector<std::array<std::int32_t, 4>>& facets)
{
    const auto nodes = nodesOf(zone);
    double six = 0;
    for (const auto& f : facets)
    {
        const Vec3 a = nodes[f[0] - 1], b = nodes[f[1] - 1], c = nodes[f[2] - 1], d = nodes[f[3] - 1];
        six += f[2] == f[3] ? dot(a, cross(b, c))
                            : 0.5 * (dot(a, cross(b, c)) + dot(a, cross(c, d)) + dot(b, cross(c, d)) + dot(b, cross(d, a)));
    }
    return six / 6;
}

/// Everything that must hold for the facets of any mesh.
void expectSoundFacets(const MeshZone& zone, double partVolume)
{
    EXPECT_EQ(openFacetEdges(partSurface(zone)), 0);
    EXPECT_NEAR(volumeBehind(zone, partSurface(zone)), partVolume, 1e-4 * partVolume);
    std::vector<std::array<std::int32_t, 4>> outer, insert;
    const auto plastic = static_cast<std::int32_t>(zone.plastic.size());
    const auto all = plastic + static_cast<std::int32_t>(zone.moldBase.size());
    for (const SurfaceFacet& f : zone.surface)
    {
        EXPECT_EQ(f.flag, 1);
        if (f.kind == facet_kind::outerFace)
        {
            outer.push_back(f.node);
            EXPECT_EQ(f.elementInFront, 0);
            EXPECT_GT(f.elementBehind, plastic);
            continue;
        }
        EXPECT_GE(f.elementBehind, 1);
        EXPECT_LE(f.elementBehind, plastic);
        ASSERT_GT(f.elementInFront, plastic);
        ASSERT_LE(f.elementInFront, all);
        EXPECT_EQ(zone.moldBase.body[f.elementInFront - plastic - 1] >= body::firstInsert, f.kind == facet_kind::insertInterface);
    }
    EXPECT_EQ(openFacetEdges(outer), 0);
    for (const PartInsertFacet& f : zone.partInsert)
    {
        insert.push_back(f.node);
    }
    EXPECT_EQ(openFacetEdges(insert), 0);
    const auto interfaces =
        std::count_if(zone.partInsert.begin(), zone.partInsert.end(), [](const PartInsertFacet& f) { return f.isInterface; });
    EXPECT_EQ(interfaces, facetsOfKind(zone, facet_kind::insertInterface));
}

/// Facets in a form that does not depend on their order or first corner.
auto sortedFacets(const MeshZone& zone)
{
    std::vector<std::tuple<std::array<std::int32_t, 4>, std::int32_t, std::int32_t, std::int32_t>> facets;
    for (const SurfaceFacet& f : zone.surface)
    {
        auto node = f.node;
        std::rotate(node.begin(), std::min_element(node.begin(), node.end()), node.end());
        facets.emplace_back(node, f.kind, f.elementBehind, f.elementInFront);
    }
    std::sort(facets.begin(), facets.end());
    return facets;
}

} // namespace

TEST(ModelBuilder, unit_cube_at_cell_size_one_is_one_plastic_cell_in_both_meshes)
{
    ModelOptions options = cells(1);
    options.margin = 1;
    options.scaleFactor = 0.001;
    options.title = "cube";
    const BuiltModel built = buildModel(named("cube", box({5, 6, 7}, {1, 1, 1})), {}, options);
    EXPECT_EQ(built.cells, (std::array<std::int32_t, 3>{3, 3, 3}));
    EXPECT_EQ(built.model.title, "cube");
    EXPECT_EQ(built.model.scaleFactor, 0.001);
    EXPECT_EQ(built.model.cellSize, 1.0F);
    for (const MeshZone* zone : {&built.model.voxel, &built.model.cutCell})
    {
        EXPECT_EQ(zone->nodeTotal(), 64U);
        EXPECT_EQ(zone->plastic.size(), 1U);
        EXPECT_EQ(zone->moldBase.size(), 26U);
        EXPECT_EQ(zone->surface.size(), 6U + 54);
        EXPECT_EQ(facetsOfKind(*zone, facet_kind::outerFace), 54);
        EXPECT_EQ(zone->x[0], 4.0F);
        EXPECT_EQ(zone->z[63], 9.0F);
    }
    EXPECT_TRUE(built.warnings.empty());
}

TEST(ModelBuilder, facets_of_the_voxel_mesh_equal_those_of_a_plain_face_by_face_search)
{
    BuiltModel built =
        buildModel(named("ball", sphere({0, 0, 0}, 1, 20)), {named("pin", box({0.2, 0.2, -0.3}, {0.4, 0.4, 2}))}, cells(0.2));
    MeshZone& zone = built.model.voxel;
    for (SurfaceFacet& f : zone.surface)
    {
        f.kind = f.kind == facet_kind::gate ? facet_kind::partSkin : f.kind;
    }
    MeshZone plain = zone;
    deriveFacets(plain);
    EXPECT_EQ(sortedFacets(zone), sortedFacets(plain));
    EXPECT_EQ(zone.partInsert.size(), plain.partInsert.size());
    ASSERT_EQ(zone.partInterface.size(), 1U);
    ASSERT_EQ(plain.partInterface.size(), 1U);
    EXPECT_EQ(zone.partInterface[0].node, plain.partInterface[0].node);
}

TEST(ModelBuilder, facets_of_the_housing_are_closed_and_enclose_the_part)
{
    const BuiltModel built = buildModel(dataFile("housing.stl"), {dataFile("insert.stl")}, cells(1.0));
    expectSoundFacets(built.model.voxel, built.voxel.partVolume);
    expectSoundFacets(built.model.cutCell, built.cutCell.partVolume);
    for (const MeshZone* zone : {&built.model.voxel, &built.model.cutCell})
    {
        EXPECT_GT(facetsOfKind(*zone, facet_kind::gate), 0);
        EXPECT_GT(facetsOfKind(*zone, facet_kind::insertInterface), 50);
        EXPECT_GT(static_cast<std::int64_t>(zone->partInsert.size()), facetsOfKind(*zone, facet_kind::insertInterface));
    }
    EXPECT_TRUE(built.warnings.empty()) << built.warnings.front();
    EXPECT_LT(std::abs(built.cutCell.partVolume / built.partVolume - 1), std::abs(built.voxel.partVolume / built.partVolume - 1));
}

TEST(ModelBuilder, stored_cut_cell_mesh_of_the_housing_is_conforming)
{
    const BuiltModel built = buildModel(dataFile("housing.stl"), {dataFile("insert.stl")}, cells(1.5));
    const MeshZone& zone = built.model.cutCell;
    const auto found = checkCells(nodesOf(zone), {&zone.plastic, &zone.moldBase}); // coordinates rounded to float
    EXPECT_EQ(found.badFaces, 0);
    EXPECT_EQ(found.notPositive, 0);
    EXPECT_EQ(static_cast<std::int64_t>(found.outer.size()), facetsOfKind(zone, facet_kind::outerFace));
    const double block = std::pow(1.5, 3) * built.cells[0] * built.cells[1] * built.cells[2];
    EXPECT_NEAR(found.volume, block, 1e-5 * block);
    EXPECT_NEAR(built.cutCell.partVolume + built.cutCell.moldVolume, block, 1e-9 * block);
    EXPECT_EQ(zone.x[0], built.model.voxel.x[0]);
    EXPECT_GT(zone.nodeTotal(), built.model.voxel.nodeTotal());
}

TEST(ModelBuilder, interface_nodes_are_those_of_the_interface_facets)
{
    const BuiltModel built = buildModel(dataFile("housing.stl"), {dataFile("insert.stl")}, cells(1.0));
    for (const MeshZone* zone : {&built.model.voxel, &built.model.cutCell})
    {
        std::set<std::int32_t> expected;
        for (const SurfaceFacet& f : zone->surface)
        {
            if (f.kind == facet_kind::insertInterface)
            {
                expected.insert(f.node.begin(), f.node.end());
            }
        }
        ASSERT_EQ(zone->partInterface.size(), 1U);
        ASSERT_EQ(zone->partInsertInterface.size(), 1U);
        EXPECT_EQ(zone->partInterface[0].node, std::vector<std::int32_t>(expected.begin(), expected.end()));
        EXPECT_EQ(zone->partInsertInterface[0].node, zone->partInterface[0].node);
        EXPECT_EQ(zone->partInterface[0].thisBody, body::part);
        EXPECT_EQ(zone->partInterface[0].otherBody, body::firstInsert);
        EXPECT_EQ(zone->partInsertInterface[0].thisBody, body::firstInsert);
        EXPECT_EQ(zone->partInsertInterface[0].otherBody, body::part);
    }
}

TEST(ModelBuilder, two_inserts_are_two_bodies_with_an_interface_each)
{
    const NamedSurface part = named("part", box({0, 0, 0}, {10, 4, 4}));
    const NamedSurface left = named("left", box({2, 1, 1}, {2, 2, 6}));
    const NamedSurface right = named("right", box({6, 1, 1}, {2, 2, 2}));
    const BuiltModel built = buildModel(part, {left, right}, cells(1));
    for (const MeshZone* zone : {&built.model.voxel, &built.model.cutCell})
    {
        ASSERT_EQ(zone->partInterface.size(), 2U);
        EXPECT_EQ(zone->partInterface[0].otherBody, 3);
        EXPECT_EQ(zone->partInterface[1].otherBody, 4);
        const auto ofInsert = [&](int insert, bool interface)
        {
            return std::count_if(zone->partInsert.begin(), zone->partInsert.end(),
                                 [&](const PartInsertFacet& f) { return f.insert == insert && f.isInterface == interface; });
        };
        EXPECT_EQ(ofInsert(1, true), 4 + 4 * 6);  // bottom and sides up to the top of the part
        EXPECT_EQ(ofInsert(1, false), 4 + 4 * 6); // sides above it and the upper end
        EXPECT_EQ(ofInsert(2, true), 24);
        EXPECT_EQ(ofInsert(2, false), 0);
    }
    ASSERT_EQ(built.warnings.size(), 1U);
    EXPECT_EQ(built.warnings[0], "part inserts take 20 cells out of the part");
}

TEST(ModelBuilder, gate_is_in_the_middle_of_the_largest_flat_side_by_default)
{
    const BuiltModel built = buildModel(named("plate", box({0, 0, 0}, {2, 9, 7})), {}, cells(1));
    EXPECT_EQ(built.gate, (Vec3{2, 4.5, 3.5})); // +x before -x
    EXPECT_EQ(facetsOfKind(built.model.voxel, facet_kind::gate), 9);
    EXPECT_EQ(facetsOfKind(built.model.cutCell, facet_kind::gate), 9);
    for (const SurfaceFacet& f : built.model.voxel.surface)
    {
        if (f.kind == facet_kind::gate)
        {
            EXPECT_LE(length(facetCentre(built.model.voxel, f) - built.gate), 1.5);
        }
    }
}

TEST(ModelBuilder, gate_and_vents_stand_where_they_are_asked_for)
{
    ModelOptions options = cells(1);
    options.gate = Vec3{0.5, 0.5, 0};
    options.vents = {{4.5, 4.5, 5}};
    options.gateRadius = 0.1;
    const BuiltModel built = buildModel(named("cube", box({0, 0, 0}, {5, 5, 5})), {}, options);
    for (const MeshZone* zone : {&built.model.voxel, &built.model.cutCell})
    {
        for (const auto& [kind, place] : {std::pair{facet_kind::gate, *options.gate}, std::pair{facet_kind::vent, options.vents[0]}})
        {
            EXPECT_EQ(facetsOfKind(*zone, kind), 1);
            const auto f = std::find_if(zone->surface.begin(), zone->surface.end(),
                                        [wanted = kind](const SurfaceFacet& g) { return g.kind == wanted; });
            EXPECT_LT(length(facetCentre(*zone, *f) - place), 1e-4);
        }
    }
    EXPECT_TRUE(built.warnings.empty());
}

TEST(ModelBuilder, gate_off_the_part_takes_the_nearest_facet_and_warns)
{
    ModelOptions options = cells(1);
    options.gate = Vec3{2.5, 2.5, 15};
    const BuiltModel built = buildModel(named("cube", box({0, 0, 0}, {5, 5, 5})), {}, options);
    EXPECT_EQ(facetsOfKind(built.model.voxel, facet_kind::gate), 1);
    EXPECT_EQ(built.warnings, std::vector<std::string>{"the gate at (2.5, 2.5, 15) lies 10 off the part; the nearest facet is taken"});
}

TEST(ModelBuilder, cell_size_that_loses_part_or_insert_is_refused)
{
    const NamedSurface cube = named("cube.stl", box({0, 0, 0}, {1, 1, 1}));
    EXPECT_EQ(refusal(cube, {}, cells(10)), "cube.stl: no cell centre lies in it; the cell size is too large");
    EXPECT_EQ(refusal(cube, {named("pin.stl", box({0.01, 0.01, 0.01}, {0.01, 0.01, 0.01}))}, cells(0.25)),
              "pin.stl: no cell centre lies in it; the cell size is too large");
}

TEST(ModelBuilder, cell_size_that_would_need_too_many_nodes_is_refused)
{
    EXPECT_EQ(refusal(named("cube.stl", box({0, 0, 0}, {1, 1, 1})), {}, cells(1e-3)),
              "cube.stl: a cell size of 0.001 gives 1.02115e+09 grid nodes; 60 million are possible");
    EXPECT_NE(refusal(named("cube.stl", box({0, 0, 0}, {1, 1, 1})), {}, cells(1e-300)), "no error");
}

TEST(ModelBuilder, surface_that_lacks_a_side_is_refused)
{
    TriangleMesh open = box({0, 0, 0}, {8, 8, 8});
    open.triangle.resize(10); // without the side x = 8
    EXPECT_EQ(refusal(named("open.stl", open), {}, cells(1)).substr(0, 62),
              "open.stl: surface is open (4 edges without a neighbour): the r");
}

TEST(ModelBuilder, small_hole_is_bridged)
{
    TriangleMesh ball = sphere({0, 0, 0}, 8, 40);
    const double volume = buildModel(named("ball", ball), {}, cells(1)).voxel.partVolume;
    ball.triangle.erase(ball.triangle.begin() + 1200);
    const BuiltModel built = buildModel(named("ball", ball), {}, cells(1));
    EXPECT_NEAR(built.voxel.partVolume, volume, 2);
    const MeshZone& zone = built.model.cutCell;
    EXPECT_EQ(checkCells(nodesOf(zone), {&zone.plastic, &zone.moldBase}).badFaces, 0);
}

TEST(ModelBuilder, volume_lost_in_thin_features_is_a_warning)
{
    const NamedSurface comb = named("comb.stl", joined(box({0, 0, 0}, {6, 6, 6}), box({6.51, 0, 2.3}, {6, 6, 0.3})));
    const BuiltModel built = buildModel(comb, {}, cells(1));
    ASSERT_EQ(built.warnings.size(), 1U);
    EXPECT_EQ(built.warnings[0].substr(0, 32), "comb.stl: the cut-cell part has ");
    EXPECT_NE(built.warnings[0].find("less volume than the STL file"), std::string::npos);
}

TEST(ModelBuilder, insert_away_from_the_part_is_a_warning)
{
    const BuiltModel built = buildModel(named("cube", box({0, 0, 0}, {4, 4, 4})), {named("pin.stl", box({8, 0, 0}, {2, 2, 2}))}, cells(1));
    EXPECT_EQ(built.warnings, std::vector<std::string>{"pin.stl: the part insert does not touch the part"});
    EXPECT_TRUE(built.model.voxel.partInterface.empty());
    EXPECT_EQ(built.model.voxel.partInsert.size(), 24U);
}

} // namespace model_builder_test
