#include "result_shells.h"

using namespace tav3d::opensuite;

CTAV3DResultWriter_Manipulator::CTAV3DResultWriter_Manipulator()
    : m_pImpl(new Impl)
{
}

CTAV3DResultWriter_Manipulator::~CTAV3DResultWriter_Manipulator()
{
    delete m_pImpl;
}

int CTAV3DResultWriter_Manipulator::BeginWriting(const char* file, const char* /*second*/, bool onCutCellMesh)
{
    constexpr int noFileName = -1;
    constexpr int cannotWrite = -2;
    *m_pImpl = Impl();
    if (file == nullptr || *file == '\0')
    {
        reportLine("result writer: no file name");
        return noFileName;
    }
    try
    {
        m_pImpl->file = std::make_unique<ResultFileWriter>(file, onCutCellMesh);
        m_pImpl->name = file;
        return 0;
    }
    catch (const FileError& error)
    {
        reportLine(error.what());
    }
    catch (const std::exception& error)
    {
        reportLine(std::string(file) + ": " + error.what());
    }
    return cannotWrite;
}

void CTAV3DResultWriter_Manipulator::SetMultipleTimeStepMode(int mode)
{
    runOnWriter(m_pImpl->file.get(), "SetMultipleTimeStepMode", [&](ResultFileWriter& file) { file.setTimeStepMode(mode); });
}

void CTAV3DResultWriter_Manipulator::SetHasVentingResult(bool hasVentingResult)
{
    runOnWriter(m_pImpl->file.get(), "SetHasVentingResult", [&](ResultFileWriter& file) { file.setVenting(hasVentingResult); });
}

int CTAV3DResultWriter_Manipulator::WriteResultItem(int item, float* value)
{
    return runOnWriter(m_pImpl->file.get(), "WriteResultItem", [&](ResultFileWriter& file) { file.writeItem(item, value); });
}

void CTAV3DResultWriter_Manipulator::SetMaxMinInfo(float* max, float* min)
{
    runOnWriter(m_pImpl->file.get(), "SetMaxMinInfo", [&](ResultFileWriter& file) { file.setExtremes(max, min); });
}

int CTAV3DResultWriter_Manipulator::EndWriting()
{
    if (!m_pImpl->file)
        return m_pImpl->lastEnd;
    const auto finish = [&](ResultFileWriter& file)
    {
        if (m_pImpl->incomplete)
            throw FileError(FileFailure::BadInput, m_pImpl->name, "", "not completed, because a part of its description was refused");
        file.finish();
    };
    m_pImpl->lastEnd = runOnWriter(m_pImpl->file.get(), "EndWriting", finish);
    m_pImpl->file.reset(); // what was not completed goes away
    return m_pImpl->lastEnd;
}
