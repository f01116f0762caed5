// Writes a model and results on both of its meshes into the folder given, for the tests that read them with other programs. The value of a field
// is a linear function of the place, so that every reader can tell whether it stands at the right node.

#include "TAV3DCoolTools.h"
#include "TAV3DResultEngine.h"
#include "opensuite/mesh_file.h"
#include "support/mesh_models.h"

#include <cstdio>
#include <exception>
#include <filesystem>

namespace
{

using tav3d::opensuite::MeshModel;
using tav3d::opensuite::MeshZone;

bool writeOn(bool cutCell, const MeshModel& model, const std::string& meshFile, const std::string& file)
{
    const MeshZone& zone = cutCell ? model.cutCell : model.voxel;
    const int n = static_cast<int>(zone.nodeTotal());
    CBinaryInform d;
    d.m_strTitle = "linear fields";
    d.m_strMeshFile = meshFile;
    d.m_bOnCutCellMesh = cutCell;
    d.m_nVoxelNode = static_cast<int>(model.voxel.nodeTotal());
    d.m_nCutCellNode = static_cast<int>(model.cutCell.nodeTotal());
    d.m_dFillingTime = 1.5;
    d.m_CoolInfo = {{"coolant temperature", 40.0}};
    d.m_OutputTime = {0.5, 1.5};
    d.m_ResultItem = {{6, 1, 1000.0f, 0.0f, "Temperature", "degC"},
                      {1, 1, 9.0f, -9.0f, "Melt-front time", "s"},
                      {21, 3, 1.0f, 0.0f, "Heat flux", "W/m2"},
                      {40, 5, 1.0f, 0.0f, "Nothing", ""}};
    CBinaryWriteTools::SetResultItemDimension(1, d, n, false);
    int ids[] = {0, 1, 7, n};
    CBinaryWriteTools::SetResultItemDimension(3, d, 3, true);
    CBinaryWriteTools::SetResultItemMappingIDArray(3, d, 3, ids);
    CBinaryWriteTools::SetResultItemDimension(5, d, 0, true);

    std::vector<float> temperature(1), time(1);
    for (std::size_t k = 0; k < zone.nodeTotal(); ++k)
    {
        temperature.push_back(zone.x[k] + 10.0f * zone.y[k] + 100.0f * zone.z[k]);
        time.push_back(zone.z[k] - 0.5f * zone.x[k]);
    }
    float flux[] = {0, 0.25f, 0.5f, 0.75f};

    CTAV3DResultWriter_Manipulator writer;
    return writer.BeginWriting(file.c_str(), nullptr, cutCell) == 0 &&
           CBinaryWriteTools::WriteHeadFileInfo_time(d, writer, d.m_dFillingTime) == 0 &&
           CBinaryWriteTools::WriteCoolInfo(d, writer) == 0 && CBinaryWriteTools::WriteMultipleTimeStepOutputInfo(d, writer) == 0 &&
           CBinaryWriteTools::WriteResultItemInfo(d, writer) == 0 && CBinaryWriteTools::WriteResultTypeInfo(d, writer) == 0 &&
           CBinaryWriteTools::WriteResultDataIDMap(d, writer) == 0 && writer.WriteResultItem(6, temperature.data()) == 0 &&
           writer.WriteResultItem(1, time.data()) == 0 && writer.WriteResultItem(21, flux) == 0 &&
           writer.WriteResultItem(40, nullptr) == 0 && writer.EndWriting() == 0;
}

} // namespace

int main(int argc, char** argv)
{
    if (argc != 2)
    {
        std::fprintf(stderr, "usage: write_result_samples FOLDER\n");
        return 2;
    }
    try
    {
        const std::filesystem::path folder = argv[1];
        std::filesystem::create_directories(folder / "runs");
        const std::string meshFile = (folder / "part.krn").string();
        const MeshModel model = tav3d::test::modelWithInsert();
        tav3d::opensuite::writeMeshFile(meshFile, model);
        return writeOn(false, model, meshFile, (folder / "voxel.q7f").string()) &&
                       writeOn(true, model, meshFile, (folder / "cutcell.q7f").string()) &&
                       writeOn(true, model, meshFile, (folder / "runs/cutcell.q7f").string())
                   ? 0
                   : 1;
    }
    catch (const std::exception& error)
    {
        std::fprintf(stderr, "%s\n", error.what());
        return 1;
    }
}
