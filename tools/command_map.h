#pragma once

namespace CLI
{
class App;
}

namespace tav3d::tools
{

/// Adds "map": carries result files from the voxel mesh of their model to its cut-cell mesh.
void addMapCommand(CLI::App& app);

} // namespace tav3d::tools
