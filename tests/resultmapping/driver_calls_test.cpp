// What a mapping run asks of the suite, in which order and with which arguments: stand-ins that keep a list of their calls take the place of the
// result libraries. A program of its own, linked without the real ones.

#include "Tav3dQ7XMapping_Voxel2CutCell.h"

#include "TAV3DCoolTools.h"
#include "TAV3DResultEngine.h"
#include "opensuite/mesh_file.h"
#include "support/mapping_models.h"
#include "support/mapping_reference.h"
#include "support/scratch_folder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <sstream>

namespace
{

using Calls = std::vector<std::string>;

/// The result file that the stand-ins deliver, and what became of it.
struct Suite
{
    Calls calls;
    int codeOfReader = 0;
    int codeOfWriter = 0;
    CBinaryInform description;
    std::vector<float> values; // of every item; they stay the suite's
    std::vector<const CBinaryInform*> records;
    std::vector<float> max, min;
};
Suite suite;

template <class... Args>
void called(const Args&... args)
{
    std::ostringstream line;
    line << std::boolalpha;
    const char* separator = "";
    ((line << separator << args, separator = " "), ...);
    suite.calls.push_back(line.str());
}

/// "A" for the record that was filled first, "B" for the second.
std::string nameOf(const CBinaryInform& record)
{
    const auto at = std::find(suite.records.begin(), suite.records.end(), &record);
    return at == suite.records.end() ? "?" : std::string(1, static_cast<char>('A' + (at - suite.records.begin())));
}

std::string textOf(const char* text)
{
    return text != nullptr ? text : "null";
}

} // namespace

CTAV3DResultReader_Manipulator::CTAV3DResultReader_Manipulator()
    : m_pImpl(nullptr)
{
    called("reader");
}
CTAV3DResultReader_Manipulator::~CTAV3DResultReader_Manipulator()
{
    called("~reader");
}
int CTAV3DResultReader_Manipulator::BeginReading(const char* file, const char* second)
{
    called("BeginReading", file, textOf(second));
    return suite.codeOfReader;
}
int CTAV3DResultReader_Manipulator::GetResultItem(int, float*)
{
    called("GetResultItem"); // the engine's; a mapping run has no use for it
    return -1;
}
long long CTAV3DResultReader_Manipulator::GetMaxCavityNode() const
{
    called("GetMaxCavityNode");
    return 1;
}
bool CTAV3DResultReader_Manipulator::GetHasVentingResult() const
{
    called("GetHasVentingResult");
    return true;
}
int CTAV3DResultReader_Manipulator::EndReading()
{
    called("EndReading");
    return 0;
}

CTAV3DResultWriter_Manipulator::CTAV3DResultWriter_Manipulator()
    : m_pImpl(nullptr)
{
    called("writer");
}
CTAV3DResultWriter_Manipulator::~CTAV3DResultWriter_Manipulator()
{
    called("~writer");
}
int CTAV3DResultWriter_Manipulator::BeginWriting(const char* file, const char* second, bool onCutCellMesh)
{
    called("BeginWriting", file, textOf(second), onCutCellMesh);
    return suite.codeOfWriter;
}
void CTAV3DResultWriter_Manipulator::SetMultipleTimeStepMode(int mode)
{
    called("SetMultipleTimeStepMode", mode);
}
void CTAV3DResultWriter_Manipulator::SetHasVentingResult(bool hasVentingResult)
{
    called("SetHasVentingResult", hasVentingResult);
}
int CTAV3DResultWriter_Manipulator::WriteResultItem(int item, float* value)
{
    called("WriteResultItem", item, value == suite.values.data() ? "as read" : "mapped", value[0]);
    return -3; // nobody asks
}
void CTAV3DResultWriter_Manipulator::SetMaxMinInfo(float* max, float* min)
{
    called("SetMaxMinInfo");
    suite.max.assign(max, max + suite.description.m_ResultItem.size());
    suite.min.assign(min, min + suite.description.m_ResultItem.size());
}
int CTAV3DResultWriter_Manipulator::EndWriting()
{
    called("EndWriting");
    return -2; // nobody asks
}

