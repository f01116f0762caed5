// The fast forms of both neighbour searches make the rows of their plain forms, bit for bit: on grids, whose coordinates are exact or rounded, and on facets
// and points without any order, with ties, coincident points, numbers out of all proportion, infinities and NaN.

#include "meshmapping/cut_cell_neighbours.h"
#include "meshmapping/gauss_neighbours.h"

#include "TAVOptKer.h"
#include "support/case_count.h"

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <cstring>
#include <limits>
#include <random>
#include <vector>

namespace tav3d::meshmapping::fast_searches_test
{
namespace
{

constexpr float infinity = std::numeric_limits<float>::infinity();
constexpr float nan = std::numeric_limits<float>::quiet_NaN();

using Random = std::mt19937_64;
using test::caseCount;

int below(Random& random, int n)
{
    return static_cast<int>(random() % static_cast<std::uint64_t>(n));
}

float within(Random& random, float low, float high)
{
    return low + (high - low) * static_cast<float>(static_cast<double>(random() >> 11) * 0x1p-53);
}

/// Nodes with marks; entry 0 of each array is empty.
struct Nodes
{
    explicit Nodes(int n)
        : x(static_cast<std::size_t>(n) + 1)
        , y(x.size())
        , z(x.size())
        , part(x.size(), 1)
        , partInsert(x.size(), 0)
    {
    }

    [[nodiscard]] int total() const { return static_cast<int>(x.size()) - 1; }
    [[nodiscard]] NodePoints points() const { return {{x.data(), total()}, {y.data(), total()}, {z.data(), total()}}; }
    [[nodiscard]] NodeKinds kinds() const { return {{part.data(), total()}, {partInsert.data(), total()}}; }
    void put(int node, float px, float py, float pz)
    {
        const auto i = static_cast<std::size_t>(node);
        x[i] = px;
        y[i] = py;
        z[i] = pz;
    }
    /// Gives some nodes another kind; one in `rarity`, none for 0.
    void mixKinds(Random& random, int rarity, bool odd)
    {
        for (std::size_t i = 1; i < x.size() && rarity > 0; ++i)
            if (below(random, rarity) == 0)
            {
                part[i] = static_cast<unsigned char>(below(random, odd ? 3 : 2));
                partInsert[i] = static_cast<unsigned char>(below(random, odd ? 3 : 2));
            }
    }
    /// Puts some nodes far out, nowhere, or where another node is; one in `rarity`.
    void scatter(Random& random, int rarity)
    {
        const float strange[] = {0.0f, -0.0f, 3.0e38f, -3.0e38f, 1.0e-42f, 1.0e20f, infinity, -infinity, nan};
        for (int node = 1; node <= total(); ++node)
        {
            if (below(random, rarity) != 0)
                continue;
            const auto i = static_cast<std::size_t>(node), other = static_cast<std::size_t>(1 + below(random, total()));
            if (below(random, 3) == 0)
                put(node, x[other], y[other], z[other]);
            else
                (below(random, 2) ? x : z)[i] = strange[below(random, 9)];
        }
    }

    std::vector<float> x, y, z;
    std::vector<unsigned char> part, partInsert;
};

struct Surface
{
    explicit Surface(int n)
        : nodes(n)
        , fixed(nodes.x.size())
        , nodeFacet(n, 10)
    {
    }

    void setFacets(const std::vector<std::array<int, 4>>& corners)
    {
        facetNode = RowTable<int>(static_cast<int>(corners.size()), 5);
        for (std::size_t f = 0; f < corners.size(); ++f)
        {
            const int facet = static_cast<int>(f) + 1;
            facetNode[facet][0] = 4;
            std::copy(corners[f].begin(), corners[f].end(), facetNode[facet] + 1);
            for (const int corner : corners[f])
            {
                int* row = nodeFacet[corner];
                if (row[0] < 9 && (row[0] == 0 || row[row[0]] != facet))
                    row[++row[0]] = facet;
            }
        }
    }

