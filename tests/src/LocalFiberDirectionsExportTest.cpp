// The plug-in of the loaded pack, on images that carry a measurement as "LocalFiberDirections" leaves it.

#include "support/PackHost.h"
#include "support/QtTest.h"

#include <QuillonFilterOrientations/CSubfieldFiberDirections.h>
#include <sorbgui/MainWidget.h>
#include <sorblib2core/CValueBool.h>
#include <sorblib2core/CValueDouble.h>
#include <sorblib2core/CValueLong.h>
#include <sorblib2core/CValueString.h>
#include <sorblib2image/CQuillonHeaderTools.h>

#include <QAbstractButton>
#include <QFileDialog>
#include <QLineEdit>
#include <QMainWindow>
#include <QMessageBox>
#include <QStatusBar>
#include <QTemporaryDir>
#include <QTimer>

#include <filesystem>
#include <fstream>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

namespace {

using namespace ORVEN;

const std::string c_measurement = "features/FiberDirections/";

CValueString* Text(const char* text) { return new CValueString(text, CString::NPOS); }

/// An entry that makes a row: a tensor, and a box of pixels.
CValueMap* NewRow(double tensor) {
    auto* row = new CValueMap;
    row->SetEntry("Orientation tensor/xx", new CValueDouble(tensor));
    row->SetEntry("Orientation tensor/yy", new CValueDouble(1.0 - tensor));
    for (const char* bound : {"x0", "x1", "y0", "y1", "z0", "z1"})
        row->SetEntry(std::string("Evaluated area/") + bound, new CValueLong(4));
    return row;
}

/// An image with a measurement of the field.
std::unique_ptr<CImage> MeasuredImage() {
    auto image = std::make_unique<CImage>(IMAGE_GREY_8, CSize(512, 512, 30), CSize(0, 0, 0));
    CValueMap& attributes = image->Attributes();
    attributes.SetEntry(c_measurement + "FieldFiberDirections", NewRow(0.5));
    attributes.SetEntry(c_measurement + "Fiber radius", new CValueDouble(1.5));
    attributes.SetEntry(c_measurement + "Otsu factor", new CValueDouble(1.25));
    attributes.SetEntry(c_measurement + "Border", new CValueLong(4));
    return image;
}

void AddSubfields(CImage& image) {
    CValueMap& attributes = image.Attributes();
    const std::string subfields = c_measurement + "SubfieldFiberDirections/";
    for (const char* name : {"Subfield z000 y000 x000", "Subfield z000 y000 x001"}) {
        CValueMap* row = NewRow(0.25);
        row->SetEntry("Difference to global direction", new CValueDouble(0.125));
        attributes.SetEntry(subfields + name, row);
    }
    attributes.SetEntry(subfields + "Subfield size", new CValueDouble(50.0));
    attributes.SetEntry(subfields + "Subfield step", new CValueDouble(50.0));
}

void AddProfiles(CImage& image) {
    for (const char* direction : {"x-Direction", "y-Direction", "z-Direction"}) {
        CValueMap* row = NewRow(0.75);
        row->SetEntry("Difference to global direction", new CValueDouble(0.5));
        row->SetEntry("Number of subfields", Text("n/a"));
        row->SetEntry("Slice position", new CValueLong(7));
        image.Attributes().SetEntry(c_measurement + "SubfieldProfiles/" + direction + "/Slice 0007", row);
    }
}

class LocalFiberDirectionsExport : public test::QtTest {
protected:
    [[nodiscard]] std::string Path(const char* name = "out.csv") const {
        return m_folder.filePath(name).toStdString();
    }

    /// Picks this file in the next dialog, and keeps the name that was suggested.
    void PickFile(const std::string& path) {
        AnswerNextDialog([this, path](QDialog& dialog) {
            auto* edit = dialog.findChild<QLineEdit*>("fileNameEdit");
            ASSERT_NE(edit, nullptr);
            m_suggestion = edit->text().toStdString();
            edit->setText(QString::fromStdString(path));
            dialog.accept();
        });
    }

    /// Keeps the text of the next message box, behind its icon and caption, and closes it.
    void ReadNextBox() {
        AnswerNextDialog([this](QDialog& dialog) {
            auto& box = dynamic_cast<QMessageBox&>(dialog);
            m_isBoxPlain = box.textFormat() == Qt::PlainText;
            m_box = std::string(box.icon() == QMessageBox::Critical ? "critical" : "warning") + "|" +
                    box.windowTitle().toStdString() + "|" + box.text().toStdString();
            box.accept();
        });
    }

