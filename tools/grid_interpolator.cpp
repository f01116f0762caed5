#include "grid_interpolator.h"

#include "Tav3dInterpolation.h"
#include "engine_mesh.h"

#include <algorithm>
#include <cmath>
#include <tuple>

namespace tav3d::tools
{

namespace
{

/// The fields as the engine borrows them: entry 0 and one entry per node. Behind each field that lacks values stands a second one, 1 at the nodes
/// that have a value and 0 elsewhere: where it comes out as 1, no other node has carried weight.
struct EngineFields
{
    explicit EngineFields(const FieldGrid& grid)
    {
        for (const GridField& field : grid.fields)
        {
            std::vector<float>& values = array.emplace_back(1, 0.0F);
            values.insert(values.end(), field.value.begin(), field.value.end());
            number.push_back(static_cast<int>(array.size()) - 1);
            coverage.push_back(-1);
            if (field.isThere.empty())
                continue;
            std::vector<float>& covered = array.emplace_back(1, 0.0F);
            covered.insert(covered.end(), field.isThere.begin(), field.isThere.end());
            coverage.back() = static_cast<int>(array.size()) - 1;
        }
    }

    void hand(CTav3dInterpolation& engine)
    {
        engine.SetNPhiValue(static_cast<int>(array.size()));
        for (std::size_t k = 0; k < array.size(); ++k)
            engine.SetPhiValue(static_cast<int>(k), array[k].data());
    }

    std::vector<std::vector<float>> array;
    std::vector<int> number;   // in the engine, per field
    std::vector<int> coverage; // likewise; -1 = has a value at every node
};

/// The whole mesh in one engine: its search finds the cells.
class WholeMesh
{
public:
    WholeMesh(EngineMesh& mesh, EngineFields& fields, int points)
    {
        const auto [xMin, xMax] = std::minmax_element(mesh.cellX.begin() + 1, mesh.cellX.end());
        const auto [yMin, yMax] = std::minmax_element(mesh.cellY.begin() + 1, mesh.cellY.end());
        const auto [zMin, zMax] = std::minmax_element(mesh.cellZ.begin() + 1, mesh.cellZ.end());
        engine.SetBaseRange(*xMin, *xMax, *yMin, *yMax, *zMin, *zMax);
        engine.SetBaseData(mesh.nodeTotal(), mesh.cellTotal(), mesh.nodeX.data(), mesh.nodeY.data(), mesh.nodeZ.data(), mesh.cellX.data(),
                           mesh.cellY.data(), mesh.cellZ.data(), mesh.row.data(), false);
        fields.hand(engine);
        engine.SetNDataPoint(points);
    }

    CTav3dInterpolation engine;
};

/// An engine that knows one cell only, for points whose cell is known. What it takes for the cell's centre is the point itself, so that its search
/// finds the cell however large it is.
class OneCell
{
public:
    OneCell(EngineMesh& mesh, EngineFields& fields)
        : mesh_(mesh)
    {
        fields.hand(engine);
        engine.SetNDataPoint(1);
    }

    void place(int cell, Vec3 p)
    {
        x_[1] = p.x;
        y_[1] = p.y;
        z_[1] = p.z;
        row_[1] = mesh_.row[static_cast<std::size_t>(cell)];
        engine.SetBaseRange(p.x, p.x, p.y, p.y, p.z, p.z);
        engine.SetBaseData(mesh_.nodeTotal(), 1, mesh_.nodeX.data(), mesh_.nodeY.data(), mesh_.nodeZ.data(), x_, y_, z_, row_, false);
        engine.SetDataPoint(1, p.x, p.y, p.z);
    }

