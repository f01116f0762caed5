#include "Tav3dQ7XMapping_Voxel2CutCell.h"

#include "TAV3DCoolTools.h"
#include "TAV3DResultEngine.h"
#include "driver_reference.h"
#include "opensuite/mesh_file.h"
#include "resultmapping/tecplot_capture.h"
#include "support/mapping_models.h"
#include "support/scratch_folder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <functional>
#include <tuple>
#include <type_traits>

/// The driver's private members, for tests alone.
struct Tav3dQ7XMappingTestAccess
{
    using Driver = CTav3dQ7XMapping_Voxel2CutCell;
    /// The fields, in the order in which hosts know them.
    static auto fields(const Driver& d)
    {
        return std::tie(d.m_iMappingMode, d.m_pSmoothWork, d.m_iDebugMode, d.m_iTecplotOutput, d.m_iDebugPrint, d.m_bSetParameters,
                        d.m_iMultipleTimeStepMode, d.m_dFillingTime, d.m_pMeshMapping, d.m_eFileType, d.m_SolverType);
    }
    static bool isCavity(Driver& driver, int fileType, int item, bool& flag)
    {
        driver.m_eFileType = static_cast<Driver::eResultFileType>(fileType);
        return driver.IfCavityResult(item, flag);
    }
    static int fileType(const Driver& driver) { return driver.m_eFileType; }
    static const void* mapping(const Driver& driver) { return driver.m_pMeshMapping; }
    static void forgetMapping(Driver& driver) { driver.m_pMeshMapping = nullptr; }
    static void pretendConfigured(Driver& driver) { driver.m_bSetParameters = true; }
    static void printDiagnostics(Driver& driver) { driver.m_iDebugPrint = 1; }
    static int classify(Driver& driver, const std::string& file) { return driver.GetFileType(file); }
    static std::string extension(Driver& driver, const std::string& file) { return driver.GetExtendFilename(file); }
    static int deleteFile(Driver& driver, const char* file) { return driver.COM_DeleteFile(file); }
    static int moveAside(Driver& driver, const char* file, std::string& newName) { return driver.RenameVoxelQ7XFile(file, newName); }
    static bool ofQ7F(Driver& driver, int item, bool& flag) { return driver.IfCavityResult_Q7F(item, flag); }
    static bool ofQ7P(Driver& driver, int item, bool& flag) { return driver.IfCavityResult_Q7P(item, flag); }
    static bool ofQ7C(Driver& driver, int item, bool& flag) { return driver.IfCavityResult_Q7C(item, flag); }
    static bool ofRSC(Driver& driver, int item, bool& flag) { return driver.IfCavityResult_RSC(item, flag); }
    static bool ofRSF(Driver& driver, int item, bool& flag) { return driver.IfCavityResult_RSF(item, flag); }
};

