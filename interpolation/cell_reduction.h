#pragma once

#include <array>
#include <vector>

/// The nodes of one cell in row order: numbers and coordinates.
struct CSolCellCorner
{
    std::vector<int> node;
    std::vector<double> x;
    std::vector<double> y;
    std::vector<double> z;
};

namespace tav3d::interpolation
{

/// Positions (0-based, in the record) of the nodes that stand at the eight corners of the cell's bounding box, in hexahedron order: low z
/// side (low x, low y), (high, low), (high, high), (low, high), then the same on the high z side. In row order, a node takes the corner of
/// its octant of the box from the node that holds it when it lies strictly farther out in x, or else in y, or else in z; so the last such
/// node stays, also when it is nearer in another direction. An octant without nodes gets position 0. The record must not be empty.
std::array<std::size_t, 8> ReduceCellToHexa(const CSolCellCorner& cell);

/// When any of the cell rows 1..cellCount has more than 8 nodes, rewrites every row of 8 or more nodes to the 8 corners above.
///   cellNode          in/out  counted lists of node numbers
///   nodeX..nodeZ      in      coordinates by node number
void reduceCellsToHexa(int** cellNode, int cellCount, const double* nodeX, const double* nodeY, const double* nodeZ);

} // namespace tav3d::interpolation
