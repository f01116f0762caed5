#include "cut_patterns.h"

#include <algorithm>

namespace tav3d::tools
{

namespace
{

using opensuite::CellKind;

void addTetra(CutContext& context, Side side, std::int32_t a, std::int32_t b, std::int32_t c, std::int32_t d)
{
    context.add({CellKind::Tetra4, side, {a, b, c, d}});
}

void addPyramid(CutContext& context, Side side, std::int32_t a, std::int32_t b, std::int32_t c, std::int32_t d, std::int32_t apex)
{
    context.add({CellKind::Pyramid5, side, {a, b, c, d, apex}});
}

void addPrism(CutContext& context, Side side, std::int32_t a, std::int32_t b, std::int32_t c, std::int32_t d, std::int32_t e,
              std::int32_t f)
{
    context.add({CellKind::Prism6, side, {a, b, c, d, e, f}});
}

/// Side of the corners that are not on the surface, 0 when there are corners on both sides.
template <std::size_t n>
Side commonSide(const std::array<Corner, n>& corner)
{
    const bool in = std::any_of(corner.begin(), corner.end(), [](const Corner& c) { return c.side < 0; });
    const bool out = std::any_of(corner.begin(), corner.end(), [](const Corner& c) { return c.side > 0; });
    return static_cast<Side>(in == out ? 0 : in ? -1 : 1);
}

/// The tetrahedron with its corners in the order in, on, out. Only even permutations keep its orientation; one always exists, because two of the four
/// corners have the same side.
std::array<Corner, 4> sortedBySide(const std::array<Corner, 4>& c)
{
    constexpr std::int8_t even[12][4] = {{0, 1, 2, 3}, {0, 2, 3, 1}, {0, 3, 1, 2}, {1, 0, 3, 2}, {1, 2, 0, 3}, {1, 3, 2, 0},
                                         {2, 0, 1, 3}, {2, 1, 3, 0}, {2, 3, 0, 1}, {3, 0, 2, 1}, {3, 1, 0, 2}, {3, 2, 1, 0}};
    for (const auto& p : even)
    {
        if (c[p[0]].side <= c[p[1]].side && c[p[1]].side <= c[p[2]].side && c[p[2]].side <= c[p[3]].side)
        {
            return {c[p[0]], c[p[1]], c[p[2]], c[p[3]]};
        }
    }
    return c;
}

} // namespace

void cutTetra(const std::array<Corner, 4>& corner, CutContext& context)
{
    if (const Side side = commonSide(corner); side != 0)
    {
        addTetra(context, side, corner[0].node, corner[1].node, corner[2].node, corner[3].node);
        return;
    }
    const auto v = sortedBySide(corner);
    const auto n = [&](int i) { return v[i].node; };
    const auto cut = [&](int i, int j) { return context.cutPoint(v[i], v[j]); };
    const auto in = std::count_if(v.begin(), v.end(), [](const Corner& c) { return c.side < 0; });
    const auto out = std::count_if(v.begin(), v.end(), [](const Corner& c) { return c.side > 0; });
    if (in == 1 && out == 3)
    {
        const std::int32_t c1 = cut(0, 1), c2 = cut(0, 2), c3 = cut(0, 3);
        addTetra(context, -1, n(0), c1, c2, c3);
        addPrism(context, 1, n(1), n(3), n(2), c1, c3, c2);
    }
    else if (in == 3 && out == 1)
    {
        const std::int32_t c0 = cut(0, 3), c1 = cut(1, 3), c2 = cut(2, 3);
        addPrism(context, -1, n(0), n(1), n(2), c0, c1, c2);
        addTetra(context, 1, c0, c1, c2, n(3));
    }
    else if (in == 2 && out == 2)
    {
        const std::int32_t c02 = cut(0, 2), c03 = cut(0, 3), c12 = cut(1, 2), c13 = cut(1, 3);
        addPrism(context, -1, n(0), c02, c03, n(1), c12, c13);
        addPrism(context, 1, n(2), c02, c12, n(3), c03, c13);
    }
    else if (in == 1 && out == 2)
    {
        const std::int32_t c2 = cut(0, 2), c3 = cut(0, 3);
        addTetra(context, -1, n(0), n(1), c2, c3);
        addPyramid(context, 1, c2, n(2), n(3), c3, n(1));
    }
    else if (in == 2 && out == 1)
    {
        const std::int32_t c0 = cut(0, 3), c1 = cut(1, 3);
        addPyramid(context, -1, n(0), c0, c1, n(1), n(2));
        addTetra(context, 1, c0, c1, n(2), n(3));
    }
    else // one in, one out, the cut runs through the other two
    {
        const std::int32_t c = cut(0, 3);
        addTetra(context, -1, n(0), n(1), n(2), c);
        addTetra(context, 1, c, n(1), n(2), n(3));
    }
}

void cutPyramid(const std::array<Corner, 5>& corner, CutContext& context)
{
    const std::int32_t apex = corner[4].node;
    if (const Side side = commonSide(corner); side != 0)
    {
        addPyramid(context, side, corner[0].node, corner[1].node, corner[2].node, corner[3].node, apex);
        return;
    }
    const Side above = corner[4].side;
    const auto below = static_cast<Side>(-above);

    // turn the base so that the corners on the surface come first (two opposite ones: positions 0 and 2; three: all but position 2)
    std::array<Corner, 4> base{corner[0], corner[1], corner[2], corner[3]};
    const auto on = std::count_if(base.begin(), base.end(), [](const Corner& c) { return c.side == 0; });
    const auto turned = [&]
    {
        const bool first = base[0].side == 0;
        return on == 0 || (on == 1 && first) || (on == 2 && first && (base[1].side == 0 || base[2].side == 0)) ||
               (on == 3 && base[2].side != 0);
    };
    while (!turned())
    {
        std::rotate(base.begin(), base.begin() + 1, base.end());
    }
    const auto b = [&](int i) { return base[i].node; };
    std::array<std::int32_t, 4> c{}; // top of the lower piece
    for (int i = 0; i < 4; ++i)
    {
        c[i] = base[i].side == 0 ? b(i) : context.cutPoint(base[i], corner[4]);
    }

    if (on == 0)
    {
        addPyramid(context, above, c[0], c[1], c[2], c[3], apex);
        context.add({CellKind::Hexa8, below, {b(0), b(1), b(2), b(3), c[0], c[1], c[2], c[3]}});
    }
    else if (on == 1)
    {
        // seven corners, of no element kind: a node in the middle is joined to each face
        addPyramid(context, above, c[0], c[1], c[2], c[3], apex);
        const std::int32_t m = context.meanPoint(std::array{b(0), b(1), b(2), b(3), c[1], c[2], c[3]});
        addPyramid(context, below, b(0), b(1), b(2), b(3), m);
        addPyramid(context, below, c[0], c[3], c[2], c[1], m);
        addPyramid(context, below, b(1), c[1], c[2], b(2), m);
        addPyramid(context, below, b(2), c[2], c[3], b(3), m);
        addTetra(context, below, b(0), c[1], b(1), m);
        addTetra(context, below, b(3), c[3], b(0), m);
    }
    else if (on == 2 && base[1].side == 0)
    {
        addPyramid(context, above, b(0), b(1), c[2], c[3], apex);
        addPrism(context, below, b(0), b(3), c[3], b(1), b(2), c[2]);
    }
    else if (on == 2)
    {
        // the surface bends along c1-c3
        addTetra(context, above, b(0), c[1], c[3], apex);
        addTetra(context, above, c[1], b(2), c[3], apex);
        addPyramid(context, below, b(0), b(1), b(2), b(3), c[1]);
        addTetra(context, below, b(3), b(2), c[3], c[1]);
        addTetra(context, below, b(3), b(0), c[1], c[3]);
    }
    else
    {
        addTetra(context, above, b(0), b(1), c[2], apex);
        addTetra(context, above, b(0), c[2], b(3), apex);
        addPyramid(context, below, b(0), b(1), b(2), b(3), c[2]);
    }
}

} // namespace tav3d::tools
