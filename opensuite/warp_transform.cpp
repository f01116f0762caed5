#include "TAV3DWarpCoordTransformation.h"

#include <cmath>

namespace
{

template <class Real>
Real length(const Real* v)
{
    return std::sqrt(v[0] * v[0] + v[1] * v[1] + v[2] * v[2]);
}

template <class Real>
void cross(const Real* a, const Real* b, Real* out)
{
    out[0] = a[1] * b[2] - a[2] * b[1];
    out[1] = a[2] * b[0] - a[0] * b[2];
    out[2] = a[0] * b[1] - a[1] * b[0];
}

/// Scales v to length 1; false when it has no direction.
template <class Real>
bool normalise(Real* v)
{
    const Real l = length(v);
    if (!(l > 0) || !std::isfinite(l))
        return false;
    for (int k = 0; k < 3; ++k)
        v[k] /= l;
    return true;
}

} // namespace

template <class Real>
CTAV3DWarpCoordinateTransformationTemplate<Real>::CTAV3DWarpCoordinateTransformationTemplate()
    : m_axis{{1, 0, 0}, {0, 1, 0}, {0, 0, 1}}
{
}

template <class Real>
CTAV3DWarpCoordinateTransformationTemplate<Real>::~CTAV3DWarpCoordinateTransformationTemplate() = default;

template <class Real>
void CTAV3DWarpCoordinateTransformationTemplate<Real>::SetNewCoordinateBy3Points(const Real* p1, const Real* p2, const Real* p3)
{
    Real first[3];
    Real inPlane[3];
    for (int k = 0; k < 3; ++k)
    {
        first[k] = p2[k] - p1[k];
        inPlane[k] = p3[k] - p1[k];
    }
    if (!normalise(first) || !std::isfinite(length(inPlane)))
        return;

    // Of nearly parallel vectors the cross product is rounding, in any direction: points are on one line when it is that small, and what is left of
    // the first axis in the normal is taken out otherwise.
    constexpr Real onOneLine = Real(1e-12);
    Real normal[3] = {0, 0, 0};
    if (normalise(inPlane))
        cross(first, inPlane, normal);
    if (length(normal) < onOneLine)
    {
        // Any direction across the first axis will do; take the world axis that is farthest from it.
        int across = 0;
        for (int k = 1; k < 3; ++k)
            if (std::abs(first[k]) < std::abs(first[across]))
                across = k;
        const Real world[3] = {Real(across == 0), Real(across == 1), Real(across == 2)};
        cross(first, world, normal);
    }
    normalise(normal);
    Real along = 0;
    for (int k = 0; k < 3; ++k)
        along += normal[k] * first[k];
    for (int k = 0; k < 3; ++k)
        normal[k] -= along * first[k];
    normalise(normal);

    Real second[3];
    cross(normal, first, second);
    for (int k = 0; k < 3; ++k)
    {
        m_axis[0][k] = first[k];
        m_axis[1][k] = second[k];
        m_axis[2][k] = normal[k];
    }
}

template <class Real>
void CTAV3DWarpCoordinateTransformationTemplate<Real>::VectorRotate(const Real* in, Real* out) const
{
    Real rotated[3];
    for (int r = 0; r < 3; ++r)
        rotated[r] = m_axis[r][0] * in[0] + m_axis[r][1] * in[1] + m_axis[r][2] * in[2];
    for (int r = 0; r < 3; ++r)
        out[r] = rotated[r];
}

template class CTAV3DWarpCoordinateTransformationTemplate<double>;
