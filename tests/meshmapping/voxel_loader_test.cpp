#include "meshmapping/voxel_loader.h"

#include "opensuite/mesh_file.h"
#include "support/mapping_models.h"
#include "support/mapping_reference.h"
#include "support/mesh_models.h"
#include "support/numbered_values.h"
#include "support/scratch_folder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <set>

namespace tav3d::meshmapping::voxel_loader_test
{
namespace
{

using opensuite::MeshModel;
using test::ints;
using test::plateNode;

/// What is read from a model, and what is printed meanwhile.
struct Reading
{
    explicit Reading(const MeshModel& model, bool progress = false)
    {
        const test::ScratchFolder folder;
        const std::string path = folder.file("model.krn");
        opensuite::writeMeshFile(path, model);
        testing::internal::CaptureStdout();
        mesh = readVoxelMesh(path, progress);
        console = testing::internal::GetCapturedStdout();
    }

    VoxelMesh mesh;
    std::string console;
};

std::vector<int> found(CTAVOptKer& tree, double x, double y, double z, double h)
{
    int count = 0;
    const int* id = tree.SearchNearBlockID(x - h, y - h, z - h, x + h, y + h, z + h, count, 0);
    return {id, id + count};
}

void expectReference(const VoxelMesh& mesh, const test::VoxelReference& expected, const MeshModel& model)
{
    const int n = expected.nodeTotal;
    ASSERT_EQ(mesh.nodeTotal, n);
    EXPECT_EQ(std::vector<float>(mesh.x.get(), mesh.x.get() + n + 1), expected.x);
    EXPECT_EQ(std::vector<float>(mesh.y.get(), mesh.y.get() + n + 1), expected.y);
    EXPECT_EQ(std::vector<float>(mesh.z.get(), mesh.z.get() + n + 1), expected.z);
    EXPECT_EQ(ints(mesh.plasticNode, n), expected.plastic);
    EXPECT_EQ(ints(mesh.partNode, n), expected.part);
    EXPECT_EQ(ints(mesh.partInsertNode, n), expected.insert);
    EXPECT_EQ(ints(mesh.fixedNode, n), expected.fixed);
    EXPECT_EQ(ints(mesh.compactNumber, n), expected.compact);
    EXPECT_EQ(mesh.elementLengthSquared, expected.elementLengthSquared);
    EXPECT_EQ(mesh.elementTotal, static_cast<int>(model.voxel.plastic.size()));
    EXPECT_EQ(mesh.surfaceNodeTotal, expected.surfaceNodeTotal);
    EXPECT_EQ(mesh.partInsertNodeTotal, expected.insertNodeTotal);

    const int numbered = *std::max_element(expected.compact.begin(), expected.compact.end());
    for (int k = 1; k <= numbered; ++k)
        EXPECT_EQ(expected.compact.at(static_cast<std::size_t>(mesh.nodeOfCompact[k])), k);
    EXPECT_EQ(found(*mesh.tree, 0, 0, 0, 1e6).size(), static_cast<std::size_t>(numbered)) << "one box per numbered node";

    const int surface = static_cast<int>(expected.facet.size()) - 1, insert = static_cast<int>(expected.insertFacet.size()) - 1;
    ASSERT_EQ(mesh.facetRowTotal, static_cast<int>(model.voxel.surface.size() + model.voxel.partInsert.size()));
    ASSERT_EQ(mesh.facetNode.rowTotal(), mesh.facetRowTotal + 1);
    EXPECT_EQ(mesh.facetNode[0][0], surface + insert);
    for (int f = 1; f <= surface + insert; ++f)
    {
        const auto& corner =
            f <= surface ? expected.facet.at(static_cast<std::size_t>(f)) : expected.insertFacet.at(static_cast<std::size_t>(f - surface));
        EXPECT_EQ(mesh.facetNode[f][0], 4);
        EXPECT_TRUE(std::equal(corner.begin(), corner.end(), mesh.facetNode[f] + 1)) << "facet " << f;
    }
    ASSERT_EQ(mesh.nodeFacet.rowTotal(), n + 1);
    for (int node = 1; node <= n; ++node)
    {
        const auto items = listItems(mesh.nodeFacet[node]);
        EXPECT_EQ(std::vector<int>(items.begin(), items.end()), expected.facetsOfNode.at(static_cast<std::size_t>(node)))
            << "node " << node;
    }
}

TEST(VoxelReading, agrees_with_the_model_for_every_kind_of_model)
{
    const std::vector<MeshModel> models{test::unitCube(), test::oneCellOfEachKind(), test::modelWithInsert(), test::plateModel(),
                                        test::plateWithInsertModel()};
    for (std::size_t m = 0; m < models.size(); ++m)
    {
        SCOPED_TRACE("model " + std::to_string(m));
        expectReference(Reading(models[m]).mesh, test::voxelReference(models[m]), models[m]);
    }
}

TEST(VoxelReading, is_silent_unless_progress_is_asked_for)
{
    EXPECT_EQ(Reading(test::modelWithInsert()).console, "");
}

TEST(VoxelReading, prints_its_progress_line_by_line)
{
    MeshModel model = test::unitCubes(2, 1, 1);
    model.scaleFactor = 2.5;
    EXPECT_EQ(Reading(model, true).console, "\n-----Read Voxel Node Block Entry-----\n"
                                            "dScaleFactor = 2.5 NNode = 12 iNode = 12\n"
                                            "Set Up Voxel ADTreeRange\n"
                                            "\n-----Read Element Plastic Block Entry-----\n"
                                            "Voxel Nodes = 12\n"
                                            "\n-----Read Element Surface Block Entry-----\n"
                                            "Voxel Surface Node = 12\n"
                                            "\n");
}

// DELIBERATE mesh-open-line
TEST(VoxelReading, an_unreadable_file_prints_one_unended_line_and_gives_an_empty_mesh)
{
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    const VoxelMesh mesh = readVoxelMesh("/nowhere/at all.krn", false);
    testing::internal::GetCapturedStderr();
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "[CSmoothVoxel::getVoxelADTree()] error: Analysis mesh entity can not be found.");
    EXPECT_EQ(mesh.nodeTotal, 0);
    EXPECT_EQ(mesh.facetNode[0][0], 0);
    EXPECT_TRUE(found(*mesh.tree, 0, 0, 0, 1e30).empty());
}

TEST(VoxelReading, cubes_have_the_square_of_their_edge_times_scale_as_element_length)
{
    EXPECT_EQ(Reading(test::unitCubes(3, 2, 2)).mesh.elementLengthSquared, 1.0f);
    MeshModel half = test::unitCubes(3, 2, 2);
    half.scaleFactor = 0.5;
    EXPECT_EQ(Reading(half).mesh.elementLengthSquared, 0.25f);
}

TEST(VoxelReading, the_mean_length_is_divided_and_squared_in_single_precision)
{
    MeshModel model = test::unitCubes(3, 1, 1);
    model.scaleFactor = 0.03;
    const double sum = 0.0899999998509885; // of the three edges, as their rounded coordinates give it
    const float mean = static_cast<float>(sum) / 3.0f;
    EXPECT_EQ(Reading(model).mesh.elementLengthSquared, mean * mean);
    EXPECT_NE(mean * mean, static_cast<float>(sum / 3 * (sum / 3))) << "the case must tell the two apart";
}

TEST(VoxelReading, without_plastic_elements_the_element_length_is_no_number)
{
    MeshModel model = test::unitCube();
    model.voxel.plastic = {};
    for (auto& facet : model.voxel.surface)
        facet.elementBehind = 0;
    const Reading reading(model);
    EXPECT_EQ(reading.mesh.elementTotal, 0);
    EXPECT_TRUE(std::isnan(reading.mesh.elementLengthSquared));
    EXPECT_EQ(reading.mesh.surfaceNodeTotal, 0) << "a corner that no plastic element uses is listed but not counted";
    EXPECT_EQ(reading.mesh.facetNode[0][0], 6);
}

TEST(VoxelReading, a_node_of_several_elements_has_one_number_and_one_box)
{
    const Reading reading(test::unitCubes(2, 2, 2));
    EXPECT_EQ(found(*reading.mesh.tree, 1, 1, 1, 0.1).size(), 1u); // the node that all eight cubes share
    EXPECT_EQ(found(*reading.mesh.tree, 1, 1, 1, 2.0).size(), 27u);
}

TEST(VoxelReading, numbers_follow_the_order_in_which_elements_list_their_nodes)
{
    const Reading reading(test::unitCubes(2, 1, 1)); // nodes 1 2 3 / 4 5 6 below, 7 8 9 / 10 11 12 above
    EXPECT_EQ(ints(reading.mesh.nodeOfCompact, 12), (std::vector<int>{0, 1, 2, 5, 4, 7, 8, 11, 10, 3, 6, 9, 12}));
}

// DELIBERATE voxel-facet-kinds
TEST(VoxelReading, kinds_of_facets_decide_what_is_listed_marked_and_fixed)
{
    for (const int kind : {0, 1, 2, 3, 4, 5, -1})
    {
        MeshModel model = test::unitCube();
        for (auto& facet : model.voxel.surface)
            facet.kind = kind;
        const Reading reading(model);
        const bool listed = std::set<int>{0, 1, 3, 4}.contains(kind);
        EXPECT_EQ(reading.mesh.facetNode[0][0], listed ? 6 : 0) << "kind " << kind;
        EXPECT_EQ(reading.mesh.surfaceNodeTotal, listed ? 8 : 0) << "kind " << kind;
        EXPECT_EQ(reading.mesh.fixedNode[1], kind == 1 || kind == 4 ? 1 : 0) << "kind " << kind;
    }
}

TEST(VoxelReading, a_facet_whose_flag_is_not_one_does_not_count)
{
    MeshModel model = test::unitCube();
    model.voxel.surface[0].flag = 0;
    EXPECT_EQ(Reading(model).mesh.facetNode[0][0], 5);
}

TEST(VoxelReading, a_corner_off_the_plastic_is_listed_and_not_counted)
{
    MeshModel model = test::plateModel();
    model.voxel.surface.push_back({{plateNode(0, 0, 0), plateNode(1, 0, 0), plateNode(1, 1, 0), plateNode(0, 1, 0)}, 1, 0, 0, 0});
    const int facets = Reading(test::plateModel()).mesh.facetNode[0][0];
    const Reading reading(model);
    EXPECT_EQ(reading.mesh.facetNode[0][0], facets + 1);
    EXPECT_EQ(reading.mesh.partNode[plateNode(0, 0, 0)], 0);
    EXPECT_EQ(reading.mesh.surfaceNodeTotal, 7 * 5 * 2);
    EXPECT_EQ(reading.mesh.nodeFacet[plateNode(0, 0, 0)][0], 1);
}

TEST(VoxelReading, insert_nodes_off_the_plastic_are_numbered_after_all_plastic_nodes)
{
    MeshModel model = test::plateWithInsertModel();
    model.voxel.partInsert.push_back({{plateNode(8, 6, 3), plateNode(7, 6, 3), plateNode(0, 0, 0), plateNode(8, 5, 3)}, true, 1});
    const Reading reading(model);
    const int plasticNodes = 7 * 5 * 2;
    EXPECT_EQ(reading.mesh.compactNumber[plateNode(0, 0, 0)], plasticNodes + 1); // ascending, not in the order of the facet
    EXPECT_EQ(reading.mesh.compactNumber[plateNode(8, 5, 3)], plasticNodes + 2);
    EXPECT_EQ(reading.mesh.compactNumber[plateNode(7, 6, 3)], plasticNodes + 3);
    EXPECT_EQ(reading.mesh.compactNumber[plateNode(8, 6, 3)], plasticNodes + 4);
    EXPECT_EQ(reading.mesh.compactNumber[plateNode(4, 3, 0)], 0) << "on the insert, and not on the interface";
    EXPECT_EQ(reading.mesh.partInsertNodeTotal, 9 + 4);
}

TEST(VoxelReading, interface_facets_follow_the_surface_facets_and_are_no_part_of_the_node_table)
{
    const Reading reading(test::plateWithInsertModel());
    const int total = reading.mesh.facetNode[0][0];
    int largest = 0;
    for (int node = 1; node <= reading.mesh.nodeTotal; ++node)
        for (const int facet : listItems(reading.mesh.nodeFacet[node]))
            largest = std::max(largest, facet);
    EXPECT_EQ(total - largest, 4); // the insert's top: 2 x 2 facets
}

TEST(VoxelReading, the_tenth_facet_of_a_node_is_dropped)
{
    MeshModel model = test::unitCube();
    const auto first = model.voxel.surface[0];
    for (int k = 0; k < 12; ++k)
        model.voxel.surface.push_back(first);
    const Reading reading(model);
    EXPECT_EQ(reading.mesh.nodeFacet[first.node[0]][0], 9);
}

TEST(VoxelReading, renumbered_nodes_give_the_same_mesh_under_other_numbers)
{
    const MeshModel model = test::modelWithInsert();
    const int n = static_cast<int>(model.voxel.nodeTotal());
    std::vector<int> newNumber(static_cast<std::size_t>(n) + 1);
    for (int i = 1; i <= n; ++i)
        newNumber[static_cast<std::size_t>(i)] = (i * 5) % n + 1; // 5 and 216 have no common factor
    MeshModel moved = model;
    moved.voxel = test::renumbered(model.voxel, newNumber);
    const Reading before(model), after(moved);
    EXPECT_EQ(after.mesh.elementLengthSquared, before.mesh.elementLengthSquared);
    EXPECT_EQ(after.mesh.surfaceNodeTotal, before.mesh.surfaceNodeTotal);
    for (int i = 1; i <= n; ++i)
    {
        const int to = newNumber[static_cast<std::size_t>(i)];
        EXPECT_EQ(after.mesh.partNode[to], before.mesh.partNode[i]);
        EXPECT_EQ(after.mesh.fixedNode[to], before.mesh.fixedNode[i]);
        EXPECT_EQ(after.mesh.compactNumber[to] != 0, before.mesh.compactNumber[i] != 0);
    }
}

} // namespace
} // namespace tav3d::meshmapping::voxel_loader_test
