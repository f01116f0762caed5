#include "node_mapping.h"

namespace tav3d::meshmapping
{
namespace
{

/// A surface node must not take its value from a voxel node off that surface: region 1 asks for a part node, region 2 for a part-insert node.
bool contradictsRegion(int region, const NodeKinds& voxelKinds, int voxelNode)
{
    return (region == 1 && voxelKinds.part[voxelNode] != 1) || (region == 2 && voxelKinds.partInsert[voxelNode] != 1);
}

} // namespace

PickUp pickUpOf(const CutCellSources& cutCell, const NodeKinds& voxelKinds, const PickUpRules& rules, int voxelValueTotal, int cutCellNode)
{
    const int assigned = cutCell.voxelNode[cutCellNode];
    if (assigned > voxelValueTotal)
        return {PickUpRule::OutOfRange, assigned};

    // DELIBERATE neighbour-override: in every kind of file, and before the region rule, which it makes void.
    if (rules.neighbours && cutCell.kinds.onSurface(cutCellNode))
    {
        const int nearest = cutCell.neighbour[cutCell.rowOfNode[cutCellNode]][1];
        if (nearest <= voxelValueTotal)
            return {PickUpRule::NearestOfKind, nearest};
    }

    // DELIBERATE region-rule-cooling-only: the region is looked at only where values are substituted at all.
    if (rules.substitute && rules.neighbours && contradictsRegion(cutCell.region[cutCellNode], voxelKinds, assigned))
        return {PickUpRule::WrongKind, assigned};
    return {PickUpRule::AssignedNode, assigned};
}

void pickUpNodeValues(const CutCellSources& cutCell, const NodeKinds& voxelKinds, const PickUpRules& rules,
                      NumberedSpan<const float> voxelValue, NumberedSpan<float> cutCellValue, float& max, float& min)
{
    for (int j = 1; j <= cutCellValue.count(); ++j)
    {
        const PickUp source = pickUpOf(cutCell, voxelKinds, rules, voxelValue.count(), j);
        if (source.rule == PickUpRule::OutOfRange)
        {
            if (rules.substitute)
                cutCellValue[j] = rules.substituteValue;
            continue;
        }
        const float picked = voxelValue[cutCell.voxelNode[j]]; // read first: nothing that is stored may change it
        cutCellValue[j] = source.rule == PickUpRule::WrongKind ? rules.substituteValue : voxelValue[source.voxelNode];

        // DELIBERATE range-of-picked-values: the range takes the assigned node's value, not the one that was stored.
        if (picked > max)
            max = picked;
        if (picked < min)
            min = picked;
    }
}

} // namespace tav3d::meshmapping
