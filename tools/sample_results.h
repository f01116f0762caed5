#pragma once

// Writing sample fields as result files.

#include "sample_fields.h"

namespace tav3d::tools
{

/// The model that a sample result belongs to.
struct SampleModel
{
    std::string meshFile;
    std::string title;
    int cutCellNodes = 0;
};

/// Writes `items` as the result file `file` on the voxel mesh of the model. Throws std::runtime_error when that does not succeed; the reason then
/// stands on standard error, and whatever stood at `file` is untouched.
void writeSampleResult(const SampleFields& fields, const std::vector<SampleItem>& items, const SampleModel& model, const std::string& file);

} // namespace tav3d::tools
