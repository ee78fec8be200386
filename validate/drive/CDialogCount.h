#pragma once

#include <QObject>

namespace validate {

/// Counts the modal windows that open while it lives. Needs an application.
class CDialogCount : public QObject {
public:
    CDialogCount();

    [[nodiscard]] int Windows() const { return m_windows; }
    /// Those that ask for a file.
    [[nodiscard]] int FileDialogs() const { return m_fileDialogs; }

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    int m_windows = 0;
    int m_fileDialogs = 0;
};

} // namespace validate
