#include "result_shells.h"

using namespace tav3d::opensuite;

namespace
{

namespace begin_code
{
constexpr int noFileName = -1;
constexpr int cannotOpen = -2;
constexpr int badTable = -3;
constexpr int wrongKind = -4;
} // namespace begin_code

int beginCode(FileFailure failure)
{
    switch (failure)
    {
    case FileFailure::CannotOpen:
        return begin_code::cannotOpen;
    case FileFailure::WrongKind:
        return begin_code::wrongKind;
    default:
        return begin_code::badTable;
    }
}

} // namespace

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
    if (file == nullptr || *file == '\0')
    {
        reportLine("result reader: no file name");
        return begin_code::noFileName;
    }
    try
    {
        m_pImpl->file = std::make_shared<OpenResultFile>(file);
        return 0;
    }
    catch (const FileError& error)
    {
        reportLine(error.what());
        return beginCode(error.failure());
    }
    catch (const std::exception& error)
    {
        reportLine(std::string(file) + ": " + error.what());
        return begin_code::badTable;
    }
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
