#pragma once

#include <string>

class QString;
class QWidget;

/// What plug-ins with windows of their own share.
namespace quillon {

/// Raises `CException` in the name of `source` if there is no application that could show a window: the
/// toolkit itself would end the program.
void RequireWindows(const char* source);

/// The icon of a message box.
enum class EnBox { INFORMATION, WARNING, CRITICAL };

/// Shows a message in a modal box with one button until somebody closes it. The text is shown letter by
/// letter: paths and labels in it may look like markup. Raises what `RequireWindows` raises.
void ShowBox(const char* source, EnBox kind, QWidget* parent, const char* caption, const QString& text);

/// Shows the wait cursor for as long as it lives; without windows it does nothing.
class CWaitCursor {
public:
    CWaitCursor();
    CWaitCursor(const CWaitCursor&) = delete;
    CWaitCursor& operator=(const CWaitCursor&) = delete;
    ~CWaitCursor();

private:
    bool m_isShown;
};

/// Asks for the file that a table is to be saved to, and suggests one named like the document that was
/// measured: its label without what follows the last dot, and then the ending, as in
/// "scan_granulometry.csv". A label that ends in ".csv" is suggested as it stands. Empty if the person
/// cancels.
std::string AskForCsvFile(const std::string& label, const char* ending);

} // namespace quillon
