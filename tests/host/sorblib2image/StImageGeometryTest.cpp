#include <sorblib2core/CString.h>
#include <sorblib2core/CValueDouble.h>
#include <sorblib2core/CValueLong.h>
#include <sorblib2core/CValueMap.h>
#include <sorblib2core/CValueString.h>
#include <sorblib2image/CImage.h>
#include <sorblib2image/CQuillonHeaderTools.h>
#include <sorblib2image/StImageGeometry.h>

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

using namespace ORVEN;

namespace {

using Vector = StImageGeometry::Vector;

CImage Image() { return {IMAGE_GREY_8, CSize(2, 2, 2), CSize(0, 0, 0)}; }

/// Everything differs from the default; the axes are turned by 90 degrees about z.
StImageGeometry Turned() {
    StImageGeometry geometry;
    geometry.spacing = {0.5, 2, 4};
    geometry.origin = {10, -20, 30};
    geometry.directions = {{{0, 1, 0}, {-1, 0, 0}, {0, 0, 1}}};
    geometry.unit = "um";
    geometry.isAnatomical = true;
    return geometry;
}

} // namespace

TEST(StImageGeometry, IsStoredInTheAttributesAndFoundAgain) {
    CImage image = Image();
    Turned().Store(image);
    EXPECT_EQ(StImageGeometry::Of(image), Turned());
    const CValueMap& attributes = image.Attributes();
    EXPECT_EQ(attributes.Entry("origin/y", true)->Double(), -20);
    EXPECT_EQ(attributes.Entry("directions/y/x", true)->Double(), -1);
    EXPECT_EQ(attributes.Entry("unit", true)->String().Std(), "um");
    EXPECT_EQ(attributes.Entry("space", true)->String().Std(), "LPS");
}

TEST(StImageGeometry, LeavesNothingInTheAttributesThatIsTheDefault) {
    CImage image = Image();
    CQuillonHeaderTools::AddToHistory(image, "kept", 0);
    Turned().Store(image);
    StImageGeometry().Store(image);
    EXPECT_EQ(image.Attributes().Size(), 1U);
    EXPECT_EQ(StImageGeometry::Of(image), StImageGeometry());
}

TEST(StImageGeometry, PassesToResultsWithTheOtherAttributes) {
    CImage image = Image();
    Turned().Store(image);
    CImage result = Image();
    CQuillonHeaderTools::SetAttributes(result, image.Attributes());
    EXPECT_EQ(StImageGeometry::Of(result), Turned());
}

TEST(StImageGeometry, IgnoresEntriesOfAnotherForm) {
    CImage image = Image();
    CValueMap& attributes = image.Attributes();
    attributes.SetEntry("origin", new CValueDouble(3));
    attributes.SetEntry("directions/x/x", new CValueDouble(1)); // the other axes are missing
    attributes.SetEntry("unit", new CValueLong(3));
    attributes.SetEntry("space", new CValueString(CString("moon")));
    EXPECT_EQ(StImageGeometry::Of(image), StImageGeometry());
    attributes.SetEntry("origin", new CValueMap);
    attributes.SetEntry("origin/y", new CValueLong(3));
    attributes.SetEntry("origin/z", new CValueDouble(std::numeric_limits<double>::infinity()));
    EXPECT_EQ(StImageGeometry::Of(image).origin, (Vector{0, 3, 0}));
}

TEST(StImageGeometry, TakesNoDirectionsThatLieInAPlane) {
    CImage image = Image();
    StImageGeometry flat;
    flat.directions = {{{1, 0, 0}, {0, 1, 0}, {1, 1, 0}}};
    flat.Store(image);
    EXPECT_EQ(StImageGeometry::Of(image).directions, StImageGeometry::identity);
}

TEST(StImageGeometry, FindsThePlaceOfAPixel) {
    EXPECT_EQ(Turned().PositionOf({0, 0, 0}), (Vector{10, -20, 30}));
    EXPECT_EQ(Turned().PositionOf({4, 1, 0.5}), (Vector{8, -18, 32}));
    EXPECT_EQ(StImageGeometry().PositionOf({4, 1, 0.5}), (Vector{4, 1, 0.5}));
}

TEST(StImageGeometry, DividesVectorsIntoDirectionsAndLengths) {
    const auto valid = DirectionsOf({{{0, 3, 4}, {-2, 0, 0}, {0, 4, -3}}});
    ASSERT_TRUE(valid.has_value());
    EXPECT_EQ(valid->lengths, (Vector{5, 2, 5}));
    EXPECT_EQ(valid->directions[0], (Vector{0, 0.6, 0.8}));
    EXPECT_EQ(valid->directions[1], (Vector{-1, 0, 0}));
    EXPECT_FALSE(DirectionsOf({{{0, 0, 0}, {0, 1, 0}, {0, 0, 1}}}).has_value());
    EXPECT_FALSE(DirectionsOf({{{NAN, 0, 0}, {0, 1, 0}, {0, 0, 1}}}).has_value());
    EXPECT_FALSE(DirectionsOf({{{1, 1, 0}, {0, 1, 0}, {1, 0, 0}}}).has_value());
}

TEST(StImageGeometry, ConvertsBetweenUnits) {
    EXPECT_EQ(UnitFactor("mm", "um"), 1000);
    EXPECT_EQ(UnitFactor("um", "mm"), 0.001);
    EXPECT_EQ(UnitFactor("nm", "m"), 1e-9);
    EXPECT_EQ(UnitFactor("m", "m"), 1);
    EXPECT_EQ(UnitFactor("", "m"), std::nullopt);
    EXPECT_EQ(UnitFactor("m", "px"), std::nullopt);
}
