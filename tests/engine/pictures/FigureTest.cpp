#include "engine/pictures/Figure.h"

#include "support/FileTools.h"

#include <sorblib2image/CQuillonHeaderTools.h>

using namespace ORVEN;

namespace engine::test {

namespace {

std::unique_ptr<CImage> Ramp() {
    std::vector<unsigned char> values(4 * 4 * 4);
    for (std::size_t i = 0; i < values.size(); ++i)
        values[i] = static_cast<unsigned char>(i);
    return ImageOf<unsigned char>(IMAGE_GREY_8, CSize(4, 4, 4), values);
}

std::array<int, 3> At(const StPicture& picture, std::int64_t x, std::int64_t y) {
    const auto first = static_cast<std::size_t>(3 * (y * picture.width + x));
    return {picture.rgb[first], picture.rgb[first + 1], picture.rgb[first + 2]};
}

/// Whether the part is in the picture, pixel by pixel, with its corner at any place.
bool Contains(const StPicture& picture, const StPicture& part) {
    for (std::int64_t y = 0; y + part.height <= picture.height; ++y) {
        for (std::int64_t x = 0; x + part.width <= picture.width; ++x) {
            bool isEqual = true;
            for (std::int64_t row = 0; isEqual && row < part.height; ++row)
                isEqual = std::equal(part.rgb.begin() + 3 * row * part.width,
                                     part.rgb.begin() + 3 * (row + 1) * part.width,
                                     picture.rgb.begin() + 3 * ((y + row) * picture.width + x));
            if (isEqual)
                return true;
        }
    }
    return false;
}

/// Length of the longest row of black pixels in the lowest part of the figure, where the scale bar is.
std::int64_t ScaleBarLength(const StPicture& figure, std::int64_t below) {
    std::int64_t longest = 0;
    for (std::int64_t y = below; y < figure.height; ++y) {
        std::int64_t length = 0;
        for (std::int64_t x = 0; x < figure.width; ++x) {
            length = At(figure, x, y) == std::array{0, 0, 0} ? length + 1 : 0;
            longest = std::max(longest, length);
        }
    }
    return longest;
}

} // namespace

TEST(Figure, WithoutExplanationsIsThePicture) {
    const auto image = Ramp();
    const auto views = MakeViews(*image, {}, {});
    StFigureOptions letters;
    letters.hasLetters = true; // this image has no sides with names
    EXPECT_EQ(MakeFigure(views, {}).rgb, views[0].picture.rgb);
    EXPECT_EQ(MakeFigure(views, letters).rgb, views[0].picture.rgb);
}

TEST(Figure, KeepsThePixelsOfThePicture) {
    const auto image = Ramp();
    const auto views = MakeViews(*image, {}, {});
    StFigureOptions options;
    options.hasScaleBar = true;
    options.hasColourBar = true;
    options.barTitle = "Grey value";
    const StPicture figure = MakeFigure(views, options);
    EXPECT_GT(figure.width, views[0].picture.width);
    EXPECT_GT(figure.height, views[0].picture.height);
    EXPECT_TRUE(Contains(figure, views[0].picture));
}

TEST(Figure, HasAScaleBarOfARoundLength) {
    const auto image = Ramp();
    CQuillonHeaderTools::SetSpacing(*image, 0.3, 0.3, 0.3); // 1.2 wide: the bar is 0.2, a sixth of it
    const auto views = MakeViews(*image, {}, {});
    StFigureOptions options;
    options.hasScaleBar = true;
    const StPicture figure = MakeFigure(views, options);
    EXPECT_NEAR(static_cast<double>(ScaleBarLength(figure, views[0].picture.height + 12)), 256 / 6.0, 1.0);
}

TEST(Figure, OfSeveralPlanesShowsThemInOrderWithOneWindow) {
    const auto image = Ramp();
    const auto views = MakeViews(*image, {}, {0, 3});
    ASSERT_EQ(views.size(), 2u);
    EXPECT_EQ(views[0].window.white, views[1].window.white);
    EXPECT_EQ(At(views[0].picture, 0, 0)[0], 0);
    EXPECT_EQ(At(views[1].picture, 255, 255)[0], 255);
    const StPicture montage = MakeFigure(views, {});
    EXPECT_EQ(montage.width, 2 * 256 + 4);
    EXPECT_EQ(montage.height, 256);
    EXPECT_EQ(At(montage, 0, 0)[0], 0);
    EXPECT_EQ(At(montage, 257, 0)[0], 255) << "white between the planes";
    EXPECT_EQ(At(montage, 515, 255)[0], 255);
    EXPECT_EQ(FigureColumns(1), 1u);
    EXPECT_EQ(FigureColumns(4), 2u);
    EXPECT_EQ(FigureColumns(5), 3u);
}

TEST(Figure, HasABarForGreyValuesDepthsAndAnglesOnly) {
    const auto image = Ramp();
    const auto widthFor = [&](EnPictureColours colours, bool areInPlane) {
        StPictureOptions options;
        options.colours = colours;
        options.isProjection = true;
        StFigureOptions figure;
        figure.hasColourBar = true;
        figure.areAnglesInPlane = areInPlane;
        return MakeFigure(MakeViews(*image, options, {}), figure).width;
    };
    EXPECT_GT(widthFor(COLOURS_AUTOMATIC, false), 280);
    EXPECT_GT(widthFor(COLOURS_DEPTH, false), 280);
    EXPECT_GT(widthFor(COLOURS_ANGLES, false), 280);
    EXPECT_GT(widthFor(COLOURS_ANGLES, true), 320) << "a disc";
    EXPECT_EQ(widthFor(COLOURS_LABELS, false), 256);
}

TEST(Figure, ColoursDirectionsInTheDiscAsInThePicture) {
    const float quarter = 0.78539816F;
    const auto image = ImageOf<float>(IMAGE_GREY_F, CSize(1, 1), {quarter}); // down to the right
    StPictureOptions options;
    options.colours = COLOURS_ANGLES;
    StFigureOptions figureOptions;
    figureOptions.hasColourBar = true;
    figureOptions.areAnglesInPlane = true;
    const auto views = MakeViews(*image, options, {});
    const StPicture figure = MakeFigure(views, figureOptions);
    const auto colour = At(views[0].picture, 0, 0);
    // The disc is the only other place with colours; its pixels of this colour lie on a falling line.
    std::int64_t found = 0;
    std::int64_t leftmost = figure.width;
    std::int64_t rightmost = 0;
    std::int64_t yLeft = 0;
    std::int64_t yRight = 0;
    for (std::int64_t y = 0; y < figure.height; ++y) {
        for (std::int64_t x = views[0].picture.width + 12; x < figure.width; ++x) {
            const auto here = At(figure, x, y);
            if (std::abs(here[0] - colour[0]) + std::abs(here[1] - colour[1]) +
                    std::abs(here[2] - colour[2]) >
                6)
                continue;
            ++found;
            if (x < leftmost) {
                leftmost = x;
                yLeft = y;
            }
            if (x > rightmost) {
                rightmost = x;
                yRight = y;
            }
        }
    }
    EXPECT_GT(found, 5);
    EXPECT_GT(yRight - yLeft, 15) << "x runs right and y down";
}

TEST(Picture, ColoursAProjectionByDepth) {
    // The first column has its greatest value in front, the second at the back, the third is dark.
    const auto image = ImageOf<unsigned char>(IMAGE_GREY_8, CSize(3, 1, 2), {200, 0, 0, 100, 200, 0});
    StPictureOptions options;
    options.isProjection = true;
    options.colours = COLOURS_DEPTH;
    const StPicture picture = MakePicture(*image, options);
    const auto front = At(picture, 10, 100);
    const auto back = At(picture, picture.width / 2, 100);
    EXPECT_GT(front[0], 200) << "red";
    EXPECT_LT(front[2], 60);
    EXPECT_GT(back[2], 200) << "blue";
    EXPECT_LT(back[0], 60);
    EXPECT_EQ(At(picture, picture.width - 10, 100), (std::array{0, 0, 0}));
}

TEST(Picture, ShowsGreyValuesInTheWindowAskedFor) {
    const auto image = ImageOf<unsigned char>(IMAGE_GREY_8, CSize(4, 1), {0, 50, 100, 150});
    StPictureOptions options;
    options.window = StWindow{50, 150};
    const StPicture picture = MakePicture(*image, options);
    EXPECT_EQ(At(picture, 100, 0)[0], 0);
    EXPECT_EQ(At(picture, 300, 0)[0], 0);
    EXPECT_EQ(At(picture, 600, 0)[0], 128);
    EXPECT_EQ(At(picture, 1000, 0)[0], 255);
}

TEST(Picture, ShowsAnOverlayInColourAndTheRestAsItIs) {
    const auto image = ImageOf<unsigned char>(IMAGE_GREY_8, CSize(3, 1), {0, 100, 100});
    const auto overlays = {ImageOf<unsigned char>(IMAGE_BINARY_FG, CSize(3, 1), {1, 0, 1}),
                           ImageOf<unsigned char>(IMAGE_GREY_8, CSize(3, 1), {255, 0, 255})};
    StPictureOptions options;
    options.window = StWindow{0, 200};
    const auto plain = At(MakePicture(*image, options), 300, 0);
    for (const auto& overlay : overlays) {
        options.overlay = overlay.get();
        const StPicture picture = MakePicture(*image, options);
        const auto masked = At(picture, 600, 0);
        EXPECT_EQ(At(picture, 300, 0), plain);
        EXPECT_GT(masked[0], masked[1] + 60) << "red";
        EXPECT_LT(At(picture, 0, 0)[1], masked[1]) << "the image shows through";
    }
    const auto labels = ImageOf<unsigned char>(IMAGE_GREY_8, CSize(3, 1), {1, 0, 2});
    options.overlay = labels.get();
    EXPECT_NE(At(MakePicture(*image, options), 600, 0), plain);
}

TEST(Picture, RefusesAnOverlayOfAnotherSize) {
    const auto image = ImageOf<unsigned char>(IMAGE_GREY_8, CSize(3, 1), {0, 100, 100});
    const auto overlay = ImageOf<unsigned char>(IMAGE_GREY_8, CSize(2, 1), {0, 1});
    StPictureOptions options;
    options.overlay = overlay.get();
    EXPECT_EQ(EndOf([&] { (void)MakePicture(*image, options); }).message,
              "the overlay has 2 x 1 pixels, the image 3 x 1; they must have the same size");
}

} // namespace engine::test
