#pragma once

// Values of a grid's fields at points, by the interpolation engine.

#include "field_grid.h"
#include "vec3.h"

#include <functional>
#include <optional>
#include <span>
#include <vector>

namespace tav3d::tools
{

enum class InterpolationMethod
{
    Shape,      ///< shape functions of the cell that holds the point
    Quadrature, ///< multiquadric fit over the neighbourhoods of the 4 nearest nodes
};

struct PointValues
{
    std::int32_t cell = 0; ///< the cell that holds the point, or else the nearest; counts from 1 over the grid's cells
    double distance = 0.0; ///< 0 in the cell, else the distance to it (EngineMesh::distanceToSurface)
    /// One per field; nothing where the field has no value.
    std::vector<std::optional<double>> value;
};

struct InterpolationOptions
{
    InterpolationMethod method = InterpolationMethod::Shape;
    bool extrapolate = false; ///< also give values at points outside of all cells, continued from the nearest cell
};

/// Values at `points`, in their order, on a grid that has cells. The engine's search proposes a cell by the boxes of the cells; where that cell does not hold the point itself, the
/// cell that does takes its place. A point counts as held when no shape function of the cell is below -1e-6.
/// A field with nodes without a value has none in cells where such a node carries weight. Quadrature uses nodes far beyond one cell: there all fields
/// must have a value at every node, and all nodes must belong to cells (GridRequest::dropLooseNodes). Within 1e-6 of a node it gives the node's value.
/// `observe`, when not empty, is told points done and points in all. What the engine prints comes out on standard output.
[[nodiscard]] std::vector<PointValues> interpolateAtPoints(const FieldGrid& grid, std::span<const Vec3> points,
                                                           const InterpolationOptions& options,
                                                           const std::function<void(int, int)>& observe = {});

} // namespace tav3d::tools
