#pragma once

// Declarations of the suite's result-description library. Spelling is part of the suite's interface.

#include <map>
#include <memory>
#include <string>
#include <vector>

class CTAV3DResultReader_Manipulator;
class CTAV3DResultWriter_Manipulator;

/// One row of the item table.
struct CBinaryResultItem
{
    int m_iResultItemID = 0;
    int m_iResultType = 1;
    float m_fMax = 0.0f; ///< recorded extremes
    float m_fMin = 0.0f;
    std::string m_strName; ///< for people: "Temperature"
    std::string m_strUnit; ///< "degC"
};

/// One result type: how many values its items store, and the nodes they belong to when these are not simply nodes 1..d.
struct CBinaryResultType
{
    int m_nDimension = 0;
    bool m_bUseIDMap = false;
    std::vector<int> m_MappingID; ///< node numbers at entries 1..m_nDimension (entry 0 is 0); empty without a map
};

/// The description of a result file: everything but the values.
class CBinaryInform
{
public:
    // Head.
    std::string m_strTitle;
    std::string m_strMeshFile;     ///< path of the mesh file, absolute or relative to the working directory
    bool m_bOnCutCellMesh = false; ///< the mesh that the results stand on
    int m_nVoxelNode = 0;          ///< node counts of both meshes of the model
    int m_nCutCellNode = 0;
    long long m_nMaxCavityNode = 0;
    double m_dFillingTime = 0.0; ///< s
    // Cooling and output times, in the order in which the file lists them: name, value.
    std::vector<std::pair<std::string, double>> m_CoolInfo;
    std::vector<double> m_OutputTime; ///< s
    int m_iMultipleTimeStepMode = 1;
    bool m_bHasVentingResult = false;
    // Items, in file order, and result types by number.
    std::vector<CBinaryResultItem> m_ResultItem;
    std::map<int, CBinaryResultType> m_ResultType;

    /// Whether items of this result type are stored through a list of node numbers.
    bool IfUseResultDataIDMap(int resultType) const;

private:
    friend class CBinaryWriteTools;
    std::shared_ptr<void>
        m_pSource; // the file that the record was read from, if any; a writer that gets the head asks it for array lengths
};

class CBinaryWriteTools
{
public:
    /// Fills `inform` from an open reader. `option` is always 0. Returns 0, negative when the reader is not open.
    static int GetBinaryInform(CBinaryInform& inform, CTAV3DResultReader_Manipulator& reader, int option);

    /// Number of values that an item of the type stores; 0 for a type that the file (the record) does not know.
    static int GetResultItemDimension(int resultType, CTAV3DResultReader_Manipulator& reader);
    static int GetResultItemDimension(int resultType, const CBinaryInform& inform);

    /// Sets the number of values of a type. `useIDMap`: the values belong to listed nodes, and SetResultItemMappingIDArray follows.
    /// A count of 0 with `useIDMap` is a map in use: items of the type are written without values.
    static void SetResultItemDimension(int resultType, CBinaryInform& inform, int count, bool useIDMap);

    /// The node numbers of a type's values: entries 1..count of `id`, copied. `id` may be null when count is 0.
    static void SetResultItemMappingIDArray(int resultType, CBinaryInform& inform, int count, int* id);

    /// The node numbers of a type, entries 1..d; they belong to the record and are valid until it changes. Null without a map.
    static int* GetResultItemMappingIDArray(int resultType, CBinaryInform& inform);

    /// The values of item `item`, one per node of the mesh: entries 1..nNode, entry 0 is 0. Values stored through an ID map are put at their
    /// nodes, and all other nodes get 0. An item that keeps another layout than its type comes with its own length. Returns null, with nNode = 0 and
    /// one line on standard error, when there is no such item, it is of another type, or it cannot be read.
    /// The array belongs to the reader: the caller may change it and must not release it. It is valid until the next call with this reader, which may
    /// give the same array again, EndReading or the reader's destruction.
    static float* FullResultFromMappingResult_Create(int item, int resultType, CBinaryInform& inform,
                                                     CTAV3DResultReader_Manipulator& reader, int& nNode);

    /// Hand parts of a description to a writer: the head before the result types, these before their ID maps, all three and the item table before
    /// the first item. All return 0, or a negative code (that of WriteResultItem) with one line on standard error; the file can then not be
    /// completed. The head's node counts must agree with the mesh file, when that is there; a count of 0 is taken from it. A record that was
    /// read from a file on the other mesh is fine: the number of part nodes is then counted in the mesh file (without it, it is not recorded), and
    /// types without an ID map get the dimension of the mesh that the new file stands on.
    static int WriteHeadFileInfo_time(CBinaryInform& inform, CTAV3DResultWriter_Manipulator& writer, double fillingTime);
    static int WriteCoolInfo(CBinaryInform& inform, CTAV3DResultWriter_Manipulator& writer);
    static int WriteMultipleTimeStepOutputInfo(CBinaryInform& inform, CTAV3DResultWriter_Manipulator& writer);
    static int WriteResultItemInfo(CBinaryInform& inform, CTAV3DResultWriter_Manipulator& writer);
    static int WriteResultTypeInfo(CBinaryInform& inform, CTAV3DResultWriter_Manipulator& writer);
    static int WriteResultDataIDMap(CBinaryInform& inform, CTAV3DResultWriter_Manipulator& writer);
};
