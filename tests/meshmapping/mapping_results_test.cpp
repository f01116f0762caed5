// The operations on results, through the object, and properties that every mapping has.

#include "Tav3dMeshMappingArrary.h"

#include "support/mapping_checks.h"
#include "support/mapping_models.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <numeric>

namespace tav3d::test::mapping_results_test
{
namespace
{

using Object = CTav3dMeshMappingArrary;
using Inspector = CTav3dMeshMappingArrary_Inspector;
using opensuite::MeshModel;

TEST(HostSmoothing, makes_five_sweeps_per_iteration_and_only_reads_its_input)
{
    Object o;
    std::vector<double> x(61), zero(61, 0.0);
    std::iota(x.begin(), x.end(), 0.0);
    EXPECT_EQ(o.Initialize_SmoothData(60, x.data(), zero.data(), zero.data(), 1.0), 1);
    std::vector<double> value(61), once(61), twice(61), again(61);
    for (int i = 1; i <= 60; ++i)
        value[static_cast<std::size_t>(i)] = i % 3 * 0.1;
    const auto before = value;
    EXPECT_EQ(o.MultiplySmoothData(value.data(), once.data(), 0), 1);
    EXPECT_EQ(std::vector<double>(once.begin() + 1, once.end()), std::vector<double>(value.begin() + 1, value.end()));
    o.MultiplySmoothData(value.data(), once.data(), 1);
    EXPECT_EQ(value, before);
    o.MultiplySmoothData(value.data(), twice.data(), 2);
    o.MultiplySmoothData(once.data(), again.data(), 1);
    EXPECT_EQ(again, twice);
    EXPECT_NE(once, twice);
}

TEST(NodeAverageMember, averages_over_the_gauss_rows)
{
    const MeshModel model = plateModel();
    MappedModel mapped(model, 1, 0);
    const VoxelReference voxel = voxelReference(model);
    std::vector<float> value(253), work(253);
    for (int i = 1; i <= 252; ++i)
        value[static_cast<std::size_t>(i)] = static_cast<float>(i % 17);
    std::vector<float> expected = value;
    for (int i = 1; i <= 252; ++i)
    {
        if (!hasGaussRow(voxel, i))
            continue;
        const auto row = gaussRowReference(voxel, i).node;
        float sum = expected[static_cast<std::size_t>(i)];
        for (const int k : row)
            sum += expected[static_cast<std::size_t>(k)];
        expected[static_cast<std::size_t>(i)] = sum / static_cast<float>(row.size() + 1);
    }
    Inspector::average(mapped.object, 252, value.data(), work.data());
    EXPECT_EQ(value, expected);
}

TEST(MappingProperties, a_constant_field_stays_constant_through_pick_up_and_to_rounding_through_smoothing)
{
    for (const int mode : {0, 1, 2})
    {
        MappedModel mapped(plateWithInsertModel(0.95f), mode, 0);
        std::vector<float> voxel(253, 230.0f), work(253), result(253, -1.0f);
        float max = -1.0e30f, min = 1.0e30f;
        mapped.object.MappingVoxel2CutcellNodeResult(false, 252, 252, voxel.data(), result.data(), max, min, work.data());
        EXPECT_EQ(std::count(result.begin() + 1, result.end(), 230.0f), 252);
        EXPECT_EQ(max, 230.0f);
        EXPECT_EQ(min, 230.0f);
        if (mode != 1)
            continue;
        mapped.object.MappingVoxel2CutcellNodeResult(true, 252, 252, voxel.data(), result.data(), max, min, work.data());
        for (int j = 1; j <= 252; ++j)
            EXPECT_NEAR(result[static_cast<std::size_t>(j)], 230.0f, 230.0f * 1e-5f);
    }
}

TEST(MappingProperties, smoothing_stays_within_the_values_when_no_weight_is_negative)
{
    MappedModel mapped(plateWithInsertModel(), 1, 0);
    for (int row = 1; row <= Inspector::m_nVoxelSurfNode(mapped.object); ++row)
        ASSERT_GE(Inspector::m_pfVoxelSelfWeight(mapped.object)[row], 0.0f);
    std::vector<float> value(253), work(253);
    for (int i = 1; i <= 252; ++i)
        value[static_cast<std::size_t>(i)] = static_cast<float>(std::cos(1.7 * i)) + 3.0f;
    const auto [low, high] = std::minmax_element(value.begin() + 1, value.end());
    const float least = *low, most = *high;
    Inspector::smooth(mapped.object, 252, value.data(), work.data());
    EXPECT_GE(*std::min_element(value.begin() + 1, value.end()), least * 0.99999f);
    EXPECT_LE(*std::max_element(value.begin() + 1, value.end()), most * 1.00001f);
}

TEST(MappingProperties, renumbering_the_nodes_permutes_the_result_and_changes_nothing_else)
{
    // Cut-cell nodes lie off the voxel grid, so that no choice between equally near nodes depends on numbers.
    MeshModel model = plateWithInsertModel();
    for (std::size_t n = 0; n < model.cutCell.nodeTotal(); ++n)
    {
        model.cutCell.x[n] = model.cutCell.x[n] * 0.91f + 0.313f;
        model.cutCell.y[n] = model.cutCell.y[n] * 0.93f + 0.127f;
        model.cutCell.z[n] = model.cutCell.z[n] * 0.97f + 0.071f;
    }
    std::vector<int> newNumber(253, 0);
    for (int i = 1; i <= 252; ++i)
        newNumber[static_cast<std::size_t>(i)] = (i * 5) % 252 + 1;
    MeshModel moved = model;
    moved.voxel = renumbered(model.voxel, newNumber);
    moved.cutCell = renumbered(model.cutCell, newNumber);

    for (const int insertMode : {0, 1})
    {
        MappedModel before(model, 1, insertMode), after(moved, 1, insertMode);
        std::vector<float> value(253), movedValue(253), result(253), movedResult(253), work(253);
        for (std::size_t i = 1; i <= 252; ++i)
            movedValue[static_cast<std::size_t>(newNumber[i])] = value[i] = static_cast<float>(std::sin(0.1 * static_cast<double>(i)));
        float max = -1.0e30f, min = 1.0e30f, movedMax = max, movedMin = min;
        before.object.MappingVoxel2CutcellNodeResult(false, 252, 252, value.data(), result.data(), max, min, work.data());
        after.object.MappingVoxel2CutcellNodeResult(false, 252, 252, movedValue.data(), movedResult.data(), movedMax, movedMin,
                                                    work.data());
        for (std::size_t j = 1; j <= 252; ++j)
            EXPECT_EQ(movedResult[static_cast<std::size_t>(newNumber[j])], result[j]) << "cut-cell node " << j;
        EXPECT_EQ(movedMax, max);
        EXPECT_EQ(movedMin, min);
    }
}

TEST(MappingResults, fewer_values_than_nodes_are_mapped_as_far_as_they_go)
{
    MappedModel mapped(plateModel(), 1, 0);
    std::vector<float> voxel(101, 4.0f), work(101), result(253, 55.0f);
    float max = -1.0e30f, min = 1.0e30f;
    Inspector::m_iResultFileType(mapped.object) = 0;
    mapped.object.MappingVoxel2CutcellNodeResult(true, 100, 252, voxel.data(), result.data(), max, min, work.data());
    EXPECT_EQ(result[200], 55.0f) << "its voxel node has no value: it keeps what it held";
    EXPECT_EQ(result[50], 4.0f);
    Inspector::m_iResultFileType(mapped.object) = 2;
    Inspector::m_fResultMinValue(mapped.object) = -1.0f;
    mapped.object.MappingVoxel2CutcellNodeResult(false, 100, 252, voxel.data(), result.data(), max, min, work.data());
    EXPECT_EQ(result[200], -1.0f);
}

} // namespace
} // namespace tav3d::test::mapping_results_test
