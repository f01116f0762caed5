// The point search tree over n cell centres, through the engine as a host calls it.
//   search_tree_build        SetBaseData_Light and the index that queries are answered from. Centres of moved cells in the order of a mesh; a
//                            lattice makes the deepest tree, scattered centres the flattest: see the rows of these names. The plain form
//                            inserts one by one and has no index.
//   search_tree_nearest      SearchNearestPointIndex at scattered places among them
//   search_tree_data_point   SetDataPoint at the same places: the cell that holds the place; the peer only looks for the nearest centre
//   search_tree_in_order     SearchNearestPointIndex at places in the order of a mesh, as hosts have them: each is near the last
//   search_tree_outside      SearchNearestPointIndex at places up to 9 mesh units outside, where the largest cubes hold most of the mesh

#include "benchmarks/row_data.h"
#include "interpolation/sol_interpolation.h"

#include <benchmark/benchmark.h>

#ifdef TAV3D_BENCHMARK_NANOFLANN
#include <nanoflann.hpp>
#endif

#include <cmath>
#include <memory>
#include <random>
#include <string>
#include <vector>

namespace
{

using tav3d::benchmarks::RowData;

constexpr int queryTotal = 1 << 20; // different places, so that scattered queries do not find their way in the caches

enum Order
{
    Mesh,
    Lattice,
    Scattered,
};

struct Coordinates // numbered from 1
{
    std::vector<double> x{0.0}, y{0.0}, z{0.0};

    void add(double px, double py, double pz)
    {
        x.push_back(px);
        y.push_back(py);
        z.push_back(pz);
    }
    [[nodiscard]] int count() const { return static_cast<int>(x.size()) - 1; }
};

/// Hexahedra on a cube of edge 10, with their centres; nodes of a mesh are moved by up to a fifth of a cell.
struct Mesh3D
{
    Coordinates nodes, centres;
    std::vector<int> items;
    std::vector<int*> rows{nullptr};

    Mesh3D(std::int64_t cells, Order order)
    {
        const int edge = static_cast<int>(std::lround(std::cbrt(static_cast<double>(cells))));
        const int n = edge + 1;
        const double h = 10.0 / edge;
        std::mt19937_64 random(1);
        std::uniform_real_distribution<double> by(-0.2 * h, 0.2 * h);
        std::uniform_real_distribution<double> in(0.0, 10.0);
        const auto moved = [&](int i) { return h * i + (order == Lattice ? 0.0 : by(random)); };
        for (int i = 0; i < n * n * n; ++i)
        {
            const double x = moved(i % n), y = moved(i / n % n), z = moved(i / n / n);
            nodes.add(x, y, z);
        }
        items.reserve(9 * static_cast<std::size_t>(edge) * static_cast<std::size_t>(edge) * static_cast<std::size_t>(edge));
        for (int c = 0; c < edge * edge * edge; ++c)
        {
            const int a = 1 + c % edge + n * (c / edge % edge + n * (c / edge / edge));
            const int b = a + n * n;
            rows.push_back(items.data() + items.size());
            items.insert(items.end(), {8, a, a + 1, a + n + 1, a + n, b, b + 1, b + n + 1, b + n});
            double sum[3] = {};
            for (int k = 1; k <= 8; ++k)
            {
                const auto node = static_cast<std::size_t>(rows.back()[k]);
                sum[0] += nodes.x[node];
                sum[1] += nodes.y[node];
                sum[2] += nodes.z[node];
            }
            if (order == Scattered)
            {
                const double x = in(random), y = in(random), z = in(random);
                centres.add(x, y, z);
            }
            else
                centres.add(sum[0] / 8, sum[1] / 8, sum[2] / 8);
        }
    }
};

const Mesh3D& mesh(std::int64_t cells, Order order)
{
    return RowData::get<Mesh3D>(std::to_string(cells) + ' ' + std::to_string(order), [=] { return Mesh3D(cells, order); });
}

enum class Where
{
    Inside,
    InOrder, // x fastest
    Outside
};

struct Queries
{
    std::vector<std::array<double, 3>> at;

