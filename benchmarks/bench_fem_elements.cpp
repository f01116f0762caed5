// Shape functions at physical points: elements as the open suite makes them, and the cells of VTK (EvaluatePosition) where VTK is installed. An evaluation
// takes a point and the coordinates of the nodes in arrays, and gives one weight per node; handing the nodes over is part of both.
//
// A row goes through n points in 4096 well-shaped elements, so that the elements stay in the processor's caches as those of neighbouring points do in a mesh.
// Each point lies in another element than the one before; in the rows called ..._same, each element gets its points one after the other. The row
// ..._made makes and deletes an element for every point, as the engine does. Items are points.

#include "TAVFEM_ElemLib.h"
#include "benchmarks/row_data.h"

#include <benchmark/benchmark.h>

#include <array>
#include <memory>
#include <random>
#include <string>
#include <vector>

#ifdef TAV3D_BENCHMARK_VTK
#include <vtkHexahedron.h>
#include <vtkPoints.h>
#include <vtkPyramid.h>
#include <vtkQuad.h>
#include <vtkSmartPointer.h>
#include <vtkTetra.h>
#include <vtkTriangle.h>
#include <vtkWedge.h>
#endif

namespace
{

constexpr std::size_t elementTotal = 4096;
constexpr std::int64_t million = 1000000;
constexpr double distorted = 0.12; // of an edge, by which each node is displaced at most in each direction

struct Nodes
{
    std::array<double, 8> X{}, Y{}, Z{};
};

struct Point
{
    std::array<double, 3> x{};
    std::size_t element = 0;
};

struct Cloud
{
    std::vector<Nodes> elements;
    std::vector<Point> points;
};

struct Shape
{
    std::size_t nodes;
    std::array<std::array<double, 3>, 8> regular;
    double displacement;
    bool isPlane = false;
};

constexpr Shape affineHexa{8, {{{0, 0, 0}, {1, 0, 0}, {1, 1, 0}, {0, 1, 0}, {0, 0, 1}, {1, 0, 1}, {1, 1, 1}, {0, 1, 1}}}, 0.0};
constexpr Shape hexa{8, affineHexa.regular, distorted};
constexpr Shape prism{6, {{{0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {0, 0, 1}, {1, 0, 1}, {0, 1, 1}}}, distorted};
constexpr Shape pyramid{5, {{{0, 0, 0}, {1, 0, 0}, {1, 1, 0}, {0, 1, 0}, {.5, .5, 1}}}, distorted};
constexpr Shape tetra{4, {{{0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {0, 0, 1}}}, distorted};
constexpr Shape quad{4, {{{0, 0, 0}, {1, 0, 0}, {1, 1, 0}, {0, 1, 0}}}, distorted, true};
constexpr Shape triangle{3, {{{0, 0, 0}, {1, 0, 0}, {0, 1, 0}}}, distorted, true};

enum class Order
{
    anotherElement,
    sameElement
};

/// The points are random means of the nodes of their elements.
Cloud cloud(const Shape& shape, Order order, std::size_t pointTotal)
{
    std::mt19937_64 random(1);
    std::uniform_real_distribution<double> by(-shape.displacement, shape.displacement);
    std::uniform_real_distribution<double> weight(0.05, 1.0);
    Cloud c;
    c.elements.resize(elementTotal);
    for (Nodes& e : c.elements)
        for (std::size_t i = 0; i < shape.nodes; ++i)
        {
            e.X[i] = shape.regular[i][0] + by(random);
            e.Y[i] = shape.regular[i][1] + by(random);
            e.Z[i] = shape.isPlane ? 0.0 : shape.regular[i][2] + by(random);
        }
    c.points.resize(pointTotal);
    for (std::size_t p = 0; p < pointTotal; ++p)
    {
        Point& point = c.points[p];
        point.element = order == Order::anotherElement ? p % elementTotal : p * elementTotal / pointTotal;
        const Nodes& e = c.elements[point.element];
        std::array<double, 8> w{};
        double total = 0.0;
        for (std::size_t i = 0; i < shape.nodes; ++i)
            total += w[i] = weight(random);
        for (std::size_t i = 0; i < shape.nodes; ++i)
        {
            point.x[0] += w[i] / total * e.X[i];
            point.x[1] += w[i] / total * e.Y[i];
            point.x[2] += w[i] / total * e.Z[i];
        }
    }
    return c;
}

/// Runs `evaluate(point, nodes, N)` over all points of a row's cloud.
template <class Evaluate>
void overAllPoints(benchmark::State& state, const std::string& row, const Shape& shape, Order order, Evaluate evaluate)
{
    const auto total = static_cast<std::size_t>(state.range(0));
    const Cloud& c = tav3d::benchmarks::RowData::get<Cloud>(row + std::to_string(total), [&] { return cloud(shape, order, total); });
    double N[8];
    for (auto _ : state)
        for (const Point& p : c.points)
        {
            evaluate(p.x, c.elements[p.element], N);
            benchmark::DoNotOptimize(N);
        }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

using Make3D = CFEM_Elem3D* (CFEM_Elem3D_Factory::*)() const;
using Make2D = CFEM_Elem2D* (CFEM_Elem2D_Factory::*)() const;

void ours(benchmark::State& state, const std::string& row, const Shape& shape, Order order, Make3D make)
{
    const std::unique_ptr<CFEM_Elem3D> element((CFEM_Elem3D_Factory().*make)());
    overAllPoints(state, row, shape, order,
                  [&](const auto& x, const Nodes& e, double* N)
                  { element->GetShapeFunction(x[0], x[1], x[2], e.X.data(), e.Y.data(), e.Z.data(), N); });
}

void oursMade(benchmark::State& state, const std::string& row, const Shape& shape, Order order, Make3D make)
{
    overAllPoints(state, row, shape, order,
                  [&](const auto& x, const Nodes& e, double* N)
                  {
                      const CFEM_Elem3D_Factory factory;
                      const std::unique_ptr<CFEM_Elem3D> element((factory.*make)());
                      element->GetShapeFunction(x[0], x[1], x[2], e.X.data(), e.Y.data(), e.Z.data(), N);
                  });
}

void oursInPlane(benchmark::State& state, const std::string& row, const Shape& shape, Order order, Make2D make)
{
    const std::unique_ptr<CFEM_Elem2D> element((CFEM_Elem2D_Factory().*make)());
    overAllPoints(state, row, shape, order,
                  [&](const auto& x, const Nodes& e, double* N) { element->GetShapeFunction(x[0], x[1], e.X.data(), e.Y.data(), N); });
}

#ifdef TAV3D_BENCHMARK_VTK
template <class Cell>
void vtk(benchmark::State& state, const std::string& row, const Shape& shape, Order order)
{
    const auto cell = vtkSmartPointer<Cell>::New();
    double* points = static_cast<double*>(cell->Points->GetVoidPointer(0));
    double closest[3], pcoords[3], distance2;
    int sub = 0;
    const std::size_t n = shape.nodes;
    overAllPoints(state, row, shape, order,
                  [&](const auto& x, const Nodes& e, double* N)
                  {
                      for (std::size_t i = 0; i < n; ++i)
                      {
                          points[3 * i] = e.X[i];
                          points[3 * i + 1] = e.Y[i];
                          points[3 * i + 2] = e.Z[i];
                      }
                      cell->EvaluatePosition(x.data(), closest, sub, pcoords, distance2, N);
                  });
}
#endif

const bool areRegistered = []
{
    using benchmark::RegisterBenchmark;
    using Space = CFEM_Elem3D_Factory;
    using Plane = CFEM_Elem2D_Factory;
    const auto in = [](const std::string& row, const char* form, auto function, const Shape& shape, Order order, auto... make)
    { return RegisterBenchmark((row + "/" + form).c_str(), function, row, shape, order, make...)->Arg(million); };
    const auto grow = [](benchmark::internal::Benchmark* of) { of->Arg(10000)->Arg(100000)->Arg(5 * million); };
    constexpr Order another = Order::anotherElement;
    constexpr Order same = Order::sameElement;

    grow(in("shape_hexa_distorted", "ours", ours, hexa, another, &Space::Make_HEXA8));
    in("shape_hexa_distorted_same", "ours", ours, hexa, same, &Space::Make_HEXA8);
    in("shape_hexa_distorted_made", "ours", oursMade, hexa, another, &Space::Make_HEXA8);
    in("shape_hexa_affine", "ours", ours, affineHexa, another, &Space::Make_HEXA8);
    in("shape_prism", "ours", ours, prism, another, &Space::Make_PRISM6);
    in("shape_pyramid", "ours", ours, pyramid, another, &Space::Make_PYRAMID5);
    grow(in("shape_tetra", "ours", ours, tetra, another, &Space::Make_TETRA4));
    in("shape_tetra_same", "ours", ours, tetra, same, &Space::Make_TETRA4);
    in("shape_tetra_made", "ours", oursMade, tetra, another, &Space::Make_TETRA4);
    in("shape_quad", "ours", oursInPlane, quad, another, &Plane::Make_QUAD4);
    in("shape_tri", "ours", oursInPlane, triangle, another, &Plane::Make_TRI3);
#ifdef TAV3D_BENCHMARK_VTK
    in("shape_hexa_distorted", "vtk", vtk<vtkHexahedron>, hexa, another);
    in("shape_hexa_distorted_same", "vtk", vtk<vtkHexahedron>, hexa, same);
    in("shape_hexa_distorted_made", "vtk", vtk<vtkHexahedron>, hexa, another);
    in("shape_hexa_affine", "vtk", vtk<vtkHexahedron>, affineHexa, another);
    in("shape_prism", "vtk", vtk<vtkWedge>, prism, another);
    in("shape_pyramid", "vtk", vtk<vtkPyramid>, pyramid, another);
    in("shape_tetra", "vtk", vtk<vtkTetra>, tetra, another);
    in("shape_tetra_same", "vtk", vtk<vtkTetra>, tetra, same);
    in("shape_tetra_made", "vtk", vtk<vtkTetra>, tetra, another);
    in("shape_quad", "vtk", vtk<vtkQuad>, quad, another);
    in("shape_tri", "vtk", vtk<vtkTriangle>, triangle, another);
#endif
    return true;
}();

} // namespace
