// One million point boxes built and 100,000 cubes queried: CTAVOptKer, and beside it Boost R-trees queried directly, which the boxes are inserted into one
// by one or which are packed. Points are nodes of a unit lattice (as voxel nodes are) and random points; the cubes are 4 lattice steps wide.

#include "TAVOptKer.h"
#include "benchmarks/row_data.h"

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

Cloud makeCloud(bool lattice)
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

const Cloud& cloud(bool lattice)
{
    return tav3d::benchmarks::RowData::get<Cloud>(lattice ? "lattice" : "random", [=] { return makeCloud(lattice); });
}

void boxTree(benchmark::State& state, bool lattice)
{
    const Cloud& c = cloud(lattice);
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

using Corner = bg::model::point<double, 3, bg::cs::cartesian>;
using Box = bg::model::box<Corner>;
using Entry = std::pair<Box, int>;
using Tree = bg::index::rtree<Entry, bg::index::quadratic<16>>;

Box pointBox(const Point& p)
{
    return Box({p[0] - half, p[1] - half, p[2] - half}, {p[0] + half, p[1] + half, p[2] + half});
}

long long countFound(const Tree& tree, const Cloud& c)
{
    long long found = 0;
    std::vector<Entry> hits;
    for (const auto& [x, y, z] : c.queries)
    {
        hits.clear();
        tree.query(bg::index::intersects(Box({x - reach, y - reach, z - reach}, {x + reach, y + reach, z + reach})),
                   std::back_inserter(hits));
        found += static_cast<long long>(hits.size());
    }
    return found;
}

/// One by one, and no sorting of what is found.
void boostInserted(benchmark::State& state, bool lattice)
{
    const Cloud& c = cloud(lattice);
    for (auto _ : state)
    {
        Tree tree;
        int id = 0;
        for (const Point& p : c.nodes)
            tree.insert(Entry(pointBox(p), ++id));
        state.counters["found"] = static_cast<double>(countFound(tree, c));
    }
}

/// All boxes at once, and no sorting of what is found.
void boostPacked(benchmark::State& state, bool lattice)
{
    const Cloud& c = cloud(lattice);
    for (auto _ : state)
    {
        std::vector<Entry> entries;
        for (const Point& p : c.nodes)
            entries.emplace_back(pointBox(p), static_cast<int>(entries.size()) + 1);
        const Tree tree(entries);
        state.counters["found"] = static_cast<double>(countFound(tree, c));
    }
}

} // namespace

BENCHMARK_CAPTURE(boxTree, lattice, true)->Name("box_tree_lattice/ours")->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(boostInserted, lattice, true)->Name("box_tree_lattice/boost_inserted")->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(boostPacked, lattice, true)->Name("box_tree_lattice/boost_packed")->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(boxTree, random, false)->Name("box_tree_random/ours")->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(boostInserted, random, false)->Name("box_tree_random/boost_inserted")->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(boostPacked, random, false)->Name("box_tree_random/boost_packed")->Unit(benchmark::kMillisecond);
