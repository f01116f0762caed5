#pragma once

#include "Tav3dQ7XMapping_Voxel2CutCell.h"

/// The driver's mapping object, for programs that tell how a mapping came about.
struct CTav3dQ7XMapping_Voxel2CutCell_View
{
    /// Null before SetParameters; the driver's own.
    static const CTav3dMeshMappingArrary* mapping(const CTav3dQ7XMapping_Voxel2CutCell& driver) { return driver.m_pMeshMapping; }
};
