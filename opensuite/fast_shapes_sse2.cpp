// The fast shape functions, four lanes in two registers.

#include "fast_shapes.h"
#include "solid_elements.h"

#define TAV3D_LANES_SSE2
#include "four_lanes.h"

static constexpr auto laneSet = tav3d::common::LaneSet::sse2;
#include "fast_shapes_lanes.h"

const tav3d::opensuite::FastShapes tav3d::opensuite::sse2::fastShapes = {tetraAt, prismAt, hexaAt};
