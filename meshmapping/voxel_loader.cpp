#include "voxel_loader.h"

#include "cut_cell_loader.h"
#include "facet_kinds.h"
#include "nodes.h"

#include "KRNIO.h"
#include "TAVMeshFormatTransfer.h"
#include "common/number_text.h"

#include <array>
#include <cmath>
#include <cstdio>

namespace tav3d::meshmapping
{
namespace
{

constexpr int facetRowLength = 5;      // corner count and corners
constexpr int nodeFacetRowLength = 10; // facet count and up to nine facets

/// The nodes that the neighbour searches can find: numbered compactly and put into the tree.
class FindableNodes
{
public:
    explicit FindableNodes(VoxelMesh& mesh)
        : mesh_(mesh)
    {
    }

    /// Numbers a node, unless it has a number.
    void add(int node)
    {
        if (mesh_.compactNumber[node] != 0)
            return;
        ++total_;
        mesh_.compactNumber[node] = total_;
        mesh_.nodeOfCompact[total_] = node;
        const double h = 1.0e-6; // a point, as a small box
        const double x = mesh_.x[node], y = mesh_.y[node], z = mesh_.z[node];
        mesh_.tree->AddSurfaceToADTree(total_, x + h, y + h, z + h, x - h, y - h, z - h);
    }
    [[nodiscard]] int total() const { return total_; }

private:
    VoxelMesh& mesh_;
    int total_ = 0;
};

std::unique_ptr<CTAVOptKer> newTree(const std::array<double, 3>& max, const std::array<double, 3>& min)
{
    auto tree = std::make_unique<CTAVOptKer>();
    tree->SetADTreeRange(max[0], max[1], max[2], min[0], min[1], min[2], 1, 10000, 200000);
    return tree;
}

/// Coordinates, and the tree announced over their range.
void readNodes(KRNIO_Manipulator& reader, double scale, VoxelMesh& mesh, bool progress)
{
    if (progress)
        std::cout << "\n-----Read Voxel Node Block Entry-----\n";
    std::array<double, 3> max{-1.0e10, -1.0e10, -1.0e10}, min{1.0e10, 1.0e10, 1.0e10};
    std::array<float, 3> entry{};
    const std::array<float*, 3> coordinate{mesh.x.get(), mesh.y.get(), mesh.z.get()};
    int k = 0;
    while (reader.readNodeBlockEntry(entry[0], entry[1], entry[2]) >= 0)
    {
        ++k;
        for (std::size_t axis = 0; axis < 3; ++axis)
        {
            const float value = static_cast<float>(static_cast<double>(entry[axis]) * scale);
            coordinate[axis][k] = value;
            max[axis] = std::max(max[axis], static_cast<double>(value));
            min[axis] = std::min(min[axis], static_cast<double>(value));
        }
    }
    if (progress)
    {
        std::cout << "dScaleFactor = " << common::general(scale) << " NNode = " << mesh.nodeTotal << " iNode = " << k << '\n';
        std::cout << "Set Up Voxel ADTreeRange\n";
    }
    mesh.tree = newTree(max, min);
}

/// Marks and numbers the nodes of the plastic elements and measures the elements. The length of an element is the root of a twelfth
/// of the squared distances of its nodes from its reference node, summed: the edge, for a cube.
void readPlasticElements(KRNIO_Manipulator& reader, VoxelMesh& mesh, FindableNodes& findable, bool progress)
{
    if (progress)
        std::cout << "\n-----Read Element Plastic Block Entry-----\n";
    const NodePoints points{{mesh.x.get(), mesh.nodeTotal}, {mesh.y.get(), mesh.nodeTotal}, {mesh.z.get(), mesh.nodeTotal}};
    std::array<int, 8> node{};
    int nodeCount = 0, reference = 0, body = 0;
    float size = 0.0f;
    double lengthSum = 0.0;
    while (reader.readElementPlasticBlockEntry(nodeCount, node.data(), reference, body, size) >= 0)
    {
        ++mesh.elementTotal;
        double distanceSum = 0.0;
        for (int k = 0; k < nodeCount; ++k)
        {
            distanceSum += squaredDistance(points, node[k], mesh.x[reference], mesh.y[reference], mesh.z[reference]);
            mesh.plasticNode[node[k]] = 1;
            findable.add(node[k]);
        }
        lengthSum += std::sqrt(distanceSum / 12.0);
    }
    // Without elements 0/0: the length is then no number, and so is everything measured in it.
    const float length = static_cast<float>(lengthSum) / static_cast<float>(mesh.elementTotal);
    mesh.elementLengthSquared = length * length;
    if (progress)
    {
        std::printf("Voxel Nodes = %d\n", findable.total());
        std::cout << "\n-----Read Element Surface Block Entry-----\n";
    }
}

/// Lists the surface facets in rows 1.. of a table, returns their number, and marks part nodes and fixed nodes.
int readSurface(KRNIO_Manipulator& reader, VoxelMesh& mesh, RowTable<int>& facet, bool progress)
{
    std::array<int, 4> corner{};
    int flag = 0, kind = 0, behind = 0, inFront = 0, body = 0, group = 0;
    int facetTotal = 0;
    while (reader.readElementSurfaceBlockEntry(corner.data(), flag, kind, behind, inFront, body, group) >= 0)
    {
        // DELIBERATE voxel-facet-kinds: gates and vents are listed as the interface is, and fix their nodes besides; the cut-cell mesh knows
        // neither.
        const bool listed = kind == partSkin || kind == gate || kind == insertInterface || kind == vent;
        if (flag != 1 || !listed)
            continue;
        ++facetTotal;
        int* row = facet[facetTotal];
        row[0] = 4;
        std::copy(corner.begin(), corner.end(), row + 1);
        for (int node : corner)
        {
            if (kind == gate || kind == vent)
                mesh.fixedNode[node] = 1;
            if (mesh.partNode[node] == 0 && mesh.plasticNode[node] == 1)
            {
                mesh.partNode[node] = 1;
                ++mesh.surfaceNodeTotal;
            }
        }
    }
    if (progress)
        std::printf("Voxel Surface Node = %d\n", mesh.surfaceNodeTotal);
    return facetTotal;
}

/// The table of all boundary facets: surface facets, then part-insert facets on the interface.
RowTable<int> joinFacets(const RowTable<int>& surface, int surfaceTotal, const RowTable<int>& partInsert, int partInsertTotal, int rowTotal)
{
    RowTable<int> joined(rowTotal, facetRowLength);
    joined[0][0] = surfaceTotal + partInsertTotal;
    for (int j = 1; j <= surfaceTotal; ++j)
        std::copy_n(surface[j], facetRowLength, joined[j]);
    for (int j = 1; j <= partInsertTotal; ++j)
        std::copy_n(partInsert[j], facetRowLength, joined[surfaceTotal + j]);
    return joined;
}

} // namespace

VoxelMesh readVoxelMesh(const std::string& path, bool progress)
{
    KRNIO_Manipulator reader;
    // DELIBERATE mesh-open-line: the line has no end, reading goes on, and the result says success.
    if (reader.beginReading(path.c_str(), nullptr, 1) < 0)
        std::cout << "[CSmoothVoxel::getVoxelADTree()] error: Analysis mesh entity can not be found.";

    VoxelMesh mesh;
    mesh.nodeTotal = reader.getNNode();
    const int n = mesh.nodeTotal;
    mesh.partNode = makeNumbered<unsigned char>(n);
    mesh.x = makeNumbered<float>(n);
    mesh.y = makeNumbered<float>(n);
    mesh.z = makeNumbered<float>(n);
    mesh.plasticNode = makeNumbered<int>(n);
    readNodes(reader, reader.getScaleFactor(), mesh, progress);

    mesh.compactNumber = makeNumbered<int>(n);
    mesh.nodeOfCompact = makeNumbered<int>(n);
    FindableNodes findable(mesh);
    readPlasticElements(reader, mesh, findable, progress);

    mesh.fixedNode = makeNumbered<int>(n);
    const int surfaceEntryTotal = reader.getNElementSurface();
    RowTable<int> surfaceFacet(surfaceEntryTotal, facetRowLength);
    const int surfaceTotal = readSurface(reader, mesh, surfaceFacet, progress);

    RowTable<int> partInsertFacet;
    int partInsertTotal = 0;
    mesh.partInsertNode = readPartInsertMarks<unsigned char>(reader, n, partInsertTotal, &partInsertFacet);
    mesh.hasPartInsertEntries = static_cast<bool>(partInsertFacet);
    mesh.partInsertNodeTotal = countMarked({mesh.partInsertNode.get(), n});

    mesh.facetRowTotal = surfaceEntryTotal + reader.getNPartInsert();
    mesh.facetNode = joinFacets(surfaceFacet, surfaceTotal, partInsertFacet, partInsertTotal, mesh.facetRowTotal);

    // The walk of the Gauss search goes over the surface facets alone: those of the part insert have no rows in the node table.
    mesh.nodeFacet = RowTable<int>(n, nodeFacetRowLength);
    CTAVTransfer20to02 transfer;
    transfer.Get02From20(surfaceTotal, mesh.facetNode.data(), n, mesh.nodeFacet.data());

    for (int node = 1; node <= n; ++node)
    {
        if (mesh.partInsertNode[node] == 1)
            findable.add(node);
    }
    if (progress)
        std::printf("\n");
    reader.endReading();
    return mesh;
}

} // namespace tav3d::meshmapping
