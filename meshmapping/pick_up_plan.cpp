#include "pick_up_plan.h"

#include <array>

namespace tav3d::meshmapping
{
namespace
{

/// The extremes in four lanes, so that a value waits for no comparison but the last of its lane.
class Extremes
{
public:
    Extremes(float max, float min) noexcept
    {
        max_.fill(max);
        min_.fill(min);
    }

    void add(const float* value, std::size_t n) noexcept
    {
        std::array<float, lanes> max = max_; // copies, which `value` cannot overlap, stay in registers
        std::array<float, lanes> min = min_;
        std::size_t i = 0;
        for (; i + lanes <= n; i += lanes)
            for (std::size_t k = 0; k < lanes; ++k)
            {
                const float x = value[i + k];
                max[k] = x > max[k] ? x : max[k];
                min[k] = x < min[k] ? x : min[k];
            }
        for (; i < n; ++i)
        {
            max[0] = value[i] > max[0] ? value[i] : max[0];
            min[0] = value[i] < min[0] ? value[i] : min[0];
        }
        max_ = max;
        min_ = min;
    }

    /// But for the sign of a zero, which is that of any of the zeros that were added.
    [[nodiscard]] float max() const noexcept
    {
        float all = max_[0];
        for (const float lane : max_)
            all = lane > all ? lane : all;
        return all;
    }
    [[nodiscard]] float min() const noexcept
    {
        float all = min_[0];
        for (const float lane : min_)
            all = lane < all ? lane : all;
        return all;
    }

private:
    static constexpr std::size_t lanes = 4;
    std::array<float, lanes> max_, min_;
};

/// Entries first..last of `to` are values of the nodes in `node`.
void gather(const float* value, const int* node, int first, int last, float* to, Extremes& extremes) noexcept
{
    constexpr int block = 2048; // stays in the first cache between the two loops
    for (int begin = first; begin <= last; begin += block)
    {
        const int n = std::min(block, last - begin + 1);
        for (int i = 0; i < n; ++i)
            to[begin + i] = value[node[begin + i]];
        extremes.add(to + begin, static_cast<std::size_t>(n));
    }
}

/// Whether the nodes first .. first+count-1 all take the value of their assigned voxel node, told without a branch per node; false is no answer.
template <int count>
bool allPlain(const CutCellSources& cutCell, bool neighbours, bool regions, int voxelValueTotal, int first) noexcept
{
    const int* const assigned = cutCell.voxelNode.data() + first;
    int beyond = 0;
    for (int k = 0; k < count; ++k)
        beyond |= static_cast<int>(assigned[k] > voxelValueTotal);
    if (neighbours)
    {
        const unsigned char* const part = cutCell.kinds.part.data() + first;
        const unsigned char* const partInsert = cutCell.kinds.partInsert.data() + first;
        unsigned char onSurface = 0;
        for (int k = 0; k < count; ++k)
            onSurface |= static_cast<unsigned char>(part[k] | partInsert[k]);
        beyond |= onSurface;
    }
    if (regions)
    {
        const int* const region = cutCell.region.data() + first;
        for (int k = 0; k < count; ++k)
            beyond |= region[k];
    }
    return beyond == 0;
}

} // namespace

PickUpPlan::PickUpPlan(const CutCellSources& cutCell, const NodeKinds& voxelKinds, const PickUpRules& rules, int voxelValueTotal)
    : assigned_(cutCell.voxelNode)
    , voxelValueTotal_(voxelValueTotal)
    , substitute_(rules.substitute)
{
    const bool regions = rules.substitute && rules.neighbours;
    constexpr int block = 32;
    for (int j = 1; j <= assigned_.count(); ++j)
    {
        if (j % block == 1)
            while (j + block - 1 <= assigned_.count() && allPlain<block>(cutCell, rules.neighbours, regions, voxelValueTotal, j))
                j += block;
        if (j > assigned_.count())
            break;
        const bool plain =
            assigned_[j] <= voxelValueTotal && !(rules.neighbours && cutCell.kinds.onSurface(j)) && !(regions && cutCell.region[j] != 0);
        if (plain)
            continue;
        const PickUp source = pickUpOf(cutCell, voxelKinds, rules, voxelValueTotal, j);
        if (source.rule == PickUpRule::OutOfRange)
            beyond_.push_back(j);
        else if (source.rule == PickUpRule::WrongKind)
            others_.push_back({j, substituted});
        else if (source.voxelNode != assigned_[j])
            others_.push_back({j, source.voxelNode});
    }
}

void PickUpPlan::take(NumberedSpan<const float> voxelValue, float substituteValue, NumberedSpan<float> cutCellValue, float& max,
                      float& min) const
{
    const float* const value = voxelValue.data();
    float* const to = cutCellValue.data();
    Extremes extremes(max, min);
    const auto gatherTo = [&](int first, int last) { gather(value, assigned_.data(), first, last, to, extremes); };
    int next = 1;
    for (const int node : beyond_)
    {
        gatherTo(next, node - 1);
        if (substitute_)
            to[node] = substituteValue;
        next = node + 1;
    }
    gatherTo(next, cutCellValue.count());
    for (const Other& other : others_)
        to[other.node] = other.voxelNode == substituted ? substituteValue : value[other.voxelNode];

    // Among zeros the first that was picked up counts, whatever its sign.
    const auto firstZero = [&]
    {
        std::size_t skipped = 0;
        for (int j = 1;; ++j)
        {
            if (skipped < beyond_.size() && beyond_[skipped] == j)
                ++skipped;
            else if (const float picked = value[assigned_[j]]; picked == 0.0f)
                return picked;
        }
    };
    const float newMax = extremes.max();
    const float newMin = extremes.min();
    max = newMax == 0.0f && max != 0.0f ? firstZero() : newMax;
    min = newMin == 0.0f && min != 0.0f ? firstZero() : newMin;
}

bool PickUpPlan::takeOf(NumberedSpan<const int> node, NumberedSpan<const float> voxelValue, float substituteValue,
                        NumberedSpan<float> value) const
{
    assert(fillsAllNodes() && node.count() == value.count());
    int descents = node.count() > 0 && node[1] < 1;
    for (int i = 2; i <= node.count(); ++i)
        descents += node[i] <= node[i - 1];
    if (descents != 0)
        return false;

    int known = node.count(); // entries 1..known are cut-cell nodes
    for (; known > 0 && node[known] > assigned_.count(); --known)
        value[known] = 0.0f;
    const float* const from = voxelValue.data();
    if (beyond_.empty())
        for (int i = 1; i <= known; ++i)
            value[i] = from[assigned_[node[i]]];
    else
        for (int i = 1; i <= known; ++i)
            value[i] = assigned_[node[i]] > voxelValueTotal_ ? substituteValue : from[assigned_[node[i]]];

    const int* at = node.data() + 1;
    const int* const end = at + known;
    for (const Other& other : others_)
    {
        at = std::lower_bound(at, end, other.node);
        if (at != end && *at == other.node)
            value[static_cast<int>(at - node.data())] = other.voxelNode == substituted ? substituteValue : from[other.voxelNode];
    }
    return true;
}

} // namespace tav3d::meshmapping
