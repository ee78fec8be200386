// The plug-in of the loaded pack. That `CGranulometry` finds the right sizes is tested with it.

#include "support/PluginTest.h"
#include "support/TestImage.h"

#include <sorblib2core/CValueBool.h>
#include <sorblib2core/CValueDouble.h>
#include <sorblib2core/CValueLong.h>
#include <sorblib2core/UnwrapPointer.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <functional>
#include <limits>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace {

using namespace ORVEN;

const char* const c_result = "features/Granulometry";

std::unique_ptr<CImage> Shape(const CSize& size,
                              const std::function<bool(std::int64_t x, std::int64_t y)>& isForeground) {
    auto image = std::make_unique<CImage>(IMAGE_BINARY_FG, size, CSize(0, 0, 0));
    const CImageView<unsigned char> pixels(*image);
    for (std::int64_t z = 0; z < pixels.nz; ++z) {
        for (std::int64_t y = 0; y < pixels.ny; ++y) {
            for (std::int64_t x = 0; x < pixels.nx; ++x)
                pixels.Row(y, z)[x] = isForeground(x, y) ? 1 : 0;
        }
    }
    return image;
}

/// A line of width 1 above a bar of width 5: 20 pixels of diameter 2 and 100 of diameter 6.
std::unique_ptr<CImage> LineAndBar() {
    return Shape(CSize(20, 12), [](std::int64_t, std::int64_t y) { return y == 1 || (y >= 5 && y < 10); });
}

std::unique_ptr<CImage> Cube() {
    return Shape(CSize(4, 4, 4), [](std::int64_t, std::int64_t) { return true; });
}

using Counts = std::map<std::string, std::int32_t>;

const CValueMap* ResultOf(const IImage& image) {
    const CValue* entry = image.Attributes().Entry(c_result, true);
    return entry != nullptr ? entry->Map() : nullptr;
}

Counts CountsOf(const CValueMap& result) {
    Counts counts;
    const CValueMap& data = *result.Entry("data", true)->Map();
    for (auto entry = data.begin(); entry != data.end(); ++entry) {
        EXPECT_EQ(entry.Value()->GenericType(), CValue::VAL_LONG);
        counts[entry.Key().ToString()] = entry.Value()->Long();
    }
    return counts;
}

std::vector<std::string> KeysOf(const CValueMap& map) {
    std::vector<std::string> keys;
    for (const CValue_Key& key : map.Keys())
        keys.emplace_back(key.ToString());
    return keys;
}

class Granulometry : public test::PluginTest {
protected:
    Granulometry()
        : PluginTest("Granulometry") {}

    /// Runs without an image asked for; what it left in the header.
    const CValueMap& Measure(test::CPackHost& host) const {
        host.Run(*m_plugin);
        const CValueMap* result = ResultOf(host.Image());
        if (result == nullptr)
            throw std::logic_error("the run left no result");
        return *result;
    }

    std::string RefusalOf(std::unique_ptr<CImage> image, double x, double y, double z) {
        CQuillonHeaderTools::SetSpacing(*image, x, y, z);
        test::CPackHost host(std::move(image));
        const std::string refusal = Refusal(host);
        EXPECT_EQ(refusal == "nothing", ResultOf(host.Image()) != nullptr);
        return refusal;
    }
};

const std::string c_refusal = "CGranulometryPlugin: Only isotropic pixels are supported, but spacing is ";

TEST_F(Granulometry, ASpacingThatDiffersAlongZFailsThere) {
    EXPECT_EQ(RefusalOf(Cube(), 1, 1, 2), c_refusal + "(1.000000,1.000000,2.000000).");
}

TEST_F(Granulometry, ASpacingThatDiffersAlongXFailsWithTheMessageOfThreeValuesIn3Dimensions) {
    EXPECT_EQ(RefusalOf(Cube(), 1, 2, 2), c_refusal + "(1.000000,2.000000,2.000000).");
}

