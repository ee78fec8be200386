#include <QuillonFilterOrientations/CHessianRows.h>

#include "support/TestImage.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace {

using namespace ORVEN;
using namespace ORVEN::Impl;

std::vector<EnVectors> UsableVectors() {
    std::vector<EnVectors> usable{EnVectors::BASELINE};
    for (const EnVectors vectors : {EnVectors::AVX2, EnVectors::AVX512}) {
        if (vectors <= BestVectors())
            usable.push_back(vectors);
    }
    return usable;
}

std::vector<StDerivativeTaps> TapsOf(const IImage& image, const std::array<double, 3>& sigma) {
    std::vector<StDerivativeTaps> taps;
    for (int axis = 0; axis < image.Size().Dim(); ++axis)
        taps.emplace_back(sigma[static_cast<std::size_t>(axis)], image.Size()[axis]);
    return taps;
}

/// All matrices of an image, or those of the pixels whose x is a multiple of `step`.
SymmetricMatrices MatricesOf(const IImage& image, const std::array<double, 3>& sigma, EnVectors vectors,
                             std::int64_t step = 1) {
    const CImageView<const unsigned char> view(image);
    const auto taps = TapsOf(image, sigma);
    CHessianRows rows(view, taps, vectors);
    std::vector<std::int64_t> xs;
    for (std::int64_t x = 0; x < view.nx; x += step)
        xs.push_back(x);
    SymmetricMatrices all;
    SymmetricMatrices row;
    for (std::int64_t z = 0; z < view.nz; ++z) {
        rows.StartPlane(z);
        for (std::int64_t y = 0; y < view.ny; y += step) {
            rows.Find(y, xs, row);
            for (std::size_t place = 0; place < all.size(); ++place)
                all[place].insert(all[place].end(), row[place].begin(), row[place].end());
        }
    }
    return all;
}

/// One entry computed by definition, with sufficiently long taps.
double EntryByDefinition(const CImageView<const unsigned char>& view, const std::array<double, 3>& sigma,
                         const std::array<std::size_t, 3>& orders, const std::array<std::int64_t, 3>& at) {
    const std::array extents{view.nx, view.ny, view.nz};
    std::array<StDerivativeTaps, 3> taps{StDerivativeTaps(sigma[0], 1000), StDerivativeTaps(sigma[1], 1000),
                                         StDerivativeTaps(sigma[2], 1000)};
    const auto tap = [&](std::size_t axis, std::int64_t k) {
        const double value = taps[axis].taps[orders[axis]][static_cast<std::size_t>(std::abs(k))];
        return orders[axis] == 1 && k < 0 ? -value : value;
    };
    const auto inside = [&](std::size_t axis, std::int64_t k) {
        return std::clamp<std::int64_t>(at[axis] + k, 0, extents[axis] - 1);
    };
    double sum = 0.0;
    for (std::int64_t k = -taps[2].radius; k <= taps[2].radius; ++k) {
        for (std::int64_t j = -taps[1].radius; j <= taps[1].radius; ++j) {
            const unsigned char* const row = view.Row(inside(1, j), inside(2, k));
            double rowSum = 0.0;
            for (std::int64_t i = -taps[0].radius; i <= taps[0].radius; ++i)
                rowSum += tap(0, i) * row[inside(0, i)];
            sum += rowSum * tap(1, j) * tap(2, k);
        }
    }
    return sum;
}

TEST(HessianRows, EqualTheDefinitionAtEachPixelOfAVolume) {
    std::mt19937 random(3);
    for (const CSize& size : {CSize(13, 6, 5), CSize(1, 1, 1), CSize(3, 17, 2), CSize(9, 2, 8)}) {
        const auto image = test::RandomImage<unsigned char>(IMAGE_GREY_8, size, random, 0, 255.9);
        const std::array<double, 3> sigma{1.25, 1.5, 2.25};
        const SymmetricMatrices matrices = MatricesOf(*image, sigma, BestVectors());
        const CImageView<const unsigned char> view(*image);
        std::size_t i = 0;
        for (std::int64_t z = 0; z < size.z; ++z) {
            for (std::int64_t y = 0; y < size.y; ++y) {
                for (std::int64_t x = 0; x < size.x; ++x, ++i) {
                    const auto expect = [&](EnMatrixPlace place, const std::array<std::size_t, 3>& orders) {
                        ASSERT_NEAR(matrices[place][i], EntryByDefinition(view, sigma, orders, {x, y, z}),
                                    1e-9)
                            << place << " at " << CPos(x, y, z).ToString();
                    };
                    expect(XX, {2, 0, 0});
                    expect(YY, {0, 2, 0});
                    expect(ZZ, {0, 0, 2});
                    expect(XY, {1, 1, 0});
                    expect(XZ, {1, 0, 1});
                    expect(YZ, {0, 1, 1});
                }
            }
        }
    }
}