int CBinaryWriteTools::GetBinaryInform(CBinaryInform& inform, CTAV3DResultReader_Manipulator&, int option)
{
    inform = suite.description;
    suite.records.push_back(&inform);
    called("GetBinaryInform", nameOf(inform), option);
    return 0;
}
int CBinaryWriteTools::GetResultItemDimension(int resultType, CTAV3DResultReader_Manipulator&)
{
    called("GetResultItemDimension", resultType, "of the reader");
    return 0;
}
int CBinaryWriteTools::GetResultItemDimension(int resultType, const CBinaryInform& inform)
{
    called("GetResultItemDimension", resultType, nameOf(inform));
    return inform.m_ResultType.at(resultType).m_nDimension;
}
void CBinaryWriteTools::SetResultItemDimension(int resultType, CBinaryInform& inform, int count, bool useIDMap)
{
    called("SetResultItemDimension", resultType, nameOf(inform), count, useIDMap);
    inform.m_ResultType[resultType].m_nDimension = count;
    inform.m_ResultType[resultType].m_bUseIDMap = useIDMap;
}
void CBinaryWriteTools::SetResultItemMappingIDArray(int resultType, CBinaryInform& inform, int count, int* id)
{
    called("SetResultItemMappingIDArray", resultType, nameOf(inform), count);
    inform.m_ResultType[resultType].m_MappingID.assign(id, id + count + 1);
}
int* CBinaryWriteTools::GetResultItemMappingIDArray(int resultType, CBinaryInform& inform)
{
    called("GetResultItemMappingIDArray", resultType, nameOf(inform));
    return inform.m_ResultType.at(resultType).m_MappingID.data();
}
float* CBinaryWriteTools::FullResultFromMappingResult_Create(int item, int resultType, CBinaryInform& inform,
                                                             CTAV3DResultReader_Manipulator&, int& nNode)
{
    called("FullResultFromMappingResult_Create", item, resultType, nameOf(inform));
    nNode = static_cast<int>(suite.values.size()) - 1;
    return suite.values.data();
}
int CBinaryWriteTools::WriteHeadFileInfo_time(CBinaryInform& inform, CTAV3DResultWriter_Manipulator&, double fillingTime)
{
    called("WriteHeadFileInfo_time", nameOf(inform), fillingTime);
    return 0;
}
int CBinaryWriteTools::WriteCoolInfo(CBinaryInform& inform, CTAV3DResultWriter_Manipulator&)
{
    called("WriteCoolInfo", nameOf(inform));
    return 0;
}
int CBinaryWriteTools::WriteMultipleTimeStepOutputInfo(CBinaryInform& inform, CTAV3DResultWriter_Manipulator&)
{
    called("WriteMultipleTimeStepOutputInfo", nameOf(inform));
    return 0;
}
int CBinaryWriteTools::WriteResultItemInfo(CBinaryInform& inform, CTAV3DResultWriter_Manipulator&)
{
    called("WriteResultItemInfo", nameOf(inform));
    return 0;
}
int CBinaryWriteTools::WriteResultTypeInfo(CBinaryInform& inform, CTAV3DResultWriter_Manipulator&)
{
    called("WriteResultTypeInfo", nameOf(inform));
    return 0;
}
int CBinaryWriteTools::WriteResultDataIDMap(CBinaryInform& inform, CTAV3DResultWriter_Manipulator&)
{
    called("WriteResultDataIDMap", nameOf(inform));
    return 0;
}

namespace tav3d::test
{
namespace
{

constexpr std::size_t voxelNodes = 252;

/// A configured driver, and a result with an item of each kind: known, behind an ID map of type 3 (twice) and 5, and unknown to cooling files.
class DriverCalls : public testing::Test
{
protected:
    void SetUp() override
    {
        suite = {};
        suite.values.assign(voxelNodes + 1, 20.0f);
        suite.values[0] = 0.0f;
        suite.description.m_ResultItem = {{1, 1, 91.0f, -91.0f, "", ""},
                                          {4, 3, 94.0f, -94.0f, "", ""},
                                          {3, 3, 93.0f, -93.0f, "", ""},
                                          {16, 5, 96.0f, -96.0f, "", ""},
                                          {99, 1, 99.0f, -99.0f, "", ""}};
        opensuite::writeMeshFile(folder_.file("model.krn"), model_);
        testing::internal::CaptureStdout();
        driver.SetParameters(folder_.file("model.krn").c_str(), 0, 0);
        testing::internal::GetCapturedStdout();
    }

    int map(std::string source)
    {
        std::string target = "target.q7c";
        return driver.Voxel2CutCellResult(source, target, 0);
    }
    [[nodiscard]] std::string moldBaseNodes() const { return std::to_string(ones(cutCellReference(model_, false).moldBase)); }
    [[nodiscard]] std::string partSurfaceNodes() const { return std::to_string(ones(cutCellReference(model_, false).part)); }

    CTav3dQ7XMapping_Voxel2CutCell driver;

private:
    static std::ptrdiff_t ones(const std::vector<int>& mark) { return std::count(mark.begin(), mark.end(), 1); }