namespace driver_test
{

using namespace tav3d::test;
using tav3d::opensuite::MeshModel;
using Access = Tav3dQ7XMappingTestAccess;

namespace
{

constexpr const char* extensions[] = {".q7f", ".q7p", ".q7c", ".rsc", ".q7hc", nullptr, ".rsf"}; // by file type

/// A field that differs at every node, with zeros among it and a shape of its own per item.
std::vector<float> field(std::size_t nodes, int seed)
{
    std::vector<float> value(nodes + 1, 0.0f);
    for (std::size_t n = 1; n <= nodes; ++n)
        value[n] = n % 17 == 3 ? 0.0f : static_cast<float>((n * 7919u + static_cast<std::size_t>(seed) * 104729u) % 1009u) - 300.5f;
    return value;
}

/// Items in and out of the tables of all file kinds; types 3 and 5 stand behind ID maps.
std::vector<VoxelItem> sampleItems(const MeshModel& model, bool withPartSurfaceType)
{
    const std::size_t nodes = model.voxel.nodeTotal();
    std::vector<VoxelItem> items;
    for (const int number : {1, 6, 9, 17, 33, 99})
        items.push_back({number, 1, field(nodes, number), 1000.0f + static_cast<float>(number), -1000.0f - static_cast<float>(number)});
    items.push_back({4, 3, field(nodes, 4), 71.0f, -71.0f});
    if (withPartSurfaceType)
        items.push_back({16, 5, field(nodes, 16), 72.0f, -72.0f});
    // Values behind a map exist at every second node only.
    for (VoxelItem& item : items)
        if (item.type != 1)
            for (std::size_t n = 2; n <= nodes; n += 2)
                item.value[n] = 0.0f;
    return items;
}

void writeVoxelResult(const std::string& file, const std::string& mesh, const MeshModel& model, const std::vector<VoxelItem>& items)
{
    const int nodes = static_cast<int>(model.voxel.nodeTotal());
    CBinaryInform inform;
    inform.m_strTitle = "voxel result";
    inform.m_strMeshFile = mesh;
    inform.m_nVoxelNode = nodes;
    inform.m_nCutCellNode = static_cast<int>(model.cutCell.nodeTotal());
    std::vector<int> odd{0};
    for (int n = 1; n <= nodes; n += 2)
        odd.push_back(n);
    const int nOdd = static_cast<int>(odd.size()) - 1;
    CBinaryWriteTools::SetResultItemDimension(1, inform, nodes, false);
    for (const VoxelItem& item : items)
    {
        inform.m_ResultItem.push_back(
            {item.number, item.type, item.recordedMax, item.recordedMin, "Item " + std::to_string(item.number), ""});
        if (item.type == 1)
            continue;
        CBinaryWriteTools::SetResultItemDimension(item.type, inform, nOdd, true);
        CBinaryWriteTools::SetResultItemMappingIDArray(item.type, inform, nOdd, odd.data());
    }

    CTAV3DResultWriter_Manipulator writer;
    ASSERT_EQ(writer.BeginWriting(file.c_str(), nullptr, false), 0);
    ASSERT_EQ(CBinaryWriteTools::WriteHeadFileInfo_time(inform, writer, 0.0), 0);
    ASSERT_EQ(CBinaryWriteTools::WriteCoolInfo(inform, writer), 0);
    ASSERT_EQ(CBinaryWriteTools::WriteMultipleTimeStepOutputInfo(inform, writer), 0);
    ASSERT_EQ(CBinaryWriteTools::WriteResultItemInfo(inform, writer), 0);
    ASSERT_EQ(CBinaryWriteTools::WriteResultTypeInfo(inform, writer), 0);
    ASSERT_EQ(CBinaryWriteTools::WriteResultDataIDMap(inform, writer), 0);
    writer.SetHasVentingResult(true);
    for (const VoxelItem& item : items)
    {
        std::vector<float> stored = item.value;
        if (item.type != 1)
            for (int i = 1; i <= nOdd; ++i)
                stored[static_cast<std::size_t>(i)] = item.value[static_cast<std::size_t>(odd[static_cast<std::size_t>(i)])];
        ASSERT_EQ(writer.WriteResultItem(item.number, stored.data()), 0);
    }
    ASSERT_EQ(writer.EndWriting(), 0);
}

/// A model on the disk with a voxel result.
class DriverTest : public testing::Test
{
protected:
    void prepare(const MeshModel& m, int fileType)
    {
        model = m;
        mesh = folder.file("part.krn");
        tav3d::opensuite::writeMeshFile(mesh, model);
        items = sampleItems(model, fileType == 2 || fileType == 3 || fileType == 4);
        result = folder.file(std::string("part") + extensions[fileType]);
        writeVoxelResult(result, mesh, model, items);
    }

