#pragma once

#include <QApplication>

#include <string>

namespace engine {

/// The Qt application that a pack's dialogs need: on the offscreen platform for batch runs, where no display
/// is needed, or with real windows. Costs about a millisecond; one at a time.
///
/// The locale for numbers stays "C", which Qt would set to the user's: files and history lines are the same
/// everywhere.
///
/// Dialogs that plug-ins leave behind are deleted with it: it has to end before their pack is unloaded.
class CGuiApplication {
public:
    using OnFatal = void (*)(const std::string& reason);

    /// Raises `CCallerError` if real windows are asked for and there is no display.
    /// Qt ends the process if its platform cannot start; `onFatal` gets the reason just before.
    explicit CGuiApplication(bool withWindows, OnFatal onFatal = nullptr);
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
