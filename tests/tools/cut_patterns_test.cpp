// Every way in which the surface can separate the corners of a tetrahedron or a pyramid.

#include "conformity.h"
#include "tools/cell_geometry.h"
#include "tools/cut_patterns.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <set>

namespace cut_patterns_test
{

using namespace tav3d;
using namespace tav3d::tools;
using tav3d::opensuite::CellKind;
using tav3d::test::checkCells;

namespace
{

/// Keeps the pieces, and puts cut points at a third of the way from the lower node to the higher.
class Collector final : public CutContext
{
public:
    explicit Collector(std::vector<Vec3> places)
        : nodes(std::move(places))
    {
    }

    std::int32_t cutPoint(const Corner& a, const Corner& b) override
    {
        EXPECT_EQ(a.side * b.side, -1);
        const auto key = std::minmax(a.node, b.node);
        auto [found, isNew] = cuts.try_emplace({key.first, key.second}, 0);
        if (isNew)
        {
            nodes.push_back(nodes[key.first - 1] + 1.0 / 3 * (nodes[key.second - 1] - nodes[key.first - 1]));
            found->second = static_cast<std::int32_t>(nodes.size());
        }
        return found->second;
    }
    std::int32_t meanPoint(std::span<const std::int32_t> corners) override
    {
        Vec3 sum;
        for (const std::int32_t n : corners)
        {
            sum = sum + nodes[n - 1];
        }
        nodes.push_back(1.0 / static_cast<double>(corners.size()) * sum);
        return static_cast<std::int32_t>(nodes.size());
    }
    void add(const Piece& piece) override
    {
        (piece.side < 0 ? in : out).add(piece.kind, piece.node.data(), piece.side);
        for (int i = 0; i < opensuite::nodeCount(piece.kind); ++i)
        {
            if (const auto n = static_cast<std::size_t>(piece.node[i]); n <= sides.size())
            {
                EXPECT_NE(sides[n - 1] * piece.side, -1) << "a corner of the other side in a piece";
            }
        }
    }

