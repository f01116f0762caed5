#include "driver_reference.h"

#include "support/mapping_reference.h"

#include <algorithm>
#include <limits>
#include <set>

namespace tav3d::test
{

using namespace opensuite;

namespace
{

enum class Body
{
    MoldBase,
    PartInsert,
    Plastic
};

std::vector<Body> bodies(const MeshZone& zone)
{
    std::vector<Body> body(zone.nodeTotal() + 1, Body::MoldBase);
    for (std::size_t c = 0; c < zone.moldBase.size(); ++c)
        for (auto k = zone.moldBase.start[c]; k < zone.moldBase.start[c + 1]; ++k)
            if (zone.moldBase.body[c] >= body::firstInsert)
                body[static_cast<std::size_t>(zone.moldBase.node[static_cast<std::size_t>(k)])] = Body::PartInsert;
    for (const PartInsertFacet& facet : zone.partInsert)
        for (const std::int32_t n : facet.node)
            body[static_cast<std::size_t>(n)] = Body::PartInsert;
    for (const std::int32_t n : zone.plastic.node)
        body[static_cast<std::size_t>(n)] = Body::Plastic;
    return body;
}

/// The nearest voxel node of the same body, per cut-cell node.
std::vector<int> assignments(const MeshModel& model)
{
    const std::vector<Body> voxelBody = bodies(model.voxel);
    const std::vector<Body> cutCellBody = bodies(model.cutCell);
    std::vector<int> assigned(model.cutCell.nodeTotal() + 1, 0);
    for (std::size_t j = 1; j < assigned.size(); ++j)
    {
        double nearest = std::numeric_limits<double>::infinity();
        for (std::size_t v = 1; v < voxelBody.size(); ++v)
        {
            const double dx = static_cast<double>(model.cutCell.x[j - 1]) - model.voxel.x[v - 1];
            const double dy = static_cast<double>(model.cutCell.y[j - 1]) - model.voxel.y[v - 1];
            const double dz = static_cast<double>(model.cutCell.z[j - 1]) - model.voxel.z[v - 1];
            const double d2 = dx * dx + dy * dy + dz * dz;
            if (voxelBody[v] == cutCellBody[j] && d2 < nearest)
            {
                nearest = d2;
                assigned[j] = static_cast<int>(v);
            }
        }
    }
    return assigned;
}

/// Five sweeps. The rows were made with the insert's marks (`whenSearched`); whether a node is smoothed is asked with the marks as they are now.
std::vector<float> smoothed(const VoxelReference& whenSearched, const VoxelReference& now, std::vector<float> value)
{
    std::vector<GaussRowReference> rows(value.size());
    for (std::size_t i = 1; i < value.size(); ++i)
        if (hasGaussRow(now, static_cast<int>(i)) && hasGaussRow(whenSearched, static_cast<int>(i)))
            rows[i] = gaussRowReference(whenSearched, static_cast<int>(i));
    for (int sweep = 0; sweep < 5; ++sweep)
    {
        const std::vector<float> before = value;
        for (std::size_t i = 1; i < value.size(); ++i)
        {
            const GaussRowReference& row = rows[i];
            if (row.node.empty() || before[i] == 0.0f)
                continue;
            float sum = before[i] * row.self;
            for (std::size_t k = 0; k < row.node.size(); ++k)
                sum += before[static_cast<std::size_t>(row.node[k])] * row.weight[k];
            value[i] = sum;
        }
    }
    return value;
}

struct ItemRule
{
    bool known;
    bool cavity;
};

ItemRule ruleOf(int fileType, int item)
{
    switch (fileType)
    {
    case 0:
    case 1:
        return {true, std::set{6, 14, 17, 19, 20}.contains(item)};
    case 2:
    case 4:
        return {std::set{1, 2, 3, 4, 5, 16, 17, 33, 53}.contains(item), std::set{1, 2, 17, 53}.contains(item)};
    case 3:
        return {true, false};
    case 6:
        return {true, item == 9};
    default:
        return {false, false};
    }
}

} // namespace

std::vector<MappedItem> mappedReference(const MeshModel& model, const std::vector<VoxelItem>& items, const MappingRun& run)
{
    const bool together = run.partInsertMode == 1;
    const VoxelReference voxel = voxelReference(model);
    const CutCellReference cutCell = cutCellReference(model, together);
    const std::vector<int> assigned = assignments(model);

    // With part and part insert taken together, the search clears the voxel marks of the insert; a mode that reads the meshes again has them back.
    VoxelReference searched = voxel;
    if (together)
        std::fill(searched.insert.begin(), searched.insert.end(), 0);
    const VoxelReference& marks = run.mode == 1 ? searched : voxel;

    const auto nCutCell = static_cast<std::size_t>(cutCell.nodeTotal);
    std::vector<int> nearest(nCutCell + 1, -1); // the nearest voxel node of a part node's own kind, 0 = none; -1 where no such rule holds
    for (std::size_t j = 1; j <= nCutCell; ++j)
        if (run.mode != 0 && (cutCell.part[j] == 1 || cutCell.insert[j] == 1))
            nearest[j] = cutCellRowReference(searched, cutCell, static_cast<int>(j))[0];

    std::vector<float> output(nCutCell + 1, 0.0f); // serves all items
    std::vector<MappedItem> mapped;
    for (const VoxelItem& item : items)
    {
        const ItemRule rule = ruleOf(run.fileType, item.number);
        MappedItem result;
        if (!rule.known)
        {
            result = {true, false, item.value, item.recordedMax, item.recordedMin};
            mapped.push_back(result);
            continue;
        }
        std::vector<float> value = item.value;
        if (run.smooth && run.mode == 1 && rule.cavity)
        {
            value = smoothed(voxel, marks, value);
        }
        result.max = -1.0e30f;
        result.min = 1.0e30f;
        const bool typed = run.fileType == 2 || run.fileType == 4;
        for (std::size_t j = 1; j <= nCutCell; ++j)
        {
            const auto v = static_cast<std::size_t>(assigned[j]);
            const float picked = value[v];
            output[j] = picked;
            const int region = cutCell.region[j];
            if (typed && run.mode != 0 && ((region == 1 && marks.part[v] != 1) || (region == 2 && marks.insert[v] != 1)))
                output[j] = item.recordedMin;
            if (nearest[j] >= 0)
                output[j] = nearest[j] == 0 ? 0.0f : value[static_cast<std::size_t>(nearest[j])];
            result.max = std::max(result.max, picked);
            result.min = std::min(result.min, picked);
        }
        result.value = output;
        const bool cooling = run.fileType == 2 || run.fileType == 3 || run.fileType == 4;
        result.throughMap = item.type == 3 || (item.type == 5 && cooling);
        if (result.throughMap)
        {
            const std::vector<int>& mark = item.type == 3 ? cutCell.moldBase : cutCell.part;
            for (std::size_t j = 1; j <= nCutCell; ++j)
                if (mark[j] != 1)
                    result.value[j] = 0.0f;
            result.max = item.recordedMax;
            result.min = item.recordedMin;
        }
        mapped.push_back(result);
    }
    return mapped;
}

} // namespace tav3d::test
