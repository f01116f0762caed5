#pragma once

#include <charconv>
#include <concepts>
#include <string>

namespace tav3d::tools
{

/// The shortest text that reads back as the same number.
inline std::string shortest(std::floating_point auto number)
{
    char digits[40];
    return {digits, std::to_chars(digits, digits + sizeof digits, number).ptr};
}

} // namespace tav3d::tools
