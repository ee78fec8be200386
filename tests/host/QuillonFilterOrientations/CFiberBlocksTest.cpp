#include <QuillonFilterOrientations/CFiberBlocks.h>
#include <QuillonFilterOrientations/CSubfieldFiberDirections.h>

#include "support/CRandomSeeds.h"
#include "support/Raised.h"
#include "support/TestImage.h"

#include <sorblib2core/CExBadParam.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <string>

namespace {

using namespace ORVEN;
using test::ImageOf;

constexpr std::int64_t c_edge = 26;
constexpr std::array<double, 3> c_spacing{1.0, 1.0, 1.0};

/// The planes from `first` to before `end` of pixels in raster order.
template <class T>
std::unique_ptr<CImage> Planes(const IImage::CType& type, const std::vector<T>& pixels, std::int64_t first,
                               std::int64_t end) {
    const auto plane = c_edge * c_edge;
    return ImageOf<T>(type, {c_edge, c_edge, end - first},
                      {pixels.begin() + first * plane, pixels.begin() + end * plane});
}

} // namespace

TEST(FiberBlocks, AddUpToTheMeasurementOfTheWholeImage) {
    for (const unsigned seed : test::CRandomSeeds(1, 4)) {
        std::mt19937 random(seed);
        std::vector<unsigned char> pixels(static_cast<std::size_t>(c_edge * c_edge * c_edge));
        std::generate(pixels.begin(), pixels.end(),
                      [&random] { return static_cast<unsigned char>(random() % 256); });
        std::vector<unsigned char> isFiber(pixels.size());
        std::transform(pixels.begin(), pixels.end(), isFiber.begin(),
                       [](unsigned char pixel) { return static_cast<unsigned char>(pixel > 150); });

        const auto image = Planes(IMAGE_GREY_8, pixels, 0, c_edge);
        const auto mask = Planes(IMAGE_BINARY_FG, isFiber, 0, c_edge);
        std::string history;
        const std::unique_ptr<CValueMap> whole(
            CSubfieldFiberDirections(2.0, 1.0, 5, 6, 7).Compute(*image, history, mask.get(), false));

        // Sigma is 1.25 pixels, so a block reaches 7 pixels beyond its box.
        const CFiberBlocks blocks(image->Size(), c_spacing, 2.0, {5, 6, 7});
        constexpr std::int64_t cut = 11;
        constexpr std::int64_t reach = 7;
        auto sums = blocks.SumsOf(*Planes(IMAGE_GREY_8, pixels, 0, cut + reach),
                                  *Planes(IMAGE_BINARY_FG, isFiber, 0, cut + reach), {0, 0, 0}, {0, 0, 0},
                                  {c_edge, c_edge, cut});
        const auto others = blocks.SumsOf(*Planes(IMAGE_GREY_8, pixels, cut - reach, c_edge),
                                          *Planes(IMAGE_BINARY_FG, isFiber, cut - reach, c_edge),
                                          {0, 0, cut - reach}, {0, 0, cut}, {c_edge, c_edge, c_edge});
        std::transform(sums.begin(), sums.end(), others.begin(), sums.begin(), std::plus());
        EXPECT_TRUE(blocks.Measurement(sums, std::nullopt)->Equal(*whole));
        ++sums.front();
        EXPECT_FALSE(blocks.Measurement(sums, std::nullopt)->Equal(*whole));
    }
}

TEST(FiberBlocks, RefuseWhatDoesNotFit) {
    const auto small =
        test::Raised<CException>([] { (void)CFiberBlocks(CSize(3, 30, 30), c_spacing, 2.0, {}); });
    EXPECT_STREQ(small.Message(), "Image is too small for this fiber radius.");
    const CFiberBlocks blocks(CSize(30, 30, 30), c_spacing, 2.0, {});
    const auto few = test::Raised<CExBadParam>(
        [&] { (void)blocks.Measurement(std::vector<std::int64_t>(3), std::nullopt); });
    EXPECT_NE(std::string(few.Message()).find("3 sums do not fit the image."), std::string::npos);
}
