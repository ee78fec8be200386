#include "dialogs/CLocalFiberDirectionsDialog_skel.h"

#include "support/QtTest.h"

#include <sorbgui/WidgetTools.h>

#include <QBoxLayout>
#include <QCheckBox>
#include <QComboBox>
#include <QGridLayout>
#include <QLabel>
#include <QLineEdit>
#include <QMetaMethod>
#include <QPushButton>
#include <QRadioButton>
#include <QTranslator>

#include <string>
#include <vector>

namespace {

using Form = CLocalFiberDirectionsDialog_skel;
using Texts = std::vector<std::string>;

/// The warnings of Qt that are given while it lives.
class CWarnings {
public:
    CWarnings()
        : m_before(qInstallMessageHandler(Take)) {
        g_texts.clear();
    }
    CWarnings(const CWarnings&) = delete;
    CWarnings& operator=(const CWarnings&) = delete;
    ~CWarnings() { qInstallMessageHandler(m_before); }

    static Texts TakeAll() { return std::exchange(g_texts, {}); }

private:
    static void Take(QtMsgType type, const QMessageLogContext& /*context*/, const QString& text) {
        if (type == QtWarningMsg)
            g_texts.push_back(text.toStdString());
    }

    static inline Texts g_texts;
    QtMessageHandler m_before;
};

const char* const c_sizeWarning =
    "CLocalFiberDirectionsDialog_skel::sizex_edit_changed(const QString&): Not implemented yet";
const char* const c_activateWarning =
    "CLocalFiberDirectionsDialog_skel::activateSubfieldsSlot(): Not implemented yet";
const char* const c_radiusWarning =
    "CLocalFiberDirectionsDialog_skel::radius_edit_changed(const QString&): Not implemented yet";
const char* const c_otsuWarning =
    "CLocalFiberDirectionsDialog_skel::radio_otsu_toggled(): Not implemented yet";

/// The class that a person would call it, without those of ours.
std::string ClassOf(const QWidget& widget) { return widget.metaObject()->className(); }

std::string TextOf(const QWidget& widget) {
    for (const char* property : {"text", "title"}) {
        const QVariant text = widget.property(property);
        if (text.isValid())
            return text.toString().toStdString();
    }
    return "";
}

/// A layout with all that is in it: "name[first second]", in a grid each with its place.
std::string Describe(QLayout& layout) {
    std::string contents;
    for (int i = 0; i < layout.count(); ++i) {
        QLayoutItem& item = *layout.itemAt(i);
        contents += i > 0 ? " " : "";
        if (const auto* grid = qobject_cast<QGridLayout*>(&layout)) {
            int row = 0;
            int column = 0;
            int rowSpan = 0;
            int columnSpan = 0;
            grid->getItemPosition(i, &row, &column, &rowSpan, &columnSpan);
            contents += QString("(%1,%2)").arg(row).arg(column).toStdString();
            EXPECT_EQ(rowSpan * columnSpan, 1);
        }
        if (item.layout() != nullptr)
            contents += Describe(*item.layout());
        else
            contents += item.widget() != nullptr ? item.widget()->objectName().toStdString() : "spacer";
    }
    return layout.objectName().toStdString() + "[" + contents + "]";
}

struct StWidgetRow {
    const char* group; ///< object name of the parent
    const char* name;
    const char* className;
    const char* text;
};

const char* const c_dialog = "CLocalFiberDirectionsDialog_skel";

const std::vector<StWidgetRow> c_widgets{
    {c_dialog, "select_radius_group", "QGroupBox", "Select fiber radius "},
    {"select_radius_group", "radius_edit", "QLineEdit", ""},
    {"select_radius_group", "textLabel2_4", "QLabel", "m"},
    {"select_radius_group", "radius_pixel_edit", "QLineEdit", ""},
    {"select_radius_group", "textLabel4_4", "QLabel", "pixel"},
    {"select_radius_group", "textLabel1", "QLabel", "Evaluated area from"},
    {"select_radius_group", "eval_area_from_edit", "QLineEdit", ""},
    {"select_radius_group", "textLabel4_5", "QLabel", "pixel"},
    {"select_radius_group", "textLabel2_5", "QLabel", "to"},
    {"select_radius_group", "eval_area_to_edit", "QLineEdit", ""},
    {"select_radius_group", "textLabel4_5_2", "QLabel", "pixel"},
    {c_dialog, "select_size_group", "QGroupBox", "Select subfield size"},
    {"select_size_group", "textLabel3", "QLabel", "x:"},
    {"select_size_group", "sizex_edit", "QLineEdit", ""},
    {"select_size_group", "textLabel2", "QLabel", "m"},
    {"select_size_group", "sizex_pixel_edit", "QLineEdit", ""},
    {"select_size_group", "textLabel4", "QLabel", "pixel"},
    {"select_size_group", "textLabel3_2", "QLabel", "y:"},
    {"select_size_group", "sizey_edit", "QLineEdit", ""},
    {"select_size_group", "textLabel2_2", "QLabel", "m"},
    {"select_size_group", "sizey_pixel_edit", "QLineEdit", ""},
    {"select_size_group", "textLabel4_3", "QLabel", "pixel"},
    {"select_size_group", "textLabel3_3", "QLabel", "z:"},
    {"select_size_group", "sizez_edit", "QLineEdit", ""},
    {"select_size_group", "textLabel2_3", "QLabel", "m"},
    {"select_size_group", "sizez_pixel_edit", "QLineEdit", ""},
    {"select_size_group", "textLabel4_2", "QLabel", "pixel"},
    {"select_size_group", "line1", "QFrame", ""},
    {"select_size_group", "textLabel3_3_2", "QLabel", "step size (x, y, z):"},
    {"select_size_group", "stepsize_edit", "QLineEdit", ""},
    {"select_size_group", "textLabel2_3_2", "QLabel", "m"},
    {c_dialog, "advanced_box", "QGroupBox", "Advanced options"},
    {"advanced_box", "output_box", "QCheckBox", "Output direction maps"},
    {"advanced_box", "binarizationGroup", "QGroupBox", "Binarization options"},
    {"binarizationGroup", "radioOtsu", "QRadioButton", "Otsu factor:"},
    {"binarizationGroup", "offset_edit", "QLineEdit", "1.25"},
    {"binarizationGroup", "radioMask", "QRadioButton", "Mask image:"},
    {"binarizationGroup", "comboMasks", "QComboBox", ""},
    {c_dialog, "OK_button", "QPushButton", "&Ok"},
    {c_dialog, "Cancel_button", "QPushButton", "&Cancel"}};

const std::vector<const char*> c_displays{"radius_pixel_edit", "eval_area_from_edit", "eval_area_to_edit",
                                          "sizex_pixel_edit",  "sizey_edit",          "sizey_pixel_edit",
                                          "sizez_edit",        "sizez_pixel_edit",    "stepsize_edit"};

class FiberDirectionsForm : public test::QtTest {
protected:
    template <class Widget = QWidget>
    Widget& Find(const char* name) {
        auto* widget = form.findChild<Widget*>(name);
        if (widget == nullptr)
            throw std::logic_error(std::string("no widget is called ") + name);
        return *widget;
    }

