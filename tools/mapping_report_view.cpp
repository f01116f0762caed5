#include "mapping_report_view.h"

#include "mapping_report_text.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <cmath>
#include <limits>
#include <span>
#include <stdexcept>
#include <string_view>

namespace tav3d::tools
{

namespace
{

using Json = nlohmann::ordered_json;
using Bytes = std::vector<std::uint8_t>;

constexpr std::uint32_t largest16 = 65535;
constexpr std::uint16_t noValue = 65535;
constexpr double valueSteps = 65534.0;

struct Range
{
    double low = std::numeric_limits<double>::infinity();
    double high = -std::numeric_limits<double>::infinity();

    void widen(std::span<const float> values)
    {
        for (const float value : values)
        {
            if (std::isfinite(value))
            {
                low = std::min(low, static_cast<double>(value));
                high = std::max(high, static_cast<double>(value));
            }
        }
    }
    [[nodiscard]] bool empty() const noexcept { return low > high; }
    /// Position of the value in the range, 0..steps; 0 in a range without extent.
    [[nodiscard]] std::uint16_t quantise(float value, double steps) const
    {
        const double extent = high - low;
        return extent > 0.0 ? static_cast<std::uint16_t>(std::lround((static_cast<double>(value) - low) / extent * steps))
                            : std::uint16_t{0};
    }
};

void append16(Bytes& bytes, std::uint32_t value)
{
    bytes.push_back(static_cast<std::uint8_t>(value & 0xFFu));
    bytes.push_back(static_cast<std::uint8_t>((value >> 8) & 0xFFu));
}

void append32(Bytes& bytes, std::uint32_t value)
{
    append16(bytes, value & largest16);
    append16(bytes, value >> 16);
}

std::string arrayElement(const std::string& id, const Bytes& bytes)
{
    return "<script type=\"text/plain\" id=\"" + id + "\">" + base64(bytes) + "</script>\n";
}

/// Adds the mesh's arrays to the page; returns what view.js needs to know of them.
Json addMesh(std::string& html, const std::string& id, const ReportSurface& surface)
{
    const std::size_t points = surface.x.size();
    if (surface.y.size() != points || surface.z.size() != points)
    {
        throw std::invalid_argument("mapping report: the " + id + " surface has coordinate arrays of different lengths");
    }
    std::array<Range, 3> box;
    const std::array<std::span<const float>, 3> coordinates{surface.x, surface.y, surface.z};
    for (std::size_t axis = 0; axis < 3; ++axis)
    {
        box[axis].widen(coordinates[axis]);
    }

    Bytes bytes;
    bytes.reserve(points * 6);
    for (std::size_t p = 0; p < points; ++p)
    {
        for (std::size_t axis = 0; axis < 3; ++axis)
        {
            const float coordinate = coordinates[axis][p];
            append16(bytes, std::isfinite(coordinate) ? box[axis].quantise(coordinate, largest16) : 0u);
        }
    }
    html += arrayElement(id + "-points", bytes);

    const bool narrow = points <= largest16 + 1;
    bytes.clear();
    bytes.reserve(surface.facets.size() * (narrow ? 8 : 16));
    for (const auto& facet : surface.facets)
    {
        for (const std::int32_t point : facet)
        {
            if (point < 0 || static_cast<std::size_t>(point) >= points)
            {
                throw std::invalid_argument("mapping report: a facet of the " + id + " surface names point " + std::to_string(point) +
                                            " of " + std::to_string(points));
            }
            narrow ? append16(bytes, static_cast<std::uint32_t>(point)) : append32(bytes, static_cast<std::uint32_t>(point));
        }
    }
    html += arrayElement(id + "-facets", bytes);

    const auto finite = [](double value) { return std::isfinite(value) ? value : 0.0; };
    Json low = Json::array();
    Json high = Json::array();
    for (const Range& range : box)
    {
        low.push_back(finite(range.low));
        high.push_back(finite(range.high));
    }
    return {{"id", id},   {"points", points}, {"facets", surface.facets.size()}, {"indexBytes", narrow ? 2 : 4},
            {"low", low}, {"high", high}};
}

Bytes quantisedValues(std::span<const float> values, const Range& range)
{
    Bytes bytes;
    bytes.reserve(values.size() * 2);
    for (const float value : values)
    {
        append16(bytes, std::isfinite(value) ? range.quantise(value, valueSteps) : noValue);
    }
    return bytes;
}

} // namespace

std::string viewDataHtml(const MappingReport& report)
{
    if (report.voxelSurface.facets.empty() || report.cutCellSurface.facets.empty())
    {
        return {};
    }
    std::string html;
    Json meshes = Json::array();
    meshes.push_back(addMesh(html, "voxel", report.voxelSurface));
    meshes.push_back(addMesh(html, "cut", report.cutCellSurface));

    Json items = Json::array();
    for (const FileReport& file : report.files)
    {
        for (const ItemReport& item : file.items)
        {
            if (item.voxelSurfaceValues.empty() && item.cutCellSurfaceValues.empty())
            {
                continue;
            }
            if (item.voxelSurfaceValues.size() != report.voxelSurface.x.size() ||
                item.cutCellSurfaceValues.size() != report.cutCellSurface.x.size())
            {
                throw std::invalid_argument("mapping report: " + file.target + ", item " + std::to_string(item.number) +
                                            ": not one value per point of the surface");
            }
            Range range;
            range.widen(item.voxelSurfaceValues);
            range.widen(item.cutCellSurfaceValues);
            if (range.empty())
            {
                continue; // nothing to colour
            }
            const std::string suffix = "-item-" + std::to_string(items.size());
            html += arrayElement("voxel" + suffix, quantisedValues(item.voxelSurfaceValues, range));
            html += arrayElement("cut" + suffix, quantisedValues(item.cutCellSurfaceValues, range));
            items.push_back({{"number", item.number},
                             {"name", item.name},
                             {"unit", item.unit},
                             {"file", file.target},
                             {"low", range.low},
                             {"high", range.high}});
        }
    }
    const Json data{{"lengthUnit", report.lengthUnit}, {"meshes", std::move(meshes)}, {"items", std::move(items)}};
    return html + "<script type=\"application/json\" id=\"view-data\">" +
           escapeJsonForScript(data.dump(-1, ' ', false, Json::error_handler_t::replace)) + "</script>\n";
}

} // namespace tav3d::tools
