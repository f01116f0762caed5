#include "json.h"

#include <charconv>
#include <cmath>
#include <cstdio>

namespace tav3d::tools
{

JsonWriter& JsonWriter::key(std::string_view name)
{
    separate();
    quote(name);
    text_ += ": ";
    afterKey_ = true;
    return *this;
}

JsonWriter& JsonWriter::value(std::string_view text)
{
    separate();
    quote(text);
    return *this;
}

JsonWriter& JsonWriter::value(double number)
{
    if (!std::isfinite(number))
    {
        return raw("null");
    }
    char digits[32];
    const auto result = std::to_chars(digits, digits + sizeof digits, number);
    return raw({digits, static_cast<std::size_t>(result.ptr - digits)});
}

JsonWriter& JsonWriter::begin(char open, char close)
{
    separate();
    text_ += open;
    levels_.push_back({close, true});
    return *this;
}

JsonWriter& JsonWriter::end()
{
    const Level level = levels_.back();
    levels_.pop_back();
    if (!level.empty)
    {
        text_ += '\n';
        text_.append(2 * levels_.size(), ' ');
    }
    text_ += level.close;
    return *this;
}

JsonWriter& JsonWriter::raw(std::string_view token)
{
    separate();
    text_ += token;
    return *this;
}

void JsonWriter::separate()
{
    if (afterKey_)
    {
        afterKey_ = false;
        return;
    }
    if (levels_.empty())
    {
        return;
    }
    text_ += levels_.back().empty ? "\n" : ",\n";
    text_.append(2 * levels_.size(), ' ');
    levels_.back().empty = false;
}

void JsonWriter::quote(std::string_view text)
{
    text_ += '"';
    for (const char c : text)
    {
        if (c == '"' || c == '\\')
        {
            text_ += '\\';
            text_ += c;
        }
        else if (static_cast<unsigned char>(c) < 0x20)
        {
            char code[8];
            std::snprintf(code, sizeof code, "\\u%04x", c);
            text_ += code;
        }
        else
        {
            text_ += c;
        }
    }
    text_ += '"';
}

} // namespace tav3d::tools