    /// Picks the file and reads the box that follows.
    void PickFileAndReadBox(const std::string& path) {
        AnswerNextDialog([this, path](QDialog& dialog) {
            ReadNextBox();
            dialog.findChild<QLineEdit*>("fileNameEdit")->setText(QString::fromStdString(path));
            dialog.accept();
        });
    }

    void Run(test::CPackHost& host) {
        testing::internal::CaptureStdout();
        testing::internal::CaptureStderr();
        host.Run(*m_plugin);
        m_output = testing::internal::GetCapturedStdout();
        m_error = testing::internal::GetCapturedStderr();
        // The offscreen platform has something to say of each dialog.
        const std::string remark = "This plugin does not support propagateSizeHints()\n";
        for (std::size_t at = 0; (at = m_error.find(remark)) != std::string::npos;)
            m_error.erase(at, remark.size());
    }

    /// Exports these kinds of rows; the lines of the file.
    std::vector<std::string> Export(test::CPackHost& host, bool hasField, bool hasSubfields,
                                    bool hasProfiles) {
        host.Set("export_field", new CValueBool(hasField))
            .Set("export_subfields", new CValueBool(hasSubfields))
            .Set("export_profiles", new CValueBool(hasProfiles));
        PickFile(Path());
        Run(host);
        std::ifstream file(Path());
        std::vector<std::string> lines;
        for (std::string line; std::getline(file, line);)
            lines.push_back(line);
        return lines;
    }

