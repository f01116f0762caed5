#include "cut_cell_loader.h"

#include "facet_kinds.h"
#include "nodes.h"

#include "KRNIO.h"
#include "KRNXT.h"
#include "TAVFindMeshBlockInterface.h"
#include "common/number_text.h"

#include <array>
#include <cstdio>
#include <vector>

namespace tav3d::meshmapping
{
namespace
{

void readNodes(KRNIO_Manipulator& reader, double scale, CutCellMesh& mesh, bool progress)
{
    if (progress)
    {
        std::cout << "\n-----Read CutCell Node Block Entry-----\n";
        std::cout << "m_NNodeCultCell_ =" << mesh.nodeTotal << " Cutcell_NNode = " << mesh.nodeTotal
                  << " dScaleFactor = " << common::general(scale) << '\n';
    }
    float x = 0.0f, y = 0.0f, z = 0.0f;
    int k = 0;
    while (reader.readNodeBlockEntry(x, y, z) >= 0)
    {
        ++k;
        mesh.x[k] = static_cast<float>(static_cast<double>(x) * scale);
        mesh.y[k] = static_cast<float>(static_cast<double>(y) * scale);
        mesh.z[k] = static_cast<float>(static_cast<double>(z) * scale);
    }
    if (progress)
    {
        std::cout << "CutCell Node Sum =" << k << '\n';
        std::cout << "\n-----Read Element Plastic Block Entry-----\n";
    }
}

template <class ReadEntry>
std::unique_ptr<bool[]> readElementMarks(ReadEntry readEntry, int elementTotal, int nodeTotal)
{
    auto mark = makeNumbered<bool>(nodeTotal);
    std::array<int, 8> node{};
    int nodeCount = 0, reference = 0, body = 0;
    float size = 0.0f;
    for (int e = 1; e <= elementTotal; ++e)
    {
        if (readEntry(nodeCount, node.data(), reference, body, size) < 0)
            break;
        for (int k = 0; k < nodeCount; ++k)
            mark[node[k]] = true;
    }
    return mark;
}

/// Region codes and part marks from the surface facets; returns the number of part nodes.
int readSurface(KRNIO_Manipulator& reader, CutCellMesh& mesh)
{
    std::array<int, 4> corner{};
    int flag = 0, kind = 0, behind = 0, inFront = 0, body = 0, group = 0;
    int partNodeTotal = 0;
    while (reader.readElementSurfaceBlockEntry(corner.data(), flag, kind, behind, inFront, body, group) >= 0)
    {
        // DELIBERATE cut-cell-facet-kinds: gates and vents (1, 4) mark nothing here, and the interface (3) gives the region but no part mark.
        if (flag != 1 || (kind != partSkin && kind != insertInterface))
            continue;
        for (int node : corner)
            mesh.region[node] = 1;
        if (kind != partSkin)
            continue;
        for (int node : corner)
        {
            if (mesh.partNode[node] == 0)
            {
                mesh.partNode[node] = 1;
                ++partNodeTotal;
            }
        }
    }
    return partNodeTotal;
}

/// Both marks for every node that the finder lists, from the part's side and from the part insert's.
void markInterfaces(CTAVFindKRN_PartPIInterface& finder, const std::string& path, CutCellMesh& mesh)
{
    finder.Create(path.c_str(), 0);
    const std::size_t room = static_cast<std::size_t>(mesh.nodeTotal) + 1;
    std::vector<int> node(room), thisBody(room), otherBody(room);
    const auto markListed = [&](int nodeCount)
    {
        for (int k = 0; k < nodeCount; ++k)
        {
            mesh.partInsertNode[node[k]] = 1;
            mesh.partNode[node[k]] = 1;
        }
    };
    int total = 0, nodeCount = 0;
    finder.GetNPartInterface(total);
    for (int i = 1; i <= total; ++i)
    {
        finder.GetPartInterface(i, nodeCount, node.data(), thisBody.data(), otherBody.data());
        markListed(nodeCount);
    }
    total = 0;
    finder.GetNPartInsertInterface(total);
    for (int i = 1; i <= total; ++i)
    {
        finder.GetPartInsertInterface(i, nodeCount, node.data(), thisBody.data(), otherBody.data());
        markListed(nodeCount);
    }
}

} // namespace

std::unique_ptr<bool[]> readPlasticMarks(KRNIO_Manipulator& reader, int elementTotal, int nodeTotal)
{
    return readElementMarks([&](int& n, int* node, int& reference, int& body, float& size)
                            { return reader.readElementPlasticBlockEntry(n, node, reference, body, size); },
                            elementTotal, nodeTotal);
}

std::unique_ptr<bool[]> readMoldBaseMarks(KRNIO_Manipulator& reader, int elementTotal, int nodeTotal)
{
    return readElementMarks([&](int& n, int* node, int& reference, int& body, float& size)
                            { return reader.readElementMoldBaseBlockEntry(n, node, reference, body, size); },
                            elementTotal, nodeTotal);
}

template <class Mark>
std::unique_ptr<Mark[]> readPartInsertMarks(KRNIO_Manipulator& reader, int nodeTotal, int& interfaceFacetTotal, RowTable<int>* facets)
{
    auto mark = makeNumbered<Mark>(nodeTotal);
    interfaceFacetTotal = 0;
    bool isInterface = false;
    std::array<int, 4> corner{};
    int insert = 0, kind = 0, behind = 0, inFront = 0, bodyBehind = 0, bodyInFront = 0, group = 0;
    while (reader.readPartInsertBlockEntry(isInterface, corner.data(), insert, kind, behind, inFront, bodyBehind, bodyInFront, group) >= 0)
    {
        if (facets && !*facets)
            *facets = RowTable<int>(reader.getNPartInsert(), 5);
        if (!isInterface)
            continue;
        ++interfaceFacetTotal;
        for (int node : corner)
            mark[node] = 1;
        if (facets)
        {
            int* row = (*facets)[interfaceFacetTotal];
            row[0] = 4;
            std::copy(corner.begin(), corner.end(), row + 1);
        }
    }
    if (facets && *facets)
        (*facets)[0][0] = interfaceFacetTotal;
    return mark;
}

template std::unique_ptr<bool[]> readPartInsertMarks<bool>(KRNIO_Manipulator&, int, int&, RowTable<int>*);
template std::unique_ptr<unsigned char[]> readPartInsertMarks<unsigned char>(KRNIO_Manipulator&, int, int&, RowTable<int>*);

CutCellMesh readCutCellMesh(const CutCellReadRequest& request)
{
    KRNIO_Manipulator reader;
    const TAV3DCutCellGateFace gateFace; // belongs to the protocol of the mesh library; nothing is asked of it
    CTAVFindKRN_PartPIInterface finder;
    // DELIBERATE mesh-open-line: the line has no end, reading goes on, and the result says success.
    if (reader.beginReading(request.path.c_str(), nullptr, 0) < 0)
        std::cout << "[CSmoothVoxel::getIsCutcellSurfaceNode()] error: Analysis mesh entity can not be found.";

    CutCellMesh mesh;
    mesh.nodeTotal = reader.getNNode();
    const int n = mesh.nodeTotal;
    mesh.partNode = makeNumbered<unsigned char>(n);
    mesh.x = makeNumbered<float>(n);
    mesh.y = makeNumbered<float>(n);
    mesh.z = makeNumbered<float>(n);
    readNodes(reader, reader.getScaleFactor(), mesh, request.progress);
    mesh.plasticNode = readPlasticMarks(reader, reader.getNElementPlastic(), n);
    mesh.moldBaseNode = readMoldBaseMarks(reader, reader.getNElementMoldBase(), n);

    if (request.progress)
    {
        // DELIBERATE basic-element-length: nothing computes the length and the count of this line; both are shown as 0.
        std::printf("m_CutCell_BasicElem_Length = %s, NElem = %d \n", common::fixed(request.basicElementLength).c_str(), 0);
        std::printf("\n-----Read Element Surface Block Entry-----\n");
    }
    mesh.surfaceFacetTotal = reader.getNElementSurface();
    mesh.region = makeNumbered<int>(n);
    const int skinNodeTotal = readSurface(reader, mesh);

    mesh.partInsertNode = readPartInsertMarks<unsigned char>(reader, n, mesh.interfaceFacetTotal, nullptr);
    const NumberedSpan<const unsigned char> partInsert(mesh.partInsertNode.get(), n);
    mesh.partInsertNodeTotal = countMarked(partInsert);
    addPartInsertToMoldBase(partInsert, NumberedSpan<bool>(mesh.moldBaseNode.get(), n));
    for (int i = 1; i <= n; ++i)
    {
        if (mesh.region[i] == 0 && mesh.partInsertNode[i] == 1)
            mesh.region[i] = 2;
    }
    if (request.ignorePartInsert)
        std::fill_n(mesh.partInsertNode.get() + 1, n, static_cast<unsigned char>(0));
    if (countMarked(partInsert) > 0)
        markInterfaces(finder, request.path, mesh);

    // DELIBERATE counts-only-grow: the counts size tables, so neither falls below what it was when its block was read.
    mesh.surfaceNodeTotal = std::max(skinNodeTotal, countMarked(NumberedSpan<const unsigned char>(mesh.partNode.get(), n)));
    mesh.partInsertNodeTotal = std::max(mesh.partInsertNodeTotal, countMarked(partInsert));
    if (request.progress)
    {
        std::printf("Cutcell Surface Node = %d\n", skinNodeTotal);
        std::printf("\n");
    }
    reader.endReading();
    std::cout << std::flush;
    std::fflush(stdout);
    return mesh;
}

} // namespace tav3d::meshmapping
