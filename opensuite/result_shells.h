#pragma once

// What the suite's reader and writer classes hold, and how failures become codes.

#include "TAV3DResultEngine.h"
#include "result_file_reader.h"
#include "result_file_writer.h"

#include <cstdio>
#include <exception>
#include <memory>
#include <string>

class CTAV3DResultReader_Manipulator::Impl
{
public:
    std::shared_ptr<tav3d::opensuite::OpenResultFile> file; // null while closed; shared with the records read from it
};

class CTAV3DResultWriter_Manipulator::Impl
{
public:
    std::unique_ptr<tav3d::opensuite::ResultFileWriter> file; // null while nothing is being written
    std::string name;
    bool incomplete = false; // a part of the description was refused, so the file must not be completed
    int lastEnd = 0;         // what EndWriting returned last
};

namespace tav3d::opensuite
{

/// Codes of the writer's operations.
namespace write_code
{
inline constexpr int done = 0;
inline constexpr int notOpen = -1;
inline constexpr int cannotWrite = -2;
inline constexpr int refused = -3;
} // namespace write_code

/// One line on standard error.
inline void reportLine(const std::string& text)
{
    std::fprintf(stderr, "%s\n", text.c_str());
}

/// Runs one operation of a writer; a failure becomes a line and a code.
template <class Operation>
int runOnWriter(ResultFileWriter* file, const char* call, Operation&& operation)
{
    if (file == nullptr)
    {
        reportLine(std::string("result writer: ") + call + ": no file is being written");
        return write_code::notOpen;
    }
    try
    {
        operation(*file);
        return write_code::done;
    }
    catch (const FileError& error)
    {
        reportLine(error.what());
        return error.failure() == FileFailure::CannotWrite ? write_code::cannotWrite : write_code::refused;
    }
    catch (const std::exception& error)
    {
        reportLine(std::string("result writer: ") + call + ": " + error.what());
        return write_code::cannotWrite;
    }
}

} // namespace tav3d::opensuite
