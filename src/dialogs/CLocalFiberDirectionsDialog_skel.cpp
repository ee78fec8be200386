#include "dialogs/CLocalFiberDirectionsDialog_skel.h"

#include <sorbgui/WidgetTools.h>

#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QEvent>
#include <QFrame>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPalette>
#include <QPushButton>
#include <QRadioButton>
#include <QVBoxLayout>

#include <array>

namespace {

constexpr int c_margin = 11;
constexpr int c_spacing = 6;

const char* const c_className = "CLocalFiberDirectionsDialog_skel";

template <class Widget>
Widget* Make(QWidget* parent, const char* name) {
    auto* widget = new Widget(parent);
    widget->setObjectName(QString::fromLatin1(name));
    return widget;
}

/// Creates a read-only field that is never enabled. Its text is not greyed out, because it is there to be
/// read.
QLineEdit* MakeDisplay(QWidget* parent, const char* name) {
    auto* edit = Make<QLineEdit>(parent, name);
    edit->setEnabled(false);
    edit->setAcceptDrops(false);
    QPalette palette = edit->palette();
    palette.setColor(QPalette::Disabled, QPalette::Text, palette.color(QPalette::Active, QPalette::Text));
    edit->setPalette(palette);
    return edit;
}

/// Creates a layout inside another one.
template <class Layout>
Layout* MakeInnerLayout(const char* name) {
    auto* layout = new Layout;
    layout->setObjectName(QString::fromLatin1(name));
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(c_spacing);
    return layout;
}

QHBoxLayout* MakeRow(const char* name, std::initializer_list<QWidget*> widgets) {
    auto* row = MakeInnerLayout<QHBoxLayout>(name);
    for (QWidget* widget : widgets)
        row->addWidget(widget);
    return row;
}

void FillLine(QGridLayout& grid, int line, std::initializer_list<QWidget*> widgets) {
    int column = 0;
    for (QWidget* widget : widgets)
        grid.addWidget(widget, line, column++);
}

QString Text(const char* text) {
    return qApp != nullptr ? QApplication::translate(c_className, text, nullptr) : QString::fromLatin1(text);
}

} // namespace

CLocalFiberDirectionsDialog_skel::CLocalFiberDirectionsDialog_skel(QWidget* parent, const char* name,
                                                                   bool modal, Qt::WindowFlags flags)
    : QDialog(parent, flags) {
    setObjectName(QString::fromLatin1(name != nullptr ? name : c_className));
    setModal(modal);
    auto* column = new QVBoxLayout(this);
    column->setObjectName("CLocalFiberDirectionsDialog_skelLayout");
    column->setContentsMargins(c_margin, c_margin, c_margin, c_margin);
    column->setSpacing(c_spacing);
    column->addWidget(MakeRadiusGroup());
    column->addWidget(MakeSizeGroup());
    column->addWidget(MakeAdvancedGroup());
    column->addLayout(MakeButtonRow());
    CLocalFiberDirectionsDialog_skel::languageChange();
    resize(QSize(536, 502).expandedTo(minimumSizeHint()));
    Connect();
    SetTabOrder();
}

QGroupBox* CLocalFiberDirectionsDialog_skel::MakeRadiusGroup() {
    auto* box = select_radius_group = Make<QGroupBox>(this, "select_radius_group");
    QGridLayout* grid = ORVEN::SetColumnLayout(*box, c_margin, c_spacing);

    radius_edit = Make<QLineEdit>(box, "radius_edit");
    textLabel2_4 = Make<QLabel>(box, "textLabel2_4");
    radius_pixel_edit = MakeDisplay(box, "radius_pixel_edit");
    textLabel4_4 = Make<QLabel>(box, "textLabel4_4");
    auto* radiusGrid = MakeInnerLayout<QGridLayout>("layout19");
    radiusGrid->addLayout(MakeRow("layout10", {radius_edit, textLabel2_4, radius_pixel_edit}), 0, 0);
    radiusGrid->addWidget(textLabel4_4, 0, 1);
    grid->addLayout(radiusGrid, 0, 0);

    textLabel1 = Make<QLabel>(box, "textLabel1");
    textLabel1->setAlignment(Qt::AlignRight | Qt::AlignVCenter);
    eval_area_from_edit = MakeDisplay(box, "eval_area_from_edit");
    eval_area_from_edit->setCursor(Qt::IBeamCursor);
    textLabel4_5 = Make<QLabel>(box, "textLabel4_5");
    textLabel2_5 = Make<QLabel>(box, "textLabel2_5");
    textLabel2_5->setAlignment(Qt::AlignRight | Qt::AlignVCenter);
    eval_area_to_edit = MakeDisplay(box, "eval_area_to_edit");
    textLabel4_5_2 = Make<QLabel>(box, "textLabel4_5_2");
    auto* areaGrid = MakeInnerLayout<QGridLayout>("layout10_2");
    FillLine(*areaGrid, 0, {textLabel1, eval_area_from_edit, textLabel4_5});
    FillLine(*areaGrid, 1, {textLabel2_5, eval_area_to_edit, textLabel4_5_2});
    grid->addLayout(areaGrid, 1, 0);
    return box;
}

