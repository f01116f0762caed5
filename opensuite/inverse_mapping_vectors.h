#pragma once

// The little vector arithmetic of the inverse mappings. Points are taken as offsets from the element's first node, where differences of close
// numbers are exact: a mesh far from the origin loses no digits.

#include "inverse_mapping.h"

namespace tav3d::opensuite
{

struct Vector3
{
    double x, y, z;
};

inline Vector3 operator+(const Vector3& a, const Vector3& b)
{
    return {a.x + b.x, a.y + b.y, a.z + b.z};
}

inline Vector3 operator-(const Vector3& a, const Vector3& b)
{
    return {a.x - b.x, a.y - b.y, a.z - b.z};
}

inline Vector3 operator*(double s, const Vector3& a)
{
    return {s * a.x, s * a.y, s * a.z};
}

inline double dot(const Vector3& a, const Vector3& b)
{
    return a.x * b.x + a.y * b.y + a.z * b.z;
}

inline Vector3 cross(const Vector3& a, const Vector3& b)
{
    return {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x};
}

/// Node i as seen from node `origin`.
template <std::size_t n>
Vector3 fromNode(const Nodes<n>& node, std::size_t origin, std::size_t i)
{
    return {node.X[i] - node.X[origin], node.Y[i] - node.Y[origin], node.Z[i] - node.Z[origin]};
}

/// Point x as seen from node `origin`.
template <std::size_t n>
Vector3 fromNode(const Nodes<n>& node, std::size_t origin, const double (&x)[3])
{
    return {x[0] - node.X[origin], x[1] - node.Y[origin], x[2] - node.Z[origin]};
}

} // namespace tav3d::opensuite
