#include "point_table.h"

#include "common/file_names.h"
#include "opensuite/file_error.h"

#include <algorithm>
#include <cctype>
#include <charconv>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <optional>
#include <utility>

namespace tav3d::tools
{

using opensuite::FileError;
using opensuite::FileFailure;

namespace
{

std::string_view trimmed(std::string_view text)
{
    const auto isBlank = [](char c) { return c == ' ' || c == '\t' || c == '\r'; };
    while (!text.empty() && isBlank(text.front()))
        text.remove_prefix(1);
    while (!text.empty() && isBlank(text.back()))
        text.remove_suffix(1);
    return text;
}

/// The columns of a line; quotation marks around a column are taken off.
std::vector<std::string_view> columnsOf(std::string_view line)
{
    std::vector<std::string_view> columns;
    for (;;)
    {
        std::size_t comma = line.find(',');
        if (const std::string_view start = trimmed(line); start.starts_with('"'))
        {
            // Commas between the marks are part of the column.
            const auto open = static_cast<std::size_t>(start.data() - line.data());
            const std::size_t close = line.find('"', open + 1);
            comma = close == std::string_view::npos ? close : line.find(',', close);
        }
        std::string_view column = trimmed(line.substr(0, comma));
        if (column.size() >= 2 && column.front() == '"' && column.back() == '"')
            column = column.substr(1, column.size() - 2);
        columns.push_back(column);
        if (comma == std::string_view::npos)
            return columns;
        line.remove_prefix(comma + 1);
    }
}

std::optional<double> numberIn(std::string_view text)
{
    if (text.starts_with('+') && text.size() > 1 && text[1] != '-')
        text.remove_prefix(1);
    double number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (error != std::errc{} || end != text.data() + text.size())
        return {};
    return number;
}

struct Columns
{
    std::size_t at[3] = {0, 1, 2};
    std::size_t count = 3;
};

/// Where x, y and z stand by their names; nothing when the line holds a number and so is no line of names.
std::optional<Columns> headerColumns(const std::vector<std::string_view>& names, const auto& fail)
{
    if (std::ranges::any_of(names, [](std::string_view name) { return numberIn(name).has_value(); }))
        return {};
    Columns columns;
    columns.count = names.size();
    for (std::size_t axis = 0; axis < 3; ++axis)
    {
        const char wanted = "xyz"[axis];
        const auto isName = [&](std::string_view name)
        { return name.size() == 1 && std::tolower(static_cast<unsigned char>(name[0])) == wanted; };
        const auto found = std::ranges::find_if(names, isName);
        if (found == names.end())
            fail("no number stands here, and as a line of names it lacks " + std::string(1, wanted));
        if (std::find_if(found + 1, names.end(), isName) != names.end())
            fail("two columns are named " + std::string(1, wanted));
        columns.at[axis] = static_cast<std::size_t>(found - names.begin());
    }
    return columns;
}

} // namespace

std::vector<Vec3> parsePoints(std::string_view text, const std::string& file)
{
    if (text.starts_with("\xEF\xBB\xBF")) // some programs mark UTF-8 so
        text.remove_prefix(3);
    std::vector<Vec3> points;
    Columns columns;
    bool isFirst = true;
    for (std::size_t number = 1; !text.empty(); ++number)
    {
        const std::size_t end = text.find('\n');
        const std::string_view line = trimmed(text.substr(0, end));
        text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
        if (line.empty() || line.front() == '#')
            continue;
        const auto fail = [&](const std::string& reason)
        { throw FileError(FileFailure::BadContent, file, "line " + std::to_string(number), reason); };
        const std::vector<std::string_view> column = columnsOf(line);
        if (std::exchange(isFirst, false))
            if (const auto named = headerColumns(column, fail))
            {
                columns = *named;
                continue;
            }
        if (column.size() != columns.count)
            fail(std::to_string(column.size()) + " columns where " + std::to_string(columns.count) + " are wanted");
        Vec3 point;
        for (int axis = 0; axis < 3; ++axis)
        {
            const std::string_view cell = column[columns.at[axis]];
            const std::optional<double> value = numberIn(cell);
            if (!value || !std::isfinite(*value))
                fail(std::string(1, "xyz"[axis]) + ": '" + std::string(cell) + "' is no finite number");
            point[axis] = *value;
        }
        points.push_back(point);
    }
    if (points.empty())
        throw FileError(FileFailure::BadContent, file, "", "holds no points");
    return points;
}

std::vector<Vec3> readPoints(const std::string& file)
{
    std::error_code error;
    const std::filesystem::path path = common::pathOf(file);
    if (std::filesystem::is_directory(path, error))
        throw FileError(FileFailure::CannotOpen, file, "", "is a folder");
    std::ifstream stream(path, std::ios::binary);
    if (!stream)
        throw FileError(FileFailure::CannotOpen, file, "", "cannot be opened for reading");
    const std::string text{std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
    if (stream.bad())
        throw FileError(FileFailure::CannotOpen, file, "", "cannot be read");
    return parsePoints(text, file);
}

std::string csvField(const std::string& text)
{
    if (text.find_first_of(",\"\r\n") == std::string::npos)
        return text;
    std::string out = "\"";
    for (const char c : text)
        out += c == '"' ? "\"\"" : std::string(1, c);
    return out + '"';
}

} // namespace tav3d::tools
