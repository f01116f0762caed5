#include "map_facts.h"

#include "TAV3DCoolTools.h"
#include "TAV3DResultEngine.h"
#include "common/file_names.h"
#include "meshmapping/mapping_array_view.h"
#include "opensuite/mesh_file_reader.h"
#include "resultmapping/result_names.h"

#include <cmath>
#include <limits>
#include <stdexcept>

namespace tav3d::tools
{

namespace
{

using View = CTav3dMeshMappingArrary_View;
using meshmapping::PickUp;
using meshmapping::PickUpRule;

constexpr std::array allRegions{Region::all, Region::partSurface, Region::partInsertSurface, Region::plasticInside, Region::moldBase};

bool isCutCellNodeOf(const CTav3dMeshMappingArrary& model, Region region, int node)
{
    const meshmapping::CutCellSources sources = View::cutCellSources(model);
    switch (region)
    {
    case Region::partSurface:
        return sources.kinds.part[node] == 1;
    case Region::partInsertSurface:
        return sources.region[node] == 2 || sources.kinds.partInsert[node] == 1;
    case Region::plasticInside:
        return View::cutCellPlastic(model)[node] && sources.kinds.part[node] != 1;
    case Region::moldBase:
        return View::cutCellMoldBase(model)[node];
    case Region::all:
        break;
    }
    return true;
}

bool isVoxelNodeOf(const CTav3dMeshMappingArrary& model, Region region, int node)
{
    const meshmapping::NodeKinds kinds = View::voxelKinds(model);
    switch (region)
    {
    case Region::partSurface:
        return kinds.part[node] == 1;
    case Region::partInsertSurface:
        return kinds.partInsert[node] == 1;
    case Region::plasticInside:
        return View::voxelPlastic(model)[node] == 1 && kinds.part[node] != 1;
    case Region::moldBase:
        return View::voxelPlastic(model)[node] != 1;
    case Region::all:
        break;
    }
    return true;
}

ValueRule reportedRule(PickUpRule rule)
{
    switch (rule)
    {
    case PickUpRule::NearestOfKind:
        return ValueRule::nearestOfKind;
    case PickUpRule::WrongKind:
        return ValueRule::wrongKind;
    case PickUpRule::OutOfRange:
        return ValueRule::outOfRange;
    case PickUpRule::AssignedNode:
        break;
    }
    return ValueRule::assignedNode;
}

double distance(const CTav3dMeshMappingArrary& model, int cutCellNode, int voxelNode)
{
    const meshmapping::NodePoints points = View::cutCellPoints(model);
    return std::sqrt(meshmapping::squaredDistance(View::voxelPoints(model), voxelNode, points.x[cutCellNode], points.y[cutCellNode],
                                                  points.z[cutCellNode]));
}

/// How the cut-cell nodes of an item got their values. `stored` marks the nodes that the target holds values of, entries 1..n.
struct Origins
{
    std::vector<PickUp> source; // entries 1..n
    std::vector<char> stored;
};

RegionReport regionReport(const CTav3dMeshMappingArrary& model, Region region, const Origins& origins, std::span<const float> before,
                          std::span<const float> after, bool substituted, double cellSize)
{
    RegionReport report;
    report.region = region;
    std::vector<float> values;
    const int voxelTotal = std::min(static_cast<int>(before.size()) - 1, View::voxelNodeTotal(model));
    for (int node = 1; node <= voxelTotal; ++node)
        if (isVoxelNodeOf(model, region, node))
            values.push_back(before[static_cast<std::size_t>(node)]);
    report.before = summarise(values);

    values.clear();
    for (std::size_t j = 1; j < after.size(); ++j)
    {
        const int node = static_cast<int>(j);
        if (!origins.stored[j] || !isCutCellNodeOf(model, region, node))
            continue;
        const PickUp& source = origins.source[j];
        ++report.origin.nodes;
        ++report.origin.nodesByRule[static_cast<std::size_t>(reportedRule(source.rule))];
        const bool took = source.rule == PickUpRule::AssignedNode || source.rule == PickUpRule::NearestOfKind;
        if (took && source.voxelNode >= 1)
            addDistance(report.origin.distances, distance(model, node, source.voxelNode), cellSize);
        if (after[j] == 0.0f || (!took && substituted))
            ++report.nodesWithoutValue;
        values.push_back(after[j]);
    }
    report.after = summarise(values);
    return report;
}

/// A result file, open.
struct OpenResult
{
    explicit OpenResult(const std::filesystem::path& path)
    {
        if (reader.BeginReading(common::genericNameOf(path).c_str(), nullptr) < 0)
            throw std::runtime_error(common::genericNameOf(path) + ": cannot be read again for the report");
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
    file.source = common::genericNameOf(outcome.voxelFile);
    file.target = common::genericNameOf(outcome.task.target);
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
        const meshmapping::PickUpRules rules = View::rules(model, fileType, row.m_fMin);
        Origins origins{std::vector<PickUp>(nCutCell + 1), std::vector<char>(nCutCell + 1, item.throughIdMap ? 0 : 1)};
        for (std::size_t j = 1; j <= nCutCell; ++j)
            origins.source[j] = meshmapping::pickUpOf(View::cutCellSources(model), View::voxelKinds(model), rules,
                                                      static_cast<int>(before.size()) - 1, static_cast<int>(j));
        if (item.throughIdMap)
            for (const int node : target.inform.m_ResultType.at(item.resultType).m_MappingID)
                origins.stored[static_cast<std::size_t>(node)] = 1;
        for (const Region region : allRegions)
            item.regions.push_back(regionReport(model, region, origins, before, after, rules.substitute, report_.cellSize));

        if (withSurfaces_)
        {
            item.voxelSurfaceValues = pickValues(voxelNodeOfPoint_, before);
            // Where the recorded minimum stands for a missing value, the view shows that there is none.
            std::vector<float> shown(after.begin(), after.end());
            for (std::size_t j = 1; j <= nCutCell; ++j)
                if (origins.source[j].rule == PickUpRule::WrongKind || origins.source[j].rule == PickUpRule::OutOfRange)
                    shown[j] = std::numeric_limits<float>::quiet_NaN();
            item.cutCellSurfaceValues = pickValues(cutCellNodeOfPoint_, shown);
        }
        file.items.push_back(std::move(item));
    }
}

} // namespace tav3d::tools