    ScratchFolder folder;
    MeshModel model;
    std::string mesh;
    std::string result;
    std::vector<VoxelItem> items;
};

/// Compares a mapped file with what the reference says, bit for bit.
void expectMapped(const std::string& file, const MeshModel& model, const std::vector<VoxelItem>& items, const MappingRun& run)
{
    const std::vector<MappedItem> expected = mappedReference(model, items, run);
    CTAV3DResultReader_Manipulator reader;
    ASSERT_EQ(reader.BeginReading(file.c_str(), nullptr), 0);
    EXPECT_TRUE(reader.GetHasVentingResult());
    CBinaryInform inform;
    CBinaryWriteTools::GetBinaryInform(inform, reader, 0);
    EXPECT_TRUE(inform.m_bOnCutCellMesh);
    ASSERT_EQ(inform.m_ResultItem.size(), items.size());
    for (std::size_t k = 0; k < items.size(); ++k)
    {
        SCOPED_TRACE("item " + std::to_string(items[k].number));
        const CBinaryResultItem& item = inform.m_ResultItem[k];
        EXPECT_EQ(item.m_iResultItemID, items[k].number);
        EXPECT_EQ(item.m_iResultType, items[k].type);
        EXPECT_EQ(item.m_fMax, expected[k].max);
        EXPECT_EQ(item.m_fMin, expected[k].min);
        int n = 0;
        const float* full = CBinaryWriteTools::FullResultFromMappingResult_Create(items[k].number, items[k].type, inform, reader, n);
        ASSERT_NE(full, nullptr);
        ASSERT_EQ(static_cast<std::size_t>(n) + 1, expected[k].value.size());
        EXPECT_EQ(std::memcmp(full + 1, expected[k].value.data() + 1, static_cast<std::size_t>(n) * sizeof(float)), 0);
    }
}

} // namespace

TEST(Driver, is_unconfigured_after_construction)
{
    const CTav3dQ7XMapping_Voxel2CutCell driver;
    EXPECT_EQ(Access::fields(driver), std::make_tuple(0, nullptr, 0, 0, 0, false, 1, 0.0, nullptr, 5, 3));
}

TEST(Driver, keeps_its_fields_in_their_order)
{
    const CTav3dQ7XMapping_Voxel2CutCell driver;
    const auto addresses =
        std::apply([](const auto&... field) { return std::vector{reinterpret_cast<std::uintptr_t>(&field)...}; }, Access::fields(driver));
    EXPECT_GT(addresses.front(), reinterpret_cast<std::uintptr_t>(&driver)) << "the virtual table stands first";
    EXPECT_TRUE(std::is_sorted(addresses.begin(), addresses.end(), std::less_equal<>()));
    static_assert(std::has_virtual_destructor_v<CTav3dQ7XMapping_Voxel2CutCell>);
}

TEST(Driver, setters_store_and_return_1)
{
    CTav3dQ7XMapping_Voxel2CutCell driver;
    EXPECT_EQ(driver.SetMultipleTimeStepMode(2), 1);
    EXPECT_EQ(driver.DebugControl(3, 4), 1);
    driver.Setfillingtime(1.5);
    EXPECT_EQ(Access::fields(driver), std::make_tuple(0, nullptr, 3, 4, 0, false, 2, 1.5, nullptr, 5, 3));
}

TEST(Driver, mapping_before_a_mesh_is_set_gives_2_and_prints_nothing)
{
    CTav3dQ7XMapping_Voxel2CutCell driver;
    std::string file = "part.q7f";
    std::string target = "target.q7f";
    testing::internal::CaptureStdout();
    EXPECT_EQ(driver.Voxel2CutCellResult(file, 1), 2);
    EXPECT_EQ(driver.Voxel2CutCellResult(file, target, 1), 2);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
}

TEST(Driver, missing_mesh_file_gives_0_and_leaves_the_driver_unconfigured)
{
    CTav3dQ7XMapping_Voxel2CutCell driver;
    testing::internal::CaptureStdout();
    EXPECT_EQ(driver.SetParameters("no such file.krn", 1, 0), 0);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
    std::string file = "part.q7f";
    EXPECT_EQ(driver.Voxel2CutCellResult(file, 0), 2);
}

TEST(Driver, missing_mapping_object_gives_minus_2)
{
    CTav3dQ7XMapping_Voxel2CutCell driver;
    Access::pretendConfigured(driver);
    std::string file = "a.q7f";
    std::string target = "b.q7f";
    testing::internal::CaptureStdout();
    EXPECT_EQ(driver.Voxel2CutCellResult(file, target, 0), -2);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "You have to call SetParameters() first.");
}

TEST(Driver, unknown_type_knows_no_item_and_leaves_the_flag_alone)
{
    CTav3dQ7XMapping_Voxel2CutCell driver;
    bool flag = true;
    EXPECT_FALSE(Access::isCavity(driver, 5, 6, flag));
    EXPECT_TRUE(flag);
    EXPECT_TRUE(Access::isCavity(driver, 3, 6, flag));
    EXPECT_FALSE(flag);
}

TEST(Driver, each_file_kind_has_its_own_form_of_the_item_rule)
{
    CTav3dQ7XMapping_Voxel2CutCell driver; // of the unknown type: the forms do not ask for it
    struct Form
    {
        bool (*known)(CTav3dQ7XMapping_Voxel2CutCell&, int, bool&);
        int fileType;
    };
    for (const Form& form : {Form{Access::ofQ7F, 0}, {Access::ofQ7P, 1}, {Access::ofQ7C, 2}, {Access::ofRSC, 3}, {Access::ofRSF, 6}})
        for (int item = 0; item <= 60; ++item)
        {
            CTav3dQ7XMapping_Voxel2CutCell typed;
            bool flag = false, expected = false;
            EXPECT_EQ(form.known(driver, item, flag), Access::isCavity(typed, form.fileType, item, expected)) << "item " << item;
            EXPECT_EQ(flag, expected) << "type " << form.fileType << ", item " << item;
        }
}

