// The plug-in of the loaded pack, on images that carry a result as "Granulometry" leaves it.

#include "support/PackHost.h"
#include "support/QtTest.h"

#include <sorblib2core/CValueBool.h>
#include <sorblib2core/CValueDouble.h>
#include <sorblib2core/CValueLong.h>
#include <sorblib2core/CValueString.h>
#include <sorblib2image/CQuillonHeaderTools.h>

#include <QAbstractButton>
#include <QFileDialog>
#include <QLineEdit>
#include <QMessageBox>
#include <QTemporaryDir>

#include <array>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace {

using namespace ORVEN;

const std::string c_result = "features/Granulometry";

std::unique_ptr<CImage> PlainImage() {
    return std::make_unique<CImage>(IMAGE_BINARY_FG, CSize(20, 12), CSize(0, 0, 0));
}

std::unique_ptr<CImage> MeasuredImage(bool isOnForeground = true) {
    auto image = PlainImage();
    CValueMap& attributes = image->Attributes();
    attributes.SetEntry(c_result + "/data/2.000000e+00", new CValueLong(20));
    attributes.SetEntry(c_result + "/data/6.000000e+00", new CValueLong(100));
    attributes.SetEntry(c_result + "/on foreground", new CValueBool(isOnForeground));
    return image;
}

class GranulometryExport : public test::QtTest {
protected:
    [[nodiscard]] std::string Path(const char* name = "out.csv") const {
        return m_folder.filePath(name).toStdString();
    }

    /// Picks this file in the next dialog, and keeps the name that was suggested and what kind of file.
    void PickFile(const std::string& path) {
        AnswerNextDialog([this, path](QDialog& dialog) {
            auto* edit = dialog.findChild<QLineEdit*>("fileNameEdit");
            ASSERT_NE(edit, nullptr);
            m_suggestion = edit->text().toStdString();
            if (const auto* fileDialog = qobject_cast<QFileDialog*>(&dialog))
                m_filter = fileDialog->nameFilters().join("|").toStdString();
            edit->setText(QString::fromStdString(path));
            dialog.accept();
        });
    }

    void Run(test::CPackHost& host) {
        m_plugin->UpdateParameters(host.Tree());
        GetData(host.Tree());
    }

    void GetData(CValueMap& tree) {
        testing::internal::CaptureStdout();
        testing::internal::CaptureStderr();
        m_plugin->GetData(tree);
        m_output = testing::internal::GetCapturedStdout();
        m_error = testing::internal::GetCapturedStderr();
        // The offscreen platform has something to say of each dialog.
        const std::string remark = "This plugin does not support propagateSizeHints()\n";
        for (std::size_t at = 0; (at = m_error.find(remark)) != std::string::npos;)
            m_error.erase(at, remark.size());
    }

    void ExpectNoDialog() {
        AnswerNextDialog([](QDialog& dialog) {
            ADD_FAILURE() << "there is nothing to export";
            dialog.reject();
        });
    }

    /// Keeps the next message box and closes it.
    void ReadNextBox() {
        AnswerNextDialog([this](QDialog& dialog) {
            auto& box = dynamic_cast<QMessageBox&>(dialog);
            m_box = std::string(box.icon() == QMessageBox::Critical ? "critical" : "other") + "|" +
                    box.windowTitle().toStdString() + "|" + box.text().toStdString() + "|" +
                    (box.parentWidget() == nullptr ? "no parent" : "parent");
            EXPECT_EQ(box.textFormat(), Qt::PlainText);
            m_wasCursorAtBox = QApplication::overrideCursor() != nullptr;
            box.accept();
        });
    }

    [[nodiscard]] std::vector<std::string> Lines() const {
        std::ifstream file(Path());
        std::vector<std::string> lines;
        for (std::string line; std::getline(file, line);)
            lines.push_back(line);
        return lines;
    }

    [[nodiscard]] std::string Text() const {
        std::ifstream file(Path(), std::ios::binary);
        return {std::istreambuf_iterator<char>(file), {}};
    }

    const std::unique_ptr<CPluginBase> m_plugin = test::CreatePlugin("GranulometryExport");
    QTemporaryDir m_folder;
    std::string m_suggestion;
    std::string m_filter;
    std::string m_box;
    bool m_wasCursorAtBox = false;
    std::string m_output;
    std::string m_error;
};

