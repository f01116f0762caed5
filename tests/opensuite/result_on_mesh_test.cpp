// Result files beside the mesh file that they stand on.

#include "opensuite/cgns_reader.h"
#include "opensuite/file_state.h"
#include "opensuite/mesh_file.h"
#include "opensuite/result_mesh.h"
#include "result_samples.h"
#include "support/mesh_models.h"
#include "support/scratch_folder.h"

#include <algorithm>
#include <chrono>
#include <fstream>
#include <thread>

namespace result_on_mesh_test
{

using namespace tav3d::test;
using tav3d::opensuite::CgnsReader;
namespace fs = std::filesystem;

namespace
{

/// Folder with a mesh file in "model/part.krn" and room for results in "runs".
struct MeshFolder
{
    ScratchFolder folder;
    std::string mesh = folder.file("model/part.krn");
    tav3d::opensuite::MeshModel model = modelWithInsert();
    CBinaryInform d;
    Values values;

    MeshFolder()
    {
        fs::create_directory(folder.path() / "model");
        fs::create_directory(folder.path() / "runs");
        tav3d::opensuite::writeMeshFile(mesh, model);
        const int n = static_cast<int>(model.voxel.nodeTotal());
        d.m_strMeshFile = mesh;
        d.m_nVoxelNode = n;
        d.m_nCutCellNode = static_cast<int>(model.cutCell.nodeTotal());
        d.m_ResultItem = {{1, 1, 0, 0, "Time", "s"}};
        d.m_ResultType = {{1, {n, false, {}}}};
        for (int k = 0; k <= n; ++k)
            values[1].push_back(static_cast<float>(k));
    }
};

} // namespace

TEST(ResultOnMesh, zone_has_the_size_and_links_to_the_geometry_of_the_mesh)
{
    MeshFolder f;
    const std::string file = f.folder.file("runs/a.q7f");
    ASSERT_EQ(writeResult(file, f.d, f.values), 0);
    const CgnsReader reader(file);
    EXPECT_EQ(reader.read<std::int32_t>("/Results/Voxel", 3, 3), (std::vector<std::int32_t>{216, 125, 0}));
    int links = 0;
    for (const std::string& name : reader.children("/Results/Voxel"))
    {
        if (reader.info("/Results/Voxel/" + name).type != tav3d::opensuite::CgnsType::Link)
            continue;
        ++links;
        const auto target = reader.readLink("/Results/Voxel/" + name);
        EXPECT_EQ(target.file, "../model/part.krn");
        EXPECT_TRUE(CgnsReader(f.mesh).has(target.path)) << target.path;
    }
    EXPECT_EQ(links, 6) << "coordinates, four sections, boundary conditions";
    EXPECT_TRUE(reader.has("/Results/Voxel/GridCoordinates"));
    EXPECT_TRUE(reader.has("/Results/Voxel/Plastic"));
    EXPECT_TRUE(reader.has("/Results/Voxel/ZoneBC"));
}

TEST(ResultOnMesh, mesh_path_comes_back_as_seen_from_the_working_directory)
{
    MeshFolder f;
    ASSERT_EQ(writeResult(f.folder.file("runs/a.q7f"), f.d, f.values), 0);
    CTAV3DResultReader_Manipulator reader;
    ASSERT_EQ(reader.BeginReading(f.folder.file("runs/a.q7f").c_str(), nullptr), 0);
    CBinaryInform read;
    CBinaryWriteTools::GetBinaryInform(read, reader, 0);
    EXPECT_EQ(read.m_strMeshFile, f.mesh);
    EXPECT_EQ(read.m_nVoxelNode, 216);
    EXPECT_EQ(read.m_nCutCellNode, 218);
}

TEST(ResultOnMesh, mesh_path_that_is_stored_leads_from_the_folder_of_the_result)
{
    using namespace tav3d::opensuite;
    EXPECT_EQ(meshPathToStore("model/part.krn", "runs/a.q7f"), "../model/part.krn");
    EXPECT_EQ(meshPathToStore("part.krn", "part.q7f"), "part.krn");
#ifdef _WIN32
    EXPECT_EQ(meshPathToStore("D:\\model\\part.krn", "C:\\runs\\a.q7f"), "D:/model/part.krn");
    EXPECT_EQ(meshPathFromStored("D:/model/part.krn", "C:\\runs\\a.q7f"), "D:\\model\\part.krn");
    EXPECT_EQ(meshPathToStore("c:\\model\\part.krn", "C:\\runs\\a.q7f"), "../model/part.krn");
    EXPECT_EQ(meshPathToStore("\\\\server\\share\\part.krn", "C:\\runs\\a.q7f"), "//server/share/part.krn");
    EXPECT_EQ(meshPathToStore("//server/share/part.krn", "//server/other/a.q7f"), "//server/share/part.krn");
    EXPECT_EQ(meshPathToStore("//server/share/model/part.krn", "\\\\server\\share\\runs\\a.q7f"), "../model/part.krn");
    EXPECT_EQ(meshPathFromStored("../model/part.krn", "\\\\server\\share\\runs\\a.q7f"), "\\\\server\\share\\model\\part.krn");
    EXPECT_EQ(meshPathFromStored("../../../part.krn", "//server/share/runs/a.q7f"), "//server/share/part.krn");
    EXPECT_EQ(meshPathFromStored("//server/share/part.krn", "C:/runs/a.q7f"), "//server/share/part.krn");
#endif
}

#ifdef _WIN32

TEST(ResultOnMesh, mesh_on_another_drive_is_found_from_wherever_the_result_is_read)
{
    // The result goes where the test runs (under wine on Z:), the mesh is in the folder for temporary files (on C:) and is named as seen from there.
    MeshFolder f;
    const fs::path before = fs::current_path();
    if (before.root_name() == f.folder.path().root_name())
        GTEST_SKIP() << "one drive only";
    const ScratchFolder elsewhere(before);
    fs::current_path(f.folder.path() / "model");
    f.d.m_strMeshFile = "part.krn";
    const int written = writeResult(elsewhere.file("a.q7f"), f.d, f.values);
    fs::current_path(before);
    ASSERT_EQ(written, 0);
    CTAV3DResultReader_Manipulator reader;
    ASSERT_EQ(reader.BeginReading(elsewhere.file("a.q7f").c_str(), nullptr), 0);
    CBinaryInform read;
    CBinaryWriteTools::GetBinaryInform(read, reader, 0);
    EXPECT_EQ(read.m_strMeshFile, f.mesh);
}

#endif

TEST(ResultOnMesh, result_and_mesh_may_move_together)
{
    MeshFolder f;
    ASSERT_EQ(writeResult(f.folder.file("runs/a.q7f"), f.d, f.values), 0);
    fs::create_directory(f.folder.path() / "archive");
    fs::rename(f.folder.path() / "runs", f.folder.path() / "archive/runs");
    fs::rename(f.folder.path() / "model", f.folder.path() / "archive/model");
    CTAV3DResultReader_Manipulator reader;
    ASSERT_EQ(reader.BeginReading(f.folder.file("archive/runs/a.q7f").c_str(), nullptr), 0);
    CBinaryInform read;
    CBinaryWriteTools::GetBinaryInform(read, reader, 0);
    EXPECT_EQ(read.m_strMeshFile, f.folder.file("archive/model/part.krn"));
}

TEST(ResultOnMesh, result_is_read_and_written_without_its_mesh)
{
    MeshFolder f;
    ASSERT_EQ(writeResult(f.folder.file("runs/a.q7f"), f.d, f.values), 0);
    fs::remove(f.mesh);
    CTAV3DResultReader_Manipulator reader;
    ASSERT_EQ(reader.BeginReading(f.folder.file("runs/a.q7f").c_str(), nullptr), 0);
    CBinaryInform read;
    CBinaryWriteTools::GetBinaryInform(read, reader, 0);
    EXPECT_EQ(fullResult(1, 1, read, reader).back(), 216.0f);

    ASSERT_EQ(writeResult(f.folder.file("runs/b.q7f"), read, f.values), 0);
    const CgnsReader copy(f.folder.file("runs/b.q7f"));
    EXPECT_EQ(copy.read<std::int32_t>("/Results/Voxel", 3, 3), (std::vector<std::int32_t>{216, 0, 0}));
    EXPECT_FALSE(copy.has("/Results/Voxel/GridCoordinates"));
    EXPECT_EQ(copy.readText("/Results/TavResult/MeshFile", 100), "../model/part.krn");
}

TEST(ResultOnMesh, same_result_beside_its_mesh_in_another_place_has_the_same_bytes)
{
    MeshFolder f;
    MeshFolder g;
    ASSERT_EQ(writeResult(f.folder.file("runs/a.q7f"), f.d, f.values), 0);
    ASSERT_EQ(writeResult(g.folder.file("runs/a.q7f"), g.d, g.values), 0);
    EXPECT_TRUE(readBytes(f.folder.file("runs/a.q7f")) == readBytes(g.folder.file("runs/a.q7f")));
}

TEST(ResultOnMesh, mesh_in_contradiction_to_the_recorded_counts_is_refused)
{
    MeshFolder f;
    const std::string file = f.folder.file("runs/a.q7f");
    for (const int add : {-1, 1})
    {
        CTAV3DResultWriter_Manipulator writer;
        ASSERT_EQ(writer.BeginWriting(file.c_str(), nullptr, false), 0);
        CBinaryInform wrong = f.d;
        wrong.m_nCutCellNode += add;
        expectOneLine(errorOutput([&] { EXPECT_EQ(CBinaryWriteTools::WriteHeadFileInfo_time(wrong, writer, 0), -3); }),
                      {file, "head", f.mesh, "218", "cut-cell", std::to_string(218 + add)});
        wrong = f.d;
        wrong.m_nVoxelNode += add;
        expectOneLine(errorOutput([&] { EXPECT_EQ(CBinaryWriteTools::WriteHeadFileInfo_time(wrong, writer, 0), -3); }), {"216", "voxel"});
        errorOutput([&] { EXPECT_EQ(writer.EndWriting(), -3); });
        EXPECT_FALSE(fs::exists(file));
    }
}

TEST(ResultOnMesh, counts_that_are_not_recorded_come_from_the_mesh)
{
    MeshFolder f;
    f.d.m_nVoxelNode = 0;
    f.d.m_nCutCellNode = 0;
    ASSERT_EQ(writeResult(f.folder.file("runs/a.q7f"), f.d, f.values), 0);
    CTAV3DResultReader_Manipulator reader;
    ASSERT_EQ(reader.BeginReading(f.folder.file("runs/a.q7f").c_str(), nullptr), 0);
    CBinaryInform read;
    CBinaryWriteTools::GetBinaryInform(read, reader, 0);
    EXPECT_EQ(read.m_nVoxelNode, 216);
    EXPECT_EQ(read.m_nCutCellNode, 218);
}

TEST(ResultOnMesh, part_nodes_are_counted_anew_on_the_other_mesh)
{
    MeshFolder f;
    f.d.m_nMaxCavityNode = 7; // of the voxel mesh
    f.values[1].resize(219);
    std::vector<std::int32_t> node = f.model.cutCell.plastic.node;
    std::sort(node.begin(), node.end());
    node.erase(std::unique(node.begin(), node.end()), node.end());
    for (const bool onCutCellMesh : {false, true})
    {
        ASSERT_EQ(writeResult(f.folder.file("runs/a.q7f"), f.d, f.values, onCutCellMesh), 0);
        CTAV3DResultReader_Manipulator reader;
        ASSERT_EQ(reader.BeginReading(f.folder.file("runs/a.q7f").c_str(), nullptr), 0);
        EXPECT_EQ(reader.GetMaxCavityNode(), onCutCellMesh ? static_cast<long long>(node.size()) : 7);
    }
}

TEST(ResultOnMesh, a_mesh_file_that_is_remembered_is_read_again_when_it_has_changed)
{
    const auto partNodesOf = [](const tav3d::opensuite::MeshModel& model)
    {
        std::vector<std::int32_t> node = model.cutCell.plastic.node;
        std::sort(node.begin(), node.end());
        return static_cast<long long>(std::unique(node.begin(), node.end()) - node.begin());
    };
    const auto partNodesWritten = [](MeshFolder& f)
    {
        const std::string file = f.folder.file("runs/a.q7f");
        EXPECT_EQ(writeResult(file, f.d, f.values, true), 0);
        CTAV3DResultReader_Manipulator reader;
        EXPECT_EQ(reader.BeginReading(file.c_str(), nullptr), 0);
        return reader.GetMaxCavityNode();
    };
    MeshFolder f;
    f.values[1].resize(219);
    std::this_thread::sleep_for(std::chrono::milliseconds(2100)); // nothing is remembered of a file that was only just written
    EXPECT_EQ(partNodesWritten(f), partNodesOf(f.model));
    EXPECT_EQ(partNodesWritten(f), partNodesOf(f.model)); // from memory

    // Another file takes its place, as long as the old one, with one part node less.
    std::vector<std::int32_t>& node = f.model.cutCell.plastic.node;
    const std::int32_t highest = *std::max_element(node.begin(), node.end());
    std::replace(node.begin(), node.end(), highest, node.front());
    const long long before = partNodesWritten(f);
    tav3d::opensuite::writeMeshFile(f.mesh, f.model);
    EXPECT_EQ(partNodesOf(f.model), before - 1);
    EXPECT_EQ(partNodesWritten(f), partNodesOf(f.model));

    // What is no mesh file any more is refused, and without a mesh file nothing is counted.
    std::ofstream(f.mesh) << "no mesh";
    EXPECT_LT(writeResult(f.folder.file("runs/b.q7f"), f.d, f.values, true), 0);
    fs::remove(f.mesh);
    EXPECT_EQ(partNodesWritten(f), 0);
}

TEST(FileState, is_told_of_a_file_that_has_stood_for_two_seconds_and_differs_after_any_change)
{
    using tav3d::opensuite::settledStateOf;
    const ScratchFolder folder;
    const fs::path file = folder.path() / "a";
    const fs::path other = folder.path() / "b";
    std::ofstream(file) << "12345";
    std::ofstream(other) << "12345";
    EXPECT_FALSE(settledStateOf(file)) << "just written";
    EXPECT_FALSE(settledStateOf(folder.path() / "missing"));
    std::this_thread::sleep_for(std::chrono::milliseconds(2100));
    const auto state = settledStateOf(file);
    ASSERT_TRUE(state);
    EXPECT_EQ(settledStateOf(file), state);
    EXPECT_NE(settledStateOf(other), state);
    EXPECT_FALSE(settledStateOf(folder.path())) << "a folder is no file";

    // A change that puts size and time of writing back.
    const auto written = fs::last_write_time(file);
    std::fstream(file) << "54321";
    fs::last_write_time(file, written);
    EXPECT_FALSE(settledStateOf(file));
    std::this_thread::sleep_for(std::chrono::milliseconds(2100));
    ASSERT_TRUE(settledStateOf(file));
    EXPECT_NE(settledStateOf(file), state);
}

TEST(ResultOnMesh, mesh_file_is_no_result_and_result_is_no_mesh)
{
    MeshFolder f;
    CTAV3DResultReader_Manipulator reader;
    expectOneLine(errorOutput([&] { EXPECT_EQ(reader.BeginReading(f.mesh.c_str(), nullptr), -4); }), {f.mesh, "no result file"});

    ASSERT_EQ(writeResult(f.folder.file("runs/a.q7f"), f.d, f.values), 0);
    CTAV3DResultWriter_Manipulator writer;
    ASSERT_EQ(writer.BeginWriting(f.folder.file("runs/b.q7f").c_str(), nullptr, false), 0);
    f.d.m_strMeshFile = f.folder.file("runs/a.q7f");
    expectOneLine(errorOutput([&] { EXPECT_EQ(CBinaryWriteTools::WriteHeadFileInfo_time(f.d, writer, 0), -3); }),
                  {f.folder.file("runs/a.q7f"), "is no mesh file"});
}

TEST(ResultOnMesh, names_with_blanks_and_letters_of_other_alphabets_are_fine)
{
    MeshFolder f;
    fs::create_directory(tav3d::common::pathOf(f.folder.file("Gehäuse Läufe")));
    const std::string file = f.folder.file("Gehäuse Läufe/größe 1 漢字.q7f");
    ASSERT_EQ(writeResult(file, f.d, f.values), 0);
    CTAV3DResultReader_Manipulator reader;
    ASSERT_EQ(reader.BeginReading(file.c_str(), nullptr), 0);
    CBinaryInform read;
    CBinaryWriteTools::GetBinaryInform(read, reader, 0);
    EXPECT_EQ(read.m_strMeshFile, f.mesh);
}

} // namespace result_on_mesh_test
