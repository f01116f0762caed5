// The mapping object's operations on results, and the small queries of its tables.

#include "Tav3dMeshMappingArrary.h"

#include "cut_cell_neighbours.h"
#include "mapping_array_view.h"
#include "smoothing_setup.h"
#include "tecplot_output.h"

#include "KRNIO.h"

#include <fstream>

namespace mm = tav3d::meshmapping;
using View = CTav3dMeshMappingArrary_View;

int CTav3dMeshMappingArrary::MappingVoxel2CutcellNodeResult(bool bSmooth, int nVoxelNode, int nCutCellNode, float* pVoxelResult,
                                                            float* pCutCellResult, float& fMax, float& fMin, float* pWork)
{
    if (bSmooth)
        GetVoxel2VoxelSmoothNodeResult_GaussWeighting_ByTorp(nVoxelNode, pVoxelResult, pWork);
    GetCutCell2VoxelMappingNodeResult_ByVelk(nVoxelNode, nCutCellNode, pVoxelResult, pCutCellResult, fMax, fMin);
    return 1;
}

void CTav3dMeshMappingArrary::GetVoxel2VoxelSmoothNodeResult_GaussWeighting_ByTorp(int nVoxelNode, float* pValue, float* pWork)
{
    mm::smoothByGaussWeights(View::smoothingNodes(*this), {pValue, nVoxelNode}, {pWork, nVoxelNode});
}

void CTav3dMeshMappingArrary::GetVoxel2VoxelSmoothNodeResult_NodeAverage_ByTorp(int nVoxelNode, float* pValue, float* pWork)
{
    mm::smoothByNodeAverage(View::smoothingNodes(*this), {pValue, nVoxelNode}, {pWork, nVoxelNode});
}

void CTav3dMeshMappingArrary::GetCutCell2VoxelMappingNodeResult_ByVelk(int nVoxelNode, int nCutCellNode, float* pVoxelResult,
                                                                       float* pCutCellResult, float& fMax, float& fMin)
{
    mm::pickUpNodeValues(View::cutCellSources(*this), View::voxelKinds(*this), View::rules(*this, m_iResultFileType, m_fResultMinValue),
                         {pVoxelResult, nVoxelNode}, {pCutCellResult, nCutCellNode}, fMax, fMin);
}

void CTav3dMeshMappingArrary::GetVoxel2VoxelMappingNode_ByGaussMethod(int node, int& flag, int& n, int* list, float* w)
{
    const int row = m_piVoxelNeighborIndex[node];
    flag = m_pbVoxelPartNode[node];
    n = m_piVoxelNeighborCount[row];
    list[0] = node;
    if ((flag == 1 || m_pbVoxelPartInsertNode[node] == 1) && m_piVoxelFixedNode[node] != 1 && n != 0)
    {
        for (int k = 1; k <= n; ++k)
        {
            list[k] = m_ppiVoxelNeighbor[row][k];
            w[k] = m_ppfVoxelNeighborWeight[row][k];
        }
        w[0] = m_pfVoxelSelfWeight[row];
        return;
    }
    // The node alone, in the form of a row.
    n = 1;
    list[1] = node;
    w[0] = 1.0f;
    w[1] = 0.0f;
}

void CTav3dMeshMappingArrary::GetCutcell2VoxelMappingNode(int node, int& flag, int& count, int* list)
{
    const int row = m_piCutCellNeighborIndex[node];
    flag = m_pbCutCellPartNode[node];
    // DELIBERATE cut-cell-list-of-thirty: 30 entries are reported. A row has ten; entry 0 and the entries behind them are 0.
    count = m_nCutCell2VoxelMappingNode;
    for (int k = 0; k <= count; ++k)
        list[k] = k <= mm::cutCellNeighbourTotal ? m_ppiCutCellNeighbor[row][k] : 0;
}

int CTav3dMeshMappingArrary::GetCutCellPart_PartinsertInterfacePoint(int*, int&)
{
    return 1;
}

