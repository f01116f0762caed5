#include "open_result.h"
#include "result_shells.h"

#include <utility>

using namespace tav3d::opensuite;

CTAV3DResultReader_Manipulator::CTAV3DResultReader_Manipulator()
    : m_pImpl(new Impl)
{
}

CTAV3DResultReader_Manipulator::~CTAV3DResultReader_Manipulator()
{
    EndReading();
    delete m_pImpl;
}

int CTAV3DResultReader_Manipulator::BeginReading(const char* file, const char* /*second*/)
{
    EndReading();
    ResultOpening opening = openResult(file);
    m_pImpl->file = std::move(opening.file);
    return opening.code;
}

int CTAV3DResultReader_Manipulator::GetResultItem(int item, float* buffer)
{
    constexpr int otherLayout = 1;
    constexpr int noItem = -1;
    constexpr int notReadable = -2;
    if (!m_pImpl->file || !m_pImpl->file->hasItem(item))
    {
        reportLine("result reader: item " + std::to_string(item) + ": " +
                   (m_pImpl->file ? "the file has no such item" : "no file is open"));
        return noItem;
    }
    try
    {
        return m_pImpl->file->readItem(item, buffer) ? 0 : otherLayout;
    }
    catch (const std::exception& error)
    {
        reportLine(error.what());
        return notReadable;
    }
}

long long CTAV3DResultReader_Manipulator::GetMaxCavityNode() const
{
    return m_pImpl->file ? m_pImpl->file->description().m_nMaxCavityNode : 0;
}

bool CTAV3DResultReader_Manipulator::GetHasVentingResult() const
{
    return m_pImpl->file && m_pImpl->file->description().m_bHasVentingResult;
}

int CTAV3DResultReader_Manipulator::EndReading()
{
    if (m_pImpl->file)
        m_pImpl->file->close(); // records may hold it longer, but nothing behind it
    m_pImpl->file.reset();
    return 0;
}
