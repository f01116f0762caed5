#pragma once

namespace CLI
{
class App;
}

namespace tav3d::tools
{

/// Adds `tav3d model`: the meshes of a real part, from STL files to a mesh file.
void addModelCommand(CLI::App& app);

} // namespace tav3d::tools
