// The exported class hands every argument on in its place.

#include "Tav3dInterpolation.h"
#include "engine_calls.h"
#include "interpolation/sol_interpolation.h"
#include "opensuite/result_samples.h"
#include "support/scratch_folder.h"

#include <gtest/gtest.h>

#include <array>
#include <cmath>

namespace facade_test
{

using meshes::Mesh;
using meshes::Points;
using meshes::Rows;
using meshes::setMesh;
using meshes::sort;
using meshes::sortCentre;

TEST(Facade, kind_vectors_are_taken_in_their_order)
{
    // Two tetrahedra around the face 1 2 3, both of weight 0. Cell 1 is of the kind under test, cell 2 always of kind 1 and length 1; so
    // the mean at node 1 tells the length that was found for cell 1.
    Mesh mesh;
    mesh.node = {{0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {0, 0, 1}, {0, 0, -1}};
    mesh.addCell({1, 2, 3, 4});
    mesh.addCell({1, 3, 2, 5});
    Rows nodeCell = {{1, 2}, {1, 2}, {1, 2}, {1}, {2}};
    std::array<int, 2> kindOfCell[2];
    int* kind[] = {nullptr, kindOfCell[0].data(), kindOfCell[1].data()};
    std::vector<double> weight = {9, 0, 0};
    std::array<std::vector<double>, 12> v; // kind 1 x, y, z, kind 2 x, y, z, ...
    for (std::size_t k = 0; k < 12; ++k)
        v[k] = {0, 0, static_cast<double>(k + 1)}; // components 1, 2, 3 | 4, 5, 6 | ... at index 2
    v[0][1] = 1.0;                                 // kind 1 at index 1: length 1
    CTav3dInterpolation facade;
    setMesh(facade, mesh);
    facade.SetInterGeometry(nodeCell.data(), kind, weight.data(), v[0].data(), v[1].data(), v[2].data(), v[3].data(), v[4].data(),
                            v[5].data(), v[6].data(), v[7].data(), v[8].data(), v[9].data(), v[10].data(), v[11].data());
    kindOfCell[1] = {1, 1};
    const std::vector<double> cellValues = {0, 1, 0};
    const std::vector<float> cellFloats = {0, 1, 0};
    for (const int k : {1, 2, 3, 5})
    {
        kindOfCell[0] = {k, 2};
        const double first = 3.0 * (k == 5 ? 3 : k - 1);
        const double length = std::hypot(first + 1, first + 2, first + 3);
        double value = 0;
        float single = 0;
        const CTav3dInterpolation& constant = facade;
        constant.GetPhiValue(1, cellValues.data(), value, 0, 0, 0);
        constant.GetPhiValue(1, cellFloats.data(), single, 0, 0, 0);
        EXPECT_NEAR(value, length / (length + 1), 1e-14) << "kind " << k;
        EXPECT_NEAR(single, length / (length + 1), 1e-7) << "kind " << k;

        facade.SetNDataPoint(1);
        ASSERT_EQ(facade.SetDataPoint(1, 0, 0, 1), 1);
        std::vector<double> doubles = {0, 7, 0};
        std::vector<float> floats = {0, 7, 0};
        facade.GetPhiValue(1, doubles.data(), value);
        EXPECT_NEAR(value, 7, 1e-14) << "node 4 knows cell 1 only";
        value = 0;
        facade.GetPhiValue(1, floats.data(), value);
        EXPECT_NEAR(value, 7, 1e-14);
        facade.CleanDataPoint();
    }
}

TEST(Facade, sorting_and_interpolation_are_the_engines)
{
    Mesh mesh = meshes::grid(3, 3.0, 0.1);
    Points data = {{1.2, 1.4, 1.6}, {1.7, 1.3, 1.4}};
    const auto f = [](double x, double y, double z) { return x * x + y - z; };
    std::vector<double> onNodes = meshes::sample<double>(mesh.node, f);
    std::vector<double> onCells = meshes::sample<double>(mesh.centre, f);
    CTav3dInterpolation facade;
    CSolInterpolation engine;
    sort(facade, mesh, data);
    sort(engine, mesh, data);
    double ours = 0;
    double theirs = 1;
    facade.GetInterpolation(2, onNodes.data(), ours);
    engine.GetInterpolation(2, onNodes.data(), theirs);
    EXPECT_EQ(ours, theirs);
    EXPECT_NEAR(ours, f(1.7, 1.3, 1.4), 0.1);

    sortCentre(facade, mesh, data);
    sortCentre(engine, mesh, data);
    facade.GetInterpolationCenter(1, onCells.data(), ours);
    engine.GetInterpolationCenter(1, onCells.data(), theirs);
    EXPECT_EQ(ours, theirs);
}

// DELIBERATE interpolation-skips-one
TEST(Facade, data_point_placed_in_cell_one_after_sorting_is_skipped)
{
    Mesh mesh = meshes::grid(2, 2.0);
    Points sorted = {{1.5, 0.5, 0.5}};
    std::vector<double> onNodes(mesh.node.x.size(), 5.0);
    CTav3dInterpolation facade;
    setMesh(facade, mesh);
    sort(facade, mesh, sorted);
    facade.SetNDataPoint(1);
    double value = -3;
    ASSERT_EQ(facade.SetDataPoint(1, 0.6, 0.4, 0.3), 1);
    facade.GetInterpolation(1, onNodes.data(), value);
    EXPECT_EQ(value, -3);
    ASSERT_EQ(facade.SetDataPoint(1, 1.4, 0.4, 0.3), 2);
    facade.GetInterpolation(1, onNodes.data(), value);
    EXPECT_NEAR(value, 5, 0.1) << "in any other cell: the stencil of the sorting, the new place";
    facade.CleanDataPoint();
}

TEST(Facade, loaded_fields_are_evaluated_in_cells_and_on_faces)
{
    const tav3d::test::ScratchFolder folder;
    ASSERT_EQ(tav3d::test::writeSampleResult(folder.file("a.q7f")), 0);
    Mesh mesh;
    mesh.node = {{0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {0, 0, 1}, {1, 0, 1}, {0, 1, 1}}; // a prism; field 0 is its node number
    mesh.addCell({1, 2, 3, 4, 5, 6});
    CTav3dInterpolation facade;
    setMesh(facade, mesh);
    facade.SetResourceFileName(folder.file("a.q7f").c_str());

    Points p = {{0.25, 0.5, 0.5}, {0, 0, 1}};
    std::vector<double> values(3, -1.0);
    std::vector<int> cells = {0, 1, 1};
    facade.GetInterData(0, 0, mesh.cell.data(), p.x.data(), p.y.data(), p.z.data(), 2, cells.data(), values.data());
    EXPECT_NEAR(values[1], 1 + 0.25 + 2 * 0.5 + 3 * 0.5, 1e-12);
    EXPECT_NEAR(values[2], 4, 1e-12);

    Rows faces = {{1, 2, 5, 4}, {4, 5, 6}};
    Points q = {{0.5, 0, 0.5}, {0, 0.5, 1}};
    facade.GetFaceData(0, 2, faces.data(), q.x.data(), q.y.data(), q.z.data(), values.data());
    EXPECT_NEAR(values[1], 3, 1e-12);
    EXPECT_NEAR(values[2], 5, 1e-12);

    values.assign(3, -1.0);
    facade.GetInterData(4, 0, mesh.cell.data(), p.x.data(), p.y.data(), p.z.data(), 2, cells.data(), values.data());
    facade.GetFaceData(4, 2, faces.data(), q.x.data(), q.y.data(), q.z.data(), values.data());
    EXPECT_EQ(values[1], -1.0) << "there are fields 0 to 3";
}

} // namespace facade_test