TEST_F(Granulometry, ASpacingThatDiffersFailsWithTheMessageOfTwoValuesIn2Dimensions) {
    EXPECT_EQ(RefusalOf(LineAndBar(), 0.5, 0.25, 0.5), c_refusal + "(0.500000,0.250000).");
}

TEST_F(Granulometry, AThirdSpacingOfAnImageOf2DimensionsDoesNotCount) {
    EXPECT_EQ(RefusalOf(LineAndBar(), 1, 1, 7), "nothing");
}

TEST_F(Granulometry, ASpacingIsComparedWithoutTolerance) {
    const double almost1 = std::nextafter(1.0, 2.0);
    EXPECT_EQ(RefusalOf(Cube(), 1, 1, almost1), c_refusal + "(1.000000,1.000000,1.000000).");
    EXPECT_EQ(RefusalOf(LineAndBar(), 1, almost1, 1), c_refusal + "(1.000000,1.000000).");
}

TEST_F(Granulometry, ASpacingOfNaNCountsAsDifferent) {
    const double nan = std::numeric_limits<double>::quiet_NaN();
    EXPECT_EQ(RefusalOf(Cube(), nan, nan, nan), c_refusal + "(nan,nan,nan).");
    EXPECT_EQ(RefusalOf(LineAndBar(), nan, nan, 1), c_refusal + "(nan,nan).");
}

TEST_F(Granulometry, AnImageWithoutSpacingPassesAsIsotropic) {
    test::CPackHost host(Cube());
    EXPECT_EQ(CountsOf(Measure(host)), (Counts{{"4.000000e+00", 64}}));
}

TEST_F(Granulometry, LeavesTheNumbersOfPixelsByDiameterInTheHeader) {
    test::CPackHost host(LineAndBar());
    const CValueMap& result = Measure(host);
    EXPECT_EQ(KeysOf(result), (std::vector<std::string>{"data", "on foreground"}));
    EXPECT_EQ(CountsOf(result), (Counts{{"2.000000e+00", 20}, {"6.000000e+00", 100}}));
    EXPECT_TRUE(result.Entry("on foreground", true)->Bool());
    EXPECT_EQ(host.DocumentCount(), 0U);
}

TEST_F(Granulometry, MeasuresTheBackgroundIfAsked) {
    test::CPackHost host(LineAndBar());
    host.Set("onForeground", new CValueBool(false));
    const CValueMap& result = Measure(host);
    // Rows 0, 2 to 4, 10 and 11.
    EXPECT_EQ(CountsOf(result), (Counts{{"2.000000e+00", 60}, {"4.000000e+00", 60}}));
    EXPECT_FALSE(result.Entry("on foreground", true)->Bool());
}

TEST_F(Granulometry, WithoutAnImageItAsksForAViewAndLeavesTheDocumentsUntouched) {
    test::CPackHost host(LineAndBar());
    (void)Measure(host);
    EXPECT_FALSE(host.Tree().HasEntry("output/documents"));
    const CValueVector* views = host.Tree().Entry("output/views/create", true)->Vector();
    ASSERT_EQ(views->Size(), 1U);
    EXPECT_EQ((*views)[0]->Map()->EntryString("type").Std(), "ImageAttributesView");
    EXPECT_EQ(UnwrapPointer<CValueMap>((*views)[0]->Map()->Entry("document", true)), &host.Document());
}

TEST_F(Granulometry, TheNameOfAViewPluginIsIgnored) {
    test::CPackHost host(LineAndBar());
    host.Set("featureViewPlugin", test::Text("SomeView"));
    (void)Measure(host);
    EXPECT_EQ(host.Tree().Entry("output/views/create/0/type", true)->String().Std(), "ImageAttributesView");
}

