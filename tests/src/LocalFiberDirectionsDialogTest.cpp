// The plug-in of the loaded pack, with a person's answers to the dialog that it opens.

#include "support/PackHost.h"
#include "support/QtTest.h"

#include <sorblib2core/CException.h>
#include <sorblib2core/CString.h>
#include <sorblib2core/CValueBool.h>
#include <sorblib2core/CValueDouble.h>
#include <sorblib2core/CValueLong.h>
#include <sorblib2core/CValueMap.h>
#include <sorblib2core/CValueString.h>
#include <sorblib2core/UnwrapPointer.h>
#include <sorblib2image/CImage.h>
#include <sorblib2image/CQuillonHeaderTools.h>

#include <QCheckBox>
#include <QComboBox>
#include <QGroupBox>
#include <QLineEdit>
#include <QPointer>
#include <QPushButton>
#include <QRadioButton>
#include <QTemporaryDir>

#include <dlfcn.h>

#include <filesystem>
#include <memory>
#include <stdexcept>
#include <string>

namespace {

using namespace ORVEN;

const char* const c_name = "LocalFiberDirectionsDialog";

using Plugin = std::unique_ptr<CPluginBase>;

/// A plug-in of a pack that no dialog has been accepted of: from a copy that is loaded as another library.
Plugin PluginWithoutMemory() {
    const Plugin loaded = test::CreatePlugin(c_name); // and with it the libraries that the copy needs
    const QTemporaryDir folder;
    const std::string copy = folder.filePath("pack.so").toStdString();
    std::filesystem::copy_file(QUILLON_PACK, copy);
    void* library = dlopen(copy.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (library == nullptr)
        throw std::runtime_error(dlerror());
    const auto create = reinterpret_cast<void* (*)(const char*)>(dlsym(library, "CreatePluginInstanceEx"));
    return Plugin(static_cast<CPluginBase*>(create(c_name)));
}

std::unique_ptr<CImage> NewImage(const CSize& size = CSize(100, 80, 60),
                                 const IImage::CType& type = IMAGE_GREY_8) {
    return std::make_unique<CImage>(type, size, CSize(0, 0, 0));
}

/// An image whose size or attributes raise an object of this kind.
template <class Raised>
class CBrokenImage : public CImage {
public:
    explicit CBrokenImage(Raised raised)
        : CImage(IMAGE_GREY_8, CSize(4, 3), CSize(0, 0, 0))
        , m_raised(std::move(raised)) {}

    [[nodiscard]] const CSize& Size() const override { throw m_raised; }

private:
    Raised m_raised;
};

std::string Text(const QDialog& dialog, const char* name) {
    return dialog.findChild<QLineEdit*>(name)->text().toStdString();
}

void SetText(const QDialog& dialog, const char* name, const char* text) {
    dialog.findChild<QLineEdit*>(name)->setText(text);
}

void Check(const QDialog& dialog, const char* boxName, bool isOn = true) {
    dialog.findChild<QGroupBox*>(boxName)->setChecked(isOn);
}

void Press(const QDialog& dialog, const char* buttonName) {
    dialog.findChild<QPushButton*>(buttonName)->click();
}

class LocalFiberDirectionsDialog : public test::QtTest {
protected:
    /// The plug-in leaves its last dialog to the host.
    void TearDown() override {
        QWidgetList windows = QApplication::topLevelWidgets();
        windows.removeIf([](const QWidget* window) { return window->parent() != nullptr; }); // go with it
        qDeleteAll(windows);
    }

    /// Opens the dialog for the document in focus, has the form filled in, and presses OK.
    template <class Fill>
    void Accept(test::CPackHost& host, const Fill& fill) {
        Run(host, "OK_button", fill);
    }

    template <class Fill>
    void Cancel(test::CPackHost& host, const Fill& fill) {
        Run(host, "Cancel_button", fill);
    }

    [[nodiscard]] static const CValueMap& Parameters(test::CPackHost& host) {
        return *host.Tree().Entry("parameters", true)->Map();
    }

    /// What goes to standard error while `call` raises, which it has to.
    template <class Raised, class Call>
    std::string ErrorLineOf(const Call& call) {
        testing::internal::CaptureStderr();
        EXPECT_THROW(call(), Raised);
        return testing::internal::GetCapturedStderr();
    }

    Plugin plugin = test::CreatePlugin(c_name);
    bool hasOpened = false;

private:
    template <class Fill>
    void Run(test::CPackHost& host, const char* button, const Fill& fill) {
        hasOpened = false;
        AnswerNextDialog([&](QDialog& dialog) {
            hasOpened = true;
            fill(dialog);
            Press(dialog, button);
        });
        plugin->UpdateParameters(host.Tree());
        plugin->GetData(host.Tree());
        EXPECT_TRUE(hasOpened);
    }
};

void FillNothing(const QDialog& /*dialog*/) {}

TEST_F(LocalFiberDirectionsDialog, OpensForAnyImageInFocus) {
    for (const auto& type : {IMAGE_GREY_8, IMAGE_GREY_F, IMAGE_BINARY_FG}) {
        test::CPackHost host(NewImage(CSize(4, 3), type));
        EXPECT_TRUE(plugin->TestParameters(host.Tree()));
    }
    EXPECT_FALSE(plugin->TestParameters(CValueMap()));
    test::CPackHost host(nullptr);
    EXPECT_FALSE(plugin->TestParameters(host.Tree()));
}

TEST_F(LocalFiberDirectionsDialog, ShowsTheDialogByItsTitleAndName) {
    test::CPackHost host(NewImage());
    Cancel(host, [](const QDialog& dialog) {
        EXPECT_EQ(dialog.windowTitle(), "Subfield Fiber Directions");
        EXPECT_EQ(dialog.objectName(), "CLocalFiberDirectionsDialog_skel");
        EXPECT_EQ(dialog.parent(), nullptr);
    });
}

TEST_F(LocalFiberDirectionsDialog, StartsEmptyAndWritesARadiusOf0IfNothingIsTyped) {
    plugin = PluginWithoutMemory();
    test::CPackHost host(NewImage());
    Accept(host, [](const QDialog& dialog) {
        EXPECT_EQ(Text(dialog, "radius_edit"), "");
        EXPECT_EQ(Text(dialog, "radius_pixel_edit"), "");
        EXPECT_EQ(Text(dialog, "eval_area_to_edit"), "");
        EXPECT_EQ(Text(dialog, "offset_edit"), "1.25");
        EXPECT_FALSE(dialog.findChild<QGroupBox*>("select_size_group")->isChecked());
        EXPECT_FALSE(dialog.findChild<QGroupBox*>("advanced_box")->isChecked());
    });
    EXPECT_EQ(Parameters(host).Size(), 2U);
    EXPECT_EQ(Parameters(host).Entry("fiber_radius", true)->Double(), 0.0);
    EXPECT_FALSE(Parameters(host).Entry("use_subfields", true)->Bool());
}

TEST_F(LocalFiberDirectionsDialog, WritesWhatWasTypedInPlaceOfTheParametersThatWereThere) {
    auto image = NewImage();
    CQuillonHeaderTools::SetSpacing(*image, 0.5, 1.0, 2.0);
    test::CPackHost host(std::move(image));
    host.Set("fiber_radius", new CValueString("of another run", CString::NPOS))
        .Set("stale", new CValueString("x", CString::NPOS));
    Accept(host, [](const QDialog& dialog) {
        SetText(dialog, "radius_edit", "1.5");
        Check(dialog, "select_size_group");
        SetText(dialog, "sizex_edit", "20");
        Check(dialog, "advanced_box");
        dialog.findChild<QCheckBox*>("output_box")->setChecked(true);
        SetText(dialog, "offset_edit", "0.75");
    });
    const auto at = [&](const char* key) { return Parameters(host).Entry(key, true); };
    EXPECT_EQ(Parameters(host).Size(), 6U);
    EXPECT_EQ(at("fiber_radius")->Type(), typeid(CValueDouble));
    EXPECT_EQ(at("fiber_radius")->Double(), 1.5);
    EXPECT_EQ(at("use_subfields")->Type(), typeid(CValueBool));
    EXPECT_TRUE(at("use_subfields")->Bool());
    EXPECT_EQ(at("subfield_x")->Type(), typeid(CValueLong));
    EXPECT_EQ(at("subfield_x")->Long(), 40);
    EXPECT_EQ(at("subfield_y")->Long(), 20);
    EXPECT_EQ(at("subfield_z")->Long(), 10);
    EXPECT_EQ(at("advanced")->Map()->Size(), 4U);
    EXPECT_EQ(at("advanced/output_directions")->Type(), typeid(CValueBool));
    EXPECT_TRUE(at("advanced/output_directions")->Bool());
    EXPECT_EQ(at("advanced/otsu_factor")->Type(), typeid(CValueDouble));
    EXPECT_EQ(at("advanced/otsu_factor")->Double(), 0.75);
    EXPECT_EQ(at("advanced/use_otsu")->Type(), typeid(CValueBool));
    EXPECT_TRUE(at("advanced/use_otsu")->Bool());
    EXPECT_EQ(at("advanced/mask_image")->Type(), typeid(CValuePointer<CImage>));
    EXPECT_EQ(UnwrapPointer<CImage>(at("advanced/mask_image")), nullptr);
}

TEST_F(LocalFiberDirectionsDialog, WritesNoGroupThatIsOff) {
    test::CPackHost host(NewImage());
    Accept(host, [](const QDialog& dialog) {
        SetText(dialog, "radius_edit", "2");
        Check(dialog, "select_size_group", false);
        Check(dialog, "advanced_box", false);
    });
    EXPECT_EQ(Parameters(host).Size(), 2U);
    EXPECT_FALSE(Parameters(host).HasEntry("subfield_x"));
    EXPECT_FALSE(Parameters(host).HasEntry("advanced"));
}

TEST_F(LocalFiberDirectionsDialog, CancelLeavesTheMemoryAndTheTreeAlone) {
    test::CPackHost host(NewImage());
    Accept(host, [](const QDialog& dialog) { SetText(dialog, "radius_edit", "2"); });
    host.Tree().SetEntry("parameters", new CValueString("untouched", CString::NPOS));
    Cancel(host, [](const QDialog& dialog) { SetText(dialog, "radius_edit", "9"); });
    EXPECT_EQ(host.Tree().Entry("parameters", true)->String().Std(), "untouched");
    EXPECT_FALSE(host.Tree().HasEntry("output"));
    Cancel(host, [](const QDialog& dialog) { EXPECT_EQ(Text(dialog, "radius_edit"), "2"); });
}

TEST_F(LocalFiberDirectionsDialog, RemembersASubfieldAndShowsItInThePixelsOfTheNextImage) {
    test::CPackHost first(NewImage());
    Accept(first, [](const QDialog& dialog) {
        SetText(dialog, "radius_edit", "3");
        Check(dialog, "select_size_group");
        SetText(dialog, "sizex_edit", "20");
        Check(dialog, "advanced_box");
        dialog.findChild<QCheckBox*>("output_box")->setChecked(true);
        SetText(dialog, "offset_edit", "1.5");
    });
    auto image = NewImage();
    CQuillonHeaderTools::SetSpacing(*image, 0.5, 0.25, 2.0);
    test::CPackHost second(std::move(image));
    plugin = test::CreatePlugin(c_name); // the memory is that of all objects
    Cancel(second, [](const QDialog& dialog) {
        EXPECT_EQ(Text(dialog, "radius_edit"), "3");
        EXPECT_EQ(Text(dialog, "radius_pixel_edit"), "6");
        EXPECT_TRUE(dialog.findChild<QGroupBox*>("select_size_group")->isChecked());
        EXPECT_EQ(Text(dialog, "sizex_edit"), "20");
        EXPECT_EQ(Text(dialog, "sizex_pixel_edit"), "40");
        EXPECT_EQ(Text(dialog, "sizey_pixel_edit"), "80");
        EXPECT_EQ(Text(dialog, "sizez_pixel_edit"), "10");
        EXPECT_TRUE(dialog.findChild<QGroupBox*>("advanced_box")->isChecked());
        EXPECT_TRUE(dialog.findChild<QCheckBox*>("output_box")->isChecked());
        EXPECT_EQ(Text(dialog, "offset_edit"), "1.5");
    });
}

TEST_F(LocalFiberDirectionsDialog, ForgetsTheSubfieldWhenOneIsAcceptedWithout) {
    test::CPackHost host(NewImage());
    Accept(host, [](const QDialog& dialog) {
        SetText(dialog, "radius_edit", "3");
        Check(dialog, "select_size_group");
        SetText(dialog, "sizex_edit", "20");
    });
    Accept(host, [](const QDialog& dialog) { Check(dialog, "select_size_group", false); });
    Cancel(host, [](const QDialog& dialog) {
        EXPECT_FALSE(dialog.findChild<QGroupBox*>("select_size_group")->isChecked());
        EXPECT_EQ(Text(dialog, "sizex_edit"), "");
    });
}

TEST_F(LocalFiberDirectionsDialog, UsesPixelsAsUnitWithoutSpacing) {
    test::CPackHost host(NewImage());
    Cancel(host, [](const QDialog& dialog) {
        SetText(dialog, "radius_edit", "2.6");
        EXPECT_EQ(Text(dialog, "radius_pixel_edit"), "3");
        EXPECT_EQ(Text(dialog, "eval_area_to_edit"), "(97,77,57)");
    });
}

TEST_F(LocalFiberDirectionsDialog, TreatsA2dImageAsOneOfOnePixelAlongZ) {
    auto image = NewImage(CSize(100, 80));
    CQuillonHeaderTools::SetSpacing(*image, 0.5, 0.25, 1.0);
    test::CPackHost host(std::move(image));
    Accept(host, [](const QDialog& dialog) {
        SetText(dialog, "radius_edit", "0.5");
        EXPECT_EQ(Text(dialog, "radius_pixel_edit"), "1");
        EXPECT_EQ(Text(dialog, "eval_area_from_edit"), "");
        Check(dialog, "select_size_group");
        SetText(dialog, "sizex_edit", "10");
        EXPECT_EQ(Text(dialog, "sizez_pixel_edit"), "");
    });
    EXPECT_EQ(Parameters(host).Entry("subfield_x", true)->Long(), 20);
    EXPECT_EQ(Parameters(host).Entry("subfield_y", true)->Long(), 40);
    EXPECT_EQ(Parameters(host).Entry("subfield_z", true)->Long(), 0);
}

TEST_F(LocalFiberDirectionsDialog, AcceptsARadiusThatTheImageHasNoRoomFor) {
    test::CPackHost host(NewImage());
    Accept(host, [](const QDialog& dialog) {
        auto* edit = dialog.findChild<QLineEdit*>("radius_edit");
        edit->setText("51");
        EXPECT_EQ(edit->palette().color(QPalette::Base), QColor(Qt::red));
    });
    EXPECT_EQ(Parameters(host).Entry("fiber_radius", true)->Double(), 51.0);
}

TEST_F(LocalFiberDirectionsDialog, DisablesTheMaskWhereThereIsNone) {
    test::CPackHost host(NewImage());
    Accept(host, [](const QDialog& dialog) {
        SetText(dialog, "radius_edit", "2");
        Check(dialog, "advanced_box");
        EXPECT_EQ(dialog.findChild<QComboBox*>("comboMasks")->count(), 0);
        EXPECT_FALSE(dialog.findChild<QRadioButton*>("radioMask")->isEnabled());
    });
    const CValue* mask = Parameters(host).Entry("advanced/mask_image", true);
    ASSERT_NE(mask, nullptr);
    EXPECT_EQ(UnwrapPointer<CImage>(mask), nullptr);
}

/// A host that has masks open beside the image in focus.
class LocalFiberDirectionsDialogWithMasks : public LocalFiberDirectionsDialog {
protected:
    LocalFiberDirectionsDialogWithMasks() {
        Open("1", "zebra", m_mask);
        Open("2", "antelope", m_otherMask);
        Open("3", "too small", m_smallMask);
        Open("4", "grey", m_grey);
    }

    void Open(const std::string& key, const char* label, const std::unique_ptr<CImage>& image) {
        auto* document = new CValueMap;
        document->SetEntry("content", new CValuePointer<CImage>(image.get(), 1));
        document->SetEntry("label", new CValueString(label, CString::NPOS));
        host.Tree().SetEntry("input/documents/" + key, document);
    }

    static void ChooseMask(const QDialog& dialog, const char* name) {
        SetText(dialog, "radius_edit", "2");
        SetText(dialog, "radius_edit", "3");
        Check(dialog, "advanced_box");
        dialog.findChild<QRadioButton*>("radioMask")->click();
        dialog.findChild<QComboBox*>("comboMasks")->setCurrentText(name);
    }

    test::CPackHost host{NewImage()};
    std::unique_ptr<CImage> m_mask = NewImage(CSize(100, 80, 60), IMAGE_BINARY_FG);
    std::unique_ptr<CImage> m_otherMask = NewImage(CSize(100, 80, 60), IMAGE_BINARY_FG);
    std::unique_ptr<CImage> m_smallMask = NewImage(CSize(10, 80, 60), IMAGE_BINARY_FG);
    std::unique_ptr<CImage> m_grey = NewImage();
};

TEST_F(LocalFiberDirectionsDialogWithMasks, OffersBinaryImagesOfTheSameSizeByName) {
    Cancel(host, [](const QDialog& dialog) {
        const auto* masks = dialog.findChild<QComboBox*>("comboMasks");
        ASSERT_EQ(masks->count(), 2);
        EXPECT_EQ(masks->itemText(0), "antelope");
        EXPECT_EQ(masks->itemText(1), "zebra");
    });
}

TEST_F(LocalFiberDirectionsDialogWithMasks, WritesTheMaskThatIsChosen) {
    Accept(host, [](const QDialog& dialog) { ChooseMask(dialog, "zebra"); });
    EXPECT_FALSE(Parameters(host).Entry("advanced/use_otsu", true)->Bool());
    EXPECT_EQ(UnwrapPointer<CImage>(Parameters(host).Entry("advanced/mask_image", true)), m_mask.get());
}

TEST_F(LocalFiberDirectionsDialogWithMasks, WritesNoMaskWithOtsusThreshold) {
    Accept(host, [](const QDialog& dialog) {
        ChooseMask(dialog, "zebra");
        dialog.findChild<QRadioButton*>("radioOtsu")->click();
    });
    EXPECT_TRUE(Parameters(host).Entry("advanced/use_otsu", true)->Bool());
    EXPECT_EQ(UnwrapPointer<CImage>(Parameters(host).Entry("advanced/mask_image", true)), nullptr);
}

TEST_F(LocalFiberDirectionsDialogWithMasks, DoesNotRememberTheChoiceOfAMask) {
    Accept(host, [](const QDialog& dialog) { ChooseMask(dialog, "zebra"); });
    Cancel(host, [](const QDialog& dialog) {
        EXPECT_TRUE(dialog.findChild<QGroupBox*>("advanced_box")->isChecked());
        EXPECT_TRUE(dialog.findChild<QRadioButton*>("radioOtsu")->isChecked());
        EXPECT_EQ(dialog.findChild<QComboBox*>("comboMasks")->currentText(), "antelope");
    });
}

TEST_F(LocalFiberDirectionsDialogWithMasks, LooksForMasksAtEachUpdate) {
    plugin->UpdateParameters(host.Tree());
    host.Tree().RemoveEntry("input/documents/2");
    Cancel(host,
           [](const QDialog& dialog) { EXPECT_EQ(dialog.findChild<QComboBox*>("comboMasks")->count(), 1); });
}

TEST_F(LocalFiberDirectionsDialogWithMasks, OffersNoMasksForContentThatIsNoPlainPointer) {
    host.Document().SetEntry("content", new CValueOwnedPointer<CImage>(NewImage().release(), 1));
    Cancel(host,
           [](const QDialog& dialog) { EXPECT_EQ(dialog.findChild<QComboBox*>("comboMasks")->count(), 0); });
}

TEST_F(LocalFiberDirectionsDialogWithMasks, KeepsDocumentAndMasksOfAnUpdateWithoutADocument) {
    plugin->UpdateParameters(host.Tree());
    CValueMap other;
    other.SetEntry("input/documents/focused", new CValueString("no document", CString::NPOS));
    plugin->UpdateParameters(other);
    AnswerNextDialog([this](QDialog& dialog) {
        hasOpened = true;
        EXPECT_EQ(dialog.findChild<QComboBox*>("comboMasks")->count(), 2);
        dialog.reject();
    });
    plugin->GetData(other);
    EXPECT_TRUE(hasOpened);
}

TEST_F(LocalFiberDirectionsDialog, DeletesADialogWhenTheNextOneOpensAndNotBefore) {
    test::CPackHost host(NewImage());
    QPointer<QDialog> first;
    Cancel(host, [&](QDialog& dialog) { first = &dialog; });
    ASSERT_FALSE(first.isNull());
    Cancel(host, [&](QDialog& dialog) {
        EXPECT_TRUE(first.isNull());
        first = &dialog;
    });
    plugin.reset();
    EXPECT_FALSE(first.isNull());
}

TEST_F(LocalFiberDirectionsDialog, BearsAHostThatDeletesItsDialog) {
    test::CPackHost host(NewImage());
    QPointer<QDialog> first;
    Cancel(host, [&](QDialog& dialog) { first = &dialog; });
    delete first;
    Cancel(host, FillNothing);
}

TEST_F(LocalFiberDirectionsDialog, DoesNothingWithoutAnImage) {
    CValueMap tree;
    plugin->GetData(tree);
    test::CPackHost host(nullptr);
    plugin->UpdateParameters(host.Tree());
    plugin->GetData(host.Tree());
    EXPECT_FALSE(host.Tree().HasEntry("parameters"));
    EXPECT_EQ(QApplication::activeModalWidget(), nullptr);
}

TEST_F(LocalFiberDirectionsDialog, ReportsWhatGetDataRaisesAndRaisesItAgain) {
    test::CPackHost host(NewImage());
    plugin->UpdateParameters(host.Tree());
    const auto getData = [&] { plugin->GetData(host.Tree()); };
    const auto& document = host.Document();
    host.Document().SetEntry("content", new CValuePointer<CValueMap>(&host.Document(), 1));
    std::string message;
    try {
        (void)UnwrapPointer<CImage>(document.Entry("content", true));
    } catch (const CException& raised) {
        message = raised.Message();
    }
    EXPECT_EQ(ErrorLineOf<CException>(getData),
              "CLocalFiberDirectionsDialogPlugin::GetData caught " + message + "\n");

    CBrokenImage<std::runtime_error> broken(std::runtime_error("the size is lost"));
    host.Document().SetEntry("content", new CValuePointer<CImage>(&broken, 1));
    EXPECT_EQ(ErrorLineOf<std::runtime_error>(getData),
              "CLocalFiberDirectionsDialogPlugin::GetData caught the size is lost\n");
}

TEST_F(LocalFiberDirectionsDialog, ReportsWhatUpdateParametersRaisesAndRaisesItAgain) {
    test::CPackHost host(NewImage());
    const auto update = [&] { plugin->UpdateParameters(host.Tree()); };
    CBrokenImage<CException> raising(CException("image", "the disk is gone", nullptr));
    host.Document().SetEntry("content", new CValuePointer<CImage>(&raising, 1));
    EXPECT_EQ(ErrorLineOf<CException>(update),
              "CLocalFiberDirectionsDialogPlugin::UpdateParameters caught the disk is gone\n");
    CBrokenImage<std::runtime_error> broken(std::runtime_error("the size is lost"));
    host.Document().SetEntry("content", new CValuePointer<CImage>(&broken, 1));
    EXPECT_EQ(ErrorLineOf<std::runtime_error>(update),
              "CLocalFiberDirectionsDialogPlugin::UpdateParameters caught the size is lost\n");
}

TEST_F(LocalFiberDirectionsDialog, NamesUpdateParametersForAnythingElseInGetDataToo) {
    test::CPackHost host(NewImage());
    plugin->UpdateParameters(host.Tree());
    CBrokenImage<int> broken(42);
    host.Document().SetEntry("content", new CValuePointer<CImage>(&broken, 1));
    const std::string line = "CLocalFiberDirectionsDialogPlugin::UpdateParameters caught unknown exception\n";
    EXPECT_EQ(ErrorLineOf<int>([&] { plugin->UpdateParameters(host.Tree()); }), line);
    EXPECT_EQ(ErrorLineOf<int>([&] { plugin->GetData(host.Tree()); }), line);
}

} // namespace
