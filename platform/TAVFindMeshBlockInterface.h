#pragma once

// Declarations of the suite's mesh-block interface finder. Spelling is part of the suite's interface.

/// Lists the nodes on the interfaces between part and part inserts of a model, once as seen from the part and once as seen from the
/// part insert. Interfaces are numbered from 1.
class CTAVFindKRN_PartPIInterface
{
public:
    CTAVFindKRN_PartPIInterface();
    ~CTAVFindKRN_PartPIInterface();
    CTAVFindKRN_PartPIInterface(const CTAVFindKRN_PartPIInterface&) = delete;
    CTAVFindKRN_PartPIInterface& operator=(const CTAVFindKRN_PartPIInterface&) = delete;

    /// Reads the interfaces of the mesh file at `path`; `mode` 0 = cut-cell mesh, 1 = voxel mesh. 0 = success, negative = failure
    /// (there are no interfaces then).
    int Create(const char* path, int mode);

    void GetNPartInterface(int& n) const;
    void GetNPartInsertInterface(int& n) const;

    /// Interface i: its node count, and in entries 0..nNode-1 of the three arrays its node numbers, for each node the body number on
    /// this side and the body number on the other side. Each array needs room for as many entries as the mesh has nodes.
    /// An i that does not exist gives nNode = 0.
    void GetPartInterface(int i, int& nNode, int nodes[], int thisBody[], int otherBody[]) const;
    void GetPartInsertInterface(int i, int& nNode, int nodes[], int thisBody[], int otherBody[]) const;

private:
    class Impl;
    Impl* m_pImpl; // owned
};
