#include "interpolation/result_data_writer.h"

#include <cstdio>
#include <initializer_list>
#include <memory>

namespace tav3d::interpolation
{

namespace
{

struct CloseFile
{
    void operator()(std::FILE* file) const { std::fclose(file); }
};

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
        std::fprintf(file, "% 12.4le % 12.4le % 12.4le % 12.4le % 12.4le % 12.4le % 12.4le\n", p.x, p.y, p.z,
                     static_cast<double>(fields[1][n]), static_cast<double>(fields[2][n]), static_cast<double>(fields[3][n]),
                     static_cast<double>(fields[0][n]));
    }
    std::fprintf(file, "\n");
    for (int c = 1; c <= cells.count(); ++c)
        writeCell(file, cells[c]);
    std::fprintf(file, "\n"); // ends the line of cells; an empty line when there are none
}

} // namespace tav3d::interpolation
