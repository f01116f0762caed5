#include "cut_cells.h"

#include "cell_geometry.h"
#include "cut_patterns.h"
#include "edge_cuts.h"
#include "sharp_feature.h"

#include <algorithm>
#include <limits>
#include <optional>

namespace tav3d::tools
{

namespace
{

namespace body = opensuite::body;

/// A grid node or a centre nearer to a cut point than this share of the edge is moved there. Larger: fewer slivers, more distorted hexahedra.
constexpr double snapShare = 0.12;

/// Pieces keep this volume at least, in volumes of a grid cell.
constexpr double leastVolume = 1e-6;

/// Uncut faces with a moved corner are bent by up to snapShare. A cut point on the way from the centre to their corners keeps that far above them.
constexpr double largestShareBesideBentFace = 0.66;

class Cutter final : public CutContext
{
public:
    Cutter(const BlockGrid& grid, const BlockSamples& samples, const TriangleMesh& part, std::span<const TriangleMesh> inserts)
        : grid_(grid)
        , samples_(samples)
        , cuts_(findEdgeCuts(grid, samples, part, inserts))
    {
    }

    CutCellMesh run()
    {
        // Sharp features may, rarely, turn a piece inside out. Such cells, and the faces that they share, then do without.
        careful_.assign(cuts_.cells.size(), false);
        for (int pass = 0; pass < 3; ++pass)
        {
            divideAll();
            if (std::find(flat_.begin(), flat_.end(), true) == flat_.end())
            {
                break;
            }
            for (std::size_t slot = 0; slot < flat_.size(); ++slot)
            {
                if (flat_[slot])
                {
                    dropFeatures(slot);
                }
            }
        }
        mesh_.guessedCuts = cuts_.guessed;
        return std::move(mesh_);
    }

    // ---- pieces of the current cell

    std::int32_t cutPoint(const Corner& a, const Corner& b) override
    {
        if (a.local != centre && b.local != centre)
        {
            EdgeCut* cut = cuts_.find(node_, std::min(a.local, b.local), std::max(a.local, b.local));
            if (cut->node == 0)
            {
                cut->node = addNode(cut->place, true);
            }
            return cut->node;
        }
        const int c = a.local == centre ? b.local : a.local;
        EdgeCut& cut = cuts_.ofCentre[slot_][c];
        if (cut.node == 0)
        {
            // away from the ends, where a centre had to stay in its place or the pyramid below must not become flat
            const double share = std::clamp<double>(cut.share, snapShare, besideBentFace_[c] ? largestShareBesideBentFace : 1 - snapShare);
            const Vec3 start = mesh_.node[centreNode_ - 1];
            cut.node = addNode(share == cut.share ? cut.point : start + share * (mesh_.node[node_[c]] - start), true);
        }
        return cut.node;
    }

    std::int32_t meanPoint(std::span<const std::int32_t> nodes) override
    {
        Vec3 sum;
        for (const std::int32_t n : nodes)
        {
            sum = sum + mesh_.node[n - 1];
        }
        return addNode(1.0 / static_cast<double>(nodes.size()) * sum, false);
    }

    void add(const Piece& piece) override
    {
        const auto n = static_cast<std::size_t>(opensuite::nodeCount(piece.kind));
        std::array<Vec3, 8> corner;
        for (std::size_t i = 0; i < n; ++i)
        {
            corner[i] = mesh_.node[piece.node[i] - 1];
        }
        const double size = grid_.cellSize;
        if (!(cellVolume(piece.kind, std::span(corner).first(n)) > leastVolume * size * size * size))
        {
            flat_[slot_] = true;
        }
        add(piece.kind, piece.node.data(), piece.side < 0 ? body::part : outerBody(piece));
    }

private:
    static constexpr std::int8_t centre = 8;

