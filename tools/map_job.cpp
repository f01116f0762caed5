#include "map_job.h"

#include "KRNIO.h"
#include "TAV3DCoolTools.h"
#include "TAV3DResultEngine.h"
#include "Tav3dQ7XMapping_Voxel2CutCell.h"
#include "common/error_text.h"
#include "common/file_names.h"
#include "console.h"
#include "file_access.h"
#include "opensuite/item_observer.h"
#include "opensuite/open_result.h"
#include "opensuite/replace_file.h"
#include "resultmapping/driver_view.h"

#include <array>
#include <chrono>
#include <set>
#include <stdexcept>
#include <system_error>

namespace fs = std::filesystem;

namespace tav3d::tools
{

using common::nameOf;
using common::pathOf;

/// The model's mesh file and its node counts.
struct ModelMapper::Mesh
{
    fs::path file;
    int voxelNodes = 0;
    int cutCellNodes = 0;
};

namespace
{

double secondsSince(std::chrono::steady_clock::time_point begin)
{
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count();
}

[[noreturn]] void fail(const std::string& file, const std::string& reason)
{
    throw std::runtime_error(file + ": " + reason);
}

[[noreturn]] void fail(const fs::path& file, const std::string& reason)
{
    fail(nameOf(file), reason);
}

/// "part_vox.q7f" for "part.q7f": the driver's rule, for a path whose file name has an extension.
fs::path voxPathOf(const fs::path& file)
{
    fs::path vox = file;
    vox.replace_filename(pathOf(nameOf(file.stem()) + "_vox" + nameOf(file.extension())));
    return vox;
}

void checkExtension(const fs::path& file)
{
    static const std::set<std::string> known{".q7f", ".q7p", ".q7c", ".q7hc", ".rsf", ".rsc"};
    const std::string extension = nameOf(file.extension());
    if (extension.empty())
        fail(file, "the file name has no extension; result files end in .q7f, .q7p, .q7c, .q7hc, .rsf or .rsc");
    if (!known.contains(extension))
        fail(file, "extension '" + extension + "' is none of .q7f, .q7p, .q7c, .q7hc, .rsf, .rsc (case matters)");
}

ModelMapper::Mesh checkedMesh(const std::string& meshFile)
{
    ModelMapper::Mesh mesh{pathOf(meshFile)};
    for (const bool voxel : {false, true})
    {
        KRNIO_Manipulator reader;
        if (reader.beginReading(meshFile.c_str(), nullptr, voxel ? 1 : 0) < 0)
            fail(meshFile, std::string("the ") + (voxel ? "voxel" : "cut-cell") + " mesh cannot be read");
        (voxel ? mesh.voxelNodes : mesh.cutCellNodes) = reader.getNNode();
        if (reader.getNNode() == 0)
            fail(meshFile, std::string("the ") + (voxel ? "voxel" : "cut-cell") + " mesh has no nodes");
    }
    return mesh;
}

using CheckedResult = std::shared_ptr<opensuite::OpenResultFile>;

/// A result file, checked; throws when it cannot be read.
CheckedResult checkedResult(const fs::path& file)
{
    if (!fs::exists(file))
        fail(file, "no such file");
    if (isLockedByAnotherProgram(file))
        fail(file, "is in use by another program, which has locked it");
    const auto [result, code] = opensuite::openResult(nameOf(file).c_str());
    if (code < 0)
    {
        static constexpr std::array reasons{"cannot be opened", "cannot be opened", "its result table is not usable",
                                            "is not a result file"};
        fail(file, code >= -4 ? reasons[-code - 1] : "cannot be read");
    }
    return result;
}

/// A voxel result of this model, or a reason why it is not.
void checkBelongsToModel(const fs::path& file, const CBinaryInform& inform, const ModelMapper::Mesh& mesh)
{
    if (inform.m_nVoxelNode != mesh.voxelNodes || inform.m_nCutCellNode != mesh.cutCellNodes)
        fail(file, "belongs to another model: it was made for " + std::to_string(inform.m_nVoxelNode) + " voxel and " +
                       std::to_string(inform.m_nCutCellNode) + " cut-cell nodes, the mesh file has " + std::to_string(mesh.voxelNodes) +
                       " and " + std::to_string(mesh.cutCellNodes));
}

/// The target can be made and there is room for it. What an earlier run that was ended left there of the same target goes away.
void checkTarget(const fs::path& target, const CBinaryInform& inform, const ModelMapper::Mesh& mesh)
{
    std::error_code ignored;
    if (fs::equivalent(target, mesh.file, ignored))
        fail(target, "is the mesh file");
    if (fs::is_directory(target, ignored))
        fail(target, "is a folder");
    if (isWriteProtected(target))
        fail(target, "is write-protected; --output names another place for the mapped result");
    opensuite::removeAbandonedTemporaries(target);
    CTAV3DResultWriter_Manipulator probe; // dropped without an end: the target stays as it is
    if (probe.BeginWriting(nameOf(target).c_str(), nullptr, true) < 0)
        fail(target, "cannot be written");

    // Every item at most as long as the longer mesh, and room for the tables.
    const auto nodes = static_cast<std::uintmax_t>(std::max(inform.m_nVoxelNode, inform.m_nCutCellNode));
    const std::uintmax_t needed = inform.m_ResultItem.size() * nodes * sizeof(float) + 256 * 1024;
    const fs::path folder = target.has_parent_path() ? target.parent_path() : fs::path(".");
    const fs::space_info space = fs::space(folder, ignored);
    if (!ignored && space.available < needed)
        fail(target,
             "not enough room on the disk: " + std::to_string(needed) + " bytes needed, " + std::to_string(space.available) + " available");
}

/// The voxel result can move to its "_vox" name: what stands there is an older voxel result, or nothing. (Removing a file would also remove an empty
/// folder.)
void checkWayAside(const fs::path& vox)
{
    std::error_code ignored;
    if (fs::exists(fs::symlink_status(vox, ignored)) && fs::is_directory(vox, ignored))
        fail(vox, "is a folder, and the voxel result is to take its name");
    if (isWriteProtected(vox))
        fail(vox, "is write-protected, and the voxel result is to take its name");
}

/// What one task has to start from.
struct Start
{
    fs::path voxelFile;     ///< the voxel result
    bool moveAside = false; ///< it stands under the result's name, and the driver moves it aside
    CheckedResult open;     ///< it, checked
    std::string note;