TEST_F(Granulometry, WithAnImageItAddsADocumentAndAsksForNoView) {
    auto image = LineAndBar();
    CQuillonHeaderTools::SetSpacing(*image, 0.5, 0.5, 0.5);
    CQuillonHeaderTools::AddToHistory(*image, "made by hand", 0);
    test::CPackHost host(std::move(image), "bars");
    host.Set("returnImage", new CValueBool(true));
    EXPECT_EQ(Run(host), "granulometry(spherical,fg)");
    EXPECT_FALSE(host.Tree().HasEntry("output/views"));
    EXPECT_EQ(ResultOf(host.Image()), nullptr);
    EXPECT_EQ(host.ResultLabel(), "bars");
    ASSERT_EQ(host.Result().Type(), IMAGE_GREY_F);
    ASSERT_EQ(host.Result().Size(), CSize(20, 12));
    const auto sizes = test::PixelsOf<float>(host.Result());
    EXPECT_EQ(std::ranges::count(sizes, 1.0F), 20);
    EXPECT_EQ(std::ranges::count(sizes, 3.0F), 100);
    EXPECT_EQ(std::ranges::count(sizes, 0.0F), 120);
    EXPECT_EQ(CountsOf(*ResultOf(host.Result())), (Counts{{"1.000000e+00", 20}, {"3.000000e+00", 100}}));
}

TEST_F(Granulometry, TheNewImageCarriesTheResultAndItsHistoryAlone) {
    auto image = LineAndBar();
    CQuillonHeaderTools::SetSpacing(*image, 0.5, 0.5, 0.5);
    CQuillonHeaderTools::AddToHistory(*image, "made by hand", 0);
    test::CPackHost host(std::move(image));
    host.Set("returnImage", new CValueBool(true));
    (void)Run(host);
    EXPECT_EQ(KeysOf(host.Result().Attributes()), (std::vector<std::string>{"features", "history"}));
    EXPECT_EQ(test::HistoryOf(host.Result()), std::vector<std::string>{"granulometry(spherical,fg)"});
}

TEST_F(Granulometry, TheHistoryDescribesWhatWasMeasuredAndHow) {
    test::CPackHost host(LineAndBar());
    host.Set("returnImage", new CValueBool(true)).Set("onForeground", new CValueBool(false));
    EXPECT_EQ(Run(host), "granulometry(spherical,bg)");
    host.Set("experimental", new CValueBool(true))
        .Set("dobinning", new CValueBool(true))
        .Set("stepwidth", new CValueDouble(0.25));
    EXPECT_EQ(Run(host), "granulometry(spherical,bg,stepwidth=0.25)");
    host.Set("medialaxispoint-filtered", new CValueBool(true));
    EXPECT_EQ(Run(host), "granulometry(spherical,bg,stepwidth=0.25,medialaxispoint-filtered)");
    host.Set("dobinning", new CValueBool(false)).Set("onForeground", new CValueBool(true));
    EXPECT_EQ(Run(host), "granulometry(spherical,fg,medialaxispoint-filtered)");
}

TEST_F(Granulometry, TheLabelOfADocumentWithoutOneIsGranulometry) {
    test::CPackHost host(LineAndBar(), "");
    host.Set("returnImage", new CValueBool(true));
    (void)Run(host);
    EXPECT_EQ(host.ResultLabel(), "Granulometry");
    host.Document().SetEntry("label", new CValueLong(3));
    (void)Run(host);
    EXPECT_EQ(host.ResultLabel(), "Granulometry");
}

TEST_F(Granulometry, WithoutExperimentalStepWidthAndFilterHaveNoEffect) {
    test::CPackHost host(LineAndBar());
    host.Set("dobinning", new CValueBool(true))
        .Set("stepwidth", new CValueDouble(4.0))
        .Set("medialaxispoint-filtered", new CValueBool(true));
    const CValueMap& result = Measure(host);
    EXPECT_EQ(KeysOf(result), (std::vector<std::string>{"data", "on foreground"}));
    EXPECT_EQ(CountsOf(result), (Counts{{"2.000000e+00", 20}, {"6.000000e+00", 100}}));
}

