#include "opensuite/cgns_writer.h"
#include "opensuite/file_error.h"
#include "opensuite/mesh_file.h"
#include "opensuite/mesh_file_reader.h"
#include "support/mesh_compare.h"
#include "support/mesh_models.h"
#include "support/scratch_folder.h"

#include <gtest/gtest.h>

#include <limits>

#ifndef _WIN32
#include <csignal>
#include <sys/resource.h>
#endif

namespace mesh_file_test
{

using namespace tav3d::opensuite;
using namespace tav3d::test;

namespace
{

/// What writing `model` is refused with, and nothing if it is not. The target must stay as it is.
std::string refusal(const MeshModel& model)
{
    const ScratchFolder folder;
    const std::string file = folder.file("a.krn");
    writeBytes(file, "what stood there");
    std::string reason;
    try
    {
        writeMeshFile(file, model);
    }
    catch (const FileError& error)
    {
        EXPECT_EQ(error.failure(), FileFailure::BadInput);
        reason = error.what();
        EXPECT_EQ(reason.find(file + ": "), 0u) << reason;
        reason.erase(0, file.size() + 2);
    }
    EXPECT_TRUE(readBytes(file) == "what stood there");
    EXPECT_EQ(folder.entries(), 1);
    return reason;
}

} // namespace

TEST(MeshFile, model_comes_back_as_it_was_written)
{
    const ScratchFolder folder;
    for (const MeshModel& model : {unitCube(), oneCellOfEachKind(), modelWithInsert()})
    {
        writeMeshFile(folder.file("a.krn"), model);
        const MeshModel back = readMeshFile(folder.file("a.krn"));
        EXPECT_EQ(back.title, model.title);
        EXPECT_EQ(back.scaleFactor, model.scaleFactor);
        EXPECT_EQ(back.cellSize, model.cellSize);
        expectSameZone(back.voxel, model.voxel);
        expectSameZone(back.cutCell, model.cutCell);
        expectSameZone(readMeshZone(folder.file("a.krn"), ZoneId::CutCell), model.cutCell);
    }
    EXPECT_EQ(folder.entries(), 1) << "each took the place of the one before, and nothing stays beside";
}

TEST(MeshFile, mesh_of_many_pieces_comes_back_as_it_was_written)
{
    const ScratchFolder folder;
    // More entries than one piece of the writer and one chunk of the reader.
    MeshModel model;
    model.voxel = cubeGrid(40, 40, 40, 1.0f, [](int i, int, int) { return i < 20 ? body::part : body::mold; });
    for (std::int32_t n = 1; n <= 50'000; ++n)
    {
        model.voxel.surface.push_back({{n, n + 1, n + 2, n + 3}, n % 2, n % 5, n, 50'000 - n});
        model.voxel.partInsert.push_back({{n + 3, n + 2, n + 1, n}, n % 3 == 0, n});
    }
    writeMeshFile(folder.file("a.krn"), model);
    expectSameZone(readMeshZone(folder.file("a.krn"), ZoneId::Voxel), model.voxel);
}

TEST(MeshFile, odd_values_that_are_allowed_come_back)
{
    MeshModel model = unitCube();
    model.title = "";
    model.cellSize = 0;
    model.scaleFactor = 1e-30;
    model.voxel.x[0] = -0.0f;
    model.voxel.y[0] = std::numeric_limits<float>::max();
    model.voxel.z[0] = std::numeric_limits<float>::denorm_min();
    model.voxel.surface[0].kind = -1;
    model.voxel.surface[1].kind = 77;
    model.voxel.surface[1].flag = 0;
    model.voxel.partInterface.push_back({{}, 1, 3}); // an interface without nodes
    const ScratchFolder folder;
    writeMeshFile(folder.file("a.krn"), model);
    const MeshModel back = readMeshFile(folder.file("a.krn"));
    EXPECT_EQ(back.title, "");
    EXPECT_EQ(back.scaleFactor, 1e-30);
    EXPECT_TRUE(std::signbit(back.voxel.x[0]));
    expectSameZone(back.voxel, model.voxel);
}

TEST(MeshFile, model_with_one_mesh_only_is_written_without_the_other)
{
    MeshModel model = modelWithInsert();
    model.cutCell = {};
    const ScratchFolder folder;
    writeMeshFile(folder.file("a.krn"), model);
    expectSameZone(readMeshFile(folder.file("a.krn")).voxel, model.voxel);
    EXPECT_FALSE(readMeshSummary(folder.file("a.krn")).cutCell.present);
    EXPECT_THROW((void)readMeshZone(folder.file("a.krn"), ZoneId::CutCell), FileError);
}

TEST(MeshFile, same_model_gives_the_same_bytes)
{
    const ScratchFolder folder;
    writeMeshFile(folder.file("a.krn"), modelWithInsert());
    writeMeshFile(folder.file("b.krn"), modelWithInsert());
    EXPECT_TRUE(readBytes(folder.file("a.krn")) == readBytes(folder.file("b.krn")));
}

TEST(MeshFile, summary_counts_what_is_in_the_file)
{
    const ScratchFolder folder;
    writeMeshFile(folder.file("a.krn"), modelWithInsert());
    const MeshSummary summary = readMeshSummary(folder.file("a.krn"));
    EXPECT_EQ(summary.title, "part with an insert");
    EXPECT_EQ(summary.formatVersion, 1);
    EXPECT_EQ(summary.scaleFactor, 0.5);
    const MeshZoneSummary& voxel = summary.voxel;
    EXPECT_TRUE(voxel.present);
    EXPECT_EQ(voxel.nodes, 216);
    EXPECT_EQ(voxel.plastic, 24);
    EXPECT_EQ(voxel.moldBase, 101);
    EXPECT_EQ(voxel.cellsOfKind, (std::map<CellKind, std::int64_t>{{CellKind::Hexa8, 125}}));
    EXPECT_EQ(voxel.cellsOfBody, (std::map<std::int32_t, std::int64_t>{{body::part, 24}, {body::mold, 98}, {body::firstInsert, 3}}));
    EXPECT_EQ(voxel.facetsOfKind, (std::map<std::int32_t, std::int64_t>{{0, 50}, {1, 1}, {2, 150}, {3, 12}, {4, 1}}));
    EXPECT_EQ(voxel.partInsert, 14);
    EXPECT_EQ(voxel.interfaceFacets, 12);
    EXPECT_EQ(voxel.partInterfaces, 1);
    EXPECT_EQ(voxel.partInsertInterfaces, 1);
    for (int k = 0; k < 3; ++k)
    {
        EXPECT_EQ(voxel.lowest[k], 0.0f);
        EXPECT_EQ(voxel.highest[k], 10.0f);
    }
    EXPECT_EQ(summary.cutCell.cellsOfKind.size(), 4u);

    const MeshSummary header = readMeshHeader(folder.file("a.krn"));
    EXPECT_EQ(header.cutCell.nodes, 218);
    EXPECT_EQ(header.cutCell.surface, summary.cutCell.surface);
}

TEST(MeshFile, inconsistent_models_are_refused_with_the_item_and_the_target_stays)
{
    const float nan = std::numeric_limits<float>::quiet_NaN();
    const float infinity = std::numeric_limits<float>::infinity();
    const struct
    {
        const char* reason;
        void (*spoil)(MeshModel&);
    } cases[] = {
        {"the model has no nodes", [](MeshModel& m) { m = {}; }},
        {"scale factor: is not a positive number", [](MeshModel& m) { m.scaleFactor = 0; }},
        {"cell size: is not a number from 0 on", [](MeshModel& m) { m.cellSize = -1; }},
        {"Voxel: x, y and z are not of one length", [](MeshModel& m) { m.voxel.y.pop_back(); }},
        {"CutCell/Plastic element 1: node number 0 is not in 1 .. 218", [](MeshModel& m) { m.cutCell.plastic.node[3] = 0; }},
        {"Voxel/MoldBase element 1: node number 217 is not in 1 .. 216", [](MeshModel& m) { m.voxel.moldBase.node[0] = 217; }},
        {"Voxel/MoldBase: the tables of the cells do not fit each other", [](MeshModel& m) { m.voxel.moldBase.body.pop_back(); }},
        {"Voxel/Plastic element 2: the node count does not fit the kind", [](MeshModel& m) { m.voxel.plastic.kind[1] = CellKind::Prism6; }},
        {"Voxel/Plastic element 2: unknown kind", [](MeshModel& m) { m.voxel.plastic.kind[1] = static_cast<CellKind>(9); }},
        {"Voxel/Surface facet 3: node number -1 is not in 1 .. 216", [](MeshModel& m) { m.voxel.surface[2].node[3] = -1; }},
        {"Voxel/Surface facet 3: element number 126 is not in 0 .. 125", [](MeshModel& m) { m.voxel.surface[2].elementInFront = 126; }},
        {"Voxel/PartInsert facet 1: node number 1000 is not in 1 .. 216", [](MeshModel& m) { m.voxel.partInsert[0].node[0] = 1000; }},
        {"Voxel/PartInterfaces 1: the node numbers do not ascend", [](MeshModel& m) { m.voxel.partInterface[0].node[1] = 1; }},
        {"CutCell/PartInsertInterfaces 1: node number 219 is not in 1 .. 218",
         [](MeshModel& m) { m.cutCell.partInsertInterface[0].node.back() = 219; }},
    };
    for (const auto& c : cases)
    {
        MeshModel model = modelWithInsert();
        c.spoil(model);
        EXPECT_EQ(refusal(model), c.reason);
    }
    for (const float bad : {nan, infinity, -infinity})
    {
        MeshModel model = modelWithInsert();
        model.cutCell.z[4] = bad;
        EXPECT_EQ(refusal(model), "CutCell/node 5: a coordinate is not finite");
    }
    MeshModel model = modelWithInsert();
    model.scaleFactor = 1e300;
    EXPECT_EQ(refusal(model), "Voxel/node 2: a coordinate is not finite") << "the scaled coordinate is no float any more";
}

#ifdef _WIN32

TEST(MeshFile, full_disk_leaves_the_target_and_nothing_else)
{
    GTEST_SKIP() << "Windows has no limit on file sizes that a process could set for itself";
}

TEST(MeshFile, killed_writer_leaves_the_target)
{
    GTEST_SKIP() << "Windows has no fork; the test of killed runs of the program covers it";
}

#else

TEST(MeshFile, full_disk_leaves_the_target_and_nothing_else)
{
    const ScratchFolder folder;
    const std::string file = folder.file("a.krn");
    writeMeshFile(file, unitCube());
    const std::string before = readBytes(file);
    const auto writeWithLittleRoom = [&](std::size_t room)
    {
        std::signal(SIGXFSZ, SIG_IGN);
        const rlimit limit{room, room};
        setrlimit(RLIMIT_FSIZE, &limit);
        int status = 1;
        try
        {
            writeMeshFile(file, modelWithInsert());
        }
        catch (const FileError& error)
        {
            status = error.failure() == FileFailure::CannotWrite ? 0 : 2;
        }
        std::exit(status); // not _exit: HDF5 tidies up, and must find nothing that it cannot close
    };
    const ScratchFolder measure;
    writeMeshFile(measure.file("a.krn"), modelWithInsert());
    const std::size_t size = readBytes(measure.file("a.krn")).size();
    for (std::size_t room = 0; room < size; room += size / 19)
    {
        EXPECT_EXIT(writeWithLittleRoom(room), testing::ExitedWithCode(0), "") << "with room for " << room << " of " << size << " bytes";
        EXPECT_TRUE(readBytes(file) == before);
        ASSERT_EQ(folder.entries(), 1);
    }
}

TEST(MeshFile, killed_writer_leaves_the_target)
{
    const ScratchFolder folder;
    const std::string file = folder.file("a.cgns");
    writeMeshFile(file, unitCube());
    const std::string before = readBytes(file);
    const auto dieHalfway = [&]
    {
        CgnsWriter writer(file);
        writer.addArray("/", "Numbers", "DataArray_t", std::span<const double>(std::vector<double>(100'000)));
        std::raise(SIGKILL);
    };
    EXPECT_EXIT(dieHalfway(), testing::KilledBySignal(SIGKILL), "");
    EXPECT_TRUE(readBytes(file) == before);
}

#endif

} // namespace mesh_file_test
