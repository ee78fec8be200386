#include "sorbgui/CFileDialog.h"

#include <QFile>
#include <QFileDialog>

namespace ORVEN {

CFileDialog::CFileDialog(const std::string& name, const std::string& filter, EnSaveMode mode,
                         QWidget* parent) {
    QFileDialog dialog(parent, QString(), QString(), QString::fromStdString(filter));
    dialog.setAcceptMode(QFileDialog::AcceptSave);
    dialog.setFileMode(QFileDialog::AnyFile);
    dialog.setOption(QFileDialog::DontConfirmOverwrite, mode == SAVE_REPLACE);
    dialog.selectFile(QString::fromStdString(name));
    if (dialog.exec() == QDialog::Accepted && !dialog.selectedFiles().isEmpty())
        m_path = QFile::encodeName(dialog.selectedFiles().front()).toStdString();
}

} // namespace ORVEN
