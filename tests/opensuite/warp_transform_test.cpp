#include "TAV3DWarpCoordTransformation.h"

#include <gtest/gtest.h>

#include <limits>

namespace warp_transform_test
{

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

TEST(WarpTransform, axes_run_along_the_first_edge_and_normal_to_the_plane)
{
    Frame frame;
    const double p[3][3] = {{1, 1, 1}, {1, 3, 1}, {-4, 2, 1}}; // in a plane z = 1, counter-clockwise as seen from above
    frame.SetNewCoordinateBy3Points(p[0], p[1], p[2]);
    const double in[3] = {2, 3, 5};
    double out[3];
    frame.VectorRotate(in, out);
    EXPECT_EQ(out[0], 3.0);  // along +y
    EXPECT_EQ(out[1], -2.0); // along -x
    EXPECT_EQ(out[2], 5.0);  // along +z
}

TEST(WarpTransform, out_may_be_in)
{
    Frame frame;
    const double p[3][3] = {{0, 0, 0}, {0, 2, 0}, {0, 0, 2}};
    frame.SetNewCoordinateBy3Points(p[0], p[1], p[2]);
    double v[3] = {1, 2, 3};
    frame.VectorRotate(v, v);
    EXPECT_EQ(v[0], 2.0);
    EXPECT_EQ(v[1], 3.0);
    EXPECT_EQ(v[2], 1.0);
}

TEST(WarpTransform, every_frame_is_orthonormal_also_of_points_on_one_line_or_nearly)
{
    for (const double beside : {1.0, 1e-3, 1e-9, 1e-13, 1e-15, 1e-16, 1e-17, 0.0})
        for (const double along : {0.0, 0.3, -2.0, 1e6})
        {
            Frame frame;
            const double first[3] = {0.1, 1.0 / 3.0, -0.7};
            const double p1[3] = {0.2, 0.3, 0.4};
            double p2[3];
            double p3[3];
            for (int k = 0; k < 3; ++k)
            {
                p2[k] = p1[k] + first[k];
                p3[k] = p1[k] + along * first[k] + (k == 0 ? beside : 0.0);
            }
            frame.SetNewCoordinateBy3Points(p1, p2, p3);
            double column[3][3];
            for (int k = 0; k < 3; ++k)
            {
                const double unit[3] = {double(k == 0), double(k == 1), double(k == 2)};
                frame.VectorRotate(unit, column[k]);
            }
            for (int a = 0; a < 3; ++a)
                for (int b = 0; b < 3; ++b)
                    EXPECT_NEAR(column[a][0] * column[b][0] + column[a][1] * column[b][1] + column[a][2] * column[b][2], a == b ? 1.0 : 0.0,
                                1e-15)
                        << beside << " " << along;
            double rotated[3];
            frame.VectorRotate(first, rotated);
            EXPECT_NEAR(rotated[1], 0.0, 4e-15); // the first axis is the first edge
            EXPECT_NEAR(rotated[2], 0.0, 4e-15);
        }
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

} // namespace warp_transform_test
