#include "export_formats.h"

#include "opensuite/file_error.h"
#include "target_file.h"
#include "text_format.h"

#include <charconv>
#include <cmath>
#include <ostream>

namespace tav3d::tools
{

using opensuite::CellKind;
using opensuite::FileError;
using opensuite::FileFailure;

namespace
{

/// Text between quotation marks; what would end it or the line becomes an apostrophe or a blank.
std::string quoted(const std::string& text)
{
    std::string out = "\"";
    for (const char c : text)
        out += c == '"' ? '\'' : static_cast<unsigned char>(c) < 0x20 ? ' ' : c;
    return out + '"';
}

void append(std::string& line, auto number)
{
    char digits[32];
    const auto end = std::to_chars(digits, digits + sizeof digits, number).ptr;
    if (!line.empty())
        line += ' ';
    line.append(digits, end);
}

void writeNodes(std::ostream& out, const FieldGrid& grid, const std::string& target)
{
    std::string line;
    for (std::size_t n = 0; n < grid.nodeTotal(); ++n)
    {
        line.clear();
        append(line, grid.x[n]);
        append(line, grid.y[n]);
        append(line, grid.z[n]);
        for (const GridField& field : grid.fields)
        {
            const float value = field.value[n];
            if (!std::isfinite(value))
                throw FileError(FileFailure::BadInput, target, field.name,
                                "the value at node " + std::to_string(grid.numberInMesh(n)) +
                                    " is not finite; a Tecplot file cannot hold it, .vtu and .cgns can");
            append(line, value);
        }
        if (!grid.nodeNumber.empty())
            append(line, grid.nodeNumber[n]);
        out << line << '\n';
    }
}

void writeCells(std::ostream& out, const opensuite::CellList& cells)
{
    std::string line;
    for (std::size_t c = 0; c < cells.size(); ++c)
    {
        line.clear();
        for (const std::int8_t at : brickCorners(cells.kind[c]))
            append(line, cells.node[static_cast<std::size_t>(cells.start[c] + at)]);
        out << line << '\n';
    }
}

} // namespace

const std::array<std::int8_t, 8>& brickCorners(CellKind kind)
{
    static constexpr std::array<std::int8_t, 8> corners[] = {
        {0, 1, 2, 2, 3, 3, 3, 3}, // tetrahedron: one base edge and the top collapsed
        {0, 1, 2, 3, 4, 4, 4, 4}, // pyramid: the top collapsed
        {0, 1, 2, 2, 3, 4, 5, 5}, // prism: one side collapsed
        {0, 1, 2, 3, 4, 5, 6, 7},
    };
    return corners[static_cast<std::size_t>(kind)];
}

void writeTecplot(const FieldGrid& grid, const std::string& target)
{
    writeTargetFile(target,
                    [&](std::ostream& out)
                    {
                        out << "TITLE=" << quoted(grid.title) << "\nVARIABLES=\"X\",\"Y\",\"Z\"";
                        for (const GridField& field : grid.fields)
                            out << ',' << quoted(field.name);
                        if (!grid.nodeNumber.empty())
                            out << ",\"NodeNumber\"";
                        out << "\nZONE T=" << quoted(grid.zone == opensuite::ZoneId::Voxel ? "Voxel" : "CutCell")
                            << ", N=" << grid.nodeTotal() << ", E=" << grid.cells.size() << ", F=FEPOINT, ET=BRICK\n";
                        writeNodes(out, grid, target);
                        writeCells(out, grid.cells);
                    });
}

} // namespace tav3d::tools
