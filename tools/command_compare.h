#pragma once

namespace CLI
{
class App;
}

namespace tav3d::tools
{

/// Adds `tav3d compare`: what is different between two result files or two mesh files.
void addCompareCommand(CLI::App& app);

} // namespace tav3d::tools
