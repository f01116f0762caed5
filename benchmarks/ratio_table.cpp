#include "benchmarks/ratio_table.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <set>
#include <utility>

namespace tav3d::benchmarks
{

namespace
{

using Line = std::vector<std::string>;

/// A Markdown table whose columns are as wide as what stands in them.
std::string table(const Line& head, const std::vector<Line>& lines)
{
    std::vector<std::size_t> width;
    for (std::size_t column = 0; column < head.size(); ++column)
    {
        width.push_back(characters(head[column]));
        for (const Line& line : lines)
            width.back() = std::max(width.back(), characters(line[column]));
    }
    std::string text;
    const auto add = [&](const Line& line)
    {
        for (std::size_t column = 0; column < line.size(); ++column)
            text.append("| ").append(line[column]).append(width[column] - characters(line[column]) + 1, ' ');
        text += "|\n";
    };
    add(head);
    for (const std::size_t w : width)
        text.append("|").append(w + 2, '-');
    text += "|\n";
    for (const Line& line : lines)
        add(line);
    return text;
}

std::string numberText(const char* format, double value)
{
    char text[64];
    std::snprintf(text, sizeof text, format, value);
    return text;
}

std::string ratioText(double ratio)
{
    return numberText(ratio < 9.995 ? "× %.2f" : ratio < 99.95 ? "× %.1f" : "× %.0f", ratio);
}

std::string countText(std::int64_t n)
{
    std::string digits = std::to_string(n);
    for (auto at = static_cast<std::ptrdiff_t>(digits.size()) - 3; at > 0; at -= 3)
        digits.insert(static_cast<std::size_t>(at), 1, ',');
    return n == 0 ? "" : digits;
}

std::string verdict(bool holds)
{
    return holds ? "yes" : "**no**";
}

const Figure* find(const std::vector<Figure>& figures, std::string_view row, std::string_view form, std::int64_t n)
{
    const auto found = std::find_if(figures.begin(), figures.end(),
                                    [&](const Figure& f) { return f.name.row == row && f.name.form == form && f.name.n == n; });
    return found == figures.end() ? nullptr : &*found;
}

std::vector<std::string> rowsOf(const std::vector<Figure>& figures)
{
    std::vector<std::string> rows;
    for (const Figure& f : figures)
        if (std::find(rows.begin(), rows.end(), f.name.row) == rows.end())
            rows.push_back(f.name.row);
    return rows;
}

/// Ours first, then the plain form, then the peers by name: figures come in random order.
std::vector<std::string> formsOf(const std::vector<Figure>& figures, std::string_view row)
{
    const auto rank = [](const std::string& form) { return form.starts_with("ours") ? 0 : form.starts_with("plain") ? 1 : 2; };
    std::vector<std::string> forms;
    for (const Figure& f : figures)
        if (f.name.row == row && std::find(forms.begin(), forms.end(), f.name.form) == forms.end())
            forms.push_back(f.name.form);
    std::sort(forms.begin(), forms.end(),
              [&](const std::string& a, const std::string& b) { return std::pair(rank(a), a) < std::pair(rank(b), b); });
    return forms;
}

/// Of the n that both forms were measured with, the nearest to the wanted one by ratio (0: the largest); nothing when there is none.
std::optional<std::int64_t> commonSize(const std::vector<Figure>& figures, std::string_view row, std::string_view a, std::string_view b,
                                       std::int64_t wanted)
{
    const auto distance = [&](std::int64_t n)
    { return wanted == 0 || n == 0 ? -static_cast<double>(n) : std::abs(std::log(static_cast<double>(n) / static_cast<double>(wanted))); };
    std::optional<std::int64_t> best;
    for (const Figure& f : figures)
        if (f.name.row == row && f.name.form == a && find(figures, row, b, f.name.n) && (!best || distance(f.name.n) < distance(*best)))
            best = f.name.n;
    return best;
}

Line ratioLine(const std::vector<Figure>& figures, const std::string& row, const std::string& form, const std::string& against,
               const RatioTarget* target)
{
    const std::string wanted = target ? numberText("≥ %.3g", target->atLeast) : "";
    const std::optional<std::int64_t> n = commonSize(figures, row, form, against, target ? target->n : 0);
    if (!n)
        return {row, "", form, "", against, "", "", "", wanted, "not measured"};
    const Figure& ours = *find(figures, row, form, *n);
    const Figure& theirs = *find(figures, row, against, *n);
    const std::string unit = ours.isPerItem ? " each" : "";
    if (ours.isPerItem != theirs.isPerItem)
        return {row, countText(*n), form, "", against, "", "", "", wanted, "not comparable: only one counts items"};
    const double ratio = theirs.minimum / ours.minimum;
    return {row,
            countText(*n),
            form,
            timeText(ours.minimum) + unit,
            against,
            timeText(theirs.minimum) + unit,
            ratioText(ratio),
            ratioText(theirs.median / ours.median),
            wanted,
            target ? verdict(ratio >= target->atLeast) : ""};
}

std::string ratios(const std::vector<Figure>& figures, const Targets& targets)
{
    std::vector<Line> lines;
    for (const std::string& row : rowsOf(figures))
    {
        const std::vector<std::string> forms = formsOf(figures, row);
        const bool hasPlain = std::find(forms.begin(), forms.end(), "plain") != forms.end();
        std::set<const RatioTarget*> open;
        for (const RatioTarget& target : targets.ratios)
            if (target.row == row)
                open.insert(&target);
        for (const std::string& form : forms)
            for (const std::string& against : forms)
            {
                if (!form.starts_with("ours") || against.starts_with("ours"))
                    continue;
                const auto target =
                    std::find_if(open.begin(), open.end(), [&](const RatioTarget* t) { return t->form == form && t->against == against; });
                const bool isWanted = target != open.end();
                if (!isWanted && form != "ours" && against != "plain" && hasPlain)
                    continue; // variants of ours have the plain form to show what they bring
                lines.push_back(ratioLine(figures, row, form, against, isWanted ? *target : nullptr));
                if (isWanted)
                    open.erase(target);
            }
        for (const RatioTarget& target : targets.ratios) // not the set, whose order is that of addresses
            if (open.contains(&target))
                lines.push_back(ratioLine(figures, row, std::string(target.form), std::string(target.against), &target));
        if (!lines.empty() && lines.back()[0] == row)
            continue;
        for (const std::string& form : forms) // nothing to compare it with
            if (const Figure* f = find(figures, row, form, commonSize(figures, row, form, form, 0).value_or(0)))
                lines.push_back(
                    {row, countText(f->name.n), form, timeText(f->minimum) + (f->isPerItem ? " each" : ""), "", "", "", "", "", ""});
    }
    return table({"row", "n", "form", "time", "against", "its time", "ratio", "of medians", "target", "holds"}, lines);
}

std::string growth(const std::vector<Figure>& figures, const Targets& targets)
{
    std::vector<Line> lines;
    for (const std::string& row : rowsOf(figures))
        for (const std::string& form : formsOf(figures, row))
        {
            std::vector<TimeAt> times;
            for (const Figure& f : figures)
                if (f.name.row == row && f.name.form == form && f.name.n > 0)
                    times.push_back({f.name.n, f.isPerItem ? f.minimum * static_cast<double>(f.name.n) : f.minimum});
            std::sort(times.begin(), times.end(), [](const TimeAt& x, const TimeAt& y) { return x.n < y.n; });
            std::string shown;
            for (const TimeAt& t : times)
                shown.append(shown.empty() ? "" : ", ").append(countText(t.n)).append(": ").append(timeText(t.seconds));
            const auto target = std::find_if(targets.growth.begin(), targets.growth.end(),
                                             [&](const GrowthTarget& t) { return t.row == row && form == "ours"; });
            const bool isWanted = target != targets.growth.end();
            const std::optional<double> exponent = growthExponent(times);
            if (exponent || isWanted)
                lines.push_back({row, form, shown, exponent ? numberText("%.2f", *exponent) : "",
                                 isWanted ? numberText("≤ %.3g", target->atMost) : "",
                                 !isWanted   ? ""
                                 : !exponent ? "not measured"
                                             : verdict(*exponent <= target->atMost)});
        }
    return lines.empty() ? "" : table({"row", "form", "time for n", "exponent", "target", "holds"}, lines);
}

std::string counters(const std::vector<Figure>& figures, const Targets& targets)
{
    std::vector<Line> lines;
    for (const CounterTarget& target : targets.counters)
    {
        const std::string name(target.counter);
        const std::string wanted = numberText("≤ %.3g", target.atMost);
        bool isMeasured = false, isRow = false;
        for (const Figure& f : figures)
        {
            if (f.name.row != target.row)
                continue;
            isRow = true;
            const auto counter = f.counters.find(name);
            if (f.name.form != "ours" || counter == f.counters.end())
                continue;
            isMeasured = true;
            lines.push_back({f.name.row, countText(f.name.n), name, numberText("%.3g", counter->second), wanted,
                             verdict(counter->second <= target.atMost)});
        }
        if (isRow && !isMeasured)
            lines.push_back({std::string(target.row), "", name, "", wanted, "not measured"});
    }
    return lines.empty() ? "" : table({"row", "n", "counter", "value", "target", "holds"}, lines);
}

std::string unmeasuredRows(const std::vector<Figure>& figures, const Targets& targets)
{
    const std::vector<std::string> measured = rowsOf(figures);
    std::string names;
    std::set<std::string_view> named;
    const auto add = [&](std::string_view row)
    {
        if (std::find(measured.begin(), measured.end(), row) == measured.end() && named.insert(row).second)
            names.append(names.empty() ? "" : ", ").append(row);
    };
    for (const RatioTarget& t : targets.ratios)
        add(t.row);
    for (const GrowthTarget& t : targets.growth)
        add(t.row);
    for (const CounterTarget& t : targets.counters)
        add(t.row);
    return names.empty() ? names : "Rows with targets that were not measured: " + names + ".\n";
}

} // namespace

std::optional<double> growthExponent(std::span<const TimeAt> times)
{
    double meanX = 0.0, meanY = 0.0;
    for (const TimeAt& t : times)
    {
        meanX += std::log(static_cast<double>(t.n)) / static_cast<double>(times.size());
        meanY += std::log(t.seconds) / static_cast<double>(times.size());
    }
    double xx = 0.0, xy = 0.0;
    for (const TimeAt& t : times)
    {
        const double x = std::log(static_cast<double>(t.n)) - meanX;
        xx += x * x;
        xy += x * (std::log(t.seconds) - meanY);
    }
    const bool hasTwo = std::any_of(times.begin(), times.end(), [&](const TimeAt& t) { return t.n != times.front().n; });
    return hasTwo ? std::optional(xy / xx) : std::nullopt;
}

std::string ratioTables(const std::vector<Figure>& figures, const Targets& targets)
{
    std::string text;
    for (const std::string& part :
         {ratios(figures, targets), growth(figures, targets), counters(figures, targets), unmeasuredRows(figures, targets)})
        if (!part.empty())
            text.append(text.empty() ? "" : "\n").append(part);
    return text;
}

} // namespace tav3d::benchmarks
