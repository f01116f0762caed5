#pragma once

// Items of an open result file as they are stored, and telling result files from mesh files.

#include "opensuite/result_file_reader.h"

#include <cstdint>
#include <string>
#include <vector>

namespace tav3d::tools
{

enum class FileKind
{
    Mesh,
    Result,
};

/// Throws FileError when the file cannot be read or is of neither kind.
[[nodiscard]] FileKind kindOfFile(const std::string& file);

/// The values of one item.
struct StoredItem
{
    enum class Layout
    {
        AllNodes,    ///< a value per node
        ListedNodes, ///< a value at the nodes of its type's ID map, which may be none
        Own,         ///< a length of its own: the values belong to no nodes of this mesh
    };
    Layout layout = Layout::AllNodes;
    std::vector<float> value;          ///< per node, 0 where there is none; layout Own: as stored
    std::vector<std::uint8_t> isThere; ///< layout ListedNodes: per node whether it has a value; else empty
};

/// Reads the item `row` of the item table into `item`, whose arrays are used again. Throws FileError when that fails.
void readStoredItem(opensuite::OpenResultFile& file, const CBinaryResultItem& row, StoredItem& item);

/// Number of nodes of the mesh that the result stands on.
[[nodiscard]] inline int nodeTotalOf(const CBinaryInform& description) noexcept
{
    return description.m_bOnCutCellMesh ? description.m_nCutCellNode : description.m_nVoxelNode;
}

/// "item 6" or, with a name, "item 6 (Temperature)".
[[nodiscard]] std::string itemLabel(const CBinaryResultItem& row);

} // namespace tav3d::tools
