#pragma once

// Small functions for what the program prints.

#include "vec3.h"

#include "common/number_text.h"

#include <string>
#include <string_view>

namespace tav3d::tools
{

using common::general;
using common::shortest;

/// "+0.12 %", always with its sign.
std::string signedPercent(double share);

/// "(x, y, z)"
std::string placeText(Vec3 p);

/// Reads "x,y,z". Throws std::invalid_argument when `text` is anything but three finite numbers between commas.
Vec3 parsePlace(std::string_view text);

} // namespace tav3d::tools