TEST(Driver, removes_and_moves_files_by_the_rules_of_their_names)
{
    CTav3dQ7XMapping_Voxel2CutCell driver;
    const ScratchFolder folder;
    const std::string file = folder.file("part.q7f");
    EXPECT_EQ(Access::extension(driver, file), ".q7f");
    writeBytes(file, "voxel values");
    writeBytes(folder.file("part_vox.q7f"), "older ones");
    std::string newName;
    EXPECT_EQ(Access::moveAside(driver, file.c_str(), newName), 1);
    EXPECT_EQ(newName, folder.file("part_vox.q7f"));
    EXPECT_EQ(readBytes(newName), "voxel values");
    EXPECT_EQ(Access::deleteFile(driver, newName.c_str()), 0);
    EXPECT_EQ(folder.entries(), 0);
}

TEST(Driver, diagnostics_print_extension_solver_and_type)
{
    CTav3dQ7XMapping_Voxel2CutCell driver;
    Access::printDiagnostics(driver);
    testing::internal::CaptureStdout();
    EXPECT_EQ(Access::classify(driver, "a.b/part.q7hc"), 4);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "File ExtendFilename =.q7hc\nm_SolverType=2\nm_eFileType=4\n");
}

TEST(Driver, second_capture_table_is_not_allocated_over_the_first)
{
    CTav3dQ7XMapping_Voxel2CutCell driver;
    float** table = nullptr;
    testing::internal::CaptureStdout();
    EXPECT_EQ(driver.NewResultArrayforTecplot(2, table), 1);
    float** const first = table;
    EXPECT_EQ(driver.NewResultArrayforTecplot(5, table), 1);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "TotalNode = 2\n");
    EXPECT_EQ(table, first);
    for (int row = 0; row < 3; ++row)
    {
        for (int n = 0; n <= 2; ++n)
            EXPECT_EQ(table[row][n], 0.0f);
        delete[] table[row];
    }
    delete[] table;
}

class DriverOfKind : public DriverTest, public testing::WithParamInterface<int>
{
};

// DELIBERATE unknown-item-voxel-layout
// DELIBERATE map-items-keep-extremes
TEST_P(DriverOfKind, gives_the_values_of_the_reference_in_every_mode)
{
    const int fileType = GetParam();
    prepare(tav3d::test::plateWithInsertModel(0.9f), fileType);
    for (const int mode : {0, 1, 2})
        for (const int partInsertMode : {0, 1})
        {
            testing::internal::CaptureStdout();
            CTav3dQ7XMapping_Voxel2CutCell driver;
            ASSERT_EQ(driver.SetParameters(mesh.c_str(), mode, partInsertMode), 0);
            for (const bool smooth : {false, true})
            {
                SCOPED_TRACE("mode " + std::to_string(mode) + " insert mode " + std::to_string(partInsertMode) +
                             (smooth ? " smoothed" : ""));
                std::string target = folder.file("mapped.out");
                ASSERT_EQ(driver.Voxel2CutCellResult(result, target, smooth ? 1 : 0), 1);
                expectMapped(target, model, items, {fileType, mode, partInsertMode, smooth});
            }
            testing::internal::GetCapturedStdout();
        }
}

INSTANTIATE_TEST_SUITE_P(AllKinds, DriverOfKind, testing::Values(0, 1, 2, 3, 4, 6),
                         [](const testing::TestParamInfo<int>& kind) { return std::string(extensions[kind.param]).substr(1); });

TEST_F(DriverTest, smoothing_changes_cavity_items_in_mode_1_only)
{
    prepare(tav3d::test::plateModel(), 0);
    testing::internal::CaptureStdout();
    for (const int mode : {0, 1, 2})
    {
        CTav3dQ7XMapping_Voxel2CutCell driver;
        driver.SetParameters(mesh.c_str(), mode, 0);
        std::string plain = folder.file("plain.q7f");
        std::string smoothed = folder.file("smoothed.q7f");
        ASSERT_EQ(driver.Voxel2CutCellResult(result, plain, 0), 1);
        ASSERT_EQ(driver.Voxel2CutCellResult(result, smoothed, 1), 1);
        EXPECT_EQ(readBytes(plain) == readBytes(smoothed), mode != 1) << "mode " << mode;
    }
    testing::internal::GetCapturedStdout();
}

