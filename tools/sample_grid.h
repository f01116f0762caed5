#pragma once

// The voxel mesh as a grid of nodes with neighbours along the axes: what the sample fields are computed on.

#include "opensuite/mesh_model.h"

#include <array>
#include <cstdint>
#include <string>
#include <vector>

namespace tav3d::tools
{

/// Nodes are numbered from 0 here, cells as in the mesh: plastic first, mould base after them.
struct SampleGrid
{
    /// Neighbours in the directions -x, +x, -y, +y, -z, +z; -1 = none.
    using Neighbours = std::array<std::int32_t, 6>;

    double spacing = 0.0; // edge of a cell, in mesh length units
    std::vector<std::array<std::int32_t, 8>> cell;
    std::vector<std::int32_t> body; // of each cell
    std::size_t plasticCells = 0;

    std::vector<Neighbours> neighbour;        // over edges of any cell
    std::vector<Neighbours> plasticNeighbour; // over edges of plastic cells only
    std::vector<double> plasticVolume;        // of each node: an eighth of every plastic cell around it; 0 = no node of the part

    std::vector<char> isGate;        // nodes of gate facets
    std::vector<char> isPartSurface; // nodes of the part's skin, gates, vents and interfaces to inserts
    std::vector<char> isMoldBase;    // nodes of mould-base cells, part inserts included
    std::vector<char> isOuterFace;   // nodes on the outside of the mould block
    double partSurfaceArea = 0.0;
    std::size_t ventFacets = 0;

    [[nodiscard]] std::size_t nodeTotal() const noexcept { return neighbour.size(); }
    [[nodiscard]] bool isPlastic(std::size_t node) const noexcept { return plasticVolume[node] > 0; }
};

/// Throws FileError (BadContent, naming `file`) when the mesh is not made of equal cubes, or has no part or no gate.
[[nodiscard]] SampleGrid makeSampleGrid(const opensuite::MeshZone& voxel, double scaleFactor, const std::string& file);

/// Node numbers, counted from 1, whose mark is set, as the ID map of a result type: entries 1..count, entry 0 is 0.
[[nodiscard]] std::vector<int> idMapOf(const std::vector<char>& mark);

} // namespace tav3d::tools
