#include "mapping_report_tables.h"

#include "mapping_report_charts.h"
#include "mapping_report_text.h"

#include <algorithm>

namespace tav3d::tools
{

namespace
{

constexpr const char* dashText = "–";

const char* regionName(Region region) noexcept
{
    constexpr const char* names[] = {"All nodes", "Part surface", "Part-insert surface", "Inside the part", "Mould base"};
    return names[static_cast<int>(region)];
}

std::string cell(const std::string& classes, const std::string& content)
{
    return "<td class=\"" + classes + "\">" + content + "</td>";
}

std::string countCell(std::int64_t count, const char* classes = "n")
{
    return cell(std::string(classes) + (count == 0 ? " zero" : ""), countText(count));
}

/// Three cells: minimum, mean, maximum; dashes when nothing was summarised.
std::string valueCells(const ValueSummary& values)
{
    if (values.count == 0)
    {
        return cell("n first zero", dashText) + cell("n zero", dashText) + cell("n zero", dashText);
    }
    return cell("n first", numberHtml(values.minimum)) + cell("n", numberHtml(values.mean)) + cell("n", numberHtml(values.maximum));
}

constexpr const char* valueGroups = R"(<th colspan="3" scope="colgroup"><span>Voxel mesh</span></th>)"
                                    R"(<th colspan="3" scope="colgroup"><span>Cut-cell mesh</span></th>)";
constexpr const char* valueHeads = R"(<th class="n first" scope="col">Min</th><th class="n" scope="col">Mean</th>)"
                                   R"(<th class="n" scope="col">Max</th>)";

std::string itemName(const ItemReport& item)
{
    std::string html = "<bdi>" + escapeHtml(item.name) + "</bdi>";
    if (!item.unit.empty())
    {
        html += " <span class=\"unit\"><bdi>" + escapeHtml(item.unit) + "</bdi></span>";
    }
    return html;
}

std::string treatment(const ItemReport& item)
{
    if (!item.known)
    {
        return "copied unmapped, voxel layout";
    }
    std::string text = item.smoothed ? "smoothed, mapped" : "mapped";
    if (item.throughIdMap)
    {
        text += ", ID map of type " + std::to_string(item.resultType);
    }
    return text;
}

std::string itemsTable(const FileReport& file)
{
    std::string html = R"(<div class="scroll" tabindex="0" role="region" aria-label="Items"><table><thead>)"
                       R"(<tr class="groups"><th></th><th></th><th></th><th></th><th></th><th></th>)";
    html += valueGroups;
    html += R"(</tr><tr><th class="n" scope="col">No.</th><th scope="col">Item</th><th class="n" scope="col">Type</th>)"
            R"(<th scope="col">Treatment</th><th class="n" scope="col">Nodes</th><th class="n" scope="col">Without value</th>)";
    html += std::string(valueHeads) + valueHeads + "</tr></thead><tbody>\n";
    for (const ItemReport& item : file.items)
    {
        html += "<tr>" + cell("n", std::to_string(item.number)) + "<th class=\"name\" scope=\"row\">" + itemName(item) + "</th>" +
                cell("n", std::to_string(item.resultType)) + cell("tags", treatment(item));
        const RegionReport* whole = wholeModel(item);
        if (whole != nullptr)
        {
            html +=
                countCell(whole->origin.nodes) + countCell(whole->nodesWithoutValue) + valueCells(whole->before) + valueCells(whole->after);
        }
        else
        {
            html += cell("n zero", dashText) + cell("n zero", dashText) + valueCells({}) + valueCells({});
        }
        html += "</tr>\n";
    }
    return html + "</tbody></table></div>\n";
}

std::string regionsTable(const FileReport& file)
{
    std::string html = R"(<details><summary>Values by region</summary>)"
                       R"(<div class="scroll" tabindex="0" role="region" aria-label="Values by region"><table><thead>)"
                       R"(<tr class="groups"><th></th><th></th><th></th><th></th>)";
    html += valueGroups;
    html += R"(</tr><tr><th scope="col">Item</th><th scope="col">Region</th><th class="n" scope="col">Nodes</th>)"
            R"(<th class="n" scope="col">Without value</th>)";
    html += std::string(valueHeads) + valueHeads + "</tr></thead>\n";
    for (const ItemReport& item : file.items)
    {
        if (item.regions.empty())
        {
            continue;
        }
        html += "<tbody class=\"item\">";
        for (const RegionReport& region : item.regions)
        {
            html += "<tr>";
            if (&region == &item.regions.front())
            {
                html += "<th scope=\"rowgroup\" rowspan=\"" + std::to_string(item.regions.size()) + "\">" + std::to_string(item.number) +
                        " " + itemName(item) + "</th>";
            }
            html += std::string("<td class=\"region\">") + regionName(region.region) + "</td>" + countCell(region.origin.nodes) +
                    countCell(region.nodesWithoutValue) + valueCells(region.before) + valueCells(region.after) + "</tr>\n";
        }
        html += "</tbody>";
    }
    return html + "</table></div></details>\n";
}

bool sameOrigins(const ItemReport& a, const ItemReport& b)
{
    return std::equal(a.regions.begin(), a.regions.end(), b.regions.begin(), b.regions.end(),
                      [](const RegionReport& left, const RegionReport& right)
                      { return left.region == right.region && left.origin == right.origin; });
}

/// The items of a file in groups whose nodes got their values in the same way, in the order of the file. Items without regions are left out.
std::vector<std::vector<const ItemReport*>> groupsOfSameOrigin(const FileReport& file)
{
    std::vector<std::vector<const ItemReport*>> groups;
    for (const ItemReport& item : file.items)
    {
        if (item.regions.empty())
        {
            continue;
        }
        const auto group =
            std::find_if(groups.begin(), groups.end(), [&](const auto& members) { return sameOrigins(*members.front(), item); });
        if (group == groups.end())
        {
            groups.push_back({&item});
        }
        else
        {
            group->push_back(&item);
        }
    }
    return groups;
}

std::string originTable(const ItemReport& item, const MappingReport& report)
{
    constexpr const char* ruleNames[] = {"Assigned node", "Nearest of its kind", "Minimum, wrong kind", "Out of range"};
    const std::string unit = report.lengthUnit.empty() ? "" : ", <bdi>" + escapeHtml(report.lengthUnit) + "</bdi>";
    std::string html = R"(<div class="scroll" tabindex="0" role="region" aria-label="Nodes by rule"><table><thead>)"
                       R"(<tr class="groups"><th></th><th></th><th></th><th colspan="4" scope="colgroup"><span>Nodes by rule</span></th>)"
                       R"(<th colspan="2" scope="colgroup"><span>Distance)" +
                       unit + R"(</span></th></tr><tr><th scope="col">Region</th><th class="n" scope="col">Nodes</th><th></th>)";
    for (std::size_t rule = 0; rule < valueRuleCount; ++rule)
    {
        html += R"(<th class="n" scope="col"><span class="key rule-)" + std::to_string(rule) + "\"></span>" + ruleNames[rule] + "</th>";
    }
    html += R"(<th class="n first" scope="col">Mean</th><th class="n" scope="col">Max</th></tr></thead><tbody>)";
    for (const RegionReport& region : item.regions)
    {
        const ValueOrigin& origin = region.origin;
        html += std::string(R"(<tr><th class="region" scope="row">)") + regionName(region.region) + "</th>" + countCell(origin.nodes) +
                cell("bar", ruleBarSvg(origin));
        for (const std::int64_t nodes : origin.nodesByRule)
        {
            html += countCell(nodes);
        }
        html += cell("n first", numberHtml(origin.distances.mean())) +
                cell("n", origin.distances.count > 0 ? numberHtml(origin.distances.maximum) : std::string(dashText)) + "</tr>\n";
    }
    return html + "</tbody></table></div>\n";
}

std::string histograms(const ItemReport& item)
{
    std::string html;
    for (const RegionReport& region : item.regions)
    {
        if (region.origin.distances.count > 0)
        {
            html += std::string("<figure><figcaption><b>") + regionName(region.region) + "</b>, distance in cell sizes</figcaption>" +
                    distanceHistogramSvg(region.origin.distances) + "</figure>\n";
        }
    }
    return html.empty() ? html : "<div class=\"histograms\">" + html + "</div>\n";
}

std::string originsHtml(const FileReport& file, const MappingReport& report)
{
    const auto groups = groupsOfSameOrigin(file);
    std::string html;
    for (const auto& group : groups)
    {
        html += "<h4>Where the values come from";
        if (groups.size() > 1)
        {
            html += group.size() == 1 ? ": item " : ": items ";
            for (const ItemReport* item : group)
            {
                html += (item == group.front() ? "" : ", ") + std::to_string(item->number);
            }
        }
        html += "</h4>\n" + originTable(*group.front(), report) + histograms(*group.front());
    }
    return html;
}

} // namespace

