#include "command_interpolate.h"

#include "console.h"
#include "grid_interpolator.h"
#include "opensuite/file_error.h"
#include "point_table.h"
#include "result_items.h"
#include "target_file.h"
#include "text_format.h"

#include <CLI/CLI.hpp>

#include <cmath>
#include <iostream>
#include <memory>

namespace tav3d::tools
{

namespace
{

using opensuite::FileError;
using opensuite::FileFailure;

struct InterpolateArguments
{
    GridRequest request;
    std::string points;
    std::string output;
    std::string method = "shape";
    InterpolationOptions options;
};

/// The multiquadric fit reaches over many cells, so that a node without a value would spoil the values around it.
void keepFullFields(const GridRequest& request, FieldGrid& grid, std::vector<std::string>& notes)
{
    std::vector<GridField> full;
    for (GridField& field : grid.fields)
    {
        if (field.isThere.empty())
        {
            full.push_back(std::move(field));
            continue;
        }
        const std::string reason = "has values at listed nodes only, which --method quadrature cannot use";
        if (!request.items.empty())
            throw FileError(FileFailure::BadInput, request.file, "item " + std::to_string(field.item), reason);
        notes.push_back(request.file + ": " + field.name + ": left out: " + reason);
    }
    grid.fields = std::move(full);
}

void writeTable(std::ostream& out, const FieldGrid& grid, const std::vector<Vec3>& points, const std::vector<PointValues>& values)
{
    out << "x,y,z,cell,distance";
    for (const GridField& field : grid.fields)
        out << ',' << csvField(field.name + (field.unit.empty() ? "" : " [" + field.unit + "]"));
    out << '\n';
    for (std::size_t i = 0; i < points.size(); ++i)
    {
        const PointValues& row = values[i];
        out << shortest(points[i].x) << ',' << shortest(points[i].y) << ',' << shortest(points[i].z) << ',';
        out << row.cell << ',' << shortest(row.distance);
        for (const std::optional<double>& value : row.value)
            out << ',' << (value ? shortest(*value) : "");
        out << '\n';
    }
}

void runInterpolate(InterpolateArguments arguments)
{
    arguments.request.dropLooseNodes = true;
    arguments.options.method = arguments.method == "shape" ? InterpolationMethod::Shape : InterpolationMethod::Quadrature;
    const std::vector<Vec3> points = readPoints(arguments.points);
    if (kindOfFile(arguments.request.file) == FileKind::Mesh)
        throw FileError(FileFailure::WrongKind, arguments.request.file, "", "is a mesh file: it has no values");
    std::vector<std::string> notes;
    FieldGrid grid = loadFieldGrid(arguments.request, notes);
    if (grid.cells.size() == 0)
        throw FileError(FileFailure::BadInput, grid.meshFile, std::string(meshName(grid.zone)) + " mesh", "has no cells");
    for (const std::string& input : {arguments.request.file, grid.meshFile, arguments.points})
        if (!arguments.output.empty() && isSameFile(arguments.output, input))
            throw FileError(FileFailure::BadInput, arguments.output, "", "is one of the files that are read");
    if (arguments.options.method == InterpolationMethod::Quadrature)
        keepFullFields(arguments.request, grid, notes);

    std::vector<PointValues> values;
    {
        const StandardOutputToStandardError redirected;
        ProgressBar bar("points");
        values = interpolateAtPoints(grid, points, arguments.options,
                                     [&](int done, int total)
                                     {
                                         if (done % 64 == 0 || done == total)
                                             bar.update(done, total);
                                     });
    }
    for (const std::string& note : notes)
        std::cerr << "tav3d: note: " << note << '\n';
    if (arguments.output.empty())
        writeTable(std::cout, grid, points, values);
    else
        writeTargetFile(arguments.output, [&](std::ostream& out) { writeTable(out, grid, points, values); });
}

} // namespace

void addInterpolateCommand(CLI::App& app)
{
    const auto arguments = std::make_shared<InterpolateArguments>();
    CLI::App* command = app.add_subcommand("interpolate", "Values of a result at the points of a CSV file");
    command->footer(
        "The points file holds one point per line, x,y,z in mesh length units (mm). A first line may name the columns; then x, y\n"
        "and z are taken wherever they stand, and other columns are passed over. Empty lines and lines that begin with '#' do not\n"
        "count.\n"
        "The answer, CSV with a line of names, has one line per point in the same order: x, y, z, the cell used, the distance to\n"
        "it, and one column per item. Cells are numbered as in the mesh file, the part's first, then the mould base's.\n"
        "  distance 0      the point lies in the cell\n"
        "  distance > 0    the point lies in no cell; the cell is the nearest. The values are empty, or, with --extrapolate,\n"
        "                  continued from that cell\n"
        "Items of the part hold 0 at the nodes of the mould base: with --part-only, cells of the mould base beside the part do not\n"
        "mix the two. An item has no value (empty) where a node of the cell without a value carries weight, as inside a part of\n"
        "whose surface only the values are stored. Numbers have as many digits as bring back the same double.\n"
        "Methods:\n"
        "  shape       linear shape functions of the cell that holds the point; reproduces linear fields to rounding\n"
        "  quadrature  multiquadric fit over the neighbourhoods of the 4 nearest nodes, the mean of 12 estimates. More accurate\n"
        "              for smooth fields, exact for none (not even a constant), wild at single points, and slow: milliseconds\n"
        "              per point and item. Its shape parameters are 1.0 to 2.9 mm: it is made for cells of about 1 mm. Within\n"
        "              1e-6 mm of a node it gives the node's value. Items stored for listed nodes only cannot be used\n"
        "Examples:\n"
        "  tav3d interpolate housing.q7f --points sensors.csv\n"
        "  tav3d interpolate housing.q7c --points line.csv --items 1 --part-only -o temperature.csv");
    command->add_option("result", arguments->request.file, "Result file on either mesh")->required();
    command->add_option("--points", arguments->points, "CSV file of the points")->required();
    command->add_option("-o,--output", arguments->output, "CSV file to write; default: standard output");
    command->add_option("--items", arguments->request.items, "Item numbers; default: all items with values at nodes")
        ->delimiter(',')
        ->allow_extra_args(false);
    command->add_option("--method", arguments->method, "shape or quadrature")
        ->check(CLI::IsMember({"shape", "quadrature"}))
        ->capture_default_str();
    command->add_flag("--part-only", arguments->request.partOnly, "Use only the cells of the part; points elsewhere lie in no cell");
    command->add_flag("--extrapolate", arguments->options.extrapolate, "Give values also at points that lie in no cell");
    command->add_option("--mesh", arguments->request.meshFile, "Mesh file of the result, when it is not where the result file says");
    command->callback([arguments] { runInterpolate(*arguments); });
}

} // namespace tav3d::tools
