#include "target_file.h"

#include "common/error_text.h"
#include "common/file_names.h"
#include "opensuite/file_error.h"
#include "opensuite/replace_file.h"

#include <cerrno>
#include <filesystem>
#include <fstream>

namespace tav3d::tools
{

namespace fs = std::filesystem;
using opensuite::FileError;
using opensuite::FileFailure;

namespace
{

/// Removes the unfinished file, unless it has been moved away.
class Unfinished
{
public:
    explicit Unfinished(fs::path path)
        : path_(std::move(path))
    {
    }
    ~Unfinished()
    {
        std::error_code ignored;
        fs::remove(path_, ignored);
    }
    Unfinished(const Unfinished&) = delete;
    Unfinished& operator=(const Unfinished&) = delete;

    [[nodiscard]] const fs::path& path() const noexcept { return path_; }

private:
    fs::path path_;
};

/// To be called right after the failure.
std::string cannotBeWritten(const fs::path& file)
{
    return "cannot be written: " + common::lastErrorText() + common::ifTooLong(file);
}

} // namespace

void writeTargetFile(const std::string& target, const std::function<void(std::ostream&)>& write)
{
    const fs::path path = common::pathOf(target);
    if (const std::string reason = common::whyNoTarget(path); !reason.empty())
        throw FileError(FileFailure::CannotWrite, target, "", reason);
    const Unfinished unfinished(opensuite::temporaryNameBeside(path));
    {
        errno = 0;
        std::ofstream out(unfinished.path(), std::ios::binary);
        if (!out)
            throw FileError(FileFailure::CannotWrite, target, "", cannotBeWritten(path));
        write(out);
        out.close();
        if (!out)
            throw FileError(FileFailure::CannotWrite, target, "", "cannot be written: " + common::lastErrorText());
    }
    try
    {
        opensuite::replaceFile(unfinished.path(), path);
    }
    catch (const fs::filesystem_error& error)
    {
        throw FileError(FileFailure::CannotWrite, target, "", "cannot be written: " + common::errorText(error.code()));
    }
}

void checkCanWrite(const std::string& target)
{
    const fs::path path = common::pathOf(target);
    if (const std::string reason = common::whyNoTarget(path); !reason.empty())
        throw FileError(FileFailure::CannotWrite, target, "", reason);
    const Unfinished trial(opensuite::temporaryNameBeside(path));
    errno = 0;
    if (!std::ofstream(trial.path()).is_open())
        throw FileError(FileFailure::CannotWrite, target, "", cannotBeWritten(path));
}

} // namespace tav3d::tools