int CTav3dMeshMappingArrary::SortGatefaceNode(int nFace, int* face, int* count)
{
    if (nFace == 0)
        return 0;
    for (int f = 0; f < nFace; ++f)
    {
        for (int k = 1; k <= 3; ++k)
            ++count[face[4 * f + k]];
    }
    return 1;
}

int CTav3dMeshMappingArrary::SortCavityGatefaceNode(int nFace, int* face, int* count)
{
    if (nFace == 0)
        return 0;
    for (int f = 0; f < nFace; ++f)
    {
        // DELIBERATE overlapping-gate-records: the fourth entry is the first of the next record, so `face` has 4·nFace+1 entries.
        for (int k = 1; k <= 4; ++k)
            ++count[face[4 * f + k]];
    }
    return 1;
}

int CTav3dMeshMappingArrary::Initialize_SmoothData(int nPoint, double* x, double* y, double* z, double dSmoothLength2)
{
    mm::SmoothingTable table =
        mm::buildSmoothingTable({{x, nPoint}, {y, nPoint}, {z, nPoint}}, dSmoothLength2, m_nSmoothMaxNeighbor, m_fPI);
    // The count goes with the tables whose rows it counts: both change, or, when there is no memory, neither.
    // DELIBERATE smooth-tables-stay: the tables of an earlier call are not released.
    m_nSmoothNode = nPoint;
    m_pSmoothADTree = table.tree.release();
    m_ppSmoothNeighborWeight = table.weight.release();
    m_ppiSmoothNeighbor = table.neighbour.release();
    m_piSmoothSet = table.isSet.release();
    return 1;
}

int CTav3dMeshMappingArrary::MultiplySmoothData(double* pInput, double* pOutput, int nIteration)
{
    constexpr int sweepsPerIteration = 5;
    const int n = m_nSmoothNode;
    delete[] m_pdSmoothTemp;
    m_pdSmoothTemp = nullptr;
    m_pdSmoothTemp = mm::makeNumbered<double>(n).release();
    mm::smoothValues({{m_piSmoothSet, n}, m_ppSmoothNeighborWeight, m_ppiSmoothNeighbor, m_nSmoothMaxNeighbor}, {pInput, n}, {pOutput, n},
                     {m_pdSmoothTemp, n}, sweepsPerIteration * nIteration);
    return 1;
}

int CTav3dMeshMappingArrary::CheckPartInsert_MoldBaseNode(bool* pPartInsertNode, bool* pMoldBaseNode, int nNode)
{
    mm::addPartInsertToMoldBase(mm::NumberedSpan<const bool>(pPartInsertNode, nNode), mm::NumberedSpan<bool>(pMoldBaseNode, nNode));
    return 1;
}

int CTav3dMeshMappingArrary::TecPlotVoxelSmoothValue(float** table, int iMesh)
{
    m_dTecplotCounter = m_dTecplotCounter + 1.0;
    const bool ofVoxelMesh = iMesh == 1;
    std::ofstream file(mm::tecplotFileName(ofVoxelMesh, m_dTecplotCounter));
    KRNIO_Manipulator reader;
    if (iMesh == 0 || iMesh == 1)
        reader.beginReading(m_strFileName.c_str(), nullptr, iMesh);

    mm::TecplotNodes nodes;
    nodes.first = table[1];
    if (ofVoxelMesh)
    {
        nodes.points = View::voxelPoints(*this);
        nodes.nodeTotal = m_nVoxelResultNode;
        // DELIBERATE tecplot-voxel-temp: the second item of the voxel table is not written; its column is 0.
        nodes.second = nullptr;
    }
    else
    {
        nodes.points = View::cutCellPoints(*this);
        nodes.nodeTotal = m_NNodeCultCell_;
        nodes.second = table[2];
    }
    mm::writeTecplot(file, nodes, reader);
    file.close();
    reader.endReading();
    return 1;
}
