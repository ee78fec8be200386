// The plug-in of the loaded pack, on images that carry measurements.

#include "support/PackHost.h"
#include "support/QtTest.h"
#include "support/TestImage.h"

#include <sorblib2core/CException.h>
#include <sorblib2core/CValueDouble.h>
#include <sorblib2core/CValueLong.h>
#include <sorblib2core/CValueString.h>
#include <sorblib2image/CQuillonHeaderTools.h>

#include <QComboBox>

#include <memory>
#include <string>
#include <vector>

namespace {

using namespace ORVEN;

CValueString* NewText(const char* text) { return new CValueString(text, CString::NPOS); }

std::unique_ptr<CImage> NewImage() {
    return std::make_unique<CImage>(IMAGE_GREY_8, CSize(4, 4, 4), CSize(0, 0, 0));
}

/// A measurement of two objects.
void AddObjects(CImage& image, const std::string& name) {
    const std::string map = "features/" + name;
    image.Attributes().SetEntry(map + "/object 001/object", NewText("1"));
    image.Attributes().SetEntry(map + "/object 001/volume", new CValueDouble(5.0));
    image.Attributes().SetEntry(map + "/object 003/object", NewText("3"));
    image.Attributes().SetEntry(map + "/object 003/volume", new CValueDouble(7.0));
}

/// A measurement by grey value, of some grey values.
void AddGreyValues(CImage& image, const std::string& name) {
    const std::string map = "features/" + name;
    image.Attributes().SetEntry(map + "/grayvalue 002/grayvalue", NewText("2"));
    image.Attributes().SetEntry(map + "/grayvalue 002/V_V", new CValueDouble(0.5));
    image.Attributes().SetEntry(map + "/grayvalue 300/grayvalue", NewText("300"));
    image.Attributes().SetEntry(map + "/grayvalue 300/V_V", new CValueDouble(0.25));
}

/// One that is neither.
void AddOther(CImage& image, const std::string& name) {
    image.Attributes().SetEntry("features/" + name + "/data/1.0", new CValueLong(1));
}

class FeatureToImage : public test::QtTest {
protected:
    bool Accepts(test::CPackHost& host) {
        testing::internal::CaptureStdout();
        const bool isAccepted = m_plugin->TestParameters(host.Tree());
        m_output = testing::internal::GetCapturedStdout();
        return isAccepted;
    }

    void Run(test::CPackHost& host) {
        testing::internal::CaptureStdout();
        host.Run(*m_plugin);
        m_output = testing::internal::GetCapturedStdout();
    }

