#include "stl_file.h"

#include "common/file_names.h"

#include <algorithm>
#include <bit>
#include <cctype>
#include <charconv>
#include <cmath>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <string_view>

namespace tav3d::tools
{

namespace
{

using Corners = std::array<Vec3, 3>;

constexpr std::size_t binaryHeaderSize = 84; // 80 free bytes and the triangle count
constexpr std::size_t binaryTriangleSize = 50;

std::string readAll(const std::string& path)
{
    const std::filesystem::path filePath = common::pathOf(path);
    if (std::filesystem::is_directory(filePath))
    {
        throw std::runtime_error("is a folder, not a file");
    }
    std::ifstream file(filePath, std::ios::binary);
    if (!file)
    {
        throw std::runtime_error("cannot be opened for reading");
    }
    std::string bytes(std::istreambuf_iterator<char>(file), {});
    if (file.bad())
    {
        throw std::runtime_error("cannot be read");
    }
    return bytes;
}

void requireFinite(const Vec3& p, std::size_t triangle, int corner)
{
    if (!std::isfinite(p.x) || !std::isfinite(p.y) || !std::isfinite(p.z))
    {
        throw std::runtime_error("triangle " + std::to_string(triangle) + ", vertex " + std::to_string(corner) +
                                 ": coordinate is not finite");
    }
}

// ---- binary

std::uint32_t uint32At(std::string_view bytes, std::size_t offset)
{
    std::uint32_t value = 0;
    for (int i = 3; i >= 0; --i)
    {
        value = value << 8 | static_cast<unsigned char>(bytes[offset + i]);
    }
    return value;
}

std::vector<Corners> parseBinary(std::string_view bytes, std::vector<std::string>& warnings)
{
    const std::size_t count = uint32At(bytes, 80);
    const std::size_t held = (bytes.size() - binaryHeaderSize) / binaryTriangleSize;
    if (count > held)
    {
        throw std::runtime_error("announces " + std::to_string(count) + " triangles but holds only " + std::to_string(held) +
                                 " (truncated, or no STL file)");
    }
    const std::size_t rest = bytes.size() - binaryHeaderSize - count * binaryTriangleSize;
    if (rest != 0)
    {
        warnings.push_back(std::to_string(rest) + " bytes behind the last triangle ignored");
    }
    std::vector<Corners> triangles(count);
    for (std::size_t t = 0; t < count; ++t)
    {
        std::size_t at = binaryHeaderSize + t * binaryTriangleSize + 12; // behind the normal, which the corners give better
        for (int c = 0; c < 3; ++c)
        {
            for (int axis = 0; axis < 3; ++axis, at += 4)
            {
                triangles[t][c][axis] = std::bit_cast<float>(uint32At(bytes, at));
            }
            requireFinite(triangles[t][c], t + 1, c + 1);
        }
    }
    return triangles;
}

// ---- ASCII

/// Words of a text, with the line they stand on.
class Words
{
public:
    explicit Words(std::string_view text)
        : text_(text)
    {
    }

    /// The next word, empty at the end of the text.
    std::string_view next()
    {
        while (at_ < text_.size() && isSpace(text_[at_]))
        {
            line_ += text_[at_++] == '\n';
        }
        const std::size_t first = at_;
        while (at_ < text_.size() && !isSpace(text_[at_]))
        {
            ++at_;
        }
        return text_.substr(first, at_ - first);
    }

    void skipLine() { at_ = std::min(text_.find('\n', at_), text_.size()); }
    [[nodiscard]] std::size_t line() const { return line_; }

private:
    static bool isSpace(char c) { return std::isspace(static_cast<unsigned char>(c)) != 0; }

    std::string_view text_;
    std::size_t at_ = 0;
    std::size_t line_ = 1;
};

bool sameWord(std::string_view a, std::string_view lowerCase)
{
    return std::equal(a.begin(), a.end(), lowerCase.begin(), lowerCase.end(),
                      [](char x, char y) { return std::tolower(static_cast<unsigned char>(x)) == y; });
}

[[noreturn]] void failAscii(const Words& words, std::string_view found, const std::string& expected, std::size_t triangle)
{
    if (found.empty())
    {
        throw std::runtime_error("ends within triangle " + std::to_string(triangle) + " (truncated): expected " + expected);
    }
    throw std::runtime_error("line " + std::to_string(words.line()) + ": expected " + expected + ", found '" +
                             std::string(found.substr(0, 40)) + "' (no STL file, or damaged)");
}

void expect(Words& words, std::string_view keyword, std::size_t triangle)
{
    const std::string_view word = words.next();
    if (!sameWord(word, keyword))
    {
        failAscii(words, word, "'" + std::string(keyword) + "'", triangle);
    }
}

double expectNumber(Words& words, std::size_t triangle)
{
    const std::string_view word = words.next();
    const std::string_view digits = word.substr(!word.empty() && word.front() == '+' ? 1 : 0); // from_chars takes no plus sign
    double value = 0;
    const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), value);
    if (word.empty() || end != digits.data() + digits.size() || (error != std::errc{} && error != std::errc::result_out_of_range))
    {
        failAscii(words, word, "a number", triangle);
    }
    return value;
}

