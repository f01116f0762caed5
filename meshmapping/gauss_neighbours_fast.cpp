#include "facet_walk_shapes.h"
#include "gauss_walk.h"

#include <bit>
#include <cstring>

// The fast form of the Gauss search. Rows are those of the plain form, bit for bit:
//
//   - The plain walk looks at 4096 corners around a node of a regular surface and finds 48 nodes. Here a node whose surroundings are those of an
//     earlier node takes over its walk (facet_walk_shapes.h).
//   - It takes over the order by distance as well, which sorts it but for the rounding of coordinates; and when all squared distances are equal to
//     those of the earlier node, bit for bit, the weights.
//   - Squared distances recur on a grid. Their weights are kept.
//   - A row is allocated when it is filled, not before: a table of rows goes through the processor's caches once.

namespace tav3d::meshmapping
{
namespace
{

/// What the nodes of one key have in common.
struct Walk
{
    std::array<int, nearCap + 1> keyRoom{};
    int keyLength = 0; // 0: no walk yet
    int number = 0;    // of this walk among all; patterns know walks by it
    int count = 0;
    std::array<int, gaussNeighbourCap> relative{}; // what is found, in walk order, relative to the node
    std::array<int, gaussNeighbourCap> nearest{};  // places in it, nearest first as it was with the last node

    [[nodiscard]] bool hasKey(std::span<const int> key) const
    {
        return std::ranges::equal(key, std::span(keyRoom.data(), static_cast<std::size_t>(keyLength)));
    }
};

/// A row without its node: what the nodes of one walk have in common whose squared distances are the same, bit for bit.
struct RowPattern
{
    int walk = 0; // its number
    int count = 0;
    std::array<double, gaussNeighbourCap> squaredDistance{}; // in walk order
    std::array<int, gaussNeighbourCap> relative{};           // nearest first
    std::array<float, gaussNeighbourCap> weight{};
    float self = 1.0f;
};

/// The weights of width factor 1, each worked out when it is first asked for.
class KnownWeights
{
public:
    KnownWeights(const GaussKernel& kernel, float norm)
        : kernel_(kernel)
        , norm_(norm)
        , known_(std::size_t{1} << sizeBits, {0.0, gaussWeight(0.0, kernel, 1.0, norm)})
    {
    }

    float operator()(double squaredDistance)
    {
        Entry& entry = known_[(std::bit_cast<std::uint64_t>(squaredDistance) * 0x9e3779b97f4a7c15u) >> (64 - sizeBits)];
        if (entry.squaredDistance != squaredDistance) // no number equals NaN
            entry = {squaredDistance, gaussWeight(squaredDistance, kernel_, 1.0, norm_)};
        return entry.weight;
    }

private:
    struct Entry
    {
        double squaredDistance;
        float weight;
    };
    static constexpr int sizeBits = 12;

    GaussKernel kernel_;
    float norm_;
    std::vector<Entry> known_;
};

class RowMaker
{
public:
    RowMaker(const NodePoints& points, FacetWalkShapes walk, const GaussKernel& kernel)
        : points_(points)
        , walk_(std::move(walk))
        , kernel_(kernel)
        , norm_(gaussNorm(kernel.pi))
        , weightOf_(kernel, norm_)
        , walks_(cacheSize)
        , patterns_(cacheSize)
    {
    }

    /// The row of a node; valid until the next.
    const RowPattern& row(int node)
    {
        Walk& walk = walkFrom(node);
        const auto count = static_cast<std::size_t>(walk.count);
        const double x = points_.x[node], y = points_.y[node], z = points_.z[node];
        std::array<std::uint64_t, gaussNeighbourCap> distance;
        for (std::size_t t = 0; t < count; ++t)
            distance[t] = std::bit_cast<std::uint64_t>(squaredDistance(points_, node + walk.relative[t], x, y, z));

        const std::uint64_t hash = hashOf<std::uint64_t>({distance.data(), count});
        RowPattern& pattern = patterns_[(hash + static_cast<std::uint64_t>(walk.number)) % cacheSize];
        if (pattern.walk != walk.number || std::memcmp(distance.data(), pattern.squaredDistance.data(), count * sizeof(double)) != 0)
        {
            pattern.walk = walk.number;
            pattern.count = walk.count;
            std::memcpy(pattern.squaredDistance.data(), distance.data(), count * sizeof(double));
            weigh(pattern, walk, node);
        }
        return pattern;
    }

private:
    Walk& walkFrom(int node)
    {
        const std::span<const int> key = walk_.keyOf(node, keyRoom_);
        Walk& walk = walks_[hashOf(key) % cacheSize];
        if (!walk.hasKey(key))
        {
            walk.keyLength = static_cast<int>(key.size());
            std::ranges::copy(key, walk.keyRoom.begin());
            walk.number = ++walkTotal_;
            walk.count = walk_.walk(node, found_.data());
            for (std::size_t t = 0; t < static_cast<std::size_t>(walk.count); ++t)
            {
                walk.relative[t] = found_[t] - node;
                walk.nearest[t] = static_cast<int>(t);
            }
        }
        return walk;
    }

