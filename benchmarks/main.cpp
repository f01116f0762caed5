// tav3d_bench: all benchmarks of the project, then tables of ratios to the plain forms and the peers.
//
// The rows are measured one after the other, and the repetitions of a row's forms in random order, so that forms that are compared run close to each other
// in time. Everything that Google Benchmark takes on the command line works (--benchmark_filter=REGEX, --benchmark_repetitions=N, ...), and
//   --list               the names of the benchmarks, and nothing is measured
//   --quick              no benchmark of more than 100,000 things, fewer and shorter repetitions
//   --json=FILE          all measurements, in Google Benchmark's format
//   --from=FILE,...      tables from measurements saved before, and nothing is measured; rows of a later file take the place of an earlier file's
//   --table=FILE         the tables, in Markdown (they are printed at the end in any case)

#include "benchmarks/measurement.h"
#include "benchmarks/ratio_table.h"
#include "benchmarks/row_data.h"
#include "benchmarks/row_reporter.h"
#include "benchmarks/saved_results.h"

#include <benchmark/benchmark.h>

#include <cstdio>
#include <exception>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

using namespace tav3d::benchmarks;

namespace
{

constexpr std::int64_t quickLimit = 100000;

struct Options
{
    bool isQuick = false;
    bool isListing = false;
    std::string jsonFile, tableFile;
    std::vector<std::string> from; // files to read instead of measuring
    std::vector<std::string> rest; // Google Benchmark's
};

Options parseOptions(int argc, char** argv)
{
    Options options;
    for (int i = 1; i < argc; ++i)
    {
        const std::string_view argument = argv[i];
        const auto value = [&](std::string_view name) { return argument.substr(name.size()); };
        if (argument == "--quick")
            options.isQuick = true;
        else if (argument.starts_with("--json="))
            options.jsonFile = value("--json=");
        else if (argument.starts_with("--table="))
            options.tableFile = value("--table=");
        else if (argument.starts_with("--from="))
        {
            std::istringstream files{std::string(value("--from="))};
            for (std::string file; std::getline(files, file, ',');)
                options.from.push_back(file);
        }
        else if (argument == "--list")
            options.isListing = true;
        else if (argument.starts_with("--benchmark_out"))
            throw std::invalid_argument("--json=FILE takes the place of " + std::string(argument));
        else
            options.rest.emplace_back(argument);
    }
    return options;
}

/// Google Benchmark keeps pointers into the arguments.
void initialize(std::vector<std::string>& arguments)
{
    std::vector<char*> pointers;
    for (std::string& argument : arguments)
        pointers.push_back(argument.data());
    int count = static_cast<int>(pointers.size());
    benchmark::Initialize(&count, pointers.data());
    if (count > 1)
        throw std::invalid_argument("unknown argument " + std::string(pointers[1]));
}

/// Google Benchmark tells what it has by printing it.
class NameCollector : public benchmark::BenchmarkReporter
{
public:
    NameCollector() { SetOutputStream(&stream_); }
    bool ReportContext(const Context&) override { return true; }
    void ReportRuns(const std::vector<Run>&) override {}
    [[nodiscard]] std::vector<std::string> names()
    {
        std::vector<std::string> all;
        for (std::string line; std::getline(stream_, line);)
            all.push_back(line);
        return all;
    }

private:
    std::stringstream stream_;
};

/// Per row, a filter that takes exactly the wanted benchmarks.
std::vector<std::string> rowFilters(const std::vector<std::string>& names, bool isQuick)
{
    std::vector<std::pair<std::string, std::string>> rows;
    for (const std::string& name : names)
    {
        const BenchmarkName parsed = parseName(name);
        if (parsed.form.empty())
            throw std::logic_error("benchmark " + name + " is not named <row>/<form>");
        if (isQuick && parsed.n > quickLimit)
            continue;
        std::size_t at = 0;
        while (at < rows.size() && rows[at].first != parsed.row)
            ++at;
        if (at == rows.size())
            rows.emplace_back(parsed.row, "^(" + name);
        else
            rows[at].second += "|" + name;
    }
    std::vector<std::string> filters;
    for (const auto& [row, filter] : rows)
        filters.push_back(filter + ")$");
    return filters;
}

void showTables(const std::vector<Measurement>& measurements, const std::string& tableFile)
{
    const std::string tables = ratioTables(summarize(measurements), projectTargets());
    std::printf("\n%s", tables.c_str());
    if (!tableFile.empty() && !(std::ofstream(tableFile) << tables))
        throw std::runtime_error("cannot write " + tableFile);
}

int run(int argc, char** argv)
{
    const Options options = parseOptions(argc, argv);
    if (!options.from.empty())
    {
        std::vector<Measurement> all;
        for (const std::string& file : options.from)
        {
            std::ifstream saved(file);
            if (!saved)
                throw std::runtime_error("cannot read " + file);
            all = withRowsReplaced(all, readMeasurements(saved));
        }
        showTables(all, options.tableFile);
        return 0;
    }
    std::vector<std::string> arguments{argv[0], "--benchmark_enable_random_interleaving=true",
                                       options.isQuick ? "--benchmark_repetitions=3" : "--benchmark_repetitions=7",
                                       options.isQuick ? "--benchmark_min_time=0.05" : "--benchmark_min_time=0.2"};
    arguments.insert(arguments.end(), options.rest.begin(), options.rest.end());

    std::vector<std::string> listing = arguments;
    listing.emplace_back("--benchmark_list_tests=true");
    initialize(listing);
    NameCollector collector;
    benchmark::RunSpecifiedBenchmarks(&collector);
    const std::vector<std::string> names = collector.names();
    if (options.isListing)
    {
        for (const std::string& name : names)
            std::puts(name.c_str());
        return 0;
    }
    const std::vector<std::string> filters = rowFilters(names, options.isQuick);

    arguments.emplace_back("--benchmark_list_tests=false");
    initialize(arguments);
    RowReporter reporter(options.jsonFile);
    for (const std::string& filter : filters)
    {
        benchmark::RunSpecifiedBenchmarks(&reporter, filter);
        RowData::drop();
    }
    reporter.finish();
    benchmark::Shutdown();

    showTables(reporter.measurements(), options.tableFile);
    return reporter.hasErrors() ? 1 : 0;
}

} // namespace

int main(int argc, char** argv)
{
    try
    {
        return run(argc, argv);
    }
    catch (const std::invalid_argument& wrong)
    {
        std::fprintf(stderr, "tav3d_bench: %s\n", wrong.what());
        return 2;
    }
    catch (const std::exception& failed)
    {
        std::fprintf(stderr, "tav3d_bench: %s\n", failed.what());
        return 1;
    }
}
