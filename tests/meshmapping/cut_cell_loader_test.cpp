#include "meshmapping/cut_cell_loader.h"

#include "opensuite/mesh_file.h"
#include "platform/KRNIO.h"
#include "support/mapping_models.h"
#include "support/mapping_reference.h"
#include "support/mesh_models.h"
#include "support/numbered_values.h"
#include "support/scratch_folder.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace tav3d::meshmapping::cut_cell_loader_test
{
namespace
{

using opensuite::MeshModel;
using test::ints;
using test::plateNode;

/// What is read from a model, and what is printed meanwhile.
struct Reading
{
    explicit Reading(const MeshModel& model, bool ignorePartInsert = false, bool progress = false)
    {
        const test::ScratchFolder folder;
        const std::string path = folder.file("model.krn");
        opensuite::writeMeshFile(path, model);
        testing::internal::CaptureStdout();
        mesh = readCutCellMesh({path, progress, ignorePartInsert, 0.0f});
        console = testing::internal::GetCapturedStdout();
    }

    CutCellMesh mesh;
    std::string console;
};

void expectReference(const CutCellMesh& mesh, const test::CutCellReference& expected)
{
    const int n = expected.nodeTotal;
    ASSERT_EQ(mesh.nodeTotal, n);
    EXPECT_EQ(std::vector<float>(mesh.x.get(), mesh.x.get() + n + 1), expected.x);
    EXPECT_EQ(std::vector<float>(mesh.y.get(), mesh.y.get() + n + 1), expected.y);
    EXPECT_EQ(std::vector<float>(mesh.z.get(), mesh.z.get() + n + 1), expected.z);
    EXPECT_EQ(ints(mesh.plasticNode, n), expected.plastic);
    EXPECT_EQ(ints(mesh.moldBaseNode, n), expected.moldBase);
    EXPECT_EQ(ints(mesh.partNode, n), expected.part);
    EXPECT_EQ(ints(mesh.partInsertNode, n), expected.insert);
    EXPECT_EQ(ints(mesh.region, n), expected.region);
    EXPECT_EQ(mesh.surfaceNodeTotal, expected.surfaceNodeTotal);
    EXPECT_EQ(mesh.partInsertNodeTotal, expected.insertNodeTotal);
}

TEST(CutCellReading, agrees_with_the_model_for_every_kind_of_model_and_both_insert_modes)
{
    const std::vector<MeshModel> models{test::unitCube(), test::oneCellOfEachKind(), test::modelWithInsert(), test::plateModel(),
                                        test::plateWithInsertModel(0.7f)};
    for (std::size_t m = 0; m < models.size(); ++m)
        for (const bool ignore : {false, true})
        {
            SCOPED_TRACE("model " + std::to_string(m) + (ignore ? ", insert ignored" : ""));
            expectReference(Reading(models[m], ignore).mesh, test::cutCellReference(models[m], ignore));
        }
}

TEST(CutCellReading, is_silent_unless_progress_is_asked_for)
{
    EXPECT_EQ(Reading(test::plateWithInsertModel()).console, "");
}

// DELIBERATE basic-element-length
TEST(CutCellReading, prints_its_progress_line_by_line)
{
    MeshModel model = test::unitCube();
    model.scaleFactor = 0.001;
    EXPECT_EQ(Reading(model, false, true).console, "\n-----Read CutCell Node Block Entry-----\n"
                                                   "m_NNodeCultCell_ =8 Cutcell_NNode = 8 dScaleFactor = 0.001\n"
                                                   "CutCell Node Sum =8\n"
                                                   "\n-----Read Element Plastic Block Entry-----\n"
                                                   "m_CutCell_BasicElem_Length = 0.000000, NElem = 0 \n"
                                                   "\n-----Read Element Surface Block Entry-----\n"
                                                   "Cutcell Surface Node = 8\n"
                                                   "\n");
}

// DELIBERATE mesh-open-line
TEST(CutCellReading, an_unreadable_file_prints_one_unended_line_and_gives_an_empty_mesh)
{
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr(); // the mesh library's own reason
    const CutCellMesh mesh = readCutCellMesh({"/nowhere/at all.krn", false, false, 0.0f});
    testing::internal::GetCapturedStderr();
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "[CSmoothVoxel::getIsCutcellSurfaceNode()] error: Analysis mesh entity can not be found.");
    EXPECT_EQ(mesh.nodeTotal, 0);
    EXPECT_EQ(mesh.surfaceNodeTotal, 0);
    EXPECT_EQ(mesh.surfaceFacetTotal, 0);
    EXPECT_EQ(mesh.x[0], 0.0f);
}

TEST(CutCellReading, coordinates_are_multiplied_in_double_and_rounded_once)
{
    MeshModel model = test::unitCube();
    model.scaleFactor = 0.1;
    model.cutCell.x[1] = 9.0f;
    const auto reading = Reading(model);
    EXPECT_EQ(reading.mesh.x[2], static_cast<float>(9.0 * 0.1));
    EXPECT_NE(reading.mesh.x[2], 9.0f * 0.1f); // single precision would differ in the last bit
}

// DELIBERATE cut-cell-facet-kinds
TEST(CutCellReading, only_skin_facets_mark_part_nodes_and_only_skin_and_interface_give_the_region)
{
    for (const int kind : {0, 1, 2, 3, 4, 5, -1})
    {
        MeshModel model = test::unitCube();
        for (auto& facet : model.cutCell.surface)
            facet.kind = kind;
        const Reading reading(model);
        const auto all = [](int mark) { return std::vector<int>{0, mark, mark, mark, mark, mark, mark, mark, mark}; };
        EXPECT_EQ(ints(reading.mesh.partNode, 8), all(kind == 0)) << "kind " << kind;
        EXPECT_EQ(ints(reading.mesh.region, 8), all(kind == 0 || kind == 3)) << "kind " << kind;
        EXPECT_EQ(reading.mesh.surfaceNodeTotal, kind == 0 ? 8 : 0) << "kind " << kind;
        EXPECT_EQ(reading.mesh.surfaceFacetTotal, 6) << "kind " << kind;
    }
}

TEST(CutCellReading, a_facet_whose_flag_is_not_one_does_not_count)
{
    for (const int flag : {0, 2, -1})
    {
        MeshModel model = test::unitCube();
        for (auto& facet : model.cutCell.surface)
            facet.flag = flag;
        EXPECT_EQ(Reading(model).mesh.surfaceNodeTotal, 0) << "flag " << flag;
    }
}

TEST(CutCellReading, without_skin_only_interface_nodes_raise_the_surface_count)
{
    MeshModel model = test::plateWithInsertModel();
    std::erase_if(model.cutCell.surface, [](const auto& facet) { return facet.kind == 0; });
    EXPECT_EQ(Reading(model).mesh.surfaceNodeTotal, 9); // 3 x 3 nodes of the insert's top
    EXPECT_EQ(Reading(model, true).mesh.surfaceNodeTotal, 0);
}

// DELIBERATE part-insert-node-report
TEST(CutCellReading, interface_nodes_off_the_mold_base_join_it_and_are_reported_once_whatever_the_progress_switch_says)
{
    MeshModel model = test::plateWithInsertModel();
    // Without its mould-base cells no node is of the mould base, except that the interface nodes join it.
    model.cutCell.moldBase = {};
    for (auto& facet : model.cutCell.surface)
        facet.elementInFront = 0;
    std::erase_if(model.cutCell.surface, [](const auto& facet) { return facet.kind == 2; });
    const Reading reading(model);
    std::string expected;
    for (int j = 2; j <= 4; ++j)
        for (int i = 3; i <= 5; ++i)
            expected += "node ID = " + std::to_string(plateNode(i, j, 1)) + "\n";
    EXPECT_EQ(reading.console, expected);
    EXPECT_TRUE(reading.mesh.moldBaseNode[plateNode(4, 3, 1)]);
    EXPECT_FALSE(reading.mesh.moldBaseNode[plateNode(1, 1, 1)]);
}

TEST(CutCellReading, insert_nodes_off_every_skin_and_interface_facet_get_region_two)
{
    MeshModel model = test::plateWithInsertModel();
    std::erase_if(model.cutCell.surface, [](const auto& facet) { return facet.kind == 3; });
    const Reading reading(model);
    EXPECT_EQ(reading.mesh.region[plateNode(4, 3, 1)], 2); // in the middle of the interface
    EXPECT_EQ(reading.mesh.region[plateNode(1, 1, 1)], 1); // a corner of the plate
    EXPECT_EQ(reading.mesh.region[plateNode(4, 3, 0)], 0); // on the insert's bottom, which is no interface
    const Reading ignored(model, true);
    EXPECT_EQ(ignored.mesh.region[plateNode(4, 3, 1)], 2) << "the region is given before the marks are cleared";
}

// DELIBERATE counts-only-grow
TEST(CutCellReading, ignoring_the_insert_clears_the_marks_and_keeps_the_count)
{
    const Reading reading(test::plateWithInsertModel(), true);
    const int n = reading.mesh.nodeTotal;
    EXPECT_EQ(ints(reading.mesh.partInsertNode, n), std::vector<int>(static_cast<std::size_t>(n) + 1, 0));
    EXPECT_EQ(reading.mesh.partInsertNodeTotal, 9);
    EXPECT_EQ(reading.mesh.interfaceFacetTotal, 4);
    EXPECT_EQ(reading.mesh.partNode[plateNode(4, 3, 1)], 0) << "the finder was not asked";
}

TEST(CutCellReading, nodes_of_the_interface_lists_get_both_marks)
{
    MeshModel model = test::plateWithInsertModel();
    model.cutCell.partInterface[0].node = {plateNode(0, 0, 0)};
    model.cutCell.partInsertInterface[0].node = {plateNode(8, 6, 3)};
    const Reading reading(model);
    for (const int node : {plateNode(0, 0, 0), plateNode(8, 6, 3)})
    {
        EXPECT_EQ(reading.mesh.partNode[node], 1);
        EXPECT_EQ(reading.mesh.partInsertNode[node], 1);
        EXPECT_EQ(reading.mesh.region[node], 0) << "too late for a region";
    }
    EXPECT_EQ(reading.mesh.partInsertNodeTotal, 11);
}

TEST(ElementMarks, stop_at_the_end_of_the_block_and_read_nothing_without_elements)
{
    const test::ScratchFolder folder;
    const std::string path = folder.file("model.krn");
    opensuite::writeMeshFile(path, test::oneCellOfEachKind());
    KRNIO_Manipulator reader;
    ASSERT_EQ(reader.beginReading(path.c_str(), nullptr, 0), 0);
    EXPECT_EQ(ints(readPlasticMarks(reader, 0, 12), 12), std::vector<int>(13, 0));
    EXPECT_EQ(ints(readPlasticMarks(reader, 1, 12), 12), (std::vector<int>{0, 1, 1, 1, 1, 1, 1, 1, 1, 0, 0, 0, 0}));  // the hexahedron
    EXPECT_EQ(ints(readPlasticMarks(reader, 99, 12), 12), (std::vector<int>{0, 0, 1, 1, 1, 0, 1, 1, 1, 1, 1, 1, 1})); // the rest
    EXPECT_EQ(ints(readMoldBaseMarks(reader, 5, 12), 12), std::vector<int>(13, 0));
}

} // namespace
} // namespace tav3d::meshmapping::cut_cell_loader_test
