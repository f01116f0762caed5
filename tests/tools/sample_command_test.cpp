// `tav3d sample` as a user meets it.

#include "TAV3DCoolTools.h"
#include "TAV3DResultEngine.h"
#include "opensuite/mesh_file.h"
#include "run_command.h"
#include "support/mesh_models.h"
#include "support/scratch_folder.h"
#include "tools/sample_fields.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace sample_command_test
{

using namespace tav3d;
using namespace tav3d::test;

namespace
{

class SampleCommand : public testing::Test
{
protected:
    void SetUp() override { opensuite::writeMeshFile(mesh, modelWithInsert()); }

    ScratchFolder folder;
    std::string mesh = folder.file("part.krn");
    std::string results = folder.file("results");
};

} // namespace

TEST_F(SampleCommand, all_kinds_are_written_marked_as_samples_and_open_again)
{
    const Outcome outcome = runCommand({"sample", mesh, "-o", results});
    EXPECT_EQ(outcome.status, tools::exitDone);
    EXPECT_EQ(outcome.errors, "");
    for (const std::string_view kind : tools::sampleKinds)
    {
        const std::string file = folder.file("results/part" + std::string(kind));
        EXPECT_NE(outcome.output.find(file), std::string::npos);
        CTAV3DResultReader_Manipulator reader;
        ASSERT_EQ(reader.BeginReading(file.c_str(), nullptr), 0);
        CBinaryInform d;
        ASSERT_EQ(CBinaryWriteTools::GetBinaryInform(d, reader, 0), 0);
        EXPECT_TRUE(d.m_strTitle.starts_with("Sample data")) << d.m_strTitle;
        EXPECT_FALSE(d.m_bOnCutCellMesh);
        EXPECT_EQ(d.m_strMeshFile, mesh);
        EXPECT_EQ(d.m_nVoxelNode, 216);
        EXPECT_EQ(d.m_nCutCellNode, 218);
        EXPECT_EQ(reader.GetMaxCavityNode(), 64); // every node of the 3 x 3 x 3 cells also lies on part cells around the insert
        EXPECT_TRUE(reader.GetHasVentingResult());
        EXPECT_EQ(d.m_OutputTime.size(), 3U);
        EXPECT_FALSE(d.m_ResultItem.empty());
        for (const CBinaryResultItem& item : d.m_ResultItem)
        {
            int n = 0;
            const float* full =
                CBinaryWriteTools::FullResultFromMappingResult_Create(item.m_iResultItemID, item.m_iResultType, d, reader, n);
            ASSERT_NE(full, nullptr);
            EXPECT_EQ(n, 216);
            EXPECT_EQ(*std::max_element(full + 1, full + 1 + n), item.m_fMax) << kind << " item " << item.m_iResultItemID;
        }
    }
}

TEST_F(SampleCommand, mapped_items_stand_on_their_nodes)
{
    ASSERT_EQ(runCommand({"sample", mesh, "-o", results, "--kinds", ".q7c"}).status, 0);
    CTAV3DResultReader_Manipulator reader;
    ASSERT_EQ(reader.BeginReading((results + "/part.q7c").c_str(), nullptr), 0);
    CBinaryInform d;
    CBinaryWriteTools::GetBinaryInform(d, reader, 0);
    const auto zone = modelWithInsert().voxel;
    std::vector<char> mold(zone.nodeTotal() + 1, 0);
    for (const std::int32_t node : zone.moldBase.node)
    {
        mold[static_cast<std::size_t>(node)] = 1;
    }
    EXPECT_TRUE(d.IfUseResultDataIDMap(3));
    EXPECT_EQ(CBinaryWriteTools::GetResultItemDimension(3, d), std::count(mold.begin(), mold.end(), 1));
    int n = 0;
    const float* full = CBinaryWriteTools::FullResultFromMappingResult_Create(5, 3, d, reader, n);
    for (std::size_t node = 1; node < mold.size(); ++node)
    {
        EXPECT_TRUE(mold[node] != 0 ? full[node] >= 40.0F - 1e-3F : full[node] == 0.0F) << node << ": " << full[node];
    }
    EXPECT_TRUE(d.IfUseResultDataIDMap(5));
    EXPECT_EQ(CBinaryWriteTools::GetResultItemDimension(5, d), 64) << "all nodes of the part lie on its surface, towards mould or insert";
}

TEST_F(SampleCommand, same_model_gives_the_same_bytes)
{
    ASSERT_EQ(runCommand({"sample", mesh, "-o", results}).status, 0);
    ASSERT_EQ(runCommand({"sample", mesh, "-o", folder.file("again")}).status, 0);
    for (const std::string_view kind : tools::sampleKinds)
    {
        EXPECT_TRUE(readBytes(folder.file("results/part" + std::string(kind))) == readBytes(folder.file("again/part" + std::string(kind))));
    }
}

TEST_F(SampleCommand, chosen_kinds_are_written_alone_and_told_as_json)
{
    const Outcome outcome = runCommand({"sample", mesh, "-o", results, "--kinds", ".rsf", ".q7p", "--json"});
    EXPECT_EQ(outcome.status, 0);
    EXPECT_TRUE(outcome.output.starts_with("["));
    EXPECT_NE(outcome.output.find("\"kind\": \".rsf\""), std::string::npos) << outcome.output;
    EXPECT_NE(outcome.output.find("\"Melt-front time\""), std::string::npos);
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(results), std::filesystem::directory_iterator()), 2);
}

TEST_F(SampleCommand, info_shows_a_sample)
{
    ASSERT_EQ(runCommand({"sample", mesh, "-o", results, "--kinds", ".q7f"}).status, 0);
    const Outcome outcome = runCommand({"info", results + "/part.q7f"});
    EXPECT_EQ(outcome.status, 0);
    EXPECT_NE(outcome.output.find("Sample data"), std::string::npos) << outcome.output;
    EXPECT_NE(outcome.output.find("Melt-front time"), std::string::npos);
}

TEST_F(SampleCommand, bad_input_ends_with_its_status_and_one_line)
{
    Outcome outcome = runCommand({"sample", folder.file("none.krn"), "-o", results});
    EXPECT_EQ(outcome.status, tools::exitFailed);
    EXPECT_NE(outcome.errors.find("none.krn"), std::string::npos);
    EXPECT_EQ(std::count(outcome.errors.begin(), outcome.errors.end(), '\n'), 1) << outcome.errors;
    EXPECT_FALSE(std::filesystem::exists(results));

    opensuite::writeMeshFile(folder.file("gateless.krn"), unitCube());
    outcome = runCommand({"sample", folder.file("gateless.krn"), "-o", results});
    EXPECT_EQ(outcome.status, tools::exitFailed);
    EXPECT_NE(outcome.errors.find("gateless.krn: Surface: the part has no gate"), std::string::npos) << outcome.errors;
    EXPECT_FALSE(std::filesystem::exists(results));

    EXPECT_EQ(runCommand({"sample", mesh, "--kinds", ".q7x"}).status, tools::exitWrongUsage);
    EXPECT_EQ(runCommand({"sample", mesh, "--filling-time", "0"}).status, tools::exitWrongUsage);
    EXPECT_EQ(runCommand({"sample"}).status, tools::exitWrongUsage);
}

TEST_F(SampleCommand, help_shows_an_example)
{
    const Outcome outcome = runCommand({"sample", "--help"});
    EXPECT_EQ(outcome.status, 0);
    EXPECT_NE(outcome.output.find("tav3d sample housing.krn"), std::string::npos);
}

} // namespace sample_command_test
