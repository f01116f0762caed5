#include "tests/tools/mapping_report_sample.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <map>

namespace tav3d::tests
{

using namespace tav3d::tools;

namespace
{

constexpr float none = std::numeric_limits<float>::quiet_NaN();

ReportSurface box(float high)
{
    ReportSurface surface;
    for (int corner = 0; corner < 8; ++corner)
    {
        surface.x.push_back((corner & 1) != 0 ? high : 0.0f);
        surface.y.push_back((corner & 2) != 0 ? high : 0.0f);
        surface.z.push_back((corner & 4) != 0 ? high : 0.0f);
    }
    surface.facets = {{0, 2, 3, 1}, {4, 5, 7, 6}, {0, 1, 5, 4}, {2, 6, 7, 3}, {0, 4, 6, 2}, {1, 3, 7, 5}};
    return surface;
}

struct Point
{
    double x, y, z;
};

/// Negative inside the housing.
double depth(const Point& p)
{
    const auto block = [&](double cx, double cy, double cz, double hx, double hy, double hz, double round)
    {
        const double qx = std::fabs(p.x - cx) - hx + round;
        const double qy = std::fabs(p.y - cy) - hy + round;
        const double qz = std::fabs(p.z - cz) - hz + round;
        const double outside = std::hypot(std::max(qx, 0.0), std::max(qy, 0.0), std::max(qz, 0.0));
        return outside + std::min(std::max({qx, qy, qz}), 0.0) - round;
    };
    const auto rod = [&](double cx, double cy, double radius) { return std::hypot(p.x - cx, p.y - cy) - radius; };
    double d = std::max(block(40, 25, 11, 40, 25, 11, 6.0), -block(40, 25, 15, 36.5, 21.5, 12, 3.5)); // walls and floor
    d = std::min(d, std::max({rod(22, 25, 6.5), p.z - 15.0, -p.z}));                                  // boss
    d = std::max(d, -rod(22, 25, 3.5));                                                               // hole in the boss
    return std::max(d, -block(60, 25, 0, 9, 6, 8, 2.0));                                              // window in the floor
}

Point pulledOntoSurface(Point p, double cellSize)
{
    const Point start = p;
    for (int step = 0; step < 6; ++step)
    {
        const double h = 1e-4 * cellSize;
        const double d = depth(p);
        const double gx = (depth({p.x + h, p.y, p.z}) - depth({p.x - h, p.y, p.z})) / (2 * h);
        const double gy = (depth({p.x, p.y + h, p.z}) - depth({p.x, p.y - h, p.z})) / (2 * h);
        const double gz = (depth({p.x, p.y, p.z + h}) - depth({p.x, p.y, p.z - h})) / (2 * h);
        const double g2 = std::max(gx * gx + gy * gy + gz * gz, 0.25);
        p = {p.x - d * gx / g2, p.y - d * gy / g2, p.z - d * gz / g2};
    }
    const double moved = std::hypot(p.x - start.x, p.y - start.y, p.z - start.z);
    return moved <= 0.9 * cellSize ? p : start;
}

/// Surface points of both meshes (the same numbers in both) and voxel nodes inside the part.
struct Shape
{
    ReportSurface voxel, cutCell;
    std::vector<Point> inside;
};

Shape cutIntoCells(double cellSize)
{
    Shape shape;
    const auto filled = [&](int i, int j, int k) {
        return depth({(i + 0.5) * cellSize, (j + 0.5) * cellSize, (k + 0.5) * cellSize}) < 0.0;
    };
    std::map<std::array<int, 3>, std::int32_t> pointOfCorner;
    const auto point = [&](std::array<int, 3> corner)
    {
        const auto [entry, isNew] = pointOfCorner.try_emplace(corner, static_cast<std::int32_t>(shape.voxel.x.size()));
        if (isNew)
        {
            const Point p{corner[0] * cellSize, corner[1] * cellSize, corner[2] * cellSize};
            const Point q = pulledOntoSurface(p, cellSize);
            shape.voxel.x.push_back(static_cast<float>(p.x));
            shape.voxel.y.push_back(static_cast<float>(p.y));
            shape.voxel.z.push_back(static_cast<float>(p.z));
            shape.cutCell.x.push_back(static_cast<float>(q.x));
            shape.cutCell.y.push_back(static_cast<float>(q.y));
            shape.cutCell.z.push_back(static_cast<float>(q.z));
        }
        return entry->second;
    };
    const int ni = static_cast<int>(80 / cellSize) + 1;
    const int nj = static_cast<int>(50 / cellSize) + 1;
    const int nk = static_cast<int>(22 / cellSize) + 1;
    for (int k = 0; k < nk; ++k)
    {
        for (int j = 0; j < nj; ++j)
        {
            for (int i = 0; i < ni; ++i)
            {
                if (!filled(i, j, k))
                {
                    continue;
                }
                const std::array<int, 3> cell{i, j, k};
                for (int axis = 0; axis < 3; ++axis)
                {
                    for (const int side : {-1, 1})
                    {
                        std::array<int, 3> next = cell;
                        next[axis] += side;
                        if (filled(next[0], next[1], next[2]))
                        {
                            continue;
                        }
                        std::array<int, 3> corner = cell;
                        corner[axis] += side > 0 ? 1 : 0;
                        const int u = (axis + (side > 0 ? 1 : 2)) % 3;
                        const int v = (axis + (side > 0 ? 2 : 1)) % 3;
                        std::array<std::array<int, 3>, 4> around{corner, corner, corner, corner};
                        ++around[1][u];
                        ++around[2][u];
                        ++around[2][v];
                        ++around[3][v];
                        shape.voxel.facets.push_back({point(around[0]), point(around[1]), point(around[2]), point(around[3])});
                    }
                }
                if (depth({i * cellSize, j * cellSize, k * cellSize}) < -0.5 * cellSize)
                {
                    shape.inside.push_back({i * cellSize, j * cellSize, k * cellSize});
                }
            }
        }
    }
    shape.cutCell.facets = shape.voxel.facets;
    return shape;
}

template <class Field>
ItemReport itemOf(const Shape& shape, double cellSize, bool withHoles, const Field& field)
{
    ItemReport item;
    RegionReport surface{Region::partSurface, {}, 0, {}, {}};
    RegionReport inside{Region::plasticInside, {}, 0, {}, {}};
    for (std::size_t p = 0; p < shape.voxel.x.size(); ++p)
    {
        const Point v{shape.voxel.x[p], shape.voxel.y[p], shape.voxel.z[p]};
        const Point c{shape.cutCell.x[p], shape.cutCell.y[p], shape.cutCell.z[p]};
        const auto value = static_cast<float>(field(v));
        const bool missing = withHoles && std::hypot(v.x - 70.0, v.y - 40.0) < 5.0;
        const double distance = std::hypot(v.x - c.x, v.y - c.y, v.z - c.z);
        item.voxelSurfaceValues.push_back(value);
        item.cutCellSurfaceValues.push_back(missing ? none : value);
        ++surface.origin.nodes;
        ++surface.origin.nodesByRule[static_cast<std::size_t>(missing                     ? ValueRule::wrongKind
                                                              : distance > 0.4 * cellSize ? ValueRule::nearestOfKind
                                                                                          : ValueRule::assignedNode)];
        surface.nodesWithoutValue += missing ? 1 : 0;
        if (!missing)
        {
            addDistance(surface.origin.distances, distance, cellSize);
        }
    }
    std::vector<float> insideValues;
    for (const Point& p : shape.inside)
    {
        insideValues.push_back(static_cast<float>(field(p)));
        ++inside.origin.nodes;
        ++inside.origin.nodesByRule[0];
        addDistance(inside.origin.distances, 0.0, cellSize);
    }
    surface.before = summarise(item.voxelSurfaceValues);
    surface.after = summarise(item.cutCellSurfaceValues);
    inside.before = inside.after = summarise(insideValues);

    RegionReport all = surface;
    all.region = Region::all;
    all.origin.nodes += inside.origin.nodes;
    all.origin.nodesByRule[0] += inside.origin.nodes;
    all.origin.distances.count += inside.origin.distances.count;
    all.origin.distances.bins[0] += inside.origin.distances.count;
    for (const bool after : {false, true})
    {
        std::vector<float> values = after ? item.cutCellSurfaceValues : item.voxelSurfaceValues;
        values.insert(values.end(), insideValues.begin(), insideValues.end());
        (after ? all.after : all.before) = summarise(values);
    }
    item.regions = {all, surface, inside};
    return item;
}

} // namespace

MappingReport twoBoxes()
{
    MappingReport report;
    report.toolVersion = "0.1.0";
    report.meshFile = "boxes.krn";
    report.title = "Zwei Würfel";
    report.lengthUnit = "mm";
    report.cellSize = 1.0;
    report.voxelNodes = 8;
    report.cutCellNodes = 8;
    report.mode = 1;
    report.smoothing = true;
    report.stages = {{"load mesh", 0.25}, {"map", 0.5}};
    report.voxelSurface = box(1.0f);
    report.cutCellSurface = box(0.9f);

    ItemReport pressure;
    pressure.number = 1;
    pressure.name = "Pressure";
    pressure.unit = "MPa";
    pressure.resultType = 1;
    pressure.voxelSurfaceValues = {0.1f, 1, 2, 3, 4, 5, 6, 7};
    pressure.cutCellSurfaceValues = {0.1f, 1, 2, 3, 4, 5, 6, none};
    RegionReport all;
    all.region = Region::all;
    all.origin.nodes = 8;
    all.origin.nodesByRule = {4, 3, 1, 0};
    for (const double distance : {0.0, 0.1, 0.1, 0.1, 0.5, 0.6, 2.5})
    {
        addDistance(all.origin.distances, distance, report.cellSize);
    }
    all.nodesWithoutValue = 1;
    all.before = summarise(pressure.voxelSurfaceValues);
    all.after = summarise(pressure.cutCellSurfaceValues);
    pressure.regions = {all};

    ItemReport temperature;
    temperature.number = 6;
    temperature.name = "Temperature";
    temperature.unit = "°C";
    temperature.resultType = 1;
    temperature.smoothed = true;
    temperature.throughIdMap = true;
    temperature.voxelSurfaceValues = {230.4f, 231, 232, 233, 234, 235, 236, 237};
    temperature.cutCellSurfaceValues = temperature.voxelSurfaceValues;
    all.region = Region::partSurface;
    all.nodesWithoutValue = 0;
    all.before = summarise(temperature.voxelSurfaceValues);
    all.after = all.before;
    temperature.regions = {all};

    report.files = {{"boxes_vox.q7f", "boxes.q7f", "filling", false, "", {pressure, temperature}},
                    {"boxes_vox.q7c", "boxes.q7c", "cooling", true, "cannot be read: truncated", {}}};
    return report;
}

MappingReport housing(double cellSize)
{
    const Shape shape = cutIntoCells(cellSize);
    MappingReport report;
    report.toolVersion = "0.1.0";
    report.meshFile = "models/housing.krn";
    report.title = "Housing with boss, sample data";
    report.lengthUnit = "mm";
    report.cellSize = cellSize;
    report.voxelNodes = static_cast<std::int64_t>(shape.voxel.x.size() + shape.inside.size());
    report.cutCellNodes = report.voxelNodes;
    report.mode = 1;
    report.smoothing = true;
    report.stages = {
        {"load mesh and search neighbours", 1.84}, {"map housing.q7f", 0.62}, {"map housing.q7c", 0.35}, {"write report", 0.21}};
    report.voxelSurface = shape.voxel;
    report.cutCellSurface = shape.cutCell;

    const auto fromGate = [](const Point& p) { return std::hypot(p.x - 22.0, p.y - 25.0, p.z); };
    const auto item = [&](std::int32_t number, const char* name, const char* unit, std::int32_t type, bool holes, const auto& field)
    {
        ItemReport made = itemOf(shape, cellSize, holes, field);
        made.number = number;
        made.name = name;
        made.unit = unit;
        made.resultType = type;
        return made;
    };
    ItemReport front = item(1, "Melt-front time", "s", 1, false, [&](const Point& p) { return 0.012 * std::pow(fromGate(p), 1.2); });
    ItemReport pressure = item(2, "Pressure", "MPa", 1, false, [&](const Point& p) { return 68.0 * std::exp(-fromGate(p) / 40.0); });
    ItemReport temperature =
        item(6, "Temperature", "°C", 1, false, [&](const Point& p) { return 228.0 - 0.4 * fromGate(p) + 3.0 * std::sin(p.y / 4.0); });
    temperature.smoothed = true;
    ItemReport shear = item(14, "Shear rate", "1/s", 1, false, [&](const Point& p) { return 2.4e6 / (4.0 + fromGate(p) * fromGate(p)); });
    shear.smoothed = true;
    ItemReport wall = item(1, "Mould wall temperature", "°C", 5, true,
                           [&](const Point& p) { return 42.0 + 9.0 * std::cos(p.x / 11.0) * std::cos(p.y / 13.0); });
    wall.smoothed = true;
    wall.throughIdMap = true;
    ItemReport unknown;
    unknown.number = 41;
    unknown.name = "Coolant pressure";
    unknown.unit = "kPa";
    unknown.resultType = 2;
    unknown.known = false;
    report.files = {{"results/housing_vox.q7f", "results/housing.q7f", "filling", false, "", {front, pressure, temperature, shear}},
                    {"results/housing_vox.q7c", "results/housing.q7c", "cooling", false, "", {wall, unknown}},
                    {"results/housing.q7p",
                     "results/housing.q7p",
                     "packing",
                     true,
                     "results/housing.q7p: item 3 (Density) ends after 1 024 of 41 877 values; the voxel file is back under its old name",
                     {}}};
    return report;
}

void makeHostile(MappingReport& report)
{
    const std::string evil =
        "</script></style></title><script>window.harmed=1</script><img src=\"http://192.0.2.1/x.png\" onerror='window.harmed=2'>"
        "\"'&amp;{{style}}<!--\xE2\x80\xA8\xE2\x80\xAE\xFF\x01 größer";
    report.toolVersion = evil;
    report.meshFile = evil;
    report.title = evil;
    report.lengthUnit = evil;
    for (StageTime& stage : report.stages)
    {
        stage.stage = evil;
    }
    for (FileReport& file : report.files)
    {
        file.source = file.target = file.kind = file.reason = evil;
        for (ItemReport& item : file.items)
        {
            item.name = item.unit = evil;
        }
    }
}

} // namespace tav3d::tests
