#pragma once

#include <string>

class QWidget;

namespace ORVEN {

/// A modal dialog that asks for a file to save to.
class CFileDialog {
public:
    /// How to treat a file that already exists.
    enum EnSaveMode {
        SAVE_ASK_TO_REPLACE = 0, ///< ask the user, who can pick another name
        SAVE_REPLACE = 1         ///< accept it like a new file
    };

    /// Opens the dialog and returns when it is closed. `name` is the initial file name; `filter` selects the
    /// files shown, as in "Comma Separated Values (*.csv)". No extension is appended to the name that the
    /// user types.
    CFileDialog(const std::string& name, const std::string& filter, EnSaveMode mode, QWidget* parent);

    /// False if the dialog was cancelled.
    [[nodiscard]] bool WasFileSelected() const { return !m_path.empty(); }
    /// The absolute path of the file, in the encoding of the file system; empty if no file was selected.
    [[nodiscard]] const std::string& FilePath() const { return m_path; }

private:
    std::string m_path;
};

} // namespace ORVEN
