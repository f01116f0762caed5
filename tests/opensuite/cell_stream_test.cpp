// Cells read block by block, against a walk cell by cell.

#include "hdf5_patch.h"
#include "opensuite/cell_stream.h"
#include "opensuite/cgns_writer.h"
#include "support/scratch_folder.h"

#include <gtest/gtest.h>

#include <limits>
#include <random>

using namespace tav3d::opensuite;
using namespace tav3d::test;

namespace
{

/// The three arrays of a section of mixed cells, as a mesh file holds them.
struct Section
{
    std::vector<std::int32_t> offset, table, body;

    [[nodiscard]] std::int64_t cells() const { return static_cast<std::int64_t>(body.size()); }
};

Section randomSection(std::size_t cells, std::int32_t nodes, std::mt19937& random)
{
    constexpr CellKind kinds[] = {CellKind::Tetra4, CellKind::Pyramid5, CellKind::Prism6, CellKind::Hexa8};
    std::uniform_int_distribution<std::int32_t> anyNode(1, nodes);
    Section section;
    for (std::size_t c = 0; c < cells; ++c)
    {
        const CellKind kind = kinds[random() % 4];
        section.offset.push_back(static_cast<std::int32_t>(section.table.size()));
        section.table.push_back(mesh_layout::elementType(kind));
        for (int k = 0; k < nodeCount(kind); ++k)
            section.table.push_back(anyNode(random));
        section.body.push_back(static_cast<std::int32_t>(random() % 5) - 1);
    }
    section.offset.push_back(static_cast<std::int32_t>(section.table.size()));
    return section;
}

void writeSection(const std::string& file, const Section& section)
{
    CgnsWriter writer(file);
    const std::string node = writer.addNode("/", "Section", "UserDefinedData_t");
    writer.addArray(node, "ElementStartOffset", "DataArray_t", std::span<const std::int32_t>(section.offset));
    writer.addArray(node, "ElementConnectivity", "DataArray_t", std::span<const std::int32_t>(section.table));
    const std::string data = writer.addNode(node, "CellData", "UserDefinedData_t");
    writer.addArray(data, "Body", "DataArray_t", std::span<const std::int32_t>(section.body));
    writer.commit();
}

/// What is wrong with the first cell that is, as a walk from cell to cell finds it; empty when nothing is.
std::string faultOf(const Section& s, std::int32_t nodes)
{
    const auto tableSize = static_cast<std::int64_t>(s.table.size());
    std::int64_t at = 0;
    for (std::int64_t cell = 0; cell < s.cells(); ++cell)
    {
        const std::string who = "/Section: cell " + std::to_string(cell + 1) + ": ";
        CellKind kind{};
        if (s.offset[static_cast<std::size_t>(cell)] != at)
            return who + "its start offset is wrong";
        if (at >= tableSize || !mesh_layout::cellKindOf(s.table[static_cast<std::size_t>(at)], kind))
            return who + "its kind is unknown";
        if (at + nodeCount(kind) >= tableSize)
            return who + "the table of nodes ends within it";
        for (std::int64_t k = at + 1; k <= at + nodeCount(kind); ++k)
            if (s.table[static_cast<std::size_t>(k)] < 1 || s.table[static_cast<std::size_t>(k)] > nodes)
                return who + "a node number is out of range";
        at += 1 + nodeCount(kind);
    }
    return at == tableSize ? "" : "/Section: cell " + std::to_string(s.cells()) + ": the table of nodes goes on after it, the last";
}

/// Reads all cells of the file; what the reader says, without the file's name.
std::string readFault(const std::string& file, std::int64_t cells, std::int32_t nodes)
{
    try
    {
        const CgnsReader reader(file);
        CellStream stream(reader, "/Section", cells, nodes);
        for (CellEntry cell; stream.next(cell);)
            ;
        return "";
    }
    catch (const FileError& error)
    {
        return std::string(error.what()).substr(file.size() + 2);
    }
}

} // namespace

