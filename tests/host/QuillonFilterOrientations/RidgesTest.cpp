#include <QuillonFilterOrientations/Ridges.h>

#include "support/FiberPhantom.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <numbers>
#include <random>
#include <vector>

namespace {

using namespace ORVEN::Impl;
using test::Dot;
using test::Vector;
using Matrix = std::array<std::array<double, 3>, 3>;

std::vector<EnVectors> UsableVectors() {
    std::vector<EnVectors> usable{EnVectors::BASELINE};
    for (const EnVectors vectors : {EnVectors::AVX2, EnVectors::AVX512}) {
        if (vectors <= BestVectors())
            usable.push_back(vectors);
    }
    return usable;
}

SymmetricMatrices Collected(const std::vector<Matrix>& matrices) {
    SymmetricMatrices collected;
    for (const Matrix& m : matrices) {
        collected[XX].push_back(m[0][0]);
        collected[YY].push_back(m[1][1]);
        collected[ZZ].push_back(m[2][2]);
        collected[XY].push_back(m[0][1]);
        collected[XZ].push_back(m[0][2]);
        collected[YZ].push_back(m[1][2]);
    }
    return collected;
}

StRidges RidgesOf(const std::vector<Matrix>& matrices, std::size_t dimension = 3,
                  EnVectors vectors = BestVectors()) {
    SymmetricMatrices collected = Collected(matrices);
    StRidges ridges;
    FindRidges(dimension, matrices.size(), collected, vectors, ridges);
    return ridges;
}

struct StFound {
    double isRidge;
    Vector direction;
};

StFound RidgeOf(const Matrix& matrix, std::size_t dimension = 3) {
    const StRidges ridges = RidgesOf({matrix}, dimension);
    return {ridges.isRidge[0], {ridges.direction[0][0], ridges.direction[1][0], ridges.direction[2][0]}};
}

/// Three mutually perpendicular vectors.
std::array<Vector, 3> RandomFrame(std::mt19937& random) {
    const Vector a = test::RandomDirection(random);
    Vector b = test::RandomDirection(random);
    const double along = Dot(a, b);
    b = test::Unit({b[0] - along * a[0], b[1] - along * a[1], b[2] - along * a[2]});
    return {a, b, {a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0]}};
}

Matrix MatrixOf(const std::array<double, 3>& eigenvalues, const std::array<Vector, 3>& frame) {
    Matrix matrix{};
    for (std::size_t k = 0; k < 3; ++k) {
        for (std::size_t i = 0; i < 3; ++i) {
            for (std::size_t j = 0; j < 3; ++j)
                matrix[i][j] += eigenvalues[k] * frame[k][i] * frame[k][j];
        }
    }
    return matrix;
}

Matrix Diagonal(double x, double y, double z) { return {{{x, 0, 0}, {0, y, 0}, {0, 0, z}}}; }

TEST(Ridges, HaveTheEigenvectorOfTheSmallestMagnitude) {
    std::mt19937 random(1);
    std::uniform_real_distribution<double> share(-0.9, 0.9);
    std::uniform_real_distribution<double> exponent(-2.0, 3.0);
    for (int i = 0; i < 20000; ++i) {
        const auto frame = RandomFrame(random);
        const double across = -std::pow(10.0, exponent(random));
        const double along = share(random) * across;
        const double deepest = across * (1.0 + std::abs(share(random)));
        const StFound found = RidgeOf(MatrixOf({along, across, deepest}, frame));
        ASSERT_EQ(found.isRidge, 1.0) << along << " " << across << " " << deepest;
        for (const Vector& other : {frame[1], frame[2]})
            ASSERT_NEAR(Dot(found.direction, other), 0.0, 1e-11) << along << " " << across << " " << deepest;
        ASSERT_NEAR(Dot(found.direction, found.direction), 1.0, 1e-12);
    }
}

TEST(Ridges, WithTwoEqualEigenvaluesAcrossAreExact) {
    std::mt19937 random(2);
    for (const double along : {0.0, 1e-9, -1e-3, 0.3, -0.5, 0.999}) {
        for (const double difference : {0.0, 1e-15, 1e-12, 1e-9, 1e-6}) {
            const auto frame = RandomFrame(random);
            const StFound found = RidgeOf(MatrixOf({along, -1.0, -1.0 - difference}, frame));
            ASSERT_EQ(found.isRidge, 1.0);
            ASSERT_NEAR(std::abs(Dot(found.direction, frame[0])), 1.0, 1e-12) << along << " " << difference;
        }
    }
}

TEST(Ridges, WithTwoSmallestEigenvaluesArePerpendicularToTheThird) {
    std::mt19937 random(3);
    for (const double difference : {0.0, 1e-14, 1e-10, 1e-7}) {
        const auto frame = RandomFrame(random);
        const StFound found = RidgeOf(MatrixOf({-5.0, -5.0 - difference, -80.0}, frame));
        ASSERT_EQ(found.isRidge, 1.0);
        ASSERT_NEAR(Dot(found.direction, frame[2]), 0.0, 1e-8);
        ASSERT_NEAR(Dot(found.direction, found.direction), 1.0, 1e-12);
    }
    // A bright ball.
    const StFound ball = RidgeOf(Diagonal(-4.0, -4.0, -4.0));
    EXPECT_EQ(ball.isRidge, 1.0);
    EXPECT_NEAR(Dot(ball.direction, ball.direction), 1.0, 1e-12);
    // The two smallest curvatures have the same magnitude and opposite signs.
    const StFound saddle = RidgeOf(Diagonal(3.0, -3.0, -9.0));
    EXPECT_NEAR(saddle.direction[2], 0.0, 1e-12);
}

