// The program as a user meets it: exit status, what goes to standard output and standard error, which files exist afterwards.

#include "TAV3DCoolTools.h"
#include "TAV3DResultEngine.h"
#include "opensuite/mesh_file_reader.h"
#include "run_command.h"
#include "shapes.h"
#include "support/scratch_folder.h"
#include "tools/json.h"

#include <gtest/gtest.h>

#include <limits>
#include <vector>

namespace command_test
{

using namespace tav3d;
using namespace tav3d::test;

namespace
{

class Command : public testing::Test
{
protected:
    void SetUp() override { writeBytes(part_, binaryStl(sphere({0, 0, 0}, 4, 24))); }

    ScratchFolder folder_;
    std::string part_ = folder_.file("ball.stl");
    std::string mesh_ = folder_.file("ball.krn");
};

} // namespace

TEST_F(Command, model_writes_a_mesh_file_and_prints_a_summary)
{
    const Outcome outcome = runCommand({"model", part_, "--cell-size", "1", "--scale", "0.001", "-o", mesh_});
    EXPECT_EQ(outcome.status, tools::exitDone);
    EXPECT_EQ(outcome.errors, "");
    EXPECT_NE(outcome.output.find("14 x 14 x 14 cells of 1, scale factor 0.001"), std::string::npos) << outcome.output;
    const auto summary = opensuite::readMeshSummary(mesh_);
    EXPECT_EQ(summary.title, "ball");
    EXPECT_EQ(summary.scaleFactor, 0.001);
    EXPECT_EQ(summary.cellSize, 1.0F);
    EXPECT_EQ(summary.voxel.nodes, 15 * 15 * 15);
    EXPECT_EQ(summary.voxel.lowest[0], -7.0F);
    EXPECT_EQ(summary.cutCell.cellsOfKind.size(), 4U);
    EXPECT_GT(summary.cutCell.facetsOfKind.at(opensuite::facet_kind::gate), 0);
    EXPECT_EQ(folder_.entries(), 2);
}

TEST_F(Command, model_prints_json_on_request)
{
    const Outcome outcome = runCommand({"model", part_, "--cell-size", "0.5", "-o", mesh_, "--json"});
    EXPECT_EQ(outcome.status, tools::exitDone);
    EXPECT_EQ(outcome.output.front(), '{');
    EXPECT_NE(outcome.output.find("\"cellSize\": 0.5"), std::string::npos);
    EXPECT_NE(outcome.output.find("\"partVolumeError\""), std::string::npos);
}

TEST_F(Command, same_input_gives_the_same_mesh_file_byte_for_byte)
{
    const std::string again = folder_.file("again.krn");
    EXPECT_EQ(runCommand({"model", part_, "--cell-size", "0.8", "-o", mesh_}).status, 0);
    EXPECT_EQ(runCommand({"model", part_, "--cell-size", "0.8", "-o", again}).status, 0);
    EXPECT_EQ(readBytes(mesh_), readBytes(again));
}

TEST_F(Command, model_takes_places_with_negative_numbers_and_inserts)
{
    const std::string insert = folder_.file("pin.stl");
    writeBytes(insert, asciiStl(box({-1, -1, 0}, {2, 2, 7})));
    const Outcome outcome = runCommand({"model", part_, "--cell-size", "0.5", "--insert", insert, "--gate", "-4,0,0", "--vent", "4,0,0",
                                        "--vent", "0,-4,-0.5", "-o", mesh_});
    EXPECT_EQ(outcome.status, tools::exitDone) << outcome.errors;
    const auto summary = opensuite::readMeshSummary(mesh_);
    EXPECT_EQ(summary.voxel.cellsOfBody.at(3), 4 * 4 * 14);
    EXPECT_EQ(summary.cutCell.partInterfaces, 1);
    EXPECT_GT(summary.voxel.facetsOfKind.at(opensuite::facet_kind::vent), 1);
}

TEST_F(Command, bad_part_ends_with_status_1_one_line_and_no_file)
{
    for (const std::string& bytes : {std::string(), std::string("solid x\nfoo"), binaryStl(box({0, 0, 0}, {1, 1, 1})).substr(0, 300)})
    {
        writeBytes(part_, bytes);
        const Outcome outcome = runCommand({"model", part_, "--cell-size", "1", "-o", mesh_});
        EXPECT_EQ(outcome.status, tools::exitFailed);
        EXPECT_EQ(outcome.output, "");
        EXPECT_EQ(outcome.errors.substr(0, 14 + part_.size() + 2), "tav3d: error: " + part_ + ": ");
        EXPECT_EQ(std::count(outcome.errors.begin(), outcome.errors.end(), '\n'), 1);
        EXPECT_EQ(folder_.entries(), 1);
    }
}

TEST_F(Command, failed_model_leaves_an_older_mesh_file_as_it_was)
{
    writeBytes(mesh_, "older");
    EXPECT_EQ(runCommand({"model", part_, "--cell-size", "50", "-o", mesh_}).status, tools::exitFailed);
    EXPECT_EQ(readBytes(mesh_), "older");
}

TEST_F(Command, output_that_cannot_be_written_is_named)
{
    const std::string nowhere = folder_.file("none/ball.krn");
    const Outcome outcome = runCommand({"model", part_, "--cell-size", "2", "-o", nowhere});
    EXPECT_EQ(outcome.status, tools::exitFailed);
    EXPECT_NE(outcome.errors.find("tav3d: error: " + nowhere), std::string::npos) << outcome.errors;
    EXPECT_EQ(folder_.entries(), 1);
}

TEST_F(Command, wrong_usage_ends_with_status_2)
{
    const std::vector<std::vector<std::string>> wrong = {
        {},
        {"model"},
        {"model", part_},
        {"model", part_, "--cell-size", "0"},
        {"model", part_, "--cell-size", "nan"},
        {"model", part_, "--cell-size", "1", "--gate", "1,2"},
        {"model", part_, "--cell-size", "1", "--gate", "1,2,3,4"},
        {"model", part_, "--cell-size", "1", "--gate", "1,2,nan"},
        {"model", part_, "--cell-size", "1", "--margin", "0"},
        {"model", part_, "--cell-size", "1", "--scale", "-1"},
        {"model", part_, "--cell-size", "1", "--colour", "red"},
        {"info"},
    };
    for (const auto& arguments : wrong)
    {
        const Outcome outcome = runCommand(arguments);
        EXPECT_EQ(outcome.status, tools::exitWrongUsage) << testing::PrintToString(arguments);
        EXPECT_NE(outcome.errors, "");
    }
    EXPECT_EQ(folder_.entries(), 1);
}

TEST_F(Command, help_shows_an_example)
{
    for (const char* command : {"model", "info"})
    {
        const Outcome outcome = runCommand({command, "--help"});
        EXPECT_EQ(outcome.status, tools::exitDone);
        EXPECT_NE(outcome.output.find(std::string("Example:\n  tav3d ") + command), std::string::npos);
    }
}

TEST_F(Command, info_tells_the_counts_of_both_meshes)
{
    ASSERT_EQ(runCommand({"model", part_, "--cell-size", "1", "-o", mesh_}).status, 0);
    const Outcome text = runCommand({"info", mesh_});
    EXPECT_EQ(text.status, tools::exitDone);
    EXPECT_EQ(text.output.substr(0, mesh_.size() + 18), mesh_ + ": mesh file \"ball\"");
    EXPECT_NE(text.output.find("nodes                                 3375"), std::string::npos) << text.output;
    const Outcome json = runCommand({"info", "--json", mesh_});
    EXPECT_NE(json.output.find("\"nodes\": 3375"), std::string::npos) << json.output;
}

TEST_F(Command, info_lists_the_items_of_a_result_file)
{
    ASSERT_EQ(runCommand({"model", part_, "--cell-size", "1", "-o", mesh_}).status, 0);
    const std::string file = folder_.file("ball.q7f");
    CBinaryInform inform;
    inform.m_strTitle = "trial";
    inform.m_strMeshFile = mesh_;
    inform.m_nVoxelNode = 3375;
    inform.m_nCutCellNode = static_cast<int>(opensuite::readMeshSummary(mesh_).cutCell.nodes);
    inform.m_OutputTime = {0.5};
    inform.m_CoolInfo = {{"CoolingTime", 12.5}};
    inform.m_ResultItem = {{10010, 1, 230.0F, 40.0F, "Temperature", "degC"}};
    CBinaryWriteTools::SetResultItemDimension(1, inform, 3375, false);
    {
        CTAV3DResultWriter_Manipulator writer;
        ASSERT_EQ(writer.BeginWriting(file.c_str(), "", false), 0);
        ASSERT_EQ(CBinaryWriteTools::WriteHeadFileInfo_time(inform, writer, 1.25), 0);
        ASSERT_EQ(CBinaryWriteTools::WriteCoolInfo(inform, writer), 0);
        ASSERT_EQ(CBinaryWriteTools::WriteMultipleTimeStepOutputInfo(inform, writer), 0);
        ASSERT_EQ(CBinaryWriteTools::WriteResultItemInfo(inform, writer), 0);
        ASSERT_EQ(CBinaryWriteTools::WriteResultTypeInfo(inform, writer), 0);
        std::vector<float> values(3376, 40.0F);
        ASSERT_EQ(writer.WriteResultItem(10010, values.data()), 0);
        float most = 230, least = 40;
        writer.SetMaxMinInfo(&most, &least);
        ASSERT_EQ(writer.EndWriting(), 0);
    }
    const Outcome text = runCommand({"info", file});
    EXPECT_EQ(text.status, tools::exitDone) << text.errors;
    EXPECT_EQ(text.output.find(file + ": result file \"trial\" on the voxel mesh of "), 0U) << text.output;
    EXPECT_NE(text.output.find("10010"), std::string::npos);
    EXPECT_NE(text.output.find("40            230  Temperature [degC]"), std::string::npos) << text.output;
    EXPECT_NE(text.output.find("filling time                        1.25 s"), std::string::npos) << text.output;
    const Outcome json = runCommand({"info", "--json", file, mesh_});
    EXPECT_NE(json.output.find("\"CoolingTime\": 12.5"), std::string::npos) << json.output;
    EXPECT_NE(json.output.find("\"kind\": \"mesh\""), std::string::npos);
}

TEST_F(Command, info_reports_every_bad_file_and_still_shows_the_good_one)
{
    ASSERT_EQ(runCommand({"model", part_, "--cell-size", "1", "-o", mesh_}).status, 0);
    const std::string missing = folder_.file("none.krn");
    const Outcome outcome = runCommand({"info", part_, mesh_, missing});
    EXPECT_EQ(outcome.status, tools::exitFailed);
    EXPECT_EQ(outcome.errors.find("tav3d: error: " + part_ + ": "), 0U) << outcome.errors;
    EXPECT_NE(outcome.errors.find("\ntav3d: error: " + missing + ": "), std::string::npos) << outcome.errors;
    EXPECT_NE(outcome.output.find(mesh_ + ": mesh file"), std::string::npos);
}

TEST(Json, text_is_quoted_and_numbers_read_back)
{
    tools::JsonWriter json;
    json.beginObject().member("a\"b\\", "line\nend").member("n", 0.1).member("none", std::numeric_limits<double>::quiet_NaN());
    json.key("list").beginArray().value(1).value(true).beginObject().endObject().endArray().endObject();
    EXPECT_EQ(json.text(), "{\n  \"a\\\"b\\\\\": \"line\\u000aend\",\n  \"n\": 0.1,\n  \"none\": null,\n"
                           "  \"list\": [\n    1,\n    true,\n    {}\n  ]\n}\n");
}

} // namespace command_test
