#pragma once

// A strict reader of the Tecplot files of the mesh mapping: every field stands at its width, every count is met, nothing follows.

#include <array>
#include <stdexcept>
#include <string>
#include <vector>

namespace tav3d::test
{

struct TecplotFile
{
    std::string variables; // first line
    std::string title;
    std::vector<std::array<std::string, 5>> node; // as printed, blanks removed
    std::vector<std::array<int, 8>> cell;
};

/// Throws std::runtime_error with the number of the line that is not as it must be.
TecplotFile readTecplot(const std::string& bytes);

} // namespace tav3d::test