std::vector<Corners> parseAscii(std::string_view text, std::vector<std::string>& warnings)
{
    std::vector<Corners> triangles;
    Words words(text);
    bool inSolid = false;
    for (std::string_view word = words.next();; word = words.next())
    {
        const std::size_t number = triangles.size() + 1;
        if (!inSolid)
        {
            if (word.empty())
            {
                return triangles;
            }
            if (!sameWord(word, "solid"))
            {
                failAscii(words, word, "'solid'", number);
            }
            words.skipLine(); // the rest of the line is the solid's name
            inSolid = true;
        }
        else if (sameWord(word, "endsolid"))
        {
            words.skipLine();
            inSolid = false;
        }
        else if (sameWord(word, "facet"))
        {
            expect(words, "normal", number);
            for (int i = 0; i < 3; ++i)
            {
                expectNumber(words, number);
            }
            expect(words, "outer", number);
            expect(words, "loop", number);
            Corners& corners = triangles.emplace_back();
            for (int c = 0; c < 3; ++c)
            {
                expect(words, "vertex", number);
                for (int axis = 0; axis < 3; ++axis)
                {
                    corners[c][axis] = expectNumber(words, number);
                }
                requireFinite(corners[c], number, c + 1);
            }
            expect(words, "endloop", number);
            expect(words, "endfacet", number);
        }
        else if (word.empty())
        {
            if (triangles.empty())
            {
                throw std::runtime_error("starts like an ASCII STL file but has no triangle");
            }
            warnings.push_back("'endsolid' is missing; the file may be truncated");
            return triangles;
        }
        else
        {
            failAscii(words, word, "'facet' or 'endsolid'", number);
        }
    }
}

std::vector<Corners> parse(std::string_view bytes, std::vector<std::string>& warnings)
{
    if (bytes.empty())
    {
        throw std::runtime_error("is empty");
    }
    // Some programs begin binary files with "solid" too; a size that fits the count, or zero bytes, tell them from text.
    const std::size_t firstWord = bytes.find_first_not_of(" \t\r\n");
    const bool saysSolid = firstWord != std::string_view::npos && sameWord(bytes.substr(firstWord, 5), "solid");
    const bool sizeFits =
        bytes.size() >= binaryHeaderSize && bytes.size() == binaryHeaderSize + binaryTriangleSize * std::size_t{uint32At(bytes, 80)};
    const bool hasZeroByte = bytes.find('\0') != std::string_view::npos;
    if (saysSolid && !sizeFits && !hasZeroByte)
    {
        return parseAscii(bytes, warnings);
    }
    if (bytes.size() < binaryHeaderSize)
    {
        throw std::runtime_error("is no STL file (" + std::to_string(bytes.size()) + " bytes, and no 'solid' at the start)");
    }
    if (!sizeFits && !hasZeroByte)
    {
        throw std::runtime_error("is no STL file (text without 'solid' at the start)");
    }
    return parseBinary(bytes, warnings);
}

// ---- clean-up

TriangleMesh weld(const std::vector<Corners>& triangles)
{
    const std::size_t n = 3 * triangles.size();
    std::vector<std::int32_t> order(n);
    for (std::size_t i = 0; i < n; ++i)
    {
        order[i] = static_cast<std::int32_t>(i);
    }
    const auto corner = [&](std::int32_t i) -> const Vec3& { return triangles[i / 3][i % 3]; };
    std::sort(order.begin(), order.end(),
              [&](std::int32_t i, std::int32_t j)
              {
                  const Vec3 &a = corner(i), &b = corner(j);
                  return a.x != b.x ? a.x < b.x : a.y != b.y ? a.y < b.y : a.z != b.z ? a.z < b.z : i < j;
              });
    TriangleMesh mesh;
    mesh.triangle.resize(triangles.size());
    for (std::size_t i = 0; i < n; ++i)
    {
        if (i == 0 || !(corner(order[i]) == corner(order[i - 1])))
        {
            mesh.vertex.push_back(corner(order[i]));
        }
        mesh.triangle[order[i] / 3][order[i] % 3] = static_cast<std::int32_t>(mesh.vertex.size() - 1);
    }
    return mesh;
}

