// The neighbour searches of a thin part: both forms make the same rows, tables included.

#include "benchmarks/thin_plate.h"

#include <benchmark/benchmark.h>

#include <memory>

namespace
{

using namespace tav3d;

/// The plate of the benchmark's size; the last one is kept.
const benchmarks::ThinPlate& plate(const benchmark::State& state)
{
    static std::unique_ptr<benchmarks::ThinPlate> kept;
    static std::int64_t size = 0;
    if (size != state.range(0))
    {
        kept.reset();
        kept = std::make_unique<benchmarks::ThinPlate>(state.range(0));
        size = state.range(0);
    }
    return *kept;
}

template <auto search>
void gaussSearch(benchmark::State& state)
{
    const benchmarks::ThinPlate& p = plate(state);
    const int rowTotal = p.voxel().surfaceTotal();
    for (auto _ : state)
    {
        const meshmapping::GaussNeighbours rows =
            search(p.voxel().points(), p.voxel().kinds(), p.fixed(), p.facets(), p.kernel(), rowTotal, meshmapping::gaussNeighbourCap + 1);
        benchmark::DoNotOptimize(rows.count[rowTotal]);
    }
    state.SetItemsProcessed(state.iterations() * rowTotal);
}

BENCHMARK(gaussSearch<meshmapping::findGaussNeighbours>)
    ->Name("gauss_search/ours")
    ->RangeMultiplier(10)
    ->Range(10000, 1000000)
    ->Arg(5000000)
    ->Unit(benchmark::kMillisecond);
BENCHMARK(gaussSearch<meshmapping::findGaussNeighboursPlain>)->Name("gauss_search/plain")->Arg(1000000)->Unit(benchmark::kMillisecond);

} // namespace
namespace
{
template <auto search>
void cutCellSearch(benchmark::State& state)
{
    const benchmarks::ThinPlate& p = plate(state);
    const int rowTotal = p.cutCell().surfaceTotal();
    const meshmapping::VoxelTarget target = p.target();
    for (auto _ : state)
    {
        const meshmapping::CutCellNeighbours rows = search(p.cutCell().points(), p.cutCell().kinds(), target, rowTotal);
        benchmark::DoNotOptimize(rows.neighbour[rowTotal]);
    }
    state.SetItemsProcessed(state.iterations() * rowTotal);
}

BENCHMARK(cutCellSearch<meshmapping::findCutCellNeighbours>)
    ->Name("cut_cell_search/ours")
    ->RangeMultiplier(10)
    ->Range(10000, 1000000)
    ->Arg(5000000)
    ->Unit(benchmark::kMillisecond);
BENCHMARK(cutCellSearch<meshmapping::findCutCellNeighboursPlain>)
    ->Name("cut_cell_search/plain")
    ->Arg(1000000)
    ->Unit(benchmark::kMillisecond);
} // namespace
