#include "engine/dialogs/CBatchDialogs.h"

#include "engine/dialogs/CGuiApplication.h"
#include "support/CommandLine.h"

#include <QCheckBox>
#include <QComboBox>
#include <QDialog>
#include <QDialogButtonBox>
#include <QDoubleSpinBox>
#include <QFileDialog>
#include <QGroupBox>
#include <QIntValidator>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QMessageBox>
#include <QPlainTextEdit>
#include <QPointer>
#include <QPushButton>
#include <QRadioButton>
#include <QSpinBox>
#include <QTextEdit>
#include <QVBoxLayout>

#include <gtest/gtest.h>

#include <fstream>

using namespace engine;

namespace {

/// One application for all tests of this file, made before the first of them.
class BatchDialogs : public testing::Test {
protected:
    static void SetUpTestSuite() { application = std::make_unique<CGuiApplication>(false); }
    static void TearDownTestSuite() { application.reset(); }

    static inline std::unique_ptr<CGuiApplication> application;
};

/// A dialog with OK and Cancel.
class CTestDialog : public QDialog {
public:
    CTestDialog() {
        setWindowTitle("Test");
        buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, this);
        layout->addWidget(buttons);
        connect(buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);
        connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    }

    /// A new input of that object name.
    template <class Widget>
    Widget* Add(const char* name) {
        auto* widget = new Widget(this);
        widget->setObjectName(name);
        layout->addWidget(widget);
        return widget;
    }

    QPushButton& Ok() const { return *buttons->button(QDialogButtonBox::Ok); }

    QVBoxLayout* layout = new QVBoxLayout(this);
    QDialogButtonBox* buttons;
};

StDialogAnswers Answers(std::vector<StWidgetAnswer> widgets) {
    StDialogAnswers answers;
    answers.widgets = std::move(widgets);
    return answers;
}

} // namespace

TEST_F(BatchDialogs, RecordAndCloseMessageBoxesOfEveryKind) {
    const CBatchDialogs dialogs({});
    QMessageBox::information(nullptr, "I", "info");
    QMessageBox::warning(nullptr, "W", "warn");
    QMessageBox::critical(nullptr, "C", "crit");
    EXPECT_EQ(QMessageBox::question(nullptr, "Q", "quest"), QMessageBox::Yes);
    QMessageBox plain;
    plain.setText("nothing but text");
    plain.exec();
    ASSERT_EQ(dialogs.Boxes().size(), 5u);
    const std::vector<std::string> kinds = {"information", "warning", "critical", "question", "plain"};
    const std::vector<std::string> captions = {"I", "W", "C", "Q", ""};
    const std::vector<std::string> texts = {"info", "warn", "crit", "quest", "nothing but text"};
    for (std::size_t i = 0; i < kinds.size(); ++i) {
        EXPECT_EQ(dialogs.Boxes()[i].kind, kinds[i]);
        EXPECT_EQ(dialogs.Boxes()[i].caption, captions[i]);
        EXPECT_EQ(dialogs.Boxes()[i].text, texts[i]);
    }
    EXPECT_EQ(dialogs.Problem(), "");
}

TEST_F(BatchDialogs, AnswerQuestionsByTheirDefaultButton) {
    const CBatchDialogs dialogs({});
    EXPECT_EQ(QMessageBox::question(nullptr, "Q", "?", QMessageBox::Yes | QMessageBox::No, QMessageBox::No),
              QMessageBox::No);
}

TEST_F(BatchDialogs, AnswerQuestionsByEscapeWhenTheyCancel) {
    StDialogAnswers answers;
    answers.isCancelled = true;
    const CBatchDialogs dialogs(answers);
    EXPECT_EQ(
        QMessageBox::question(nullptr, "Q", "?", QMessageBox::Ok | QMessageBox::Cancel, QMessageBox::Ok),
        QMessageBox::Cancel);
}

