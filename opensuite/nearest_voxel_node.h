#pragma once

// For every cut-cell node, the voxel node that its value is taken from.

#include "mesh_model.h"

#include <cstdint>
#include <span>
#include <vector>

namespace tav3d::opensuite
{

/// What a node belongs to. A node on the border of two bodies belongs to the later one here.
enum class NodeBody : std::uint8_t
{
    MoldBase,
    PartInsert,
    Plastic,
};
inline constexpr int nodeBodyCount = 3;

/// The body of each node of a mesh, entry n-1 for node n: plastic if a plastic element uses the node, else part insert if a mould-base element of a
/// part-insert body or a part-insert facet uses it, else mould base. Node numbers that the mesh does not have are passed over.
std::vector<NodeBody> bodiesOfNodes(const MeshZone& mesh);

/// Node n has entry n-1 of each span; all have the same length.
struct BodyNodes
{
    std::span<const float> x, y, z;
    std::span<const NodeBody> body;
};

/// nearest[i] = number (1-based) of the voxel node of the same body that is nearest to cut-cell node i+1; of equally near ones the lowest. Coordinates
/// are widened to double, the squared distance is dx² + dy² + dz², and squared distances are compared as rounded.
/// A body without voxel nodes takes the nearest voxel node of any body. A node whose coordinates are not finite is never the nearest, and has
/// none itself: 0, as has every node when there are no voxel nodes.
///   nearest   out   one entry per cut-cell node
void nearestVoxelNodes(const BodyNodes& cutCell, const BodyNodes& voxel, std::span<std::int32_t> nearest);

} // namespace tav3d::opensuite
