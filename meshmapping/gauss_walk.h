#pragma once

// What the plain and the fast Gauss search share: the candidates of a node, and the kernel that is fitted to them.

#include "gauss_neighbours.h"

#include <array>

namespace tav3d::meshmapping
{

/// The candidates of one node.
struct Candidates
{
    std::array<DistantNode, gaussNeighbourCap> item;
    int count = 0;

    [[nodiscard]] std::span<DistantNode> items() noexcept { return {item.data(), static_cast<std::size_t>(count)}; }
};

/// No more than this left for the node itself asks for a narrower kernel.
inline constexpr double leastSelfWeight = 0.023;

/// Weight of a neighbour at squared distance d² with width factor c: (float)exp(-d²/(e²·c·c)/3.92)·norm.
[[nodiscard]] float gaussWeight(double squaredDistance, const GaussKernel& kernel, double c, float norm);

/// Fills a row's nodes and weights at entries 1..; returns what is left for the row's own node.
///   self = 1 - w_1 - w_2 - ...,  c = 1.0, 0.9, ..., 0.1
/// A kernel that leaves too little for the node itself is narrowed, at most nine times.
float fitGaussKernel(std::span<const DistantNode> nearestFirst, const GaussKernel& kernel, float norm, int* neighbour, float* weight);

} // namespace tav3d::meshmapping
