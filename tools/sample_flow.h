#pragma once

// How a melt that enters at the gate fills the part: front times, pressure and shear of sample results. No simulation, but fields with the shape
// that these quantities have.

#include "sample_grid.h"

#include <limits>
#include <vector>

namespace tav3d::tools
{

inline constexpr double unreached = std::numeric_limits<double>::infinity();

/// Shortest distance within the part from the nodes marked in `source`, for every node: 0 at the sources, `unreached` where no way leads.
///
/// Solves |grad d| = 1 by fast marching: nodes are settled in the order of their distance, and a node takes, from its settled neighbours a <= b <= c
/// (the nearer one of each axis), the solution of (d-a)^2 + (d-b)^2 + (d-c)^2 = h^2, leaving out those that are farther than d. Equal distances
/// settle in the order of node numbers. (J. A. Sethian, A fast marching level set method for monotonically advancing fronts, 1996.)
[[nodiscard]] std::vector<double> distanceWithinPart(const SampleGrid& grid, const std::vector<char>& source);

/// The filling of the part as a flow along that distance.
struct SampleFlow
{
    std::vector<double> distance;   // from the gate; nodes without a way to it stand at the far end
    std::vector<double> frontTime;  // s
    std::vector<double> pressure;   // at the end of filling, MPa
    std::vector<double> speed;      // mean speed of the melt when the front passes, length units / s
    std::vector<double> shearRate;  // 1/s
    std::size_t unreachedNodes = 0; // of the part
};

struct FlowConditions
{
    double fillingTime = 1.2;        // s
    double injectionPressure = 60.0; // MPa, at the gate at the end of filling
};

/// With a constant flow rate Q, the front reaches distance d when the volume V(d) of the part up to d has flowed in:
///   front time      t(d) = V(d) / Q,  Q = V(end) / filling time
///   mean speed      v(d) = Q / A(d),  A = dV/dd the cross-section that the front fills at once
///   pressure        p(d) = p(0) * I(d) / I(0),  I(d) = integral of 1/A from d to the end: the drop of a Hele-Shaw flow, -dp/dd = 12 mu Q / (A s^2),
///                   in a wall of even thickness s and viscosity mu
///   shear rate      6 v / s at the wall, falling to 0 in mid-plane; s = 2 * volume / surface of the part
/// All values are 0 outside of the part.
[[nodiscard]] SampleFlow computeSampleFlow(const SampleGrid& grid, const FlowConditions& conditions);

} // namespace tav3d::tools
