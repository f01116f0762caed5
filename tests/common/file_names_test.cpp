#include "common/file_names.h"

#include "support/scratch_folder.h"

#include <gtest/gtest.h>

#ifdef _WIN32
#define WIN32_LEAN_AND_MEAN
#ifndef NOMINMAX
#define NOMINMAX
#endif
#include <windows.h>
#endif

namespace file_names_test
{

using namespace tav3d::common;
using namespace tav3d::test;

TEST(FileNames, come_back_as_they_were)
{
    for (const char* name : {"", "part.krn", "model/part.krn", "Gehäuse ñ/Läufe 部品 (α) 😀.q7f", "C:/a b/c.q7f", "../x",
                             "\\\\server\\share\\a.q7f", "//server/share/a.q7f"})
        EXPECT_EQ(nameOf(pathOf(name)), name);
}

TEST(FileNames, in_a_folder_have_the_separator_of_the_folder)
{
    EXPECT_EQ(nameOf(inFolder(pathOf("runs/mapped"), pathOf("ä.q7f"))), "runs/mapped/ä.q7f");
    EXPECT_EQ(nameOf(inFolder(pathOf("runs/"), pathOf("a.q7f"))), "runs/a.q7f");
    EXPECT_EQ(nameOf(inFolder({}, pathOf("a.q7f"))), "a.q7f");
    EXPECT_EQ(nameOf(inFolder(pathOf("runs"), pathOf("a.q7f"))), "runs/a.q7f");
#ifdef _WIN32
    EXPECT_EQ(nameOf(inFolder(pathOf("C:\\runs"), pathOf("a.q7f"))), "C:\\runs\\a.q7f");
    EXPECT_EQ(nameOf(inFolder(pathOf("C:\\runs\\"), pathOf("a.q7f"))), "C:\\runs\\a.q7f");
    EXPECT_EQ(genericNameOf(pathOf("C:\\Läufe\\a.q7f")), "C:/Läufe/a.q7f");
    EXPECT_EQ(genericNameOf(pathOf("\\\\?\\C:\\Läufe\\a.q7f")), "\\\\?\\C:\\Läufe\\a.q7f");
    EXPECT_EQ(nameOf(inFolder(pathOf("C:"), pathOf("a.q7f"))), "C:a.q7f");
    EXPECT_EQ(nameOf(inFolder(pathOf("\\\\server\\share"), pathOf("a.q7f"))), "\\\\server\\share\\a.q7f");
    EXPECT_EQ(nameOf(inFolder(pathOf("//server/share"), pathOf("a.q7f"))), "//server/share/a.q7f");
    EXPECT_EQ(nameOf(inFolder(pathOf("\\\\?\\C:\\runs"), pathOf("a.q7f"))), "\\\\?\\C:\\runs\\a.q7f");
    EXPECT_EQ(genericNameOf(pathOf("\\\\server\\share\\ä.q7f")), "//server/share/ä.q7f");
#endif
}

TEST(FileNames, seen_from_a_folder_have_its_separators_and_no_dots)
{
    EXPECT_EQ(normalNameInFolder(pathOf("runs/mapped"), pathOf("../../model/ä.krn")), "model/ä.krn");
    EXPECT_EQ(normalNameInFolder({}, pathOf("../model/a.krn")), "../model/a.krn");
    EXPECT_EQ(normalNameInFolder(pathOf("runs"), pathOf("a.krn")), "runs/a.krn");
#ifdef _WIN32
    EXPECT_EQ(normalNameInFolder(pathOf("C:\\runs\\mapped"), pathOf("../../model/a.krn")), "C:\\model\\a.krn");
    EXPECT_EQ(normalNameInFolder(pathOf("C:/runs/mapped"), pathOf("../../model/a.krn")), "C:/model/a.krn");
    EXPECT_EQ(normalNameInFolder(pathOf("\\\\server\\share\\runs"), pathOf("../model/a.krn")), "\\\\server\\share\\model\\a.krn");
    EXPECT_EQ(normalNameInFolder(pathOf("//server/share/runs"), pathOf("../model/a.krn")), "//server/share/model/a.krn");
    EXPECT_EQ(normalNameInFolder(pathOf("\\\\?\\C:\\runs"), pathOf("../model/a.krn")), "\\\\?\\C:\\model\\a.krn");
    EXPECT_EQ(normalNameInFolder(pathOf("C:/runs"), pathOf("//server/share/a.krn")), "//server/share/a.krn");
#endif
}

TEST(FileNames, of_one_file_have_one_identity)
{
    const ScratchFolder folder;
    writeBytes(folder.file("ä.q7f"), "content");
    const std::filesystem::path identity = identityOf(pathOf(folder.file("ä.q7f")));
    EXPECT_EQ(identityOf(identity), identity);
    EXPECT_EQ(identityOf(pathOf(folder.file("missing/../ä.q7f"))), identity);
    EXPECT_NE(identityOf(pathOf(folder.file("b.q7f"))), identity);
    EXPECT_EQ(identityOf(pathOf(folder.file("b.q7f"))), identityOf(folder.path() / "." / "b.q7f"));
    EXPECT_EQ(identityOf("b.q7f"), identityOf(std::filesystem::absolute("b.q7f")));
#ifdef _WIN32
    for (const char* name : {"Ä.Q7F", "ä.q7f.", "Ä.q7F. . "})
        EXPECT_EQ(identityOf(pathOf(folder.file(name))), identity) << name;
    for (const char* name : {"B.Q7F", "b.q7f.", "B.q7F. . "}) // there is none yet
        EXPECT_EQ(identityOf(pathOf(folder.file(name))), identityOf(pathOf(folder.file("b.q7f")))) << name;
    std::wstring shortName(300, L'\0');
    shortName.resize(GetShortPathNameW(pathOf(folder.file("ä.q7f")).c_str(), shortName.data(), 300));
    EXPECT_EQ(identityOf(shortName), identity);
    EXPECT_EQ(identityOf(LR"(\\?\)" + identity.native()), identity);
#else
    EXPECT_NE(identityOf(pathOf(folder.file("B.Q7F"))), identityOf(pathOf(folder.file("b.q7f"))));
    std::filesystem::create_symlink(folder.file("ä.q7f"), folder.file("link"));
    EXPECT_EQ(identityOf(pathOf(folder.file("link"))), identity);
#endif
}

TEST(FileNames, name_the_same_file_for_removal_and_renaming)
{
    const ScratchFolder folder;
    const std::string from = folder.file("Läufe 部品.q7f");
    const std::string to = folder.file("α β.q7f");
    writeBytes(from, "content");
    EXPECT_EQ(renameFile(from.c_str(), to.c_str()), 0);
    EXPECT_EQ(readBytes(to), "content");
    EXPECT_NE(renameFile(from.c_str(), to.c_str()), 0);
    EXPECT_EQ(removeFile(to.c_str()), 0);
    EXPECT_NE(removeFile(to.c_str()), 0);
    EXPECT_EQ(folder.entries(), 0);
}

#ifdef _WIN32

TEST(FileNames, of_devices_are_no_targets)
{
    for (const char* name : {"NUL", "nul.q7f", "C:\\runs\\Con.tar.q7f", "aux .q7f", "COM1", "runs/lpt9.q7f", "com\u00b2.q7f", "CONOUT$"})
        EXPECT_EQ(whyNoTarget(pathOf(name)), "is the name of a device") << name;
    for (const char* name : {"nul-1.q7f", "contact.q7f", "com.q7f", "com10.q7f", "part.nul", "aux/part.q7f"})
        EXPECT_EQ(whyNoTarget(pathOf(name)), "") << name;
}

TEST(FileNames, that_are_no_utf8_are_in_the_code_page_of_the_system)
{
    const std::wstring inCodePage = pathOf("\xe4.q7f").native();
    EXPECT_EQ(inCodePage.substr(1), L".q7f");
    if (GetACP() == 1252) // of Western Europe
    {
        EXPECT_EQ(inCodePage, L"\u00e4.q7f");
    }
    EXPECT_EQ(pathOf("\xc3\xa4.q7f").native(), L"\u00e4.q7f");
}

TEST(FileNames, longer_than_windows_takes_are_told_in_failures)
{
    const std::string name = "C:\\" + std::string(250, 'x') + "\\" + std::string(20, 'y');
    EXPECT_EQ(ifTooLong(pathOf(name)), "; its path has 274 characters, and Windows takes 259 unless long paths are enabled");
    EXPECT_EQ(ifTooLong(pathOf("C:\\part.q7f")), "");
}

#endif

} // namespace file_names_test
