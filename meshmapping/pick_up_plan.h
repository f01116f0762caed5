#pragma once

// The pick-up for a whole result file: what does not depend on the values is worked out once, for all items.

#include "node_mapping.h"

#include <vector>

namespace tav3d::meshmapping
{

/// The sources of all cut-cell nodes for items of one length. Nearly every node takes the value of its assigned voxel node; the plan lists those that do not,
/// so that an item costs one pass over the assigned nodes and a few stores. The plain form follows the surface nodes' rows of neighbours anew for each item.
class PickUpPlan
{
public:
    /// The views are kept; the tables behind them must outlive the plan. Of `rules` the substitute is not looked at, it comes with the items.
    PickUpPlan(const CutCellSources& cutCell, const NodeKinds& voxelKinds, const PickUpRules& rules, int voxelValueTotal);

    [[nodiscard]] int voxelValueTotal() const noexcept { return voxelValueTotal_; }

    /// Whether every node gets a value from any item, also from a shorter one, so that none ever keeps what `cutCellValue` held.
    [[nodiscard]] bool fillsAllNodes() const noexcept { return substitute_; }

    /// Does what pickUpNodeValues does, bit for bit.
    ///   voxelValue    voxelValueTotal() values, and entry 0
    ///   cutCellValue  one per cut-cell node; must not overlap `voxelValue`, nor may max and min lie in either
    void take(NumberedSpan<const float> voxelValue, float substituteValue, NumberedSpan<float> cutCellValue, float& max, float& min) const;

    /// The values of some nodes alone, whose range nobody asks for: value[i] = what `take` gives to node[i], 0 beyond the cut-cell nodes. For plans that fill
    /// all nodes.
    ///   node   1 or more, ascending, none twice; otherwise this returns false, and `value` is as it was
    ///   value  as long as `node`
    [[nodiscard]] bool takeOf(NumberedSpan<const int> node, NumberedSpan<const float> voxelValue, float substituteValue,
                              NumberedSpan<float> value) const;

private:
    struct Other
    {
        int node;      // a cut-cell node
        int voxelNode; // whose value it takes in place of its assigned node's; `substituted` = the substitute
    };
    static constexpr int substituted = -1;

    NumberedSpan<const int> assigned_;
    int voxelValueTotal_;
    bool substitute_;
    std::vector<Other> others_; // ascending, without those of `beyond_`
    std::vector<int> beyond_;   // cut-cell nodes whose assigned node lies beyond the values, ascending
};

} // namespace tav3d::meshmapping
