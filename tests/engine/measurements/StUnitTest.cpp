#include "engine/measurements/StUnit.h"

#include <sorblib2core/CValueMap.h>
#include <sorblib2core/CValueString.h>
#include <sorblib2image/CQuillonHeaderTools.h>

#include <gtest/gtest.h>

using namespace engine;
using namespace ORVEN;

TEST(Unit, IsWrittenWithItsPower) {
    EXPECT_EQ((StUnit{"mm", 1}).Plain(), "mm");
    EXPECT_EQ((StUnit{"mm", 3}).Plain(), "mm^3");
    EXPECT_EQ((StUnit{"mm", -1}).Plain(), "per mm");
    EXPECT_EQ((StUnit{"mm", -3}).Plain(), "per mm^3");
    EXPECT_EQ((StUnit{"um", 2}).Typeset(), "µm²");
    EXPECT_EQ((StUnit{"mm", -3}).Typeset(), "per mm³");
    EXPECT_EQ((StUnit{"", 3}).Plain(), "");
    EXPECT_EQ((StUnit{"", 3}).Typeset(), "");
}

TEST(Unit, OfLengthIsThatOfTheImage) {
    CImage image(IMAGE_GREY_8, CSize(2, 2), CSize(0, 0));
    EXPECT_EQ(LengthUnitOf(image), "px");
    CQuillonHeaderTools::SetSpacing(image, 1.0, 1.0, 1.0);
    EXPECT_EQ(LengthUnitOf(image), "px");
    CQuillonHeaderTools::SetSpacing(image, 0.5, 0.5, 1.0);
    EXPECT_EQ(LengthUnitOf(image), "unit");
    image.Attributes().SetEntry("unit", new CValueString("mm", CString::NPOS));
    EXPECT_EQ(LengthUnitOf(image), "mm");
    image.Attributes().SetEntry("unit", new CValueString("", CString::NPOS));
    EXPECT_EQ(LengthUnitOf(image), "unit");
}

TEST(Unit, OfACatalogueIsAPowerOfLengthOrItself) {
    EXPECT_EQ(UnitOfText("length", "mm").Plain(), "mm");
    EXPECT_EQ(UnitOfText("length^2", "um").Plain(), "um^2");
    EXPECT_EQ(UnitOfText("length^-3", "mm").Plain(), "per mm^3");
    EXPECT_EQ(UnitOfText("angle", "mm").Plain(), "rad");
    EXPECT_EQ(UnitOfText("pixels", "mm").Plain(), "px");
    EXPECT_EQ(UnitOfText("kg", "mm").Plain(), "kg");
    EXPECT_EQ(UnitOfText("lengthy", "mm").Plain(), "lengthy");
    EXPECT_EQ(UnitOfText("", "mm").Plain(), "");
}

TEST(Unit, IsTakenOffAKey) {
    EXPECT_EQ(SplitUnit("K_V [m^-3]").name, "K_V");
    EXPECT_EQ(SplitUnit("K_V [m^-3]").unit, "length^-3");
    EXPECT_EQ(SplitUnit("Mean chord length [m]").unit, "length");
    EXPECT_EQ(SplitUnit("mass [mg]").name, "mass [mg]");
    EXPECT_EQ(SplitUnit("mass [mg]").unit, "");
    EXPECT_EQ(SplitUnit("V_V").name, "V_V");
}
