#include "mapping_report_charts.h"

#include "mapping_report_text.h"

#include <algorithm>

namespace tav3d::tools
{

namespace
{

/// Share of nodes as a reader wants it: whole percents, "<1 %" for a few, nothing for none.
std::string shareText(std::int64_t part, std::int64_t whole)
{
    if (part == 0 || whole == 0)
    {
        return {};
    }
    const double percent = 100.0 * static_cast<double>(part) / static_cast<double>(whole);
    const std::string number = percent < 1.0                    ? "&lt;1"
                               : percent > 99.0 && part < whole ? "&gt;99"
                                                                : numberHtml(static_cast<int>(percent + 0.5));
    return number + "\xE2\x80\xAF%";
}

} // namespace

std::string ruleBarSvg(const ValueOrigin& origin)
{
    constexpr double width = 120.0;
    constexpr double leastVisible = 2.0;
    if (origin.nodes <= 0)
    {
        return {};
    }
    std::array<double, valueRuleCount> widths{};
    double total = 0.0;
    for (std::size_t rule = 0; rule < valueRuleCount; ++rule)
    {
        const std::int64_t nodes = origin.nodesByRule[rule];
        widths[rule] = nodes > 0 ? std::max(leastVisible, width * static_cast<double>(nodes) / static_cast<double>(origin.nodes)) : 0.0;
        total += widths[rule];
    }
    std::string svg = R"(<svg width="120" height="10" viewBox="0 0 120 10" preserveAspectRatio="none" aria-hidden="true">)";
    double left = 0.0;
    for (std::size_t rule = 0; rule < valueRuleCount; ++rule)
    {
        if (widths[rule] > 0.0)
        {
            const double scaled = widths[rule] * width / total;
            svg += "<rect class=\"rule-" + std::to_string(rule) + "\" x=\"" + fixedText(left) + "\" y=\"0\" width=\"" + fixedText(scaled) +
                   "\" height=\"10\"/>";
            left += scaled;
        }
    }
    return svg + "</svg>";
}

std::string distanceHistogramSvg(const DistanceSummary& distances)
{
    constexpr double step = 34.0;
    constexpr double gap = 2.0;
    constexpr double base = 74.0;
    constexpr double tallest = 56.0;
    const std::int64_t most = std::max<std::int64_t>(1, *std::max_element(distances.bins.begin(), distances.bins.end()));
    std::string svg = R"(<svg class="histogram" viewBox="0 0 244 92" role="img" aria-label="Nodes by distance in cell sizes:)";
    for (std::size_t bin = 0; bin < distances.bins.size(); ++bin)
    {
        const bool last = bin == DistanceSummary::binBounds.size();
        svg += (bin > 0 ? ", " : " ") + countText(distances.bins[bin]) +
               (last ? " beyond" : " up to " + numberHtml(DistanceSummary::binBounds[bin]));
    }
    svg += "\">";
    for (std::size_t bin = 0; bin < distances.bins.size(); ++bin)
    {
        const double left = step * static_cast<double>(bin) + 3.0;
        const std::int64_t nodes = distances.bins[bin];
        if (nodes > 0)
        {
            const double height = std::max(1.0, tallest * static_cast<double>(nodes) / static_cast<double>(most));
            svg += "<rect class=\"column\" x=\"" + fixedText(left + gap / 2) + "\" y=\"" + fixedText(base - height) + "\" width=\"" +
                   fixedText(step - gap) + "\" height=\"" + fixedText(height) + "\"><title>" + countText(nodes) + " nodes</title></rect>";
            svg += "<text class=\"share\" text-anchor=\"middle\" x=\"" + fixedText(left + step / 2) + "\" y=\"" +
                   fixedText(base - height - 4) + "\">" + shareText(nodes, distances.count) + "</text>";
        }
        if (bin < DistanceSummary::binBounds.size())
        {
            svg += "<text text-anchor=\"middle\" x=\"" + fixedText(left + step) + "\" y=\"88\">" +
                   numberHtml(DistanceSummary::binBounds[bin]) + "</text>";
        }
    }
    svg += R"(<text text-anchor="middle" x="3" y="88">0</text><text text-anchor="end" x="243" y="88">∞</text>)";
    return svg + R"(<line class="axis" x1="3" x2="241" y1="74.5" y2="74.5"/></svg>)";
}

} // namespace tav3d::tools
