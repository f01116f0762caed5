// Mesh files that are not, or not any more, what they should be.

#include "KRNIO.h"
#include "TAVFindMeshBlockInterface.h"
#include "hdf5_patch.h"
#include "opensuite/cgns_writer.h"
#include "opensuite/mesh_file.h"
#include "opensuite/mesh_file_reader.h"
#include "support/mesh_models.h"
#include "support/scratch_folder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <limits>

#ifdef __SANITIZE_ADDRESS__
#include <sanitizer/lsan_interface.h>
#endif

namespace mesh_file_damage_test
{

using namespace tav3d::opensuite;
using namespace tav3d::test;

namespace
{

/// What opening the voxel mesh of `file` gives: the code, and what was printed on standard error.
struct Answer
{
    int code = 0;
    std::string line;
};

Answer open(const std::string& file)
{
    KRNIO_Manipulator reader;
    testing::internal::CaptureStderr();
    Answer answer;
    answer.code = reader.beginReading(file.c_str(), nullptr, 1);
    answer.line = testing::internal::GetCapturedStderr();
    if (answer.code != 0)
    {
        EXPECT_EQ(answer.line.find(file + ": "), 0u) << answer.line;
        EXPECT_EQ(std::ranges::count(answer.line, '\n'), 1) << answer.line;
        EXPECT_EQ(reader.getNNode(), 0);
        EXPECT_EQ(reader.getScaleFactor(), 0.0);
        float x, y, z;
        EXPECT_LT(reader.readNodeBlockEntry(x, y, z), 0);
    }
    return answer;
}

/// The line without the file name in front.
std::string reason(const Answer& answer, const std::string& file)
{
    return answer.line.size() < file.size() + 3 ? "" : answer.line.substr(file.size() + 2, answer.line.size() - file.size() - 3);
}

void writePlainHdf5(const std::string& file, H5F_libver_t version)
{
    const hid_t access = H5Pcreate(H5P_FILE_ACCESS);
    H5Pset_libver_bounds(access, version == H5F_LIBVER_EARLIEST ? H5F_LIBVER_EARLIEST : version, H5F_LIBVER_LATEST);
    H5Fclose(H5Fcreate(file.c_str(), H5F_ACC_TRUNC, H5P_DEFAULT, access));
    H5Pclose(access);
}

} // namespace

TEST(MeshFileDamage, files_of_other_kinds_are_told_apart)
{
    const ScratchFolder folder;
    const std::string file = folder.file("a.krn");
    const auto expect = [&](int code, const std::string& text)
    {
        const Answer answer = open(file);
        EXPECT_EQ(answer.code, code);
        EXPECT_EQ(reason(answer, file), text);
    };
    expect(-2, "there is no such file");
    writeBytes(file, "");
    expect(-4, "is empty");
    writeBytes(file, "solid part\n  facet normal 0 0 1\n");
    expect(-4, "is not an HDF5 file");
    writeBytes(file, std::string("\x89PNG\r\n\x1a\n\0\0\0\rIHDR", 16) + std::string(1000, '\7'));
    expect(-4, "is not an HDF5 file");
    writePlainHdf5(file, H5F_LIBVER_EARLIEST);
    expect(-4, "superblock: is an HDF5 file of another layout");
    writePlainHdf5(file, H5F_LIBVER_V18);
    expect(-4, "is an HDF5 file, but not laid out as CGNS");
    CgnsWriter writer(file);
    writer.addArray<std::int32_t>("/", "Base", "CGNSBase_t", {3, 3});
    writer.commit();
    expect(-4, "/Base/MeshFile: is a CGNS file, but not a mesh file");

    const Answer ofFolder = open(folder.path().string());
    EXPECT_EQ(ofFolder.code, -2);
    EXPECT_EQ(reason(ofFolder, folder.path().string()), "is a folder");
}

TEST(MeshFileDamage, file_cut_off_anywhere_is_refused)
{
    const ScratchFolder folder;
    const std::string file = folder.file("a.krn");
    writeMeshFile(file, modelWithInsert());
    const std::string whole = readBytes(file);
    for (std::size_t percent = 0; percent < 100; ++percent)
    {
        writeBytes(file, whole.substr(0, whole.size() * percent / 100));
        EXPECT_EQ(open(file).code, percent == 0 ? -4 : -3) << percent << " %";
    }
    for (std::size_t length = 1; length < 64; ++length) // within the superblock and just behind it
    {
        writeBytes(file, whole.substr(0, length));
        EXPECT_EQ(open(file).code, -3) << length << " bytes";
    }
    writeBytes(file, whole.substr(0, whole.size() - 1));
    EXPECT_EQ(open(file).code, -3) << "one byte short";
    writeBytes(file, whole);
    EXPECT_EQ(open(file).code, 0);
}

TEST(MeshFileDamage, wrong_content_is_refused_with_the_item_and_the_reason)
{
    const float nan = std::numeric_limits<float>::quiet_NaN();
    const float infinity = std::numeric_limits<float>::infinity();
    constexpr std::int32_t huge = std::numeric_limits<std::int32_t>::max();
    using P = const Hdf5Patch&;
    const std::vector<std::pair<std::string, std::function<void(P)>>> cases = {
        // header values
        {"/Base/MeshFile/FormatVersion: is 2; this program reads version 1", [](P p) { p.set("/Base/MeshFile/FormatVersion", 0, 2); }},
        {"/Base/MeshFile/ScaleFactor: is not a positive number", [](P p) { p.set("/Base/MeshFile/ScaleFactor", 0, 0.0); }},
        {"/Base/MeshFile/ScaleFactor: is not a positive number",
         [](P p) { p.set("/Base/MeshFile/ScaleFactor", 0, std::numeric_limits<double>::quiet_NaN()); }},
        {"/Base/MeshFile/CellSize: is not a number from 0 on", [=](P p) { p.set("/Base/MeshFile/CellSize", 0, infinity); }},
        {"/Base/MeshFile/CellSize: the node is missing", [](P p) { p.remove("/Base/MeshFile/CellSize"); }},
        // counts
        {"/Base/Voxel: the node count is not positive", [](P p) { p.set("/Base/Voxel", 0, 0); }},
        {"/Base/Voxel: the node count is not positive", [](P p) { p.set("/Base/Voxel", 0, -5); }},
        {"/Base/Voxel/GridCoordinates/CoordinateX: the node has 216 elements, expected 2147483647",
         [=](P p) { p.set("/Base/Voxel", 0, huge); }},
        {"/Base/Voxel/GridCoordinates/CoordinateX: the node has 216 elements, expected 215", [](P p) { p.set("/Base/Voxel", 0, 215); }},
        {"/Base/Voxel: the cell count is not that of the sections", [](P p) { p.set("/Base/Voxel", 1, 124); }},
        {"/Base/Voxel/MoldBase/ElementRange: the element numbers do not follow on those of the sections before",
         [](P p) { p.set("/Base/Voxel/Plastic/ElementRange", 1, 25); }},
        {"/Base/Voxel/Plastic/ElementRange: the element numbers do not follow on those of the sections before",
         [](P p) { p.set("/Base/Voxel/Plastic/ElementRange", 0, 0); }},
        {"/Base/Voxel/PartInsert/ElementConnectivity: the node has 56 elements, expected 8589933232",
         [=](P p) { p.set("/Base/Voxel/PartInsert/ElementRange", 1, huge); }},
        {"/Base/Voxel/PartInsert/ElementRange: the element numbers do not follow on those of the sections before",
         [](P p) { p.set("/Base/Voxel/PartInsert/ElementRange", 1, std::numeric_limits<std::int32_t>::min()); }},
        // coordinates
        {"/Base/Voxel/GridCoordinates/CoordinateY: node 7: the coordinate is not finite",
         [=](P p) { p.set("/Base/Voxel/GridCoordinates/CoordinateY", 6, nan); }},
        {"/Base/Voxel/GridCoordinates/CoordinateZ: node 216: the coordinate is not finite",
         [=](P p) { p.set("/Base/Voxel/GridCoordinates/CoordinateZ", -1, infinity); }},
        {"/Base/Voxel/GridCoordinates/CoordinateX: node 2: the coordinate is not finite",
         [](P p) { p.set("/Base/MeshFile/ScaleFactor", 0, 1e300); }},
        // cells
        {"/Base/Voxel/Plastic: cell 1: a node number is out of range", [](P p) { p.set("/Base/Voxel/Plastic/ElementConnectivity", 1, 0); }},
        {"/Base/Voxel/Plastic: cell 2: a node number is out of range",
         [](P p) { p.set("/Base/Voxel/Plastic/ElementConnectivity", 10, -3); }},
        {"/Base/Voxel/MoldBase: cell 101: a node number is out of range",
         [](P p) { p.set("/Base/Voxel/MoldBase/ElementConnectivity", -1, 217); }},
        {"/Base/Voxel/MoldBase: cell 101: a node number is out of range",
         [](P p) { p.set("/Base/Voxel/MoldBase/ElementConnectivity", -1, std::numeric_limits<std::int32_t>::min()); }},
        {"/Base/Voxel/Plastic: cell 2: its kind is unknown", [](P p) { p.set("/Base/Voxel/Plastic/ElementConnectivity", 9, 18); }},
        {"/Base/Voxel/Plastic: cell 2: its start offset is wrong", [](P p) { p.set("/Base/Voxel/Plastic/ElementStartOffset", 1, 8); }},
        {"/Base/Voxel/Plastic: cell 2: its start offset is wrong", [](P p) { p.set("/Base/Voxel/Plastic/ElementConnectivity", 0, 10); }},
        {"/Base/Voxel/Plastic: cell 24: the table of nodes goes on after it, the last",
         [](P p) { p.set("/Base/Voxel/Plastic/ElementConnectivity", -9, 10); }},
        {"/Base/Voxel/Plastic/ElementStartOffset: does not end where the table of nodes ends",
         [](P p) { p.set("/Base/Voxel/Plastic/ElementStartOffset", -1, 217); }},
        {"/Base/Voxel/Plastic: is not a section of the expected element type", [](P p) { p.set("/Base/Voxel/Plastic", 0, 17); }},
        // facets
        {"/Base/Voxel/Surface: facet 1: a node number is out of range",
         [](P p) { p.set("/Base/Voxel/Surface/ElementConnectivity", 3, 217); }},
        {"/Base/Voxel/Surface: facet 214: the number of the element behind or in front of it is out of range",
         [](P p) { p.set("/Base/Voxel/Surface/FacetData/ElementBehind", -1, 126); }},
        {"/Base/Voxel/Surface: facet 2: the number of the element behind or in front of it is out of range",
         [](P p) { p.set("/Base/Voxel/Surface/FacetData/ElementInFront", 1, -1); }},
        {"/Base/Voxel/PartInsert: facet 14: a node number is out of range",
         [](P p) { p.set("/Base/Voxel/PartInsert/ElementConnectivity", -1, 0); }},
        {"/Base/Voxel/PartInsert: facet 3: the interface mark is neither 0 nor 1",
         [](P p) { p.set("/Base/Voxel/PartInsert/FacetData/IsInterface", 2, 2); }},
        // interfaces
        {"/Base/Voxel/PartInterfaces/Interface1/Nodes: the node numbers do not ascend from 1",
         [](P p) { p.set("/Base/Voxel/PartInterfaces/Interface1/Nodes", 0, 0); }},
        {"/Base/Voxel/PartInsertInterfaces/Interface1/Nodes: a node number is out of range",
         [](P p) { p.set("/Base/Voxel/PartInsertInterfaces/Interface1/Nodes", -1, 217); }},
        {"/Base/Voxel/PartInterfaces/Interface1/Bodies: the node is missing",
         [](P p) { p.remove("/Base/Voxel/PartInterfaces/Interface1/Bodies"); }},
        // nodes that are not there, or not what they should be
        {"/Base/Voxel: the file has no such mesh", [](P p) { p.remove("/Base/Voxel"); }},
        {"/Base/Voxel/GridCoordinates/CoordinateX: the node is missing", [](P p) { p.remove("/Base/Voxel/GridCoordinates/CoordinateX"); }},
        {"/Base/Voxel/Plastic/CellData/Body: the node is missing", [](P p) { p.remove("/Base/Voxel/Plastic/CellData"); }},
        {"/Base/Voxel/Surface/FacetData/Kind: the node has no data", [](P p) { p.remove("/Base/Voxel/Surface/FacetData/Kind/ data"); }},
        {"/Base/Voxel: is not a zone of an unstructured mesh", [](P p) { p.setText("/Base/Voxel", "label", "Family_t"); }},
        {"/Base/Voxel/GridCoordinates/CoordinateX: the data are not of the type that the node tells",
         [](P p) { p.setText("/Base/Voxel/GridCoordinates/CoordinateX", "type", "R8"); }},
        {"/Base/Voxel/GridCoordinates/CoordinateX: the node has the unknown type Q9",
         [](P p) { p.setText("/Base/Voxel/GridCoordinates/CoordinateX", "type", "Q9"); }},
        {"/Base/Voxel/Plastic/CellData/Body: the node is of type MT, not I4",
         [](P p) { p.setText("/Base/Voxel/Plastic/CellData/Body", "type", "MT"); }},
        // links are not followed
        {"/Base/Voxel: the file has no such mesh", [](P p) { p.replaceBySoftLink("/Base/Voxel", "/Base/CutCell"); }},
        {"/Base/Voxel: the file has no such mesh", [](P p) { p.replaceByExternalLink("/Base/Voxel", "a.krn", "/Base/CutCell"); }},
        {"/Base/Voxel/GridCoordinates/CoordinateX: the node has no data",
         [](P p) { p.replaceBySoftLink("/Base/Voxel/GridCoordinates/CoordinateX/ data", "../CoordinateY/ data"); }},
        // datasets that promise what the file does not hold
        {"/Base/Voxel/GridCoordinates/CoordinateX: the dimensions are larger than the file",
         [](P p) { p.replaceData("/Base/Voxel/GridCoordinates/CoordinateX", H5T_IEEE_F32LE, {0x7fffffff}); }},
        {"/Base/Voxel/GridCoordinates/CoordinateX: the dimensions are larger than the file",
         [](P p) {
             p.replaceData("/Base/Voxel/GridCoordinates/CoordinateX", H5T_IEEE_F32LE, {0x7fffffff, 0x1fffffff});
         }},
        {"/Base/Voxel/GridCoordinates/CoordinateX: a dimension is 0",
         [](P p) { p.replaceData("/Base/Voxel/GridCoordinates/CoordinateX", H5T_IEEE_F32LE, {0}); }},
        {"/Base/Voxel/GridCoordinates/CoordinateX: the data have an impossible number of dimensions",
         [](P p) { p.replaceData("/Base/Voxel/GridCoordinates/CoordinateX", H5T_IEEE_F32LE, {}); }},
        {"/Base/Voxel/GridCoordinates/CoordinateX: the data do not lie within the file",
         [](P p) { p.replaceData("/Base/Voxel/GridCoordinates/CoordinateX", H5T_IEEE_F32LE, {216}); }}, // described, but never stored
        {"/Base/Voxel/GridCoordinates/CoordinateX: the data are compressed, in chunks or in another file",
         [](P p)
         {
             const hsize_t chunk = 8;
             p.replaceData("/Base/Voxel/GridCoordinates/CoordinateX", H5T_IEEE_F32LE, {216},
                           [&](hid_t list) { H5Pset_chunk(list, 1, &chunk); });
         }},
        {"/Base/Voxel/GridCoordinates/CoordinateX: the data are compressed, in chunks or in another file",
         [](P p)
         {
             const hsize_t chunk = 216;
             p.replaceData("/Base/Voxel/GridCoordinates/CoordinateX", H5T_IEEE_F32LE, {216},
                           [&](hid_t list)
                           {
                               H5Pset_chunk(list, 1, &chunk);
                               H5Pset_deflate(list, 6);
                           });
         }},
        {"/Base/Voxel/GridCoordinates/CoordinateX: the data are compressed, in chunks or in another file",
         [](P p)
         {
             p.replaceData("/Base/Voxel/GridCoordinates/CoordinateX", H5T_IEEE_F32LE, {216},
                           [](hid_t list) { H5Pset_external(list, "/etc/passwd", 0, 864); });
         }},
        {"/Base/Voxel/GridCoordinates/CoordinateX: the data are not of the type that the node tells",
         [](P p) { p.replaceData("/Base/Voxel/GridCoordinates/CoordinateX", H5T_IEEE_F32BE, {216}); }},
        {"/Base/Voxel/GridCoordinates/CoordinateX: the data are not of the type that the node tells",
         [](P p) { p.replaceData("/Base/Voxel/GridCoordinates/CoordinateX", H5T_C_S1, {216}); }},
    };

    const ScratchFolder folder;
    const std::string file = folder.file("a.krn");
    writeMeshFile(file, modelWithInsert());
    const std::string whole = readBytes(file);
    for (const auto& [expected, damage] : cases)
    {
        writeBytes(file, whole);
        damage(Hdf5Patch(file));
        const Answer answer = open(file);
        EXPECT_EQ(answer.code, -3) << expected;
        EXPECT_EQ(reason(answer, file), expected);
    }
}

TEST(MeshFileDamage, damage_in_one_mesh_does_not_hide_the_other)
{
    const ScratchFolder folder;
    const std::string file = folder.file("a.krn");
    writeMeshFile(file, modelWithInsert());
    Hdf5Patch(file).set("/Base/CutCell/Plastic/ElementConnectivity", 1, 0);
    EXPECT_EQ(open(file).code, 0);
    EXPECT_THROW((void)readMeshZone(file, ZoneId::CutCell), FileError);
    EXPECT_THROW((void)readMeshFile(file), FileError);
    EXPECT_THROW((void)readMeshSummary(file), FileError);
}

TEST(MeshFileDamage, interface_finder_refuses_bad_lists)
{
    const ScratchFolder folder;
    const std::string file = folder.file("a.krn");
    writeMeshFile(file, modelWithInsert());
    Hdf5Patch(file).set("/Base/Voxel/PartInterfaces/Interface1/Nodes", -1, 217);
    CTAVFindKRN_PartPIInterface finder;
    testing::internal::CaptureStderr();
    EXPECT_EQ(finder.Create(file.c_str(), 1), -3);
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              file + ": /Base/Voxel/PartInterfaces/Interface1/Nodes: a node number is out of range\n");
    int n = -1;
    finder.GetNPartInterface(n);
    EXPECT_EQ(n, 0);
}