    const std::unique_ptr<CPluginBase> m_plugin = test::CreatePlugin("LocalFiberDirectionsExport");
    QTemporaryDir m_folder;
    std::string m_suggestion;
    std::string m_box;
    bool m_isBoxPlain = false;
    std::string m_output;
    std::string m_error;
};

const char* const c_fieldTitles =
    R"("ID";"Difference to global direction";"Entry type";"Evaluated area/x0";"Evaluated area/x1";)"
    R"("Evaluated area/y0";"Evaluated area/y1";"Evaluated area/z0";"Evaluated area/z1";"Number of subfields";)"
    R"("Orientation tensor/xx";"Orientation tensor/yy";"Slice position")";

TEST_F(LocalFiberDirectionsExport, AcceptsAnyImageThatCarriesTheFieldMeasurement) {
    EXPECT_TRUE(m_plugin->TestParameters(test::CPackHost(MeasuredImage()).Tree()));
    auto other = std::make_unique<CImage>(IMAGE_GREY_F, CSize(3, 3), CSize(0, 0));
    EXPECT_FALSE(m_plugin->TestParameters(test::CPackHost(std::move(other)).Tree()));
    auto withoutField = std::make_unique<CImage>(IMAGE_GREY_F, CSize(3, 3), CSize(0, 0));
    withoutField->Attributes().SetEntry(c_measurement + "Border", new CValueLong(4));
    EXPECT_FALSE(m_plugin->TestParameters(test::CPackHost(std::move(withoutField)).Tree()));
}

TEST_F(LocalFiberDirectionsExport, ReturnsSilentlyWithoutAMeasurement) {
    test::CPackHost host(std::make_unique<CImage>(IMAGE_GREY_8, CSize(3, 3), CSize(0, 0)));
    Run(host);
    EXPECT_EQ(m_output + m_error, "");
}

TEST_F(LocalFiberDirectionsExport, ExportsNothingOnceANewMeasurementHasReplacedTheOneThatWasUpdatedFrom) {
    test::CPackHost host(MeasuredImage());
    CValueMap& attributes = host.Image().Attributes();
    const auto getData = [&] {
        testing::internal::CaptureStdout();
        AnswerNextDialog([](QDialog& dialog) {
            ADD_FAILURE() << "there is nothing to export";
            dialog.reject();
        });
        m_plugin->GetData(host.Tree());
        EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
    };
    m_plugin->UpdateParameters(host.Tree());
    // Made first, so that it cannot come to lie where the old one was.
    auto* replacement = new CValueMap(*attributes.Entry("features/FiberDirections", true)->Map());
    attributes.SetEntry("features/FiberDirections", replacement);
    getData();

    m_plugin->UpdateParameters(host.Tree());
    attributes.RemoveEntry("features/FiberDirections");
    getData();
}

TEST_F(LocalFiberDirectionsExport, AFieldThatIsNoMapIsReportedAndTheOldTableStays) {
    auto image = MeasuredImage();
    image->Attributes().SetEntry(c_measurement + "FieldFiberDirections", Text("directions"));
    test::CPackHost host(std::move(image));
    EXPECT_TRUE(m_plugin->TestParameters(host.Tree())) << "any entry will do there";
    std::ofstream(Path()) << "old table";
    AnswerNextDialog([this](QDialog& dialog) {
        AnswerNextDialog([this](QDialog& question) {
            ReadNextBox();
            dynamic_cast<QMessageBox&>(question).button(QMessageBox::Yes)->click();
        });
        dialog.findChild<QLineEdit*>("fileNameEdit")->setText(QString::fromStdString(Path()));
        dialog.accept();
    });
    Run(host);
    const std::string text =
        "Could not save csv file '" + Path() + "'.\nThe entry 'FieldFiberDirections' is not a map.";
    EXPECT_EQ(m_box, "critical|Export Error|" + text);
    EXPECT_EQ(m_error, "LocalFiberDirectionsExportPlugin Export Error: " + text + "\n");
    EXPECT_EQ(m_output, "LocalFiberDirectionsExportPlugin( field ): Saving '" + Path() + "' ... failed\n");
    std::string kept;
    std::getline(std::ifstream(Path()), kept);
    EXPECT_EQ(kept, "old table");
    EXPECT_EQ(QApplication::overrideCursor(), nullptr);
}

TEST_F(LocalFiberDirectionsExport, WritesCommentTitlesAndTheRowOfTheField) {
    test::CPackHost host(MeasuredImage());
    const auto lines = Export(host, true, false, false);
    ASSERT_EQ(lines.size(), 3U);
    EXPECT_EQ(lines[0], "# Fiber radius: 1.5, Otsu factor: 1.25, Border: 4, Image size: (512,512,30)");
    EXPECT_EQ(lines[1], c_fieldTitles);
    EXPECT_EQ(lines[2], R"("FieldFiberDirections";0;"field";4;4;4;4;4;4;"n/a";0.5;0.5;"n/a")");
    EXPECT_EQ(m_output, "LocalFiberDirectionsExportPlugin( field ): Saving '" + Path() + "' ... ok\n");
    EXPECT_EQ(m_error, "");
    EXPECT_EQ(host.DocumentCount(), 0U);
}

TEST_F(LocalFiberDirectionsExport, WritesSubfieldsAndProfilesInTheOrderOfTheirKeys) {
    auto image = MeasuredImage();
    AddSubfields(*image);
    AddProfiles(*image);
    test::CPackHost host(std::move(image));
    const auto lines = Export(host, true, true, true);
    ASSERT_EQ(lines.size(), 8U);
    EXPECT_EQ(lines[0], "# Subfield size: 50, Subfield step: 50, Fiber radius: 1.5, Otsu factor: 1.25, "
                        "Border: 4, Image size: (512,512,30)");
    EXPECT_EQ(lines[1], c_fieldTitles);
    EXPECT_EQ(lines[2], R"("FieldFiberDirections";0;"field";4;4;4;4;4;4;2;0.5;0.5;"n/a")");
    EXPECT_EQ(lines[3], R"("Subfield z000 y000 x000";0.125;"subfield";4;4;4;4;4;4;1;0.25;0.75;"n/a")");
    EXPECT_EQ(lines[4], R"("Subfield z000 y000 x001";0.125;"subfield";4;4;4;4;4;4;1;0.25;0.75;"n/a")");
    const std::string profile =
        R"( Slice 0007";0.5;"profile";"n/a";"n/a";"n/a";"n/a";"n/a";"n/a";"n/a";0.75;0.25;7)";
    // The prefix ends in the blank that the row begins with here.
    EXPECT_EQ(lines[5], "\"X-Profile" + profile);
    EXPECT_EQ(lines[6], "\"Y-Profile" + profile);
    EXPECT_EQ(lines[7], "\"Z-Profile" + profile);
    EXPECT_EQ(m_output, "LocalFiberDirectionsExportPlugin( field subfieldsprofiles ): Saving '" + Path() +
                            "' ... ok\n");
}

