#include "result_samples.h"
#include "support/scratch_folder.h"

#include <bit>
#include <cmath>
#include <limits>

namespace result_file_test
{

using namespace tav3d::test;

namespace
{

void expectSameDescription(const CBinaryInform& a, const CBinaryInform& b)
{
    EXPECT_EQ(a.m_strTitle, b.m_strTitle);
    EXPECT_EQ(a.m_bOnCutCellMesh, b.m_bOnCutCellMesh);
    EXPECT_EQ(a.m_nVoxelNode, b.m_nVoxelNode);
    EXPECT_EQ(a.m_nCutCellNode, b.m_nCutCellNode);
    EXPECT_EQ(a.m_nMaxCavityNode, b.m_nMaxCavityNode);
    EXPECT_EQ(a.m_dFillingTime, b.m_dFillingTime);
    EXPECT_EQ(a.m_CoolInfo, b.m_CoolInfo);
    EXPECT_EQ(a.m_OutputTime, b.m_OutputTime);
    EXPECT_EQ(a.m_iMultipleTimeStepMode, b.m_iMultipleTimeStepMode);
    EXPECT_EQ(a.m_bHasVentingResult, b.m_bHasVentingResult);
    ASSERT_EQ(a.m_ResultItem.size(), b.m_ResultItem.size());
    for (std::size_t k = 0; k < a.m_ResultItem.size(); ++k)
    {
        const CBinaryResultItem& x = a.m_ResultItem[k];
        const CBinaryResultItem& y = b.m_ResultItem[k];
        EXPECT_EQ(x.m_iResultItemID, y.m_iResultItemID);
        EXPECT_EQ(x.m_iResultType, y.m_iResultType);
        EXPECT_EQ(x.m_fMax, y.m_fMax);
        EXPECT_EQ(x.m_fMin, y.m_fMin);
        EXPECT_EQ(x.m_strName, y.m_strName);
        EXPECT_EQ(x.m_strUnit, y.m_strUnit);
    }
    ASSERT_EQ(a.m_ResultType.size(), b.m_ResultType.size());
    for (const auto& [number, type] : a.m_ResultType)
    {
        ASSERT_TRUE(b.m_ResultType.contains(number));
        EXPECT_EQ(type.m_nDimension, b.m_ResultType.at(number).m_nDimension);
        EXPECT_EQ(type.m_bUseIDMap, b.m_ResultType.at(number).m_bUseIDMap);
    }
}

struct OpenSample
{
    CTAV3DResultReader_Manipulator reader;
    CBinaryInform inform;

