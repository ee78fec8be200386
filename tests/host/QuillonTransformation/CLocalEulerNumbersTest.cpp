#include "support/CRandomSeeds.h"
#include "support/Raised.h"
#include "support/TestImage.h"

#include <QuillonTransformation/CLocalEulerNumbers.h>
#include <QuillonTransformation/CSkeletonHelper.h>
#include <sorblib2core/CExBadParam.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <vector>

namespace {

using namespace ORVEN;

constexpr std::array c_codes{12, 15, 18, 21};

/// The definition, pixel by pixel.
std::vector<float> FiguresByHelper(int code, const IImage& image) {
    CSkeletonHelper helper(image);
    helper._ecoeff(helper.m_eulerCoefficients.data(), code, false);
    const CImageView<const unsigned char> pixels(image);
    std::vector<float> figures;
    for (std::int64_t z = 0; z < pixels.nz; ++z) {
        for (std::int64_t y = 0; y < pixels.ny; ++y) {
            for (std::int64_t x = 0; x < pixels.nx; ++x) {
                helper.createCube({x, y, z}, 1, 0);
                figures.push_back(static_cast<float>(helper.EulerNumber()));
            }
        }
    }
    return figures;
}

std::vector<float> Figures(int code, const IImage& image) {
    CImage figures(IMAGE_GREY_F, image.Size(), CSize(0, 0, 0));
    const auto range = CLocalEulerNumbers(code).Calculate(figures, image);
    const auto values = test::PixelsOf<float>(figures);
    if (!values.empty()) {
        EXPECT_EQ(static_cast<float>(range.least), *std::ranges::min_element(values));
        EXPECT_EQ(static_cast<float>(range.greatest), *std::ranges::max_element(values));
    }
    return values;
}

TEST(LocalEulerNumbers, AreThoseOfTheHelperInImagesOfAnyShapeAndDensity) {
    const std::vector<CSize> sizes{CSize(1, 1, 1), CSize(1, 1, 9), CSize(1, 9, 1), CSize(9, 1, 1),
                                   CSize(2, 2, 2), CSize(1, 7, 8), CSize(3, 1, 5), CSize(33, 5, 2),
                                   CSize(8, 9, 7), CSize(17, 12),  CSize(1, 1)};
    for (const unsigned seed : test::CRandomSeeds(0, 9)) {
        for (const CSize& size : sizes) {
            SCOPED_TRACE(size.ToString() + " seed " + std::to_string(seed));
            std::mt19937 random(seed);
            std::vector<unsigned char> pixels(static_cast<std::size_t>(size.PixelCount()));
            for (unsigned char& pixel : pixels)
                pixel = random() % 10 > seed ? 1 : 0;
            const auto image = test::ImageOf(IMAGE_BINARY_FG, size, pixels);
            for (const int code : c_codes)
                ASSERT_EQ(Figures(code, *image), FiguresByHelper(code, *image)) << code;
        }
    }
}

TEST(LocalEulerNumbers, TakeEveryByteBut0ForForeground) {
    std::mt19937 random(3);
    std::vector<unsigned char> bytes(6 * 7 * 5);
    for (unsigned char& byte : bytes)
        byte = static_cast<unsigned char>(random() % 2 * (random() % 256));
    std::vector<unsigned char> bits = bytes;
    for (unsigned char& bit : bits)
        bit = bit != 0 ? 1 : 0;
    const auto image = test::ImageOf(IMAGE_BINARY_FG, CSize(6, 7, 5), bytes);
    const auto binary = test::ImageOf(IMAGE_BINARY_FG, CSize(6, 7, 5), bits);
    for (const int code : c_codes) {
        EXPECT_EQ(Figures(code, *image), FiguresByHelper(code, *image));
        EXPECT_EQ(Figures(code, *image), Figures(code, *binary));
    }
}

TEST(LocalEulerNumbers, OfAPixelAre1AroundIt) {
    std::vector<unsigned char> pixels(125, 0);
    pixels[62] = 1;
    const auto image = test::ImageOf(IMAGE_BINARY_FG, CSize(5, 5, 5), pixels);
    for (const int code : c_codes) {
        const auto figures = Figures(code, *image);
        for (std::size_t index = 0; index < 125; ++index) {
            const auto isNear = [](std::size_t coordinate) { return coordinate >= 1 && coordinate <= 3; };
            const bool isAround = isNear(index % 5) && isNear(index / 5 % 5) && isNear(index / 25);
            EXPECT_EQ(figures[index], isAround ? 1.0F : 0.0F);
        }
    }
}

TEST(LocalEulerNumbers, ReadAnImageWithABorderOfItsOwnMemory) {
    CImage image(IMAGE_BINARY_FG, CSize(5, 4, 3), CSize(3, 2, 1));
    const CImageView<unsigned char> pixels(image);
    for (std::int64_t z = 0; z < 3; ++z) {
        for (std::int64_t y = 0; y < 4; ++y)
            std::fill_n(pixels.Row(y, z) - 3, 5 + 2 * 3, static_cast<unsigned char>(1)); // the border as well
    }
    const auto plain = test::ImageOf(IMAGE_BINARY_FG, CSize(5, 4, 3), std::vector<unsigned char>(60, 1));
    for (const int code : c_codes)
        EXPECT_EQ(Figures(code, image), Figures(code, *plain));
}

TEST(LocalEulerNumbers, OfNoPixelsHaveNoRange) {
    for (const CSize& size : {CSize(0, 3, 3), CSize(3, 0, 3), CSize(3, 3, 0)}) {
        const CImage image(IMAGE_BINARY_FG, size, CSize(0, 0, 0));
        CImage figures(IMAGE_GREY_F, size, CSize(0, 0, 0));
        const auto range = CLocalEulerNumbers(12).Calculate(figures, image);
        EXPECT_GT(range.least, range.greatest);
    }
}

TEST(LocalEulerNumbers, RefuseAnUnknownCodeOtherSizesAndOtherTypes) {
    EXPECT_EQ(std::string(test::Raised<CExBadParam>([] { CLocalEulerNumbers(6); }).Message()),
              "Unknown Euler code '6'.");
    const CLocalEulerNumbers numbers(12);
    const CImage image(IMAGE_BINARY_FG, CSize(3, 3, 3), CSize(0, 0, 0));
    CImage smaller(IMAGE_GREY_F, CSize(3, 3, 2), CSize(0, 0, 0));
    const auto raised = test::Raised<CExBadParam>([&] { (void)numbers.Calculate(smaller, image); });
    EXPECT_STREQ(raised.Message(), "Result of size (3,3,2) does not fit the image of size (3,3,3).");
    CImage bytes(IMAGE_GREY_8, CSize(3, 3, 3), CSize(0, 0, 0));
    EXPECT_THROW((void)numbers.Calculate(bytes, image), CExBadParam);
    CImage floats(IMAGE_GREY_F, CSize(3, 3, 3), CSize(0, 0, 0));
    EXPECT_THROW((void)numbers.Calculate(floats, floats), CExBadParam);
}

} // namespace
