#include "interpolation/result_data_writer.h"

#include "common/number_text.h"

#include <array>
#include <cstdio>
#include <initializer_list>
#include <memory>
#include <string>

namespace tav3d::interpolation
{

namespace
{

struct CloseFile
{
    void operator()(std::FILE* file) const { std::fclose(file); }
};

/// A line of numbers with a blank between them, each as "% 12.4le" has it: right-aligned in twelve places, a blank in place of the plus sign.
void writeNumbers(std::FILE* file, const std::array<double, 7>& numbers)
{
    const char* separator = "";
    for (const double number : numbers)
    {
        const std::string text = common::scientific(number, 4);
        std::fprintf(file, "%s%12s", separator, (text.front() == '-' ? text : ' ' + text).c_str());
        separator = " ";
    }
    std::fputc('\n', file);
}

/// Writes the entries of a row at the given positions, each in a field of ten places.
void writeNodes(std::FILE* file, const int* row, std::initializer_list<int> positions)
{
    for (const int position : positions)
        std::fprintf(file, "%10d", row[position]);
}

/// A cell as a hexahedron, repeating nodes to fill eight places. No line end: all cells stand on one line.
void writeCell(std::FILE* file, const int* row)
{
    switch (row[0])
    {
    case 4:
        writeNodes(file, row, {1, 2, 3, 3, 4, 4, 4, 4});
        break;
    case 5:
        writeNodes(file, row, {1, 2, 3, 4, 5, 5, 5, 5});
        break;
    case 6:
        // DELIBERATE plt-prism-blank: the doubled nodes of a prism have a blank between them.
        writeNodes(file, row, {1, 2});
        std::fprintf(file, "%10d %10d", row[3], row[3]);
        writeNodes(file, row, {4, 5});
        std::fprintf(file, "%10d %10d", row[6], row[6]);
        break;
    case 8:
        writeNodes(file, row, {1, 2, 3, 4, 5, 6, 7, 8});
        break;
    default:
        break; // DELIBERATE plt-skips-other-cells: written nowhere, though the header counts them
    }
}

} // namespace

void writeTecplotData(const NumberedPoints& nodes, const float* const* fields, const NumberedSpan<int* const>& cells)
{
    const std::unique_ptr<std::FILE, CloseFile> owner(std::fopen("30.plt", "w"));
    std::FILE* file = owner.get();
    if (file == nullptr)
        return;

    // DELIBERATE plt-quadrilateral: the zone says QUADRILATERAL though every cell has eight nodes.
    std::fprintf(file, " VARIABLES=\"Xcord\",\"Ycord\",\"Zcord\",\"U\",\"V\",\"W\",\"P\"\n");
    std::fprintf(file, " ZONE  T=\"30\", N=%d, E=%d, F=FEPOINT, ET=QUADRILATERAL\n", nodes.count(), cells.count());
    for (int n = 1; n <= nodes.count(); ++n)
    {
        const Point p = nodes[n];
        writeNumbers(file, {p.x, p.y, p.z, fields[1][n], fields[2][n], fields[3][n], fields[0][n]});
    }
    std::fprintf(file, "\n");
    for (int c = 1; c <= cells.count(); ++c)
        writeCell(file, cells[c]);
    std::fprintf(file, "\n"); // ends the line of cells; an empty line when there are none
}

} // namespace tav3d::interpolation
