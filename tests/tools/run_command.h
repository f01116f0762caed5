#pragma once

#include "tools/commands.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace tav3d::test
{

struct Outcome
{
    int status;
    std::string output, errors;
};

/// Runs the program with these arguments.
inline Outcome runCommand(const std::vector<std::string>& arguments)
{
    std::vector<const char*> argv{"tav3d"};
    for (const std::string& argument : arguments)
        argv.push_back(argument.c_str());
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    const int status = tools::run(static_cast<int>(argv.size()), argv.data());
    std::string output = testing::internal::GetCapturedStdout();
    return {status, std::move(output), testing::internal::GetCapturedStderr()};
}

} // namespace tav3d::test
