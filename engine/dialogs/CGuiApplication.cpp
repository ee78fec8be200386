#include "engine/dialogs/CGuiApplication.h"

#include "engine/errors/CEngineError.h"

#include <QWidget>

#include <clocale>
#include <cstdio>
#include <cstdlib>

namespace engine {

namespace {

CGuiApplication::OnFatal g_onFatal = nullptr;

/// While Qt starts, its messages about the environment are dropped; only fatal ones matter.
void OnMessageAtStart(QtMsgType type, const QMessageLogContext& /*context*/, const QString& text) {
    if (type == QtFatalMsg && g_onFatal != nullptr)
        g_onFatal(text.simplified().toLocal8Bit().toStdString());
}

/// In a batch run, messages come from the pack, except for those about features that the offscreen platform
/// lacks.
void OnMessageOffscreen(QtMsgType /*type*/, const QMessageLogContext& /*context*/, const QString& text) {
    if (!text.startsWith("This plugin does not support"))
        std::fprintf(stderr, "%s\n", text.toLocal8Bit().constData());
}

int& Prepare(bool showsWindows, CGuiApplication::OnFatal onFatal, int& argumentCount) {
    g_onFatal = onFatal;
    if (!showsWindows)
        qputenv("QT_QPA_PLATFORM", "offscreen");
    else if (!qEnvironmentVariableIsSet("QT_QPA_PLATFORM") && qEnvironmentVariableIsEmpty("DISPLAY") &&
             qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY"))
        throw CCallerError("--gui needs a display, and neither DISPLAY nor WAYLAND_DISPLAY is set");
    qInstallMessageHandler(OnMessageAtStart);
    return argumentCount;
}

} // namespace

CGuiApplication::CGuiApplication(bool showsWindows, OnFatal onFatal)
    : m_application(Prepare(showsWindows, onFatal, m_argumentCount), m_arguments) {
    qInstallMessageHandler(showsWindows ? nullptr : OnMessageOffscreen);
    std::setlocale(LC_NUMERIC, "C");
}

CGuiApplication::~CGuiApplication() {
    QWidgetList windows = QApplication::topLevelWidgets();
    // Child windows are deleted with their parents.
    windows.removeIf([](const QWidget* window) { return window->parent() != nullptr; });
    qDeleteAll(windows);
}

} // namespace engine
