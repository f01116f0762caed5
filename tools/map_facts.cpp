#include "map_facts.h"

#include "TAV3DCoolTools.h"
#include "TAV3DResultEngine.h"
#include "common/file_names.h"
#include "meshmapping/mapping_array_view.h"
#include "opensuite/mesh_file_reader.h"
#include "resultmapping/result_names.h"

#include <limits>
#include <map>
#include <optional>
#include <stdexcept>
#include <utility>

namespace tav3d::tools
{

namespace
{

using View = CTav3dMeshMappingArrary_View;
/// Values of the listed nodes, of those that are stored: all when `stored` is empty, else those marked there. `nodes` ascend; those beyond the
/// values are left out. `buffer` is reused.
std::span<const float> valuesAt(std::span<const std::int32_t> nodes, std::span<const float> values, std::span<const char> stored,
                                std::vector<float>& buffer)
{
    buffer.clear();
    for (const std::int32_t node : nodes)
    {
        const auto j = static_cast<std::size_t>(node);
        if (j >= values.size())
            break;
        if (stored.empty() || stored[j] != 0)
            buffer.push_back(values[j]);
    }
    return buffer;
}

/// Nodes of a region, of those that are stored, without a value of their own: it is exactly 0, or the recorded minimum stands in its place.
std::int64_t countWithoutValue(std::span<const std::int32_t> nodes, std::span<const float> values, std::span<const char> stored,
                               std::span<const std::uint8_t> replaced)
{
    std::int64_t count = 0;
    for (const std::int32_t node : nodes)
    {
        const auto j = static_cast<std::size_t>(node);
        if (j >= values.size())
            break;
        count += (stored.empty() || stored[j] != 0) && (values[j] == 0.0f || replaced[j] != 0);
    }
    return count;
}

/// A result file, open.
struct OpenResult
{
    explicit OpenResult(const std::filesystem::path& path)
    {
        if (reader.BeginReading(common::nameOf(path).c_str(), nullptr) < 0)
            throw std::runtime_error(common::nameOf(path) + ": cannot be read again for the report");
        CBinaryWriteTools::GetBinaryInform(inform, reader, 0);
    }

    /// An item with one value per node; entry 0 is 0.
    std::span<const float> full(const CBinaryResultItem& item)
    {
        int n = 0;
        const float* values =
            CBinaryWriteTools::FullResultFromMappingResult_Create(item.m_iResultItemID, item.m_iResultType, inform, reader, n);
        if (values == nullptr)
            throw std::runtime_error("item " + std::to_string(item.m_iResultItemID) + " cannot be read again for the report");
        return {values, static_cast<std::size_t>(n) + 1};
    }

