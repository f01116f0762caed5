#pragma once

// Numbers as text, in one way on every system: what printf's %g, %f and %e give in the "C" locale for numbers. The C libraries agree on those, but not on
// what is not a number ("nan", "-nan", "-nan(ind)", "1.#QNAN"), and they follow the locale that a host has set. So files and messages take numbers
// from here (tests/house/own_number_text.py). The sign of a NaN is not told: the standard leaves it open, and compilers differ in it.

#include <charconv>
#include <cmath>
#include <concepts>
#include <string>

namespace tav3d::common
{

/// "nan", "inf" or "-inf".
inline std::string notFinite(double value)
{
    return std::isnan(value) ? "nan" : value < 0 ? "-inf" : "inf";
}

/// As std::to_chars does it, with 0 to 50 digits.
inline std::string numberText(double value, std::chars_format format, int precision)
{
    if (!std::isfinite(value))
        return notFinite(value);
    char text[400]; // the largest double has 309 digits before the point
    return {text, std::to_chars(std::begin(text), std::end(text), value, format, precision).ptr};
}

/// "%.*g": so many significant digits, without trailing zeros.
inline std::string general(double value, int digits = 6)
{
    return numberText(value, std::chars_format::general, digits);
}

/// "%.*f": so many digits behind the point.
inline std::string fixed(double value, int decimals = 6)
{
    return numberText(value, std::chars_format::fixed, decimals);
}

/// "%.*e": one digit before the point, so many behind it, and an exponent of at least two digits.
inline std::string scientific(double value, int decimals = 6)
{
    return numberText(value, std::chars_format::scientific, decimals);
}

/// The shortest text that reads back as the same number.
inline std::string shortest(std::floating_point auto value)
{
    if (!std::isfinite(value))
        return notFinite(static_cast<double>(value));
    char text[40];
    return {text, std::to_chars(std::begin(text), std::end(text), value).ptr};
}

} // namespace tav3d::common
