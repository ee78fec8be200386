#pragma once

#include <string>

class QString;
class QWidget;

/// Shared by the plug-ins that open windows.
namespace quillon {

/// Raises `CException` in the name of `source` if there is no application that can show a window. Without
/// this check the toolkit would terminate the program.
void RequireWindows(const char* source);

/// The icon of a message box.
enum class EnBox { INFORMATION, WARNING, CRITICAL };

/// Shows a message in a modal box with one button, and returns when it is closed. The text is shown as plain
/// text, because paths and labels in it may look like markup. Raises the same errors as `RequireWindows`.
void ShowBox(const char* source, EnBox kind, QWidget* parent, const char* caption, const QString& text);

/// Shows the wait cursor during its lifetime; does nothing if there is no user interface.
class CWaitCursor {
public:
    CWaitCursor();
    CWaitCursor(const CWaitCursor&) = delete;
    CWaitCursor& operator=(const CWaitCursor&) = delete;
    ~CWaitCursor();

private:
    bool m_isShown;
};

/// Asks for the file to save a table to. The suggested name is the label of the measured document up to its
/// last dot, followed by the ending, as in "scan_granulometry.csv". A label that ends in ".csv" is suggested
/// unchanged. Returns an empty text if the user cancels.
std::string AskForCsvFile(const std::string& label, const char* ending);

} // namespace quillon
