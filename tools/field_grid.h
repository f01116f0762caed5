#pragma once

// A mesh and the fields on it, taken from a result file and its mesh file (or from a mesh file alone) as one thing in memory: what
// `tav3d export` writes and `tav3d interpolate` reads.

#include "opensuite/mesh_file_reader.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace tav3d::tools
{

/// One item with a value per node of the grid.
struct GridField
{
    int item = 0;
    std::string name;                  ///< unique in its file, at most 32 bytes: "Temperature (6)"
    std::string unit;                  ///< may be empty
    std::vector<float> value;          ///< per node, 0 at nodes without a value
    std::vector<std::uint8_t> isThere; ///< per node whether it has a value; empty when all nodes have one

    [[nodiscard]] bool hasValue(std::size_t node) const noexcept { return isThere.empty() || isThere[node] != 0; }
};

/// Node n (from 1) stands at x[n-1], y[n-1], z[n-1], in mesh length units: the scale factor is applied.
struct FieldGrid
{
    std::string title;
    std::string meshFile;
    opensuite::ZoneId zone = opensuite::ZoneId::Voxel;
    std::vector<float> x, y, z;
    opensuite::CellList cells; ///< of the part first, then of the mould base and the inserts
    std::size_t partCells = 0;
    std::vector<std::int32_t> nodeNumber; ///< per node its number in the mesh file; empty when the numbers are the same
    std::vector<GridField> fields;        ///< in the order of the item table

    [[nodiscard]] std::size_t nodeTotal() const noexcept { return x.size(); }
    [[nodiscard]] std::int32_t numberInMesh(std::size_t node) const noexcept
    {
        return nodeNumber.empty() ? static_cast<std::int32_t>(node) + 1 : nodeNumber[node];
    }
};

struct GridRequest
{
    std::string file;                      ///< result file or mesh file
    std::string meshFile;                  ///< of a result, in place of the one that it names; empty = that one
    std::optional<opensuite::ZoneId> zone; ///< which mesh of a mesh file; nothing = the cut-cell mesh, or the only one there
    bool partOnly = false;                 ///< only the cells of the part and their nodes
    bool dropLooseNodes = false;           ///< no nodes that belong to no cell
    std::vector<int> items;                ///< item numbers; empty = all items that have a value per node
};

/// Reads what is asked for. Items that cannot stand on the nodes of the grid (without values, or stored with a length of their own) are left out with
/// a line in `notes`, or are an error when they are named in `items`.
/// Throws std::runtime_error naming file and item: what the readers refuse, an item that the file has not, a mesh that is not that of the result.
[[nodiscard]] FieldGrid loadFieldGrid(const GridRequest& request, std::vector<std::string>& notes);

/// "voxel" or "cut-cell".
[[nodiscard]] const char* meshName(opensuite::ZoneId zone) noexcept;

/// Whether the two names lead to one file that exists.
[[nodiscard]] bool isSameFile(const std::string& a, const std::string& b) noexcept;

} // namespace tav3d::tools
