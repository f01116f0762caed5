#include "linear_results.h"
#include "run_command.h"
#include "support/scratch_folder.h"
#include "tools/compare_files.h"

#include <cmath>
#include <filesystem>
#include <limits>

namespace command_compare_test
{

using namespace tav3d;
using namespace tav3d::test;

namespace
{

class CompareCommand : public testing::Test
{
protected:
    void SetUp() override
    {
        opensuite::writeMeshFile(mesh_, model_);
        write(a_, result_);
    }

    /// Writes `changed` as the second file and compares.
    Outcome compareWith(const LinearResult& changed, const std::vector<std::string>& more = {})
    {
        write(b_, changed);
        std::vector<std::string> arguments{"compare", a_, b_};
        arguments.insert(arguments.end(), more.begin(), more.end());
        return runCommand(arguments);
    }

    static void expectHas(const Outcome& outcome, int status, std::initializer_list<std::string> parts)
    {
        EXPECT_EQ(outcome.status, status) << outcome.errors;
        EXPECT_EQ(outcome.errors, "");
        for (const std::string& part : parts)
            EXPECT_NE(outcome.output.find(part), std::string::npos) << "'" << part << "' is not in: " << outcome.output;
    }

    ScratchFolder folder_;
    opensuite::MeshModel model_ = modelWithInsert();
    std::string mesh_ = folder_.file("part.krn");
    std::string a_ = folder_.file("a.q7f");
    std::string b_ = folder_.file("b.q7f");
    LinearResult result_ = linearResult(model_, mesh_, true, {1, 7, 218});
};

} // namespace

TEST_F(CompareCommand, equal_files_say_so_and_nothing_else)
{
    const Outcome outcome = compareWith(result_);
    EXPECT_EQ(outcome.status, tools::exitDone);
    EXPECT_EQ(outcome.output, "A: " + a_ + "\nB: " + b_ + "\nequal\n");
    expectHas(runCommand({"compare", mesh_, mesh_}), 0, {"\nequal\n"});
}

TEST_F(CompareCommand, single_changed_node_is_found_with_its_place)
{
    // Node 218, the last: (x, y, z) is told in mesh length units.
    LinearResult changed = result_;
    const float before = changed.values[6][218];
    changed.values[6][218] = before + 0.5f;
    const tools::FileComparison comparison = [&]
    {
        write(b_, changed);
        return tools::compareFiles(a_, b_, 0.0);
    }();
    EXPECT_FALSE(comparison.isEqual());
    EXPECT_TRUE(comparison.description.empty());
    ASSERT_EQ(comparison.tables.size(), 4U);
    const tools::TableComparison& table = comparison.tables[0];
    EXPECT_EQ(table.item, 6);
    EXPECT_EQ(table.compared, 218);
    EXPECT_EQ(table.differing, 1);
    EXPECT_EQ(table.firstDiffering, 218);
    EXPECT_EQ(table.absolute.number, 218);
    EXPECT_EQ(table.absolute.difference, 0.5);
    EXPECT_EQ(table.absolute.a, before);
    EXPECT_EQ(table.absolute.b, before + 0.5f);
    EXPECT_EQ(table.relative.difference, 0.5 / std::max(std::abs(before), std::abs(before + 0.5f)));
    ASSERT_TRUE(table.absolute.place.has_value());
    const auto n = model_.cutCell.nodeTotal() - 1;
    EXPECT_EQ(table.absolute.place->x, 0.5 * model_.cutCell.x[n]);
    EXPECT_EQ(table.absolute.place->y, 0.5 * model_.cutCell.y[n]);
    EXPECT_EQ(table.absolute.place->z, 0.5 * model_.cutCell.z[n]);
    for (std::size_t k = 1; k < 4; ++k)
        EXPECT_TRUE(comparison.tables[k].isEqual());

    expectHas(compareWith(changed), 1,
              {"item 6 (Temperature): 1 of 218 nodes differ", "largest difference: 0.5 degC, node 218 at (", "\ndifferent\n"});
}

TEST_F(CompareCommand, largest_relative_difference_may_be_at_another_node)
{
    LinearResult changed = result_;
    changed.values[1][10] = result_.values[1][10] + 100.0f;
    result_.values[1][20] = 1e-3f;
    changed.values[1][20] = -1e-3f;
    write(a_, result_);
    write(b_, changed);
    const tools::TableComparison table = tools::compareFiles(a_, b_, 0.0).tables[1];
    EXPECT_EQ(table.differing, 2);
    EXPECT_EQ(table.firstDiffering, 10);
    EXPECT_EQ(table.absolute.number, 10);
    EXPECT_EQ(table.relative.number, 20);
    EXPECT_EQ(table.relative.difference, 2.0);
}

TEST_F(CompareCommand, tolerance_bounds_what_counts_but_the_largest_difference_is_still_told)
{
    LinearResult changed = result_;
    changed.values[6][5] += 0.25f;
    expectHas(compareWith(changed, {"--tolerance", "0.25"}), 0,
              {"item 6 (Temperature): 0 of 218 nodes differ", "largest difference: 0.25 degC, node 5", "\nequal (tolerance 0.25)\n"});
    expectHas(compareWith(changed, {"--tolerance", "0.249"}), 1, {"1 of 218 nodes differ", "\ndifferent (tolerance 0.249)\n"});
}

TEST_F(CompareCommand, nan_equals_nan_alone_and_zeros_are_equal)
{
    const float nan = std::numeric_limits<float>::quiet_NaN();
    LinearResult changed = result_;
    result_.values[6][3] = changed.values[6][3] = nan;
    result_.values[6][4] = 0.0f;
    changed.values[6][4] = -0.0f;
    write(a_, result_);
    expectHas(compareWith(changed), 0, {"\nequal\n"});
    changed.values[6][9] = nan;
    expectHas(compareWith(changed, {"--tolerance", "1000"}), 1, {"1 of 218 nodes differ", "largest difference: inf degC, node 9"});
    EXPECT_TRUE(std::isinf(tools::distanceOf(1.0, nan)));
    const double inf = std::numeric_limits<double>::infinity();
    EXPECT_EQ(tools::distanceOf(inf, inf), 0.0);
    EXPECT_EQ(tools::distanceOf(inf, -inf), inf);
}

TEST_F(CompareCommand, items_of_one_file_alone_are_listed)
{
    LinearResult changed = result_;
    changed.description.m_ResultItem[1].m_iResultItemID = 2;
    changed.values[2] = changed.values[1];
    expectHas(compareWith(changed), 1,
              {"item 1 (Time, melt front): only in A\n", "item 2 (Time, melt front): only in B\n", "\ndifferent\n"});
}

TEST_F(CompareCommand, differences_in_the_description_are_listed)
{
    LinearResult changed = result_;
    changed.description.m_strTitle = "other";
    changed.description.m_dFillingTime = 1.75;
    changed.description.m_OutputTime = {0.5, 1.5, 3.0};
    changed.description.m_CoolInfo[0].second = 41.0;
    changed.description.m_ResultItem[0].m_fMax = 101.0f;
    changed.description.m_ResultItem[0].m_strUnit = "K";
    std::swap(changed.description.m_ResultItem[1], changed.description.m_ResultItem[2]);
    expectHas(compareWith(changed), 1,
              {"title: A linear fields, B other\n", "filling time: A 1.5, B 1.75\n", "output time: number of entries: A 2, B 3\n",
               "cooling: coolant temperature: A 40, B 41\n", "item 6 (Temperature): unit: A degC, B K\n",
               "item 6 (Temperature): recorded maximum: A 100, B 101\n", "order of the items: A 6, 1, 21, 40, B 6, 21, 1, 40\n"});
}

TEST_F(CompareCommand, other_nodes_of_an_id_map_show)
{
    LinearResult changed = linearResult(model_, mesh_, true, {1, 8, 218});
    expectHas(compareWith(changed), 1,
              {"result type 3: node in entry 2 of its list: A 7, B 8\n", "item 21 (Heat flux): 1 nodes only in A; 1 nodes only in B\n",
               "    first: node 7\n"});
}

TEST_F(CompareCommand, results_on_different_meshes_are_different_and_not_compared)
{
    expectHas(compareWith(linearResult(model_, mesh_, false, {1, 7, 216})), 1,
              {"note: the results stand on different meshes: values are not compared\n", "mesh: A cut-cell, B voxel\n", "\ndifferent\n"});
}

TEST_F(CompareCommand, without_the_mesh_file_coordinates_are_left_out)
{
    LinearResult changed = result_;
    changed.values[6][5] += 0.25f;
    write(b_, changed);
    std::filesystem::remove(mesh_);
    expectHas(runCommand({"compare", a_, b_}), 1, {"note: no coordinates: ", "node 5: A "});
}

TEST_F(CompareCommand, mesh_files_are_compared_table_by_table)
{
    const std::string other = folder_.file("other.krn");
    model_.voxel.x[9] += 0.5f;
    model_.cutCell.surface[2].kind = 9;
    model_.cutCell.plastic.body[4] = 7;
    model_.title = "other";
    opensuite::writeMeshFile(other, model_);
    expectHas(runCommand({"compare", mesh_, other}), 1,
              {"title: A ", "voxel mesh: coordinates: 1 of 216 nodes differ\n    largest difference: 0.25, node 10 at (",
               "cut-cell mesh: plastic elements: 1 of ", "    first: cell 5\n", "cut-cell mesh: surface facets: 1 of ",
               "    first: facet 3\n"});
    const Outcome loose = runCommand({"compare", mesh_, other, "--tolerance", "0.3"});
    EXPECT_NE(loose.output.find("voxel mesh: coordinates: 0 of 216 nodes differ"), std::string::npos) << loose.output;
    model_.cutCell = {};
    opensuite::writeMeshFile(other, model_);
    expectHas(runCommand({"compare", mesh_, other}), 1, {"cut-cell mesh: only in A\n"});
}

TEST_F(CompareCommand, json_holds_the_same_facts)
{
    LinearResult changed = result_;
    changed.values[6][218] += 0.5f;
    const Outcome outcome = compareWith(changed, {"--json"});
    expectHas(outcome, 1,
              {"\"kind\": \"result\"", "\"equal\": false", "\"item\": 6", "\"compared\": 218", "\"differing\": 1", "\"number\": 218",
               "\"difference\": 0.5", "\"place\": ["});
}

TEST_F(CompareCommand, failures_are_told_apart_from_differences)
{
    for (const auto& [b, reason] : {std::pair{mesh_, "is a mesh file"}, {folder_.file("none.q7f"), "there is no such file"}})
    {
        const Outcome outcome = runCommand({"compare", a_, b});
        EXPECT_EQ(outcome.status, tools::exitFailed);
        EXPECT_EQ(outcome.output, "");
        expectOneLine(outcome.errors, {"tav3d: error: ", b, reason});
    }
}

TEST_F(CompareCommand, wrong_usage_ends_with_status_2)
{
    for (const std::vector<std::string>& more :
         {std::vector<std::string>{}, {a_, "--tolerance", "-1"}, {a_, "--tolerance", "nan"}, {a_, a_, a_}})
    {
        std::vector<std::string> arguments{"compare", a_};
        arguments.insert(arguments.end(), more.begin(), more.end());
        EXPECT_EQ(runCommand(arguments).status, tools::exitWrongUsage) << testing::PrintToString(arguments);
    }
}

} // namespace command_compare_test
