#include "tests/tools/mapping_report_sample.h"
#include "tools/mapping_report_assets.h"
#include "tools/mapping_report_html.h"
#include "tools/mapping_report_text.h"
#include "tools/mapping_report_view.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <limits>
#include <stdexcept>

namespace mapping_report_html_test
{

using namespace tav3d::tools;

namespace
{

std::size_t occurrences(const std::string& text, const std::string& part)
{
    std::size_t count = 0;
    for (std::size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + part.size()))
    {
        ++count;
    }
    return count;
}

/// The content of the page's element with the given id.
std::string contentOf(const std::string& html, const std::string& id)
{
    const std::size_t open = html.find('>', html.find("id=\"" + id + "\"")) + 1;
    return html.substr(open, html.find("</script>", open) - open);
}

std::vector<std::uint8_t> decoded(const std::string& text)
{
    const std::string alphabet = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::vector<std::uint8_t> bytes;
    std::uint32_t bits = 0;
    int count = 0;
    for (const char c : text.substr(0, text.find('=')))
    {
        bits = bits << 6 | static_cast<std::uint32_t>(alphabet.find(c));
        count += 6;
        if (count >= 8)
        {
            count -= 8;
            bytes.push_back(static_cast<std::uint8_t>(bits >> count));
        }
    }
    return bytes;
}

std::vector<int> words(const std::string& base64Text)
{
    const std::vector<std::uint8_t> bytes = decoded(base64Text);
    std::vector<int> values;
    for (std::size_t i = 0; i + 1 < bytes.size(); i += 2)
    {
        values.push_back(bytes[i] | bytes[i + 1] << 8);
    }
    return values;
}

} // namespace

TEST(ReportText, html_escapes_what_markup_is_made_of)
{
    EXPECT_EQ(escapeHtml("a<b>&\"c'"), "a&lt;b&gt;&amp;&quot;c&#39;");
    EXPECT_EQ(escapeHtml("größer 控制 \xF0\x9F\x98\x80\n"), "größer 控制 \xF0\x9F\x98\x80\n");
}

TEST(ReportText, html_replaces_controls_and_bytes_that_are_no_utf8)
{
    const std::string replaced = "\xEF\xBF\xBD";
    EXPECT_EQ(escapeHtml(std::string("\0\x1B\x7F", 3)), replaced + replaced + replaced);
    EXPECT_EQ(escapeHtml("\xFFx"), replaced + "x");
    EXPECT_EQ(escapeHtml("\xC3<"), replaced + "&lt;");                     // a lead byte does not swallow what follows
    EXPECT_EQ(escapeHtml("\xC0\xBC"), replaced + replaced);                // overlong <
    EXPECT_EQ(escapeHtml("\xED\xA0\x80"), replaced + replaced + replaced); // surrogate
    EXPECT_EQ(escapeHtml("\xF4\x90\x80\x80").size(), 4 * replaced.size()); // beyond the last character
    EXPECT_EQ(escapeHtml("\xE2\x82"), replaced + replaced);                // cut short
}

TEST(ReportText, json_in_a_script_element_cannot_end_it)
{
    EXPECT_EQ(escapeJsonForScript("\"</script><!--&\xE2\x80\xA8\xE2\x80\xA9\xE2\x80\xAA\""),
              "\"\\u003c/script\\u003e\\u003c!--\\u0026\\u2028\\u2029\xE2\x80\xAA\"");
}

TEST(ReportText, counts_have_thin_spaces)
{
    EXPECT_EQ(countText(0), "0");
    EXPECT_EQ(countText(999), "999");
    EXPECT_EQ(countText(1000), "1\u202f000");
    EXPECT_EQ(countText(1234567), "1\u202f234\u202f567");
    EXPECT_EQ(countText(-123456), "−123\u202f456");
}

TEST(ReportText, numbers_have_five_digits)
{
    EXPECT_EQ(numberHtml(0.0), "0");
    EXPECT_EQ(numberHtml(-0.0), "0");
    EXPECT_EQ(numberHtml(1.0), "1");
    EXPECT_EQ(numberHtml(static_cast<double>(230.4f)), "230.4");
    EXPECT_EQ(numberHtml(-12.345678), "−12.346");
    EXPECT_EQ(numberHtml(0.00012345678), "0.00012346");
    EXPECT_EQ(numberHtml(123456.7), "123\u202f457");
    EXPECT_EQ(numberHtml(99999.96), "100\u202f000");
    EXPECT_EQ(numberHtml(12500000.0), "1.25×10<sup>7</sup>");
    EXPECT_EQ(numberHtml(-1e30), "−1×10<sup>30</sup>");
    EXPECT_EQ(numberHtml(2.5e-7), "2.5×10<sup>−7</sup>");
    EXPECT_EQ(numberHtml(std::numeric_limits<double>::quiet_NaN()), "–");
    EXPECT_EQ(numberHtml(-std::numeric_limits<double>::infinity()), "–");
}

