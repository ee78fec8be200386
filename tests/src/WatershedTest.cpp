#include "support/PackHost.h"
#include "support/Raised.h"
#include "support/TestImage.h"
#include "support/TraversalTools.h"

#include <sorblib2core/CExBadParam.h>
#include <sorblib2core/CExBadType.h>
#include <sorblib2core/CException.h>
#include <sorblib2core/CValueDouble.h>
#include <sorblib2core/CValueLong.h>
#include <sorblib2core/CValueString.h>
#include <sorblib2core/UnwrapPointer.h>
#include <sorblib2image/CQuillonHeaderTools.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <limits>
#include <tuple>

namespace {

using namespace ORVEN;
using test::ImageOf;
using test::PixelsOf;
using test::Raised;
using Bytes = std::vector<unsigned char>;
using Words = std::vector<unsigned short>;
using Labels = std::vector<std::uint32_t>;

std::unique_ptr<CImage> Image(const IImage::CType& type, const CSize& size) {
    return std::make_unique<CImage>(type, size, CSize(0, 0, 0));
}

/// One row with two minima of 0 and a ridge between them.
std::unique_ptr<CImage> TwoBasins() {
    return ImageOf<unsigned char>(IMAGE_GREY_8, CSize(5, 1), {0, 0, 9, 0, 0});
}

CValueString* Text(const std::string& text) { return new CValueString(CString(text)); }

class WatershedPlugin : public testing::Test {
protected:
    /// Runs with the debugging lines held back; the last line of the result's history.
    std::string Run(test::CPackHost& host) const {
        const test::CapturedOutput silence;
        host.Run(*m_plugin);
        return test::HistoryOf(host.Result()).back();
    }

    /// The error of a run, with its source in front.
    template <class Exception = CException>
    std::string Refusal(test::CPackHost& host) const {
        const test::CapturedOutput silence;
        const auto raised = Raised<Exception>([&] { host.Run(*m_plugin); });
        return std::string(raised.Source()) + ": " + raised.Message();
    }

    [[nodiscard]] bool Accepts(const CValueMap& tree) const { return m_plugin->TestParameters(tree); }

