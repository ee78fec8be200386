#include "GuiApplication.h"

#include "Commands.h"

#include <QWidget>

#include <clocale>
#include <cstdio>
#include <cstdlib>

namespace app {

namespace {

/// While Qt starts it remarks upon the environment, which is of no use to anybody; but what ends the program
/// is.
void OnMessageAtStart(QtMsgType type, const QMessageLogContext& /*context*/, const QString& text) {
    if (type != QtFatalMsg)
        return;
    std::fprintf(stderr, "quillon: --gui: %s\n", text.simplified().toLocal8Bit().constData());
    std::_Exit(STATUS_USAGE);
}

/// Messages of a batch run are the pack's, but for the offscreen platform's apologies for what it lacks.
void OnMessageOffscreen(QtMsgType /*type*/, const QMessageLogContext& /*context*/, const QString& text) {
    if (!text.startsWith("This plugin does not support"))
        std::fprintf(stderr, "%s\n", text.toLocal8Bit().constData());
}

int& Prepare(bool withWindows, int& argumentCount) {
    if (!withWindows)
        qputenv("QT_QPA_PLATFORM", "offscreen");
    else if (!qEnvironmentVariableIsSet("QT_QPA_PLATFORM") && qEnvironmentVariableIsEmpty("DISPLAY") &&
             qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY"))
        throw CCommandError(STATUS_USAGE,
                            "--gui needs a display, and neither DISPLAY nor WAYLAND_DISPLAY is set");
    qInstallMessageHandler(OnMessageAtStart);
    return argumentCount;
}

} // namespace

CGuiApplication::CGuiApplication(bool withWindows)
    : m_application(Prepare(withWindows, m_argumentCount), m_arguments) {
    qInstallMessageHandler(withWindows ? nullptr : OnMessageOffscreen);
    std::setlocale(LC_NUMERIC, "C");
}

CGuiApplication::~CGuiApplication() {
    QWidgetList windows = QApplication::topLevelWidgets();
    windows.removeIf([](const QWidget* window) { return window->parent() != nullptr; }); // go with it
    qDeleteAll(windows);
}

} // namespace app
