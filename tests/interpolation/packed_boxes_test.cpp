#include "interpolation/packed_boxes.h"

#include "point_clouds.h"

#include <gtest/gtest.h>

#include <cmath>
#include <random>

namespace packed_boxes_test
{

using clouds::Kind;
using clouds::Places;
using tav3d::interpolation::LooseLimits;
using tav3d::interpolation::PackedBoxes;
using tav3d::interpolation::PointBox;
using tav3d::interpolation::SearchLimits;
using At = std::array<double, 3>;

namespace
{

bool isFinite(const At& p)
{
    return std::isfinite(p[0]) && std::isfinite(p[1]) && std::isfinite(p[2]);
}

PointBox around(const std::vector<At>& points)
{
    PointBox box{points[0], points[0]};
    for (const At& p : points)
        for (std::size_t k = 0; k < 3; ++k)
        {
            box.low[k] = std::min(box.low[k], p[k]);
            box.high[k] = std::max(box.high[k], p[k]);
        }
    return box;
}

/// Eight boxes of a few points each.
struct Boxes
{
    std::vector<At> points[8], all;
    PackedBoxes packed;

    explicit Boxes(Places& places, double scale, const At& shift)
    {
        for (std::vector<At>& child : points)
            while (child.size() < 3)
            {
                At p = places.next();
                for (std::size_t k = 0; k < 3; ++k)
                    p[k] = scale * p[k] + shift[k];
                if (isFinite(p))
                    child.push_back(p);
            }
        for (const std::vector<At>& child : points)
            all.insert(all.end(), child.begin(), child.end());
        packed.setLattice(around(all));
        for (std::size_t i = 0; i < 8; ++i)
            packed.set(i, around(points[i]));
    }
};

struct Distances
{
    double square, reach;
};

Distances between(const At& a, const At& b)
{
    const double d[3] = {a[0] - b[0], a[1] - b[1], a[2] - b[2]};
    return {(d[0] * d[0] + d[1] * d[1]) + d[2] * d[2], std::max({std::abs(d[0]), std::abs(d[1]), std::abs(d[2])})};
}

} // namespace

TEST(PackedBoxes, a_box_is_inside_of_all_limits_that_one_of_its_points_meets)
{
    int asked = 0;
    for (const Kind kind : clouds::allKinds)
        for (const double scale : {1e-40, 1e-25, 1e-9, 1.0, 1e6, 1e20})
        {
            SCOPED_TRACE(::testing::Message() << static_cast<int>(kind) << " scale " << scale);
            Places places(kind, 7);
            for (int round = 0; round < 24; ++round)
            {
                const At shift = round % 3 == 0 ? At{} : round % 3 == 1 ? At{1e6 * scale, 0, -3 * scale} : At{0, 12345.0, -1e-3};
                const Boxes boxes(places, scale, shift);
                for (int t = 0; t < 10; ++t)
                {
                    At from = t == 0 ? boxes.all[0] : places.next();
                    for (std::size_t k = 0; k < 3 && t > 0; ++k)
                        from[k] = scale * from[k] * (t % 4 == 3 ? std::pow(10.0, 6 * t) : 1.0) + shift[k];
                    if (!isFinite(from))
                        continue;
                    PackedBoxes::Measures m;
                    boxes.packed.measure<true>(from, m);
                    for (unsigned i = 0; i < 8; ++i)
                        for (const At& p : boxes.points[i])
                        {
                            const auto [square, reach] = between(p, from);
                            SearchLimits limits{square};
                            ASSERT_NE(m.inside<false>(LooseLimits(limits)) >> i & 1u, 0u) << square;
                            limits.radius = std::nextafter(reach, HUGE_VAL);
                            ASSERT_NE(m.inside<true>(LooseLimits(limits)) >> i & 1u, 0u) << square << ' ' << reach;
                            limits = {0.0, limits.radius, limits.radius};
                            ASSERT_NE(m.inside<true>(LooseLimits(limits)) >> i & 1u, 0u) << square << ' ' << reach;
                            ++asked;
                        }
                }
            }
        }
    EXPECT_GT(asked, 250000);
}

TEST(PackedBoxes, boxes_that_are_clearly_farther_than_the_limits_are_left_out)
{
    // Eight unit boxes along x, at 0, 10, ... 70.
    PackedBoxes packed;
    packed.setLattice({{0, 0, 0}, {71, 1, 1}});
    for (std::size_t i = 0; i < 8; ++i)
    {
        const double x = 10.0 * static_cast<double>(i);
        packed.set(i, {{x, 0, 0}, {x + 1, 1, 1}});
    }
    for (const double factor : {1.0, 1000.0}) // also from far away
    {
        const double from = -factor * 3.0;
        PackedBoxes::Measures m;
        packed.measure<true>({from, 0.5, 0.5}, m);
        for (unsigned i = 0; i < 8; ++i)
        {
            const double nearer = 10.0 * i - from - 1.0;
            const unsigned nearerOnes = (1u << i) - 1;
            EXPECT_EQ(m.inside<false>(LooseLimits({nearer * nearer})), nearerOnes);
            EXPECT_EQ(m.inside<true>(LooseLimits({HUGE_VAL, nearer})), nearerOnes);
            EXPECT_EQ(m.inside<true>(LooseLimits({0.0, HUGE_VAL, nearer})), nearerOnes);
        }
    }
}

} // namespace packed_boxes_test