    explicit Queries(Where where)
    {
        constexpr int edge = 102;
        constexpr double h = 10.0 / edge;
        static_assert(edge * edge * edge >= queryTotal);
        std::mt19937_64 random(3);
        std::uniform_real_distribution<double> in(0.0, 10.0);
        for (int i = 0; i < queryTotal; ++i)
        {
            const double x = in(random), y = in(random), z = in(random);
            if (where == Where::InOrder)
                at.push_back({h * (i % edge) + x / edge, h * (i / edge % edge) + y / edge, h * (i / edge / edge) + z / edge});
            else
                at.push_back({where == Where::Outside ? 10.5 + 0.85 * x : x, y, z});
        }
    }
};

template <Where where>
const Queries& queries()
{
    return RowData::get<Queries>(std::to_string(static_cast<int>(where)), [] { return Queries(where); });
}

/// Of the host's arrays, nothing is written to.
double* hosts(const std::vector<double>& values)
{
    return const_cast<double*>(values.data());
}

std::unique_ptr<CSolInterpolation> engineOf(const Mesh3D& m)
{
    auto engine = std::make_unique<CSolInterpolation>();
    engine->m_dXMax = engine->m_dYMax = engine->m_dZMax = 10.0;
    engine->SetBaseData(m.nodes.count(), m.centres.count(), hosts(m.nodes.x), hosts(m.nodes.y), hosts(m.nodes.z), hosts(m.centres.x),
                        hosts(m.centres.y), hosts(m.centres.z), const_cast<int**>(m.rows.data()), false);
    return engine;
}

CSolInterpolation& indexed(std::int64_t cells)
{
    struct Engine
    {
        std::unique_ptr<CSolInterpolation> engine;
    };
    const Engine& held = RowData::get<Engine>(std::to_string(cells), [=] { return Engine{engineOf(mesh(cells, Mesh))}; });
    if (!held.engine->m_pSearchTree->hasIndex())
        held.engine->m_pSearchTree->BuildIndex();
    return *held.engine;
}

template <Order order>
void build(benchmark::State& state)
{
    const Mesh3D& m = mesh(state.range(0), order);
    for (auto _ : state)
    {
        CSolInterpolation engine;
        engine.m_dXMax = engine.m_dYMax = engine.m_dZMax = 10.0;
        engine.SetBaseData_Light(m.centres.count(), hosts(m.centres.x), hosts(m.centres.y), hosts(m.centres.z));
        engine.m_pSearchTree->BuildIndex();
        benchmark::DoNotOptimize(engine.m_pSearchTree->m_nTreeNode);
    }
    state.SetItemsProcessed(state.iterations() * m.centres.count());
}

template <Order order>
void buildPlain(benchmark::State& state)
{
    const Mesh3D& m = mesh(state.range(0), order);
    for (auto _ : state)
    {
        CPointSearchTree tree(0, 10, 0, 10, 0, 10);
        for (std::size_t i = 1; i < m.centres.x.size(); ++i)
            tree.Insert(m.centres.x[i], m.centres.y[i], m.centres.z[i]);
        benchmark::DoNotOptimize(tree.m_nTreeNode);
    }
    state.SetItemsProcessed(state.iterations() * m.centres.count());
}

/// One query per iteration.
template <Where where, class Ask>
void ask(benchmark::State& state, Ask question)
{
    const std::vector<std::array<double, 3>>& at = queries<where>().at;
    std::size_t next = 0;
    for (auto _ : state)
    {
        const auto [x, y, z] = at[next++ % at.size()];
        benchmark::DoNotOptimize(question(x, y, z));
    }
    state.SetItemsProcessed(state.iterations());
}

template <Where where>
void nearest(benchmark::State& state)
{
    CPointSearchTree& tree = *indexed(state.range(0)).m_pSearchTree;
    double square = 0.0;
    ask<where>(state, [&](double x, double y, double z) { return tree.SearchNearestPointIndex(x, y, z, square); });
}

template <Where where>
void nearestPlain(benchmark::State& state)
{
    CPointSearchTree& tree = *indexed(state.range(0)).m_pSearchTree;
    double square = 0.0;
    ask<where>(state, [&](double x, double y, double z) { return tree.VisitNearestPointIndex(x, y, z, square); });
}

void dataPoint(benchmark::State& state)
{
    CSolInterpolation& engine = indexed(state.range(0));
    ask<Where::Inside>(state, [&](double x, double y, double z) { return engine.SetDataPoint(x, y, z); });
}

/// The candidates alone.
void dataPointPlain(benchmark::State& state)
{
    CPointSearchTree& tree = *indexed(state.range(0)).m_pSearchTree;
    CPointSearchTree::Candidates candidates;
    ask<Where::Inside>(state, [&](double x, double y, double z) { return tree.VisitCandidates(x, y, z, candidates); });
}

#ifdef TAV3D_BENCHMARK_NANOFLANN

struct Adaptor
{
    const Coordinates& points;

