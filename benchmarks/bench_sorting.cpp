// SetSorting of the engine in its two halves, on n nodes.
//   sorting_uniform     the four nearest of n scattered nodes to each of n/10 scattered data points; ours and the peers build their tree in
//                       every iteration. The plain form scans all nodes for each of its few data points: compare times per item.
//   sorting_clustered   the same, nodes in clusters of 1,000 at scales from 0.1 to 0.0001, data points among them
//   neighbour_rows      the nodes that share a cell with each node, on a lattice of hexahedra; the peer gathers each row in an ordered set

#include "benchmarks/row_data.h"
#include "interpolation/nearest_points.h"
#include "interpolation/neighbour_sorting.h"

#include <benchmark/benchmark.h>

#ifdef TAV3D_BENCHMARK_NANOFLANN
#include <nanoflann.hpp>
#endif

#include <cmath>
#include <memory>
#include <random>
#include <set>
#include <string>
#include <vector>

namespace
{

using namespace tav3d::interpolation;

constexpr int wanted = 4;

struct Places // numbered from 1
{
    std::vector<double> x{0.0}, y{0.0}, z{0.0};

    void add(double px, double py, double pz)
    {
        x.push_back(px);
        y.push_back(py);
        z.push_back(pz);
    }
    [[nodiscard]] int count() const { return static_cast<int>(x.size()) - 1; }
    [[nodiscard]] NumberedPoints numbered() const { return {x.data(), y.data(), z.data(), count()}; }
};

struct Task
{
    Places nodes, data;
};

Task uniform(std::int64_t n)
{
    std::mt19937_64 random(1);
    std::uniform_real_distribution<double> at(0.0, 100.0);
    Task task;
    for (std::int64_t i = 0; i < n; ++i)
        task.nodes.add(at(random), at(random), at(random));
    for (std::int64_t i = 0; i < n / 10; ++i)
        task.data.add(at(random), at(random), at(random));
    return task;
}

Task clustered(std::int64_t n)
{
    std::mt19937_64 random(2);
    std::uniform_real_distribution<double> at(0.0, 100.0);
    std::normal_distribution<double> by(0.0, 1.0);
    Task task;
    while (task.nodes.count() < n)
    {
        const double x = at(random), y = at(random), z = at(random);
        const double scale = std::pow(10.0, -1.0 - 0.03 * at(random));
        const auto add = [&](Places& places) { places.add(x + scale * by(random), y + scale * by(random), z + scale * by(random)); };
        for (int i = 0; i < 1000; ++i)
            add(task.nodes);
        for (int i = 0; i < 100; ++i)
            add(task.data);
    }
    return task;
}

using MakeTask = Task (*)(std::int64_t);

template <MakeTask make>
const Task& task(std::int64_t n)
{
    return tav3d::benchmarks::RowData::get<Task>(std::to_string(n), [n] { return make(n); });
}

template <MakeTask make>
void sortOurs(benchmark::State& state)
{
    const auto& [nodes, data] = task<make>(state.range(0));
    const CountedTable rows(std::vector<int>(data.x.size(), wanted));
    for (auto _ : state)
    {
        NearestPoints nearest(nodes.numbered(), wanted);
        nearest.selectAll(data.numbered(), wanted, rows.rows());
        benchmark::DoNotOptimize(rows.rows());
    }
    state.SetItemsProcessed(state.iterations() * data.count());
}

template <MakeTask make>
void sortPlain(benchmark::State& state)
{
    const auto& [nodes, data] = task<make>(state.range(0));
    std::vector<int> row(wanted + 1);
    int q = 0;
    for (auto _ : state)
    {
        q = q % data.count() + 1;
        selectNearest(nodes.numbered(), data.numbered()[q], wanted, row.data());
        benchmark::DoNotOptimize(row.data());
    }
    state.SetItemsProcessed(state.iterations());
}

#ifdef TAV3D_BENCHMARK_NANOFLANN

struct Adaptor
{
    const Places& places;

    [[nodiscard]] std::size_t kdtree_get_point_count() const { return static_cast<std::size_t>(places.count()); }
    [[nodiscard]] double kdtree_get_pt(std::size_t i, std::size_t axis) const
    {
        return (axis == 0 ? places.x : axis == 1 ? places.y : places.z)[i + 1];
    }
    template <class Box>
    bool kdtree_get_bbox(Box& /*box*/) const
    {
        return false;
    }
};
using Tree = nanoflann::KDTreeSingleIndexAdaptor<nanoflann::L2_Simple_Adaptor<double, Adaptor>, Adaptor, 3, std::uint32_t>;

template <MakeTask make>
void sortNanoflann(benchmark::State& state)
{
    const auto& [nodes, data] = task<make>(state.range(0));
    const Adaptor adaptor{nodes};
    std::array<std::uint32_t, wanted> row{};
    std::array<double, wanted> squares{};
    for (auto _ : state)
    {
        Tree tree(3, adaptor, nanoflann::KDTreeSingleIndexAdaptorParams(10));
        tree.buildIndex();
        for (int q = 1; q <= data.count(); ++q)
        {
            const Point p = data.numbered()[q];
            const double target[3] = {p.x, p.y, p.z};
            tree.knnSearch(target, wanted, row.data(), squares.data());
            benchmark::DoNotOptimize(row.data());
        }
    }
    state.SetItemsProcessed(state.iterations() * data.count());
}

#endif

/// edge³ hexahedra in the rows that hosts hand over.
struct Cells
{
    int nodeCount = 0;
    std::vector<int> items;
    std::vector<int*> rows{nullptr};

