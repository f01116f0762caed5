#pragma once

// Declarations of the suite's voxel/cut-cell library. Spelling is part of the suite's interface.

/// Finds, for every node of a model's cut-cell mesh, the voxel node that its value is taken from.
class CTAVVoxelCutCellMappingEngine
{
public:
    CTAVVoxelCutCellMappingEngine();
    ~CTAVVoxelCutCellMappingEngine();
    CTAVVoxelCutCellMappingEngine(const CTAVVoxelCutCellMappingEngine&) = delete;
    CTAVVoxelCutCellMappingEngine& operator=(const CTAVVoxelCutCellMappingEngine&) = delete;

    /// Reads both meshes of the mesh file at `path` and builds the mapping. 0 = success; on failure the engine is left empty.
    int Create(const char* path);

    /// Number of cut-cell nodes; 0 before a successful `Create`.
    int GetNNodeCutCell() const;

    /// Fills entries 1..GetNNodeCutCell() of `voxelNode` with voxel node numbers (room for one more entry than nodes; entry 0 is set to 0).
    void GetVoxelCutCellMappingNode(int* voxelNode) const;

private:
    class Impl;
    Impl* m_pImpl; // owned
};

/// Gate faces of a cut-cell mesh. The mesh reader constructs one and asks nothing of it.
class TAV3DCutCellGateFace
{
public:
    TAV3DCutCellGateFace();
    ~TAV3DCutCellGateFace();
};
