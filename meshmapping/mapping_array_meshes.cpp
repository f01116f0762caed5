// The mapping object's readers and neighbour searches: what is read or built is moved into the fields here, and here it is decided what of
// an earlier run is released.

#include "Tav3dMeshMappingArrary.h"

#include "cut_cell_loader.h"
#include "cut_cell_neighbours.h"
#include "gauss_neighbours.h"
#include "mapping_array_view.h"
#include "nodes.h"
#include "voxel_loader.h"

namespace mm = tav3d::meshmapping;
using View = CTav3dMeshMappingArrary_View;

namespace
{

/// The field takes the array over and releases what it held.
template <class T>
void replace(T*& field, std::unique_ptr<T[]>& array)
{
    delete[] field;
    field = array.release();
}

/// The field takes the array over; what it held stays allocated.
// DELIBERATE second-reading-leaks: copies of the object may still use the arrays of the first reading.
template <class T>
void abandon(T*& field, std::unique_ptr<T[]>& array)
{
    field = array.release();
}

} // namespace

int CTav3dMeshMappingArrary::ReadKRN_CutCellMesh()
{
    m_bReadCutCellMesh = true;
    mm::CutCellMesh mesh = mm::readCutCellMesh({m_strFileName, m_iDebugInfo != 0, m_iPartInsertMode == 1, m_CutCell_BasicElem_Length});
    // Rows that an earlier search made for a mesh of another size do not fit this one, and the counters that tell how many there are go now.
    const int oldRows = m_nCutCellSurfNode + m_nCutCellPartInsertNode;
    if (m_NNodeCultCell_ != mesh.nodeTotal || oldRows != mesh.surfaceNodeTotal + mesh.partInsertNodeTotal)
    {
        m_piCutCellNeighborIndex = nullptr;
        m_ppiCutCellNeighbor = nullptr;
    }
    m_NNodeCultCell_ = mesh.nodeTotal;
    abandon(m_pbCutCellPartNode, mesh.partNode);
    abandon(m_pfCutCellX, mesh.x);
    abandon(m_pfCutCellY, mesh.y);
    abandon(m_pfCutCellZ, mesh.z);
    abandon(m_piCutCellNodeRegion, mesh.region);
    replace(m_pbCutCellPlasticNode, mesh.plasticNode);
    replace(m_pbCutCellMoldBaseNode, mesh.moldBaseNode);
    replace(m_pbCutCellPartInsertNode, mesh.partInsertNode);
    m_nCutCellSurfElem = mesh.surfaceFacetTotal;
    m_nCutCellSurfNode = mesh.surfaceNodeTotal;
    m_nCutCellPartInsertNode = mesh.partInsertNodeTotal;
    if (m_ppiVoxelPartInsert)
        m_ppiVoxelPartInsert[0][0] = mesh.interfaceFacetTotal;
    return 1;
}

bool CTav3dMeshMappingArrary::ReadKRN_ElemP(KRNIO_Manipulator& reader, int nElem, int nNode, bool*& mark)
{
    auto marks = mm::readPlasticMarks(reader, nElem, nNode);
    replace(mark, marks);
    return true;
}

bool CTav3dMeshMappingArrary::ReadKRN_ElemM(KRNIO_Manipulator& reader, int nElem, int nNode, bool*& mark)
{
    auto marks = mm::readMoldBaseMarks(reader, nElem, nNode);
    replace(mark, marks);
    return true;
}

bool CTav3dMeshMappingArrary::ReadKRN_PartInsert(KRNIO_Manipulator& reader, int nNode, bool*& mark, int& count, int mode)
{
    mm::RowTable<int> facets;
    int facetTotal = 0;
    auto marks = mm::readPartInsertMarks<bool>(reader, nNode, facetTotal, mode == 1 ? &facets : nullptr);
    replace(mark, marks);
    if (facets)
        m_ppiVoxelPartInsert = facets.release();
    if (m_ppiVoxelPartInsert)
        m_ppiVoxelPartInsert[0][0] = facetTotal;
    count = 0;
    for (int i = 1; i <= nNode; ++i)
        count += mark[i] ? 1 : 0;
    return true;
}

int CTav3dMeshMappingArrary::ReadKRN_VoxelMesh()
{
    m_bReadVoxelMesh = true;
    mm::VoxelMesh mesh = mm::readVoxelMesh(m_strFileName, m_iDebugInfo != 0);
    // As in the cut-cell reader: rows of a mesh of another size.
    const int oldRows = m_nVoxelSurfNode + m_nVoxelPartInsertNode;
    if (m_nVoxelNode != mesh.nodeTotal || oldRows != mesh.surfaceNodeTotal + mesh.partInsertNodeTotal)
    {
        m_piVoxelNeighborIndex = nullptr;
        m_piVoxelNeighborCount = nullptr;
        m_pfVoxelSelfWeight = nullptr;
        m_ppiVoxelNeighbor = nullptr;
        m_ppfVoxelNeighborWeight = nullptr;
    }
    m_nVoxelNode = mesh.nodeTotal;
    abandon(m_pbVoxelPartNode, mesh.partNode);
    abandon(m_pfVoxelX, mesh.x);
    abandon(m_pfVoxelY, mesh.y);
    abandon(m_pfVoxelZ, mesh.z);
    abandon(m_piVoxelPlasticNode, mesh.plasticNode);
    abandon(m_piVoxelNodeReNumber, mesh.compactNumber);
    abandon(m_piVoxelNodeOrgID, mesh.nodeOfCompact);
    abandon(m_piVoxelFixedNode, mesh.fixedNode);
    replace(m_pbVoxelPartInsertNode, mesh.partInsertNode);
    m_pVoxelADTree = mesh.tree.release();
    m_Voxel_BasicElem_LengthSq = mesh.elementLengthSquared;
    m_nVoxelElem = mesh.elementTotal;
    m_nVoxelSurfNode = mesh.surfaceNodeTotal;
    m_nVoxelPartInsertNode = mesh.partInsertNodeTotal;
    m_nVoxelElemTotal = mesh.facetRowTotal;
    m_ppiVoxelElemNode = mesh.facetNode.release();
    m_pVoxelWork2 = mesh.nodeFacet.release();
    // A table that ReadKRN_PartInsert left ends with this reading. One that had to make room for the file's own is not released.
    if (m_ppiVoxelPartInsert && !mesh.hasPartInsertEntries)
        mm::deleteRows(m_ppiVoxelPartInsert, 1);
    m_ppiVoxelPartInsert = nullptr;
    return 1;
}

