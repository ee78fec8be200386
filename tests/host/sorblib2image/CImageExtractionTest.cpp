#include <sorblib2core/CException.h>
#include <sorblib2core/CValueLong.h>
#include <sorblib2image/CImageExtraction.h>

#include "support/CRandomSeeds.h"
#include "support/Raised.h"
#include "support/TestImage.h"

#include <gtest/gtest.h>

#include <limits>
#include <memory>
#include <random>
#include <string>
#include <vector>

using namespace ORVEN;
using test::ImageOf;
using test::PixelsOf;

namespace {

using Byte = unsigned char;
using Bytes = std::vector<Byte>;

constexpr std::int64_t c_greatest = std::numeric_limits<std::int64_t>::max();
const CSize c_noBorder(0, 0, 0);

CRect Rect(const CPos& first, const CPos& last) {
    CRect rect;
    rect.first = first;
    rect.last = last;
    return rect;
}

std::unique_ptr<CImage> Picture() {
    return ImageOf<Byte>(IMAGE_GREY_8, CSize(4, 3),
                         {0, 1, 2, 3, //
                          4, 5, 6, 7, //
                          8, 9, 10, 11});
}

/// A target that shows whether it has been written to.
CImage Marked(const IImage::CType& type, const CSize& size) {
    CImage target(type, size, c_noBorder);
    CImageView<Byte>(target).Row(0, 0)[0] = 99;
    return target;
}

} // namespace

TEST(CImageExtraction, RectCopiesARegion) {
    CImage target(IMAGE_GREY_8, CSize(2, 2), c_noBorder);
    CImageExtraction::Rect(target, *Picture(), Rect(CPos(1, 1), CPos(2, 2)));
    EXPECT_EQ(PixelsOf<Byte>(target), (Bytes{5, 6, 9, 10}));
}

TEST(CImageExtraction, BoxAndRectExpectTheirImagesInReverseOrder) {
    const auto source = Picture();
    CImage byRect(IMAGE_GREY_8, CSize(4, 1), c_noBorder);
    CImage byBox(IMAGE_GREY_8, CSize(4, 1), c_noBorder);
    CImageExtraction::Rect(byRect, *source, Rect(CPos(0, 2), CPos(3, 2)));
    CImageExtraction::Box(*source, byBox, CBox(CPos(0, 2), CPos(3, 2)));
    EXPECT_EQ(PixelsOf<Byte>(byRect), (Bytes{8, 9, 10, 11}));
    EXPECT_EQ(PixelsOf<Byte>(byBox), (Bytes{8, 9, 10, 11}));
    EXPECT_EQ(PixelsOf<Byte>(*source), PixelsOf<Byte>(*Picture()));
}

TEST(CImageExtraction, CopiesPartOfALine) {
    CSize six(6, 0, 0);
    six.SetDim(1);
    CSize two(2, 0, 0);
    two.SetDim(1);
    const auto source = ImageOf<Byte>(IMAGE_GREY_8, six, {0, 1, 2, 3, 4, 5});
    CImage target(IMAGE_GREY_8, two, c_noBorder);
    CBox box(CPos(3, 0), CPos(4, 0));
    box.first.SetDim(1);
    box.last.SetDim(1);
    CImageExtraction::Box(*source, target, box);
    EXPECT_EQ(PixelsOf<Byte>(target), (Bytes{3, 4}));
}

TEST(CImageExtraction, BoxCopiesEveryPixelOfRandomBoxes) {
    const CSize size(7, 6, 5);
    CImage source(IMAGE_GREY_F, size, CSize(1, 2, 1));
    const CImageView<float> pixels(source);
    for (std::int64_t z = 0; z < size.z; ++z) {
        for (std::int64_t y = 0; y < size.y; ++y) {
            for (std::int64_t x = 0; x < size.x; ++x)
                pixels.Row(y, z)[x] = static_cast<float>(x + 10 * y + 100 * z);
        }
    }
    for (const unsigned seed : test::CRandomSeeds(0, 200)) {
        std::mt19937 random(seed);
        CBox box;
        for (int axis = 0; axis < 3; ++axis) {
            box.first[axis] = std::uniform_int_distribution<std::int64_t>(0, size[axis] - 1)(random);
            box.last[axis] =
                std::uniform_int_distribution<std::int64_t>(box.first[axis], size[axis] - 1)(random);
        }
        SCOPED_TRACE(box.first.ToString() + box.last.ToString());
        CImage target(IMAGE_GREY_F, box.Size(), CSize(2, 0, 1));
        CImageExtraction::Box(source, target, box);
        std::vector<float> expected;
        for (std::int64_t z = box.first.z; z <= box.last.z; ++z) {
            for (std::int64_t y = box.first.y; y <= box.last.y; ++y) {
                for (std::int64_t x = box.first.x; x <= box.last.x; ++x)
                    expected.push_back(static_cast<float>(x + 10 * y + 100 * z));
            }
        }
        EXPECT_EQ(PixelsOf<float>(target), expected);
    }
}