TEST_F(LocalFiberDirectionsExport, LeavesTheImageUnchanged) {
    auto image = MeasuredImage();
    AddSubfields(*image);
    AddProfiles(*image);
    test::CPackHost host(std::move(image));
    const CValueMap before(host.Image().Attributes());
    (void)Export(host, true, true, true);
    EXPECT_TRUE(host.Image().Attributes().Equal(before));
}

TEST_F(LocalFiberDirectionsExport, ExportsTheFieldAloneByDefault) {
    auto image = MeasuredImage();
    AddSubfields(*image);
    test::CPackHost host(std::move(image));
    PickFile(Path());
    Run(host);
    EXPECT_EQ(m_output, "LocalFiberDirectionsExportPlugin( field ): Saving '" + Path() + "' ... ok\n");
}

TEST_F(LocalFiberDirectionsExport, WithoutSubfieldsExportedTheCommentHasNoSubfieldItems) {
    auto image = MeasuredImage();
    AddSubfields(*image);
    AddProfiles(*image);
    test::CPackHost host(std::move(image));
    const auto lines = Export(host, false, false, true);
    EXPECT_EQ(lines[0], "# Fiber radius: 1.5, Otsu factor: 1.25, Border: 4, Image size: (512,512,30)");
    EXPECT_EQ(lines[1], c_fieldTitles) << "titles come from the field, exported or not";
    EXPECT_EQ(lines.size(), 5U);
}

TEST_F(LocalFiberDirectionsExport, AFieldWithoutATensorWritesNoRowButCountsAsWritten) {
    auto image = MeasuredImage();
    image->Attributes().RemoveEntry(c_measurement + "FieldFiberDirections/Orientation tensor");
    test::CPackHost host(std::move(image));
    EXPECT_EQ(Export(host, true, false, false).size(), 2U);
    EXPECT_EQ(m_output, "LocalFiberDirectionsExportPlugin( field ): Saving '" + Path() + "' ... ok\n");
}

TEST_F(LocalFiberDirectionsExport, WithNoItemsButTheImageSizeTheCommentHoldsThatAlone) {
    auto image = MeasuredImage();
    for (const char* key : {"Fiber radius", "Otsu factor", "Border"})
        image->Attributes().RemoveEntry(c_measurement + key);
    test::CPackHost host(std::move(image));
    EXPECT_EQ(Export(host, true, false, false)[0], "# Image size: (512,512,30)");
}

TEST_F(LocalFiberDirectionsExport, TheCommentShowsAnOtsuFactorThatIsATextOrNoneOfBoth) {
    auto image = MeasuredImage();
    image->Attributes().SetEntry(c_measurement + "Otsu factor", Text("mask image"));
    test::CPackHost masked(std::move(image));
    EXPECT_EQ(Export(masked, true, false, false)[0],
              "# Fiber radius: 1.5, Otsu factor: mask image, Border: 4, Image size: (512,512,30)");
    image = MeasuredImage();
    image->Attributes().SetEntry(c_measurement + "Otsu factor", new CValueBool(true));
    test::CPackHost odd(std::move(image));
    std::filesystem::remove(Path());
    EXPECT_EQ(Export(odd, true, false, false)[0],
              "# Fiber radius: 1.5, Otsu factor: , Border: 4, Image size: (512,512,30)");
}

TEST_F(LocalFiberDirectionsExport, ItemsOfTheCommentOfAnotherKindAreLeftOut) {
    auto image = MeasuredImage();
    image->Attributes().SetEntry(c_measurement + "Fiber radius", new CValueLong(2));
    image->Attributes().SetEntry(c_measurement + "Border", new CValueDouble(4.0));
    test::CPackHost host(std::move(image));
    EXPECT_EQ(Export(host, true, false, false)[0], "# Otsu factor: 1.25, Image size: (512,512,30)");
}

TEST_F(LocalFiberDirectionsExport, ACancelledFileDialogCreatesNoFileAndShowsNothing) {
    test::CPackHost host(MeasuredImage());
    AnswerNextDialog([](QDialog& dialog) { dialog.reject(); });
    Run(host);
    EXPECT_EQ(m_output + m_error, "");
    EXPECT_FALSE(std::filesystem::exists(Path()));
}

