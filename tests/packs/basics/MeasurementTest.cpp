// The parts of the measurement of labels.

#include "measurement/FeretDiameter.h"
#include "measurement/PrincipalAxes.h"
#include "measurement/SurfaceWeights.h"

#include <QuillonBase/CProgressProxy.h>

#include <gtest/gtest.h>

#include <cmath>
#include <numbers>
#include <random>

namespace {

using namespace quillon::basics;
using ORVEN::StLatticePoint;

/// The parts of the sphere or circle that the directions stand for.
std::vector<double> Parts(int dimension, const Triple& spacing) {
    std::vector<double> parts;
    const double pixel = spacing[0] * spacing[1] * (dimension == 3 ? spacing[2] : 1.0);
    for (const StDirection& d : SurfaceDirections(dimension, spacing)) {
        const double length = std::hypot(d.dx * spacing[0], d.dy * spacing[1], d.dz * spacing[2]);
        parts.push_back(d.surface * length / pixel / (dimension == 3 ? 2.0 : std::numbers::pi / 2.0));
    }
    return parts;
}

double SumOf(const std::vector<double>& numbers) {
    double sum = 0.0;
    for (const double number : numbers)
        sum += number;
    return sum;
}

TEST(SurfaceDirections, AreTheNeighborsOfEachDimension) {
    EXPECT_EQ(SurfaceDirections(1, {2.0, 1.0, 1.0}).size(), 1U);
    EXPECT_EQ(SurfaceDirections(2, {1.0, 1.0, 1.0}).size(), 4U);
    EXPECT_EQ(SurfaceDirections(3, {1.0, 1.0, 1.0}).size(), 13U);
}

TEST(SurfaceDirections, CubicPixelsHaveThePublishedWeights) {
    // Ohser and Muecklich: 0.0457779, 0.0369806 and 0.0351956 for one of the 26 directions.
    const auto directions = SurfaceDirections(3, {1.0, 1.0, 1.0});
    const auto parts = Parts(3, {1.0, 1.0, 1.0});
    for (std::size_t i = 0; i < parts.size(); ++i) {
        const int steps =
            std::abs(directions[i].dx) + std::abs(directions[i].dy) + std::abs(directions[i].dz);
        const double expected = steps == 1 ? 0.04577789 : steps == 2 ? 0.03698062 : 0.03519563;
        EXPECT_NEAR(parts[i], 2.0 * expected, 1e-7) << i;
    }
}

TEST(SurfaceDirections, WeightsCoverTheSphereForAnySpacing) {
    for (const Triple& spacing :
         {Triple{1.0, 1.0, 1.0}, {0.5, 0.5, 3.0}, {1.0, 2.0, 40.0}, {7.0, 0.1, 1.0}}) {
        EXPECT_NEAR(SumOf(Parts(3, spacing)), 1.0, 1e-9);
        EXPECT_NEAR(SumOf(Parts(2, spacing)), 1.0, 1e-12);
    }
}

TEST(SurfaceDirections, WeightsAreThePartsOfRandomDirections) {
    std::mt19937 random(1);
    std::normal_distribution<double> normal;
    const Triple spacing{1.0, 0.7, 2.5};
    const auto directions = SurfaceDirections(3, spacing);
    std::vector<double> counts(directions.size(), 0.0);
    constexpr int samples = 200000;
    for (int sample = 0; sample < samples; ++sample) {
        const Triple u{normal(random), normal(random), normal(random)};
        double best = -1.0;
        std::size_t nearest = 0;
        for (std::size_t i = 0; i < directions.size(); ++i) {
            const Triple d{directions[i].dx * spacing[0], directions[i].dy * spacing[1],
                           directions[i].dz * spacing[2]};
            const double cosine =
                std::abs(u[0] * d[0] + u[1] * d[1] + u[2] * d[2]) / std::hypot(d[0], d[1], d[2]);
            if (cosine > best) {
                best = cosine;
                nearest = i;
            }
        }
        counts[nearest] += 1.0 / samples;
    }
    const auto parts = Parts(3, spacing);
    for (std::size_t i = 0; i < parts.size(); ++i)
        EXPECT_NEAR(parts[i], counts[i], 0.003) << i;
}

double Feret(std::vector<StLatticePoint> points, const Triple& spacing) {
    ORVEN::CProgressProxy silent;
    ORVEN::CWorkPace pace(silent);
    return FeretDiameter(std::move(points), spacing, pace);
}

TEST(FeretDiameter, OfPointsThatSpanNoVolume) {
    const Triple unit{1.0, 1.0, 1.0};
    EXPECT_EQ(Feret({}, unit), 0.0);
    EXPECT_EQ(Feret({{3, 4, 5}, {3, 4, 5}}, unit), 0.0);
    EXPECT_EQ(Feret({{2, 2, 2}, {0, 0, 0}, {1, 1, 1}}, {1.0, 2.0, 2.0}), 6.0);
    EXPECT_EQ(Feret({{0, 0, 1}, {3, 0, 1}, {0, 4, 1}, {1, 1, 1}}, unit), 5.0);
    EXPECT_EQ(Feret({{5, 0, 0}, {5, 3, 0}, {5, 0, 4}, {5, 1, 1}}, unit), 5.0);
    EXPECT_EQ(Feret({{0, 7, 0}, {3, 7, 0}, {0, 7, 4}, {1, 7, 1}}, unit), 5.0);
}

TEST(FeretDiameter, IsThatOfAllPairs) {
    std::mt19937 random(12);
    std::uniform_int_distribution<int> place(0, 9);
    for (int round = 0; round < 200; ++round) {
        const bool isFlat = round % 4 == 0;
        std::vector<StLatticePoint> points(static_cast<std::size_t>(1 + place(random) * 3));
        for (StLatticePoint& point : points) {
            point = {place(random), place(random), place(random)};
            if (isFlat)
                point.z = point.x + 2 * point.y;
        }
        const Triple spacing{1.0, 0.5 + place(random), 0.25};
        double expected = 0.0;
        for (const StLatticePoint& a : points) {
            for (const StLatticePoint& b : points) {
                const StLatticePoint d = b - a;
                expected = std::max(expected, std::hypot(static_cast<double>(d.x) * spacing[0],
                                                         static_cast<double>(d.y) * spacing[1],
                                                         static_cast<double>(d.z) * spacing[2]));
            }
        }
        EXPECT_NEAR(Feret(points, spacing), expected, 1e-12 * expected) << round;
    }
}

TEST(PrincipalAxes, AreTheEigenvectorsInOrder) {
    std::mt19937 random(7);
    std::normal_distribution<double> normal;
    for (int round = 0; round < 100; ++round) {
        Matrix root{};
        for (Triple& row : root) {
            for (double& number : row)
                number = normal(random);
        }
        Matrix a{};
        for (std::size_t i = 0; i < 3; ++i) {
            for (std::size_t k = 0; k < 3; ++k) {
                for (std::size_t m = 0; m < 3; ++m)
                    a[i][k] += root[i][m] * root[k][m];
            }
        }
        const auto axes = PrincipalAxes(a);
        EXPECT_GE(axes[0].variance, axes[1].variance);
        EXPECT_GE(axes[1].variance, axes[2].variance);
        for (const StPrincipalAxis& axis : axes) {
            const Triple& v = axis.direction;
            EXPECT_NEAR(v[0] * v[0] + v[1] * v[1] + v[2] * v[2], 1.0, 1e-12);
            for (std::size_t i = 0; i < 3; ++i)
                EXPECT_NEAR(a[i][0] * v[0] + a[i][1] * v[1] + a[i][2] * v[2], axis.variance * v[i], 1e-11);
        }
    }
}

TEST(PrincipalAxes, PointAwayFromTheNegativeSide) {
    const auto axes = PrincipalAxes({{{2.0, -1.0, 0.0}, {-1.0, 2.0, 0.0}, {0.0, 0.0, 0.0}}});
    EXPECT_NEAR(axes[0].variance, 3.0, 1e-14);
    EXPECT_NEAR(axes[0].direction[0], std::sqrt(0.5), 1e-14);
    EXPECT_NEAR(axes[0].direction[1], -std::sqrt(0.5), 1e-14);
    EXPECT_EQ(axes[2].variance, 0.0);
    EXPECT_EQ(axes[2].direction, (Triple{0.0, 0.0, 1.0}));
}

} // namespace
