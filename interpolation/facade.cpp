#include "Tav3dInterpolation.h"

CTav3dInterpolation::CTav3dInterpolation() = default;
CTav3dInterpolation::~CTav3dInterpolation() = default;