    [[nodiscard]] const CBinaryInform& inform() const noexcept { return open->description(); }
};

/// Finds the voxel data of a task. An in-place run that was interrupted, or is repeated, finds it under the "_vox" name.
Start findStart(const MapTask& task, const ModelMapper::Mesh& mesh)
{
    Start start;
    start.voxelFile = task.source;
    start.moveAside = task.inPlace();
    const fs::path vox = voxPathOf(task.source);

    if (task.inPlace() && !fs::exists(task.source) && fs::exists(vox))
    {
        // An earlier run was interrupted between moving aside and completion: its second half is to be done.
        start.open = checkedResult(vox);
        checkBelongsToModel(vox, start.inform(), mesh);
        if (start.inform().m_bOnCutCellMesh)
            fail(vox, "holds a result on the cut-cell mesh");
        start.voxelFile = vox;
        start.moveAside = false;
        start.note = "found under its _vox name after an interrupted run";
        return start;
    }

    start.open = checkedResult(task.source);
    checkBelongsToModel(task.source, start.inform(), mesh);
    if (!start.inform().m_bOnCutCellMesh)
        return start;

    if (!task.inPlace() || !fs::exists(vox))
        fail(task.source, "is a result on the cut-cell mesh already");
    // Mapped before: its voxel data stands beside it, and is mapped again.
    start.open = checkedResult(vox);
    checkBelongsToModel(vox, start.inform(), mesh);
    if (start.inform().m_bOnCutCellMesh)
        fail(task.source, "is a result on the cut-cell mesh already, and so is " + nameOf(vox));
    start.voxelFile = vox;
    start.moveAside = false;
    start.note = "was mapped before; mapped again from " + nameOf(vox);
    return start;
}

bool isVoxelResult(const fs::path& file)
{
    try
    {
        return !checkedResult(file)->description().m_bOnCutCellMesh;
    }
    catch (const std::exception&)
    {
        return false;
    }
}

std::string reasonOf(int code)
{
    switch (code)
    {
    case 2:
        return "the mapping is not configured";
    case -2:
        return "there is no mapping object";
    default:
        return "a file could not be opened or moved aside";
    }
}

/// Why the driver's call failed; empty when it did not. Its answer does not tell whether the target could be completed, and an older file may stand
/// there, so the writers are asked whether they have completed one since they had completed `before`.
std::string whatFailed(const MapTask& task, int code, long long before)
{
    if (code == 1)
        return opensuite::completedResultFiles() > before ? "" : nameOf(task.target) + ": the mapped result could not be written";
    return nameOf(task.source) + ": " + reasonOf(code);
}

} // namespace

std::vector<MapTask> makeMapTasks(const std::vector<std::string>& results, const std::string& output)
{
    std::vector<MapTask> tasks;
    std::set<fs::path> sources;
    const fs::path outputPath = pathOf(output);
    const bool intoFolder = fs::is_directory(outputPath);
    for (const std::string& result : results)
    {
        const fs::path path = pathOf(result);
        if (!sources.insert(common::identityOf(path)).second)
            fail(result, "named twice");
        MapTask task{path, path};
        if (!output.empty())
            task.target = intoFolder || results.size() > 1 ? common::inFolder(outputPath, task.source.filename()) : outputPath;
        tasks.push_back(task);
    }
    if (output.empty())
        return tasks;
    if (results.size() > 1 && !intoFolder)
        fail(output, "is no folder; with several result files --output names one");
    std::set<fs::path> targets;
    for (const MapTask& task : tasks)
    {
        const fs::path target = common::identityOf(task.target);
        if (sources.contains(target))
            fail(task.target, "is both a source and a target");
        if (!targets.insert(target).second)
            fail(task.target, "is the target of two files");
    }
    return tasks;
}

ModelMapper::ModelMapper(const std::string& meshFile, const MapOptions& options)
    : options_(options)
{
    const StandardOutputToStandardError redirected;
    const auto begin = std::chrono::steady_clock::now();
    mesh_ = std::make_unique<Mesh>(checkedMesh(meshFile));
    driver_ = std::make_unique<CTav3dQ7XMapping_Voxel2CutCell>();
    driver_->DebugControl(0, options.tecplot ? 1 : 0);
    driver_->SetParameters(meshFile.c_str(), options.mode, options.partInsertMode);
    secondsOfLoading_ = secondsSince(begin);
}

ModelMapper::~ModelMapper() = default;

const CTav3dMeshMappingArrary& ModelMapper::mapping() const
{
    return *CTav3dQ7XMapping_Voxel2CutCell_View::mapping(*driver_);
}

MapOutcome ModelMapper::run(const MapTask& task, const MapObserver& observe)
{
    const StandardOutputToStandardError redirected;
    const auto begin = std::chrono::steady_clock::now();
    MapOutcome outcome;
    outcome.task = task;
    outcome.voxelFile = task.source;
    try
    {
        mapFile(observe, outcome);
    }
    catch (const std::exception& error)
    {
        outcome.failure = common::failureText(error);
    }
    outcome.seconds = secondsSince(begin);
    return outcome;
}

void ModelMapper::mapFile(const MapObserver& observe, MapOutcome& outcome)
{
    const MapTask& task = outcome.task;
    checkExtension(task.source);
    Start start = findStart(task, *mesh_);
    outcome.voxelFile = start.voxelFile;
    outcome.note = start.note;
    if (start.moveAside)
        checkWayAside(voxPathOf(task.source));
    checkTarget(task.target, start.inform(), *mesh_);
    const long long completedBefore = opensuite::completedResultFiles();

    const opensuite::WatchItems watch(
        [&](int done, int total)
        {
            if (observe)
                observe(done, total);
        });
    if (start.moveAside)
        start.open->close(); // what is open cannot be moved on every system
    const opensuite::OfferResult offer(start.open);
    std::string voxelFile = nameOf(start.voxelFile);
    std::string target = nameOf(task.target);
    driver_->Setfillingtime(options_.fillingTime.value_or(start.inform().m_dFillingTime));
    const int smooth = options_.smooth ? 1 : 0;
    try
    {
        const int code =
            start.moveAside ? driver_->Voxel2CutCellResult(target, smooth) : driver_->Voxel2CutCellResult(voxelFile, target, smooth);
        outcome.failure = whatFailed(task, code, completedBefore);
    }
    catch (const std::exception& error)
    {
        outcome.failure = nameOf(task.source) + ": " + error.what();
    }
    if (!start.moveAside)
        return;

    const fs::path vox = voxPathOf(task.source);
    if (outcome.failure.empty())
    {
        outcome.voxelFile = vox;
        return;
    }
    if (isVoxelResult(task.source) || !isVoxelResult(vox))
        return; // the driver has not moved it
    try
    {
        opensuite::moveOnto(vox, task.source);
    }
    catch (const fs::filesystem_error&)
    {
        outcome.voxelFile = vox;
        outcome.failure += "; the voxel file could not be moved back and stands at " + nameOf(vox);
    }
}

} // namespace tav3d::tools
