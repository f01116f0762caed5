#include "opensuite/replace_file.h"

#include "common/error_text.h"
#include "support/scratch_folder.h"

#include <gtest/gtest.h>

#include <set>
#include <string>
#include <vector>

#ifdef _WIN32
#include "support/held_file.h"

#include <thread>

#include <tlhelp32.h>
#else
#include <unistd.h>
#endif

namespace replace_file_test
{

using namespace tav3d::opensuite;
using namespace tav3d::test;

namespace
{

#ifdef _WIN32
/// Any process but this one and the idle one.
DWORD anotherProcess()
{
    PROCESSENTRY32 entry{};
    entry.dwSize = sizeof(entry);
    const HANDLE all = CreateToolhelp32Snapshot(TH32CS_SNAPPROCESS, 0);
    bool isOne = Process32First(all, &entry);
    while (isOne && (entry.th32ProcessID == 0 || entry.th32ProcessID == GetCurrentProcessId()))
        isOne = Process32Next(all, &entry);
    CloseHandle(all);
    return isOne ? entry.th32ProcessID : 0;
}

const std::string running = std::to_string(anotherProcess());
const std::string own = std::to_string(GetCurrentProcessId());
#else
const std::string running = std::to_string(getppid());
const std::string own = std::to_string(getpid());
#endif
const std::string ended = "2147483647"; // beyond what systems count to

/// The names of temporary files for this target as far as the process: "part.q7f.tmp-mill7-".
std::string beginOfTemporaries(const std::string& target)
{
    const std::string name = temporaryNameBeside(target).string();
    return name.substr(0, name.rfind(own + "-"));
}

std::set<std::string> namesIn(const ScratchFolder& folder)
{
    std::set<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(folder.path()))
        names.insert(entry.path().filename().string());
    return names;
}

} // namespace

TEST(FileReplacement, finished_file_takes_the_place_of_the_target)
{
    const ScratchFolder folder;
    writeBytes(folder.file("part.q7f"), "old");
    const std::filesystem::path temporary = temporaryNameBeside(folder.file("part.q7f"));
    writeBytes(temporary.string(), "new");
    EXPECT_NE(temporaryNameBeside(folder.file("part.q7f")), temporary);

    replaceFile(temporary, folder.file("part.q7f"));
    EXPECT_EQ(readBytes(folder.file("part.q7f")), "new");
    EXPECT_EQ(folder.entries(), 1);
}

TEST(FileReplacement, missing_finished_file_is_an_error_and_leaves_the_target)
{
    const ScratchFolder folder;
    writeBytes(folder.file("part.q7f"), "old");
    EXPECT_THROW(replaceFile(folder.file("missing"), folder.file("part.q7f")), std::filesystem::filesystem_error);
    EXPECT_EQ(readBytes(folder.file("part.q7f")), "old");
}

#ifdef _WIN32

TEST(FileReplacement, target_that_is_held_for_a_while_is_replaced_when_it_is_let_go)
{
    const ScratchFolder folder;
    writeBytes(folder.file("part.q7f"), "old");
    writeBytes(folder.file("finished"), "new");
    HeldFile held(folder.file("part.q7f"), FILE_SHARE_READ); // readable, but neither to be written nor to be replaced
    std::thread letsGo(
        [&]
        {
            Sleep(500); // of the second in which it is tried; long, for the first try may come late
            held.release();
        });
    EXPECT_NO_THROW(replaceFile(folder.file("finished"), folder.file("part.q7f")));
    letsGo.join();
    EXPECT_EQ(readBytes(folder.file("part.q7f")), "new");
    EXPECT_EQ(folder.entries(), 1);
}

TEST(FileReplacement, finished_file_that_is_held_for_a_while_takes_the_place_when_it_is_let_go)
{
    const ScratchFolder folder;
    writeBytes(folder.file("part.q7f"), "old");
    writeBytes(folder.file("finished"), "new");
    HeldFile held(folder.file("finished")); // as a scanner holds a file that has just been closed
    std::thread letsGo(
        [&]
        {
            Sleep(500);
            held.release();
        });
    EXPECT_NO_THROW(replaceFile(folder.file("finished"), folder.file("part.q7f")));
    letsGo.join();
    EXPECT_EQ(readBytes(folder.file("part.q7f")), "new");
    EXPECT_EQ(folder.entries(), 1);
}

/// What replaceFile() tells as its reason.
std::string failureOfReplacing(const std::string& finished, const std::string& target)
{
    try
    {
        replaceFile(finished, target);
        return "";
    }
    catch (const std::filesystem::filesystem_error& error)
    {
        return tav3d::common::errorText(error.code());
    }
}

TEST(FileReplacement, files_that_stay_held_are_told_from_those_that_may_not_be_written)
{
    const ScratchFolder folder;
    writeBytes(folder.file("part.q7f"), "old");
    writeBytes(folder.file("finished"), "new");
    for (const char* name : {"part.q7f", "finished"})
    {
        const HeldFile held(folder.file(name));
        EXPECT_EQ(failureOfReplacing(folder.file("finished"), folder.file("part.q7f")), "another program has the file open") << name;
    }
    std::filesystem::create_directory(folder.file("runs"));
    EXPECT_EQ(failureOfReplacing(folder.file("finished"), folder.file("runs")), "Permission denied");
    EXPECT_EQ(failureOfReplacing(folder.file("missing"), folder.file("part.q7f")), "No such file or directory");
}

