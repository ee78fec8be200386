#include "engine/run/ImageDifference.h"

#include "engine/run/StRunEntry.h"
#include "support/TestImage.h"

#include <sorblib2core/CValueDouble.h>
#include <sorblib2core/CValueLong.h>
#include <sorblib2image/CQuillonHeaderTools.h>

#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <string>

using namespace engine;
using namespace ORVEN;

namespace {

std::string Difference(const CImage& a, const CImage& b) {
    return FirstDifference(a, "'a'", b, "the other").value_or("none");
}

std::unique_ptr<CImage> Grey(const std::vector<std::uint8_t>& pixels) {
    return test::ImageOf<std::uint8_t>(IMAGE_GREY_8, {2, 2, 2}, pixels);
}

} // namespace

TEST(ImageDifference, IsNoneForEqualImages) {
    const auto a = Grey({1, 2, 3, 4, 5, 6, 7, 8});
    const auto b = Grey({1, 2, 3, 4, 5, 6, 7, 8});
    EXPECT_EQ(Difference(*a, *b), "none");
    StRunEntry run;
    run.plugin = "Median";
    StoreRuns(*a, {run});
    EXPECT_EQ(Difference(*a, *b), "none") << "the record of runs holds the time";
}

TEST(ImageDifference, NamesTheFirstPixelWithBothValues) {
    EXPECT_EQ(Difference(*Grey({1, 2, 3, 4, 5, 6, 7, 8}), *Grey({1, 2, 3, 4, 5, 9, 7, 9})),
              "the pixel at (1, 0, 1) is 6 in 'a' and 9 in the other");
    const float next = std::nextafter(1.5f, 2.0f);
    EXPECT_EQ(Difference(*test::ImageOf<float>(IMAGE_GREY_F, {2, 1}, {0, 1.5f}),
                         *test::ImageOf<float>(IMAGE_GREY_F, {2, 1}, {0, next})),
              "the pixel at (1, 0) is 1.5 in 'a' and 1.50000012 in the other");
}

TEST(ImageDifference, ComparesBits) {
    EXPECT_EQ(Difference(*test::ImageOf<float>(IMAGE_GREY_F, {2, 1}, {0.0f, NAN}),
                         *test::ImageOf<float>(IMAGE_GREY_F, {2, 1}, {-0.0f, NAN})),
              "the pixel at (0, 0) is 0 in 'a' and -0 in the other");
    EXPECT_EQ(Difference(*test::ImageOf<float>(IMAGE_GREY_F, {1, 1}, {NAN}),
                         *test::ImageOf<float>(IMAGE_GREY_F, {1, 1}, {NAN})),
              "none");
}

TEST(ImageDifference, NamesTypeAndSize) {
    EXPECT_EQ(Difference(*Grey({}), *test::ImageOf<std::uint8_t>(IMAGE_BINARY_FG, {2, 2, 2}, {})),
              "the pixel type is grey8 in 'a' and binary in the other");
    EXPECT_EQ(Difference(*Grey({}), *test::ImageOf<std::uint8_t>(IMAGE_GREY_8, {2, 2}, {})),
              "the size is 2 x 2 x 2 in 'a' and 2 x 2 in the other");
}

TEST(ImageDifference, NamesTheAttributeByItsPath) {
    const auto a = Grey({});
    const auto b = Grey({});
    a->Attributes().SetEntry("features/size/mean", new CValueDouble(1.5));
    b->Attributes().SetEntry("features/size/mean", new CValueDouble(2.5));
    EXPECT_EQ(Difference(*a, *b), "the attribute features/size/mean is 1.5 in 'a' and 2.5 in the other");
    b->Attributes().SetEntry("features/size/mean", new CValueDouble(1.5));
    CQuillonHeaderTools::AddToHistory(*b, "one()", 0);
    EXPECT_EQ(Difference(*a, *b), "the attribute history is missing in 'a' and [\"one()\"] in the other");
    EXPECT_EQ(Difference(*b, *a), "the attribute history is [\"one()\"] in 'a' and missing in the other");
    CQuillonHeaderTools::AddToHistory(*a, "one()", 0);
    CQuillonHeaderTools::AddToHistory(*a, "two()", 0);
    EXPECT_EQ(Difference(*a, *b), "the attribute history/1 is \"two()\" in 'a' and missing in the other");
}
