#include "model_builder.h"

#include "cell_geometry.h"
#include "cut_cells.h"
#include "surface_facets.h"
#include "text_format.h"

#include <algorithm>
#include <cmath>
#include <stdexcept>

namespace tav3d::tools
{

namespace
{

using namespace opensuite;

constexpr double maxNodes = 60e6;         // node, edge and facet numbers stay within 32 bits
constexpr double maxDisputedShare = 0.05; // of the points inside: more of them, and the majority vote is a guess
constexpr double maxVolumeError = 0.02;

std::string percent(double share)
{
    return common::fixed(100 * share, 2) + " %";
}

BlockGrid layGrid(const std::string& partName, const TriangleMesh& part, const std::vector<TriangleMesh>& inserts,
                  const ModelOptions& options)
{
    Box box = bounds(part);
    for (const TriangleMesh& insert : inserts)
    {
        const Box other = bounds(insert);
        for (int axis = 0; axis < 3; ++axis)
        {
            box.low[axis] = std::min(box.low[axis], other.low[axis]);
            box.high[axis] = std::max(box.high[axis], other.high[axis]);
        }
    }
    BlockGrid grid;
    grid.cellSize = options.cellSize;
    std::array<double, 3> cells{};
    for (int axis = 0; axis < 3; ++axis)
    {
        // a size that is a multiple of the cell but for rounding needs no further cell
        cells[axis] = std::ceil((box.high[axis] - box.low[axis]) / options.cellSize - 1e-6) + 2.0 * options.margin;
        grid.origin[axis] = box.low[axis] - options.margin * options.cellSize;
    }
    const double nodes = (cells[0] + 1) * (cells[1] + 1) * (cells[2] + 1);
    if (!(nodes <= maxNodes))
    {
        throw std::runtime_error(partName + ": a cell size of " + general(options.cellSize) + " gives " + general(nodes) +
                                 " grid nodes; 60 million are possible");
    }
    for (int axis = 0; axis < 3; ++axis)
    {
        grid.cells[axis] = static_cast<std::int32_t>(cells[axis]);
    }
    return grid;
}

void checkSamples(const NamedSurface& part, const std::vector<NamedSurface>& inserts, const BlockSamples& samples)
{
    for (std::size_t s = 0; s <= inserts.size(); ++s)
    {
        const NamedSurface& named = s == 0 ? part : inserts[s - 1];
        const auto number = static_cast<std::uint8_t>(s == 0 ? body::part : body::firstInsert + s - 1);
        if (samples.disputedShare[s] > maxDisputedShare)
        {
            throw std::runtime_error(named.name + ": surface is open (" + std::to_string(named.surface.edges.open) +
                                     " edges without a neighbour): the rays along the three axes disagree on a share of " +
                                     percent(samples.disputedShare[s]) + " of its points");
        }
        if (std::find(samples.centre.begin(), samples.centre.end(), number) == samples.centre.end())
        {
            throw std::runtime_error(named.name + ": no cell centre lies in it; the cell size is too large");
        }
    }
}

void setNodes(MeshZone& zone, const std::vector<Vec3>& nodes)
{
    zone.x.reserve(nodes.size());
    zone.y.reserve(nodes.size());
    zone.z.reserve(nodes.size());
    for (const Vec3& n : nodes)
    {
        zone.x.push_back(static_cast<float>(n.x));
        zone.y.push_back(static_cast<float>(n.y));
        zone.z.push_back(static_cast<float>(n.z));
    }
}

/// Marks the nodes on the outside of the block; only grid nodes lie there, and they come first.
std::vector<std::uint8_t> outerNodes(const BlockGrid& grid, std::size_t nodeTotal)
{
    std::vector<std::uint8_t> mark(nodeTotal, 0);
    const Lattice nodes = grid.nodes();
    for (std::int32_t k = 0; k < nodes.count[2]; ++k)
    {
        for (std::int32_t j = 0; j < nodes.count[1]; ++j)
        {
            for (std::int32_t i = 0; i < nodes.count[0]; ++i)
            {
                mark[nodes.index(i, j, k)] = i == 0 || j == 0 || k == 0 || i == grid.cells[0] || j == grid.cells[1] || k == grid.cells[2];
            }
        }
    }
    return mark;
}

void fillVoxelZone(MeshZone& zone, const BlockGrid& grid, const BlockSamples& samples)
{
    std::vector<Vec3> places;
    places.reserve(grid.nodeTotal());
    const Lattice nodes = grid.nodes();
    for (std::int32_t k = 0; k < nodes.count[2]; ++k)
    {
        for (std::int32_t j = 0; j < nodes.count[1]; ++j)
        {
            for (std::int32_t i = 0; i < nodes.count[0]; ++i)
            {
                places.push_back(nodes.point(i, j, k));
            }
        }
    }
    setNodes(zone, places);
    for (std::int32_t k = 0, cell = 0; k < grid.cells[2]; ++k)
    {
        for (std::int32_t j = 0; j < grid.cells[1]; ++j)
        {
            for (std::int32_t i = 0; i < grid.cells[0]; ++i, ++cell)
            {
                const auto corner = grid.cornerNodes(i, j, k);
                std::array<std::int32_t, 8> node{};
                for (int c = 0; c < 8; ++c)
                {
                    node[c] = corner[hexahedronCorners[c]] + 1;
                }
                const std::int32_t number = samples.centre[cell];
                (number == body::part ? zone.plastic : zone.moldBase).add(CellKind::Hexa8, node.data(), number);
            }
        }
    }
    addFacets(zone, outerNodes(grid, zone.nodeTotal()));
}

double volume(const CellList& cells, const std::vector<Vec3>& nodes)
{
    double sum = 0;
    std::array<Vec3, 8> corner;
    for (std::size_t e = 0; e < cells.size(); ++e)
    {
        const auto n = static_cast<std::size_t>(nodeCount(cells.kind[e]));
        for (std::size_t i = 0; i < n; ++i)
        {
            corner[i] = nodes[cells.node[cells.start[e] + i] - 1];
        }
        sum += cellVolume(cells.kind[e], std::span(corner).first(n));
    }
    return sum;
}

void markSpots(BuiltModel& built, const ModelOptions& options)
{
    const double radius = options.gateRadius > 0 ? options.gateRadius : 1.5 * options.cellSize;
    const auto mark = [&](const std::string& what, Vec3 at, std::int32_t kind)
    {
        const double offVoxel = markSpot(built.model.voxel, at, radius, kind);
        const double offCutCell = markSpot(built.model.cutCell, at, radius, kind);
        if (offVoxel < 0 || offCutCell < 0)
        {
            throw std::runtime_error("the part has no skin facet left for the " + what + " at " + placeText(at));
        }
        if (std::max(offVoxel, offCutCell) > 2 * options.cellSize)
        {
            built.warnings.push_back("the " + what + " at " + placeText(at) + " lies " + general(std::max(offVoxel, offCutCell)) +
                                     " off the part; the nearest facet is taken");
        }
    };
    built.gate = options.gate ? *options.gate : defaultGate(built.model.voxel);
    mark("gate", built.gate, facet_kind::gate);
    for (const Vec3& vent : options.vents)
    {
        mark("vent", vent, facet_kind::vent);
    }
}

void addWarnings(BuiltModel& built, const NamedSurface& part, const std::vector<NamedSurface>& inserts, const CutCellMesh& cut,
                 const BlockSamples& samples)
{
    auto& warnings = built.warnings;
    if (cut.guessedCuts > 0)
    {
        warnings.push_back(part.name + ": " + std::to_string(cut.guessedCuts) +
                           " cut points lie in holes of the surface and are put half-way");
    }
    const double error = built.cutCell.partVolume / built.partVolume - 1;
    if (samples.overlap > 0)
    {
        warnings.push_back("part inserts take " + std::to_string(samples.overlap) + " cells out of the part");
    }
    if (std::abs(error) > maxVolumeError)
    {
        warnings.push_back(part.name + ": the cut-cell part has " + percent(std::abs(error)) + (error < 0 ? " less" : " more") +
                           " volume than the STL file; what is thinner than a cell is lost, a smaller cell size helps");
    }
    for (std::size_t i = 0; i < inserts.size(); ++i)
    {
        const auto touches = [&](const PartInsertFacet& f) { return f.isInterface && f.insert == static_cast<std::int32_t>(i) + 1; };
        if (std::none_of(built.model.voxel.partInsert.begin(), built.model.voxel.partInsert.end(), touches))
        {
            warnings.push_back(inserts[i].name + ": the part insert does not touch the part");
        }
    }
}

} // namespace

BuiltModel buildModel(const NamedSurface& part, const std::vector<NamedSurface>& inserts, const ModelOptions& options)
{
    std::vector<TriangleMesh> insertMeshes;
    for (const NamedSurface& insert : inserts)
    {
        insertMeshes.push_back(insert.surface.mesh);
    }
    const TriangleMesh& partMesh = part.surface.mesh;
    const BlockGrid grid = layGrid(part.name, partMesh, insertMeshes, options);
    const BlockSamples samples = sampleBlock(grid, partMesh, insertMeshes);
    checkSamples(part, inserts, samples);

    BuiltModel built;
    built.cells = grid.cells;
    built.model.title = options.title;
    built.model.scaleFactor = options.scaleFactor;
    built.model.cellSize = static_cast<float>(options.cellSize);
    fillVoxelZone(built.model.voxel, grid, samples);

    CutCellMesh cut = cutCells(grid, samples, partMesh, insertMeshes);
    built.cutCell = {volume(cut.plastic, cut.node), volume(cut.moldBase, cut.node)};
    MeshZone& zone = built.model.cutCell;
    setNodes(zone, cut.node);
    zone.plastic = std::move(cut.plastic);
    zone.moldBase = std::move(cut.moldBase);
    addFacets(zone, outerNodes(grid, zone.nodeTotal()));

    const double cellVolume = options.cellSize * options.cellSize * options.cellSize;
    built.voxel = {cellVolume * static_cast<double>(built.model.voxel.plastic.size()),
                   cellVolume * static_cast<double>(built.model.voxel.moldBase.size())};
    built.partVolume = part.surface.volume - cellVolume * static_cast<double>(samples.overlap);
    markSpots(built, options);
    addWarnings(built, part, inserts, cut, samples);
    return built;
}

} // namespace tav3d::tools