TEST_F(DriverTest, in_place_the_voxel_file_moves_aside_and_the_mapped_file_takes_its_name)
{
    prepare(tav3d::test::plateModel(), 0);
    const std::string voxelBytes = readBytes(result);
    testing::internal::CaptureStdout();
    CTav3dQ7XMapping_Voxel2CutCell driver;
    driver.SetParameters(mesh.c_str(), 1, 0);
    std::string direct = folder.file("direct.q7f");
    ASSERT_EQ(driver.Voxel2CutCellResult(result, direct, 1), 1);
    writeBytes(folder.file("part_vox.q7f"), "an older voxel file");
    ASSERT_EQ(driver.Voxel2CutCellResult(result, 1), 1);
    testing::internal::GetCapturedStdout();
    EXPECT_EQ(readBytes(folder.file("part_vox.q7f")), voxelBytes);
    EXPECT_EQ(readBytes(result), readBytes(direct)); // the same input gives the same bytes
}

TEST_F(DriverTest, source_that_cannot_be_opened_gives_minus_1_and_two_lines)
{
    prepare(tav3d::test::plateModel(), 0);
    CTav3dQ7XMapping_Voxel2CutCell driver;
    testing::internal::CaptureStdout();
    driver.SetParameters(mesh.c_str(), 0, 0);
    testing::internal::GetCapturedStdout();
    std::string source = folder.file("missing.q7f");
    std::string target = folder.file("target.q7f");
    writeBytes(target, "what stood there");
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr(); // the suite's own line
    EXPECT_EQ(driver.Voxel2CutCellResult(source, target, 0), -1);
    testing::internal::GetCapturedStderr();
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              " FileName = " + source + ", Error = -2\n Cannot open result file for mapping result in Orvel project.\n");
    EXPECT_EQ(readBytes(target), "what stood there");
}

TEST_F(DriverTest, target_that_cannot_be_opened_gives_minus_1_and_two_lines)
{
    prepare(tav3d::test::plateModel(), 0);
    CTav3dQ7XMapping_Voxel2CutCell driver;
    testing::internal::CaptureStdout();
    driver.SetParameters(mesh.c_str(), 0, 0);
    testing::internal::GetCapturedStdout();
    std::string target = folder.file("no such folder/target.q7f");
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    EXPECT_EQ(driver.Voxel2CutCellResult(result, target, 0), -1);
    testing::internal::GetCapturedStderr();
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              " FileName = " + target + ", Error = -2\n Cannot open result file for mapping result in Orvel project.\n");
}

TEST_F(DriverTest, file_that_cannot_be_moved_aside_gives_minus_1_and_one_line)
{
    prepare(tav3d::test::plateModel(), 0);
    CTav3dQ7XMapping_Voxel2CutCell driver;
    testing::internal::CaptureStdout();
    driver.SetParameters(mesh.c_str(), 0, 0);
    testing::internal::GetCapturedStdout();
    std::string missing = folder.file("missing.q7f");
    writeBytes(folder.file("missing_vox.q7f"), "in the way"); // removed at the first try, so that the test need not wait
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    EXPECT_EQ(driver.Voxel2CutCellResult(missing, 0), -1);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "") << "no file was opened";
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "Error renaming Vox file: Permission denied.\n");
    EXPECT_FALSE(std::filesystem::exists(missing));
}

TEST_F(DriverTest, name_without_a_dot_is_out_of_range_and_nothing_moves)
{
    prepare(tav3d::test::plateModel(), 0);
    CTav3dQ7XMapping_Voxel2CutCell driver;
    testing::internal::CaptureStdout();
    driver.SetParameters(mesh.c_str(), 0, 0);
    testing::internal::GetCapturedStdout();
    std::string source = folder.file("result");
    ASSERT_EQ(source.find('.'), std::string::npos) << "the folder for temporary files must not have a dot in its name";
    writeBytes(source, "what stands there");
    const auto entries = folder.entries();
    std::string target = folder.file("target.q7f");
    EXPECT_THROW(driver.Voxel2CutCellResult(source, 0), std::out_of_range);
    writeBytes(source, readBytes(result));
    EXPECT_THROW(driver.Voxel2CutCellResult(source, target, 0), std::out_of_range);
    EXPECT_EQ(readBytes(source), readBytes(result));
    EXPECT_EQ(folder.entries(), entries);
}

