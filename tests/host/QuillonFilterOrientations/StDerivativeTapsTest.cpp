#include <QuillonFilterOrientations/StDerivativeTaps.h>

#include <gtest/gtest.h>

#include <cmath>

namespace {

using ORVEN::Impl::StDerivativeTaps;

constexpr std::int64_t c_long = 1000000;

/// The tap k to the right of the centre, or to the left for k < 0.
double Tap(const StDerivativeTaps& taps, std::size_t order, std::int64_t k) {
    const double tap = taps.taps[order][static_cast<std::size_t>(std::abs(k))];
    return order == 1 && k < 0 ? -tap : tap;
}

double MomentOf(const StDerivativeTaps& taps, std::size_t order, int power) {
    double sum = 0.0;
    for (std::int64_t k = -taps.radius; k <= taps.radius; ++k)
        sum += std::pow(static_cast<double>(k), power) * Tap(taps, order, k);
    return sum;
}

TEST(DerivativeTaps, AreExactForPolynomialsOfTheirOrder) {
    for (const double sigma : {1.25, 1.5, 2.0, 3.7, 12.0}) {
        SCOPED_TRACE(testing::Message() << "sigma " << sigma);
        const StDerivativeTaps taps(sigma, c_long);
        EXPECT_EQ(taps.radius, static_cast<std::int64_t>(std::ceil(4 * sigma)) + 1);
        EXPECT_NEAR(MomentOf(taps, 0, 0), 1.0, 1e-14);
        EXPECT_NEAR(MomentOf(taps, 1, 0), 0.0, 1e-14);
        EXPECT_NEAR(MomentOf(taps, 1, 1), sigma, 1e-13 * sigma);
        EXPECT_NEAR(MomentOf(taps, 2, 0), 0.0, 1e-14);
        EXPECT_NEAR(MomentOf(taps, 2, 1), 0.0, 1e-13);
        EXPECT_NEAR(MomentOf(taps, 2, 2), 2.0 * sigma * sigma, 1e-12 * sigma * sigma);
    }
}

TEST(DerivativeTaps, HaveTheShapeOfTheGaussian) {
    const double sigma = 2.5;
    const StDerivativeTaps taps(sigma, c_long);
    for (std::int64_t k = 0; k <= taps.radius; ++k) {
        const auto x = static_cast<double>(k);
        const double gaussian =
            std::exp(-x * x / (2.0 * sigma * sigma)) / (sigma * std::sqrt(2.0 * std::acos(-1.0)));
        EXPECT_NEAR(Tap(taps, 0, k), gaussian, 1e-4);
        EXPECT_NEAR(Tap(taps, 1, k), x / sigma * gaussian, 1e-3);
        EXPECT_NEAR(Tap(taps, 2, k), (x * x / (sigma * sigma) - 1.0) * gaussian, 1e-3);
    }
}

TEST(DerivativeTaps, BeyondTheLengthAreSummedIntoTheLast) {
    const StDerivativeTaps whole(2.0, c_long);
    const StDerivativeTaps cut(2.0, 3);
    ASSERT_EQ(cut.radius, 3);
    for (std::size_t order = 0; order < 3; ++order) {
        ASSERT_EQ(cut.taps[order].size(), 4U);
        double rest = 0.0;
        for (std::int64_t k = 3; k <= whole.radius; ++k)
            rest += Tap(whole, order, k);
        EXPECT_DOUBLE_EQ(Tap(cut, order, 3), rest);
        EXPECT_EQ(Tap(cut, order, 2), Tap(whole, order, 2));
    }
}

TEST(DerivativeTaps, OfAnExtremeSigmaAreFinite) {
    for (const double sigma : {1e7, 1e300, std::numeric_limits<double>::infinity()}) {
        const StDerivativeTaps taps(sigma, 10);
        EXPECT_EQ(taps.radius, 10);
        EXPECT_NEAR(MomentOf(taps, 0, 0), 1.0, 1e-9);
        for (std::size_t order = 0; order < 3; ++order) {
            for (const double tap : taps.taps[order])
                EXPECT_TRUE(std::isfinite(tap));
        }
    }
}

} // namespace
