#include "gauss_walk.h"

#include "common/exact_math.h"

#include <cmath>

// The plain form: what the search does, written down; gauss_neighbours_fast.cpp does the same in a tenth of the time.
//
// Candidates come from a walk over the boundary facets, three rings of facets outward, and not from a box search: a thin wall has another
// wall close by, whose values must not leak through, and the walk stays on the surface.

namespace tav3d::meshmapping
{
namespace
{

/// The walk from one node. Each node is looked at once per start, in the order in which facets and corners are listed.
class FacetWalk
{
public:
    FacetWalk(const NodePoints& points, const NodeKinds& kinds, NumberedSpan<const int> fixed, const FacetTables& facets)
        : points_(points)
        , kinds_(kinds)
        , fixed_(fixed)
        , facets_(facets)
        , seenFrom_(makeNumbered<int>(kinds.part.count()))
    {
    }

    void collect(int start, Candidates& found)
    {
        found.count = 0;
        for (int facet1 : facetsAt(start))
            for (int corner1 : cornersOf(facet1))
                for (int facet2 : facetsAt(corner1))
                    for (int corner2 : cornersOf(facet2))
                        for (int facet3 : facetsAt(corner2))
                            for (int node : cornersOf(facet3))
                                lookAt(node, start, found);
    }

private:
    [[nodiscard]] std::span<const int> facetsAt(int node) const
    {
        return facets_.nodeFacet ? listItems(facets_.nodeFacet[node]) : std::span<const int>();
    }
    [[nodiscard]] std::span<const int> cornersOf(int facet) const { return listItems(facets_.facetNode[facet]); }

    void lookAt(int node, int start, Candidates& found)
    {
        if (seenFrom_[node] == start)
            return;
        seenFrom_[node] = start;
        // Part mark and part-insert mark must both match: a node of the part/part-insert interface does not mix with the plain part surface.
        const bool sameKind = kinds_.part[node] == kinds_.part[start] && kinds_.partInsert[node] == kinds_.partInsert[start];
        if (!sameKind || node == start || fixed_[node] == 1)
            return;
        // DELIBERATE gauss-first-fifty: the first 50 in walk order stay, also when nearer nodes follow.
        if (found.count == gaussNeighbourCap)
            return;
        const double distance = squaredDistance(points_, node, points_.x[start], points_.y[start], points_.z[start]);
        found.item[found.count++] = {distance, node};
    }

    NodePoints points_;
    NodeKinds kinds_;
    NumberedSpan<const int> fixed_;
    FacetTables facets_;
    std::unique_ptr<int[]> seenFrom_; // per node: the start that saw it last
};

} // namespace

float gaussNorm(float pi)
{
    // DELIBERATE five-digit-pi: 3.1416 makes the norm 0x3d860911.
    const double deviation = static_cast<double>(1.4f);
    const double x = static_cast<double>(pi) * deviation * deviation;
    return static_cast<float>(1.0 / (x * std::sqrt(x)));
}

float gaussWeight(double squaredDistance, const GaussKernel& kernel, double c, float norm)
{
    const double scale = static_cast<double>(3.92f); // 2·1.4², as single precision has it
    const double exponent = -squaredDistance / (static_cast<double>(kernel.elementLengthSquared) * c * c) / scale;
    return static_cast<float>(common::exponential(exponent)) * norm;
}

float fitGaussKernel(std::span<const DistantNode> nearestFirst, const GaussKernel& kernel, float norm, int* neighbour, float* weight)
{
    float self = 1.0f;
    for (int j = 0; j < 10; ++j)
    {
        const double c = 1.0 - 0.1 * j;
        self = 1.0f;
        int t = 0;
        for (const DistantNode& near : nearestFirst)
        {
            ++t;
            const float w = gaussWeight(near.squaredDistance, kernel, c, norm);
            self = self - w;
            weight[t] = w;
            neighbour[t] = near.node;
        }
        if (!(self <= leastSelfWeight))
            break;
    }
    return self;
}

GaussNeighbours findGaussNeighboursPlain(const NodePoints& points, const NodeKinds& kinds, NumberedSpan<const int> fixed,
                                         const FacetTables& facets, const GaussKernel& kernel, int rowTotal, int rowLength)
{
    const int nodeTotal = kinds.part.count();
    GaussNeighbours rows{makeNumbered<int>(nodeTotal), RowTable<int>(rowTotal, rowLength), RowTable<float>(rowTotal, rowLength),
                         makeNumbered<int>(rowTotal), makeNumbered<float>(rowTotal)};
    const float norm = gaussNorm(kernel.pi);

    FacetWalk walk(points, kinds, fixed, facets);
    Candidates found;
    int row = 0;
    for (int node = 1; node <= nodeTotal; ++node)
    {
        if (!kinds.onSurface(node) || fixed[node] == 1)
            continue;
        rows.rowOfNode[node] = ++row;
        walk.collect(node, found);
        const std::span<DistantNode> near = found.items();
        std::sort(near.begin(), near.end(), isNearer);
        rows.selfWeight[row] = fitGaussKernel(near, kernel, norm, rows.neighbour[row], rows.weight[row]);
        rows.count[row] = found.count;
    }
    return rows;
}

} // namespace tav3d::meshmapping
