#pragma once

// Test access to the inside of the mapping object. The friend that the exported header names is defined here, for tests and benchmarks alone.

#include "Tav3dMeshMappingArrary.h"

struct CTav3dMeshMappingArrary_Inspector
{
    using Object = CTav3dMeshMappingArrary;

    // Fields, each under its own name.
#define TAV3D_FIELD(name)                                                                                                                  \
    static auto& name(Object& o)                                                                                                           \
    {                                                                                                                                      \
        return o.name;                                                                                                                     \
    }
    TAV3D_FIELD(m_fPI)
    TAV3D_FIELD(m_strFileName)
    TAV3D_FIELD(m_nCutCellSurfNode)
    TAV3D_FIELD(m_nVoxelSurfNode)
    TAV3D_FIELD(m_nCutCellNeighbor)
    TAV3D_FIELD(m_nVoxelElem)
    TAV3D_FIELD(m_bReadCutCellMesh)
    TAV3D_FIELD(m_bReadVoxelMesh)
    TAV3D_FIELD(m_pbCutCellPartNode)
    TAV3D_FIELD(m_pfCutCellX)
    TAV3D_FIELD(m_pfCutCellY)
    TAV3D_FIELD(m_pfCutCellZ)
    TAV3D_FIELD(m_CutCell_BasicElem_Length)
    TAV3D_FIELD(m_pbVoxelPartNode)
    TAV3D_FIELD(m_pfVoxelX)
    TAV3D_FIELD(m_pfVoxelY)
    TAV3D_FIELD(m_pfVoxelZ)
    TAV3D_FIELD(m_piVoxelNodeReNumber)
    TAV3D_FIELD(m_piVoxelNodeOrgID)
    TAV3D_FIELD(m_iDebugInfo)
    TAV3D_FIELD(m_pVoxelADTree)
    TAV3D_FIELD(m_pSmoothADTree)
    TAV3D_FIELD(m_nCutCell2VoxelMappingNode)
    TAV3D_FIELD(m_nVoxelMaxNeighbor)
    TAV3D_FIELD(m_nVoxelNode)
    TAV3D_FIELD(m_ppiCutCellNeighbor)
    TAV3D_FIELD(m_ppiVoxelNeighbor)
    TAV3D_FIELD(m_piVoxelNeighborCount)
    TAV3D_FIELD(m_piVoxelNeighborIndex)
    TAV3D_FIELD(m_piCutCellNeighborIndex)
    TAV3D_FIELD(m_ppfVoxelNeighborWeight)
    TAV3D_FIELD(m_pfVoxelSelfWeight)
    TAV3D_FIELD(m_Voxel_BasicElem_LengthSq)
    TAV3D_FIELD(m_pbCutCellMoldBaseNode)
    TAV3D_FIELD(m_pbCutCellPlasticNode)
    TAV3D_FIELD(m_pbVoxelPartInsertNode)
    TAV3D_FIELD(m_pbCutCellPartInsertNode)
    TAV3D_FIELD(m_nVoxelPartInsertNode)
    TAV3D_FIELD(m_nCutCellPartInsertNode)
    TAV3D_FIELD(m_dTecplotCounter)
    TAV3D_FIELD(m_piVoxelPlasticNode)
    TAV3D_FIELD(m_nCutCellSurfElem)
    TAV3D_FIELD(m_piVoxelFixedNode)
    TAV3D_FIELD(m_piVoxelSurfWork)
    TAV3D_FIELD(m_piCutCellSurfWork1)
    TAV3D_FIELD(m_piCutCellSurfWork2)
    TAV3D_FIELD(m_piCutCellNodeRegion)
    TAV3D_FIELD(m_pdSmoothTemp)
    TAV3D_FIELD(m_ppSmoothNeighborWeight)
    TAV3D_FIELD(m_ppiSmoothNeighbor)
    TAV3D_FIELD(m_piSmoothSet)
    TAV3D_FIELD(m_nSmoothNode)
    TAV3D_FIELD(m_nSmoothMaxNeighbor)
    TAV3D_FIELD(m_pdTestX)
    TAV3D_FIELD(m_pdTestY)
    TAV3D_FIELD(m_pdTestZ)
    TAV3D_FIELD(m_ppiVoxelElemNode)
    TAV3D_FIELD(m_pVoxelWork1)
    TAV3D_FIELD(m_ppiVoxelPartInsert)
    TAV3D_FIELD(m_pVoxelWork2)
    TAV3D_FIELD(m_nVoxelElemTotal)
    TAV3D_FIELD(m_iPartInsertMode)
    TAV3D_FIELD(m_NNodeCultCell_)
    TAV3D_FIELD(m_piCutCell2VoxelNode)
    TAV3D_FIELD(m_nVoxelResultNode)
    TAV3D_FIELD(m_iMappingMode)
    TAV3D_FIELD(m_fResultMaxValue)
    TAV3D_FIELD(m_fResultMinValue)
    TAV3D_FIELD(m_iResultFileType)
#undef TAV3D_FIELD

