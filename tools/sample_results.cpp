#include "sample_results.h"

#include "TAV3DCoolTools.h"
#include "TAV3DResultEngine.h"

#include <algorithm>
#include <map>
#include <stdexcept>

namespace tav3d::tools
{

namespace
{

CBinaryInform describe(const SampleFields& fields, const std::vector<SampleItem>& items, const SampleModel& model)
{
    const SampleGrid& grid = fields.grid;
    CBinaryInform d;
    d.m_strTitle = "Sample data, not simulated: " + (model.title.empty() ? "voxel results" : model.title);
    d.m_strMeshFile = model.meshFile;
    d.m_nVoxelNode = static_cast<int>(grid.nodeTotal());
    d.m_nCutCellNode = model.cutCellNodes;
    d.m_nMaxCavityNode = std::count_if(grid.plasticVolume.begin(), grid.plasticVolume.end(), [](double volume) { return volume > 0; });
    d.m_dFillingTime = fields.flowConditions.fillingTime;
    d.m_CoolInfo = {{"melt temperature, degC", fields.heatConditions.meltTemperature},
                    {"coolant temperature, degC", fields.heatConditions.coolantTemperature},
                    {"ejection temperature, degC", fields.heatConditions.ejectionTemperature},
                    {"packing time, s", fields.packingTime},
                    {"cooling time, s", fields.coolingTime}};
    d.m_OutputTime = fields.outputTimes();
    d.m_bHasVentingResult = grid.ventFacets > 0;
    CBinaryWriteTools::SetResultItemDimension(allNodesType, d, d.m_nVoxelNode, false);
    for (const SampleItem& item : items)
    {
        d.m_ResultItem.push_back({item.number, item.type, item.highest, item.lowest, item.name, item.unit});
        if (item.type != allNodesType && !d.m_ResultType.contains(item.type))
        {
            std::vector<int> ids = idMapOf(item.type == moldBaseType ? grid.isMoldBase : grid.isPartSurface);
            const int count = static_cast<int>(ids.size()) - 1;
            CBinaryWriteTools::SetResultItemDimension(item.type, d, count, true);
            CBinaryWriteTools::SetResultItemMappingIDArray(item.type, d, count, ids.data());
        }
    }
    return d;
}

void require(int code, const std::string& file)
{
    if (code < 0)
    {
        throw std::runtime_error(file + ": the result file could not be written");
    }
}

} // namespace

void writeSampleResult(const SampleFields& fields, const std::vector<SampleItem>& items, const SampleModel& model, const std::string& file)
{
    CBinaryInform d = describe(fields, items, model);
    CTAV3DResultWriter_Manipulator writer;
    require(writer.BeginWriting(file.c_str(), nullptr, false), file);
    require(CBinaryWriteTools::WriteHeadFileInfo_time(d, writer, d.m_dFillingTime), file);
    require(CBinaryWriteTools::WriteCoolInfo(d, writer), file);
    require(CBinaryWriteTools::WriteMultipleTimeStepOutputInfo(d, writer), file);
    require(CBinaryWriteTools::WriteResultItemInfo(d, writer), file);
    require(CBinaryWriteTools::WriteResultTypeInfo(d, writer), file);
    require(CBinaryWriteTools::WriteResultDataIDMap(d, writer), file);
    writer.SetHasVentingResult(d.m_bHasVentingResult);
    for (const SampleItem& item : items)
    {
        std::vector<float> stored = item.value;
        if (const int* ids = CBinaryWriteTools::GetResultItemMappingIDArray(item.type, d))
        {
            stored.assign(static_cast<std::size_t>(CBinaryWriteTools::GetResultItemDimension(item.type, d)) + 1, 0.0f);
            for (std::size_t k = 1; k < stored.size(); ++k)
            {
                stored[k] = item.value[static_cast<std::size_t>(ids[k])];
            }
        }
        require(writer.WriteResultItem(item.number, stored.data()), file);
    }
    require(writer.EndWriting(), file);
}

} // namespace tav3d::tools