    const std::unique_ptr<CPluginBase> m_plugin = test::CreatePlugin("FeatureToImage");
    std::string m_output;
};

TEST_F(FeatureToImage, AnImageWithoutFeaturesIsRefusedSilently) {
    test::CPackHost host(NewImage());
    EXPECT_FALSE(Accepts(host));
    EXPECT_EQ(m_output, "");
}

TEST_F(FeatureToImage, EntriesThatAreNoMapsAreRefusedSilently) {
    test::CPackHost host(NewImage());
    host.Image().Attributes().SetEntry("features/a", new CValueDouble(1.0));
    host.Image().Attributes().SetEntry("features/b", NewText("text"));
    EXPECT_FALSE(Accepts(host));
    EXPECT_EQ(m_output, "");
}

TEST_F(FeatureToImage, UnusableMapsAreReported) {
    test::CPackHost host(NewImage());
    AddOther(host.Image(), "Granulometry");
    EXPECT_FALSE(Accepts(host));
    EXPECT_EQ(m_output, "Granulometry is not an OBJECT map\nGranulometry is not a GRAYVALUE map\n");
}

TEST_F(FeatureToImage, TheFirstUsableMapIsEnough) {
    test::CPackHost host(NewImage());
    AddOther(host.Image(), "A");
    AddGreyValues(host.Image(), "B");
    AddOther(host.Image(), "C");
    EXPECT_TRUE(Accepts(host));
    EXPECT_EQ(m_output, "A is not an OBJECT map\nA is not a GRAYVALUE map\nB is not an OBJECT map\n");
    test::CPackHost objects(NewImage());
    AddObjects(objects.Image(), "A");
    EXPECT_TRUE(Accepts(objects));
    EXPECT_EQ(m_output, "");
}

TEST_F(FeatureToImage, OneUsableMapGoesStraightToTheConversion) {
    test::CPackHost host(NewImage(), "cells.nrrd");
    AddObjects(host.Image(), "Objects");
    AddOther(host.Image(), "Granulometry");
    CQuillonHeaderTools::SetSpacing(host.Image(), 0.5, 0.5, 0.5);
    Run(host);
    EXPECT_EQ(m_output, "Objects\n");
    ASSERT_EQ(host.DocumentCount(), 1U);
    EXPECT_EQ(host.ResultLabel(), "cells.nrrd") << "as it was, with nothing added";
    EXPECT_EQ(host.Result().Type(), IMAGE_GREY_F);
    EXPECT_EQ(host.Result().Size(), CSize(4, 1));
    EXPECT_EQ(test::PixelsOf<float>(host.Result()), (std::vector<float>{0, 5, 0, 7}));
    EXPECT_EQ(test::HistoryOf(host.Result()), std::vector<std::string>{"features2image(\"Objects\")"});
    EXPECT_TRUE(host.Result().Attributes().HasEntry("spacing")) << "attributes go along";
}

TEST_F(FeatureToImage, AMapByGreyValueEndsAt255AndTheHeaderStaysAsItWas) {
    test::CPackHost host(NewImage());
    AddGreyValues(host.Image(), "Grey");
    const CValueMap before(host.Image().Attributes());
    Run(host);
    EXPECT_TRUE(host.Image().Attributes().Equal(before));
    EXPECT_EQ(host.Result().Size(), CSize(256, 1));
    EXPECT_EQ(test::PixelsOf<float>(host.Result())[2], 0.5F);
    Run(host);
    EXPECT_EQ(host.Result().Size(), CSize(256, 1)) << "once more";
}

TEST_F(FeatureToImage, TwoUsableMapsAreOfferedInTheOrderOfTheirKeys) {
    test::CPackHost host(NewImage());
    AddObjects(host.Image(), "Objects");
    AddGreyValues(host.Image(), "Grey");
    AddOther(host.Image(), "Granulometry");
    AnswerNextDialog([](QDialog& dialog) {
        EXPECT_EQ(dialog.windowTitle(), "Select Feature to Map to Image");
        auto* choice = dialog.findChild<QComboBox*>("choice:feature");
        ASSERT_NE(choice, nullptr);
        ASSERT_EQ(choice->count(), 2);
        EXPECT_EQ(choice->itemText(0), "Grey");
        EXPECT_EQ(choice->itemText(1), "Objects");
        EXPECT_EQ(choice->currentText(), "Grey") << "the smallest key";
        choice->setCurrentText("Objects");
        dialog.accept();
    });
    Run(host);
    EXPECT_EQ(m_output, "Grey\nObjects\n");
    EXPECT_EQ(test::HistoryOf(host.Result()), std::vector<std::string>{"features2image(\"Objects\")"});
}

TEST_F(FeatureToImage, ACancelledDialogDeliversNothing) {
    test::CPackHost host(NewImage());
    AddObjects(host.Image(), "A");
    AddObjects(host.Image(), "B");
    AnswerNextDialog([](QDialog& dialog) { dialog.reject(); });
    Run(host);
    EXPECT_EQ(host.DocumentCount(), 0U);
}

TEST_F(FeatureToImage, NoUsableMapDeliversNothing) {
    test::CPackHost host(NewImage());
    AddOther(host.Image(), "Granulometry");
    Run(host);
    EXPECT_EQ(host.DocumentCount(), 0U);
    EXPECT_EQ(m_output, "");
}

TEST_F(FeatureToImage, ADocumentWithoutLabelYieldsAnEmptyOne) {
    test::CPackHost host(NewImage(), "");
    AddObjects(host.Image(), "Objects");
    Run(host);
    EXPECT_EQ(host.ResultLabel(), "");
}

TEST_F(FeatureToImage, AnExceptionOfTheConversionIsReportedAndPropagates) {
    test::CPackHost host(NewImage());
    host.Image().Attributes().SetEntry("features/Objects/object 001/object", NewText("1"));
    testing::internal::CaptureStderr();
    EXPECT_THROW(Run(host), CException);
    (void)testing::internal::GetCapturedStdout();
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "FeatureMapToFeatureImagePlugin caught an ORVEN::CException: "
              "'Objects' has no features that are numbers.\n");
    EXPECT_FALSE(host.Tree().HasEntry("output"));
}

} // namespace
