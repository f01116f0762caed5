#include "map_origins.h"

#include "meshmapping/mapping_array_view.h"

#include <cmath>

namespace tav3d::tools
{

namespace
{

using View = CTav3dMeshMappingArrary_View;
using meshmapping::PickUp;
using meshmapping::PickUpRule;

std::vector<std::int32_t>& of(std::array<std::vector<std::int32_t>, allRegions.size()>& lists, Region region)
{
    return lists[static_cast<std::size_t>(region)];
}

ValueRule reportedRule(PickUpRule rule)
{
    switch (rule)
    {
    case PickUpRule::NearestOfKind:
        return ValueRule::nearestOfKind;
    case PickUpRule::WrongKind:
        return ValueRule::wrongKind;
    case PickUpRule::OutOfRange:
        return ValueRule::outOfRange;
    case PickUpRule::AssignedNode:
        break;
    }
    return ValueRule::assignedNode;
}

} // namespace

RegionNodes regionNodesOf(const CTav3dMeshMappingArrary& model)
{
    RegionNodes nodes;
    const meshmapping::NodeKinds voxelKinds = View::voxelKinds(model);
    const auto voxelPlastic = View::voxelPlastic(model);
    for (int node = 1; node <= View::voxelNodeTotal(model); ++node)
    {
        const bool onPart = voxelKinds.part[node] == 1;
        const bool inPlastic = voxelPlastic[node] == 1;
        of(nodes.voxel, Region::all).push_back(node);
        if (onPart)
            of(nodes.voxel, Region::partSurface).push_back(node);
        if (voxelKinds.partInsert[node] == 1)
            of(nodes.voxel, Region::partInsertSurface).push_back(node);
        if (inPlastic && !onPart)
            of(nodes.voxel, Region::plasticInside).push_back(node);
        if (!inPlastic)
            of(nodes.voxel, Region::moldBase).push_back(node);
    }

    const meshmapping::CutCellSources cutCell = View::cutCellSources(model);
    const auto plastic = View::cutCellPlastic(model);
    const auto moldBase = View::cutCellMoldBase(model);
    for (int node = 1; node <= View::cutCellNodeTotal(model); ++node)
    {
        const bool onPart = cutCell.kinds.part[node] == 1;
        of(nodes.cutCell, Region::all).push_back(node);
        if (onPart)
            of(nodes.cutCell, Region::partSurface).push_back(node);
        if (cutCell.region[node] == 2 || cutCell.kinds.partInsert[node] == 1)
            of(nodes.cutCell, Region::partInsertSurface).push_back(node);
        if (plastic[node] && !onPart)
            of(nodes.cutCell, Region::plasticInside).push_back(node);
        if (moldBase[node])
            of(nodes.cutCell, Region::moldBase).push_back(node);
    }
    return nodes;
}

ValueSources valueSourcesOf(const CTav3dMeshMappingArrary& model, int fileType, int voxelValueTotal)
{
    const meshmapping::CutCellSources cutCell = View::cutCellSources(model);
    const meshmapping::NodeKinds voxelKinds = View::voxelKinds(model);
    const meshmapping::PickUpRules rules = View::rules(model, fileType, 0.0f); // the minimum decides no rule
    const meshmapping::NodePoints voxel = View::voxelPoints(model);
    const meshmapping::NodePoints points = View::cutCellPoints(model);
    const int total = View::cutCellNodeTotal(model);
    const auto entries = static_cast<std::size_t>(total) + 1;

    ValueSources sources{std::vector<ValueRule>(entries), std::vector<double>(entries, -1.0), std::vector<std::uint8_t>(entries, 0)};
    for (int node = 1; node <= total; ++node)
    {
        const auto j = static_cast<std::size_t>(node);
        const PickUp source = meshmapping::pickUpOf(cutCell, voxelKinds, rules, voxelValueTotal, node);
        const bool took = source.rule == PickUpRule::AssignedNode || source.rule == PickUpRule::NearestOfKind;
        sources.rule[j] = reportedRule(source.rule);
        sources.replaced[j] = !took && rules.substitute ? 1 : 0;
        if (took && source.voxelNode >= 1)
            sources.distance[j] =
                std::sqrt(meshmapping::squaredDistance(voxel, source.voxelNode, points.x[node], points.y[node], points.z[node]));
    }
    return sources;
}

ValueOrigin originOf(const ValueSources& sources, std::span<const std::int32_t> nodes, std::span<const char> stored, double cellSize)
{
    ValueOrigin origin;
    for (const std::int32_t node : nodes)
    {
        const auto j = static_cast<std::size_t>(node);
        if (!stored.empty() && stored[j] == 0)
            continue;
        ++origin.nodes;
        ++origin.nodesByRule[static_cast<std::size_t>(sources.rule[j])];
        if (sources.distance[j] >= 0.0)
            addDistance(origin.distances, sources.distance[j], cellSize);
    }
    return origin;
}

} // namespace tav3d::tools
