#include "benchmarks/thin_plate.h"

#include "TAVMeshFormatTransfer.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <random>

namespace tav3d::benchmarks
{

namespace
{

constexpr int layers = 2;

void addNode(PlateNodes& nodes, float x, float y, float z, bool onSurface)
{
    nodes.x.push_back(x);
    nodes.y.push_back(y);
    nodes.z.push_back(z);
    nodes.part.push_back(onSurface ? 1 : 0);
    nodes.partInsert.push_back(0);
}

} // namespace

int PlateNodes::surfaceTotal() const
{
    return meshmapping::countMarked({part.data(), total()});
}

ThinPlate::ThinPlate(std::int64_t nodeTotal)
    : cells_(static_cast<int>(std::sqrt(static_cast<double>(nodeTotal) / (layers + 1))) - 1)
    , cutCellOfVoxel_(1)
{
    const int cells = cells_;
    const double h = edge;
    std::mt19937_64 random(1);
    std::uniform_real_distribution<double> by(-0.5, 0.5);
    addNode(voxel_, 0, 0, 0, false);
    addNode(cutCell_, 0, 0, 0, false);
    // Voxel nodes line by line, as a grid numbers them. The cut-cell mesh has them too, and further nodes where the part's surface cuts its cells.
    for (int k = 0; k <= layers; ++k)
        for (int j = 0; j <= cells; ++j)
            for (int i = 0; i <= cells; ++i)
            {
                const bool rim = i == 0 || j == 0 || i == cells || j == cells, skin = k == 0 || k == layers;
                const auto x = static_cast<float>(h * i), y = static_cast<float>(h * j), z = static_cast<float>(h * k);
                addNode(voxel_, x, y, z, rim || skin);
                cutCellOfVoxel_.push_back(cutCell_.total() + 1);
                addNode(cutCell_, x, y, skin ? static_cast<float>(h * (k + 0.9 * by(random))) : z, rim || skin);
                if (skin && (i + j) % 2 == 0)
                    addNode(cutCell_, static_cast<float>(h * (i + by(random))), y, z, true);
            }
    fixed_.assign(voxel_.x.size(), 0);
    addSurface(cells);

    tree_ = std::make_unique<CTAVOptKer>();
    const double half = 1.0e-6;
    for (int node = 0; node <= voxel_.total(); ++node)
    {
        nodeOfCompact_.push_back(node);
        const auto n = static_cast<std::size_t>(node);
        const double x = voxel_.x[n], y = voxel_.y[n], z = voxel_.z[n];
        if (node > 0)
            tree_->AddSurfaceToADTree(node, x + half, y + half, z + half, x - half, y - half, z - half);
    }
    int found = 0;
    tree_->SearchNearBlockID(0, 0, 0, 0, 0, 0, found, 0); // what the tree prepares at its first query is not measured
}

void ThinPlate::addSurface(int cells)
{
    std::vector<std::array<int, 4>> facets;
    const int line = cells + 1;
    const auto node = [line](int i, int j, int k) { return 1 + i + line * (j + line * k); };
    for (int j = 0; j < cells; ++j)
        for (int i = 0; i < cells; ++i)
        {
            facets.push_back({node(i, j, 0), node(i, j + 1, 0), node(i + 1, j + 1, 0), node(i + 1, j, 0)});
            facets.push_back({node(i, j, layers), node(i + 1, j, layers), node(i + 1, j + 1, layers), node(i, j + 1, layers)});
        }
    for (int k = 0; k < layers; ++k)
        for (int i = 0; i < cells; ++i)
            for (const int rim : {0, cells})
            {
                facets.push_back({node(i, rim, k), node(i + 1, rim, k), node(i + 1, rim, k + 1), node(i, rim, k + 1)});
                facets.push_back({node(rim, i, k), node(rim, i + 1, k), node(rim, i + 1, k + 1), node(rim, i, k + 1)});
            }
    facetNode_ = meshmapping::RowTable<int>(static_cast<int>(facets.size()), 5);
    for (std::size_t f = 0; f < facets.size(); ++f)
    {
        int* row = facetNode_[static_cast<int>(f) + 1];
        row[0] = 4;
        std::copy(facets[f].begin(), facets[f].end(), row + 1);
    }
    nodeFacet_ = meshmapping::RowTable<int>(voxel_.total(), 10);
    CTAVTransfer20to02 transfer;
    transfer.Get02From20(static_cast<int>(facets.size()), facetNode_.data(), voxel_.total(), nodeFacet_.data());
}

meshmapping::VoxelTarget ThinPlate::target() const
{
    return {voxel_.points(), voxel_.kinds(), {nodeOfCompact_.data(), voxel_.total()}, tree_.get(), edge * edge};
}

opensuite::MeshModel ThinPlate::model() const
{
    opensuite::MeshModel model;
    model.title = "thin plate";
    model.cellSize = edge;
    const auto coordinates = [](const PlateNodes& nodes, opensuite::MeshZone& zone)
    {
        zone.x.assign(nodes.x.begin() + 1, nodes.x.end());
        zone.y.assign(nodes.y.begin() + 1, nodes.y.end());
        zone.z.assign(nodes.z.begin() + 1, nodes.z.end());
    };
    coordinates(voxel_, model.voxel);
    coordinates(cutCell_, model.cutCell);
    const int line = cells_ + 1;
    for (int k = 0; k < layers; ++k)
        for (int j = 0; j < cells_; ++j)
            for (int i = 0; i < cells_; ++i)
            {
                const int n = 1 + i + line * (j + line * k), above = n + line * line;
                const std::int32_t corner[8] = {n, n + 1, n + 1 + line, n + line, above, above + 1, above + 1 + line, above + line};
                model.voxel.plastic.add(opensuite::CellKind::Hexa8, corner, opensuite::body::part);
                std::int32_t cut[8];
                std::ranges::transform(corner, cut, [this](int node) { return cutCellOfVoxel_[static_cast<std::size_t>(node)]; });
                model.cutCell.plastic.add(opensuite::CellKind::Hexa8, cut, opensuite::body::part);
            }
    for (int f = 1; f < facetNode_.rowTotal(); ++f)
    {
        opensuite::SurfaceFacet facet, cut;
        for (std::size_t k = 0; k < 4; ++k)
        {
            facet.node[k] = facetNode_[f][k + 1];
            cut.node[k] = cutCellOfVoxel_[static_cast<std::size_t>(facet.node[k])];
        }
        model.voxel.surface.push_back(facet);
        model.cutCell.surface.push_back(cut);
    }
    return model;
}

} // namespace tav3d::benchmarks
