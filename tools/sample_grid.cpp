#include "sample_grid.h"

#include "opensuite/file_error.h"

#include <cmath>

namespace tav3d::tools
{

using namespace opensuite;

namespace
{

/// Edges of a hexahedron, as places in its node list.
constexpr int edges[12][2] = {{0, 1}, {1, 2}, {2, 3}, {3, 0}, {4, 5}, {5, 6}, {6, 7}, {7, 4}, {0, 4}, {1, 5}, {2, 6}, {3, 7}};

class GridBuilder
{
public:
    GridBuilder(const MeshZone& zone, double scaleFactor, const std::string& file)
        : zone_(zone)
        , scale_(scaleFactor)
        , file_(file)
    {
    }

    SampleGrid build()
    {
        const std::size_t n = zone_.nodeTotal();
        constexpr SampleGrid::Neighbours none = {-1, -1, -1, -1, -1, -1};
        grid_.neighbour.assign(n, none);
        grid_.plasticNeighbour.assign(n, none);
        grid_.plasticVolume.assign(n, 0.0);
        for (auto* mark : {&grid_.isGate, &grid_.isPartSurface, &grid_.isMoldBase, &grid_.isOuterFace})
        {
            mark->assign(n, 0);
        }
        if (zone_.plastic.size() == 0)
        {
            fail("Plastic", "the voxel mesh has no part");
        }
        addCells(zone_.plastic, "Plastic", true);
        grid_.plasticCells = grid_.cell.size();
        addCells(zone_.moldBase, "MoldBase", false);
        markFacets();
        return std::move(grid_);
    }

private:
    [[noreturn]] void fail(const std::string& item, const std::string& reason) const
    {
        throw FileError(FileFailure::BadContent, file_, item, reason);
    }

    void addCells(const CellList& cells, const char* name, bool plastic)
    {
        for (std::size_t c = 0; c < cells.size(); ++c)
        {
            if (cells.kind[c] != CellKind::Hexa8)
            {
                fail(std::string(name) + " element " + std::to_string(c + 1), "the voxel mesh must be made of cubes");
            }
            std::array<std::int32_t, 8> node;
            for (std::size_t k = 0; k < 8; ++k)
            {
                node[k] = cells.node[static_cast<std::size_t>(cells.start[c]) + k] - 1;
            }
            for (const auto& edge : edges)
            {
                addEdge(node[static_cast<std::size_t>(edge[0])], node[static_cast<std::size_t>(edge[1])], plastic);
            }
            for (const std::int32_t i : node)
            {
                if (plastic)
                {
                    grid_.plasticVolume[static_cast<std::size_t>(i)] += grid_.spacing * grid_.spacing * grid_.spacing / 8;
                }
                else
                {
                    grid_.isMoldBase[static_cast<std::size_t>(i)] = 1;
                }
            }
            grid_.cell.push_back(node);
            grid_.body.push_back(cells.body[c]);
        }
    }

    void addEdge(std::int32_t from, std::int32_t to, bool plastic)
    {
        const auto a = static_cast<std::size_t>(from);
        const auto b = static_cast<std::size_t>(to);
        const double d[3] = {scale_ * (double{zone_.x[b]} - zone_.x[a]), scale_ * (double{zone_.y[b]} - zone_.y[a]),
                             scale_ * (double{zone_.z[b]} - zone_.z[a])};
        const double length = std::sqrt(d[0] * d[0] + d[1] * d[1] + d[2] * d[2]);
        if (grid_.spacing == 0)
        {
            grid_.spacing = length;
        }
        const double tolerance = 1e-3 * grid_.spacing;
        std::size_t axis = 3;
        for (std::size_t k = 0; k < 3; ++k)
        {
            if (std::abs(std::abs(d[k]) - grid_.spacing) < tolerance)
            {
                axis = k;
            }
        }
        if (axis == 3 || std::abs(length - grid_.spacing) > tolerance)
        {
            fail("edge from node " + std::to_string(from + 1) + " to node " + std::to_string(to + 1),
                 "the voxel mesh must be made of equal cubes");
        }
        const std::size_t direction = 2 * axis + (d[axis] > 0 ? 1 : 0);
        for (auto* neighbour : {&grid_.neighbour, plastic ? &grid_.plasticNeighbour : &grid_.neighbour})
        {
            (*neighbour)[a][direction] = to;
            (*neighbour)[b][direction ^ 1] = from;
        }
    }

    void markFacets()
    {
        bool gate = false;
        for (const SurfaceFacet& facet : zone_.surface)
        {
            for (const std::int32_t number : facet.node)
            {
                const auto node = static_cast<std::size_t>(number - 1);
                if (facet.kind == facet_kind::outerFace)
                {
                    grid_.isOuterFace[node] = 1;
                    continue;
                }
                grid_.isPartSurface[node] = grid_.isPlastic(node);
                if (facet.kind == facet_kind::gate && grid_.isPlastic(node))
                {
                    grid_.isGate[node] = 1;
                    gate = true;
                }
            }
            grid_.ventFacets += facet.kind == facet_kind::vent;
            grid_.partSurfaceArea += facet.kind == facet_kind::outerFace ? 0.0 : grid_.spacing * grid_.spacing;
        }
        if (!gate)
        {
            fail("Surface", "the part has no gate in the voxel mesh");
        }
    }

    const MeshZone& zone_;
    double scale_;
    std::string file_;
    SampleGrid grid_;
};

} // namespace

SampleGrid makeSampleGrid(const MeshZone& voxel, double scaleFactor, const std::string& file)
{
    return GridBuilder(voxel, scaleFactor, file).build();
}

std::vector<int> idMapOf(const std::vector<char>& mark)
{
    std::vector<int> ids(1, 0);
    for (std::size_t node = 0; node < mark.size(); ++node)
    {
        if (mark[node] != 0)
        {
            ids.push_back(static_cast<int>(node) + 1);
        }
    }
    return ids;
}

} // namespace tav3d::tools
