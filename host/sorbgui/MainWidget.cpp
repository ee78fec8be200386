#include "sorbgui/MainWidget.h"

#include <QApplication>
#include <QMainWindow>
#include <QPointer>

namespace ORVEN {

namespace {

QPointer<QWidget>& MainWidgetThatWasSet() {
    static QPointer<QWidget> widget;
    return widget;
}

} // namespace

QWidget* MainWidget() {
    if (QWidget* widget = MainWidgetThatWasSet())
        return widget;
    for (QWidget* widget : QApplication::topLevelWidgets()) {
        if (qobject_cast<QMainWindow*>(widget) != nullptr)
            return widget;
    }
    return nullptr;
}

void SetMainWidget(QWidget* widget) { MainWidgetThatWasSet() = widget; }

} // namespace ORVEN