    CWarnings warnings;
    Form form;
};

TEST_F(FiberDirectionsForm, HasEveryWidgetUnderItsNameWithClassGroupAndText) {
    for (const StWidgetRow& row : c_widgets) {
        const QWidget& widget = Find(row.name);
        EXPECT_EQ(ClassOf(widget), row.className) << row.name;
        EXPECT_EQ(widget.parent()->objectName().toStdString(), row.group) << row.name;
        EXPECT_EQ(TextOf(widget), row.text) << row.name;
        EXPECT_EQ(form.findChildren<QWidget*>(row.name).size(), 1) << row.name;
    }
}

TEST_F(FiberDirectionsForm, ReachesTheSameWidgetsThroughItsMembers) {
    const std::vector<std::pair<const char*, QWidget*>> members{{"radius_edit", form.radius_edit},
                                                                {"sizex_edit", form.sizex_edit},
                                                                {"sizez_pixel_edit", form.sizez_pixel_edit},
                                                                {"stepsize_edit", form.stepsize_edit},
                                                                {"offset_edit", form.offset_edit},
                                                                {"comboMasks", form.comboMasks},
                                                                {"OK_button", form.OK_button}};
    for (const auto& [name, member] : members)
        EXPECT_EQ(&Find(name), member) << name;
}

TEST_F(FiberDirectionsForm, HasTheDescribedLayout) {
    EXPECT_EQ(Describe(*form.layout()),
              "CLocalFiberDirectionsDialog_skelLayout[select_radius_group select_size_group advanced_box "
              "layout14_2[spacer OK_button Cancel_button]]");
    EXPECT_EQ(Describe(*Find("select_radius_group").layout()),
              "[[(0,0)layout19[(0,0)layout10[radius_edit textLabel2_4 radius_pixel_edit] (0,1)textLabel4_4] "
              "(1,0)layout10_2[(0,0)textLabel1 (0,1)eval_area_from_edit (0,2)textLabel4_5 (1,0)textLabel2_5 "
              "(1,1)eval_area_to_edit (1,2)textLabel4_5_2]]]");
    EXPECT_EQ(Describe(*Find("select_size_group").layout()),
              "[[(0,0)layout11[textLabel3 sizex_edit textLabel2 sizex_pixel_edit textLabel4] "
              "(1,0)layout12[textLabel3_2 sizey_edit textLabel2_2 sizey_pixel_edit textLabel4_3] "
              "(2,0)layout13[textLabel3_3 sizez_edit textLabel2_3 sizez_pixel_edit textLabel4_2] "
              "(3,0)line1 (4,0)layout14[textLabel3_3_2 stepsize_edit textLabel2_3_2]]]");
    EXPECT_EQ(Describe(*Find("advanced_box").layout()), "[[(0,0)layout31[output_box binarizationGroup]]]");
    EXPECT_EQ(Describe(*Find("binarizationGroup").layout()),
              "[[(0,0)layout30[(0,0)radioOtsu (0,1)offset_edit (1,0)radioMask (1,1)comboMasks]]]");
}

TEST_F(FiberDirectionsForm, KeepsMarginsAndSpacings) {
    std::vector<QLayout*> outer{form.layout()};
    for (const char* name :
         {"select_radius_group", "select_size_group", "advanced_box", "binarizationGroup"}) {
        outer.push_back(Find(name).layout());
        const QLayout& grid = *outer.back()->itemAt(0)->layout();
        EXPECT_EQ(grid.alignment(), Qt::AlignTop) << name;
        EXPECT_EQ(grid.spacing(), 6) << name;
    }
    for (const QLayout* layout : outer) {
        EXPECT_EQ(layout->contentsMargins(), QMargins(11, 11, 11, 11));
        EXPECT_EQ(layout->spacing(), 6);
    }
    for (const char* name : {"layout19", "layout10", "layout10_2", "layout11", "layout12", "layout13",
                             "layout14", "layout31", "layout30", "layout14_2"}) {
        const auto* layout = form.findChild<QLayout*>(name);
        ASSERT_NE(layout, nullptr) << name;
        EXPECT_EQ(layout->contentsMargins(), QMargins(0, 0, 0, 0)) << name;
        EXPECT_EQ(layout->spacing(), 6) << name;
    }
    EXPECT_NE(qobject_cast<QVBoxLayout*>(form.layout()), nullptr);
    EXPECT_NE(form.findChild<QVBoxLayout*>("layout31"), nullptr);
    EXPECT_NE(form.findChild<QHBoxLayout*>("layout14_2"), nullptr);
    const QLayoutItem* spacer = form.findChild<QLayout*>("layout14_2")->itemAt(0);
    EXPECT_EQ(spacer->sizeHint(), QSize(336, 31));
    EXPECT_EQ(spacer->expandingDirections(), Qt::Horizontal);
}

TEST_F(FiberDirectionsForm, TakesItsNameFlagsAndModalityAsArguments) {
    EXPECT_EQ(form.objectName(), "CLocalFiberDirectionsDialog_skel");
    EXPECT_EQ(form.windowTitle(), "Subfield Fiber Directions");
    EXPECT_EQ(form.parent(), nullptr);
    EXPECT_FALSE(form.isModal());
    QWidget parent;
    const Form other(&parent, "another", true, Qt::Tool);
    EXPECT_EQ(other.objectName(), "another");
    EXPECT_EQ(other.parent(), &parent);
    EXPECT_TRUE(other.isModal());
    EXPECT_EQ(other.windowType(), Qt::Tool);
}

TEST_F(FiberDirectionsForm, HasTheRequestedSizeUnlessItNeedsMore) {
    EXPECT_EQ(form.size(), QSize(536, 502).expandedTo(form.minimumSizeHint()));
}

TEST_F(FiberDirectionsForm, ListsItsFiveSlotsInOrder) {
    const QMetaObject& meta = *form.metaObject();
    EXPECT_STREQ(meta.className(), "CLocalFiberDirectionsDialog_skel");
    EXPECT_STREQ(meta.superClass()->className(), "QDialog");
    Texts signatures;
    for (int i = meta.methodOffset(); i < meta.methodCount(); ++i) {
        EXPECT_EQ(meta.method(i).methodType(), QMetaMethod::Slot);
        signatures.push_back(meta.method(i).methodSignature().toStdString());
    }
    EXPECT_EQ(signatures,
              (Texts{"sizex_edit_changed(QString)", "activateSubfieldsSlot()", "radius_edit_changed(QString)",
                     "radio_otsu_toggled()", "languageChange()"}));
    EXPECT_EQ(meta.propertyCount(), meta.propertyOffset());
}

TEST_F(FiberDirectionsForm, WarnsInEachSlotThatItDoesNothing) {
    for (const char* slot : {"sizex_edit_changed", "radius_edit_changed"})
        ASSERT_TRUE(QMetaObject::invokeMethod(&form, slot, Q_ARG(QString, "1")));
    for (const char* slot : {"activateSubfieldsSlot", "radio_otsu_toggled"})
        ASSERT_TRUE(QMetaObject::invokeMethod(&form, slot));
    EXPECT_EQ(CWarnings::TakeAll(),
              (Texts{c_sizeWarning, c_radiusWarning, c_activateWarning, c_otsuWarning}));
}

TEST_F(FiberDirectionsForm, ConnectsTheEditsAndTheFirstRadioButtonToTheirSlots) {
    form.sizex_edit->setText("1");
    EXPECT_EQ(CWarnings::TakeAll(), Texts{c_sizeWarning});
    form.radius_edit->setText("1");
    EXPECT_EQ(CWarnings::TakeAll(), Texts{c_radiusWarning});
    form.radioOtsu->setChecked(true);
    EXPECT_EQ(CWarnings::TakeAll(), Texts{c_otsuWarning});
}

TEST_F(FiberDirectionsForm, ConnectsNoOtherSignalToASlot) {
    for (const bool isOn : {true, false}) {
        form.select_size_group->setChecked(isOn);
        form.advanced_box->setChecked(isOn);
        form.output_box->setChecked(isOn);
        form.radioMask->setChecked(isOn);
    }
    form.offset_edit->setText("2");
    for (const char* name : c_displays)
        Find<QLineEdit>(name).setText("3");
    EXPECT_EQ(CWarnings::TakeAll(), Texts{});
}

TEST_F(FiberDirectionsForm, IsClosedByItsTwoButtons) {
    AnswerNextDialog([](QDialog& dialog) { dialog.findChild<QPushButton*>("OK_button")->click(); });
    EXPECT_EQ(form.exec(), QDialog::Accepted);
    AnswerNextDialog([](QDialog& dialog) { dialog.findChild<QPushButton*>("Cancel_button")->click(); });
    EXPECT_EQ(form.exec(), QDialog::Rejected);
}

TEST_F(FiberDirectionsForm, SetsTheKeysAndSizesOfItsButtons) {
    EXPECT_EQ(form.OK_button->shortcut(), QKeySequence("Alt+O"));
    EXPECT_EQ(form.Cancel_button->shortcut(), QKeySequence("Alt+C"));
    for (const QPushButton* button : {form.OK_button, form.Cancel_button})
        EXPECT_EQ(button->sizePolicy(), QSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed));
}

