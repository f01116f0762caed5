#pragma once

// Return codes of the suite's mesh-file operations.

#include "file_error.h"

namespace tav3d::opensuite
{

/// Codes of KRNIO_Manipulator::beginReading and CTAVFindKRN_PartPIInterface::Create; 0 is success.
namespace mesh_code
{
inline constexpr int noFileName = -1; // or no such mesh: the mode is neither 0 nor 1
inline constexpr int cannotOpen = -2;
inline constexpr int badContent = -3;
inline constexpr int wrongKind = -4;
} // namespace mesh_code

inline int meshCode(FileFailure failure) noexcept
{
    switch (failure)
    {
    case FileFailure::CannotOpen:
        return mesh_code::cannotOpen;
    case FileFailure::WrongKind:
        return mesh_code::wrongKind;
    default:
        return mesh_code::badContent;
    }
}

} // namespace tav3d::opensuite
