#include "cell_volumes.h"
#include "linear_results.h"
#include "run_command.h"
#include "support/scratch_folder.h"
#include "tools/grid_interpolator.h"
#include "tools/point_table.h"

#include <charconv>
#include <cmath>
#include <random>
#include <set>
#include <sstream>

namespace command_interpolate_test
{

using namespace tav3d;
using namespace tav3d::test;
using tools::Vec3;

namespace
{

/// Rows of fields of a CSV text without quotation marks.
std::vector<std::vector<std::string>> rowsOf(const std::string& text)
{
    std::vector<std::vector<std::string>> rows;
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);)
    {
        std::vector<std::string>& row = rows.emplace_back();
        for (std::size_t at = 0; at <= line.size();)
        {
            const std::size_t comma = std::min(line.find(',', at), line.size());
            row.push_back(line.substr(at, comma - at));
            at = comma + 1;
        }
    }
    return rows;
}

class InterpolateCommand : public testing::Test
{
protected:
    void SetUp() override
    {
        opensuite::writeMeshFile(mesh_, model_);
        write(result_, linearResult(model_, mesh_, true, surfaceNodes()));
    }

    /// All nodes with x = 0 (file coordinates).
    std::vector<int> surfaceNodes() const
    {
        std::vector<int> nodes;
        for (std::size_t n = 0; n < model_.cutCell.nodeTotal(); ++n)
            if (model_.cutCell.x[n] == 0.0f)
                nodes.push_back(static_cast<int>(n) + 1);
        return nodes;
    }

    Outcome interpolate(const std::string& points, const std::vector<std::string>& more = {})
    {
        writeBytes(points_, points);
        std::vector<std::string> arguments{"interpolate", result_, "--points", points_};
        arguments.insert(arguments.end(), more.begin(), more.end());
        return runCommand(arguments);
    }

    ScratchFolder folder_;
    opensuite::MeshModel model_ = modelWithInsert(); // a cube of edge 5 in mesh length units
    std::string mesh_ = folder_.file("part.krn");
    std::string result_ = folder_.file("part.q7f");
    std::string points_ = folder_.file("points.csv");
    std::string target_ = folder_.file("out.csv");
};

tools::FieldGrid gridOf(const opensuite::MeshZone& zone, float scale = 1.0f)
{
    tools::FieldGrid grid;
    grid.x = zone.x;
    grid.y = zone.y;
    grid.z = zone.z;
    for (auto* axis : {&grid.x, &grid.y, &grid.z})
        for (float& c : *axis)
            c *= scale;
    grid.cells = zone.plastic;
    grid.partCells = zone.plastic.size();
    tools::GridField field{6, "Linear (6)", "", {}, {}};
    for (std::size_t n = 0; n < grid.nodeTotal(); ++n)
        field.value.push_back(static_cast<float>(linearField(grid.x[n], grid.y[n], grid.z[n])));
    grid.fields.push_back(field);
    return grid;
}

} // namespace

TEST_F(InterpolateCommand, linear_field_is_reproduced_to_rounding_in_cells_of_all_kinds)
{
    std::mt19937 random(7);
    std::string text;
    constexpr int count = 500;
    for (int i = 0; i < count; ++i)
    {
        const auto coordinate = [&] { return std::to_string(5.0 * static_cast<double>(random()) / 4294967296.0); };
        text += coordinate() + "," + coordinate() + "," + coordinate() + "\n";
    }
    const Outcome outcome = interpolate(text, {"--items", "6"});
    ASSERT_EQ(outcome.status, 0) << outcome.errors;
    EXPECT_EQ(outcome.errors, "");
    const auto rows = rowsOf(outcome.output);
    ASSERT_EQ(rows.size(), 1U + count);
    EXPECT_EQ(rows[0], (std::vector<std::string>{"x", "y", "z", "cell", "distance", "Temperature (6) [degC]"}));
    std::set<opensuite::CellKind> kinds;
    for (std::size_t i = 1; i < rows.size(); ++i)
    {
        ASSERT_EQ(rows[i].size(), 6U);
        const double x = std::stod(rows[i][0]), y = std::stod(rows[i][1]), z = std::stod(rows[i][2]);
        EXPECT_EQ(rows[i][4], "0");
        EXPECT_NEAR(std::stod(rows[i][5]), linearField(x, y, z), 1e-12);
        const auto cell = static_cast<std::size_t>(std::stoi(rows[i][3])) - 1;
        const opensuite::MeshZone& zone = model_.cutCell;
        kinds.insert(cell < zone.plastic.size() ? zone.plastic.kind[cell] : zone.moldBase.kind[cell - zone.plastic.size()]);
    }
    EXPECT_EQ(kinds.size(), 4U);
}

