#pragma once

// How the suite's reader comes to an open result file, and how a program that has checked one hands it over.

#include "result_file_reader.h"

#include <memory>

namespace tav3d::opensuite
{

/// An open result file, or a code.
struct ResultOpening
{
    std::shared_ptr<OpenResultFile> file; // null when it cannot be read
    int code = 0;                         // what BeginReading answers
};

/// Opens a result file and checks it, as CTAV3DResultReader_Manipulator::BeginReading does: a failure is reported with one line on standard error. Goes on
/// with the file that is on offer, if it is this one.
[[nodiscard]] ResultOpening openResult(const char* file);

/// While it lives, whoever opens `file` on this thread under the name that it has been opened with gets it as it is, open and checked, once: a program that
/// looks into a result before it lets the mapping read it spares the second check. A file that has changed since is opened anew, and so is every file where
/// the system does not tell (see FileState). Do not nest.
class OfferResult
{
public:
    explicit OfferResult(std::shared_ptr<OpenResultFile> file);
    ~OfferResult();
    OfferResult(const OfferResult&) = delete;
    OfferResult& operator=(const OfferResult&) = delete;
};

} // namespace tav3d::opensuite
