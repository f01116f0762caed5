#pragma once

// Element kinds, their evaluation and small measures, for the tests of the element library.

#include "TAVFEM_ElemLib.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <memory>
#include <random>
#include <string>
#include <vector>

namespace tav3d::test
{

using Point = std::array<double, 3>;
using Points = std::vector<Point>;

/// An element kind with regular nodes, edges and faces (0-based node numbers).
struct Kind
{
    std::string name;
    Points regular;
    std::vector<std::array<std::size_t, 2>> edges;
    std::vector<std::vector<std::size_t>> faces;
    bool isPlane = false;
};

inline std::vector<Kind> allKinds()
{
    return {
        {"TETRA4",
         {{0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {0, 0, 1}},
         {{0, 1}, {1, 2}, {2, 0}, {0, 3}, {1, 3}, {2, 3}},
         {{0, 1, 2}, {0, 1, 3}, {1, 2, 3}, {2, 0, 3}}},
        {"PYRAMID5",
         {{0, 0, 0}, {1, 0, 0}, {1, 1, 0}, {0, 1, 0}, {0.5, 0.5, 1}},
         {{0, 1}, {1, 2}, {2, 3}, {3, 0}, {0, 4}, {1, 4}, {2, 4}, {3, 4}},
         {{0, 1, 2, 3}, {0, 1, 4}, {1, 2, 4}, {2, 3, 4}, {3, 0, 4}}},
        {"PRISM6",
         {{0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {0, 0, 1}, {1, 0, 1}, {0, 1, 1}},
         {{0, 1}, {1, 2}, {2, 0}, {0, 3}, {1, 4}, {2, 5}, {3, 4}, {4, 5}, {5, 3}},
         {{0, 1, 2}, {3, 4, 5}, {0, 1, 4, 3}, {1, 2, 5, 4}, {2, 0, 3, 5}}},
        {"HEXA8",
         {{0, 0, 0}, {1, 0, 0}, {1, 1, 0}, {0, 1, 0}, {0, 0, 1}, {1, 0, 1}, {1, 1, 1}, {0, 1, 1}},
         {{0, 1}, {1, 2}, {2, 3}, {3, 0}, {4, 5}, {5, 6}, {6, 7}, {7, 4}, {0, 4}, {1, 5}, {2, 6}, {3, 7}},
         {{0, 1, 2, 3}, {4, 5, 6, 7}, {0, 1, 5, 4}, {1, 2, 6, 5}, {2, 3, 7, 6}, {3, 0, 4, 7}}},
        {"TRI3", {{0, 0, 0}, {1, 0, 0}, {0, 1, 0}}, {{0, 1}, {1, 2}, {2, 0}}, {}, true},
        {"QUAD4", {{0, 0, 0}, {1, 0, 0}, {1, 1, 0}, {0, 1, 0}}, {{0, 1}, {1, 2}, {2, 3}, {3, 0}}, {}, true},
    };
}

inline std::vector<double> shape(const Kind& kind, const Points& node, const Point& x)
{
    std::vector<double> X, Y, Z;
    for (const Point& p : node)
    {
        X.push_back(p[0]);
        Y.push_back(p[1]);
        Z.push_back(p[2]);
    }
    std::vector<double> N(node.size(), -99.0);
    const CFEM_Elem3D_Factory space;
    const CFEM_Elem2D_Factory plane;
    if (kind.isPlane)
    {
        const std::unique_ptr<CFEM_Elem2D> element(kind.name == "TRI3" ? plane.Make_TRI3() : plane.Make_QUAD4());
        element->GetShapeFunction(x[0], x[1], X.data(), Y.data(), N.data());
    }
    else
    {
        const std::unique_ptr<CFEM_Elem3D> element(kind.name == "TETRA4"     ? space.Make_TETRA4()
                                                   : kind.name == "PYRAMID5" ? space.Make_PYRAMID5()
                                                   : kind.name == "PRISM6"   ? space.Make_PRISM6()
                                                                             : space.Make_HEXA8());
        element->GetShapeFunction(x[0], x[1], x[2], X.data(), Y.data(), Z.data(), N.data());
    }
    return N;
}

inline const Kind& kindNamed(const std::string& name)
{
    static const std::vector<Kind> kinds = allKinds();
    return *std::find_if(kinds.begin(), kinds.end(), [&](const Kind& k) { return k.name == name; });
}

inline Point mean(const Points& points)
{
    Point m{};
    for (const Point& p : points)
        for (int k = 0; k < 3; ++k)
            m[k] += p[k] / static_cast<double>(points.size());
    return m;
}

inline Point weighted(const std::vector<double>& N, const Points& node)
{
    Point x{};
    for (std::size_t i = 0; i < node.size(); ++i)
        for (int k = 0; k < 3; ++k)
            x[k] += N[i] * node[i][k];
    return x;
}

inline double sum(const std::vector<double>& N)
{
    double s = 0.0;
    for (const double n : N)
        s += n;
    return s;
}

inline double largest(const std::vector<double>& N)
{
    double m = 0.0;
    for (const double n : N)
        m = std::max(m, std::abs(n));
    return m;
}

/// The regular element with every node displaced.
inline Points displaced(const Kind& kind, std::mt19937_64& random, double amplitude)
{
    std::uniform_real_distribution<double> by(-amplitude, amplitude);
    Points node = kind.regular;
    for (Point& p : node)
        for (int k = 0; k < (kind.isPlane ? 2 : 3); ++k)
            p[k] += by(random);
    return node;
}

/// Whether the Jacobian of a hexahedron is positive at all points of a lattice. Its column along a coordinate is a mean of the four edges that run along it.
inline bool isValidHexa(const Points& node, double step)
{
    constexpr int edges[3][4][2] = {{{0, 1}, {3, 2}, {4, 5}, {7, 6}}, {{0, 3}, {1, 2}, {4, 7}, {5, 6}}, {{0, 4}, {1, 5}, {3, 7}, {2, 6}}};
    for (double r = -1; r <= 1; r += step)
        for (double s = -1; s <= 1; s += step)
            for (double t = -1; t <= 1; t += step)
            {
                const double at[3] = {r, s, t};
                double J[3][3] = {};
                for (int a = 0; a < 3; ++a)
                    for (int e = 0; e < 4; ++e)
                    {
                        const double first = at[a == 0 ? 1 : 0];
                        const double second = at[a == 2 ? 1 : 2];
                        const double weight = (e % 2 == 0 ? 1 - first : 1 + first) * (e < 2 ? 1 - second : 1 + second);
                        const auto& [from, to] = edges[a][e];
                        for (int k = 0; k < 3; ++k)
                            J[a][k] += weight * (node[to][k] - node[from][k]);
                    }
                const double det = J[0][0] * (J[1][1] * J[2][2] - J[1][2] * J[2][1]) - J[0][1] * (J[1][0] * J[2][2] - J[1][2] * J[2][0]) +
                                   J[0][2] * (J[1][0] * J[2][1] - J[1][1] * J[2][0]);
                if (!(det > 0))
                    return false;
            }
    return true;
}

} // namespace tav3d::test
