#include "shape_functions.h"

namespace tav3d::opensuite
{

void tetraShape(double r, double s, double t, std::span<double, 4> N) noexcept
{
    N[0] = 1.0 - r - s - t;
    N[1] = r;
    N[2] = s;
    N[3] = t;
}

void triangleShape(double r, double s, std::span<double, 3> N) noexcept
{
    N[0] = 1.0 - r - s;
    N[1] = r;
    N[2] = s;
}

// N = (1 ± r ± s ± rs) / 4, the product (1 ± r)(1 ± s) / 4 multiplied out.
void quadShape(double r, double s, double rs, std::span<double, 4> N) noexcept
{
    N[0] = 0.25 * ((1.0 - r) + (rs - s));
    N[1] = 0.25 * ((1.0 + r) - (rs + s));
    N[2] = 0.25 * ((1.0 + r) + (rs + s));
    N[3] = 0.25 * ((1.0 - r) - (rs - s));
}

// N = (h ± u)(h ± v) / (4 h) on the base, multiplied out with w = u v / h; 1 - h at the apex.
void pyramidShape(double h, double u, double v, double w, std::span<double, 5> N) noexcept
{
    N[0] = 0.25 * ((h - u) + (w - v));
    N[1] = 0.25 * ((h + u) - (w + v));
    N[2] = 0.25 * ((h + u) + (w + v));
    N[3] = 0.25 * ((h - u) - (w - v));
    N[4] = 1.0 - h;
}

void prismShape(double r, double s, double t, std::span<double, 6> N) noexcept
{
    const double lower = 0.5 * (1.0 - t);
    const double upper = 0.5 * (1.0 + t);
    const double q = 1.0 - r - s;
    N[0] = q * lower;
    N[1] = r * lower;
    N[2] = s * lower;
    N[3] = q * upper;
    N[4] = r * upper;
    N[5] = s * upper;
}

void hexaShape(double r, double s, double t, std::span<double, 8> N) noexcept
{
    const double lower = 0.125 * (1.0 - t);
    const double upper = 0.125 * (1.0 + t);
    const double corner[4] = {(1.0 - r) * (1.0 - s), (1.0 + r) * (1.0 - s), (1.0 + r) * (1.0 + s), (1.0 - r) * (1.0 + s)};
    for (int i = 0; i < 4; ++i)
    {
        N[i] = corner[i] * lower;
        N[4 + i] = corner[i] * upper;
    }
}

} // namespace tav3d::opensuite
