// Shape functions at physical points: per element kind, made, evaluated and deleted as the engine does it, evaluated alone, and (where VTK's headers are
// installed) the same points through EvaluatePosition of VTK's cells. 4096 well-shaped distorted elements with one point inside each; the cube is what
// a voxel mesh holds.

#include "TAVFEM_ElemLib.h"

#include <benchmark/benchmark.h>

#include <array>
#include <memory>
#include <random>
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

struct Element
{
    std::array<double, 8> X{}, Y{}, Z{};
    std::array<double, 3> x{};
};

constexpr double cube[8][3] = {{0, 0, 0}, {1, 0, 0}, {1, 1, 0}, {0, 1, 0}, {0, 0, 1}, {1, 0, 1}, {1, 1, 1}, {0, 1, 1}};
constexpr double prism[6][3] = {{0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {0, 0, 1}, {1, 0, 1}, {0, 1, 1}};
constexpr double pyramid[5][3] = {{0, 0, 0}, {1, 0, 0}, {1, 1, 0}, {0, 1, 0}, {.5, .5, 1}};
constexpr double tetra[4][3] = {{0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {0, 0, 1}};
constexpr double quad[4][3] = {{0, 0, 0}, {1, 0, 0}, {1, 1, 0}, {0, 1, 0}};
constexpr double triangle[3][3] = {{0, 0, 0}, {1, 0, 0}, {0, 1, 0}};

/// Nodes displaced by up to `amplitude` edges; the point is a random mean of the nodes.
template <std::size_t n>
std::vector<Element> elements(const double (&regular)[n][3], double amplitude, bool isPlane = false)
{
    std::mt19937_64 random(1);
    std::uniform_real_distribution<double> by(-amplitude, amplitude);
    std::uniform_real_distribution<double> weight(0.05, 1.0);
    std::vector<Element> made(elementTotal);
    for (Element& e : made)
    {
        std::array<double, n> w;
        double total = 0.0;
        for (double& v : w)
            total += v = weight(random);
        for (std::size_t i = 0; i < n; ++i)
        {
            e.X[i] = regular[i][0] + by(random);
            e.Y[i] = regular[i][1] + by(random);
            e.Z[i] = isPlane ? 0.0 : regular[i][2] + by(random);
            e.x[0] += w[i] / total * e.X[i];
            e.x[1] += w[i] / total * e.Y[i];
            e.x[2] += w[i] / total * e.Z[i];
        }
    }
    return made;
}

void perEvaluation(benchmark::State& state)
{
    state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(elementTotal));
}

template <auto make>
void madeAndEvaluated(benchmark::State& state, const std::vector<Element>& all)
{
    double N[8];
    for (auto _ : state)
        for (const Element& e : all)
        {
            CFEM_Elem3D_Factory factory;
            CFEM_Elem3D* element = (factory.*make)();
            element->GetShapeFunction(e.x[0], e.x[1], e.x[2], e.X.data(), e.Y.data(), e.Z.data(), N);
            delete element;
            benchmark::DoNotOptimize(N);
        }
    perEvaluation(state);
}

template <auto make>
void evaluated(benchmark::State& state, const std::vector<Element>& all)
{
    const std::unique_ptr<CFEM_Elem3D> element((CFEM_Elem3D_Factory().*make)());
    double N[8];
    for (auto _ : state)
        for (const Element& e : all)
        {
            element->GetShapeFunction(e.x[0], e.x[1], e.x[2], e.X.data(), e.Y.data(), e.Z.data(), N);
            benchmark::DoNotOptimize(N);
        }
    perEvaluation(state);
}

template <auto make>
void evaluatedInPlane(benchmark::State& state, const std::vector<Element>& all)
{
    const std::unique_ptr<CFEM_Elem2D> element((CFEM_Elem2D_Factory().*make)());
    double N[8];
    for (auto _ : state)
        for (const Element& e : all)
        {
            element->GetShapeFunction(e.x[0], e.x[1], e.X.data(), e.Y.data(), N);
            benchmark::DoNotOptimize(N);
        }
    perEvaluation(state);
}

#ifdef TAV3D_BENCHMARK_VTK

/// Setting the points is part of it, as handing over coordinate arrays is part of ours.
template <class Cell>
void vtkEvaluatePosition(benchmark::State& state, const std::vector<Element>& all)
{
    const auto cell = vtkSmartPointer<Cell>::New();
    const vtkIdType n = cell->GetNumberOfPoints();
    double* points = static_cast<double*>(cell->Points->GetVoidPointer(0));
    double closest[3], pcoords[3], distance2, N[8];
    int sub = 0;
    for (auto _ : state)
        for (const Element& e : all)
        {
            for (vtkIdType i = 0; i < n; ++i)
            {
                points[3 * i] = e.X[i];
                points[3 * i + 1] = e.Y[i];
                points[3 * i + 2] = e.Z[i];
            }
            cell->EvaluatePosition(e.x.data(), closest, sub, pcoords, distance2, N);
            benchmark::DoNotOptimize(N);
        }
    perEvaluation(state);
}

#endif

const bool areRegistered = []
{
    using Space = CFEM_Elem3D_Factory;
    using Plane = CFEM_Elem2D_Factory;
    benchmark::RegisterBenchmark("shape_hexahedron_made/ours", madeAndEvaluated<&Space::Make_HEXA8>, elements(cube, 0.12));
    benchmark::RegisterBenchmark("shape_hexahedron/ours", evaluated<&Space::Make_HEXA8>, elements(cube, 0.12));
    benchmark::RegisterBenchmark("shape_cube/ours", evaluated<&Space::Make_HEXA8>, elements(cube, 0.0));
    benchmark::RegisterBenchmark("shape_prism/ours", evaluated<&Space::Make_PRISM6>, elements(prism, 0.12));
    benchmark::RegisterBenchmark("shape_pyramid/ours", evaluated<&Space::Make_PYRAMID5>, elements(pyramid, 0.12));
    benchmark::RegisterBenchmark("shape_tetrahedron/ours", evaluated<&Space::Make_TETRA4>, elements(tetra, 0.12));
    benchmark::RegisterBenchmark("shape_quadrilateral/ours", evaluatedInPlane<&Plane::Make_QUAD4>, elements(quad, 0.12, true));
    benchmark::RegisterBenchmark("shape_triangle/ours", evaluatedInPlane<&Plane::Make_TRI3>, elements(triangle, 0.12, true));
#ifdef TAV3D_BENCHMARK_VTK
    benchmark::RegisterBenchmark("shape_hexahedron/vtk", vtkEvaluatePosition<vtkHexahedron>, elements(cube, 0.12));
    benchmark::RegisterBenchmark("shape_cube/vtk", vtkEvaluatePosition<vtkHexahedron>, elements(cube, 0.0));
    benchmark::RegisterBenchmark("shape_prism/vtk", vtkEvaluatePosition<vtkWedge>, elements(prism, 0.12));
    benchmark::RegisterBenchmark("shape_pyramid/vtk", vtkEvaluatePosition<vtkPyramid>, elements(pyramid, 0.12));
    benchmark::RegisterBenchmark("shape_tetrahedron/vtk", vtkEvaluatePosition<vtkTetra>, elements(tetra, 0.12));
    benchmark::RegisterBenchmark("shape_quadrilateral/vtk", vtkEvaluatePosition<vtkQuad>, elements(quad, 0.12, true));
    benchmark::RegisterBenchmark("shape_triangle/vtk", vtkEvaluatePosition<vtkTriangle>, elements(triangle, 0.12, true));
#endif
    return true;
}();

} // namespace
