#include "text_format.h"

#include <charconv>
#include <cmath>
#include <stdexcept>

namespace tav3d::tools
{

std::string signedPercent(double share)
{
    const std::string percent = common::fixed(100 * share, 2);
    return (percent.front() == '-' ? "" : "+") + percent + " %";
}

std::string placeText(Vec3 p)
{
    std::string text = "(";
    text.append(general(p.x)).append(", ").append(general(p.y)).append(", ").append(general(p.z)).append(")");
    return text;
}

Vec3 parsePlace(std::string_view text)
{
    Vec3 p;
    const char* at = text.data();
    const char* const end = at + text.size();
    for (int axis = 0; axis < 3; ++axis)
    {
        const auto [next, error] = std::from_chars(at, end, p[axis]);
        const bool separated = axis < 2 ? next != end && *next == ',' : next == end;
        if (error != std::errc{} || !separated || !std::isfinite(p[axis]))
        {
            throw std::invalid_argument(std::string("'").append(text).append("' is no place x,y,z"));
        }
        at = next + 1;
    }
    return p;
}

} // namespace tav3d::tools
