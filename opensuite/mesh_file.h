#pragma once

// Writing mesh files (".krn"). They are read through KRNIO_Manipulator; the layout is described in docs/file-formats.md.
//
// Block numbers, as KRNIO_Manipulator::getFileIthBlockExsistency takes them:
//   1  nodes (of both meshes: a file that lacks one of them has no block 1)
//   2  plastic elements          of at least one mesh
//   3  mould-base elements       of at least one mesh
//   4  surface facets            of at least one mesh
//   5  part-insert facets        of at least one mesh
//   6  part/part-insert interfaces, of at least one mesh
// There are no others.

#include "mesh_model.h"

#include <string>

namespace tav3d::opensuite
{

/// Writes `model` to `path` in one step: the file is built beside it and takes its name when it is complete. The same model gives the same bytes.
/// A mesh without nodes is left out; one of the two must have nodes.
/// Throws std::runtime_error (a FileError, file_error.h), whose text names the file and the item, when the model is not consistent (a node number
/// out of range, a coordinate that is not finite, a count above 2^31-1) or the file cannot be written; `path` is then as it was.
void writeMeshFile(const std::string& path, const MeshModel& model);

} // namespace tav3d::opensuite
