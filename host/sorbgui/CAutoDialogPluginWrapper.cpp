#include "sorbgui/CAutoDialogPluginWrapper.h"

#include "sorbgui/MainWidget.h"

#include <sorblib2core/CException.h>
#include <sorblib2core/CString.h>
#include <sorblib2core/CValueMap.h>
#include <sorblib2core/CValueString.h>
#include <sorblib2core/CValueVector.h>

#include <QComboBox>
#include <QDialog>
#include <QDialogButtonBox>
#include <QFormLayout>
#include <QLineEdit>
#include <QString>
#include <QVBoxLayout>

#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace ORVEN {

namespace {

[[noreturn]] void RaiseBadDescription(const char* what) {
    throw CException("CAutoDialogPluginWrapper",
                     CString("The description of a dialog has no %1.", CString::ENC_UTF8).Arg(what), nullptr);
}

QString TextOf(const CValueMap& map, const char* key) {
    const CString none;
    return QString::fromStdString(map.EntryString(key, none).Std());
}

/// An input of the dialog, and its current text.
struct StInput {
    std::string key;
    std::function<QString()> text;
};

StInput AddInput(QFormLayout& form, const CValueMap& description) {
    if (TextOf(description, "type") != "string")
        RaiseBadDescription("known type");
    const QString key = TextOf(description, "entry");
    const QString start = TextOf(description, "default");
    QWidget* widget = nullptr;
    StInput input{key.toStdString(), {}};
    const CValue* selection = description.Entry("selection", true);
    if (selection != nullptr && selection->Map() != nullptr) {
        auto* choice = new QComboBox;
        for (const CValue* text : *selection->Map())
            choice->addItem(QString::fromStdString(text->String().Std()));
        choice->setCurrentText(start);
        input.text = [choice] { return choice->currentText(); };
        widget = choice;
    } else {
        auto* edit = new QLineEdit(start);
        input.text = [edit] { return edit->text(); };
        widget = edit;
    }
    widget->setObjectName("choice:" + key);
    form.addRow(TextOf(description, "caption") + ":", widget);
    return input;
}

} // namespace

CAutoDialogPluginWrapper::~CAutoDialogPluginWrapper() = default;

bool CAutoDialogPluginWrapper::show() {
    const std::unique_ptr<CValueVector> description(CreateDialogDescription());
    if (description->empty() || !description->HasEntry(0, CValue::VAL_STRING))
        RaiseBadDescription("title");

    QDialog dialog(MainWidget());
    dialog.setWindowTitle(QString::fromStdString(description->Entry(0, true)->String().Std()));
    auto* column = new QVBoxLayout(&dialog);
    auto* form = new QFormLayout;
    column->addLayout(form);
    std::vector<StInput> inputs;
    for (std::size_t place = 1; place < description->size(); ++place) {
        const CValue* value = (*description)[place];
        if (value == nullptr || value->Map() == nullptr)
            RaiseBadDescription("map for a value");
        inputs.push_back(AddInput(*form, *value->Map()));
    }
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel);
    QObject::connect(buttons, &QDialogButtonBox::accepted, &dialog, &QDialog::accept);
    QObject::connect(buttons, &QDialogButtonBox::rejected, &dialog, &QDialog::reject);
    column->addWidget(buttons);
    if (dialog.exec() != QDialog::Accepted)
        return false;

    CValueMap values;
    for (const StInput& input : inputs)
        values.SetEntry(input.key, new CValueString(input.text().toUtf8().constData(), CString::NPOS));
    return SetDialogValues(values);
}

} // namespace ORVEN
