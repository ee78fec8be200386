#include "engine/pictures/StPicture.h"

#include "support/FileTools.h"

#include <sorblib2image/CQuillonHeaderTools.h>

#include <array>
#include <cmath>
#include <limits>

using namespace ORVEN;

namespace engine::test {

namespace {

using Colour = std::array<int, 3>;

/// The colour of a place given in parts of the picture's width and height.
Colour At(const StPicture& picture, double x, double y) {
    const auto column = static_cast<std::int64_t>(x * static_cast<double>(picture.width));
    const auto row = static_cast<std::int64_t>(y * static_cast<double>(picture.height));
    const auto first = static_cast<std::size_t>(3 * (row * picture.width + column));
    return {picture.rgb[first], picture.rgb[first + 1], picture.rgb[first + 2]};
}

/// The reds of the centres of a plane's pixels, one row after the other.
std::vector<int> Tones(const StPicture& picture, int width, int height) {
    std::vector<int> tones;
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x)
            tones.push_back(At(picture, (x + 0.5) / width, (y + 0.5) / height)[0]);
    }
    return tones;
}

/// Values 0 to 23 in x, y, z order.
std::unique_ptr<CImage> Ramp() {
    std::vector<unsigned char> values(24);
    for (std::size_t i = 0; i < values.size(); ++i)
        values[i] = static_cast<unsigned char>(i);
    return ImageOf<unsigned char>(IMAGE_GREY_8, CSize(4, 3, 2), values);
}

int Distance(const Colour& a, const Colour& b) {
    return std::abs(a[0] - b[0]) + std::abs(a[1] - b[1]) + std::abs(a[2] - b[2]);
}

/// The colours of labels first to first + 31.
std::vector<Colour> LabelColours(std::uint32_t first) {
    std::vector<std::uint32_t> labels(32);
    for (std::size_t i = 0; i < labels.size(); ++i)
        labels[i] = first + static_cast<std::uint32_t>(i);
    const auto image = ImageOf<std::uint32_t>(IMAGE_GREY_32, CSize(32, 1), labels);
    StPictureOptions options;
    options.colours = COLOURS_LABELS;
    const StPicture picture = MakePicture(*image, options);
    std::vector<Colour> colours;
    for (int x = 0; x < 32; ++x)
        colours.push_back(At(picture, (x + 0.5) / 32, 0.5));
    return colours;
}

} // namespace

TEST(Picture, ShowsThePlanesOfEachAxisTheRightWayRound) {
    const auto image = Ramp();
    const auto expectPlane = [&](int axis, std::int64_t slice, int width, const std::vector<int>& values) {
        StPictureOptions options;
        options.axis = axis;
        options.slice = slice;
        std::vector<int> tones;
        for (const int value : values)
            tones.push_back(static_cast<int>(
                std::lround(255.0 * (value - values.front()) / (values.back() - values.front()))));
        EXPECT_EQ(Tones(MakePicture(*image, options), width, static_cast<int>(values.size()) / width), tones);
    };
    expectPlane(2, 1, 4, {12, 13, 14, 15, 16, 17, 18, 19, 20, 21, 22, 23});
    expectPlane(1, 2, 4, {8, 9, 10, 11, 20, 21, 22, 23});
    expectPlane(0, 3, 3, {3, 7, 11, 15, 19, 23});
}

TEST(Picture, TakesTheMiddlePlaneByItself) {
    std::vector<unsigned char> values(5, 0);
    values[2] = 1;
    const auto image = ImageOf<unsigned char>(IMAGE_BINARY_FG, CSize(1, 1, 5), values);
    EXPECT_EQ(At(MakePicture(*image, {}), 0.5, 0.5), (Colour{255, 255, 255}));
}

TEST(Picture, ShowsTheGreatestValuesAlongTheAxis) {
    const auto image = ImageOf<float>(IMAGE_GREY_F, CSize(3, 1, 2), {5, NAN, 1, 0, 2, NAN});
    StPictureOptions options;
    options.isProjection = true;
    EXPECT_EQ(Tones(MakePicture(*image, options), 3, 1), (std::vector<int>{255, 64, 0}));
}

TEST(Picture, ProjectsAlongEachAxis) {
    const auto image = Ramp(); // values grow along every axis, so that the last plane is the greatest
    for (int axis = 0; axis < 3; ++axis) {
        SCOPED_TRACE(axis);
        StPictureOptions last;
        last.axis = axis;
        last.slice = PlaneCount(image->Size(), axis) - 1;
        StPictureOptions projection;
        projection.axis = axis;
        projection.isProjection = true;
        EXPECT_EQ(MakePicture(*image, projection).rgb, MakePicture(*image, last).rgb);
    }
}

