#include "command_map.h"

#include "commands.h"
#include "console.h"
#include "map_job.h"

#include <CLI/CLI.hpp>

#include <iostream>
#include <memory>

namespace tav3d::tools
{

namespace
{

struct Arguments
{
    std::string mesh;
    std::vector<std::string> results;
    std::string output;
    MapOptions options;
};

void mapFiles(const Arguments& arguments)
{
    const std::vector<MapTask> tasks = makeMapTasks(arguments.results, arguments.output);
    std::unique_ptr<ProgressBar> bar;
    const MapTask* shown = nullptr;
    const auto observe = [&](const MapTask& task, int done, int total)
    {
        if (&task != shown)
        {
            bar.reset();
            bar = std::make_unique<ProgressBar>(task.source.filename().string());
            shown = &task;
        }
        bar->update(done, total);
    };
    const std::vector<MapOutcome> outcomes = runMapTasks(arguments.mesh, tasks, arguments.options, observe);
    bar.reset();

    bool allMapped = true;
    for (const MapOutcome& outcome : outcomes)
    {
        if (outcome.failure.empty())
            std::cout << outcome.task.target.string() << ": mapped from " << outcome.voxelFile.string() << '\n';
        else
            std::cerr << "tav3d: error: " << outcome.failure << '\n';
        if (!outcome.note.empty())
            std::cerr << "tav3d: note: " << outcome.task.source.string() << ": " << outcome.note << '\n';
        allMapped = allMapped && outcome.failure.empty();
    }
    if (!allMapped)
        throw CLI::RuntimeError(exitFailed);
}

} // namespace

void addMapCommand(CLI::App& app)
{
    auto arguments = std::make_shared<Arguments>();
    CLI::App* command = app.add_subcommand("map", "Carry results from the voxel mesh of a model to its cut-cell mesh");
    command->add_option("mesh", arguments->mesh, "Mesh file (.krn) of the model")->required();
    command->add_option("results", arguments->results, "Result files on its voxel mesh (.q7f .q7p .q7c .q7hc .rsf .rsc)")->required();
    command
        ->add_option("--mode", arguments->options.mode,
                     "0 = take the assigned voxel node's value; 1 = part nodes take the nearest voxel node of their kind, smoothing "
                     "possible; 2 = as 1 without smoothing")
        ->check(CLI::Range(0, 2))
        ->capture_default_str();
    command->add_flag("--smooth", arguments->options.smooth, "Smooth cavity items on the voxel mesh first (mode 1)");
    command->add_option("--part-insert-mode", arguments->options.partInsertMode, "1 = search part and part insert alike")
        ->check(CLI::Range(0, 1))
        ->capture_default_str();
    command->add_option("--filling-time", arguments->options.fillingTime, "Filling time in seconds, for the head of the mapped files");
    command->add_flag("--tecplot", arguments->options.tecplot, "Also write Tecplot files of the items 1 and 6 into the working directory");
    command->add_option(
        "-o,--output", arguments->output,
        "Write the mapped results there (a folder, or with one result a file) and leave the sources alone. Without it a result is "
        "mapped in place: part.q7f moves to part_vox.q7f, and part.q7f becomes the mapped result");
    command->footer("Example: tav3d map part.krn part.q7f part.q7c --smooth");
    command->callback([arguments] { mapFiles(*arguments); });
}

} // namespace tav3d::tools
