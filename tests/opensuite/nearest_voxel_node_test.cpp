#include "opensuite/nearest_voxel_node.h"

#include "support/case_count.h"

#include <gtest/gtest.h>

#include <array>
#include <limits>
#include <random>
#include <vector>

namespace nearest_voxel_node_test
{

namespace
{

using namespace tav3d::opensuite;
using tav3d::test::caseCount;

constexpr NodeBody mold = NodeBody::MoldBase;
constexpr NodeBody insert = NodeBody::PartInsert;
constexpr NodeBody plastic = NodeBody::Plastic;

struct Cloud
{
    std::vector<float> x, y, z;
    std::vector<NodeBody> body;

    void add(float px, float py, float pz, NodeBody b)
    {
        x.push_back(px);
        y.push_back(py);
        z.push_back(pz);
        body.push_back(b);
    }
    [[nodiscard]] BodyNodes nodes() const { return {x, y, z, body}; }
};

std::vector<std::int32_t> nearest(const Cloud& cutCell, const Cloud& voxel)
{
    std::vector<std::int32_t> numbers(cutCell.x.size(), -1);
    nearestVoxelNodes(cutCell.nodes(), voxel.nodes(), numbers);
    return numbers;
}

/// The rule, by comparing with every voxel node.
std::vector<std::int32_t> nearestByComparing(const Cloud& cutCell, const Cloud& voxel)
{
    std::vector<std::int32_t> numbers;
    for (std::size_t i = 0; i < cutCell.x.size(); ++i)
    {
        std::int32_t number = 0;
        for (const bool anyBody : {false, true})
        {
            double best = std::numeric_limits<double>::infinity();
            for (std::size_t j = 0; j < voxel.x.size() && !(anyBody && number != 0); ++j)
            {
                if (!anyBody && voxel.body[j] != cutCell.body[i])
                    continue;
                const double dx = double(cutCell.x[i]) - double(voxel.x[j]);
                const double dy = double(cutCell.y[i]) - double(voxel.y[j]);
                const double dz = double(cutCell.z[i]) - double(voxel.z[j]);
                const double d = dx * dx + dy * dy + dz * dz;
                if (d < best)
                {
                    best = d;
                    number = static_cast<std::int32_t>(j + 1);
                }
            }
        }
        numbers.push_back(number);
    }
    return numbers;
}

} // namespace

TEST(NearestVoxelNode, nearest_node_of_the_same_body_wins_over_nearer_ones_of_others)
{
    Cloud voxel;
    voxel.add(0, 0, 0, mold);
    voxel.add(1, 0, 0, insert);
    voxel.add(5, 0, 0, plastic);
    Cloud cutCell;
    cutCell.add(0.1f, 0, 0, plastic);
    cutCell.add(4, 0, 0, mold);
    cutCell.add(9, 0, 0, insert);
    EXPECT_EQ(nearest(cutCell, voxel), (std::vector<std::int32_t>{3, 1, 2}));
}

TEST(NearestVoxelNode, equal_distances_go_to_the_lower_number)
{
    Cloud voxel;
    for (int repeat = 0; repeat < 3; ++repeat) // each node three times
        for (int corner = 0; corner < 8; ++corner)
            voxel.add(float(corner & 1), float(corner >> 1 & 1), float(corner >> 2), plastic);
    Cloud cutCell;
    cutCell.add(0.5f, 0.5f, 0.5f, plastic);
    cutCell.add(1, 0.5f, 0.5f, plastic);
    cutCell.add(1, 1, 1, plastic);
    EXPECT_EQ(nearest(cutCell, voxel), (std::vector<std::int32_t>{1, 2, 8}));
}

TEST(NearestVoxelNode, node_that_stands_on_voxel_nodes_takes_the_lowest_number_whatever_the_sign_of_zero)
{
    Cloud voxel;
    voxel.add(7, 0, 0, mold);
    voxel.add(-0.0f, 1, 0, plastic);
    voxel.add(0, 1, -0.0f, plastic);
    voxel.add(0, 2, 0, plastic);
    voxel.add(-0.0f, 2, -0.0f, plastic);
    Cloud cutCell;
    cutCell.add(0, 1, 0, plastic);
    cutCell.add(-0.0f, 1, -0.0f, plastic);
    cutCell.add(0, 2, -0.0f, plastic);
    cutCell.add(7, 0, 0, plastic); // a voxel node of another body stands there
    cutCell.add(7, -0.0f, 0, mold);
    EXPECT_EQ(nearest(cutCell, voxel), (std::vector<std::int32_t>{2, 2, 4, 2, 1}));
}

TEST(NearestVoxelNode, body_without_voxel_nodes_takes_the_nearest_of_any_body)
{
    Cloud voxel;
    voxel.add(0, 0, 0, mold);
    voxel.add(3, 0, 0, plastic);
    Cloud cutCell;
    cutCell.add(1, 0, 0, insert);
    cutCell.add(2, 0, 0, insert);
    EXPECT_EQ(nearest(cutCell, voxel), (std::vector<std::int32_t>{1, 2}));
}

TEST(NearestVoxelNode, without_voxel_nodes_there_is_none)
{
    Cloud cutCell;
    cutCell.add(1, 2, 3, plastic);
    EXPECT_EQ(nearest(cutCell, {}), std::vector<std::int32_t>{0});
    EXPECT_TRUE(nearest({}, cutCell).empty());
}

TEST(NearestVoxelNode, coordinates_that_are_not_finite_have_and_are_no_nearest_node)
{
    const float nan = std::numeric_limits<float>::quiet_NaN();
    const float infinity = std::numeric_limits<float>::infinity();
    Cloud voxel;
    voxel.add(nan, 0, 0, plastic);
    voxel.add(0, infinity, 0, plastic);
    voxel.add(50, 0, 0, plastic);
    Cloud cutCell;
    cutCell.add(0, 0, 0, plastic);
    cutCell.add(0, nan, 0, plastic);
    cutCell.add(-infinity, 0, 0, plastic);
    EXPECT_EQ(nearest(cutCell, voxel), (std::vector<std::int32_t>{3, 0, 0}));
}

TEST(NearestVoxelNode, lattices_full_of_ties_agree_with_comparing_every_node)
{
    std::mt19937 random(21);
    for (const int range : {3, 9, 30})
    {
        std::uniform_int_distribution<int> at(0, range);
        std::uniform_int_distribution<int> body(0, 2);
        Cloud voxel;
        Cloud cutCell;
        for (int i = 0; i < 1500; ++i)
            voxel.add(float(at(random)), float(at(random)), float(at(random)), NodeBody(body(random)));
        for (int i = 0; i < caseCount(25000); ++i)
            cutCell.add(float(at(random)) / 2, float(at(random)), float(at(random)) * 1.5f, NodeBody(body(random)));
        ASSERT_EQ(nearest(cutCell, voxel), nearestByComparing(cutCell, voxel)) << range;
    }
}

TEST(NearestVoxelNode, uneven_clouds_agree_with_comparing_every_node)
{
    std::mt19937 random(22);
    std::normal_distribution<float> gauss;
    Cloud voxel;
    Cloud cutCell;
    const auto scatter = [&](Cloud& cloud, int count)
    {
        for (int i = 0; i < count; ++i)
        {
            const float scale = i % 100 == 0 ? 1e20f : 1.0f; // a few nodes very far out
            cloud.add(scale * gauss(random), gauss(random), 0.001f * gauss(random), plastic);
        }
    };
    scatter(voxel, 1500);
    scatter(cutCell, caseCount(25000));
    ASSERT_EQ(nearest(cutCell, voxel), nearestByComparing(cutCell, voxel));
}

TEST(BodiesOfNodes, plastic_goes_before_part_insert_and_part_insert_before_mold_base)
{
    MeshZone mesh;
    mesh.x = mesh.y = mesh.z = std::vector<float>(9);
    const auto tetra = [](CellList& cells, std::array<std::int32_t, 4> node, std::int32_t body)
    { cells.add(CellKind::Tetra4, node.data(), body); };
    tetra(mesh.plastic, {1, 2, 3, 4}, body::part);
    tetra(mesh.moldBase, {3, 4, 5, 6}, body::firstInsert);
    tetra(mesh.moldBase, {4, 6, 7, 8}, body::mold);
    mesh.partInsert.push_back({{2, 8, 8, 8}, true, 1});
    EXPECT_EQ(bodiesOfNodes(mesh), (std::vector<NodeBody>{plastic, plastic, plastic, plastic, insert, insert, mold, insert, mold}));
}

TEST(BodiesOfNodes, node_numbers_that_the_mesh_does_not_have_are_passed_over)
{
    MeshZone mesh;
    mesh.x = mesh.y = mesh.z = std::vector<float>(1);
    const std::int32_t node[4] = {0, -1, 1, 2};
    mesh.plastic.add(CellKind::Tetra4, node, body::part);
    EXPECT_EQ(bodiesOfNodes(mesh), std::vector<NodeBody>{plastic});
}

} // namespace nearest_voxel_node_test