const RegionReport* wholeModel(const ItemReport& item) noexcept
{
    const auto whole =
        std::find_if(item.regions.begin(), item.regions.end(), [](const RegionReport& region) { return region.region == Region::all; });
    return whole == item.regions.end() ? nullptr : &*whole;
}

std::string fileSectionHtml(const MappingReport& report, const FileReport& file, std::size_t index)
{
    std::string html = "<article class=\"file\" id=\"file-" + std::to_string(index) + "\"><div class=\"file-head\"><h3><bdi>" +
                       escapeHtml(file.target) + "</bdi></h3>";
    if (!file.kind.empty())
    {
        html += "<span class=\"soft\">" + escapeHtml(file.kind) + "</span>";
    }
    html += file.failed ? "<span class=\"status failed\">Failed</span></div>" : "<span class=\"status mapped\">Mapped</span></div>";
    html += "<p class=\"file-from\">from <bdi>" + escapeHtml(file.source) + "</bdi></p>\n";
    if (file.failed)
    {
        html += "<p class=\"reason\">" + escapeHtml(file.reason) + "</p>\n";
    }
    if (!file.items.empty())
    {
        html += itemsTable(file);
        const bool regions =
            std::any_of(file.items.begin(), file.items.end(), [](const ItemReport& item) { return item.regions.size() > 1; });
        html += originsHtml(file, report) + (regions ? regionsTable(file) : std::string());
    }
    return html + "</article>\n";
}

} // namespace tav3d::tools