    [[nodiscard]] std::size_t kdtree_get_point_count() const { return static_cast<std::size_t>(points.count()); }
    [[nodiscard]] double kdtree_get_pt(std::size_t i, std::size_t axis) const
    {
        return (axis == 0 ? points.x : axis == 1 ? points.y : points.z)[i + 1];
    }
    template <class Box>
    bool kdtree_get_bbox(Box& /*box*/) const
    {
        return false;
    }
};
using Tree = nanoflann::KDTreeSingleIndexAdaptor<nanoflann::L2_Simple_Adaptor<double, Adaptor>, Adaptor, 3, std::uint32_t>;

struct Peer
{
    Adaptor adaptor;
    Tree tree;

    explicit Peer(const Coordinates& points)
        : adaptor{points}
        , tree(3, adaptor, nanoflann::KDTreeSingleIndexAdaptorParams(10))
    {
        tree.buildIndex();
    }
};

template <Order order>
void buildNanoflann(benchmark::State& state)
{
    const Mesh3D& m = mesh(state.range(0), order);
    for (auto _ : state)
    {
        const Peer peer(m.centres);
        benchmark::DoNotOptimize(peer.tree.size(peer.tree));
    }
    state.SetItemsProcessed(state.iterations() * m.centres.count());
}

template <Where where>
void nearestNanoflann(benchmark::State& state)
{
    struct Held
    {
        std::unique_ptr<Peer> peer;
    };
    const std::int64_t cells = state.range(0);
    const Tree& tree =
        RowData::get<Held>(std::to_string(cells), [=] { return Held{std::make_unique<Peer>(mesh(cells, Mesh).centres)}; }).peer->tree;
    ask<where>(state,
               [&](double x, double y, double z)
               {
                   const double target[3] = {x, y, z};
                   std::uint32_t number = 0;
                   double square = 0.0;
                   tree.knnSearch(target, 1, &number, &square);
                   return number;
               });
}

#endif

void growing(benchmark::internal::Benchmark* b)
{
    b->Arg(10'000)->Arg(100'000)->Arg(1'000'000)->Arg(5'000'000);
}

void million(benchmark::internal::Benchmark* b)
{
    b->Arg(1'000'000);
}

BENCHMARK(build<Mesh>)->Name("search_tree_build/ours")->Apply(growing);
BENCHMARK(buildPlain<Mesh>)->Name("search_tree_build/plain")->Apply(million);
BENCHMARK(build<Lattice>)->Name("search_tree_build_lattice/ours")->Apply(million);
BENCHMARK(buildPlain<Lattice>)->Name("search_tree_build_lattice/plain")->Apply(million);
BENCHMARK(build<Scattered>)->Name("search_tree_build_scattered/ours")->Apply(million);
BENCHMARK(buildPlain<Scattered>)->Name("search_tree_build_scattered/plain")->Apply(million);
BENCHMARK(nearest<Where::Inside>)->Name("search_tree_nearest/ours")->Apply(growing);
BENCHMARK(nearestPlain<Where::Inside>)->Name("search_tree_nearest/plain")->Apply(million);
BENCHMARK(dataPoint)->Name("search_tree_data_point/ours")->Apply(growing);
BENCHMARK(dataPointPlain)->Name("search_tree_data_point/plain")->Apply(million);
BENCHMARK(nearest<Where::InOrder>)->Name("search_tree_in_order/ours")->Apply(growing);
BENCHMARK(nearest<Where::Outside>)->Name("search_tree_outside/ours")->Apply(million);
BENCHMARK(nearestPlain<Where::Outside>)->Name("search_tree_outside/plain")->Apply(million);
#ifdef TAV3D_BENCHMARK_NANOFLANN
BENCHMARK(buildNanoflann<Mesh>)->Name("search_tree_build/nanoflann")->Apply(million);
BENCHMARK(buildNanoflann<Lattice>)->Name("search_tree_build_lattice/nanoflann")->Apply(million);
BENCHMARK(buildNanoflann<Scattered>)->Name("search_tree_build_scattered/nanoflann")->Apply(million);
BENCHMARK(nearestNanoflann<Where::Inside>)->Name("search_tree_nearest/nanoflann")->Apply(million);
BENCHMARK(nearestNanoflann<Where::Inside>)->Name("search_tree_data_point/nanoflann")->Apply(million);
BENCHMARK(nearestNanoflann<Where::InOrder>)->Name("search_tree_in_order/nanoflann")->Apply(million);
BENCHMARK(nearestNanoflann<Where::Outside>)->Name("search_tree_outside/nanoflann")->Apply(million);
#endif

} // namespace
