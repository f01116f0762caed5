// The trial fits, four shape parameters at a time.

#include "interpolation/shape_trials.h"

#define TAV3D_LANES_AVX2
#include "interpolation/lanes.h"

#include "interpolation/lane_roots.h"

#include "interpolation/lane_update.h"

#include "interpolation/lane_elimination.h"

#include "interpolation/lane_substitution.h"

#include "interpolation/shape_trials_lanes.h"

void tav3d::interpolation::avx2::tryShapes(const TrialStencil& stencil, const double* shape, double* room, Trials& with, Trials* without)
{
    tryAll(stencil, shape, room, with, without);
}
