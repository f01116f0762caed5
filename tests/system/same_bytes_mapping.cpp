// The probe of the mapping object and of the driver.

#include "same_bytes_probe.h"

#include "Tav3dQ7XMapping_Voxel2CutCell.h"
#include "meshmapping/tecplot_output.h"
#include "support/mapping_inspector.h"

#include <cstdio>
#include <filesystem>
#include <iostream>
#include <limits>
#include <vector>

// The driver's own switch for what it prints about file names.
struct Tav3dQ7XMappingTestAccess
{
    static void printDiagnostics(CTav3dQ7XMapping_Voxel2CutCell& driver) { driver.m_iDebugPrint = 1; }
};

namespace tav3d::probe
{
namespace
{

using Object = CTav3dMeshMappingArrary;
using Inspector = CTav3dMeshMappingArrary_Inspector;

/// The tables that loading and searching have built.
void recordTables(Record& record, Object& object)
{
    const int v = Inspector::m_nVoxelNode(object), c = Inspector::m_NNodeCultCell_(object);
    record.add(v);
    record.add(c);
    record.add(Inspector::m_Voxel_BasicElem_LengthSq(object));
    for (const float* axis : {Inspector::m_pfVoxelX(object), Inspector::m_pfVoxelY(object), Inspector::m_pfVoxelZ(object)})
        record.addNumbered(axis, v);
    for (const float* axis : {Inspector::m_pfCutCellX(object), Inspector::m_pfCutCellY(object), Inspector::m_pfCutCellZ(object)})
        record.addNumbered(axis, c);
    record.addNumbered(Inspector::m_pbVoxelPartNode(object), v);
    record.addNumbered(Inspector::m_pbVoxelPartInsertNode(object), v);
    record.addNumbered(Inspector::m_piVoxelNodeReNumber(object), v);
    record.addNumbered(Inspector::m_piVoxelFixedNode(object), v);
    record.addNumbered(Inspector::m_pbCutCellPartNode(object), c);
    record.addNumbered(Inspector::m_pbCutCellPartInsertNode(object), c);
    record.addNumbered(Inspector::m_piCutCellNodeRegion(object), c);
    record.addNumbered(Inspector::m_piCutCell2VoxelNode(object), c);
    int flag = 0, count = 0, list[64] = {};
    float weight[64] = {};
    if (Inspector::m_piVoxelNeighborIndex(object) != nullptr)
        for (int node = 1; node <= v; ++node)
        {
            Inspector::gaussRow(object, node, flag, count, list, weight);
            for (int k = 0; k <= count; ++k)
            {
                record.add(list[k]);
                record.add(weight[k]);
            }
        }
    if (Inspector::m_piCutCellNeighborIndex(object) != nullptr)
        for (int node = 1; node <= c; ++node)
        {
            Inspector::cutCellRow(object, node, flag, count, list);
            for (int k = 0; k < count; ++k)
                record.add(list[k]);
        }
}

/// Values at nodes 1..n: nothing at some (0), and a few that are no numbers.
std::vector<float> nodeValues(int n, unsigned seed)
{
    Numbers numbers(seed);
    std::vector<float> value(static_cast<std::size_t>(n) + 1);
    for (std::size_t i = 1; i < value.size(); ++i)
        value[i] = i % 11 == 0 ? 0.0f : static_cast<float>(numbers.next(-200, 300));
    constexpr float odd[] = {-0.0f, std::numeric_limits<float>::infinity(), std::numeric_limits<float>::quiet_NaN(), 3e38f, 1e-42f};
    for (std::size_t k = 0; k < std::size(odd); ++k)
        value[value.size() / 2 + 97 * k] = odd[k];
    return value;
}

void recordMapping(Record& record, Object& object, bool smooth)
{
    const int v = Inspector::m_nVoxelNode(object), c = Inspector::m_NNodeCultCell_(object);
    for (const int fileType : {0, 2})
    {
        Inspector::m_iResultFileType(object) = fileType;
        Inspector::m_fResultMinValue(object) = -1234.5f;
        std::vector<float> voxel = nodeValues(v, 8), cutCell(static_cast<std::size_t>(c) + 1), work(voxel.size());
        float max = -1.0e30f, min = 1.0e30f;
        object.MappingVoxel2CutcellNodeResult(smooth, v, c, voxel.data(), cutCell.data(), max, min, work.data());
        record.addNumbered(voxel.data(), v);
        record.addNumbered(cutCell.data(), c);
        record.add(max);
        record.add(min);
    }
    if (smooth)
    {
        std::vector<float> voxel = nodeValues(v, 9), work(voxel.size());
        Inspector::average(object, v, voxel.data(), work.data());
        record.addNumbered(voxel.data(), v);
    }
}

/// Under names of their own, as every object counts its files from 1.
void writeTecplot(Object& object, const std::string& name)
{
    const int nodes[] = {Inspector::m_NNodeCultCell_(object), Inspector::m_nVoxelNode(object)};
    Inspector::m_nVoxelResultNode(object) = nodes[1];
    for (const int mesh : {1, 0})
    {
        float** table = meshmapping::newCaptureTable(nodes[mesh]);
        for (int row = 1; row <= 2; ++row)
        {
            const std::vector<float> value = nodeValues(nodes[mesh], 10u + static_cast<unsigned>(row));
            std::copy(value.begin(), value.end(), table[row]);
        }
        object.TecPlotVoxelSmoothValue(table, mesh);
        meshmapping::deleteCaptureTable(table);
    }
    std::filesystem::rename("VoxelResultt=1.000000_.plt", "probe-voxel-" + name + ".plt");
    std::filesystem::rename("CutCellResultt=2.000000_.plt", "probe-cut-cell-" + name + ".plt");
}

/// The smoothing service for points of a host: a cloud whose points sit partly on a grid, so that distances tie.
void probeSmoothingService()
{
    Record record("smoothing-service");
    Numbers numbers(12);
    constexpr int n = 700;
    std::vector<double> x(n + 1), y(n + 1), z(n + 1), in(n + 1), out(n + 1);
    for (std::size_t i = 1; i <= n; ++i)
    {
        const bool onGrid = i % 3 != 0;
        x[i] = onGrid ? static_cast<double>(i % 8) : numbers.next(0, 8);
        y[i] = onGrid ? static_cast<double>(i / 8 % 8) : numbers.next(0, 8);
        z[i] = onGrid ? static_cast<double>(i / 64) : numbers.next(0, 8);
        in[i] = numbers.next(-50, 50);
    }
    for (const double lengthSquared : {1.0, 0.09, 1e-4})
    {
        Object object;
        object.Initialize_SmoothData(n, x.data(), y.data(), z.data(), lengthSquared);
        object.MultiplySmoothData(in.data(), out.data(), 2);
        record.addNumbered(out.data(), n);
        for (int i = 1; i <= n; ++i)
            for (int k = 0; k <= Inspector::m_nSmoothMaxNeighbor(object); ++k)
            {
                record.add(Inspector::m_ppSmoothNeighborWeight(object)[i][k]);
                record.add(Inspector::m_ppiSmoothNeighbor(object)[i][k]);
            }
        bool insert[] = {false, true, false, true}, moldBase[] = {false, false, true, false};
        object.CheckPartInsert_MoldBaseNode(insert, moldBase, 3);
        object.test();
        record.addNumbered(Inspector::m_pdTestY(object), 50);
    }
}

/// What the driver says, also when something is wrong.
void speakAsDriver(const std::string& meshFile)
{
    std::string missing = "missing.q7f", target = "mapped-by-probe.q7f", nowhere = "no-folder/mapped.q7f", source = "results/part.q7f";
    CTav3dQ7XMapping_Voxel2CutCell driver;
    std::printf("not configured: %d\n", driver.Voxel2CutCellResult(source, target, 0));
    std::printf("no mesh: %d\n", driver.SetParameters("missing.krn", 1, 0));
    std::printf("mesh: %d\n", driver.SetParameters(meshFile.c_str(), 1, 0));
    Tav3dQ7XMappingTestAccess::printDiagnostics(driver);
    driver.DebugControl(1, 1);
    std::printf("no source: %d\n", driver.Voxel2CutCellResult(missing, target, 0));
    std::printf("no folder: %d\n", driver.Voxel2CutCellResult(source, nowhere, 0));
    std::printf("nothing to move: %d\n", driver.Voxel2CutCellResult(missing, 0));
    std::printf("mapped: %d\n", driver.Voxel2CutCellResult(source, target, 1));
}

} // namespace

void probeMapping(const std::string& meshFile)
{
    for (const int mode : {0, 1, 2})
        for (const int insertMode : {0, 1})
        {
            const std::string name = std::to_string(mode) + "-" + std::to_string(insertMode);
            Record record("mapping-" + name);
            Object object;
            Inspector::m_iDebugInfo(object) = 1;
            Inspector::m_iMappingMode(object) = mode;
            object.SetParameters(meshFile.c_str(), mode, insertMode);
            recordTables(record, object);
            recordMapping(record, object, mode == 1);
            if (insertMode == 0)
                writeTecplot(object, name);
        }
    probeSmoothingService();
    Object object;
    object.SetParameters("missing.krn", 1, 0);
    speakAsDriver(meshFile);
    std::cout << std::flush;
}

} // namespace tav3d::probe