std::string counted(std::int64_t n, const std::string& singular, const std::string& plural)
{
    return std::to_string(n) + " " + (n == 1 ? singular : plural);
}

/// Drops triangles that enclose nothing. A flat triangle with three different corners stays: it closes the edges of its neighbours and no ray hits it.
void dropUseless(TriangleMesh& mesh, std::vector<std::string>& warnings)
{
    auto& triangles = mesh.triangle;
    const auto before = static_cast<std::int64_t>(triangles.size());
    std::erase_if(triangles, [](const auto& t) { return t[0] == t[1] || t[1] == t[2] || t[2] == t[0]; });
    if (const auto dropped = before - static_cast<std::int64_t>(triangles.size()); dropped > 0)
    {
        warnings.push_back(counted(dropped, "degenerate triangle", "degenerate triangles") + " dropped");
    }

    struct Key
    {
        std::array<std::int32_t, 3> corners; // ascending
        int direction;                       // +1 when that is the triangle's own direction
        std::int32_t index;
    };
    std::vector<Key> keys;
    keys.reserve(triangles.size());
    for (std::size_t i = 0; i < triangles.size(); ++i)
    {
        auto c = triangles[i];
        std::rotate(c.begin(), std::min_element(c.begin(), c.end()), c.end());
        const int direction = c[1] < c[2] ? 1 : -1;
        if (direction < 0)
        {
            std::swap(c[1], c[2]);
        }
        keys.push_back({c, direction, static_cast<std::int32_t>(i)});
    }
    std::sort(keys.begin(), keys.end(),
              [](const Key& a, const Key& b) { return a.corners != b.corners ? a.corners < b.corners : a.index < b.index; });
    std::vector<bool> keep(triangles.size(), true);
    std::int64_t duplicates = 0;
    for (std::size_t first = 0; first < keys.size();)
    {
        std::size_t last = first;
        int sum = 0;
        for (; last < keys.size() && keys[last].corners == keys[first].corners; ++last)
        {
            sum += keys[last].direction;
            keep[keys[last].index] = false;
        }
        if (sum != 0)
        {
            const auto survivor =
                std::find_if(keys.begin() + first, keys.begin() + last, [&](const Key& k) { return k.direction * sum > 0; });
            keep[survivor->index] = true;
        }
        duplicates += static_cast<std::int64_t>(last - first) - (sum != 0 ? 1 : 0);
        first = last;
    }
    if (duplicates > 0)
    {
        std::size_t kept = 0;
        for (std::size_t i = 0; i < triangles.size(); ++i)
        {
            if (keep[i])
            {
                triangles[kept++] = triangles[i];
            }
        }
        triangles.resize(kept);
        warnings.push_back(counted(duplicates, "duplicate triangle", "duplicate triangles") + " dropped");
    }
}

StlSurface read(const std::string& path)
{
    StlSurface surface;
    const std::vector<Corners> triangles = parse(readAll(path), surface.warnings);
    if (triangles.empty())
    {
        throw std::runtime_error("has no triangle");
    }
    if (triangles.size() > 100'000'000)
    {
        throw std::runtime_error("has more than 100 million triangles");
    }
    surface.mesh = weld(triangles);
    dropUseless(surface.mesh, surface.warnings);

    const Box box = bounds(surface.mesh);
    const Vec3 size = box.high - box.low;
    surface.volume = std::abs(signedVolume(surface.mesh));
    if (!(surface.volume > 1e-9 * size.x * size.y * size.z) || surface.mesh.triangle.size() < 4)
    {
        throw std::runtime_error("encloses no volume");
    }
    surface.edges = checkEdges(surface.mesh);
    if (surface.edges.open > 0)
    {
        surface.warnings.push_back("surface is open: " + counted(surface.edges.open, "edge", "edges") +
                                   " without a neighbour; holes are bridged by a majority vote of rays along the three axes");
    }
    if (surface.edges.misoriented > 0)
    {
        surface.warnings.push_back("triangles on " + counted(surface.edges.misoriented, "edge", "edges") +
                                   " are oriented against each other; the volume of the STL file is not reliable");
    }
    return surface;
}

} // namespace

StlSurface readStl(const std::string& path)
{
    try
    {
        return read(path);
    }
    catch (const std::runtime_error& error)
    {
        throw std::runtime_error(path + ": " + error.what());
    }
}

} // namespace tav3d::tools
