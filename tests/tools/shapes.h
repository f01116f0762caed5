#pragma once

// Closed surfaces whose volumes are known, and STL files of them.

#include "tools/triangle_mesh.h"

#include <string>

namespace tav3d::test
{

/// A box with the given lower corner and edges. 12 triangles.
tools::TriangleMesh box(tools::Vec3 low, tools::Vec3 edges);

/// A sphere of n × 2n patches around the given centre; its corners lie on the sphere.
tools::TriangleMesh sphere(tools::Vec3 centre, double radius, int n);

/// A torus around the z axis of 2n × n patches, with the given distance from the axis to the tube's middle and radius of the tube.
tools::TriangleMesh torus(double distance, double radius, int n);

/// The mesh turned about the axis (1, 2, 3) by the given angle.
tools::TriangleMesh turned(tools::TriangleMesh mesh, double radians);

/// The mesh turned inside out.
tools::TriangleMesh flipped(tools::TriangleMesh mesh);

/// Both meshes in one.
tools::TriangleMesh joined(tools::TriangleMesh a, const tools::TriangleMesh& b);

/// The bytes of STL files.
std::string asciiStl(const tools::TriangleMesh& mesh);
std::string binaryStl(const tools::TriangleMesh& mesh);

} // namespace tav3d::test
