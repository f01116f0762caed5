#include "KRNIO.h"

#include "TAVFindMeshBlockInterface.h"
#include "opensuite/mesh_file.h"
#include "support/mesh_models.h"
#include "support/scratch_folder.h"

#include <gtest/gtest.h>

namespace krnio_test
{

using namespace tav3d::opensuite;
using namespace tav3d::test;

namespace
{

/// A mesh file of a model, in a folder of its own.
class Written
{
public:
    explicit Written(const MeshModel& model) { writeMeshFile(name(), model); }
    [[nodiscard]] std::string name() const { return folder_.file("a.krn"); }

private:
    ScratchFolder folder_;
};

using ReadCell = int (KRNIO_Manipulator::*)(int&, int*, int&, int&, float&);

void expectCells(KRNIO_Manipulator& reader, ReadCell read, const CellList& cells, float size)
{
    int count = 0, reference = 0, bodyNumber = 0, node[8] = {};
    float cellSize = -1;
    for (std::size_t c = 0; c < cells.size(); ++c)
    {
        ASSERT_EQ((reader.*read)(count, node, reference, bodyNumber, cellSize), 0);
        ASSERT_EQ(count, nodeCount(cells.kind[c]));
        for (int k = 0; k < count; ++k)
            EXPECT_EQ(node[k], cells.node[static_cast<std::size_t>(cells.start[c] + k)]);
        EXPECT_EQ(reference, node[0]);
        EXPECT_EQ(bodyNumber, cells.body[c]);
        EXPECT_EQ(cellSize, size);
    }
    EXPECT_LT((reader.*read)(count, node, reference, bodyNumber, cellSize), 0);
    EXPECT_LT((reader.*read)(count, node, reference, bodyNumber, cellSize), 0) << "the end stays the end";
}

void expectSurface(KRNIO_Manipulator& reader, const MeshZone& zone)
{
    int node[4] = {}, flag = 0, kind = 0, behind = 0, inFront = 0, bodyNumber = 0, group = -1;
    for (const SurfaceFacet& facet : zone.surface)
    {
        ASSERT_EQ(reader.readElementSurfaceBlockEntry(node, flag, kind, behind, inFront, bodyNumber, group), 0);
        EXPECT_TRUE(std::equal(node, node + 4, facet.node.begin()));
        EXPECT_EQ(flag, facet.flag);
        EXPECT_EQ(kind, facet.kind);
        EXPECT_EQ(behind, facet.elementBehind);
        EXPECT_EQ(inFront, facet.elementInFront);
        EXPECT_EQ(bodyNumber, kind == facet_kind::outerFace ? body::mold : body::part);
        EXPECT_EQ(group, 0);
    }
    EXPECT_LT(reader.readElementSurfaceBlockEntry(node, flag, kind, behind, inFront, bodyNumber, group), 0);
}

void expectPartInsert(KRNIO_Manipulator& reader, const MeshZone& zone)
{
    bool isInterface = false;
    int node[4] = {}, insert = 0, kind = 0, behind = 0, inFront = 0, bodyBehind = 0, bodyInFront = 0, group = -1;
    for (const PartInsertFacet& facet : zone.partInsert)
    {
        ASSERT_EQ(reader.readPartInsertBlockEntry(isInterface, node, insert, kind, behind, inFront, bodyBehind, bodyInFront, group), 0);
        EXPECT_EQ(isInterface, facet.isInterface);
        EXPECT_TRUE(std::equal(node, node + 4, facet.node.begin()));
        EXPECT_EQ(insert, facet.insert);
        EXPECT_EQ(kind, isInterface ? facet_kind::insertInterface : facet_kind::outerFace);
        EXPECT_EQ(bodyBehind, body::firstInsert);
        EXPECT_EQ(bodyInFront, isInterface ? body::part : body::mold);
        EXPECT_EQ(behind, 0);
        EXPECT_EQ(inFront, 0);
        EXPECT_EQ(group, 0);
    }
    EXPECT_LT(reader.readPartInsertBlockEntry(isInterface, node, insert, kind, behind, inFront, bodyBehind, bodyInFront, group), 0);
}

} // namespace

TEST(Krnio, every_entry_of_both_meshes_is_delivered_in_order)
{
    const MeshModel model = modelWithInsert();
    const Written file(model);
    KRNIO_Manipulator reader;
    for (const int mode : {0, 1, 0})
    {
        const MeshZone& zone = mode == 1 ? model.voxel : model.cutCell;
        ASSERT_EQ(reader.beginReading(file.name().c_str(), nullptr, mode), 0);
        EXPECT_EQ(reader.getNNode(), static_cast<int>(zone.nodeTotal()));
        EXPECT_EQ(reader.getScaleFactor(), 0.5);
        EXPECT_EQ(reader.getNElementPlastic(), static_cast<int>(zone.plastic.size()));
        EXPECT_EQ(reader.getNElementMoldBase(), static_cast<int>(zone.moldBase.size()));
        EXPECT_EQ(reader.getNElementSurface(), static_cast<int>(zone.surface.size()));
        EXPECT_EQ(reader.getNPartInsert(), static_cast<int>(zone.partInsert.size()));

        float x = 0, y = 0, z = 0;
        for (std::size_t i = 0; i < zone.nodeTotal(); ++i)
        {
            ASSERT_EQ(reader.readNodeBlockEntry(x, y, z), 0);
            EXPECT_EQ(x, zone.x[i]);
            EXPECT_EQ(y, zone.y[i]);
            EXPECT_EQ(z, zone.z[i]);
        }
        EXPECT_LT(reader.readNodeBlockEntry(x, y, z), 0);
        expectCells(reader, &KRNIO_Manipulator::readElementPlasticBlockEntry, zone.plastic, 2.0f);
        expectCells(reader, &KRNIO_Manipulator::readElementMoldBaseBlockEntry, zone.moldBase, 2.0f);
        expectSurface(reader, zone);
        expectPartInsert(reader, zone);
    }
}

TEST(Krnio, blocks_may_be_read_in_any_order_and_not_at_all)
{
    const Written file(modelWithInsert());
    KRNIO_Manipulator reader;
    ASSERT_EQ(reader.beginReading(file.name().c_str(), nullptr, 1), 0);
    expectSurface(reader, modelWithInsert().voxel);
    expectCells(reader, &KRNIO_Manipulator::readElementMoldBaseBlockEntry, modelWithInsert().voxel.moldBase, 2.0f);
    float x = 0, y = 0, z = 0;
    EXPECT_EQ(reader.readNodeBlockEntry(x, y, z), 0);
}

TEST(Krnio, reader_that_is_not_open_has_nothing)
{
    const Written file(unitCube());
    KRNIO_Manipulator reader;
    const auto expectNothing = [&]
    {
        EXPECT_EQ(reader.getNNode(), 0);
        EXPECT_EQ(reader.getScaleFactor(), 0.0);
        EXPECT_EQ(reader.getNElementPlastic(), 0);
        EXPECT_EQ(reader.getNElementMoldBase(), 0);
        EXPECT_EQ(reader.getNElementSurface(), 0);
        EXPECT_EQ(reader.getNPartInsert(), 0);
        float x = 0, y = 0, z = 0;
        EXPECT_LT(reader.readNodeBlockEntry(x, y, z), 0);
        expectCells(reader, &KRNIO_Manipulator::readElementPlasticBlockEntry, {}, 0);
        expectCells(reader, &KRNIO_Manipulator::readElementMoldBaseBlockEntry, {}, 0);
        expectSurface(reader, {});
        expectPartInsert(reader, {});
    };
    expectNothing();
    ASSERT_EQ(reader.beginReading(file.name().c_str(), nullptr, 0), 0);
    EXPECT_EQ(reader.endReading(), 0);
    expectNothing();
    EXPECT_EQ(reader.endReading(), 0) << "harmless";
    ASSERT_EQ(reader.beginReading(file.name().c_str(), nullptr, 0), 0);
    testing::internal::CaptureStderr();
    EXPECT_EQ(reader.beginReading("", nullptr, 0), -1) << "closes what was open";
    EXPECT_EQ(reader.beginReading(nullptr, nullptr, 0), -1);
    EXPECT_EQ(reader.beginReading(file.name().c_str(), nullptr, 2), -1);
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "mesh file: no file name\nmesh file: no file name\nmesh file: the mode is neither 0 nor 1\n");
    expectNothing();
}