TEST_F(InterpolateCommand, points_outside_have_a_distance_and_no_values_unless_asked_for)
{
    const std::string points = "2.5,2.5,5.25\n2.5,2.5,40\n";
    const auto rows = rowsOf(interpolate(points, {"--items", "6"}).output);
    ASSERT_EQ(rows.size(), 3U);
    EXPECT_NE(rows[1][3], "");
    EXPECT_EQ(rows[1][4], "0.25");
    EXPECT_EQ(rows[1][5], "");
    EXPECT_NE(rows[2][3], "");
    EXPECT_EQ(rows[2][4], "35");
    EXPECT_EQ(rows[2][5], "");
    const auto extrapolated = rowsOf(interpolate(points, {"--items", "6", "--extrapolate"}).output);
    EXPECT_EQ(extrapolated[1][4], "0.25");
    EXPECT_NEAR(std::stod(extrapolated[1][5]), linearField(2.5, 2.5, 5.25), 1e-12);
    EXPECT_NEAR(std::stod(extrapolated[2][5]), linearField(2.5, 2.5, 40), 1e-10);
}

TEST_F(InterpolateCommand, part_only_leaves_points_in_the_mould_base_without_a_cell)
{
    const auto rows = rowsOf(interpolate("0.5,0.5,0.5\n1.5,1.5,1.5\n", {"--items", "6", "--part-only", "--extrapolate"}).output);
    EXPECT_EQ(rows[1][4], "0.8660254037844386");
    EXPECT_NEAR(std::stod(rows[1][5]), linearField(0.5, 0.5, 0.5), 1e-12);
    EXPECT_EQ(rows[2][4], "0");
}

TEST_F(InterpolateCommand, item_behind_an_id_map_has_values_where_all_nodes_that_count_have_one)
{
    // On x = 0 only nodes of that face carry weight; a little inside, others do too.
    const Outcome outcome = interpolate("0,2.25,2.75\n0.25,2.25,2.75\n", {"--items", "21"});
    const auto rows = rowsOf(outcome.output);
    ASSERT_EQ(rows.size(), 3U) << outcome.errors;
    EXPECT_NEAR(std::stod(rows[1][5]), linearField(0, 2.25, 2.75), 1e-12);
    EXPECT_EQ(rows[2][5], "");
}

TEST_F(InterpolateCommand, columns_are_found_by_name_and_names_with_commas_are_quoted)
{
    const Outcome outcome = interpolate("\xEF\xBB\xBF\"name, long\", Z ,x, Y\r\n\r\n# sensors\r\n\"a,b\",1,2.5,+3e0\r\n");
    EXPECT_EQ(outcome.status, 0) << outcome.errors;
    EXPECT_EQ(
        outcome.output.find("x,y,z,cell,distance,Temperature (6) [degC],\"Time, melt front (1) [s]\",Heat flux (21) [W/m2]\n2.5,3,1,"), 0U)
        << outcome.output;
    expectOneLine(outcome.errors, {"note", "item 40 (Nothing)"});
}

TEST_F(InterpolateCommand, output_file_holds_what_else_is_printed)
{
    const std::string printed = interpolate("1,2,3\n", {"--items", "6"}).output;
    const Outcome outcome = interpolate("1,2,3\n", {"--items", "6", "-o", target_});
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.output, "");
    EXPECT_EQ(readBytes(target_), printed);
    EXPECT_EQ(folder_.entries(), 4);
}