TEST(FileReplacement, target_that_stays_held_is_an_error_and_both_files_stay)
{
    const ScratchFolder folder;
    writeBytes(folder.file("part.q7f"), "old");
    writeBytes(folder.file("finished"), "new");
    const HeldFile held(folder.file("part.q7f"), FILE_SHARE_READ);
    EXPECT_THROW(replaceFile(folder.file("finished"), folder.file("part.q7f")), std::filesystem::filesystem_error);
    EXPECT_EQ(readBytes(folder.file("part.q7f")), "old");
    EXPECT_EQ(readBytes(folder.file("finished")), "new");
}

#endif

#ifdef _WIN32

TEST(FileReplacement, target_of_the_longest_path_can_be_written)
{
    const ScratchFolder scratch;
    for (const std::size_t length : {250, 259})
        for (const std::size_t nameLength : {6, 11, 30, 120})
        {
            const std::size_t before = scratch.path().native().size() + 1;
            const std::filesystem::path folder = scratch.path() / std::wstring(length - nameLength - 1 - before, L'x');
            const std::filesystem::path target = folder / (std::wstring(nameLength - 4, L'\u00e4') + L".q7f");
            ASSERT_EQ(target.native().size(), length);
            std::filesystem::create_directory(folder);
            const std::filesystem::path temporary = temporaryNameBeside(target);
            EXPECT_EQ(temporary.parent_path(), folder);
            EXPECT_LE(temporary.native().size(), 259U);
            EXPECT_NE(temporaryNameBeside(target), temporary);
            writeBytes(tav3d::common::nameOf(temporary), "new");
            EXPECT_NO_THROW(replaceFile(temporary, target));
            EXPECT_EQ(readBytes(tav3d::common::nameOf(target)), "new");
        }
}

#endif

TEST(FileReplacement, target_of_the_longest_name_can_be_written)
{
#ifdef _WIN32
    GTEST_SKIP() << "Windows limits paths, not names; the test before this one covers them";
#else
    const ScratchFolder folder;
    for (const std::size_t length : {238, 250, 255})
    {
        std::string name(length % 2, 'x');
        while (name.size() < length)
            name += "ä";
        const std::string temporary = temporaryNameBeside(folder.file(name)).filename().string();
        const std::string front = temporary.substr(0, temporary.rfind(".tmp-"));
        EXPECT_LE(temporary.size(), 255U);
        EXPECT_TRUE(name.starts_with(front));
        EXPECT_EQ(front.size() % 2, length % 2) << "a letter is cut in two";
        writeBytes(folder.file(temporary), "new");
        EXPECT_NO_THROW(replaceFile(folder.file(temporary), folder.file(name)));
        EXPECT_EQ(readBytes(folder.file(name)), "new");

        // What is left of such a one is found.
        writeBytes(folder.file(front.substr(0, 100) + temporary.substr(front.size(), temporary.rfind(own) - front.size()) + ended + "-0"),
                   "left over");
        EXPECT_EQ(removeAbandonedTemporaries(folder.file(name)), 1);
    }
#endif
}

TEST(AbandonedTemporaries, those_of_ended_processes_go_and_all_others_stay)
{
    const ScratchFolder folder;
    const std::string base = beginOfTemporaries("part.q7f");
    const std::set<std::string> goes{base + ended + "-0", base + ended + "-12"};
    const std::set<std::string> stays{"part.q7f",
                                      base + running + "-0",
                                      base + own + "-0",
                                      beginOfTemporaries("part_vox.q7f") + ended + "-0",
                                      beginOfTemporaries("xpart.q7f") + ended + "-0",
                                      "part.q7f.tmp-" + ended + "-0",           // of nobody's computer
                                      "part.q7f.tmp-elsewhere-" + ended + "-0", // of another one
                                      base + "2-" + ended + "-0",
                                      base + ended,
                                      base + ended + "-",
                                      base + ended + "-1x",
                                      base + "-1",
                                      base + "0-0",
                                      base + "99999999999999999999-0",
                                      base + "4294967295-0"};
    for (const auto* names : {&goes, &stays})
        for (const std::string& name : *names)
            writeBytes(folder.file(name), "content");

    EXPECT_EQ(removeAbandonedTemporaries(folder.file("part.q7f")), 2);
    EXPECT_EQ(namesIn(folder), stays);
    EXPECT_EQ(removeAbandonedTemporaries(folder.file("part.q7f")), 0);
}

TEST(AbandonedTemporaries, folders_and_links_are_not_touched)
{
    const ScratchFolder folder;
    writeBytes(folder.file("precious"), "content");
    std::filesystem::create_directory(folder.file(beginOfTemporaries("part.q7f") + ended + "-0"));
#ifdef _WIN32
    const int links = 0; // ordinary users may make none there
#else
    const int links = 1;
    std::filesystem::create_symlink(folder.file("precious"), folder.file(beginOfTemporaries("part.q7f") + ended + "-1"));
#endif
    EXPECT_EQ(removeAbandonedTemporaries(folder.file("part.q7f")), 0);
    EXPECT_EQ(folder.entries(), 2 + links);
}

TEST(AbandonedTemporaries, folder_that_is_missing_holds_none)
{
    const ScratchFolder folder;
    EXPECT_EQ(removeAbandonedTemporaries(folder.file("missing/part.q7f")), 0);
    EXPECT_EQ(removeAbandonedTemporaries("no-such-part.q7f"), 0);
}

} // namespace replace_file_test