int* CTav3dMeshMappingArrary::CreateNodeReNumberArray_Cutcell(int& count, bool* mark)
{
    return mm::listMarkedNodes(mm::NumberedSpan<const bool>(mark, m_NNodeCultCell_), count).release();
}

int* CTav3dMeshMappingArrary::CreateNodeReNumberArray_Cutcell_Part(int& count)
{
    return m_pbCutCellPlasticNode ? CreateNodeReNumberArray_Cutcell(count, m_pbCutCellPlasticNode) : nullptr;
}

int* CTav3dMeshMappingArrary::CreateNodeReNumberArray_Cutcell_PartInsert(int& count)
{
    // DELIBERATE part-insert-list-is-mold-base: the list is that of the mould base, to which every part-insert node belongs.
    return m_pbCutCellMoldBaseNode ? CreateNodeReNumberArray_Cutcell(count, m_pbCutCellMoldBaseNode) : nullptr;
}

int* CTav3dMeshMappingArrary::CreateNodeReNumberArray_Cutcell_PartSruf(int& count)
{
    if (!m_pbCutCellPartNode)
        return nullptr;
    return mm::listMarkedNodes(mm::NumberedSpan<const unsigned char>(m_pbCutCellPartNode, m_NNodeCultCell_), count).release();
}

int CTav3dMeshMappingArrary::getVoxelNeighborArraybyADTree_GaussMethod()
{
    if (!m_bReadCutCellMesh && !m_bReadVoxelMesh)
    {
        std::cout << " Have do ReadCutCellMesh and ReadVoxelMesh \n";
        return 0;
    }
    // DELIBERATE one-banner: both searches announce themselves as the cut-cell search.
    if (m_iDebugInfo != 0)
        std::cout << "-----get CutCell Mapping Arrary by ADTree-----\n";

    mm::GaussNeighbours rows =
        mm::findGaussNeighbours(View::voxelPoints(*this), View::voxelKinds(*this), {m_piVoxelFixedNode, m_nVoxelNode},
                                {m_ppiVoxelElemNode, m_ppiVoxelElemNode ? m_pVoxelWork2 : nullptr}, {m_fPI, m_Voxel_BasicElem_LengthSq},
                                m_nVoxelSurfNode + m_nVoxelPartInsertNode, m_nVoxelMaxNeighbor + 1);
    abandon(m_piVoxelNeighborIndex, rows.rowOfNode);
    abandon(m_piVoxelNeighborCount, rows.count);
    abandon(m_pfVoxelSelfWeight, rows.selfWeight);
    m_ppiVoxelNeighbor = rows.neighbour.release();
    m_ppfVoxelNeighborWeight = rows.weight.release();

    if (m_ppiVoxelElemNode)
    {
        mm::deleteRows(m_ppiVoxelElemNode, m_nVoxelElemTotal + 1);
        m_ppiVoxelElemNode = nullptr;
        // DELIBERATE node-facet-pointers-stay: of the node-to-facet table the rows are released, and the array of pointers to them is not.
        for (int i = 0; i <= m_nVoxelNode; ++i)
        {
            delete[] m_pVoxelWork2[i];
            m_pVoxelWork2[i] = nullptr;
        }
    }
    return 1;
}

int CTav3dMeshMappingArrary::getCutCellNeighborArraybyADTree()
{
    if (m_iDebugInfo != 0)
        std::cout << "-----get CutCell Mapping Arrary by ADTree-----\n";
    m_nCutCellNeighbor = mm::cutCellNeighbourTotal;
    if (m_iPartInsertMode == 1 && m_pbVoxelPartInsertNode)
        std::fill_n(m_pbVoxelPartInsertNode + 1, m_nVoxelNode, static_cast<unsigned char>(0));

    const mm::VoxelTarget voxel{
        View::voxelPoints(*this), View::voxelKinds(*this), {m_piVoxelNodeOrgID, m_nVoxelNode}, m_pVoxelADTree, m_Voxel_BasicElem_LengthSq};
    mm::CutCellNeighbours rows = mm::findCutCellNeighbours(View::cutCellPoints(*this), View::cutCellSources(*this).kinds, voxel,
                                                           m_nCutCellSurfNode + m_nCutCellPartInsertNode);
    abandon(m_piCutCellNeighborIndex, rows.rowOfNode);
    m_ppiCutCellNeighbor = rows.neighbour.release();
    return 1;
}
