#include "dialogs/CLocalFiberDirectionsDialog.h"

#include "support/QtTest.h"

#include <sorbgui/WidgetTools.h>
#include <sorblib2image/CSize.h>

#include <QCheckBox>
#include <QComboBox>
#include <QDoubleValidator>
#include <QLineEdit>
#include <QPushButton>
#include <QRadioButton>
#include <QTest>

#include <cmath>
#include <limits>
#include <string>
#include <vector>

namespace {

using ORVEN::CSize;

class FiberDirectionsDialog : public test::QtTest {
protected:
    FiberDirectionsDialog() { dialog.SetImageGeometry({1.0, 1.0, 1.0}, CSize(100, 80, 60)); }

    static std::string Text(const QLineEdit* edit) { return edit->text().toStdString(); }

    static bool IsRed(const QLineEdit* edit) { return Background(edit) == QColor(Qt::red); }
    static bool IsWhite(const QLineEdit* edit) { return Background(edit) == QColor(Qt::white); }

    void UseSubfields(const char* size) {
        dialog.select_size_group->setChecked(true);
        dialog.sizex_edit->setText(size);
    }

    quillon::CLocalFiberDirectionsDialog dialog;

private:
    static QColor Background(const QLineEdit* edit) { return edit->palette().color(QPalette::Base); }
};

TEST_F(FiberDirectionsDialog, HasNoMetaObjectOfItsOwn) {
    EXPECT_STREQ(dialog.metaObject()->className(), "CLocalFiberDirectionsDialog_skel");
}

TEST_F(FiberDirectionsDialog, StartsEmptyWithOtsusThreshold) {
    EXPECT_EQ(Text(dialog.radius_edit), "");
    EXPECT_EQ(Text(dialog.radius_pixel_edit), "");
    EXPECT_EQ(Text(dialog.offset_edit), "1.25");
    EXPECT_EQ(dialog.FiberRadius(), 0.0);
    EXPECT_EQ(dialog.GetOtsuFactor(), 1.25);
    EXPECT_TRUE(dialog.UsesOtsu());
    EXPECT_TRUE(dialog.radioOtsu->isChecked());
    EXPECT_FALSE(dialog.radioMask->isChecked());
    dialog.advanced_box->setChecked(true);
    EXPECT_TRUE(dialog.radioOtsu->isEnabled());
    EXPECT_FALSE(dialog.radioMask->isEnabled());
    EXPECT_FALSE(dialog.comboMasks->isEnabled());
}

TEST_F(FiberDirectionsDialog, LimitsItsThreeInputsToNumbersThatAreNotNegative) {
    std::vector<const QValidator*> validators;
    for (const QLineEdit* edit : {dialog.radius_edit, dialog.sizex_edit, dialog.offset_edit}) {
        const auto* validator = qobject_cast<const QDoubleValidator*>(edit->validator());
        ASSERT_NE(validator, nullptr);
        EXPECT_EQ(validator->bottom(), 0.0);
        EXPECT_EQ(validator->top(), 1.7976931348623157e308);
        EXPECT_EQ(validator->decimals(), 0);
        EXPECT_EQ(validator->parent(), &dialog);
        validators.push_back(validator);
    }
    EXPECT_NE(validators[0], validators[1]);
    EXPECT_NE(validators[1], validators[2]);
    EXPECT_EQ(dialog.sizey_edit->validator(), nullptr);
}

TEST_F(FiberDirectionsDialog, LetsFractionsBeTypedButNoLettersAndSigns) {
    dialog.show();
    QTest::keyClicks(dialog.radius_edit, "-x2.7,5n");
    EXPECT_EQ(Text(dialog.radius_edit), "2.75");
    EXPECT_EQ(dialog.FiberRadius(), 2.75);
    QTest::keyClick(dialog.radius_edit, Qt::Key_Tab); // does not round what was typed
    EXPECT_EQ(Text(dialog.radius_edit), "2.75");
}

TEST_F(FiberDirectionsDialog, ReadsNumbersWithAPointInAnyLocale) {
    const QLocale before;
    QLocale::setDefault(QLocale(QLocale::German));
    {
        quillon::CLocalFiberDirectionsDialog german;
        german.SetImageGeometry({1.0, 1.0, 1.0}, CSize(100, 80, 60));
        german.show();
        QTest::keyClicks(german.radius_edit, "1.5");
        EXPECT_EQ(german.FiberRadius(), 1.5);
        german.SetValues(2.5, true, 12.5, true, false, 0.75);
        EXPECT_EQ(Text(german.radius_edit), "2.5");
        EXPECT_EQ(Text(german.stepsize_edit), "12.5");
        EXPECT_EQ(german.GetOtsuFactor(), 0.75);
    }
    QLocale::setDefault(before);
}

TEST_F(FiberDirectionsDialog, RoundsTheRadiusToPixelsAlongX) {
    dialog.SetImageGeometry({2.0, 10.0, 100.0}, CSize(100, 80, 60));
    dialog.radius_edit->setText("5.0");
    EXPECT_EQ(Text(dialog.radius_pixel_edit), "3");
    dialog.radius_edit->setText("4.9");
    EXPECT_EQ(Text(dialog.radius_pixel_edit), "2");
}

TEST_F(FiberDirectionsDialog, ShowsTheAreaBetweenTheRadiusOnEitherSide) {
    dialog.radius_edit->setText("3");
    EXPECT_EQ(Text(dialog.eval_area_from_edit), "(3,3,3)");
    EXPECT_EQ(Text(dialog.eval_area_to_edit), "(97,77,57)");
    dialog.radius_edit->setText("0");
    EXPECT_EQ(Text(dialog.eval_area_from_edit), "(0,0,0)");
    EXPECT_EQ(Text(dialog.eval_area_to_edit), "(99,79,59)"); // and not a pixel beyond the image
}

TEST_F(FiberDirectionsDialog, ShowsNoAreaWhereTheRadiusReachesBeyondTheShortestSide) {
    dialog.radius_edit->setText("59");
    EXPECT_EQ(Text(dialog.eval_area_from_edit), "(59,59,59)");
    EXPECT_EQ(Text(dialog.eval_area_to_edit), "(41,21,1)");
    dialog.radius_edit->setText("60");
    EXPECT_EQ(Text(dialog.eval_area_from_edit), "");
    EXPECT_EQ(Text(dialog.eval_area_to_edit), "(40,20,0)");
    dialog.radius_edit->setText("61");
    EXPECT_EQ(Text(dialog.eval_area_from_edit), "");
    EXPECT_EQ(Text(dialog.eval_area_to_edit), "");
}

TEST_F(FiberDirectionsDialog, ShowsTheSubfieldAlongEveryAxisInBothUnits) {
    dialog.SetImageGeometry({2.0, 3.0, 4.0}, CSize(100, 80, 60));
    UseSubfields("17.0000004");
    EXPECT_EQ(Text(dialog.sizex_edit), "17.0000004"); // is typed in, not written
    EXPECT_EQ(Text(dialog.sizey_edit), "17");
    EXPECT_EQ(Text(dialog.sizez_edit), "17");
    EXPECT_EQ(Text(dialog.stepsize_edit), "17");
    EXPECT_EQ(Text(dialog.sizex_pixel_edit), "9");
    EXPECT_EQ(Text(dialog.sizey_pixel_edit), "6");
    EXPECT_EQ(Text(dialog.sizez_pixel_edit), "4");
}

TEST_F(FiberDirectionsDialog, WritesNumbersWithSixSignificantDigits) {
    UseSubfields("0.00001234567");
    EXPECT_EQ(Text(dialog.sizey_edit), "1.23457e-05");
    dialog.sizex_edit->setText("12345678");
    EXPECT_EQ(Text(dialog.stepsize_edit), "1.23457e+07");
}

TEST_F(FiberDirectionsDialog, EmptiesTheSubfieldFieldsWithoutSubfields) {
    UseSubfields("20");
    dialog.select_size_group->setChecked(false);
    EXPECT_EQ(Text(dialog.sizey_edit), "20"); // up to the next edit
    dialog.radius_edit->setText("3");
    for (const QLineEdit* edit :
         {dialog.sizex_edit, dialog.sizey_edit, dialog.sizez_edit, dialog.sizex_pixel_edit,
          dialog.sizey_pixel_edit, dialog.sizez_pixel_edit, dialog.stepsize_edit})
        EXPECT_EQ(Text(edit), "") << edit->objectName().toStdString();
    dialog.select_size_group->setChecked(true);
    dialog.radius_edit->setText("4");
    EXPECT_EQ(Text(dialog.stepsize_edit), "0"); // the size was forgotten
}

TEST_F(FiberDirectionsDialog, ChecksTheSubfieldBoxWithoutAnyEffectUntilASizeIsTyped) {
    dialog.radius_edit->setText("3");
    dialog.select_size_group->setChecked(true);
    EXPECT_EQ(Text(dialog.stepsize_edit), "");
    EXPECT_EQ(Text(dialog.sizex_pixel_edit), "");
    EXPECT_FALSE(IsRed(dialog.sizex_edit));
    dialog.sizex_edit->setText("5");
    EXPECT_EQ(Text(dialog.stepsize_edit), "5");
    EXPECT_TRUE(IsRed(dialog.sizex_edit));
}

TEST_F(FiberDirectionsDialog, OffersAMaskOnceOneIsThereAndSomethingIsTyped) {
    dialog.advanced_box->setChecked(true);
    dialog.AddMaskName("mask.nrrd");
    EXPECT_FALSE(dialog.radioMask->isEnabled());
    dialog.radius_edit->setText("3");
    EXPECT_TRUE(dialog.radioMask->isEnabled());
}

TEST_F(FiberDirectionsDialog, SwitchesBetweenOtsuAndMask) {
    dialog.AddMaskName("a");
    dialog.SetValues(1.0, false, 0.0, true, false, 1.25);
    dialog.radioMask->click();
    EXPECT_FALSE(dialog.UsesOtsu());
    EXPECT_FALSE(dialog.radioOtsu->isChecked());
    EXPECT_TRUE(dialog.comboMasks->isEnabled());
    EXPECT_TRUE(dialog.offset_edit->isEnabled());
    dialog.radius_edit->setText("2"); // the display is brought up to date and keeps the choice
    EXPECT_FALSE(dialog.UsesOtsu());
    EXPECT_TRUE(dialog.radioMask->isChecked());
    dialog.radioOtsu->click();
    EXPECT_TRUE(dialog.UsesOtsu());
    EXPECT_FALSE(dialog.radioMask->isChecked());
    EXPECT_FALSE(dialog.comboMasks->isEnabled());
}

TEST_F(FiberDirectionsDialog, ReportsTheMaskThatIsChosen) {
    EXPECT_EQ(dialog.GetMaskName(), "");
    const std::string name = "Maske gro\xc3\x9f.nrrd"; // UTF-8, and comes back byte by byte
    dialog.AddMaskName("b.nrrd");
    dialog.AddMaskName(name);
    EXPECT_EQ(dialog.GetMaskName(), "b.nrrd");
    dialog.comboMasks->setCurrentIndex(1);
    EXPECT_EQ(dialog.GetMaskName(), name);
}

TEST_F(FiberDirectionsDialog, TurnsTheRadiusRedBelowOnePixel) {
    dialog.radius_edit->setText("0.4");
    EXPECT_TRUE(IsRed(dialog.radius_edit));
    dialog.radius_edit->setText("0.5");
    EXPECT_TRUE(IsWhite(dialog.radius_edit));
}

TEST_F(FiberDirectionsDialog, TurnsTheRadiusRedWhereTwiceOfItExceedsTheImageAlongX) {
    dialog.SetImageGeometry({1.0, 1.0, 1.0}, CSize(100, 8, 8));
    dialog.radius_edit->setText("50");
    EXPECT_TRUE(IsWhite(dialog.radius_edit));
    dialog.radius_edit->setText("51");
    EXPECT_TRUE(IsRed(dialog.radius_edit));
    EXPECT_TRUE(dialog.OK_button->isEnabled());
    dialog.OK_button->click();
    EXPECT_EQ(dialog.result(), QDialog::Accepted);
}

TEST_F(FiberDirectionsDialog, TurnsTheSizeRedUnlessItIsAboveAFibreAndLeavesRoomForOneOnEitherSide) {
    dialog.radius_edit->setText("5");
    struct StCase {
        const char* size;
        bool isGood;
    };
    // The shortest side has 60 pixels.
    for (const auto& [size, isGood] : {StCase{"10", false}, StCase{"11", true}, StCase{"50", true},
                                       StCase{"51", false}, StCase{"0.2", false}}) {
        UseSubfields(size);
        EXPECT_EQ(IsWhite(dialog.sizex_edit), isGood) << size;
        EXPECT_EQ(IsRed(dialog.sizex_edit), !isGood) << size;
    }
}

TEST_F(FiberDirectionsDialog, JudgesTheSizeAlongEveryAxisByItsOwnSpacing) {
    dialog.radius_edit->setText("5");
    for (const std::array<double, 3> spacing : {std::array{1.0, 2.0, 1.0}, std::array{1.0, 1.0, 2.0},
                                                std::array{1.0, 0.1, 1.0}, std::array{1.0, 1.0, 0.1}}) {
        dialog.SetImageGeometry({1.0, 1.0, 1.0}, CSize(100, 80, 60));
        UseSubfields("15");
        dialog.radius_edit->setText("5");
        EXPECT_TRUE(IsWhite(dialog.sizex_edit));
        dialog.SetImageGeometry(spacing, CSize(100, 80, 60));
        dialog.radius_edit->setText("5.0");
        EXPECT_TRUE(IsRed(dialog.sizex_edit)) << spacing[1] << " " << spacing[2];
    }
}

TEST_F(FiberDirectionsDialog, KeepsTheColourOfTheSizeWithoutSubfields) {
    dialog.radius_edit->setText("4");
    UseSubfields("1");
    ASSERT_TRUE(IsRed(dialog.sizex_edit));
    dialog.select_size_group->setChecked(false);
    dialog.radius_edit->setText("5");
    EXPECT_TRUE(IsRed(dialog.sizex_edit));
}

TEST_F(FiberDirectionsDialog, ShowsNumbersBeyondAllPixelsAsTheLastOne) {
    UseSubfields("20");
    dialog.radius_edit->setText("1e300");
    EXPECT_EQ(Text(dialog.radius_pixel_edit), "2147483647");
    EXPECT_EQ(Text(dialog.eval_area_from_edit), "");
    EXPECT_EQ(Text(dialog.eval_area_to_edit), "");
    EXPECT_TRUE(IsRed(dialog.radius_edit));
    EXPECT_TRUE(IsRed(dialog.sizex_edit));
}

TEST_F(FiberDirectionsDialog, SurvivesASpacingOfZero) {
    dialog.SetImageGeometry({0.0, 0.0, 0.0}, CSize(100, 80, 60));
    UseSubfields("20");
    dialog.radius_edit->setText("0"); // no number of pixels at all
    EXPECT_EQ(Text(dialog.radius_pixel_edit), "-2147483648");
    EXPECT_EQ(Text(dialog.eval_area_from_edit), "");
    EXPECT_TRUE(IsRed(dialog.radius_edit));
}

TEST_F(FiberDirectionsDialog, ShowsNothingAlongZForA2dImage) {
    dialog.SetImageGeometry({1.0, 1.0, 5.0}, CSize(100, 80));
    dialog.radius_edit->setText("1");
    EXPECT_EQ(Text(dialog.eval_area_from_edit), "");
    EXPECT_EQ(Text(dialog.eval_area_to_edit), "(99,79,0)");
    dialog.radius_edit->setText("2");
    EXPECT_EQ(Text(dialog.eval_area_to_edit), "");
    UseSubfields("20");
    EXPECT_EQ(Text(dialog.sizey_edit), "20");
    EXPECT_EQ(Text(dialog.sizey_pixel_edit), "20");
    EXPECT_EQ(Text(dialog.sizez_edit), "");
    EXPECT_EQ(Text(dialog.sizez_pixel_edit), "");
    EXPECT_TRUE(IsRed(dialog.sizex_edit)); // as z shows nothing
}

TEST_F(FiberDirectionsDialog, LeavesEverythingAsItWasForATextThatIsNoNumber) {
    dialog.SetValues(3.0, true, 20.0, false, false, 1.25);
    for (const char* text : {"", "abc", "1,5", "1e", "0x10"}) {
        dialog.radius_edit->setText(text);
        dialog.sizex_edit->setText(text);
        EXPECT_EQ(dialog.FiberRadius(), 3.0) << text;
        EXPECT_EQ(Text(dialog.radius_pixel_edit), "3") << text;
        EXPECT_EQ(Text(dialog.eval_area_from_edit), "(3,3,3)") << text;
        EXPECT_EQ(Text(dialog.sizex_pixel_edit), "20") << text;
        EXPECT_EQ(Text(dialog.stepsize_edit), "20") << text;
        EXPECT_TRUE(IsWhite(dialog.radius_edit)) << text;
        EXPECT_TRUE(IsWhite(dialog.sizex_edit)) << text;
    }
}

TEST_F(FiberDirectionsDialog, IsFilledWithValues) {
    dialog.SetValues(3.1234567, true, 20.5, true, true, 0.75);
    EXPECT_EQ(Text(dialog.radius_edit), "3.12346");
    EXPECT_EQ(dialog.FiberRadius(), 3.12346); // read back from the field
    EXPECT_EQ(Text(dialog.radius_pixel_edit), "3");
    EXPECT_TRUE(dialog.select_size_group->isChecked());
    EXPECT_EQ(Text(dialog.sizex_edit), "20.5");
    EXPECT_EQ(Text(dialog.sizez_pixel_edit), "21");
    EXPECT_TRUE(dialog.advanced_box->isChecked());
    EXPECT_TRUE(dialog.output_box->isChecked());
    EXPECT_EQ(Text(dialog.offset_edit), "0.75");
    dialog.SetValues(4.0, false, 20.5, false, false, 2.0);
    EXPECT_FALSE(dialog.select_size_group->isChecked());
    EXPECT_EQ(Text(dialog.sizex_edit), "");
    EXPECT_EQ(Text(dialog.sizex_pixel_edit), "");
    EXPECT_FALSE(dialog.advanced_box->isChecked());
    EXPECT_FALSE(dialog.output_box->isChecked());
    EXPECT_EQ(dialog.GetOtsuFactor(), 2.0);
}

TEST_F(FiberDirectionsDialog, UpdatesTheDisplayWithValuesThatChangeNoText) {
    dialog.SetValues(3.0, true, 20.0, false, false, 1.25);
    dialog.SetImageGeometry({0.5, 0.5, 0.5}, CSize(100, 80, 60));
    dialog.SetValues(3.0, true, 20.0, false, false, 1.25);
    EXPECT_EQ(Text(dialog.radius_pixel_edit), "6");
    EXPECT_EQ(Text(dialog.sizex_pixel_edit), "40");
}

TEST_F(FiberDirectionsDialog, HandsOutSubfieldsOnlyWhenTheyAreAskedFor) {
    std::int64_t x = 7;
    std::int64_t y = 8;
    std::int64_t z = 9;
    double sizeX = 0.5;
    double sizeY = 0.6;
    double sizeZ = 0.7;
    const auto get = [&] {
        dialog.GetSubfieldPixels(x, y, z);
        dialog.GetSubfieldSizes(sizeX, sizeY, sizeZ);
    };
    get();
    EXPECT_EQ((std::array{x, y, z}), (std::array<std::int64_t, 3>{7, 8, 9}));
    EXPECT_EQ((std::array{sizeX, sizeY, sizeZ}), (std::array{0.5, 0.6, 0.7}));
    dialog.SetImageGeometry({0.5, 1.0, 2.0}, CSize(100, 80, 60));
    UseSubfields("20.5");
    get();
    EXPECT_EQ((std::array{x, y, z}), (std::array<std::int64_t, 3>{41, 21, 10}));
    EXPECT_EQ((std::array{sizeX, sizeY, sizeZ}), (std::array{20.5, 20.5, 20.5}));
    dialog.SetImageGeometry({0.5, 1.0, 2.0}, CSize(100, 80));
    dialog.SetValues(1.0, false, 0.0, false, false, 1.0);
    UseSubfields("20.5");
    get();
    EXPECT_EQ((std::array{x, y, z}), (std::array<std::int64_t, 3>{41, 21, 0}));
    EXPECT_EQ((std::array{sizeX, sizeY, sizeZ}), (std::array{20.5, 20.5, 0.0}));
}

TEST_F(FiberDirectionsDialog, ReturnsNoOtsuFactorForAnEmptyText) {
    dialog.offset_edit->clear();
    EXPECT_EQ(dialog.GetOtsuFactor(), 0.0);
}

TEST_F(FiberDirectionsDialog, PressesItsButtonsByTheirKeys) {
    dialog.show();
    ASSERT_TRUE(QTest::qWaitForWindowActive(&dialog));
    QTest::keyClick(dialog.windowHandle(), Qt::Key_O, Qt::AltModifier);
    EXPECT_TRUE(dialog.OK_button->isDown()); // and is let go by a timer
    EXPECT_FALSE(dialog.Cancel_button->isDown());
    QTest::keyClick(dialog.windowHandle(), Qt::Key_C, Qt::AltModifier);
    EXPECT_TRUE(dialog.Cancel_button->isDown());
}

TEST_F(FiberDirectionsDialog, AcceptsWithTheEnterKeyFromTheRadius) {
    dialog.show();
    QTest::keyClicks(dialog.radius_edit, "2.5");
    QTest::keyClick(dialog.radius_edit, Qt::Key_Return);
    EXPECT_EQ(dialog.result(), QDialog::Accepted);
    EXPECT_EQ(dialog.FiberRadius(), 2.5);
}

} // namespace
