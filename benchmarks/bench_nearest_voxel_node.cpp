// The nearest voxel node of every cut-cell node, one million of each: nine in ten cut-cell nodes stand on a voxel node, the tenth was moved by up to
// half a cell; a slab of the lattice is plastic. The peer: nanoflann's tree of each body's nodes built, then asked for every cut-cell node.

#include "benchmarks/row_data.h"
#include "opensuite/nearest_voxel_node.h"

#include <benchmark/benchmark.h>

#include <array>
#include <random>
#include <vector>

#ifdef TAV3D_BENCHMARK_NANOFLANN
#include <nanoflann.hpp>
#endif

namespace
{

using namespace tav3d::opensuite;

struct Lattices
{
    std::array<std::vector<float>, 3> voxel, cut;
    std::vector<NodeBody> body;
};

/// n = edge³ nodes each
Lattices makeLattices(int edge)
{
    std::mt19937_64 random(1);
    std::uniform_real_distribution<float> by(-0.5f, 0.5f);
    Lattices made;
    for (int i = 0; i < edge * edge * edge; ++i)
    {
        const int at[3] = {i % edge, i / edge % edge, i / edge / edge};
        const bool isMoved = random() % 10 == 0;
        for (std::size_t k = 0; k < 3; ++k)
        {
            made.voxel[k].push_back(float(at[k]));
            made.cut[k].push_back(float(at[k]) + (isMoved ? by(random) : 0.0f));
        }
        made.body.push_back(at[2] >= 2 * edge / 5 && at[2] < edge / 2 ? NodeBody::Plastic : NodeBody::MoldBase);
    }
    return made;
}

const Lattices& lattices(const benchmark::State& state)
{
    int edge = 1;
    while (edge * edge * edge < state.range(0))
        ++edge;
    return tav3d::benchmarks::RowData::get<Lattices>(std::to_string(edge), [=] { return makeLattices(edge); });
}

void ours(benchmark::State& state)
{
    const Lattices& l = lattices(state);
    std::vector<std::int32_t> nearest(l.body.size());
    for (auto _ : state)
    {
        nearestVoxelNodes({l.cut[0], l.cut[1], l.cut[2], l.body}, {l.voxel[0], l.voxel[1], l.voxel[2], l.body}, nearest);
        benchmark::DoNotOptimize(nearest.data());
    }
}

#ifdef TAV3D_BENCHMARK_NANOFLANN

/// The voxel nodes of one body, as nanoflann wants to see points.
struct BodyNodes
{
    const Lattices& lattices;
    std::vector<std::int32_t> index;

    [[nodiscard]] std::size_t kdtree_get_point_count() const { return index.size(); }
    [[nodiscard]] double kdtree_get_pt(std::size_t i, std::size_t k) const
    {
        return static_cast<double>(lattices.voxel[k][static_cast<std::size_t>(index[i])]);
    }
    template <class Box>
    bool kdtree_get_bbox(Box&) const
    {
        return false;
    }
};

void nanoflannTrees(benchmark::State& state)
{
    using Tree = nanoflann::KDTreeSingleIndexAdaptor<nanoflann::L2_Simple_Adaptor<double, BodyNodes>, BodyNodes, 3, std::uint32_t>;
    const Lattices& l = lattices(state);
    std::vector<std::int32_t> nearest(l.body.size());
    for (auto _ : state)
        for (const NodeBody body : {NodeBody::Plastic, NodeBody::MoldBase})
        {
            BodyNodes nodes{l, {}};
            for (std::size_t i = 0; i < l.body.size(); ++i)
                if (l.body[i] == body)
                    nodes.index.push_back(static_cast<std::int32_t>(i));
            const Tree tree(3, nodes); // builds itself
            for (std::size_t i = 0; i < l.body.size(); ++i)
            {
                if (l.body[i] != body)
                    continue;
                const double at[3] = {l.cut[0][i], l.cut[1][i], l.cut[2][i]};
                std::uint32_t found = 0;
                double distance2 = 0;
                tree.knnSearch(at, 1, &found, &distance2);
                nearest[i] = nodes.index[found] + 1;
            }
            benchmark::DoNotOptimize(nearest.data());
        }
}

#endif

} // namespace

BENCHMARK(ours)->Name("nearest_voxel_node/ours")->Arg(10648)->Arg(97336)->Arg(1000000)->Unit(benchmark::kMillisecond);
#ifdef TAV3D_BENCHMARK_NANOFLANN
BENCHMARK(nanoflannTrees)->Name("nearest_voxel_node/nanoflann")->Arg(10648)->Arg(97336)->Arg(1000000)->Unit(benchmark::kMillisecond);
#endif
