#include "Tav3dMeshMappingArrary.h"

#include "opensuite/mesh_file.h"
#include "platform/KRNIO.h"
#include "platform/TAVOptKer.h"
#include "support/mapping_checks.h"
#include "support/mapping_models.h"
#include "support/mesh_models.h"
#include "support/scratch_folder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <numeric>
#include <type_traits>

#ifdef __unix__
#include <sys/wait.h>
#include <unistd.h>
#endif

namespace tav3d::test
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

TEST(MappingObject, is_polymorphic_through_its_destructor_and_starts_as_tabled)
{
    static_assert(std::has_virtual_destructor_v<Object>);
    static_assert(std::is_copy_constructible_v<Object> && std::is_copy_assignable_v<Object>);
    Object o;
    EXPECT_EQ(std::bit_cast<std::uint32_t>(Inspector::m_fPI(o)), 0x40490FF9u);
    EXPECT_EQ(Inspector::m_strFileName(o), "");
    EXPECT_EQ(o.GetTotalNodeNumber_Cutcell(), 0);
    EXPECT_EQ(Inspector::m_nCutCell2VoxelMappingNode(o), 30);
    EXPECT_EQ(Inspector::m_nVoxelMaxNeighbor(o), 50);
    EXPECT_EQ(Inspector::m_nSmoothMaxNeighbor(o), 50);
    EXPECT_EQ(Inspector::m_dTecplotCounter(o), 0.0);
    EXPECT_EQ(Inspector::m_CutCell_BasicElem_Length(o), 0.0f);
    EXPECT_EQ(Inspector::m_Voxel_BasicElem_LengthSq(o), 0.0f);
    EXPECT_FALSE(Inspector::m_bReadCutCellMesh(o));
    EXPECT_FALSE(Inspector::m_bReadVoxelMesh(o));
    for (const int field : {Inspector::m_nCutCellSurfNode(o), Inspector::m_nVoxelSurfNode(o), Inspector::m_nCutCellNeighbor(o),
                            Inspector::m_iDebugInfo(o), Inspector::m_nVoxelNode(o), Inspector::m_nVoxelPartInsertNode(o),
                            Inspector::m_nCutCellPartInsertNode(o), Inspector::m_nVoxelResultNode(o), Inspector::m_iMappingMode(o)})
        EXPECT_EQ(field, 0);
    const void* const pointers[] = {Inspector::m_pbCutCellPartNode(o),
                                    Inspector::m_pfCutCellX(o),
                                    Inspector::m_pfCutCellY(o),
                                    Inspector::m_pfCutCellZ(o),
                                    Inspector::m_pbVoxelPartNode(o),
                                    Inspector::m_pfVoxelX(o),
                                    Inspector::m_pfVoxelY(o),
                                    Inspector::m_pfVoxelZ(o),
                                    Inspector::m_piVoxelNodeReNumber(o),
                                    Inspector::m_piVoxelNodeOrgID(o),
                                    Inspector::m_pVoxelADTree(o),
                                    Inspector::m_pSmoothADTree(o),
                                    Inspector::m_ppiCutCellNeighbor(o),
                                    Inspector::m_ppiVoxelNeighbor(o),
                                    Inspector::m_piVoxelNeighborCount(o),
                                    Inspector::m_piVoxelNeighborIndex(o),
                                    Inspector::m_piCutCellNeighborIndex(o),
                                    Inspector::m_ppfVoxelNeighborWeight(o),
                                    Inspector::m_pfVoxelSelfWeight(o),
                                    Inspector::m_pbCutCellMoldBaseNode(o),
                                    Inspector::m_pbCutCellPlasticNode(o),
                                    Inspector::m_pbVoxelPartInsertNode(o),
                                    Inspector::m_pbCutCellPartInsertNode(o),
                                    Inspector::m_piVoxelPlasticNode(o),
                                    Inspector::m_piVoxelFixedNode(o),
                                    Inspector::m_piCutCellNodeRegion(o),
                                    Inspector::m_pdSmoothTemp(o),
                                    Inspector::m_ppSmoothNeighborWeight(o),
                                    Inspector::m_ppiSmoothNeighbor(o),
                                    Inspector::m_piSmoothSet(o),
                                    Inspector::m_ppiVoxelElemNode(o),
                                    Inspector::m_pVoxelWork1(o),
                                    Inspector::m_ppiVoxelPartInsert(o),
                                    Inspector::m_pVoxelWork2(o),
                                    Inspector::m_piCutCell2VoxelNode(o)};
    for (const void* pointer : pointers)
        EXPECT_EQ(pointer, nullptr);
}

