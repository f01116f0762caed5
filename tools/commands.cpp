#include "commands.h"

#include "command_compare.h"
#include "command_export.h"
#include "command_info.h"
#include "command_interpolate.h"
#include "command_map.h"
#include "command_model.h"
#include "command_sample.h"
#include "common/error_text.h"

#include <CLI/CLI.hpp>

#include <exception>
#include <iostream>

namespace tav3d::tools
{

int run(int argc, const char* const* argv)
{
    CLI::App app{"Meshes, results and mappings of injection-moulding models"};
    app.name("tav3d");
    app.allow_windows_style_options(false); // "/part.krn" is a file everywhere
    app.set_version_flag("--version", "tav3d " TAV3D_VERSION);
    app.require_subcommand(1);
    addModelCommand(app);
    addMapCommand(app);
    addInfoCommand(app);
    addSampleCommand(app);
    addExportCommand(app);
    addCompareCommand(app);
    addInterpolateCommand(app);
    try
    {
        app.parse(argc, argv); // runs the chosen subcommand
        return exitDone;
    }
    catch (const CLI::RuntimeError& failure)
    {
        return failure.get_exit_code(); // reported already
    }
    catch (const CLI::ParseError& error)
    {
        return app.exit(error) == 0 ? exitDone : exitWrongUsage;
    }
    catch (const std::exception& error)
    {
        std::cerr << "tav3d: error: " << common::failureText(error) << '\n';
        return exitFailed;
    }
}

} // namespace tav3d::tools
