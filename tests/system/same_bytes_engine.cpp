// The probe of the interpolation engine.

#include "same_bytes_probe.h"

#include "Tav3dInterpolation.h"
#include "common/processor.h"
#include "interpolation/meshes.h"
#include "interpolation/quadrature.h"
#include "interpolation/sol_interpolation.h"

#include <array>
#include <limits>
#include <memory>

namespace tav3d::probe
{
namespace
{

constexpr double nan = std::numeric_limits<double>::quiet_NaN();
constexpr double infinity = std::numeric_limits<double>::infinity();
constexpr float wildFloats[] = {0.0f,
                                -0.0f,
                                1e-45f,
                                -3.4e38f,
                                std::numeric_limits<float>::infinity(),
                                -std::numeric_limits<float>::infinity(),
                                1e10f,
                                0.05f,
                                123456.5f,
                                std::numeric_limits<float>::quiet_NaN(),
                                -std::numeric_limits<float>::quiet_NaN()};

double smooth(double x, double y, double z)
{
    return (x - 0.4 * y) * (1.5 - z) + 0.25 * x * y * z + 3.0;
}

double kinked(double x, double y, double z)
{
    return (x > y ? x - y : 0.0) + z * z;
}

/// A grid of 5 x 5 x 5 hexahedra over a cube of edge 5, its inner nodes moved by up to 0.2.
meshes::Mesh hexahedra()
{
    meshes::Mesh mesh = meshes::grid(5, 5.0);
    Numbers numbers(3);
    for (std::size_t i = 1; i < mesh.node.x.size(); ++i)
        for (std::vector<double>* axis : {&mesh.node.x, &mesh.node.y, &mesh.node.z})
        {
            const double shift = numbers.next(-0.2, 0.2);
            if ((*axis)[i] > 0.0 && (*axis)[i] < 5.0)
                (*axis)[i] += shift;
        }
    return mesh;
}

meshes::Points scaled(const meshes::Points& points, double factor)
{
    meshes::Points result = points;
    for (std::vector<double>* axis : {&result.x, &result.y, &result.z})
        for (double& c : *axis)
            c *= factor;
    return result;
}

/// Points inside and outside the cube, on nodes, on faces, and twice the same.
meshes::Points dataPoints(const meshes::Mesh& mesh)
{
    meshes::Points points;
    Numbers numbers(4);
    for (int q = 0; q < 40; ++q)
    {
        const double x = numbers.next(-0.5, 5.5), y = numbers.next(-0.5, 5.5);
        points.add(x, y, numbers.next(-0.5, 5.5));
    }
    for (const std::size_t node : {std::size_t{1}, std::size_t{50}, std::size_t{87}})
        points.add(mesh.node.x[node], mesh.node.y[node], mesh.node.z[node]);
    points.add(2.5, 2.5, 2.5);
    points.add(2.5, 2.5, 2.5);
    points.add(5.0, 1.25, 0.0);
    return points;
}

/// GetInterpolation and GetInterpolationCenter, and the tables behind them, for a mesh in several sizes.
void probeQuadrature(const std::string& name, meshes::Mesh mesh)
{
    Record record("quadrature-" + name);
    auto& [node, cell, centre] = mesh;
    const meshes::Points where = dataPoints(mesh);
    for (const double factor : {1.0, 0.01, 1000.0})
    {
        meshes::Points n = scaled(node, factor), c = scaled(centre, factor), data = scaled(where, factor);
        CSolInterpolation nodes, centres;
        nodes.SetSorting(n.count(), cell.count(), n.x.data(), n.y.data(), n.z.data(), cell.data(), data.count(), data.x.data(),
                         data.y.data(), data.z.data());
        meshes::Points padded = n; // the nearest node is sought among as many entries as there are cells
        while (padded.count() < cell.count())
            padded.add(-1e6, 0, 0);
        centres.SetSortingCenter(n.count(), cell.count(), padded.x.data(), padded.y.data(), padded.z.data(), cell.data(), c.x.data(),
                                 c.y.data(), c.z.data(), data.count(), data.x.data(), data.y.data(), data.z.data());
        for (const auto field : {smooth, kinked})
        {
            auto nodeValues = meshes::sample<double>(node, field), cellValues = meshes::sample<double>(centre, field);
            for (int q = 1; q <= data.count(); ++q)
            {
                double value = -1.0, centreValue = -1.0;
                nodes.GetInterpolation(q, nodeValues.data(), value);
                centres.GetInterpolationCenter(q, cellValues.data(), centreValue);
                record.add(value);
                record.add(centreValue);
            }
        }
        for (int q = 1; q <= data.count(); ++q)
        {
            record.addRow(nodes.m_ppDataStencil[q]);
            record.addRow(centres.m_ppDataStencil[q]);
        }
        for (int i = 1; i <= n.count(); ++i)
        {
            record.addRow(nodes.m_ppNodeNeighbour[i]);
            record.addRow(centres.m_ppNodeCell[i]);
        }
    }
}

/// The trial fits of a stencil, by each kernel that can run here.
void recordTrials(Record& record, const meshes::Points& stencil, const std::vector<double>& phi)
{
    using common::LaneSet;
    const auto shape = interpolation::triedShapes();
    const int n = stencil.count();
    std::vector<double> room(static_cast<std::size_t>(interpolation::trialRoom(n)) + 4);
    void* aligned = room.data();
    std::size_t size = room.size() * sizeof(double);
    std::align(32, size - 32, aligned, size);
    for (const LaneSet set : {LaneSet::plain, LaneSet::sse2, LaneSet::avx2})
    {
        if (!common::canRun(set))
            continue;
        interpolation::Trials with, without;
        interpolation::trialKernel(set)({stencil.x.data() + 1, stencil.y.data() + 1, stencil.z.data() + 1, phi.data() + 1, n}, shape.data(),
                                        static_cast<double*>(aligned), with, &without);
        for (const interpolation::Trials* trials : {&with, &without})
            for (std::size_t axis = 0; axis < 3; ++axis)
                for (std::size_t s = 0; s < shape.size(); ++s)
                    for (const double value : {trials->defect[axis][s], trials->derivative[axis][s], trials->lastWeight[axis][s]})
                        record.add(value);
    }
}

/// The quadrature as hosts call it, on stencils of all sizes, also flat, straight and with coincident points.
void probeHostCalls()
{
    Record record("host-calls");
    CTav3dInterpolation engine;
    Numbers numbers(5);
    const std::array<std::array<double, 3>, 6> extents{
        {{1, 1, 1}, {3, 0.5, 1e-6}, {1, 1, 0}, {1, 0, 0}, {1e-150, 1e-150, 1e-150}, {1e140, 1e140, 1e140}}};
    for (int n = 2; n <= 40; ++n)
        for (const std::array<double, 3>& extent : extents)
            for (const bool twice : {false, true})
            {
                meshes::Points stencil;
                std::vector<double> phi{0.0};
                for (int i = 0; i < n; ++i)
                {
                    const double x = numbers.next(-1, 1) * extent[0], y = numbers.next(-1, 1) * extent[1];
                    stencil.add(x, y, numbers.next(-1, 1) * extent[2]);
                    phi.push_back(numbers.next(-1, 1));
                }
                if (twice && n > 2)
                    for (std::vector<double>* axis : {&stencil.x, &stencil.y, &stencil.z})
                        (*axis)[3] = (*axis)[2];
                recordTrials(record, stencil, phi);
                std::array<double, 6> derivative;
                derivative.fill(12345.0);
                engine.Drivatives_Calculator_LDQ(stencil.x.data(), stencil.y.data(), stencil.z.data(), phi.data(), n, derivative[0],
                                                 derivative[1], derivative[2], derivative[3], derivative[4], derivative[5]);
                for (const double d : derivative)
                    record.add(d);
                std::vector<double> wx(phi.size()), wy(phi.size()), wz(phi.size());
                double c = numbers.next(0.1, 3);
                engine.LMQDQ_Wighting(stencil.x.data(), stencil.y.data(), stencil.z.data(), n, c, wx.data(), wy.data(), wz.data());
                for (const std::vector<double>* w : {&wx, &wy, &wz})
                    record.addNumbered(w->data(), n);
            }
}

/// Sorting with ties, with points that are no numbers, and for more points than there are; the nearest point and the cell of a point.
void probeSearch()
{
    Record record("search");
    meshes::Mesh mesh = meshes::grid(7, 7.0); // regular: equal distances everywhere
    meshes::Points cloud = mesh.node;
    for (const double odd : {nan, infinity, -infinity, 1e200, -0.0})
        cloud.add(odd, 1.0, 2.0);
    CTav3dInterpolation engine;
    Numbers numbers(6);
    for (int q = 0; q < 100; ++q)
    {
        const double x = q % 5 == 0 ? 3.5 : numbers.next(-1, 8), y = q % 7 == 0 ? 3.0 : numbers.next(-1, 8), z = numbers.next(-1, 8);
        std::vector<int> nearest(static_cast<std::size_t>(cloud.count()) + 20);
        int status = 0;
        const int k = q == 99 ? cloud.count() + 10 : 1 + q % 30;
        engine.SORTING(cloud.x.data(), cloud.y.data(), cloud.z.data(), cloud.count(), x, y, z, k, nearest.data(), status);
        record.addNumbered(nearest.data(), k);
        record.add(status);
    }
    engine.SetBaseRange(0, 7, 0, 7, 0, 7);
    engine.SetBaseData(mesh.node.count(), mesh.cell.count(), mesh.node.x.data(), mesh.node.y.data(), mesh.node.z.data(),
                       mesh.centre.x.data(), mesh.centre.y.data(), mesh.centre.z.data(), mesh.cell.data(), false);
    for (int q = 0; q < 3000; ++q)
    {
        const double x = q % 5 == 0 ? 3.0 : numbers.next(-3, 10), y = q % 7 == 0 ? 3.5 : numbers.next(-3, 10), z = numbers.next(-3, 10);
        double distance = 0.0;
        record.add(engine.SearchNearestPointIndex(x, y, z, distance));
        record.add(distance);
        record.add(engine.SetDataPoint(x, y, z));
    }
}

/// Shape functions in cells of all kinds, node means of cell values; all that the engine prints about it, and "30.plt".
void probeEvaluation()
{
    Record record("evaluation");
    meshes::Mesh mesh = meshes::oneOfEach();
    CSolInterpolation engine;
    engine.SetBaseData(mesh.node.count(), mesh.cell.count(), mesh.node.x.data(), mesh.node.y.data(), mesh.node.z.data(),
                       mesh.centre.x.data(), mesh.centre.y.data(), mesh.centre.z.data(), mesh.cell.data(), false);
    engine.AllocateFieldTable(4);
    engine.m_nResultItem = 4;
    std::array<std::vector<float>, 4> field;
    for (std::size_t f = 0; f < 4; ++f)
    {
        field[f] = meshes::sample<float>(mesh.node, smooth);
        for (std::size_t i = 1; f > 0 && i < field[f].size(); ++i)
            field[f][i] = wildFloats[(i + f) % std::size(wildFloats)];
        engine.m_ppPhiValue[f] = field[f].data();
    }
    meshes::Rows around, kind, face({{1, 2, 3}, {15, 16, 17, 18}});
    std::vector<double> weight{0.0}, vector{0.0}, cellValue{0.0};
    std::vector<float> cellFloat{0.0f};
    std::vector<std::array<int, 2>> kinds(5);
    std::vector<int*> kindRows{nullptr};
    for (int c = 1; c <= mesh.cell.count(); ++c)
    {
        weight.push_back(c % 2 == 0 ? 0.0 : 0.7 * c);
        vector.push_back(0.3 * c);
        cellValue.push_back(1.7 * c);
        cellFloat.push_back(2.3f * static_cast<float>(c));
        kinds[static_cast<std::size_t>(c)] = {c == 4 ? 5 : c, c};
        kindRows.push_back(kinds[static_cast<std::size_t>(c)].data());
        for (std::size_t k = 0; k < mesh.cell.row(c).size(); ++k)
            around.add({c});
    }
    engine.m_ppNodeCell = around.data();
    engine.m_ppCellInterType = kindRows.data();
    engine.m_pCellInterWeight = weight.data();
    double* const v = vector.data();
    engine.m_pInterVec1X = engine.m_pInterVec1Y = engine.m_pInterVec1Z = engine.m_pInterVec2X = engine.m_pInterVec2Y =
        engine.m_pInterVec2Z = v;
    engine.m_pInterVec3X = engine.m_pInterVec3Y = engine.m_pInterVec3Z = engine.m_pInterVec5X = engine.m_pInterVec5Y =
        engine.m_pInterVec5Z = v;

    constexpr int pointsPerCell = 100;
    engine.SetNDataPoint(4 * pointsPerCell + 1);
    Numbers numbers(7);
    for (int q = 1; q <= 4 * pointsPerCell; ++q)
    {
        const int cell = 1 + (q - 1) / pointsPerCell;
        const double x = 3 * (cell - 1) + numbers.next(-0.3, 1.3), y = numbers.next(-0.3, 1.3), z = numbers.next(-0.3, 1.3);
        engine.m_nDebugLevel = q % pointsPerCell < 3 ? 1 : 0;
        record.add(engine.SetDataPoint(q, x, y, z));
        double value[5] = {}, px[] = {0, x}, py[] = {0, y}, pz[] = {0, z}, out[] = {0, 0};
        float narrow = 0.0f;
        engine.GetPhiValue(q, 0, value[0]);
        engine.GetPhiValue(q, 1 + q % 3, value[1]);
        engine.GetPhiValue(q, cellValue.data(), value[2]);
        engine.GetPhiValue(q, cellFloat.data(), value[3]);
        engine.GetPhiValue(cell, cellValue.data(), value[4], x, y, z);
        engine.GetPhiValue(cell, cellFloat.data(), narrow, x, y, z);
        engine.GetCellData(0, 1, mesh.cell.data() + cell - 1, px, py, pz, out);
        for (const double d : value)
            record.add(d);
        record.add(narrow);
        record.add(out[1]);
        engine.GetFaceData(0, 1, face.data() + q % 2, px, py, pz, out);
        record.add(out[1]);
    }
    double nowhere = 0.0;
    for (int repeated = 0; repeated < 2; ++repeated) // told once
    {
        engine.GetPhiValue(4 * pointsPerCell + 1, 0, nowhere);
        engine.GetPhiValue(9, cellValue.data(), nowhere, 0, 0, 0);
    }
    engine.SetDataPoint(0, 1, 1, 1);
    engine.SetResourceFileName("missing.q7f");
    engine.WriteQ7XData(mesh.cell.count(), mesh.cell.data());
}

} // namespace

void probeEngine()
{
    probeQuadrature("hexahedra", hexahedra());
    probeQuadrature("tetrahedra", meshes::inTetrahedra(hexahedra()));
    probeQuadrature("prisms-pyramids", meshes::divided(hexahedra(), {{1, 2, 3, 5, 6, 7}, {1, 4, 8, 5, 7}, {1, 3, 4, 7}}));
    probeHostCalls();
    probeSearch();
    probeEvaluation();
}

} // namespace tav3d::probe
