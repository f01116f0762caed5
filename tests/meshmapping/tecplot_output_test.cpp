#include "meshmapping/tecplot_output.h"

#include "opensuite/mesh_file.h"
#include "platform/KRNIO.h"
#include "support/mapping_checks.h"
#include "support/mapping_models.h"
#include "support/mesh_models.h"
#include "support/scratch_folder.h"
#include "support/tecplot_reader.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <filesystem>
#include <limits>
#include <locale>
#include <sstream>

namespace tav3d::meshmapping::tecplot_output_test
{
namespace
{

using Inspector = CTav3dMeshMappingArrary_Inspector;

/// The working directory, moved to a scratch folder for one test.
class InScratchFolder
{
public:
    InScratchFolder()
        : before_(std::filesystem::current_path())
    {
        std::filesystem::current_path(folder_.path());
    }
    ~InScratchFolder() { std::filesystem::current_path(before_); }

private:
    test::ScratchFolder folder_;
    std::filesystem::path before_;
};

/// A capture table that releases itself.
struct Table
{
    explicit Table(int nodes)
        : rows(newCaptureTable(nodes))
    {
    }
    ~Table() { deleteCaptureTable(rows); }
    float** rows;
};

std::string printed(float value)
{
    char text[32];
    std::snprintf(text, sizeof(text), "%g", static_cast<double>(value));
    return text;
}

TEST(CaptureTable, has_three_zero_rows_of_one_entry_more_than_nodes)
{
    const Table table(4);
    for (int row = 0; row < 3; ++row)
        EXPECT_EQ(std::vector<float>(table.rows[row], table.rows[row] + 5), std::vector<float>(5, 0.0f));
    const Table empty(0);
    EXPECT_EQ(empty.rows[2][0], 0.0f);
    deleteCaptureTable(nullptr);
}

// DELIBERATE tecplot-file-name
TEST(TecplotNames, double_the_t_and_print_the_counter_with_six_decimals)
{
    EXPECT_EQ(tecplotFileName(true, 1.0), "VoxelResultt=1.000000_.plt");
    EXPECT_EQ(tecplotFileName(false, 12.0), "CutCellResultt=12.000000_.plt");
}

TEST(TecplotNames, are_cut_off_after_199_characters)
{
    const std::string name = tecplotFileName(true, std::numeric_limits<double>::max());
    EXPECT_EQ(name.size(), 199u);
    EXPECT_EQ(name.substr(0, 17), "VoxelResultt=1797");
}

// DELIBERATE tecplot-zone-title
TEST(TecplotWriting, gives_these_bytes)
{
    const test::ScratchFolder folder;
    opensuite::writeMeshFile(folder.file("cube.krn"), test::unitCube());
    KRNIO_Manipulator reader;
    ASSERT_EQ(reader.beginReading(folder.file("cube.krn").c_str(), nullptr, 0), 0);
    const float x[] = {0, 1.5f, -1.0f / 3}, y[] = {0, 1e-9f, 2}, z[] = {0, 0, 1234567}, first[] = {0, 7, 8}, second[] = {0, 1e30f, -0.0f};
    std::ostringstream out;
    writeTecplot(out, {{{x, 2}, {y, 2}, {z, 2}}, 2, first, second}, reader);
    EXPECT_EQ(out.str(), "VARIABLES=\"Xcord\",\"Ycord\",\"Zcord\",\"MF\",\"Temp\"\n"
                         "ZONE  T=\"Voxel\", N=2, E=1, F=FEPOINT, ET=BRICK\n"
                         "            1.5          1e-09              0              7          1e+30\n"
                         "      -0.333333              2    1.23457e+06              8             -0\n"
                         "\n"
                         "         1         2         4         3         5         6         8         7\n");
}

TEST(TecplotWriting, repeats_the_last_node_of_an_element_with_fewer_than_eight)
{
    const test::ScratchFolder folder;
    opensuite::writeMeshFile(folder.file("cells.krn"), test::oneCellOfEachKind());
    KRNIO_Manipulator reader;
    ASSERT_EQ(reader.beginReading(folder.file("cells.krn").c_str(), nullptr, 0), 0);
    const std::vector<float> zero(13, 0.0f);
    std::ostringstream out;
    writeTecplot(out, {{{zero.data(), 12}, {zero.data(), 12}, {zero.data(), 12}}, 12, zero.data(), nullptr}, reader);
    const auto file = test::readTecplot(out.str());
    const std::vector<std::array<int, 8>> expected{
        {1, 2, 3, 4, 5, 6, 7, 8}, {2, 3, 7, 6, 9, 9, 9, 9}, {4, 10, 8, 3, 11, 7, 7, 7}, {2, 3, 9, 12, 12, 12, 12, 12}};
    EXPECT_EQ(file.cell, expected);
}

TEST(TecplotWriting, is_not_swayed_by_the_locale_of_the_stream)
{
    struct Separators : std::numpunct<char>
    {
        char do_thousands_sep() const override { return '.'; }
        std::string do_grouping() const override { return "\3"; }
        char do_decimal_point() const override { return ','; }
    };
    KRNIO_Manipulator closed;
    const float value[] = {0, 1234.5f};
    std::ostringstream out;
    out.imbue(std::locale(std::locale::classic(), new Separators));
    writeTecplot(out, {{{value, 1}, {value, 1}, {value, 1}}, 1, value, value}, closed);
    EXPECT_EQ(test::readTecplot(out.str()).node[0][0], "1234.5");
}

TEST(TecplotWriting, puts_nodes_beyond_the_mesh_at_the_origin)
{
    KRNIO_Manipulator closed;
    const float value[] = {0, 3, 4};
    std::ostringstream out;
    writeTecplot(out, {{{value, 1}, {value, 1}, {value, 1}}, 2, value, nullptr}, closed);
    EXPECT_EQ(test::readTecplot(out.str()).node[1], (std::array<std::string, 5>{"0", "0", "0", "4", "0"}));
}

// DELIBERATE tecplot-voxel-temp
TEST(TecplotFiles, of_the_voxel_mesh_have_a_temperature_of_zero_and_the_result_files_node_count)
{
    const InScratchFolder here;
    test::MappedModel mapped(test::modelWithInsert(), 0, 0);
    const Table table(216);
    for (int i = 1; i <= 216; ++i)
    {
        table.rows[1][i] = static_cast<float>(i) / 7;
        table.rows[2][i] = 99.0f; // not shown
    }
    Inspector::m_nVoxelResultNode(mapped.object) = 200; // of 216
    EXPECT_EQ(mapped.object.TecPlotVoxelSmoothValue(table.rows, 1), 1);
    const auto file = test::readTecplot(test::readText("VoxelResultt=1.000000_.plt"));
    EXPECT_EQ(file.variables, "VARIABLES=\"Xcord\",\"Ycord\",\"Zcord\",\"MF\",\"Temp\"");
    EXPECT_EQ(file.title, "Voxel");
    ASSERT_EQ(file.node.size(), 200u);
    EXPECT_EQ(file.cell.size(), test::modelWithInsert().voxel.plastic.size());
    for (int i = 1; i <= 200; ++i)
    {
        const std::array<std::string, 5> expected{printed(Inspector::m_pfVoxelX(mapped.object)[i]),
                                                  printed(Inspector::m_pfVoxelY(mapped.object)[i]),
                                                  printed(Inspector::m_pfVoxelZ(mapped.object)[i]), printed(table.rows[1][i]), "0"};
        EXPECT_EQ(file.node[static_cast<std::size_t>(i) - 1], expected);
    }
}

TEST(TecplotFiles, of_the_cut_cell_mesh_show_both_items_and_the_next_number)
{
    const InScratchFolder here;
    test::MappedModel mapped(test::modelWithInsert(), 0, 0);
    const Table voxel(216), cutCell(218);
    for (int i = 1; i <= 218; ++i)
    {
        cutCell.rows[1][i] = static_cast<float>(i);
        cutCell.rows[2][i] = static_cast<float>(-i);
    }
    mapped.object.TecPlotVoxelSmoothValue(voxel.rows, 1);
    EXPECT_EQ(mapped.object.TecPlotVoxelSmoothValue(cutCell.rows, 0), 1);
    EXPECT_TRUE(std::filesystem::exists("VoxelResultt=1.000000_.plt"));
    const auto file = test::readTecplot(test::readText("CutCellResultt=2.000000_.plt"));
    ASSERT_EQ(file.node.size(), 218u);
    const auto& plastic = test::modelWithInsert().cutCell.plastic;
    ASSERT_EQ(file.cell.size(), plastic.size());
    for (std::size_t e = 0; e < plastic.size(); ++e)
        for (std::size_t k = 0; k < 8; ++k)
        {
            const auto last = plastic.start[e + 1] - 1;
            const auto at = std::min(plastic.start[e] + static_cast<std::int64_t>(k), last);
            EXPECT_EQ(file.cell[e][k], plastic.node[static_cast<std::size_t>(at)]);
        }
    EXPECT_EQ(file.node[216][0], printed(Inspector::m_pfCutCellX(mapped.object)[217]));
    EXPECT_EQ(file.node[216][3], "217");
    EXPECT_EQ(file.node[216][4], "-217");
}

TEST(TecplotFiles, with_one_item_captured_show_zeros_for_the_other)
{
    const InScratchFolder here;
    test::MappedModel mapped(test::unitCube(), 0, 0);
    const Table table(8);
    std::fill_n(table.rows[1] + 1, 8, 3.0f);
    mapped.object.TecPlotVoxelSmoothValue(table.rows, 0);
    for (const auto& node : test::readTecplot(test::readText("CutCellResultt=1.000000_.plt")).node)
    {
        EXPECT_EQ(node[3], "3");
        EXPECT_EQ(node[4], "0");
    }
}

TEST(TecplotFiles, of_any_other_mesh_number_have_cut_cell_nodes_and_no_elements)
{
    const InScratchFolder here;
    test::MappedModel mapped(test::unitCube(), 0, 0);
    const Table table(8);
    EXPECT_EQ(mapped.object.TecPlotVoxelSmoothValue(table.rows, 2), 1);
    const auto file = test::readTecplot(test::readText("CutCellResultt=1.000000_.plt"));
    EXPECT_EQ(file.node.size(), 8u);
    EXPECT_EQ(file.cell.size(), 0u);
}

TEST(TecplotFiles, replace_an_earlier_file_of_the_name)
{
    const InScratchFolder here;
    test::writeBytes("CutCellResultt=1.000000_.plt", std::string(100000, 'x'));
    test::MappedModel mapped(test::unitCube(), 0, 0);
    const Table table(8);
    mapped.object.TecPlotVoxelSmoothValue(table.rows, 0);
    EXPECT_EQ(test::readTecplot(test::readText("CutCellResultt=1.000000_.plt")).node.size(), 8u);
}

TEST(TecplotFiles, that_cannot_be_written_are_passed_over_and_counted)
{
    const InScratchFolder here;
    std::filesystem::create_directory("CutCellResultt=1.000000_.plt"); // in the way
    test::MappedModel mapped(test::unitCube(), 0, 0);
    const Table table(8);
    testing::internal::CaptureStdout();
    EXPECT_EQ(mapped.object.TecPlotVoxelSmoothValue(table.rows, 0), 1);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
    EXPECT_EQ(Inspector::m_dTecplotCounter(mapped.object), 1.0);
    EXPECT_TRUE(std::filesystem::is_directory("CutCellResultt=1.000000_.plt"));
}

TEST(TecplotReader, refuses_files_that_are_not_quite_right)
{
    const std::string variables = "VARIABLES=\"Xcord\",\"Ycord\",\"Zcord\",\"MF\",\"Temp\"\n";
    const std::string node = "              0              0              0              0              0\n";
    const std::string zone = "ZONE  T=\"Voxel\", N=1, E=0, F=FEPOINT, ET=BRICK\n";
    EXPECT_NO_THROW(test::readTecplot(variables + zone + node + "\n"));
    EXPECT_THROW(test::readTecplot(variables + zone + node), std::runtime_error);
    EXPECT_THROW(test::readTecplot(variables + zone + "\n"), std::runtime_error);
    EXPECT_THROW(test::readTecplot(variables + zone + " " + node + "\n"), std::runtime_error);
    EXPECT_THROW(test::readTecplot(variables + zone + node + "\n\n"), std::runtime_error);
    EXPECT_THROW(test::readTecplot(variables + "ZONE T=\"Voxel\", N=1, E=0, F=FEPOINT, ET=BRICK\n" + node + "\n"), std::runtime_error);
}

} // namespace
} // namespace tav3d::meshmapping::tecplot_output_test