    explicit Cells(std::int64_t nodes)
    {
        const int edge = static_cast<int>(std::lround(std::cbrt(static_cast<double>(nodes)))) - 1;
        const int n = edge + 1;
        nodeCount = n * n * n;
        const std::size_t count = static_cast<std::size_t>(edge) * static_cast<std::size_t>(edge) * static_cast<std::size_t>(edge);
        items.reserve(9 * count);
        for (int k = 0; k < edge; ++k)
            for (int j = 0; j < edge; ++j)
                for (int i = 0; i < edge; ++i)
                {
                    const int a = 1 + i + n * (j + n * k);
                    const int b = a + n * n;
                    rows.push_back(items.data() + items.size());
                    items.insert(items.end(), {8, a, a + 1, a + n + 1, a + n, b, b + 1, b + n + 1, b + n});
                }
    }
    [[nodiscard]] NumberedSpan<int* const> numbered() const { return {rows.data(), static_cast<int>(rows.size()) - 1}; }
};

const Cells& cells(std::int64_t nodes)
{
    return tav3d::benchmarks::RowData::get<Cells>(std::to_string(nodes), [nodes] { return Cells(nodes); });
}

template <CountedTable (*neighbours)(const NumberedSpan<int* const>&, int, const CountedTable&)>
void rowsOfNodes(benchmark::State& state)
{
    const Cells& c = cells(state.range(0));
    const CountedTable around = cellsAroundNodes(c.numbered(), c.nodeCount);
    for (auto _ : state)
    {
        const CountedTable table = neighbours(c.numbered(), c.nodeCount, around);
        benchmark::DoNotOptimize(table.rows());
    }
    state.SetItemsProcessed(state.iterations() * c.nodeCount);
}

void rowsOfNodesOrderedSets(benchmark::State& state)
{
    const Cells& c = cells(state.range(0));
    const CountedTable around = cellsAroundNodes(c.numbered(), c.nodeCount);
    for (auto _ : state)
    {
        std::vector<std::unique_ptr<int[]>> table(static_cast<std::size_t>(c.nodeCount) + 1);
        for (int i = 1; i <= c.nodeCount; ++i)
        {
            std::set<int> distinct;
            for (const int cell : listItems(around.rows()[i]))
                for (const int node : listItems(c.numbered()[cell]))
                    distinct.insert(node);
            auto row = std::make_unique<int[]>(distinct.size() + 1);
            row[0] = static_cast<int>(distinct.size());
            std::copy(distinct.begin(), distinct.end(), row.get() + 1);
            table[static_cast<std::size_t>(i)] = std::move(row);
        }
        benchmark::DoNotOptimize(table.data());
    }
    state.SetItemsProcessed(state.iterations() * c.nodeCount);
}

void growing(benchmark::internal::Benchmark* b)
{
    b->Arg(10'000)->Arg(100'000)->Arg(1'000'000)->Arg(5'000'000)->Unit(benchmark::kMillisecond);
}

void million(benchmark::internal::Benchmark* b)
{
    b->Arg(1'000'000)->Unit(benchmark::kMillisecond);
}

BENCHMARK(sortOurs<uniform>)->Name("sorting_uniform/ours")->Apply(growing);
BENCHMARK(sortPlain<uniform>)->Name("sorting_uniform/plain")->Apply(million);
BENCHMARK(sortOurs<clustered>)->Name("sorting_clustered/ours")->Apply(growing);
BENCHMARK(sortPlain<clustered>)->Name("sorting_clustered/plain")->Apply(million);
#ifdef TAV3D_BENCHMARK_NANOFLANN
BENCHMARK(sortNanoflann<uniform>)->Name("sorting_uniform/nanoflann")->Apply(million);
BENCHMARK(sortNanoflann<clustered>)->Name("sorting_clustered/nanoflann")->Apply(million);
#endif
BENCHMARK(rowsOfNodes<nodesAroundNodes>)->Name("neighbour_rows/ours")->Apply(growing);
BENCHMARK(rowsOfNodes<nodesAroundNodesPlain>)->Name("neighbour_rows/plain")->Apply(million);
BENCHMARK(rowsOfNodesOrderedSets)->Name("neighbour_rows/ordered_sets")->Apply(million);

} // namespace
