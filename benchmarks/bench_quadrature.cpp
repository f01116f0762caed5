// Multiquadric quadrature. Rows:
//   quadrature_hexa27     value at a data point among hexahedra: 4 stencils of 27 points, fitted without and with the data point
//   quadrature_tetra      the same among tetrahedra, stencils of 15 to 27 points
//   quadrature_center     value at a data point by the cell-centre form: one stencil of 8 cells
//   quadrature_host_call  one fit of 27 points, as hosts ask for it
//   quadrature_growth     values at n data points in a mesh of about n nodes
// An item is one data point or one fit. Peers solve the systems that an item consists of and do nothing else: their matrices and right-hand
// sides are at hand.

#include "Tav3dInterpolation.h"
#include "benchmarks/quadrature_peers.h"
#include "interpolation/quadrature.h"
#include "interpolation/sol_interpolation.h"
#include "tests/interpolation/meshes.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cmath>
#include <random>

using namespace tav3d::interpolation;
using tav3d::benchmarks::LinearSystem;
using tav3d::common::LaneSet;

namespace
{

enum class Kind
{
    hexahedra,
    tetrahedra,
    centres,
};

/// The grid with every hexahedron in six tetrahedra around one of its four space diagonals, chosen at random: the neighbourhoods have 15 to
/// 27 nodes.
meshes::Mesh tetrahedra(meshes::Mesh grid)
{
    std::mt19937 random(3);
    meshes::Mesh mesh;
    mesh.node = std::move(grid.node);
    for (int c = 1; c <= grid.cell.count(); ++c)
    {
        const std::vector<int> hexahedron = grid.cell.row(c);
        constexpr std::array<int, 8> byBits = {0, 1, 3, 2, 4, 5, 7, 6}; // corner with bit 0, 1, 2 = high x, y, z
        const unsigned mirrored = std::uniform_int_distribution<unsigned>(0, 3)(random);
        const auto corner = [&](unsigned bits) { return hexahedron[static_cast<std::size_t>(byBits[bits ^ mirrored])]; };
        std::array<unsigned, 3> axes = {0, 1, 2};
        do
        {
            const unsigned first = 1u << axes[0];
            mesh.addCell({corner(0), corner(first), corner(first | 1u << axes[1]), corner(7)});
        } while (std::next_permutation(axes.begin(), axes.end()));
    }
    return mesh;
}

/// A sorted engine on a jittered mesh, with data points inside.
struct Sorted
{
    Kind kind;
    meshes::Mesh mesh;
    meshes::Points data;
    std::vector<double> phi;
    CSolInterpolation engine;

    Sorted(Kind what, int cells, int dataPoints)
        : kind(what)
    {
        const double size = cells;
        mesh = meshes::grid(cells, size, 0.15);
        if (kind == Kind::tetrahedra)
            mesh = tetrahedra(std::move(mesh));
        std::mt19937 random(5);
        std::uniform_real_distribution<double> in(2.2, size - 2.2); // the nearest nodes are off the surface
        for (int q = 0; q < dataPoints; ++q)
        {
            const double x = in(random), y = in(random), z = in(random);
            data.add(x, y, z);
        }
        const auto f = [](double x, double y, double z) { return x * y + z; };
        phi = meshes::sample<double>(kind == Kind::centres ? mesh.centre : mesh.node, f);
        if (kind == Kind::centres)
            engine.SetSortingCenter(mesh.node.count(), mesh.cell.count(), mesh.node.x.data(), mesh.node.y.data(), mesh.node.z.data(),
                                    mesh.cell.data(), mesh.centre.x.data(), mesh.centre.y.data(), mesh.centre.z.data(), data.count(),
                                    data.x.data(), data.y.data(), data.z.data());
        else
            engine.SetSorting(mesh.node.count(), mesh.cell.count(), mesh.node.x.data(), mesh.node.y.data(), mesh.node.z.data(),
                              mesh.cell.data(), data.count(), data.x.data(), data.y.data(), data.z.data());
    }

    /// The neighbourhood row of a data point's stencil node (from 0).
    [[nodiscard]] std::span<const int> neighbours(int q, int j) const { return listItems(rows()[engine.m_ppDataStencil[q][1 + j]]); }

    [[nodiscard]] int** rows() const { return kind == Kind::centres ? engine.m_ppNodeCell : engine.m_ppNodeNeighbour; }

    /// value(stencil nodes, neighbourhood, points, phi, target), as the engine calls it.
    template <class Value>
    double value(int q, Value value) const
    {
        const meshes::Points& p = kind == Kind::centres ? mesh.centre : mesh.node;
        const auto i = static_cast<std::size_t>(q);
        return value(listItems(engine.m_ppDataStencil[q]), rows(), NumberedPoints(p.x.data(), p.y.data(), p.z.data(), p.count()),
                     NumberedSpan<const double>(phi.data(), p.count()), Point{data.x[i], data.y[i], data.z[i]});
    }

