// Collects what a run measures, over all of its rows: one line per benchmark on the way, and Google Benchmark's JSON beside it if wanted.

#pragma once

#include "benchmarks/measurement.h"

#include <benchmark/benchmark.h>

#include <fstream>
#include <string>
#include <vector>

namespace tav3d::benchmarks
{

class RowReporter : public benchmark::BenchmarkReporter
{
public:
    /// jsonFile: empty for none. Throws std::runtime_error when it cannot be written.
    explicit RowReporter(const std::string& jsonFile);

    bool ReportContext(const Context& context) override;
    void ReportRuns(const std::vector<Run>& runs) override;

    /// After the last row.
    void finish();

    [[nodiscard]] const std::vector<Measurement>& measurements() const noexcept { return measurements_; }
    [[nodiscard]] bool hasErrors() const noexcept { return hasErrors_; }

private:
    std::ofstream jsonStream_;
    benchmark::JSONReporter json_;
    std::vector<Measurement> measurements_;
    bool isBegun_ = false;
    bool hasErrors_ = false;
};

} // namespace tav3d::benchmarks