TEST_F(FiberDirectionsForm, StartsWithTheOptionalGroupsOff) {
    EXPECT_FALSE(form.select_radius_group->isCheckable());
    for (const QGroupBox* box : {form.select_size_group, form.advanced_box}) {
        EXPECT_TRUE(box->isCheckable());
        EXPECT_FALSE(box->isChecked());
        EXPECT_TRUE(box->isEnabled());
    }
    EXPECT_FALSE(form.binarizationGroup->isCheckable());
    EXPECT_FALSE(form.output_box->isChecked());
    EXPECT_FALSE(form.sizex_edit->isEnabled());
    EXPECT_FALSE(form.output_box->isEnabled());
}

TEST_F(FiberDirectionsForm, KeepsItsDisplaysAndRadioButtonsDisabledWhateverIsSwitchedOn) {
    form.select_size_group->setChecked(true);
    form.advanced_box->setChecked(true);
    for (const char* name : c_displays) {
        const auto& edit = Find<QLineEdit>(name);
        EXPECT_FALSE(edit.isEnabled()) << name;
        EXPECT_FALSE(edit.acceptDrops()) << name;
        EXPECT_FALSE(edit.isReadOnly()) << name;
        EXPECT_EQ(edit.palette().color(QPalette::Disabled, QPalette::Text),
                  form.radius_edit->palette().color(QPalette::Active, QPalette::Text));
    }
    for (const QWidget* widget :
         {static_cast<QWidget*>(form.radioOtsu), static_cast<QWidget*>(form.radioMask)})
        EXPECT_FALSE(widget->isEnabled());
    for (const QWidget* widget : std::initializer_list<QWidget*>{
             form.radius_edit, form.sizex_edit, form.offset_edit, form.output_box, form.comboMasks})
        EXPECT_TRUE(widget->isEnabled()) << widget->objectName().toStdString();
}

