#include <sorbgui/MainWidget.h>

#include "support/QtTest.h"

#include <QMainWindow>
#include <QPushButton>

#include <memory>

namespace {

using namespace ORVEN;

class MainWidgetTest : public test::QtTest {};

TEST_F(MainWidgetTest, IsNullWithoutAnyMainWindow) {
    const QWidget some;
    EXPECT_EQ(MainWidget(), nullptr);
}

TEST_F(MainWidgetTest, IsTheExistingMainWindow) {
    const QPushButton button;
    QMainWindow window;
    EXPECT_EQ(MainWidget(), &window);
}

TEST_F(MainWidgetTest, IsTheWidgetSetByTheHostUntilItIsDestroyed) {
    QMainWindow window;
    auto set = std::make_unique<QWidget>();
    SetMainWidget(set.get());
    EXPECT_EQ(MainWidget(), set.get());
    set.reset();
    EXPECT_EQ(MainWidget(), &window);
}

TEST_F(MainWidgetTest, CanBeUnset) {
    QWidget widget;
    SetMainWidget(&widget);
    SetMainWidget(nullptr);
    EXPECT_EQ(MainWidget(), nullptr);
}

} // namespace
