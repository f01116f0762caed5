#pragma once

// Reading the voxel mesh of a model, with the search tree over its nodes and the facet tables that the Gauss search walks.

#include "numbered.h"

#include "TAVOptKer.h"

#include <string>

namespace tav3d::meshmapping
{

/// What is read. Arrays are per node.
struct VoxelMesh
{
    int nodeTotal = 0;
    std::unique_ptr<float[]> x, y, z;
    std::unique_ptr<int[]> plasticNode;              // 1 = of a plastic element
    std::unique_ptr<unsigned char[]> partNode;       // 1 = a plastic node on a surface facet
    std::unique_ptr<unsigned char[]> partInsertNode; // 1 = on the interface of part and part insert
    std::unique_ptr<int[]> fixedNode;                // 1 = on a gate or a vent
    std::unique_ptr<int[]> compactNumber;            // nodes that can be found, numbered 1, 2, ...; 0 = none
    std::unique_ptr<int[]> nodeOfCompact;            // the inverse
    std::unique_ptr<CTAVOptKer> tree;                // the numbered nodes as point boxes under their compact numbers
    float elementLengthSquared = 0.0f;               // of the mean plastic element; not a number without elements
    int elementTotal = 0;                            // plastic elements
    int surfaceNodeTotal = 0;                        // part nodes
    int partInsertNodeTotal = 0;
    int facetRowTotal = 0;   // rows of facetNode, less one
    RowTable<int> facetNode; // row 0: number of facets; then 4 and four corners, surface facets first
    RowTable<int> nodeFacet; // per node: count and up to nine surface facets; row 0 is 0
    bool hasPartInsertEntries = false;
};

/// Reads the mesh. A file that cannot be read is reported in one line on standard output and gives an empty mesh.
[[nodiscard]] VoxelMesh readVoxelMesh(const std::string& path, bool progress);

} // namespace tav3d::meshmapping