TEST_F(FiberDirectionsForm, HasTheDescribedLook) {
    EXPECT_EQ(form.select_size_group->palette().color(QPalette::WindowText), QColor(Qt::black));
    for (const QLabel* label : {form.textLabel1, form.textLabel2_5})
        EXPECT_EQ(label->alignment(), Qt::AlignRight | Qt::AlignVCenter);
    EXPECT_EQ(form.eval_area_from_edit->cursor().shape(), Qt::IBeamCursor);
    EXPECT_EQ(form.line1->frameShape(), QFrame::HLine);
    EXPECT_EQ(form.line1->frameShadow(), QFrame::Sunken);
    EXPECT_EQ(form.binarizationGroup->sizePolicy().horizontalPolicy(), QSizePolicy::Minimum);
    EXPECT_EQ(form.binarizationGroup->sizePolicy().verticalPolicy(), QSizePolicy::MinimumExpanding);
    EXPECT_FALSE(form.comboMasks->isEditable());
    EXPECT_EQ(form.comboMasks->count(), 0);
}

TEST_F(FiberDirectionsForm, LeadsTheTabKeyThroughItsInputsInOrder) {
    const Texts order{"radius_edit",      "radius_pixel_edit", "select_size_group", "sizex_edit",
                      "sizex_pixel_edit", "sizey_edit",        "sizey_pixel_edit",  "sizez_edit",
                      "sizez_pixel_edit", "stepsize_edit",     "advanced_box",      "output_box",
                      "offset_edit",      "OK_button",         "Cancel_button"};
    Texts chain;
    const QWidget* widget = form.radius_edit;
    do {
        const std::string name = widget->objectName().toStdString();
        if (std::find(order.begin(), order.end(), name) != order.end())
            chain.push_back(name);
        widget = widget->nextInFocusChain();
    } while (widget != form.radius_edit);
    EXPECT_EQ(chain, order);
}

TEST_F(FiberDirectionsForm, SpeaksTheLanguageOfTheApplication) {
    class CTranslator : public QTranslator {
        [[nodiscard]] QString translate(const char* context, const char* text, const char* /*remark*/,
                                        int /*number*/) const override {
            return QString("%1: %2").arg(context, text);
        }
        [[nodiscard]] bool isEmpty() const override { return false; }
    } translator;
    const auto expectTexts = [this](const std::string& prefix) {
        for (const StWidgetRow& row : c_widgets) {
            if (*row.text != '\0') {
                EXPECT_EQ(TextOf(Find(row.name)), prefix + row.text);
            }
        }
        EXPECT_EQ(form.windowTitle().toStdString(), prefix + "Subfield Fiber Directions");
    };
    QCoreApplication::installTranslator(&translator);
    QCoreApplication::sendPostedEvents(); // delivers the event to the windows
    expectTexts("CLocalFiberDirectionsDialog_skel: ");
    QCoreApplication::removeTranslator(&translator);
    QCoreApplication::sendPostedEvents();
    expectTexts("");
}

} // namespace
