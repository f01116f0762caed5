#pragma once

namespace CLI
{
class App;
}

namespace tav3d::tools
{

/// Adds `tav3d export`: a result with its mesh as one file for other programs.
void addExportCommand(CLI::App& app);

} // namespace tav3d::tools
