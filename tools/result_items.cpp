#include "result_items.h"

#include "opensuite/file_error.h"
#include "opensuite/mesh_file_reader.h"

#include <algorithm>

namespace tav3d::tools
{

using namespace opensuite;

FileKind kindOfFile(const std::string& file)
{
    try
    {
        (void)readMeshHeader(file);
        return FileKind::Mesh;
    }
    catch (const FileError& error)
    {
        if (error.failure() != FileFailure::WrongKind)
            throw;
    }
    try
    {
        const OpenResultFile result(file);
        return FileKind::Result;
    }
    catch (const FileError& error)
    {
        if (error.failure() != FileFailure::WrongKind)
            throw;
    }
    throw FileError(FileFailure::WrongKind, file, "", "is neither a mesh file nor a result file");
}

void readStoredItem(OpenResultFile& file, const CBinaryResultItem& row, StoredItem& item)
{
    using Layout = StoredItem::Layout;
    const CBinaryInform& description = file.description();
    const CBinaryResultType& type = description.m_ResultType.at(row.m_iResultType); // the reader has checked that it is there
    const auto nodes = static_cast<std::size_t>(nodeTotalOf(description));
    item.isThere.clear();

    std::vector<float> stored;
    if (type.m_bUseIDMap)
        stored.resize(static_cast<std::size_t>(type.m_nDimension) + 1);
    if (!type.m_bUseIDMap || !file.readItem(row.m_iResultItemID, stored.data()))
    {
        int count = 0;
        const float* own = file.createFullResult(row.m_iResultItemID, row.m_iResultType, count);
        item.value.assign(own + 1, own + 1 + count);
        // Beside an ID map an item may be stored whole.
        item.layout = item.value.size() == nodes ? Layout::AllNodes : Layout::Own;
        return;
    }
    item.layout = Layout::ListedNodes;
    item.value.assign(nodes, 0.0F);
    item.isThere.assign(nodes, 0);
    for (std::size_t k = 1; k < stored.size(); ++k)
    {
        const auto node = static_cast<std::size_t>(type.m_MappingID[k]) - 1;
        item.value[node] = stored[k];
        item.isThere[node] = 1;
    }
}

std::string itemLabel(const CBinaryResultItem& row)
{
    return "item " + std::to_string(row.m_iResultItemID) + (row.m_strName.empty() ? "" : " (" + row.m_strName + ")");
}

} // namespace tav3d::tools
