#pragma once

// A mapping object set up on a model, held against the references field by field. For test programs that link GoogleTest.

#include "mapping_inspector.h"
#include "mapping_reference.h"

#include "opensuite/mesh_model.h"

#include <string>

namespace tav3d::test
{

/// An object set up as the result-file driver does it: the mode stored, then SetParameters with the same mode. The mesh file is gone with it.
class MappedModel
{
public:
    MappedModel(const opensuite::MeshModel& model, int mode, int insertMode, bool progress = false);
    ~MappedModel();
    MappedModel(const MappedModel&) = delete;
    MappedModel& operator=(const MappedModel&) = delete;

    CTav3dMeshMappingArrary object;
    std::string console; // what SetParameters printed
    std::string path;    // of the mesh file, in a folder of its own
    int mode, insertMode;

private:
    std::string folder_;
};

/// Every count, mark, table and row of the object against the references. Of the rows of the cut-cell search, every `stride`-th is checked.
void expectAgreesWithReference(MappedModel& mapped, const opensuite::MeshModel& model, int stride = 1);

/// Picks up a field on the voxel mesh for every kind of result file, with and without smoothing, and compares with the rules written out.
void expectPickUpAgreesWithReference(MappedModel& mapped, const opensuite::MeshModel& model);

} // namespace tav3d::test
