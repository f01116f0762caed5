#pragma once

// A model and results on it whose values are linear functions of the place, exact in single precision.

#include "opensuite/mesh_file.h"
#include "opensuite/result_samples.h"
#include "support/mesh_models.h"

#include <vector>

namespace tav3d::test
{

/// x - 2y + 4z + 8, in mesh length units.
inline double linearField(double x, double y, double z)
{
    return x - 2 * y + 4 * z + 8;
}

/// Two items at all nodes, 6 (linearField) and 1 (z - x), item 21 at the nodes `listed` (linearField as well), and item 40 at none.
struct LinearResult
{
    CBinaryInform description;
    Values values;
};

inline LinearResult linearResult(const opensuite::MeshModel& model, const std::string& meshFile, bool onCutCellMesh,
                                 std::vector<int> listed)
{
    const opensuite::MeshZone& zone = onCutCellMesh ? model.cutCell : model.voxel;
    LinearResult r;
    CBinaryInform& d = r.description;
    d.m_strTitle = "linear fields";
    d.m_strMeshFile = meshFile;
    d.m_bOnCutCellMesh = onCutCellMesh;
    d.m_nVoxelNode = static_cast<int>(model.voxel.nodeTotal());
    d.m_nCutCellNode = static_cast<int>(model.cutCell.nodeTotal());
    d.m_dFillingTime = 1.5;
    d.m_CoolInfo = {{"coolant temperature", 40.0}};
    d.m_OutputTime = {0.5, 1.5};
    d.m_ResultItem = {{6, 1, 100.0f, 0.0f, "Temperature", "degC"},
                      {1, 1, 9.0f, -9.0f, "Time, melt front", "s"},
                      {21, 3, 1.0f, 0.0f, "Heat flux", "W/m2"},
                      {40, 5, 0.0f, 0.0f, "Nothing", ""}};
    listed.insert(listed.begin(), 0);
    CBinaryWriteTools::SetResultItemDimension(1, d, static_cast<int>(zone.nodeTotal()), false);
    CBinaryWriteTools::SetResultItemDimension(3, d, static_cast<int>(listed.size()) - 1, true);
    CBinaryWriteTools::SetResultItemMappingIDArray(3, d, static_cast<int>(listed.size()) - 1, listed.data());
    CBinaryWriteTools::SetResultItemDimension(5, d, 0, true);

    const double scale = model.scaleFactor;
    r.values = {{6, {0}}, {1, {0}}, {21, {0}}, {40, {0}}};
    for (std::size_t k = 0; k < zone.nodeTotal(); ++k)
    {
        const double x = scale * zone.x[k], y = scale * zone.y[k], z = scale * zone.z[k];
        r.values[6].push_back(static_cast<float>(linearField(x, y, z)));
        r.values[1].push_back(static_cast<float>(z - x));
    }
    for (std::size_t k = 1; k < listed.size(); ++k)
        r.values[21].push_back(r.values[6][static_cast<std::size_t>(listed[k])]);
    return r;
}

inline void write(const std::string& file, const LinearResult& result)
{
    ASSERT_EQ(writeResult(file, result.description, result.values, result.description.m_bOnCutCellMesh), 0);
}

} // namespace tav3d::test
