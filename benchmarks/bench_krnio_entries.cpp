// Benchmarks the reading of a mesh file of 1,000,000 nodes and 970,299 hexahedra, entry by entry as hosts do it; items are entries.

#include "KRNIO.h"
#include "opensuite/mesh_file.h"
#include "opensuite/mesh_file_reader.h"

#include <benchmark/benchmark.h>

#include <filesystem>
#include <random>
#include <stdexcept>

using namespace tav3d::opensuite;

namespace
{

constexpr int edge = 99; // cells along an edge of the grid

/// A mesh file that lives as long as the program.
class GridFile
{
public:
    GridFile()
        : name_((std::filesystem::temp_directory_path() / ("tav3d-krnio-entries-" + std::to_string(std::random_device()()) + ".krn"))
                    .string())
    {
        MeshModel model;
        model.cellSize = 1.0f;
        MeshZone& zone = model.voxel;
        for (int k = 0; k <= edge; ++k)
            for (int j = 0; j <= edge; ++j)
                for (int i = 0; i <= edge; ++i)
                {
                    zone.x.push_back(static_cast<float>(i));
                    zone.y.push_back(static_cast<float>(j));
                    zone.z.push_back(static_cast<float>(k));
                }
        constexpr int row = edge + 1;
        constexpr int layer = row * row;
        for (int k = 0; k < edge; ++k)
            for (int j = 0; j < edge; ++j)
                for (int i = 0; i < edge; ++i)
                {
                    const int n = 1 + i + row * j + layer * k;
                    const std::int32_t node[] = {n,         n + 1,         n + 1 + row,         n + row,
                                                 n + layer, n + 1 + layer, n + 1 + row + layer, n + row + layer};
                    zone.plastic.add(CellKind::Hexa8, node, body::part);
                    if (k == 0)
                        zone.surface.push_back({{node[0], node[3], node[2], node[1]}, 1, facet_kind::partSkin, 1 + i + edge * j, 0});
                }
        writeMeshFile(name_, model);
    }
    ~GridFile()
    {
        std::error_code ignored;
        std::filesystem::remove(name_, ignored);
    }
    GridFile(const GridFile&) = delete;
    GridFile& operator=(const GridFile&) = delete;

    [[nodiscard]] const char* name() const noexcept { return name_.c_str(); }

private:
    std::string name_;
};

const char* gridFile()
{
    static const GridFile file;
    return file.name();
}

void open(KRNIO_Manipulator& reader)
{
    if (reader.beginReading(gridFile(), nullptr, 1) != 0)
        throw std::runtime_error("the mesh file cannot be read");
}

} // namespace

/// Opening: the whole file is checked once; items are its nodes and elements.
static void beginReading(benchmark::State& state)
{
    (void)gridFile();
    for (auto _ : state)
    {
        KRNIO_Manipulator reader;
        open(reader);
        state.SetItemsProcessed(state.items_processed() + reader.getNNode() + reader.getNElementPlastic());
    }
}
BENCHMARK(beginReading)->Name("krnio_opening/ours")->Unit(benchmark::kMillisecond);

static void nodeEntries(benchmark::State& state)
{
    std::int64_t entries = 0;
    for (auto _ : state)
    {
        state.PauseTiming();
        KRNIO_Manipulator reader;
        open(reader);
        state.ResumeTiming();
        float x, y, z, sum = 0;
        for (; reader.readNodeBlockEntry(x, y, z) >= 0; ++entries)
            sum += x + y + z;
        benchmark::DoNotOptimize(sum);
        state.PauseTiming();
        reader.endReading();
        state.ResumeTiming();
    }
    state.SetItemsProcessed(entries);
}
BENCHMARK(nodeEntries)->Name("krnio_node_entries/ours")->Unit(benchmark::kMillisecond);

static void elementEntries(benchmark::State& state)
{
    std::int64_t entries = 0;
    for (auto _ : state)
    {
        state.PauseTiming();
        KRNIO_Manipulator reader;
        open(reader);
        state.ResumeTiming();
        int count, reference, bodyNumber, node[8];
        long long sum = 0;
        float size;
        for (; reader.readElementPlasticBlockEntry(count, node, reference, bodyNumber, size) >= 0; ++entries)
            sum += node[count - 1];
        benchmark::DoNotOptimize(sum);
        state.PauseTiming();
        reader.endReading();
        state.ResumeTiming();
    }
    state.SetItemsProcessed(entries);
}
BENCHMARK(elementEntries)->Name("krnio_element_entries/ours")->Unit(benchmark::kMillisecond);

/// The whole mesh into memory, checked.
static void wholeZone(benchmark::State& state)
{
    const char* file = gridFile();
    for (auto _ : state)
    {
        const MeshZone zone = readMeshZone(file, ZoneId::Voxel);
        state.SetItemsProcessed(state.items_processed() + static_cast<std::int64_t>(zone.nodeTotal() + zone.plastic.size()));
    }
}
BENCHMARK(wholeZone)->Name("mesh_file_reading/ours")->Unit(benchmark::kMillisecond);

/// Writing it; items as in reading. What the disk takes to flush is in it.
static void writeZone(benchmark::State& state)
{
    const std::string copy = std::string(gridFile()) + ".copy";
    MeshModel model = readMeshFile(gridFile());
    for (auto _ : state)
        writeMeshFile(copy, model);
    state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(model.voxel.nodeTotal() + model.voxel.plastic.size()));
    std::filesystem::remove(copy);
}
BENCHMARK(writeZone)->Name("mesh_file_writing/ours")->Unit(benchmark::kMillisecond)->UseRealTime();
