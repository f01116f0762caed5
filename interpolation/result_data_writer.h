#pragma once

#include "interpolation/numbered.h"

namespace tav3d::interpolation
{

/// Writes nodes with four fields, and cells, to the Tecplot file "30.plt" in the working directory.
///   fields  fields[1], [2], [3], [0] by node number become U, V, W, P
///   cells   cell rows; those of 4, 5, 6 or 8 nodes are written, as eight node numbers
/// A file that cannot be created is passed over in silence.
void writeTecplotData(const NumberedPoints& nodes, const float* const* fields, const NumberedSpan<int* const>& cells);

} // namespace tav3d::interpolation
