// The nearest voxel node of every cut-cell node, one million of each: nine in ten cut-cell nodes stand on a voxel node, the tenth was moved by up to
// half a cell; a slab of the lattice is plastic.

#include "opensuite/nearest_voxel_node.h"

#include <benchmark/benchmark.h>

#include <random>
#include <vector>

namespace
{

using namespace tav3d::opensuite;

void latticeAndCutCells(benchmark::State& state)
{
    constexpr int edge = 100;
    std::mt19937_64 random(1);
    std::uniform_real_distribution<float> by(-0.5f, 0.5f);
    std::vector<float> voxel[3], cut[3];
    std::vector<NodeBody> body;
    for (int i = 0; i < edge * edge * edge; ++i)
    {
        const int at[3] = {i % edge, i / edge % edge, i / edge / edge};
        const bool moved = random() % 10 == 0;
        for (int k = 0; k < 3; ++k)
        {
            voxel[k].push_back(float(at[k]));
            cut[k].push_back(float(at[k]) + (moved ? by(random) : 0.0f));
        }
        body.push_back(at[2] >= 40 && at[2] < 50 ? NodeBody::Plastic : NodeBody::MoldBase);
    }
    std::vector<std::int32_t> nearest(body.size());
    for (auto _ : state)
    {
        nearestVoxelNodes({cut[0], cut[1], cut[2], body}, {voxel[0], voxel[1], voxel[2], body}, nearest);
        benchmark::DoNotOptimize(nearest.data());
    }
    state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(nearest.size()));
}

} // namespace

BENCHMARK(latticeAndCutCells)->Unit(benchmark::kMillisecond);
BENCHMARK_MAIN();
