#include "mapping_report_html.h"

#include "mapping_report_assets.h"
#include "mapping_report_tables.h"
#include "mapping_report_text.h"
#include "mapping_report_view.h"

#include <algorithm>
#include <map>
#include <numeric>
#include <string_view>

namespace tav3d::tools
{

namespace
{

/// Puts texts in place of {{name}}, in one pass: what is put in is not looked at again, whatever it contains.
std::string fillTemplate(std::string_view page, const std::map<std::string_view, std::string, std::less<>>& texts)
{
    std::string filled;
    while (true)
    {
        const std::size_t open = page.find("{{");
        const std::size_t close = open == std::string_view::npos ? open : page.find("}}", open);
        if (close == std::string_view::npos)
        {
            return filled.append(page);
        }
        filled.append(page.substr(0, open));
        filled += texts.at(page.substr(open + 2, close - open - 2));
        page.remove_prefix(close + 2);
    }
}

/// The part of a path after its last separator, of either system.
std::string fileNameOf(const std::string& path)
{
    const std::size_t separator = path.find_last_of("/\\");
    return separator == std::string::npos || separator + 1 == path.size() ? path : path.substr(separator + 1);
}

std::string withNoun(std::int64_t count, const char* one, const char* many)
{
    return countText(count) + " " + (count == 1 ? one : many);
}

std::string modeText(std::int32_t mode)
{
    return std::to_string(mode) + (mode == 0 ? " (assigned nodes only)" : " (with surface rules)");
}

std::string withUnit(double value, const std::string& unit)
{
    return numberHtml(value) + (unit.empty() ? "" : "\xE2\x80\xAF" + escapeHtml(unit));
}

/// One sentence that says how it went.
std::string verdict(const MappingReport& report)
{
    const auto failed = std::count_if(report.files.begin(), report.files.end(), [](const FileReport& file) { return file.failed; });
    const auto files = static_cast<std::int64_t>(report.files.size());
    std::int64_t mapped = 0;
    std::int64_t copied = 0;
    std::int64_t withoutValue = 0;
    for (const FileReport& file : report.files)
    {
        for (const ItemReport& item : file.items)
        {
            if (!file.failed)
            {
                ++(item.known ? mapped : copied);
                for (const RegionReport& region : item.regions) // a mould node has no value in an item of the part
                    if (region.region == Region::partSurface || region.region == Region::plasticInside)
                        withoutValue += region.nodesWithoutValue;
            }
        }
    }
    std::string text = failed == 0 ? withNoun(files, "file", "files") + " mapped: "
                                   : countText(files - failed) + " of " + withNoun(files, "file", "files") + " mapped, <strong>" +
                                         countText(failed) + " failed</strong>: ";
    text += withNoun(mapped, "item", "items") + " carried over";
    text += copied > 0 ? ", " + withNoun(copied, "item", "items") + " copied unmapped" : "";
    text += withoutValue > 0 ? ". " + withNoun(withoutValue, "value of the part is", "values of the part are") + " 0 or missing."
                             : ". Every node of the part has a value.";
    return mapped == 0 ? text.substr(0, text.find(": ")) + "." : text;
}

std::string summary(const MappingReport& report)
{
    std::string html;
    if (!report.title.empty())
    {
        html += "<p class=\"subtitle\"><bdi>" + escapeHtml(report.title) + "</bdi></p>\n";
    }
    html += "<p class=\"lead\">" + verdict(report) + "</p>\n<dl class=\"facts\">\n";
    const auto fact = [&](const char* name, const std::string& value)
    { html += std::string("<div><dt>") + name + "</dt><dd>" + value + "</dd></div>\n"; };
    fact("Mesh file", "<bdi>" + escapeHtml(report.meshFile) + "</bdi>");
    fact("Voxel nodes", countText(report.voxelNodes));
    fact("Cut-cell nodes", countText(report.cutCellNodes));
    if (report.cellSize > 0.0)
    {
        fact("Cell size", withUnit(report.cellSize, report.lengthUnit));
    }
    fact("Mapping mode", modeText(report.mode));
    fact("Part-insert mode", std::to_string(report.partInsertMode));
    fact("Smoothing", report.smoothing ? "on" : "off");
    fact("Made by", "tav3d " + escapeHtml(report.toolVersion));
    return html + "</dl>\n";
}

std::string filesHtml(const MappingReport& report)
{
    if (report.files.empty())
    {
        return {};
    }
    std::string html = "<section aria-labelledby=\"files\">\n<h2 id=\"files\">Files</h2>\n";
    for (std::size_t index = 0; index < report.files.size(); ++index)
    {
        html += fileSectionHtml(report, report.files[index], index);
    }
    return html + "</section>\n";
}

std::string stagesHtml(const MappingReport& report)
{
    if (report.stages.empty())
    {
        return {};
    }
    const double total = std::accumulate(report.stages.begin(), report.stages.end(), 0.0,
                                         [](double sum, const StageTime& stage) { return sum + stage.seconds; });
    std::string html = "<section aria-labelledby=\"stages\">\n<h2 id=\"stages\">Time</h2>\n<div class=\"scroll\"><table "
                       "class=\"times\"><thead><tr><th scope=\"col\">Stage</th>"
                       "<th class=\"n\" scope=\"col\">Seconds</th><th></th></tr></thead>\n<tbody>\n";
    for (const StageTime& stage : report.stages)
    {
        const double share = total > 0.0 ? std::clamp(stage.seconds / total, 0.0, 1.0) : 0.0;
        html += "<tr><th scope=\"row\"><bdi>" + escapeHtml(stage.stage) + "</bdi></th><td class=\"n\">" + fixedText(stage.seconds) +
                "</td><td class=\"bar\"><svg viewBox=\"0 0 100 10\" preserveAspectRatio=\"none\" aria-hidden=\"true\"><rect "
                "class=\"column\" height=\"10\" width=\"" +
                fixedText(share * 100.0) + "\"/></svg></td></tr>\n";
    }
    return html + "</tbody><tfoot><tr><th scope=\"row\">Total</th><td class=\"n\">" + fixedText(total) +
           "</td><td></td></tr></tfoot></table></div>\n</section>\n";
}

std::string surfaceCaption(const ReportSurface& surface, std::int64_t nodes)
{
    return withNoun(static_cast<std::int64_t>(surface.facets.size()), "facet", "facets") + ", mesh of " + withNoun(nodes, "node", "nodes");
}

} // namespace

std::string mappingReportHtml(const MappingReport& report)
{
    const std::string data = viewDataHtml(report);
    std::string view;
    if (data.find("-item-0\"") != std::string::npos)
    {
        view =
            fillTemplate(report_assets::viewTemplate, {{"voxel-caption", surfaceCaption(report.voxelSurface, report.voxelNodes)},
                                                       {"cut-cell-caption", surfaceCaption(report.cutCellSurface, report.cutCellNodes)}});
    }
    const std::string heading = escapeHtml(fileNameOf(report.meshFile));
    return fillTemplate(
        report_assets::pageTemplate,
        {{"title", "Mapping report: " + heading},
         {"style", std::string(report_assets::style)},
         {"heading", heading},
         {"summary", summary(report)},
         {"view", view},
         {"files", filesHtml(report)},
         {"stages", stagesHtml(report)},
         {"data", view.empty() ? std::string() : data},
         {"script", std::string(report_assets::pageScript)},
         {"view-script", view.empty() ? std::string() : "<script>\n" + std::string(report_assets::viewScript) + "</script>\n"}});
}

} // namespace tav3d::tools
