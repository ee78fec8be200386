#include <sorbgui/CAutoDialogPluginWrapper.h>

#include "support/QtTest.h"
#include "support/Raised.h"

#include <sorblib2core/CException.h>
#include <sorblib2core/CString.h>
#include <sorblib2core/CValueMap.h>
#include <sorblib2core/CValueString.h>
#include <sorblib2core/CValueVector.h>

#include <QComboBox>
#include <QLineEdit>

#include <string>

namespace {

using namespace ORVEN;

CValueString* NewText(const char* text) { return new CValueString(text, CString::NPOS); }

/// Asks for one of three colours and for a name.
class CColourDialog : public CAutoDialogPluginWrapper {
public:
    CValueVector* CreateDialogDescription() override {
        auto* description = new CValueVector;
        if (hasTitle)
            description->SetEntry("0", NewText("Pick a Colour"));
        description->SetEntry("1/caption", NewText("colour"));
        description->SetEntry("1/entry", NewText("colour"));
        description->SetEntry("1/type", NewText(type));
        description->SetEntry("1/default", NewText("green"));
        for (const char* text : {"red", "green", "blue"})
            description->SetEntry(std::string("1/selection/") + text, NewText(text));
        description->SetEntry("2/caption", NewText("name"));
        description->SetEntry("2/entry", NewText("name"));
        description->SetEntry("2/type", NewText("string"));
        return description;
    }
    CValueMap* GetDialogValues() override { return new CValueMap; }
    bool SetDialogValues(CValueMap& values) override {
        colour = values.EntryString("colour").Std();
        name = values.EntryString("name").Std();
        return isGood;
    }

    std::string colour;
    std::string name;
    const char* type = "string";
    bool hasTitle = true;
    bool isGood = true;
};

using AutoDialog = test::QtTest;

TEST_F(AutoDialog, OffersTheTextsInTheOrderOfTheirKeysAndSelectsTheDefault) {
    AnswerNextDialog([](QDialog& dialog) {
        EXPECT_EQ(dialog.windowTitle(), "Pick a Colour");
        const auto* choice = dialog.findChild<QComboBox*>("choice:colour");
        ASSERT_NE(choice, nullptr);
        ASSERT_EQ(choice->count(), 3);
        EXPECT_EQ(choice->itemText(0), "blue");
        EXPECT_EQ(choice->itemText(2), "red");
        EXPECT_EQ(choice->currentText(), "green");
        EXPECT_EQ(dialog.findChild<QLineEdit*>("choice:name")->text(), "");
        dialog.accept();
    });
    CColourDialog dialog;
    EXPECT_TRUE(dialog.show());
    EXPECT_EQ(dialog.colour, "green");
}

TEST_F(AutoDialog, ReturnsTheValuesEntered) {
    AnswerNextDialog([](QDialog& dialog) {
        dialog.findChild<QComboBox*>("choice:colour")->setCurrentText("red");
        dialog.findChild<QLineEdit*>("choice:name")->setText("Zo\u00eb");
        dialog.accept();
    });
    CColourDialog dialog;
    EXPECT_TRUE(dialog.show());
    EXPECT_EQ(dialog.colour, "red");
    EXPECT_EQ(dialog.name, "Zo\u00eb");
}

TEST_F(AutoDialog, ReturnsFalseAndChangesNothingWhenCancelled) {
    AnswerNextDialog([](QDialog& dialog) { dialog.reject(); });
    CColourDialog dialog;
    dialog.colour = "as before";
    EXPECT_FALSE(dialog.show());
    EXPECT_EQ(dialog.colour, "as before");
}

TEST_F(AutoDialog, ReturnsFalseForInvalidValues) {
    AnswerNextDialog([](QDialog& dialog) { dialog.accept(); });
    CColourDialog dialog;
    dialog.isGood = false;
    EXPECT_FALSE(dialog.show());
}

TEST_F(AutoDialog, RaisesForAnInvalidDescription) {
    CColourDialog untitled;
    untitled.hasTitle = false;
    EXPECT_STREQ(test::Raised<CException>([&] { untitled.show(); }).Message(),
                 "The description of a dialog has no title.");
    CColourDialog strange;
    strange.type = "colour";
    EXPECT_STREQ(test::Raised<CException>([&] { strange.show(); }).Message(),
                 "The description of a dialog has no known type.");
}

} // namespace
