// One result item of a thin part smoothed in five sweeps and picked up, against five copies of the same arrays.
//
// The same arrays: per Gauss row its neighbours and weights (the entries in use, eight bytes per neighbour), its own weight and its count; per voxel node
// the value, the marks and the row number; per cut-cell node what the pick-up reads (voxel node, region, marks, row number, the first neighbour) and
// its value. `copy` moves each of them once per sweep, the cut-cell arrays once in all, from one flat array to another, so it writes everything
// that smoothing only reads. Both forms report the bytes that are read.

#include "benchmarks/row_data.h"
#include "benchmarks/thin_plate.h"

#include "meshmapping/node_mapping.h"
#include "meshmapping/smoothing.h"

#include <benchmark/benchmark.h>

#include <cmath>
#include <cstring>
#include <string>

namespace
{

using namespace tav3d;
using meshmapping::NumberedSpan;

constexpr int sweepTotal = 5;

struct Item
{
    explicit Item(std::int64_t nodeTotal)
        : plate(nodeTotal)
        , gauss(meshmapping::findGaussNeighbours(plate.voxel().points(), plate.voxel().kinds(), plate.fixed(), plate.facets(),
                                                 plate.kernel(), plate.voxel().surfaceTotal(), meshmapping::gaussNeighbourCap + 1))
        , cutCell(meshmapping::findCutCellNeighbours(plate.cutCell().points(), plate.cutCell().kinds(), plate.target(),
                                                     plate.cutCell().surfaceTotal()))
        , assigned(static_cast<std::size_t>(plate.cutCell().total()) + 1)
        , region(assigned.size(), 1)
        , value(static_cast<std::size_t>(plate.voxel().total()) + 1)
        , work(value.size())
        , cutCellValue(assigned.size())
    {
        for (std::size_t i = 1; i < value.size(); ++i)
            value[i] = static_cast<float>(200.0 + 50.0 * std::sin(0.001 * static_cast<double>(i)));
        // Nodes of both meshes stand in the same order.
        for (std::size_t j = 1; j < assigned.size(); ++j)
            assigned[j] = static_cast<int>(j * (value.size() - 1) / (assigned.size() - 1)) + (j == 1 ? 1 : 0);
        const int rowTotal = plate.voxel().surfaceTotal(); // counts them
        for (int row = 1; row <= rowTotal; ++row)
            termTotal += gauss.count[row];
    }

    [[nodiscard]] meshmapping::SmoothingNodes nodes() const
    {
        return {plate.voxel().kinds(),
                plate.fixed(),
                {gauss.rowOfNode.get(), gauss.count.get(), gauss.neighbour.data(), gauss.weight.data(), gauss.selfWeight.get()}};
    }
    [[nodiscard]] meshmapping::CutCellSources sources() const
    {
        const int n = plate.cutCell().total();
        return {{assigned.data(), n}, {region.data(), n}, plate.cutCell().kinds(), cutCell.rowOfNode.get(), cutCell.neighbour.data()};
    }
    [[nodiscard]] std::size_t bytesPerSweep() const
    {
        constexpr std::size_t perRow = sizeof(float) + sizeof(int), perNode = sizeof(float) + 2 + 2 * sizeof(int);
        return 8 * static_cast<std::size_t>(termTotal) + perRow * static_cast<std::size_t>(plate.voxel().surfaceTotal()) +
               perNode * value.size();
    }
    [[nodiscard]] std::size_t bytesOfPickUp() const
    {
        constexpr std::size_t perNode = sizeof(float) + 2 + 4 * sizeof(int);
        return perNode * cutCellValue.size();
    }

    benchmarks::ThinPlate plate;
    meshmapping::GaussNeighbours gauss;
    meshmapping::CutCellNeighbours cutCell;
    std::vector<int> assigned, region;
    mutable std::vector<float> value, work, cutCellValue; // what every iteration changes
    std::int64_t termTotal = 0;
};

const Item& item(const benchmark::State& state)
{
    const std::int64_t n = state.range(0);
    return benchmarks::RowData::get<Item>(std::to_string(n), [n] { return Item(n); });
}

void count(benchmark::State& state, const Item& i)
{
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(sweepTotal * i.bytesPerSweep() + i.bytesOfPickUp()));
}

template <auto smooth>
void smoothAndPickUp(benchmark::State& state)
{
    const Item& i = item(state);
    const NumberedSpan<float> value(i.value.data(), i.plate.voxel().total()), work(i.work.data(), i.plate.voxel().total());
    const NumberedSpan<float> cutCellValue(i.cutCellValue.data(), i.plate.cutCell().total());
    for (auto _ : state)
    {
        float max = -1.0e30f, min = 1.0e30f;
        smooth(i.nodes(), value, work);
        meshmapping::pickUpNodeValues(i.sources(), i.plate.voxel().kinds(), {true, false, 0.0f}, value, cutCellValue, max, min);
        benchmark::DoNotOptimize(max);
    }
    count(state, i);
}

void copy(benchmark::State& state)
{
    const Item& i = item(state);
    const std::vector<char> from(std::max(i.bytesPerSweep(), i.bytesOfPickUp()), 1);
    std::vector<char> to(from.size(), 2);
    for (auto _ : state)
    {
        for (int sweep = 0; sweep < sweepTotal; ++sweep)
        {
            std::memcpy(to.data(), from.data(), i.bytesPerSweep());
            benchmark::ClobberMemory();
        }
        std::memcpy(to.data(), from.data(), i.bytesOfPickUp());
        benchmark::ClobberMemory();
    }
    count(state, i);
}

constexpr std::int64_t million = 1000000;

BENCHMARK(smoothAndPickUp<meshmapping::smoothByGaussWeights>)
    ->Name("smoothing_and_pick_up/ours")
    ->RangeMultiplier(10)
    ->Range(10000, million)
    ->Arg(5 * million)
    ->Unit(benchmark::kMillisecond);
BENCHMARK(copy)->Name("smoothing_and_pick_up/copy")->Arg(million)->Unit(benchmark::kMillisecond);

} // namespace