TEST_F(LocalFiberDirectionsExport, SuggestsANameMadeOfTheLabel) {
    const std::vector<std::array<const char*, 2>> cases{{"table.csv", "table.csv"},
                                                        {"scan.tif", "scan_fiberdirections.csv"},
                                                        {"a.b.tif", "a.b_fiberdirections.csv"},
                                                        {"scan", "scan_fiberdirections.csv"},
                                                        {"", "_fiberdirections.csv"}};
    for (const auto& [label, suggestion] : cases) {
        test::CPackHost host(MeasuredImage(), label);
        PickFile(Path((std::string("x") + label).c_str()));
        Run(host);
        EXPECT_EQ(m_suggestion, suggestion) << label;
    }
}

TEST_F(LocalFiberDirectionsExport, ALabelThatIsNoTextCountsAsEmpty) {
    test::CPackHost host(MeasuredImage());
    host.Document().SetEntry("label", new CValueLong(3));
    PickFile(Path());
    Run(host);
    EXPECT_EQ(m_suggestion, "_fiberdirections.csv");
}

TEST_F(LocalFiberDirectionsExport, WithoutAnyFlagReportsThatNoDataIsSelected) {
    test::CPackHost host(MeasuredImage());
    host.Set("export_field", new CValueBool(false));
    ReadNextBox();
    Run(host);
    EXPECT_EQ(m_box, "warning|Export Error|No data selected for export.");
    EXPECT_EQ(m_error, "LocalFiberDirectionsExportPlugin Export Error: No data selected for export.\n");
    EXPECT_EQ(m_output, "");
}

TEST_F(LocalFiberDirectionsExport, SubfieldsThatDoNotExistLeaveAnEmptyFileAndAWarning) {
    test::CPackHost host(MeasuredImage());
    host.Set("export_field", new CValueBool(false)).Set("export_subfields", new CValueBool(true));
    PickFileAndReadBox(Path());
    Run(host);
    const std::string text = "No data written to file. Please pick some results (field, subfields) and make\n"
                             "sure they have been computed in (Sub-)field fibre directions";
    EXPECT_EQ(m_box, "warning|Export Error|" + text);
    EXPECT_EQ(m_error, "LocalFiberDirectionsExportPlugin Export Error: " + text + "\n");
    EXPECT_EQ(m_output,
              "LocalFiberDirectionsExportPlugin( subfields ): Saving '" + Path() + "' ... failed\n");
    EXPECT_EQ(std::filesystem::file_size(Path()), 0U);
    EXPECT_EQ(QApplication::overrideCursor(), nullptr);
}

TEST_F(LocalFiberDirectionsExport, AFileThatCannotBeOpenedIsReportedAndTheRunEndsNormally) {
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
    const std::string opening = "Can't open file '" + path + "' for writing.";
    const std::string text = "Could not save csv file '" + path + "'.\n" + opening;
    EXPECT_EQ(m_box, "critical|Export Error|" + text);
    EXPECT_EQ(m_error, "LocalFiberDirectionsExportPlugin Export Error: " + opening +
                           "\nLocalFiberDirectionsExportPlugin Export Error: " + text + "\n");
    EXPECT_EQ(m_output, "LocalFiberDirectionsExportPlugin( field ): Saving '" + path + "' ... failed\n");
    EXPECT_EQ(QApplication::overrideCursor(), nullptr);
}

TEST_F(LocalFiberDirectionsExport, AFullDiskIsReported) {
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
    EXPECT_EQ(m_box,
              "critical|Export Error|Could not save csv file '/dev/full'.\nCan't write to file '/dev/full'.");
}

/// A main window that notes what its status bar shows, and under which cursor.
class CWatchedWindow {
public:
    CWatchedWindow() {
        SetMainWidget(&m_window);
        QObject::connect(m_window.statusBar(), &QStatusBar::messageChanged, [this](const QString& text) {
            messages.push_back(text.toStdString());
            const QCursor* cursor = QApplication::overrideCursor();
            waits = waits && cursor != nullptr && cursor->shape() == Qt::WaitCursor;
            durations.push_back(Duration());
        });
    }
    CWatchedWindow(const CWatchedWindow&) = delete;
    CWatchedWindow& operator=(const CWatchedWindow&) = delete;
    ~CWatchedWindow() { SetMainWidget(nullptr); }

