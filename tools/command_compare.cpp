#include "command_compare.h"

#include "commands.h"
#include "compare_files.h"
#include "json.h"
#include "text_format.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <cmath>
#include <iostream>
#include <memory>
#include <utility>

namespace tav3d::tools
{

namespace
{

struct CompareArguments
{
    std::string a, b;
    double tolerance = 0.0;
    bool json = false;
};

std::string placeOf(const DifferenceSpot& spot)
{
    if (!spot.place)
        return "";
    const auto number = [](double c) { return shortest(static_cast<float>(c)); };
    return " at (" + number(spot.place->x) + ", " + number(spot.place->y) + ", " + number(spot.place->z) + ")";
}

std::string valueOf(double value)
{
    return shortest(static_cast<float>(value)); // values and coordinates are floats in the files
}

void printTable(const TableComparison& table)
{
    const std::string entry = table.entry;
    std::cout << table.name << ": ";
    if (table.differing > 0 || table.isEqual())
        std::cout << table.differing << " of " << table.compared << ' ' << entry << "s differ";
    const char* separator = table.differing > 0 ? "; " : "";
    for (const auto& [count, file] : {std::pair{table.onlyInA, 'A'}, {table.onlyInB, 'B'}})
        if (count > 0)
            std::cout << std::exchange(separator, "; ") << count << ' ' << entry << "s only in " << file;
    std::cout << '\n';
    if (table.absolute.number == 0)
    {
        if (table.firstDiffering != 0)
            std::cout << "    first: " << entry << ' ' << table.firstDiffering << '\n';
        return;
    }
    const bool hasValues = table.isItem;
    for (const auto& [name, spot] : {std::pair{"difference", &table.absolute}, {"relative difference", &table.relative}})
    {
        if (spot->number == 0)
            continue;
        std::cout << "    largest " << name << ": " << shortest(spot->difference)
                  << (spot == &table.absolute && !table.unit.empty() ? " " + table.unit : "") << ", " << entry << ' ' << spot->number
                  << placeOf(*spot);
        if (hasValues)
            std::cout << ": A " << valueOf(spot->a) << ", B " << valueOf(spot->b);
        std::cout << '\n';
    }
}

void printText(const CompareArguments& arguments, const FileComparison& comparison)
{
    std::cout << "A: " << arguments.a << "\nB: " << arguments.b << '\n';
    for (const std::string& note : comparison.notes)
        std::cout << "note: " << note << '\n';
    for (const auto& [what, a, b] : comparison.description)
        std::cout << what << ": A " << (a.empty() ? "none" : a) << ", B " << (b.empty() ? "none" : b) << '\n';
    for (const std::string& name : comparison.onlyInA)
        std::cout << name << ": only in A\n";
    for (const std::string& name : comparison.onlyInB)
        std::cout << name << ": only in B\n";
    for (const TableComparison& table : comparison.tables)
        if (!table.isEqual() || table.absolute.number != 0)
            printTable(table);
    const std::string within = arguments.tolerance > 0 ? " (tolerance " + shortest(arguments.tolerance) + ")" : "";
    std::cout << (comparison.isEqual() ? "equal" : "different") << within << '\n';
}

void addSpot(JsonWriter& json, const char* name, const DifferenceSpot& spot, bool hasValues)
{
    if (spot.number == 0)
        return;
    json.key(name).beginObject().member("difference", spot.difference).member("number", spot.number);
    if (hasValues)
        json.member("a", spot.a).member("b", spot.b);
    if (spot.place)
        json.key("place").beginArray().value(spot.place->x).value(spot.place->y).value(spot.place->z).endArray();
    json.endObject();
}

void addNames(JsonWriter& json, const char* key, const std::vector<std::string>& names)
{
    json.key(key).beginArray();
    for (const std::string& name : names)
        json.value(name);
    json.endArray();
}

void printJson(const CompareArguments& arguments, const FileComparison& comparison)
{
    JsonWriter json;
    json.beginObject().member("a", arguments.a).member("b", arguments.b);
    json.member("kind", comparison.kind == FileKind::Mesh ? "mesh" : "result").member("tolerance", arguments.tolerance);
    json.member("equal", comparison.isEqual()).key("description").beginArray();
    for (const auto& [what, a, b] : comparison.description)
        json.beginObject().member("what", what).member("a", a).member("b", b).endObject();
    json.endArray();
    addNames(json, "onlyInA", comparison.onlyInA);
    addNames(json, "onlyInB", comparison.onlyInB);
    json.key("tables").beginArray();
    for (const TableComparison& table : comparison.tables)
    {
        json.beginObject().member("name", table.name);
        if (table.isItem)
            json.member("item", table.item).member("unit", table.unit);
        json.member("entry", table.entry).member("compared", table.compared).member("differing", table.differing);
        json.member("onlyInA", table.onlyInA).member("onlyInB", table.onlyInB).member("firstDiffering", table.firstDiffering);
        addSpot(json, "largest", table.absolute, table.isItem);
        addSpot(json, "largestRelative", table.relative, table.isItem);
        json.endObject();
    }
    json.endArray();
    addNames(json, "notes", comparison.notes);
    json.endObject();
    std::cout << json.text();
}

void runCompare(const CompareArguments& arguments)
{
    const FileComparison comparison = compareFiles(arguments.a, arguments.b, arguments.tolerance);
    arguments.json ? printJson(arguments, comparison) : printText(arguments, comparison);
    std::cout << std::flush;
    if (!comparison.isEqual())
        throw CLI::RuntimeError(exitFailed);
}

} // namespace

void addCompareCommand(CLI::App& app)
{
    const auto arguments = std::make_shared<CompareArguments>();
    CLI::App* command = app.add_subcommand("compare", "Tells what is different between two result files, or two mesh files");
    command->footer(
        "Results: per item how many nodes differ and where the difference is largest, absolute and relative to the larger of the\n"
        "two values; items that one file alone has; differences in the descriptions. Values are compared node by node, so both\n"
        "results must stand on meshes of the same kind and size. Meshes: coordinates, elements, facets and interfaces.\n"
        "Only what is different is printed, and in the last line 'equal' or 'different'. Where the mesh files are kept plays no\n"
        "part. Two NaN are equal. Exit status: 0 equal, 1 different (the last line says so) or failed (a line on standard error\n"
        "says so), 2 wrong usage.\n"
        "Example:\n"
        "  tav3d compare monday.q7f tuesday.q7f --tolerance 0.001");
    command->add_option("a", arguments->a, "One file")->required();
    command->add_option("b", arguments->b, "The other")->required();
    command
        ->add_option("--tolerance", arguments->tolerance,
                     "Numbers that differ by no more than this are equal, in the unit of the item; for meshes a length. Holds for recorded "
                     "extremes and times, too")
        ->check(
            [](const std::string& text)
            {
                double value = 0;
                return CLI::detail::lexical_cast(text, value) && std::isfinite(value) && value >= 0
                           ? std::string()
                           : "'" + text + "' is no finite number from 0 on";
            },
            "", "")
        ->capture_default_str();
    command->add_flag("--json", arguments->json, "Print JSON: one object, with all items, also equal ones");
    command->callback([arguments] { runCompare(*arguments); });
}

} // namespace tav3d::tools
