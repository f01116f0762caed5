#pragma once

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

class CTav3dMeshMappingArrary;

/// Maps result files of a moulding model from its voxel mesh to its cut-cell mesh.
///
/// Order of calls: construct; where wanted `DebugControl`, `SetMultipleTimeStepMode` and `Setfillingtime`; `SetParameters` once per model; then
/// `Voxel2CutCellResult` for any number of result files of this model. All calls run on the caller's thread; use one object from one thread at a time.
/// What goes wrong is printed on standard output and told by the result. Spelling is part of the interface.
class TAV3D_EXPORT CTav3dQ7XMapping_Voxel2CutCell
{
public:
    /// Kind of a result file, by its extension.
    enum eResultFileType : int
    {
        eQ7F = 0,     ///< ".q7f"  filling
        eQ7P = 1,     ///< ".q7p"  packing
        eQ7C = 2,     ///< ".q7c"  cooling
        eRSC = 3,     ///< ".rsc"
        eQ7HC = 4,    ///< ".q7hc" heating and cooling
        eUnknown = 5, ///< any other; also before the first file
        eRSF = 6      ///< ".rsf"
    };

    CTav3dQ7XMapping_Voxel2CutCell();
    /// Copies share the source's mapping object, and each destructor deletes it: a configured object must not be copied.
    CTav3dQ7XMapping_Voxel2CutCell(const CTav3dQ7XMapping_Voxel2CutCell&);
    CTav3dQ7XMapping_Voxel2CutCell& operator=(const CTav3dQ7XMapping_Voxel2CutCell&);
    virtual ~CTav3dQ7XMapping_Voxel2CutCell();

    /// Loads both meshes of the mesh file and builds what the mode needs. A second call replaces the first model.
    ///   meshFile      path of a ".krn" file
    ///   iMappingMode  0 = pick up the voxel values only; 1 = in addition part nodes take the value of the nearest voxel node of their kind, and results
    ///                 can be smoothed; any other value = as 1 without smoothing (both meshes are read twice)
    ///   iOption       1 = part and part insert are one for the search of neighbours; any other value keeps them apart
    /// Returns 0 in every case: also when the file has no node block, and then the object stays unconfigured (`Voxel2CutCellResult` returns 2).
    int SetParameters(const char* meshFile, int iMappingMode, int iOption);

    /// Handed to the result writer; 1 after construction. Returns 1.
    int SetMultipleTimeStepMode(int mode);

    /// Filling time in seconds, written into the head of the mapped files; 0 after construction.
    void Setfillingtime(double t);

    /// tecplotOutput = 1: every mapping run also writes "VoxelResultt=1.000000_.plt" and "CutCellResultt=2.000000_.plt" (numbers count on) into
    /// the working directory, with the first two items of the numbers 1 and 6. debugMode is stored only. Returns 1.
    int DebugControl(int debugMode, int tecplotOutput);

    /// Maps voxelResultFile to a new file cutCellResultFile, which is replaced when it is there.
    ///   bSmooth  non-zero: cavity items are smoothed on the voxel mesh first, when the mode is 1
    /// Returns 1 = done, 2 = not configured, -2 = no mapping object, -1 = a file cannot be opened (two lines on standard output).
    /// A file name without a "." ends in std::out_of_range.
    int Voxel2CutCellResult(std::string& voxelResultFile, std::string& cutCellResultFile, int bSmooth);

    /// Maps in place: moves resultFile aside (part.q7f becomes part_vox.q7f, which is replaced when it is there) and writes the mapped result under the
    /// name that it had. Without an old "_vox" file the call waits 1.5 s, for removal is tried three times.
    /// Returns as above; -1 also when the file cannot be moved (it then stands under its old name).
    int Voxel2CutCellResult(std::string& resultFile, int bSmooth);

    /// Allocates a capture table for the Tecplot output when `table` is null: three rows of nNode+1 zeros, made with array new and owned by the
    /// caller; prints "TotalNode = " and the count. Does nothing when `table` is set. Returns 1.
    int NewResultArrayforTecplot(int nNode, float**& table);

private:
    /// From the last "." of the whole path to its end; std::out_of_range without a ".".
    std::string GetExtendFilename(std::string fileName);

    /// The kind that the extension tells, byte for byte; sets m_SolverType too.
    eResultFileType GetFileType(std::string fileName);

    /// Whether an item of a file of the kind m_eFileType (or of the kind in the name) is mapped; the others are copied. bCavity: whether it is also
    /// smoothed on request; left alone for eUnknown.
    bool IfCavityResult(int itemId, bool& bCavity);
    bool IfCavityResult_Q7F(int itemId, bool& bCavity);
    bool IfCavityResult_Q7P(int itemId, bool& bCavity);
    bool IfCavityResult_Q7C(int itemId, bool& bCavity);
    bool IfCavityResult_RSC(int itemId, bool& bCavity);
    bool IfCavityResult_RSF(int itemId, bool& bCavity);

    /// Moves a file to its "_vox" name, which newName receives in any case, in up to 5 tries, after removing what stands there. 1 = done, -1 = not.
    int RenameVoxelQ7XFile(const char* fileName, std::string& newName);

    /// Removes a file in up to 3 tries, 500 ms after each failure. 0, or the code of the last try.
    int COM_DeleteFile(const char* fileName);

    // The order of the members is part of the binary interface: add new ones at the end only.
    int m_iMappingMode;
    float* m_pSmoothWork;  // scratch of smoothing; owned during a run
    int m_iDebugMode;      // stored only
    int m_iTecplotOutput;  // 1 = write Tecplot files
    int m_iDebugPrint;     // 1 = GetFileType prints what it finds; no operation sets it
    bool m_bSetParameters; // a usable mesh file has been set
    int m_iMultipleTimeStepMode;
    double m_dFillingTime;                   // s
    CTav3dMeshMappingArrary* m_pMeshMapping; // owned
    eResultFileType m_eFileType;             // of the last file
    int m_SolverType;                        // of the last file: 0 filling, 1 packing, 2 cooling, 3 none

    friend struct CTav3dQ7XMapping_Voxel2CutCell_View; // for reports on a mapping
    friend struct Tav3dQ7XMappingTestAccess;           // the library's own tests
};
