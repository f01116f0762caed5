#include "open_result.h"

#include "result_shells.h"

#include <utility>

namespace tav3d::opensuite
{

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

thread_local std::shared_ptr<OpenResultFile> offered;

} // namespace

OfferResult::OfferResult(std::shared_ptr<OpenResultFile> file)
{
    offered = std::move(file);
}

OfferResult::~OfferResult()
{
    offered.reset();
}

ResultOpening openResult(const char* file)
{
    if (file == nullptr || *file == '\0')
    {
        reportLine("result reader: no file name");
        return {nullptr, begin_code::noFileName};
    }
    if (offered && offered->isStill(file))
        return {std::exchange(offered, nullptr), 0};
    try
    {
        return {std::make_shared<OpenResultFile>(file), 0};
    }
    catch (const FileError& error)
    {
        reportLine(error.what());
        return {nullptr, beginCode(error.failure())};
    }
    catch (const std::exception& error)
    {
        reportLine(std::string(file) + ": " + error.what());
        return {nullptr, begin_code::badTable};
    }
}

} // namespace tav3d::opensuite
