#include "Tav3dQ7XMapping_Voxel2CutCell.h"

#include "KRNIO.h"
#include "TAV3DCoolTools.h"
#include "TAV3DResultEngine.h"
#include "Tav3dMeshMappingArrary.h"
#include "meshmapping/mapping_array_view.h"
#include "meshmapping/pick_up_plan.h"
#include "meshmapping/tecplot_output.h"
#include "move_aside.h"
#include "result_names.h"
#include "tecplot_capture.h"

#include <algorithm>
#include <iostream>
#include <memory>
#include <optional>
#include <vector>

namespace mm = tav3d::meshmapping;
namespace names = tav3d::resultmapping;

CTav3dQ7XMapping_Voxel2CutCell::CTav3dQ7XMapping_Voxel2CutCell()
    : m_iMappingMode(0)
    , m_pSmoothWork(nullptr)
    , m_iDebugMode(0)
    , m_iTecplotOutput(0)
    , m_iDebugPrint(0)
    , m_bSetParameters(false)
    , m_iMultipleTimeStepMode(1)
    , m_dFillingTime(0.0)
    , m_pMeshMapping(nullptr)
    , m_eFileType(eUnknown)
    , m_SolverType(3)
{
}

// DELIBERATE driver-shallow-copy: a copy shares the mapping object with its source.
CTav3dQ7XMapping_Voxel2CutCell::CTav3dQ7XMapping_Voxel2CutCell(const CTav3dQ7XMapping_Voxel2CutCell&) = default;
CTav3dQ7XMapping_Voxel2CutCell& CTav3dQ7XMapping_Voxel2CutCell::operator=(const CTav3dQ7XMapping_Voxel2CutCell&) = default;

CTav3dQ7XMapping_Voxel2CutCell::~CTav3dQ7XMapping_Voxel2CutCell()
{
    delete m_pMeshMapping;
    m_pMeshMapping = nullptr;
}

int CTav3dQ7XMapping_Voxel2CutCell::SetParameters(const char* meshFile, int iMappingMode, int iOption)
{
    constexpr int nodeBlock = 1;
    if (KRNIO_Manipulator::getFileIthBlockExsistency(meshFile, nodeBlock) == 0)
    {
        m_bSetParameters = false;
        return 0;
    }
    delete m_pMeshMapping;
    m_pMeshMapping = nullptr;
    m_pMeshMapping = new CTav3dMeshMappingArrary;
    m_iMappingMode = iMappingMode;
    m_pMeshMapping->m_iMappingMode = iMappingMode; // the object reads its own copy, so it must be there before its set-up
    const int result = m_pMeshMapping->SetParameters(meshFile, m_iMappingMode, iOption);
    m_bSetParameters = true;
    return result;
}

int CTav3dQ7XMapping_Voxel2CutCell::SetMultipleTimeStepMode(int mode)
{
    m_iMultipleTimeStepMode = mode;
    return 1;
}

void CTav3dQ7XMapping_Voxel2CutCell::Setfillingtime(double t)
{
    m_dFillingTime = t;
}

int CTav3dQ7XMapping_Voxel2CutCell::DebugControl(int debugMode, int tecplotOutput)
{
    m_iDebugMode = debugMode;
    m_iTecplotOutput = tecplotOutput;
    return 1;
}

int CTav3dQ7XMapping_Voxel2CutCell::NewResultArrayforTecplot(int nNode, float**& table)
{
    if (table == nullptr)
    {
        std::cout << "TotalNode = " << nNode << std::endl;
        table = tav3d::meshmapping::newCaptureTable(nNode);
    }
    return 1;
}