TEST_F(GranulometryExport, AcceptsAnyImageThatCarriesAResult) {
    EXPECT_TRUE(m_plugin->TestParameters(test::CPackHost(MeasuredImage()).Tree()));
    auto other = std::make_unique<CImage>(IMAGE_GREY_F, CSize(3, 3, 3), CSize(0, 0, 0));
    other->Attributes().SetEntry(c_result + "/on foreground", new CValueBool(true));
    EXPECT_TRUE(m_plugin->TestParameters(test::CPackHost(std::move(other)).Tree()));
}

TEST_F(GranulometryExport, DoesNotTakeAnImageWithoutResult) {
    EXPECT_FALSE(m_plugin->TestParameters(test::CPackHost(PlainImage()).Tree()));
    auto other = PlainImage();
    CQuillonHeaderTools::SetFeatures(*other, "Other", CValueDouble(1.0));
    EXPECT_FALSE(m_plugin->TestParameters(test::CPackHost(std::move(other)).Tree()));
    EXPECT_FALSE(m_plugin->TestParameters(CValueMap()));
}

TEST_F(GranulometryExport, WritesHeaderAndTable) {
    auto image = MeasuredImage();
    CQuillonHeaderTools::AddToHistory(*image, "Niblack(w=20,c=-0.8)", 0);
    test::CPackHost host(std::move(image));
    PickFile(Path());
    Run(host);
    EXPECT_EQ(Text(), "# \"software\";\"Quillon\"\n"
                      "# \"version\";\"version 1.0.0\"\n"
                      "# \"image\"\n"
                      "# \"type\";\"IMAGE_BINARY_FG\"\n"
                      "# \"size x\";20\n"
                      "# \"size y\";12\n"
                      "# \"size z\";0\n"
                      "# \"features/Granulometry/on foreground\";true\n"
                      "# \"history/0\";\"Niblack(w=20,c=-0.8)\"\n"
                      "# \"parameters\"\n"
                      "# \"filename\";\"" +
                          Path() +
                          "\"\n"
                          "# \"on foreground\";\"foreground\"\n"
                          "\"diameter\";\"count\"\n"
                          "2.000000e+00;20\n"
                          "6.000000e+00;100\n");
    EXPECT_EQ(m_output + m_error, "");
    EXPECT_EQ(QApplication::overrideCursor(), nullptr);
}

TEST_F(GranulometryExport, AResultOfTheBackgroundIsExportedAsSuch) {
    test::CPackHost host(MeasuredImage(false));
    PickFile(Path());
    Run(host);
    EXPECT_NE(Text().find("# \"on foreground\";\"background\"\n"), std::string::npos);
}

TEST_F(GranulometryExport, StepWidthAndFilterShowAmongTheAttributesAndNotAmongTheParameters) {
    auto image = MeasuredImage();
    image->Attributes().SetEntry(c_result + "/stepwidth", new CValueDouble(0.25));
    image->Attributes().SetEntry(c_result + "/medialaxispoint-filtered", new CValueBool(true));
    test::CPackHost host(std::move(image));
    PickFile(Path());
    Run(host);
    const std::string text = Text();
    EXPECT_NE(text.find("# \"features/Granulometry/stepwidth\";0.25\n"), std::string::npos);
    EXPECT_NE(text.find("# \"features/Granulometry/medialaxispoint-filtered\";true\n"), std::string::npos);
    EXPECT_EQ(text.find("# \"stepwidth\""), std::string::npos);
    EXPECT_EQ(text.find("# \"medialaxispoint-filtered\""), std::string::npos);
}

TEST_F(GranulometryExport, WritesNothingToTheTreeAndLeavesTheImageUnchanged) {
    test::CPackHost host(MeasuredImage());
    const CValueMap before(host.Image().Attributes());
    PickFile(Path());
    Run(host);
    EXPECT_FALSE(host.Tree().HasEntry("output"));
    EXPECT_TRUE(host.Image().Attributes().Equal(before));
}

