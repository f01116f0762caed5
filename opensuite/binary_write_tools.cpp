#include "TAV3DCoolTools.h"

#include "result_shells.h"

#include <algorithm>

using namespace tav3d::opensuite;

int CBinaryWriteTools::GetBinaryInform(CBinaryInform& inform, CTAV3DResultReader_Manipulator& reader, int /*option*/)
{
    const auto& file = reader.m_pImpl->file;
    if (!file)
    {
        reportLine("result reader: GetBinaryInform: no file is open");
        return -1;
    }
    inform = file->description();
    inform.m_pSource = file;
    return 0;
}

int CBinaryWriteTools::GetResultItemDimension(int resultType, CTAV3DResultReader_Manipulator& reader)
{
    return reader.m_pImpl->file ? reader.m_pImpl->file->dimension(resultType) : 0;
}

int CBinaryWriteTools::GetResultItemDimension(int resultType, const CBinaryInform& inform)
{
    const auto type = inform.m_ResultType.find(resultType);
    return type == inform.m_ResultType.end() ? 0 : type->second.m_nDimension;
}

void CBinaryWriteTools::SetResultItemDimension(int resultType, CBinaryInform& inform, int count, bool useIDMap)
{
    CBinaryResultType& type = inform.m_ResultType[resultType];
    type.m_nDimension = count;
    type.m_bUseIDMap = useIDMap;
    type.m_MappingID.clear(); // a map of another length would not fit any more
}

void CBinaryWriteTools::SetResultItemMappingIDArray(int resultType, CBinaryInform& inform, int count, int* id)
{
    CBinaryResultType& type = inform.m_ResultType[resultType];
    const auto size = static_cast<std::size_t>(std::max(count, 0)) + 1;
    std::vector<int>& list = type.m_MappingID;
    list.clear();
    list.reserve(size);
    list.push_back(0);
    if (id != nullptr)
        list.insert(list.end(), id + 1, id + size);
    list.resize(size);
}

int* CBinaryWriteTools::GetResultItemMappingIDArray(int resultType, CBinaryInform& inform)
{
    const auto type = inform.m_ResultType.find(resultType);
    if (type == inform.m_ResultType.end() || !type->second.m_bUseIDMap)
        return nullptr;
    if (type->second.m_MappingID.empty())
        type->second.m_MappingID.assign(1, 0); // a map in use without nodes: entry 0 alone
    return type->second.m_MappingID.data();
}

float* CBinaryWriteTools::FullResultFromMappingResult_Create(int item, int resultType, CBinaryInform& /*inform*/,
                                                             CTAV3DResultReader_Manipulator& reader, int& nNode)
{
    nNode = 0;
    if (!reader.m_pImpl->file)
    {
        reportLine("result reader: item " + std::to_string(item) + ": no file is open");
        return nullptr;
    }
    try
    {
        return reader.m_pImpl->file->createFullResult(item, resultType, nNode);
    }
    catch (const FileError& error)
    {
        reportLine(error.what());
    }
    catch (const std::exception& error)
    {
        reportLine("result reader: item " + std::to_string(item) + ": " + error.what());
    }
    return nullptr;
}

namespace
{

/// Hands a part of the description over; one that is refused leaves the file incomplete.
template <class Shell, class Operation>
int describe(Shell& shell, const char* call, Operation&& operation)
{
    const int code = runOnWriter(shell.file.get(), call, operation);
    if (code < 0)
        shell.incomplete = true;
    return code;
}

} // namespace

int CBinaryWriteTools::WriteHeadFileInfo_time(CBinaryInform& inform, CTAV3DResultWriter_Manipulator& writer, double fillingTime)
{
    auto source = std::static_pointer_cast<const OpenResultFile>(inform.m_pSource);
    return describe(*writer.m_pImpl, "WriteHeadFileInfo_time", [&](ResultFileWriter& file) { file.setHead(inform, source, fillingTime); });
}

int CBinaryWriteTools::WriteCoolInfo(CBinaryInform& inform, CTAV3DResultWriter_Manipulator& writer)
{
    return describe(*writer.m_pImpl, "WriteCoolInfo", [&](ResultFileWriter& file) { file.setCooling(inform); });
}

int CBinaryWriteTools::WriteMultipleTimeStepOutputInfo(CBinaryInform& inform, CTAV3DResultWriter_Manipulator& writer)
{
    return describe(*writer.m_pImpl, "WriteMultipleTimeStepOutputInfo", [&](ResultFileWriter& file) { file.setOutputTimes(inform); });
}

int CBinaryWriteTools::WriteResultItemInfo(CBinaryInform& inform, CTAV3DResultWriter_Manipulator& writer)
{
    return describe(*writer.m_pImpl, "WriteResultItemInfo", [&](ResultFileWriter& file) { file.setItems(inform); });
}

int CBinaryWriteTools::WriteResultTypeInfo(CBinaryInform& inform, CTAV3DResultWriter_Manipulator& writer)
{
    return describe(*writer.m_pImpl, "WriteResultTypeInfo", [&](ResultFileWriter& file) { file.setTypes(inform); });
}

int CBinaryWriteTools::WriteResultDataIDMap(CBinaryInform& inform, CTAV3DResultWriter_Manipulator& writer)
{
    return describe(*writer.m_pImpl, "WriteResultDataIDMap", [&](ResultFileWriter& file) { file.setIDMaps(inform); });
}
