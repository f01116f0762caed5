#include "interpolation/value_evaluation.h"

#include "Tav3dInterpolation.h"
#include "engine_calls.h"
#include "interpolation/sol_interpolation.h"

#include <gtest/gtest.h>

#include <cmath>
#include <iostream>
#include <limits>

namespace value_evaluation_test
{

using meshes::Mesh;
using meshes::Points;
using meshes::printed;
using meshes::Rows;
using meshes::setMesh;

namespace
{

constexpr double infinity = std::numeric_limits<double>::infinity();
constexpr double notANumber = std::numeric_limits<double>::quiet_NaN();

double linear(double x, double y, double z)
{
    return 1.5 + 0.5 * x - 2.0 * y + 0.25 * z;
}

/// An engine on a mesh, with the tables that node averages need. All weights 1 and all kinds 1 at first.
struct Evaluated
{
    explicit Evaluated(Mesh m)
        : mesh(std::move(m))
    {
        std::vector<std::vector<int>> cells(mesh.node.x.size());
        for (int c = 1; c <= mesh.cell.count(); ++c)
        {
            for (const int n : mesh.cell.row(c))
                cells[static_cast<std::size_t>(n)].push_back(c);
            kind.add({0}); // room for kind and index
            kind.data()[c][0] = 1;
            kind.data()[c][1] = c;
        }
        for (std::size_t n = 1; n < cells.size(); ++n)
            nodeCell.add(cells[n]);
        const std::size_t size = mesh.centre.x.size();
        weight.assign(size, 1.0);
        for (auto& v : vectors)
            v.assign(size, 0.0);
        setMesh(engine, mesh);
        engine.m_ppNodeCell = nodeCell.data();
        engine.m_ppCellInterType = kind.data();
        engine.m_pCellInterWeight = weight.data();
        double** const member[12] = {&engine.m_pInterVec1X, &engine.m_pInterVec1Y, &engine.m_pInterVec1Z, &engine.m_pInterVec2X,
                                     &engine.m_pInterVec2Y, &engine.m_pInterVec2Z, &engine.m_pInterVec3X, &engine.m_pInterVec3Y,
                                     &engine.m_pInterVec3Z, &engine.m_pInterVec5X, &engine.m_pInterVec5Y, &engine.m_pInterVec5Z};
        for (std::size_t k = 0; k < 12; ++k)
            *member[k] = vectors[k].data();
    }

    void setKind(int cell, int newKind, int index)
    {
        kind.data()[cell][0] = newKind;
        kind.data()[cell][1] = index;
    }

    /// One loaded field.
    void loadField(std::vector<float> values)
    {
        field = std::move(values);
        engine.AllocateFieldTable(1);
        engine.m_ppPhiValue[0] = field.data();
        engine.m_nResultItem = 1;
    }

    /// Node mean as a node's value: evaluation at the place of the node.
    template <class Real>
    Real valueAtNode(int cell, int node, const std::vector<Real>& cellValues) const
    {
        const auto n = static_cast<std::size_t>(node);
        Real value = -99;
        engine.GetPhiValue(cell, cellValues.data(), value, mesh.node.x[n], mesh.node.y[n], mesh.node.z[n]);
        return value;
    }

