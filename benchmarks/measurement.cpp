#include "benchmarks/measurement.h"

#include <algorithm>
#include <charconv>
#include <cstdio>

namespace tav3d::benchmarks
{

namespace
{

double medianOf(std::vector<double> values)
{
    std::sort(values.begin(), values.end());
    const std::size_t half = values.size() / 2;
    return values.size() % 2 == 1 ? values[half] : (values[half - 1] + values[half]) / 2.0;
}

bool isSame(const BenchmarkName& a, const BenchmarkName& b)
{
    return a.row == b.row && a.form == b.form && a.n == b.n;
}

} // namespace

BenchmarkName parseName(std::string_view name)
{
    BenchmarkName parsed;
    for (int part = 0; !name.empty(); ++part)
    {
        const std::string_view word = name.substr(0, name.find('/'));
        name.remove_prefix(std::min(name.size(), word.size() + 1));
        if (part == 0)
            parsed.row = word;
        else if (part == 1)
            parsed.form = word;
        else if (word == "real_time" || word == "manual_time")
            parsed.isRealTime = true;
        else if (std::int64_t n = 0;
                 parsed.n == 0 && std::from_chars(word.data(), word.data() + word.size(), n).ptr == word.data() + word.size())
            parsed.n = n;
    }
    return parsed;
}

std::vector<Figure> summarize(const std::vector<Measurement>& measurements)
{
    std::vector<Figure> figures;
    for (const Measurement& first : measurements)
    {
        if (std::any_of(figures.begin(), figures.end(), [&](const Figure& f) { return isSame(f.name, first.name); }))
            continue;
        Figure figure{.name = first.name, .isPerItem = first.itemsPerSecond > 0.0};
        std::vector<double> seconds;
        std::map<std::string, std::vector<double>> counters;
        for (const Measurement& m : measurements)
        {
            if (!isSame(m.name, first.name))
                continue;
            seconds.push_back(figure.isPerItem ? 1.0 / m.itemsPerSecond : m.seconds);
            for (const auto& [counter, value] : m.counters)
                counters[counter].push_back(value);
        }
        figure.minimum = *std::min_element(seconds.begin(), seconds.end());
        figure.median = medianOf(seconds);
        figure.repetitions = seconds.size();
        for (const auto& [counter, values] : counters)
            figure.counters[counter] = medianOf(values);
        figures.push_back(std::move(figure));
    }
    return figures;
}

std::string timeText(double seconds)
{
    constexpr struct
    {
        double scale;
        const char* unit;
    } units[] = {{1e9, "ns"}, {1e6, "µs"}, {1e3, "ms"}, {1.0, "s"}};
    const auto* unit = units;
    while (unit->scale > 1.0 && seconds * unit->scale >= 999.5)
        ++unit;
    const double value = seconds * unit->scale;
    char text[32];
    std::snprintf(text, sizeof text, "%.*f %s", value < 9.995 ? 2 : value < 99.95 ? 1 : 0, value, unit->unit);
    return text;
}

std::size_t characters(std::string_view text)
{
    return static_cast<std::size_t>(
        std::count_if(text.begin(), text.end(), [](char c) { return (static_cast<unsigned char>(c) & 0xC0) != 0x80; }));
}

std::string padded(const std::string& text, std::size_t width)
{
    return std::string(width - std::min(width, characters(text)), ' ') + text;
}

} // namespace tav3d::benchmarks