TEST_F(Granulometry, WithoutExperimentalAnEarlierStepWidthAndFilterAreForgotten) {
    test::CPackHost host(LineAndBar());
    host.Set("experimental", new CValueBool(true))
        .Set("dobinning", new CValueBool(true))
        .Set("stepwidth", new CValueDouble(4.0))
        .Set("medialaxispoint-filtered", new CValueBool(true));
    EXPECT_EQ(KeysOf(Measure(host)),
              (std::vector<std::string>{"data", "medialaxispoint-filtered", "on foreground", "stepwidth"}));
    host.Set("experimental", new CValueBool(false));
    const CValueMap& result = Measure(host);
    EXPECT_EQ(KeysOf(result), (std::vector<std::string>{"data", "on foreground"}));
    EXPECT_EQ(CountsOf(result), (Counts{{"2.000000e+00", 20}, {"6.000000e+00", 100}}));
}

TEST_F(Granulometry, ParametersOfOtherKindsCountAsMissing) {
    test::CPackHost host(LineAndBar());
    host.Set("experimental", new CValueBool(true))
        .Set("dobinning", new CValueLong(1))
        .Set("stepwidth", new CValueDouble(4.0))
        .Set("medialaxispoint-filtered", test::Text("true"))
        .Set("onForeground", new CValueLong(0))
        .Set("returnImage", test::Text("true"));
    EXPECT_EQ(CountsOf(Measure(host)), (Counts{{"2.000000e+00", 20}, {"6.000000e+00", 100}}));
    host.Set("dobinning", new CValueBool(true)).Set("stepwidth", new CValueLong(4));
    EXPECT_FALSE(Measure(host).HasEntry("stepwidth"));
    host.Set("experimental", test::Text("true")).Set("stepwidth", new CValueDouble(4.0));
    EXPECT_FALSE(Measure(host).HasEntry("stepwidth"));
}

TEST_F(Granulometry, WithDobinningFalseNothingIsBinned) {
    test::CPackHost host(LineAndBar());
    host.Set("experimental", new CValueBool(true))
        .Set("dobinning", new CValueBool(false))
        .Set("stepwidth", new CValueDouble(4.0));
    const CValueMap& result = Measure(host);
    EXPECT_FALSE(result.HasEntry("stepwidth"));
    EXPECT_EQ(CountsOf(result), (Counts{{"2.000000e+00", 20}, {"6.000000e+00", 100}}));
}

TEST_F(Granulometry, BinsDiametersToMultiplesOfTheStepWidth) {
    test::CPackHost host(LineAndBar());
    host.Set("experimental", new CValueBool(true))
        .Set("dobinning", new CValueBool(true))
        .Set("stepwidth", new CValueDouble(4.0));
    const CValueMap& result = Measure(host);
    EXPECT_EQ(CountsOf(result), (Counts{{"4.000000e+00", 100}}));
    EXPECT_EQ(result.Entry("stepwidth", true)->Double(), 4.0);
}

TEST_F(Granulometry, AStepWidthOf0LeavesNoTraceInResultAndHistory) {
    test::CPackHost host(LineAndBar());
    host.Set("experimental", new CValueBool(true))
        .Set("dobinning", new CValueBool(true))
        .Set("stepwidth", new CValueDouble(0.0))
        .Set("returnImage", new CValueBool(true));
    EXPECT_EQ(Run(host), "granulometry(spherical,fg)");
    const CValueMap& result = *ResultOf(host.Result());
    EXPECT_EQ(KeysOf(result), (std::vector<std::string>{"data", "on foreground"}));
    EXPECT_EQ(CountsOf(result), (Counts{{"2.000000e+00", 20}, {"6.000000e+00", 100}}));
}

