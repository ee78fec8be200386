#include <QuillonFilterOrientations/StAxisAngles.h>

#include "support/FiberPhantom.h"

#include <gtest/gtest.h>

#include <cmath>
#include <random>

namespace {

using ORVEN::Impl::AngleOf;
using ORVEN::Impl::Direction;
using ORVEN::Impl::InHalfSpace;
using ORVEN::Impl::StAxisAngles;

constexpr double c_pi = std::numbers::pi;

TEST(AngleOf, EqualsTheArcTangentOfTwoNumbers) {
    for (int i = 0; i <= 36000; ++i) {
        const double angle = i * c_pi / 36000.0;
        for (const double length : {1e-200, 0.3, 1.0, 1e150}) {
            const double x = length * std::cos(angle);
            const double y = length * std::sin(angle);
            ASSERT_NEAR(AngleOf(x, y), std::atan2(y, x), 1e-15) << angle;
        }
    }
    EXPECT_EQ(AngleOf(0.0, 0.0), 0.0);
    EXPECT_EQ(AngleOf(2.0, 0.0), 0.0);
    EXPECT_EQ(AngleOf(0.0, 2.0), c_pi / 2);
    EXPECT_EQ(AngleOf(-2.0, 0.0), c_pi);
}

TEST(AxisAngles, UseTheDirectionInTheHalfSpace) {
    EXPECT_EQ(InHalfSpace({0.5, -0.5, 0.7}), (Direction{-0.5, 0.5, -0.7}));
    EXPECT_EQ(InHalfSpace({-0.5, 0.5, 0.7}), (Direction{-0.5, 0.5, 0.7}));
    EXPECT_EQ(InHalfSpace({-1.0, 0.0, 0.5}), (Direction{1.0, 0.0, -0.5}));
    EXPECT_EQ(InHalfSpace({0.0, 0.0, -1.0}), (Direction{0.0, 0.0, 1.0}));
    EXPECT_EQ(InHalfSpace({0.0, 0.0, 0.0}), (Direction{0.0, 0.0, 0.0}));
}

TEST(AxisAngles, DetermineTheAxis) {
    std::mt19937 random(1);
    for (int i = 0; i < 10000; ++i) {
        const Direction direction = test::RandomDirection(random);
        const StAxisAngles<double> angles(direction, 3);
        ASSERT_GE(angles.theta, 0.0);
        ASSERT_LE(angles.theta, c_pi);
        ASSERT_GE(angles.phi, 0.0);
        ASSERT_LT(angles.phi, c_pi);
        const Direction back{std::sin(angles.theta) * std::cos(angles.phi),
                             std::sin(angles.theta) * std::sin(angles.phi), std::cos(angles.theta)};
        ASSERT_NEAR(std::abs(test::Dot(back, direction)), 1.0, 1e-14);
        const Direction opposite{-direction[0], -direction[1], -direction[2]};
        ASSERT_EQ(StAxisAngles<double>(opposite, 3).theta, angles.theta);
        ASSERT_EQ(StAxisAngles<double>(opposite, 3).phi, angles.phi);
    }
}

TEST(AxisAngles, RoundedUpToPiBecomeThoseOfTheOppositeDirection) {
    const Direction nearlyBack{-0.8, 1e-9, 0.6};
    const StAxisAngles<float> inSpace(nearlyBack, 3);
    EXPECT_EQ(inSpace.phi, 0.0F);
    EXPECT_FLOAT_EQ(inSpace.theta, static_cast<float>(c_pi - std::acos(0.6)));
    EXPECT_EQ(StAxisAngles<float>({-1.0, 1e-9, 0.0}, 2).theta, 0.0F);
    // In double precision the same direction is still distinguished.
    EXPECT_NEAR(StAxisAngles<double>(nearlyBack, 3).phi, c_pi, 1e-8);
    EXPECT_LT(StAxisAngles<double>(nearlyBack, 3).phi, c_pi);
    EXPECT_EQ(StAxisAngles<double>({-1.0, 1e-30, 0.0}, 2).theta, 0.0);
}

TEST(AxisAngles, In2dAreASingleAngle) {
    const StAxisAngles<double> angles({-std::sqrt(0.5), std::sqrt(0.5), 0.0}, 2);
    EXPECT_DOUBLE_EQ(angles.theta, 0.75 * c_pi);
    EXPECT_EQ(angles.phi, 0.0);
    EXPECT_DOUBLE_EQ(StAxisAngles<double>({0.0, -1.0, 0.0}, 2).theta, 0.5 * c_pi);
    EXPECT_EQ(StAxisAngles<double>({-1.0, 0.0, 0.0}, 2).theta, 0.0);
}

} // namespace
