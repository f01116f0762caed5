#pragma once

#include "common/large_pages.h"
#include "interpolation/numbered.h"

#include <array>
#include <cstdint>
#include <span>

namespace tav3d::interpolation
{

/// A leaf of CPointSearchTree that is asked to take a ninth point becomes an internal node with eight children around this centre: the
/// centroid, and the octant of each point; false when all are in one octant (they lie within rounding of each other, or their sum overflows).
bool centreOf(std::span<const Point> points, std::span<const std::int32_t, 8> leaf, Point& centre, std::array<std::uint8_t, 8>& octants);

/// Octant 0..7; a coordinate equal to the centre belongs to the upper side.
inline std::uint8_t octantOf(const Point& centre, const Point& p)
{
    return static_cast<std::uint8_t>((p.x >= centre.x ? 1 : 0) + (p.y >= centre.y ? 2 : 0) + (p.z >= centre.z ? 4 : 0));
}

inline double squaredDistance(const Point& a, const Point& b)
{
    const double dx = a.x - b.x;
    const double dy = a.y - b.y;
    const double dz = a.z - b.z;
    return (dx * dx + dy * dy) + dz * dz;
}

/// Whether a point of a leaf is so near that the new one is a duplicate of it.
bool isDuplicate(std::span<const Point> points, std::span<const std::int32_t> leaf, const Point& p, double squaredTolerance);

/// The octree that inserting points one after the other makes, found from the root downwards instead: what a node becomes depends only on
/// the points that come to it, in their order, so they can all be handed on to its children at once. This way every step works on an array
/// of points that lie near each other, where single insertions go all the way down a tree that is deep for points in the order of a mesh.
struct TreeLayout
{
    static constexpr std::int32_t none = -1;
    static constexpr std::int32_t refused = -2;

    struct Split
    {
        std::int32_t parent; // split, none for the root
        std::uint8_t octant; // 0..7, of the parent
        Point centre;
    };
    struct Leaf
    {
        std::int32_t parent;
        std::uint8_t octant;
        std::uint8_t count;
        std::array<std::int32_t, 8> slot;
    };

    common::LargePageVector<Split> splits;
    common::LargePageVector<Leaf> leaves; // that hold points
    /// By point number: the split that inserting the point makes, or none, or refused for a split that would not have made room.
    common::LargePageVector<std::int32_t> splitAt;

    TreeLayout(std::span<const Point> points, double squaredTolerance);
};

} // namespace tav3d::interpolation
