#include "mapping_checks.h"

#include "opensuite/mesh_file.h"
#include "platform/KRNXT.h"
#include "platform/TAVOptKer.h"

#include <gtest/gtest.h>

#include <cmath>
#include <filesystem>
#include <random>

namespace tav3d::test
{

using Inspector = CTav3dMeshMappingArrary_Inspector;

namespace
{

std::string freshFolder()
{
    std::random_device random;
    std::filesystem::path folder;
    do
        folder = std::filesystem::temp_directory_path() / ("tav3d-mapping-" + std::to_string(random()) + "-" + std::to_string(random()));
    while (!std::filesystem::create_directory(folder));
    return folder.string();
}

template <class T>
std::vector<int> ints(const T* array, int n)
{
    return {array, array + n + 1};
}

std::vector<float> floats(const float* array, int n)
{
    return {array, array + n + 1};
}

} // namespace

MappedModel::MappedModel(const opensuite::MeshModel& model, int mappingMode, int partInsertMode, bool progress)
    : mode(mappingMode)
    , insertMode(partInsertMode)
    , folder_(freshFolder())
{
    path = (std::filesystem::path(folder_) / "model.krn").string();
    opensuite::writeMeshFile(path, model);
    Inspector::m_iMappingMode(object) = mode;
    Inspector::m_iDebugInfo(object) = progress ? 1 : 0;
    testing::internal::CaptureStdout();
    const int result = object.SetParameters(path.c_str(), mode, insertMode);
    console = testing::internal::GetCapturedStdout();
    EXPECT_EQ(result, 0);
}

MappedModel::~MappedModel()
{
    std::error_code ignored;
    std::filesystem::remove_all(folder_, ignored);
}

void expectAgreesWithReference(MappedModel& mapped, const opensuite::MeshModel& model, int stride)
{
    CTav3dMeshMappingArrary& o = mapped.object;
    const bool together = mapped.insertMode == 1;
    const VoxelReference voxel = voxelReference(model);
    const CutCellReference cutCell = cutCellReference(model, together);
    const int v = voxel.nodeTotal, c = cutCell.nodeTotal;

    // Cut-cell mesh.
    ASSERT_EQ(Inspector::m_NNodeCultCell_(o), c);
    EXPECT_EQ(o.GetTotalNodeNumber_Cutcell(), c);
    EXPECT_EQ(floats(Inspector::m_pfCutCellX(o), c), cutCell.x);
    EXPECT_EQ(floats(Inspector::m_pfCutCellY(o), c), cutCell.y);
    EXPECT_EQ(floats(Inspector::m_pfCutCellZ(o), c), cutCell.z);
    EXPECT_EQ(ints(Inspector::m_pbCutCellPlasticNode(o), c), cutCell.plastic);
    EXPECT_EQ(ints(Inspector::m_pbCutCellMoldBaseNode(o), c), cutCell.moldBase);
    EXPECT_EQ(ints(Inspector::m_pbCutCellPartNode(o), c), cutCell.part);
    EXPECT_EQ(ints(Inspector::m_pbCutCellPartInsertNode(o), c), cutCell.insert);
    EXPECT_EQ(ints(Inspector::m_piCutCellNodeRegion(o), c), cutCell.region);
    EXPECT_EQ(Inspector::m_nCutCellSurfNode(o), cutCell.surfaceNodeTotal);
    EXPECT_EQ(Inspector::m_nCutCellPartInsertNode(o), cutCell.insertNodeTotal);
    EXPECT_EQ(Inspector::m_nCutCellSurfElem(o), static_cast<int>(model.cutCell.surface.size()));

    // Voxel mesh. With mode 1 and part and insert together, the marks are cleared by the cut-cell search; other modes read the mesh again.
    ASSERT_EQ(Inspector::m_nVoxelNode(o), v);
    EXPECT_EQ(floats(Inspector::m_pfVoxelX(o), v), voxel.x);
    EXPECT_EQ(ints(Inspector::m_pbVoxelPartNode(o), v), voxel.part);
    const auto insertMarks = together && mapped.mode == 1 ? std::vector<int>(static_cast<std::size_t>(v) + 1, 0) : voxel.insert;
    EXPECT_EQ(ints(Inspector::m_pbVoxelPartInsertNode(o), v), insertMarks);
    EXPECT_EQ(ints(Inspector::m_piVoxelFixedNode(o), v), voxel.fixed);
    EXPECT_EQ(ints(Inspector::m_piVoxelNodeReNumber(o), v), voxel.compact);
    EXPECT_EQ(ints(Inspector::m_piVoxelPlasticNode(o), v), voxel.plastic);
    EXPECT_EQ(Inspector::m_Voxel_BasicElem_LengthSq(o), voxel.elementLengthSquared);
    EXPECT_EQ(Inspector::m_nVoxelElem(o), static_cast<int>(model.voxel.plastic.size()));
    EXPECT_EQ(Inspector::m_nVoxelSurfNode(o), voxel.surfaceNodeTotal);
    EXPECT_EQ(Inspector::m_nVoxelPartInsertNode(o), voxel.insertNodeTotal);

    // The mapping is the engine's.
    CTAVVoxelCutCellMappingEngine engine;
    ASSERT_EQ(engine.Create(mapped.path.c_str()), 0);
    std::vector<int> mapping(static_cast<std::size_t>(engine.GetNNodeCutCell()) + 1);
    engine.GetVoxelCutCellMappingNode(mapping.data());
    EXPECT_EQ(ints(Inspector::m_piCutCell2VoxelNode(o), c), mapping);

    // Gauss rows, made before the insert marks are cleared.
    EXPECT_EQ(Inspector::m_piVoxelNeighborIndex(o) != nullptr, mapped.mode == 1);
    if (mapped.mode == 1)
    {
        int row = 0;
        for (int node = 1; node <= v; ++node)
        {
            const bool selected = hasGaussRow(voxel, node);
            ASSERT_EQ(Inspector::m_piVoxelNeighborIndex(o)[node], selected ? ++row : 0) << "voxel node " << node;
            if (!selected)
                continue;
            const GaussRowReference expected = gaussRowReference(voxel, node);
            const int count = Inspector::m_piVoxelNeighborCount(o)[row];
            const int* neighbour = Inspector::m_ppiVoxelNeighbor(o)[row];
            const float* weight = Inspector::m_ppfVoxelNeighborWeight(o)[row];
            ASSERT_EQ(std::vector<int>(neighbour + 1, neighbour + 1 + count), expected.node) << "voxel node " << node;
            ASSERT_EQ(std::vector<float>(weight + 1, weight + 1 + count), expected.weight) << "voxel node " << node;
            ASSERT_EQ(Inspector::m_pfVoxelSelfWeight(o)[row], expected.self) << "voxel node " << node;
        }
        EXPECT_EQ(Inspector::m_ppiVoxelElemNode(o), nullptr);
    }

    // Cut-cell rows.
    EXPECT_EQ(Inspector::m_piCutCellNeighborIndex(o) != nullptr, mapped.mode != 0);
    if (mapped.mode != 0)
    {
        VoxelReference searched = voxel;
        if (together)
            searched.insert.assign(searched.insert.size(), 0);
        EXPECT_EQ(Inspector::m_nCutCellNeighbor(o), 10);
        int row = 0;
        for (int node = 1; node <= c; ++node)
        {
            const bool selected = hasCutCellRow(cutCell, node);
            ASSERT_EQ(Inspector::m_piCutCellNeighborIndex(o)[node], selected ? ++row : 0) << "cut-cell node " << node;
            if (!selected || row % stride != 0)
                continue;
            const auto expected = cutCellRowReference(searched, cutCell, node);
            const int* found = Inspector::m_ppiCutCellNeighbor(o)[row];
            ASSERT_EQ(std::vector<int>(found + 1, found + 11), std::vector<int>(expected.begin(), expected.end()))
                << "cut-cell node " << node;
            ASSERT_EQ(found[0], 0);
        }
    }
}

void expectPickUpAgreesWithReference(MappedModel& mapped, const opensuite::MeshModel& model)
{
    CTav3dMeshMappingArrary& o = mapped.object;
    const VoxelReference voxel = voxelReference(model);
    const int v = voxel.nodeTotal, c = Inspector::m_NNodeCultCell_(o);
    std::vector<float> field(static_cast<std::size_t>(v) + 1, 0.0f);
    for (int i = 1; i <= v; ++i) // zero on one node in eleven, large and small elsewhere
        field[static_cast<std::size_t>(i)] = i % 11 == 0 ? 0.0f : static_cast<float>(std::sin(0.37 * i) * 100.0 + i % 5);

    const std::vector<float> smoothedField = mapped.mode == 1 ? smoothedReference(voxel, field) : std::vector<float>();
    for (const bool smooth : {false, true})
        for (int type = 0; type <= 6; ++type)
        {
            if (smooth && mapped.mode != 1)
                continue;
            SCOPED_TRACE("file type " + std::to_string(type) + (smooth ? ", smoothed" : ""));
            const std::vector<float>& source = smooth ? smoothedField : field;
            const bool cooling = type == 2 || type == 4;
            const float substitute = -12345.0f;
            std::vector<float> expected(static_cast<std::size_t>(c) + 1, 55.0f);
            float expectedMax = -1.0e30f, expectedMin = 1.0e30f;
            for (int j = 1; j <= c; ++j)
            {
                float& out = expected[static_cast<std::size_t>(j)];
                const int from = Inspector::m_piCutCell2VoxelNode(o)[j];
                const float x = source.at(static_cast<std::size_t>(from));
                const int region = Inspector::m_piCutCellNodeRegion(o)[j];
                const bool wrong = (region == 1 && Inspector::m_pbVoxelPartNode(o)[from] != 1) ||
                                   (region == 2 && Inspector::m_pbVoxelPartInsertNode(o)[from] != 1);
                out = cooling && mapped.mode != 0 && wrong ? substitute : x;
                if (mapped.mode != 0 && (Inspector::m_pbCutCellPartNode(o)[j] == 1 || Inspector::m_pbCutCellPartInsertNode(o)[j] == 1))
                    out = source.at(
                        static_cast<std::size_t>(Inspector::m_ppiCutCellNeighbor(o)[Inspector::m_piCutCellNeighborIndex(o)[j]][1]));
                expectedMax = std::max(expectedMax, x);
                expectedMin = std::min(expectedMin, x);
            }

            std::vector<float> values = field, result(static_cast<std::size_t>(c) + 1, 55.0f), work(values.size(), 77.0f);
            float max = -1.0e30f, min = 1.0e30f;
            Inspector::m_iResultFileType(o) = type;
            Inspector::m_fResultMinValue(o) = substitute;
            EXPECT_EQ(o.MappingVoxel2CutcellNodeResult(smooth, v, c, values.data(), result.data(), max, min, work.data()), 1);
            EXPECT_EQ(result, expected);
            EXPECT_EQ(values, source);
            EXPECT_EQ(max, expectedMax);
            EXPECT_EQ(min, expectedMin);
            EXPECT_EQ(work == std::vector<float>(values.size(), 77.0f), !smooth) << "the work array is touched by smoothing alone";
        }
}

} // namespace tav3d::test
