#include "engine/dialogs/WidgetAnswer.h"

#include "engine/catalogue/ValueKind.h"

#include <QAbstractButton>
#include <QAbstractItemView>
#include <QComboBox>
#include <QDoubleSpinBox>
#include <QGroupBox>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QSpinBox>
#include <QTextEdit>

namespace engine {

namespace {

std::string Set(QLineEdit& edit, const QString& text) {
    if (edit.isReadOnly())
        return "it cannot be edited";
    // Replaces the old text as if typed: unlike setText, this applies the validator and signals a user edit.
    edit.selectAll();
    edit.insert(text);
    if (edit.text() != text)
        return "it does not take this text";
    if (edit.hasAcceptableInput())
        Q_EMIT edit.editingFinished();
    return {};
}

template <class SpinBox, class Number>
std::string SetNumber(SpinBox& box, const std::optional<Number>& number) {
    if (!number)
        return "it takes a number";
    if (!(*number >= box.minimum() && *number <= box.maximum())) {
        return "it takes numbers from " + QString::number(box.minimum()).toStdString() + " to " +
               QString::number(box.maximum()).toStdString();
    }
    box.setValue(*number);
    return {};
}

std::string Set(QComboBox& box, const QString& value) {
    int index = box.findText(value, Qt::MatchExactly | Qt::MatchCaseSensitive);
    bool isNumber = false;
    if (index < 0) {
        index = value.toInt(&isNumber);
        if (!isNumber || index < 0 || index >= box.count())
            index = -1;
    }
    if (index < 0 && box.isEditable()) {
        box.setEditText(value);
        return {};
    }
    if (index < 0)
        return "it has no such entry";
    box.setCurrentIndex(index);
    Q_EMIT box.activated(index);
    return {};
}

std::string Set(QAbstractItemView& view, const QString& text) {
    const QAbstractItemModel* model = view.model();
    const QModelIndexList rows = model != nullptr
                                     ? model->match(model->index(0, 0), Qt::DisplayRole, text, 1,
                                                    Qt::MatchExactly | Qt::MatchCaseSensitive | Qt::MatchWrap)
                                     : QModelIndexList();
    if (rows.isEmpty())
        return "it has no such row";
    view.setCurrentIndex(rows.front());
    return {};
}

std::string Set(QAbstractButton& button, const std::optional<bool>& isOn) {
    if (!isOn || !button.isCheckable())
        return button.isCheckable() ? "it takes true or false" : "it is no input";
    if (button.isChecked() != *isOn)
        button.click();
    return button.isChecked() == *isOn ? "" : "it cannot be switched off, only another one on";
}

std::string Set(QGroupBox& group, const std::optional<bool>& isOn) {
    if (!isOn || !group.isCheckable())
        return group.isCheckable() ? "it takes true or false" : "it is no input";
    group.setChecked(*isOn);
    return {};
}

} // namespace

std::string SetWidget(QWidget& widget, const QString& value) {
    if (!widget.isEnabled())
        return "it is disabled";
    const std::string text = value.toStdString();
    if (auto* edit = qobject_cast<QLineEdit*>(&widget))
        return Set(*edit, value);
    if (auto* box = qobject_cast<QSpinBox*>(&widget))
        return SetNumber(*box, ParseLong(text));
    if (auto* box = qobject_cast<QDoubleSpinBox*>(&widget))
        return SetNumber(*box, ParseDouble(text));
    if (auto* box = qobject_cast<QComboBox*>(&widget))
        return Set(*box, value);
    if (auto* view = qobject_cast<QAbstractItemView*>(&widget))
        return Set(*view, value);
    if (auto* button = qobject_cast<QAbstractButton*>(&widget))
        return Set(*button, ParseBool(text));
    if (auto* group = qobject_cast<QGroupBox*>(&widget))
        return Set(*group, ParseBool(text));
    if (auto* edit = qobject_cast<QTextEdit*>(&widget)) {
        edit->setPlainText(value);
        return {};
    }
    if (auto* edit = qobject_cast<QPlainTextEdit*>(&widget)) {
        edit->setPlainText(value);
        return {};
    }
    return "it is no input";
}

} // namespace engine
