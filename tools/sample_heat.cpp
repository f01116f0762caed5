#include "sample_heat.h"

#include <algorithm>
#include <cmath>

namespace tav3d::tools
{

namespace
{

/// Directions of the edges of a cell, from each of its eight nodes: found through the neighbour table, which knows the directions.
struct Conduction
{
    std::vector<double> capacity;                   // J/K
    std::vector<std::array<double, 6>> conductance; // W/K to the neighbour in each direction
    std::vector<double> temperature;
};

Conduction assemble(const SampleGrid& grid, const HeatConditions& conditions)
{
    const std::size_t n = grid.nodeTotal();
    const double h = grid.spacing;
    Conduction c{std::vector<double>(n, 0.0), std::vector<std::array<double, 6>>(n, std::array<double, 6>{}), std::vector<double>(n, 0.0)};
    for (std::size_t e = 0; e < grid.cell.size(); ++e)
    {
        const bool plastic = e < grid.plasticCells;
        const Material& material = plastic                                        ? conditions.plastic
                                   : grid.body[e] >= opensuite::body::firstInsert ? conditions.insert
                                                                                  : conditions.mold;
        const double capacity = material.capacity * h * h * h / 8;
        const double conductance = 1e-3 * material.conductivity * h / 4; // W/(m K) are 1e-3 W/(mm K)
        for (const std::int32_t number : grid.cell[e])
        {
            const auto i = static_cast<std::size_t>(number);
            c.capacity[i] += capacity;
            c.temperature[i] += capacity * (plastic ? conditions.meltTemperature : conditions.coolantTemperature);
            for (std::size_t k = 0; k < 6; ++k)
            {
                const auto& cell = grid.cell[e];
                if (std::find(cell.begin(), cell.end(), grid.neighbour[i][k]) != cell.end())
                {
                    c.conductance[i][k] += conductance;
                }
            }
        }
    }
    for (std::size_t i = 0; i < n; ++i)
    {
        if (grid.isOuterFace[i] != 0)
        {
            c.temperature[i] = conditions.coolantTemperature;
        }
        else
        {
            c.temperature[i] = c.capacity[i] > 0 ? c.temperature[i] / c.capacity[i] : conditions.coolantTemperature;
        }
    }
    return c;
}

} // namespace

SampleHeat computeSampleHeat(const SampleGrid& grid, const HeatConditions& conditions, const std::vector<double>& outputTimes, int steps)
{
    const std::size_t n = grid.nodeTotal();
    Conduction c = assemble(grid, conditions);

    // share[i][k] = dt G / C, at the raised capacity; 0 at nodes that are held.
    const double longest = outputTimes.back() / steps;
    std::vector<std::array<double, 6>> share(n, std::array<double, 6>{});
    const auto setStep = [&](double dt)
    {
        for (std::size_t i = 0; i < n; ++i)
        {
            double sum = 0.0;
            for (const double g : c.conductance[i])
            {
                sum += g;
            }
            const double capacity = std::max(c.capacity[i], longest * sum);
            for (std::size_t k = 0; k < 6; ++k)
            {
                share[i][k] = grid.isOuterFace[i] != 0 || capacity == 0 ? 0.0 : dt * c.conductance[i][k] / capacity;
            }
        }
    };

    SampleHeat heat;
    heat.ejectionTime.assign(n, 0.0);
    std::vector<double> next(n);
    double time = 0.0;
    for (const double output : outputTimes)
    {
        const int count = std::max(1, static_cast<int>(std::ceil((output - time) / longest - 1e-9)));
        const double dt = (output - time) / count;
        setStep(dt);
        for (int step = 0; step < count; ++step)
        {
            const double now = time + (step + 1) * dt;
            for (std::size_t i = 0; i < n; ++i)
            {
                const double old = c.temperature[i];
                double change = 0.0;
                for (std::size_t k = 0; k < 6; ++k)
                {
                    const std::int32_t other = grid.neighbour[i][k];
                    if (other >= 0)
                    {
                        change += share[i][k] * (c.temperature[static_cast<std::size_t>(other)] - old);
                    }
                }
                next[i] = old + change;
                if (grid.isPlastic(i) && next[i] > conditions.ejectionTemperature)
                {
                    heat.ejectionTime[i] = now;
                }
            }
            c.temperature.swap(next);
        }
        time = output;
        heat.temperature.push_back(c.temperature);
    }
    return heat;
}

} // namespace tav3d::tools