    ScratchFolder folder_;
    opensuite::MeshModel model_ = plateWithInsertModel();
};

TEST_F(DriverCalls, of_a_run_come_in_this_order)
{
    driver.SetMultipleTimeStepMode(7);
    driver.Setfillingtime(2.5);
    EXPECT_EQ(map("source.q7c"), 1);
    const std::string m = moldBaseNodes(), s = partSurfaceNodes();
    const Calls expected{"writer",
                         "BeginWriting target.q7c null true",
                         "reader",
                         "BeginReading source.q7c null",
                         "GetMaxCavityNode",
                         "GetBinaryInform A 0",
                         "GetBinaryInform B 0",
                         "WriteHeadFileInfo_time B 2.5",
                         "WriteCoolInfo B",
                         "WriteMultipleTimeStepOutputInfo B",
                         "WriteResultItemInfo B",
                         "SetMultipleTimeStepMode 7",
                         "SetResultItemDimension 3 B " + m + " true",
                         "SetResultItemMappingIDArray 3 B " + m,
                         "SetResultItemDimension 5 B " + s + " true",
                         "SetResultItemMappingIDArray 5 B " + s,
                         "WriteResultTypeInfo B",
                         "WriteResultDataIDMap B",
                         "GetHasVentingResult",
                         "SetHasVentingResult true",
                         "GetResultItemDimension 1 of the reader",
                         "FullResultFromMappingResult_Create 1 1 A",
                         "WriteResultItem 1 mapped 0",
                         "GetResultItemDimension 3 of the reader",
                         "FullResultFromMappingResult_Create 4 3 A",
                         "GetResultItemDimension 3 B",
                         "GetResultItemMappingIDArray 3 B",
                         "WriteResultItem 4 mapped 0",
                         "GetResultItemDimension 3 of the reader",
                         "FullResultFromMappingResult_Create 3 3 A",
                         "GetResultItemDimension 3 B",
                         "GetResultItemMappingIDArray 3 B",
                         "WriteResultItem 3 mapped 0",
                         "GetResultItemDimension 5 of the reader",
                         "FullResultFromMappingResult_Create 16 5 A",
                         "GetResultItemDimension 5 B",
                         "GetResultItemMappingIDArray 5 B",
                         "WriteResultItem 16 mapped 0",
                         "GetResultItemDimension 1 of the reader",
                         "FullResultFromMappingResult_Create 99 1 A",
                         "WriteResultItem 99 as read 0",
                         "SetMaxMinInfo",
                         "EndReading",
                         "EndWriting",
                         "~reader",
                         "~writer"};
    EXPECT_EQ(suite.calls, expected);
}

TEST_F(DriverCalls, hand_over_accumulated_extremes_of_plain_items_and_recorded_ones_of_all_others)
{
    EXPECT_EQ(map("source.q7c"), 1);
    EXPECT_EQ(suite.max, (std::vector<float>{20, 94, 93, 96, 99}));
    EXPECT_EQ(suite.min, (std::vector<float>{20, -94, -93, -96, -99}));
}

TEST_F(DriverCalls, rebuild_the_map_of_part_surface_nodes_for_cooling_results_alone)
{
    for (const auto& [source, cooling] : {std::pair("a.q7f", false), std::pair("a.q7p", false), std::pair("a.rsf", false),
                                          std::pair("a.txt", false), std::pair("a.q7hc", true), std::pair("a.rsc", true)})
    {
        suite.calls.clear();
        suite.records.clear();
        EXPECT_EQ(map(source), 1);
        const auto made = [](const std::string& call) { return std::count(suite.calls.begin(), suite.calls.end(), call); };
        EXPECT_EQ(made("SetResultItemMappingIDArray 3 B " + moldBaseNodes()), 1) << source;
        EXPECT_EQ(made("SetResultItemMappingIDArray 5 B " + partSurfaceNodes()), cooling ? 1 : 0) << source;
    }
}

TEST_F(DriverCalls, set_no_map_without_items_of_its_type)
{
    suite.description.m_ResultItem = {{1, 1, 0.0f, 0.0f, "", ""}};
    EXPECT_EQ(map("source.q7c"), 1);
    EXPECT_TRUE(
        std::none_of(suite.calls.begin(), suite.calls.end(), [](const std::string& call) { return call.starts_with("SetResultItem"); }));
}

TEST_F(DriverCalls, end_with_a_target_that_cannot_be_opened)
{
    suite.codeOfWriter = -5;
    testing::internal::CaptureStdout();
    EXPECT_EQ(map("source.q7c"), -1);
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              " FileName = target.q7c, Error = -5\n Cannot open result file for mapping result in Orvel project.\n");
    EXPECT_EQ(suite.calls, (Calls{"writer", "BeginWriting target.q7c null true", "~writer"}));
}

TEST_F(DriverCalls, end_with_a_source_that_cannot_be_opened_and_do_not_complete_the_target)
{
    suite.codeOfReader = -3;
    testing::internal::CaptureStdout();
    EXPECT_EQ(map("source.q7c"), -1);
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              " FileName = source.q7c, Error = -3\n Cannot open result file for mapping result in Orvel project.\n");
    EXPECT_EQ(suite.calls,
              (Calls{"writer", "BeginWriting target.q7c null true", "reader", "BeginReading source.q7c null", "~reader", "~writer"}));
}

} // namespace
} // namespace tav3d::test