    std::vector<Vec3> nodes;
    std::vector<int> sides;
    std::map<std::pair<std::int32_t, std::int32_t>, std::int32_t> cuts;
    opensuite::CellList in, out;
};

/// What must stand on a face of the uncut cell: the pieces that its corners alone prescribe, as sorted node lists.
std::set<std::vector<std::int32_t>> expectedPieces(const std::vector<Corner>& face, CutContext& context)
{
    std::vector<Corner> in, on, out;
    for (const Corner& c : face)
    {
        (c.side < 0 ? in : c.side > 0 ? out : on).push_back(c);
    }
    std::set<std::vector<std::int32_t>> pieces;
    const auto add = [&](std::vector<std::int32_t> nodes)
    {
        std::sort(nodes.begin(), nodes.end());
        pieces.insert(nodes);
    };
    if (in.empty() || out.empty())
    {
        std::vector<std::int32_t> all;
        for (const Corner& c : face)
        {
            all.push_back(c.node);
        }
        add(all);
    }
    else if (on.size() == 1)
    {
        const std::int32_t cut = context.cutPoint(in[0], out[0]);
        add({in[0].node, on[0].node, cut});
        add({out[0].node, on[0].node, cut});
    }
    else
    {
        const auto& one = in.size() == 1 ? in : out;
        const auto& two = in.size() == 1 ? out : in;
        const std::int32_t a = context.cutPoint(one[0], two[0]);
        const std::int32_t b = context.cutPoint(one[0], two[1]);
        add({one[0].node, a, b});
        add({two[0].node, two[1].node, a, b});
    }
    return pieces;
}

template <std::size_t n>
std::array<Corner, n> cornersWith(int code)
{
    std::array<Corner, n> corners;
    for (std::size_t i = 0; i < n; ++i, code /= 3)
    {
        corners[i] = {static_cast<std::int32_t>(i + 1), static_cast<Side>(code % 3 - 1), static_cast<std::int8_t>(i)};
    }
    return corners;
}

template <std::size_t n>
void checkPieces(const std::array<Corner, n>& corners, Collector& pieces, double volume, CellKind whole)
{
    const auto cells = checkCells(pieces.nodes, {&pieces.in, &pieces.out});
    EXPECT_EQ(cells.notPositive, 0);
    EXPECT_EQ(cells.badFaces, 0);
    EXPECT_NEAR(cells.volume, volume, 1e-12);

    std::set<std::vector<std::int32_t>> expected;
    for (const auto& f : facesOf(whole))
    {
        std::vector<Corner> face;
        for (const std::int8_t c : f)
        {
            if (c >= 0)
            {
                face.push_back(corners[c]);
            }
        }
        expected.merge(expectedPieces(face, pieces));
    }
    std::set<std::vector<std::int32_t>> found;
    for (auto face : cells.outer)
    {
        std::sort(face.begin(), face.end());
        found.insert(face);
    }
    EXPECT_EQ(found, expected);
}

template <std::size_t n>
std::vector<int> sidesOf(const std::array<Corner, n>& corners)
{
    std::vector<int> sides;
    for (const Corner& c : corners)
    {
        sides.push_back(c.side);
    }
    return sides;
}

} // namespace

TEST(CutPatterns, every_cut_of_a_tetrahedron_fills_it_and_cuts_each_face_by_its_own_corners)
{
    const std::vector<Vec3> places{{0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {0, 0, 1}};
    std::set<CellKind> kinds;
    for (int code = 0; code < 81; ++code)
    {
        const auto corners = cornersWith<4>(code);
        if (std::all_of(corners.begin(), corners.end(), [](const Corner& c) { return c.side == 0; }))
        {
            continue;
        }
        SCOPED_TRACE(code);
        Collector pieces(places);
        pieces.sides = sidesOf(corners);
        cutTetra(corners, pieces);
        checkPieces(corners, pieces, 1.0 / 6, CellKind::Tetra4);
        kinds.insert(pieces.in.kind.begin(), pieces.in.kind.end());
    }
    EXPECT_EQ(kinds, (std::set{CellKind::Tetra4, CellKind::Pyramid5, CellKind::Prism6}));
}

TEST(CutPatterns, every_cut_of_a_pyramid_fills_it_and_leaves_its_base_whole)
{
    const std::vector<Vec3> places{{0, 0, 0}, {1, 0, 0}, {1, 1, 0}, {0, 1, 0}, {0.5, 0.5, 0.5}};
    std::set<CellKind> kinds;
    int cases = 0;
    for (int code = 0; code < 243; ++code)
    {
        const auto corners = cornersWith<5>(code);
        const auto has = [&](Side side)
        { return std::any_of(corners.begin(), corners.end() - 1, [&](const Corner& c) { return c.side == side; }); };
        if ((has(-1) && has(1)) || (!has(-1) && !has(1) && corners[4].side == 0))
        {
            continue;
        }
        SCOPED_TRACE(code);
        Collector pieces(places);
        pieces.sides = sidesOf(corners);
        cutPyramid(corners, pieces);
        checkPieces(corners, pieces, 1.0 / 6, CellKind::Pyramid5);
        kinds.insert(pieces.in.kind.begin(), pieces.in.kind.end());
        ++cases;
    }
    EXPECT_EQ(cases, 92); // 31 bases without corners on both sides, 3 sides of the apex, without the one where all lie on the surface
    EXPECT_EQ(kinds, (std::set{CellKind::Tetra4, CellKind::Pyramid5, CellKind::Prism6, CellKind::Hexa8}));
}

TEST(CutPatterns, single_corner_inside_becomes_a_tetrahedron_before_a_prism)
{
    Collector pieces({{0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {0, 0, 1}});
    cutTetra({Corner{1, -1, 0}, Corner{2, 1, 1}, Corner{3, 1, 2}, Corner{4, 1, 3}}, pieces);
    EXPECT_EQ(pieces.in.kind, std::vector{CellKind::Tetra4});
    EXPECT_EQ(pieces.out.kind, std::vector{CellKind::Prism6});
    EXPECT_NEAR(checkCells(pieces.nodes, {&pieces.in}).volume, 1.0 / 6 / 27, 1e-15);
}

} // namespace cut_patterns_test