    void divideAll()
    {
        mesh_ = {};
        side_.clear();
        flat_.assign(cuts_.cells.size(), false);
        for (EdgeCut& cut : cuts_.cuts)
        {
            cut.node = 0;
        }
        for (auto& ofCell : cuts_.ofCentre)
        {
            for (EdgeCut& cut : ofCell)
            {
                cut.node = 0;
            }
        }
        placeGridNodes();
        snapGridNodes();
        std::size_t slot = 0;
        for (std::int32_t k = 0, cell = 0; k < grid_.cells[2]; ++k)
        {
            for (std::int32_t j = 0; j < grid_.cells[1]; ++j)
            {
                for (std::int32_t i = 0; i < grid_.cells[0]; ++i, ++cell)
                {
                    cell_ = cell;
                    node_ = grid_.cornerNodes(i, j, k);
                    if (slot < cuts_.cells.size() && cuts_.cells[slot] == cell)
                    {
                        divideCell(slot++);
                    }
                    else
                    {
                        addHexahedron();
                    }
                }
            }
        }
    }

    void dropFeatures(std::size_t slot)
    {
        careful_[slot] = true;
        const auto [i, j, k] = grid_.cellAt(cuts_.cells[slot]);
        const auto node = grid_.cornerNodes(i, j, k);
        for (int face = 0; face < 6; ++face)
        {
            const auto f = faceCorners(face);
            const bool other = joinsOneAndThree(cuts_, node, face);
            if (EdgeCut* cut = cuts_.find(node, f[other ? 1 : 0], f[other ? 3 : 2]))
            {
                cut->place = cut->point;
            }
        }
    }

    std::int32_t addNode(Vec3 place, bool onSurface)
    {
        mesh_.node.push_back(place);
        mesh_.onSurface.push_back(onSurface);
        return static_cast<std::int32_t>(mesh_.node.size());
    }

    void add(opensuite::CellKind kind, const std::int32_t* nodes, std::int32_t bodyNumber)
    {
        (bodyNumber == body::part ? mesh_.plastic : mesh_.moldBase).add(kind, nodes, bodyNumber);
    }

    void addHexahedron()
    {
        std::array<std::int32_t, 8> nodes{};
        for (int c = 0; c < 8; ++c)
        {
            nodes[c] = node_[hexahedronCorners[c]] + 1;
        }
        add(opensuite::CellKind::Hexa8, nodes.data(), samples_.centre[cell_]);
    }

    /// Body outside the part that most corners of a piece lie in; of two equally good ones the higher, which is the insert.
    [[nodiscard]] std::int32_t outerBody(const Piece& piece) const
    {
        std::array<std::int32_t, 8> bodies{};
        int n = 0;
        for (int i = 0; i < opensuite::nodeCount(piece.kind); ++i)
        {
            const auto number = static_cast<std::size_t>(piece.node[i]);
            if (mesh_.onSurface[number - 1] == 0 && number <= samples_.node.size())
            {
                bodies[n++] = samples_.node[number - 1];
            }
            else if (piece.node[i] == centreNode_ && mesh_.onSurface[number - 1] == 0)
            {
                bodies[n++] = samples_.centre[cell_];
            }
        }
        std::int32_t best = body::mold;
        std::ptrdiff_t most = 0;
        for (int i = 0; i < n; ++i)
        {
            const auto votes = std::count(bodies.begin(), bodies.begin() + n, bodies[i]);
            if (votes > most || (votes == most && bodies[i] > best))
            {
                best = bodies[i];
                most = votes;
            }
        }
        return best;
    }

    // ---- grid nodes

    void placeGridNodes()
    {
        const Lattice nodes = grid_.nodes();
        mesh_.node.reserve(nodes.size() + 3 * cuts_.cuts.size());
        side_.reserve(nodes.size());
        for (std::int32_t k = 0; k < nodes.count[2]; ++k)
        {
            for (std::int32_t j = 0; j < nodes.count[1]; ++j)
            {
                for (std::int32_t i = 0; i < nodes.count[0]; ++i)
                {
                    mesh_.node.push_back(nodes.point(i, j, k));
                    side_.push_back(samples_.node[side_.size()] == body::part ? -1 : 1);
                }
            }
        }
        mesh_.onSurface.assign(nodes.size(), 0);
    }

