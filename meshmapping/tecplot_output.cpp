#include "tecplot_output.h"

#include "KRNIO.h"
#include "common/number_text.h"

#include <array>
#include <iomanip>
#include <locale>
#include <ostream>

namespace tav3d::meshmapping
{
namespace
{

void writeNodes(std::ostream& out, const TecplotNodes& nodes)
{
    const auto write = [&out](float value) { out << std::setw(15) << common::general(static_cast<double>(value)); };
    const auto coordinate = [](NumberedSpan<const float> axis, int node) { return node <= axis.count() ? axis[node] : 0.0f; };
    for (int i = 1; i <= nodes.nodeTotal; ++i)
    {
        for (const NumberedSpan<const float>& axis : {nodes.points.x, nodes.points.y, nodes.points.z})
            write(coordinate(axis, i));
        write(nodes.first[i]);
        write(nodes.second ? nodes.second[i] : 0.0f);
        out << '\n';
    }
}

/// One line of eight node numbers per element; an element with fewer nodes repeats its last.
void writeElements(std::ostream& out, KRNIO_Manipulator& reader)
{
    constexpr int brickNodes = 8;
    int nodeTotal = 0, reference = 0, body = 0;
    float size = 0.0f;
    std::array<int, brickNodes> node{};
    while (reader.readElementPlasticBlockEntry(nodeTotal, node.data(), reference, body, size) >= 0)
    {
        for (int k = 0; k < brickNodes; ++k)
            out << std::setw(10) << node[static_cast<std::size_t>(std::min(k, nodeTotal - 1))];
        out << '\n';
    }
}

} // namespace

float** newCaptureTable(int nNode)
{
    return RowTable<float>(captureRowTotal - 1, (nNode > 0 ? nNode : 0) + 1).release();
}

void deleteCaptureTable(float** table)
{
    deleteRows(table, captureRowTotal);
}

std::string tecplotFileName(bool ofVoxelMesh, double k)
{
    // DELIBERATE tecplot-file-name: the doubled "t" is part of the name, and %f makes the first file "...t=1.000000_.plt".
    constexpr std::size_t mostCharacters = 199;
    return ((ofVoxelMesh ? "VoxelResultt=" : "CutCellResultt=") + common::fixed(k) + "_.plt").substr(0, mostCharacters);
}

void writeTecplot(std::ostream& out, const TecplotNodes& nodes, KRNIO_Manipulator& reader)
{
    out.imbue(std::locale::classic()); // digits without separators, whatever the host's locale
    out << "VARIABLES=\"Xcord\",\"Ycord\",\"Zcord\",\"MF\",\"Temp\"\n";
    // DELIBERATE tecplot-zone-title: "Voxel" in the files of both meshes.
    out << "ZONE  T=\"Voxel\", N=" << nodes.nodeTotal << ", E=" << reader.getNElementPlastic() << ", F=FEPOINT, ET=BRICK\n";
    writeNodes(out, nodes);
    out << '\n';
    writeElements(out, reader);
}

} // namespace tav3d::meshmapping