    CTav3dInterpolation engine;

private:
    EngineMesh& mesh_;
    double x_[2] = {}, y_[2] = {}, z_[2] = {};
    int* row_[2] = {};
};

/// The fields at a data point of the engine, by shape functions.
void evaluate(CTav3dInterpolation& engine, int dataPoint, const EngineFields& fields, PointValues& out)
{
    constexpr double rounding = 1e-6;
    for (std::size_t f = 0; f < fields.number.size(); ++f)
    {
        double covered = 1.0;
        if (fields.coverage[f] >= 0)
            engine.GetPhiValue(dataPoint, fields.coverage[f], covered);
        if (std::abs(covered - 1.0) > rounding)
            continue;
        double value = 0.0;
        engine.GetPhiValue(dataPoint, fields.number[f], value);
        out.value[f] = value;
    }
}

/// On a node the method divides by zero: the point is in the stencils twice. Nearer than this (mm) the node's own value is given, which is what the method
/// tends to; it still follows it well at a hundredth of the distance.
constexpr double nodeReach = 1e-6;

void evaluateByQuadrature(const FieldGrid& grid, EngineMesh& mesh, std::span<const Vec3> points, bool extrapolate,
                          std::vector<PointValues>& out, const std::function<void(int, int)>& observe)
{
    std::vector<int> wanted; // places in `points`
    for (std::size_t i = 0; i < points.size(); ++i)
        if (out[i].distance == 0.0 || extrapolate)
            wanted.push_back(static_cast<int>(i));
    std::vector<double> x(1), y(1), z(1);
    for (const int i : wanted)
    {
        const Vec3& p = points[static_cast<std::size_t>(i)];
        x.push_back(p.x);
        y.push_back(p.y);
        z.push_back(p.z);
    }
    std::vector<std::vector<double>> phi;
    for (const GridField& field : grid.fields)
    {
        phi.emplace_back(1, 0.0);
        phi.back().insert(phi.back().end(), field.value.begin(), field.value.end());
    }

    CTav3dInterpolation engine;
    const int total = static_cast<int>(wanted.size());
    engine.SetSorting(mesh.nodeTotal(), mesh.cellTotal(), mesh.nodeX.data(), mesh.nodeY.data(), mesh.nodeZ.data(), mesh.row.data(), total,
                      x.data(), y.data(), z.data());
    for (int k = 0; k < total; ++k)
    {
        const auto i = static_cast<std::size_t>(wanted[static_cast<std::size_t>(k)]);
        const int node = mesh.nodeAt(out[i].cell, points[i], nodeReach);
        for (std::size_t f = 0; f < phi.size(); ++f)
        {
            double value = phi[f][static_cast<std::size_t>(node)]; // entry 0 is 0
            if (node == 0)
                engine.GetInterpolation(k + 1, phi[f].data(), value);
            out[i].value[f] = value;
        }
        if (observe)
            observe(k + 1, total);
    }
    // No CleanDataPoint: the point arrays are ours.
}

} // namespace

std::vector<PointValues> interpolateAtPoints(const FieldGrid& grid, std::span<const Vec3> points, const InterpolationOptions& options,
                                             const std::function<void(int, int)>& observe)
{
    std::vector<PointValues> out(points.size());
    EngineMesh mesh(grid);
    const bool byShape = options.method == InterpolationMethod::Shape;
    EngineFields fields(byShape ? grid : FieldGrid{});
    WholeMesh whole(mesh, fields, static_cast<int>(points.size()));
    OneCell single(mesh, fields);

    for (std::size_t i = 0; i < points.size(); ++i)
    {
        const Vec3 p = points[i];
        const int number = static_cast<int>(i) + 1;
        PointValues& result = out[i];
        result.value.resize(grid.fields.size());
        // Outside of the mesh the engine would collect all centres within its reach, which may be most of the mesh; and the cell with the
        // nearest centre need not be the nearest cell.
        const int holder = mesh.cellThatHolds(p);
        bool isProposal = false;
        if (holder == 0)
            std::tie(result.cell, result.distance) = mesh.nearestCell(p);
        else
        {
            result.cell = whole.engine.SetDataPoint(number, p.x, p.y, p.z);
            isProposal = result.cell != 0 && mesh.smallestShape(result.cell, p) >= EngineMesh::onSurface;
            if (!isProposal)
                result.cell = holder;
        }
        if (byShape && (holder != 0 || options.extrapolate))
        {
            if (!isProposal)
                single.place(result.cell, p);
            evaluate(isProposal ? whole.engine : single.engine, isProposal ? number : 1, fields, result);
        }
        if (byShape && observe)
            observe(number, static_cast<int>(points.size()));
    }
    if (!byShape)
        evaluateByQuadrature(grid, mesh, points, options.extrapolate, out, observe);
    return out;
}

} // namespace tav3d::tools