namespace
{

int reportOpenFailure(const std::string& fileName, int code)
{
    std::cout << " FileName = " << fileName << ", Error = " << code << std::endl;
    std::cout << " Cannot open result file for mapping result in Orvel project." << std::endl;
    return -1;
}

bool hasItemOfType(const CBinaryInform& inform, int resultType)
{
    for (const CBinaryResultItem& item : inform.m_ResultItem)
        if (item.m_iResultType == resultType)
            return true;
    return false;
}

/// Stores items of a result type through the list `ids` (entries 1..count; null when there are none) from now on.
void registerIDMap(CBinaryInform& inform, int resultType, int count, int* ids)
{
    CBinaryWriteTools::SetResultItemDimension(resultType, inform, count, true);
    CBinaryWriteTools::SetResultItemMappingIDArray(resultType, inform, count, ids);
}

/// The nodes whose values an item stores, of a result type with an ID map.
mm::NumberedSpan<const int> listedNodes(CBinaryInform& inform, int resultType)
{
    const int count = CBinaryWriteTools::GetResultItemDimension(resultType, inform);
    return {CBinaryWriteTools::GetResultItemMappingIDArray(resultType, inform), std::max(count, 0)};
}

/// The values of the listed nodes out of those of all nodes. A map that was not rebuilt for the cut-cell mesh can name nodes beyond these, which get 0.
void takeListed(mm::NumberedSpan<const float> all, mm::NumberedSpan<const int> list, mm::NumberedSpan<float> value)
{
    for (int i = 1; i <= list.count(); ++i)
        value[i] = list[i] <= all.count() ? all[list[i]] : 0.0f;
}

/// The description of the source, as it goes into the target before the result types are settled.
void writeDescription(CBinaryInform& target, CTAV3DResultWriter_Manipulator& writer, double fillingTime)
{
    CBinaryWriteTools::WriteHeadFileInfo_time(target, writer, fillingTime);
    CBinaryWriteTools::WriteCoolInfo(target, writer);
    CBinaryWriteTools::WriteMultipleTimeStepOutputInfo(target, writer);
    CBinaryWriteTools::WriteResultItemInfo(target, writer);
}

/// The node lists of the ID maps that are made anew for the cut-cell mesh; absent where no map is needed.
struct IDMaps
{
    std::unique_ptr<int[]> moldBase;
    std::unique_ptr<int[]> partSurface;
};

/// Makes and registers the ID maps that the items ask for; that of the part surface is known to cooling results alone.
IDMaps makeIDMaps(CTav3dMeshMappingArrary& mapping, CBinaryInform& target, int solver)
{
    constexpr int moldBaseNodeType = 3;
    constexpr int partSurfaceNodeType = 5;
    constexpr int coolingSolver = 2;
    IDMaps maps;
    if (hasItemOfType(target, moldBaseNodeType))
    {
        int count = 0;
        maps.moldBase.reset(mapping.CreateNodeReNumberArray_Cutcell_PartInsert(count));
        registerIDMap(target, moldBaseNodeType, count, maps.moldBase.get());
    }
    if (solver == coolingSolver && hasItemOfType(target, partSurfaceNodeType))
    {
        int count = 0;
        maps.partSurface.reset(mapping.CreateNodeReNumberArray_Cutcell_PartSruf(count));
        registerIDMap(target, partSurfaceNodeType, count, maps.partSurface.get());
    }
    return maps;
}

/// Makes `work` an array of n+1 entries, zeroed when it is a new one. Smoothing fills what it reads of it but for entry 0, so that items of one length
/// share it. `workNodes` is its n; 0 at the beginning of a run.
void provideSmoothWork(float*& work, int& workNodes, int n)
{
    if (work != nullptr && workNodes == n)
        return;
    delete[] work;
    work = nullptr;
    work = new float[static_cast<std::size_t>(n) + 1]();
    workNodes = n;
}

/// The plan of the pick-up for items of nVoxelNode values, made anew for the first item of another length.
const mm::PickUpPlan& providePlan(std::optional<mm::PickUpPlan>& plan, const CTav3dMeshMappingArrary& mapping, int fileType, int nVoxelNode)
{
    using View = CTav3dMeshMappingArrary_View;
    if (!plan || plan->voxelValueTotal() != nVoxelNode)
        plan.emplace(View::cutCellSources(mapping), View::voxelKinds(mapping), View::rules(mapping, fileType, 0.0f), nVoxelNode);
    return *plan;
}

} // namespace

