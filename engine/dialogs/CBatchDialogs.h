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

/// Whether the box says that something went wrong.
bool IsErrorBox(const StMessageBox& box);

/// What is put into a dialog's input of that object name before OK is pressed.
struct StWidgetAnswer {
    std::string objectName;
    std::string value;
};

/// What a person in front of the dialogs would do.
struct StDialogAnswers {
    std::vector<StWidgetAnswer> widgets; ///< in the order in which they are set
    std::optional<std::string> file;     ///< for file dialogs; without it they are cancelled
    bool cancel = false;                 ///< presses Cancel instead of OK
    /// Called before a file dialog is given the file to save to; with the answer false the dialog is
    /// cancelled.
    std::function<bool()> beforeSaving;
};

/// Sits at the dialogs in place of a person: while it lives, every modal window of the application is dealt
/// with as soon as it is shown and its own code has run, inside the event loop that the window opened.
///
/// A message box is recorded and closed by its default button, with `cancel` as by the Escape key. A file
/// dialog gets the file. In any other dialog the inputs are set, each in every dialog that has it, and OK is
/// pressed. Boxes that open while OK is pressed are dealt with in turn. A dialog that cannot be answered, has
/// its OK disabled, or stays open after OK is rejected, as is every dialog after it, and `Problem` tells the
/// reason.
///
/// Needs a `QApplication` and lives on its thread. Works on the offscreen platform and on a real one.
class CBatchDialogs : public QObject {
public:
    explicit CBatchDialogs(StDialogAnswers answers);
    ~CBatchDialogs() override;

    [[nodiscard]] const std::vector<StMessageBox>& Boxes() const { return m_boxes; }
    /// The first thing that went wrong, as a sentence with the dialog's title; empty if nothing did.
    [[nodiscard]] const std::string& Problem() const { return m_problem; }
    /// Object names of answers that no dialog had a widget for.
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
    std::vector<bool> m_isUsed; // for each of the widget answers
    std::vector<StMessageBox> m_boxes;
    std::string m_problem;
    bool m_hasSeenFileDialog = false;
};

} // namespace engine
