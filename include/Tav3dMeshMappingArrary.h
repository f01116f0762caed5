#pragma once

// The mesh-mapping object: both meshes of one moulding model, the neighbour tables between and within them, and the operations that carry a
// nodal result from the voxel mesh to the cut-cell mesh.
//
// Conventions, valid for the whole class
//   - Numbering is 1-based: n items occupy entries 1..n of an array of n+1 entries. Entry 0 exists and carries no datum.
//   - Arrays handed in are borrowed for the call only. Arguments are not checked unless the operation says so.
//   - Lengths are in the unit of the mesh file times its scale factor.
//   - Failures and progress are text lines on standard output; no operation throws on purpose. Exceptions of the standard library
//     (no memory) pass through.
//   - Names are part of the interface, their irregular spelling included.
//   - One object serves one thread at a time.
//
// Copying is shallow: copy and source share every array and search tree, and each destructor releases them. Destroy at most one of them.

#include <string>

#ifndef TAV3D_EXPORT
#if defined(_WIN32) && defined(TAV3D_BUILDING_LIBRARY)
#define TAV3D_EXPORT __declspec(dllexport)
#elif defined(_WIN32)
#define TAV3D_EXPORT __declspec(dllimport)
#else
#define TAV3D_EXPORT __attribute__((visibility("default")))
#endif
#endif

class CTAVOptKer;
class KRNIO_Manipulator;

class TAV3D_EXPORT CTav3dMeshMappingArrary
{
public:
    /// An empty object; nothing is read. Every counter is 0 and every array absent.
    CTav3dMeshMappingArrary();

    /// Shallow copies, see above. Assignment releases nothing that the target held.
    CTav3dMeshMappingArrary(const CTav3dMeshMappingArrary&);
    CTav3dMeshMappingArrary& operator=(const CTav3dMeshMappingArrary&);

    /// Releases the meshes and the tables. The only virtual operation, so that an owner may delete through a pointer.
    virtual ~CTav3dMeshMappingArrary();

    /// Adds the part-insert nodes to the mould-base nodes, and prints "node ID = " and the number of each node that it adds, one per line.
    ///   pPartInsertNode  in      marks, entries 1..nNode
    ///   pMoldBaseNode    in/out  marks, entries 1..nNode
    /// Returns 1.
    int CheckPartInsert_MoldBaseNode(bool* pPartInsertNode, bool* pMoldBaseNode, int nNode);

    /// The numbers of marked cut-cell nodes, ascending, at entries 1.. of a new array; entry 0 is 0. The caller releases it with delete[].
    ///   _Part        nodes of plastic elements
    ///   _PartInsert  nodes of mould-base elements; every part-insert node is among them
    ///   _PartSruf    nodes of the part surface
    ///   count        in/out  grows by the number of nodes. It is not reset: hand in 0 (another start only makes the array longer).
    /// Null, with `count` untouched, before the cut-cell mesh has been read.
    int* CreateNodeReNumberArray_Cutcell_Part(int& count);
    int* CreateNodeReNumberArray_Cutcell_PartInsert(int& count);
    int* CreateNodeReNumberArray_Cutcell_PartSruf(int& count);

    /// Number of cut-cell nodes: after SetParameters that of the mapping engine, 0 before.
    int GetTotalNodeNumber_Cutcell();

    /// Builds, once for a set of points, the table of Gauss weights that MultiplySmoothData applies: for every point its
    /// 50 nearest points, itself among them. Points with fewer than 50 points in reach (3·1.2^19 smoothing lengths along each axis) get no weights.
    ///   x, y, z          in  entries 1..nPoint, finite
    ///   dSmoothLength2   in  square of the smoothing length
    /// Returns 1. Call it once per object: the tables of an earlier call stay allocated.
    /// Method: Gauss kernel of standard deviation 1.4 smoothing lengths, narrowed until at least 0.023 of the weight is left for the
    /// point itself; the formula stands in docs/mapping.md.
    int Initialize_SmoothData(int nPoint, double* x, double* y, double* z, double dSmoothLength2);