    [[nodiscard]] bool isOuterNode(std::int32_t node) const
    {
        const auto stride = grid_.nodeStride();
        const std::array<std::int32_t, 3> at{node % stride[1], node / stride[1] % (grid_.cells[1] + 1), node / stride[2]};
        return at[0] == 0 || at[1] == 0 || at[2] == 0 || at[0] == grid_.cells[0] || at[1] == grid_.cells[1] || at[2] == grid_.cells[2];
    }

    /// Moves each grid node to the nearest cut point of its edges, if that is near. All distances are those before any move.
    void snapGridNodes()
    {
        std::vector<float> nearest(mesh_.node.size(), std::numeric_limits<float>::max());
        const Lattice nodes = grid_.nodes();
        for (std::size_t slot = 0; slot < cuts_.cells.size(); ++slot)
        {
            const auto at = grid_.cellAt(cuts_.cells[slot]);
            node_ = grid_.cornerNodes(at[0], at[1], at[2]);
            const auto offer = [&](int c, double share, const EdgeCut& cut)
            {
                const Vec3 home = nodes.point(at[0] + (c & 1), at[1] + (c >> 1 & 1), at[2] + (c >> 2));
                const auto distance = static_cast<float>(length(cut.point - home));
                if (share < snapShare && distance < nearest[node_[c]] && !isOuterNode(node_[c]))
                {
                    nearest[node_[c]] = distance;
                    mesh_.node[node_[c]] = cut.point;
                    mesh_.onSurface[node_[c]] = 1;
                    side_[node_[c]] = 0;
                }
            };
            for (int a = 0; a < 8; ++a)
            {
                for (int b = a + 1; b < 8; ++b)
                {
                    if ((a ^ b) == 7 || cuts_.index[edgeSlot(node_, a, b)] < 0 || isUnusedDiagonal(a, b))
                    {
                        continue;
                    }
                    const EdgeCut& cut = *cuts_.find(node_, a, b);
                    offer(a, cut.share, cut);
                    offer(b, 1 - cut.share, cut);
                }
                if (const EdgeCut& cut = cuts_.ofCentre[slot][a]; cut.share >= 0)
                {
                    offer(a, 1 - cut.share, cut);
                }
            }
        }
    }

    /// A face's entry in the index holds its chosen diagonal only.
    [[nodiscard]] bool isUnusedDiagonal(int a, int b) const
    {
        const int differing = a ^ b;
        if (differing == 1 || differing == 2 || differing == 4)
        {
            return false;
        }
        const int axis = differing == 6 ? 0 : differing == 5 ? 1 : 2;
        const int face = 2 * axis + ((a >> axis) & 1);
        const auto f = faceCorners(face);
        const bool other = a != f[0] && b != f[0];
        return other != joinsOneAndThree(cuts_, node_, face);
    }

    // ---- divided cells

    static bool mixed(std::span<const Corner> corners)
    {
        return std::any_of(corners.begin(), corners.end(), [](const Corner& c) { return c.side < 0; }) &&
               std::any_of(corners.begin(), corners.end(), [](const Corner& c) { return c.side > 0; });
    }