    /// In milliseconds, how long the message on show is to stay; 0 for one that stays until the next.
    [[nodiscard]] int Duration() const {
        const auto* timer = m_window.statusBar()->findChild<QTimer*>();
        return timer != nullptr && timer->isActive() ? timer->interval() : 0;
    }

    std::vector<std::string> messages;
    std::vector<int> durations;
    bool waits = true;

private:
    QMainWindow m_window;
};

TEST_F(LocalFiberDirectionsExport, ReportsTheProgressOfTheFileInTheStatusBar) {
    const CWatchedWindow window;
    test::CPackHost host(MeasuredImage());
    (void)Export(host, true, false, false);
    const std::string saving = "LocalFiberDirectionsExportPlugin( field ): Saving '" + Path() + "' ... ";
    EXPECT_EQ(window.messages, (std::vector<std::string>{saving, saving + "ok"}));
    EXPECT_EQ(window.durations.front(), 0) << "the first message stays as long as it takes";
    EXPECT_EQ(window.Duration(), 5000);
}

TEST_F(LocalFiberDirectionsExport, ShowsTheWaitCursorWhileItSaves) {
    const CWatchedWindow window;
    test::CPackHost host(MeasuredImage());
    (void)Export(host, true, false, false);
    ASSERT_EQ(window.messages.size(), 2U);
    EXPECT_TRUE(window.waits);
    EXPECT_EQ(QApplication::overrideCursor(), nullptr);
}

TEST_F(LocalFiberDirectionsExport, ABoxShowsAPathThatLooksLikeMarkupUnchanged) {
    test::CPackHost host(MeasuredImage());
    const std::string folder = Path("<b>bold<");
    std::filesystem::create_directory(folder);
    AnswerNextDialog([this, folder](QDialog& dialog) {
        ReadNextBox();
        dialog.findChild<QLineEdit*>("fileNameEdit")->setText(QString::fromStdString(folder + "/b>.csv"));
        dialog.accept();
        std::filesystem::remove(folder);
    });
    Run(host);
    EXPECT_NE(m_box.find("'" + folder + "/b>.csv'"), std::string::npos) << m_box;
    EXPECT_TRUE(m_isBoxPlain);
}

TEST_F(LocalFiberDirectionsExport, WarningsArePlainTextToo) {
    test::CPackHost host(MeasuredImage());
    host.Set("export_field", new CValueBool(false));
    ReadNextBox();
    Run(host);
    EXPECT_TRUE(m_isBoxPlain);
}

TEST_F(LocalFiberDirectionsExport, AnInputWithoutADocumentInFocusForgetsTheLabelAndKeepsTheMeasurement) {
    test::CPackHost host(MeasuredImage(), "scan");
    m_plugin->UpdateParameters(host.Tree());
    m_plugin->UpdateParameters(CValueMap());
    const auto suggested = [&] {
        PickFile(Path());
        m_suggestion = "nothing is exported";
        m_plugin->GetData(host.Tree());
        std::filesystem::remove(Path());
        return m_suggestion;
    };
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    EXPECT_EQ(suggested(), "scan_fiberdirections.csv") << "a tree without input says nothing about the focus";
    host.Tree().SetEntry("input", new CValueMap);
    m_plugin->UpdateParameters(host.Tree());
    EXPECT_EQ(suggested(), "_fiberdirections.csv");
    (void)testing::internal::GetCapturedStderr();
    (void)testing::internal::GetCapturedStdout();
}

TEST_F(LocalFiberDirectionsExport, ADocumentWithoutImageKeepsWhatWasReadBefore) {
    test::CPackHost host(MeasuredImage());
    host.Set("export_field", new CValueBool(false));
    m_plugin->UpdateParameters(host.Tree());
    host.Document().RemoveEntry("content");
    host.Set("export_field", new CValueBool(true)); // not looked at
    m_plugin->UpdateParameters(host.Tree());
    ReadNextBox();
    testing::internal::CaptureStderr();
    m_plugin->GetData(host.Tree());
    (void)testing::internal::GetCapturedStderr();
    EXPECT_EQ(m_box, "warning|Export Error|No data selected for export.");
}

} // namespace