    Nodes nodes;
    std::vector<int> fixed;
    RowTable<int> facetNode, nodeFacet;
};

/// A sheet of columns x lines nodes, one unit apart times `edge`, its facets in order.
Surface sheet(int columns, int lines, float edge)
{
    Surface s(columns * lines);
    std::vector<std::array<int, 4>> corners;
    for (int j = 0; j < lines; ++j)
        for (int i = 0; i < columns; ++i)
        {
            const int node = 1 + i + columns * j;
            s.nodes.put(node, edge * static_cast<float>(i), edge * static_cast<float>(j), 0.0f);
            if (i + 1 < columns && j + 1 < lines)
                corners.push_back({node, node + 1, node + 1 + columns, node + columns});
        }
    s.setFacets(corners);
    return s;
}

/// Bends a sheet into waves, and moves each node a little: no two distances are the same.
void bend(Surface& s, Random& random, float edge)
{
    for (int node = 1; node <= s.nodes.total(); ++node)
    {
        const auto i = static_cast<std::size_t>(node);
        const float x = s.nodes.x[i], y = s.nodes.y[i], by = 0.2f * edge;
        s.nodes.put(node, x + within(random, -by, by), y + within(random, -by, by),
                    3.0f * edge * std::sin(0.4f * x / edge) * std::cos(0.3f * y / edge));
    }
}

/// The surface of a block of nx x ny x nz cubes of length `edge`: nodes with three, four and fewer facets, thin walls where a number is 1.
Surface closedBox(int nx, int ny, int nz, float edge)
{
    const auto isOutside = [&](int i, int j, int k) { return i % nx == 0 || j % ny == 0 || k % nz == 0; };
    const auto place = [&](int i, int j, int k) { return static_cast<std::size_t>(i + (nx + 1) * (j + (ny + 1) * k)); };
    std::vector<int> number(place(nx, ny, nz) + 1);
    std::vector<std::array<float, 3>> points;
    for (int k = 0; k <= nz; ++k)
        for (int j = 0; j <= ny; ++j)
            for (int i = 0; i <= nx; ++i)
                if (isOutside(i, j, k))
                {
                    points.push_back({edge * static_cast<float>(i), edge * static_cast<float>(j), edge * static_cast<float>(k)});
                    number[place(i, j, k)] = static_cast<int>(points.size());
                }
    std::vector<std::array<int, 4>> corners;
    const auto add = [&](int i, int j, int k, std::array<int, 3> u, std::array<int, 3> v)
    {
        const auto at = [&](int a, int b)
        { return number[place(i + a * u[0] + b * v[0], j + a * u[1] + b * v[1], k + a * u[2] + b * v[2])]; };
        corners.push_back({at(0, 0), at(1, 0), at(1, 1), at(0, 1)});
    };
    for (int j = 0; j < ny; ++j)
        for (int i = 0; i < nx; ++i)
            for (const int k : {0, nz})
                add(i, j, k, {1, 0, 0}, {0, 1, 0});
    for (int k = 0; k < nz; ++k)
        for (int i = 0; i < nx; ++i)
            for (const int j : {0, ny})
                add(i, j, k, {1, 0, 0}, {0, 0, 1});
    for (int k = 0; k < nz; ++k)
        for (int j = 0; j < ny; ++j)
            for (const int i : {0, nx})
                add(i, j, k, {0, 1, 0}, {0, 0, 1});
    Surface s(static_cast<int>(points.size()));
    for (std::size_t i = 0; i < points.size(); ++i)
        s.nodes.put(static_cast<int>(i) + 1, points[i][0], points[i][1], points[i][2]);
    s.setFacets(corners);
    return s;
}

/// Facets between nodes that come by chance; a corner may be repeated, and nodes may have more facets than fit their list.
Surface tangle(Random& random, int n, int facets, int span)
{
    Surface s(n);
    std::vector<std::array<int, 4>> corners;
    for (int f = 0; f < facets; ++f)
    {
        const int first = 1 + below(random, n);
        std::array<int, 4> corner{};
        for (int& c : corner)
            c = std::min(n, first + below(random, span));
        corners.push_back(corner);
    }
    s.setFacets(corners);
    for (int node = 1; node <= n; ++node)
        s.nodes.put(node, within(random, 0, 4), within(random, 0, 4), static_cast<float>(below(random, 3)));
    return s;
}

template <class T>
bool sameBits(const T* a, const T* b, int entries)
{
    return std::memcmp(a, b, static_cast<std::size_t>(entries) * sizeof(T)) == 0;
}

/// Compares the forms on a surface; returns the number of rows with neighbours.
int compareGauss(const Surface& s, float elementLengthSquared, const char* what)
{
    constexpr int length = gaussNeighbourCap + 1;
    const int n = s.nodes.total(), rowTotal = n + 2;
    const NumberedSpan<const int> fixed(s.fixed.data(), n);
    const FacetTables facets{s.facetNode.data(), s.nodeFacet.data()};
    const GaussKernel kernel{3.1416f, elementLengthSquared};
    const GaussNeighbours a = findGaussNeighbours(s.nodes.points(), s.nodes.kinds(), fixed, facets, kernel, rowTotal, length);
    const GaussNeighbours b = findGaussNeighboursPlain(s.nodes.points(), s.nodes.kinds(), fixed, facets, kernel, rowTotal, length);
    EXPECT_TRUE(sameBits(a.rowOfNode.get(), b.rowOfNode.get(), n + 1)) << what;
    EXPECT_TRUE(sameBits(a.count.get(), b.count.get(), rowTotal + 1)) << what;
    EXPECT_TRUE(sameBits(a.selfWeight.get(), b.selfWeight.get(), rowTotal + 1)) << what;
    for (int row = 0; row <= rowTotal; ++row)
    {
        EXPECT_TRUE(sameBits(a.neighbour[row], b.neighbour[row], length)) << what << ", row " << row;
        EXPECT_TRUE(sameBits(a.weight[row], b.weight[row], length)) << what << ", row " << row;
        if (testing::Test::HasFailure())
            break;
    }
    int rows = 0;
    for (int node = 1; node <= n; ++node)
        rows += a.count[a.rowOfNode[node]] != 0; // row 0 has none
    return rows;
}

// DELIBERATE gauss-first-fifty
TEST(FastGaussSearch, makes_the_rows_of_the_plain_form_on_grids)
{
    Random random(1);
    int rows = 0;
    for (int round = 0; round < 30 && !HasFailure(); ++round)
    {
        const float edges[] = {1.0f, 0.43f, 1.0e-3f, 7.7f};
        const float edge = edges[round % 4];
        Surface s = sheet(40 + round % 8, 42, edge);
        if (round % 3 == 1)
            s.nodes.mixKinds(random, 20, false);
        if (round % 3 == 2)
            for (int node = 1; node <= s.nodes.total(); ++node)
                s.fixed[static_cast<std::size_t>(node)] = below(random, 15) == 0;
        if (round % 5 == 4)
            s.nodes.scatter(random, 50);
        for (const float narrowing : {1.0f, 40.0f}) // the second asks for narrower kernels
            rows += compareGauss(s, edge * edge * narrowing, "sheet");
    }
    EXPECT_GE(rows, 100000);
}

TEST(FastGaussSearch, makes_the_rows_of_the_plain_form_on_curved_sheets_and_closed_boxes)
{
    Random random(8);
    int rows = 0;
    for (int round = 0; round < caseCount(30) && !HasFailure(); ++round)
    {
        const float edges[] = {1.0f, 0.43f, 1.0e-3f, 7.7f};
        const float edge = edges[round % 4];
        Surface s = round % 2 == 0 ? sheet(40 + round % 8, 42, edge) : closedBox(1 + round % 14, 1 + round % 9, 8 + round, edge);
        if (round % 2 == 0)
            bend(s, random, edge);
        s.nodes.mixKinds(random, round % 3 == 2 ? 20 : 0, round % 5 == 0);
        if (round % 5 == 4)
            s.nodes.scatter(random, 50);
        for (const float narrowing : {1.0f, 40.0f})
            rows += compareGauss(s, edge * edge * narrowing, round % 2 == 0 ? "curved sheet" : "closed box");
    }
    EXPECT_GE(rows, caseCount(60000));
}

TEST(FastGaussSearch, makes_the_rows_of_the_plain_form_on_facets_without_order)
{
    Random random(2);
    int rows = 0;
    for (int round = 0; round < caseCount(700) && !HasFailure(); ++round)
    {
        const int n = 100 + below(random, 400);
        Surface s = tangle(random, n, n * (1 + round % 3) / 3, round % 7 == 0 ? n : 12);
        s.nodes.mixKinds(random, round % 4, round % 8 == 3);
        if (round % 3 == 0)
            s.nodes.scatter(random, 10);
        const float squares[] = {1.0f, 1.0e-30f, 1.0e30f, 0.0f, infinity, nan, 0.05f, 20.0f};
        rows += compareGauss(s, squares[round % 8], "tangle");
    }
    EXPECT_GE(rows, caseCount(100000));
}

TEST(FastGaussSearch, makes_the_rows_of_the_plain_form_on_meshes_of_no_to_four_nodes)
{
    Random random(3);
    for (int n = 0; n <= 4; ++n)
        for (int facets = 0; facets <= 3; ++facets)
            for (int round = 0; round < 50; ++round)
            {
                Surface s = n > 0 ? tangle(random, n, facets, n) : Surface(0);
                s.nodes.mixKinds(random, 2, true);
                s.nodes.scatter(random, 3);
                compareGauss(s, 1.0f, "small");
            }
    Surface without(3);
    compareGauss(without, 1.0f, "no facets");
    const GaussNeighbours rows = findGaussNeighbours(without.nodes.points(), without.nodes.kinds(), {without.fixed.data(), 3}, {},
                                                     {3.1416f, 1.0f}, 3, gaussNeighbourCap + 1);
    EXPECT_EQ(rows.rowOfNode[3], 3);
    EXPECT_EQ(rows.count[3], 0);
    EXPECT_EQ(rows.selfWeight[3], 1.0f);
}

/// The voxel nodes and their tree; some nodes are not in it.
struct Target
{
    Target(const Nodes& of, Random& random, int missing)
        : nodes(of)
        , nodeOfCompact(of.x.size())
    {
        constexpr double h = 1.0e-6;
        int compact = 0;
        for (int i = 1; i <= nodes.total(); ++i)
        {
            if (missing > 0 && below(random, missing) == 0)
                continue;
            const int node = nodes.total() + 1 - i;
            const auto k = static_cast<std::size_t>(node);
            nodeOfCompact[static_cast<std::size_t>(++compact)] = node;
            const double x = nodes.x[k], y = nodes.y[k], z = nodes.z[k];
            tree.AddSurfaceToADTree(compact, x + h, y + h, z + h, x - h, y - h, z - h);
        }
    }

