#include "support/FiberPhantom.h"
#include "support/PackHost.h"
#include "support/PluginTest.h"
#include "support/TestImage.h"

#include <QuillonFilterOrientations/CSubfieldFiberDirections.h>
#include <sorblib2core/CExBadParam.h>
#include <sorblib2core/CExBadType.h>
#include <sorblib2core/CValueBool.h>
#include <sorblib2core/CValueDouble.h>
#include <sorblib2core/CValueLong.h>
#include <sorblib2core/CValueString.h>
#include <sorblib2core/CValueVector.h>
#include <sorblib2core/UnwrapPointer.h>
#include <sorblib2image/CQuillonHeaderTools.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <limits>
#include <optional>
#include <string>
#include <vector>

namespace {

using namespace ORVEN;
using test::CPackHost;
using test::PixelsOf;
using test::Text;

constexpr double c_nan = std::numeric_limits<double>::quiet_NaN();
constexpr double c_infinity = std::numeric_limits<double>::infinity();

/// Two fibres through a small box.
std::unique_ptr<CImage> Volume() {
    return test::DrawFibers(CSize(24, 22, 20),
                            {{{8, 0, 9}, {0, 1, 0}, 2.0}, {{16, 11, 10}, test::Unit({0.2, 0.6, 0.8}), 2.0}},
                            test::EnEdges::SMOOTH);
}

/// The same seen in a plane.
std::unique_ptr<CImage> Plane() {
    return test::DrawFibers(CSize(40, 30), {{{20, 15, 0}, test::Unit({0.6, 0.8, 0.0}), 2.0}},
                            test::EnEdges::SMOOTH);
}

std::unique_ptr<CImage> MaskOf(const CImage& image, unsigned char least) {
    std::vector<unsigned char> pixels = PixelsOf<unsigned char>(image);
    for (unsigned char& pixel : pixels)
        pixel = pixel >= least ? 1 : 0;
    return test::ImageOf(IMAGE_BINARY_FG, image.Size(), pixels);
}

/// The advanced group as a dialog sends it.
void SetAdvanced(CPackHost& host, bool wantsDirections, double otsuFactor, bool usesOtsu, CImage* mask) {
    auto* const group = new CValueMap;
    group->SetEntry("output_directions", new CValueBool(wantsDirections));
    group->SetEntry("otsu_factor", new CValueDouble(otsuFactor));
    group->SetEntry("use_otsu", new CValueBool(usesOtsu));
    group->SetEntry("mask_image", new CValuePointer<CImage>(mask, 1));
    host.Set("advanced", group);
}

void SetSubfields(CPackHost& host, std::int32_t x, std::int32_t y, std::int32_t z) {
    host.Set("use_subfields", new CValueBool(true));
    host.Set("subfield_x", new CValueLong(x));
    host.Set("subfield_y", new CValueLong(y));
    host.Set("subfield_z", new CValueLong(z));
}

/// A host with the volume in focus and a radius that fits it.
class CFiberHost : public CPackHost {
public:
    explicit CFiberHost(std::unique_ptr<CImage> image = Volume(), const std::string& label = "scan.nrrd")
        : CPackHost(std::move(image), label) {
        Set("fiber_radius", new CValueDouble(2.0));
    }

    /// What is stored in the image, null for nothing.
    const CValueMap* Measurement() {
        const CValue* const value = Image().Attributes().Entry("features/FiberDirections", true);
        return value != nullptr ? value->Map() : nullptr;
    }
    double Measured(const std::string& key) {
        const CValue* const value = Measurement()->Entry(key, true);
        return value->Double();
    }
    bool HasSubfields() { return Measurement()->HasEntry("SubfieldFiberDirections"); }
};

class LocalFiberDirections : public test::PluginTest {
protected:
    LocalFiberDirections()
        : PluginTest("LocalFiberDirections") {}

    void Measure(CPackHost& host) const { host.Run(*m_plugin); }