TEST_F(Granulometry, CountsMaximalBallsIfFiltered) {
    test::CPackHost host(LineAndBar());
    host.Set("experimental", new CValueBool(true)).Set("medialaxispoint-filtered", new CValueBool(true));
    const CValueMap& result = Measure(host);
    EXPECT_TRUE(result.Entry("medialaxispoint-filtered", true)->Bool());
    // Along the line a ball a pixel; along the bar one a pixel of its middle but for the ends.
    EXPECT_EQ(CountsOf(result), (Counts{{"2.000000e+00", 20}, {"6.000000e+00", 16}}));
}

/// Columns 0 to 9 of the line and the bar.
std::unique_ptr<CImage> LeftHalf() {
    return Shape(CSize(20, 12), [](std::int64_t x, std::int64_t) { return x < 10; });
}

TEST_F(Granulometry, MeasuresInsideAMaskOnly) {
    const auto mask = LeftHalf();
    test::CPackHost host(LineAndBar());
    host.Set("mask_image", new CValuePointer<CImage>(mask.get(), 1)).Set("returnImage", new CValueBool(true));
    EXPECT_EQ(Run(host), "granulometry(spherical,fg,on mask_image)");
    const CValueMap& result = *ResultOf(host.Result());
    EXPECT_EQ(KeysOf(result), (std::vector<std::string>{"data", "on foreground", "on mask_image"}));
    EXPECT_EQ(CountsOf(result), (Counts{{"2.000000e+00", 10}, {"6.000000e+00", 50}}));
    const auto sizes = test::PixelsOf<float>(host.Result());
    EXPECT_EQ(sizes[5 * 20 + 9], 6.0F);
    EXPECT_EQ(sizes[5 * 20 + 10], 0.0F);
}

TEST_F(Granulometry, PoresEndAtTheMask) {
    const auto mask = Shape(CSize(20, 12), [](std::int64_t, std::int64_t y) { return y == 3; });
    test::CPackHost host(LineAndBar());
    host.Set("mask_image", new CValuePointer<CImage>(mask.get(), 1))
        .Set("onForeground", new CValueBool(false));
    // Of rows 2 to 4, which are 3 pixels wide, one is left.
    EXPECT_EQ(CountsOf(Measure(host)), (Counts{{"2.000000e+00", 20}}));
}

TEST_F(Granulometry, TheImageAndLaterRunsAreNotMasked) {
    const auto mask = LeftHalf();
    test::CPackHost host(LineAndBar());
    host.Set("mask_image", new CValuePointer<CImage>(mask.get(), 1));
    (void)Measure(host);
    EXPECT_EQ(test::PixelsOf<unsigned char>(host.Image()), test::PixelsOf<unsigned char>(*LineAndBar()));
    host.Set("mask_image", new CValuePointer<CImage>(nullptr, 1));
    EXPECT_EQ(CountsOf(Measure(host)), (Counts{{"2.000000e+00", 20}, {"6.000000e+00", 100}}));
}

TEST_F(Granulometry, AMaskThatDoesNotFitIsRefused) {
    const CImage grey(IMAGE_GREY_8, CSize(20, 12), CSize(0, 0, 0));
    const CImage small(IMAGE_BINARY_FG, CSize(20, 11), CSize(0, 0, 0));
    test::CPackHost host(LineAndBar());
    host.Set("mask_image", new CValuePointer<CImage>(const_cast<CImage*>(&grey), 1));
    EXPECT_EQ(Refusal(host), "CGranulometryPlugin: mask_image must be binary and has the type IMAGE_GREY_8.");
    host.Set("mask_image", new CValuePointer<CImage>(const_cast<CImage*>(&small), 1));
    EXPECT_EQ(Refusal(host),
              "CGranulometryPlugin: mask_image of size (20,11) does not fit the image of size (20,12).");
    EXPECT_EQ(ResultOf(host.Image()), nullptr);
}