TEST_F(InterpolateCommand, bad_points_are_told_by_line_and_write_nothing)
{
    const std::pair<const char*, const char*> cases[] = {
        {"1,2,3\n1,2\n", "line 2: 2 columns where 3 are wanted"},
        {"x,y,z\n1,2,3\n\n1,2,three\n", "line 4: z: 'three' is no finite number"},
        {"1,nan,3\n", "line 1: y: 'nan' is no finite number"},
        {"1,2,1e999\n", "line 1: z: '1e999' is no finite number"},
        {"1;2;3\n", "line 1: no number stands here, and as a line of names it lacks x"},
        {"x,y\n1,2\n", "line 1: no number stands here, and as a line of names it lacks z"},
        {"x,y,z,X\n1,2,3,4\n", "line 1: two columns are named x"},
        {"x,y,z\n", "holds no points"},
        {"", "holds no points"},
    };
    for (const auto& [text, reason] : cases)
    {
        const Outcome outcome = interpolate(text, {"-o", target_});
        EXPECT_EQ(outcome.status, tools::exitFailed);
        expectOneLine(outcome.errors, {"tav3d: error: " + points_ + ": " + reason});
        EXPECT_EQ(folder_.entries(), 3);
    }
}

TEST_F(InterpolateCommand, failures_name_file_and_item)
{
    expectOneLine(interpolate("1,2,3\n", {"--items", "7"}).errors, {result_, "item 7", "no such item"});
    expectOneLine(interpolate("1,2,3\n", {"--items", "21", "--method", "quadrature"}).errors, {result_, "item 21", "listed nodes"});
    expectOneLine(interpolate("1,2,3\n", {"-o", points_}).errors, {points_, "is one of the files that are read"});
    expectOneLine(runCommand({"interpolate", mesh_, "--points", points_}).errors, {mesh_, "is a mesh file"});
    expectOneLine(runCommand({"interpolate", result_, "--points", folder_.file("none.csv")}).errors, {"none.csv", "cannot be opened"});
    EXPECT_EQ(readBytes(points_), "1,2,3\n");
    EXPECT_EQ(runCommand({"interpolate", result_}).status, tools::exitWrongUsage);
    EXPECT_EQ(interpolate("1,2,3\n", {"--method", "linear"}).status, tools::exitWrongUsage);
}

TEST_F(InterpolateCommand, quadrature_is_near_the_field_and_exact_on_a_node)
{
    const Outcome outcome = interpolate("2.4,2.3,2.6\n2,3,2\n2,3,2.000000000001\n", {"--items", "6", "--method", "quadrature"});
    ASSERT_EQ(outcome.status, 0) << outcome.errors;
    const auto rows = rowsOf(outcome.output);
    const double value = std::stod(rows[1][5]);
    EXPECT_NEAR(value, linearField(2.4, 2.3, 2.6), 0.1);
    EXPECT_GT(std::abs(value - linearField(2.4, 2.3, 2.6)), 1e-9) << "that would be the shape functions";
    EXPECT_EQ(std::stod(rows[2][5]), linearField(2, 3, 2));
    EXPECT_EQ(std::stod(rows[3][5]), linearField(2, 3, 2));
}

TEST(GridInterpolator, cell_that_holds_the_point_wins_over_a_box_that_does)
{
    // The box of the prism holds points of no cell and of the pyramid's tetrahedron; centroids belong to their cells whatever the boxes say.
    const opensuite::MeshZone zone = oneCellOfEachKind().voxel;
    std::vector<Vec3> points;
    for (std::size_t c = 0; c < zone.plastic.size(); ++c)
    {
        const std::vector<Vec3> corner = cornersOf(zone, zone.plastic, c);
        for (const Vec3& p : corner) // towards each corner, where other cells' centres are nearer
        {
            Vec3 mean;
            for (const Vec3& q : corner)
                mean = mean + 1.0 / static_cast<double>(corner.size()) * q;
            points.push_back(p + 0.02 * (mean - p));
        }
    }
    const tools::FieldGrid grid = gridOf(zone);
    const auto values = tools::interpolateAtPoints(grid, points, {});
    std::size_t i = 0;
    for (std::size_t c = 0; c < zone.plastic.size(); ++c)
        for (int k = 0; k < nodeCount(zone.plastic.kind[c]); ++k, ++i)
        {
            EXPECT_EQ(values[i].cell, static_cast<int>(c) + 1) << "point " << i;
            EXPECT_EQ(values[i].distance, 0.0);
            ASSERT_TRUE(values[i].value[0].has_value());
            EXPECT_NEAR(*values[i].value[0], linearField(points[i].x, points[i].y, points[i].z), 1e-12);
        }
}

