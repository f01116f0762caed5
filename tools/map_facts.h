#pragma once

// What the mapping report tells of a mapped file, found by reading both files again and asking the loaded model how each node got its value.

#include "map_job.h"
#include "map_origins.h"
#include "mapping_report.h"

#include <string>

namespace tav3d::tools
{

/// Gathers facts for one model.
class MapFacts
{
public:
    /// `withSurfaces`: read the surfaces of both meshes for the page's view, too (JSON does without). Throws FileError when the mesh file cannot be read.
    MapFacts(const std::string& meshFile, const MapOptions& options, const ModelMapper& mapper, bool withSurfaces);

    /// Adds a file. One that was mapped and cannot be read again now is listed as failed; the answer tells why, and is empty when all went well.
    [[nodiscard]] std::string add(const MapOutcome& outcome);

    [[nodiscard]] const MappingReport& report() const noexcept { return report_; }

private:
    void addItems(const MapOutcome& outcome, FileReport& file) const;

    const ModelMapper& mapper_;
    bool withSurfaces_;
    RegionNodes regions_;
    MappingReport report_;
    std::vector<std::int32_t> voxelNodeOfPoint_;
    std::vector<std::int32_t> cutCellNodeOfPoint_;
};

} // namespace tav3d::tools