    const Nodes& nodes;
    std::vector<int> nodeOfCompact;
    CTAVOptKer tree;
};

int compareCutCell(const Nodes& cutCell, Target& target, float elementLengthSquared, const char* what)
{
    const VoxelTarget voxel{target.nodes.points(),
                            target.nodes.kinds(),
                            {target.nodeOfCompact.data(), target.nodes.total()},
                            &target.tree,
                            elementLengthSquared};
    const int n = cutCell.total();
    const CutCellNeighbours a = findCutCellNeighbours(cutCell.points(), cutCell.kinds(), voxel, n);
    const CutCellNeighbours b = findCutCellNeighboursPlain(cutCell.points(), cutCell.kinds(), voxel, n);
    EXPECT_TRUE(sameBits(a.rowOfNode.get(), b.rowOfNode.get(), n + 1)) << what;
    int found = 0;
    for (int row = 0; row <= n && !testing::Test::HasFailure(); ++row)
    {
        EXPECT_TRUE(sameBits(a.neighbour[row], b.neighbour[row], cutCellNeighbourTotal + 1)) << what << ", row " << row;
        found += a.neighbour[row][1] != 0;
    }
    return found;
}

TEST(FastCutCellSearch, makes_the_rows_of_the_plain_form_on_grids)
{
    Random random(4);
    int found = 0;
    for (int round = 0; round < 18 && !HasFailure(); ++round)
    {
        const float edges[] = {1.0f, 0.43f, 1.0e-3f, 250.0f};
        const float edge = edges[round % 4], from = round % 3 == 0 ? -17.0f * edge : 1000.3f * edge;
        Nodes voxel(30 * 30 * 3), cutCell(4 * voxel.total());
        for (int i = 0; i < voxel.total(); ++i)
            voxel.put(i + 1, from + edge * static_cast<float>(i % 30), from + edge * static_cast<float>(i / 30 % 30),
                      edge * static_cast<float>(i / 900));
        for (int i = 1; i <= cutCell.total(); ++i)
        {
            const auto on = static_cast<std::size_t>(1 + (i - 1) % voxel.total());
            // On the nodes, halfway between them (ties), and anywhere.
            const float by = i % 3 == 0 ? 0.0f : i % 3 == 1 ? 0.5f : within(random, -2.5f, 2.5f);
            cutCell.put(i, voxel.x[on] + by * edge, voxel.y[on] - by * edge, voxel.z[on] + (i % 2 == 0 ? by * edge : 0.0f));
        }
        voxel.mixKinds(random, round % 5, false);
        cutCell.mixKinds(random, round % 3 == 0 ? 60 : 0, round % 2 == 0);
        if (round % 4 == 3)
        {
            voxel.scatter(random, 40);
            cutCell.scatter(random, 40);
        }
        Target target(voxel, random, round % 6);
        found += compareCutCell(cutCell, target, edge * edge, "grid");
    }
    EXPECT_GE(found, 100000);
}

TEST(FastCutCellSearch, makes_the_rows_of_the_plain_form_among_points_without_order)
{
    Random random(5);
    int found = 0;
    for (int round = 0; round < 200 && !HasFailure(); ++round)
    {
        Nodes voxel(1 + below(random, 150)), cutCell(150);
        const float width = round % 2 == 0 ? 6.0f : 40.0f;
        for (Nodes* nodes : {&voxel, &cutCell})
        {
            for (int i = 1; i <= nodes->total(); ++i)
                nodes->put(i, within(random, 0, width), within(random, 0, width), round % 3 == 0 ? 0.0f : within(random, 0, 3));
            nodes->mixKinds(random, round % 6, round % 12 == 5);
            if (round % 4 == 0)
                nodes->scatter(random, 8);
        }
        Target target(voxel, random, 0);
        const float squares[] = {1.0f, 0.01f, 400.0f, 0.0f, infinity, nan, -1.0f, 1.0e-30f, 1.0e30f};
        found += compareCutCell(cutCell, target, squares[round % 9], "points");
    }
    EXPECT_GE(found, 3000);
}

// At scale, and without ties: in a volume, on a sphere, and in a layer.
TEST(FastCutCellSearch, makes_the_rows_of_the_plain_form_among_many_scattered_nodes)
{
    Random random(9);
    int found = 0;
    const int rounds = caseCount(10) + 2;
    for (int round = 0; round < rounds && !HasFailure(); ++round)
    {
        Nodes voxel(4096), cutCell(12000);
        const float edges[] = {1.0f, 0.43f, 1.0e-3f, 250.0f};
        const float edge = edges[round % 4];
        for (Nodes* nodes : {&voxel, &cutCell})
        {
            for (int i = 1; i <= nodes->total(); ++i)
            {
                std::array<float, 3> at{};
                for (float& v : at)
                    v = within(random, 0, 16);
                if (round % 3 == 1)
                {
                    const float length = std::hypot(at[0] - 8, at[1] - 8, at[2] - 8);
                    for (float& v : at)
                        v = 9.0f * (v - 8) / length + within(random, -0.5f, 0.5f);
                }
                if (round % 3 == 2)
                    at = {4 * at[0], 4 * at[1], at[2] / 16};
                nodes->put(i, edge * at[0], edge * at[1], edge * at[2]);
            }
            nodes->mixKinds(random, round % 4 == 3 ? 8 : 0, round % 8 == 3);
        }
        Target target(voxel, random, round % 5);
        found += compareCutCell(cutCell, target, edge * edge, "scattered nodes");
    }
    EXPECT_GE(found, caseCount(100000));
}

// Where the cube has just ten nodes, or one of them beyond its face by less than the half-width of points in the tree.
TEST(FastCutCellSearch, makes_the_rows_of_the_plain_form_at_the_faces_of_the_cube)
{
    Random random(6);
    for (const float beyond : {0.0f, 0.5e-6f, 1.0e-6f, 1.1e-6f, 1.0e-3f})
        for (int axis = 0; axis < 3; ++axis)
            for (const float side : {-1.0f, 1.0f})
            {
                Nodes voxel(12), cutCell(1);
                for (int i = 1; i <= 12; ++i)
                {
                    const float at =
                        i <= 9 ? within(random, -1.9f, 1.9f) : side * (2.0f + (i == 10 ? beyond : beyond * static_cast<float>(i)));
                    voxel.put(i, axis == 0 ? at : 0.1f, axis == 1 ? at : 0.2f, axis == 2 ? at : 0.3f);
                }
                Target target(voxel, random, 0);
                compareCutCell(cutCell, target, 1.0f, "face");
            }
}

TEST(FastCutCellSearch, makes_the_rows_of_the_plain_form_with_no_to_three_nodes)
{
    Random random(7);
    for (int cutCellTotal = 0; cutCellTotal <= 3; ++cutCellTotal)
        for (int voxelTotal = 0; voxelTotal <= 3; ++voxelTotal)
        {
            Nodes voxel(voxelTotal), cutCell(cutCellTotal);
            for (Nodes* nodes : {&voxel, &cutCell})
                for (int i = 1; i <= nodes->total(); ++i)
                    nodes->put(i, within(random, -1, 1), within(random, -1, 1), within(random, -1, 1));
            Target target(voxel, random, 0);
            EXPECT_EQ(compareCutCell(cutCell, target, 1.0f, "few"), 0);
        }
}

} // namespace
} // namespace tav3d::meshmapping::fast_searches_test
