#pragma once

// A model's meshes in memory, as the mesh file holds them: what the model builder makes and the mesh file writer takes.

#include <array>
#include <cstdint>
#include <string>
#include <vector>

namespace tav3d::opensuite
{

enum class CellKind : std::uint8_t
{
    Tetra4,
    Pyramid5,
    Prism6,
    Hexa8,
};

/// Number of nodes of a cell, by its kind.
inline constexpr int nodeCounts[] = {4, 5, 6, 8};

constexpr int nodeCount(CellKind kind) noexcept
{
    return nodeCounts[static_cast<int>(kind)];
}

/// Body numbers of cells.
namespace body
{
inline constexpr std::int32_t part = 1;
inline constexpr std::int32_t mold = 2;
inline constexpr std::int32_t firstInsert = 3; // further part inserts follow
} // namespace body

/// Cells of mixed kinds. Cell c (0-based) has kind `kind[c]`, body `body[c]` and the nodes (1-based numbers, element order of
/// TAVFEM_ElemLib.h) `node[start[c]] .. node[start[c+1]-1]`.
struct CellList
{
    std::vector<CellKind> kind;
    std::vector<std::int32_t> body;
    std::vector<std::int32_t> node;
    std::vector<std::int64_t> start{0};

    [[nodiscard]] std::size_t size() const noexcept { return kind.size(); }
    void add(CellKind k, const std::int32_t* nodes, std::int32_t bodyNumber)
    {
        kind.push_back(k);
        body.push_back(bodyNumber);
        node.insert(node.end(), nodes, nodes + nodeCount(k));
        start.push_back(static_cast<std::int64_t>(node.size()));
    }
};

/// Facet kinds of a surface facet.
namespace facet_kind
{
inline constexpr std::int32_t partSkin = 0;
inline constexpr std::int32_t gate = 1;
inline constexpr std::int32_t outerFace = 2;       // of the mould block
inline constexpr std::int32_t insertInterface = 3; // between part and part insert
inline constexpr std::int32_t vent = 4;
} // namespace facet_kind

/// A surface facet: four corners (a triangle repeats its third), counter-clockwise as seen from the side of `elementInFront`.
/// Elements are numbered 1.. over the plastic elements and then on over the mould-base elements; 0 = none.
struct SurfaceFacet
{
    std::array<std::int32_t, 4> node{};
    std::int32_t flag = 1;
    std::int32_t kind = facet_kind::partSkin;
    std::int32_t elementBehind = 0;
    std::int32_t elementInFront = 0;
};

/// A facet of the part insert's surface; `isInterface` where the part lies on its other side.
struct PartInsertFacet
{
    std::array<std::int32_t, 4> node{};
    bool isInterface = false;
    std::int32_t insert = 1; // number of the part insert
};

/// Nodes of one part/part-insert interface, ascending.
struct InterfaceNodes
{
    std::vector<std::int32_t> node;
    std::int32_t thisBody = 0;
    std::int32_t otherBody = 0;
};

/// One mesh of a model. Node n (1-based) has the coordinates x[n-1], y[n-1], z[n-1], to be multiplied by the model's scale factor.
struct MeshZone
{
    std::vector<float> x, y, z;
    CellList plastic;  // the part
    CellList moldBase; // the mould block around it, part inserts included
    std::vector<SurfaceFacet> surface;
    std::vector<PartInsertFacet> partInsert;
    std::vector<InterfaceNodes> partInterface;       // as seen from the part
    std::vector<InterfaceNodes> partInsertInterface; // as seen from the part insert

    [[nodiscard]] std::size_t nodeTotal() const noexcept { return x.size(); }
};

struct MeshModel
{
    std::string title;
    double scaleFactor = 1.0;
    float cellSize = 0.0f; // edge length of the grid cells, unscaled
    MeshZone voxel;
    MeshZone cutCell;
};

} // namespace tav3d::opensuite
