#pragma once

// Mapping result files of one model, as the command line does it: everything that can be checked is checked before any file is touched, and
// whatever happens, the voxel data is intact under one of its two names.

#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

class CTav3dMeshMappingArrary;
class CTav3dQ7XMapping_Voxel2CutCell;

namespace tav3d::tools
{

struct MapOptions
{
    int mode = 1; ///< mapping mode of the driver: 0, 1 or 2
    bool smooth = false;
    int partInsertMode = 0;
    std::optional<double> fillingTime; ///< s, for the head of the mapped files; absent = as the voxel file has it
    bool tecplot = false;
};

/// One result file to map.
struct MapTask
{
    std::filesystem::path source; ///< as the caller named it
    std::filesystem::path target; ///< where the mapped result will stand; equals `source` in place
    [[nodiscard]] bool inPlace() const { return source == target; }
};

struct MapOutcome
{
    MapTask task;
    std::string failure;             ///< empty = mapped; else what went wrong, naming the file and the item
    std::filesystem::path voxelFile; ///< where the voxel result stands now
    std::string note;                ///< what the caller should know although it went well; may be empty
    double seconds = 0.0;            ///< wall time, the driver's waits included
};

/// The tasks for the named result files. Without `output`: in place, under the host's naming rule (the voxel file moves aside to its "_vox"
/// name). Else `output` is the target of the only file, or, when it is a folder or several files are named, the folder of all targets.
/// Throws std::runtime_error when a file is named twice, a target is also a source, or two targets coincide.
[[nodiscard]] std::vector<MapTask> makeMapTasks(const std::vector<std::string>& results, const std::string& output);

/// Told after each item that is stored: items stored, items in the file.
using MapObserver = std::function<void(int, int)>;

/// One model, loaded once, to which result files are mapped one by one. What the library prints on standard output comes out on standard error.
class ModelMapper
{
public:
    struct Mesh;

    /// Loads both meshes. Throws std::runtime_error when the mesh file cannot be used.
    ModelMapper(const std::string& meshFile, const MapOptions& options);
    ~ModelMapper();
    ModelMapper(const ModelMapper&) = delete;
    ModelMapper& operator=(const ModelMapper&) = delete;

    /// Maps one file. Throws nothing that the file is to blame for: the outcome says why a task failed, and its voxel file then stands under the name
    /// that it had. `observe` may be empty.
    /// Results that another program has locked are refused, and so are targets that are write-protected, folders, the mesh file, or too large for the
    /// disk. Temporary files that ended runs left beside a target are removed. An in-place task whose result stands under its "_vox" name alone, after a
    /// run that was ended half-way, is mapped from there.
    [[nodiscard]] MapOutcome run(const MapTask& task, const MapObserver& observe);

    /// The loaded model, to tell how values came about.
    [[nodiscard]] const CTav3dMeshMappingArrary& mapping() const;

    [[nodiscard]] double secondsOfLoading() const noexcept { return secondsOfLoading_; }

private:
    void mapFile(const MapObserver& observe, MapOutcome& outcome);

    MapOptions options_;
    std::unique_ptr<Mesh> mesh_;
    double secondsOfLoading_ = 0.0;
    std::unique_ptr<CTav3dQ7XMapping_Voxel2CutCell> driver_;
};

} // namespace tav3d::tools