TEST(Krnio, block_test_tells_which_blocks_stand_in_the_file)
{
    const auto blocks = [](const std::string& file)
    {
        std::string found;
        for (int block = -1; block <= 8; ++block)
            if (KRNIO_Manipulator::getFileIthBlockExsistency(file.c_str(), block) != 0)
                found += std::to_string(block);
        return found;
    };
    EXPECT_EQ(blocks(Written(modelWithInsert()).name()), "123456");
    EXPECT_EQ(blocks(Written(unitCube()).name()), "124");
    MeshModel voxelOnly = unitCube();
    voxelOnly.cutCell = {};
    EXPECT_EQ(blocks(Written(voxelOnly).name()), "24") << "a mapping needs the nodes of both meshes";

    const ScratchFolder folder;
    writeBytes(folder.file("text.krn"), "no mesh");
    testing::internal::CaptureStderr();
    testing::internal::CaptureStdout();
    EXPECT_EQ(blocks(folder.file("missing.krn")), "");
    EXPECT_EQ(blocks(folder.file("text.krn")), "");
    EXPECT_EQ(blocks(folder.path().string()), "");
    EXPECT_EQ(KRNIO_Manipulator::getFileIthBlockExsistency(nullptr, 1), 0);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "") << "it prints nothing";
}

