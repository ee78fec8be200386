#include "utils/visitors/PointOperationCopy.h"

#include "support/TestImage.h"
#include "support/TraversalTools.h"

#include <gtest/gtest.h>

#include <limits>

using namespace ORVEN;
using test::Traverse;

namespace {

template <class T>
void ExpectCopied(const IImage::CType& type, const std::vector<T>& pixels) {
    const auto source = test::ImageOf<T>(type, CSize(static_cast<std::int64_t>(pixels.size()), 1), pixels);
    const auto target = test::ImageOf<T>(type, source->Size(), {});
    visitors::CCopy<T> copy;
    EXPECT_TRUE(Traverse(copy, *target, *source));
    EXPECT_EQ(test::PixelsOf<T>(*target), pixels);
}

template <class T>
std::vector<T> CastInto(const IImage::CType& type, T lower, T upper,
                        const std::vector<unsigned int>& pixels) {
    const CSize size(static_cast<std::int64_t>(pixels.size()), 1);
    const auto source = test::ImageOf<unsigned int>(IMAGE_GREY_32, size, pixels);
    const auto target = test::ImageOf<T>(type, size, {});
    visitors::CCast<T, unsigned int> cast(lower, upper);
    EXPECT_TRUE(Traverse(cast, *target, *source));
    return test::PixelsOf<T>(*target);
}

} // namespace

TEST(CCopy, CopiesEachPixelType) {
    ExpectCopied<unsigned char>(IMAGE_GREY_8, {0, 1, 255});
    ExpectCopied<unsigned char>(IMAGE_BINARY_FG, {0, 1, 1});
    ExpectCopied<unsigned short>(IMAGE_GREY_16, {0, 1, 65535});
    ExpectCopied<unsigned int>(IMAGE_GREY_32, {0, 1, 0xFFFFFFFF});
    ExpectCopied<float>(IMAGE_GREY_F, {0, -1.5F, std::numeric_limits<float>::infinity()});
}

TEST(CCast, Turns300Into255WithBoundsOfAByte) {
    EXPECT_EQ(CastInto<unsigned char>(IMAGE_GREY_8, 0, 255, {300}), (std::vector<unsigned char>{255}));
}

TEST(CCast, CutsOffAtBothBounds) {
    EXPECT_EQ(CastInto<unsigned char>(IMAGE_GREY_8, 10, 20, {0, 9, 10, 15, 20, 21, 0xFFFFFFFF}),
              (std::vector<unsigned char>{10, 10, 10, 15, 20, 20, 20}));
    EXPECT_EQ(CastInto<unsigned short>(IMAGE_GREY_16, 0, 65535, {0, 65535, 65536, 0xFFFFFFFF}),
              (std::vector<unsigned short>{0, 65535, 65535, 65535}));
}

TEST(CInitializer, FillsTheImage) {
    const auto image = test::ImageOf<unsigned int>(IMAGE_GREY_32, CSize(3, 2, 2), {1, 2, 3});
    visitors::CInitializer<unsigned int> fill(0xFFFFFFFF);
    EXPECT_TRUE(Traverse(fill, *image));
    EXPECT_EQ(test::PixelsOf<unsigned int>(*image), std::vector<unsigned int>(12, 0xFFFFFFFF));
}