/// The record that CylinderMask leaves.
void RecordCylinder(CImage& image, double s, double t, double radius) {
    CValueMap record;
    record.SetEntry("axis", test::Text("Z"));
    record.SetEntry("s", new CValueDouble(s));
    record.SetEntry("t", new CValueDouble(t));
    record.SetEntry("radius", new CValueDouble(radius));
    CQuillonHeaderTools::SetMetaInfo(image, "CylinderMask", record);
}

TEST_F(Granulometry, MeasuresInsideTheCylinderOnRecordIfAsked) {
    auto image = Shape(CSize(20, 12), [](std::int64_t, std::int64_t) { return true; });
    RecordCylinder(*image, 8, 5, 2);
    CQuillonHeaderTools::SetSpacing(*image, 0.5, 0.5, 0.5);
    test::CPackHost host(std::move(image));
    host.Set("returnImage", new CValueBool(true));
    EXPECT_EQ(Run(host), "granulometry(spherical,fg)");
    host.Set("use cylindrical mask", new CValueBool(true));
    EXPECT_EQ(Run(host), "granulometry(spherical,fg,on cylindrical mask)");
    const CValueMap& result = *ResultOf(host.Result());
    EXPECT_EQ(KeysOf(result), (std::vector<std::string>{"data", "on cylindrical mask", "on foreground"}));
    // A disc of 13 pixels; its centre is sqrt(5) pixels away from the outside.
    EXPECT_EQ(CountsOf(result), (Counts{{"2.236068e+00", 13}}));
}

TEST_F(Granulometry, WithoutACylinderOnRecordNothingIsMeasuredInside) {
    test::CPackHost host(LineAndBar());
    host.Set("use cylindrical mask", new CValueBool(true));
    EXPECT_EQ(Refusal(host),
              "CGranulometryPlugin: The image has no cylinder on record: run CylinderMask first.");
}

TEST_F(Granulometry, AnImageWithoutForegroundIsTooThin) {
    test::CPackHost host(Shape(CSize(5, 5, 5), [](std::int64_t, std::int64_t) { return false; }));
    EXPECT_EQ(Refusal(host), "CGranulometryPlugin: Image is empty or structur is too thin.");
    EXPECT_TRUE(host.Image().Attributes().IsEmpty());
    EXPECT_FALSE(host.Tree().HasEntry("output"));
}

TEST_F(Granulometry, AStructureBelowOneStepIsTooThin) {
    test::CPackHost host(LineAndBar());
    host.Set("experimental", new CValueBool(true))
        .Set("dobinning", new CValueBool(true))
        .Set("stepwidth", new CValueDouble(6.5))
        .Set("returnImage", new CValueBool(true));
    EXPECT_EQ(Refusal(host), "CGranulometryPlugin: Image is empty or structur is too thin.");
    EXPECT_FALSE(host.Tree().HasEntry("output"));
}

TEST_F(Granulometry, TheWidthOfKeysGoesByTheLargestDiameterAndNeverCutsThem) {
    const std::map<double, Counts> cases{
        {0.1, {{"2.000000e-01", 20}, {"6.000000e-01", 100}}},
        {0.001, {{"2.000000e-03", 20}, {"6.000000e-03", 100}}},
        // From 1e-9 down the width would be negative.
        {1e-9, {{"2.000000e-09", 20}, {"6.000000e-09", 100}}},
        {1e-12, {{"2.000000e-12", 20}, {"6.000000e-12", 100}}},
        {1e3, {{"2.000000e+03", 20}, {"6.000000e+03", 100}}},
        // From 1e5 on the width is larger than the text.
        {1e5, {{"02.000000e+05", 20}, {"06.000000e+05", 100}}},
        {1e7, {{"0002.000000e+07", 20}, {"0006.000000e+07", 100}}},
        // A diameter beyond the range of float is stored as infinity and has no width.
        {1e38, {{"2.000000e+38", 20}, {"inf", 100}}},
        {1e39, {{"inf", 120}}},
    };
    for (const auto& [spacing, counts] : cases) {
        auto image = LineAndBar();
        CQuillonHeaderTools::SetSpacing(*image, spacing, spacing, spacing);
        test::CPackHost host(std::move(image));
        EXPECT_EQ(CountsOf(Measure(host)), counts) << spacing;
    }
}

