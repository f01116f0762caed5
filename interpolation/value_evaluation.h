#pragma once

#include "interpolation/numbered.h"

#include <array>
#include <cstddef>

namespace tav3d::interpolation
{

/// What the mean of cell values at a node is made of; the host's arrays, borrowed.
struct NodeAveraging
{
    struct Vectors
    {
        const double* x = nullptr;
        const double* y = nullptr;
        const double* z = nullptr;
    };

    const int* const* nodeCell = nullptr; ///< per node the counted list of the cells around it
    const int* const* cellKind = nullptr; ///< per cell its kind and its index into the vectors of that kind
    const double* cellWeight = nullptr;
    std::array<Vectors, 6> kindVectors{}; ///< by kind 1, 2, 3, 5
};

/// Weighted mean of the cell values around a node: sum w v / sum w, NaN for a node without cells. When a cell has weight exactly 0.0, only
/// such cells count, each with the length of its kind vector as weight; an unknown kind is reported on standard output and uses the vector
/// of the cell before it. The float form computes in double and rounds the mean.
double averageAtNode(const NodeAveraging& averaging, int node, const double* cellValues);
float averageAtNode(const NodeAveraging& averaging, int node, const float* cellValues);

/// Coordinates, values and shape functions of one element's nodes, in element order. Made for every evaluation, so the arrays are not cleared: entries
/// from `count` on have no value.
struct ElementNodes
{
    static constexpr std::size_t most = 8;

    std::size_t count = 0; ///< as the row says; beyond `most` nothing is gathered
    std::array<double, most> x;
    std::array<double, most> y;
    std::array<double, most> z;
    std::array<double, most> value;
    std::array<double, most> shape; ///< given by evaluateShape() or evaluateFaceShape(); 0 for a node count that no element has
    bool hasElement = false;        ///< whether `shape` was computed by an element

    /// Sum of shape function times value, from 0.0 in node order. 0.0 without nodes, NaN for any other node count that no element has.
    [[nodiscard]] double sum() const;
};

/// Collects the nodes of a row; `nodeValue(node)` gives a node's value as double.
template <class NodeValue>
[[nodiscard]] ElementNodes gatherElement(const int* row, const NumberedPoints& points, NodeValue&& nodeValue)
{
    ElementNodes element;
    const std::span<const int> nodes = listItems(row);
    element.count = nodes.size();
    if (element.count > ElementNodes::most)
        return element;
    for (std::size_t k = 0; k < element.count; ++k)
    {
        const Point p = points[nodes[k]];
        element.x[k] = p.x;
        element.y[k] = p.y;
        element.z[k] = p.z;
        element.value[k] = nodeValue(nodes[k]);
    }
    return element;
}

/// Fills element.shape at a point: tetrahedron, pyramid, prism or hexahedron, by the node count.
void evaluateShape(ElementNodes& element, const Point& p);

/// Fills element.shape at a point for a face of 3 or 4 nodes, in the plane of its first three nodes.
void evaluateFaceShape(ElementNodes& face, const Point& p);

/// The operations that report a point without a cell, each for itself.
enum class Evaluation
{
    fieldAtDataPoint,
    doubleCellValuesAtDataPoint,
    floatCellValuesAtDataPoint,
    doubleCellValuesAtPoint,
    floatCellValuesAtPoint,
};

/// Reports on standard output that there is no cell to evaluate in; only the first time in the life of the process for each operation.
void reportMissingElement(Evaluation evaluation, int dataPoint, int cell, int cellCount);

} // namespace tav3d::interpolation
