#pragma once

// A triangulated surface with shared vertices.

#include "vec3.h"

#include <array>
#include <cstdint>
#include <vector>

namespace tav3d::tools
{

struct TriangleMesh
{
    std::vector<Vec3> vertex;
    std::vector<std::array<std::int32_t, 3>> triangle; // 0-based vertex numbers, counter-clockwise as seen from outside
};

struct Box
{
    Vec3 low, high;
};

/// Smallest box around all vertices. The mesh must have a vertex.
Box bounds(const TriangleMesh& mesh);

/// Volume that the surface encloses (divergence theorem); negative when the triangles are oriented inwards. Meaningful for closed surfaces.
double signedVolume(const TriangleMesh& mesh);

/// What keeps a surface from being closed and oriented.
struct EdgeCheck
{
    std::int64_t open = 0;        // edges with an odd number of triangles
    std::int64_t misoriented = 0; // edges whose triangles run along it in the same direction
};

EdgeCheck checkEdges(const TriangleMesh& mesh);

} // namespace tav3d::tools