TEST(MappingObject, keeps_its_fields_in_their_order)
{
    Object o;
    const auto at = [](const auto& field) { return reinterpret_cast<std::uintptr_t>(&field); };
    const std::uintptr_t order[] = {at(o),
                                    at(Inspector::m_fPI(o)),
                                    at(Inspector::m_strFileName(o)),
                                    at(Inspector::m_nCutCellSurfNode(o)),
                                    at(Inspector::m_nVoxelSurfNode(o)),
                                    at(Inspector::m_nCutCellNeighbor(o)),
                                    at(Inspector::m_nVoxelElem(o)),
                                    at(Inspector::m_bReadCutCellMesh(o)),
                                    at(Inspector::m_bReadVoxelMesh(o)),
                                    at(Inspector::m_pbCutCellPartNode(o)),
                                    at(Inspector::m_pfCutCellX(o)),
                                    at(Inspector::m_pfCutCellY(o)),
                                    at(Inspector::m_pfCutCellZ(o)),
                                    at(Inspector::m_CutCell_BasicElem_Length(o)),
                                    at(Inspector::m_pbVoxelPartNode(o)),
                                    at(Inspector::m_pfVoxelX(o)),
                                    at(Inspector::m_pfVoxelY(o)),
                                    at(Inspector::m_pfVoxelZ(o)),
                                    at(Inspector::m_piVoxelNodeReNumber(o)),
                                    at(Inspector::m_piVoxelNodeOrgID(o)),
                                    at(Inspector::m_iDebugInfo(o)),
                                    at(Inspector::m_pVoxelADTree(o)),
                                    at(Inspector::m_pSmoothADTree(o)),
                                    at(Inspector::m_nCutCell2VoxelMappingNode(o)),
                                    at(Inspector::m_nVoxelMaxNeighbor(o)),
                                    at(Inspector::m_nVoxelNode(o)),
                                    at(Inspector::m_ppiCutCellNeighbor(o)),
                                    at(Inspector::m_ppiVoxelNeighbor(o)),
                                    at(Inspector::m_piVoxelNeighborCount(o)),
                                    at(Inspector::m_piVoxelNeighborIndex(o)),
                                    at(Inspector::m_piCutCellNeighborIndex(o)),
                                    at(Inspector::m_ppfVoxelNeighborWeight(o)),
                                    at(Inspector::m_pfVoxelSelfWeight(o)),
                                    at(Inspector::m_Voxel_BasicElem_LengthSq(o)),
                                    at(Inspector::m_pbCutCellMoldBaseNode(o)),
                                    at(Inspector::m_pbCutCellPlasticNode(o)),
                                    at(Inspector::m_pbVoxelPartInsertNode(o)),
                                    at(Inspector::m_pbCutCellPartInsertNode(o)),
                                    at(Inspector::m_nVoxelPartInsertNode(o)),
                                    at(Inspector::m_nCutCellPartInsertNode(o)),
                                    at(Inspector::m_dTecplotCounter(o)),
                                    at(Inspector::m_piVoxelPlasticNode(o)),
                                    at(Inspector::m_nCutCellSurfElem(o)),
                                    at(Inspector::m_piVoxelFixedNode(o)),
                                    at(Inspector::m_piVoxelSurfWork(o)),
                                    at(Inspector::m_piCutCellSurfWork1(o)),
                                    at(Inspector::m_piCutCellSurfWork2(o)),
                                    at(Inspector::m_piCutCellNodeRegion(o)),
                                    at(Inspector::m_pdSmoothTemp(o)),
                                    at(Inspector::m_ppSmoothNeighborWeight(o)),
                                    at(Inspector::m_ppiSmoothNeighbor(o)),
                                    at(Inspector::m_piSmoothSet(o)),
                                    at(Inspector::m_nSmoothNode(o)),
                                    at(Inspector::m_nSmoothMaxNeighbor(o)),
                                    at(Inspector::m_pdTestX(o)),
                                    at(Inspector::m_pdTestY(o)),
                                    at(Inspector::m_pdTestZ(o)),
                                    at(Inspector::m_ppiVoxelElemNode(o)),
                                    at(Inspector::m_pVoxelWork1(o)),
                                    at(Inspector::m_ppiVoxelPartInsert(o)),
                                    at(Inspector::m_pVoxelWork2(o)),
                                    at(Inspector::m_nVoxelElemTotal(o)),
                                    at(Inspector::m_iPartInsertMode(o)),
                                    at(Inspector::m_NNodeCultCell_(o)),
                                    at(Inspector::m_piCutCell2VoxelNode(o)),
                                    at(Inspector::m_nVoxelResultNode(o)),
                                    at(Inspector::m_iMappingMode(o)),
                                    at(Inspector::m_fResultMaxValue(o)),
                                    at(Inspector::m_fResultMinValue(o)),
                                    at(Inspector::m_iResultFileType(o))};
    EXPECT_TRUE(std::is_sorted(std::begin(order), std::end(order), std::less_equal<>()));
}

