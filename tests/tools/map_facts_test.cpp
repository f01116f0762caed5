#include "tools/map_facts.h"

#include "opensuite/mesh_file.h"
#include "support/mesh_models.h"
#include "support/scratch_folder.h"

#include <gtest/gtest.h>

namespace map_facts_test
{

using namespace tav3d;
using namespace tav3d::tools;

TEST(MapFacts, mapped_file_that_cannot_be_read_again_is_listed_as_failed_and_does_not_stop_the_others)
{
    const test::ScratchFolder folder;
    const std::string mesh = folder.file("cube.krn");
    opensuite::writeMeshFile(mesh, test::unitCube());
    const MapOptions options;
    const ModelMapper mapper(mesh, options);
    MapFacts facts(mesh, options, mapper, false);

    MapOutcome gone; // mapped, and taken away since
    gone.task = {folder.file("part.q7f"), folder.file("part.q7f")};
    gone.voxelFile = folder.file("part_vox.q7f");
    MapOutcome failed;
    failed.task = {folder.file("other.q7c"), folder.file("other.q7c")};
    failed.failure = "no such file";
    testing::internal::CaptureStderr(); // the reader's own line
    const std::string reason = facts.add(gone);
    testing::internal::GetCapturedStderr();
    EXPECT_EQ(reason, folder.file("part_vox.q7f") + ": cannot be read again for the report");
    EXPECT_EQ(facts.add(failed), "") << "that it failed is known";

    ASSERT_EQ(facts.report().files.size(), 2u);
    EXPECT_TRUE(facts.report().files[0].failed);
    EXPECT_EQ(facts.report().files[0].reason, reason);
    EXPECT_EQ(facts.report().files[1].reason, "no such file");
}

} // namespace map_facts_test