// No claim is made about what a changed byte does to the numbers; but every answer is a code, nothing stays open (a damaged file can be replaced by a
// good one on every system), and under the sanitizers nothing else happens.
TEST(MeshFileDamage, any_changed_byte_gives_an_answer)
{
#ifdef __SANITIZE_ADDRESS__
    const __lsan::ScopedDisabler hdf5LosesWhatItCannotLoad; // a few hundred bytes per damaged object header
#endif
#ifdef __linux__
    const auto openFiles = []
    { return std::distance(std::filesystem::directory_iterator("/proc/self/fd"), std::filesystem::directory_iterator()); };
#else
    const auto openFiles = [] { return 0; }; // a file that stays open cannot be removed there
#endif
    const ScratchFolder folder;
    const std::string file = folder.file("a.krn");
    writeMeshFile(file, oneCellOfEachKind());
    const std::string whole = readBytes(file);
    const auto before = openFiles();
    int refused = 0;
    for (std::size_t at = 8; at < whole.size(); at += 97)
    {
        std::string changed = whole;
        changed[at] = static_cast<char>(~changed[at]);
        writeBytes(file, changed);
        const Answer answer = open(file);
        EXPECT_TRUE(answer.code == 0 || answer.code == -3 || answer.code == -4) << at;
        EXPECT_EQ(openFiles(), before) << at;
        refused += answer.code != 0;
        std::filesystem::remove(file); // a new file every time, as a writer would put there
    }
    EXPECT_GT(refused, 100);
}

} // namespace mesh_file_damage_test
