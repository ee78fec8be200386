#pragma once

#include <QObject>

#include <functional>
#include <optional>
#include <string>
#include <vector>

class QAbstractButton;
class QDialog;
class QFileDialog;
class QMessageBox;
class QWidget;

namespace engine {

/// A message box that was shown and closed again.
struct StMessageBox {
    std::string kind; ///< "information", "warning", "critical", "question", or "plain" without an icon
    std::string caption;
    std::string text;
};

/// Whether the box reports an error.
bool IsErrorBox(const StMessageBox& box);

/// The value to enter into the input widget with the given object name before OK is pressed.
struct StWidgetAnswer {
    std::string objectName;
    std::string value;
};

/// The user input that answers the dialogs of a run.
struct StDialogAnswers {
    std::vector<StWidgetAnswer> widgets; ///< in the order in which they are set
    std::optional<std::string> file;     ///< the answer to file dialogs; without it they are cancelled
    bool isCancelled = false;            ///< presses Cancel instead of OK
    /// Called before a save dialog is given its file; if it returns false, the dialog is cancelled.
    std::function<bool()> beforeSaving;
};

/// Answers dialogs in place of a user. While it exists, it handles every modal window of the application once
/// the window is shown and its own code has run, inside the event loop that the window opened.
///
/// A message box is recorded and closed by its default button or, with `isCancelled`, as if by the Escape
/// key. A file dialog gets the file. In any other dialog the inputs are set and OK is pressed; an answer
/// applies to every dialog that has its widget. Boxes that open when OK is pressed are handled in turn. A
/// dialog that cannot be answered, has its OK disabled, or stays open after OK is rejected, as is every
/// dialog after it, and `Problem` returns the reason.
///
/// Needs a `QApplication` and must be created on its thread. Works on the offscreen platform and on a real
/// one.
class CBatchDialogs : public QObject {
public:
    explicit CBatchDialogs(StDialogAnswers answers);
    ~CBatchDialogs() override;

    [[nodiscard]] const std::vector<StMessageBox>& Boxes() const { return m_boxes; }
    /// The first problem, as a sentence with the dialog's title; empty if there was none.
    [[nodiscard]] const std::string& Problem() const { return m_problem; }
    /// Object names of the answers for which no dialog had a widget.
    [[nodiscard]] std::vector<std::string> UnusedAnswers() const;
    /// Whether a file dialog opened.
    [[nodiscard]] bool HasSeenFileDialog() const { return m_hasSeenFileDialog; }

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void Handle(QWidget& window);
    void HandleBox(QMessageBox& box);
    void HandleFileDialog(QFileDialog& dialog);
    void HandleDialog(QDialog& dialog);
    bool SetInputs(QDialog& dialog);
    void Fail(QDialog& dialog, const std::string& reason);

    StDialogAnswers m_answers;
    std::vector<bool> m_isUsed; // one per widget answer
    std::vector<StMessageBox> m_boxes;
    std::string m_problem;
    bool m_hasSeenFileDialog = false;
};

} // namespace engine
