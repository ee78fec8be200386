#pragma once

#include <QDialog>
#include <QPointer>

#include <QObject>
#include <string>
#include <vector>

namespace test {

/// A person who agrees to everything: answers each modal dialog that opens while the object lives, so that no
/// run waits for somebody. A file dialog gets `file`, a question a yes, and any other dialog its OK. A dialog
/// that does not take that is cancelled after a few tries.
///
/// Needs an application (`CQtEnvironment`) and the thread that opens the dialogs.
class CDialogAnswers {
public:
    /// Without a file, file dialogs are cancelled.
    explicit CDialogAnswers(std::string file = {});
    CDialogAnswers(const CDialogAnswers&) = delete;
    CDialogAnswers& operator=(const CDialogAnswers&) = delete;
    /// Deletes the answered dialogs that were left to the host.
    ~CDialogAnswers();

    /// The dialogs so far, in the order in which they opened: class and title, as in
    /// "QMessageBox: Save Error".
    [[nodiscard]] const std::vector<std::string>& Seen() const { return m_seen; }

private:
    void Wait();
    void Answer(QDialog& dialog);

    QObject m_person; // its timers go with it
    std::string m_file;
    std::vector<std::string> m_seen;
    std::vector<QPointer<QDialog>> m_answered;
    int m_tries = 0; // for the last dialog
};

} // namespace test
