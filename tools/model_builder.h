#pragma once

// From the surfaces of a part and its inserts to the two meshes of a model.

#include "opensuite/mesh_model.h"
#include "stl_file.h"

#include <optional>
#include <string>
#include <vector>

namespace tav3d::tools
{

struct ModelOptions
{
    double cellSize = 1;      // edge of a grid cell, in the unit of the STL files
    int margin = 3;           // cells of mould base around part and inserts, at least 1
    double scaleFactor = 1;   // stored in the model; coordinates are stored unscaled
    std::optional<Vec3> gate; // default: defaultGate()
    double gateRadius = 0;    // of the spot of gate or vent facets; 0 = 1.5 cells
    std::vector<Vec3> vents;
    std::string title;
};

struct NamedSurface
{
    std::string name; // of the file, for messages
    StlSurface surface;
};

/// Numbers of one mesh that its lists do not tell.
struct ZoneFigures
{
    double partVolume = 0;
    double moldVolume = 0; // inserts included
};

struct BuiltModel
{
    opensuite::MeshModel model;
    std::array<std::int32_t, 3> cells{}; // of the grid
    ZoneFigures voxel, cutCell;          // volumes in the unit of the STL files
    double partVolume = 0;               // that the part's STL file encloses, without what inserts take away from it
    Vec3 gate;
    std::vector<std::string> warnings;
};

/// Builds both meshes over a grid that starts `margin` cells below the lowest corner of part and inserts:
/// - voxel mesh: the grid's cells; a cell belongs to the body that its centre lies in;
/// - cut-cell mesh: see cut_cells.h. Both meshes begin with the same grid nodes.
/// Throws std::runtime_error (file and item named) when no cell centre lies in the part or in an insert, a surface is too open to tell inside
/// from outside, or the grid would have more than 60 million nodes.
BuiltModel buildModel(const NamedSurface& part, const std::vector<NamedSurface>& inserts, const ModelOptions& options);

} // namespace tav3d::tools
