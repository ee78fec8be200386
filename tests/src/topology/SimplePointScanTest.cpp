#include "topology/SimplePointScan.h"
#include "src/topology/TopologyTools.h"
#include "support/CRandomSeeds.h"
#include "support/TestImage.h"
#include "topology/CBitPlane.h"

#include <gtest/gtest.h>

#include <random>
#include <vector>

namespace {

using namespace ORVEN;
using Bytes = std::vector<unsigned char>;

/// What the scan makes of an image that is given as result.
template <class N>
Bytes Scan(const CImage& image, const Bytes& result) {
    const auto marked = test::ImageOf(IMAGE_GREY_8, image.Size(), result);
    quillon::MarkSimplePoints<N>(image, *marked);
    return test::PixelsOf<unsigned char>(*marked);
}

template <class N>
Bytes ScanByDefinition(const CImage& image, Bytes result) {
    CSkeletonHelper helper(image);
    helper._ecoeff(helper.m_eulerCoefficients.data(), quillon::StAdjacency<N>::eulerCode, false);
    const CImageView<const unsigned char> pixels(image);
    auto pixel = result.begin();
    for (std::int64_t z = 0; z < pixels.nz; ++z) {
        for (std::int64_t y = 0; y < pixels.ny; ++y) {
            for (std::int64_t x = 0; x < pixels.nx; ++x, ++pixel) {
                if (*pixel == 1 && quillon::IsMarkedPoint<N>(helper, {x, y, z}))
                    *pixel = 255;
            }
        }
    }
    return result;
}

void ExpectDefinition(const CImage& image, const Bytes& result) {
    test::ForEachNeighborhood([&]<class N>(std::type_identity<N>) {
        ASSERT_EQ(Scan<N>(image, result), ScanByDefinition<N>(image, result)) << N::id;
    });
}

/// Bytes that are 0 but for some in ten, and of those that are not, one in `otherRate` is not 1 either.
Bytes RandomBytes(const CSize& size, std::uint32_t tenths, std::uint32_t otherRate, std::mt19937& random) {
    Bytes bytes(static_cast<std::size_t>(size.PixelCount()));
    for (unsigned char& byte : bytes) {
        if (random() % 10 < tenths)
            byte = otherRate != 0 && random() % otherRate == 0 ? static_cast<unsigned char>(random()) : 1;
    }
    return bytes;
}

TEST(SimplePointScan, AgreesWithTheDefinitionInImagesOfAnyShapeAndDensity) {
    // Rows of less than a word, of one, of a bit more or less, and of several.
    const std::vector<CSize> sizes{CSize(1, 1, 1),   CSize(1, 1, 9),   CSize(1, 9, 1),  CSize(9, 1, 1),
                                   CSize(1, 6, 5),   CSize(5, 1, 6),   CSize(6, 5, 1),  CSize(7, 6, 5),
                                   CSize(63, 3, 3),  CSize(64, 3, 3),  CSize(65, 3, 3), CSize(127, 2, 3),
                                   CSize(128, 3, 2), CSize(129, 3, 2), CSize(15, 9),    CSize(200, 2, 2)};
    for (std::uint32_t tenths = 1; tenths <= 10; tenths += 3) {
        for (const CSize& size : sizes) {
            SCOPED_TRACE(size.ToString() + " seed " + std::to_string(tenths));
            std::mt19937 random(tenths);
            const Bytes bytes = RandomBytes(size, tenths, 0, random);
            ExpectDefinition(*test::ImageOf(IMAGE_BINARY_FG, size, bytes), bytes);
        }
    }
}

TEST(SimplePointScan, TreatsEveryByteBut0AsForegroundAndTestsOnesOnly) {
    const CSize size(70, 6, 5);
    for (const unsigned seed : test::CRandomSeeds(0, 3)) {
        std::mt19937 random(seed);
        const Bytes bytes = RandomBytes(size, 6, 2, random);
        ExpectDefinition(*test::ImageOf(IMAGE_BINARY_FG, size, bytes), bytes);
    }
}

TEST(SimplePointScan, TestsThePixelsThatAreOneInTheResult) {
    const CSize size(20, 7, 6);
    std::mt19937 random(5);
    const Bytes bytes = RandomBytes(size, 5, 0, random);
    // As after a copy that was cancelled, and with pixels that were marked before.
    Bytes result = bytes;
    std::fill(result.begin() + 500, result.end(), static_cast<unsigned char>(0));
    for (std::size_t i = 0; i < result.size(); i += 7)
        result[i] = 255;
    ExpectDefinition(*test::ImageOf(IMAGE_BINARY_FG, size, bytes), result);
}

TEST(SimplePointScan, OfManyWordsWithoutForegroundFindsThePixelsBetweenThem) {
    const CSize size(300, 40, 3);
    Bytes bytes(static_cast<std::size_t>(size.PixelCount()), 0);
    for (const std::size_t at : {0U, 299U, 18'000U, 18'001U, 24'123U, 35'998U, 35'999U})
        bytes[at] = 1;
    ExpectDefinition(*test::ImageOf(IMAGE_BINARY_FG, size, bytes), bytes);
}

TEST(SimplePointScan, ReadsAnImageWithABorderOfItsOwnMemory) {
    CImage image(IMAGE_BINARY_FG, CSize(9, 5, 4), CSize(4, 2, 1));
    const CImageView<unsigned char> pixels(image);
    for (std::int64_t z = -1; z <= 4; ++z) {
        for (std::int64_t y = -2; y < 7; ++y)
            std::fill_n(pixels.Row(y, z) - 4, 9 + 2 * 4, static_cast<unsigned char>(1));
    }
    ExpectDefinition(image, Bytes(180, 1));
}

TEST(SimplePointScan, OfNoPixelsDoesNothing) {
    for (const CSize& size : {CSize(0, 3, 3), CSize(3, 0, 3), CSize(3, 3, 0)}) {
        const CImage image(IMAGE_BINARY_FG, size, CSize(0, 0, 0));
        CImage result(IMAGE_GREY_8, size, CSize(0, 0, 0));
        EXPECT_NO_THROW(quillon::MarkSimplePoints<CNeighborhood3dDiffN6>(image, result));
    }
}

TEST(BitPlane, HoldsABitAPixelAndNothingBesideThem) {
    for (const std::int64_t width : {1, 8, 62, 63, 64, 65, 71, 128, 130}) {
        SCOPED_TRACE(width);
        const CSize size(width, 3, 2);
        std::mt19937 random(7);
        const Bytes bytes = RandomBytes(size, 5, 2, random);
        const auto image = test::ImageOf(IMAGE_BINARY_FG, size, bytes);
        const CImageView<const unsigned char> pixels(*image);
        quillon::CBitPlane nonZero(width, 3);
        quillon::CBitPlane ones(width, 3);
        nonZero.TakeNonZero(pixels, 1);
        ones.TakeOnes(CImageView<unsigned char>(*image), 1);
        for (std::int64_t y = -1; y <= 3; ++y) {
            const auto row = static_cast<std::ptrdiff_t>(nonZero.RowWords()) * y;
            for (std::int64_t x = -1; x <= width; ++x) {
                const bool isInside = x >= 0 && x < width && y >= 0 && y < 3;
                const unsigned char pixel = isInside ? pixels.Row(y, 1)[x] : 0;
                const auto bitOf = [&](const quillon::CBitPlane& plane) {
                    const std::uint64_t word = x < 0 ? plane.Words()[row - 1] : plane.Words()[row + x / 64];
                    return (word >> (x & 63) & 1) != 0;
                };
                EXPECT_EQ(bitOf(nonZero), pixel != 0);
                EXPECT_EQ(bitOf(ones), pixel == 1);
            }
        }
        nonZero.Clear();
        EXPECT_EQ(nonZero.Words()[0], 0U);
    }
}

} // namespace
