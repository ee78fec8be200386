#pragma once

#include <QApplication>

#include <string>

namespace engine {

/// The Qt application that a pack's dialogs need. It uses the offscreen platform for batch runs, which needs
/// no display, or real windows. Construction takes about a millisecond. Only one may exist at a time.
///
/// Qt would set the locale for numbers to the user's; this class keeps it at "C", so that files and history
/// lines are the same everywhere.
///
/// The destructor deletes dialogs that plug-ins have left behind, so it must run before their pack is
/// unloaded.
class CGuiApplication {
public:
    using OnFatal = void (*)(const std::string& reason);

    /// Raises `CCallerError` if real windows are requested and there is no display. Qt ends the process if
    /// its platform cannot start; `onFatal` is called with the reason just before.
    explicit CGuiApplication(bool showsWindows, OnFatal onFatal = nullptr);
    CGuiApplication(const CGuiApplication&) = delete;
    CGuiApplication& operator=(const CGuiApplication&) = delete;
    ~CGuiApplication();

private:
    // Qt keeps references to these.
    int m_argumentCount = 1;
    char m_programName[8] = "quillon";
    char* m_arguments[2] = {m_programName, nullptr};
    QApplication m_application;
};

} // namespace engine
