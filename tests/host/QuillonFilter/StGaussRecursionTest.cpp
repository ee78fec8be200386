#include <QuillonFilter/StGaussRecursion.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <vector>

namespace {

using ORVEN::Impl::StGaussRecursion;
using Line = std::vector<double>;

/// Both runs over a line that is 0 for long before and after what matters, so that no end has a part.
Line RunBothWays(const StGaussRecursion& recursion, Line line) {
    const auto run = [&recursion](auto first, auto last) {
        double u1 = 0.0;
        double u2 = 0.0;
        double u3 = 0.0;
        for (; first != last; ++first) {
            *first = recursion.gain * *first + recursion.a1 * u1 + recursion.a2 * u2 + recursion.a3 * u3;
            u3 = u2;
            u2 = u1;
            u1 = *first;
        }
    };
    run(line.begin(), line.end());
    run(line.rbegin(), line.rend());
    return line;
}

struct StFigures {
    double sum = 0.0;
    double centroid = 0.0;
    double variance = 0.0;
    double asymmetry = 0.0;
};

/// Of the response to an impulse in the middle of a line.
StFigures ImpulseFigures(double sigma) {
    const int half = static_cast<int>(40.0 * sigma) + 40;
    Line line(static_cast<std::size_t>(2 * half + 1), 0.0);
    line[static_cast<std::size_t>(half)] = 1.0;
    line = RunBothWays(StGaussRecursion(sigma), line);
    StFigures figures;
    for (int i = -half; i <= half; ++i) {
        const double h = line[static_cast<std::size_t>(half + i)];
        figures.sum += h;
        figures.centroid += i * h;
        figures.variance += static_cast<double>(i) * i * h;
        figures.asymmetry =
            std::max(figures.asymmetry, std::abs(h - line[static_cast<std::size_t>(half - i)]));
    }
    return figures;
}

TEST(StGaussRecursion, HasTheKnownCoefficientsAtSigma2) {
    const StGaussRecursion recursion(2.0);
    EXPECT_NEAR(recursion.scale, 1.000002, 5e-7);
    EXPECT_NEAR(recursion.a1, 1.473183, 5e-7);
    EXPECT_NEAR(recursion.a2, -0.833143, 5e-7);
    EXPECT_NEAR(recursion.a3, 0.177324, 5e-7);
    EXPECT_NEAR(recursion.gain, 1.0 - 1.473183 + 0.833143 - 0.177324, 2e-6);
}

TEST(StGaussRecursion, ItsKernelHasSum1TheVarianceAskedForAndIsSymmetric) {
    for (const double sigma : {0.7, 0.85, 1.0, 1.5, 2.0, 3.0, 5.0, 7.3, 10.0, 20.0}) {
        SCOPED_TRACE(sigma);
        const StFigures figures = ImpulseFigures(sigma);
        EXPECT_NEAR(figures.sum, 1.0, 1e-12);
        EXPECT_NEAR(figures.centroid, 0.0, 1e-11);
        EXPECT_NEAR(figures.variance / (sigma * sigma), 1.0, 1e-11);
        EXPECT_LT(figures.asymmetry, 1e-12);
    }
    EXPECT_NEAR(ImpulseFigures(100.0).variance / 1e4, 1.0, 3e-5);
}

TEST(StGaussRecursion, KeepsItsSumUpToAThousandPixels) {
    for (const double sigma : {100.0, 300.0, 1000.0}) {
        const StGaussRecursion recursion(sigma);
        const long double left = 1.0L - recursion.a1 - static_cast<long double>(recursion.a2) - recursion.a3;
        EXPECT_NEAR(static_cast<double>(recursion.gain / left), 1.0, 1e-7) << sigma;
    }
}

} // namespace
