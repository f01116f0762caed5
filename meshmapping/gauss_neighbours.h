#pragma once

// The Gauss search: for every voxel node on the part's surface, the nodes of the same kind around it, with the weights that smoothing gives them.

#include "nodes.h"

namespace tav3d::meshmapping
{

/// Boundary facets and the facets at each node, as counted lists.
struct FacetTables
{
    const int* const* facetNode = nullptr; // rows 1..: corner count, corners
    const int* const* nodeFacet = nullptr; // one row per node: facet count, facets
};

/// The kernel exp(-d²/(e²c²)/3.92)·(π·1.96)^(-3/2) for squared distances d² and the width factor c.
struct GaussKernel
{
    float pi;                   // the host's pi; its five digits are part of the weights
    float elementLengthSquared; // e²
};

/// One row per selected voxel node, numbered 1, 2, ... in ascending node order.
struct GaussNeighbours
{
    std::unique_ptr<int[]> rowOfNode;    // per voxel node: its row, 0 = none
    RowTable<int> neighbour;             // entries 1..count: voxel nodes, nearest first
    RowTable<float> weight;              // entries 1..count: their weights
    std::unique_ptr<int[]> count;        // per row
    std::unique_ptr<float[]> selfWeight; // per row: 1 minus the sum of its weights
};

/// Most neighbours that a node keeps.
inline constexpr int gaussNeighbourCap = 50;

/// Normalisation of the Gauss weights for a three-dimensional kernel of standard deviation 1.4: (pi·1.4²)^(-3/2), formed in double from the
/// float values and rounded once.
[[nodiscard]] float gaussNorm(float pi);

/// Finds the rows of all nodes that are on a surface and not fixed.
///   points, kinds  the voxel nodes
///   fixed          per node: 1 = neither smoothed nor a neighbour
///   facets         what the walk from node to node follows
///   rowTotal       rows to make, row 0 not counted; at least the number of nodes on a surface
///   rowLength      entries per row; more than gaussNeighbourCap
[[nodiscard]] GaussNeighbours findGaussNeighbours(const NodePoints& points, const NodeKinds& kinds, NumberedSpan<const int> fixed,
                                                  const FacetTables& facets, const GaussKernel& kernel, int rowTotal, int rowLength);

/// The same by the plain form, to compare with.
[[nodiscard]] GaussNeighbours findGaussNeighboursPlain(const NodePoints& points, const NodeKinds& kinds, NumberedSpan<const int> fixed,
                                                       const FacetTables& facets, const GaussKernel& kernel, int rowTotal, int rowLength);

} // namespace tav3d::meshmapping
