#pragma once

// Tecplot ASCII files of captured results, for a look at a mapping run.

#include "nodes.h"

#include <iosfwd>
#include <string>

class KRNIO_Manipulator;

namespace tav3d::meshmapping
{

/// Rows of a capture table: row 0 holds the number of captured items in its entry 0, rows 1 and 2 an item each.
inline constexpr int captureRowTotal = 3;

/// A capture table for nNode nodes: three rows of nNode+1 floats, all zero. The caller releases it with deleteCaptureTable.
[[nodiscard]] float** newCaptureTable(int nNode);

/// Releases a table; null does nothing.
void deleteCaptureTable(float** table);

/// What a file shows: nodes 1..nodeTotal with two values each.
struct TecplotNodes
{
    NodePoints points; // nodes beyond them are written at the origin
    int nodeTotal = 0;
    const float* first = nullptr;  // entries 1..nodeTotal
    const float* second = nullptr; // likewise; null: a column of zeros
};

/// Name of the k-th file: "VoxelResultt=%f_.plt" or "CutCellResultt=%f_.plt" with k for %f, cut off after 199 characters.
[[nodiscard]] std::string tecplotFileName(bool ofVoxelMesh, double k);

/// Writes one zone of bricks: header, nodes, and the plastic elements that `reader` delivers. Nothing is reported.
void writeTecplot(std::ostream& out, const TecplotNodes& nodes, KRNIO_Manipulator& reader);

} // namespace tav3d::meshmapping
