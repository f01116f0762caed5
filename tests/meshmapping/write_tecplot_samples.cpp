// Writes the Tecplot files of both meshes of a model with cells of all kinds into the working directory, for readers that nobody here wrote.

#include "meshmapping/tecplot_output.h"

#include "opensuite/mesh_file.h"
#include "support/mapping_inspector.h"
#include "support/mesh_models.h"

#include <cmath>

int main()
{
    using Inspector = CTav3dMeshMappingArrary_Inspector;
    tav3d::opensuite::writeMeshFile("model.krn", tav3d::test::modelWithInsert());
    CTav3dMeshMappingArrary object;
    object.SetParameters("model.krn", 0, 0);
    const int nodes[] = {Inspector::m_NNodeCultCell_(object), Inspector::m_nVoxelNode(object)};
    Inspector::m_nVoxelResultNode(object) = nodes[1];
    for (const int mesh : {1, 0})
    {
        float** table = tav3d::meshmapping::newCaptureTable(nodes[mesh]);
        for (int i = 1; i <= nodes[mesh]; ++i)
        {
            table[1][i] = static_cast<float>(std::sin(0.1 * i));
            table[2][i] = static_cast<float>(200.0 + i);
        }
        object.TecPlotVoxelSmoothValue(table, mesh);
        tav3d::meshmapping::deleteCaptureTable(table);
    }
    return 0;
}