    CTAV3DResultReader_Manipulator reader;
    CBinaryInform inform;
};

std::string kindInWords(int fileType)
{
    namespace type = resultmapping::file_type;
    switch (fileType)
    {
    case type::q7f:
        return "filling (.q7f)";
    case type::q7p:
        return "packing (.q7p)";
    case type::q7c:
        return "cooling (.q7c)";
    case type::q7hc:
        return "heating and cooling (.q7hc)";
    case type::rsf:
        return "filling, short form (.rsf)";
    case type::rsc:
        return "cooling, short form (.rsc)";
    default:
        return "unknown";
    }
}

NumberedSurface surfaceOf(const std::string& meshFile, opensuite::ZoneId zone, double scale)
{
    const opensuite::MeshZone mesh = opensuite::readMeshZone(meshFile, zone);
    std::vector<std::array<std::int32_t, 4>> facets;
    for (const opensuite::SurfaceFacet& facet : mesh.surface)
        if (facet.flag == 1 && facet.kind != opensuite::facet_kind::outerFace)
            facets.push_back(facet.node);
    const auto numbered = [](const std::vector<float>& coordinate)
    {
        std::vector<float> shifted(1, 0.0f);
        shifted.insert(shifted.end(), coordinate.begin(), coordinate.end());
        return shifted;
    };
    return surfaceOfFacets(facets, numbered(mesh.x), numbered(mesh.y), numbered(mesh.z), scale);
}

} // namespace

MapFacts::MapFacts(const std::string& meshFile, const MapOptions& options, const ModelMapper& mapper, bool withSurfaces)
    : mapper_(mapper)
    , withSurfaces_(withSurfaces)
    , regions_(regionNodesOf(mapper.mapping()))
{
    const opensuite::MeshSummary mesh = opensuite::readMeshHeader(meshFile);
    report_.toolVersion = TAV3D_VERSION;
    report_.meshFile = meshFile;
    report_.title = mesh.title;
    report_.lengthUnit = "mm";
    report_.cellSize = mesh.cellSize * mesh.scaleFactor;
    report_.voxelNodes = mesh.voxel.nodes;
    report_.cutCellNodes = mesh.cutCell.nodes;
    report_.mode = options.mode;
    report_.partInsertMode = options.partInsertMode;
    report_.smoothing = options.smooth && options.mode == 1;
    report_.stages.push_back({"load the model", mapper.secondsOfLoading()});
    if (!withSurfaces)
        return;
    NumberedSurface voxel = surfaceOf(meshFile, opensuite::ZoneId::Voxel, mesh.scaleFactor);
    report_.voxelSurface = std::move(voxel.surface);
    voxelNodeOfPoint_ = std::move(voxel.nodeOfPoint);
    NumberedSurface cutCell = surfaceOf(meshFile, opensuite::ZoneId::CutCell, mesh.scaleFactor);
    report_.cutCellSurface = std::move(cutCell.surface);
    cutCellNodeOfPoint_ = std::move(cutCell.nodeOfPoint);
}

std::string MapFacts::add(const MapOutcome& outcome)
{
    FileReport file;
    file.source = common::nameOf(outcome.voxelFile);
    file.target = common::nameOf(outcome.task.target);
    file.failed = !outcome.failure.empty();
    file.reason = outcome.failure;
    const std::string extension = common::nameOf(outcome.task.source.extension());
    file.kind = kindInWords(resultmapping::kindOfExtension(extension).type);
    report_.stages.push_back({"map " + common::nameOf(outcome.task.source.filename()), outcome.seconds});
    std::string unreadable;
    if (!file.failed)
    {
        try
        {
            addItems(outcome, file);
        }
        catch (const std::exception& error)
        {
            unreadable = error.what();
            file.failed = true;
            file.reason = unreadable;
            file.items.clear();
        }
    }
    report_.files.push_back(std::move(file));
    return unreadable;
}

void MapFacts::addItems(const MapOutcome& outcome, FileReport& file) const
{
    const CTav3dMeshMappingArrary& model = mapper_.mapping();
    const int fileType = resultmapping::kindOfExtension(common::nameOf(outcome.task.source.extension())).type;
    OpenResult source(outcome.voxelFile);
    OpenResult target(outcome.task.target);
    const auto nCutCell = static_cast<std::size_t>(View::cutCellNodeTotal(model));

    // Items of one length share their sources, and those of one ID map, or without one, the origin of their values.
    constexpr int noIDMap = -1;
    std::map<int, ValueSources> sourcesOf;                                                            // by the number of voxel values
    std::map<int, std::vector<char>> storedIn;                                                        // by result type
    std::map<std::pair<int, int>, std::array<std::optional<ValueOrigin>, allRegions.size()>> origins; // by both
    std::vector<float> buffer;

    for (std::size_t k = 0; k < source.inform.m_ResultItem.size(); ++k)
    {
        const CBinaryResultItem& row = source.inform.m_ResultItem[k];
        ItemReport item;
        item.number = row.m_iResultItemID;
        item.name = row.m_strName;
        item.unit = row.m_strUnit;
        item.resultType = row.m_iResultType;
        bool isCavity = false;
        item.known = resultmapping::isKnownItem(fileType, item.number, isCavity);
        item.smoothed = item.known && isCavity && report_.smoothing;
        item.throughIdMap = item.known && target.inform.IfUseResultDataIDMap(item.resultType);
        if (!item.known)
        {
            file.items.push_back(std::move(item));
            continue;
        }

        const std::span<const float> before = source.full(row);
        const std::span<const float> after = target.full(target.inform.m_ResultItem[k]);
        const int voxelValueTotal = static_cast<int>(before.size()) - 1;
        if (!sourcesOf.contains(voxelValueTotal))
            sourcesOf.emplace(voxelValueTotal, valueSourcesOf(model, fileType, voxelValueTotal));
        const ValueSources& sources = sourcesOf.at(voxelValueTotal);
        std::vector<char>& stored = storedIn[item.throughIdMap ? item.resultType : noIDMap]; // empty: all
        if (item.throughIdMap && stored.empty())
        {
            stored.assign(nCutCell + 1, 0);
            for (const int node : target.inform.m_ResultType.at(item.resultType).m_MappingID)
                stored[static_cast<std::size_t>(node)] = 1;
        }
        auto& originOfRegion = origins[{voxelValueTotal, item.throughIdMap ? item.resultType : noIDMap}];
        for (const Region region : allRegions)
        {
            const auto r = static_cast<std::size_t>(region);
            if (!originOfRegion[r])
                originOfRegion[r] = originOf(sources, regions_.cutCell[r], stored, report_.cellSize);
            RegionReport report;
            report.region = region;
            report.origin = *originOfRegion[r];
            report.nodesWithoutValue = countWithoutValue(regions_.cutCell[r], after, stored, sources.replaced);
            report.before = summarise(valuesAt(regions_.voxel[r], before, {}, buffer));
            report.after = summarise(valuesAt(regions_.cutCell[r], after, stored, buffer));
            item.regions.push_back(report);
        }

        if (withSurfaces_)
        {
            item.voxelSurfaceValues = pickValues(voxelNodeOfPoint_, before);
            // Where the recorded minimum stands for a missing value, the view shows that there is none.
            std::vector<float> shown(after.begin(), after.end());
            for (std::size_t j = 1; j <= nCutCell; ++j)
                if (sources.rule[j] == ValueRule::wrongKind || sources.rule[j] == ValueRule::outOfRange)
                    shown[j] = std::numeric_limits<float>::quiet_NaN();
            item.cutCellSurfaceValues = pickValues(cutCellNodeOfPoint_, shown);
        }
        file.items.push_back(std::move(item));
    }
}

} // namespace tav3d::tools
