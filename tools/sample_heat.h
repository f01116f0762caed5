#pragma once

// How a hot part cools in its mould: temperatures of sample results.

#include "sample_grid.h"

#include <vector>

namespace tav3d::tools
{

/// Heat conductivity (W/(m K)) and heat capacity per volume (J/(mm^3 K)) of a material. With lengths in mm, times come out in seconds.
struct Material
{
    double conductivity;
    double capacity;
};

struct HeatConditions
{
    double meltTemperature = 230.0;    // degC
    double coolantTemperature = 40.0;  // of the whole mould at the start, and of its outside throughout
    double ejectionTemperature = 95.0; // below it the part keeps its shape
    Material plastic{0.2, 2.0e-3};
    Material mold{36.0, 3.6e-3};    // steel
    Material insert{120.0, 3.3e-3}; // brass
};

struct SampleHeat
{
    std::vector<std::vector<double>> temperature; // one field per output time, over all nodes
    std::vector<double> ejectionTime; // s until a part node is below the ejection temperature; the last output time when it never is
};

/// Conduction c dT/dt = div(k grad T) over all cells, from the melt in the part, the coolant temperature everywhere else (a node of both takes the
/// mean by heat capacity), with the mould's outside held at the coolant temperature.
///
/// Explicit steps over the nodes' volumes: T_i += dt / C_i * sum_j G_ij (T_j - T_i), where every cell gives its nodes an eighth of its capacity
/// and each of its edges the conductance k h / 4. As long as dt * sum_j G_ij <= C_i, new temperatures are means of old ones and stay between the
/// extremes. Metal would ask for far smaller steps than plastic: where `steps` steps to the last output time are too long for a node, its capacity is
/// raised to what they bear, which delays the quick metal a little and leaves the plastic alone.
///
/// `outputTimes`: ascending, s. Lengths of the grid are taken as mm.
[[nodiscard]] SampleHeat computeSampleHeat(const SampleGrid& grid, const HeatConditions& conditions, const std::vector<double>& outputTimes,
                                           int steps = 240);

} // namespace tav3d::tools
