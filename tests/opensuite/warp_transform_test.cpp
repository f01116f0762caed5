#include "TAV3DWarpCoordTransformation.h"

#include <gtest/gtest.h>

#include <limits>

using Frame = CTAV3DWarpCoordinateTransformationTemplate<double>;

TEST(WarpTransform, new_frame_leaves_vectors_as_they_are)
{
    const Frame frame;
    const double in[3] = {1.5, -2.0, 3.25};
    double out[3];
    frame.VectorRotate(in, out);
    for (int k = 0; k < 3; ++k)
        EXPECT_EQ(out[k], in[k]);
}

TEST(WarpTransform, face_nodes_get_one_out_of_plane_component)
{
    Frame frame;
    const double p[4][3] = {{1, 2, 3}, {4, 2, 4}, {3, 5, 3}, {0, 5, 2}}; // a parallelogram
    frame.SetNewCoordinateBy3Points(p[0], p[1], p[2]);
    double first[3];
    frame.VectorRotate(p[0], first);
    for (const auto& node : p)
    {
        double rotated[3];
        frame.VectorRotate(node, rotated);
        EXPECT_NEAR(rotated[2], first[2], 1e-14);
    }
}

TEST(WarpTransform, points_on_one_line_give_an_orthonormal_frame)
{
    Frame frame;
    const double p[3][3] = {{0, 0, 0}, {1, 1, 0}, {2, 2, 0}};
    frame.SetNewCoordinateBy3Points(p[0], p[1], p[2]);
    double axis[3][3];
    for (int k = 0; k < 3; ++k)
    {
        const double unit[3] = {double(k == 0), double(k == 1), double(k == 2)};
        frame.VectorRotate(unit, axis[k]);
    }
    for (int a = 0; a < 3; ++a)
        for (int b = 0; b < 3; ++b)
            EXPECT_NEAR(axis[a][0] * axis[b][0] + axis[a][1] * axis[b][1] + axis[a][2] * axis[b][2], a == b ? 1.0 : 0.0, 1e-15);
}

TEST(WarpTransform, coincident_or_non_finite_points_leave_the_frame_as_it_was)
{
    Frame frame;
    const double p[3][3] = {{0, 0, 0}, {0, 2, 0}, {0, 0, 2}};
    frame.SetNewCoordinateBy3Points(p[0], p[1], p[2]);
    const double nan = std::numeric_limits<double>::quiet_NaN();
    const double bad[3] = {nan, 0, 0};
    const double in[3] = {1, 2, 3};
    double before[3];
    double after[3];
    frame.VectorRotate(in, before);
    frame.SetNewCoordinateBy3Points(p[0], p[0], p[2]);
    frame.SetNewCoordinateBy3Points(p[0], p[1], bad);
    frame.SetNewCoordinateBy3Points(bad, p[1], p[2]);
    frame.VectorRotate(in, after);
    for (int k = 0; k < 3; ++k)
        EXPECT_EQ(after[k], before[k]);
}