    /// Carries one nodal result from the voxel mesh to the cut-cell mesh, after smoothing it on request.
    ///   bSmooth         in      smooth pVoxelResult in place first (needs the tables of SetParameters with method 1)
    ///   nVoxelNode      in      number of voxel values
    ///   nCutCellNode    in      number of cut-cell values, at most GetTotalNodeNumber_Cutcell()
    ///   pVoxelResult    in/out  entries 1..nVoxelNode; entry 0 must be readable (0: no value)
    ///   pCutCellResult  in/out  entries 1..nCutCellNode, in another array than pVoxelResult; entries of nodes without a valid voxel node keep what
    ///                           they hold
    ///   fMax, fMin      in/out  widened by the voxel values that are picked up; never reset
    ///   pWork           scratch nVoxelNode+1 floats; not touched without smoothing
    /// Returns 1. The object must have been set up by SetParameters.
    int MappingVoxel2CutcellNodeResult(bool bSmooth, int nVoxelNode, int nCutCellNode, float* pVoxelResult, float* pCutCellResult,
                                       float& fMax, float& fMin, float* pWork);

    /// Smooths values at the points of Initialize_SmoothData, 5 sweeps per iteration.
    ///   pInput   in   entries 1..nPoint; only read
    ///   pOutput  out  entries 1..nPoint; may be pInput
    /// Returns 1. Points without weights keep their value; sums are kept in single precision.
    int MultiplySmoothData(double* pInput, double* pOutput, int nIteration);

    /// Reads both meshes of a mesh file, runs the neighbour searches that the method asks for and builds the cut-cell-to-voxel mapping.
    ///   fileName        in  path of the mesh file
    ///   method          in  1 = Gauss and cut-cell search (smoothing possible); any other value: the cut-cell search alone when the
    ///                       object's mapping mode is non-zero (its owner sets it), else none
    ///   partInsertMode  in  1 = part and part insert are searched alike; other values keep them apart
    /// Returns 0 whatever happens. A mesh that cannot be read is reported on standard output and leaves an empty mesh; when the mapping engine
    /// fails, two lines are printed and one character is awaited on standard input. May be called again: it reads and replaces (some
    /// of what the earlier call allocated stays allocated).
    int SetParameters(const char* fileName, int method, int partInsertMode);

    /// Writes a capture table as a Tecplot ASCII file, "VoxelResultt=<k>_.plt" or "CutCellResultt=<k>_.plt", into the working
    /// directory, k = 1.000000, 2.000000, ... counting the files of this object.
    ///   table  in  rows 1 and 2: values at entries 1.. of the nodes of the mesh; row 2 is not used for the voxel mesh
    ///   iMesh  in  1 = voxel mesh, other values (0) = cut-cell mesh
    /// Returns 1, also when the file cannot be written.
    int TecPlotVoxelSmoothValue(float** table, int iMesh);

    /// Self-test of the smoothing service on 50 points of a line. Returns 1. Its arrays are never released.
    int test();

private:
    // The result-file driver works on the object's tables and sets the per-item members.
    friend class CTav3dQ7XMapping_Voxel2CutCell;
    // Read-only views of the tables, for the library and for reports on a mapping.
    friend struct CTav3dMeshMappingArrary_View;
    // The library's own access for tests and benchmarks; defined there, never in the library.
    friend struct CTav3dMeshMappingArrary_Inspector;

    /// As the public lists, over any marks of the cut-cell nodes.
    int* CreateNodeReNumberArray_Cutcell(int& count, bool* mark);

    /// The pick-up of MappingVoxel2CutcellNodeResult, without smoothing.
    void GetCutCell2VoxelMappingNodeResult_ByVelk(int nVoxelNode, int nCutCellNode, float* pVoxelResult, float* pCutCellResult, float& fMax,
                                                  float& fMin);

    /// Does nothing; returns 1.
    int GetCutCellPart_PartinsertInterfacePoint(int*, int&);

    /// The row of a cut-cell node: its part mark, the count 30, and in `list` (room for 31) 0, ten voxel nodes, and zeros.
    void GetCutcell2VoxelMappingNode(int node, int& flag, int& count, int* list);