TEST_F(DriverTest, extension_outside_of_the_table_copies_every_item_unmapped)
{
    prepare(tav3d::test::plateModel(), 0);
    std::string source = folder.file("part.Q7F");
    std::filesystem::rename(result, source);
    CTav3dQ7XMapping_Voxel2CutCell driver;
    testing::internal::CaptureStdout();
    driver.SetParameters(mesh.c_str(), 1, 0);
    std::string target = folder.file("target.q7f");
    ASSERT_EQ(driver.Voxel2CutCellResult(source, target, 1), 1);
    testing::internal::GetCapturedStdout();
    EXPECT_EQ(Access::fileType(driver), 5);
    expectMapped(target, model, items, {5, 1, 0, true});
}

TEST_F(DriverTest, tecplot_output_captures_items_1_and_6)
{
    prepare(tav3d::test::plateModel(), 0);
    const auto before = std::filesystem::current_path();
    std::filesystem::current_path(folder.path());
    {
        CTav3dQ7XMapping_Voxel2CutCell driver;
        driver.DebugControl(0, 1);
        testing::internal::CaptureStdout();
        driver.SetParameters(mesh.c_str(), 0, 0);
        testing::internal::GetCapturedStdout();
        std::string target = folder.file("target.q7f");
        testing::internal::CaptureStdout();
        ASSERT_EQ(driver.Voxel2CutCellResult(result, target, 0), 1);
        EXPECT_EQ(testing::internal::GetCapturedStdout(), "TotalNode = 252\nTotalNode = 252\n");
    }
    std::filesystem::current_path(before);
    EXPECT_TRUE(std::filesystem::exists(folder.file("VoxelResultt=1.000000_.plt")));
    ASSERT_TRUE(std::filesystem::exists(folder.file("CutCellResultt=2.000000_.plt")));
    std::ifstream file(folder.file("CutCellResultt=2.000000_.plt"));
    std::string line;
    std::getline(file, line);
    std::getline(file, line);
    for (std::size_t n = 1; n <= 252; ++n) // both meshes are the same grid, so node n keeps its values
    {
        float x = 0, y = 0, z = 0, first = 0, second = 0;
        file >> x >> y >> z >> first >> second;
        EXPECT_EQ(first, items[0].value[n]) << "node " << n;
        EXPECT_EQ(second, items[1].value[n]) << "node " << n;
    }
}

TEST_F(DriverTest, second_model_that_is_missing_leaves_the_driver_unconfigured)
{
    prepare(tav3d::test::plateModel(), 0);
    CTav3dQ7XMapping_Voxel2CutCell driver;
    testing::internal::CaptureStdout();
    driver.SetParameters(mesh.c_str(), 1, 0);
    EXPECT_EQ(driver.SetParameters(folder.file("missing.krn").c_str(), 1, 0), 0);
    const std::string bytes = readBytes(result);
    EXPECT_EQ(driver.Voxel2CutCellResult(result, 0), 2);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
    EXPECT_EQ(readBytes(result), bytes) << "nothing has moved";
}

TEST_F(DriverTest, second_model_replaces_the_first)
{
    prepare(tav3d::test::plateModel(), 0);
    CTav3dQ7XMapping_Voxel2CutCell driver;
    testing::internal::CaptureStdout();
    driver.SetParameters(mesh.c_str(), 1, 0);
    prepare(tav3d::test::plateWithInsertModel(0.9f), 2);
    driver.SetParameters(mesh.c_str(), 1, 0);
    std::string target = folder.file("target.q7c");
    ASSERT_EQ(driver.Voxel2CutCellResult(result, target, 0), 1);
    testing::internal::GetCapturedStdout();
    expectMapped(target, model, items, {2, 1, 0, false});
}

