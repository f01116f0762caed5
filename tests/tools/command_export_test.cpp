// What `tav3d export` says and leaves behind. The files themselves are read by another program in export_in_other_readers.py.

#include "cell_volumes.h"
#include "linear_results.h"
#include "run_command.h"
#include "support/scratch_folder.h"
#include "tools/export_formats.h"

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <limits>

namespace command_export_test
{

using namespace tav3d;
using namespace tav3d::test;

namespace
{

class ExportCommand : public testing::Test
{
protected:
    void SetUp() override
    {
        opensuite::writeMeshFile(mesh_, model_);
        write(result_, linearResult(model_, mesh_, true, {1, 7, 218}));
    }

    /// Expects a failure with one line that holds every one of `parts`, and nothing new in the folder.
    void expectFailure(const std::vector<std::string>& arguments, std::initializer_list<std::string> parts)
    {
        const auto before = folder_.entries();
        const Outcome outcome = runCommand(arguments);
        EXPECT_EQ(outcome.status, tools::exitFailed);
        EXPECT_EQ(outcome.output, "");
        expectOneLine(outcome.errors, parts);
        EXPECT_EQ(folder_.entries(), before);
    }

    ScratchFolder folder_;
    opensuite::MeshModel model_ = modelWithInsert();
    std::string mesh_ = folder_.file("part.krn");
    std::string result_ = folder_.file("part.q7f");
    std::string target_ = folder_.file("out.vtu");
};

} // namespace

TEST_F(ExportCommand, every_format_is_written_and_summed_up)
{
    for (const char* name : {"out.vtu", "out.cgns", "out.plt", "UPPER.VTU"})
    {
        const std::string target = folder_.file(name);
        const Outcome outcome = runCommand({"export", result_, "-o", target});
        EXPECT_EQ(outcome.status, 0) << outcome.errors;
        EXPECT_EQ(outcome.output.find(target + ": cut-cell mesh, 218 nodes, "), 0U) << outcome.output;
        EXPECT_NE(outcome.output.find(", 3 items\n"), std::string::npos) << outcome.output;
        expectOneLine(outcome.errors, {"tav3d: note: ", result_, "item 40 (Nothing)", "has no values"});
        EXPECT_TRUE(std::filesystem::exists(target));
    }
    EXPECT_EQ(folder_.entries(), 2 + 4);
}

TEST_F(ExportCommand, same_input_gives_the_same_bytes)
{
    for (const std::string extension : {".vtu", ".cgns", ".plt"})
    {
        ASSERT_EQ(runCommand({"export", result_, "-o", folder_.file("a" + extension)}).status, 0);
        ASSERT_EQ(runCommand({"export", result_, "-o", folder_.file("b" + extension)}).status, 0);
        EXPECT_EQ(readBytes(folder_.file("a" + extension)), readBytes(folder_.file("b" + extension))) << extension;
    }
}

TEST_F(ExportCommand, items_are_chosen_by_number_and_do_not_swallow_the_file)
{
    const Outcome outcome = runCommand({"export", "--items", "1,6", result_, "-o", folder_.file("out.plt")});
    EXPECT_EQ(outcome.status, 0) << outcome.errors;
    EXPECT_EQ(outcome.errors, "");
    EXPECT_NE(readBytes(folder_.file("out.plt")).find("VARIABLES=\"X\",\"Y\",\"Z\",\"Temperature (6)\",\"Time, melt front (1)\"\n"),
              std::string::npos);
}

TEST_F(ExportCommand, missing_and_empty_items_are_named)
{
    expectFailure({"export", result_, "-o", target_, "--items", "99"}, {result_, "item 99", "6, 1, 21, 40"});
    expectFailure({"export", result_, "-o", target_, "--items", "40"}, {result_, "item 40 (Nothing)", "has no values"});
    expectFailure({"export", mesh_, "-o", target_, "--items", "6"}, {mesh_, "item 6", "a mesh file has no items"});
}

TEST_F(ExportCommand, item_with_a_layout_of_its_own_is_left_out_with_a_note)
{
    // Values per voxel node in a file on the cut-cell mesh: what mapping makes of items that it does not know.
    const std::string voxel = folder_.file("voxel.q7f");
    LinearResult source = linearResult(model_, mesh_, false, {1});
    write(voxel, source);
    CTAV3DResultReader_Manipulator reader;
    ASSERT_EQ(reader.BeginReading(voxel.c_str(), nullptr), 0);
    CBinaryInform d;
    ASSERT_EQ(CBinaryWriteTools::GetBinaryInform(d, reader, 0), 0);
    int n = 0;
    float* own = CBinaryWriteTools::FullResultFromMappingResult_Create(6, 1, d, reader, n);
    ASSERT_NE(own, nullptr);
    std::erase_if(d.m_ResultItem, [](const CBinaryResultItem& row) { return row.m_iResultItemID != 6; });
    CTAV3DResultWriter_Manipulator writer;
    ASSERT_EQ(writer.BeginWriting(result_.c_str(), nullptr, true), 0);
    ASSERT_EQ(describe(writer, d), 0);
    ASSERT_EQ(writer.WriteResultItem(6, own), 0);
    ASSERT_EQ(writer.EndWriting(), 0);

    const Outcome outcome = runCommand({"export", result_, "-o", target_});
    EXPECT_EQ(outcome.status, 0);
    expectOneLine(outcome.errors, {result_, "item 6 (Temperature)", "216 values"});
    EXPECT_NE(outcome.output.find(", 0 items\n"), std::string::npos);
    EXPECT_EQ(readBytes(target_).find("Temperature"), std::string::npos);
}

TEST_F(ExportCommand, mesh_that_is_not_there_or_of_another_model_is_told)
{
    const std::string moved = folder_.file("moved.krn");
    std::filesystem::rename(mesh_, moved);
    expectFailure({"export", result_, "-o", target_}, {result_, "mesh file", mesh_, "--mesh"});
    EXPECT_EQ(runCommand({"export", result_, "-o", target_, "--mesh", moved}).status, 0);
    opensuite::writeMeshFile(mesh_, unitCube());
    const std::string before = readBytes(target_);
    expectFailure({"export", result_, "-o", target_}, {result_, mesh_, "8 nodes", "218"});
    EXPECT_EQ(readBytes(target_), before);
}

TEST_F(ExportCommand, inputs_are_not_overwritten)
{
    const std::string disguised = folder_.file("result.vtu");
    std::filesystem::rename(result_, disguised);
    expectFailure({"export", disguised, "-o", disguised}, {disguised, "is the file that is exported"});
    EXPECT_EQ(runCommand({"info", disguised}).status, 0);
}

TEST_F(ExportCommand, value_that_a_text_file_cannot_hold_fails_and_leaves_nothing)
{
    LinearResult r = linearResult(model_, mesh_, true, {1});
    r.values[6][17] = std::numeric_limits<float>::quiet_NaN();
    write(result_, r);
    const std::string target = folder_.file("out.plt");
    expectFailure({"export", result_, "-o", target}, {target, "Temperature (6)", "node 17", "not finite"});
    EXPECT_EQ(runCommand({"export", result_, "-o", target_}).status, 0);
}

TEST_F(ExportCommand, target_that_cannot_be_written_is_named)
{
    for (const char* name : {"none/out.vtu", "none/out.cgns", "none/out.plt"})
        expectFailure({"export", result_, "--items", "6", "-o", folder_.file(name)}, {folder_.file(name)});
    std::filesystem::create_directory(target_);
    expectFailure({"export", result_, "--items", "6", "-o", target_}, {target_, "is a folder"});
}

TEST_F(ExportCommand, wrong_usage_ends_with_status_2)
{
    const std::vector<std::vector<std::string>> wrong = {{"export"},
                                                         {"export", result_},
                                                         {"export", result_, "-o", folder_.file("out.vtk")},
                                                         {"export", result_, "-o", folder_.file("vtu")},
                                                         {"export", result_, "-o", target_, "--items", "x"},
                                                         {"export", result_, "-o", target_, "--zone", "both"}};
    for (const auto& arguments : wrong)
        EXPECT_EQ(runCommand(arguments).status, tools::exitWrongUsage) << testing::PrintToString(arguments);
    EXPECT_EQ(folder_.entries(), 2);
}

TEST_F(ExportCommand, zone_of_a_mesh_file_is_chosen)
{
    EXPECT_NE(runCommand({"export", mesh_, "-o", target_}).output.find("cut-cell mesh, 218 nodes"), std::string::npos);
    EXPECT_NE(runCommand({"export", mesh_, "-o", target_, "--zone", "voxel"}).output.find("voxel mesh, 216 nodes"), std::string::npos);
    expectFailure({"export", result_, "-o", target_, "--zone", "voxel"}, {result_, "stands on the cut-cell mesh"});
    model_.cutCell = {};
    opensuite::writeMeshFile(mesh_, model_);
    EXPECT_NE(runCommand({"export", mesh_, "-o", target_}).output.find("voxel mesh, 216 nodes"), std::string::npos);
}

TEST(ExportFormats, bricks_have_the_volume_of_the_cells_they_stand_for)
{
    const opensuite::MeshZone zone = oneCellOfEachKind().voxel;
    for (std::size_t c = 0; c < zone.plastic.size(); ++c)
    {
        const opensuite::CellKind kind = zone.plastic.kind[c];
        const std::vector<tools::Vec3> corner = cornersOf(zone, zone.plastic, c);
        std::vector<tools::Vec3> brick;
        for (const std::int8_t at : tools::brickCorners(kind))
            brick.push_back(corner[static_cast<std::size_t>(at)]);
        const double volume = tools::cellVolume(kind, corner);
        EXPECT_GT(volume, 0.0);
        EXPECT_NEAR(tools::cellVolume(opensuite::CellKind::Hexa8, brick), volume, 1e-12) << "cell " << c + 1;
    }
}

} // namespace command_export_test