    /// Sorts and weighs a pattern with a new walk or new distances.
    void weigh(RowPattern& pattern, Walk& walk, int node)
    {
        const auto count = static_cast<std::size_t>(walk.count);
        near_.count = walk.count;
        // By insertion: what is nearly sorted costs little.
        for (std::size_t t = 0; t < count; ++t)
        {
            const int place = walk.nearest[t];
            const DistantNode item{pattern.squaredDistance[static_cast<std::size_t>(place)],
                                   node + walk.relative[static_cast<std::size_t>(place)]};
            std::size_t to = t;
            for (; to > 0 && isNearer(item, near_.item[to - 1]); --to)
            {
                near_.item[to] = near_.item[to - 1];
                walk.nearest[to] = walk.nearest[to - 1];
            }
            near_.item[to] = item;
            walk.nearest[to] = place;
        }
        pattern.self = 1.0f;
        for (std::size_t t = 0; t < count; ++t)
        {
            const DistantNode& item = near_.item[t];
            pattern.relative[t] = item.node - node;
            pattern.weight[t] = weightOf_(item.squaredDistance);
            pattern.self = pattern.self - pattern.weight[t];
        }
        if (pattern.self <= leastSelfWeight)
        {
            pattern.self = fitGaussKernel(near_.items(), kernel_, norm_, fittedNode_.data(), fittedWeight_.data());
            std::copy_n(fittedWeight_.data() + 1, count, pattern.weight.data());
        }
    }

    static constexpr std::size_t cacheSize = 1024;

    NodePoints points_;
    FacetWalkShapes walk_;
    GaussKernel kernel_;
    float norm_;
    KnownWeights weightOf_;
    std::vector<Walk> walks_; // by the hash of the key
    int walkTotal_ = 0;
    std::vector<RowPattern> patterns_; // by the hash of walk and distances
    std::array<int, nearCap + 1> keyRoom_;
    std::array<int, gaussNeighbourCap + 1> found_, fittedNode_;
    std::array<float, gaussNeighbourCap + 1> fittedWeight_;
    Candidates near_;
};

} // namespace

GaussNeighbours findGaussNeighbours(const NodePoints& points, const NodeKinds& kinds, NumberedSpan<const int> fixed,
                                    const FacetTables& facets, const GaussKernel& kernel, int rowTotal, int rowLength)
{
    const int nodeTotal = kinds.part.count();
    GaussNeighbours rows{makeNumbered<int>(nodeTotal), RowTable<int>::withoutRows(rowTotal, rowLength),
                         RowTable<float>::withoutRows(rowTotal, rowLength), makeNumbered<int>(rowTotal), makeNumbered<float>(rowTotal)};
    RowMaker maker(points, FacetWalkShapes(kinds, fixed, facets), kernel);
    rows.neighbour.newRow(0, 0);
    rows.weight.newRow(0, 0);
    int row = 0;
    for (int node = 1; node <= nodeTotal; ++node)
    {
        if (!kinds.onSurface(node) || fixed[node] == 1)
            continue;
        rows.rowOfNode[node] = ++row;
        const RowPattern& made = maker.row(node);
        rows.selfWeight[row] = made.self;
        rows.count[row] = made.count;
        int* const neighbour = rows.neighbour.newRow(row, made.count + 1);
        float* const weight = rows.weight.newRow(row, made.count + 1);
        neighbour[0] = 0;
        weight[0] = 0.0f;
        for (int t = 0; t < made.count; ++t)
        {
            neighbour[t + 1] = node + made.relative[static_cast<std::size_t>(t)];
            weight[t + 1] = made.weight[static_cast<std::size_t>(t)];
        }
    }
    while (++row <= rowTotal)
    {
        rows.neighbour.newRow(row, 0);
        rows.weight.newRow(row, 0);
    }
    return rows;
}

} // namespace tav3d::meshmapping