// DELIBERATE output-not-cleared
TEST_F(DriverTest, node_without_a_voxel_node_carries_the_value_of_the_item_before)
{
    prepare(tav3d::test::plateModel(), 0);
    // A result for the first 100 voxel nodes only: both meshes are the same grid, so cut-cell nodes 101.. have no voxel node.
    MeshModel small = model;
    small.voxel.x.resize(100);
    const std::vector<VoxelItem> smallItems{{1, 1, field(100, 1), 0.0f, 0.0f}, {9, 1, field(100, 9), 0.0f, 0.0f}};
    writeVoxelResult(result, "", small, smallItems);

    CTav3dQ7XMapping_Voxel2CutCell driver;
    testing::internal::CaptureStdout();
    driver.SetParameters(mesh.c_str(), 0, 0);
    std::string target = folder.file("target.q7f");
    ASSERT_EQ(driver.Voxel2CutCellResult(result, target, 0), 1);
    testing::internal::GetCapturedStdout();

    CTAV3DResultReader_Manipulator reader;
    ASSERT_EQ(reader.BeginReading(target.c_str(), nullptr), 0);
    std::vector<float> first(253);
    std::vector<float> second(253);
    ASSERT_EQ(reader.GetResultItem(1, first.data()), 0);
    ASSERT_EQ(reader.GetResultItem(9, second.data()), 0);
    for (std::size_t n = 1; n <= 252; ++n)
    {
        EXPECT_EQ(first[n], n <= 100 ? smallItems[0].value[n] : 0.0f);
        EXPECT_EQ(second[n], n <= 100 ? smallItems[1].value[n] : first[n]);
    }
}

TEST_F(DriverTest, node_without_a_voxel_node_gets_the_recorded_minimum_of_a_cooling_item)
{
    prepare(tav3d::test::plateModel(), 2);
    MeshModel small = model;
    small.voxel.x.resize(100); // as above: cut-cell nodes 101.. have no voxel node
    const std::vector<VoxelItem> smallItems{{1, 1, field(100, 1), 70.0f, -70.0f}, {2, 1, field(100, 2), 80.0f, -80.0f}};
    writeVoxelResult(result, "", small, smallItems);

    CTav3dQ7XMapping_Voxel2CutCell driver;
    testing::internal::CaptureStdout();
    driver.SetParameters(mesh.c_str(), 0, 0);
    std::string target = folder.file("target.q7c");
    ASSERT_EQ(driver.Voxel2CutCellResult(result, target, 0), 1);
    testing::internal::GetCapturedStdout();

    CTAV3DResultReader_Manipulator reader;
    ASSERT_EQ(reader.BeginReading(target.c_str(), nullptr), 0);
    for (const VoxelItem& item : smallItems)
    {
        std::vector<float> value(253);
        ASSERT_EQ(reader.GetResultItem(item.number, value.data()), 0);
        for (std::size_t n = 1; n <= 252; ++n)
            EXPECT_EQ(value[n], n <= 100 ? item.value[n] : item.recordedMin) << "node " << n;
    }
}

// DELIBERATE driver-shallow-copy
TEST_F(DriverTest, copy_and_assignment_share_the_mapping_object)
{
    prepare(tav3d::test::plateModel(), 0);
    CTav3dQ7XMapping_Voxel2CutCell driver;
    testing::internal::CaptureStdout();
    driver.SetParameters(mesh.c_str(), 0, 0);
    testing::internal::GetCapturedStdout();
    CTav3dQ7XMapping_Voxel2CutCell copy(driver);
    CTav3dQ7XMapping_Voxel2CutCell assigned;
    assigned = driver;
    EXPECT_EQ(Access::mapping(copy), Access::mapping(driver));
    EXPECT_EQ(Access::mapping(assigned), Access::mapping(driver));
    Access::forgetMapping(copy); // only one of the three may delete it
    Access::forgetMapping(assigned);
}

// DELIBERATE capture-two-items
TEST(TecplotCapture, third_item_is_counted_and_not_kept)
{
    CTav3dQ7XMapping_Voxel2CutCell driver;
    tav3d::resultmapping::TecplotCapture capture;
    testing::internal::CaptureStdout();
    capture.prepare(driver, 2);
    testing::internal::GetCapturedStdout();
    for (const float value : {10.0f, 20.0f, 30.0f})
    {
        const float item[] = {0.0f, value, value + 1};
        capture.add(item, 2);
    }
    EXPECT_EQ(capture.table()[0][0], 3.0f);
    EXPECT_EQ(capture.table()[1][1], 10.0f);
    EXPECT_EQ(capture.table()[2][2], 21.0f);
}

} // namespace driver_test
