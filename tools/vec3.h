#pragma once

// Points and vectors in space.

#include <cmath>

namespace tav3d::tools
{

struct Vec3
{
    double x = 0, y = 0, z = 0;

    constexpr double operator[](int axis) const noexcept { return axis == 0 ? x : axis == 1 ? y : z; }
    constexpr double& operator[](int axis) noexcept { return axis == 0 ? x : axis == 1 ? y : z; }
    friend constexpr bool operator==(const Vec3&, const Vec3&) = default;
};

constexpr Vec3 operator+(Vec3 a, Vec3 b) noexcept
{
    return {a.x + b.x, a.y + b.y, a.z + b.z};
}

constexpr Vec3 operator-(Vec3 a, Vec3 b) noexcept
{
    return {a.x - b.x, a.y - b.y, a.z - b.z};
}

constexpr Vec3 operator*(double s, Vec3 a) noexcept
{
    return {s * a.x, s * a.y, s * a.z};
}

constexpr double dot(Vec3 a, Vec3 b) noexcept
{
    return a.x * b.x + a.y * b.y + a.z * b.z;
}

constexpr Vec3 cross(Vec3 a, Vec3 b) noexcept
{
    return {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x};
}

inline double length(Vec3 a) noexcept
{
    return std::sqrt(dot(a, a));
}

} // namespace tav3d::tools