    /// The Gauss row of a voxel node: its part mark, the number n of neighbours, and in entries 0..n of `list` and `w` (room for 51 each) the node
    /// itself and its neighbours with their weights. A node without row stands for itself: n = 1, weights 1 and 0.
    void GetVoxel2VoxelMappingNode_ByGaussMethod(int node, int& flag, int& n, int* list, float* w);

    /// Smooth pValue[1..nVoxelNode] in place; pWork is scratch of the same length. The second one averages and has no caller.
    void GetVoxel2VoxelSmoothNodeResult_GaussWeighting_ByTorp(int nVoxelNode, float* pValue, float* pWork);
    void GetVoxel2VoxelSmoothNodeResult_NodeAverage_ByTorp(int nVoxelNode, float* pValue, float* pWork);

    /// Hooks without content.
    void OutputDebugFiles(const char*);
    void OutputDebugFiles_CutCell2VoxelMapping();
    void OutputDebugFiles_LossNode();
    void OutputDebugFiles_Surface();

    /// Read one mesh of m_strFileName into the members; return 1.
    int ReadKRN_CutCellMesh();
    int ReadKRN_VoxelMesh();

    /// Mark the nodes of the next nElem mould-base (M) or plastic (P) elements in a new array of nNode+1 marks, which replaces `mark`; return true.
    bool ReadKRN_ElemM(KRNIO_Manipulator& reader, int nElem, int nNode, bool*& mark);
    bool ReadKRN_ElemP(KRNIO_Manipulator& reader, int nElem, int nNode, bool*& mark);

    /// The same for the part-insert facets on the interface; `count` becomes the number of marked nodes. Mode 1 lists the facets in
    /// m_ppiVoxelPartInsert too. Returns true.
    bool ReadKRN_PartInsert(KRNIO_Manipulator& reader, int nNode, bool*& mark, int& count, int mode);

    /// Count, for each node, the gate faces that it is a corner of. `face` holds nFace records of four numbers, of which 1, 2 and 3 are corners; of the
    /// cavity's faces also 4, the first number of the next record (so 4·nFace+1 numbers). Return 0 without faces, else 1.
    int SortCavityGatefaceNode(int nFace, int* face, int* count);
    int SortGatefaceNode(int nFace, int* face, int* count);

    /// Builds m_piCutCell2VoxelNode with the mapping engine; returns 1.
    int createMappingArray(const char* fileName);

    /// Reads both meshes and nothing more; returns 1.
    int createMeshSurfaceInfor(const char* fileName);

    /// The neighbour searches. The Gauss search consumes the boundary-facet tables and returns 0 when no mesh has been read; else they return 1.
    int getCutCellNeighborArraybyADTree();
    int getVoxelNeighborArraybyADTree_GaussMethod();

    // Members. Hosts rely on their order: add new ones at the end only. Arrays and trees are owned; "C" and "V" stand for the numbers of
    // cut-cell and voxel nodes, and an array "per node" has one entry more than nodes.

