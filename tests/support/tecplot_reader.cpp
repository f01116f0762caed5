#include "tecplot_reader.h"

#include <charconv>
#include <cstdio>
#include <cstdlib>

namespace tav3d::test
{

namespace
{

/// Lines one by one; each must end with a line feed.
class Lines
{
public:
    explicit Lines(const std::string& bytes)
        : bytes_(bytes)
    {
    }
    std::string next()
    {
        ++number_;
        const auto end = bytes_.find('\n', at_);
        if (end == std::string::npos)
            fail("has no end");
        std::string line = bytes_.substr(at_, end - at_);
        at_ = end + 1;
        return line;
    }
    void expectEnd()
    {
        ++number_;
        if (at_ != bytes_.size())
            fail("follows the last one");
    }
    [[noreturn]] void fail(const std::string& what) const { throw std::runtime_error("line " + std::to_string(number_) + " " + what); }

private:
    const std::string& bytes_;
    std::size_t at_ = 0;
    int number_ = 0;
};

/// The field of `width` characters at `place`: right-aligned, nothing but blanks before it.
std::string field(const Lines& lines, const std::string& line, std::size_t place, std::size_t width)
{
    const std::string text = line.substr(place * width, width);
    const auto start = text.find_first_not_of(' ');
    if (start == std::string::npos || text.find(' ', start) != std::string::npos)
        lines.fail("has no right-aligned field " + std::to_string(place + 1));
    return text.substr(start);
}

} // namespace

TecplotFile readTecplot(const std::string& bytes)
{
    Lines lines(bytes);
    TecplotFile file;
    file.variables = lines.next();
    const std::string header = lines.next();
    char title[100] = "";
    int nodes = -1, cells = -1;
    (void)std::sscanf(header.c_str(), "ZONE T=\"%99[^\"]\", N=%d, E=%d", title, &nodes, &cells);
    file.title = title;
    const std::string expected =
        "ZONE  T=\"" + file.title + "\", N=" + std::to_string(nodes) + ", E=" + std::to_string(cells) + ", F=FEPOINT, ET=BRICK";
    if (nodes < 0 || cells < 0 || header != expected)
        lines.fail("is no zone header");
    for (int i = 0; i < nodes; ++i)
    {
        const std::string line = lines.next();
        if (line.size() != 5 * 15)
            lines.fail("is not five fields of 15 characters");
        std::array<std::string, 5> value;
        for (std::size_t k = 0; k < 5; ++k)
        {
            value[k] = field(lines, line, k, 15);
            char* end = nullptr;
            (void)std::strtof(value[k].c_str(), &end);
            if (*end != '\0')
                lines.fail("has a field that is no number");
        }
        file.node.push_back(value);
    }
    if (!lines.next().empty())
        lines.fail("is not empty");
    for (int e = 0; e < cells; ++e)
    {
        const std::string line = lines.next();
        if (line.size() != 8 * 10)
            lines.fail("is not eight fields of 10 characters");
        std::array<int, 8> node{};
        for (std::size_t k = 0; k < 8; ++k)
        {
            const std::string text = field(lines, line, k, 10);
            const auto result = std::from_chars(text.data(), text.data() + text.size(), node[k]);
            if (result.ptr != text.data() + text.size() || node[k] < 1 || node[k] > nodes)
                lines.fail("has no node number in field " + std::to_string(k + 1));
        }
        file.cell.push_back(node);
    }
    lines.expectEnd();
    return file;
}

} // namespace tav3d::test
