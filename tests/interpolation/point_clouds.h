#pragma once

// Clouds of points that are hard on searches, and places to search from.

#include "meshes.h"

#include <array>
#include <limits>
#include <string>

namespace clouds
{

enum class Kind
{
    Scattered,
    Lattice, // ties
    Coincident,
    Coplanar,
    Collinear,
    Clustered, // at scales from 1 to 1e-12, with an outlier
    Thousands, // around the distance of 1000
    Huge,      // squares overflow
    Tiny,      // squares underflow
    NotFinite, // infinities, NaN, -0.0
};

inline constexpr std::array allKinds = {Kind::Scattered, Kind::Lattice,   Kind::Coincident, Kind::Coplanar, Kind::Collinear,
                                        Kind::Clustered, Kind::Thousands, Kind::Huge,       Kind::Tiny,     Kind::NotFinite};

/// Makes places of one kind: points of a cloud, and targets among and around them.
class Places
{
public:
    Places(Kind kind, unsigned seed)
        : kind_(kind)
        , random_(seed)
    {
    }

    std::array<double, 3> next()
    {
        std::array<double, 3> x{};
        for (double& v : x)
            v = coordinate();
        if (kind_ == Kind::Coplanar)
            x[2] = 0.25;
        if (kind_ == Kind::Collinear)
            x = {x[0], 0.5 * x[0], -2.0 * x[0]};
        if (kind_ == Kind::Clustered)
        {
            const double scale = std::pow(10.0, -3.0 * at(4));
            for (std::size_t k = 0; k < 3; ++k)
                x[k] = at(40) == 0 ? 1e9 : 1.0 / (1.0 + scale) + scale * x[k];
        }
        return x;
    }

    /// 0..n-1
    int at(int n) { return static_cast<int>(random_() % static_cast<unsigned>(n)); }

private:
    double coordinate()
    {
        const double u = 2.0 * static_cast<double>(random_()) / static_cast<double>(std::mt19937::max()) - 1.0;
        switch (kind_)
        {
        case Kind::Lattice:
            return 0.5 * at(6);
        case Kind::Coincident:
            return at(12) == 0 ? 1.0 : 0.5;
        case Kind::Thousands:
            return at(2) == 0 ? 1200.0 * u : 500.0 * (at(6) - 2);
        case Kind::Huge:
            return u * std::pow(10.0, 10 + 3 * at(100));
        case Kind::Tiny:
            return at(3) == 0 ? std::numeric_limits<double>::denorm_min() * at(4) : u * 1e-160;
        case Kind::NotFinite:
        {
            constexpr double inf = std::numeric_limits<double>::infinity();
            const std::array special = {inf, -inf, std::numeric_limits<double>::quiet_NaN(), -0.0, 0.0, std::numeric_limits<double>::max()};
            return at(8) == 0 ? special[static_cast<std::size_t>(at(6))] : 0.25 * at(8);
        }
        default:
            return u;
        }
    }

    Kind kind_;
    std::mt19937 random_;
};

inline meshes::Points cloud(Places& places, int n)
{
    meshes::Points points;
    for (int i = 0; i < n; ++i)
    {
        const auto [x, y, z] = places.next();
        points.add(x, y, z);
    }
    return points;
}

} // namespace clouds
