// Inverse mappings by Newton's method: prism and hexahedron.
//
// Both maps are written as polynomials around the element's centre, so that a step costs one evaluation of position and Jacobian (18 and 21
// multiplications) and one 3x3 system by Cramer's rule. The start is the centre, where the Jacobian of a valid element is regular. A step that does
// not bring the image closer to the point is halved. Convergence is quadratic: after a step of 1e-7 the next would be at the level of rounding.
//
// A strongly distorted element can lead the iteration astray although it holds the point. So when a point in the box around the nodes has no
// solution from the centre, or one outside of the element, the search starts again from points around the centre.

#include "inverse_mapping.h"

#include "inverse_mapping_vectors.h"

#include <algorithm>
#include <cmath>

namespace tav3d::opensuite
{

namespace
{

constexpr int maxSteps = 50;
constexpr int maxHalvings = 8;
constexpr double lastStep = 1e-7;
constexpr double justInside = 1e-6; // a solution this close to the element is taken for one on its boundary

struct Reference
{
    double r, s, t;
};

/// Image of a reference point as seen from the point that is looked for, and the Jacobian's columns there.
struct Image
{
    Vector3 residual;
    Vector3 dr, ds, dt;
};

/// x = (p0 + r p1 + s p2) + t (q0 + r q1 + s q2): midway triangle p, half the way from base to top q.
class PrismMap
{
public:
    static constexpr std::size_t nodeCount = 6;
    static constexpr Reference centre{1.0 / 3.0, 1.0 / 3.0, 0.0};
    static constexpr Reference otherStarts[] = {{0.6, 0.2, -0.5}, {0.2, 0.6, -0.5}, {0.2, 0.2, -0.5},
                                                {0.6, 0.2, 0.5},  {0.2, 0.6, 0.5},  {0.2, 0.2, 0.5}};

    PrismMap(const double (&x)[3], const Nodes<6>& node)
    {
        const Vector3 e2 = fromNode(node, 0, 1);
        const Vector3 e3 = fromNode(node, 0, 2);
        const Vector3 e4 = fromNode(node, 0, 3);
        const Vector3 f2 = fromNode(node, 3, 4);
        const Vector3 f3 = fromNode(node, 3, 5);
        q0_ = 0.5 * e4;
        p0_ = q0_ - fromNode(node, 0, x);
        p1_ = 0.5 * (f2 + e2);
        q1_ = 0.5 * (f2 - e2);
        p2_ = 0.5 * (f3 + e3);
        q2_ = 0.5 * (f3 - e3);
    }

    [[nodiscard]] Image at(const Reference& a) const
    {
        Image image;
        image.dr = p1_ + a.t * q1_;
        image.ds = p2_ + a.t * q2_;
        image.dt = q0_ + (a.r * q1_ + a.s * q2_);
        image.residual = (p0_ + a.t * q0_) + (a.r * image.dr + a.s * image.ds);
        return image;
    }

    static bool isInside(const Reference& a)
    {
        return a.r >= -justInside && a.s >= -justInside && a.r + a.s <= 1.0 + justInside && std::abs(a.t) <= 1.0 + justInside;
    }

private:
    Vector3 p0_, p1_, p2_, q0_, q1_, q2_;
};

/// x = sum over the subsets of {r, s, t} of a coefficient times the product of its members.
class HexaMap
{
public:
    static constexpr std::size_t nodeCount = 8;
    static constexpr Reference centre{0.0, 0.0, 0.0};
    static constexpr Reference otherStarts[] = {{-.6, -.6, -.6}, {.6, -.6, -.6}, {.6, .6, -.6}, {-.6, .6, -.6},
                                                {-.6, -.6, .6},  {.6, -.6, .6},  {.6, .6, .6},  {-.6, .6, .6}};

