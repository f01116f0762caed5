// One million point boxes built and 100,000 cubes queried: CTAVOptKer, and beside it a Boost R-tree that the boxes are inserted into one by one
// and that is queried directly. Points are nodes of a unit lattice (as voxel nodes are) and random points; the cubes are 4 lattice steps wide.

#include "TAVOptKer.h"

#include <benchmark/benchmark.h>
#include <boost/geometry/geometries/box.hpp>
#include <boost/geometry/geometries/point.hpp>
#include <boost/geometry/index/rtree.hpp>

#include <array>
#include <random>
#include <vector>

namespace
{

namespace bg = boost::geometry;
using Point = std::array<double, 3>;

constexpr int boxTotal = 1000000;
constexpr int queryTotal = 100000;
constexpr double half = 1e-6; // of a point box
constexpr double reach = 2.0; // of a query

struct Cloud
{
    std::vector<Point> nodes, queries;
};

Cloud cloud(bool lattice)
{
    std::mt19937_64 random(1);
    std::uniform_real_distribution<double> at(0, 99);
    Cloud c;
    for (int i = 0; i < boxTotal; ++i)
        c.nodes.push_back(lattice ? Point{double(i % 100), double(i / 100 % 100), double(i / 10000)}
                                  : Point{at(random), at(random), at(random)});
    for (int i = 0; i < queryTotal; ++i)
        c.queries.push_back({at(random), at(random), at(random)});
    return c;
}

void boxTree(benchmark::State& state, const Cloud& c)
{
    for (auto _ : state)
    {
        CTAVOptKer tree;
        tree.SetADTreeRange(99, 99, 99, 0, 0, 0, 1, 10000, 200000);
        int id = 0;
        for (const auto& [x, y, z] : c.nodes)
            tree.AddSurfaceToADTree(++id, x + half, y + half, z + half, x - half, y - half, z - half);
        long long found = 0;
        for (const auto& [x, y, z] : c.queries)
        {
            int count = 0;
            benchmark::DoNotOptimize(tree.SearchNearBlockID(x - reach, y - reach, z - reach, x + reach, y + reach, z + reach, count, 0));
            found += count;
        }
        state.counters["found"] = static_cast<double>(found);
    }
}

/// One by one, and no sorting of what is found.
template <class Split>
void boostInserted(benchmark::State& state, const Cloud& c)
{
    using Corner = bg::model::point<double, 3, bg::cs::cartesian>;
    using Box = bg::model::box<Corner>;
    using Entry = std::pair<Box, int>;
    for (auto _ : state)
    {
        bg::index::rtree<Entry, Split> tree;
        int id = 0;
        for (const auto& [x, y, z] : c.nodes)
            tree.insert(Entry(Box({x - half, y - half, z - half}, {x + half, y + half, z + half}), ++id));
        long long found = 0;
        std::vector<Entry> hits;
        for (const auto& [x, y, z] : c.queries)
        {
            hits.clear();
            tree.query(bg::index::intersects(Box({x - reach, y - reach, z - reach}, {x + reach, y + reach, z + reach})),
                       std::back_inserter(hits));
            found += static_cast<long long>(hits.size());
        }
        state.counters["found"] = static_cast<double>(found);
    }
}

} // namespace

int main(int argc, char** argv)
{
    benchmark::Initialize(&argc, argv);
    const Cloud lattice = cloud(true);
    const Cloud scattered = cloud(false);
    benchmark::RegisterBenchmark("box_tree_lattice", boxTree, lattice)->Unit(benchmark::kMillisecond);
    benchmark::RegisterBenchmark("boost_linear_lattice", boostInserted<bg::index::linear<16>>, lattice)->Unit(benchmark::kMillisecond);
    benchmark::RegisterBenchmark("boost_quadratic_lattice", boostInserted<bg::index::quadratic<16>>, lattice)
        ->Unit(benchmark::kMillisecond);
    benchmark::RegisterBenchmark("box_tree_random", boxTree, scattered)->Unit(benchmark::kMillisecond);
    benchmark::RegisterBenchmark("boost_linear_random", boostInserted<bg::index::linear<16>>, scattered)->Unit(benchmark::kMillisecond);
    benchmark::RegisterBenchmark("boost_quadratic_random", boostInserted<bg::index::quadratic<16>>, scattered)
        ->Unit(benchmark::kMillisecond);
    benchmark::RunSpecifiedBenchmarks();
}