TEST_F(Granulometry, DiametersThatPrintAlikeShareAnEntry) {
    // Two discs of squared radii 800^2 and 800^2 + 1, of which seven digits do not tell the diameters apart.
    auto image = Shape(CSize(1610, 3220), [](std::int64_t x, std::int64_t y) {
        const std::int64_t fromMiddle = y < 1610 ? y - 805 : y - 2415;
        return (x - 805) * (x - 805) + fromMiddle * fromMiddle < (y < 1610 ? 640000 : 640001);
    });
    const auto pixels = test::PixelsOf<unsigned char>(*image);
    const auto foreground = static_cast<std::int32_t>(std::ranges::count(pixels, 1));
    const double spacing = 1.0000006 / 1600.0;
    CQuillonHeaderTools::SetSpacing(*image, spacing, spacing, spacing);
    test::CPackHost host(std::move(image));
    host.Set("returnImage", new CValueBool(true));
    (void)Run(host);
    const auto sizes = test::PixelsOf<float>(host.Result());
    EXPECT_EQ(std::set<float>(sizes.begin(), sizes.end()).size(), 3U) << "two diameters and 0";
    EXPECT_EQ(CountsOf(*ResultOf(host.Result())), (Counts{{"1.000001e+00", foreground}}));
}

TEST_F(Granulometry, AnEarlierResultOnTheImageIsReplaced) {
    test::CPackHost host(LineAndBar());
    (void)Measure(host);
    host.Image().Attributes().SetEntry(std::string(c_result) + "/data/9.000000e+00", new CValueLong(9));
    host.Set("onForeground", new CValueBool(false));
    const CValueMap& result = Measure(host);
    EXPECT_FALSE(result.Entry("data", true)->Map()->HasEntry("9.000000e+00"));
    EXPECT_FALSE(result.Entry("on foreground", true)->Bool());
}

TEST_F(Granulometry, OtherMeasurementsOfTheImageStay) {
    test::CPackHost host(LineAndBar());
    CQuillonHeaderTools::SetFeatures(host.Image(), "Other", CValueDouble(3.0));
    (void)Measure(host);
    EXPECT_TRUE(host.Image().Attributes().HasEntry("features/Other"));
}

TEST_F(Granulometry, ParametersThatAreMissingKeepTheirValues) {
    test::CPackHost host(LineAndBar());
    host.Set("onForeground", new CValueBool(false));
    (void)Measure(host);
    host.Tree().Entry("parameters", true)->Map()->RemoveEntry("onForeground");
    EXPECT_FALSE(Measure(host).Entry("on foreground", true)->Bool());
}

TEST_F(Granulometry, LeavesOtherImagesAndMissingOnesAlone) {
    test::CPackHost host(std::make_unique<CImage>(IMAGE_GREY_8, CSize(3, 3), CSize(0, 0, 0)));
    host.Run(*m_plugin);
    EXPECT_TRUE(host.Image().Attributes().IsEmpty());
    EXPECT_FALSE(host.Tree().HasEntry("output"));
    CValueMap empty;
    const auto plugin = test::CreatePlugin("Granulometry");
    plugin->UpdateParameters(empty);
    plugin->GetData(empty);
    EXPECT_TRUE(empty.IsEmpty());
}

TEST_F(Granulometry, LeavesThePixelsOfTheImageAlone) {
    test::CPackHost host(LineAndBar());
    const auto before = test::PixelsOf<unsigned char>(host.Image());
    (void)Measure(host);
    EXPECT_EQ(test::PixelsOf<unsigned char>(host.Image()), before);
}

} // namespace