TEST_F(BatchDialogs, SetEveryKindOfInputAndPressOk) {
    CTestDialog dialog;
    auto* line = dialog.Add<QLineEdit>("line");
    auto* spin = dialog.Add<QSpinBox>("spin");
    auto* fraction = dialog.Add<QDoubleSpinBox>("fraction");
    auto* combo = dialog.Add<QComboBox>("combo");
    combo->addItems({"red", "green", "blue"});
    auto* byIndex = dialog.Add<QComboBox>("byIndex");
    byIndex->addItems({"red", "green", "blue"});
    auto* check = dialog.Add<QCheckBox>("check");
    auto* radioA = dialog.Add<QRadioButton>("radioA");
    auto* radioB = dialog.Add<QRadioButton>("radioB");
    radioA->setChecked(true);
    auto* list = dialog.Add<QListWidget>("choice:feature");
    list->addItems({"area", "volume"});
    auto* text = dialog.Add<QTextEdit>("text");
    auto* plainText = dialog.Add<QPlainTextEdit>("plainText");
    auto* group = dialog.Add<QGroupBox>("group");
    group->setCheckable(true);
    group->setChecked(false);

    const CBatchDialogs dialogs(Answers({{"line", "words"},
                                         {"spin", "42"},
                                         {"fraction", "2.5"},
                                         {"combo", "blue"},
                                         {"byIndex", "1"},
                                         {"check", "yes"},
                                         {"radioB", "true"},
                                         {"choice:feature", "volume"},
                                         {"text", "a\nb"},
                                         {"plainText", "c\nd"},
                                         {"group", "on"}}));
    EXPECT_EQ(dialog.exec(), QDialog::Accepted);
    EXPECT_EQ(dialogs.Problem(), "");
    EXPECT_TRUE(dialogs.UnusedAnswers().empty());
    EXPECT_EQ(line->text(), "words");
    EXPECT_EQ(spin->value(), 42);
    EXPECT_EQ(fraction->value(), 2.5);
    EXPECT_EQ(combo->currentText(), "blue");
    EXPECT_EQ(byIndex->currentText(), "green");
    EXPECT_TRUE(check->isChecked());
    EXPECT_FALSE(radioA->isChecked());
    EXPECT_TRUE(radioB->isChecked());
    EXPECT_EQ(list->currentItem()->text(), "volume");
    EXPECT_EQ(text->toPlainText(), "a\nb");
    EXPECT_EQ(plainText->toPlainText(), "c\nd");
    EXPECT_TRUE(group->isChecked());
}

TEST_F(BatchDialogs, FireTheSignalsThatAPersonWouldFire) {
    CTestDialog dialog;
    auto* line = dialog.Add<QLineEdit>("line");
    auto* combo = dialog.Add<QComboBox>("combo");
    combo->addItems({"red", "green"});
    auto* check = dialog.Add<QCheckBox>("check");
    std::vector<std::string> fired;
    const auto note = [&fired](const char* what) { return [&fired, what] { fired.emplace_back(what); }; };
    QObject::connect(line, &QLineEdit::textEdited, note("textEdited"));
    QObject::connect(line, &QLineEdit::editingFinished, note("editingFinished"));
    QObject::connect(combo, &QComboBox::activated, note("activated"));
    QObject::connect(check, &QCheckBox::clicked, note("clicked"));
    const CBatchDialogs dialogs(Answers({{"line", "x"}, {"combo", "green"}, {"check", "on"}}));
    dialog.exec();
    EXPECT_EQ(fired, (std::vector<std::string>{"textEdited", "editingFinished", "activated", "clicked"}));
}

TEST_F(BatchDialogs, LeaveWhatIsNotAnsweredAsTheDialogSetIt) {
    CTestDialog dialog;
    auto* line = dialog.Add<QLineEdit>("line");
    line->setText("remembered");
    const CBatchDialogs dialogs({});
    EXPECT_EQ(dialog.exec(), QDialog::Accepted);
    EXPECT_EQ(line->text(), "remembered");
}

TEST_F(BatchDialogs, FindAnOkButtonByTextOrName) {
    for (const bool isByName : {false, true}) {
        QDialog dialog;
        auto* button = new QPushButton(isByName ? "Go" : "&Ok", &dialog);
        if (isByName)
            button->setObjectName("OK_button");
        QObject::connect(button, &QPushButton::clicked, &dialog, [&dialog] { dialog.done(7); });
        const CBatchDialogs dialogs({});
        EXPECT_EQ(dialog.exec(), 7) << isByName;
    }
}

