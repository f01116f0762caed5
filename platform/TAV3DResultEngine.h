#pragma once

// Declarations of the suite's result-file library. Spelling is part of the suite's interface.
//
// A result file holds numbered result items. Each item has a result type, and each result type a dimension d: the number of values
// that an item of the type stores. Value arrays have d+1 entries; entry 0 carries no value.

class CTAV3DResultReader_Manipulator
{
public:
    CTAV3DResultReader_Manipulator();
    ~CTAV3DResultReader_Manipulator();
    CTAV3DResultReader_Manipulator(const CTAV3DResultReader_Manipulator&) = delete;
    CTAV3DResultReader_Manipulator& operator=(const CTAV3DResultReader_Manipulator&) = delete;

    /// Opens a result file. `second` is not used; null and "" are both passed. Returns 0, or
    ///   -1  no file name
    ///   -2  the file cannot be opened
    ///   -3  the result table is not usable (incomplete, or in contradiction to the data)
    ///   -4  not a result file
    /// On failure the reader stays closed, and one line on standard error names the file and the reason.
    int BeginReading(const char* file, const char* second);

    /// Reads item `item` as stored: entries 1..d of `buffer`, which has room for d+1. Returns 0; -1 when the file has no such item, -2 when its
    /// values cannot be read (the buffer is then as it was). An item may keep another layout than its type (a voxel result that stays as it is in a
    /// file on the cut-cell mesh): then 1 is returned, with as many values as there are and the buffer has room for, and zeros after them;
    /// FullResultFromMappingResult_Create (TAV3DCoolTools.h) gives such an item whole.
    int GetResultItem(int item, float* buffer);

    /// Number of nodes of the part in the mesh that the results stand on; 0 when the file does not record it.
    long long GetMaxCavityNode() const;

    bool GetHasVentingResult() const;

    /// Closes the file. The array that FullResultFromMappingResult_Create gave (TAV3DCoolTools.h) is released. Calling it twice is harmless.
    int EndReading();

private:
    friend class CBinaryWriteTools;
    class Impl;
    Impl* m_pImpl; // owned
};

class CTAV3DResultWriter_Manipulator
{
public:
    CTAV3DResultWriter_Manipulator();
    ~CTAV3DResultWriter_Manipulator();
    CTAV3DResultWriter_Manipulator(const CTAV3DResultWriter_Manipulator&) = delete;
    CTAV3DResultWriter_Manipulator& operator=(const CTAV3DResultWriter_Manipulator&) = delete;

    /// Starts a result file that will stand at `file`. `second` is not used. `onCutCellMesh`: the results stand on the cut-cell mesh of the
    /// model (false: on its voxel mesh). Returns 0, -1 without a file name, -2 when nothing can be written there.
    /// The file is built under another name beside `file` and takes the name in `EndWriting`; a writer that is destroyed before that leaves
    /// whatever stood at `file` untouched.
    int BeginWriting(const char* file, const char* second, bool onCutCellMesh);

    /// 1 = the file keeps one value set per item (the default).
    void SetMultipleTimeStepMode(int mode);
    void SetHasVentingResult(bool hasVentingResult);

    /// Writes the values of item `item`, entries 1..n of `value`. The item must stand in the item table (WriteResultItemInfo), the head, the result
    /// types and their ID maps must have been handed over, and no item is written twice. How many values are taken: for an array that the open
    /// source file created (FullResultFromMappingResult_Create), that array's length; otherwise, for a result type with an ID map, the map's
    /// count (`value` may be null when it is 0), and without a map the node count of the mesh that the file stands on. An array of the source whose
    /// length is not that of the type is kept whole, in its own layout. The values are stored at once; `value` is not needed afterwards.
    /// Returns 0; negative when nothing was stored, with one line on standard error: -1 no file is being written, -2 the file system failed, -3 refused.
    int WriteResultItem(int item, float* value);

    /// Recorded extremes per item, in the order of the item table, starting at entry 0. Without this call the item table's own extremes stand.
    void SetMaxMinInfo(float* max, float* min);

    /// Completes the file and moves it to its name in one step. Returns 0; negative when the file could not be completed, with one line on standard
    /// error (the target is as it was): codes as above. An item of the table that was never written, and a part of the description that was
    /// refused, are such reasons. Calling it twice is harmless and gives the same answer.
    int EndWriting();

private:
    friend class CBinaryWriteTools;
    class Impl;
    Impl* m_pImpl; // owned
};
