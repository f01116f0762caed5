// The mapping object's state: construction, copies, destruction and the set-up sequence. Its operations are thin: they turn fields into
// views and hand them to the free functions of this folder.

#include "Tav3dMeshMappingArrary.h"

#include "numbered.h"

#include "KRNXT.h"
#include "TAVOptKer.h"

#include <cstdio>
#include <iostream>

using tav3d::meshmapping::deleteRows;
using tav3d::meshmapping::makeNumbered;

namespace
{

template <class T>
void deleteArray(T*& array)
{
    delete[] array;
    array = nullptr;
}

template <class T>
void deleteRowTable(T**& rows, int rowTotal)
{
    deleteRows(rows, rowTotal);
    rows = nullptr;
}

} // namespace

CTav3dMeshMappingArrary::CTav3dMeshMappingArrary()
    : m_fPI(3.1416f)
    , m_nCutCellSurfNode(0)
    , m_nVoxelSurfNode(0)
    , m_nCutCellNeighbor(0)
    , m_nVoxelElem(0)
    , m_bReadCutCellMesh(false)
    , m_bReadVoxelMesh(false)
    , m_pbCutCellPartNode(nullptr)
    , m_pfCutCellX(nullptr)
    , m_pfCutCellY(nullptr)
    , m_pfCutCellZ(nullptr)
    , m_CutCell_BasicElem_Length(0.0f)
    , m_pbVoxelPartNode(nullptr)
    , m_pfVoxelX(nullptr)
    , m_pfVoxelY(nullptr)
    , m_pfVoxelZ(nullptr)
    , m_piVoxelNodeReNumber(nullptr)
    , m_piVoxelNodeOrgID(nullptr)
    , m_iDebugInfo(0)
    , m_pVoxelADTree(nullptr)
    , m_pSmoothADTree(nullptr)
    , m_nCutCell2VoxelMappingNode(30)
    , m_nVoxelMaxNeighbor(50)
    , m_nVoxelNode(0)
    , m_ppiCutCellNeighbor(nullptr)
    , m_ppiVoxelNeighbor(nullptr)
    , m_piVoxelNeighborCount(nullptr)
    , m_piVoxelNeighborIndex(nullptr)
    , m_piCutCellNeighborIndex(nullptr)
    , m_ppfVoxelNeighborWeight(nullptr)
    , m_pfVoxelSelfWeight(nullptr)
    , m_Voxel_BasicElem_LengthSq(0.0f)
    , m_pbCutCellMoldBaseNode(nullptr)
    , m_pbCutCellPlasticNode(nullptr)
    , m_pbVoxelPartInsertNode(nullptr)
    , m_pbCutCellPartInsertNode(nullptr)
    , m_nVoxelPartInsertNode(0)
    , m_nCutCellPartInsertNode(0)
    , m_dTecplotCounter(0.0)
    , m_piVoxelPlasticNode(nullptr)
    , m_nCutCellSurfElem(0)
    , m_piVoxelFixedNode(nullptr)
    , m_piVoxelSurfWork(nullptr)
    , m_piCutCellSurfWork1(nullptr)
    , m_piCutCellSurfWork2(nullptr)
    , m_piCutCellNodeRegion(nullptr)
    , m_pdSmoothTemp(nullptr)
    , m_ppSmoothNeighborWeight(nullptr)
    , m_ppiSmoothNeighbor(nullptr)
    , m_piSmoothSet(nullptr)
    , m_nSmoothNode(0)
    , m_nSmoothMaxNeighbor(50)
    , m_pdTestX(nullptr)
    , m_pdTestY(nullptr)
    , m_pdTestZ(nullptr)
    , m_ppiVoxelElemNode(nullptr)
    , m_pVoxelWork1(nullptr)
    , m_ppiVoxelPartInsert(nullptr)
    , m_pVoxelWork2(nullptr)
    , m_nVoxelElemTotal(0)
    , m_iPartInsertMode(0)
    , m_NNodeCultCell_(0)
    , m_piCutCell2VoxelNode(nullptr)
    , m_nVoxelResultNode(0)
    , m_iMappingMode(0)
    , m_fResultMaxValue(0.0f)
    , m_fResultMinValue(0.0f)
    , m_iResultFileType(0)
{
}

// DELIBERATE mapping-shallow-copy: every pointer is copied as it stands, so that copy and source share their arrays; assignment releases
// nothing that the target held.
CTav3dMeshMappingArrary::CTav3dMeshMappingArrary(const CTav3dMeshMappingArrary&) = default;
CTav3dMeshMappingArrary& CTav3dMeshMappingArrary::operator=(const CTav3dMeshMappingArrary&) = default;

