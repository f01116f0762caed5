#include "opensuite/item_observer.h"
#include "opensuite/result_layout.h"
#include "result_samples.h"
#include "support/scratch_folder.h"

#include <random>

#ifndef _WIN32
#include <csignal>
#include <sys/resource.h>
#endif

namespace result_writer_test
{

using namespace tav3d::test;
namespace fs = std::filesystem;

namespace
{

/// A writer that was begun over a file that must survive, and the code of its last call.
class WriterFaults : public testing::Test
{
protected:
    void SetUp() override
    {
        writeBytes(target, "the old content");
        ASSERT_EQ(writer.BeginWriting(target.c_str(), nullptr, false), 0);
    }
    void TearDown() override
    {
        writer.EndWriting();
        EXPECT_EQ(readBytes(target), "the old content");
        EXPECT_EQ(folder.entries(), 1) << "no temporary file is left";
        EXPECT_EQ(tav3d::opensuite::completedResultFiles(), completedBefore);
    }

    /// Expects a code and one line that names the target and holds `parts`.
    template <class Call>
    void expectRefused(Call&& call, std::initializer_list<std::string> parts, int code = -3)
    {
        const std::string output = errorOutput([&] { EXPECT_EQ(call(), code); });
        expectOneLine(output, parts);
        EXPECT_TRUE(output.starts_with(target + ": ")) << output;
    }
    void expectEndRefused(std::initializer_list<std::string> parts)
    {
        expectRefused([&] { return writer.EndWriting(); }, parts);
        EXPECT_EQ(writer.EndWriting(), -3) << "the same answer again, and no second line";
    }

