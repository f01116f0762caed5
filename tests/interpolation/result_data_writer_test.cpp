#include "Tav3dInterpolation.h"
#include "meshes.h"
#include "support/scratch_folder.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <sstream>

namespace result_data_writer_test
{

namespace fs = std::filesystem;
using meshes::Points;
using meshes::Rows;

namespace
{

/// Runs each test in an empty folder of its own, which is the working directory meanwhile.
class Writer : public ::testing::Test
{
protected:
    Writer() { fs::current_path(folder_.path()); }
    ~Writer() override { fs::current_path(before_); }

    static std::string contents()
    {
        std::ifstream file("30.plt"); // in text mode, so that line ends are the same everywhere
        EXPECT_TRUE(file.is_open());
        std::ostringstream text;
        text << file.rdbuf();
        return text.str();
    }

    /// Nodes 1..n at (i, -i/2, 0), fields k with value 100 k + node.
    void setNodes(int n)
    {
        node = Points();
        for (int i = 1; i <= n; ++i)
            node.add(i, -0.5 * i, 0);
        facade.SetBaseData(n, node.x.data(), node.y.data(), node.z.data());
        facade.SetNPhiValue(3);
        for (int k = 0; k < 4; ++k)
        {
            auto& field = fields[static_cast<std::size_t>(k)];
            field.assign(static_cast<std::size_t>(n) + 1, 0.0f);
            for (int i = 1; i <= n; ++i)
                field[static_cast<std::size_t>(i)] = static_cast<float>(100 * k + i);
            facade.SetPhiValue(k, field.data());
        }
    }

    /// The last lines: what follows the node lines.
    static std::string cellsOf(const std::string& text, int nodes)
    {
        std::size_t at = 0;
        for (int line = 0; line < nodes + 2; ++line)
            at = text.find('\n', at) + 1;
        return text.substr(at);
    }

    CTav3dInterpolation facade;
    Points node;
    std::array<std::vector<float>, 4> fields;

private:
    tav3d::test::ScratchFolder folder_;
    fs::path before_ = fs::current_path();
};

} // namespace

// DELIBERATE plt-quadrilateral
TEST_F(Writer, whole_file_is_as_it_always_was)
{
    setNodes(4);
    fields[1][2] = 0.1f;
    Rows rows = {{1, 2, 3, 4}};
    facade.WriteQ7XData(1, rows.data());
    EXPECT_EQ(contents(), " VARIABLES=\"Xcord\",\"Ycord\",\"Zcord\",\"U\",\"V\",\"W\",\"P\"\n"
                          " ZONE  T=\"30\", N=4, E=1, F=FEPOINT, ET=QUADRILATERAL\n"
                          "  1.0000e+00  -5.0000e-01   0.0000e+00   1.0100e+02   2.0100e+02   3.0100e+02   1.0000e+00\n"
                          "  2.0000e+00  -1.0000e+00   0.0000e+00   1.0000e-01   2.0200e+02   3.0200e+02   2.0000e+00\n"
                          "  3.0000e+00  -1.5000e+00   0.0000e+00   1.0300e+02   2.0300e+02   3.0300e+02   3.0000e+00\n"
                          "  4.0000e+00  -2.0000e+00   0.0000e+00   1.0400e+02   2.0400e+02   3.0400e+02   4.0000e+00\n"
                          "\n"
                          "         1         2         3         3         4         4         4         4\n");
}

TEST_F(Writer, without_cells_the_file_ends_with_two_empty_lines)
{
    setNodes(1);
    facade.WriteQ7XData(0, nullptr);
    const std::string text = contents();
    EXPECT_EQ(cellsOf(text, 1), "\n\n");
    EXPECT_NE(text.find("N=1, E=0,"), std::string::npos);
    facade.WriteQ7XData(-3, nullptr);
    EXPECT_NE(contents().find("E=-3,"), std::string::npos);
    EXPECT_EQ(cellsOf(contents(), 1), "\n\n");
}

// DELIBERATE plt-prism-blank
// DELIBERATE plt-skips-other-cells
TEST_F(Writer, cells_stand_on_one_line_as_eight_numbers_each)
{
    setNodes(12);
    Rows rows = {{1, 2, 3, 4, 5}, {1, 2, 3, 4, 5, 6, 7}, {7, 8, 9, 10, 11, 12}, {}, {8, 7, 6, 5, 4, 3, 2, 1}, {12, 11, 10, 9}};
    facade.WriteQ7XData(6, rows.data());
    EXPECT_EQ(cellsOf(contents(), 12), "\n"
                                       "         1         2         3         4         5         5         5         5"
                                       "         7         8         9          9        10        11        12         12"
                                       "         8         7         6         5         4         3         2         1"
                                       "        12        11        10        10         9         9         9         9\n");
}

TEST_F(Writer, second_call_overwrites_the_file)
{
    setNodes(12);
    facade.WriteQ7XData(0, nullptr);
    const auto size = contents().size();
    setNodes(1);
    facade.WriteQ7XData(0, nullptr);
    EXPECT_LT(contents().size(), size);
}

TEST_F(Writer, file_that_cannot_be_created_is_passed_over)
{
    setNodes(1);
    fs::create_directory("30.plt");
    facade.WriteQ7XData(0, nullptr);
    EXPECT_TRUE(fs::is_directory("30.plt"));
}

} // namespace result_data_writer_test