TEST(CImageExtraction, DoesNotCopyAttributes) {
    const auto source = Picture();
    source->Attributes().SetEntry("source", new CValueLong(1));
    CImage target(IMAGE_GREY_8, CSize(1, 1), c_noBorder);
    target.Attributes().SetEntry("target", new CValueLong(1));
    CImageExtraction::Rect(target, *source, Rect(CPos(0, 0), CPos(0, 0)));
    EXPECT_TRUE(target.Attributes().HasEntry("target"));
    EXPECT_FALSE(target.Attributes().HasEntry("source"));
}

TEST(CImageExtraction, BoxThatLeavesTheImageRaisesAndNamesBoxAndImageSize) {
    const CImage source(IMAGE_GREY_8, CSize(4, 3, 2), c_noBorder);
    CImage target = Marked(IMAGE_GREY_8, CSize(2, 2, 2));
    const auto raised = test::Raised<CException>(
        [&] { CImageExtraction::Box(source, target, CBox(CPos(1, 1, 1), CPos(2, 2, 2))); });
    EXPECT_STREQ(raised.Message(), "The region from (1,1,1) to (2,2,2) leaves the image of size (4,3,2).");
    EXPECT_STREQ(raised.Source(), "CImageExtraction::Box");
    EXPECT_EQ(PixelsOf<Byte>(target)[0], 99);
}

TEST(CImageExtraction, RectThatLeavesTheImageRaisesAndNamesRectAndImageSize) {
    CImage target = Marked(IMAGE_GREY_8, CSize(2, 2));
    const auto raised = test::Raised<CException>(
        [&] { CImageExtraction::Rect(target, *Picture(), Rect(CPos(3, 0), CPos(4, 1))); });
    EXPECT_STREQ(raised.Message(), "The region from (3,0) to (4,1) leaves the image of size (4,3).");
    EXPECT_STREQ(raised.Source(), "CImageExtraction::Rect");
    EXPECT_EQ(PixelsOf<Byte>(target)[0], 99);
}

TEST(CImageExtraction, RefusesEveryRegionThatIsNotInside) {
    const CImage source(IMAGE_GREY_8, CSize(4, 3, 2), c_noBorder);
    for (const CBox& box :
         {CBox(CPos(-1, 0, 0), CPos(0, 1, 1)), CBox(CPos(0, 0, 0), CPos(4, 1, 1)),
          CBox(CPos(0, 0, -1), CPos(1, 1, 0)), CBox(CPos(2, 0, 0), CPos(1, 1, 1)),
          CBox(CPos(0, 0), CPos(1, 1)), CBox(CPos(0, 0, 0), CPos(1, 1)),
          CBox(CPos(-1, 0, 0), CPos(c_greatest, 1, 1)), CBox(CPos(0, 0, 0), CPos(c_greatest, 1, 1)),
          CBox(CPos(c_greatest, 0, 0), CPos(-2, 1, 1))}) {
        SCOPED_TRACE(box.first.ToString() + box.last.ToString());
        CImage target = Marked(IMAGE_GREY_8, CSize(2, 2, 2));
        const auto raised = test::Raised<CException>([&] { CImageExtraction::Box(source, target, box); });
        EXPECT_NE(std::string(raised.Message()).find(" leaves the image of size (4,3,2)."),
                  std::string::npos);
        EXPECT_EQ(PixelsOf<Byte>(target), (Bytes{99, 0, 0, 0, 0, 0, 0, 0}));
    }
}

TEST(CImageExtraction, RefusesATargetOfAnotherSizeOrType) {
    const auto source = Picture();
    const auto messageFor = [&](CImage target) {
        const auto raised = test::Raised<CException>(
            [&] { CImageExtraction::Rect(target, *source, Rect(CPos(0, 0), CPos(1, 1))); });
        EXPECT_EQ(CImageView<const Byte>(target).Row(0, 0)[0], 99);
        return std::string(raised.Message());
    };
    EXPECT_EQ(
        messageFor(Marked(IMAGE_GREY_8, CSize(3, 2))),
        "A target of type IMAGE_GREY_8 and size (3,2) cannot take a region of type IMAGE_GREY_8 and size "
        "(2,2).");
    EXPECT_EQ(
        messageFor(Marked(IMAGE_BINARY_FG, CSize(2, 2))),
        "A target of type IMAGE_BINARY_FG and size (2,2) cannot take a region of type IMAGE_GREY_8 and size "
        "(2,2).");
}
