#include "benchmarks/row_reporter.h"

#include <cstdio>
#include <stdexcept>

namespace tav3d::benchmarks
{

RowReporter::RowReporter(const std::string& jsonFile)
{
    if (jsonFile.empty())
        return;
    jsonStream_.open(jsonFile);
    if (!jsonStream_)
        throw std::runtime_error("cannot write " + jsonFile);
    json_.SetOutputStream(&jsonStream_);
}

bool RowReporter::ReportContext(const Context& context)
{
    if (isBegun_)
        return true; // each row is a run of its own to Google Benchmark
    isBegun_ = true;
    PrintBasicContext(&GetErrorStream(), context);
    std::printf("\n%-52s %10s %10s  %s\n", "benchmark", "minimum", "median", "repetitions");
    return !jsonStream_.is_open() || json_.ReportContext(context);
}

void RowReporter::ReportRuns(const std::vector<Run>& runs)
{
    if (jsonStream_.is_open())
        json_.ReportRuns(runs);
    std::vector<Measurement> measured;
    for (const Run& run : runs)
    {
        if (run.error_occurred)
        {
            hasErrors_ = true;
            std::fprintf(stderr, "%s: %s\n", run.benchmark_name().c_str(), run.error_message.c_str());
            continue;
        }
        if (run.run_type != Run::RT_Iteration)
            continue;
        Measurement m{.name = parseName(run.run_name.str())};
        m.seconds = (m.name.isRealTime ? run.GetAdjustedRealTime() : run.GetAdjustedCPUTime()) / GetTimeUnitMultiplier(run.time_unit);
        for (const auto& [name, counter] : run.counters)
            (name == "items_per_second" ? m.itemsPerSecond : m.counters[name]) = counter.value;
        measured.push_back(std::move(m));
    }
    for (const Figure& f : summarize(measured))
    {
        std::string name = f.name.row + "/" + f.name.form;
        if (f.name.n > 0)
            name.append("/").append(std::to_string(f.name.n));
        std::printf("%-52s %s %s  %zu%s\n", name.c_str(), padded(timeText(f.minimum), 10).c_str(), padded(timeText(f.median), 10).c_str(),
                    f.repetitions, f.isPerItem ? ", per item" : "");
    }
    std::fflush(stdout);
    measurements_.insert(measurements_.end(), measured.begin(), measured.end());
}

void RowReporter::finish()
{
    if (isBegun_ && jsonStream_.is_open())
        json_.Finalize();
}

} // namespace tav3d::benchmarks
