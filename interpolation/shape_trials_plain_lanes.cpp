// The trial fits, one shape parameter at a time, for processors that the other forms are not for.

#include "interpolation/shape_trials.h"

#include "interpolation/lanes.h"

#include "interpolation/lane_roots.h"

#include "interpolation/lane_update.h"

#include "interpolation/lane_elimination.h"

#include "interpolation/lane_substitution.h"

#include "interpolation/shape_trials_lanes.h"

void tav3d::interpolation::plain_lanes::tryShapes(const TrialStencil& stencil, const double* shape, double* room, Trials& with,
                                                  Trials* without)
{
    tryAll(stencil, shape, room, with, without);
}
