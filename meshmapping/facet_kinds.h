#pragma once

// Kinds of surface facets, as the mesh reader numbers them.

namespace tav3d::meshmapping
{

inline constexpr int partSkin = 0;
inline constexpr int gate = 1;
inline constexpr int insertInterface = 3;
inline constexpr int vent = 4;

} // namespace tav3d::meshmapping
