// Handing an open result file over to the reader that comes next.

#include "opensuite/open_result.h"
#include "result_samples.h"
#include "support/scratch_folder.h"

#include <chrono>
#include <filesystem>
#include <thread>

namespace open_result_test
{

using namespace tav3d::test;
using tav3d::opensuite::OfferResult;
using tav3d::opensuite::openResult;
using File = std::shared_ptr<tav3d::opensuite::OpenResultFile>;

namespace
{

void waitUntilSettled()
{
    std::this_thread::sleep_for(std::chrono::milliseconds(2100));
}

} // namespace

TEST(OfferResult, a_file_that_was_only_just_written_is_opened_anew)
{
    const ScratchFolder folder;
    const std::string name = folder.file("a.q7f");
    ASSERT_EQ(writeSampleResult(name), 0);
    const File file = openResult(name.c_str()).file;
    ASSERT_TRUE(file);
    const OfferResult offer(file);
    const File opened = openResult(name.c_str()).file;
    ASSERT_TRUE(opened);
    EXPECT_NE(opened, file);
}

TEST(OfferResult, hands_over_the_file_of_that_name_once_while_it_lives)
{
    const ScratchFolder folder;
    const std::string name = folder.file("a.q7f");
    const std::string other = folder.file("b.q7f");
    ASSERT_EQ(writeSampleResult(name), 0);
    std::filesystem::create_hard_link(name, other);
    waitUntilSettled();
    const File file = openResult(name.c_str()).file;
    ASSERT_TRUE(file);
    {
        const OfferResult offer(file);
        EXPECT_NE(openResult(other.c_str()).file, file) << "messages would tell another name";
        EXPECT_EQ(openResult(name.c_str()).file, file);
        EXPECT_NE(openResult(name.c_str()).file, file);
    }
    {
        const OfferResult offer(file);
    }
    EXPECT_NE(openResult(name.c_str()).file, file);
}

TEST(OfferResult, reader_of_the_suite_reads_on_in_the_file_and_closes_it)
{
    const ScratchFolder folder;
    const std::string name = folder.file("a.q7f");
    ASSERT_EQ(writeSampleResult(name), 0);
    waitUntilSettled();
    const File file = openResult(name.c_str()).file;
    ASSERT_TRUE(file);
    const OfferResult offer(file);
    CTAV3DResultReader_Manipulator reader;
    ASSERT_EQ(reader.BeginReading(name.c_str(), nullptr), 0);
    CBinaryInform inform;
    ASSERT_EQ(CBinaryWriteTools::GetBinaryInform(inform, reader, 0), 0);
    EXPECT_TRUE(file->isStill(name));
    EXPECT_EQ(fullResult(6, 1, inform, reader), (std::vector<float>{1, 2, 3, 4, 5, 6}));
    reader.EndReading();
    EXPECT_FALSE(file->isStill(name));
}

TEST(OfferResult, a_file_that_has_changed_or_gone_is_not_handed_over)
{
#ifdef _WIN32
    GTEST_SKIP() << "a result that is open can neither be replaced nor removed on Windows";
#endif
    const ScratchFolder folder;
    const std::string name = folder.file("a.q7f");
    ASSERT_EQ(writeSampleResult(name), 0);
    waitUntilSettled();
    const File file = openResult(name.c_str()).file;
    ASSERT_TRUE(file);
    const OfferResult offer(file);

    CBinaryInform changed = sampleDescription();
    changed.m_strTitle = "another result";
    ASSERT_EQ(writeResult(name, changed, sampleValues()), 0);
    File opened = openResult(name.c_str()).file;
    ASSERT_TRUE(opened);
    EXPECT_EQ(opened->description().m_strTitle, "another result");
    waitUntilSettled();
    EXPECT_NE(openResult(name.c_str()).file, file);

    opened.reset();
    std::filesystem::remove(name);
    expectOneLine(errorOutput([&] { EXPECT_EQ(openResult(name.c_str()).code, -2); }), {name});
}

} // namespace open_result_test
