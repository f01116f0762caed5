#include "command_map.h"

#include "commands.h"
#include "common/file_names.h"
#include "console.h"
#include "map_facts.h"
#include "map_job.h"
#include "mapping_report_html.h"
#include "mapping_report_json.h"
#include "target_file.h"

#include <CLI/CLI.hpp>

#include <iostream>
#include <memory>
#include <optional>

namespace tav3d::tools
{

namespace
{

struct MapArguments
{
    std::string mesh;
    std::vector<std::string> results;
    std::string output;
    std::string report;
    bool json = false;
    MapOptions options;
};

void tell(const MapOutcome& outcome, bool json)
{
    if (!outcome.failure.empty())
        std::cerr << "tav3d: error: " << outcome.failure << '\n';
    else if (!json)
        std::cout << common::nameOf(outcome.task.target) << ": mapped from " << common::nameOf(outcome.voxelFile) << std::endl;
    if (!outcome.note.empty())
        std::cerr << "tav3d: note: " << common::nameOf(outcome.task.source) << ": " << outcome.note << '\n';
}

void mapFiles(const MapArguments& arguments)
{
    const std::vector<MapTask> tasks = makeMapTasks(arguments.results, arguments.output);
    if (!arguments.report.empty())
        checkCanWrite(arguments.report);
    ModelMapper mapper(arguments.mesh, arguments.options);
    std::optional<MapFacts> facts;
    if (arguments.json || !arguments.report.empty())
        facts.emplace(arguments.mesh, arguments.options, mapper, !arguments.report.empty());

    bool allMapped = true;
    for (const MapTask& task : tasks)
    {
        MapOutcome outcome;
        {
            ProgressBar bar(common::nameOf(task.source.filename()));
            outcome = mapper.run(task, [&bar](int done, int total) { bar.update(done, total); });
        }
        tell(outcome, arguments.json);
        allMapped = allMapped && outcome.failure.empty();
        if (!facts)
            continue;
        if (const std::string unreadable = facts->add(outcome); !unreadable.empty())
        {
            std::cerr << "tav3d: error: " << unreadable << '\n';
            allMapped = false;
        }
    }
    if (arguments.json)
        std::cout << mappingReportJson(facts->report());
    if (!arguments.report.empty())
    {
        writeTargetFile(arguments.report, [&](std::ostream& out) { out << mappingReportHtml(facts->report()); });
        std::cerr << "tav3d: report: " << arguments.report << '\n';
    }
    if (!allMapped)
        throw CLI::RuntimeError(exitFailed);
}

} // namespace

void addMapCommand(CLI::App& app)
{
    auto arguments = std::make_shared<MapArguments>();
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
    command->add_option("--filling-time", arguments->options.fillingTime,
                        "Filling time in seconds for the head of the mapped files; without it, as the voxel file has it");
    command->add_flag("--tecplot", arguments->options.tecplot, "Also write Tecplot files of the items 1 and 6 into the working directory");
    command->add_option(
        "-o,--output", arguments->output,
        "Write the mapped results there (a folder, or with one result a file) and leave the sources alone. Without it a result is "
        "mapped in place: part.q7f moves to part_vox.q7f, and part.q7f becomes the mapped result");
    command->add_option("--report", arguments->report,
                        "Write a report on the mapping there: one HTML page with tables and a view of the part");
    command->add_flag("--json", arguments->json, "Print the facts of the report as JSON on standard output");
    command->footer("Example: tav3d map part.krn part.q7f part.q7c --smooth");
    command->callback([arguments] { mapFiles(*arguments); });
}

} // namespace tav3d::tools