TEST(MappingObject, lists_are_absent_before_a_mesh_is_read)
{
    Object o;
    int count = 7;
    EXPECT_EQ(o.CreateNodeReNumberArray_Cutcell_PartSruf(count), nullptr);
    EXPECT_EQ(o.CreateNodeReNumberArray_Cutcell_Part(count), nullptr);
    EXPECT_EQ(o.CreateNodeReNumberArray_Cutcell_PartInsert(count), nullptr);
    EXPECT_EQ(count, 7);
}

TEST(MappingObject, hooks_do_nothing_and_print_nothing)
{
    Object o;
    testing::internal::CaptureStdout();
    Inspector::outputDebugFiles(o);
    int list = 3, n = 4;
    EXPECT_EQ(Inspector::interfacePoint(o, &list, n), 1);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
    EXPECT_EQ(list, 3);
    EXPECT_EQ(n, 4);
}

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

#ifdef __unix__

/// Runs `action` in a child whose standard input and output are pipes.
class Child
{
public:
    template <class Action>
    explicit Child(Action action)
    {
        int in[2], out[2];
        if (pipe(in) != 0 || pipe(out) != 0)
            ADD_FAILURE() << "no pipes";
        pid_ = fork();
        if (pid_ == 0)
        {
            dup2(in[0], 0);
            dup2(out[1], 1);
            close(in[1]);
            close(out[0]);
            std::setvbuf(stdin, nullptr, _IONBF, 0);
            _exit(action());
        }
        close(in[0]);
        close(out[1]);
        in_ = in[1];
        out_ = out[0];
    }
    ~Child()
    {
        close(in_);
        close(out_);
    }

    /// Reads until `last` has arrived, or the output ends.
    std::string readUntil(const std::string& last) const
    {
        std::string text;
        char c = 0;
        while (!text.ends_with(last) && read(out_, &c, 1) == 1)
            text += c;
        return text;
    }
    [[nodiscard]] bool isRunning() const
    {
        int status = 0;
        return waitpid(pid_, &status, WNOHANG) == 0;
    }
    void send(const std::string& text) const { EXPECT_EQ(write(in_, text.data(), text.size()), static_cast<ssize_t>(text.size())); }
    [[nodiscard]] int exitStatus() const
    {
        int status = 0;
        waitpid(pid_, &status, 0);
        return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    }

private:
    pid_t pid_ = 0;
    int in_ = -1, out_ = -1;
};

// DELIBERATE engine-failure-waits
TEST(MappingEngineFailure, prints_two_lines_waits_for_one_character_and_goes_on)
{
    const Child child(
        []
        {
            std::freopen("/dev/null", "w", stderr); // the mesh library's reasons
            Object o;
            const int result = Inspector::createMapping(o, "/nowhere/model.krn");
            const bool empty = o.GetTotalNodeNumber_Cutcell() == 0 && Inspector::m_piCutCell2VoxelNode(o)[0] == 0;
            return result == 1 && empty && std::getchar() == 'b' ? 0 : 1;
        });
    EXPECT_EQ(child.readUntil("model.krn\n"), "Error in CTAVVoxelCutCellMappingEngine_Create\nat /nowhere/model.krn\n");
    EXPECT_TRUE(child.isRunning());
    child.send("ab"); // one is taken, one is left
    EXPECT_EQ(child.exitStatus(), 0);
}