TEST(GridInterpolator, cells_larger_than_the_reach_of_the_search_are_found)
{
    const tools::FieldGrid grid = gridOf(unitCubes(2, 1, 1).voxel, 64.0f);
    const std::vector<Vec3> points{{1, 2, 3}, {127, 63, 1}, {32, 32, 32}, {-1, 2, 3}};
    const auto values = tools::interpolateAtPoints(grid, points, {});
    EXPECT_EQ(values[0].cell, 1);
    EXPECT_EQ(values[1].cell, 2);
    EXPECT_EQ(values[2].cell, 1);
    for (std::size_t i = 0; i < 3; ++i)
        EXPECT_NEAR(values[i].value[0].value_or(1e9), linearField(points[i].x, points[i].y, points[i].z), 1e-10);
    EXPECT_EQ(values[3].cell, 1);
    EXPECT_EQ(values[3].distance, 1.0);
    EXPECT_FALSE(values[3].value[0].has_value());
}

TEST(GridInterpolator, nearest_cell_is_the_nearest_by_its_surface)
{
    // Beside a large cell stands a row of small ones: their centres are nearer to the point, the large cell's face is.
    opensuite::MeshZone zone = unitCubes(1, 1, 1).voxel;
    for (float* axis : {zone.x.data(), zone.y.data(), zone.z.data()})
        for (std::size_t n = 0; n < 8; ++n)
            axis[n] *= 8.0f;
    const opensuite::MeshZone small = unitCubes(4, 1, 1).voxel;
    std::vector<std::int32_t> node;
    for (std::size_t n = 0; n < small.nodeTotal(); ++n)
    {
        zone.x.push_back(small.x[n]);
        zone.y.push_back(small.y[n] + 9.0f);
        zone.z.push_back(small.z[n] + 9.0f);
    }
    for (std::size_t c = 0; c < small.plastic.size(); ++c)
    {
        node.assign(small.plastic.node.begin() + small.plastic.start[c], small.plastic.node.begin() + small.plastic.start[c + 1]);
        for (std::int32_t& n : node)
            n += 8;
        zone.plastic.add(opensuite::CellKind::Hexa8, node.data(), opensuite::body::part);
    }
    const tools::FieldGrid grid = gridOf(zone);
    const std::vector<Vec3> points{{2, 7.5, 8.5}, {2.5, 9.5, 8.75}, {-3, -4, 4}};
    const auto values = tools::interpolateAtPoints(grid, points, {});
    EXPECT_EQ(values[0].cell, 1);
    EXPECT_EQ(values[0].distance, 0.5);
    EXPECT_EQ(values[1].cell, 4);
    EXPECT_EQ(values[1].distance, 0.25);
    EXPECT_EQ(values[2].cell, 1);
    EXPECT_EQ(values[2].distance, 5.0);
}

TEST(GridInterpolator, points_on_nodes_and_faces_belong_to_a_cell)
{
    const tools::FieldGrid grid = gridOf(unitCubes(3, 2, 2).voxel);
    const std::vector<Vec3> points{{0, 0, 0}, {3, 2, 2}, {1, 1, 1}, {1.5, 2, 0.5}, {0.1, 0.3, 0}};
    const auto values = tools::interpolateAtPoints(grid, points, {});
    for (std::size_t i = 0; i < points.size(); ++i)
    {
        EXPECT_EQ(values[i].distance, 0.0) << i;
        EXPECT_NEAR(values[i].value[0].value_or(1e9), linearField(points[i].x, points[i].y, points[i].z), 1e-12) << i;
    }
}

TEST(GridInterpolator, distance_is_that_to_the_surface_of_the_cell)
{
    const tools::FieldGrid grid = gridOf(unitCube().voxel);
    const std::vector<Vec3> points{{0.5, 0.5, 1.25}, {2, 2, 0.5}, {2, 3, 3}};
    const auto values = tools::interpolateAtPoints(grid, points, {});
    EXPECT_DOUBLE_EQ(values[0].distance, 0.25);
    EXPECT_DOUBLE_EQ(values[1].distance, std::sqrt(2.0));
    EXPECT_DOUBLE_EQ(values[2].distance, 3.0);
}

} // namespace command_interpolate_test