    Mesh mesh;
    Rows nodeCell;
    Rows kind;
    std::vector<double> weight;
    std::array<std::vector<double>, 12> vectors; // kind 1 x, y, z, kind 2 x, ...
    std::vector<float> field;
    CSolInterpolation engine;
};

/// Two tetrahedra on the two sides of the face 1 2 3.
Mesh twoTetrahedra()
{
    Mesh mesh;
    mesh.node = {{0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {0, 0, 1}, {0, 0, -1}};
    mesh.addCell({1, 2, 3, 4});
    mesh.addCell({1, 3, 2, 5});
    return mesh;
}

/// Points well inside an element: its nodes pulled towards its centre.
Points insideOf(const Mesh& mesh, int cell)
{
    Points points;
    const auto c = static_cast<std::size_t>(cell);
    for (const int node : mesh.cell.row(cell))
        for (const double t : {0.0, 0.3, 0.7})
        {
            const auto n = static_cast<std::size_t>(node);
            points.add(mesh.centre.x[c] + t * (mesh.node.x[n] - mesh.centre.x[c]),
                       mesh.centre.y[c] + t * (mesh.node.y[n] - mesh.centre.y[c]),
                       mesh.centre.z[c] + t * (mesh.node.z[n] - mesh.centre.z[c]));
        }
    return points;
}

constexpr const char* kindError = "\n In interpolation, Error in Interpolating data at cell center to node!!\n";

} // namespace

TEST(FieldValue, linear_fields_are_reproduced_in_all_four_elements)
{
    Evaluated e(meshes::oneOfEach());
    e.loadField(meshes::sample<float>(e.mesh.node, linear));
    // the field as the floats hold it is not exactly linear: compare within their rounding
    for (int c = 1; c <= 4; ++c)
    {
        Points p = insideOf(e.mesh, c);
        e.engine.SetNDataPoint(p.count());
        for (int i = 1; i <= p.count(); ++i)
        {
            const auto k = static_cast<std::size_t>(i);
            ASSERT_EQ(e.engine.SetDataPoint(i, p.x[k], p.y[k], p.z[k]), c);
            double value = 0;
            e.engine.GetPhiValue(i, 0, value);
            EXPECT_NEAR(value, linear(p.x[k], p.y[k], p.z[k]), 2e-6);
        }
        e.engine.CleanDataPoint();
    }
}

TEST(FieldValue, linear_fields_without_rounding_are_reproduced_to_rounding)
{
    for (int c = 1; c <= 4; ++c)
    {
        const Mesh mesh = meshes::oneOfEach();
        const tav3d::interpolation::NumberedPoints nodes(mesh.node.x.data(), mesh.node.y.data(), mesh.node.z.data(), mesh.node.count());
        std::vector<int> row = mesh.cell.row(c);
        row.insert(row.begin(), static_cast<int>(row.size()));
        const Points p = insideOf(mesh, c);
        for (std::size_t k = 1; k < p.x.size(); ++k)
        {
            auto element =
                tav3d::interpolation::gatherElement(row.data(), nodes, [&](int n) { return linear(nodes[n].x, nodes[n].y, nodes[n].z); });
            tav3d::interpolation::evaluateShape(element, {p.x[k], p.y[k], p.z[k]});
            EXPECT_NEAR(element.sum(), linear(p.x[k], p.y[k], p.z[k]), 1e-12) << "cell " << c;
        }
    }
}

TEST(FieldValue, at_a_node_the_value_is_the_nodes)
{
    Evaluated e(meshes::oneOfEach());
    e.loadField(meshes::sample<float>(e.mesh.node, [](double x, double y, double z) { return x * y - 3 * z * z; }));
    e.engine.SetNDataPoint(1);
    for (int c = 1; c <= 4; ++c)
        for (const int node : e.mesh.cell.row(c))
        {
            const auto n = static_cast<std::size_t>(node);
            ASSERT_EQ(e.engine.SetDataPoint(1, e.mesh.node.x[n], e.mesh.node.y[n], e.mesh.node.z[n]), c);
            double value = 0;
            e.engine.GetPhiValue(1, 0, value);
            EXPECT_NEAR(value, static_cast<double>(e.field[n]), 1e-9);
        }
}

TEST(FieldValue, facade_evaluates_fields_of_the_host)
{
    Mesh mesh = meshes::unitCube();
    std::vector<float> field = meshes::sample<float>(mesh.node, [](double x, double, double) { return 8 * x; });
    CTav3dInterpolation facade;
    setMesh(facade, mesh);
    facade.SetNPhiValue(2);
    facade.SetPhiValue(2, field.data());
    facade.SetNDataPoint(1);
    facade.SetDataPoint(1, 0.25, 0.5, 0.5);
    double value = 0;
    facade.GetPhiValue(1, 2, value);
    EXPECT_NEAR(value, 2.0, 1e-12);
    facade.CleanDataPoint();
}

TEST(CellValue, nodes_get_the_weighted_mean_of_their_cells)
{
    Evaluated e(twoTetrahedra());
    e.weight = {0, 2.0, 2.0};
    e.engine.m_pCellInterWeight = e.weight.data();
    const std::vector<double> values = {0, 1, 3};
    EXPECT_NEAR(e.valueAtNode(1, 1, values), 2.0, 1e-14);
    EXPECT_NEAR(e.valueAtNode(1, 4, values), 1.0, 1e-14) << "in cell 1 only";
    e.weight = {0, 3.0, 1.0};
    e.engine.m_pCellInterWeight = e.weight.data();
    EXPECT_NEAR(e.valueAtNode(1, 1, values), 1.5, 1e-14);
}

TEST(CellValue, all_forms_agree_up_to_the_rounding_of_floats)
{
    Evaluated e(twoTetrahedra());
    e.weight = {0, 1.0, 3.0};
    e.engine.m_pCellInterWeight = e.weight.data();
    std::vector<double> values = {0, 0.1, 0.7};
    std::vector<float> floats = {0, 0.1f, 0.7f};
    e.engine.SetNDataPoint(1);
    ASSERT_EQ(e.engine.SetDataPoint(1, 0.1, 0.2, 0.3), 1);
    double atDataPoint = 0;
    double fromFloats = 0;
    double atPoint = 0;
    float single = 0;
    const CSolInterpolation& constant = e.engine;
    e.engine.GetPhiValue(1, values.data(), atDataPoint);
    e.engine.GetPhiValue(1, floats.data(), fromFloats);
    constant.GetPhiValue(1, values.data(), atPoint, 0.1, 0.2, 0.3);
    constant.GetPhiValue(1, floats.data(), single, 0.1, 0.2, 0.3);
    EXPECT_EQ(atDataPoint, atPoint);
    EXPECT_NEAR(fromFloats, atPoint, 1e-7);
    EXPECT_EQ(single, static_cast<float>(fromFloats)) << "the same sum in double, rounded once";
    // nodes 1 to 3 have the mean (0.1 + 3 * 0.7) / 4, node 4 has 0.1
    EXPECT_NEAR(atPoint, 0.7 * 0.55 + 0.3 * 0.1, 1e-14);
    e.engine.CleanDataPoint();
}

TEST(CellValue, float_means_are_rounded_before_they_are_weighted)
{
    Evaluated e(twoTetrahedra());
    const std::vector<float> values = {0, 1.0f, 1.0f + 0x1p-22f};
    const double mean = (1.0 + (1.0 + 0x1p-22)) / 2.0; // 1 + 2^-23: a float
    EXPECT_EQ(tav3d::interpolation::averageAtNode({e.nodeCell.data(), e.kind.data(), e.weight.data(), {}}, 1, values.data()),
              static_cast<float>(mean));
    const std::vector<float> close = {0, 1.0f, 1.0f + 0x1p-23f}; // mean 1 + 2^-24: rounds to 1
    EXPECT_EQ(tav3d::interpolation::averageAtNode({e.nodeCell.data(), e.kind.data(), e.weight.data(), {}}, 1, close.data()), 1.0f);
}

// DELIBERATE zero-weight-cells-only
TEST(CellValue, one_cell_of_weight_zero_shuts_out_the_others)
{
    const std::vector<double> values = {0, 1, 3};
    for (const int kind : {1, 2, 3, 5})
    {
        Evaluated e(twoTetrahedra());
        e.weight[2] = 0.0;
        e.setKind(2, kind, 1);
        const std::size_t x = 3 * static_cast<std::size_t>(kind == 5 ? 3 : kind - 1);
        e.vectors[x][1] = 2;
        EXPECT_NEAR(e.valueAtNode(1, 1, values), 3.0, 1e-14) << "kind " << kind;
        EXPECT_NEAR(e.valueAtNode(1, 4, values), 1.0, 1e-14) << "cell 1 alone has its weight";
        e.weight[1] = -0.0; // zero as well
        e.setKind(1, kind, 2);
        e.vectors[x][2] = 3;
        e.vectors[x + 1][2] = 0;
        e.vectors[x + 2][2] = 4; // length 5 for cell 1 beside 2 for cell 2
        EXPECT_NEAR(e.valueAtNode(1, 1, values), (5.0 * 1 + 2.0 * 3) / 7.0, 1e-14) << "kind " << kind;
    }
}

TEST(CellValue, negative_weights_are_weights)
{
    Evaluated e(twoTetrahedra());
    e.weight[1] = -1.0;
    e.weight[2] = 3.0;
    EXPECT_NEAR(e.valueAtNode(1, 1, std::vector<double>{0, 1, 3}), 4.0, 1e-14);
}

TEST(CellValue, weight_that_is_not_a_number_is_not_zero)
{
    Evaluated e(twoTetrahedra());
    e.weight[1] = notANumber;
    e.vectors[0][2] = 1;
    const std::vector<double> values = {0, 1, 3};
    EXPECT_TRUE(std::isnan(e.valueAtNode(1, 1, values)));
    e.weight[2] = 0.0;
    EXPECT_NEAR(e.valueAtNode(2, 1, values), 3.0, 1e-14);
}

// DELIBERATE unknown-kind-goes-on
TEST(CellValue, unknown_kind_is_reported_and_uses_the_vector_before)
{
    const Evaluated made(twoTetrahedra());
    Evaluated e(twoTetrahedra());
    e.weight = {0, 0.0, 0.0};
    e.engine.m_pCellInterWeight = e.weight.data();
    e.vectors[0][1] = 2;
    e.setKind(1, 1, 1);
    e.setKind(2, 4, 1);
    const std::vector<double> values = {0, 1, 3};
    const auto mean = [&](int node)
    {
        tav3d::interpolation::NodeAveraging averaging{e.nodeCell.data(), e.kind.data(), e.weight.data(), {}};
        averaging.kindVectors[1] = {e.vectors[0].data(), e.vectors[1].data(), e.vectors[2].data()};
        return tav3d::interpolation::averageAtNode(averaging, node, values.data());
    };
    double value = 0;
    EXPECT_EQ(printed([&] { value = mean(1); }), kindError);
    EXPECT_EQ(value, 2.0) << "both have length 2";
    EXPECT_EQ(printed([&] { value = mean(5); }), kindError) << "reported every time";
    EXPECT_TRUE(std::isnan(value)) << "no cell before: the vector is (0, 0, 0), and the mean 0/0";
    e.setKind(1, 0, 1);
    EXPECT_EQ(printed([&] { value = mean(1); }), std::string(kindError) + kindError);
}

// DELIBERATE node-without-cells-is-nan
TEST(CellValue, node_without_cells_makes_the_value_nan)
{
    Evaluated e(twoTetrahedra());
    e.nodeCell.data()[4][0] = 0;
    const std::vector<double> values = {0, 1, 3};
    double value = 0;
    e.engine.GetPhiValue(1, values.data(), value, 0.25, 0.25, 0.25);
    EXPECT_TRUE(std::isnan(value));
    e.engine.GetPhiValue(2, values.data(), value, 0.25, 0.25, -0.25);
    EXPECT_FALSE(std::isnan(value)) << "node 4 is none of cell 2";
}

TEST(CellValue, cell_number_beyond_the_cells_leaves_the_value)
{
    Evaluated e(twoTetrahedra());
    const std::vector<double> values = {0, 1, 3};
    const std::vector<float> floats = {0, 1, 3};
    double value = 7;
    float single = 7;
    for (const int cell : {0, 3, -1})
    {
        e.engine.GetPhiValue(cell, values.data(), value, 0.2, 0.2, 0.2);
        e.engine.GetPhiValue(cell, floats.data(), single, 0.2, 0.2, 0.2);
    }
    EXPECT_EQ(value, 7);
    EXPECT_EQ(single, 7);
}

TEST(CellValue, point_that_is_not_a_number_gives_no_number)
{
    Evaluated e(meshes::oneOfEach());
    const std::vector<double> values = {0, 1, 1, 1, 1};
    for (int c = 1; c <= 4; ++c)
    {
        double value = 0;
        e.engine.GetPhiValue(c, values.data(), value, notANumber, 0, 0);
        EXPECT_TRUE(std::isnan(value)) << "cell " << c;
    }
}

TEST(Diagnostics, data_point_forms_print_what_they_use)
{
    Evaluated e(twoTetrahedra());
    e.loadField({0, 1, 2, 3, 4, 5});
    e.engine.m_nDebugLevel = 1;
    e.engine.SetNDataPoint(1);
    printed([&] { ASSERT_EQ(e.engine.SetDataPoint(1, 0, 0, 0.5), 1); });
    double value = 0;
    const std::string nodes[] = {"NowNode=1, pX=0, pY=0, pZ=0", "NowNode=2, pX=1, pY=0, pZ=0", "NowNode=3, pX=0, pY=1, pZ=0",
                                 "NowNode=4, pX=0, pY=0, pZ=1"};
    const std::string place = "NCellID=1, Xc=0.25, Yc=0.25, Zc=0.25\nNodeID=1, X=0, Y=0, Z=0.5\n";
    EXPECT_EQ(printed([&] { e.engine.GetPhiValue(1, 0, value); }), nodes[0] + "\n" + nodes[1] + "\n" + nodes[2] + "\n" + nodes[3] + "\n" +
                                                                       place +
                                                                       "iN=1, pU=1, pNWet=0.5\niN=2, pU=2, pNWet=0\niN=3, pU=3, pNWet=0\n"
                                                                       "iN=4, pU=4, pNWet=0.5\n");
    EXPECT_EQ(value, 2.5);

    std::vector<double> values = {0, 1, 3};
    const std::string cellValues = nodes[0] + ", pU=2\n" + nodes[1] + ", pU=2\n" + nodes[2] + ", pU=2\n" + nodes[3] + ", pU=1\n" + place +
                                   "iN=1, pU=2, pNWet=0.5\niN=2, pU=2, pNWet=0\niN=3, pU=2, pNWet=0\niN=4, pU=1, pNWet=0.5\n";
    EXPECT_EQ(printed([&] { e.engine.GetPhiValue(1, values.data(), value); }), cellValues);
    std::vector<float> floats = {0, 1, 3};
    EXPECT_EQ(printed([&] { e.engine.GetPhiValue(1, floats.data(), value); }), cellValues);
    EXPECT_EQ(printed([&] { e.engine.GetPhiValue(1, values.data(), value, 0, 0, 0.5); }), "") << "the forms at a point are silent";
    e.engine.m_nDebugLevel = -1;
    EXPECT_EQ(printed([&] { e.engine.GetPhiValue(1, 0, value); }), "");
}

TEST(CellData, loaded_field_is_evaluated_in_the_rows_of_the_host)
{
    Evaluated e(meshes::oneOfEach());
    e.loadField(meshes::sample<float>(e.mesh.node, linear));
    // rows in another order than the mesh's
    Rows rows = {e.mesh.cell.row(4), e.mesh.cell.row(2)};
    Points p = {{e.mesh.centre.x[4], e.mesh.centre.y[4], e.mesh.centre.z[4]}, {e.mesh.centre.x[2], e.mesh.centre.y[2], e.mesh.centre.z[2]}};
    std::vector<double> values = {-1, -1, -1};
    e.engine.GetCellData(0, 2, rows.data(), p.x.data(), p.y.data(), p.z.data(), values.data());
    EXPECT_EQ(values[0], -1);
    for (std::size_t i = 1; i <= 2; ++i)
        EXPECT_NEAR(values[i], linear(p.x[i], p.y[i], p.z[i]), 2e-6);
}

TEST(CellData, field_that_is_not_loaded_or_no_cells_write_nothing)
{
    Evaluated e(meshes::unitCube());
    e.loadField(std::vector<float>(9, 1.0f));
    Points p = {{0.5, 0.5, 0.5}};
    std::vector<double> values = {-1, -1};
    std::vector<int> cells = {0, 1};
    Rows face = {{1, 2, 3, 4}};
    for (const auto& [field, count] : {std::pair{1, 1}, std::pair{7, 1}, std::pair{0, 0}, std::pair{0, -1}})
    {
        e.engine.GetCellData(field, count, e.mesh.cell.data(), p.x.data(), p.y.data(), p.z.data(), values.data());
        e.engine.GetInterData(field, 5, e.mesh.cell.data(), p.x.data(), p.y.data(), p.z.data(), count, cells.data(), values.data());
        e.engine.GetFaceData(field, count, face.data(), p.x.data(), p.y.data(), p.z.data(), values.data());
        EXPECT_EQ(values[1], -1);
    }
    // DELIBERATE loaded-fields-from-zero
    e.engine.GetCellData(0, 1, e.mesh.cell.data(), p.x.data(), p.y.data(), p.z.data(), values.data());
    EXPECT_NEAR(values[1], 1.0, 1e-14);
}

TEST(CellData, rows_without_an_element_give_zero_when_empty_and_nan_otherwise)
{
    Evaluated e(meshes::oneOfEach());
    e.loadField(std::vector<float>(e.mesh.node.x.size(), 2.0f));
    Rows rows = {{}, {1, 2}, {1, 2, 3, 4, 5, 6, 7}, {1, 2, 3, 4, 5, 6, 7, 8, 9}};
    Points p = {{0, 0, 0}, {0, 0, 0}, {0, 0, 0}, {0, 0, 0}};
    std::vector<double> values(5, -1.0);
    e.engine.GetCellData(0, 4, rows.data(), p.x.data(), p.y.data(), p.z.data(), values.data());
    EXPECT_EQ(values[1], 0.0);
    for (std::size_t i = 2; i <= 4; ++i)
        EXPECT_TRUE(std::isnan(values[i]));
    values.assign(5, -1.0);
    e.engine.GetFaceData(0, 2, rows.data(), p.x.data(), p.y.data(), p.z.data(), values.data());
    EXPECT_EQ(values[1], 0.0);
    EXPECT_TRUE(std::isnan(values[2]));
}

// DELIBERATE inter-data-ignores-count
TEST(InterData, loop_runs_over_the_listed_cells_whatever_the_count_says)
{
    Evaluated e(meshes::oneOfEach());
    e.loadField(meshes::sample<float>(e.mesh.node, linear));
    std::vector<int> cells = {0, 3, 1, 3};
    Points p;
    for (const std::size_t c : {3, 1, 3})
        p.add(e.mesh.centre.x[c], e.mesh.centre.y[c], e.mesh.centre.z[c]);
    for (const int count : {0, 1, 99, -4})
    {
        std::vector<double> values(4, -1.0);
        e.engine.GetInterData(0, count, e.mesh.cell.data(), p.x.data(), p.y.data(), p.z.data(), 3, cells.data(), values.data());
        EXPECT_EQ(values[0], -1.0);
        for (std::size_t j = 1; j <= 3; ++j)
            EXPECT_NEAR(values[j], linear(p.x[j], p.y[j], p.z[j]), 2e-6);
    }
}

TEST(FaceData, linear_fields_are_reproduced_on_tilted_faces)
{
    // A triangle and a parallelogram in space.
    Mesh mesh;
    mesh.node = {{1, 2, 3}, {4, 2, 4}, {3, 5, 3}, {0, 5, 2}};
    Evaluated e(std::move(mesh));
    e.loadField(meshes::sample<float>(e.mesh.node, linear)); // exact in float
    Rows rows = {{1, 2, 3}, {1, 2, 3, 4}, {2, 3, 4, 1}, {3, 2, 1}};
    Points p;
    for (int i = 0; i < 4; ++i)
        p.add(1 + 0.3 * 3 + 0.4 * 2, 2 + 0.4 * 3, 3 + 0.3 * 1); // p1 + 0.3 (p2 - p1) + 0.4 (p3 - p1)
    std::vector<double> values(5, -1.0);
    e.engine.GetFaceData(0, 4, rows.data(), p.x.data(), p.y.data(), p.z.data(), values.data());
    EXPECT_EQ(values[0], -1.0);
    for (std::size_t i = 1; i <= 4; ++i)
        EXPECT_NEAR(values[i], linear(p.x[1], p.y[1], p.z[1]), 1e-12) << i;
}

TEST(FaceData, point_off_the_face_is_projected_onto_it)
{
    Evaluated e(meshes::unitCube());
    e.loadField(meshes::sample<float>(e.mesh.node, [](double x, double y, double) { return x + 10 * y; }));
    Rows rows = {{1, 2, 3, 4}};
    Points p = {{0.25, 0.5, 7.0}};
    std::vector<double> values(2, -1.0);
    e.engine.GetFaceData(0, 1, rows.data(), p.x.data(), p.y.data(), p.z.data(), values.data());
    EXPECT_NEAR(values[1], 5.25, 1e-12);
}

TEST(FaceData, at_a_node_the_value_is_the_nodes)
{
    Evaluated e(meshes::unitCube());
    e.loadField({0, 3, 1, 4, 1, 5, 9, 2, 6});
    Rows rows = {{2, 6, 7, 3}, {2, 6, 7}};
    for (const int node : {2, 6, 7})
    {
        const auto n = static_cast<std::size_t>(node);
        Points p;
        for (int i = 0; i < 2; ++i)
            p.add(e.mesh.node.x[n], e.mesh.node.y[n], e.mesh.node.z[n]);
        std::vector<double> values(3, -1.0);
        e.engine.GetFaceData(0, 2, rows.data(), p.x.data(), p.y.data(), p.z.data(), values.data());
        EXPECT_NEAR(values[1], static_cast<double>(e.field[n]), 1e-12);
        EXPECT_NEAR(values[2], static_cast<double>(e.field[n]), 1e-12);
    }
}

// DELIBERATE missing-element-once
// DELIBERATE missing-element-full-stop
TEST(MissingElementDeathTest, each_operation_reports_once_in_the_life_of_a_process)
{
    ::testing::GTEST_FLAG(death_test_style) = "threadsafe"; // a process of its own, in which nothing has been reported yet
    const auto child = []
    {
        std::cout.rdbuf(std::cerr.rdbuf()); // standard error is what the test sees of a child
        Evaluated e(twoTetrahedra());
        e.loadField(std::vector<float>(6, 1.0f));
        std::vector<double> values = {0, 1, 3};
        std::vector<float> floats = {0, 1, 3};
        e.engine.SetNDataPoint(2); // both in cell 0
        e.engine.m_pDataCell[2] = 3;
        double value = 7;
        float single = 7;
        for (int repeat = 0; repeat < 2; ++repeat)
        {
            e.engine.GetPhiValue(1, 0, value);
            std::cout << "[1]";
            e.engine.GetPhiValue(2, values.data(), value);
            std::cout << "[2]";
            e.engine.GetPhiValue(1, floats.data(), value);
            std::cout << "[3]";
            e.engine.GetPhiValue(-5, values.data(), value, 0, 0, 0);
            std::cout << "[4]";
            e.engine.GetPhiValue(3, floats.data(), single, 0, 0, 0);
            std::cout << "[5]";
        }
        std::exit(value == 7 && single == 7 ? 0 : 2);
    };
    const std::string first = "\nSymptom:\nThere is no interpolation reference element for this node";
    const std::string last = "\nSolution:\nPlease check the position of the interpolation node.\n";
    const std::string expected = first + ".\n" + last + "[1]" +                                                                    //
                                 first + "\nparticle ID = 2\nCell ID = 3\nThere are total 2 Cell in the domain\n" + last + "[2]" + //
                                 first + "\n" + last + "[3]" +                                                                     //
                                 first + "\nCell ID = -5\nThere are total 2 Cell in the domain\n" + last + "[4]" +                 //
                                 first + "\nCell ID = 3\nThere are total 2 Cell in the domain\n" + last + "[5]" +                  //
                                 "[1][2][3][4][5]";
    EXPECT_EXIT(child(), ::testing::ExitedWithCode(0), ::testing::Eq(expected));
}

} // namespace value_evaluation_test
