// A result file of ten cooling items on the housing's voxel mesh: reading it, writing it, and mapping it as `tav3d map` does once the model is loaded (every check
// of the command included, the report left out; the waits of the host's naming rule do not arise with an output of its own). The peer moves
// the same bytes with HDF5 alone: it reads every dataset of the source and writes every dataset of the mapped file, flushes that to the disk and moves it to its name.

#include "TAV3DCoolTools.h"
#include "TAV3DResultEngine.h"
#include "benchmarks/row_data.h"
#include "opensuite/mesh_file.h"
#include "tools/map_job.h"
#include "tools/model_builder.h"

#include <benchmark/benchmark.h>
#include <hdf5.h>

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <random>
#include <stdexcept>
#include <string>
#include <vector>

namespace
{

namespace fs = std::filesystem;
using namespace tav3d;

void require(bool good, const std::string& what)
{
    if (!good)
        throw std::runtime_error("map_ten_items: " + what);
}

// ---- the files

/// Entries 1..d: the marked nodes, ascending.
std::vector<int> listOf(const std::vector<char>& mark)
{
    std::vector<int> list(1, 0);
    for (std::size_t node = 1; node < mark.size(); ++node)
        if (mark[node] != 0)
            list.push_back(static_cast<int>(node));
    return list;
}

/// A node field of its own for every item.
std::vector<float> fieldOf(const opensuite::MeshZone& mesh, int item)
{
    std::vector<float> value(1, 0.0f);
    for (std::size_t k = 0; k < mesh.nodeTotal(); ++k)
        value.push_back(60.0f +
                        20.0f * static_cast<float>(std::sin(0.1 * mesh.x[k] + item) + std::cos(0.2 * mesh.y[k]) + 0.05 * mesh.z[k]));
    return value;
}

/// Ten items as a cooling result has them: at all nodes (type 1), at the mould base's (3), on the part's surface (5); two of no known number.
constexpr int items[][2] = {{1, 1}, {2, 1}, {3, 1}, {5, 3}, {16, 5}, {17, 1}, {33, 5}, {53, 1}, {60, 1}, {61, 3}};

CBinaryInform describe(const opensuite::MeshModel& model, const std::string& meshFile)
{
    const std::size_t nodes = model.voxel.nodeTotal();
    std::vector<char> moldBase(nodes + 1, 0);
    std::vector<char> skin(nodes + 1, 0);
    for (const std::int32_t node : model.voxel.moldBase.node)
        moldBase[static_cast<std::size_t>(node)] = 1;
    for (const opensuite::SurfaceFacet& facet : model.voxel.surface)
        for (const std::int32_t node : facet.node)
            if (facet.kind == opensuite::facet_kind::partSkin)
                skin[static_cast<std::size_t>(node)] = 1;

    CBinaryInform d;
    d.m_strTitle = "ten items";
    d.m_strMeshFile = meshFile;
    d.m_nVoxelNode = static_cast<int>(nodes);
    d.m_nCutCellNode = static_cast<int>(model.cutCell.nodeTotal());
    CBinaryWriteTools::SetResultItemDimension(1, d, d.m_nVoxelNode, false);
    for (const auto& [type, mark] : {std::pair{3, &moldBase}, std::pair{5, &skin}})
    {
        std::vector<int> list = listOf(*mark);
        const int count = static_cast<int>(list.size()) - 1;
        CBinaryWriteTools::SetResultItemDimension(type, d, count, true);
        CBinaryWriteTools::SetResultItemMappingIDArray(type, d, count, list.data());
    }
    for (const auto& [number, type] : items)
        d.m_ResultItem.push_back({number, type, 130.0f, -10.0f, "Item", "degC"});
    return d;
}

/// The values of an item as they are stored.
std::vector<float> storedValues(const opensuite::MeshZone& mesh, CBinaryInform& d, const CBinaryResultItem& item)
{
    std::vector<float> full = fieldOf(mesh, item.m_iResultItemID);
    const int* list = CBinaryWriteTools::GetResultItemMappingIDArray(item.m_iResultType, d);
    if (list == nullptr)
        return full;
    std::vector<float> compact(static_cast<std::size_t>(CBinaryWriteTools::GetResultItemDimension(item.m_iResultType, d)) + 1, 0.0f);
    for (std::size_t k = 1; k < compact.size(); ++k)
        compact[k] = full[static_cast<std::size_t>(list[k])];
    return compact;
}

void writeResult(const std::string& file, CBinaryInform& d, std::vector<std::vector<float>>& values)
{
    CTAV3DResultWriter_Manipulator writer;
    bool good = writer.BeginWriting(file.c_str(), nullptr, false) >= 0;
    good = good && CBinaryWriteTools::WriteHeadFileInfo_time(d, writer, 1.0) >= 0 && CBinaryWriteTools::WriteResultItemInfo(d, writer) >= 0;
    good = good && CBinaryWriteTools::WriteResultTypeInfo(d, writer) >= 0 && CBinaryWriteTools::WriteResultDataIDMap(d, writer) >= 0;
    for (std::size_t k = 0; k < d.m_ResultItem.size(); ++k)
        good = good && writer.WriteResultItem(d.m_ResultItem[k].m_iResultItemID, values[k].data()) >= 0;
    require(good && writer.EndWriting() >= 0, file + " cannot be written");
}

// ---- the peer: plain HDF5

struct PlainDataset
{
    std::string path;
    hid_t type = -1; // of the file; as good as the machine's own
    std::vector<hsize_t> dims;
    std::vector<char> bytes;
};

/// What stands in a file: its groups, parents first, and its datasets.
struct PlainFile
{
    std::vector<std::string> groups;
    std::vector<PlainDataset> datasets;
    std::size_t largest = 0; // bytes of a dataset
};

herr_t collect(hid_t file, const char* name, const H5O_info_t* object, void* data)
{
    auto& plain = *static_cast<PlainFile*>(data);
    if (object->type == H5O_TYPE_GROUP && std::string_view(name) != ".")
        plain.groups.emplace_back(name);
    if (object->type != H5O_TYPE_DATASET)
        return 0;
    PlainDataset set;
    set.path = name;
    const hid_t dataset = H5Dopen2(file, name, H5P_DEFAULT);
    const hid_t space = H5Dget_space(dataset);
    set.type = H5Dget_type(dataset);
    set.dims.resize(static_cast<std::size_t>(H5Sget_simple_extent_ndims(space)));
    H5Sget_simple_extent_dims(space, set.dims.data(), nullptr);
    set.bytes.resize(static_cast<std::size_t>(H5Sget_simple_extent_npoints(space)) * H5Tget_size(set.type));
    H5Dread(dataset, set.type, H5S_ALL, H5S_ALL, H5P_DEFAULT, set.bytes.data());
    H5Sclose(space);
    H5Dclose(dataset);
    plain.largest = std::max(plain.largest, set.bytes.size());
    plain.datasets.push_back(std::move(set));
    return 0;
}

PlainFile contentOf(const std::string& name)
{
    PlainFile plain;
    const hid_t file = H5Fopen(name.c_str(), H5F_ACC_RDONLY, H5P_DEFAULT);
    require(file >= 0 && H5Ovisit2(file, H5_INDEX_NAME, H5_ITER_INC, collect, &plain, H5O_INFO_BASIC) >= 0, name + " cannot be read");
    H5Fclose(file);
    return plain;
}

void readPlainly(const std::string& name, const PlainFile& content)
{
    const std::unique_ptr<char[]> buffer(new char[content.largest]);
    const hid_t file = H5Fopen(name.c_str(), H5F_ACC_RDONLY, H5P_DEFAULT);
    for (const PlainDataset& set : content.datasets)
    {
        const hid_t dataset = H5Dopen2(file, set.path.c_str(), H5P_DEFAULT);
        require(H5Dread(dataset, set.type, H5S_ALL, H5S_ALL, H5P_DEFAULT, buffer.get()) >= 0, name + " cannot be read");
        H5Dclose(dataset);
    }
    H5Fclose(file);
}

void flush(const std::string& name)
{
    const int descriptor = open(name.c_str(), O_RDONLY);
    require(descriptor >= 0 && fsync(descriptor) == 0, name + " cannot be flushed");
    close(descriptor);
}

void writePlainly(const std::string& target, const PlainFile& content)
{
    const std::string name = target + ".tmp";
    const hid_t file = H5Fcreate(name.c_str(), H5F_ACC_TRUNC, H5P_DEFAULT, H5P_DEFAULT);
    for (const std::string& path : content.groups)
        H5Gclose(H5Gcreate2(file, path.c_str(), H5P_DEFAULT, H5P_DEFAULT, H5P_DEFAULT));
    for (const PlainDataset& set : content.datasets)
    {
        const hid_t space = H5Screate_simple(static_cast<int>(set.dims.size()), set.dims.data(), nullptr);
        const hid_t dataset = H5Dcreate2(file, set.path.c_str(), set.type, space, H5P_DEFAULT, H5P_DEFAULT, H5P_DEFAULT);
        require(H5Dwrite(dataset, set.type, H5S_ALL, H5S_ALL, H5P_DEFAULT, set.bytes.data()) >= 0, name + " cannot be written");
        H5Dclose(dataset);
        H5Sclose(space);
    }
    require(H5Fclose(file) >= 0, name + " cannot be written");
    flush(name);
    fs::rename(name, target);
    flush(fs::path(target).parent_path().string());
}

// ---- what the benchmarks of one size share

class Scene
{
public:
    explicit Scene(std::int64_t nodes)
        : folder_(fs::temp_directory_path() / ("tav3d-map-" + std::to_string(std::random_device()())))
        , mesh_((folder_ / "part.krn").string())
        , source_((folder_ / "part.q7c").string())
        , target_((folder_ / "mapped.q7c").string())
    {
        fs::create_directory(folder_);
        const auto surface = [](const char* file) {
            return tools::NamedSurface{file, tools::readStl(std::string(TAV3D_DATA) + "/" + file)};
        };
        tools::ModelOptions options;
        options.cellSize = 0.43 * std::cbrt(1.0e6 / static_cast<double>(nodes));
        const opensuite::MeshModel model = tools::buildModel(surface("housing.stl"), {surface("insert.stl")}, options).model;
        opensuite::writeMeshFile(mesh_, model);
        description_ = describe(model, mesh_);
        for (const CBinaryResultItem& item : description_.m_ResultItem)
            values_.push_back(storedValues(model.voxel, description_, item));
        writeResult(source_, description_, values_);
        sourceContent_ = contentOf(source_);
    }
    ~Scene()
    {
        std::error_code ignored;
        fs::remove_all(folder_, ignored);
    }
    Scene(const Scene&) = delete;
    Scene& operator=(const Scene&) = delete;

