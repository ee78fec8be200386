#include "support/PackHost.h"
#include "support/TestImage.h"

#include <sorblib2core/CValueDouble.h>
#include <sorblib2core/CValueString.h>
#include <sorblib2core/CValueVector.h>
#include <sorblib2core/UnwrapPointer.h>
#include <sorblib2image/CQuillonHeaderTools.h>

#include <gtest/gtest.h>

#include <memory>
#include <random>
#include <string>
#include <vector>

namespace {

using namespace ORVEN;

const char* const c_result = "features/FieldFeaturesOverGrayvalue";

const CValueMap* ResultOf(const CImage& image) {
    const CValue* entry = image.Attributes().Entry(c_result, true);
    return entry != nullptr ? entry->Map() : nullptr;
}

std::unique_ptr<CImage> RandomGrey(const CSize& size, unsigned seed = 1) {
    std::mt19937 random(seed);
    return test::RandomImage<unsigned char>(IMAGE_GREY_8, size, random, 0, 256);
}

/// Runs the plug-in and answers what it left in the header.
const CValueMap& Measure(test::CPackHost& host) {
    host.Run(*test::CreatePlugin("FieldFeaturesGrayValueImage"));
    const CValueMap* result = ResultOf(host.Image());
    EXPECT_NE(result, nullptr);
    return *result;
}

double FeatureAt(const CValueMap& result, const char* path) {
    const CValue* value = result.Entry(path, true);
    EXPECT_NE(value, nullptr) << path;
    return value != nullptr ? value->Double() : -1.0;
}

TEST(FieldFeaturesGrayValueImage, KeysOf8BitsHaveThreeDigitsAndTheTextInsideNone) {
    test::CPackHost host(RandomGrey(CSize(6, 5, 4)));
    const CValueMap& result = Measure(host);
    EXPECT_EQ(result.Size(), 256U);
    EXPECT_EQ(std::string(result.Keys().front().ToString()), "grayvalue 000");
    EXPECT_EQ(std::string(result.Keys().back().ToString()), "grayvalue 255");
    const CString none;
    EXPECT_EQ(result.EntryString("grayvalue 007/grayvalue", none).Std(), "7");
    EXPECT_EQ(result.EntryString("grayvalue 255/grayvalue", none).Std(), "255");
    EXPECT_EQ(result.EntryString("grayvalue 000/status", none).Std(), "ok");
    EXPECT_EQ(result.Entry("grayvalue 000", true)->Map()->Size(), 10U);
}

TEST(FieldFeaturesGrayValueImage, KeysOf16BitsHaveFiveDigits) {
    std::mt19937 random(2);
    test::CPackHost host(test::RandomImage<unsigned short>(IMAGE_GREY_16, CSize(4, 4, 4), random, 0, 65536));
    const CValueMap& result = Measure(host);
    EXPECT_EQ(result.Size(), 65536U);
    EXPECT_EQ(std::string(result.Keys().front().ToString()), "grayvalue 00000");
    EXPECT_EQ(std::string(result.Keys().back().ToString()), "grayvalue 65535");
    const CString none;
    EXPECT_EQ(result.EntryString("grayvalue 00042/grayvalue", none).Std(), "42");
}

TEST(FieldFeaturesGrayValueImage, AnImageOfOneLayerHasAllEntriesAndNoBlocks) {
    for (const CSize& size : {CSize(5, 5), CSize(1, 5, 5), CSize(5, 1, 5)}) {
        test::CPackHost host(RandomGrey(size));
        const CValueMap& result = Measure(host);
        EXPECT_EQ(result.Size(), 256U);
        const CString none;
        for (const CValue_Key& key : result.Keys()) {
            const std::string entry = key.ToString();
            EXPECT_EQ(result.EntryString(entry + "/status", none).Std(), "ok");
            EXPECT_EQ(FeatureAt(result, (entry + "/Blocks").c_str()), 0.0);
        }
    }
}

TEST(FieldFeaturesGrayValueImage, ABinaryImageHas256EntriesAndForegroundInTheFirstOnly) {
    std::mt19937 random(3);
    test::CPackHost host(test::RandomImage<unsigned char>(IMAGE_BINARY_FG, CSize(8, 8, 8), random, 0, 2));
    const CValueMap& result = Measure(host);
    EXPECT_EQ(result.Size(), 256U);
    EXPECT_GT(FeatureAt(result, "grayvalue 000/V_V"), 0.3);
    EXPECT_EQ(FeatureAt(result, "grayvalue 001/V_V"), 0.0);
    EXPECT_EQ(FeatureAt(result, "grayvalue 001/Blocks"), 343.0);
}

TEST(FieldFeaturesGrayValueImage, AConstantImageIsFullBelowItsValueAndEmptyFromItOn) {
    const std::vector<unsigned char> pixels(4 * 4 * 4, 100);
    test::CPackHost host(test::ImageOf(IMAGE_GREY_8, CSize(4, 4, 4), pixels));
    const CValueMap& result = Measure(host);
    EXPECT_EQ(FeatureAt(result, "grayvalue 099/V_V"), 1.0);
    EXPECT_EQ(FeatureAt(result, "grayvalue 100/V_V"), 0.0);
}

TEST(FieldFeaturesGrayValueImage, APixelOfValue0IsBackgroundAtThreshold0) {
    std::vector<unsigned char> pixels(8, 1);
    pixels[0] = 0;
    test::CPackHost host(test::ImageOf(IMAGE_GREY_8, CSize(2, 2, 2), pixels));
    EXPECT_EQ(FeatureAt(Measure(host), "grayvalue 000/V_V"), 0.875);
}

TEST(FieldFeaturesGrayValueImage, MeasuresInTheSpacingOfTheImage) {
    test::CPackHost plain(RandomGrey(CSize(6, 6, 6)));
    test::CPackHost spaced(RandomGrey(CSize(6, 6, 6)));
    CQuillonHeaderTools::SetSpacing(spaced.Image(), 0.5, 0.5, 0.5);
    EXPECT_NEAR(FeatureAt(Measure(spaced), "grayvalue 128/S_V [m^-1]"),
                2.0 * FeatureAt(Measure(plain), "grayvalue 128/S_V [m^-1]"), 1e-12);
}

TEST(FieldFeaturesGrayValueImage, AsksForAViewOfTheFocusedDocumentAndDeliversNone) {
    test::CPackHost host(RandomGrey(CSize(4, 4, 4)));
    (void)Measure(host);
    EXPECT_EQ(host.DocumentCount(), 0U);
    const CValueVector* views = host.Tree().Entry("output/views/create", true)->Vector();
    ASSERT_EQ(views->Size(), 1U);
    const CString none;
    EXPECT_EQ((*views)[0]->Map()->EntryString("type", none).Std(), "ImageAttributesView");
    EXPECT_EQ(UnwrapPointer<CValueMap>((*views)[0]->Map()->Entry("document", true)), &host.Document());
}

TEST(FieldFeaturesGrayValueImage, RunsOnADocumentWithoutLabel) {
    test::CPackHost host(RandomGrey(CSize(4, 4, 4)), "");
    EXPECT_EQ(Measure(host).Size(), 256U);
    EXPECT_FALSE(host.Document().HasEntry("label"));
}

TEST(FieldFeaturesGrayValueImage, ASecondRunReplacesTheResult) {
    test::CPackHost host(RandomGrey(CSize(4, 4, 4)));
    (void)Measure(host);
    host.Image().Attributes().SetEntry(std::string(c_result).append("/stale"), new CValueDouble(1.0));
    EXPECT_FALSE(Measure(host).HasEntry("stale"));
}

TEST(FieldFeaturesGrayValueImage, LeavesOtherImagesAndMissingOnesAlone) {
    test::CPackHost host(std::make_unique<CImage>(IMAGE_GREY_F, CSize(3, 3, 3), CSize(0, 0, 0)));
    host.Run(*test::CreatePlugin("FieldFeaturesGrayValueImage"));
    EXPECT_EQ(ResultOf(host.Image()), nullptr);
    EXPECT_FALSE(host.Tree().HasEntry("output/views/create"));

    CValueMap empty;
    const auto plugin = test::CreatePlugin("FieldFeaturesGrayValueImage");
    plugin->UpdateParameters(empty);
    plugin->GetData(empty);
    EXPECT_TRUE(empty.IsEmpty());
    EXPECT_FALSE(plugin->TestParameters(empty));
}

} // namespace
