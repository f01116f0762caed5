// The mapping of a real part, in every mode, against references that scan all nodes.

#include "support/mapping_checks.h"
#include "tools/model_builder.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace tav3d::test::mapping_of_housing_test
{
namespace
{

using Inspector = CTav3dMeshMappingArrary_Inspector;

const opensuite::MeshModel& housing(bool withInsert)
{
    static const auto build = [](bool insert)
    {
        const std::string data = TAV3D_SOURCE_DIR "/data/";
        std::vector<tools::NamedSurface> inserts;
        if (insert)
            inserts.push_back({"insert.stl", tools::readStl(data + "insert.stl")});
        tools::ModelOptions options;
        options.cellSize = 2.0; // about 12,000 voxel and 19,000 cut-cell nodes
        options.margin = 1;
        options.scaleFactor = 0.1;
        return tools::buildModel({"housing.stl", tools::readStl(data + "housing.stl")}, inserts, options).model;
    };
    static const opensuite::MeshModel plain = build(false), inserted = build(true);
    return withInsert ? inserted : plain;
}

struct Case
{
    bool withInsert;
    int mode, insertMode;

    [[nodiscard]] std::string name() const
    {
        return std::string(withInsert ? "insert" : "plain") + "_mode" + std::to_string(mode) + "_insertmode" + std::to_string(insertMode);
    }
    friend void PrintTo(const Case& c, std::ostream* out) { *out << c.name(); }
};

class HousingMapping : public testing::TestWithParam<Case>
{
};

TEST_P(HousingMapping, agrees_with_the_references)
{
    const auto [withInsert, mode, insertMode] = GetParam();
    const opensuite::MeshModel& model = housing(withInsert);
    ASSERT_GT(model.voxel.nodeTotal(), 10000u);
    ASSERT_EQ(model.cutCell.partInsert.empty(), !withInsert);
    MappedModel mapped(model, mode, insertMode);
    EXPECT_EQ(mapped.console, "");
    expectAgreesWithReference(mapped, model, 3);
    expectPickUpAgreesWithReference(mapped, model);
}

TEST_P(HousingMapping, keeps_a_constant_field)
{
    const auto [withInsert, mode, insertMode] = GetParam();
    const opensuite::MeshModel& model = housing(withInsert);
    MappedModel mapped(model, mode, insertMode);
    const int v = static_cast<int>(model.voxel.nodeTotal()), c = static_cast<int>(model.cutCell.nodeTotal());
    std::vector<float> value(static_cast<std::size_t>(v) + 1, 60.0f), work(value.size()), result(static_cast<std::size_t>(c) + 1, 0.0f);
    value[0] = 0.0f;
    float max = -1.0e30f, min = 1.0e30f;
    mapped.object.MappingVoxel2CutcellNodeResult(mode == 1, v, c, value.data(), result.data(), max, min, work.data());
    int without = 0;
    for (int j = 1; j <= c; ++j)
    {
        const float r = result[static_cast<std::size_t>(j)];
        if (r == 0.0f) // a surface node with fewer than ten voxel nodes of its kind in reach reads entry 0
            ++without;
        else
            ASSERT_NEAR(r, 60.0f, 60.0f * 1e-5f) << "cut-cell node " << j;
    }
    int emptyRows = 0;
    if (mode != 0)
        for (int j = 1; j <= c; ++j)
        {
            const int row = Inspector::m_piCutCellNeighborIndex(mapped.object)[j];
            emptyRows += row != 0 && Inspector::m_ppiCutCellNeighbor(mapped.object)[row][1] == 0;
        }
    EXPECT_EQ(without, emptyRows);
}

INSTANTIATE_TEST_SUITE_P(Modes, HousingMapping,
                         testing::Values(Case{false, 0, 0}, Case{false, 1, 0}, Case{false, 2, 0}, Case{false, 1, 1}, Case{true, 0, 0},
                                         Case{true, 0, 1}, Case{true, 1, 0}, Case{true, 1, 1}, Case{true, 2, 0}, Case{true, 2, 1}),
                         [](const auto& test) { return test.param.name(); });

} // namespace
} // namespace tav3d::test::mapping_of_housing_test
