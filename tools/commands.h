#pragma once

// The subcommands of the program. Each file tools/command_<name>.cpp adds one.

namespace CLI
{
class App;
}

namespace tav3d::tools
{

/// Exit statuses of the program.
inline constexpr int exitDone = 0;
inline constexpr int exitFailed = 1;
inline constexpr int exitWrongUsage = 2;

/// Runs the program; returns its exit status. Errors are written to standard error, one line each, and name the file and the item.
int run(int argc, const char* const* argv);

} // namespace tav3d::tools
