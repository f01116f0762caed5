#pragma once

// Small models for tests of the mesh mapping: grids of cubes, each cell part, mould base, part insert or nothing.

#include "opensuite/mesh_model.h"

#include <functional>

namespace tav3d::support
{

enum class Cell : unsigned char
{
    none,
    part,
    mold,
    insert,
};

/// A grid of equal cubes. Grid point (i, j, k) is node 1 + i + (nx+1)(j + (ny+1)k) of the zone; no node is left out.
class CubeGrid
{
public:
    CubeGrid(int nx, int ny, int nz, Cell all = Cell::mold);

    /// Sets the cells from (x0, y0, z0) up to, not including, (x1, y1, z1).
    CubeGrid& fill(Cell what, int x0, int y0, int z0, int x1, int y1, int z1);

    [[nodiscard]] int node(int i, int j, int k) const { return 1 + i + (nx_ + 1) * (j + (ny_ + 1) * k); }
    [[nodiscard]] int nodeTotal() const { return (nx_ + 1) * (ny_ + 1) * (nz_ + 1); }

    /// The mesh: part cells are plastic, mould and insert cells mould base. Facets of the part towards the mould or the outside are part skin
    /// (0), towards the insert interface (3); outer faces of the mould are kind 2. Facets of the insert are part-insert entries.
    [[nodiscard]] opensuite::MeshZone zone(float edge = 1.0f, float x0 = 0.0f, float y0 = 0.0f, float z0 = 0.0f) const;

private:
    [[nodiscard]] Cell at(int i, int j, int k) const;
    [[nodiscard]] std::size_t index(int i, int j, int k) const { return static_cast<std::size_t>(i + nx_ * (j + ny_ * k)); }

    int nx_, ny_, nz_;
    std::vector<Cell> cell_;
};

/// Changes the kind of every facet whose centre the test accepts; returns how many.
int setFacetKind(opensuite::MeshZone& zone, std::int32_t kind, const std::function<bool(float x, float y, float z)>& test);

/// Renumbers the nodes: node n becomes newNumber[n] (entry 0 not used).
opensuite::MeshZone renumbered(const opensuite::MeshZone& zone, const std::vector<int>& newNumber);

/// Both meshes in one model.
opensuite::MeshModel modelOf(const CubeGrid& voxel, const CubeGrid& cutCell, double scaleFactor = 1.0);

/// A plate of 6x4x1 part cells in the middle of 8x6x3 mould cells; the cut-cell mesh is the same grid.
opensuite::MeshModel plateModel();

/// The same with an insert of 2x2x1 cells under the plate.
opensuite::MeshModel plateWithInsertModel();

} // namespace tav3d::support