QGroupBox* CLocalFiberDirectionsDialog_skel::MakeSizeGroup() {
    auto* box = select_size_group = Make<QGroupBox>(this, "select_size_group");
    ORVEN::SetPaletteForegroundColor(*box, Qt::black);
    box->setCheckable(true);
    box->setChecked(false);
    QGridLayout* grid = ORVEN::SetColumnLayout(*box, c_margin, c_spacing);

    textLabel3 = Make<QLabel>(box, "textLabel3");
    sizex_edit = Make<QLineEdit>(box, "sizex_edit");
    textLabel2 = Make<QLabel>(box, "textLabel2");
    sizex_pixel_edit = MakeDisplay(box, "sizex_pixel_edit");
    textLabel4 = Make<QLabel>(box, "textLabel4");
    grid->addLayout(MakeRow("layout11", {textLabel3, sizex_edit, textLabel2, sizex_pixel_edit, textLabel4}),
                    0, 0);

    textLabel3_2 = Make<QLabel>(box, "textLabel3_2");
    sizey_edit = MakeDisplay(box, "sizey_edit");
    textLabel2_2 = Make<QLabel>(box, "textLabel2_2");
    sizey_pixel_edit = MakeDisplay(box, "sizey_pixel_edit");
    textLabel4_3 = Make<QLabel>(box, "textLabel4_3");
    grid->addLayout(
        MakeRow("layout12", {textLabel3_2, sizey_edit, textLabel2_2, sizey_pixel_edit, textLabel4_3}), 1, 0);

    textLabel3_3 = Make<QLabel>(box, "textLabel3_3");
    sizez_edit = MakeDisplay(box, "sizez_edit");
    textLabel2_3 = Make<QLabel>(box, "textLabel2_3");
    sizez_pixel_edit = MakeDisplay(box, "sizez_pixel_edit");
    textLabel4_2 = Make<QLabel>(box, "textLabel4_2");
    grid->addLayout(
        MakeRow("layout13", {textLabel3_3, sizez_edit, textLabel2_3, sizez_pixel_edit, textLabel4_2}), 2, 0);

    line1 = Make<QFrame>(box, "line1");
    line1->setFrameShape(QFrame::HLine);
    line1->setFrameShadow(QFrame::Sunken);
    grid->addWidget(line1, 3, 0);

    textLabel3_3_2 = Make<QLabel>(box, "textLabel3_3_2");
    stepsize_edit = MakeDisplay(box, "stepsize_edit");
    textLabel2_3_2 = Make<QLabel>(box, "textLabel2_3_2");
    grid->addLayout(MakeRow("layout14", {textLabel3_3_2, stepsize_edit, textLabel2_3_2}), 4, 0);
    return box;
}

QGroupBox* CLocalFiberDirectionsDialog_skel::MakeAdvancedGroup() {
    auto* box = advanced_box = Make<QGroupBox>(this, "advanced_box");
    box->setCheckable(true);
    box->setChecked(false);
    QGridLayout* grid = ORVEN::SetColumnLayout(*box, c_margin, c_spacing);
    auto* column = MakeInnerLayout<QVBoxLayout>("layout31");
    output_box = Make<QCheckBox>(box, "output_box");
    column->addWidget(output_box);

    binarizationGroup = Make<ORVEN::CButtonGroupBox>(box, "binarizationGroup");
    binarizationGroup->setSizePolicy(QSizePolicy::Minimum, QSizePolicy::MinimumExpanding);
    QGridLayout* binarizationGrid = ORVEN::SetColumnLayout(*binarizationGroup, c_margin, c_spacing);
    radioOtsu = Make<QRadioButton>(binarizationGroup, "radioOtsu");
    radioOtsu->setEnabled(false);
    offset_edit = Make<QLineEdit>(binarizationGroup, "offset_edit");
    radioMask = Make<QRadioButton>(binarizationGroup, "radioMask");
    radioMask->setEnabled(false);
    comboMasks = Make<QComboBox>(binarizationGroup, "comboMasks");
    auto* choices = MakeInnerLayout<QGridLayout>("layout30");
    FillLine(*choices, 0, {radioOtsu, offset_edit});
    FillLine(*choices, 1, {radioMask, comboMasks});
    binarizationGrid->addLayout(choices, 0, 0);
    column->addWidget(binarizationGroup);
    grid->addLayout(column, 0, 0);
    return box;
}

