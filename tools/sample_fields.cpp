#include "sample_fields.h"

#include <algorithm>
#include <cmath>
#include <functional>
#include <stdexcept>

namespace tav3d::tools
{

namespace
{

/// Where a field has values.
enum class Region
{
    Everywhere,
    Part,
    MoldBase,
    PartSurface,
};

/// A field as the files know it.
struct FieldKind
{
    const char* name;
    const char* unit;
    Region region;
    std::function<double(const SampleFields&, std::size_t node)> value;
};

constexpr std::size_t atFilled = 0; // output times
constexpr std::size_t atPacked = 1;
constexpr std::size_t atCooled = 2;

FieldKind frontTime()
{
    return {"Melt-front time", "s", Region::Part, [](const SampleFields& f, std::size_t i) { return f.flow.frontTime[i]; }};
}

FieldKind pressure(double share)
{
    return {"Pressure", "MPa", Region::Part, [share](const SampleFields& f, std::size_t i) { return share * f.flow.pressure[i]; }};
}

FieldKind temperature(Region region, std::size_t time, const char* name)
{
    return {name, "degC", region, [time](const SampleFields& f, std::size_t i) { return f.heat.temperature[time][i]; }};
}

FieldKind shearRate()
{
    return {"Shear rate", "1/s", Region::Part, [](const SampleFields& f, std::size_t i) { return f.flow.shearRate[i]; }};
}

FieldKind meltSpeed()
{
    return {"Melt speed", "mm/s", Region::Part, [](const SampleFields& f, std::size_t i) { return f.flow.speed[i]; }};
}

/// How far the melt has set: 0 at melt temperature, 1 at the ejection temperature and below.
FieldKind solidFraction(std::size_t time)
{
    return {"Solid fraction", "", Region::Part,
            [time](const SampleFields& f, std::size_t i)
            {
                const HeatConditions& c = f.heatConditions;
                return std::clamp((c.meltTemperature - f.heat.temperature[time][i]) / (c.meltTemperature - c.ejectionTemperature), 0.0,
                                  1.0);
            }};
}

/// Thermal contraction down to the coolant temperature, less what pressure makes up for: beta (T - T0) - kappa p.
FieldKind shrinkage()
{
    return {"Volumetric shrinkage", "%", Region::Part,
            [](const SampleFields& f, std::size_t i)
            {
                constexpr double beta = 6.0e-4;  // 1/K
                constexpr double kappa = 4.0e-4; // 1/MPa
                const double contraction = beta * (f.heat.temperature[atPacked][i] - f.heatConditions.coolantTemperature);
                return 100 * std::max(contraction - kappa * f.flow.pressure[i], 0.0);
            }};
}

FieldKind ejectionTime()
{
    return {"Time to ejection temperature", "s", Region::Part, [](const SampleFields& f, std::size_t i) { return f.heat.ejectionTime[i]; }};
}

/// What flows out of the part through its surface: conductivity times the steepest rise into the part.
FieldKind heatFlux(Region region, std::size_t time)
{
    return {"Heat flux", "W/m2", region,
            [time](const SampleFields& f, std::size_t i)
            {
                const std::vector<double>& t = f.heat.temperature[time];
                double rise = 0.0;
                for (const std::int32_t other : f.grid.plasticNeighbour[i])
                {
                    rise = other < 0 ? rise : std::max(rise, t[static_cast<std::size_t>(other)] - t[i]);
                }
                return f.heatConditions.plastic.conductivity * rise / (1e-3 * f.grid.spacing);
            }};
}

bool lies(const SampleGrid& grid, std::size_t node, Region region)
{
    switch (region)
    {
    case Region::Part:
        return grid.isPlastic(node);
    case Region::MoldBase:
        return grid.isMoldBase[node] != 0;
    case Region::PartSurface:
        return grid.isPartSurface[node] != 0;
    case Region::Everywhere:
        break;
    }
    return true;
}

int typeOf(Region region)
{
    return region == Region::MoldBase ? moldBaseType : region == Region::PartSurface ? partSurfaceType : allNodesType;
}

struct NumberedField
{
    int number;
    FieldKind field;
};

/// The numbers follow the result-file family where it gives them a meaning for mapping: in filling and packing results 6, 14, 17, 19 and 20 are
/// results of the part alone, in cooling results 1, 2, 17 and 53; 3, 4, 5, 16 and 33 are the other known items of a cooling result, and any further
/// number there (60, 61) is one that a mapping hands on as it is. In ".rsf" it is 9.
std::vector<NumberedField> fieldsOf(std::string_view kind)
{
    const FieldKind wholeTemperature = temperature(Region::Everywhere, atFilled, "Temperature, all bodies");
    const FieldKind moldTemperature = temperature(Region::MoldBase, atCooled, "Mould-base temperature");
    if (kind == ".q7f")
    {
        return {{1, frontTime()},
                {6, pressure(1.0)},
                {14, temperature(Region::Part, atFilled, "Temperature")},
                {17, shearRate()},
                {19, solidFraction(atFilled)},
                {20, meltSpeed()},
                {30, wholeTemperature},
                {31, moldTemperature}};
    }
    if (kind == ".q7p")
    {
        return {{1, frontTime()},
                {6, pressure(0.4)},
                {14, temperature(Region::Part, atPacked, "Temperature")},
                {17, solidFraction(atPacked)},
                {19, shrinkage()},
                {31, moldTemperature}};
    }
    if (kind == ".q7c" || kind == ".q7hc")
    {
        return {{1, temperature(Region::Part, atCooled, "Part temperature")},
                {2, ejectionTime()},
                {3, temperature(Region::Everywhere, atCooled, "Temperature, all bodies")},
                {5, moldTemperature},
                {16, temperature(Region::PartSurface, atCooled, "Part surface temperature")},
                {17, solidFraction(atCooled)},
                {33, heatFlux(Region::PartSurface, atCooled)},
                {53, temperature(Region::Part, atPacked, "Part temperature after packing")},
                {60, temperature(Region::Everywhere, atPacked, "Temperature after packing")},
                {61, temperature(Region::MoldBase, atPacked, "Mould-base temp. after packing")}};
    }
    if (kind == ".rsf")
    {
        return {{1, frontTime()}, {9, pressure(1.0)}, {12, temperature(Region::Part, atFilled, "Temperature")}, {31, moldTemperature}};
    }
    if (kind == ".rsc")
    {
        return {{1, temperature(Region::Everywhere, atCooled, "Temperature, all bodies")},
                {5, moldTemperature},
                {16, temperature(Region::PartSurface, atCooled, "Part surface temperature")},
                {33, heatFlux(Region::PartSurface, atCooled)}};
    }
    throw std::invalid_argument("there is no kind of result file '" + std::string(kind) + "'");
}

} // namespace

SampleFields computeSampleFields(SampleGrid grid, const FlowConditions& flow, const HeatConditions& heat)
{
    SampleFields fields;
    fields.grid = std::move(grid);
    fields.flowConditions = flow;
    fields.heatConditions = heat;
    fields.flow = computeSampleFlow(fields.grid, flow);
    fields.heat = computeSampleHeat(fields.grid, heat, fields.outputTimes());
    return fields;
}

std::vector<SampleItem> sampleItems(const SampleFields& fields, std::string_view kind)
{
    std::vector<SampleItem> items;
    for (const auto& [number, field] : fieldsOf(kind))
    {
        SampleItem item;
        item.number = number;
        item.type = typeOf(field.region);
        item.name = field.name;
        item.unit = field.unit;
        item.value.assign(fields.grid.nodeTotal() + 1, 0.0f);
        bool first = true;
        for (std::size_t i = 0; i < fields.grid.nodeTotal(); ++i)
        {
            if (lies(fields.grid, i, field.region))
            {
                const auto value = static_cast<float>(field.value(fields, i));
                item.value[i + 1] = value;
                item.lowest = first ? value : std::min(item.lowest, value);
                item.highest = first ? value : std::max(item.highest, value);
                first = false;
            }
        }
        items.push_back(std::move(item));
    }
    return items;
}

} // namespace tav3d::tools