    static Scene& of(std::int64_t nodes)
    {
        return *benchmarks::RowData::get<std::unique_ptr<Scene>>(std::to_string(nodes), [&] { return std::make_unique<Scene>(nodes); });
    }

    void map(bool smooth)
    {
        std::optional<tools::ModelMapper>& mapper = smooth ? smoothing_ : plain_;
        if (!mapper)
        {
            tools::MapOptions options;
            options.smooth = smooth;
            mapper.emplace(mesh_, options);
        }
        const tools::MapOutcome outcome = mapper->run({source_, target_}, {});
        require(outcome.failure.empty(), outcome.failure);
    }
    [[nodiscard]] const PlainFile& mappedContent()
    {
        if (mappedContent_.datasets.empty())
        {
            map(false);
            mappedContent_ = contentOf(target_);
        }
        return mappedContent_;
    }
    [[nodiscard]] const PlainFile& sourceContent() const { return sourceContent_; }
    [[nodiscard]] const std::string& source() const { return source_; }
    [[nodiscard]] std::string copy() const { return (folder_ / "copy.q7c").string(); }
    void write() { writeResult(copy(), description_, values_); }

private:
    fs::path folder_;
    std::string mesh_, source_, target_;
    CBinaryInform description_;
    std::vector<std::vector<float>> values_;
    PlainFile sourceContent_, mappedContent_;
    std::optional<tools::ModelMapper> plain_, smoothing_;
};

void sizes(benchmark::internal::Benchmark* row)
{
    row->Arg(10000)->Arg(100000)->Arg(1000000)->Arg(5000000)->Unit(benchmark::kMillisecond)->UseRealTime();
}

} // namespace

