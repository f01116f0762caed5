// Measurements that a run has saved, in Google Benchmark's JSON.

#pragma once

#include "benchmarks/measurement.h"

#include <istream>
#include <vector>

namespace tav3d::benchmarks
{

/// Every repetition that succeeded; aggregates are passed over. Throws std::runtime_error when the text is not what Google Benchmark writes.
[[nodiscard]] std::vector<Measurement> readMeasurements(std::istream& json);

/// `all` with the rows of `newer` in place of its own of the same name. Rows are replaced whole: ratios are those of one run.
[[nodiscard]] std::vector<Measurement> withRowsReplaced(const std::vector<Measurement>& all, const std::vector<Measurement>& newer);

} // namespace tav3d::benchmarks
