#pragma once

class QWidget;

namespace ORVEN {

/// The host's main window, above which plug-ins open their boxes and in whose status bar they tell what they
/// do: the one that the host has set, else the application's first `QMainWindow`; null if there is neither.
QWidget* MainWidget();

/// The widget stays the host's; null, or its end, unsets it. On the user interface thread.
void SetMainWidget(QWidget* widget);

} // namespace ORVEN
