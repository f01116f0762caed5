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
    std::vector<double> speed;      // mean over the filling, length units / s
    std::vector<double> shearRate;  // 1/s
    std::size_t unreachedNodes = 0; // of the part
};

struct FlowConditions
{
    double fillingTime = 1.2;        // s
    double injectionPressure = 60.0; // MPa, at the gate at the end of filling
};

/// Melt comes in at a constant rate, V(d) is the volume of the part up to distance d, A = dV/dd the cross-section there, T the filling time:
///   front time      t(d) = T V(d) / V(end): the front stands at d when that much has come in
///   flow rate       q(d) = (V(end) - V(d)) / T: what has to pass d, as a mean over the filling
///   mean speed      v(d) = q / A
///   pressure        p(d) = p(0) I(d) / I(0), I(d) = integral of v^n from d to the end: the drop of the Hele-Shaw flow of a power-law melt,
///                   -dp/dd ~ v^n / s^(1+n), in a wall of even thickness s; n = 0.35
///   shear rate      6 v / s at the wall, falling to 0 in mid-plane; s = 2 * volume / surface of the part
/// Nearer to the gate than s the flow is no plane flow yet: A is taken as 2 pi s^2 at least, the cross-section of a wall at the distance s.
/// All values are 0 outside of the part.
[[nodiscard]] SampleFlow computeSampleFlow(const SampleGrid& grid, const FlowConditions& conditions);

} // namespace tav3d::tools
