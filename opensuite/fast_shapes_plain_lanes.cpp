// The fast shape functions, for processors without lanes of doubles.

#include "fast_shapes.h"

#include "four_lanes.h"

#include "fast_shapes_lanes.h"

const tav3d::opensuite::FastShapes tav3d::opensuite::plain_lanes::fastShapes = {fastTetra, fastPrism, fastHexa};
