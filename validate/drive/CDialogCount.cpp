#include "validate/drive/CDialogCount.h"

#include <QApplication>
#include <QEvent>
#include <QFileDialog>
#include <QWidget>

namespace validate {

CDialogCount::CDialogCount() { qApp->installEventFilter(this); }

bool CDialogCount::eventFilter(QObject* watched, QEvent* event) {
    const auto* window = event->type() == QEvent::Show ? qobject_cast<QWidget*>(watched) : nullptr;
    if (window != nullptr && window->isWindow() && window->isModal() && !event->spontaneous()) {
        ++m_windows;
        m_fileDialogs += qobject_cast<const QFileDialog*>(window) != nullptr ? 1 : 0;
    }
    return QObject::eventFilter(watched, event);
}

} // namespace validate
