// The set-up sequence: which meshes are read how often, which searches run, and what a second set-up does.

#include "Tav3dMeshMappingArrary.h"

#include "opensuite/mesh_file.h"
#include "support/mapping_checks.h"
#include "support/mapping_models.h"
#include "support/mesh_models.h"
#include "support/scratch_folder.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace tav3d::test::mapping_setup_test
{
namespace
{

using Object = CTav3dMeshMappingArrary;
using Inspector = CTav3dMeshMappingArrary_Inspector;
using opensuite::MeshModel;

int occurrences(const std::string& text, const std::string& what)
{
    int count = 0;
    for (auto at = text.find(what); at != std::string::npos; at = text.find(what, at + what.size()))
        ++count;
    return count;
}

const std::string cutCellBanner = "\n-----Read CutCell Node Block Entry-----\n";
const std::string voxelBanner = "\n-----Read Voxel Node Block Entry-----\n";
const std::string searchBanner = "-----get CutCell Mapping Arrary by ADTree-----\n";

TEST(SetUp, method_one_reads_once_and_runs_both_searches)
{
    MappedModel mapped(modelWithInsert(), 1, 0, true);
    EXPECT_EQ(occurrences(mapped.console, cutCellBanner), 1);
    EXPECT_EQ(occurrences(mapped.console, voxelBanner), 1);
    EXPECT_EQ(occurrences(mapped.console, searchBanner), 2); // DELIBERATE one-banner
    EXPECT_LT(mapped.console.find(cutCellBanner), mapped.console.find(voxelBanner));
    EXPECT_LT(mapped.console.find(voxelBanner), mapped.console.find(searchBanner));
}

TEST(SetUp, another_method_with_mapping_mode_zero_reads_once_and_runs_no_search)
{
    const ScratchFolder folder;
    opensuite::writeMeshFile(folder.file("model.krn"), modelWithInsert());
    Object o; // its mapping mode is 0
    Inspector::m_iDebugInfo(o) = 1;
    testing::internal::CaptureStdout();
    EXPECT_EQ(o.SetParameters(folder.file("model.krn").c_str(), 2, 0), 0);
    const std::string console = testing::internal::GetCapturedStdout();
    EXPECT_EQ(occurrences(console, cutCellBanner), 1);
    EXPECT_EQ(occurrences(console, voxelBanner), 1);
    EXPECT_EQ(occurrences(console, searchBanner), 0);
    EXPECT_EQ(Inspector::m_piVoxelNeighborIndex(o), nullptr);
    EXPECT_EQ(Inspector::m_piCutCellNeighborIndex(o), nullptr);
    EXPECT_NE(Inspector::m_piCutCell2VoxelNode(o), nullptr);
}

// DELIBERATE double-reading
TEST(SetUp, another_method_with_a_mapping_mode_reads_twice_and_runs_the_cut_cell_search_between)
{
    MappedModel mapped(modelWithInsert(), 2, 0, true);
    EXPECT_EQ(occurrences(mapped.console, cutCellBanner), 2);
    EXPECT_EQ(occurrences(mapped.console, voxelBanner), 2);
    EXPECT_EQ(occurrences(mapped.console, searchBanner), 1);
    EXPECT_LT(mapped.console.find(searchBanner), mapped.console.rfind(cutCellBanner));
    EXPECT_EQ(Inspector::m_piVoxelNeighborIndex(mapped.object), nullptr);
    EXPECT_NE(Inspector::m_piCutCellNeighborIndex(mapped.object), nullptr);
}

// DELIBERATE gauss-before-clearing
TEST(SetUp, the_gauss_search_runs_before_part_insert_marks_are_cleared)
{
    const MeshModel model = plateWithInsertModel();
    MappedModel together(model, 1, 1), apart(model, 1, 0);
    const int v = Inspector::m_nVoxelNode(together.object);
    const auto rowOf = [](Object& o, int node)
    {
        const int row = Inspector::m_piVoxelNeighborIndex(o)[node];
        const int* neighbour = Inspector::m_ppiVoxelNeighbor(o)[row];
        return std::vector<int>(neighbour + 1, neighbour + 1 + Inspector::m_piVoxelNeighborCount(o)[row]);
    };
    const int middle = plateNode(4, 3, 1); // of the interface
    EXPECT_EQ(rowOf(together.object, middle).size(), 8u) << "only the interface's nodes, as with the marks kept";
    for (int node = 1; node <= v; ++node)
        EXPECT_EQ(rowOf(together.object, node), rowOf(apart.object, node));
    // The cut-cell search saw the cleared marks.
    EXPECT_EQ(Inspector::m_pbVoxelPartInsertNode(together.object)[middle], 0);
    EXPECT_EQ(Inspector::m_pbVoxelPartInsertNode(apart.object)[middle], 1);
}

TEST(SetUp, the_marks_stay_cleared_for_later_calls)
{
    MappedModel mapped(plateWithInsertModel(), 1, 1);
    EXPECT_EQ(Inspector::cutCellSearch(mapped.object), 1);
    const unsigned char* mark = Inspector::m_pbVoxelPartInsertNode(mapped.object);
    EXPECT_EQ(std::count(mark, mark + 253, 1), 0);
}

// DELIBERATE double-reading
TEST(SetUp, the_second_reading_brings_the_part_insert_marks_back)
{
    MappedModel mapped(plateWithInsertModel(), 2, 1);
    const unsigned char* mark = Inspector::m_pbVoxelPartInsertNode(mapped.object);
    EXPECT_EQ(std::count(mark, mark + 253, 1), 9);
}

TEST(SetUp, agrees_with_the_references_in_every_mode_on_small_models)
{
    const std::vector<MeshModel> models{unitCube(),   oneCellOfEachKind(),    modelWithInsert(),
                                        plateModel(), plateWithInsertModel(), plateWithInsertModel(0.9f)};
    for (std::size_t m = 0; m < models.size(); ++m)
        for (const int mode : {0, 1, 2})
            for (const int insertMode : {0, 1})
            {
                SCOPED_TRACE("model " + std::to_string(m) + ", mode " + std::to_string(mode) + ", insert mode " +
                             std::to_string(insertMode));
                MappedModel mapped(models[m], mode, insertMode);
                EXPECT_EQ(mapped.console, "");
                expectAgreesWithReference(mapped, models[m]);
                expectPickUpAgreesWithReference(mapped, models[m]);
            }
}

TEST(SetUp, may_be_called_again_for_another_model)
{
    MappedModel mapped(plateModel(), 1, 0);
    const ScratchFolder folder;
    opensuite::writeMeshFile(folder.file("cube.krn"), unitCube());
    Inspector::m_iMappingMode(mapped.object) = 1;
    EXPECT_EQ(mapped.object.SetParameters(folder.file("cube.krn").c_str(), 1, 0), 0);
    EXPECT_EQ(mapped.object.GetTotalNodeNumber_Cutcell(), 8);
    EXPECT_EQ(Inspector::m_nVoxelNode(mapped.object), 8);
    EXPECT_EQ(Inspector::m_strFileName(mapped.object), folder.file("cube.krn"));
}

TEST(SetUp, of_another_model_without_searches_does_not_keep_the_rows_of_the_first)
{
    const ScratchFolder folder;
    opensuite::writeMeshFile(folder.file("small.krn"), unitCube());
    opensuite::writeMeshFile(folder.file("large.krn"), plateWithInsertModel());
    for (const auto& [first, second] : {std::pair("small.krn", "large.krn"), std::pair("large.krn", "small.krn")})
    {
        Object o; // its destructor counts rows by the counters of the second model
        Inspector::m_iMappingMode(o) = 1;
        o.SetParameters(folder.file(first).c_str(), 1, 0);
        EXPECT_NE(Inspector::m_ppiVoxelNeighbor(o), nullptr);
        Inspector::m_iMappingMode(o) = 0;
        o.SetParameters(folder.file(second).c_str(), 0, 0);
        EXPECT_EQ(Inspector::m_ppiVoxelNeighbor(o), nullptr);
        EXPECT_EQ(Inspector::m_piCutCellNeighborIndex(o), nullptr);
    }
}

TEST(SetUp, of_the_same_model_without_searches_keeps_the_rows)
{
    MappedModel mapped(plateModel(), 1, 0);
    int** rows = Inspector::m_ppiVoxelNeighbor(mapped.object);
    Inspector::m_iMappingMode(mapped.object) = 0;
    mapped.object.SetParameters(mapped.path.c_str(), 0, 0);
    EXPECT_EQ(Inspector::m_ppiVoxelNeighbor(mapped.object), rows);
    std::vector<float> value(253, 7.0f), work(253);
    value[plateNode(3, 3, 2)] = 8.0f;
    Inspector::smooth(mapped.object, 252, value.data(), work.data());
    EXPECT_LT(value[plateNode(3, 3, 2)], 8.0f) << "smoothing is still possible";
}

TEST(SetUp, surface_information_is_both_meshes_without_searches)
{
    const ScratchFolder folder;
    opensuite::writeMeshFile(folder.file("model.krn"), plateModel());
    Object o;
    EXPECT_EQ(Inspector::createSurface(o, folder.file("model.krn").c_str()), 1);
    EXPECT_EQ(Inspector::m_strFileName(o), folder.file("model.krn"));
    EXPECT_TRUE(Inspector::m_bReadCutCellMesh(o));
    EXPECT_TRUE(Inspector::m_bReadVoxelMesh(o));
    EXPECT_EQ(Inspector::m_nVoxelNode(o), 252);
    EXPECT_EQ(Inspector::m_piCutCell2VoxelNode(o), nullptr);
    EXPECT_EQ(Inspector::m_piCutCellNeighborIndex(o), nullptr);
}

TEST(SetUp, a_gauss_search_without_meshes_says_so_and_fails)
{
    Object o;
    testing::internal::CaptureStdout();
    EXPECT_EQ(Inspector::gaussSearch(o), 0);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), " Have do ReadCutCellMesh and ReadVoxelMesh \n");
}

TEST(SetUp, searches_on_empty_meshes_succeed)
{
    Object o;
    EXPECT_EQ(Inspector::cutCellSearch(o), 1);
    EXPECT_EQ(Inspector::m_nCutCellNeighbor(o), 10);
    Inspector::m_bReadVoxelMesh(o) = true;
    EXPECT_EQ(Inspector::gaussSearch(o), 1);
}

} // namespace
} // namespace tav3d::test::mapping_setup_test
