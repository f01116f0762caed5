#pragma once

// Where the part's surface cuts the edges of the divided grid cells: cell edges, face diagonals and the edges from cell centres to corners.

#include "block_samples.h"

namespace tav3d::tools
{

/// A point of the surface on an edge. `share` is its place on the edge, 0 at the lower corner or at the cell's centre; < 0 = the edge is not cut.
struct EdgeCut
{
    Vec3 point;
    Vec3 normal; // of the surface; zero when the place was guessed
    Vec3 place;  // of its node: the point, or on a face diagonal the place where a sharp edge of the surface passes through the face
    float share = -1;
    std::int32_t node = 0; // number in the mesh, 0 until it is used
};

struct EdgeCuts
{
    std::vector<std::int32_t> cells; // cells that the surface runs through, ascending; a cell's place here is its slot
    std::vector<EdgeCut> cuts;       // of cell edges and face diagonals
    std::vector<std::int32_t> index; // 6 per grid node: the cell edges from it along x, y, z; the diagonals of the faces normal to x, y, z
    std::vector<std::array<EdgeCut, 8>> ofCentre; // per slot, to the corners
    std::vector<bool> otherDiagonal;              // 3 per grid node: the face's diagonal avoids its lowest corner
    std::int64_t guessed = 0;                     // edges without a crossing between corners on different sides (holes of the surface)

    /// Cut between two corners of a cell (1 or 2 coordinates differ); null when there is none. `node` are the cell's corner nodes.
    [[nodiscard]] EdgeCut* find(const std::array<std::int32_t, 8>& node, int a, int b);
};

/// Place of an edge in EdgeCuts::index.
std::size_t edgeSlot(const std::array<std::int32_t, 8>& node, int a, int b);

/// The four corners of a cell's face in cyclic order, counter-clockwise as seen from inside. Face 2 * axis + side.
std::array<int, 4> faceCorners(int face);

/// Whether the diagonal of a face joins the corners 1 and 3 of faceCorners instead of 0 and 2. It depends on nothing but the face.
bool joinsOneAndThree(const EdgeCuts& cuts, const std::array<std::int32_t, 8>& node, int face);

/// Finds all cuts. Costs memory for 6 numbers per grid node.
EdgeCuts findEdgeCuts(const BlockGrid& grid, const BlockSamples& samples, const TriangleMesh& part, std::span<const TriangleMesh> inserts);

} // namespace tav3d::tools
