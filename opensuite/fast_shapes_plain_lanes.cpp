// The fast shape functions, for processors without lanes of doubles.

#include "fast_shapes.h"
#include "solid_elements.h"

#include "four_lanes.h"

static constexpr auto laneSet = tav3d::common::LaneSet::plain;
#include "fast_shapes_lanes.h"

const tav3d::opensuite::FastShapes tav3d::opensuite::plain_lanes::fastShapes = {tetraAt, prismAt, hexaAt};