// DELIBERATE set-up-returns-zero
TEST(MappingEngineFailure, leaves_the_status_zero_and_overwrites_the_node_count_of_the_file)
{
    const ScratchFolder folder;
    MeshModel model = unitCube();
    model.voxel = {}; // a file that has a cut-cell mesh alone
    opensuite::writeMeshFile(folder.file("half.krn"), model);
    const std::string path = folder.file("half.krn");
    const Child child(
        [&]
        {
            std::freopen("/dev/null", "w", stderr);
            Object o;
            Inspector::m_iMappingMode(o) = 1;
            const int result = o.SetParameters(path.c_str(), 1, 0);
            const bool read = Inspector::m_nCutCellSurfNode(o) == 8 && Inspector::m_pfCutCellX(o)[2] == 1.0f;
            return result == 0 && read && o.GetTotalNodeNumber_Cutcell() == 0 ? 0 : 1;
        });
    child.send("x");
    EXPECT_EQ(child.readUntil("half.krn\n"), "[CSmoothVoxel::getVoxelADTree()] error: Analysis mesh entity can not be found."
                                             "Error in CTAVVoxelCutCellMappingEngine_Create\nat " +
                                                 path + "\n");
    EXPECT_EQ(child.exitStatus(), 0);
}

TEST(MappingEngineFailure, of_a_missing_file_prints_both_readers_lines_first)
{
    const Child child(
        []
        {
            std::freopen("/dev/null", "w", stderr);
            Object o;
            return o.SetParameters("/nowhere/model.krn", 0, 0);
        });
    child.send("x");
    EXPECT_EQ(child.readUntil("model.krn\n"), "[CSmoothVoxel::getIsCutcellSurfaceNode()] error: Analysis mesh entity can not be found."
                                              "[CSmoothVoxel::getVoxelADTree()] error: Analysis mesh entity can not be found."
                                              "Error in CTAVVoxelCutCellMappingEngine_Create\nat /nowhere/model.krn\n");
    EXPECT_EQ(child.exitStatus(), 0);
}

TEST(MappingEngineFailure, without_any_input_does_not_wait_for_ever)
{
    const Child child(
        []
        {
            std::freopen("/dev/null", "r", stdin);
            std::freopen("/dev/null", "w", stderr);
            Object o;
            return o.SetParameters("/nowhere/model.krn", 0, 0);
        });
    EXPECT_EQ(child.exitStatus(), 0);
}

#endif

// DELIBERATE mapping-shallow-copy
TEST(MappingCopies, share_arrays_and_copy_the_file_name)
{
    MappedModel mapped(plateModel(), 1, 0);
    alignas(Object) unsigned char room[sizeof(Object)];
    Object* copy = new (room) Object(mapped.object); // never destroyed, but for its file name: the arrays have one owner
    EXPECT_EQ(Inspector::m_pfVoxelX(*copy), Inspector::m_pfVoxelX(mapped.object));
    EXPECT_EQ(Inspector::m_pVoxelADTree(*copy), Inspector::m_pVoxelADTree(mapped.object));
    Inspector::m_pfVoxelX(*copy)[3] = 1234.5f;
    EXPECT_EQ(Inspector::m_pfVoxelX(mapped.object)[3], 1234.5f);
    EXPECT_EQ(Inspector::m_strFileName(*copy), mapped.path);
    EXPECT_NE(Inspector::m_strFileName(*copy).data(), Inspector::m_strFileName(mapped.object).data());
    Inspector::m_nVoxelNode(*copy) = 5;
    EXPECT_EQ(Inspector::m_nVoxelNode(mapped.object), 252);
    std::destroy_at(&Inspector::m_strFileName(*copy));
}

// DELIBERATE mapping-shallow-copy
TEST(MappingCopies, assignment_shares_too_and_to_itself_changes_nothing)
{
    MappedModel mapped(plateModel(), 0, 0);
    alignas(Object) unsigned char room[sizeof(Object)];
    Object* copy = new (room) Object;
    Object& returned = (*copy = mapped.object);
    EXPECT_EQ(&returned, copy);
    EXPECT_EQ(Inspector::m_pfCutCellX(*copy), Inspector::m_pfCutCellX(mapped.object));
    EXPECT_EQ(Inspector::m_strFileName(*copy), mapped.path);
    std::destroy_at(&Inspector::m_strFileName(*copy));

    Object& same = mapped.object;
    mapped.object = same;
    EXPECT_EQ(Inspector::m_strFileName(mapped.object), mapped.path);
    EXPECT_EQ(Inspector::m_nVoxelNode(mapped.object), 252);
}