TEST(HessianRows, OfAPlaneHaveNoZ) {
    std::mt19937 random(4);
    const auto image = test::RandomImage<unsigned char>(IMAGE_GREY_8, CSize(21, 18), random, 0, 255.9);
    const auto sheet = test::ImageOf(IMAGE_GREY_8, CSize(21, 18, 1), test::PixelsOf<unsigned char>(*image));
    const SymmetricMatrices flat = MatricesOf(*image, {1.25, 2.0, 0.0}, BestVectors());
    const SymmetricMatrices deep = MatricesOf(*sheet, {1.25, 2.0, 1.25}, BestVectors());
    for (const EnMatrixPlace place : {XX, YY, XY}) {
        for (std::size_t i = 0; i < flat[place].size(); ++i)
            ASSERT_NEAR(flat[place][i], deep[place][i], 1e-10);
    }
}

TEST(HessianRows, OfAParabolaAreItsCoefficients) {
    // 2 x^2 + x y + 3 y around the centre, far from any influence of the borders.
    std::vector<unsigned char> pixels;
    for (std::int64_t y = -15; y <= 15; ++y) {
        for (std::int64_t x = -15; x <= 15; ++x)
            pixels.push_back(static_cast<unsigned char>(
                std::abs(x) < 6 && std::abs(y) < 6 ? 2 * x * x + x * y + 3 * y + 60 : 0));
    }
    const auto image = test::ImageOf(IMAGE_GREY_8, CSize(31, 31), pixels);
    // Taps of 5 pixels that are exact for parabolas: truncated there, they are equally good.
    std::vector<StDerivativeTaps> taps(2, StDerivativeTaps(1.0, 1000));
    ASSERT_EQ(taps[0].radius, 5);
    const CImageView<const unsigned char> view(*image);
    CHessianRows rows(view, taps, BestVectors());
    rows.StartPlane(0);
    SymmetricMatrices matrices;
    const std::vector<std::int64_t> middle{15};
    rows.Find(15, middle, matrices);
    EXPECT_NEAR(matrices[XX][0], 4.0, 1e-10);
    EXPECT_NEAR(matrices[XY][0], 1.0, 1e-10);
    EXPECT_NEAR(matrices[YY][0], 0.0, 1e-10);
}

TEST(HessianRows, AreBitIdenticalForAllVectorInstructions) {
    std::mt19937 random(5);
    for (std::int64_t nx = 1; nx <= 35; ++nx) {
        const auto image = test::RandomImage<unsigned char>(IMAGE_GREY_8, CSize(nx, 5, 3), random, 0, 255.9);
        const SymmetricMatrices expected = MatricesOf(*image, {1.25, 1.25, 1.75}, EnVectors::BASELINE);
        for (const EnVectors vectors : UsableVectors())
            ASSERT_EQ(MatricesOf(*image, {1.25, 1.25, 1.75}, vectors), expected) << nx;
    }
}

TEST(HessianRows, DoNotDependOnTheOtherPixelsRequested) {
    std::mt19937 random(6);
    const CSize size(40, 33, 2);
    const auto image = test::RandomImage<unsigned char>(IMAGE_GREY_8, size, random, 0, 255.9);
    const SymmetricMatrices all = MatricesOf(*image, {1.25, 1.25, 1.25}, BestVectors());
    for (const std::int64_t step : {3, 13}) {
        const SymmetricMatrices some = MatricesOf(*image, {1.25, 1.25, 1.25}, BestVectors(), step);
        std::size_t i = 0;
        for (std::int64_t z = 0; z < size.z; ++z) {
            for (std::int64_t y = 0; y < size.y; y += step) {
                for (std::int64_t x = 0; x < size.x; x += step, ++i) {
                    const auto pixel = static_cast<std::size_t>((z * size.y + y) * size.x + x);
                    for (std::size_t place = 0; place < all.size(); ++place)
                        ASSERT_EQ(some[place][i], all[place][pixel]);
                }
            }
        }
    }
}

} // namespace
