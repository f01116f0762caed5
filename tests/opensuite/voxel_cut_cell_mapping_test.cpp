#include "KRNXT.h"

#include "opensuite/mesh_file.h"
#include "support/mesh_models.h"
#include "support/scratch_folder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <string>
#include <vector>

namespace voxel_cut_cell_mapping_test
{

namespace
{

using namespace tav3d;
using namespace tav3d::opensuite;
using tav3d::test::ScratchFolder;

struct Outcome
{
    int code = 99;
    std::string errors;
    std::vector<int> voxelNode; // entry 0 included
};

Outcome map(CTAVVoxelCutCellMappingEngine& engine, const char* path)
{
    Outcome outcome;
    testing::internal::CaptureStderr();
    outcome.code = engine.Create(path);
    outcome.errors = testing::internal::GetCapturedStderr();
    outcome.voxelNode.assign(static_cast<std::size_t>(engine.GetNNodeCutCell()) + 1, -7);
    engine.GetVoxelCutCellMappingNode(outcome.voxelNode.data());
    return outcome;
}

Outcome map(const MeshModel& model)
{
    const ScratchFolder folder;
    writeMeshFile(folder.file("model.krn"), model);
    CTAVVoxelCutCellMappingEngine engine;
    return map(engine, folder.file("model.krn").c_str());
}

} // namespace

TEST(VoxelCutCellMapping, engine_is_empty_before_create)
{
    const CTAVVoxelCutCellMappingEngine engine;
    EXPECT_EQ(engine.GetNNodeCutCell(), 0);
    int entry = 5;
    engine.GetVoxelCutCellMappingNode(&entry);
    EXPECT_EQ(entry, 0);
}

TEST(VoxelCutCellMapping, nodes_on_a_voxel_node_map_to_it_and_cell_centres_to_their_lowest_corner)
{
    const Outcome outcome = map(test::modelWithInsert());
    EXPECT_EQ(outcome.code, 0);
    EXPECT_EQ(outcome.errors, "");
    ASSERT_EQ(outcome.voxelNode.size(), 219u);
    for (int n = 0; n <= 216; ++n)
        EXPECT_EQ(outcome.voxelNode[n], n);
    EXPECT_EQ(outcome.voxelNode[217], 44); // centre of the cell at (1, 1, 1): grid node 1 + 1 + 6 + 36
    EXPECT_EQ(outcome.voxelNode[218], 80); // centre of the cell above
}

TEST(VoxelCutCellMapping, moved_nodes_stay_within_their_body)
{
    // Part, insert and mould base on top of each other: nodes 1..8 belong to the part, 9..12 to the insert, 13..16 to the mould base.
    const auto bodyOfLayer = [](int, int, int k) { return k == 0 ? body::part : k == 1 ? body::firstInsert : body::mold; };
    MeshModel model;
    model.scaleFactor = 0.001;
    model.voxel = test::cubeGrid(1, 1, 3, 1.0f, bodyOfLayer);
    model.cutCell = model.voxel;
    for (int n = 5; n <= 8; ++n)
        model.cutCell.z[static_cast<std::size_t>(n) - 1] = 1.7f; // nearer to the insert's nodes at z = 2
    for (int n = 9; n <= 12; ++n)
        model.cutCell.z[static_cast<std::size_t>(n) - 1] = 2.9f; // nearer to the mould base's at z = 3
    const Outcome outcome = map(model);
    ASSERT_EQ(outcome.voxelNode.size(), 17u);
    for (int n = 1; n <= 16; ++n)
        EXPECT_EQ(outcome.voxelNode[n], n);
}

TEST(VoxelCutCellMapping, missing_path_or_file_gives_a_code_a_line_and_an_empty_engine)
{
    const ScratchFolder folder;
    test::writeBytes(folder.file("text.krn"), "this is no mesh file\n");
    test::writeBytes(folder.file("empty.krn"), "");
    writeMeshFile(folder.file("good.krn"), test::unitCube());
    MeshModel voxelOnly = test::unitCube();
    voxelOnly.cutCell = {};
    writeMeshFile(folder.file("voxel-only.krn"), voxelOnly);

    CTAVVoxelCutCellMappingEngine engine;
    const std::string paths[] = {"missing.krn", "text.krn", "empty.krn", "voxel-only.krn"};
    for (const std::string& name : paths)
    {
        ASSERT_EQ(map(engine, folder.file("good.krn").c_str()).voxelNode.size(), 9u);
        const Outcome outcome = map(engine, folder.file(name).c_str());
        EXPECT_LT(outcome.code, 0) << name;
        EXPECT_NE(outcome.errors.find(name), std::string::npos) << outcome.errors;
        EXPECT_EQ(std::ranges::count(outcome.errors, '\n'), 1) << outcome.errors;
        EXPECT_EQ(outcome.voxelNode, std::vector<int>{0}) << name;
    }
    for (const char* none : {static_cast<const char*>(nullptr), ""})
    {
        const Outcome outcome = map(engine, none);
        EXPECT_EQ(outcome.code, -1);
        EXPECT_EQ(outcome.errors, "voxel/cut-cell mapping: no file name\n");
    }
}

TEST(VoxelCutCellMapping, file_cut_short_anywhere_gives_a_code)
{
    const ScratchFolder folder;
    writeMeshFile(folder.file("good.krn"), test::modelWithInsert());
    const std::string bytes = test::readBytes(folder.file("good.krn"));
    for (int percent = 0; percent < 100; percent += 7)
    {
        test::writeBytes(folder.file("short.krn"), bytes.substr(0, bytes.size() * static_cast<std::size_t>(percent) / 100));
        CTAVVoxelCutCellMappingEngine engine;
        const Outcome outcome = map(engine, folder.file("short.krn").c_str());
        EXPECT_LT(outcome.code, 0) << percent;
        EXPECT_EQ(engine.GetNNodeCutCell(), 0) << percent;
    }
}

} // namespace voxel_cut_cell_mapping_test