// DELIBERATE mapping-destructor-leaves: the test arrays, the boundary facets and the node-to-facet table are not released here. Row
// counts come from the counters as they stand.
CTav3dMeshMappingArrary::~CTav3dMeshMappingArrary()
{
    deleteArray(m_pbCutCellPartNode);
    deleteArray(m_pfCutCellX);
    deleteArray(m_pfCutCellY);
    deleteArray(m_pfCutCellZ);
    deleteArray(m_pbVoxelPartNode);
    deleteArray(m_pfVoxelX);
    deleteArray(m_pfVoxelY);
    deleteArray(m_pfVoxelZ);
    deleteArray(m_piVoxelNodeReNumber);
    deleteArray(m_piVoxelNodeOrgID);
    delete m_pVoxelADTree;
    m_pVoxelADTree = nullptr;
    const int voxelRows = m_nVoxelSurfNode + 1 + m_nVoxelPartInsertNode;
    deleteRowTable(m_ppiCutCellNeighbor, m_nCutCellPartInsertNode + 1 + m_nCutCellSurfNode);
    deleteRowTable(m_ppiVoxelNeighbor, voxelRows);
    deleteRowTable(m_ppfVoxelNeighborWeight, voxelRows);
    deleteArray(m_pfVoxelSelfWeight);
    deleteArray(m_piVoxelNeighborCount);
    deleteArray(m_piVoxelNeighborIndex);
    deleteArray(m_piCutCellNeighborIndex);
    deleteArray(m_piVoxelFixedNode);
    deleteArray(m_pbCutCellMoldBaseNode);
    deleteArray(m_pbCutCellPlasticNode);
    deleteArray(m_pbVoxelPartInsertNode);
    deleteArray(m_pbCutCellPartInsertNode);
    deleteArray(m_piCutCell2VoxelNode);
    deleteArray(m_piVoxelPlasticNode);
    delete m_pSmoothADTree;
    m_pSmoothADTree = nullptr;
    deleteRowTable(m_ppiSmoothNeighbor, m_nSmoothNode + 1);
    deleteRowTable(m_ppSmoothNeighborWeight, m_nSmoothNode + 1);
    deleteArray(m_pdSmoothTemp);
    deleteArray(m_piCutCellNodeRegion);
    deleteArray(m_piSmoothSet);
}

int CTav3dMeshMappingArrary::SetParameters(const char* fileName, int method, int partInsertMode)
{
    m_iPartInsertMode = partInsertMode;
    if (method == 1)
    {
        m_strFileName = fileName;
        ReadKRN_CutCellMesh();
        ReadKRN_VoxelMesh();
        // DELIBERATE gauss-before-clearing: the Gauss search sees the part-insert marks of the voxel nodes; the cut-cell search then
        // clears them when part and part insert are searched alike.
        getVoxelNeighborArraybyADTree_GaussMethod();
        getCutCellNeighborArraybyADTree();
    }
    else
    {
        // DELIBERATE double-reading: the object's mapping mode, not the argument, asks for the cut-cell search; both meshes are then read
        // once more, which also brings back the voxel part-insert marks that the search has cleared.
        if (m_iMappingMode != 0)
        {
            m_strFileName = fileName;
            ReadKRN_CutCellMesh();
            ReadKRN_VoxelMesh();
            getCutCellNeighborArraybyADTree();
        }
        m_strFileName = fileName;
        ReadKRN_CutCellMesh();
        ReadKRN_VoxelMesh();
    }
    createMappingArray(fileName);
    return 0; // DELIBERATE set-up-returns-zero: whatever happened; what went wrong stands on standard output.
}

int CTav3dMeshMappingArrary::createMappingArray(const char* fileName)
{
    m_strFileName = fileName;
    CTAVVoxelCutCellMappingEngine engine;
    if (engine.Create(m_strFileName.c_str()) != 0)
    {
        // DELIBERATE engine-failure-waits: the program stands still until a key is pressed, and then goes on with what the engine has.
        std::cout << "Error in CTAVVoxelCutCellMappingEngine_Create" << std::endl;
        std::cout << "at " << m_strFileName << std::endl;
        std::getchar();
    }
    m_NNodeCultCell_ = engine.GetNNodeCutCell();
    deleteArray(m_piCutCell2VoxelNode);
    m_piCutCell2VoxelNode = makeNumbered<int>(m_NNodeCultCell_).release();
    engine.GetVoxelCutCellMappingNode(m_piCutCell2VoxelNode);
    return 1;
}

int CTav3dMeshMappingArrary::createMeshSurfaceInfor(const char* fileName)
{
    m_strFileName = fileName;
    ReadKRN_CutCellMesh();
    ReadKRN_VoxelMesh();
    return 1;
}

int CTav3dMeshMappingArrary::GetTotalNodeNumber_Cutcell()
{
    return m_NNodeCultCell_;
}

int CTav3dMeshMappingArrary::test()
{
    // DELIBERATE test-arrays-stay: nothing releases these three, and a second call makes three more. Their entry 0 is indeterminate.
    constexpr int pointTotal = 50;
    m_pdTestX = new double[pointTotal + 1];
    m_pdTestY = new double[pointTotal + 1];
    m_pdTestZ = new double[pointTotal + 1];
    for (int i = 1; i <= pointTotal; ++i)
    {
        m_pdTestX[i] = i;
        m_pdTestY[i] = 0.0;
        m_pdTestZ[i] = 0.0;
    }
    Initialize_SmoothData(pointTotal, m_pdTestX, m_pdTestY, m_pdTestZ, 1.0);
    MultiplySmoothData(m_pdTestX, m_pdTestY, 1);
    return 1;
}

// Named hooks without content.
void CTav3dMeshMappingArrary::OutputDebugFiles(const char*) {}
void CTav3dMeshMappingArrary::OutputDebugFiles_CutCell2VoxelMapping() {}
void CTav3dMeshMappingArrary::OutputDebugFiles_LossNode() {}
void CTav3dMeshMappingArrary::OutputDebugFiles_Surface() {}