TEST_F(GranulometryExport, ACancelledFileDialogCreatesNoFileAndShowsNothing) {
    test::CPackHost host(MeasuredImage());
    AnswerNextDialog([](QDialog& dialog) { dialog.reject(); });
    Run(host);
    EXPECT_EQ(m_output + m_error, "");
    EXPECT_TRUE(std::filesystem::is_empty(m_folder.path().toStdString()));
}

TEST_F(GranulometryExport, ALabelThatEndsInCsvIsOfferedUnchangedAndOthersGetTheEnding) {
    const std::vector<std::array<const char*, 2>> cases{{"table.csv", "table.csv"},
                                                        {"scan.tif", "scan_granulometry.csv"},
                                                        {"a.b.tif", "a.b_granulometry.csv"},
                                                        {"scan", "scan_granulometry.csv"},
                                                        {"", "_granulometry.csv"}};
    for (const auto& [label, suggestion] : cases) {
        test::CPackHost host(MeasuredImage(), label);
        PickFile(Path((std::string("x") + label).c_str()));
        Run(host);
        EXPECT_EQ(m_suggestion, suggestion) << label;
        EXPECT_EQ(m_filter, "Comma Separated Values (*.csv)");
    }
}

TEST_F(GranulometryExport, ALabelThatIsNoTextCountsAsEmpty) {
    test::CPackHost host(MeasuredImage());
    host.Document().SetEntry("label", new CValueLong(3));
    PickFile(Path());
    Run(host);
    EXPECT_EQ(m_suggestion, "_granulometry.csv");
}

TEST_F(GranulometryExport, ReturnsSilentlyWithoutAResult) {
    test::CPackHost host(PlainImage());
    Run(host);
    EXPECT_EQ(m_output + m_error, "");
    CValueMap empty;
    m_plugin->UpdateParameters(empty);
    GetData(empty);
    EXPECT_EQ(m_output + m_error, "");
}

TEST_F(GranulometryExport, ExportsNothingFromAnImageThatHasLostItsResult) {
    test::CPackHost host(MeasuredImage());
    m_plugin->UpdateParameters(host.Tree());
    host.Image().Attributes().RemoveEntry(c_result);
    ExpectNoDialog();
    Run(host);
    EXPECT_EQ(m_output + m_error, "");
    EXPECT_FALSE(std::filesystem::exists(Path()));
}

TEST_F(GranulometryExport, AnImageThatHasLostItsResultExportsTheNextOne) {
    test::CPackHost host(MeasuredImage());
    m_plugin->UpdateParameters(host.Tree());
    host.Image().Attributes().RemoveEntry(c_result);
    host.Image().Attributes().SetEntry(c_result + "/data/8.000000e+00", new CValueLong(3));
    PickFile(Path());
    Run(host);
    EXPECT_EQ(Lines().back(), "8.000000e+00;3");
}

TEST_F(GranulometryExport, ExportsNothingOnceANewMeasurementHasReplacedTheOneThatWasUpdatedFrom) {
    test::CPackHost host(MeasuredImage());
    m_plugin->UpdateParameters(host.Tree());
    // Made first, so that it cannot come to lie where the old one was.
    auto* replacement = new CValueMap(*host.Image().Attributes().Entry(c_result, true)->Map());
    host.Image().Attributes().SetEntry(c_result, replacement);
    ExpectNoDialog();
    GetData(host.Tree());
    EXPECT_EQ(m_output + m_error, "");
    EXPECT_FALSE(std::filesystem::exists(Path()));
}

TEST_F(GranulometryExport, ExportsTheCurrentResultOfTheImage) {
    test::CPackHost host(MeasuredImage());
    m_plugin->UpdateParameters(host.Tree());
    host.Image().Attributes().SetEntry(c_result + "/data/6.000000e+00", new CValueLong(101));
    PickFile(Path());
    GetData(host.Tree());
    EXPECT_EQ(Lines().back(), "6.000000e+00;101");
}

TEST_F(GranulometryExport, AnotherImageWithoutResultLeavesTheMeasuredOneInPlace) {
    test::CPackHost measured(MeasuredImage(), "measured");
    m_plugin->UpdateParameters(measured.Tree());
    test::CPackHost other(std::make_unique<CImage>(IMAGE_GREY_8, CSize(7, 7), CSize(0, 0, 0)), "other");
    PickFile(Path());
    Run(other);
    EXPECT_EQ(m_suggestion, "other_granulometry.csv");
    EXPECT_NE(Text().find("# \"size x\";20\n"), std::string::npos);
}

