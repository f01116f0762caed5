#pragma once

// A small result on a model of 6 voxel and 4 cut-cell nodes, and short ways to write and read such files.

#include "TAV3DCoolTools.h"
#include "TAV3DResultEngine.h"

#include <gtest/gtest.h>

#include <map>
#include <string>
#include <vector>

namespace tav3d::test
{

/// Values per item, entry 0 unused, as a host holds them.
using Values = std::map<int, std::vector<float>>;

/// Items 6 and 1 at all nodes (type 1), 21 at nodes 2, 3 and 6 (type 3, an ID map), 40 behind a map without nodes (type 5).
inline CBinaryInform sampleDescription()
{
    CBinaryInform d;
    d.m_strTitle = "a little result";
    d.m_nVoxelNode = 6;
    d.m_nCutCellNode = 4;
    d.m_nMaxCavityNode = 3;
    d.m_dFillingTime = 1.25;
    d.m_CoolInfo = {{"coolant temperature", 40.0}, {"", -1.5}};
    d.m_OutputTime = {0.5, 1.0, 2.0};
    d.m_iMultipleTimeStepMode = 2;
    d.m_bHasVentingResult = true;
    d.m_ResultItem = {{6, 1, 9.0f, -9.0f, "Temperature", "degC"},
                      {1, 1, 8.0f, 0.5f, "Melt-front time", "s"},
                      {21, 3, 7.0f, 0.25f, "Heat flux", "W/m2"},
                      {40, 5, 3.0f, 2.0f, "", ""}};
    int ids[] = {0, 2, 3, 6};
    CBinaryWriteTools::SetResultItemDimension(1, d, 6, false);
    CBinaryWriteTools::SetResultItemDimension(3, d, 3, true);
    CBinaryWriteTools::SetResultItemMappingIDArray(3, d, 3, ids);
    CBinaryWriteTools::SetResultItemDimension(5, d, 0, true);
    CBinaryWriteTools::SetResultItemMappingIDArray(5, d, 0, nullptr);
    return d;
}

inline Values sampleValues()
{
    return {{6, {99, 1, 2, 3, 4, 5, 6}}, {1, {99, 0.5f, 0, -0.0f, 1e-30f, 3e38f, -7}}, {21, {99, 20, 30, 60}}, {40, {99}}};
}

/// Hands the description over in the order in which the mapping of results does.
inline int describe(CTAV3DResultWriter_Manipulator& writer, CBinaryInform& d)
{
    int worst = 0;
    for (const int code :
         {CBinaryWriteTools::WriteHeadFileInfo_time(d, writer, d.m_dFillingTime), CBinaryWriteTools::WriteCoolInfo(d, writer),
          CBinaryWriteTools::WriteMultipleTimeStepOutputInfo(d, writer), CBinaryWriteTools::WriteResultItemInfo(d, writer),
          CBinaryWriteTools::WriteResultTypeInfo(d, writer), CBinaryWriteTools::WriteResultDataIDMap(d, writer)})
        worst = std::min(worst, code);
    writer.SetMultipleTimeStepMode(d.m_iMultipleTimeStepMode);
    writer.SetHasVentingResult(d.m_bHasVentingResult);
    return worst;
}

/// Writes a whole file; the worst code of all calls.
inline int writeResult(const std::string& file, CBinaryInform d, Values values, bool onCutCellMesh = false)
{
    CTAV3DResultWriter_Manipulator writer;
    int worst = writer.BeginWriting(file.c_str(), nullptr, onCutCellMesh);
    worst = std::min(worst, describe(writer, d));
    for (const CBinaryResultItem& item : d.m_ResultItem)
        worst = std::min(worst, writer.WriteResultItem(item.m_iResultItemID, values[item.m_iResultItemID].data()));
    return std::min(worst, writer.EndWriting());
}

inline int writeSampleResult(const std::string& file)
{
    return writeResult(file, sampleDescription(), sampleValues());
}

/// Entries 1..n of an array that belongs to a reader.
inline std::vector<float> fullResult(int item, int type, CBinaryInform& d, CTAV3DResultReader_Manipulator& reader)
{
    int n = -1;
    const float* full = CBinaryWriteTools::FullResultFromMappingResult_Create(item, type, d, reader, n);
    if (full == nullptr)
        return {};
    EXPECT_EQ(full[0], 0.0f);
    return {full + 1, full + 1 + n};
}

/// Runs `call` and returns what it wrote to standard error.
template <class Call>
std::string errorOutput(Call&& call)
{
    testing::internal::CaptureStderr();
    call();
    return testing::internal::GetCapturedStderr();
}

/// Expects one line on standard error that holds every one of `parts`.
inline void expectOneLine(const std::string& output, std::initializer_list<std::string> parts)
{
    EXPECT_EQ(std::count(output.begin(), output.end(), '\n'), 1) << output;
    EXPECT_TRUE(output.ends_with('\n')) << output;
    for (const std::string& part : parts)
        EXPECT_NE(output.find(part), std::string::npos) << "'" << part << "' is not in: " << output;
}

} // namespace tav3d::test