    // Private operations.
    static int readCutCellMesh(Object& o)
    {
        return o.ReadKRN_CutCellMesh();
    }
    static int readVoxelMesh(Object& o)
    {
        return o.ReadKRN_VoxelMesh();
    }
    static bool readElemP(Object& o, KRNIO_Manipulator& r, int nElem, int nNode, bool*& mark)
    {
        return o.ReadKRN_ElemP(r, nElem, nNode, mark);
    }
    static bool readElemM(Object& o, KRNIO_Manipulator& r, int nElem, int nNode, bool*& mark)
    {
        return o.ReadKRN_ElemM(r, nElem, nNode, mark);
    }
    static bool readPartInsert(Object& o, KRNIO_Manipulator& r, int nNode, bool*& mark, int& count, int mode)
    {
        return o.ReadKRN_PartInsert(r, nNode, mark, count, mode);
    }
    static int* renumber(Object& o, int& count, bool* mark)
    {
        return o.CreateNodeReNumberArray_Cutcell(count, mark);
    }
    static int gaussSearch(Object& o)
    {
        return o.getVoxelNeighborArraybyADTree_GaussMethod();
    }
    static int cutCellSearch(Object& o)
    {
        return o.getCutCellNeighborArraybyADTree();
    }
    static void gaussRow(Object& o, int node, int& flag, int& n, int* list, float* w)
    {
        o.GetVoxel2VoxelMappingNode_ByGaussMethod(node, flag, n, list, w);
    }
    static void cutCellRow(Object& o, int node, int& flag, int& n, int* list)
    {
        o.GetCutcell2VoxelMappingNode(node, flag, n, list);
    }
    static int interfacePoint(Object& o, int* list, int& n)
    {
        return o.GetCutCellPart_PartinsertInterfacePoint(list, n);
    }
    static int sortGateFaces(Object& o, int n, int* face, int* count)
    {
        return o.SortGatefaceNode(n, face, count);
    }
    static int sortCavityGateFaces(Object& o, int n, int* face, int* count)
    {
        return o.SortCavityGatefaceNode(n, face, count);
    }
    static void smooth(Object& o, int n, float* value, float* work)
    {
        o.GetVoxel2VoxelSmoothNodeResult_GaussWeighting_ByTorp(n, value, work);
    }
    static void average(Object& o, int n, float* value, float* work)
    {
        o.GetVoxel2VoxelSmoothNodeResult_NodeAverage_ByTorp(n, value, work);
    }
    static void pickUp(Object& o, int nVoxel, int nCutCell, float* voxel, float* cutCell, float& max, float& min)
    {
        o.GetCutCell2VoxelMappingNodeResult_ByVelk(nVoxel, nCutCell, voxel, cutCell, max, min);
    }
    static int createMapping(Object& o, const char* file)
    {
        return o.createMappingArray(file);
    }
    static int createSurface(Object& o, const char* file)
    {
        return o.createMeshSurfaceInfor(file);
    }
    static void outputDebugFiles(Object& o)
    {
        o.OutputDebugFiles("nothing");
        o.OutputDebugFiles_CutCell2VoxelMapping();
        o.OutputDebugFiles_LossNode();
        o.OutputDebugFiles_Surface();
    }
};