TEST(Picture, ShowsBinaryImagesBlackAndWhite) {
    const auto image = ImageOf<unsigned char>(IMAGE_BINARY_BG, CSize(2, 1), {1, 0});
    EXPECT_EQ(Tones(MakePicture(*image, {}), 2, 1), (std::vector<int>{255, 0}));
    const auto full = ImageOf<unsigned char>(IMAGE_BINARY_FG, CSize(2, 1), {1, 1});
    EXPECT_EQ(Tones(MakePicture(*full, {}), 2, 1), (std::vector<int>{255, 255}));
}

TEST(Picture, DoesNotLetFewOutliersDarkenTheRest) {
    std::vector<float> values(40000);
    for (std::size_t i = 0; i < values.size(); ++i)
        values[i] = static_cast<float>(i % 100);
    values[7] = 1e30f;
    values[8] = -1e30f;
    values[9] = NAN;
    values[10] = INFINITY;
    const auto image = ImageOf<float>(IMAGE_GREY_F, CSize(200, 200), values);
    const StPicture picture = MakePicture(*image, {});
    ASSERT_EQ(picture.width, 400);
    EXPECT_EQ(At(picture, 0.25, 0.5)[0], 129); // 50 of 0 to 99
    EXPECT_EQ(Tones(picture, 200, 200)[7], 255);
    EXPECT_EQ(Tones(picture, 200, 200)[8], 0);
    EXPECT_EQ(Tones(picture, 200, 200)[9], 0);
    EXPECT_EQ(Tones(picture, 200, 200)[10], 255);
}

TEST(Picture, ShowsRareValuesOnAPlainGround) {
    std::vector<unsigned char> values(10000, 3);
    values[77] = 9;
    const auto image = ImageOf<unsigned char>(IMAGE_GREY_8, CSize(100, 100), values);
    const auto tones = Tones(MakePicture(*image, {}), 100, 100);
    EXPECT_EQ(tones[77], 255);
    EXPECT_EQ(tones[78], 0);
}

TEST(Picture, ShowsOneValueBlackOnlyIfItIsZero) {
    const auto zeros = ImageOf<float>(IMAGE_GREY_F, CSize(2, 1), {0, 0});
    EXPECT_EQ(Tones(MakePicture(*zeros, {}), 2, 1), (std::vector<int>{0, 0}));
    const auto sevens = ImageOf<float>(IMAGE_GREY_F, CSize(2, 1), {7, 7});
    EXPECT_EQ(Tones(MakePicture(*sevens, {}), 2, 1), (std::vector<int>{128, 128}));
    const auto nothing = ImageOf<float>(IMAGE_GREY_F, CSize(2, 1), {NAN, NAN});
    EXPECT_EQ(Tones(MakePicture(*nothing, {}), 2, 1), (std::vector<int>{0, 0}));
}

TEST(Picture, ShowsLabelsInColoursThatDiffer) {
    for (const std::uint32_t first : {1u, 100u, 4294967295u - 31}) {
        SCOPED_TRACE(first);
        const auto colours = LabelColours(first);
        for (std::size_t i = 0; i < colours.size(); ++i) {
            EXPECT_GT(Distance(colours[i], {0, 0, 0}), 150) << i;
            for (std::size_t j = i + 1; j < std::min(i + 6, colours.size()); ++j)
                EXPECT_GT(Distance(colours[i], colours[j]), j - i < 3 ? 150 : 80) << i << " and " << j;
        }
    }
}

TEST(Picture, ShowsLabelZeroBlackInEveryPixelType) {
    StPictureOptions options;
    options.colours = COLOURS_LABELS;
    const auto floats = ImageOf<float>(IMAGE_GREY_F, CSize(4, 1), {0, 3, NAN, -2});
    const auto bytes = ImageOf<unsigned char>(IMAGE_GREY_8, CSize(2, 1), {0, 3});
    const StPicture ofFloats = MakePicture(*floats, options);
    const StPicture ofBytes = MakePicture(*bytes, options);
    EXPECT_EQ(At(ofFloats, 0.1, 0.5), (Colour{0, 0, 0}));
    EXPECT_EQ(At(ofFloats, 0.6, 0.5), (Colour{0, 0, 0}));
    EXPECT_EQ(At(ofFloats, 0.9, 0.5), (Colour{0, 0, 0}));
    EXPECT_EQ(At(ofFloats, 0.3, 0.5), At(ofBytes, 0.75, 0.5));
    EXPECT_EQ(At(ofBytes, 0.25, 0.5), (Colour{0, 0, 0}));
}