int CTav3dQ7XMapping_Voxel2CutCell::Voxel2CutCellResult(std::string& voxelResultFile, std::string& cutCellResultFile, int bSmooth)
{
    if (!m_bSetParameters)
        return 2;
    if (m_pMeshMapping == nullptr)
    {
        std::cout << "You have to call SetParameters() first.";
        return -2;
    }
    const bool smoothRequested = m_iMappingMode == 1 && bSmooth != 0;
    const int nCutCellNode = m_pMeshMapping->m_NNodeCultCell_;

    CTAV3DResultWriter_Manipulator writer;
    if (const int code = writer.BeginWriting(cutCellResultFile.c_str(), nullptr, true); code < 0)
        return reportOpenFailure(cutCellResultFile, code);
    CTAV3DResultReader_Manipulator reader;
    if (const int code = reader.BeginReading(voxelResultFile.c_str(), nullptr); code < 0)
        return reportOpenFailure(voxelResultFile, code);

    m_eFileType = GetFileType(voxelResultFile);
    static_cast<void>(reader.GetMaxCavityNode());

    // The description: `source` as read, `target` as written, adjusted by the ID maps.
    // DELIBERATE output-not-cleared: the output array serves all items, so a node without a value keeps that of the item before.
    const auto output = std::make_unique<float[]>(static_cast<std::size_t>(nCutCellNode) + 1);
    CBinaryInform source;
    CBinaryInform target;
    CBinaryWriteTools::GetBinaryInform(source, reader, 0);
    CBinaryWriteTools::GetBinaryInform(target, reader, 0);
    writeDescription(target, writer, m_dFillingTime);
    const std::size_t nItem = target.m_ResultItem.size();
    const auto max = std::make_unique<float[]>(nItem);
    const auto min = std::make_unique<float[]>(nItem);
    writer.SetMultipleTimeStepMode(m_iMultipleTimeStepMode);

    const IDMaps idMaps = makeIDMaps(*m_pMeshMapping, target, m_SolverType); // they stand until the files are closed
    CBinaryWriteTools::WriteResultTypeInfo(target, writer);
    CBinaryWriteTools::WriteResultDataIDMap(target, writer);
    writer.SetHasVentingResult(reader.GetHasVentingResult());

    int smoothWorkNodes = 0;
    std::optional<mm::PickUpPlan> pickUp;
    std::vector<float> compact; // an item's values at the listed nodes
    names::TecplotCapture voxelCapture;
    names::TecplotCapture cutCellCapture;
    for (std::size_t k = 0; k < nItem; ++k)
    {
        const CBinaryResultItem& item = target.m_ResultItem[k];
        const int itemId = item.m_iResultItemID;
        const int resultType = item.m_iResultType;
        max[k] = -1.0e30f;
        min[k] = 1.0e30f;
        static_cast<void>(CBinaryWriteTools::GetResultItemDimension(resultType, reader));
        m_pMeshMapping->m_fResultMaxValue = item.m_fMax;
        m_pMeshMapping->m_fResultMinValue = item.m_fMin;

        int nVoxelNode = 0;
        float* full = CBinaryWriteTools::FullResultFromMappingResult_Create(itemId, resultType, source, reader, nVoxelNode);
        m_pMeshMapping->m_nVoxelResultNode = nVoxelNode;
        if (m_iTecplotOutput == 1)
        {
            voxelCapture.prepare(*this, nVoxelNode);
            cutCellCapture.prepare(*this, nCutCellNode);
        }

        bool isCavity = false;
        if (!IfCavityResult(itemId, isCavity))
        {
            // DELIBERATE unknown-item-voxel-layout: an item outside of the table keeps its voxel values and its recorded extremes.
            writer.WriteResultItem(itemId, full);
            max[k] = item.m_fMax;
            min[k] = item.m_fMin;
            continue;
        }

        m_pMeshMapping->m_iResultFileType = m_eFileType;
        if (smoothRequested && isCavity)
        {
            provideSmoothWork(m_pSmoothWork, smoothWorkNodes, nVoxelNode);
            m_pMeshMapping->GetVoxel2VoxelSmoothNodeResult_GaussWeighting_ByTorp(nVoxelNode, full, m_pSmoothWork);
        }
        const mm::PickUpPlan& plan = providePlan(pickUp, *m_pMeshMapping, m_eFileType, nVoxelNode);
        const mm::NumberedSpan<const float> voxelValue(full, nVoxelNode);
        const bool isCaptured = m_iTecplotOutput == 1 && (itemId == 1 || itemId == 6);
        const bool isListed = target.IfUseResultDataIDMap(resultType);
        // Where only some nodes are stored, the others are not picked up, unless somebody is to see them.
        const mm::NumberedSpan<const int> list = isListed ? listedNodes(target, resultType) : mm::NumberedSpan<const int>();
        compact.resize(static_cast<std::size_t>(list.count()) + 1); // entry 0 stays 0
        const mm::NumberedSpan<float> listedValue(compact.data(), list.count());
        const bool listedAlone = isListed && !isCaptured && plan.fillsAllNodes() && plan.takeOf(list, voxelValue, item.m_fMin, listedValue);
        if (!listedAlone)
            plan.take(voxelValue, item.m_fMin, {output.get(), nCutCellNode}, max[k], min[k]);
        if (isCaptured)
        {
            voxelCapture.add(full, nVoxelNode);
            cutCellCapture.add(output.get(), nCutCellNode);
        }
        if (!isListed)
        {
            writer.WriteResultItem(itemId, output.get());
            continue;
        }
        if (!listedAlone)
            takeListed({output.get(), nCutCellNode}, list, listedValue);
        writer.WriteResultItem(itemId, compact.data());
        // DELIBERATE map-items-keep-extremes: those that the voxel file records, not those of what was picked up.
        max[k] = item.m_fMax;
        min[k] = item.m_fMin;
    }

    writer.SetMaxMinInfo(max.get(), min.get());
    delete[] m_pSmoothWork;
    m_pSmoothWork = nullptr;
    reader.EndReading();
    writer.EndWriting();

    if (m_iTecplotOutput == 1 && voxelCapture.isPrepared())
    {
        m_pMeshMapping->TecPlotVoxelSmoothValue(voxelCapture.table(), 1);
        m_pMeshMapping->TecPlotVoxelSmoothValue(cutCellCapture.table(), 0);
    }
    return 1;
}

