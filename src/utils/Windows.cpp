#include "utils/Windows.h"

#include <sorbgui/CFileDialog.h>
#include <sorbgui/MainWidget.h>
#include <sorblib2core/CException.h>

#include <QApplication>
#include <QCursor>

#include <string_view>

namespace quillon {

using namespace ORVEN;

void RequireWindows(const char* source) {
    if (qobject_cast<QApplication*>(QCoreApplication::instance()) == nullptr)
        throw CException(source, "A dialog cannot be shown by a host without windows.", nullptr);
}

CWaitCursor::CWaitCursor() { QApplication::setOverrideCursor(QCursor(Qt::WaitCursor)); }

CWaitCursor::~CWaitCursor() { QApplication::restoreOverrideCursor(); }

std::string AskForCsvFile(const std::string& label, const char* ending) {
    constexpr std::string_view extension = ".csv";
    const std::string name = label.ends_with(extension) ? label : label.substr(0, label.rfind('.')) + ending;
    const CFileDialog dialog(name, "Comma Separated Values (*.csv)", CFileDialog::SAVE_ASK_TO_REPLACE,
                             MainWidget());
    return dialog.FilePath();
}

} // namespace quillon
