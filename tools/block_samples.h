#pragma once

// Which body the nodes and the centres of a block's grid cells lie in.

#include "block_grid.h"

#include <span>

namespace tav3d::tools
{

/// Body numbers (opensuite::body) of all grid nodes and all cell centres.
struct BlockSamples
{
    std::vector<std::uint8_t> node;
    std::vector<std::uint8_t> centre;
    std::vector<double> disputedShare; // per surface (part, inserts): disputed points per point inside
    std::int64_t overlap = 0;          // cell centres that lie in the part and in an insert
};

/// Samples the grid, shifted by samplingShift(). A point in several bodies belongs to the last insert among them, so that an insert may stand in the
/// part's own volume; nodes on the outside of the block always belong to the mould base. At most 250 inserts.
BlockSamples sampleBlock(const BlockGrid& grid, const TriangleMesh& part, std::span<const TriangleMesh> inserts);

} // namespace tav3d::tools