// DELIBERATE part-insert-list-is-mold-base
TEST(RenumberingLists, number_plastic_mold_base_and_part_surface_nodes)
{
    const MeshModel model = plateWithInsertModel();
    MappedModel mapped(model, 0, 0);
    const CutCellReference expected = cutCellReference(model, false);
    const auto marked = [](const std::vector<int>& mark)
    {
        std::vector<int> list{0};
        for (std::size_t i = 1; i < mark.size(); ++i)
            if (mark[i] == 1)
                list.push_back(static_cast<int>(i));
        return list;
    };
    const auto check = [&](int* (Object::*create)(int&), const std::vector<int>& mark)
    {
        int count = 0;
        const std::unique_ptr<int[]> list((mapped.object.*create)(count));
        EXPECT_EQ(std::vector<int>(list.get(), list.get() + count + 1), marked(mark));
    };
    check(&Object::CreateNodeReNumberArray_Cutcell_Part, expected.plastic);
    check(&Object::CreateNodeReNumberArray_Cutcell_PartInsert, expected.moldBase);
    check(&Object::CreateNodeReNumberArray_Cutcell_PartSruf, expected.part);

    bool mark[253] = {};
    mark[2] = mark[5] = mark[9] = true;
    int count = 0;
    const std::unique_ptr<int[]> list(Inspector::renumber(mapped.object, count, mark));
    EXPECT_EQ(count, 3);
    EXPECT_EQ(std::vector<int>(list.get(), list.get() + 4), (std::vector<int>{0, 2, 5, 9}));
}

TEST(BlockReaders, replace_the_mark_array_and_report_true)
{
    const ScratchFolder folder;
    const std::string path = folder.file("model.krn");
    opensuite::writeMeshFile(path, plateWithInsertModel());
    KRNIO_Manipulator reader;
    ASSERT_EQ(reader.beginReading(path.c_str(), nullptr, 0), 0);
    Object o;
    bool* mark = new bool[3]; // released by the first of them
    EXPECT_TRUE(Inspector::readElemP(o, reader, reader.getNElementPlastic(), 252, mark));
    EXPECT_TRUE(mark[plateNode(1, 1, 1)]);
    EXPECT_FALSE(mark[plateNode(0, 0, 0)]);
    EXPECT_TRUE(Inspector::readElemM(o, reader, reader.getNElementMoldBase(), 252, mark));
    EXPECT_TRUE(mark[plateNode(0, 0, 0)]);
    EXPECT_TRUE(Inspector::readElemM(o, reader, 0, 252, mark));
    EXPECT_EQ(std::count(mark, mark + 253, true), 0);
    delete[] mark;
}

TEST(BlockReaders, part_insert_entries_give_marks_count_and_on_request_the_facet_table)
{
    const ScratchFolder folder;
    const std::string path = folder.file("model.krn");
    opensuite::writeMeshFile(path, plateWithInsertModel());
    for (const int mode : {0, 1})
    {
        KRNIO_Manipulator reader;
        ASSERT_EQ(reader.beginReading(path.c_str(), nullptr, 0), 0);
        Object o;
        bool* mark = nullptr;
        int count = 99;
        EXPECT_TRUE(Inspector::readPartInsert(o, reader, 252, mark, count, mode));
        EXPECT_EQ(count, 9);
        EXPECT_TRUE(mark[plateNode(4, 3, 1)]);
        delete[] mark;
        int** table = Inspector::m_ppiVoxelPartInsert(o);
        ASSERT_EQ(table != nullptr, mode == 1);
        if (mode == 0)
            continue;
        EXPECT_EQ(table[0][0], 4);
        EXPECT_EQ(table[4][0], 4);
        EXPECT_EQ(table[5][0], 0);
        // A cut-cell mesh read while the table stands puts its own count there; the voxel reader ends it.
        Inspector::m_strFileName(o) = path;
        table[0][0] = -1;
        Inspector::readCutCellMesh(o);
        EXPECT_EQ(table[0][0], 4);
        Inspector::readVoxelMesh(o);
        EXPECT_EQ(Inspector::m_ppiVoxelPartInsert(o), nullptr);
        for (int r = 0; r <= reader.getNPartInsert(); ++r) // it made room for the file's own table, and was not released
            delete[] table[r];
        delete[] table;
    }
}

