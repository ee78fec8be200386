#pragma once

#include <string>

/// What plug-ins with windows of their own share.
namespace quillon {

/// Raises `CException` in the name of `source` if there is no application that could show a window: the
/// toolkit itself would end the program.
void RequireWindows(const char* source);

/// Shows the wait cursor for as long as it lives.
class CWaitCursor {
public:
    CWaitCursor();
    CWaitCursor(const CWaitCursor&) = delete;
    CWaitCursor& operator=(const CWaitCursor&) = delete;
    ~CWaitCursor();
};

/// Asks for the file that a table is to be saved to, and suggests one named like the document that was
/// measured: its label without what follows the last dot, and then the ending, as in
/// "scan_granulometry.csv". A label that ends in ".csv" is suggested as it stands. Empty if the person
/// cancels.
std::string AskForCsvFile(const std::string& label, const char* ending);

} // namespace quillon