    float m_fPI;               // pi of the Gauss weights: 3.1416
    std::string m_strFileName; // the mesh file
    int m_nCutCellSurfNode;    // part-surface nodes of the cut-cell mesh
    int m_nVoxelSurfNode;      // part-surface nodes of the voxel mesh
    int m_nCutCellNeighbor;    // voxel neighbours kept per cut-cell node
    int m_nVoxelElem;          // plastic voxel elements
    bool m_bReadCutCellMesh;   // reading has been started
    bool m_bReadVoxelMesh;
    unsigned char* m_pbCutCellPartNode; // per cut-cell node: 1 = on the part surface
    float* m_pfCutCellX;                // per cut-cell node
    float* m_pfCutCellY;
    float* m_pfCutCellZ;
    float m_CutCell_BasicElem_Length; // always 0
    unsigned char* m_pbVoxelPartNode; // per voxel node: 1 = on the part surface
    float* m_pfVoxelX;                // per voxel node
    float* m_pfVoxelY;
    float* m_pfVoxelZ;
    int* m_piVoxelNodeReNumber;               // per voxel node: compact number, 0 = none
    int* m_piVoxelNodeOrgID;                  // compact number to voxel node
    int m_iDebugInfo;                         // non-zero: progress lines; nothing in the library sets it
    CTAVOptKer* m_pVoxelADTree;               // voxel nodes, under their compact numbers
    CTAVOptKer* m_pSmoothADTree;              // points of Initialize_SmoothData
    int m_nCutCell2VoxelMappingNode;          // entries reported by GetCutcell2VoxelMappingNode: 30
    int m_nVoxelMaxNeighbor;                  // length of Gauss rows: 50
    int m_nVoxelNode;                         // V
    int** m_ppiCutCellNeighbor;               // per cut-cell row: the nearest voxel nodes at 1..10
    int** m_ppiVoxelNeighbor;                 // per voxel row: Gauss neighbours at 1..count
    int* m_piVoxelNeighborCount;              // per voxel row
    int* m_piVoxelNeighborIndex;              // voxel node to voxel row
    int* m_piCutCellNeighborIndex;            // cut-cell node to cut-cell row
    float** m_ppfVoxelNeighborWeight;         // per voxel row: weights at 1..count
    float* m_pfVoxelSelfWeight;               // per voxel row: weight of the node itself
    float m_Voxel_BasicElem_LengthSq;         // square of the mean voxel element length
    bool* m_pbCutCellMoldBaseNode;            // per cut-cell node
    bool* m_pbCutCellPlasticNode;             // per cut-cell node
    unsigned char* m_pbVoxelPartInsertNode;   // per voxel node: 1 = on the part/part-insert interface
    unsigned char* m_pbCutCellPartInsertNode; // per cut-cell node, likewise
    int m_nVoxelPartInsertNode;
    int m_nCutCellPartInsertNode;
    double m_dTecplotCounter;  // files written
    int* m_piVoxelPlasticNode; // per voxel node: 1 = used by a plastic element
    int m_nCutCellSurfElem;    // surface facets of the cut-cell mesh
    int* m_piVoxelFixedNode;   // per voxel node: 1 = smoothing leaves it alone
    int* m_piVoxelSurfWork;    // always null between calls
    int* m_piCutCellSurfWork1; // always null between calls
    int* m_piCutCellSurfWork2;
    int* m_piCutCellNodeRegion;       // per cut-cell node: 0 interior, 1 part surface, 2 part insert
    double* m_pdSmoothTemp;           // previous sweep of MultiplySmoothData
    float** m_ppSmoothNeighborWeight; // per smoothing point: weights at 0 (itself) and 1..m_nSmoothMaxNeighbor
    int** m_ppiSmoothNeighbor;        // per smoothing point: point numbers, parallel to the weights
    int* m_piSmoothSet;               // per smoothing point: 1 = its row holds weights
    int m_nSmoothNode;                // smoothing points
    int m_nSmoothMaxNeighbor;         // 50
    double* m_pdTestX;                // made by test(), never released
    double* m_pdTestY;
    double* m_pdTestZ;
    int** m_ppiVoxelElemNode;   // rows 1..: corner count 4 and corners of a boundary facet; row 0: number of facets
    int** m_pVoxelWork1;        // always null between calls
    int** m_ppiVoxelPartInsert; // part-insert facets, made by ReadKRN_PartInsert in mode 1 only
    int** m_pVoxelWork2;        // per voxel node: count and up to nine of its surface facets
    int m_nVoxelElemTotal;      // rows of m_ppiVoxelElemNode, less one
    int m_iPartInsertMode;      // 1 = part and part insert are searched alike
    int m_NNodeCultCell_;       // C
    int* m_piCutCell2VoxelNode; // per cut-cell node: the voxel node of its value
    int m_nVoxelResultNode;     // voxel nodes of the current result item
    int m_iMappingMode;         // 0 = pick-up only; other values switch on the surface rules
    float m_fResultMaxValue;    // recorded extremes of the current result item
    float m_fResultMinValue;
    int m_iResultFileType; // kind of the current result file
};
