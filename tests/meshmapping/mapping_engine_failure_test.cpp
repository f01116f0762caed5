// A failing mapping engine waits for a key, so these tests run in child processes with pipes for standard input and output.

#ifndef __unix__

#include <gtest/gtest.h>

#define TAV3D_NEEDS_FORK(name)                                                                                                             \
    TEST(MappingEngineFailure, name)                                                                                                       \
    {                                                                                                                                      \
        GTEST_SKIP() << "the child processes are made with fork";                                                                          \
    }
TAV3D_NEEDS_FORK(prints_two_lines_waits_for_one_character_and_goes_on)
TAV3D_NEEDS_FORK(leaves_the_status_zero_and_overwrites_the_node_count_of_the_file)
TAV3D_NEEDS_FORK(of_a_missing_file_prints_both_readers_lines_first)
TAV3D_NEEDS_FORK(without_any_input_does_not_wait_for_ever)

#else

#include "Tav3dMeshMappingArrary.h"

#include "opensuite/mesh_file.h"
#include "support/mapping_checks.h"
#include "support/mesh_models.h"
#include "support/scratch_folder.h"

#include <gtest/gtest.h>

#include <cstdio>

#include <sys/wait.h>
#include <unistd.h>

namespace tav3d::test
{
namespace
{

using Object = CTav3dMeshMappingArrary;
using Inspector = CTav3dMeshMappingArrary_Inspector;
using opensuite::MeshModel;

/// Runs `action` in a child whose standard input and output are pipes.
class Child
{
public:
    template <class Action>
    explicit Child(Action action)
    {
        int in[2], out[2];
        if (pipe(in) != 0 || pipe(out) != 0)
            ADD_FAILURE() << "no pipes";
        pid_ = fork();
        if (pid_ == 0)
        {
            dup2(in[0], 0);
            dup2(out[1], 1);
            close(in[1]);
            close(out[0]);
            std::setvbuf(stdin, nullptr, _IONBF, 0);
            _exit(action());
        }
        close(in[0]);
        close(out[1]);
        in_ = in[1];
        out_ = out[0];
    }
    ~Child()
    {
        close(in_);
        close(out_);
    }

    /// Reads until `last` has arrived, or the output ends.
    std::string readUntil(const std::string& last) const
    {
        std::string text;
        char c = 0;
        while (!text.ends_with(last) && read(out_, &c, 1) == 1)
            text += c;
        return text;
    }
    [[nodiscard]] bool isRunning() const
    {
        int status = 0;
        return waitpid(pid_, &status, WNOHANG) == 0;
    }
    void send(const std::string& text) const { EXPECT_EQ(write(in_, text.data(), text.size()), static_cast<ssize_t>(text.size())); }
    [[nodiscard]] int exitStatus() const
    {
        int status = 0;
        waitpid(pid_, &status, 0);
        return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    }

private:
    pid_t pid_ = 0;
    int in_ = -1, out_ = -1;
};

// DELIBERATE engine-failure-waits
TEST(MappingEngineFailure, prints_two_lines_waits_for_one_character_and_goes_on)
{
    const Child child(
        []
        {
            std::freopen("/dev/null", "w", stderr); // the mesh library's reasons
            Object o;
            const int result = Inspector::createMapping(o, "/nowhere/model.krn");
            const bool empty = o.GetTotalNodeNumber_Cutcell() == 0 && Inspector::m_piCutCell2VoxelNode(o)[0] == 0;
            return result == 1 && empty && std::getchar() == 'b' ? 0 : 1;
        });
    EXPECT_EQ(child.readUntil("model.krn\n"), "Error in CTAVVoxelCutCellMappingEngine_Create\nat /nowhere/model.krn\n");
    EXPECT_TRUE(child.isRunning());
    child.send("ab"); // one is taken, one is left
    EXPECT_EQ(child.exitStatus(), 0);
}

// DELIBERATE set-up-returns-zero
TEST(MappingEngineFailure, leaves_the_status_zero_and_overwrites_the_node_count_of_the_file)
{
    const ScratchFolder folder;
    MeshModel model = unitCube();
    model.voxel = {}; // a file that has a cut-cell mesh alone
    opensuite::writeMeshFile(folder.file("half.krn"), model);
    const std::string path = folder.file("half.krn");
    const Child child(
        [&]
        {
            std::freopen("/dev/null", "w", stderr);
            Object o;
            Inspector::m_iMappingMode(o) = 1;
            const int result = o.SetParameters(path.c_str(), 1, 0);
            const bool read = Inspector::m_nCutCellSurfNode(o) == 8 && Inspector::m_pfCutCellX(o)[2] == 1.0f;
            return result == 0 && read && o.GetTotalNodeNumber_Cutcell() == 0 ? 0 : 1;
        });
    child.send("x");
    EXPECT_EQ(child.readUntil("half.krn\n"), "[CSmoothVoxel::getVoxelADTree()] error: Analysis mesh entity can not be found."
                                             "Error in CTAVVoxelCutCellMappingEngine_Create\nat " +
                                                 path + "\n");
    EXPECT_EQ(child.exitStatus(), 0);
}

TEST(MappingEngineFailure, of_a_missing_file_prints_both_readers_lines_first)
{
    const Child child(
        []
        {
            std::freopen("/dev/null", "w", stderr);
            Object o;
            return o.SetParameters("/nowhere/model.krn", 0, 0);
        });
    child.send("x");
    EXPECT_EQ(child.readUntil("model.krn\n"), "[CSmoothVoxel::getIsCutcellSurfaceNode()] error: Analysis mesh entity can not be found."
                                              "[CSmoothVoxel::getVoxelADTree()] error: Analysis mesh entity can not be found."
                                              "Error in CTAVVoxelCutCellMappingEngine_Create\nat /nowhere/model.krn\n");
    EXPECT_EQ(child.exitStatus(), 0);
}

TEST(MappingEngineFailure, without_any_input_does_not_wait_for_ever)
{
    const Child child(
        []
        {
            std::freopen("/dev/null", "r", stdin);
            std::freopen("/dev/null", "w", stderr);
            Object o;
            return o.SetParameters("/nowhere/model.krn", 0, 0);
        });
    EXPECT_EQ(child.exitStatus(), 0);
}

} // namespace
} // namespace tav3d::test

#endif
