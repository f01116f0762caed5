#include "benchmarks/saved_results.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <stdexcept>

namespace tav3d::benchmarks
{

namespace
{

using Json = nlohmann::json;

double secondsPer(const std::string& unit)
{
    const std::pair<const char*, double> units[] = {{"ns", 1e-9}, {"us", 1e-6}, {"ms", 1e-3}, {"s", 1.0}};
    for (const auto& [name, seconds] : units)
        if (unit == name)
            return seconds;
    throw std::runtime_error("unknown unit of time " + unit);
}

/// Counters are the numbers of a run under names that are not Google Benchmark's own.
bool isCounter(const std::string& name, const Json& value)
{
    static constexpr const char* own[] = {
        "family_index", "per_family_instance_index", "repetitions", "repetition_index", "threads", "iterations", "real_time", "cpu_time"};
    return value.is_number() && std::find(std::begin(own), std::end(own), name) == std::end(own);
}

Measurement measurementOf(const Json& run)
{
    Measurement m{.name = parseName(run.at("run_name").get<std::string>())};
    m.seconds = run.at(m.name.isRealTime ? "real_time" : "cpu_time").get<double>() * secondsPer(run.at("time_unit"));
    for (const auto& [name, value] : run.items())
        if (isCounter(name, value))
            (name == "items_per_second" ? m.itemsPerSecond : m.counters[name]) = value.get<double>();
    return m;
}

} // namespace

std::vector<Measurement> readMeasurements(std::istream& json)
{
    try
    {
        const Json saved = Json::parse(json);
        std::vector<Measurement> all;
        for (const Json& run : saved.at("benchmarks"))
            if (run.at("run_type") == "iteration" && !run.value("error_occurred", false))
                all.push_back(measurementOf(run));
        return all;
    }
    catch (const Json::exception& wrong)
    {
        throw std::runtime_error(std::string("measurements cannot be read: ") + wrong.what());
    }
}

std::vector<Measurement> withRowsReplaced(const std::vector<Measurement>& all, const std::vector<Measurement>& newer)
{
    // A row keeps its place.
    std::vector<Measurement> merged;
    std::vector<std::string> done;
    const auto add = [&](const std::string& row)
    {
        if (std::find(done.begin(), done.end(), row) != done.end())
            return;
        done.push_back(row);
        const auto isOfRow = [&](const Measurement& m) { return m.name.row == row; };
        const auto& source = std::any_of(newer.begin(), newer.end(), isOfRow) ? newer : all;
        std::copy_if(source.begin(), source.end(), std::back_inserter(merged), isOfRow);
    };
    for (const Measurement& m : all)
        add(m.name.row);
    for (const Measurement& m : newer)
        add(m.name.row);
    return merged;
}

} // namespace tav3d::benchmarks
