#include <sorbgui/CFileDialog.h>

#include "support/QtTest.h"

#include <QAbstractButton>
#include <QFileDialog>
#include <QLineEdit>
#include <QMessageBox>
#include <QTemporaryDir>

#include <fstream>
#include <string>

namespace {

using ORVEN::CFileDialog;

const char* const c_filter = "Comma Separated Values (*.csv)";

class FileDialog : public test::QtTest {
protected:
    [[nodiscard]] std::string Path(const char* name) const { return m_folder.filePath(name).toStdString(); }

    static void Type(QDialog& dialog, const std::string& path) {
        auto* edit = dialog.findChild<QLineEdit*>("fileNameEdit");
        ASSERT_NE(edit, nullptr);
        edit->setText(QString::fromStdString(path));
        static_cast<QDialog&>(dialog).accept();
    }

    QTemporaryDir m_folder;
};

TEST_F(FileDialog, OffersTheNameAndTheFilter) {
    AnswerNextDialog([](QDialog& dialog) {
        const auto& files = dynamic_cast<QFileDialog&>(dialog);
        EXPECT_EQ(files.acceptMode(), QFileDialog::AcceptSave);
        EXPECT_EQ(files.nameFilters(), QStringList{c_filter});
        EXPECT_EQ(dialog.findChild<QLineEdit*>("fileNameEdit")->text(), "scan_fiberdirections.csv");
        dialog.reject();
    });
    const CFileDialog dialog("scan_fiberdirections.csv", c_filter, CFileDialog::SAVE_ASK_TO_REPLACE, nullptr);
}

TEST_F(FileDialog, ReturnsThePathPicked) {
    AnswerNextDialog([this](QDialog& dialog) { Type(dialog, Path("new")); });
    const CFileDialog dialog("x.csv", c_filter, CFileDialog::SAVE_ASK_TO_REPLACE, nullptr);
    EXPECT_TRUE(dialog.WasFileSelected());
    EXPECT_EQ(dialog.FilePath(), Path("new")); // nothing is appended
}

TEST_F(FileDialog, ReturnsNoPathWhenCancelled) {
    AnswerNextDialog([](QDialog& dialog) { dialog.reject(); });
    const CFileDialog dialog("x.csv", c_filter, CFileDialog::SAVE_ASK_TO_REPLACE, nullptr);
    EXPECT_FALSE(dialog.WasFileSelected());
    EXPECT_EQ(dialog.FilePath(), "");
}

TEST_F(FileDialog, AsksBeforeReplacingAFile) {
    std::ofstream(Path("old.csv")) << "old";
    AnswerNextDialog([this](QDialog& dialog) {
        AnswerNextDialog([](QDialog& question) {
            auto& box = dynamic_cast<QMessageBox&>(question);
            box.button(QMessageBox::No)->click();
        });
        Type(dialog, Path("old.csv"));
        EXPECT_TRUE(dialog.isVisible());
        dialog.reject();
    });
    const CFileDialog dialog("x.csv", c_filter, CFileDialog::SAVE_ASK_TO_REPLACE, nullptr);
    EXPECT_FALSE(dialog.WasFileSelected());
}

TEST_F(FileDialog, TheQuestionShowsANameThatLooksLikeMarkupLiterally) {
    const char* const name = "<b>old.csv";
    std::ofstream(Path(name)) << "old";
    AnswerNextDialog([this, name](QDialog& dialog) {
        AnswerNextDialog([name](QDialog& question) {
            auto& box = dynamic_cast<QMessageBox&>(question);
            EXPECT_TRUE(box.text().startsWith(name)) << box.text().toStdString();
            EXPECT_EQ(box.textFormat(), Qt::PlainText);
            box.button(QMessageBox::Yes)->click();
        });
        Type(dialog, Path(name));
    });
    const CFileDialog dialog("x.csv", c_filter, CFileDialog::SAVE_ASK_TO_REPLACE, nullptr);
    EXPECT_EQ(dialog.FilePath(), Path(name));
}

TEST_F(FileDialog, ReplacesWithoutAskingInReplaceMode) {
    std::ofstream(Path("old.csv")) << "old";
    AnswerNextDialog([this](QDialog& dialog) { Type(dialog, Path("old.csv")); });
    const CFileDialog dialog("x.csv", c_filter, CFileDialog::SAVE_REPLACE, nullptr);
    EXPECT_EQ(dialog.FilePath(), Path("old.csv"));
}

} // namespace