TEST(Picture, ShowsALabelImageInColours) {
    const auto image = ImageOf<unsigned char>(IMAGE_GREY_8, CSize(2, 1), {1, 2});
    Colour colour = At(MakePicture(*image, {}), 0.75, 0.5);
    EXPECT_EQ(colour, (Colour{255, 255, 255}));
    CQuillonHeaderTools::SetNumberOfLabels(*image, 3);
    colour = At(MakePicture(*image, {}), 0.75, 0.5);
    EXPECT_NE(colour[0], colour[1]);
}

TEST(Picture, ShowsAnglesInHuesThatCloseAtPi) {
    const float pi = 3.14159265F;
    const auto image = ImageOf<float>(IMAGE_GREY_F, CSize(8, 1),
                                      {0.0F, 1e-4F, pi / 3, 2 * pi / 3, pi - 1e-4F, -1.0F, NAN, INFINITY});
    StPictureOptions options;
    options.colours = COLOURS_ANGLES;
    const StPicture picture = MakePicture(*image, options);
    std::vector<Colour> colours;
    for (int x = 0; x < 8; ++x)
        colours.push_back(At(picture, (x + 0.5) / 8, 0.5));
    const Colour black{0, 0, 0};
    EXPECT_EQ(colours[0], (Colour{255, 51, 51})) << "red";
    EXPECT_EQ(colours[2], (Colour{51, 255, 51})) << "green";
    EXPECT_EQ(colours[3], (Colour{51, 51, 255})) << "blue";
    EXPECT_LT(Distance(colours[0], colours[1]), 3);
    EXPECT_LT(Distance(colours[0], colours[4]), 3) << "a direction comes back to itself";
    EXPECT_EQ(colours[5], black) << "no direction";
    EXPECT_EQ(colours[6], black);
    EXPECT_EQ(colours[7], black);
}

TEST(Picture, GivesPixelsOfUnequalSpacingTheirProportions) {
    CImage image(IMAGE_GREY_8, CSize(100, 80, 40), CSize(0, 0, 0));
    CQuillonHeaderTools::SetSpacing(image, 0.5, 1.0, 1.25);
    StPictureOptions options;
    const auto sizeOf = [&](int axis) {
        options.axis = axis;
        const StPicture picture = MakePicture(image, options);
        return std::array{picture.width, picture.height};
    };
    EXPECT_EQ(sizeOf(2), (std::array<std::int64_t, 2>{300, 480})); // 100 x 160, three times
    EXPECT_EQ(sizeOf(1), (std::array<std::int64_t, 2>{300, 300})); // 100 x 100, three times
    EXPECT_EQ(sizeOf(0), (std::array<std::int64_t, 2>{480, 300})); // 80 x 50, six times
}

TEST(Picture, StaysWithinBoundsForOddShapesAndSpacings) {
    const auto pictureOf = [](const CSize& size, double spacingY) {
        CImage image(IMAGE_GREY_8, size, CSize(0, 0, 0));
        CQuillonHeaderTools::SetSpacing(image, 1, spacingY, 1);
        return MakePicture(image, {});
    };
    EXPECT_EQ(pictureOf(CSize(1, 1), 1).width, 256);
    EXPECT_EQ(pictureOf(CSize(8000, 1), 1).width, 8000);
    EXPECT_EQ(pictureOf(CSize(9000, 1), 1).width, 9000);
    EXPECT_EQ(pictureOf(CSize(300, 300), 1).width, 300);
    EXPECT_LE(pictureOf(CSize(4, 4), 1e12).height, 16384);
    EXPECT_LE(pictureOf(CSize(4, 4), 1e-12).width, 16384);
    EXPECT_EQ(pictureOf(CSize(4, 4), NAN).width, 256);
    EXPECT_EQ(pictureOf(CSize(4, 4), -1).width, 256);
}

TEST(Picture, KeepsARealVolumeRecognisable) {
    const auto image = ReadImage(DataFile("cement_pores_128.nrrd"));
    const StPicture picture = MakePicture(*image, {});
    ASSERT_EQ(picture.width, 256);
    ASSERT_EQ(picture.height, 256);
    double sum = 0;
    for (const unsigned char tone : picture.rgb)
        sum += tone;
    EXPECT_NEAR(sum / static_cast<double>(picture.rgb.size()), 190, 40); // bright paste, dark pores
}

} // namespace engine::test
