#pragma once

// Smoothing of nodal values on the voxel mesh, in place, with the rows of the Gauss search.

#include "nodes.h"

namespace tav3d::meshmapping
{

/// View of the rows that findGaussNeighbours makes. Without tables (null) no node has a row.
struct GaussRows
{
    const int* rowOfNode = nullptr;
    const int* count = nullptr;
    const int* const* neighbour = nullptr;
    const float* const* weight = nullptr;
    const float* selfWeight = nullptr;
};

/// The voxel nodes as smoothing sees them.
struct SmoothingNodes
{
    NodeKinds kinds;
    NumberedSpan<const int> fixed; // 1 = keeps its value
    GaussRows rows;
};

/// Five Jacobi sweeps of value_i = Σ w_k·value_k over the node itself and its row, in single precision, in row order. Weights are used
/// as they stand. Nodes without a row, fixed nodes, nodes on no surface and nodes whose value is 0 keep their value bit for bit.
///   value  in/out
///   work   scratch, as long as `value`
void smoothByGaussWeights(const SmoothingNodes& nodes, NumberedSpan<float> value, NumberedSpan<float> work);

/// One Gauss-Seidel pass of value_i = mean of the node's and its neighbours' values, weights set aside. Same selection of nodes, except
/// that nodes whose value is 0 are averaged like any other.
///   work   out: the values before the pass
void smoothByNodeAverage(const SmoothingNodes& nodes, NumberedSpan<float> value, NumberedSpan<float> work);

} // namespace tav3d::meshmapping