TEST(RowQueries, a_gauss_row_is_copied_with_its_own_weight)
{
    MappedModel mapped(plateModel(), 1, 0);
    const int node = plateNode(3, 3, 2);
    int flag = -1, n = -1, list[52];
    float w[52];
    Inspector::gaussRow(mapped.object, node, flag, n, list, w);
    const GaussRowReference expected = gaussRowReference(voxelReference(plateModel()), node);
    EXPECT_EQ(flag, 1);
    EXPECT_EQ(list[0], node);
    EXPECT_EQ(w[0], expected.self);
    EXPECT_EQ(std::vector<int>(list + 1, list + 1 + n), expected.node);
    EXPECT_EQ(std::vector<float>(w + 1, w + 1 + n), expected.weight);
}

TEST(RowQueries, a_node_without_gauss_row_stands_for_itself)
{
    MeshModel model = plateModel();
    ASSERT_EQ(setFacetKind(model.voxel, 2.5f, 2.5f, 2.0f, 1), 1);
    MappedModel mapped(model, 1, 0);
    for (const int node : {plateNode(0, 0, 0), plateNode(2, 2, 2)}) // off the surface, and on the gate
    {
        int flag = -1, n = -1, list[3] = {7, 7, 7};
        float w[3] = {7, 7, 7};
        Inspector::gaussRow(mapped.object, node, flag, n, list, w);
        EXPECT_EQ(flag, node == plateNode(2, 2, 2) ? 1 : 0);
        EXPECT_EQ(n, 1);
        EXPECT_EQ(list[0], node);
        EXPECT_EQ(list[1], node);
        EXPECT_EQ(list[2], 7);
        EXPECT_EQ(w[0], 1.0f);
        EXPECT_EQ(w[1], 0.0f);
        EXPECT_EQ(w[2], 7.0f);
    }
}

// DELIBERATE cut-cell-list-of-thirty
TEST(RowQueries, a_cut_cell_row_is_reported_as_thirty_entries_of_which_ten_are_nodes)
{
    const MeshModel model = plateModel();
    MappedModel mapped(model, 1, 0);
    const int node = plateNode(1, 1, 1);
    int flag = -1, n = -1;
    std::vector<int> list(32, 7);
    Inspector::cutCellRow(mapped.object, node, flag, n, list.data());
    EXPECT_EQ(flag, 1);
    EXPECT_EQ(n, 30);
    const auto row = cutCellRowReference(voxelReference(model), cutCellReference(model, false), node);
    std::vector<int> expected(32, 0);
    std::copy(row.begin(), row.end(), expected.begin() + 1);
    expected[31] = 7; // not touched
    EXPECT_EQ(list, expected);
}

TEST(GateFaces, count_three_corners_of_each_record)
{
    Object o;
    std::vector<int> face{9, 1, 2, 3, 8, 3, 2, 2}, count(10, 0);
    EXPECT_EQ(Inspector::sortGateFaces(o, 2, face.data(), count.data()), 1);
    EXPECT_EQ(count, (std::vector<int>{0, 1, 3, 2, 0, 0, 0, 0, 0, 0}));
}

// DELIBERATE overlapping-gate-records
TEST(GateFaces, of_the_cavity_also_count_the_first_number_of_the_next_record)
{
    Object o;
    std::vector<int> face{9, 1, 2, 3, 8, 3, 2, 2, 5}, count(10, 0);
    EXPECT_EQ(Inspector::sortCavityGateFaces(o, 2, face.data(), count.data()), 1);
    EXPECT_EQ(count, (std::vector<int>{0, 1, 3, 2, 0, 1, 0, 0, 1, 0}));
}

TEST(GateFaces, without_faces_return_zero_and_with_fewer_than_none_one)
{
    Object o;
    EXPECT_EQ(Inspector::sortGateFaces(o, 0, nullptr, nullptr), 0);
    EXPECT_EQ(Inspector::sortCavityGateFaces(o, 0, nullptr, nullptr), 0);
    EXPECT_EQ(Inspector::sortGateFaces(o, -1, nullptr, nullptr), 1);
    EXPECT_EQ(Inspector::sortCavityGateFaces(o, -1, nullptr, nullptr), 1);
}