TEST(Ridges, AreBrightAndNotFlat) {
    EXPECT_EQ(RidgeOf(Diagonal(0.0, -5.0, -6.0)).isRidge, 1.0);
    EXPECT_EQ(RidgeOf(Diagonal(0.0, 5.0, 6.0)).isRidge, 0.0);  // a dark fibre
    EXPECT_EQ(RidgeOf(Diagonal(0.0, 5.0, -6.0)).isRidge, 0.0); // the side of a dark fibre
    EXPECT_EQ(RidgeOf(Diagonal(0.0, -5.0, 6.0)).isRidge, 0.0);
    EXPECT_EQ(RidgeOf(Diagonal(0.0, 0.0, -6.0)).isRidge, 0.0); // a sheet
    EXPECT_EQ(RidgeOf(Diagonal(0.0, -0.0011, -6.0)).isRidge, 1.0);
    EXPECT_EQ(RidgeOf(Diagonal(0.0, -0.0009, -6.0)).isRidge, 0.0);
    EXPECT_EQ(RidgeOf(Diagonal(0.0, -0.0009, -0.0009)).isRidge, 0.0);
    EXPECT_EQ(RidgeOf(Diagonal(0.0, 0.0, 0.0)).isRidge, 0.0);
    EXPECT_EQ(RidgeOf(Diagonal(1e-300, -1e-300, 1e-308)).isRidge, 0.0);
    const StFound none = RidgeOf(Diagonal(1.0, 2.0, 3.0));
    EXPECT_EQ(none.direction, Vector());
}

TEST(Ridges, In2dHaveTheDirectionOfTheSmallestMagnitude) {
    for (int degrees = 0; degrees < 180; ++degrees) {
        const double angle = degrees * std::numbers::pi / 180.0;
        const Vector along{std::cos(angle), std::sin(angle), 0.0};
        const Vector across{-along[1], along[0], 0.0};
        for (const double share : {0.9, 0.2, 0.0, -0.6}) {
            const StFound found = RidgeOf(MatrixOf({share * -7.0, -7.0, 0.0}, {along, across, {0, 0, 1}}), 2);
            ASSERT_EQ(found.isRidge, 1.0);
            ASSERT_NEAR(std::abs(Dot(found.direction, along)), 1.0, 1e-12) << degrees << " " << share;
            ASSERT_EQ(found.direction[2], 0.0);
        }
    }
}

TEST(Ridges, In2dAreBrightAndNotFlat) {
    EXPECT_EQ(RidgeOf(Diagonal(0.0, -5.0, 0.0), 2).isRidge, 1.0);
    EXPECT_EQ(RidgeOf(Diagonal(0.0, 5.0, 0.0), 2).isRidge, 0.0);
    EXPECT_EQ(RidgeOf(Diagonal(6.0, -5.0, 0.0), 2).isRidge, 0.0);
    EXPECT_EQ(RidgeOf(Diagonal(4.0, -5.0, 0.0), 2).isRidge, 1.0);
    EXPECT_EQ(RidgeOf(Diagonal(0.0, -0.0011, 0.0), 2).isRidge, 1.0);
    EXPECT_EQ(RidgeOf(Diagonal(0.0, -0.0009, 0.0), 2).isRidge, 0.0);
    EXPECT_EQ(RidgeOf(Diagonal(0.0, 0.0, 0.0), 2).isRidge, 0.0);
    const StFound spot = RidgeOf(Diagonal(-5.0, -5.0, 0.0), 2);
    EXPECT_EQ(spot.isRidge, 1.0);
    EXPECT_NEAR(Dot(spot.direction, spot.direction), 1.0, 1e-12);
}

TEST(Ridges, AreBitIdenticalForAllVectorInstructions) {
    std::mt19937 random(4);
    std::normal_distribution<double> entry(0.0, 30.0);
    for (std::size_t count = 0; count < 70; ++count) {
        std::vector<Matrix> matrices;
        for (std::size_t i = 0; i < count; ++i) {
            const double xy = entry(random);
            const double xz = i % 7 == 0 ? 0.0 : entry(random);
            const double yz = entry(random);
            matrices.push_back({{{entry(random), xy, xz}, {xy, entry(random), yz}, {xz, yz, entry(random)}}});
        }
        for (const std::size_t dimension : {2U, 3U}) {
            const StRidges expected = RidgesOf(matrices, dimension, EnVectors::BASELINE);
            const auto isSame = [count](const std::vector<double>& a, const std::vector<double>& b) {
                return std::equal(a.begin(), a.begin() + static_cast<std::ptrdiff_t>(count), b.begin());
            };
            for (const EnVectors vectors : UsableVectors()) {
                const StRidges found = RidgesOf(matrices, dimension, vectors);
                ASSERT_TRUE(isSame(found.isRidge, expected.isRidge));
                for (std::size_t axis = 0; axis < 3; ++axis)
                    ASSERT_TRUE(isSame(found.direction[axis], expected.direction[axis]));
            }
        }
    }
}

} // namespace