int CTav3dQ7XMapping_Voxel2CutCell::Voxel2CutCellResult(std::string& resultFile, int bSmooth)
{
    if (!m_bSetParameters)
        return 2;
    std::string newName;
    if (const int code = RenameVoxelQ7XFile(resultFile.c_str(), newName); code < 0)
        return code;
    return Voxel2CutCellResult(newName, resultFile, bSmooth);
}

std::string CTav3dQ7XMapping_Voxel2CutCell::GetExtendFilename(std::string fileName)
{
    return names::extensionOf(fileName);
}

CTav3dQ7XMapping_Voxel2CutCell::eResultFileType CTav3dQ7XMapping_Voxel2CutCell::GetFileType(std::string fileName)
{
    const std::string extension = GetExtendFilename(fileName);
    if (m_iDebugPrint == 1)
        std::cout << "File ExtendFilename =" << extension << std::endl;
    const names::FileKind kind = names::kindOfExtension(extension);
    m_SolverType = kind.solver;
    if (m_iDebugPrint == 1)
    {
        std::cout << "m_SolverType=" << m_SolverType << std::endl;
        std::cout << "m_eFileType=" << kind.type << std::endl;
    }
    return static_cast<eResultFileType>(kind.type);
}

bool CTav3dQ7XMapping_Voxel2CutCell::IfCavityResult(int itemId, bool& bCavity)
{
    return names::isKnownItem(m_eFileType, itemId, bCavity);
}

bool CTav3dQ7XMapping_Voxel2CutCell::IfCavityResult_Q7F(int itemId, bool& bCavity)
{
    return names::isKnownItem(names::file_type::q7f, itemId, bCavity);
}

bool CTav3dQ7XMapping_Voxel2CutCell::IfCavityResult_Q7P(int itemId, bool& bCavity)
{
    return names::isKnownItem(names::file_type::q7p, itemId, bCavity);
}

bool CTav3dQ7XMapping_Voxel2CutCell::IfCavityResult_Q7C(int itemId, bool& bCavity)
{
    return names::isKnownItem(names::file_type::q7c, itemId, bCavity);
}

bool CTav3dQ7XMapping_Voxel2CutCell::IfCavityResult_RSC(int itemId, bool& bCavity)
{
    return names::isKnownItem(names::file_type::rsc, itemId, bCavity);
}

bool CTav3dQ7XMapping_Voxel2CutCell::IfCavityResult_RSF(int itemId, bool& bCavity)
{
    return names::isKnownItem(names::file_type::rsf, itemId, bCavity);
}

int CTav3dQ7XMapping_Voxel2CutCell::RenameVoxelQ7XFile(const char* fileName, std::string& newName)
{
    newName = names::voxelFileName(fileName);
    return names::moveAside(fileName, newName, names::systemFileCalls());
}

int CTav3dQ7XMapping_Voxel2CutCell::COM_DeleteFile(const char* fileName)
{
    return names::removeWithRetries(fileName, names::systemFileCalls());
}
