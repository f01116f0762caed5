// The multiquadric interpolation in its plain form, on a jittered grid whose inner nodes have 27 neighbours: the time of one data point, of
// one fit, and of one decomposition. The reference for every faster form.

#include "interpolation/mq_quadrature.h"
#include "interpolation/sol_interpolation.h"
#include "tests/interpolation/meshes.h"

#include <benchmark/benchmark.h>

#include <random>

namespace
{

constexpr int cells = 6;
constexpr double size = 6.0;
constexpr int dataPoints = 16;

struct Prepared
{
    meshes::Mesh mesh = meshes::grid(cells, size, 0.15);
    meshes::Points data;
    std::vector<double> onNodes;
    std::vector<double> onCells;
    CSolInterpolation engine;

    Prepared()
    {
        std::mt19937 random(5);
        std::uniform_real_distribution<double> in(2.2, size - 2.2); // the four nearest nodes have all 27 neighbours
        for (int q = 0; q < dataPoints; ++q)
        {
            const double x = in(random), y = in(random), z = in(random);
            data.add(x, y, z);
        }
        const auto f = [](double x, double y, double z) { return x * y + z; };
        onNodes = meshes::sample<double>(mesh.node, f);
        onCells = meshes::sample<double>(mesh.centre, f);
    }

    void sortNodes()
    {
        engine.SetSorting(mesh.node.count(), mesh.cell.count(), mesh.node.x.data(), mesh.node.y.data(), mesh.node.z.data(),
                          mesh.cell.data(), data.count(), data.x.data(), data.y.data(), data.z.data());
    }

    void sortCentres()
    {
        engine.SetSortingCenter(mesh.node.count(), mesh.cell.count(), mesh.node.x.data(), mesh.node.y.data(), mesh.node.z.data(),
                                mesh.cell.data(), mesh.centre.x.data(), mesh.centre.y.data(), mesh.centre.z.data(), data.count(),
                                data.x.data(), data.y.data(), data.z.data());
    }
};

/// One data point: 4 nodes of 27 neighbours, 160 systems.
void nodeForm(benchmark::State& state)
{
    Prepared p;
    p.sortNodes();
    for (int q = 1; q <= dataPoints; ++q)
        for (int j = 1; j <= 4; ++j)
            if (p.engine.m_ppNodeNeighbour[p.engine.m_ppDataStencil[q][j]][0] != 27)
                state.SkipWithError("a stencil has not 27 nodes");
    int q = 0;
    for (auto _ : state)
    {
        double value = 0;
        p.engine.GetInterpolation(1 + q++ % dataPoints, p.onNodes.data(), value);
        benchmark::DoNotOptimize(value);
    }
    state.counters["points/s"] = benchmark::Counter(static_cast<double>(state.iterations()), benchmark::Counter::kIsRate);
}

/// One data point: 1 node of up to 8 cells, 40 systems.
void centreForm(benchmark::State& state)
{
    Prepared p;
    p.sortCentres();
    int q = 0;
    for (auto _ : state)
    {
        double value = 0;
        p.engine.GetInterpolationCenter(1 + q++ % dataPoints, p.onCells.data(), value);
        benchmark::DoNotOptimize(value);
    }
    state.counters["points/s"] = benchmark::Counter(static_cast<double>(state.iterations()), benchmark::Counter::kIsRate);
}

/// One decomposition and three solutions of a multiquadric system of n points.
void oneSystem(benchmark::State& state)
{
    const int n = static_cast<int>(state.range(0));
    const meshes::Mesh mesh = meshes::grid(3, 3.0, 0.15);
    std::vector<double> w(3 * static_cast<std::size_t>(n));
    const auto run = [n](const std::vector<double>& v) { return std::span(v).subspan(1, static_cast<std::size_t>(n)); };
    const tav3d::interpolation::Stencil stencil{run(mesh.node.x), run(mesh.node.y), run(mesh.node.z)};
    const auto third = [&](std::size_t k) { return std::span(w).subspan(k * static_cast<std::size_t>(n), static_cast<std::size_t>(n)); };
    for (auto _ : state)
    {
        tav3d::interpolation::derivativeWeights(stencil, 1.5, {third(0), third(1), third(2)});
        benchmark::DoNotOptimize(w.data());
        benchmark::ClobberMemory();
    }
    state.counters["systems/s"] = benchmark::Counter(static_cast<double>(state.iterations()), benchmark::Counter::kIsRate);
}

} // namespace

BENCHMARK(nodeForm)->Name("quadrature_hexa27/ours")->Unit(benchmark::kMicrosecond);
BENCHMARK(centreForm)->Name("quadrature_center/ours")->Unit(benchmark::kMicrosecond);
BENCHMARK(oneSystem)->Name("quadrature_system/plain")->Arg(8)->Arg(27)->Arg(28)->Unit(benchmark::kMicrosecond);
