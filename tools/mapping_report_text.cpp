#include "mapping_report_text.h"

#include <algorithm>
#include <charconv>
#include <cmath>

namespace tav3d::tools
{

namespace
{

constexpr std::string_view replacementCharacter = "\xEF\xBF\xBD";
constexpr std::string_view narrowSpace = "\xE2\x80\xAF";
constexpr std::string_view minusSign = "\xE2\x88\x92";
constexpr std::string_view dash = "\xE2\x80\x93";

/// Length in bytes of the well-formed UTF-8 character at the start of the text (Unicode Standard, table 3-7), 0 when there is none.
std::size_t characterLength(std::string_view text)
{
    const auto byte = [&](std::size_t i) { return i < text.size() ? static_cast<unsigned char>(text[i]) : 0u; };
    const auto continues = [&](std::size_t i) { return (byte(i) & 0xC0u) == 0x80u; };
    const unsigned lead = byte(0);
    if (lead < 0x80u)
    {
        return 1;
    }
    if (lead >= 0xC2u && lead <= 0xDFu)
    {
        return continues(1) ? 2 : 0;
    }
    if (lead >= 0xE0u && lead <= 0xEFu)
    {
        const bool overlong = lead == 0xE0u && byte(1) < 0xA0u;
        const bool surrogate = lead == 0xEDu && byte(1) > 0x9Fu;
        return continues(1) && continues(2) && !overlong && !surrogate ? 3 : 0;
    }
    if (lead >= 0xF0u && lead <= 0xF4u)
    {
        const bool overlong = lead == 0xF0u && byte(1) < 0x90u;
        const bool beyond = lead == 0xF4u && byte(1) > 0x8Fu;
        return continues(1) && continues(2) && continues(3) && !overlong && !beyond ? 4 : 0;
    }
    return 0;
}

void dropTrailingZeros(std::string& decimal)
{
    if (decimal.find('.') != std::string::npos)
    {
        decimal.erase(decimal.find_last_not_of('0') + 1);
        if (decimal.back() == '.')
        {
            decimal.pop_back();
        }
    }
}

} // namespace

std::string escapeHtml(std::string_view text)
{
    std::string escaped;
    escaped.reserve(text.size());
    while (!text.empty())
    {
        const std::size_t length = characterLength(text);
        const auto first = static_cast<unsigned char>(text.front());
        if (length == 0 || (first < 0x20u && first != '\t' && first != '\n') || first == 0x7Fu)
        {
            escaped += replacementCharacter;
        }
        else if (first == '&')
        {
            escaped += "&amp;";
        }
        else if (first == '<')
        {
            escaped += "&lt;";
        }
        else if (first == '>')
        {
            escaped += "&gt;";
        }
        else if (first == '"')
        {
            escaped += "&quot;";
        }
        else if (first == '\'')
        {
            escaped += "&#39;";
        }
        else
        {
            escaped += text.substr(0, length);
        }
        text.remove_prefix(std::max<std::size_t>(length, 1));
    }
    return escaped;
}

std::string escapeJsonForScript(std::string_view json)
{
    std::string escaped;
    escaped.reserve(json.size());
    for (std::size_t i = 0; i < json.size(); ++i)
    {
        const std::string_view rest = json.substr(i);
        if (json[i] == '<')
        {
            escaped += "\\u003c";
        }
        else if (json[i] == '>')
        {
            escaped += "\\u003e";
        }
        else if (json[i] == '&')
        {
            escaped += "\\u0026";
        }
        else if (rest.starts_with("\xE2\x80\xA8") || rest.starts_with("\xE2\x80\xA9"))
        {
            escaped += rest[2] == '\xA8' ? "\\u2028" : "\\u2029";
            i += 2;
        }
        else
        {
            escaped += json[i];
        }
    }
    return escaped;
}

std::string countText(std::int64_t count)
{
    std::string digits = std::to_string(count);
    const std::size_t sign = count < 0 ? 1 : 0;
    for (std::size_t at = digits.size(); at > sign + 3;)
    {
        at -= 3;
        digits.insert(at, narrowSpace);
    }
    return sign == 1 ? digits.replace(0, 1, minusSign) : digits;
}

std::string numberHtml(double value)
{
    if (!std::isfinite(value))
    {
        return std::string(dash);
    }
    if (value == 0.0)
    {
        return "0";
    }
    constexpr int significant = 5;
    char text[48];
    const double size = std::fabs(value);
    std::string html;
    if (size >= 1e-4 && size < 1e6)
    {
        // As many decimals as leave five significant digits; trailing zeros stay away.
        int exponent = -4;
        for (const double power : {1e-3, 1e-2, 1e-1, 1e0, 1e1, 1e2, 1e3, 1e4, 1e5})
        {
            exponent += size >= power ? 1 : 0;
        }
        const int decimals = std::clamp(significant - 1 - exponent, 0, 8);
        html.assign(text, std::to_chars(std::begin(text), std::end(text), size, std::chars_format::fixed, decimals).ptr);
        dropTrailingZeros(html);
        const std::size_t whole = std::min(html.find('.'), html.size());
        for (std::size_t at = whole; at > 3;)
        {
            at -= 3;
            html.insert(at, narrowSpace);
        }
    }
    else
    {
        html.assign(text, std::to_chars(std::begin(text), std::end(text), size, std::chars_format::scientific, significant - 2).ptr);
        const std::size_t e = html.find('e');
        int exponent = 0;
        std::from_chars(html.data() + e + (html[e + 1] == '+' ? 2 : 1), html.data() + html.size(), exponent);
        html.erase(e);
        dropTrailingZeros(html);
        html += "\xC3\x97"
                "10<sup>" +
                (exponent < 0 ? std::string(minusSign) : std::string()) + std::to_string(std::abs(exponent)) + "</sup>";
    }
    return value < 0.0 ? std::string(minusSign) + html : html;
}

std::string fixedText(double value)
{
    char text[400]; // the largest double has 309 digits before the point
    return {text, std::to_chars(std::begin(text), std::end(text), value, std::chars_format::fixed, 2).ptr};
}

std::string base64(std::span<const std::uint8_t> bytes)
{
    constexpr char alphabet[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::string text;
    text.reserve((bytes.size() + 2) / 3 * 4);
    for (std::size_t i = 0; i < bytes.size(); i += 3)
    {
        const std::size_t have = std::min<std::size_t>(3, bytes.size() - i);
        std::uint32_t group = static_cast<std::uint32_t>(bytes[i]) << 16;
        group |= have > 1 ? static_cast<std::uint32_t>(bytes[i + 1]) << 8 : 0u;
        group |= have > 2 ? static_cast<std::uint32_t>(bytes[i + 2]) : 0u;
        text += alphabet[group >> 18];
        text += alphabet[(group >> 12) & 63u];
        text += have > 1 ? alphabet[(group >> 6) & 63u] : '=';
        text += have > 2 ? alphabet[group & 63u] : '=';
    }
    return text;
}

} // namespace tav3d::tools