    /// Runs and leaves the output in the tree. The documents in it stay with the test.
    std::vector<std::unique_ptr<CValueMap>> RunInTree(CPackHost& host) const {
        m_plugin->UpdateParameters(host.Tree());
        m_plugin->GetData(host.Tree());
        std::vector<std::unique_ptr<CValueMap>> documents;
        if (CValue* const added = host.Tree().Entry("output/documents/add", true)) {
            for (CValue* const value : *added->Vector())
                documents.emplace_back(UnwrapPointer<CValueMap>(value));
        }
        return documents;
    }
};

// --- frame
// --------------------------------------------------------------------------------------------------------

TEST_F(LocalFiberDirections, AFocusThatIsNoDocumentIsNotAcceptedAndStoresNothing) {
    CValueMap tree;
    tree.SetEntry("input/documents/focused", Text("scan.nrrd"));
    EXPECT_FALSE(m_plugin->TestParameters(tree));
    EXPECT_NO_THROW(m_plugin->UpdateParameters(tree));
    EXPECT_NO_THROW(m_plugin->GetData(tree));
}

TEST_F(LocalFiberDirections, ADocumentWithoutAnImageEndsTheRunSilentlyAfterTheChecks) {
    CFiberHost host;
    host.Document().RemoveEntry("content");
    EXPECT_FALSE(m_plugin->TestParameters(host.Tree()));
    EXPECT_EQ(Refusal(host), "nothing");
    EXPECT_FALSE(host.Tree().HasEntry("output"));
    host.Set("fiber_radius", new CValueDouble(0.0));
    EXPECT_EQ(Refusal(host), "CLocalFiberDirectionsPlugin: Fiber radius must be strictly positive.");
}

// --- the checks
// ---------------------------------------------------------------------------------------------------

TEST_F(LocalFiberDirections, ARadiusOf0IsNotPositiveAndNaNIsNoNumber) {
    CFiberHost host;
    const auto refusalOf = [&](double radius) {
        host.Set("fiber_radius", new CValueDouble(radius));
        return Refusal(host);
    };
    EXPECT_EQ(refusalOf(0.0), "CLocalFiberDirectionsPlugin: Fiber radius must be strictly positive.");
    EXPECT_EQ(refusalOf(-2.0), "CLocalFiberDirectionsPlugin: Fiber radius must be strictly positive.");
    for (const double radius : {c_nan, c_infinity, -c_infinity})
        EXPECT_EQ(refusalOf(radius), "CLocalFiberDirectionsPlugin: Fiber radius must not be inf or nan.");
    EXPECT_EQ(m_standardError, "");
    EXPECT_EQ(host.Measurement(), nullptr);
    EXPECT_FALSE(host.Tree().HasEntry("output"));
}

TEST_F(LocalFiberDirections, TheSignOfTheOtsuFactorCountsOnlyInUseAndNaNAlways) {
    CFiberHost host;
    const auto mask = MaskOf(host.Image(), 120);
    const auto refusalOf = [&](double factor, bool usesOtsu) {
        SetAdvanced(host, false, factor, usesOtsu, mask.get());
        return Refusal(host);
    };
    EXPECT_EQ(refusalOf(-1.0, false), "nothing");
    EXPECT_EQ(refusalOf(0.0, false), "nothing");
    EXPECT_EQ(refusalOf(-1.0, true), "CLocalFiberDirectionsPlugin: Otsu factor must be strictly positive.");
    EXPECT_EQ(refusalOf(0.0, true), "CLocalFiberDirectionsPlugin: Otsu factor must be strictly positive.");
    for (const bool usesOtsu : {false, true}) {
        for (const double factor : {c_nan, c_infinity, -c_infinity})
            EXPECT_EQ(refusalOf(factor, usesOtsu),
                      "CLocalFiberDirectionsPlugin: Otsu factor must not be inf or nan.");
    }
}

TEST_F(LocalFiberDirections, WithoutOtsuAMaskIsNeeded) {
    CFiberHost host;
    SetAdvanced(host, false, 1.25, false, nullptr);
    EXPECT_EQ(Refusal(host), "CLocalFiberDirectionsPlugin: No valid mask image.");
    EXPECT_EQ(host.Measurement(), nullptr);
}

TEST_F(LocalFiberDirections, ChecksStandInThisOrder) {
    CFiberHost host;
    SetAdvanced(host, false, c_nan, false, nullptr);
    host.Set("fiber_radius", new CValueDouble(c_nan));
    EXPECT_EQ(Refusal(host), "CLocalFiberDirectionsPlugin: Fiber radius must not be inf or nan.");
    host.Set("fiber_radius", new CValueDouble(-1.0));
    EXPECT_EQ(Refusal(host), "CLocalFiberDirectionsPlugin: Fiber radius must be strictly positive.");
    host.Set("fiber_radius", new CValueDouble(2.0));
    EXPECT_EQ(Refusal(host), "CLocalFiberDirectionsPlugin: Otsu factor must not be inf or nan.");
    SetAdvanced(host, false, -1.0, false, nullptr);
    EXPECT_EQ(Refusal(host), "CLocalFiberDirectionsPlugin: No valid mask image.");
}

TEST_F(LocalFiberDirections, WhatTheMeasurementRefusesIsPassedOnAndNothingIsStored) {
    CFiberHost host;
    host.Set("fiber_radius", new CValueDouble(10.0));
    EXPECT_EQ(Refusal(host), "CSubfieldFiberDirections: Image is too small for this fiber radius.");
    EXPECT_TRUE(host.Image().Attributes().IsEmpty());
    EXPECT_FALSE(host.Tree().HasEntry("output"));

    CFiberHost floats(std::make_unique<CImage>(IMAGE_GREY_F, CSize(9, 9), CSize(0, 0, 0)));
    EXPECT_EQ(Refusal(floats), "CSubfieldFiberDirections: Image type IMAGE_GREY_F not supported.");

    CFiberHost masked;
    CImage mask(IMAGE_BINARY_FG, CSize(24, 22, 21), CSize(0, 0, 0));
    SetAdvanced(masked, false, 1.25, false, &mask);
    EXPECT_EQ(Refusal(masked),
              "ORVEN::CSubfieldFiberDirections::Compute: Mask image of size (24,22,21) does not "
              "fit the image of size (24,22,20).");
    EXPECT_TRUE(masked.Image().Attributes().IsEmpty());
}

// --- parameters
// ---------------------------------------------------------------------------------------------------

TEST_F(LocalFiberDirections, ATreeWithoutParametersKeepsAllMembers) {
    CFiberHost host;
    const auto mask = MaskOf(host.Image(), 120);
    SetSubfields(host, 5, 6, 7);
    SetAdvanced(host, true, 2.5, false, mask.get());
    host.Set("featureViewPlugin", Text("FiberView"));
    Measure(host);
    const std::unique_ptr<CValue> first(host.Measurement()->Clone(CValue::TF_NONE));
    ASSERT_EQ(host.DocumentCount(), 2U);
    const auto history = test::HistoryOf(host.Result());

    host.Tree().RemoveEntry("parameters");
    const auto documents = RunInTree(host);
    EXPECT_TRUE(host.Measurement()->Equal(*first));
    ASSERT_EQ(documents.size(), 2U);
    EXPECT_EQ(test::HistoryOf(*UnwrapPointer<CImage>(documents[0]->Entry("content", true))), history);
    EXPECT_EQ(host.Tree().Entry("output/views/create/0/type", true)->String().Std(), "FiberView");

    host.Tree().SetEntry("parameters", Text("fiber_radius=1")); // no map: as if it were not there
    Measure(host);
    EXPECT_TRUE(host.Measurement()->Equal(*first));
}

TEST_F(LocalFiberDirections, ATreeWithParametersButWithoutAdvancedResetsThatGroup) {
    CFiberHost host;
    const auto mask = MaskOf(host.Image(), 120);
    SetAdvanced(host, true, 2.5, false, mask.get());
    Measure(host);
    EXPECT_EQ(host.DocumentCount(), 2U);
    EXPECT_FALSE(host.Measurement()->HasEntry("Otsu threshold"));
    host.Tree().RemoveEntry("parameters/advanced");
    Measure(host);
    EXPECT_EQ(host.DocumentCount(), 0U);
    EXPECT_EQ(host.Measured("Otsu factor"), 1.25);
    EXPECT_TRUE(host.Measurement()->HasEntry("Otsu threshold"));
    host.Tree().SetEntry("parameters", new CValueMap);
    Measure(host);
    EXPECT_EQ(host.Measured("Fiber radius"), 2.0); // the others are kept
}

TEST_F(LocalFiberDirections, UseSubfieldsFalseResetsTheSizesAndATreeWithoutItKeepsThem) {
    CFiberHost host;
    SetSubfields(host, 6, 7, 8);
    Measure(host);
    EXPECT_TRUE(host.HasSubfields());
    EXPECT_EQ(host.Measured("SubfieldFiberDirections/Subfield size"), 6.0);
    host.Tree().RemoveEntry("parameters/use_subfields");
    host.Set("subfield_x", new CValueLong(3)); // not read on its own
    Measure(host);
    EXPECT_EQ(host.Measured("SubfieldFiberDirections/Subfield size"), 6.0);
    host.Set("use_subfields", new CValueLong(0)); // of another kind
    Measure(host);
    EXPECT_TRUE(host.HasSubfields());
    host.Set("use_subfields", new CValueBool(false));
    Measure(host);
    EXPECT_FALSE(host.HasSubfields());
    host.Tree().RemoveEntry("parameters/use_subfields");
    Measure(host);
    EXPECT_FALSE(host.HasSubfields());
}

TEST_F(LocalFiberDirections, DefaultsAreARadiusOf1WithoutSubfieldsAndTheDefaultFactor) {
    CPackHost host(Volume());
    Measure(host);
    const CValueMap& measurement = *host.Image().Attributes().Entry("features/FiberDirections", true)->Map();
    const auto number = [&](const char* key) {
        const CValue* const value = measurement.Entry(key, true);
        return value->Double();
    };
    EXPECT_EQ(number("Fiber radius"), 1.0);
    EXPECT_EQ(number("Otsu factor"), 1.25);
    EXPECT_FALSE(measurement.HasEntry("SubfieldFiberDirections"));
    EXPECT_EQ(host.DocumentCount(), 0U);
}

TEST_F(LocalFiberDirections, AParameterOfAnotherKindIsIgnored) {
    CFiberHost host;
    Measure(host);
    host.Set("fiber_radius", new CValueLong(1));
    host.Set("featureViewPlugin", new CValueLong(1));
    RunInTree(host);
    EXPECT_EQ(host.Measured("Fiber radius"), 2.0);
    EXPECT_EQ(host.Tree().Entry("output/views/create/0/type", true)->String().Std(), "ImageAttributesView");
}

TEST_F(LocalFiberDirections, WhatAGroupLacksRaises) {
    for (const std::string key : {"subfield_x", "subfield_y", "subfield_z"}) {
        CFiberHost host;
        SetSubfields(host, 6, 7, 8);
        host.Tree().RemoveEntry("parameters/" + key);
        EXPECT_EQ(Refusal(host),
                  "CLocalFiberDirectionsPlugin::UpdateParameters: Parameter '" + key + "' is missing.");
    }
    for (const std::string key : {"output_directions", "otsu_factor", "use_otsu", "mask_image"}) {
        CFiberHost host;
        SetAdvanced(host, false, 1.25, true, nullptr);
        host.Tree().RemoveEntry("parameters/advanced/" + key);
        EXPECT_EQ(Refusal(host), "CLocalFiberDirectionsPlugin::UpdateParameters: Parameter 'advanced/" + key +
                                     "' is missing.");
        EXPECT_EQ(host.Measurement(), nullptr);
    }
    CFiberHost host;
    host.Set("advanced", Text("yes"));
    EXPECT_EQ(
        Refusal(host),
        "CLocalFiberDirectionsPlugin::UpdateParameters: Parameter 'advanced/output_directions' is missing.");
}

TEST_F(LocalFiberDirections, ValuesOfAnotherKindInAGroupRaise) {
    for (const std::string key : {"output_directions", "use_otsu"}) {
        CFiberHost host;
        SetAdvanced(host, false, 1.25, true, nullptr);
        host.Set("advanced/" + key, new CValueDouble(1.0));
        EXPECT_THROW(m_plugin->UpdateParameters(host.Tree()), CExBadType) << key;
    }
    CFiberHost host;
    SetAdvanced(host, false, 1.25, true, nullptr);
    host.Set("advanced/otsu_factor", Text("1.25"));
    EXPECT_THROW(m_plugin->UpdateParameters(host.Tree()), CExBadType);
    SetAdvanced(host, false, 1.25, true, nullptr);
    CValueMap document;
    host.Set("advanced/mask_image", new CValuePointer<CValueMap>(&document, 1));
    EXPECT_THROW(m_plugin->UpdateParameters(host.Tree()), CExBadParam);
    SetSubfields(host, 6, 7, 8);
    host.Set("subfield_y", new CValueDouble(7.0));
    EXPECT_THROW(m_plugin->UpdateParameters(host.Tree()), CExBadType);
    // An integer is a number.
    CFiberHost whole;
    SetAdvanced(whole, false, 1.25, true, nullptr);
    whole.Set("advanced/otsu_factor", new CValueLong(1));
    Measure(whole);
    EXPECT_EQ(whole.Measured("Otsu factor"), 1.0);
}

TEST_F(LocalFiberDirections, SubfieldSizesOfMinus1AreNoSubfields) {
    CFiberHost host;
    SetSubfields(host, -1, -1, -1);
    Measure(host);
    EXPECT_FALSE(host.HasSubfields());
}

TEST_F(LocalFiberDirections, AMaskGivenTogetherWithOtsuReachesTheMeasurement) {
    CFiberHost host;
    const auto mask = MaskOf(host.Image(), 220);
    SetAdvanced(host, false, 1.25, true, mask.get());
    Measure(host);
    EXPECT_EQ(host.Measurement()->EntryString("Otsu factor", CString()).Std(), "mask image");
    const auto pixels = PixelsOf<unsigned char>(host.Image());
    EXPECT_GT(std::count(pixels.begin(), pixels.end(), 220), 0);
    EXPECT_LE(host.Measured("FieldFiberDirections/Foreground pixels"),
              static_cast<double>(std::count(pixels.begin(), pixels.end(), 220)));
}

// --- the measurement in the image
// ---------------------------------------------------------------------------------

TEST_F(LocalFiberDirections, TheMeasurementIsThatOfTheLibrary) {
    CFiberHost host;
    SetSubfields(host, 6, 7, 8);
    Measure(host);
    const auto image = Volume();
    CSubfieldFiberDirections directions(2.0, 1.25, 6, 7, 8);
    std::string history = "FiberDirections(";
    const std::unique_ptr<CValueMap> expected(directions.Compute(*image, history, nullptr, false));
    EXPECT_TRUE(host.Measurement()->Equal(*expected));
    EXPECT_GT(host.Measured("FieldFiberDirections/Evaluated pixels"), 100.0);
}

TEST_F(LocalFiberDirections, ARunReplacesTheMeasurementOnly) {
    CFiberHost host;
    CQuillonHeaderTools::SetFeatures(host.Image(), "Granulometry", CValueDouble(3.0));
    CQuillonHeaderTools::SetSpacing(host.Image(), 1.0, 1.0, 1.0);
    CQuillonHeaderTools::AddToHistory(host.Image(), "earlier", 0);
    CQuillonHeaderTools::SetFeatures(host.Image(), "FiberDirections", CValueDouble(3.0));
    const auto before = PixelsOf<unsigned char>(host.Image());
    Measure(host);
    EXPECT_EQ(host.Measured("Fiber radius"), 2.0);
    host.Set("fiber_radius", new CValueDouble(1.5));
    Measure(host);
    EXPECT_EQ(host.Measured("Fiber radius"), 1.5);
    const CValueMap& attributes = host.Image().Attributes();
    EXPECT_EQ(attributes.Size(), 3U); // spacing, history, features
    EXPECT_EQ(attributes.Entry("features", true)->Map()->Size(), 2U);
    EXPECT_TRUE(attributes.HasEntry("features/Granulometry"));
    EXPECT_EQ(test::HistoryOf(host.Image()), std::vector<std::string>{"earlier"});
    EXPECT_EQ(PixelsOf<unsigned char>(host.Image()), before);
}

TEST_F(LocalFiberDirections, TheExportAcceptsAnImageThatWasMeasured) {
    CFiberHost host;
    const auto exporter = test::CreatePlugin("LocalFiberDirectionsExport");
    ASSERT_NE(exporter, nullptr);
    EXPECT_FALSE(exporter->TestParameters(host.Tree()));
    Measure(host);
    EXPECT_TRUE(exporter->TestParameters(host.Tree()));
}

TEST_F(LocalFiberDirections, AViewIsAskedForAndNoDocumentAddedUnlessItIsWanted) {
    CFiberHost host;
    EXPECT_TRUE(RunInTree(host).empty());
    EXPECT_EQ(host.Tree().Entry("output", true)->Map()->Size(), 1U);
    CValueMap& view = *host.Tree().Entry("output/views/create/0", true)->Map();
    EXPECT_EQ(view.EntryString("type").Std(), "ImageAttributesView");
    EXPECT_EQ(view.EntryString("label").Std(), "scan.nrrd");
    EXPECT_EQ(UnwrapPointer<CValueMap>(view.Entry("document", true)), &host.Document());
    EXPECT_FALSE(view.HasEntry("extra"));

    host.Set("featureViewPlugin", Text("FiberView"));
    SetAdvanced(host, false, 1.25, true, nullptr); // advanced, but no directions
    EXPECT_TRUE(RunInTree(host).empty());
    EXPECT_EQ(host.Tree().Entry("output/views/create/0/type", true)->String().Std(), "FiberView");
    EXPECT_FALSE(host.Tree().HasEntry("output/documents"));
}

// --- the maps of directions
// ---------------------------------------------------------------------------------------

TEST_F(LocalFiberDirections, APlaneYieldsOneNewDocument) {
    CFiberHost host(Plane());
    SetAdvanced(host, true, 1.25, true, nullptr);
    Measure(host);
    ASSERT_EQ(host.DocumentCount(), 1U);
    EXPECT_EQ(host.ResultLabel(), "scan.nrrd - Theta");
    EXPECT_EQ(host.Result().Type(), IMAGE_GREY_F);
    EXPECT_EQ(host.Result().Size(), CSize(40, 30));
    EXPECT_EQ(test::HistoryOf(host.Result()),
              std::vector<std::string>{"FiberDirections(radius=2,otsu=1.25,angle=theta)"});
    std::vector<double> degrees;
    for (const float angle : PixelsOf<float>(host.Result())) {
        if (angle >= 0.0F)
            degrees.push_back(static_cast<double>(angle) * 180.0 / std::numbers::pi);
    }
    ASSERT_GT(degrees.size(), 50U);
    for (const double angle : degrees)
        EXPECT_NEAR(angle, 53.13, 8.0);
}

TEST_F(LocalFiberDirections, AVolumeYieldsThetaAndPhi) {
    CFiberHost host;
    SetSubfields(host, 6, 7, 8);
    SetAdvanced(host, true, 1.25, true, nullptr);
    Measure(host);
    ASSERT_EQ(host.DocumentCount(), 2U);
    EXPECT_EQ(host.ResultLabel(0), "scan.nrrd - Theta");
    EXPECT_EQ(host.ResultLabel(1), "scan.nrrd - Phi");
    EXPECT_EQ(test::HistoryOf(host.Result(0)),
              std::vector<std::string>{"FiberDirections(radius=2,otsu=1.25,subfield=(6,7,8),angle=theta)"});
    EXPECT_EQ(test::HistoryOf(host.Result(1)),
              std::vector<std::string>{"FiberDirections(radius=2,otsu=1.25,subfield=(6,7,8),angle=phi)"});
    EXPECT_NE(PixelsOf<float>(host.Result(0)), PixelsOf<float>(host.Result(1)));
}

TEST_F(LocalFiberDirections, WithAMaskTheHistoryRecordsIt) {
    CFiberHost host;
    const auto mask = MaskOf(host.Image(), 120);
    SetAdvanced(host, true, 1.25, false, mask.get());
    Measure(host);
    EXPECT_EQ(test::HistoryOf(host.Result(1)),
              std::vector<std::string>{"FiberDirections(radius=2,mask,angle=phi)"});
}

TEST_F(LocalFiberDirections, ADocumentWithoutLabelYieldsThetaAndPhi) {
    CFiberHost host(Volume(), "");
    SetAdvanced(host, true, 1.25, true, nullptr);
    const auto documents = RunInTree(host);
    ASSERT_EQ(documents.size(), 2U);
    EXPECT_EQ(documents[0]->EntryString("label").Std(), "Theta");
    EXPECT_EQ(documents[1]->EntryString("label").Std(), "Phi");
    EXPECT_EQ(host.Tree().Entry("output/views/create/0/label", true)->String().Std(), "");
    EXPECT_FALSE(host.Document().HasEntry("label")); // asking for it has made none
}

TEST_F(LocalFiberDirections, MapsInheritTheAttributesAndKeepTheirOwnExtremes) {
    CFiberHost host;
    CQuillonHeaderTools::SetSpacing(host.Image(), 1.0, 1.0, 1.5);
    CQuillonHeaderTools::AddToHistory(host.Image(), "earlier", 0);
    CValueVector minMax(new CValueDouble(20.0), new CValueDouble(220.0));
    CQuillonHeaderTools::SetMetaInfo(host.Image(), CQuillonHeaderTools::c_sMetaMinMax.c_str(), minMax);
    SetAdvanced(host, true, 1.25, true, nullptr);
    Measure(host);
    for (std::size_t i = 0; i < 2; ++i) {
        const CImage& map = host.Result(i);
        EXPECT_EQ(test::HistoryOf(map).size(), 2U);
        EXPECT_EQ(test::HistoryOf(map).front(), "earlier");
        double x = 0;
        double y = 0;
        double z = 0;
        EXPECT_TRUE(CQuillonHeaderTools::GetSpacing(map, x, y, z));
        EXPECT_EQ(z, 1.5);
        EXPECT_TRUE(map.Attributes().HasEntry("features/FiberDirections/FieldFiberDirections"));
        const auto pixels = PixelsOf<float>(map);
        const double greatest = *std::max_element(pixels.begin(), pixels.end());
        EXPECT_EQ(test::RecordedMinMax(map), (std::vector<double>{-1.0, greatest}));
    }
    EXPECT_EQ(test::RecordedMinMax(host.Image()), (std::vector<double>{20.0, 220.0}));
    EXPECT_EQ(test::HistoryOf(host.Image()), std::vector<std::string>{"earlier"});
}

TEST_F(LocalFiberDirections, AnEarlierVectorOfNewDocumentsIsReplaced) {
    CFiberHost host(Plane());
    host.Tree().SetEntry("output/documents/add/5", new CValueLong(1));
    host.Tree().SetEntry("output/documents/other", new CValueLong(2));
    SetAdvanced(host, true, 1.25, true, nullptr);
    const auto documents = RunInTree(host);
    EXPECT_EQ(documents.size(), 1U);
    EXPECT_TRUE(host.Tree().HasEntry("output/documents/other"));
    EXPECT_TRUE(host.Tree().HasEntry("output/documents/add/0", typeid(CValuePointer<CValueMap>)));
}

TEST_F(LocalFiberDirections, TwoRunsMakeTwoPairsOfDocuments) {
    CFiberHost first;
    CFiberHost second;
    for (CFiberHost* const host : {&first, &second}) {
        SetAdvanced(*host, true, 1.25, true, nullptr);
        Measure(*host);
    }
    EXPECT_NE(&first.Result(0), &second.Result(0));
    EXPECT_EQ(PixelsOf<float>(first.Result(0)), PixelsOf<float>(second.Result(0)));
    EXPECT_EQ(PixelsOf<float>(first.Result(1)), PixelsOf<float>(second.Result(1)));
    EXPECT_TRUE(first.Measurement()->Equal(*second.Measurement()));
}

TEST_F(LocalFiberDirections, ACancelledRunLeavesAnEarlierMeasurementAlone) {
    CFiberHost host;
    Measure(host);
    const std::unique_ptr<CValue> before(host.Measurement()->Clone(CValue::TF_NONE));
    host.Tree().RemoveEntry("output");
    host.Set("fiber_radius", new CValueDouble(1.5));
    SetAdvanced(host, true, 1.25, true, nullptr);
    {
        test::HostProgress progress;
        progress.cancelAt = 0;
        RunInTree(host);
    }
    EXPECT_TRUE(host.Measurement()->Equal(*before));
    EXPECT_FALSE(host.Tree().HasEntry("output"));
}

} // namespace
