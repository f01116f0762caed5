// What one repetition of one benchmark measured, and what its name says.

#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace tav3d::benchmarks
{

/// A benchmark's name: `<row>/<form>` or `<row>/<form>/<n>`, followed by what Google Benchmark appends (`/real_time`, `/iterations:3`, ...).
struct BenchmarkName
{
    std::string row;
    std::string form;        ///< ours, plain, a peer, ...; empty in a name that has none
    std::int64_t n = 0;      ///< number of things; 0 when the name has none
    bool isRealTime = false; ///< what counts is time by the clock, not of the processor
};

[[nodiscard]] BenchmarkName parseName(std::string_view name);

struct Measurement
{
    BenchmarkName name;
    double seconds = 0.0;                     ///< per iteration
    double itemsPerSecond = 0.0;              ///< 0 when the benchmark counts no items
    std::map<std::string, double> counters{}; ///< the benchmark's own
};

/// All repetitions of one benchmark in short.
struct Figure
{
    BenchmarkName name;
    bool isPerItem = false; ///< the times are those of one item, otherwise those of one iteration
    double minimum = 0.0;   ///< seconds
    double median = 0.0;    ///< seconds; the mean of the two in the middle for an even number
    std::size_t repetitions = 0;
    std::map<std::string, double> counters{}; ///< medians
};

/// In the order in which each benchmark came first. Repetitions of a benchmark may come in any order; all of them count items, or none does.
[[nodiscard]] std::vector<Figure> summarize(const std::vector<Measurement>& measurements);

/// Three digits and a unit: "1.81 ms".
[[nodiscard]] std::string timeText(double seconds);

/// Characters of a text in UTF-8.
[[nodiscard]] std::size_t characters(std::string_view text);

/// With blanks before it up to so many characters.
[[nodiscard]] std::string padded(const std::string& text, std::size_t width);

} // namespace tav3d::benchmarks
