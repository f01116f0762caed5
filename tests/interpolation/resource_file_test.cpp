// Loading of fields from real result files.

#include "Tav3dInterpolation.h"
#include "engine_calls.h"
#include "interpolation/sol_interpolation.h"
#include "opensuite/result_samples.h"
#include "support/scratch_folder.h"

namespace resource_file_test
{

using namespace tav3d::test;
using meshes::printed;

// DELIBERATE loaded-fields-from-zero
TEST(SetResourceFileName, items_become_fields_in_file_order)
{
    const ScratchFolder folder;
    ASSERT_EQ(writeSampleResult(folder.file("a.q7f")), 0);
    CSolInterpolation engine;
    engine.SetResourceFileName(folder.file("a.q7f").c_str());
    EXPECT_EQ(engine.m_nResultItem, 4);
    EXPECT_EQ(engine.m_ppPhiValue[0][1], 1.0f) << "item 6 is the first in the file";
    EXPECT_EQ(engine.m_ppPhiValue[0][6], 6.0f);
    EXPECT_EQ(engine.m_ppPhiValue[1][5], 3e38f) << "item 1";
    EXPECT_EQ(engine.m_ppPhiValue[2][3], 60.0f) << "item 21 as stored: three values behind an ID map";
}

TEST(SetResourceFileName, file_that_cannot_be_opened_leaves_the_fields)
{
    const ScratchFolder folder;
    ASSERT_EQ(writeSampleResult(folder.file("a.q7f")), 0);
    writeBytes(folder.file("text.q7f"), "no result file");
    CSolInterpolation engine;
    engine.SetResourceFileName(folder.file("a.q7f").c_str());
    float** const before = engine.m_ppPhiValue;
    errorOutput(
        [&]
        {
            EXPECT_EQ(printed([&] { engine.SetResourceFileName(folder.file("none.q7f").c_str()); }),
                      "Open Binary File Error!! Error ID=-2  => m_pFile is NULL!\n");
            EXPECT_EQ(printed([&] { engine.SetResourceFileName(nullptr); }),
                      "Open Binary File Error!! Error ID=-1  => fileName is NULL!\n");
            EXPECT_EQ(printed([&] { engine.SetResourceFileName(folder.file("text.q7f").c_str()); }),
                      "Open Binary File Error!! Error ID=-4  => Not binary file!\n");
        });
    EXPECT_EQ(engine.m_ppPhiValue, before);
    EXPECT_EQ(engine.m_nResultItem, 4);
    EXPECT_EQ(engine.m_ppPhiValue[0][6], 6.0f);
}

TEST(SetResourceFileName, second_file_replaces_the_first)
{
    const ScratchFolder folder;
    ASSERT_EQ(writeSampleResult(folder.file("a.q7f")), 0);
    CSolInterpolation engine;
    engine.SetResourceFileName(folder.file("a.q7f").c_str());
    engine.SetResourceFileName(folder.file("a.q7f").c_str());
    EXPECT_EQ(engine.m_nResultItem, 4);
    EXPECT_EQ(engine.m_ppPhiValue[0][2], 2.0f);
}

TEST(SetResourceFileName, loaded_field_is_evaluated_through_the_facade)
{
    const ScratchFolder folder;
    ASSERT_EQ(writeSampleResult(folder.file("a.q7f")), 0);
    meshes::Mesh mesh;
    mesh.node = {{0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {0, 0, 1}, {1, 0, 1}, {0, 1, 1}}; // a prism; item 6 is its node number
    mesh.addCell({1, 2, 3, 4, 5, 6});
    CTav3dInterpolation facade;
    meshes::setMesh(facade, mesh);
    facade.SetResourceFileName(folder.file("a.q7f").c_str());
    std::vector<double> x = {0, 0.25}, y = {0, 0.5}, z = {0, 0.5}, values = {-1, -1};
    facade.GetCellData(0, 1, mesh.cell.data(), x.data(), y.data(), z.data(), values.data());
    EXPECT_NEAR(values[1], 1 + 0.25 + 2 * 0.5 + 3 * 0.5, 1e-12);
    values[1] = -1;
    facade.GetCellData(4, 1, mesh.cell.data(), x.data(), y.data(), z.data(), values.data());
    EXPECT_EQ(values[1], -1) << "there are fields 0 to 3";
    facade.SetNDataPoint(1);
    facade.SetDataPoint(1, 0.25, 0.5, 0.5);
    double value = 0;
    facade.GetPhiValue(1, 0, value);
    EXPECT_NEAR(value, 3.75, 1e-12);
    facade.CleanDataPoint();
}

} // namespace resource_file_test