TEST(ReportText, base64_pads_as_everyone_does)
{
    const auto of = [](std::string_view text) { return base64({reinterpret_cast<const std::uint8_t*>(text.data()), text.size()}); };
    EXPECT_EQ(of(""), ""); // the vectors of RFC 4648
    EXPECT_EQ(of("f"), "Zg==");
    EXPECT_EQ(of("fo"), "Zm8=");
    EXPECT_EQ(of("foo"), "Zm9v");
    EXPECT_EQ(of("foob"), "Zm9vYg==");
    EXPECT_EQ(of("fooba"), "Zm9vYmE=");
    EXPECT_EQ(of("foobar"), "Zm9vYmFy");
}

TEST(ReportView, quantises_values_over_the_range_of_both_meshes)
{
    const std::string html = viewDataHtml(tav3d::tests::twoBoxes());
    const nlohmann::json data = nlohmann::json::parse(contentOf(html, "view-data"));
    ASSERT_EQ(data["items"].size(), 2u);
    EXPECT_EQ(data["items"][0]["low"], static_cast<double>(0.1f));
    EXPECT_EQ(data["items"][0]["high"], 7.0);
    const std::vector<int> before = words(contentOf(html, "voxel-item-0"));
    const std::vector<int> after = words(contentOf(html, "cut-item-0"));
    ASSERT_EQ(before.size(), 8u);
    ASSERT_EQ(after.size(), 8u);
    EXPECT_EQ(before.front(), 0);
    EXPECT_EQ(before.back(), 65534);
    EXPECT_EQ(before[3], 27543); // (3 - 0.1) / (7 - 0.1) of 65534
    EXPECT_EQ(after.back(), 65535) << "NaN stands for no value";
}

TEST(ReportView, quantises_coordinates_over_each_mesh_box)
{
    const std::string html = viewDataHtml(tav3d::tests::twoBoxes());
    const nlohmann::json data = nlohmann::json::parse(contentOf(html, "view-data"));
    EXPECT_EQ(data["meshes"][1]["high"][2], static_cast<double>(0.9f));
    EXPECT_EQ(data["meshes"][0]["indexBytes"], 2);
    const std::vector<int> points = words(contentOf(html, "cut-points"));
    ASSERT_EQ(points.size(), 24u);
    EXPECT_EQ(std::vector<int>(points.begin() + 15, points.begin() + 18), (std::vector<int>{65535, 0, 65535})); // corner 5
    EXPECT_EQ(words(contentOf(html, "voxel-facets")).size(), 24u);
}

TEST(ReportView, many_points_have_wide_indices)
{
    MappingReport report = tav3d::tests::twoBoxes();
    report.files.clear();
    report.voxelSurface.x.resize(65537, 0.5f);
    report.voxelSurface.y.resize(65537, 0.5f);
    report.voxelSurface.z.resize(65537, 0.5f);
    report.voxelSurface.facets.push_back({65536, 0, 1, 1});
    const std::string html = viewDataHtml(report);
    const nlohmann::json data = nlohmann::json::parse(contentOf(html, "view-data"));
    EXPECT_EQ(data["meshes"][0]["indexBytes"], 4);
    const std::vector<int> halves = words(contentOf(html, "voxel-facets"));
    ASSERT_EQ(halves.size(), 7u * 8u);
    EXPECT_EQ(halves[48], 0);
    EXPECT_EQ(halves[49], 1);
}

TEST(ReportView, an_item_of_one_value_or_none_does_no_harm)
{
    MappingReport report = tav3d::tests::twoBoxes();
    ItemReport& first = report.files[0].items[0];
    first.voxelSurfaceValues.assign(8, 3.0f);
    first.cutCellSurfaceValues.assign(8, 3.0f);
    ItemReport& second = report.files[0].items[1];
    second.voxelSurfaceValues.assign(8, std::numeric_limits<float>::infinity());
    second.cutCellSurfaceValues.assign(8, std::numeric_limits<float>::quiet_NaN());
    const std::string html = viewDataHtml(report);
    EXPECT_EQ(nlohmann::json::parse(contentOf(html, "view-data"))["items"].size(), 1u) << "nothing to colour in the second item";
    EXPECT_EQ(words(contentOf(html, "voxel-item-0")), std::vector<int>(8, 0));
}