QLayout* CLocalFiberDirectionsDialog_skel::MakeButtonRow() {
    auto* row = MakeInnerLayout<QHBoxLayout>("layout14_2");
    row->addItem(new QSpacerItem(336, 31, QSizePolicy::Expanding, QSizePolicy::Minimum));
    OK_button = Make<QPushButton>(this, "OK_button");
    Cancel_button = Make<QPushButton>(this, "Cancel_button");
    for (QPushButton* button : {OK_button, Cancel_button}) {
        button->setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
        row->addWidget(button);
    }
    return row;
}

void CLocalFiberDirectionsDialog_skel::Connect() {
    using Form = CLocalFiberDirectionsDialog_skel;
    connect(sizex_edit, &QLineEdit::textChanged, this, &Form::sizex_edit_changed);
    connect(Cancel_button, &QPushButton::clicked, this, &Form::reject);
    connect(OK_button, &QPushButton::clicked, this, &Form::accept);
    connect(radius_edit, &QLineEdit::textChanged, this, &Form::radius_edit_changed);
    connect(radioOtsu, &QRadioButton::toggled, this, &Form::radio_otsu_toggled);
}

void CLocalFiberDirectionsDialog_skel::SetTabOrder() {
    const std::array<QWidget*, 15> order{radius_edit,      radius_pixel_edit, select_size_group, sizex_edit,
                                         sizex_pixel_edit, sizey_edit,        sizey_pixel_edit,  sizez_edit,
                                         sizez_pixel_edit, stepsize_edit,     advanced_box,      output_box,
                                         offset_edit,      OK_button,         Cancel_button};
    for (std::size_t i = 1; i < order.size(); ++i)
        setTabOrder(order[i - 1], order[i]);
}

void CLocalFiberDirectionsDialog_skel::languageChange() {
    setWindowTitle(Text("Subfield Fiber Directions"));

    select_radius_group->setTitle(Text("Select fiber radius "));
    textLabel1->setText(Text("Evaluated area from"));
    textLabel2_5->setText(Text("to"));
    select_size_group->setTitle(Text("Select subfield size"));
    textLabel3->setText(Text("x:"));
    textLabel3_2->setText(Text("y:"));
    textLabel3_3->setText(Text("z:"));
    textLabel3_3_2->setText(Text("step size (x, y, z):"));
    for (QLabel* label : {textLabel2_4, textLabel2, textLabel2_2, textLabel2_3, textLabel2_3_2})
        label->setText(Text("m"));
    for (QLabel* label : {textLabel4_4, textLabel4_5, textLabel4_5_2, textLabel4, textLabel4_3, textLabel4_2})
        label->setText(Text("pixel"));

    advanced_box->setTitle(Text("Advanced options"));
    output_box->setText(Text("Output direction maps"));
    binarizationGroup->setTitle(Text("Binarization options"));
    radioOtsu->setText(Text("Otsu factor:"));
    offset_edit->setText(Text("1.25"));
    radioMask->setText(Text("Mask image:"));

    // Setting the text of a button also sets its shortcut, so the text is set first.
    OK_button->setText(Text("&Ok"));
    OK_button->setShortcut(QKeySequence(Text("Alt+O")));
    Cancel_button->setText(Text("&Cancel"));
    Cancel_button->setShortcut(QKeySequence(Text("Alt+C")));
}

void CLocalFiberDirectionsDialog_skel::changeEvent(QEvent* event) {
    if (event->type() == QEvent::LanguageChange)
        languageChange();
    QDialog::changeEvent(event);
}

void CLocalFiberDirectionsDialog_skel::sizex_edit_changed(const QString& /*text*/) {
    qWarning("CLocalFiberDirectionsDialog_skel::sizex_edit_changed(const QString&): Not implemented yet");
}

void CLocalFiberDirectionsDialog_skel::activateSubfieldsSlot() {
    qWarning("CLocalFiberDirectionsDialog_skel::activateSubfieldsSlot(): Not implemented yet");
}

void CLocalFiberDirectionsDialog_skel::radius_edit_changed(const QString& /*text*/) {
    qWarning("CLocalFiberDirectionsDialog_skel::radius_edit_changed(const QString&): Not implemented yet");
}

void CLocalFiberDirectionsDialog_skel::radio_otsu_toggled() {
    qWarning("CLocalFiberDirectionsDialog_skel::radio_otsu_toggled(): Not implemented yet");
}
