#include "opensuite/cgns_reader.h"
#include "opensuite/cgns_writer.h"
#include "support/scratch_folder.h"

#include <gtest/gtest.h>

#include <numeric>

namespace cgns_file_test
{

using namespace tav3d::opensuite;
using tav3d::test::readBytes;
using tav3d::test::ScratchFolder;
using tav3d::test::writeBytes;

namespace
{

/// A file with one node of each kind.
void writeSample(const std::string& file)
{
    CgnsWriter writer(file);
    const std::string base = writer.addArray<std::int32_t>("/", "Base", "CGNSBase_t", {3, 3});
    writer.addText(base, "Title", "Descriptor_t", "a little file");
    const std::string data = writer.addNode(base, "Data", "UserDefinedData_t");
    writer.addArray<std::int64_t>(data, "Wide", "DataArray_t", {1, 2, 3, 4, 5, 6}, {2, 3});
    writer.addArray<float>(data, "Single", "DataArray_t", {0.5f, -0.25f});
    writer.addArray<double>(data, "Double", "DataArray_t", {1e300});
    writer.addLink(base, "Elsewhere", {"other.krn", "/Base/Voxel"});
    writer.commit();
}

FileFailure failureOf(const std::string& file)
{
    try
    {
        const CgnsReader reader(file);
    }
    catch (const FileError& error)
    {
        EXPECT_EQ(std::string(error.what()).find(file + ": "), 0u) << error.what();
        return error.failure();
    }
    ADD_FAILURE() << file << " was opened";
    return {};
}

} // namespace

TEST(CgnsFile, nodes_come_back_as_they_were_written)
{
    const ScratchFolder folder;
    writeSample(folder.file("a.cgns"));
    const CgnsReader reader(folder.file("a.cgns"));

    EXPECT_EQ(reader.children("/"), (std::vector<std::string>{"CGNSLibraryVersion", "Base"}));
    EXPECT_EQ(reader.children("/Base"), (std::vector<std::string>{"Title", "Data", "Elsewhere"}));
    EXPECT_EQ(reader.readValue<float>("/CGNSLibraryVersion"), 3.4f);
    EXPECT_EQ(reader.info("/Base").label, "CGNSBase_t");
    EXPECT_EQ(reader.read<std::int32_t>("/Base", 2, 2), (std::vector<std::int32_t>{3, 3}));
    EXPECT_EQ(reader.readText("/Base/Title", 100), "a little file");
    EXPECT_EQ(reader.info("/Base/Data").type, CgnsType::Empty);
    EXPECT_EQ(reader.info("/Base/Data/Wide").dims, (CgnsDims{2, 3}));
    EXPECT_EQ(reader.read<std::int64_t>("/Base/Data/Wide", 1, 10), (std::vector<std::int64_t>{1, 2, 3, 4, 5, 6}));
    EXPECT_EQ(reader.read<float>("/Base/Data/Single", 1, 10), (std::vector<float>{0.5f, -0.25f}));
    EXPECT_EQ(reader.readValue<double>("/Base/Data/Double"), 1e300);
    const CgnsLinkTarget link = reader.readLink("/Base/Elsewhere");
    EXPECT_EQ(link.file, "other.krn");
    EXPECT_EQ(link.path, "/Base/Voxel");
}

TEST(CgnsFile, array_written_in_pieces_is_read_in_other_pieces)
{
    const ScratchFolder folder;
    std::vector<std::int32_t> numbers(1000);
    std::iota(numbers.begin(), numbers.end(), 7);
    CgnsWriter writer(folder.file("a.cgns"));
    const std::string path = writer.beginArray<std::int32_t>("/", "Numbers", "DataArray_t", {4, 250});
    const std::span<const std::int32_t> all(numbers);
    writer.append(path, all.first(4));
    writer.append(path, all.subspan(4, 796));
    writer.append(path, all.last(200));
    writer.commit();

    const CgnsReader reader(folder.file("a.cgns"));
    const CgnsArray array = reader.open<std::int32_t>("/Numbers", 1, 1000);
    std::vector<std::int32_t> part(600);
    array.read(200, std::span<std::int32_t>(part));
    EXPECT_TRUE(std::equal(part.begin(), part.end(), numbers.begin() + 200));
    EXPECT_THROW(array.read(404, std::span<std::int32_t>(part)), FileError) << "one row too far";
    EXPECT_THROW(array.read(2, std::span<std::int32_t>(part)), FileError) << "not a whole row";
    std::vector<float> otherType(4);
    EXPECT_THROW(array.read(0, std::span<float>(otherType)), FileError);
}

TEST(CgnsFile, same_calls_give_the_same_bytes)
{
    const ScratchFolder folder;
    writeSample(folder.file("a.cgns"));
    writeSample(folder.file("another name.cgns"));
    EXPECT_TRUE(readBytes(folder.file("a.cgns")) == readBytes(folder.file("another name.cgns")));
}

TEST(CgnsFile, dropped_writer_leaves_the_target_and_nothing_else)
{
    const ScratchFolder folder;
    writeBytes(folder.file("a.cgns"), "what stood there");
    {
        CgnsWriter writer(folder.file("a.cgns"));
        writer.addArray<std::int32_t>("/", "Base", "CGNSBase_t", {3, 3});
        EXPECT_EQ(folder.entries(), 2);
    }
    EXPECT_EQ(folder.entries(), 1);
    EXPECT_EQ(readBytes(folder.file("a.cgns")), "what stood there");
}

TEST(CgnsFile, incomplete_array_keeps_the_file_from_being_committed)
{
    const ScratchFolder folder;
    CgnsWriter writer(folder.file("a.cgns"));
    const std::string path = writer.beginArray<float>("/", "Half", "DataArray_t", {2});
    const float one = 1;
    writer.append(path, std::span<const float>(&one, 1));
    EXPECT_THROW(writer.commit(), FileError);
    writer.append(path, std::span<const float>(&one, 1));
    writer.commit();
    EXPECT_EQ(CgnsReader(folder.file("a.cgns")).read<float>("/Half", 2, 2), (std::vector<float>{1, 1}));
}

TEST(CgnsFile, nodes_that_cannot_be_are_refused_and_the_writer_lives_on)
{
    const ScratchFolder folder;
    CgnsWriter writer(folder.file("a.cgns"));
    const auto failure = [&](const std::string& parent, const std::string& name, CgnsDims dims)
    {
        try
        {
            writer.addArray<float>(parent, name, "DataArray_t", {1.0f, 2.0f}, std::move(dims));
        }
        catch (const FileError& error)
        {
            return error.failure();
        }
        return FileFailure::CannotOpen;
    };
    EXPECT_EQ(failure("/", "", {}), FileFailure::BadInput);
    EXPECT_EQ(failure("/", "a/b", {}), FileFailure::BadInput);
    EXPECT_EQ(failure("/", "a name of more than 32 characters", {}), FileFailure::BadInput);
    EXPECT_EQ(failure("/Nowhere", "Single", {}), FileFailure::BadInput);
    EXPECT_EQ(failure("/", "CGNSLibraryVersion", {}), FileFailure::BadInput);
    EXPECT_EQ(failure("/", "TooSmall", {1}), FileFailure::BadInput);
    EXPECT_EQ(failure("/", "Zero", {2, 0}), FileFailure::BadInput);
}

TEST(CgnsFile, target_that_cannot_be_written_is_reported)
{
    const ScratchFolder folder;
    EXPECT_THROW(CgnsWriter(""), FileError);
    EXPECT_THROW(CgnsWriter(folder.path().string()), FileError);
    EXPECT_THROW(CgnsWriter(folder.file("no such folder/a.cgns")), FileError);
    EXPECT_EQ(folder.entries(), 0);
}

TEST(CgnsFile, other_files_are_told_apart_from_damaged_ones)
{
    const ScratchFolder folder;
    const std::string file = folder.file("a.cgns");
    EXPECT_EQ(failureOf(file), FileFailure::CannotOpen);
    EXPECT_EQ(failureOf(folder.path().string()), FileFailure::CannotOpen);
    writeBytes(file, "");
    EXPECT_EQ(failureOf(file), FileFailure::WrongKind);
    writeBytes(file, "solid cube\nfacet normal 0 0 1\n");
    EXPECT_EQ(failureOf(file), FileFailure::WrongKind);
    writeSample(file);
    const std::string whole = readBytes(file);
    for (std::size_t cut = 1; cut < whole.size(); cut += whole.size() / 100)
    {
        writeBytes(file, whole.substr(0, cut));
        EXPECT_EQ(failureOf(file), FileFailure::BadContent) << cut << " of " << whole.size() << " bytes";
    }
}

TEST(CgnsFile, what_does_not_fit_the_request_is_refused)
{
    const ScratchFolder folder;
    writeSample(folder.file("a.cgns"));
    const CgnsReader reader(folder.file("a.cgns"));
    EXPECT_FALSE(reader.has("/Base/Nowhere"));
    EXPECT_FALSE(reader.has("/Base/Elsewhere/ link")) << "links to other files are not followed";
    EXPECT_THROW((void)reader.info("/Base/Nowhere"), FileError);
    EXPECT_THROW((void)reader.readValue<std::int32_t>("/Base/Data/Single"), FileError);
    EXPECT_THROW((void)reader.read<float>("/Base/Data/Single", 3, 10), FileError);
    EXPECT_THROW((void)reader.read<float>("/Base/Data/Single", 0, 1), FileError);
    EXPECT_THROW((void)reader.readText("/Base/Data", 10), FileError);
    EXPECT_THROW((void)reader.readLink("/Base/Data"), FileError);
}

} // namespace cgns_file_test