TEST(ReportView, values_that_do_not_fit_the_surface_are_refused_by_name)
{
    MappingReport report = tav3d::tests::twoBoxes();
    report.files[0].items[1].cutCellSurfaceValues.pop_back();
    try
    {
        static_cast<void>(mappingReportHtml(report));
        FAIL() << "accepted";
    }
    catch (const std::invalid_argument& error)
    {
        EXPECT_STREQ(error.what(), "mapping report: boxes.q7f, item 6: not one value per point of the surface");
    }
    report = tav3d::tests::twoBoxes();
    report.voxelSurface.facets[2][1] = 8;
    EXPECT_THROW(static_cast<void>(mappingReportHtml(report)), std::invalid_argument);
}

TEST(ReportPage, refers_to_nothing_outside_of_itself)
{
    std::string markup = mappingReportHtml(tav3d::tests::twoBoxes());
    for (const char* id : {"voxel-points", "voxel-facets", "cut-points", "cut-facets"}) // base64 may contain anything
    {
        const std::string content = contentOf(markup, id);
        markup.erase(markup.find(content), content.size());
    }
    for (const char* attribute : {" src=", " srcset=", " href=", " action=", " data=", " poster="})
    {
        for (std::size_t at = markup.find(attribute); at != std::string::npos; at = markup.find(attribute, at + 1))
        {
            const std::string value = markup.substr(at + std::string(attribute).size(), 6);
            EXPECT_TRUE(value == "\"data:" || value.starts_with("\"#")) << attribute << value;
        }
    }
    for (const char* reference :
         {"http:", "https:", "url(", "@import", "import(", "fetch(", "XMLHttpRequest", "WebSocket", "Worker(", "sendBeacon"})
    {
        EXPECT_EQ(markup.find(reference), std::string::npos) << reference;
    }
    EXPECT_NE(markup.find("default-src 'none'"), std::string::npos);
}

TEST(ReportPage, has_all_its_parts_filled_in)
{
    MappingReport report = tav3d::tests::twoBoxes();
    report.files[0].items[1].regions[0].nodesWithoutValue = 1;
    const std::string page = mappingReportHtml(report);
    EXPECT_EQ(page.find("{{"), std::string::npos);
    EXPECT_NE(page.find("<h1><bdi>boxes.krn</bdi></h1>"), std::string::npos);
    EXPECT_NE(page.find("1 of 2 files mapped, <strong>1 failed</strong>: 2 items carried over. 1 value of the part is 0 or missing."),
              std::string::npos);
    EXPECT_NE(page.find("cannot be read: truncated"), std::string::npos);
    EXPECT_NE(page.find("smoothed, mapped, ID map of type 1"), std::string::npos);
}

TEST(ReportPage, scripts_and_styles_do_not_end_early)
{
    EXPECT_EQ(report_assets::pageScript.find("</"), std::string_view::npos);
    EXPECT_EQ(report_assets::viewScript.find("</"), std::string_view::npos);
    EXPECT_EQ(report_assets::style.find("</"), std::string_view::npos);
}

TEST(ReportPage, text_of_files_adds_no_element)
{
    MappingReport report = tav3d::tests::twoBoxes();
    const std::string tame = mappingReportHtml(report);
    tav3d::tests::makeHostile(report);
    const std::string page = mappingReportHtml(report);
    for (const char* part : {"<script", "</script", "<img", "<style", "</style", "</title", "<!--", "<"})
    {
        EXPECT_EQ(occurrences(page, part), occurrences(tame, part)) << part;
    }
    EXPECT_NE(page.find("&quot;&#39;&amp;amp;{{style}}&lt;!--"), std::string::npos) << "placeholders in texts stay text";
}

TEST(ReportPage, items_with_the_same_origin_of_values_share_one_table)
{
    MappingReport report = tav3d::tests::twoBoxes();
    EXPECT_EQ(occurrences(mappingReportHtml(report), "<h4>Where the values come from: item "), 2u);
    report.files[0].items[1].regions = report.files[0].items[0].regions;
    EXPECT_EQ(occurrences(mappingReportHtml(report), "<h4>Where the values come from</h4>"), 1u);
}

TEST(ReportPage, without_surfaces_or_files_there_is_still_a_page)
{
    MappingReport report = tav3d::tests::twoBoxes();
    report.cutCellSurface = {};
    std::string page = mappingReportHtml(report);
    EXPECT_EQ(page.find("id=\"view\""), std::string::npos);
    EXPECT_NE(page.find("Temperature"), std::string::npos);
    page = mappingReportHtml({});
    EXPECT_NE(page.find("0 files mapped."), std::string::npos);
    EXPECT_EQ(page.find("{{"), std::string::npos);
}

TEST(ReportPage, same_report_gives_same_bytes)
{
    EXPECT_EQ(mappingReportHtml(tav3d::tests::housing(4.0)), mappingReportHtml(tav3d::tests::housing(4.0)));
}

} // namespace mapping_report_html_test
