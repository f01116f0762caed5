#include "conformity.h"
#include "shapes.h"
#include "tools/cut_cells.h"
#include "tools/stl_file.h"

#include <gtest/gtest.h>

#include <cmath>
#include <numbers>
#include <set>

namespace cut_cells_test
{

using namespace tav3d;
using namespace tav3d::tools;
using namespace tav3d::test;
using opensuite::CellKind;

namespace
{

struct CutModel
{
    BlockGrid grid;
    CutCellMesh mesh;
    double partVolume = 0;
};

CutModel cut(const TriangleMesh& part, double cellSize, const std::vector<TriangleMesh>& inserts = {}, int margin = 2)
{
    CutModel model;
    const Box box = bounds(part);
    model.grid.cellSize = cellSize;
    for (int axis = 0; axis < 3; ++axis)
    {
        model.grid.cells[axis] = static_cast<int>(std::ceil((box.high[axis] - box.low[axis]) / cellSize - 1e-6)) + 2 * margin;
        model.grid.origin[axis] = box.low[axis] - margin * cellSize;
    }
    const BlockSamples samples = sampleBlock(model.grid, part, inserts);
    model.mesh = cutCells(model.grid, samples, part, inserts);
    model.partVolume = checkCells(model.mesh.node, {&model.mesh.plastic}).volume;
    return model;
}

/// All cells together must fill the block, face to face, and only the block's outside may stay open.
void expectConforming(const CutModel& model)
{
    const auto cells = checkCells(model.mesh.node, {&model.mesh.plastic, &model.mesh.moldBase});
    const double cell = model.grid.cellSize;
    const double block = cell * cell * cell * static_cast<double>(model.grid.cellTotal());
    EXPECT_EQ(cells.badFaces, 0);
    EXPECT_EQ(cells.notPositive, 0);
    EXPECT_NEAR(cells.volume, block, 1e-9 * block);
    const auto [nx, ny, nz] = model.grid.cells;
    EXPECT_EQ(cells.outer.size(), 2U * (std::size_t(nx) * ny + std::size_t(ny) * nz + std::size_t(nz) * nx));
    for (const auto& face : cells.outer)
    {
        EXPECT_EQ(face.size(), 4U);
    }
    std::vector<bool> used(model.mesh.node.size(), false);
    for (const auto* list : {&model.mesh.plastic, &model.mesh.moldBase})
    {
        for (const std::int32_t n : list->node)
        {
            used[n - 1] = true;
        }
    }
    EXPECT_EQ(std::count(used.begin(), used.end(), false), 0) << "nodes that no cell uses";
}

std::set<CellKind> kindsOf(const opensuite::CellList& cells)
{
    return {cells.kind.begin(), cells.kind.end()};
}

const std::set<CellKind> allKinds{CellKind::Tetra4, CellKind::Pyramid5, CellKind::Prism6, CellKind::Hexa8};

TriangleMesh housing()
{
    return readStl(std::string(TAV3D_SOURCE_DIR) + "/data/housing.stl").mesh;
}

} // namespace

TEST(CutCells, sphere_is_cut_conformingly_into_all_four_kinds)
{
    const CutModel model = cut(sphere({0.03, 0.01, -0.02}, 1, 48), 0.2);
    expectConforming(model);
    EXPECT_EQ(kindsOf(model.mesh.plastic), allKinds);
    EXPECT_EQ(kindsOf(model.mesh.moldBase), allKinds);
    EXPECT_EQ(model.mesh.guessedCuts, 0);
}

TEST(CutCells, sphere_volume_converges_with_the_square_of_the_cell_size)
{
    const TriangleMesh ball = sphere({0.03, 0.01, -0.02}, 1, 160);
    const double volume = signedVolume(ball);
    for (const double cellSize : {0.4, 0.2, 0.1})
    {
        const double error = std::abs(cut(ball, cellSize).partVolume / volume - 1);
        EXPECT_LT(error, 0.25 * cellSize * cellSize); // facets within the sphere lose about h²/4.5
    }
}

TEST(CutCells, box_on_the_grid_planes_keeps_its_hexahedra_and_its_volume)
{
    const CutModel model = cut(box({1, 2, 3}, {4, 3, 2}), 1.0);
    expectConforming(model);
    EXPECT_EQ(kindsOf(model.mesh.plastic), std::set{CellKind::Hexa8});
    EXPECT_EQ(model.mesh.plastic.size(), 24U);
    EXPECT_NEAR(model.partVolume, 24, 1e-4);
    for (std::size_t i = 0; i < model.grid.nodeTotal(); ++i)
    {
        EXPECT_NEAR(model.mesh.node[i].x, std::round(model.mesh.node[i].x), 2e-5); // snapped where they stood, but for the sampling shift
    }
}

TEST(CutCells, flat_faces_between_the_grid_planes_are_met_but_for_bevelled_edges)
{
    const Vec3 size{3.37, 2.61, 4.45};
    const double volume = size.x * size.y * size.z;
    const double edges = 4 * (size.x + size.y + size.z);
    for (const double cellSize : {1.0, 0.25})
    {
        const CutModel model = cut(box({0, 0, 0}, size), cellSize);
        expectConforming(model);
        EXPECT_LT(volume - model.partVolume, 0.1 * cellSize * cellSize * edges);
        EXPECT_GT(volume - model.partVolume, -1e-3);
    }
}

TEST(CutCells, turned_box_keeps_sharp_edges_well)
{
    const TriangleMesh mesh = turned(box({-1, -0.8, -0.6}, {2, 1.6, 1.2}), 0.8);
    const CutModel model = cut(mesh, 0.2);
    expectConforming(model);
    EXPECT_NEAR(model.partVolume / signedVolume(mesh), 1, 0.01);
    EXPECT_EQ(kindsOf(model.mesh.plastic), allKinds);
}

TEST(CutCells, torus_of_two_cells_thickness_is_still_conforming)
{
    const TriangleMesh ring = torus(1, 0.25, 40);
    const CutModel model = cut(ring, 0.25);
    expectConforming(model);
    EXPECT_NEAR(model.partVolume / signedVolume(ring), 1, 0.1);
}

TEST(CutCells, surface_nodes_lie_on_the_sphere)
{
    const CutModel model = cut(sphere({0, 0, 0}, 1, 100), 0.15);
    std::size_t onSurface = 0;
    for (std::size_t i = 0; i < model.mesh.node.size(); ++i)
    {
        if (model.mesh.onSurface[i] != 0)
        {
            ++onSurface;
            // a few cut points were kept away from corners by less than a cell
            EXPECT_NEAR(length(model.mesh.node[i]), 1, 0.3 * 0.15);
        }
    }
    EXPECT_GT(onSurface, 500U);
}

TEST(CutCells, housing_meets_its_volume_at_three_cells_through_the_wall_and_converges)
{
    const TriangleMesh part = housing();
    const double volume = signedVolume(part);
    const double wall = 2.2;
    std::vector<double> errors;
    for (const double cellSize : {wall, wall / 2, wall / 3})
    {
        errors.push_back(std::abs(cut(part, cellSize).partVolume / volume - 1));
    }
    EXPECT_LT(errors[2], 0.02);
    EXPECT_LT(errors[1], errors[0]);
    EXPECT_LT(errors[2], errors[1]);
}

TEST(CutCells, housing_is_conforming_at_any_cell_size)
{
    const TriangleMesh part = housing();
    for (const double cellSize : {4.0, 2.3, 1.9})
    {
        SCOPED_TRACE(cellSize);
        expectConforming(cut(part, cellSize));
    }
}

TEST(CutCells, housing_with_its_insert_is_conforming)
{
    const TriangleMesh insert = readStl(std::string(TAV3D_SOURCE_DIR) + "/data/insert.stl").mesh;
    const CutModel model = cut(housing(), 1.3, {insert}, 3);
    expectConforming(model);
    EXPECT_EQ(kindsOf(model.mesh.plastic), allKinds);
    EXPECT_EQ(std::set<std::int32_t>(model.mesh.moldBase.body.begin(), model.mesh.moldBase.body.end()), (std::set<std::int32_t>{2, 3}));
}

TEST(CutCells, insert_in_the_parts_own_volume_is_taken_out_along_its_surface)
{
    const TriangleMesh part = box({0, 0, 0}, {2, 2, 2});
    const TriangleMesh insert = sphere({1.01, 0.99, 1.02}, 0.6, 60);
    const CutModel model = cut(part, 0.1, {insert});
    expectConforming(model);
    EXPECT_EQ(model.mesh.guessedCuts, 0);
    EXPECT_NEAR(model.partVolume, 8 - signedVolume(insert), 0.003 * 8);
    double insertVolume = 0;
    for (std::size_t e = 0; e < model.mesh.moldBase.size(); ++e)
    {
        if (model.mesh.moldBase.body[e] == opensuite::body::firstInsert)
        {
            opensuite::CellList one;
            one.add(model.mesh.moldBase.kind[e], model.mesh.moldBase.node.data() + model.mesh.moldBase.start[e], 3);
            insertVolume += checkCells(model.mesh.node, {&one}).volume;
        }
    }
    EXPECT_NEAR(insertVolume, signedVolume(insert), 0.003 * 8);
}

TEST(CutCells, part_that_touches_the_outside_of_the_block_leaves_its_outer_nodes_in_place)
{
    TriangleMesh part = sphere({0, 0, 0}, 1, 20);
    BlockGrid grid{{-0.7, -0.7, -0.7}, 0.2, {7, 7, 7}}; // smaller than the part
    CutModel model{grid, {}, 0};
    const BlockSamples samples = sampleBlock(grid, part, {});
    model.mesh = cutCells(grid, samples, part, {});
    expectConforming(model);
}

} // namespace cut_cells_test