TEST_F(BatchDialogs, AcceptADialogWithoutButtons) {
    QDialog dialog;
    const CBatchDialogs dialogs({});
    EXPECT_EQ(dialog.exec(), QDialog::Accepted);
}

TEST_F(BatchDialogs, PressCancelWhenTheyAreToldTo) {
    CTestDialog dialog;
    auto* line = dialog.Add<QLineEdit>("line");
    StDialogAnswers answers = Answers({{"line", "x"}});
    answers.isCancelled = true;
    const CBatchDialogs dialogs(answers);
    EXPECT_EQ(dialog.exec(), QDialog::Rejected);
    EXPECT_EQ(line->text(), "");
    EXPECT_EQ(dialogs.Problem(), "");
}

TEST_F(BatchDialogs, CloseABoxThatOkOpens) {
    CTestDialog dialog;
    QObject::connect(dialog.buttons, &QDialogButtonBox::accepted,
                     [] { QMessageBox::warning(nullptr, "Nested", "are you sure"); });
    const CBatchDialogs dialogs({});
    EXPECT_EQ(dialog.exec(), QDialog::Accepted);
    ASSERT_EQ(dialogs.Boxes().size(), 1u);
    EXPECT_EQ(dialogs.Boxes()[0].caption, "Nested");
}

TEST_F(BatchDialogs, AnswerADialogThatADialogOpens) {
    CTestDialog outer;
    CTestDialog inner;
    auto* line = inner.Add<QLineEdit>("inner_line");
    QObject::connect(outer.buttons, &QDialogButtonBox::accepted, [&inner] { inner.exec(); });
    const CBatchDialogs dialogs(Answers({{"inner_line", "deep"}}));
    EXPECT_EQ(outer.exec(), QDialog::Accepted);
    EXPECT_EQ(inner.result(), QDialog::Accepted);
    EXPECT_EQ(line->text(), "deep");
    EXPECT_TRUE(dialogs.UnusedAnswers().empty());
}

TEST_F(BatchDialogs, RejectADialogWhoseOkIsDisabled) {
    CTestDialog dialog;
    dialog.Ok().setEnabled(false);
    const CBatchDialogs dialogs({});
    EXPECT_EQ(dialog.exec(), QDialog::Rejected);
    EXPECT_EQ(dialogs.Problem(), "the dialog 'Test' has its button 'OK' disabled");
}

TEST_F(BatchDialogs, RejectADialogThatStaysOpenAndReportItsText) {
    CTestDialog dialog;
    QObject::disconnect(dialog.buttons, &QDialogButtonBox::accepted, &dialog, nullptr);
    QObject::connect(dialog.buttons, &QDialogButtonBox::accepted,
                     [] { QMessageBox::warning(nullptr, "No", "the radius is missing"); });
    const CBatchDialogs dialogs({});
    EXPECT_EQ(dialog.exec(), QDialog::Rejected);
    EXPECT_EQ(dialogs.Problem(), "the dialog 'Test' stays open after OK and says: the radius is missing");
}

TEST_F(BatchDialogs, RejectEveryDialogAfterAProblem) {
    CTestDialog first;
    first.Ok().setEnabled(false);
    CTestDialog second;
    const CBatchDialogs dialogs({});
    first.exec();
    EXPECT_EQ(second.exec(), QDialog::Rejected);
}

TEST_F(BatchDialogs, CloseADialogThatRefusesToBeRejected) {
    class CStubborn : public CTestDialog {
        void reject() override {}
        void accept() override {}
    } dialog;
    const CBatchDialogs dialogs({});
    EXPECT_EQ(dialog.exec(), QDialog::Rejected);
    EXPECT_EQ(dialogs.Problem(), "the dialog 'Test' stays open after OK");
}

TEST_F(BatchDialogs, ReportAnswersThatNoDialogHadAnInputFor) {
    CTestDialog dialog;
    dialog.Add<QLineEdit>("line");
    const CBatchDialogs dialogs(Answers({{"lime", "x"}, {"line", "y"}}));
    EXPECT_EQ(dialog.exec(), QDialog::Accepted);
    EXPECT_EQ(dialogs.UnusedAnswers(), std::vector<std::string>{"lime"});
    EXPECT_EQ(dialogs.Problem(), "");
}

