#pragma once

// Files for other programs, each with mesh and values in one: nothing in them refers to another file. Coordinates are in mesh length units. All
// throw opensuite::FileError naming `target`; the file appears under its name in one step, complete, and whatever stood there stays until then.

#include "field_grid.h"

#include <array>
#include <span>
#include <string>

namespace tav3d::tools
{

/// VTK's XML file of an unstructured grid, arrays appended as they are in memory. Point data: the items, and "NodeNumber" when the numbers in the mesh file
/// are others; nodes without a value hold NaN. Cell data: "Body" (1 part, 2 mould base, from 3 on inserts).
void writeVtu(const FieldGrid& grid, const std::string& target);

/// A CGNS file of one zone with the sections Plastic and MoldBase; items and bodies as above, as a vertex and a cell-centred solution.
void writeCgns(const FieldGrid& grid, const std::string& target);

/// A Tecplot ASCII file of one FEPOINT zone of bricks; cells of fewer nodes are collapsed bricks. The format knows no missing values: nodes without a
/// value hold 0. Numbers have as many digits as bring back the same float. Throws also for a value that is not finite, which such a file cannot hold.
void writeTecplot(const FieldGrid& grid, const std::string& target);

/// The nodes of a cell in VTK's order. It is that of the suite but for the prism (VTK's wedge): there VTK wants the triangle 1 2 3 to run
/// clockwise as seen from the other triangle.
[[nodiscard]] std::span<const std::int8_t> vtkOrder(opensuite::CellKind kind);

/// The corners of the brick that a cell is: for each of the brick's eight the position in the cell's node row. Faces of the brick are faces of the cell,
/// edges, or points, so that volume and surface are those of the cell.
[[nodiscard]] const std::array<std::int8_t, 8>& brickCorners(opensuite::CellKind kind);

} // namespace tav3d::tools