TEST(CellStream, cells_come_back_as_they_were_written_over_the_borders_of_blocks)
{
    const ScratchFolder folder;
    std::mt19937 random(1);
    for (const std::size_t cells : {1, 8191, 8192, 8193, 20001})
    {
        const Section section = randomSection(cells, 500, random);
        writeSection(folder.file("a"), section);
        const CgnsReader reader(folder.file("a"));
        CellStream stream(reader, "/Section", section.cells(), 500);
        for (int round = 0; round < 2; ++round)
        {
            CellEntry cell;
            std::size_t c = 0;
            for (; stream.next(cell); ++c)
            {
                const std::int32_t* entry = section.table.data() + section.offset[c];
                ASSERT_EQ(mesh_layout::elementType(cell.kind), entry[0]) << c;
                ASSERT_TRUE(std::equal(entry + 1, section.table.data() + section.offset[c + 1], cell.node, cell.node + cell.nodes)) << c;
                ASSERT_EQ(cell.body, section.body[c]) << c;
            }
            EXPECT_EQ(c, cells);
            EXPECT_FALSE(stream.next(cell)) << "the end stays the end";
            stream.rewind();
        }
    }
}

TEST(CellStream, node_blocks_hold_the_nodes_of_the_cells_and_no_others)
{
    const ScratchFolder folder;
    std::mt19937 random(2);
    Section section = randomSection(20001, 40000, random);
    for (std::size_t k = 0; k < section.table.size(); ++k) // no node is numbered as an element type
        if (const auto type = section.table[k];
            type <= 17 && std::ranges::find(section.offset, static_cast<std::int32_t>(k)) == section.offset.end())
            section.table[k] = 18;
    std::vector<char> used(40001, 0);
    for (std::size_t c = 0; c + 1 < section.offset.size(); ++c)
        for (std::int32_t k = section.offset[c] + 1; k < section.offset[c + 1]; ++k)
            used[static_cast<std::size_t>(section.table[static_cast<std::size_t>(k)])] = 1;
    writeSection(folder.file("a"), section);
    const CgnsReader reader(folder.file("a"));
    CellStream stream(reader, "/Section", section.cells(), 40000);
    EXPECT_EQ(stream.nodeTotal(), static_cast<std::int64_t>(section.table.size()) - 20001);
    std::vector<char> found(40001, 0);
    int blocks = 0;
    for (std::span<const std::int32_t> block; !(block = stream.nextNodes()).empty(); ++blocks)
        for (const std::int32_t node : block)
            found[static_cast<std::size_t>(node)] = 1;
    EXPECT_EQ(blocks, 3);
    EXPECT_EQ(found, used);
}

TEST(CellStream, any_wrong_number_is_told_as_a_walk_from_cell_to_cell_would_tell_it)
{
    const ScratchFolder folder;
    std::mt19937 random(3);
    int wrong = 0;
    for (const auto& [cells, nodes, cases] : {std::tuple{40, 9, 250}, {40, 17, 250}, {40, 30, 250}, {17000, 3000, 40}})
    {
        const Section section = randomSection(static_cast<std::size_t>(cells), nodes, random);
        const std::string file = folder.file(std::to_string(nodes));
        writeSection(file, section);
        EXPECT_EQ(readFault(file, cells, nodes), "");
        for (int k = 0; k < cases; ++k)
        {
            Section damaged = section;
            const bool inTable = random() % 3 != 0;
            std::vector<std::int32_t>& array = inTable ? damaged.table : damaged.offset;
            const std::size_t at = random() % (array.size() - 1); // the last offset is checked at the beginning
            const std::int32_t before = array[at];
            const std::int32_t values[] = {0,
                                           -1,
                                           1,
                                           4,
                                           5,
                                           10,
                                           12,
                                           14,
                                           17,
                                           18,
                                           nodes,
                                           nodes + 1,
                                           before,
                                           -before,
                                           before + 1,
                                           before - 1,
                                           std::numeric_limits<std::int32_t>::max(),
                                           std::numeric_limits<std::int32_t>::min()};
            array[at] = values[random() % std::size(values)];
            const char* name = inTable ? "/Section/ElementConnectivity" : "/Section/ElementStartOffset";
            Hdf5Patch(file).set(name, static_cast<std::int64_t>(at), array[at]);
            const std::string expected = faultOf(damaged, nodes);
            EXPECT_EQ(readFault(file, cells, nodes), expected) << name << ' ' << at << ' ' << array[at];
            wrong += !expected.empty();
            Hdf5Patch(file).set(name, static_cast<std::int64_t>(at), before);
        }
    }
    EXPECT_GT(wrong, 400);
}
