#include "engine/dialogs/CBatchDialogs.h"

#include "engine/dialogs/WidgetAnswer.h"

#include <QApplication>
#include <QDialogButtonBox>
#include <QEvent>
#include <QFileDialog>
#include <QFileInfo>
#include <QLineEdit>
#include <QMessageBox>
#include <QPointer>
#include <QPushButton>
#include <QTimer>

namespace engine {

namespace {

const char* KindOf(const QMessageBox& box) {
    switch (box.icon()) {
    case QMessageBox::Information:
        return "information";
    case QMessageBox::Warning:
        return "warning";
    case QMessageBox::Critical:
        return "critical";
    case QMessageBox::Question:
        return "question";
    case QMessageBox::NoIcon:
        break;
    }
    return "plain";
}

/// The dialog's button with this role: a standard button, or else one whose text or object name is the word,
/// as in "&Ok" or "OK_button".
QPushButton* FindButton(const QDialog& dialog, QDialogButtonBox::StandardButton standard,
                        const QString& word) {
    for (const auto* box : dialog.findChildren<QDialogButtonBox*>()) {
        if (QPushButton* button = box->button(standard))
            return button;
    }
    const auto isWord = [&word](QString text) {
        return text.remove('&').compare(word, Qt::CaseInsensitive) == 0;
    };
    for (QPushButton* button : dialog.findChildren<QPushButton*>()) {
        const QString name = button->objectName().remove("button", Qt::CaseInsensitive).remove('_');
        if (isWord(button->text()) || isWord(name))
            return button;
    }
    return nullptr;
}

QPushButton* FindDefaultButton(const QDialog& dialog) {
    for (QPushButton* button : dialog.findChildren<QPushButton*>()) {
        if (button->isDefault())
            return button;
    }
    return nullptr;
}

void Reject(QDialog& dialog) {
    const QPointer<QDialog> guard(&dialog);
    dialog.reject();
    // Even a dialog that refuses to be rejected must not wait for a user.
    if (guard && guard->isVisible())
        guard->hide();
}

} // namespace

bool IsErrorBox(const StMessageBox& box) { return box.kind == "critical" || box.kind == "warning"; }

CBatchDialogs::CBatchDialogs(StDialogAnswers answers)
    : m_answers(std::move(answers))
    , m_isUsed(m_answers.widgets.size(), false) {
    qApp->installEventFilter(this);
}

CBatchDialogs::~CBatchDialogs() = default;

std::vector<std::string> CBatchDialogs::UnusedAnswers() const {
    std::vector<std::string> unused;
    for (std::size_t i = 0; i < m_isUsed.size(); ++i) {
        if (!m_isUsed[i])
            unused.push_back(m_answers.widgets[i].objectName);
    }
    return unused;
}

bool CBatchDialogs::eventFilter(QObject* watched, QEvent* event) {
    auto* window = event->type() == QEvent::Show ? qobject_cast<QWidget*>(watched) : nullptr;
    if (window != nullptr && window->isWindow() && window->isModal() && !event->spontaneous()) {
        // By the time this runs, the window is in its own event loop.
        QTimer::singleShot(0, this, [this, shown = QPointer<QWidget>(window)] {
            if (shown && shown->isVisible())
                Handle(*shown);
        });
    }
    return QObject::eventFilter(watched, event);
}

void CBatchDialogs::Handle(QWidget& window) {
    if (auto* box = qobject_cast<QMessageBox*>(&window))
        HandleBox(*box);
    else if (auto* fileDialog = qobject_cast<QFileDialog*>(&window))
        HandleFileDialog(*fileDialog);
    else if (auto* dialog = qobject_cast<QDialog*>(&window))
        HandleDialog(*dialog);
    else
        window.close();
}

void CBatchDialogs::HandleBox(QMessageBox& box) {
    m_boxes.push_back({KindOf(box), box.windowTitle().toStdString(), box.text().toStdString()});
    const QPointer<QMessageBox> guard(&box);
    if (m_answers.isCancelled)
        box.close(); // as by the Escape key; a box without an escape button stays open
    if (!guard || !guard->isVisible())
        return;
    QAbstractButton* button = FindDefaultButton(box);
    if (button == nullptr && !box.buttons().isEmpty())
        button = box.buttons().front();
    if (button != nullptr)
        button->click();
    if (guard && guard->isVisible())
        Reject(box);
}

void CBatchDialogs::HandleFileDialog(QFileDialog& dialog) {
    m_hasSeenFileDialog = true;
    if (!m_problem.empty() || m_answers.isCancelled || !m_answers.file) {
        Reject(dialog);
        return;
    }
    // Naming the file on the command line is sufficient consent to replace it.
    dialog.setOption(QFileDialog::DontConfirmOverwrite);
    const QString path = QFileInfo(QString::fromStdString(*m_answers.file)).absoluteFilePath();
    dialog.selectFile(path);
    if (auto* edit = dialog.findChild<QLineEdit*>("fileNameEdit"))
        edit->setText(path);
    if (dialog.acceptMode() == QFileDialog::AcceptSave && m_answers.beforeSaving &&
        !m_answers.beforeSaving()) {
        Reject(dialog);
        return;
    }
    const QPointer<QFileDialog> guard(&dialog);
    static_cast<QDialog&>(dialog).accept();
    if (guard && guard->isVisible())
        Fail(dialog, "does not take the file '" + *m_answers.file + "'");
}

void CBatchDialogs::HandleDialog(QDialog& dialog) {
    if (!m_problem.empty()) {
        Reject(dialog);
        return;
    }
    if (m_answers.isCancelled) {
        const QPointer<QDialog> guard(&dialog);
        if (QPushButton* button = FindButton(dialog, QDialogButtonBox::Cancel, "cancel"))
            button->click();
        if (guard && guard->isVisible())
            Reject(dialog);
        return;
    }
    if (!SetInputs(dialog))
        return;
    QPushButton* button = FindButton(dialog, QDialogButtonBox::Ok, "ok");
    if (button == nullptr)
        button = FindDefaultButton(dialog);
    if (button != nullptr && !button->isEnabled()) {
        Fail(dialog, "has its button '" + button->text().remove('&').toStdString() + "' disabled");
        return;
    }
    const QPointer<QDialog> guard(&dialog);
    const std::size_t boxesBefore = m_boxes.size();
    if (button != nullptr)
        button->click();
    else
        dialog.accept();
    if (guard && guard->isVisible())
        Fail(dialog, m_boxes.size() > boxesBefore ? "stays open after OK and says: " + m_boxes.back().text
                                                  : "stays open after OK");
}

bool CBatchDialogs::SetInputs(QDialog& dialog) {
    for (std::size_t i = 0; i < m_answers.widgets.size(); ++i) {
        const StWidgetAnswer& answer = m_answers.widgets[i];
        auto* widget = dialog.findChild<QWidget*>(QString::fromStdString(answer.objectName));
        if (widget == nullptr)
            continue;
        m_isUsed[i] = true;
        if (const std::string why = SetWidget(*widget, QString::fromStdString(answer.value)); !why.empty()) {
            Fail(dialog, "cannot set '" + answer.objectName + "' to '" + answer.value + "': " + why);
            return false;
        }
    }
    return true;
}

void CBatchDialogs::Fail(QDialog& dialog, const std::string& reason) {
    if (m_problem.empty())
        m_problem = "the dialog '" + dialog.windowTitle().toStdString() + "' " + reason;
    Reject(dialog);
}

} // namespace engine
