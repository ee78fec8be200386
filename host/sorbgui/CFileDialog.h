#pragma once

#include <string>

class QWidget;

namespace ORVEN {

/// Asks in a modal dialog for the file that something is to be saved to.
class CFileDialog {
public:
    /// What becomes of a file that is there already.
    enum EnSaveMode {
        SAVE_ASK_TO_REPLACE = 0, ///< the person is asked, and can pick another name
        SAVE_REPLACE = 1         ///< it is picked like a new one
    };

    /// Opens the dialog and returns when it is closed. `name` is the file name to start from; `filter` tells
    /// which files are shown, as in "Comma Separated Values (*.csv)". Nothing is added to a name that is
    /// typed.
    CFileDialog(const std::string& name, const std::string& filter, EnSaveMode mode, QWidget* parent);

    /// False if the dialog was cancelled.
    [[nodiscard]] bool WasFileSelected() const { return !m_path.empty(); }
    /// The absolute path of the file, in the encoding of the file system; empty if there is none.
    [[nodiscard]] const std::string& FilePath() const { return m_path; }

private:
    std::string m_path;
};

} // namespace ORVEN
