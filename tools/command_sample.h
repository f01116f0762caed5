#pragma once

namespace CLI
{
class App;
}

namespace tav3d::tools
{

/// Adds `tav3d sample`: sample results on the voxel mesh of a model.
void addSampleCommand(CLI::App& app);

} // namespace tav3d::tools