TEST_F(GranulometryExport, AnInputWithoutADocumentInFocusForgetsTheLabelAndKeepsTheResult) {
    test::CPackHost host(MeasuredImage(), "scan");
    m_plugin->UpdateParameters(host.Tree());
    host.Tree().SetEntry("input", new CValueMap);
    PickFile(Path());
    Run(host);
    EXPECT_EQ(m_suggestion, "_granulometry.csv");
    EXPECT_EQ(Lines().back(), "6.000000e+00;100");
}

/// A text that notes the cursor of the application when it is read.
class CWatchingText : public CValueString {
public:
    CWatchingText()
        : CValueString("watching", CString::NPOS) {}

    const CString& String() const override {
        const QCursor* cursor = QApplication::overrideCursor();
        ++readCount;
        waitCount += cursor != nullptr && cursor->shape() == Qt::WaitCursor ? 1 : 0;
        return CValueString::String();
    }

    static inline int readCount = 0;
    static inline int waitCount = 0;
};

TEST_F(GranulometryExport, ShowsTheWaitCursorWhileItSaves) {
    auto image = MeasuredImage();
    image->Attributes().SetEntry("note", new CWatchingText);
    test::CPackHost host(std::move(image));
    PickFile(Path());
    Run(host);
    EXPECT_NE(Text().find("watching"), std::string::npos);
    EXPECT_GT(CWatchingText::readCount, 0);
    EXPECT_EQ(CWatchingText::waitCount, CWatchingText::readCount);
    EXPECT_EQ(QApplication::overrideCursor(), nullptr);
}

TEST_F(GranulometryExport, AResultOfAnotherKindIsNoResult) {
    auto image = PlainImage();
    image->Attributes().SetEntry(c_result, new CValueLong(1));
    test::CPackHost host(std::move(image));
    EXPECT_TRUE(m_plugin->TestParameters(host.Tree()));
    Run(host);
    EXPECT_EQ(m_output + m_error, "");
}

TEST_F(GranulometryExport, AResultWithoutDataWritesTitlesAlone) {
    auto image = PlainImage();
    image->Attributes().SetEntry(c_result + "/note", new CValueLong(1));
    test::CPackHost host(std::move(image));
    PickFile(Path());
    Run(host);
    EXPECT_EQ(Lines().back(), "\"diameter\";\"count\"");
}

TEST_F(GranulometryExport, APathThatCannotBeOpenedShowsTheBoxAndPrintsALineOnStandardError) {
    test::CPackHost host(MeasuredImage());
    const std::string path = Path("missing") + "/out.csv";
    // The dialog itself would not take the path; a folder that goes away behind its back does.
    std::filesystem::create_directory(Path("missing"));
    AnswerNextDialog([this, path](QDialog& dialog) {
        ReadNextBox();
        dialog.findChild<QLineEdit*>("fileNameEdit")->setText(QString::fromStdString(path));
        dialog.accept();
        std::filesystem::remove(Path("missing"));
    });
    Run(host);
    EXPECT_EQ(m_box, "critical|Save Error|Could not save csv file.|no parent");
    EXPECT_FALSE(m_wasCursorAtBox);
    EXPECT_EQ(m_error, "Can't open file for writing.\n");
    EXPECT_EQ(m_output, "");
    EXPECT_EQ(QApplication::overrideCursor(), nullptr);
}

TEST_F(GranulometryExport, AFullDiskShowsTheBoxToo) {
    test::CPackHost host(MeasuredImage());
    AnswerNextDialog([this](QDialog& dialog) {
        AnswerNextDialog([this](QDialog& question) {
            ReadNextBox();
            dynamic_cast<QMessageBox&>(question).button(QMessageBox::Yes)->click();
        });
        dialog.findChild<QLineEdit*>("fileNameEdit")->setText("/dev/full");
        dialog.accept();
    });
    Run(host);
    EXPECT_EQ(m_box, "critical|Save Error|Could not save csv file.|no parent");
    EXPECT_EQ(m_error, "Can't write to file.\n");
}

} // namespace
