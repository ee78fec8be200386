#include "plugin/Windows.h"

#include <sorbgui/CFileDialog.h>
#include <sorbgui/MainWidget.h>
#include <sorblib2core/CException.h>

#include <QApplication>
#include <QCursor>
#include <QMessageBox>
#include <QString>

#include <string_view>

namespace quillon {

using namespace ORVEN;

namespace {

bool HasWindows() { return qobject_cast<QApplication*>(QCoreApplication::instance()) != nullptr; }

QMessageBox::Icon IconOf(EnBox kind) {
    switch (kind) {
    case EnBox::INFORMATION:
        return QMessageBox::Information;
    case EnBox::WARNING:
        return QMessageBox::Warning;
    case EnBox::CRITICAL:
        return QMessageBox::Critical;
    }
    return QMessageBox::NoIcon;
}

} // namespace

void RequireWindows(const char* source) {
    if (!HasWindows())
        throw CException(source, "A dialog cannot be shown by a host without windows.", nullptr);
}

void ShowBox(const char* source, EnBox kind, QWidget* parent, const char* caption, const QString& text) {
    RequireWindows(source);
    QMessageBox box(IconOf(kind), QString::fromUtf8(caption), text, QMessageBox::Ok, parent);
    box.setTextFormat(Qt::PlainText);
    box.exec();
}

CWaitCursor::CWaitCursor()
    : m_isShown(HasWindows()) {
    if (m_isShown)
        QApplication::setOverrideCursor(QCursor(Qt::WaitCursor));
}

CWaitCursor::~CWaitCursor() {
    if (m_isShown)
        QApplication::restoreOverrideCursor();
}

std::string AskForCsvFile(const std::string& label, const char* ending) {
    constexpr std::string_view extension = ".csv";
    const std::string name = label.ends_with(extension) ? label : label.substr(0, label.rfind('.')) + ending;
    const CFileDialog dialog(name, "Comma Separated Values (*.csv)", CFileDialog::SAVE_ASK_TO_REPLACE,
                             MainWidget());
    return dialog.FilePath();
}

} // namespace quillon
