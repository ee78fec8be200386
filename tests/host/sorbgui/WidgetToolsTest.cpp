#include <sorbgui/WidgetTools.h>

#include "support/QtTest.h"

#include <QLabel>
#include <QLineEdit>
#include <QRadioButton>

namespace {

using namespace ORVEN;

class WidgetTools : public test::QtTest {};

TEST_F(WidgetTools, ButtonsOfOneGroupExcludeEachOtherInAnyLayout) {
    CButtonGroupBox box(nullptr);
    QWidget inner(&box);
    QRadioButton first(&box);
    QRadioButton second(&inner);
    box.Insert(&first, -1);
    box.Insert(&second, -1);
    first.setChecked(true);
    second.setChecked(true);
    EXPECT_FALSE(first.isChecked());
    first.setChecked(true);
    EXPECT_FALSE(second.isChecked());
}

TEST_F(WidgetTools, AColumnLayoutHoldsOneGridAtTheTop) {
    QGroupBox box;
    const QGridLayout* grid = SetColumnLayout(box, 11, 6);
    ASSERT_EQ(box.layout()->count(), 1);
    EXPECT_EQ(box.layout()->itemAt(0)->layout(), grid);
    EXPECT_EQ(box.layout()->contentsMargins(), QMargins(11, 11, 11, 11));
    EXPECT_EQ(box.layout()->spacing(), 6);
    EXPECT_EQ(grid->spacing(), 6);
    EXPECT_EQ(grid->alignment(), Qt::AlignTop);
}

TEST_F(WidgetTools, TheBackgroundOfALineEditIsItsBase) {
    QLineEdit edit;
    SetPaletteBackgroundColor(edit, Qt::red);
    for (const auto group : {QPalette::Active, QPalette::Inactive, QPalette::Disabled})
        EXPECT_EQ(edit.palette().color(group, QPalette::Base), QColor(Qt::red));
}

TEST_F(WidgetTools, ABackgroundKeepsTheTextReadableOnADarkDesktop) {
    QLineEdit edit;
    QPalette dark;
    dark.setColor(QPalette::Base, Qt::black);
    dark.setColor(QPalette::Text, Qt::white);
    edit.setPalette(dark);
    for (const auto ground : {Qt::white, Qt::red}) {
        SetPaletteBackgroundColor(edit, ground);
        EXPECT_EQ(edit.palette().color(QPalette::Text), QColor(Qt::black));
    }
    SetPaletteBackgroundColor(edit, Qt::darkBlue);
    EXPECT_EQ(edit.palette().color(QPalette::Text), QColor(Qt::white));
}

TEST_F(WidgetTools, AForegroundAppliesToTheWidgetsInside) {
    QGroupBox box;
    const QLabel label(&box);
    SetPaletteForegroundColor(box, Qt::blue);
    EXPECT_EQ(box.palette().color(QPalette::WindowText), QColor(Qt::blue));
    EXPECT_EQ(label.palette().color(QPalette::WindowText), QColor(Qt::blue));
}

} // namespace