TEST(MoldBaseCheck, adds_and_reports_missing_nodes_only)
{
    Object o;
    bool insert[] = {true, true, false, true, true}, mold[] = {false, false, false, true, false};
    testing::internal::CaptureStdout();
    EXPECT_EQ(o.CheckPartInsert_MoldBaseNode(insert, mold, 4), 1);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "node ID = 1\nnode ID = 4\n");
    EXPECT_EQ(std::vector<bool>(mold, mold + 5), (std::vector<bool>{false, true, false, true, true}));
    for (const int none : {0, -3})
    {
        testing::internal::CaptureStdout();
        EXPECT_EQ(o.CheckPartInsert_MoldBaseNode(nullptr, nullptr, none), 1);
        EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
    }
}

// DELIBERATE test-arrays-stay
TEST(SelfTest, leaves_the_numbers_one_to_fifty_and_smooths_them)
{
    Object o;
    EXPECT_EQ(o.test(), 1);
    for (int i = 1; i <= 50; ++i)
        EXPECT_EQ(Inspector::m_pdTestX(o)[i], i);
    EXPECT_EQ(Inspector::m_nSmoothNode(o), 50);
    EXPECT_NEAR(Inspector::m_pdTestY(o)[25], 25.0, 0.5) << "the middle of a line stays about where it is";
    EXPECT_GT(Inspector::m_pdTestY(o)[1], 1.0) << "its end is drawn inward";
    const double* first = Inspector::m_pdTestX(o);
    EXPECT_EQ(o.test(), 1); // DELIBERATE smooth-tables-stay
    EXPECT_NE(Inspector::m_pdTestX(o), first) << "new arrays, while the first ones stay";
}

TEST(HostSmoothing, makes_five_sweeps_per_iteration_and_only_reads_its_input)
{
    Object o;
    std::vector<double> x(61), zero(61, 0.0);
    std::iota(x.begin(), x.end(), 0.0);
    EXPECT_EQ(o.Initialize_SmoothData(60, x.data(), zero.data(), zero.data(), 1.0), 1);
    std::vector<double> value(61), once(61), twice(61), again(61);
    for (int i = 1; i <= 60; ++i)
        value[static_cast<std::size_t>(i)] = i % 3 * 0.1;
    const auto before = value;
    EXPECT_EQ(o.MultiplySmoothData(value.data(), once.data(), 0), 1);
    EXPECT_EQ(std::vector<double>(once.begin() + 1, once.end()), std::vector<double>(value.begin() + 1, value.end()));
    o.MultiplySmoothData(value.data(), once.data(), 1);
    EXPECT_EQ(value, before);
    o.MultiplySmoothData(value.data(), twice.data(), 2);
    o.MultiplySmoothData(once.data(), again.data(), 1);
    EXPECT_EQ(again, twice);
    EXPECT_NE(once, twice);
}

TEST(NodeAverageMember, averages_over_the_gauss_rows)
{
    const MeshModel model = plateModel();
    MappedModel mapped(model, 1, 0);
    const VoxelReference voxel = voxelReference(model);
    std::vector<float> value(253), work(253);
    for (int i = 1; i <= 252; ++i)
        value[static_cast<std::size_t>(i)] = static_cast<float>(i % 17);
    std::vector<float> expected = value;
    for (int i = 1; i <= 252; ++i)
    {
        if (!hasGaussRow(voxel, i))
            continue;
        const auto row = gaussRowReference(voxel, i).node;
        float sum = expected[static_cast<std::size_t>(i)];
        for (const int k : row)
            sum += expected[static_cast<std::size_t>(k)];
        expected[static_cast<std::size_t>(i)] = sum / static_cast<float>(row.size() + 1);
    }
    Inspector::average(mapped.object, 252, value.data(), work.data());
    EXPECT_EQ(value, expected);
}

TEST(MappingProperties, a_constant_field_stays_constant_through_pick_up_and_to_rounding_through_smoothing)
{
    for (const int mode : {0, 1, 2})
    {
        MappedModel mapped(plateWithInsertModel(0.95f), mode, 0);
        std::vector<float> voxel(253, 230.0f), work(253), result(253, -1.0f);
        float max = -1.0e30f, min = 1.0e30f;
        mapped.object.MappingVoxel2CutcellNodeResult(false, 252, 252, voxel.data(), result.data(), max, min, work.data());
        EXPECT_EQ(std::count(result.begin() + 1, result.end(), 230.0f), 252);
        EXPECT_EQ(max, 230.0f);
        EXPECT_EQ(min, 230.0f);
        if (mode != 1)
            continue;
        mapped.object.MappingVoxel2CutcellNodeResult(true, 252, 252, voxel.data(), result.data(), max, min, work.data());
        for (int j = 1; j <= 252; ++j)
            EXPECT_NEAR(result[static_cast<std::size_t>(j)], 230.0f, 230.0f * 1e-5f);
    }
}