    ScratchFolder folder;
    std::string target = folder.file("a.q7f");
    long long completedBefore = tav3d::opensuite::completedResultFiles();
    CTAV3DResultWriter_Manipulator writer;
    CBinaryInform d = sampleDescription();
    Values values = sampleValues();
};

} // namespace

TEST_F(WriterFaults, unknown_item_is_refused)
{
    ASSERT_EQ(describe(writer, d), 0);
    expectRefused([&] { return writer.WriteResultItem(7, values[6].data()); }, {"item 7", "does not stand in the item table"});
    expectEndRefused({"item 6", "never written"});
}

TEST_F(WriterFaults, item_without_a_description_is_refused)
{
    expectRefused([&] { return writer.WriteResultItem(6, values[6].data()); }, {"item 6", "item table"});
    ASSERT_EQ(CBinaryWriteTools::WriteResultItemInfo(d, writer), 0);
    expectRefused([&] { return writer.WriteResultItem(6, values[6].data()); }, {"item 6", "result type 1 has no dimension"});
    ASSERT_EQ(CBinaryWriteTools::WriteHeadFileInfo_time(d, writer, 0), 0);
    ASSERT_EQ(CBinaryWriteTools::WriteResultTypeInfo(d, writer), 0);
    expectRefused([&] { return writer.WriteResultItem(6, values[6].data()); }, {"result type 3", "ID map is missing"});
    ASSERT_EQ(CBinaryWriteTools::WriteResultDataIDMap(d, writer), 0);
    EXPECT_EQ(writer.WriteResultItem(6, values[6].data()), 0);
    errorOutput([&] { EXPECT_EQ(writer.EndWriting(), -3); });
}

TEST_F(WriterFaults, item_is_not_written_twice)
{
    ASSERT_EQ(describe(writer, d), 0);
    ASSERT_EQ(writer.WriteResultItem(6, values[6].data()), 0);
    expectRefused([&] { return writer.WriteResultItem(6, values[6].data()); }, {"item 6", "a second time"});
    expectEndRefused({"item 1", "never written"});
}

TEST_F(WriterFaults, item_without_values_is_refused)
{
    ASSERT_EQ(describe(writer, d), 0);
    expectRefused([&] { return writer.WriteResultItem(6, nullptr); }, {"item 6", "without values"});
    expectEndRefused({"item 6", "never written"});
}

TEST_F(WriterFaults, item_of_a_type_without_dimension_is_refused)
{
    d.m_ResultItem[0].m_iResultType = 9;
    ASSERT_EQ(describe(writer, d), 0);
    expectRefused([&] { return writer.WriteResultItem(6, values[6].data()); }, {"item 6", "result type 9 has no dimension"});
    expectEndRefused({"item 6", "never written"});
}

TEST_F(WriterFaults, duplicate_items_are_refused_and_the_file_is_not_completed)
{
    d.m_ResultItem[1].m_iResultItemID = 6;
    expectRefused([&] { return CBinaryWriteTools::WriteResultItemInfo(d, writer); }, {"item 6", "twice"});
    expectEndRefused({"a part of its description was refused"});
}

TEST_F(WriterFaults, names_with_line_breaks_are_refused)
{
    d.m_ResultItem[2].m_strName = "Heat\nflux";
    expectRefused([&] { return CBinaryWriteTools::WriteResultItemInfo(d, writer); }, {"item 21", "control character"});
    d.m_CoolInfo[0].first = "a\tb";
    expectRefused([&] { return CBinaryWriteTools::WriteCoolInfo(d, writer); }, {"cooling", "control character"});
    expectEndRefused({"refused"});
}

TEST_F(WriterFaults, head_without_node_count_is_refused)
{
    d.m_nVoxelNode = 0;
    expectRefused([&] { return CBinaryWriteTools::WriteHeadFileInfo_time(d, writer, 0); }, {"head", "node count of the voxel mesh"});
    d.m_nVoxelNode = -6;
    expectRefused([&] { return CBinaryWriteTools::WriteHeadFileInfo_time(d, writer, 0); }, {"head", "negative"});
    d.m_nVoxelNode = 2;
    expectRefused([&] { return CBinaryWriteTools::WriteHeadFileInfo_time(d, writer, 0); }, {"head", "more part nodes than nodes"});
    expectEndRefused({"refused"});
}

TEST_F(WriterFaults, head_naming_something_that_is_no_mesh_is_refused)
{
    d.m_strMeshFile = target; // exists, and is a text
    const std::string output = errorOutput([&] { EXPECT_EQ(CBinaryWriteTools::WriteHeadFileInfo_time(d, writer, 0), -3); });
    expectOneLine(output, {target, "not an HDF5 file"});
    expectEndRefused({"refused"});
}

TEST_F(WriterFaults, types_before_the_head_are_refused)
{
    expectRefused([&] { return CBinaryWriteTools::WriteResultTypeInfo(d, writer); }, {"result types", "the head"});
    expectRefused([&] { return CBinaryWriteTools::WriteResultDataIDMap(d, writer); }, {"ID maps", "the result types"});
    expectEndRefused({"refused"});
}

TEST_F(WriterFaults, impossible_dimensions_are_refused)
{
    ASSERT_EQ(CBinaryWriteTools::WriteHeadFileInfo_time(d, writer, 0), 0);
    const auto typesWith = [&](int count, bool useIDMap)
    {
        CBinaryWriteTools::SetResultItemDimension(3, d, count, useIDMap);
        return CBinaryWriteTools::WriteResultTypeInfo(d, writer);
    };
    expectRefused([&] { return typesWith(7, true); }, {"result type 3", "7", "6 nodes"});
    expectRefused([&] { return typesWith(-1, true); }, {"result type 3", "-1"});
    expectRefused([&] { return typesWith(5, false); }, {"result type 3", "5", "neither mesh"});
    expectRefused([&] { return typesWith(2147483647, false); }, {"result type 3", "2147483647"});
    expectEndRefused({"refused"});
}

TEST_F(WriterFaults, impossible_id_maps_are_refused)
{
    ASSERT_EQ(CBinaryWriteTools::WriteHeadFileInfo_time(d, writer, 0), 0);
    ASSERT_EQ(CBinaryWriteTools::WriteResultTypeInfo(d, writer), 0);
    const auto mapWith = [&](std::vector<int> id)
    {
        CBinaryWriteTools::SetResultItemMappingIDArray(3, d, static_cast<int>(id.size()) - 1, id.data());
        return CBinaryWriteTools::WriteResultDataIDMap(d, writer);
    };
    expectRefused([&] { return mapWith({0, 0, 1, 2}); }, {"result type 3", "entry 1", "is 0"});
    expectRefused([&] { return mapWith({0, 1, 2, 7}); }, {"result type 3", "entry 3", "is 7"});
    expectRefused([&] { return mapWith({0, 1, 3, 2}); }, {"result type 3", "entry 3", "is 2"});
    expectRefused([&] { return mapWith({0, 1, 1, 2}); }, {"result type 3", "entry 2", "is 1"});
    expectRefused([&] { return mapWith({0, 1, 2}); }, {"result type 3", "3 entries"});
    CBinaryWriteTools::SetResultItemDimension(3, d, 2, true);
    expectRefused([&] { return mapWith({0, 1, 2}); }, {"result type 3", "contradicts"});
    expectEndRefused({"refused"});
}

TEST_F(WriterFaults, writer_that_is_begun_again_drops_what_it_had)
{
    ASSERT_EQ(describe(writer, d), 0);
    ASSERT_EQ(writer.WriteResultItem(6, values[6].data()), 0);
    ASSERT_EQ(writer.BeginWriting(target.c_str(), nullptr, false), 0);
    errorOutput([&] { EXPECT_EQ(writer.WriteResultItem(6, values[6].data()), -3); });
    expectEndRefused({"head"});
}

TEST(ResultWriter, dropped_writer_leaves_the_target_alone)
{
    const ScratchFolder folder;
    ASSERT_EQ(writeSampleResult(folder.file("a.q7f")), 0);
    const std::string before = readBytes(folder.file("a.q7f"));
    {
        CTAV3DResultWriter_Manipulator writer;
        CBinaryInform d = sampleDescription();
        Values values = sampleValues();
        ASSERT_EQ(writer.BeginWriting(folder.file("a.q7f").c_str(), nullptr, false), 0);
        ASSERT_EQ(describe(writer, d), 0);
        for (auto& [item, value] : values)
            ASSERT_EQ(writer.WriteResultItem(item, value.data()), 0);
        EXPECT_TRUE(readBytes(folder.file("a.q7f")) == before);
    }
    EXPECT_TRUE(readBytes(folder.file("a.q7f")) == before);
    EXPECT_EQ(folder.entries(), 1);
}

TEST(ResultWriter, completed_file_is_counted_once)
{
    const ScratchFolder folder;
    const long long before = tav3d::opensuite::completedResultFiles();
    ASSERT_EQ(writeSampleResult(folder.file("a.q7f")), 0); // its destructor ends a second time
    EXPECT_EQ(tav3d::opensuite::completedResultFiles(), before + 1);
}

TEST(ResultWriter, target_that_cannot_be_written_is_told_at_once)
{
    const ScratchFolder folder;
    CTAV3DResultWriter_Manipulator writer;
    const auto begin = [&](const std::string& file)
    { return errorOutput([&] { EXPECT_EQ(writer.BeginWriting(file.c_str(), nullptr, true), -2); }); };
    expectOneLine(begin(folder.file("none/a.q7f")), {folder.file("none/a.q7f")});
    expectOneLine(begin(folder.path().string()), {folder.path().string()});
    EXPECT_EQ(folder.entries(), 0);
    expectOneLine(errorOutput([&] { EXPECT_EQ(writer.BeginWriting(nullptr, nullptr, true), -1); }), {"no file name"});
    expectOneLine(errorOutput([&] { EXPECT_EQ(writer.BeginWriting("", nullptr, true), -1); }), {"no file name"});
}

TEST(ResultWriter, closed_writer_refuses_every_call)
{
    CTAV3DResultWriter_Manipulator writer;
    CBinaryInform d = sampleDescription();
    float value[7] = {};
    expectOneLine(errorOutput([&] { EXPECT_EQ(writer.WriteResultItem(6, value), -1); }), {"WriteResultItem", "no file is being written"});
    expectOneLine(errorOutput([&] { writer.SetMaxMinInfo(value, value); }), {"SetMaxMinInfo"});
    expectOneLine(errorOutput([&] { EXPECT_EQ(CBinaryWriteTools::WriteHeadFileInfo_time(d, writer, 0), -1); }), {"WriteHeadFileInfo_time"});
    EXPECT_EQ(writer.EndWriting(), 0) << "nothing was begun, nothing is missing";
}

TEST(ResultWriter, closed_reader_gives_no_record)
{
    CTAV3DResultReader_Manipulator reader;
    CBinaryInform d;
    expectOneLine(errorOutput([&] { EXPECT_LT(CBinaryWriteTools::GetBinaryInform(d, reader, 0), 0); }), {"no file is open"});
    int n = 5;
    expectOneLine(errorOutput([&] { EXPECT_EQ(CBinaryWriteTools::FullResultFromMappingResult_Create(1, 1, d, reader, n), nullptr); }),
                  {"no file is open"});
    EXPECT_EQ(n, 0);
}

TEST(ResultWriter, long_and_equal_names_give_distinct_arrays)
{
    const ScratchFolder folder;
    CBinaryInform d;
    d.m_nVoxelNode = 2;
    const std::string name =
        "Schergeschwindigkeit über/unter der erstarrten Randschicht"; // beyond 32 characters, with a slash and an umlaut
    for (const int item : {1, 2, -2147483647 - 1})
        d.m_ResultItem.push_back({item, 1, 0, 0, name, "1/s"});
    d.m_ResultType = {{1, {2, false, {}}}};
    ASSERT_EQ(writeResult(folder.file("a.q7f"), d, {{1, {0, 1, 2}}, {2, {0, 3, 4}}, {-2147483647 - 1, {0, 5, 6}}}), 0);
    CTAV3DResultReader_Manipulator reader;
    ASSERT_EQ(reader.BeginReading(folder.file("a.q7f").c_str(), nullptr), 0);
    CBinaryInform read;
    CBinaryWriteTools::GetBinaryInform(read, reader, 0);
    EXPECT_EQ(read.m_ResultItem[2].m_strName, name);
    EXPECT_EQ(fullResult(2, 1, read, reader), (std::vector<float>{3, 4}));
}

#ifdef _WIN32

TEST(ResultWriter, full_disk_leaves_the_target_and_nothing_else)
{
    GTEST_SKIP() << "Windows has no limit on file sizes that a process could set for itself";
}

#else

TEST(ResultWriter, full_disk_leaves_the_target_and_nothing_else)
{
    const ScratchFolder folder;
    const std::string file = folder.file("a.q7f");
    ASSERT_EQ(writeSampleResult(file), 0);
    const std::string before = readBytes(file);
    const auto writeWithLittleRoom = [&](std::size_t room)
    {
        std::signal(SIGXFSZ, SIG_IGN);
        const rlimit limit{room, room};
        setrlimit(RLIMIT_FSIZE, &limit);
        CTAV3DResultWriter_Manipulator writer;
        CBinaryInform d = sampleDescription();
        Values values = sampleValues();
        if (writer.BeginWriting(file.c_str(), nullptr, false) == 0)
        {
            describe(writer, d);
            for (auto& [item, value] : values)
                writer.WriteResultItem(item, value.data());
            std::exit(writer.EndWriting() < 0 ? 0 : 1); // like a host that looks at nothing else
        }
        std::exit(0);
    };
    for (std::size_t room = 0; room < before.size(); room += before.size() / 13)
    {
        EXPECT_EXIT(writeWithLittleRoom(room), testing::ExitedWithCode(0), "")
            << "with room for " << room << " of " << before.size() << " bytes";
        EXPECT_TRUE(readBytes(file) == before);
        ASSERT_EQ(folder.entries(), 1);
    }
}

#endif

TEST(IDMaps, the_first_misfit_of_random_maps_is_the_one_that_a_test_per_entry_finds)
{
    std::mt19937 random(11);
    for (int round = 0; round < 100000; ++round)
    {
        std::vector<std::int32_t> id(random() % 14, 0); // also without entry 0
        for (std::size_t k = 1; k < id.size(); ++k)
            id[k] =
                id[k - 1] + (random() % 12 == 0 ? -static_cast<std::int32_t>(random() % 3) : static_cast<std::int32_t>(1 + random() % 2));
        if (!id.empty())
            id[0] = static_cast<std::int32_t>(random() % 2) * 9; // not looked at
        const auto nodes = static_cast<std::int32_t>(random() % 24);
        std::size_t expected = 0;
        for (std::size_t k = 1; k < id.size() && expected == 0; ++k)
            if (id[k] < 1 || id[k] > nodes || (k > 1 && id[k] <= id[k - 1]))
                expected = k;
        ASSERT_EQ(tav3d::opensuite::result_layout::firstMisfit(id, nodes), expected);
    }
}

} // namespace result_writer_test
