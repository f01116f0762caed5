// Loading of a thin part: its neighbour searches, of which both forms make the same rows, tables included, and the whole set-up from a mesh file. Releasing
// what was made is not measured.

#include "benchmarks/row_data.h"
#include "benchmarks/thin_plate.h"

#include "Tav3dMeshMappingArrary.h"
#include "opensuite/mesh_file.h"
#include "tests/support/mapping_inspector.h"
#include "tests/support/scratch_folder.h"

#include <benchmark/benchmark.h>

#include <fstream>
#include <optional>
#include <string>

#ifdef __GLIBC__
#include <malloc.h>
#endif

namespace
{

using namespace tav3d;
using Inspector = CTav3dMeshMappingArrary_Inspector;

constexpr std::int64_t million = 1000000;

const benchmarks::ThinPlate& plate(const benchmark::State& state)
{
    const std::int64_t n = state.range(0);
    return benchmarks::RowData::get<benchmarks::ThinPlate>(std::to_string(n), [n] { return benchmarks::ThinPlate(n); });
}

template <auto search>
void gaussSearch(benchmark::State& state)
{
    const benchmarks::ThinPlate& p = plate(state);
    const int rowTotal = p.voxel().surfaceTotal();
    std::optional<meshmapping::GaussNeighbours> rows;
    for (auto _ : state)
    {
        rows.emplace(
            search(p.voxel().points(), p.voxel().kinds(), p.fixed(), p.facets(), p.kernel(), rowTotal, meshmapping::gaussNeighbourCap + 1));
        state.PauseTiming();
        rows.reset();
        state.ResumeTiming();
    }
    state.SetItemsProcessed(state.iterations() * rowTotal);
}

template <auto search>
void cutCellSearch(benchmark::State& state)
{
    const benchmarks::ThinPlate& p = plate(state);
    const int rowTotal = p.cutCell().surfaceTotal();
    const meshmapping::VoxelTarget target = p.target();
    std::optional<meshmapping::CutCellNeighbours> rows;
    for (auto _ : state)
    {
        rows.emplace(search(p.cutCell().points(), p.cutCell().kinds(), target, rowTotal));
        state.PauseTiming();
        rows.reset();
        state.ResumeTiming();
    }
    state.SetItemsProcessed(state.iterations() * rowTotal);
}

/// A line of /proc/self/status in bytes; 0 where the system does not tell.
double memoryStatus(const char* line)
{
    std::ifstream status("/proc/self/status");
    for (std::string text; std::getline(status, text);)
        if (text.starts_with(line))
            return 1024.0 * std::stod(text.substr(text.find(':') + 1));
    return 0.0;
}

/// Bytes of the tables and arrays that the mapping object makes on the way, by their entries: those that it keeps and those that only the loading
/// needs. Of the search tree a box of six doubles and a number per node.
double bytesOfTables(CTav3dMeshMappingArrary& o, double surfaceEntries)
{
    constexpr double pointer = 8, number = 4, mark = 1, box = 56;
    const double v = Inspector::m_nVoxelNode(o), c = Inspector::m_NNodeCultCell_(o);
    const double voxelRows = Inspector::m_nVoxelSurfNode(o) + Inspector::m_nVoxelPartInsertNode(o) + 1;
    const double cutCellRows = Inspector::m_nCutCellSurfNode(o) + Inspector::m_nCutCellPartInsertNode(o) + 1;
    const double perVoxelNode = 2 * mark + 3 * number   // marks, coordinates
                                + 5 * number + box      // plastic, compact numbers both ways, fixed, work; tree
                                + pointer + 10 * number // facets of the node
                                + 2 * number;           // row, stamp of the walk
    const double perFacet = 2 * (pointer + 5 * number); // in the reader's table and in the one that stays
    const double perVoxelRow = 2 * (pointer + 51 * number) + 2 * number;
    const double perCutCellNode = 4 * mark + 3 * number + 3 * number + 2 * number;
    const double perCutCellRow = pointer + 11 * number;
    return perVoxelNode * v + perFacet * surfaceEntries + perVoxelRow * voxelRows + perCutCellNode * c + perCutCellRow * cutCellRows;
}

void modelLoading(benchmark::State& state)
{
    const test::ScratchFolder folder;
    const std::string path = folder.file("plate.krn");
    double surfaceEntries = 0;
    {
        const opensuite::MeshModel model = plate(state).model();
        surfaceEntries = static_cast<double>(model.voxel.surface.size());
        opensuite::writeMeshFile(path, model);
    }
    double memory = 0.0, tables = 1.0;
    std::optional<CTav3dMeshMappingArrary> object;
    for (auto _ : state)
    {
        state.PauseTiming();
#ifdef __GLIBC__
        malloc_trim(0);
#endif
        std::ofstream("/proc/self/clear_refs") << "5"; // the peak starts anew
        const double before = memoryStatus("VmRSS");
        object.emplace();
        Inspector::m_iMappingMode(*object) = 1;
        state.ResumeTiming();
        object->SetParameters(path.c_str(), 1, 0);
        state.PauseTiming();
        memory = memoryStatus("VmHWM") - before;
        tables = bytesOfTables(*object, surfaceEntries);
        object.reset();
        state.ResumeTiming();
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
    state.counters["memory_over_tables"] = memory / tables;
}

BENCHMARK(gaussSearch<meshmapping::findGaussNeighbours>)
    ->Name("gauss_search/ours")
    ->RangeMultiplier(10)
    ->Range(10000, million)
    ->Arg(5 * million)
    ->Unit(benchmark::kMillisecond);
BENCHMARK(gaussSearch<meshmapping::findGaussNeighboursPlain>)->Name("gauss_search/plain")->Arg(million)->Unit(benchmark::kMillisecond);

BENCHMARK(cutCellSearch<meshmapping::findCutCellNeighbours>)
    ->Name("cut_cell_search/ours")
    ->RangeMultiplier(10)
    ->Range(10000, million)
    ->Arg(5 * million)
    ->Unit(benchmark::kMillisecond);
BENCHMARK(cutCellSearch<meshmapping::findCutCellNeighboursPlain>)
    ->Name("cut_cell_search/plain")
    ->Arg(million)
    ->Unit(benchmark::kMillisecond);

BENCHMARK(modelLoading)
    ->Name("model_loading/ours")
    ->RangeMultiplier(10)
    ->Range(10000, million)
    ->Arg(5 * million)
    ->Unit(benchmark::kMillisecond);

} // namespace