TEST(PartInsertInterface, lists_come_as_they_were_written)
{
    const MeshModel model = modelWithInsert();
    const Written file(model);
    CTAVFindKRN_PartPIInterface finder;
    ASSERT_EQ(finder.Create(file.name().c_str(), 0), 0);
    int n = 0;
    finder.GetNPartInterface(n);
    ASSERT_EQ(n, 1);
    finder.GetNPartInsertInterface(n);
    ASSERT_EQ(n, 1);

    const auto& expected = model.cutCell.partInterface[0].node;
    std::vector<int> node(218), mine(218), others(218);
    finder.GetPartInterface(1, n, node.data(), mine.data(), others.data());
    ASSERT_EQ(n, static_cast<int>(expected.size()));
    EXPECT_TRUE(std::equal(expected.begin(), expected.end(), node.begin()));
    EXPECT_EQ(mine[15], body::part);
    EXPECT_EQ(others[15], body::firstInsert);
    finder.GetPartInsertInterface(1, n, node.data(), mine.data(), others.data());
    EXPECT_EQ(n, 16);
    EXPECT_EQ(mine[0], body::firstInsert);
    EXPECT_EQ(others[0], body::part);
    for (const int missing : {0, 2, -1})
    {
        finder.GetPartInterface(missing, n, nullptr, nullptr, nullptr);
        EXPECT_EQ(n, 0);
    }
}

TEST(PartInsertInterface, failure_leaves_no_interfaces)
{
    const Written file(modelWithInsert());
    CTAVFindKRN_PartPIInterface finder;
    ASSERT_EQ(finder.Create(file.name().c_str(), 1), 0);
    testing::internal::CaptureStderr();
    EXPECT_EQ(finder.Create((file.name() + "x").c_str(), 1), -2);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), file.name() + "x: there is no such file\n");
    int n = -1;
    finder.GetNPartInterface(n);
    EXPECT_EQ(n, 0);
    finder.GetNPartInsertInterface(n);
    EXPECT_EQ(n, 0);
}

} // namespace krnio_test
