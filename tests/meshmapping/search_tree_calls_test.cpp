// What the search tree is told: a stand-in that keeps its arguments takes the place of the suite's tree, which does not use the announced range.
// A program of its own, linked without the real one.

#include "meshmapping/smoothing_setup.h"
#include "meshmapping/voxel_loader.h"

#include "TAVOptKer.h"
#include "opensuite/mesh_file.h"
#include "support/mesh_models.h"
#include "support/scratch_folder.h"

#include <gtest/gtest.h>

#include <array>
#include <vector>

namespace
{

using Range = std::array<double, 9>; // upper corner, lower corner, three tuning numbers
struct Box
{
    int id;
    std::array<double, 6> corners; // upper, lower
    friend bool operator==(const Box&, const Box&) = default;
};

std::vector<Range> ranges;
std::vector<Box> boxes;
std::vector<int> options; // of the queries

} // namespace

CTAVOptKer::CTAVOptKer()
    : m_pImpl(nullptr)
{
    ranges.clear();
    boxes.clear();
    options.clear();
}
CTAVOptKer::~CTAVOptKer() = default;
void CTAVOptKer::SetADTreeRange(double xMax, double yMax, double zMax, double xMin, double yMin, double zMin, int level, int blockSize,
                                int capacity)
{
    ranges.push_back(
        {xMax, yMax, zMax, xMin, yMin, zMin, static_cast<double>(level), static_cast<double>(blockSize), static_cast<double>(capacity)});
}
void CTAVOptKer::AddSurfaceToADTree(int id, double xMax, double yMax, double zMax, double xMin, double yMin, double zMin)
{
    EXPECT_EQ(ranges.size(), 1u) << "the range comes first";
    boxes.push_back({id, {xMax, yMax, zMax, xMin, yMin, zMin}});
}
int* CTAVOptKer::SearchNearBlockID(double, double, double, double, double, double, int& count, int option)
{
    options.push_back(option);
    count = 0;
    return nullptr;
}

namespace tav3d::meshmapping
{
namespace
{

constexpr double h = 1.0e-6; // points are boxes of this half-width

TEST(SearchTreeCalls, of_the_voxel_reader_announce_the_range_of_all_nodes_and_number_points_as_elements_use_them)
{
    const test::ScratchFolder folder;
    opensuite::MeshModel model = test::unitCubes(2, 1, 1);
    model.scaleFactor = 0.5;
    model.voxel.x.push_back(-3.0f); // used by no element
    model.voxel.y.push_back(8.0f);
    model.voxel.z.push_back(-5.0f);
    opensuite::writeMeshFile(folder.file("model.krn"), model);
    const VoxelMesh mesh = readVoxelMesh(folder.file("model.krn"), false);
    EXPECT_EQ(ranges, (std::vector<Range>{{1.0, 4.0, 0.5, -1.5, 0.0, -2.5, 1, 10000, 200000}}));
    ASSERT_EQ(boxes.size(), 12u);
    for (int k = 1; k <= 12; ++k)
    {
        const int node = mesh.nodeOfCompact[k];
        const double x = mesh.x[node], y = mesh.y[node], z = mesh.z[node];
        EXPECT_EQ(boxes[static_cast<std::size_t>(k) - 1], (Box{k, {x + h, y + h, z + h, x - h, y - h, z - h}}));
    }
}

TEST(SearchTreeCalls, of_the_voxel_reader_announce_an_inverted_range_without_nodes)
{
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    const VoxelMesh mesh = readVoxelMesh("/nowhere/at all.krn", false);
    testing::internal::GetCapturedStderr();
    testing::internal::GetCapturedStdout();
    EXPECT_EQ(ranges, (std::vector<Range>{{-1e10, -1e10, -1e10, 1e10, 1e10, 1e10, 1, 10000, 200000}}));
    EXPECT_TRUE(boxes.empty());
}

// DELIBERATE smooth-range-not-widened-in-x
TEST(SearchTreeCalls, of_the_smoothing_set_up_widen_the_range_along_y_and_z_alone)
{
    const std::vector<double> x{0, 2, -1}, y{0, 5, 3}, z{0, -7, 4};
    const auto table = buildSmoothingTable({{x.data(), 2}, {y.data(), 2}, {z.data(), 2}}, 1.0, 50, 3.1416f);
    EXPECT_EQ(ranges, (std::vector<Range>{{2, 6, 5, -1, 2, -8, 1, 10000, 200000}}));
    EXPECT_EQ(boxes,
              (std::vector<Box>{{1, {2 + h, 5 + h, -7 + h, 2 - h, 5 - h, -7 - h}}, {2, {-1 + h, 3 + h, 4 + h, -1 - h, 3 - h, 4 - h}}}));
    EXPECT_EQ(options, std::vector<int>(40, 0)) << "20 cubes around each point";
    EXPECT_EQ(table.isSet[1] + table.isSet[2], 0);
}

} // namespace
} // namespace tav3d::meshmapping