TEST_F(BatchDialogs, RefuseAnswersThatTheInputDoesNotTake) {
    const std::vector<StWidgetAnswer> bad = {{"validated", "abc"}, {"readOnly", "x"},  {"disabled", "x"},
                                             {"spin", "100"},      {"spin", "many"},   {"combo", "pink"},
                                             {"combo", "3"},       {"check", "maybe"}, {"radio", "false"},
                                             {"list", "weight"},   {"label", "x"}};
    for (const StWidgetAnswer& answer : bad) {
        CTestDialog dialog;
        dialog.Add<QLineEdit>("validated")->setValidator(new QIntValidator(&dialog));
        dialog.Add<QLineEdit>("readOnly")->setReadOnly(true);
        dialog.Add<QLineEdit>("disabled")->setEnabled(false);
        dialog.Add<QSpinBox>("spin");
        dialog.Add<QComboBox>("combo")->addItems({"red", "green", "blue"});
        dialog.Add<QCheckBox>("check");
        dialog.Add<QRadioButton>("radio")->setChecked(true);
        dialog.Add<QRadioButton>("other radio");
        dialog.Add<QListWidget>("list")->addItem("area");
        dialog.Add<QLabel>("label");
        const CBatchDialogs dialogs(Answers({answer}));
        EXPECT_EQ(dialog.exec(), QDialog::Rejected) << answer.objectName;
        EXPECT_EQ(dialogs.Problem().rfind("the dialog 'Test' cannot set '" + answer.objectName + "' to '" +
                                              answer.value + "': it ",
                                          0),
                  0u)
            << dialogs.Problem();
    }
}

TEST_F(BatchDialogs, GiveTheFileToAFileDialogThatSaves) {
    const test::CTestFolder folder;
    StDialogAnswers answers;
    answers.file = folder / "new.csv";
    const CBatchDialogs dialogs(answers);
    EXPECT_EQ(QFileDialog::getSaveFileName().toStdString(), *answers.file);
    EXPECT_TRUE(dialogs.HasSeenFileDialog());
    EXPECT_TRUE(dialogs.Boxes().empty());
}

TEST_F(BatchDialogs, ReplaceAnExistingFileWithoutAsking) {
    const test::CTestFolder folder;
    StDialogAnswers answers;
    answers.file = folder / "old.csv";
    std::ofstream(*answers.file) << "old";
    const CBatchDialogs dialogs(answers);
    EXPECT_EQ(QFileDialog::getSaveFileName().toStdString(), *answers.file);
    EXPECT_EQ(QFileDialog::getOpenFileName().toStdString(), *answers.file);
    EXPECT_EQ(dialogs.Problem(), "");
    EXPECT_TRUE(dialogs.Boxes().empty());
}

TEST_F(BatchDialogs, CancelAFileDialogWithoutAFile) {
    const CBatchDialogs dialogs({});
    EXPECT_TRUE(QFileDialog::getSaveFileName().isEmpty());
    EXPECT_EQ(dialogs.Problem(), "");
}

TEST_F(BatchDialogs, ReportAFileThatTheFileDialogRejects) {
    const test::CTestFolder folder;
    StDialogAnswers answers;
    answers.file = folder / "missing.csv";
    const CBatchDialogs dialogs(answers);
    EXPECT_TRUE(QFileDialog::getOpenFileName(nullptr, "Open").isEmpty());
    EXPECT_EQ(dialogs.Problem(), "the dialog 'Open' does not take the file '" + *answers.file + "'");
}

TEST(GuiApplication, DeletesTheDialogsThatWereLeftBehind) {
    auto application = std::make_unique<CGuiApplication>(false);
    const QPointer<QDialog> left = new QDialog;
    const QPointer<QDialog> inner = new QDialog(left);
    application.reset();
    EXPECT_TRUE(left.isNull());
    EXPECT_TRUE(inner.isNull());
}

TEST_F(BatchDialogs, LetGoWhenTheyEnd) {
    { const CBatchDialogs dialogs({}); }
    const CBatchDialogs dialogs({});
    QMessageBox::information(nullptr, "I", "once");
    EXPECT_EQ(dialogs.Boxes().size(), 1u);
}
