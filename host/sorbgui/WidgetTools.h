#pragma once

#include <QBoxLayout>
#include <QButtonGroup>
#include <QColor>
#include <QGridLayout>
#include <QGroupBox>
#include <QPalette>
#include <QWidget>

/// Widget functions that the dialogs of this system need and Qt 6 does not provide.
namespace ORVEN {

/// A group box with mutually exclusive radio buttons, as one widget.
class CButtonGroupBox : public QGroupBox {
public:
    explicit CButtonGroupBox(QWidget* parent)
        : QGroupBox(parent) {}

    /// Adds the button to the group. An id of -1 assigns a unique number.
    void Insert(QAbstractButton* button, int id) { m_buttons.addButton(button, id); }

private:
    QButtonGroup m_buttons;
};

/// Gives the box a column layout with this margin and returns the grid that is its only element. The grid is
/// aligned to the top; surplus space stays free below. `margin` and `spacing` are in pixels.
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

/// Sets the text colour of the widget, and of all widgets inside it that do not have a colour of their own.
inline void SetPaletteForegroundColor(QWidget& widget, const QColor& color) {
    QPalette palette = widget.palette();
    palette.setColor(widget.foregroundRole(), color);
    widget.setPalette(palette);
}

/// Sets the background colour of the widget, and its text colour to black or white, whichever is readable on
/// it: the previous text colour may have been chosen for a dark desktop.
inline void SetPaletteBackgroundColor(QWidget& widget, const QColor& color) {
    QPalette palette = widget.palette();
    palette.setColor(widget.backgroundRole(), color);
    palette.setColor(widget.foregroundRole(), qGray(color.rgb()) < 64 ? Qt::white : Qt::black);
    widget.setPalette(palette);
}

} // namespace ORVEN
