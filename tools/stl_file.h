#pragma once

// Reading surfaces from STL files, ASCII and binary.

#include "triangle_mesh.h"

#include <string>
#include <vector>

namespace tav3d::tools
{

struct StlSurface
{
    TriangleMesh mesh;                 // vertices with the same coordinates are one vertex
    EdgeCheck edges;                   // after the repairs
    double volume = 0;                 // enclosed, positive whichever way the triangles are oriented
    std::vector<std::string> warnings; // one sentence for each kind of repair or doubt, without the file name
};

/// Reads the STL file at `path`. Triangles with two equal corners are dropped, of identical triangles one is kept, and a triangle and its mirror
/// image cancel; each of these, open edges and misoriented edges give a warning.
/// Throws std::runtime_error "<path>: <what>" when the file cannot be read, is empty, is neither ASCII nor binary STL, ends early,
/// announces more triangles than it holds, has a coordinate that is not finite, or encloses no volume.
StlSurface readStl(const std::string& path);

} // namespace tav3d::tools
