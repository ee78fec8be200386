#include "engine/pictures/StOrientation.h"

#include "engine/pictures/StPicture.h"
#include "support/FileTools.h"

#include <sorblib2core/CString.h>
#include <sorblib2core/CValueDouble.h>
#include <sorblib2core/CValueString.h>
#include <sorblib2image/CQuillonHeaderTools.h>

using namespace ORVEN;

namespace engine::test {

namespace {

using Vectors = std::array<std::array<double, 3>, 3>;

constexpr Vectors c_identity = {{{1, 0, 0}, {0, 1, 0}, {0, 0, 1}}};
/// Axes that run to the right, to the front and to the head, as in most files of brains.
constexpr Vectors c_rightFrontHead = {{{-1, 0, 0}, {0, -1, 0}, {0, 0, 1}}};
/// Slices from left to right, whose rows run from head to feet: x to the feet, y to the back, z to the left.
constexpr Vectors c_sagittal = {{{0, 0, -1}, {0, 1, 0}, {1, 0, 0}}};

void Place(CImage& image, const Vectors& directions) {
    image.Attributes().SetEntry("space", new CValueString("LPS", CString::NPOS));
    const std::string axes = "xyz";
    for (std::size_t axis = 0; axis < 3; ++axis) {
        for (std::size_t i = 0; i < 3; ++i)
            image.Attributes().SetEntry(std::string("directions/") + axes[axis] + "/" + axes[i],
                                        new CValueDouble(directions[axis][i]));
    }
}

std::string SidesOf(const CImage& image, int axis) {
    const StOrientation found = OrientationOf(image, axis);
    return found.left + found.right + found.top + found.bottom;
}

/// The place of the only white pixel, in halves of the picture: "left top".
std::string WhereIsWhite(const CImage& image, int axis) {
    StPictureOptions options;
    options.axis = axis;
    options.isProjection = true;
    const StPicture picture = MakePicture(image, options);
    for (std::int64_t i = 0; i < picture.width * picture.height; ++i) {
        if (picture.rgb[static_cast<std::size_t>(3 * i)] == 255)
            return std::string(i % picture.width < picture.width / 2 ? "left" : "right") +
                   (i / picture.width < picture.height / 2 ? " top" : " bottom");
    }
    return "nowhere";
}

/// A binary volume of 2 x 2 x 2 pixels with the last one set.
std::unique_ptr<CImage> LastPixel() {
    return ImageOf<unsigned char>(IMAGE_BINARY_FG, CSize(2, 2, 2), {0, 0, 0, 0, 0, 0, 0, 1});
}

} // namespace

TEST(Orientation, OfAnImageOutsideOfThePatientIsThatOfTheFile) {
    const auto image = LastPixel();
    for (int axis = 0; axis < 3; ++axis) {
        EXPECT_EQ(SidesOf(*image, axis), "");
        EXPECT_EQ(WhereIsWhite(*image, axis), "right bottom");
    }
}

TEST(Orientation, ShowsTheHeadAboveAndThePatientsLeftOnTheRight) {
    const auto image = LastPixel();
    Place(*image, c_identity);
    EXPECT_EQ(SidesOf(*image, 2), "RLAP");
    EXPECT_EQ(SidesOf(*image, 1), "RLSI");
    EXPECT_EQ(SidesOf(*image, 0), "APSI");
    // The last pixel is at the left, at the back and at the head.
    EXPECT_EQ(WhereIsWhite(*image, 2), "right bottom");
    EXPECT_EQ(WhereIsWhite(*image, 1), "right top");
    EXPECT_EQ(WhereIsWhite(*image, 0), "right top");
}

TEST(Orientation, IsTheSameHoweverTheFileIsStored) {
    const auto image = LastPixel();
    Place(*image, c_rightFrontHead); // the last pixel is at the right, at the front and at the head
    EXPECT_EQ(SidesOf(*image, 2), "RLAP");
    EXPECT_EQ(WhereIsWhite(*image, 2), "left top");
    EXPECT_EQ(WhereIsWhite(*image, 1), "left top");
    EXPECT_EQ(WhereIsWhite(*image, 0), "left top");
    Place(*image, c_sagittal); // at the feet, at the back and at the left
    EXPECT_EQ(SidesOf(*image, 2), "APSI");
    EXPECT_EQ(WhereIsWhite(*image, 2), "right bottom");
    EXPECT_EQ(SidesOf(*image, 1), "RLSI");
    EXPECT_EQ(WhereIsWhite(*image, 1), "right bottom");
    EXPECT_EQ(SidesOf(*image, 0), "RLAP");
    EXPECT_EQ(WhereIsWhite(*image, 0), "right bottom");
}

TEST(Orientation, ExchangesTheSpacingOfExchangedAxes) {
    CImage image(IMAGE_GREY_8, CSize(100, 50, 2), CSize(0, 0, 0));
    CQuillonHeaderTools::SetSpacing(image, 1, 4, 1);
    Place(image, c_sagittal);
    const StPicture picture = MakePicture(image, {}); // 200 to the right, 100 down
    EXPECT_EQ(picture.width, 2 * picture.height);
    StPictureOptions stored;
    stored.isAsStored = true;
    const StPicture asStored = MakePicture(image, stored);
    EXPECT_EQ(2 * asStored.width, asStored.height);
}

TEST(Orientation, HasNoNamesForObliqueSides) {
    const auto image = LastPixel();
    const double half = std::sqrt(0.5);
    Place(*image, {{{half, half, 0}, {half, -half, 0}, {0, 0, 1}}});
    EXPECT_EQ(SidesOf(*image, 2), "");
}

} // namespace engine::test
