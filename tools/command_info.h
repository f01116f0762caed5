#pragma once

namespace CLI
{
class App;
}

namespace tav3d::tools
{

/// Adds `tav3d info`: what stands in mesh and result files.
void addInfoCommand(CLI::App& app);

} // namespace tav3d::tools