TEST(MappingProperties, smoothing_stays_within_the_values_when_no_weight_is_negative)
{
    MappedModel mapped(plateWithInsertModel(), 1, 0);
    for (int row = 1; row <= Inspector::m_nVoxelSurfNode(mapped.object); ++row)
        ASSERT_GE(Inspector::m_pfVoxelSelfWeight(mapped.object)[row], 0.0f);
    std::vector<float> value(253), work(253);
    for (int i = 1; i <= 252; ++i)
        value[static_cast<std::size_t>(i)] = static_cast<float>(std::cos(1.7 * i)) + 3.0f;
    const auto [low, high] = std::minmax_element(value.begin() + 1, value.end());
    const float least = *low, most = *high;
    Inspector::smooth(mapped.object, 252, value.data(), work.data());
    EXPECT_GE(*std::min_element(value.begin() + 1, value.end()), least * 0.99999f);
    EXPECT_LE(*std::max_element(value.begin() + 1, value.end()), most * 1.00001f);
}

TEST(MappingProperties, renumbering_the_nodes_permutes_the_result_and_changes_nothing_else)
{
    // Cut-cell nodes lie off the voxel grid, so that no choice between equally near nodes depends on numbers.
    MeshModel model = plateWithInsertModel();
    for (std::size_t n = 0; n < model.cutCell.nodeTotal(); ++n)
    {
        model.cutCell.x[n] = model.cutCell.x[n] * 0.91f + 0.313f;
        model.cutCell.y[n] = model.cutCell.y[n] * 0.93f + 0.127f;
        model.cutCell.z[n] = model.cutCell.z[n] * 0.97f + 0.071f;
    }
    std::vector<int> newNumber(253, 0);
    for (int i = 1; i <= 252; ++i)
        newNumber[static_cast<std::size_t>(i)] = (i * 5) % 252 + 1;
    MeshModel moved = model;
    moved.voxel = renumbered(model.voxel, newNumber);
    moved.cutCell = renumbered(model.cutCell, newNumber);

    for (const int insertMode : {0, 1})
    {
        MappedModel before(model, 1, insertMode), after(moved, 1, insertMode);
        std::vector<float> value(253), movedValue(253), result(253), movedResult(253), work(253);
        for (std::size_t i = 1; i <= 252; ++i)
            movedValue[static_cast<std::size_t>(newNumber[i])] = value[i] = static_cast<float>(std::sin(0.1 * static_cast<double>(i)));
        float max = -1.0e30f, min = 1.0e30f, movedMax = max, movedMin = min;
        before.object.MappingVoxel2CutcellNodeResult(false, 252, 252, value.data(), result.data(), max, min, work.data());
        after.object.MappingVoxel2CutcellNodeResult(false, 252, 252, movedValue.data(), movedResult.data(), movedMax, movedMin,
                                                    work.data());
        for (std::size_t j = 1; j <= 252; ++j)
            EXPECT_EQ(movedResult[static_cast<std::size_t>(newNumber[j])], result[j]) << "cut-cell node " << j;
        EXPECT_EQ(movedMax, max);
        EXPECT_EQ(movedMin, min);
    }
}

TEST(MappingResults, fewer_values_than_nodes_are_mapped_as_far_as_they_go)
{
    MappedModel mapped(plateModel(), 1, 0);
    std::vector<float> voxel(101, 4.0f), work(101), result(253, 55.0f);
    float max = -1.0e30f, min = 1.0e30f;
    Inspector::m_iResultFileType(mapped.object) = 0;
    mapped.object.MappingVoxel2CutcellNodeResult(true, 100, 252, voxel.data(), result.data(), max, min, work.data());
    EXPECT_EQ(result[200], 55.0f) << "its voxel node has no value: it keeps what it held";
    EXPECT_EQ(result[50], 4.0f);
    Inspector::m_iResultFileType(mapped.object) = 2;
    Inspector::m_fResultMinValue(mapped.object) = -1.0f;
    mapped.object.MappingVoxel2CutcellNodeResult(false, 100, 252, voxel.data(), result.data(), max, min, work.data());
    EXPECT_EQ(result[200], -1.0f);
}

} // namespace
} // namespace tav3d::test
