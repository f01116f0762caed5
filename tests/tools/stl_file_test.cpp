#include "shapes.h"
#include "support/scratch_folder.h"
#include "tools/stl_file.h"

#include <gtest/gtest.h>

#include <limits>

namespace stl_file_test
{

using namespace tav3d;
using namespace tav3d::test;
using tools::readStl;
using tools::TriangleMesh;

namespace
{

const TriangleMesh cube = box({1, 2, 3}, {2, 2, 2});

class StlFile : public testing::Test
{
protected:
    tools::StlSurface read(const std::string& bytes)
    {
        writeBytes(file_, bytes);
        return readStl(file_);
    }

    /// What readStl says about bytes that it does not take, behind the file's name.
    std::string refusal(const std::string& bytes)
    {
        try
        {
            read(bytes);
        }
        catch (const std::runtime_error& error)
        {
            const std::string text = error.what();
            EXPECT_EQ(text.substr(0, file_.size() + 2), file_ + ": ");
            return text.substr(std::min(text.size(), file_.size() + 2));
        }
        return "no error";
    }

    static void expectCube(const tools::StlSurface& surface)
    {
        EXPECT_EQ(surface.mesh.vertex.size(), 8U);
        EXPECT_EQ(surface.mesh.triangle.size(), 12U);
        EXPECT_DOUBLE_EQ(surface.volume, 8.0);
        EXPECT_EQ(surface.edges.open, 0);
        EXPECT_EQ(surface.edges.misoriented, 0);
    }