    const std::unique_ptr<CPluginBase> m_plugin = test::CreatePlugin("Watershed");
};

void SetNeighborhood(test::CPackHost& host, const std::string& word = "Neigh_6") {
    host.Set("Neighborhood", Text(word));
}

void SetPreflood(test::CPackHost& host, std::int32_t minimum) {
    host.Set("type", Text("preflood"));
    host.Set("nParameter", new CValueLong(minimum));
}

void SetMarkers(test::CPackHost& host, CImage* markers) {
    host.Set("type", Text("marker"));
    host.Set("markerimage", new CValuePointer<CImage>(markers, 1));
}

// --- frame
// --------------------------------------------------------------------------------------------------------

TEST_F(WatershedPlugin, TheTestIgnoresTheMarkerImage) {
    test::CPackHost host(TwoBasins());
    const auto markers = Image(IMAGE_COMPLEX_F, CSize(99, 99, 99));
    SetNeighborhood(host);
    SetMarkers(host, markers.get());
    EXPECT_TRUE(Accepts(host.Tree()));
}

TEST_F(WatershedPlugin, ResetChangesNothing) {
    test::CPackHost host(TwoBasins());
    SetNeighborhood(host, "Neigh_26");
    SetPreflood(host, 3);
    EXPECT_EQ(Run(host), "watershed(N8,area=3)<2>");
    m_plugin->Reset();
    host.Tree().RemoveEntry("parameters");
    host.Tree().RemoveEntry("input");
    const test::CapturedOutput silence;
    m_plugin->GetData(host.Tree());
    const auto documents = test::TakeDocuments(host.Tree());
    ASSERT_EQ(documents.size(), 1U);
    EXPECT_EQ(test::HistoryOf(*UnwrapPointer<CImage>(documents[0]->Entry("content", true))).back(),
              "watershed(N8,area=3)<2>");
}

// --- neighbourhoods
// -----------------------------------------------------------------------------------------------

struct StWord {
    const char* word;
    const char* id2d;
    const char* id3d;
};

constexpr StWord c_words[] = {{"Neigh_6", "N4", "N6"},
                              {"Neigh_14_1", "N6_1", "N14_1"},
                              {"Neigh_14_2", "N6_2", "N14_2"},
                              {"Neigh_26", "N8", "N26"}};

TEST_F(WatershedPlugin, EachWordSelectsTheNeighbourhoodOfItsRowAndIsInTheHistory) {
    for (const auto& [word, id2d, id3d] : c_words) {
        for (const int dimension : {2, 3}) {
            const CSize size = dimension == 3 ? CSize(3, 3, 3) : CSize(3, 3);
            const std::string id = dimension == 3 ? id3d : id2d;
            const auto markers = Image(IMAGE_GREY_16, size);
            CImageView<unsigned short>(*markers).Row(1, 0)[1] = 3;

            test::CPackHost host(Image(IMAGE_GREY_8, size));
            SetNeighborhood(host, word);
            EXPECT_EQ(Run(host), "watershed(" + id + ")<1>");
            host.Set("type", Text("normal"));
            EXPECT_EQ(Run(host), "watershed(" + id + ")<1>");
            SetPreflood(host, 9);
            EXPECT_EQ(Run(host), "watershed(" + id + ",area=9)<1>");
            SetMarkers(host, markers.get());
            EXPECT_EQ(Run(host), "watershed(" + id + ", fromMarkerImage)<3>");
        }
    }
}

TEST_F(WatershedPlugin, EachNeighbourhoodConnectsItsPixels) {
    // Pairs of minima that differ in one diagonal each: regions merge where it is a neighbour.
    const auto regions = [this](const char* word, const Bytes& pixels, const CSize& size) {
        test::CPackHost host(ImageOf<unsigned char>(IMAGE_GREY_8, size, pixels));
        SetNeighborhood(host, word);
        Run(host);
        std::size_t count = 0;
        CQuillonHeaderTools::GetNumberOfLabels(host.Result(), count);
        return count - 1;
    };
    const Bytes falling{0, 9, 9, 0};
    const Bytes rising{9, 0, 0, 9};
    const CSize square(2, 2);
    EXPECT_EQ(regions("Neigh_6", falling, square), 2U);
    EXPECT_EQ(regions("Neigh_6", rising, square), 2U);
    EXPECT_EQ(regions("Neigh_14_1", falling, square), 1U);
    EXPECT_EQ(regions("Neigh_14_1", rising, square), 2U);
    EXPECT_EQ(regions("Neigh_14_2", falling, square), 2U);
    EXPECT_EQ(regions("Neigh_14_2", rising, square), 1U);
    EXPECT_EQ(regions("Neigh_26", falling, square), 1U);
    EXPECT_EQ(regions("Neigh_26", rising, square), 1U);

    const Bytes fallingThroughTheCube{0, 9, 9, 9, 9, 9, 9, 0};
    const Bytes risingThroughTheCube{9, 0, 9, 9, 9, 9, 0, 9};
    const CSize cube(2, 2, 2);
    EXPECT_EQ(regions("Neigh_6", fallingThroughTheCube, cube), 2U);
    EXPECT_EQ(regions("Neigh_6", risingThroughTheCube, cube), 2U);
    EXPECT_EQ(regions("Neigh_14_1", fallingThroughTheCube, cube), 1U);
    EXPECT_EQ(regions("Neigh_14_1", risingThroughTheCube, cube), 2U);
    EXPECT_EQ(regions("Neigh_14_2", fallingThroughTheCube, cube), 2U);
    EXPECT_EQ(regions("Neigh_14_2", risingThroughTheCube, cube), 1U);
    EXPECT_EQ(regions("Neigh_26", fallingThroughTheCube, cube), 1U);
    EXPECT_EQ(regions("Neigh_26", risingThroughTheCube, cube), 1U);
}

TEST_F(WatershedPlugin, AnyOtherWordIsRefused) {
    for (const CSize& size : {CSize(2, 2), CSize(2, 2, 2)}) {
        for (const std::string word : {"", "neigh_6", "Neigh_6 ", "Neigh_8", "N4", "N6", "Neigh_14"}) {
            test::CPackHost host(Image(IMAGE_GREY_8, size));
            SetNeighborhood(host, word);
            EXPECT_EQ(Refusal(host), "WatershedPlugin: Neighborhood not supported") << word;
            EXPECT_FALSE(host.Tree().HasEntry("output"));
        }
    }
}

TEST_F(WatershedPlugin, WithoutEverHavingHadANeighbourhoodTheRunIsRefused) {
    test::CPackHost host(TwoBasins());
    EXPECT_EQ(Refusal(host), "WatershedPlugin: Neighborhood not supported");
    host.Set("type", Text("normal"));
    EXPECT_EQ(Refusal(host), "WatershedPlugin: Neighborhood not supported");
}

TEST_F(WatershedPlugin, AWordOf100BytesOrMoreFillsTheBlockWithoutATerminator) {
    test::CPackHost host(TwoBasins());
    for (const std::size_t length : {99U, 100U, 101U, 1000U, 100000U}) {
        SetNeighborhood(host, std::string(length, 'N'));
        EXPECT_EQ(Refusal(host), "WatershedPlugin: Neighborhood not supported") << length;
        std::string word = "Neigh_6";
        word.resize(length, 'x');
        SetNeighborhood(host, word);
        EXPECT_EQ(Refusal(host), "WatershedPlugin: Neighborhood not supported") << length;
    }
    // Nothing of a long word stays behind a short one.
    SetNeighborhood(host);
    EXPECT_EQ(Run(host), "watershed(N4)<2>");
}

// --- parameters
// ---------------------------------------------------------------------------------------------------

TEST_F(WatershedPlugin, WithoutATypeTheRunIsAPlainOne) {
    test::CPackHost host(TwoBasins());
    const auto markers = Image(IMAGE_GREY_8, CSize(5, 1));
    SetNeighborhood(host);
    host.Set("nParameter", new CValueLong(3));
    host.Set("markerimage", new CValuePointer<CImage>(markers.get(), 1));
    EXPECT_EQ(Run(host), "watershed(N4)<2>");
}

TEST_F(WatershedPlugin, AnyOtherTypeActsAsNormal) {
    const auto markers = Image(IMAGE_GREY_8, CSize(5, 1));
    for (const std::string type : {"normal", "", "Normal", "NoOfVoxel", "Preflood", "MinDepth", "markers"}) {
        test::CPackHost host(TwoBasins());
        SetNeighborhood(host);
        host.Set("nParameter", new CValueLong(3));
        host.Set("markerimage", new CValuePointer<CImage>(markers.get(), 1));
        host.Set("type", Text(type));
        EXPECT_EQ(Run(host), "watershed(N4)<2>") << type;
    }
}

TEST_F(WatershedPlugin, PrefloodWithA0IsAPlainRunWithoutAreaInTheHistory) {
    test::CPackHost host(TwoBasins());
    SetNeighborhood(host);
    SetPreflood(host, 0);
    EXPECT_EQ(Run(host), "watershed(N4)<2>");
    EXPECT_EQ(PixelsOf<unsigned char>(host.Result()), (Bytes{1, 1, 0, 2, 2}));
}

TEST_F(WatershedPlugin, PrefloodWithoutAMinimumIsAPlainRun) {
    test::CPackHost host(TwoBasins());
    SetNeighborhood(host);
    host.Set("type", Text("preflood"));
    EXPECT_EQ(Run(host), "watershed(N4)<2>");
}

TEST_F(WatershedPlugin, PrefloodHoldsTwiceThePixelsLess1AgainstTheMinimum) {
    test::CPackHost host(TwoBasins());
    SetNeighborhood(host);
    SetPreflood(host, 3);
    EXPECT_EQ(Run(host), "watershed(N4,area=3)<2>");
    SetPreflood(host, 4);
    EXPECT_EQ(Run(host), "watershed(N4,area=4)<1>"); // both basins and the ridge, at its level
    EXPECT_EQ(PixelsOf<unsigned char>(host.Result()), (Bytes(5, 1)));
}

TEST_F(WatershedPlugin, PrefloodWithTooHighAMinimumYields0RegionsAnd255Everywhere) {
    test::CPackHost host(TwoBasins());
    SetNeighborhood(host);
    SetPreflood(host, 10);
    EXPECT_EQ(Run(host), "watershed(N4,area=10)<0>");
    EXPECT_EQ(host.Result().Type(), IMAGE_GREY_8);
    EXPECT_EQ(PixelsOf<unsigned char>(host.Result()), Bytes(5, 255));
    std::size_t count = 0;
    ASSERT_TRUE(CQuillonHeaderTools::GetNumberOfLabels(host.Result(), count));
    EXPECT_EQ(count, 1U);
}

TEST_F(WatershedPlugin, ANegativeMinimumIsTakenAsUnsigned) {
    test::CPackHost host(TwoBasins());
    SetNeighborhood(host);
    SetPreflood(host, -1);
    EXPECT_EQ(Run(host), "watershed(N4,area=4294967295)<0>");
}

TEST_F(WatershedPlugin, MarkerWithoutAMarkerImageIsAPlainRun) {
    test::CPackHost host(TwoBasins());
    SetNeighborhood(host);
    host.Set("type", Text("marker"));
    EXPECT_EQ(Run(host), "watershed(N4)<2>");
    SetMarkers(host, nullptr);
    EXPECT_EQ(Run(host), "watershed(N4)<2>");
}

TEST_F(WatershedPlugin, MarkersOfAnyLabelTypeMakeTheRegions) {
    const auto run = [this](std::unique_ptr<CImage> markers) {
        test::CPackHost host(TwoBasins());
        SetNeighborhood(host);
        SetMarkers(host, markers.get());
        host.Set("nParameter", new CValueLong(1000)); // not read
        const std::string history = Run(host);
        return std::pair(history, PixelsOf<unsigned char>(host.Result()));
    };
    const std::pair expected(std::string("watershed(N4, fromMarkerImage)<3>"), Bytes{3, 3, 0, 1, 1});
    EXPECT_EQ(run(ImageOf<unsigned char>(IMAGE_GREY_8, CSize(5, 1), {3, 0, 0, 0, 1})), expected);
    EXPECT_EQ(run(ImageOf<unsigned short>(IMAGE_GREY_16, CSize(5, 1), {3, 0, 0, 0, 1})), expected);
    EXPECT_EQ(run(ImageOf<std::uint32_t>(IMAGE_GREY_32, CSize(5, 1), {3, 0, 0, 0, 1})), expected);
    EXPECT_EQ(run(ImageOf<unsigned char>(IMAGE_BINARY_FG, CSize(5, 1), {1, 0, 0, 0, 1})),
              (std::pair(std::string("watershed(N4, fromMarkerImage)<1>"), Bytes{1, 1, 1, 1, 1})));
}

TEST_F(WatershedPlugin, AMarkerImageOfAnUnsupportedTypeIsRefusedByTheEngine) {
    test::CPackHost host(TwoBasins());
    SetNeighborhood(host);
    for (const auto& type : {IMAGE_GREY_F, IMAGE_COMPLEX_F}) {
        const auto markers = Image(type, CSize(5, 1));
        SetMarkers(host, markers.get());
        EXPECT_EQ(Refusal(host), std::string("ORVEN::CWatershedTemplate<struct "
                                             "ORVEN::CNeighborhood2dDiffN4>::DoWatershed: region seeding "
                                             "image type '") +
                                     type.ToString() +
                                     "' does not match (must be gray label type: int 8bit/16bit/32bit).");
        EXPECT_FALSE(host.Tree().HasEntry("output"));
    }
    const auto background = Image(IMAGE_BINARY_BG, CSize(5, 1));
    SetMarkers(host, background.get());
    EXPECT_EQ(Refusal(host), "Init: Image type IMAGE_BINARY_BG not supported.");
}

TEST_F(WatershedPlugin, AMarkerImageOfAnotherSizeIsRefusedWithBothSizes) {
    test::CPackHost host(Image(IMAGE_GREY_8, CSize(5, 4, 3)));
    SetNeighborhood(host, "no such word"); // found out later
    const auto larger = Image(IMAGE_GREY_8, CSize(5, 4, 4));
    SetMarkers(host, larger.get());
    EXPECT_EQ(Refusal(host),
              "WatershedPlugin: Size of marker image does not fit to current image: (5,4,4) vs (5,4,3).");
    const auto flat = Image(IMAGE_GREY_8, CSize(5, 4));
    SetMarkers(host, flat.get());
    EXPECT_EQ(Refusal(host),
              "WatershedPlugin: Size of marker image does not fit to current image: (5,4) vs (5,4,3).");
    EXPECT_FALSE(host.Tree().HasEntry("output"));
}

TEST_F(WatershedPlugin, BetweenCallsANeighbourhoodResetsModeMinimumAndMarker) {
    test::CPackHost host(TwoBasins());
    const auto markers = ImageOf<unsigned char>(IMAGE_GREY_8, CSize(5, 1), {7, 0, 0, 0, 0});
    const auto keep = [&host](const std::function<void()>& set) {
        host.Tree().RemoveEntry("parameters");
        SetNeighborhood(host);
        set();
    };
    keep([&] { SetMarkers(host, markers.get()); });
    EXPECT_EQ(Run(host), "watershed(N4, fromMarkerImage)<7>");
    keep([] {});
    EXPECT_EQ(Run(host), "watershed(N4)<2>");
    keep([&] { SetPreflood(host, 4); });
    EXPECT_EQ(Run(host), "watershed(N4,area=4)<1>");
    keep([&] { host.Set("type", Text("preflood")); }); // the minimum is not kept either
    EXPECT_EQ(Run(host), "watershed(N4)<2>");
}

TEST_F(WatershedPlugin, WithoutANeighbourhoodTheOtherKeysAreNotReadAndOldValuesStay) {
    test::CPackHost host(TwoBasins());
    SetNeighborhood(host, "Neigh_26");
    SetPreflood(host, 4);
    EXPECT_EQ(Run(host), "watershed(N8,area=4)<1>");
    host.Tree().RemoveEntry("parameters/Neighborhood");
    host.Set("type", Text("normal"));
    host.Set("nParameter", new CValueLong(1));
    EXPECT_EQ(Run(host), "watershed(N8,area=4)<1>");
    host.Set("Neighborhood", new CValueLong(6)); // no text
    EXPECT_EQ(Run(host), "watershed(N8,area=4)<1>");
    host.Tree().SetEntry("parameters", new CValueLong(6)); // no map
    EXPECT_EQ(Run(host), "watershed(N8,area=4)<1>");
    host.Tree().RemoveEntry("parameters");
    EXPECT_EQ(Run(host), "watershed(N8,area=4)<1>");
}

TEST_F(WatershedPlugin, ATypeThatIsNoTextCountsAsNone) {
    test::CPackHost host(TwoBasins());
    SetNeighborhood(host);
    SetPreflood(host, 3);
    host.Set("type", new CValueLong(1));
    EXPECT_EQ(Run(host), "watershed(N4)<2>");
}

TEST_F(WatershedPlugin, AMinimumOrMarkerImageOfTheWrongKindRaisesAndTheObjectStaysUsable) {
    test::CPackHost host(TwoBasins());
    SetNeighborhood(host);
    for (CValue* minimum : {static_cast<CValue*>(Text("3")), static_cast<CValue*>(new CValueDouble(3.0))}) {
        host.Set("type", Text("preflood"));
        host.Set("nParameter", minimum);
        EXPECT_THROW(m_plugin->UpdateParameters(host.Tree()), CExBadType);
    }
    CValueMap noImage;
    host.Set("type", Text("marker"));
    for (CValue* markers : {static_cast<CValue*>(Text("markers")),
                            static_cast<CValue*>(new CValuePointer<CValueMap>(&noImage, 1))}) {
        host.Set("markerimage", markers);
        EXPECT_THROW(m_plugin->UpdateParameters(host.Tree()), CExBadParam);
    }
    host.Set("type", Text("normal"));
    EXPECT_EQ(Run(host), "watershed(N4)<2>");
}

// --- images that only `GetData` sees
// ------------------------------------------------------------------------------

TEST_F(WatershedPlugin, OneDimensionIsRefused) {
    test::CPackHost host(Image(IMAGE_GREY_8, test::SizeOf(1, 5, 0, 0)));
    SetNeighborhood(host, "no such word");
    EXPECT_EQ(Refusal(host), "WatershedPlugin: Image Dimension not supported");
}

TEST_F(WatershedPlugin, AComplexImageIsRefused) {
    for (const CSize& size : {CSize(2, 2), CSize(2, 2, 2)}) {
        test::CPackHost host(Image(IMAGE_COMPLEX_F, size));
        SetNeighborhood(host);
        EXPECT_EQ(Refusal(host), "WatershedPlugin: Image type not supported");
        EXPECT_FALSE(host.Tree().HasEntry("output"));
    }
}

TEST_F(WatershedPlugin, AnAxisOf32767PixelsIsRefusedByTheEngine) {
    test::CPackHost host(Image(IMAGE_GREY_8, CSize(32767, 1)));
    SetNeighborhood(host);
    EXPECT_EQ(Refusal(host), "ORVEN::CWatershedTemplate<struct ORVEN::CNeighborhood2dDiffN4>::DoWatershed: "
                             "one image size is too big (max is 32767");
}

// --- the result
// ---------------------------------------------------------------------------------------------------

/// Minima of 0 on every second pixel of every second row of a plateau.
std::unique_ptr<CImage> IsolatedMinima(std::int64_t columns, std::int64_t rows) {
    auto image = Image(IMAGE_GREY_8, CSize(2 * columns - 1, 2 * rows - 1));
    const CImageView<unsigned char> view(*image);
    for (std::int64_t y = 0; y < view.ny; ++y) {
        for (std::int64_t x = 0; x < view.nx; ++x)
            view.Row(y, 0)[x] = x % 2 == 0 && y % 2 == 0 ? 0 : 1;
    }
    return image;
}

/// Expects n regions, labelled with pixels of type T, and the history and attributes.
template <class T>
void ExpectRegions(const CImage& result, const IImage::CType& type, std::uint32_t regionCount) {
    EXPECT_EQ(result.Type(), type);
    std::vector<T> labels = PixelsOf<T>(result);
    std::ranges::sort(labels);
    labels.erase(std::ranges::unique(labels).begin(), labels.end());
    ASSERT_EQ(labels.size(), regionCount + 1); // 0 among them
    EXPECT_EQ(labels.front(), 0U);
    EXPECT_EQ(labels.back(), regionCount);
    std::size_t count = 0;
    ASSERT_TRUE(CQuillonHeaderTools::GetNumberOfLabels(result, count));
    EXPECT_EQ(count, regionCount + 1);
}

TEST_F(WatershedPlugin, TheResultIsOfTheSmallestTypeThatHoldsAllRegions) {
    const auto run = [this](std::int64_t columns, std::int64_t rows) {
        auto host = std::make_unique<test::CPackHost>(IsolatedMinima(columns, rows));
        SetNeighborhood(*host);
        EXPECT_EQ(Run(*host), "watershed(N4)<" + std::to_string(columns * rows) + ">");
        return host;
    };
    ExpectRegions<unsigned char>(run(127, 2)->Result(), IMAGE_GREY_8, 254);
    ExpectRegions<unsigned short>(run(51, 5)->Result(), IMAGE_GREY_16, 255);
    ExpectRegions<unsigned short>(run(217, 302)->Result(), IMAGE_GREY_16, 65534);
    ExpectRegions<std::uint32_t>(run(257, 255)->Result(), IMAGE_GREY_32, 65535);
}

TEST_F(WatershedPlugin, WithMarkersTheHighestSeedDeterminesTheType) {
    const auto run = [this](std::uint32_t seed) {
        const auto markers = ImageOf<std::uint32_t>(IMAGE_GREY_32, CSize(5, 1), {1, 0, 0, 0, seed});
        auto host = std::make_unique<test::CPackHost>(TwoBasins());
        SetNeighborhood(*host);
        SetMarkers(*host, markers.get());
        EXPECT_EQ(Run(*host), "watershed(N4, fromMarkerImage)<" + std::to_string(seed) + ">");
        std::size_t count = 0;
        EXPECT_TRUE(CQuillonHeaderTools::GetNumberOfLabels(host->Result(), count));
        EXPECT_EQ(count, std::size_t{seed} + 1);
        return host;
    };
    EXPECT_EQ(PixelsOf<unsigned char>(run(254)->Result()), (Bytes{1, 1, 0, 254, 254}));
    EXPECT_EQ(run(254)->Result().Type(), IMAGE_GREY_8);
    EXPECT_EQ(PixelsOf<unsigned short>(run(255)->Result()), (Words{1, 1, 0, 255, 255}));
    EXPECT_EQ(run(255)->Result().Type(), IMAGE_GREY_16);
    EXPECT_EQ(PixelsOf<unsigned short>(run(65534)->Result()), (Words{1, 1, 0, 65534, 65534}));
    EXPECT_EQ(run(65534)->Result().Type(), IMAGE_GREY_16);
    EXPECT_EQ(PixelsOf<std::uint32_t>(run(65535)->Result()), (Labels{1, 1, 0, 65535, 65535}));
    EXPECT_EQ(run(65535)->Result().Type(), IMAGE_GREY_32);
    EXPECT_EQ(PixelsOf<std::uint32_t>(run(0xFFFFFFFC)->Result()), (Labels{1, 1, 0, 0xFFFFFFFC, 0xFFFFFFFC}));
}

TEST_F(WatershedPlugin, SentinelsStayAsTheyAreIn32BitAndAre255In8) {
    // A seed of the value of a queued pixel cuts off the pixels behind it, which wait for ever.
    const auto cut = ImageOf<std::uint32_t>(IMAGE_GREY_32, CSize(5, 1), {1, 0, 0xFFFFFFFD, 0, 0});
    test::CPackHost host(TwoBasins());
    SetNeighborhood(host);
    SetMarkers(host, cut.get());
    EXPECT_EQ(Run(host), "watershed(N4, fromMarkerImage)<4294967293>");
    EXPECT_EQ(PixelsOf<std::uint32_t>(host.Result()), (Labels{1, 1, 0xFFFFFFFD, 0xFFFFFFFE, 0xFFFFFFFE}));
    // Without any seed all pixels wait.
    const auto none = Image(IMAGE_GREY_32, CSize(5, 1));
    SetMarkers(host, none.get());
    EXPECT_EQ(Run(host), "watershed(N4, fromMarkerImage)<0>");
    EXPECT_EQ(PixelsOf<unsigned char>(host.Result()), Bytes(5, 255));
}

TEST_F(WatershedPlugin, AllTypesYieldTheSameLabels) {
    const auto run = [this](std::unique_ptr<CImage> image) {
        test::CPackHost host(std::move(image));
        SetNeighborhood(host);
        EXPECT_EQ(Run(host), "watershed(N4)<2>");
        return PixelsOf<unsigned char>(host.Result());
    };
    const CSize size(5, 1);
    const Bytes expected{1, 1, 0, 2, 2};
    EXPECT_EQ(run(ImageOf<unsigned char>(IMAGE_GREY_8, size, {0, 0, 1, 0, 0})), expected);
    EXPECT_EQ(run(ImageOf<unsigned char>(IMAGE_BINARY_FG, size, {0, 0, 1, 0, 0})), expected);
    EXPECT_EQ(run(ImageOf<unsigned short>(IMAGE_GREY_16, size, {0, 0, 65535, 0, 0})), expected);
    EXPECT_EQ(run(ImageOf<std::uint32_t>(IMAGE_GREY_32, size, {7, 7, 0xFFFFFFFF, 7, 7})), expected);
    EXPECT_EQ(run(ImageOf<float>(IMAGE_GREY_F, size, {-0.5F, -0.5F, 1e9F, -0.5F, -0.5F})), expected);
}

TEST_F(WatershedPlugin, TheResultInheritsAttributesAndAddsItsLineAndItsCount) {
    test::CPackHost host(TwoBasins());
    CQuillonHeaderTools::SetSpacing(host.Image(), 0.5, 0.25, 2.0);
    CQuillonHeaderTools::AddToHistory(host.Image(), "scanned()", 0);
    CQuillonHeaderTools::SetNumberOfLabels(host.Image(), 77);
    CQuillonHeaderTools::SetMetaInfo(host.Image(), "scanner", CValueString("left", CString::NPOS));
    SetNeighborhood(host);
    Run(host);
    const CImage& result = host.Result();
    EXPECT_EQ(result.Size(), CSize(5, 1));
    EXPECT_EQ(test::HistoryOf(result), (std::vector<std::string>{"scanned()", "watershed(N4)<2>"}));
    double x = 0;
    double y = 0;
    double z = 0;
    ASSERT_TRUE(CQuillonHeaderTools::GetSpacing(result, x, y, z));
    EXPECT_EQ((std::tuple{x, y, z}), (std::tuple{0.5, 0.25, 2.0}));
    CValueString scanner("", CString::NPOS);
    ASSERT_TRUE(CQuillonHeaderTools::GetMetaInfo(result, "scanner", scanner));
    EXPECT_EQ(scanner.String().Std(), "left");
    std::size_t count = 0;
    ASSERT_TRUE(CQuillonHeaderTools::GetNumberOfLabels(result, count));
    EXPECT_EQ(count, 3U);
}

TEST_F(WatershedPlugin, TheInputStaysAsItIs) {
    test::CPackHost host(TwoBasins());
    const auto markers = ImageOf<unsigned short>(IMAGE_GREY_16, CSize(5, 1), {4, 0, 0, 0, 0});
    CQuillonHeaderTools::AddToHistory(host.Image(), "scanned()", 0);
    SetNeighborhood(host);
    SetMarkers(host, markers.get());
    Run(host);
    EXPECT_EQ(PixelsOf<unsigned char>(host.Image()), PixelsOf<unsigned char>(*TwoBasins()));
    EXPECT_EQ(test::HistoryOf(host.Image()), std::vector<std::string>{"scanned()"});
    std::size_t count = 0;
    EXPECT_FALSE(CQuillonHeaderTools::GetNumberOfLabels(host.Image(), count));
    EXPECT_EQ(PixelsOf<unsigned short>(*markers), (Words{4, 0, 0, 0, 0}));
    EXPECT_TRUE(markers->Attributes().IsEmpty());
}

TEST_F(WatershedPlugin, TheResultTakesTheLabelOfTheDocument) {
    test::CPackHost host(TwoBasins(), "foam.tif");
    SetNeighborhood(host);
    Run(host);
    EXPECT_EQ(host.DocumentCount(), 1U);
    EXPECT_EQ(host.ResultLabel(), "foam.tif");
}

TEST_F(WatershedPlugin, TheLabelIsEmptyWhenTheDocumentHasNone) {
    test::CPackHost host(TwoBasins(), "");
    SetNeighborhood(host);
    Run(host);
    EXPECT_EQ(host.ResultLabel(), "");
    host.Document().SetEntry("label", new CValueLong(3)); // no text
    Run(host);
    EXPECT_EQ(host.ResultLabel(), "");
}

TEST_F(WatershedPlugin, ACancelledRunDeliversADocumentWith0Regions) {
    int questions = 0;
    {
        const test::HostProgress progress;
        test::CPackHost host(TwoBasins());
        SetNeighborhood(host);
        EXPECT_EQ(Run(host), "watershed(N4)<2>");
        questions = progress.questions;
    }
    EXPECT_GT(questions, 256);
    int cancelled = 0;
    for (int question = 0; question < questions; question += 13) {
        test::HostProgress progress;
        progress.cancelAt = question;
        test::CPackHost host(TwoBasins());
        SetNeighborhood(host);
        const std::string history = Run(host);
        // At the end the questions are those of the step that narrows the labels of a whole run.
        if (history == "watershed(N4)<2>")
            continue;
        ++cancelled;
        EXPECT_EQ(history, "watershed(N4)<0>") << question;
        EXPECT_EQ(host.DocumentCount(), 1U);
        EXPECT_EQ(host.Result().Type(), IMAGE_GREY_8);
        std::size_t count = 0;
        ASSERT_TRUE(CQuillonHeaderTools::GetNumberOfLabels(host.Result(), count));
        EXPECT_EQ(count, 1U);
    }
    EXPECT_GE(cancelled, questions / 13 - 1);
}

} // namespace
