#include <QuillonFilter/CFiniteDifferences.h>

#include <gtest/gtest.h>

#include <cmath>
#include <vector>

namespace {

using namespace ORVEN;
using Weights = std::vector<double>;

Weights WeightsAt(int order, std::int64_t length, std::int64_t pixel) {
    const Impl::CFiniteDifferences differences(order, length);
    const auto window = differences.WindowAt(pixel);
    return {window.weights.begin(), window.weights.end()};
}

void ExpectWeights(const Weights& actual, const Weights& expected) {
    ASSERT_EQ(actual.size(), expected.size());
    for (std::size_t i = 0; i < actual.size(); ++i)
        EXPECT_NEAR(actual[i], expected[i], 1e-15 * std::abs(expected[i])) << i;
}

TEST(CFiniteDifferences, HasTheKnownWeightsOfOrders1To4) {
    const std::int64_t length = 20;
    const std::int64_t middle = 10;
    ExpectWeights(WeightsAt(1, length, middle), {-0.5, 0, 0.5});
    ExpectWeights(WeightsAt(1, length, 0), {-1.5, 2, -0.5});
    ExpectWeights(WeightsAt(1, length, 1), {-0.5, 0, 0.5});
    ExpectWeights(WeightsAt(2, length, middle), {1, -2, 1});
    ExpectWeights(WeightsAt(2, length, 0), {2, -5, 4, -1});
    ExpectWeights(WeightsAt(2, length, 1), {1, -2, 1});
    ExpectWeights(WeightsAt(3, length, middle), {-0.5, 1, 0, -1, 0.5});
    ExpectWeights(WeightsAt(3, length, 0), {-2.5, 9, -12, 7, -1.5});
    ExpectWeights(WeightsAt(3, length, 1), {-1.5, 5, -6, 3, -0.5});
    ExpectWeights(WeightsAt(4, length, middle), {1, -4, 6, -4, 1});
    ExpectWeights(WeightsAt(4, length, 0), {3, -14, 26, -24, 11, -2});
    ExpectWeights(WeightsAt(4, length, 1), {2, -9, 16, -14, 6, -1});
}

TEST(CFiniteDifferences, TheShortestLinesWithACentredWindowHaveIt) {
    ExpectWeights(WeightsAt(1, 3, 1), {-0.5, 0, 0.5});
    ExpectWeights(WeightsAt(2, 4, 1), {1, -2, 1});
    ExpectWeights(WeightsAt(2, 4, 2), {1, -2, 1});
    ExpectWeights(WeightsAt(3, 5, 2), {-0.5, 1, 0, -1, 0.5});
    ExpectWeights(WeightsAt(4, 6, 3), {1, -4, 6, -4, 1});
    ExpectWeights(WeightsAt(1, 2, 0), {-1, 1});
    ExpectWeights(WeightsAt(2, 3, 1), {1, -2, 1});
}

TEST(CFiniteDifferences, TheRightEndMirrorsTheLeftWithTheSignOfTheOrder) {
    for (int order = 1; order <= 32; ++order) {
        const std::int64_t length = order + 9;
        const Impl::CFiniteDifferences differences(order, length);
        for (std::int64_t pixel = 0; pixel < length; ++pixel) {
            const auto left = differences.WindowAt(pixel);
            const auto right = differences.WindowAt(length - 1 - pixel);
            ASSERT_EQ(left.weights.size(), right.weights.size());
            EXPECT_EQ(right.first, length - left.first - static_cast<std::int64_t>(left.weights.size()));
            for (std::size_t i = 0; i < left.weights.size(); ++i) {
                const double mirrored = right.weights[right.weights.size() - 1 - i];
                EXPECT_EQ(left.weights[i], order % 2 == 0 ? mirrored : -mirrored) << order << " " << pixel;
            }
        }
    }
}

TEST(CFiniteDifferences, WindowsStayInsideTheLineAndHoldTheirPixel) {
    for (int order = 1; order <= 32; ++order) {
        for (std::int64_t length = order + 1; length <= order + 5; ++length) {
            const Impl::CFiniteDifferences differences(order, length);
            for (std::int64_t pixel = 0; pixel < length; ++pixel) {
                const auto window = differences.WindowAt(pixel);
                const auto end = window.first + static_cast<std::int64_t>(window.weights.size());
                EXPECT_GE(window.first, 0);
                EXPECT_LE(end, length);
                EXPECT_LE(window.first, pixel);
                EXPECT_LT(pixel, end);
            }
        }
    }
}

TEST(CFiniteDifferences, DerivesEveryPowerThatItsDegreeAllowsUpToOrder32) {
    for (int order = 1; order <= 32; ++order) {
        const std::int64_t length = order + 4;
        const Impl::CFiniteDifferences differences(order, length);
        for (std::int64_t pixel = 0; pixel < length; ++pixel) {
            const auto window = differences.WindowAt(pixel);
            for (int degree = 0; degree <= order + 1; ++degree) {
                // About the pixel itself, so that the derivative is order! or 0.
                long double sum = 0;
                long double size = 0;
                for (std::size_t i = 0; i < window.weights.size(); ++i) {
                    const auto offset =
                        static_cast<long double>(window.first + static_cast<std::int64_t>(i) - pixel);
                    const long double term =
                        window.weights[i] * std::pow(offset, static_cast<long double>(degree));
                    sum += term;
                    size += std::abs(term);
                }
                const long double expected =
                    degree == order ? std::tgamma(static_cast<long double>(order) + 1) : 0;
                EXPECT_LE(std::abs(sum - expected), 3e-16L * size) << order << " " << pixel << " " << degree;
            }
        }
    }
}

} // namespace
