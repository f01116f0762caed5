#pragma once

// Writing mesh files (".krn"). They are read through KRNIO_Manipulator; the layout is described in docs/file-formats.md.

#include "mesh_model.h"

#include <string>

namespace tav3d::opensuite
{

/// Writes `model` to `path` in one step: the file is built beside it and takes its name when it is complete.
/// Throws std::runtime_error, whose text names the file and the item, when the model is not consistent (a node number out of range, a
/// coordinate that is not finite, a count above 2^31-1) or the file cannot be written; `path` is then as it was.
void writeMeshFile(const std::string& path, const MeshModel& model);

} // namespace tav3d::opensuite
