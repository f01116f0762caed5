// Interpolates two fields at points inside a jittered grid and prints everything that scripts/accuracy_table.py needs to judge the result:
//   accuracy_probe <cells per edge>
//   node x y z quadratic smooth               one line per mesh node
//   point x y z quadratic smooth              the true values at a data point, followed by
//         (multiquadric form) quadratic smooth (shape functions) quadratic smooth

#include "interpolation/sol_interpolation.h"
#include "meshes.h"

#include <cstdio>
#include <cstdlib>
#include <random>

namespace
{

constexpr double size = 4.0;
constexpr double jitter = 0.15; // spacings
constexpr double margin = 1.1;  // keeps the stencils off the surface at every refinement
constexpr int pointCount = 60;

double quadratic(double x, double y, double z)
{
    return 1 + 0.5 * x * x - 0.25 * y * z + 0.125 * z * z + x;
}

double smooth(double x, double y, double z)
{
    return std::sin(0.8 * x) * std::cos(0.6 * y) + std::exp(-0.3 * z);
}

} // namespace

int main(int argc, char** argv)
{
    const int cells = argc == 2 ? std::atoi(argv[1]) : 0;
    if (cells < 1)
    {
        std::fprintf(stderr, "usage: accuracy_probe <cells per edge>\n");
        return 2;
    }

    meshes::Mesh mesh = meshes::grid(cells, size, jitter);
    meshes::Points data;
    std::mt19937 random(4);
    for (int q = 0; q < pointCount; ++q)
    {
        const auto next = [&random] { return margin + (size - 2 * margin) * (random() / 4294967296.0); };
        const double x = next(), y = next(), z = next();
        data.add(x, y, z);
    }

    std::vector<double> phi[2] = {meshes::sample<double>(mesh.node, quadratic), meshes::sample<double>(mesh.node, smooth)};
    std::vector<float> field[2] = {meshes::sample<float>(mesh.node, quadratic), meshes::sample<float>(mesh.node, smooth)};
    for (std::size_t i = 1; i < mesh.node.x.size(); ++i)
        std::printf("node %.17g %.17g %.17g %.17g %.17g\n", mesh.node.x[i], mesh.node.y[i], mesh.node.z[i], phi[0][i], phi[1][i]);

    CSolInterpolation fitted;
    fitted.SetSorting(mesh.node.count(), mesh.cell.count(), mesh.node.x.data(), mesh.node.y.data(), mesh.node.z.data(), mesh.cell.data(),
                      data.count(), data.x.data(), data.y.data(), data.z.data());
    CSolInterpolation shaped;
    shaped.SetBaseData(mesh.node.count(), mesh.cell.count(), mesh.node.x.data(), mesh.node.y.data(), mesh.node.z.data(),
                       mesh.centre.x.data(), mesh.centre.y.data(), mesh.centre.z.data(), mesh.cell.data(), false);
    shaped.AllocateFieldTable(2);
    shaped.m_ppPhiValue[0] = field[0].data();
    shaped.m_ppPhiValue[1] = field[1].data();
    shaped.SetNDataPoint(data.count());

    for (int q = 1; q <= data.count(); ++q)
    {
        const auto i = static_cast<std::size_t>(q);
        shaped.SetDataPoint(q, data.x[i], data.y[i], data.z[i]);
        double fit[2];
        double shape[2];
        for (int k = 0; k < 2; ++k)
        {
            fitted.GetInterpolation(q, phi[k].data(), fit[k]);
            shaped.GetPhiValue(q, k, shape[k]);
        }
        std::printf("point %.17g %.17g %.17g %.17g %.17g %.17g %.17g %.17g %.17g\n", data.x[i], data.y[i], data.z[i],
                    quadratic(data.x[i], data.y[i], data.z[i]), smooth(data.x[i], data.y[i], data.z[i]), fit[0], fit[1], shape[0],
                    shape[1]);
    }
    return 0;
}
