#include "engine/pictures/StAxis.h"

#include <gtest/gtest.h>

#include <cmath>
#include <random>

using namespace engine;

namespace {

std::string LabelsOf(const StAxis& axis) {
    std::string text;
    for (const double tick : axis.Ticks())
        text += axis.Label(tick) + " ";
    return text;
}

} // namespace

TEST(Axis, HasTicksAtRoundNumbers) {
    EXPECT_EQ(LabelsOf(StAxis::Covering(0, 13.2, 7)), "0 2 4 6 8 10 12 14 ");
    EXPECT_EQ(LabelsOf(StAxis::Covering(0.13, 0.87, 5)), "0.0 0.2 0.4 0.6 0.8 1.0 ");
    EXPECT_EQ(LabelsOf(StAxis::Covering(-0.3, 0.1, 4)), "−0.3 −0.2 −0.1 0.0 0.1 ");
    EXPECT_EQ(LabelsOf(StAxis::Covering(3, 92, 5, true)), "20 40 60 80 ");
}

TEST(Axis, WritesLargeAndSmallNumbersAsMultiples) {
    const StAxis large = StAxis::Covering(0, 3.1e6, 4);
    EXPECT_EQ(large.Exponent(), 6);
    EXPECT_EQ(LabelsOf(large), "0 1 2 3 4 ");
    const StAxis small = StAxis::Covering(0, 5e-5, 5);
    EXPECT_EQ(small.Exponent(), -6);
    EXPECT_EQ(LabelsOf(small), "0 10 20 30 40 50 ");
    EXPECT_EQ(StAxis::Covering(0, 99000, 5, true).Exponent(), 0);
}

TEST(Axis, OfOneValueHasThatInTheMiddle) {
    EXPECT_EQ(StAxis::Covering(4, 4, 4).Place(4), 0.5);
    EXPECT_EQ(StAxis::Covering(0, 0, 4).Place(0), 0.5);
}

TEST(Axis, CoversItsRangeWithNoMoreTicksThanAskedFor) {
    std::mt19937 random(3);
    std::uniform_real_distribution<double> exponent(-12, 12);
    for (int i = 0; i < 1000; ++i) {
        const double a = std::pow(10.0, exponent(random)) * (random() % 2 == 0 ? 1 : -1);
        const double b = std::pow(10.0, exponent(random));
        const StAxis axis = StAxis::Covering(std::min(a, b), std::max(a, b), 6);
        EXPECT_LE(axis.least, std::min(a, b) + 1e-8 * axis.step);
        EXPECT_GE(axis.greatest, std::max(a, b) - 1e-8 * axis.step);
        EXPECT_GE(axis.Ticks().size(), 3u);
        EXPECT_LE(axis.Ticks().size(), 8u); // six steps of the range and what rounding adds at both ends
    }
}

TEST(Axis, RoundsUpToOneTwoOrFive) {
    EXPECT_DOUBLE_EQ(RoundUp125(0.0011), 0.002);
    EXPECT_DOUBLE_EQ(RoundUp125(1), 1);
    EXPECT_DOUBLE_EQ(RoundUp125(2.1), 5);
    EXPECT_DOUBLE_EQ(RoundUp125(51), 100);
}
