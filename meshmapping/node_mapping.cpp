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

void pickUpNodeValues(const CutCellSources& cutCell, const NodeKinds& voxelKinds, const PickUpRules& rules,
                      NumberedSpan<const float> voxelValue, NumberedSpan<float> cutCellValue, float& max, float& min)
{
    for (int j = 1; j <= cutCellValue.count(); ++j)
    {
        const int v = cutCell.voxelNode[j];
        if (v > voxelValue.count())
        {
            if (rules.substitute)
                cutCellValue[j] = rules.substituteValue;
            continue;
        }
        const float picked = voxelValue[v];
        cutCellValue[j] = picked;

        // DELIBERATE region-rule-cooling-only: the region is looked at only where values are substituted at all.
        if (rules.substitute && rules.neighbours && contradictsRegion(cutCell.region[j], voxelKinds, v))
            cutCellValue[j] = rules.substituteValue;

        // DELIBERATE neighbour-override: in every kind of file, and after the region rule, which it undoes.
        if (rules.neighbours && cutCell.kinds.onSurface(j))
        {
            const int nearest = cutCell.neighbour[cutCell.rowOfNode[j]][1];
            if (nearest <= voxelValue.count())
                cutCellValue[j] = voxelValue[nearest];
        }

        // DELIBERATE range-of-picked-values: the range takes the value first picked up, not the one that was stored.
        if (picked > max)
            max = picked;
        if (picked < min)
            min = picked;
    }
}

} // namespace tav3d::meshmapping
