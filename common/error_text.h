#pragma once

// What the system says went wrong with a file, in words of our own: the system's are in its own language and, on Windows, in its own code page.

#include <exception>
#include <string>
#include <system_error>

namespace tav3d::common
{

/// "Permission denied", "No space left on device", ...: the same words for the same cause on every system; "system error 1117" for what is not foreseen.
[[nodiscard]] std::string errorText(const std::error_code& code);

/// The same for the call of the C runtime that has just failed (errno).
[[nodiscard]] std::string lastErrorText();

/// The message of an exception; where a call of std::filesystem has thrown it, "<file>: <what went wrong>".
[[nodiscard]] std::string failureText(const std::exception& error);

} // namespace tav3d::common