    explicit OpenSample(const std::string& file)
    {
        EXPECT_EQ(reader.BeginReading(file.c_str(), nullptr), 0);
        EXPECT_EQ(CBinaryWriteTools::GetBinaryInform(inform, reader, 0), 0);
    }
};

} // namespace

TEST(ResultFile, description_comes_back_as_it_was_written)
{
    const ScratchFolder folder;
    ASSERT_EQ(writeSampleResult(folder.file("a.q7f")), 0);
    OpenSample read(folder.file("a.q7f"));
    expectSameDescription(sampleDescription(), read.inform);
    EXPECT_EQ(read.reader.GetMaxCavityNode(), 3);
    EXPECT_TRUE(read.reader.GetHasVentingResult());
    EXPECT_EQ(folder.entries(), 1) << "no temporary file is left";
}

TEST(ResultFile, values_come_back_bit_for_bit)
{
    const ScratchFolder folder;
    Values values = sampleValues();
    values[6][3] = std::numeric_limits<float>::quiet_NaN();
    values[6][4] = std::numeric_limits<float>::infinity();
    ASSERT_EQ(writeResult(folder.file("a.q7f"), sampleDescription(), values), 0);
    OpenSample read(folder.file("a.q7f"));
    for (const CBinaryResultItem& item : read.inform.m_ResultItem)
    {
        const std::vector<float>& expected = values[item.m_iResultItemID];
        const int d = CBinaryWriteTools::GetResultItemDimension(item.m_iResultType, read.reader);
        ASSERT_EQ(d, static_cast<int>(expected.size()) - 1);
        std::vector<float> buffer(expected.size(), 99.0f);
        EXPECT_EQ(read.reader.GetResultItem(item.m_iResultItemID, buffer.data()), 0);
        for (std::size_t k = 0; k < buffer.size(); ++k) // entry 0 stays as it was
            EXPECT_EQ(std::bit_cast<std::uint32_t>(buffer[k]), std::bit_cast<std::uint32_t>(expected[k]))
                << item.m_iResultItemID << " " << k;
    }
}

TEST(ResultFile, all_extensions_are_the_same_container)
{
    const ScratchFolder folder;
    ASSERT_EQ(writeSampleResult(folder.file("plain")), 0);
    const std::string bytes = readBytes(folder.file("plain"));
    for (const char* extension : {".q7f", ".q7p", ".q7c", ".q7hc", ".rsf", ".rsc"})
    {
        const std::string file = folder.file(std::string("a") + extension);
        ASSERT_EQ(writeSampleResult(file), 0);
        EXPECT_TRUE(readBytes(file) == bytes) << extension;
        OpenSample read(file);
        expectSameDescription(sampleDescription(), read.inform);
    }
}

TEST(ResultFile, file_without_items_is_a_result_file)
{
    const ScratchFolder folder;
    CBinaryInform d;
    d.m_nVoxelNode = 2;
    ASSERT_EQ(writeResult(folder.file("a.q7f"), d, {}), 0);
    OpenSample read(folder.file("a.q7f"));
    EXPECT_TRUE(read.inform.m_ResultItem.empty());
    EXPECT_EQ(read.inform.m_nVoxelNode, 2);
    EXPECT_EQ(read.reader.GetMaxCavityNode(), 0);
}

TEST(ResultFile, values_behind_an_id_map_come_back_at_their_nodes_and_zero_elsewhere)
{
    const ScratchFolder folder;
    ASSERT_EQ(writeSampleResult(folder.file("a.q7f")), 0);
    OpenSample read(folder.file("a.q7f"));
    EXPECT_TRUE(read.inform.IfUseResultDataIDMap(3));
    EXPECT_FALSE(read.inform.IfUseResultDataIDMap(1));
    EXPECT_FALSE(read.inform.IfUseResultDataIDMap(77));
    const int* ids = CBinaryWriteTools::GetResultItemMappingIDArray(3, read.inform);
    ASSERT_NE(ids, nullptr);
    EXPECT_EQ(std::vector<int>(ids, ids + 4), (std::vector<int>{0, 2, 3, 6}));
    EXPECT_EQ(CBinaryWriteTools::GetResultItemMappingIDArray(1, read.inform), nullptr);
    EXPECT_EQ(fullResult(21, 3, read.inform, read.reader), (std::vector<float>{0, 20, 30, 0, 0, 60}));
    EXPECT_EQ(fullResult(6, 1, read.inform, read.reader), (std::vector<float>{1, 2, 3, 4, 5, 6}));
}

TEST(ResultFile, array_that_serves_item_after_item_keeps_nothing_of_the_one_before)
{
    const ScratchFolder folder;
    ASSERT_EQ(writeSampleResult(folder.file("a.q7f")), 0);
    OpenSample read(folder.file("a.q7f"));
    int n = 0;
    for (int round = 0; round < 3; ++round)
    {
        float* whole = CBinaryWriteTools::FullResultFromMappingResult_Create(6, 1, read.inform, read.reader, n);
        ASSERT_EQ(n, 6);
        EXPECT_EQ(std::vector<float>(whole, whole + 7), (std::vector<float>{0, 1, 2, 3, 4, 5, 6}));
        std::fill_n(whole, 7, 77.0f); // as a caller may
        const float* listed = CBinaryWriteTools::FullResultFromMappingResult_Create(21, 3, read.inform, read.reader, n);
        ASSERT_EQ(n, 6);
        EXPECT_EQ(std::vector<float>(listed, listed + 7), (std::vector<float>{0, 0, 20, 30, 0, 0, 60}));
        const float* nowhere = CBinaryWriteTools::FullResultFromMappingResult_Create(40, 5, read.inform, read.reader, n);
        ASSERT_EQ(n, 6);
        EXPECT_EQ(std::vector<float>(nowhere, nowhere + 7), std::vector<float>(7, 0.0f));
    }
}

TEST(ResultFile, values_behind_a_long_id_map_come_back_into_an_array_that_has_served_before)
{
    for (const int nodes : {4095, 4096, 4097, 8193, 20000})
        for (const int every : {1, 3, 5000})
        {
            const ScratchFolder folder;
            CBinaryInform d = sampleDescription();
            d.m_nVoxelNode = nodes;
            d.m_ResultItem = {{6, 1, 0, 0, "All", ""}, {21, 3, 0, 0, "Some", ""}};
            d.m_ResultType.clear();
            std::vector<int> list(1, 0);
            std::vector<float> expected(1, 0.0f);
            Values values{{6, std::vector<float>(static_cast<std::size_t>(nodes) + 1, 77.0f)}, {21, {99}}};
            for (int node = 1; node <= nodes; ++node)
            {
                const bool isListed = node % every == 0 || node == nodes;
                expected.push_back(isListed ? static_cast<float>(node) : 0.0f);
                if (!isListed)
                    continue;
                list.push_back(node);
                values[21].push_back(static_cast<float>(node));
            }
            const int listed = static_cast<int>(list.size()) - 1;
            CBinaryWriteTools::SetResultItemDimension(1, d, nodes, false);
            CBinaryWriteTools::SetResultItemDimension(3, d, listed, true);
            CBinaryWriteTools::SetResultItemMappingIDArray(3, d, listed, list.data());
            ASSERT_EQ(writeResult(folder.file("a.q7f"), d, values), 0);
            OpenSample read(folder.file("a.q7f"));
            expected.erase(expected.begin());
            EXPECT_EQ(fullResult(21, 3, read.inform, read.reader), expected) << "in a new array";
            EXPECT_EQ(fullResult(6, 1, read.inform, read.reader), std::vector<float>(static_cast<std::size_t>(nodes), 77.0f));
            EXPECT_EQ(fullResult(21, 3, read.inform, read.reader), expected);
        }
}

TEST(ResultFile, map_without_nodes_is_a_map_in_use)
{
    const ScratchFolder folder;
    ASSERT_EQ(writeSampleResult(folder.file("a.q7c")), 0);
    OpenSample read(folder.file("a.q7c"));
    EXPECT_TRUE(read.inform.IfUseResultDataIDMap(5));
    EXPECT_EQ(CBinaryWriteTools::GetResultItemDimension(5, read.inform), 0);
    EXPECT_EQ(read.inform.m_ResultItem[3].m_fMax, 3.0f) << "recorded extremes stay";
    EXPECT_EQ(fullResult(40, 5, read.inform, read.reader), std::vector<float>(6, 0.0f));
    float untouched[1] = {99};
    EXPECT_EQ(read.reader.GetResultItem(40, untouched), 0);
    EXPECT_EQ(untouched[0], 99.0f);
}

TEST(ResultFile, map_without_nodes_takes_a_null_array)
{
    const ScratchFolder folder;
    CTAV3DResultWriter_Manipulator writer;
    CBinaryInform d = sampleDescription();
    d.m_ResultItem = {{40, 5, 3.0f, 2.0f, "Nothing", ""}};
    ASSERT_EQ(writer.BeginWriting(folder.file("a.q7c").c_str(), nullptr, false), 0);
    ASSERT_EQ(describe(writer, d), 0);
    EXPECT_EQ(writer.WriteResultItem(40, nullptr), 0);
    EXPECT_EQ(writer.EndWriting(), 0);
}

TEST(ResultFile, extremes_handed_over_last_are_the_recorded_ones)
{
    const ScratchFolder folder;
    CTAV3DResultWriter_Manipulator writer;
    CBinaryInform d = sampleDescription();
    Values values = sampleValues();
    float max[] = {10, 20, 30, 40};
    float min[] = {-1, -2, -3, -4};
    ASSERT_EQ(writer.BeginWriting(folder.file("a.q7f").c_str(), nullptr, false), 0);
    ASSERT_EQ(describe(writer, d), 0);
    for (const int item : {40, 6, 21, 1}) // in another order than the table's
        ASSERT_EQ(writer.WriteResultItem(item, values[item].data()), 0);
    writer.SetMaxMinInfo(max, min);
    ASSERT_EQ(writer.EndWriting(), 0);

    OpenSample read(folder.file("a.q7f"));
    for (std::size_t k = 0; k < 4; ++k)
    {
        EXPECT_EQ(read.inform.m_ResultItem[k].m_iResultItemID, sampleDescription().m_ResultItem[k].m_iResultItemID);
        EXPECT_EQ(read.inform.m_ResultItem[k].m_fMax, max[k]);
        EXPECT_EQ(read.inform.m_ResultItem[k].m_fMin, min[k]);
    }
}

TEST(ResultFile, mapping_to_the_cut_cell_mesh_keeps_three_kinds_of_lengths)
{
    // As the mapping of results does it: the record of the source, its ID map replaced; one item in the new layout, one behind the new map,
    // and one that is handed on as it came.
    const ScratchFolder folder;
    ASSERT_EQ(writeSampleResult(folder.file("voxel.q7c")), 0);
    {
        CTAV3DResultWriter_Manipulator writer;
        ASSERT_EQ(writer.BeginWriting(folder.file("cut.q7c").c_str(), nullptr, true), 0);
        OpenSample source(folder.file("voxel.q7c"));
        CBinaryInform b;
        CBinaryWriteTools::GetBinaryInform(b, source.reader, 0);
        int ids[] = {0, 1, 4};
        CBinaryWriteTools::SetResultItemDimension(3, b, 2, true);
        CBinaryWriteTools::SetResultItemMappingIDArray(3, b, 2, ids);
        ASSERT_EQ(describe(writer, b), 0);
        float onCutCell[] = {0, 11, 12, 13, 14};
        ASSERT_EQ(writer.WriteResultItem(6, onCutCell), 0);
        int n = 0;
        float* full = CBinaryWriteTools::FullResultFromMappingResult_Create(1, 1, source.inform, source.reader, n);
        ASSERT_EQ(n, 6);
        ASSERT_EQ(writer.WriteResultItem(1, full), 0);
        float compact[] = {0, 101, 104};
        ASSERT_EQ(writer.WriteResultItem(21, compact), 0);
        ASSERT_EQ(writer.WriteResultItem(40, compact), 0);
        source.reader.EndReading(); // values were stored at once
        ASSERT_EQ(writer.EndWriting(), 0);
    }

    OpenSample read(folder.file("cut.q7c"));
    EXPECT_TRUE(read.inform.m_bOnCutCellMesh);
    EXPECT_EQ(read.reader.GetMaxCavityNode(), 0) << "the source counted part nodes of the other mesh";
    EXPECT_EQ(CBinaryWriteTools::GetResultItemDimension(1, read.reader), 4);
    EXPECT_EQ(fullResult(6, 1, read.inform, read.reader), (std::vector<float>{11, 12, 13, 14}));
    EXPECT_EQ(fullResult(21, 3, read.inform, read.reader), (std::vector<float>{101, 0, 0, 104}));
    EXPECT_EQ(fullResult(1, 1, read.inform, read.reader), (std::vector<float>{0.5f, 0, -0.0f, 1e-30f, 3e38f, -7}));

    std::vector<float> buffer(5, 99.0f);
    EXPECT_EQ(read.reader.GetResultItem(6, buffer.data()), 0);
    EXPECT_EQ(buffer, (std::vector<float>{99, 11, 12, 13, 14}));
    EXPECT_EQ(read.reader.GetResultItem(1, buffer.data()), 1) << "cut to what the buffer holds, and said so";
    EXPECT_EQ(buffer, (std::vector<float>{99, 0.5f, 0, -0.0f, 1e-30f}));
}

TEST(ResultFile, array_of_the_source_stays_whole_beside_an_id_map)
{
    const ScratchFolder folder;
    ASSERT_EQ(writeSampleResult(folder.file("voxel.q7c")), 0);
    CTAV3DResultWriter_Manipulator writer;
    ASSERT_EQ(writer.BeginWriting(folder.file("cut.q7c").c_str(), nullptr, true), 0);
    {
        OpenSample source(folder.file("voxel.q7c"));
        CBinaryInform b = source.inform;
        b.m_ResultItem = {b.m_ResultItem[2]};
        CBinaryWriteTools::SetResultItemDimension(3, b, 0, true);
        CBinaryWriteTools::SetResultItemMappingIDArray(3, b, 0, nullptr);
        ASSERT_EQ(describe(writer, b), 0);
        int n = 0;
        ASSERT_EQ(writer.WriteResultItem(21, CBinaryWriteTools::FullResultFromMappingResult_Create(21, 3, source.inform, source.reader, n)),
                  0);
    }
    ASSERT_EQ(writer.EndWriting(), 0);
    OpenSample read(folder.file("cut.q7c"));
    EXPECT_EQ(fullResult(21, 3, read.inform, read.reader), (std::vector<float>{0, 20, 30, 0, 0, 60}));
    float guard[2] = {99, 99};
    EXPECT_EQ(read.reader.GetResultItem(21, guard), 1);
    EXPECT_EQ(guard[1], 99.0f) << "the type has room for no value";
}

TEST(ResultFile, shorter_item_is_filled_up_with_zeros)
{
    const ScratchFolder folder;
    CBinaryInform d = sampleDescription();
    std::swap(d.m_nVoxelNode, d.m_nCutCellNode); // a cut-cell mesh larger than the voxel mesh
    d.m_ResultItem = {{1, 1, 0, 0, "Time", "s"}};
    d.m_ResultType = {{1, {4, false, {}}}};
    ASSERT_EQ(writeResult(folder.file("voxel.q7c"), d, {{1, {0, 1, 2, 3, 4}}}), 0);
    CTAV3DResultWriter_Manipulator writer;
    ASSERT_EQ(writer.BeginWriting(folder.file("cut.q7c").c_str(), nullptr, true), 0);
    OpenSample source(folder.file("voxel.q7c"));
    ASSERT_EQ(describe(writer, source.inform), 0);
    int n = 0;
    ASSERT_EQ(writer.WriteResultItem(1, CBinaryWriteTools::FullResultFromMappingResult_Create(1, 1, source.inform, source.reader, n)), 0);
    ASSERT_EQ(writer.EndWriting(), 0);
    OpenSample read(folder.file("cut.q7c"));
    std::vector<float> buffer(7, 99.0f);
    EXPECT_EQ(read.reader.GetResultItem(1, buffer.data()), 1);
    EXPECT_EQ(buffer, (std::vector<float>{99, 1, 2, 3, 4, 0, 0}));
}

TEST(ResultFile, array_of_another_reader_is_an_ordinary_array)
{
    const ScratchFolder folder;
    ASSERT_EQ(writeSampleResult(folder.file("a.q7f")), 0);
    OpenSample other(folder.file("a.q7f"));
    OpenSample source(folder.file("a.q7f"));
    CTAV3DResultWriter_Manipulator writer;
    ASSERT_EQ(writer.BeginWriting(folder.file("cut.q7f").c_str(), nullptr, true), 0);
    CBinaryInform b = source.inform;
    b.m_ResultItem.resize(1);
    b.m_ResultType.erase(3);
    ASSERT_EQ(describe(writer, b), 0);
    int n = 0;
    ASSERT_EQ(writer.WriteResultItem(6, CBinaryWriteTools::FullResultFromMappingResult_Create(6, 1, other.inform, other.reader, n)), 0);
    ASSERT_EQ(writer.EndWriting(), 0);
    OpenSample read(folder.file("cut.q7f"));
    EXPECT_EQ(fullResult(6, 1, read.inform, read.reader).size(), 4u) << "the node count of the file's own mesh";
}

TEST(ResultFile, reader_may_change_its_full_array_and_closing_releases_it)
{
    const ScratchFolder folder;
    ASSERT_EQ(writeSampleResult(folder.file("a.q7f")), 0);
    OpenSample read(folder.file("a.q7f"));
    int n = 0;
    float* full = CBinaryWriteTools::FullResultFromMappingResult_Create(6, 1, read.inform, read.reader, n);
    full[6] = -1.0f;
    EXPECT_EQ(fullResult(6, 1, read.inform, read.reader).back(), 6.0f);
    EXPECT_EQ(read.reader.EndReading(), 0);
    EXPECT_EQ(read.reader.EndReading(), 0);
    EXPECT_EQ(read.inform.m_strTitle, "a little result") << "the record outlives the file";
    EXPECT_EQ(CBinaryWriteTools::GetResultItemDimension(1, read.reader), 0);
    EXPECT_EQ(read.reader.GetMaxCavityNode(), 0);
    EXPECT_FALSE(read.reader.GetHasVentingResult());
}

TEST(ResultFile, same_input_gives_the_same_bytes_twice)
{
    const ScratchFolder folder;
    ASSERT_EQ(writeSampleResult(folder.file("a.q7f")), 0);
    ASSERT_EQ(writeSampleResult(folder.file("b.q7f")), 0);
    const std::string a = readBytes(folder.file("a.q7f"));
    EXPECT_FALSE(a.empty());
    EXPECT_TRUE(a == readBytes(folder.file("b.q7f")));
}

TEST(ResultFile, reader_can_be_used_again_after_a_failure)
{
    const ScratchFolder folder;
    ASSERT_EQ(writeSampleResult(folder.file("a.q7f")), 0);
    CTAV3DResultReader_Manipulator reader;
    errorOutput([&] { EXPECT_EQ(reader.BeginReading(folder.file("none.q7f").c_str(), ""), -2); });
    EXPECT_EQ(reader.BeginReading(folder.file("a.q7f").c_str(), ""), 0);
    EXPECT_EQ(reader.GetMaxCavityNode(), 3);
}

} // namespace result_file_test
