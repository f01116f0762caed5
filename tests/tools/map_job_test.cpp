#include "tools/map_job.h"

#include "support/scratch_folder.h"

#include <gtest/gtest.h>

namespace map_job_test
{

using namespace tav3d;
using namespace tav3d::test;

namespace
{

/// What makeMapTasks() complains of; empty when it does not.
std::string complaint(const std::vector<std::string>& results, const std::string& output)
{
    try
    {
        static_cast<void>(tools::makeMapTasks(results, output));
        return "";
    }
    catch (const std::runtime_error& error)
    {
        return error.what();
    }
}

class MapTasks : public testing::Test
{
protected:
    void SetUp() override
    {
        for (const char* name : {"a", "b", "out"})
            std::filesystem::create_directory(folder_.path() / name);
        for (const char* name : {"part.q7f", "a/part.q7f", "b/PART.q7f"})
            writeBytes(folder_.file(name), "content");
    }

    std::string file(const std::string& name) const { return folder_.file(name); }

    ScratchFolder folder_;
};

} // namespace

TEST_F(MapTasks, go_into_the_folder_or_to_the_file_that_is_named)
{
    const auto inFolder = tools::makeMapTasks({file("part.q7f")}, file("out"));
    EXPECT_EQ(inFolder.front().target, folder_.path() / "out" / "part.q7f");
    EXPECT_EQ(tools::makeMapTasks({file("part.q7f")}, file("out/new.q7f")).front().target, folder_.path() / "out" / "new.q7f");
    EXPECT_TRUE(tools::makeMapTasks({file("part.q7f")}, "").front().inPlace());
}

TEST_F(MapTasks, of_one_source_or_onto_a_source_or_with_one_target_are_refused)
{
    EXPECT_EQ(complaint({file("part.q7f"), file("a/../part.q7f")}, ""), file("a/../part.q7f") + ": named twice");
    EXPECT_EQ(complaint({file("part.q7f")}, file("part.q7f")), file("part.q7f") + ": is both a source and a target");
    EXPECT_NE(complaint({file("part.q7f"), file("a/part.q7f")}, file("out")).find("is the target of two files"), std::string::npos);
}

#ifdef _WIN32

TEST_F(MapTasks, tell_files_by_what_the_system_takes_for_the_same_name)
{
    EXPECT_EQ(complaint({file("part.q7f"), file("PART.Q7F")}, ""), file("PART.Q7F") + ": named twice");
    for (const char* name : {"PART.q7f", "part.q7f.", "part.q7f ", "A/../Part.q7f"})
        EXPECT_EQ(complaint({file("part.q7f")}, file(name)), file(name) + ": is both a source and a target");
    EXPECT_NE(complaint({file("a/part.q7f"), file("b/PART.q7f")}, file("out")).find("is the target of two files"), std::string::npos);
}

#endif

TEST_F(MapTasks, tell_files_by_upper_and_lower_case)
{
#ifdef _WIN32
    GTEST_SKIP() << "names in upper and in lower case are the same file on Windows";
#endif
    EXPECT_EQ(complaint({file("a/part.q7f"), file("b/PART.q7f")}, file("out")), "");
    EXPECT_EQ(complaint({file("part.q7f")}, file("PART.q7f")), "");
}

} // namespace map_job_test