    /// The stencil around a data point's stencil node, the data point last; entry 0 unused.
    [[nodiscard]] meshes::Points stencil(int q, int j) const
    {
        const meshes::Points& p = kind == Kind::centres ? mesh.centre : mesh.node;
        meshes::Points points;
        for (const int n : neighbours(q, j))
            points.add(p.x[static_cast<std::size_t>(n)], p.y[static_cast<std::size_t>(n)], p.z[static_cast<std::size_t>(n)]);
        points.add(data.x[static_cast<std::size_t>(q)], data.y[static_cast<std::size_t>(q)], data.z[static_cast<std::size_t>(q)]);
        return points;
    }
};

constexpr int dataPoints = 32;

Sorted sorted(Kind kind)
{
    return {kind, 7, dataPoints};
}

/// Repeats operation(q) for all data points in turn.
template <class Operation>
void perPoint(benchmark::State& state, Operation operation)
{
    int q = 0;
    for (auto _ : state)
        benchmark::DoNotOptimize(operation(1 + q++ % dataPoints));
    state.SetItemsProcessed(state.iterations());
}

void ours(benchmark::State& state, Kind kind)
{
    Sorted s = sorted(kind);
    perPoint(state,
             [&](int q)
             {
                 double value = 0.0;
                 if (kind == Kind::centres)
                     s.engine.GetInterpolationCenter(q, s.phi.data(), value);
                 else
                     s.engine.GetInterpolation(q, s.phi.data(), value);
                 return value;
             });
}

void oursWith(benchmark::State& state, Kind kind, LaneSet lanes)
{
    if (!canRun(lanes))
        return state.SkipWithError("not on this machine");
    const Sorted s = sorted(kind);
    Quadrature quadrature(lanes);
    perPoint(state, [&](int q) { return s.value(q, [&](auto&&... a) { return quadrature.interpolateAtPoint(a...); }); });
}

void plain(benchmark::State& state, Kind kind)
{
    const Sorted s = sorted(kind);
    perPoint(state, [&](int q) { return s.value(q, [](auto&&... a) { return interpolateAtPoint(a...); }); });
}

/// The first n points of a stencil as the linear systems of all shape parameters.
void addSystems(const meshes::Points& p, int n, std::vector<LinearSystem>& systems)
{
    const auto g = [&](int i, int j, double c)
    {
        const auto a = static_cast<std::size_t>(i);
        const auto b = static_cast<std::size_t>(j);
        const double dx = p.x[a] - p.x[b], dy = p.y[a] - p.y[b], dz = p.z[a] - p.z[b];
        return std::sqrt(dx * dx + dy * dy + dz * dz + c * c);
    };
    for (const double c : triedShapes())
    {
        LinearSystem s;
        s.n = n;
        for (int j = 1; j <= n; ++j)
            for (int i = 1; i <= n; ++i)
                s.matrix.push_back(g(i, j, c));
        for (const std::vector<double>* v : {&p.x, &p.y, &p.z})
            for (int j = 1; j <= n; ++j)
                s.rhs.push_back(((*v)[1] - (*v)[static_cast<std::size_t>(j)]) / g(1, j, c));
        systems.push_back(std::move(s));
    }
}

using Solve = double (*)(const std::vector<LinearSystem>&);

void peer(benchmark::State& state, Kind kind, Solve solve)
{
    const Sorted s = sorted(kind);
    std::vector<std::vector<LinearSystem>> systems(dataPoints + 1);
    for (int q = 1; q <= dataPoints; ++q)
        for (int j = 0; j < s.engine.m_ppDataStencil[q][0]; ++j)
        {
            const meshes::Points p = s.stencil(q, j);
            addSystems(p, p.count() - 1, systems[static_cast<std::size_t>(q)]);
            addSystems(p, p.count(), systems[static_cast<std::size_t>(q)]);
        }
    perPoint(state, [&](int q) { return solve(systems[static_cast<std::size_t>(q)]); });
}

// ---- Fits that hosts ask for ----

struct HostStencil
{
    meshes::Points points;
    std::vector<double> phi;

