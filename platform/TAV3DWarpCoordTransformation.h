#pragma once

// Declarations of the suite's local-frame library. Spelling is part of the suite's interface.

/// A right-handed orthonormal frame, and rotation of vectors into it. Points and vectors are three numbers (x, y, z).
template <class Real>
class CTAV3DWarpCoordinateTransformationTemplate
{
public:
    CTAV3DWarpCoordinateTransformationTemplate(); ///< the frame of the world
    ~CTAV3DWarpCoordinateTransformationTemplate();

    /// First axis from p1 towards p2, third axis normal to the plane of the points, second axis completing the frame.
    /// Points on one line leave the direction of the normal open: an arbitrary one, always the same for the same points. Coincident points, or
    /// points that are not finite, leave the frame as it was.
    void SetNewCoordinateBy3Points(const Real* p1, const Real* p2, const Real* p3);

    /// Components of the vector `in` in the frame. `out` may be `in`.
    void VectorRotate(const Real* in, Real* out) const;

private:
    Real m_axis[3][3];
};

extern template class CTAV3DWarpCoordinateTransformationTemplate<double>;