    HexaMap(const double (&x)[3], const Nodes<8>& node)
    {
        // Sums and differences along r, then s, then t.
        const Vector3 e2 = fromNode(node, 0, 1);
        const Vector3 e3 = fromNode(node, 0, 2);
        const Vector3 e4 = fromNode(node, 0, 3);
        const Vector3 e5 = fromNode(node, 0, 4);
        const Vector3 e6 = fromNode(node, 0, 5);
        const Vector3 e7 = fromNode(node, 0, 6);
        const Vector3 e8 = fromNode(node, 0, 7);
        const Vector3 lowSum = e2 + (e3 + e4);
        const Vector3 lowR = e2 + (e3 - e4);
        const Vector3 lowS = (e3 + e4) - e2;
        const Vector3 lowRs = (e3 - e4) - e2;
        const Vector3 highSum = (e5 + e6) + (e7 + e8);
        const Vector3 highR = (e6 - e5) + (e7 - e8);
        const Vector3 highS = (e7 + e8) - (e5 + e6);
        const Vector3 highRs = (e7 - e8) - (e6 - e5);
        c_ = 0.125 * (lowSum + highSum) - fromNode(node, 0, x);
        r_ = 0.125 * (lowR + highR);
        s_ = 0.125 * (lowS + highS);
        rs_ = 0.125 * (lowRs + highRs);
        t_ = 0.125 * (highSum - lowSum);
        rt_ = 0.125 * (highR - lowR);
        st_ = 0.125 * (highS - lowS);
        rst_ = 0.125 * (highRs - lowRs);
    }

    [[nodiscard]] Image at(const Reference& a) const
    {
        const Vector3 alongR = r_ + a.t * rt_;
        const Vector3 alongS = s_ + a.t * st_;
        const Vector3 twist = rs_ + a.t * rst_;
        Image image;
        image.dr = alongR + a.s * twist;
        image.ds = alongS + a.r * twist;
        image.dt = (t_ + a.r * rt_) + a.s * (st_ + a.r * rst_);
        image.residual = (c_ + a.t * t_) + (a.r * image.dr + a.s * alongS);
        return image;
    }

    static bool isInside(const Reference& a) { return std::max({std::abs(a.r), std::abs(a.s), std::abs(a.t)}) <= 1.0 + justInside; }

private:
    Vector3 c_, r_, s_, t_, rs_, st_, rt_, rst_;
};

template <class Map>
bool newton(const Map& map, const Reference& start, Reference& solution)
{
    Reference a = start;
    Image image = map.at(a);
    double merit = dot(image.residual, image.residual);
    for (int step = 0; step < maxSteps; ++step)
    {
        // J da = -residual by Cramer's rule. A singular J gives infinities or NaN, which no comparison below lets pass.
        const Vector3 n = cross(image.ds, image.dt);
        const double scale = -1.0 / dot(image.dr, n);
        const Reference da{dot(image.residual, n) * scale, dot(image.residual, cross(image.dt, image.dr)) * scale,
                           dot(image.residual, cross(image.dr, image.ds)) * scale};
        if (std::abs(da.r) <= lastStep && std::abs(da.s) <= lastStep && std::abs(da.t) <= lastStep)
        {
            solution = {a.r + da.r, a.s + da.s, a.t + da.t};
            return std::abs(solution.r) <= farthest && std::abs(solution.s) <= farthest && std::abs(solution.t) <= farthest;
        }
        double length = 1.0;
        for (int halving = 0;; ++halving)
        {
            const Reference next{a.r + length * da.r, a.s + length * da.s, a.t + length * da.t};
            image = map.at(next);
            const double nextMerit = dot(image.residual, image.residual);
            if (nextMerit < merit)
            {
                a = next;
                merit = nextMerit;
                break;
            }
            if (halving == maxHalvings)
                return false;
            length *= 0.5;
        }
    }
    return false;
}

bool isInBox(double x, std::span<const double> X)
{
    const auto [low, high] = std::minmax_element(X.begin(), X.end());
    return x >= *low && x <= *high;
}

template <class Map>
bool invert(const double (&x)[3], const Nodes<Map::nodeCount>& node, double (&xi)[3])
{
    const Map map(x, node);
    Reference solution = Map::centre;
    bool found = newton(map, Map::centre, solution);
    if (!(found && Map::isInside(solution)) && isInBox(x[0], node.X) && isInBox(x[1], node.Y) && isInBox(x[2], node.Z))
        for (const Reference& start : Map::otherStarts)
        {
            Reference other;
            if (newton(map, start, other) && Map::isInside(other))
            {
                solution = other;
                found = true;
                break;
            }
        }
    xi[0] = solution.r;
    xi[1] = solution.s;
    xi[2] = solution.t;
    return found;
}

} // namespace

bool invertPrism(const double (&x)[3], const Nodes<6>& node, double (&xi)[3]) noexcept
{
    return invert<PrismMap>(x, node, xi);
}

bool invertHexa(const double (&x)[3], const Nodes<8>& node, double (&xi)[3]) noexcept
{
    return invert<HexaMap>(x, node, xi);
}

} // namespace tav3d::opensuite
