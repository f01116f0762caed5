#pragma once

// The mapping object's tables as views, for the library's own code and for programs that tell how a mapping came about.

#include "Tav3dMeshMappingArrary.h"
#include "node_mapping.h"
#include "smoothing.h"

struct CTav3dMeshMappingArrary_View
{
    using Object = CTav3dMeshMappingArrary;

    static int voxelNodeTotal(const Object& o) { return o.m_nVoxelNode; }
    static int cutCellNodeTotal(const Object& o) { return o.m_NNodeCultCell_; }

    static tav3d::meshmapping::NodePoints voxelPoints(const Object& o)
    {
        const int n = o.m_nVoxelNode;
        return {{o.m_pfVoxelX, n}, {o.m_pfVoxelY, n}, {o.m_pfVoxelZ, n}};
    }

    static tav3d::meshmapping::NodePoints cutCellPoints(const Object& o)
    {
        const int n = o.m_NNodeCultCell_;
        return {{o.m_pfCutCellX, n}, {o.m_pfCutCellY, n}, {o.m_pfCutCellZ, n}};
    }

    static tav3d::meshmapping::NodeKinds voxelKinds(const Object& o)
    {
        return {{o.m_pbVoxelPartNode, o.m_nVoxelNode}, {o.m_pbVoxelPartInsertNode, o.m_nVoxelNode}};
    }

    /// 1 = used by a plastic element.
    static tav3d::meshmapping::NumberedSpan<const int> voxelPlastic(const Object& o) { return {o.m_piVoxelPlasticNode, o.m_nVoxelNode}; }
    static tav3d::meshmapping::NumberedSpan<const bool> cutCellPlastic(const Object& o)
    {
        return {o.m_pbCutCellPlasticNode, o.m_NNodeCultCell_};
    }
    static tav3d::meshmapping::NumberedSpan<const bool> cutCellMoldBase(const Object& o)
    {
        return {o.m_pbCutCellMoldBaseNode, o.m_NNodeCultCell_};
    }

    static tav3d::meshmapping::CutCellSources cutCellSources(const Object& o)
    {
        const int n = o.m_NNodeCultCell_;
        return {{o.m_piCutCell2VoxelNode, n},
                {o.m_piCutCellNodeRegion, n},
                {{o.m_pbCutCellPartNode, n}, {o.m_pbCutCellPartInsertNode, n}},
                o.m_piCutCellNeighborIndex,
                o.m_ppiCutCellNeighbor};
    }

    static tav3d::meshmapping::SmoothingNodes smoothingNodes(const Object& o)
    {
        return {
            voxelKinds(o),
            {o.m_piVoxelFixedNode, o.m_nVoxelNode},
            {o.m_piVoxelNeighborIndex, o.m_piVoxelNeighborCount, o.m_ppiVoxelNeighbor, o.m_ppfVoxelNeighborWeight, o.m_pfVoxelSelfWeight}};
    }

    /// The rules for a result file of kind `fileType`: values are substituted in files of cooling alone (".q7c", ".q7hc"), which have none where a
    /// node belongs to another body.
    static tav3d::meshmapping::PickUpRules rules(const Object& o, int fileType, float recordedMinimum)
    {
        return {o.m_iMappingMode != 0, fileType == 2 || fileType == 4, recordedMinimum};
    }
};
