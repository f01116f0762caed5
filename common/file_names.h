#pragma once

// Names of files as text. Text is UTF-8 on every system: names that come in as `char` (from hosts, the command line, files) become paths here, and paths
// become text here, in messages as in files. Elsewhere systems disagree on what `char` names mean.

#include <filesystem>
#include <string>
#include <string_view>

namespace tav3d::common
{

/// The path of a name. On Windows a name that is not valid UTF-8 is taken in the system's code page, as older hosts pass names.
[[nodiscard]] std::filesystem::path pathOf(std::string_view name);

/// The name of a path, separators as they are.
[[nodiscard]] std::string nameOf(const std::filesystem::path& path);

/// The same with '/' as separator, as files and Linux have it: for names that are put together here, in messages as in files. (A name that begins with
/// "\\?\" keeps what it has: Windows takes no other separator behind that.)
[[nodiscard]] std::string genericNameOf(const std::filesystem::path& path);

/// The path of the file `name` in a folder, with the kind of separator that the folder's name has, so that what users wrote comes back as they wrote it;
/// '/' where it has none, so that the same call prints the same on every system.
[[nodiscard]] std::filesystem::path inFolder(const std::filesystem::path& folder, const std::filesystem::path& name);

/// The name of the file `name` as seen from `folder`, without "." and ".." where they can be resolved, with the kind of separator that the folder's name has
/// and '/' where it has none.
[[nodiscard]] std::string normalNameInFolder(const std::filesystem::path& folder, const std::filesystem::path& name);

/// The path from the root on. On Windows without ".", "..", and dots and blanks at the end, as the system opens it.
[[nodiscard]] std::filesystem::path fullPath(const std::filesystem::path& path);

/// The name by which the file `file` is found from `folder`, with '/', relative; in full where no relative name leads there: from one drive or share of
/// Windows to another.
[[nodiscard]] std::string relativeName(const std::filesystem::path& file, const std::filesystem::path& folder);

/// One path for each file: names that lead to the same file have the same, also where there is no file yet. Links are resolved; on Windows it does not
/// depend on upper and lower case, short names ("PART~1.Q7F"), dots and blanks at the end, and the letter of a mapped drive.
[[nodiscard]] std::filesystem::path identityOf(const std::filesystem::path& path);

/// The C runtime's removal and renaming of files, for names in UTF-8. 0 = done. Renaming does not replace a file on Windows.
int removeFile(const char* name);
int renameFile(const char* oldName, const char* newName);

/// Why nothing can be written under this name: "is a folder" or, on Windows, "is the name of a device" ("NUL", "con.q7f"); else nothing.
[[nodiscard]] std::string whyNoTarget(const std::filesystem::path& path);

/// What to add to the message of a failure on a file: "; its path has 300 characters, and ..." where its length is the likely cause, else nothing.
/// Windows takes 259 characters unless the system and the program agree on longer paths.
[[nodiscard]] std::string ifTooLong(const std::filesystem::path& path);

} // namespace tav3d::common
