#include "support/DialogAnswers.h"

#include <QApplication>
#include <QFileDialog>
#include <QLineEdit>
#include <QMessageBox>
#include <QPushButton>
#include <QTimer>

#include <utility>

namespace test {

CDialogAnswers::CDialogAnswers(std::string file)
    : m_file(std::move(file)) {
    Wait();
}

CDialogAnswers::~CDialogAnswers() {
    for (const QPointer<QDialog>& dialog : m_answered) {
        if (dialog != nullptr && dialog->parent() == nullptr)
            delete dialog;
    }
}

void CDialogAnswers::Wait() {
    // One shot after the other: a repeating timer stays silent while a dialog opens from within its own slot.
    QTimer::singleShot(1, &m_person, [this] {
        Wait();
        if (auto* dialog = qobject_cast<QDialog*>(QApplication::activeModalWidget()))
            Answer(*dialog);
    });
}

void CDialogAnswers::Answer(QDialog& dialog) {
    constexpr int patience = 3;
    if (m_answered.empty() || m_answered.back() != &dialog) {
        m_seen.push_back(std::string(dialog.metaObject()->className()) + ": " +
                         dialog.windowTitle().toStdString());
        m_answered.emplace_back(&dialog);
        m_tries = 0;
    }
    const bool isFileDialog = qobject_cast<QFileDialog*>(&dialog) != nullptr;
    if (++m_tries > patience || (isFileDialog && m_file.empty())) {
        dialog.reject();
        return;
    }
    if (isFileDialog) {
        dialog.findChild<QLineEdit*>("fileNameEdit")->setText(QString::fromStdString(m_file));
        dialog.accept();
        return;
    }
    if (auto* box = qobject_cast<QMessageBox*>(&dialog); box != nullptr && box->button(QMessageBox::Yes)) {
        box->button(QMessageBox::Yes)->click();
        return;
    }
    // Dialogs that check their fields do so in the slot of this button.
    if (auto* button = dialog.findChild<QPushButton*>("OK_button"))
        button->click();
    else
        dialog.accept();
}

} // namespace test