static void mapTenItems(benchmark::State& state)
{
    Scene& scene = Scene::of(state.range(0));
    scene.map(false);
    for (auto _ : state)
        scene.map(false);
}
BENCHMARK(mapTenItems)->Name("map_ten_items/ours")->Apply(sizes);

/// The same with smoothing of the five cavity items (1, 2, 17, 53 of the known ones), whose arithmetic is in it.
static void mapTenItemsSmoothed(benchmark::State& state)
{
    Scene& scene = Scene::of(state.range(0));
    scene.map(true);
    for (auto _ : state)
        scene.map(true);
}
BENCHMARK(mapTenItemsSmoothed)->Name("map_ten_items/ours_smoothed")->Apply(sizes);

static void mapTenItemsPlainly(benchmark::State& state)
{
    Scene& scene = Scene::of(state.range(0));
    const PlainFile& mapped = scene.mappedContent();
    for (auto _ : state)
    {
        readPlainly(scene.source(), scene.sourceContent());
        writePlainly(scene.copy(), mapped);
    }
}
BENCHMARK(mapTenItemsPlainly)->Name("map_ten_items/hdf5")->Apply(sizes);

static void resultRead(benchmark::State& state)
{
    const Scene& scene = Scene::of(state.range(0));
    for (auto _ : state)
    {
        CTAV3DResultReader_Manipulator reader;
        require(reader.BeginReading(scene.source().c_str(), nullptr) >= 0, "the source cannot be read");
        CBinaryInform d;
        CBinaryWriteTools::GetBinaryInform(d, reader, 0);
        for (const CBinaryResultItem& item : d.m_ResultItem)
        {
            int n = 0;
            benchmark::DoNotOptimize(
                CBinaryWriteTools::FullResultFromMappingResult_Create(item.m_iResultItemID, item.m_iResultType, d, reader, n));
        }
    }
}
BENCHMARK(resultRead)->Name("result_read/ours")->Apply(sizes);

static void resultReadPlainly(benchmark::State& state)
{
    const Scene& scene = Scene::of(state.range(0));
    for (auto _ : state)
        readPlainly(scene.source(), scene.sourceContent());
}
BENCHMARK(resultReadPlainly)->Name("result_read/hdf5")->Apply(sizes);

static void resultWrite(benchmark::State& state)
{
    Scene& scene = Scene::of(state.range(0));
    for (auto _ : state)
        scene.write();
}
BENCHMARK(resultWrite)->Name("result_write/ours")->Apply(sizes);

static void resultWritePlainly(benchmark::State& state)
{
    const Scene& scene = Scene::of(state.range(0));
    for (auto _ : state)
        writePlainly(scene.copy(), scene.sourceContent());
}
BENCHMARK(resultWritePlainly)->Name("result_write/hdf5")->Apply(sizes);