    void divideCell(std::size_t slot)
    {
        slot_ = slot;
        std::array<Corner, 9> corner{};
        for (std::int8_t c = 0; c < 8; ++c)
        {
            corner[c] = {node_[c] + 1, side_[node_[c]], c};
        }
        corner[centre] = {0, static_cast<Side>(samples_.centre[cell_] == body::part ? -1 : 1), centre};
        if (!mixed(corner))
        {
            addHexahedron(); // what the surface cut off was snapped away
            return;
        }

        struct Base // one face, or one half of it
        {
            int count;
            std::array<Corner, 4> corner;
        };
        std::array<Base, 12> bases;
        int baseTotal = 0;
        bool centreMayMove = true;
        besideBentFace_.fill(false);
        for (int face = 0; face < 6; ++face)
        {
            const auto f = faceCorners(face);
            const std::array<Corner, 4> q{corner[f[0]], corner[f[1]], corner[f[2]], corner[f[3]]};
            if (!mixed(q))
            {
                bases[baseTotal++] = {4, q};
                const bool bent = std::any_of(q.begin(), q.end(), [](const Corner& c) { return c.side == 0; });
                for (const int c : f)
                {
                    besideBentFace_[c] = besideBentFace_[c] || bent;
                }
            }
            else if (joinsOneAndThree(cuts_, node_, face))
            {
                bases[baseTotal++] = {3, {q[1], q[2], q[3]}};
                bases[baseTotal++] = {3, {q[1], q[3], q[0]}};
            }
            else
            {
                bases[baseTotal++] = {3, {q[0], q[1], q[2]}};
                bases[baseTotal++] = {3, {q[0], q[2], q[3]}};
            }
        }
        for (int b = 0; b < baseTotal; ++b)
        {
            // a cell between a base on the surface and a centre on the surface would belong to neither side
            const auto end = bases[b].corner.begin() + bases[b].count;
            centreMayMove = centreMayMove && std::any_of(bases[b].corner.begin(), end, [](const Corner& c) { return c.side != 0; });
        }

        placeCentre(corner, centreMayMove);
        for (int b = 0; b < baseTotal; ++b)
        {
            const auto& q = bases[b].corner;
            if (bases[b].count == 4)
            {
                cutPyramid({q[0], q[1], q[2], q[3], corner[centre]}, *this);
            }
            else
            {
                cutTetra({q[0], q[1], q[2], corner[centre]}, *this);
            }
        }
    }

    void placeCentre(std::array<Corner, 9>& corner, bool mayMove)
    {
        const auto [i, j, k] = grid_.cellAt(cell_);
        Vec3 place = grid_.centres().point(i, j, k);
        bool onSurface = false;
        if (mayMove && mixed(std::span(corner).first(8)))
        {
            if (const auto feature = careful_[slot_] ? std::nullopt : sharpFeature(cuts_, slot_, node_, place, grid_.cellSize))
            {
                place = *feature;
                onSurface = true;
            }
        }
        if (mayMove && !onSurface)
        {
            const EdgeCut* best = nullptr;
            for (const EdgeCut& cut : cuts_.ofCentre[slot_])
            {
                if (cut.share >= 0 && cut.share < snapShare && (best == nullptr || cut.share < best->share))
                {
                    best = &cut;
                }
            }
            if (best != nullptr)
            {
                place = best->point;
                onSurface = true;
            }
        }
        centreNode_ = addNode(place, onSurface);
        corner[centre].node = centreNode_;
        if (onSurface)
        {
            corner[centre].side = 0;
        }
    }

    const BlockGrid& grid_;
    const BlockSamples& samples_;
    EdgeCuts cuts_;
    std::vector<Side> side_; // of grid nodes
    CutCellMesh mesh_;
    std::vector<bool> flat_;    // per slot: a piece has no volume
    std::vector<bool> careful_; // per slot: without sharp features

    // the current cell
    std::int32_t cell_ = 0;
    std::size_t slot_ = 0;
    std::array<std::int32_t, 8> node_{};   // grid nodes of its corners, from 0
    std::int32_t centreNode_ = 0;          // mesh number
    std::array<bool, 8> besideBentFace_{}; // corners of an uncut face with a corner on the surface
};

} // namespace

CutCellMesh cutCells(const BlockGrid& grid, const BlockSamples& samples, const TriangleMesh& part, std::span<const TriangleMesh> inserts)
{
    return Cutter(grid, samples, part, inserts).run();
}

} // namespace tav3d::tools
