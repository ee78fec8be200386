#pragma once

#include <QBoxLayout>
#include <QButtonGroup>
#include <QColor>
#include <QGridLayout>
#include <QGroupBox>
#include <QPalette>
#include <QWidget>

/// What the dialogs of this system ask of a widget toolkit and Qt 6 has no call for.
namespace ORVEN {

/// A group box whose radio buttons exclude each other, as one widget.
class CButtonGroupBox : public QGroupBox {
public:
    explicit CButtonGroupBox(QWidget* parent)
        : QGroupBox(parent) {}

    /// The button gets a number of its own for id -1.
    void Insert(QAbstractButton* button, int id) { m_buttons.addButton(button, id); }

private:
    QButtonGroup m_buttons;
};

/// Lays out a box as a column with this margin, whose one element is the grid that is returned: it keeps to
/// the top and leaves what it does not need free below.
inline QGridLayout* SetColumnLayout(QGroupBox& box, int margin, int spacing) {
    auto* column = new QVBoxLayout(&box);
    column->setContentsMargins(margin, margin, margin, margin);
    column->setSpacing(spacing);
    auto* grid = new QGridLayout;
    grid->setSpacing(spacing);
    grid->setAlignment(Qt::AlignTop);
    column->addLayout(grid);
    return grid;
}

/// Colours what the widget, and any widget inside it without a colour of its own, writes with.
inline void SetPaletteForegroundColor(QWidget& widget, const QColor& color) {
    QPalette palette = widget.palette();
    palette.setColor(widget.foregroundRole(), color);
    widget.setPalette(palette);
}

/// Colours the ground that the widget writes on. What it writes turns black or white, whichever shows up on
/// it, as that may have been meant for the ground of a dark desktop.
inline void SetPaletteBackgroundColor(QWidget& widget, const QColor& color) {
    QPalette palette = widget.palette();
    palette.setColor(widget.backgroundRole(), color);
    palette.setColor(widget.foregroundRole(), qGray(color.rgb()) < 64 ? Qt::white : Qt::black);
    widget.setPalette(palette);
}

} // namespace ORVEN
