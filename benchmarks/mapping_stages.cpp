// Time and peak memory of each stage of the mesh mapping, on a mesh file: mapping_stages MODEL.krn
//
// Each time is that of one run, by the clock and of the processor; smoothing and pick-up are one result item, the best of five. Peak memory is the largest resident
// set during the stage, which includes what earlier stages keep; it is 0 where the system does not tell.

#include "tests/support/mapping_inspector.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <ctime>
#include <fstream>
#include <string>
#include <vector>

namespace
{

using Inspector = CTav3dMeshMappingArrary_Inspector;

void resetPeakMemory()
{
    std::ofstream("/proc/self/clear_refs") << "5";
}

/// MiB
long peakMemory()
{
    std::ifstream status("/proc/self/status");
    for (std::string line; std::getline(status, line);)
        if (line.starts_with("VmHWM:"))
            return std::stol(line.substr(6)) / 1024;
    return 0;
}

template <class Action>
void measure(const char* stage, int runs, Action action)
{
    resetPeakMemory();
    double best = INFINITY, bestProcessor = INFINITY;
    for (int run = 0; run < runs; ++run)
    {
        const auto start = std::chrono::steady_clock::now();
        const std::clock_t processorStart = std::clock();
        action();
        bestProcessor = std::min(bestProcessor, static_cast<double>(std::clock() - processorStart) / CLOCKS_PER_SEC);
        best = std::min(best, std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count());
    }
    std::printf("| %-28s | %10.4f | %11.4f | %8ld |\n", stage, best, bestProcessor, peakMemory());
    std::fflush(stdout);
}

} // namespace

int main(int argc, char** argv)
{
    if (argc != 2)
    {
        std::fprintf(stderr, "usage: mapping_stages MODEL.krn\n");
        return 2;
    }
    const std::string path = argv[1];
    CTav3dMeshMappingArrary object;
    Inspector::m_iMappingMode(object) = 1;
    Inspector::m_strFileName(object) = path;

    std::printf("| %-28s | %10s | %11s | %8s |\n", "stage", "s", "processor s", "peak MiB");
    std::printf("|------------------------------|------------|-------------|----------|\n");
    measure("reading the cut-cell mesh", 1, [&] { Inspector::readCutCellMesh(object); });
    measure("reading the voxel mesh", 1, [&] { Inspector::readVoxelMesh(object); });
    measure("Gauss search", 1, [&] { Inspector::gaussSearch(object); });
    measure("cut-cell search", 1, [&] { Inspector::cutCellSearch(object); });
    measure("mapping engine", 1, [&] { Inspector::createMapping(object, path.c_str()); });

    const int v = Inspector::m_nVoxelNode(object), c = Inspector::m_NNodeCultCell_(object);
    std::vector<float> voxel(static_cast<std::size_t>(v) + 1), work(voxel.size()), cutCell(static_cast<std::size_t>(c) + 1);
    for (int i = 1; i <= v; ++i)
        voxel[static_cast<std::size_t>(i)] = static_cast<float>(200.0 + 50.0 * std::sin(0.001 * i));
    measure("smoothing, one item", 5, [&] { Inspector::smooth(object, v, voxel.data(), work.data()); });
    float max = -1.0e30f, min = 1.0e30f;
    measure("pick-up, one item", 5, [&] { Inspector::pickUp(object, v, c, voxel.data(), cutCell.data(), max, min); });

    std::printf("\n%d voxel nodes (%d on the part's surface), %d cut-cell nodes (%d on the surface)\n", v,
                Inspector::m_nVoxelSurfNode(object), c, Inspector::m_nCutCellSurfNode(object));
    return 0;
}
