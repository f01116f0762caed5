#include "edge_cuts.h"

#include "opensuite/mesh_model.h"
#include "sharp_feature.h"
#include "surface_bins.h"

#include <bit>

namespace tav3d::tools
{

namespace
{

namespace body = opensuite::body;

int missingAxis(int a, int b)
{
    const int differing = a ^ b;
    return differing == 6 ? 0 : differing == 5 ? 1 : 2;
}

class Finder
{
public:
    Finder(const BlockGrid& grid, const BlockSamples& samples, const TriangleMesh& part, std::span<const TriangleMesh> inserts)
        : grid_(grid)
        , samples_(samples)
        , nodes_(grid.nodes())
        , centres_(grid.centres())
        , shift_(samplingShift(grid.cellSize))
    {
        surfaces_.push_back(&part);
        for (const TriangleMesh& insert : inserts)
        {
            surfaces_.push_back(&insert);
        }
    }

    EdgeCuts run()
    {
        listCells();
        out_.index.assign(6 * grid_.nodeTotal(), -1);
        out_.otherDiagonal.assign(3 * grid_.nodeTotal(), false);
        out_.ofCentre.resize(out_.cells.size());
        SurfaceBins bins(grid_, surfaces_, out_.cells);
        for (std::size_t slot = 0; slot < out_.cells.size(); ++slot)
        {
            cutCell(bins, slot);
        }
        return std::move(out_);
    }

private:
    [[nodiscard]] bool inPart(std::int32_t node) const { return samples_.node[node] == body::part; }

    void listCells()
    {
        for (std::int32_t k = 0, cell = 0; k < grid_.cells[2]; ++k)
        {
            for (std::int32_t j = 0; j < grid_.cells[1]; ++j)
            {
                for (std::int32_t i = 0; i < grid_.cells[0]; ++i, ++cell)
                {
                    const bool centre = samples_.centre[cell] == body::part;
                    for (const std::int32_t n : grid_.cornerNodes(i, j, k))
                    {
                        if (inPart(n) != centre)
                        {
                            out_.cells.push_back(cell);
                            break;
                        }
                    }
                }
            }
        }
    }

    void cutCell(SurfaceBins& bins, std::size_t slot)
    {
        const auto at = grid_.cellAt(out_.cells[slot]);
        const auto node = grid_.cornerNodes(at[0], at[1], at[2]);
        const auto corner = [&](int c) { return nodes_.point(at[0] + (c & 1), at[1] + (c >> 1 & 1), at[2] + (c >> 2)); };
        const auto cutEdge = [&](int a, int b)
        {
            std::int32_t& index = out_.index[edgeSlot(node, a, b)];
            if (inPart(node[a]) != inPart(node[b]) && index < 0)
            {
                index = static_cast<std::int32_t>(out_.cuts.size());
                out_.cuts.push_back(findCut(bins, slot, corner(a), corner(b), inPart(node[a])));
            }
        };
        for (int a = 0; a < 8; ++a)
        {
            for (int bit = 1; bit < 8; bit *= 2)
            {
                if ((a & bit) == 0)
                {
                    cutEdge(a, a | bit);
                }
            }
        }
        for (int face = 0; face < 6; ++face)
        {
            const auto f = faceCorners(face);
            // prefer a diagonal that is not cut; else take turns from face to face
            const bool cut02 = inPart(node[f[0]]) != inPart(node[f[2]]);
            const bool cut13 = inPart(node[f[1]]) != inPart(node[f[3]]);
            const int axis = face / 2;
            const bool oneAndThree = cut02 != cut13 ? cut13 : ((at[0] + at[1] + at[2] + (face & 1)) & 1) != 0;
            out_.otherDiagonal[3 * std::size_t(node[f[0]]) + axis] = oneAndThree;
            const int a = f[oneAndThree ? 1 : 0];
            const int b = f[oneAndThree ? 3 : 2];
            cutEdge(std::min(a, b), std::max(a, b));
            if (EdgeCut* diagonal = out_.find(node, a, b))
            {
                if (const auto place = sharpPlaceInFace(out_, node, f, oneAndThree ? 1 : 0, corner(f[0]), grid_.cellSize))
                {
                    diagonal->place = *place;
                }
            }
        }
        const bool centreIn = samples_.centre[out_.cells[slot]] == body::part;
        for (int c = 0; c < 8; ++c)
        {
            if (inPart(node[c]) != centreIn)
            {
                out_.ofCentre[slot][c] = findCut(bins, slot, centres_.point(at[0], at[1], at[2]), corner(c), centreIn);
            }
        }
    }

    EdgeCut findCut(SurfaceBins& bins, std::size_t slot, Vec3 p, Vec3 q, bool startsInPart)
    {
        // The part's surface normally crosses an odd number of times. Where an insert stands in the part's volume, its own surface is the border.
        auto crossings = bins.crossings(slot, 0, p + shift_, q + shift_);
        std::size_t chosen = crossings.size() / 2;
        if (crossings.size() % 2 == 0)
        {
            for (std::size_t s = 1; s < surfaces_.size() && crossings.size() % 2 == 0; ++s)
            {
                crossings = bins.crossings(slot, static_cast<int>(s), p + shift_, q + shift_);
                chosen = startsInPart || crossings.empty() ? 0 : crossings.size() - 1; // nearest to the part
            }
        }
        EdgeCut cut;
        if (crossings.empty())
        {
            ++out_.guessed;
            cut.share = 0.5F;
            cut.point = cut.place = 0.5 * (p + q);
            return cut;
        }
        const auto [t, normal] = crossings[chosen];
        cut.share = static_cast<float>(t);
        cut.normal = normal;
        // back onto the edge, along the surface
        cut.point = p + t * (q - p) + dot(shift_, normal) * normal;
        cut.place = cut.point;
        return cut;
    }

    const BlockGrid& grid_;
    const BlockSamples& samples_;
    Lattice nodes_, centres_;
    Vec3 shift_;
    std::vector<const TriangleMesh*> surfaces_;
    EdgeCuts out_;
};

} // namespace

std::size_t edgeSlot(const std::array<std::int32_t, 8>& node, int a, int b)
{
    const int differing = a ^ b;
    const bool diagonal = std::popcount(static_cast<unsigned>(differing)) == 2;
    const int kind = diagonal ? 3 + missingAxis(a, b) : differing >> 1; // 1, 2, 4 -> axis 0, 1, 2
    return 6 * std::size_t(node[a & b]) + kind;
}

EdgeCut* EdgeCuts::find(const std::array<std::int32_t, 8>& node, int a, int b)
{
    const std::int32_t i = index[edgeSlot(node, a, b)];
    return i < 0 ? nullptr : &cuts[i];
}

std::array<int, 4> faceCorners(int face)
{
    const int axis = face / 2;
    const int u = 1 << (axis + 1) % 3;
    const int v = 1 << (axis + 2) % 3;
    const int high = (face & 1) << axis;
    return (face & 1) == 0 ? std::array{0, u, u | v, v} : std::array{high, high | v, high | u | v, high | u};
}

bool joinsOneAndThree(const EdgeCuts& cuts, const std::array<std::int32_t, 8>& node, int face)
{
    return cuts.otherDiagonal[3 * std::size_t(node[faceCorners(face)[0]]) + face / 2];
}

EdgeCuts findEdgeCuts(const BlockGrid& grid, const BlockSamples& samples, const TriangleMesh& part, std::span<const TriangleMesh> inserts)
{
    return Finder(grid, samples, part, inserts).run();
}

} // namespace tav3d::tools
