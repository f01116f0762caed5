// What the object tells of its tables, and its readers of single blocks.

#include "Tav3dMeshMappingArrary.h"

#include "opensuite/mesh_file.h"
#include "platform/KRNIO.h"
#include "support/mapping_checks.h"
#include "support/mapping_models.h"
#include "support/scratch_folder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>

namespace tav3d::test::mapping_queries_test
{
namespace
{

using Object = CTav3dMeshMappingArrary;
using Inspector = CTav3dMeshMappingArrary_Inspector;
using opensuite::MeshModel;

// DELIBERATE part-insert-list-is-mold-base
TEST(RenumberingLists, number_plastic_mold_base_and_part_surface_nodes)
{
    const MeshModel model = plateWithInsertModel();
    MappedModel mapped(model, 0, 0);
    const CutCellReference expected = cutCellReference(model, false);
    const auto marked = [](const std::vector<int>& mark)
    {
        std::vector<int> list{0};
        for (std::size_t i = 1; i < mark.size(); ++i)
            if (mark[i] == 1)
                list.push_back(static_cast<int>(i));
        return list;
    };
    const auto check = [&](int* (Object::*create)(int&), const std::vector<int>& mark)
    {
        int count = 0;
        const std::unique_ptr<int[]> list((mapped.object.*create)(count));
        EXPECT_EQ(std::vector<int>(list.get(), list.get() + count + 1), marked(mark));
    };
    check(&Object::CreateNodeReNumberArray_Cutcell_Part, expected.plastic);
    check(&Object::CreateNodeReNumberArray_Cutcell_PartInsert, expected.moldBase);
    check(&Object::CreateNodeReNumberArray_Cutcell_PartSruf, expected.part);

    bool mark[253] = {};
    mark[2] = mark[5] = mark[9] = true;
    int count = 0;
    const std::unique_ptr<int[]> list(Inspector::renumber(mapped.object, count, mark));
    EXPECT_EQ(count, 3);
    EXPECT_EQ(std::vector<int>(list.get(), list.get() + 4), (std::vector<int>{0, 2, 5, 9}));
}

TEST(BlockReaders, replace_the_mark_array_and_report_true)
{
    const ScratchFolder folder;
    const std::string path = folder.file("model.krn");
    opensuite::writeMeshFile(path, plateWithInsertModel());
    KRNIO_Manipulator reader;
    ASSERT_EQ(reader.beginReading(path.c_str(), nullptr, 0), 0);
    Object o;
    bool* mark = new bool[3]; // released by the first of them
    EXPECT_TRUE(Inspector::readElemP(o, reader, reader.getNElementPlastic(), 252, mark));
    EXPECT_TRUE(mark[plateNode(1, 1, 1)]);
    EXPECT_FALSE(mark[plateNode(0, 0, 0)]);
    EXPECT_TRUE(Inspector::readElemM(o, reader, reader.getNElementMoldBase(), 252, mark));
    EXPECT_TRUE(mark[plateNode(0, 0, 0)]);
    EXPECT_TRUE(Inspector::readElemM(o, reader, 0, 252, mark));
    EXPECT_EQ(std::count(mark, mark + 253, true), 0);
    delete[] mark;
}

TEST(BlockReaders, part_insert_entries_give_marks_count_and_on_request_the_facet_table)
{
    const ScratchFolder folder;
    const std::string path = folder.file("model.krn");
    opensuite::writeMeshFile(path, plateWithInsertModel());
    for (const int mode : {0, 1})
    {
        KRNIO_Manipulator reader;
        ASSERT_EQ(reader.beginReading(path.c_str(), nullptr, 0), 0);
        Object o;
        bool* mark = nullptr;
        int count = 99;
        EXPECT_TRUE(Inspector::readPartInsert(o, reader, 252, mark, count, mode));
        EXPECT_EQ(count, 9);
        EXPECT_TRUE(mark[plateNode(4, 3, 1)]);
        delete[] mark;
        int** table = Inspector::m_ppiVoxelPartInsert(o);
        ASSERT_EQ(table != nullptr, mode == 1);
        if (mode == 0)
            continue;
        EXPECT_EQ(table[0][0], 4);
        EXPECT_EQ(table[4][0], 4);
        EXPECT_EQ(table[5][0], 0);
        // A cut-cell mesh read while the table stands puts its own count there; the voxel reader ends it.
        Inspector::m_strFileName(o) = path;
        table[0][0] = -1;
        Inspector::readCutCellMesh(o);
        EXPECT_EQ(table[0][0], 4);
        Inspector::readVoxelMesh(o);
        EXPECT_EQ(Inspector::m_ppiVoxelPartInsert(o), nullptr);
        for (int r = 0; r <= reader.getNPartInsert(); ++r) // it made room for the file's own table, and was not released
            delete[] table[r];
        delete[] table;
    }
}

TEST(RowQueries, a_gauss_row_is_copied_with_its_own_weight)
{
    MappedModel mapped(plateModel(), 1, 0);
    const int node = plateNode(3, 3, 2);
    int flag = -1, n = -1, list[52];
    float w[52];
    Inspector::gaussRow(mapped.object, node, flag, n, list, w);
    const GaussRowReference expected = gaussRowReference(voxelReference(plateModel()), node);
    EXPECT_EQ(flag, 1);
    EXPECT_EQ(list[0], node);
    EXPECT_EQ(w[0], expected.self);
    EXPECT_EQ(std::vector<int>(list + 1, list + 1 + n), expected.node);
    EXPECT_EQ(std::vector<float>(w + 1, w + 1 + n), expected.weight);
}

TEST(RowQueries, a_node_without_gauss_row_stands_for_itself)
{
    MeshModel model = plateModel();
    ASSERT_EQ(setFacetKind(model.voxel, 2.5f, 2.5f, 2.0f, 1), 1);
    MappedModel mapped(model, 1, 0);
    for (const int node : {plateNode(0, 0, 0), plateNode(2, 2, 2)}) // off the surface, and on the gate
    {
        int flag = -1, n = -1, list[3] = {7, 7, 7};
        float w[3] = {7, 7, 7};
        Inspector::gaussRow(mapped.object, node, flag, n, list, w);
        EXPECT_EQ(flag, node == plateNode(2, 2, 2) ? 1 : 0);
        EXPECT_EQ(n, 1);
        EXPECT_EQ(list[0], node);
        EXPECT_EQ(list[1], node);
        EXPECT_EQ(list[2], 7);
        EXPECT_EQ(w[0], 1.0f);
        EXPECT_EQ(w[1], 0.0f);
        EXPECT_EQ(w[2], 7.0f);
    }
}

// DELIBERATE cut-cell-list-of-thirty
TEST(RowQueries, a_cut_cell_row_is_reported_as_thirty_entries_of_which_ten_are_nodes)
{
    const MeshModel model = plateModel();
    MappedModel mapped(model, 1, 0);
    const int node = plateNode(1, 1, 1);
    int flag = -1, n = -1;
    std::vector<int> list(32, 7);
    Inspector::cutCellRow(mapped.object, node, flag, n, list.data());
    EXPECT_EQ(flag, 1);
    EXPECT_EQ(n, 30);
    const auto row = cutCellRowReference(voxelReference(model), cutCellReference(model, false), node);
    std::vector<int> expected(32, 0);
    std::copy(row.begin(), row.end(), expected.begin() + 1);
    expected[31] = 7; // not touched
    EXPECT_EQ(list, expected);
}

} // namespace
} // namespace tav3d::test::mapping_queries_test
