// A thin part of any size, in memory: a plate of two layers of cubes, whose voxel nodes are nearly all on its surface, and its cut-cell nodes. What the
// loaders would make of its mesh file, without the file.

#pragma once

#include "meshmapping/cut_cell_neighbours.h"
#include "meshmapping/gauss_neighbours.h"
#include "opensuite/mesh_model.h"

#include "TAVOptKer.h"

#include <cstdint>
#include <memory>
#include <vector>

namespace tav3d::benchmarks
{

/// Nodes of a mesh; entry 0 of each array is empty.
struct PlateNodes
{
    std::vector<float> x, y, z;
    std::vector<unsigned char> part, partInsert;

    [[nodiscard]] int total() const { return static_cast<int>(x.size()) - 1; }
    [[nodiscard]] meshmapping::NodePoints points() const { return {{x.data(), total()}, {y.data(), total()}, {z.data(), total()}}; }
    [[nodiscard]] meshmapping::NodeKinds kinds() const { return {{part.data(), total()}, {partInsert.data(), total()}}; }
    [[nodiscard]] int surfaceTotal() const;
};

class ThinPlate
{
public:
    /// About `nodeTotal` voxel nodes, and 1.3 times as many cut-cell nodes. Edges are 0.43 long: no coordinate is exact.
    explicit ThinPlate(std::int64_t nodeTotal);

    [[nodiscard]] const PlateNodes& voxel() const { return voxel_; }
    [[nodiscard]] const PlateNodes& cutCell() const { return cutCell_; }
    [[nodiscard]] meshmapping::NumberedSpan<const int> fixed() const { return {fixed_.data(), voxel_.total()}; }
    [[nodiscard]] meshmapping::FacetTables facets() const { return {facetNode_.data(), nodeFacet_.data()}; }
    [[nodiscard]] meshmapping::GaussKernel kernel() const { return {3.1416f, edge * edge}; }
    [[nodiscard]] meshmapping::VoxelTarget target() const;

    /// The plate as a model: one plastic element per cube in both meshes, all facets of the part's skin.
    [[nodiscard]] opensuite::MeshModel model() const;

private:
    static constexpr float edge = 0.43f;

    void addSurface(int cells);

    int cells_; // along both sides
    PlateNodes voxel_, cutCell_;
    std::vector<int> cutCellOfVoxel_; // the cut-cell node that goes with a voxel node
    std::vector<int> fixed_;
    meshmapping::RowTable<int> facetNode_, nodeFacet_;
    std::vector<int> nodeOfCompact_;
    std::unique_ptr<CTAVOptKer> tree_;
};

} // namespace tav3d::benchmarks
