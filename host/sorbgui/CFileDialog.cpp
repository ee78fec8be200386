#include "sorbgui/CFileDialog.h"

#include <QChildEvent>
#include <QFile>
#include <QFileDialog>
#include <QMessageBox>

namespace ORVEN {

namespace {

/// The standard dialog, whose message boxes show a file name literally even if it looks like markup.
class CPlainFileDialog : public QFileDialog {
public:
    using QFileDialog::QFileDialog;

protected:
    void childEvent(QChildEvent* event) override {
        // A box is polished before it is first shown; when it is added, it is not yet a QMessageBox.
        auto* box = event->polished() ? qobject_cast<QMessageBox*>(event->child()) : nullptr;
        if (box != nullptr)
            box->setTextFormat(Qt::PlainText);
        QFileDialog::childEvent(event);
    }
};

} // namespace

CFileDialog::CFileDialog(const std::string& name, const std::string& filter, EnSaveMode mode,
                         QWidget* parent) {
    CPlainFileDialog dialog(parent, QString(), QString(), QString::fromStdString(filter));
    dialog.setAcceptMode(QFileDialog::AcceptSave);
    dialog.setFileMode(QFileDialog::AnyFile);
    dialog.setOption(QFileDialog::DontConfirmOverwrite, mode == SAVE_REPLACE);
    dialog.selectFile(QString::fromStdString(name));
    if (dialog.exec() == QDialog::Accepted && !dialog.selectedFiles().isEmpty())
        m_path = QFile::encodeName(dialog.selectedFiles().front()).toStdString();
}

} // namespace ORVEN
