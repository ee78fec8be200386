#include "engine/pictures/CCanvas.h"

#include <gtest/gtest.h>

#include <algorithm>

using namespace engine;

namespace {

constexpr StPaperSize c_size = {100, 50};

const Drawing c_drawing = [](CCanvas& canvas) {
    canvas.Rectangle({10, 10}, 20, 30, {255, 0, 0});
    canvas.Text({40, 30}, "V_V µm³", {10, ANCHOR_START, false, false, true});
};

Colour At(const StPicture& picture, std::int64_t x, std::int64_t y) {
    const auto first = static_cast<std::size_t>(3 * (y * picture.width + x));
    return {picture.rgb[first], picture.rgb[first + 1], picture.rgb[first + 2]};
}

} // namespace

TEST(Canvas, DrawsTheSameInAllFormatsEachTime) {
    EXPECT_EQ(DrawSvg(c_size, "t", "d", c_drawing), DrawSvg(c_size, "t", "d", c_drawing));
    EXPECT_EQ(DrawPdf(c_size, "t", c_drawing), DrawPdf(c_size, "t", c_drawing));
    EXPECT_EQ(DrawPicture(c_size, 2, c_drawing).rgb, DrawPicture(c_size, 2, c_drawing).rgb);
    EXPECT_EQ(DrawPdf(c_size, "t", c_drawing).find("/CreationDate"), std::string::npos);
    EXPECT_TRUE(DrawPdf(c_size, "t", c_drawing).starts_with("%PDF-"));
}

TEST(Canvas, SvgSaysWhatItShows) {
    const std::string svg = DrawSvg(c_size, "a < b", "c & d\x1b", c_drawing);
    EXPECT_NE(svg.find("<title>a &lt; b</title>\n<desc>c &amp; d </desc>"), std::string::npos) << svg;
}

TEST(Canvas, ScalesAPicture) {
    const StPicture picture = DrawPicture(c_size, 2, c_drawing);
    EXPECT_EQ(picture.width, 200);
    EXPECT_EQ(picture.height, 100);
    EXPECT_EQ(At(picture, 0, 0), c_white);
    EXPECT_EQ(At(picture, 20, 20), (Colour{255, 0, 0}));
    EXPECT_EQ(At(picture, 59, 79), (Colour{255, 0, 0}));
    EXPECT_EQ(At(picture, 60, 80), c_white);
}

TEST(Canvas, DrawsTextWhereItIsAnchored) {
    const auto firstInk = [](EnTextAnchor anchor) {
        const StPicture picture = DrawPicture(c_size, 1, [&](CCanvas& canvas) {
            canvas.Text({50, 30}, "HHH", {10, anchor});
        });
        for (std::int64_t x = 0; x < picture.width; ++x) {
            for (std::int64_t y = 0; y < picture.height; ++y) {
                if (At(picture, x, y) != c_white)
                    return x;
            }
        }
        return picture.width;
    };
    EXPECT_GE(firstInk(ANCHOR_START), 50);
    EXPECT_LT(firstInk(ANCHOR_MIDDLE), 45);
    EXPECT_LT(firstInk(ANCHOR_END), 33);
}

TEST(Canvas, SetsSubscriptsNarrower) {
    DrawPicture(c_size, 1, [](CCanvas& canvas) {
        StTextStyle style{10};
        const double plain = canvas.WidthOf("VV", style);
        const double underscored = canvas.WidthOf("V_V", style);
        style.hasSubscripts = true;
        EXPECT_LT(canvas.WidthOf("V_V", style), plain);
        EXPECT_EQ(canvas.WidthOf("V_VV", style), canvas.WidthOf("V_VV", {10}));
        EXPECT_GT(underscored, plain);
    });
}

TEST(Canvas, CopiesAPictureExactly) {
    StPicture small{2, 2, {1, 2, 3, 40, 50, 60, 255, 254, 253, 0, 0, 0}};
    const StPicture picture = DrawPicture(c_size, 1, [&](CCanvas& canvas) { canvas.Picture(small, {7, 9}); });
    EXPECT_EQ(At(picture, 7, 9), (Colour{1, 2, 3}));
    EXPECT_EQ(At(picture, 8, 9), (Colour{40, 50, 60}));
    EXPECT_EQ(At(picture, 7, 10), (Colour{255, 254, 253}));
    EXPECT_EQ(At(picture, 8, 10), c_black);
    EXPECT_EQ(At(picture, 9, 10), c_white);
}