    ScratchFolder folder_;
    std::string file_ = folder_.file("shape.stl");
};

std::string replaced(std::string text, const std::string& from, const std::string& to)
{
    return text.replace(text.find(from), from.size(), to);
}

} // namespace

TEST_F(StlFile, ascii_cube_comes_back_with_shared_vertices)
{
    const auto surface = read(asciiStl(cube));
    expectCube(surface);
    EXPECT_TRUE(surface.warnings.empty());
}

TEST_F(StlFile, binary_cube_comes_back_with_shared_vertices)
{
    const auto surface = read(binaryStl(cube));
    expectCube(surface);
    EXPECT_TRUE(surface.warnings.empty());
}

TEST_F(StlFile, binary_file_that_begins_with_solid_is_binary)
{
    expectCube(read("solid" + binaryStl(cube).substr(5)));
}

TEST_F(StlFile, several_solids_upper_case_and_carriage_returns_are_read)
{
    std::string text = "SOLID\r\n";
    const std::string first = asciiStl(cube);
    text += first.substr(first.find('\n') + 1);
    text = replaced(text, "vertex", "VERTEX");
    const auto surface = read(text + asciiStl(box({9, 9, 9}, {1, 1, 1})));
    EXPECT_EQ(surface.mesh.triangle.size(), 24U);
    EXPECT_NEAR(surface.volume, 9, 1e-12);
}

TEST_F(StlFile, inward_orientation_still_gives_a_positive_volume)
{
    EXPECT_DOUBLE_EQ(read(binaryStl(flipped(cube))).volume, 8.0);
}

TEST_F(StlFile, missing_file_and_folder_are_refused)
{
    EXPECT_THROW(readStl(folder_.file("none.stl")), std::runtime_error);
    EXPECT_THROW(readStl(folder_.path().string()), std::runtime_error);
}

TEST_F(StlFile, empty_file_is_refused)
{
    EXPECT_EQ(refusal(""), "is empty");
}

TEST_F(StlFile, file_without_triangles_is_refused)
{
    EXPECT_EQ(refusal(binaryStl({})), "has no triangle");
    EXPECT_EQ(refusal("solid nothing\nendsolid nothing\n"), "has no triangle");
}

TEST_F(StlFile, text_that_only_looks_like_stl_is_refused_with_its_line)
{
    EXPECT_EQ(refusal("solid ground\nfor everybody\n"), "line 2: expected 'facet' or 'endsolid', found 'for' (no STL file, or damaged)");
    EXPECT_EQ(refusal("solid\n"), "starts like an ASCII STL file but has no triangle");
    EXPECT_EQ(refusal("hello"), "is no STL file (5 bytes, and no 'solid' at the start)");
    EXPECT_EQ(refusal(std::string(200, 'x')), "is no STL file (text without 'solid' at the start)");
}

TEST_F(StlFile, word_in_the_place_of_a_number_is_refused)
{
    EXPECT_EQ(refusal(replaced(asciiStl(cube), "vertex 1 ", "vertex one ")),
              "line 4: expected a number, found 'one' (no STL file, or damaged)");
}

TEST_F(StlFile, coordinate_that_is_not_finite_is_refused_with_its_triangle)
{
    EXPECT_EQ(refusal(replaced(asciiStl(cube), "vertex 1 ", "vertex nan ")), "triangle 1, vertex 1: coordinate is not finite");
    EXPECT_EQ(refusal(replaced(asciiStl(cube), "vertex 1 ", "vertex -inf ")), "triangle 1, vertex 1: coordinate is not finite");
    TriangleMesh bad = cube;
    bad.vertex[2].y = std::numeric_limits<double>::quiet_NaN(); // first used by triangle 2, as its second corner
    EXPECT_EQ(refusal(binaryStl(bad)), "triangle 2, vertex 2: coordinate is not finite");
}

TEST_F(StlFile, binary_file_cut_short_anywhere_is_refused)
{
    const std::string whole = binaryStl(cube);
    EXPECT_EQ(refusal(whole.substr(0, whole.size() - 1)), "announces 12 triangles but holds only 11 (truncated, or no STL file)");
    for (std::size_t length = 0; length < whole.size(); ++length)
    {
        EXPECT_NE(refusal(whole.substr(0, length)), "no error") << length;
    }
}

TEST_F(StlFile, triangle_count_that_the_file_cannot_back_is_refused_before_memory_is_taken)
{
    std::string bytes = binaryStl(cube);
    bytes.replace(80, 4, "\xff\xff\xff\xff");
    EXPECT_EQ(refusal(bytes), "announces 4294967295 triangles but holds only 12 (truncated, or no STL file)");
}

TEST_F(StlFile, ascii_file_cut_within_a_triangle_is_refused)
{
    const std::string text = asciiStl(cube);
    EXPECT_EQ(refusal(text.substr(0, text.rfind("endloop"))), "ends within triangle 12 (truncated): expected 'endloop'");
}

TEST_F(StlFile, missing_endsolid_is_a_warning)
{
    const std::string text = asciiStl(cube);
    const auto surface = read(text.substr(0, text.rfind("endsolid")));
    expectCube(surface);
    EXPECT_EQ(surface.warnings, std::vector<std::string>{"'endsolid' is missing; the file may be truncated"});
}

TEST_F(StlFile, bytes_behind_the_last_triangle_are_a_warning)
{
    const auto surface = read(binaryStl(cube) + "abc");
    expectCube(surface);
    EXPECT_EQ(surface.warnings, std::vector<std::string>{"3 bytes behind the last triangle ignored"});
}

TEST_F(StlFile, degenerate_and_duplicate_triangles_are_dropped_with_a_warning)
{
    TriangleMesh mesh = cube;
    mesh.triangle.push_back({0, 0, 1});
    mesh.triangle.push_back({3, 1, 0}); // the first one again, from another corner
    mesh.triangle.push_back({2, 4, 6}); // a pair that encloses nothing
    mesh.triangle.push_back({4, 2, 6});
    const auto surface = read(binaryStl(mesh));
    expectCube(surface);
    EXPECT_EQ(surface.warnings, (std::vector<std::string>{"1 degenerate triangle dropped", "3 duplicate triangles dropped"}));
}

TEST_F(StlFile, missing_triangle_is_a_warning_that_counts_the_open_edges)
{
    TriangleMesh mesh = cube;
    mesh.triangle.pop_back();
    const auto surface = read(binaryStl(mesh));
    EXPECT_EQ(surface.edges.open, 3);
    ASSERT_EQ(surface.warnings.size(), 1U);
    EXPECT_EQ(surface.warnings[0].substr(0, 47), "surface is open: 3 edges without a neighbour; h");
}

TEST_F(StlFile, triangles_oriented_against_each_other_are_a_warning)
{
    TriangleMesh mesh = cube;
    std::swap(mesh.triangle[0][0], mesh.triangle[0][1]);
    const auto surface = read(binaryStl(mesh));
    EXPECT_EQ(surface.edges.misoriented, 3);
    ASSERT_EQ(surface.warnings.size(), 1U);
    EXPECT_NE(surface.warnings[0].find("oriented against each other"), std::string::npos);
}

TEST_F(StlFile, surface_without_volume_is_refused)
{
    TriangleMesh flat = box({0, 0, 0}, {1, 1, 1});
    flat.triangle.resize(2);
    EXPECT_EQ(refusal(binaryStl(flat)), "encloses no volume");
    EXPECT_EQ(refusal(binaryStl(box({0, 0, 0}, {1, 1, 0}))), "encloses no volume");
}

} // namespace stl_file_test
