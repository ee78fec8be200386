#pragma once

class QWidget;

namespace ORVEN {

/// Returns the host's main window, which is the parent of the dialogs of plug-ins and shows their progress in
/// its status bar: the one set by the host, else the first `QMainWindow` of the application; null if there is
/// neither.
QWidget* MainWidget();

/// Sets the main window; null unsets it, and so does destroying the widget. The host keeps ownership. Call on
/// the user interface thread.
void SetMainWidget(QWidget* widget);

} // namespace ORVEN
