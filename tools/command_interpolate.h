#pragma once

namespace CLI
{
class App;
}

namespace tav3d::tools
{

/// Adds `tav3d interpolate`: values of a result at the points of a CSV file.
void addInterpolateCommand(CLI::App& app);

} // namespace tav3d::tools