    [[nodiscard]] Stencil stencil() const
    {
        return {std::span(points.x).subspan(1), std::span(points.y).subspan(1), std::span(points.z).subspan(1)};
    }
    [[nodiscard]] std::span<const double> values() const { return std::span(phi).subspan(1); }
};

std::vector<HostStencil> hostStencils()
{
    const Sorted s = sorted(Kind::hexahedra);
    std::vector<HostStencil> stencils(1);
    for (int q = 1; q <= dataPoints; ++q)
    {
        HostStencil h{s.stencil(q, 0), {0.0}};
        for (std::vector<double>* v : {&h.points.x, &h.points.y, &h.points.z})
            v->pop_back();
        for (const int n : s.neighbours(q, 0))
            h.phi.push_back(s.phi[static_cast<std::size_t>(n)]);
        stencils.push_back(std::move(h));
    }
    return stencils;
}

void hostCall(benchmark::State& state)
{
    std::vector<HostStencil> stencils = hostStencils();
    CTav3dInterpolation facade;
    perPoint(state,
             [&](int q)
             {
                 HostStencil& s = stencils[static_cast<std::size_t>(q)];
                 DerivativeFit f;
                 facade.Drivatives_Calculator_LDQ(s.points.x.data(), s.points.y.data(), s.points.z.data(), s.phi.data(), s.points.count(),
                                                  f.derivative[0], f.derivative[1], f.derivative[2], f.lastWeight[0], f.lastWeight[1],
                                                  f.lastWeight[2]);
                 return f;
             });
}

template <class Fit>
void hostFit(benchmark::State& state, Fit fit)
{
    const std::vector<HostStencil> stencils = hostStencils();
    perPoint(state,
             [&](int q)
             {
                 const HostStencil& s = stencils[static_cast<std::size_t>(q)];
                 DerivativeFit f;
                 fit(s.stencil(), s.values(), f);
                 return f;
             });
}

void hostPeer(benchmark::State& state, Solve solve)
{
    const std::vector<HostStencil> stencils = hostStencils();
    std::vector<std::vector<LinearSystem>> systems(stencils.size());
    for (std::size_t q = 1; q < stencils.size(); ++q)
        addSystems(stencils[q].points, stencils[q].points.count(), systems[q]);
    perPoint(state, [&](int q) { return solve(systems[static_cast<std::size_t>(q)]); });
}

/// Values at all of n data points in one iteration.
void growth(benchmark::State& state)
{
    const int n = static_cast<int>(state.range(0));
    Sorted s(Kind::hexahedra, std::max(6, static_cast<int>(std::cbrt(n))), 0);
    std::mt19937 random(7);
    std::uniform_real_distribution<double> in(2.2, std::max(6, static_cast<int>(std::cbrt(n))) - 2.2);
    CTav3dInterpolation facade;
    for (int q = 0; q < n; ++q)
    {
        const double x = in(random), y = in(random), z = in(random);
        s.data.add(x, y, z);
    }
    facade.SetSorting(s.mesh.node.count(), s.mesh.cell.count(), s.mesh.node.x.data(), s.mesh.node.y.data(), s.mesh.node.z.data(),
                      s.mesh.cell.data(), n, s.data.x.data(), s.data.y.data(), s.data.z.data());
    for (auto _ : state)
        for (int q = 1; q <= n; ++q)
        {
            double value = 0.0;
            facade.GetInterpolation(q, s.phi.data(), value);
            benchmark::DoNotOptimize(value);
        }
    state.SetItemsProcessed(state.iterations() * n);
}

void registerRow(const std::string& row, Kind kind)
{
    const auto add = [&](const char* form, auto function, auto... arguments)
    { benchmark::RegisterBenchmark((row + "/" + form).c_str(), function, arguments...)->Unit(benchmark::kMicrosecond); };
    add("ours", ours, kind);
    add("ours_sse2", oursWith, kind, LaneSet::sse2);
    add("ours_plain_lanes", oursWith, kind, LaneSet::plain);
    add("plain", plain, kind);
#ifdef TAV3D_BENCHMARK_EIGEN
    add("eigen", peer, kind, tav3d::benchmarks::solveByEigen);
#endif
#ifdef TAV3D_BENCHMARK_LAPACK
    add("lapack", peer, kind, tav3d::benchmarks::solveByLapack);
#endif
}

const bool registered = []
{
    registerRow("quadrature_hexa27", Kind::hexahedra);
    registerRow("quadrature_tetra", Kind::tetrahedra);
    registerRow("quadrature_center", Kind::centres);

    const auto add = [](const char* name, auto function, auto... arguments)
    { benchmark::RegisterBenchmark(name, function, arguments...)->Unit(benchmark::kMicrosecond); };
    const auto with = [](LaneSet lanes)
    {
        return [lanes](benchmark::State& state)
        {
            Quadrature quadrature(lanes);
            hostFit(state, [&](const Stencil& s, std::span<const double> phi, DerivativeFit& f) { quadrature.fitDerivatives(s, phi, f); });
        };
    };
    add("quadrature_host_call/ours", hostCall);
    if (canRun(LaneSet::sse2))
        add("quadrature_host_call/ours_sse2", with(LaneSet::sse2));
    add("quadrature_host_call/ours_plain_lanes", with(LaneSet::plain));
    add("quadrature_host_call/plain", [](benchmark::State& state)
        { hostFit(state, [](const Stencil& s, std::span<const double> phi, DerivativeFit& f) { fitDerivatives(s, phi, f); }); });
#ifdef TAV3D_BENCHMARK_EIGEN
    add("quadrature_host_call/eigen", hostPeer, tav3d::benchmarks::solveByEigen);
#endif
#ifdef TAV3D_BENCHMARK_LAPACK
    add("quadrature_host_call/lapack", hostPeer, tav3d::benchmarks::solveByLapack);
#endif
    benchmark::RegisterBenchmark("quadrature_growth/ours", growth)->Arg(1000)->Arg(10000)->Arg(100000)->Unit(benchmark::kMillisecond);
    return true;
}();

} // namespace
