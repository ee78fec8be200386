#include "support/PluginTest.h"
#include "support/TestImage.h"

#include <sorblib2core/CValueLong.h>
#include <sorblib2image/CQuillonHeaderTools.h>

#include <gtest/gtest.h>

#include <array>
#include <bit>
#include <limits>
#include <memory>
#include <string>
#include <vector>

namespace {

using namespace ORVEN;
using test::ImageOf;
using test::PixelsOf;
using test::Text;
using Bytes = std::vector<unsigned char>;
using Floats = std::vector<float>;

constexpr std::array c_ids{"N6", "N26", "N14_1", "N14_2"};

/// Where the maximum starts.
const float c_leastPositive = std::bit_cast<float>(0x00800000U);

std::unique_ptr<CImage> Empty(const CSize& size) {
    return std::make_unique<CImage>(IMAGE_BINARY_FG, size, CSize(0, 0, 0));
}

class LocalEulerNumberPlugin : public test::PluginTest {
protected:
    LocalEulerNumberPlugin()
        : PluginTest("LocalEulerNumber") {}

    struct StFigures {
        Floats figures;
        std::vector<double> minMax;
    };

    StFigures Figures(const CSize& size, const Bytes& pixels, const std::string& id) const {
        test::CPackHost host(ImageOf(IMAGE_BINARY_FG, size, pixels));
        host.Set("Neighborhood", Text(id));
        Run(host);
        EXPECT_EQ(host.Result().Type(), IMAGE_GREY_F);
        EXPECT_EQ(host.Result().Size(), size);
        return {PixelsOf<float>(host.Result()), test::RecordedMinMax(host.Result())};
    }
};

// --- frame
// --------------------------------------------------------------------------------------------------------

TEST_F(LocalEulerNumberPlugin, DoesNothingForAnImageOfAnotherType) {
    for (const auto& type : {IMAGE_BINARY_BG, IMAGE_GREY_8, IMAGE_GREY_F}) {
        test::CPackHost host(std::make_unique<CImage>(type, CSize(3, 3, 3), CSize(0, 0, 0)));
        host.Set("Neighborhood", Text("N6"));
        EXPECT_EQ(Refusal(host), "nothing");
        EXPECT_EQ(host.DocumentCount(), 0U);
    }
}

TEST_F(LocalEulerNumberPlugin, ConfigureAndResetChangeNothing) {
    test::CPackHost host(Empty(CSize(3, 3, 3)));
    host.Set("Neighborhood", Text("N14_2"));
    m_plugin->UpdateParameters(host.Tree());
    CValueMap settings;
    m_plugin->Configure(nullptr, settings);
    m_plugin->Reset();
    host.Tree().RemoveEntry("parameters");
    EXPECT_EQ(Run(host), "localeulernumber(N14_2)");
}

TEST_F(LocalEulerNumberPlugin, KeepsTheNeighbourhoodWhenNoneIsGivenOrItIsNoText) {
    test::CPackHost host(Empty(CSize(3, 3, 3)));
    host.Set("Neighborhood", Text("N26"));
    EXPECT_EQ(Run(host), "localeulernumber(N26)");
    host.Set("Neighborhood", new CValueLong(6));
    EXPECT_EQ(Run(host), "localeulernumber(N26)");
}

TEST_F(LocalEulerNumberPlugin, RecordsTheNeighbourhoodInTheHistory) {
    for (const std::string id : c_ids) {
        test::CPackHost host(Empty(CSize(3, 3, 3)));
        host.Set("Neighborhood", Text(id));
        EXPECT_EQ(Run(host), "localeulernumber(" + id + ")");
    }
}

TEST_F(LocalEulerNumberPlugin, AnUnknownNeighbourhoodIsQuotedAsGivenAndLeavesNothing) {
    for (const std::string id : {"n6", "N6 ", "N18", "Neigh_6", "N14", "N4"}) {
        test::CPackHost host(Empty(CSize(3, 3, 3)));
        host.Set("Neighborhood", Text(id));
        EXPECT_EQ(Refusal(host), "CLocalEulerNumberPlugin: Invalid neighborhood id '" + id + "'.");
        EXPECT_FALSE(host.Tree().HasEntry("output"));
    }
}

TEST_F(LocalEulerNumberPlugin, WithoutAnyNeighbourhoodNothingIsQuoted) {
    test::CPackHost host(Empty(CSize(3, 3, 3)));
    EXPECT_EQ(Refusal(host), "CLocalEulerNumberPlugin: Invalid neighborhood id ''.");
    EXPECT_FALSE(host.Tree().HasEntry("output"));
}

TEST_F(LocalEulerNumberPlugin, NeitherReportsProgressNorAsksForCancellation) {
    test::HostProgress progress;
    progress.cancelAt = 0;
    const auto figures = Figures(CSize(1, 1, 1), {1}, "N6");
    EXPECT_EQ(figures.figures, Floats{1});
    EXPECT_EQ(progress.steps, 0);
    EXPECT_EQ(progress.questions, 0);
}

// --- result document
// ----------------------------------------------------------------------------------------------

TEST_F(LocalEulerNumberPlugin, TheResultHasTheAttributesOfTheInput) {
    test::CPackHost host(Empty(CSize(3, 4, 5)));
    CQuillonHeaderTools::SetSpacing(host.Image(), 1.0, 2.0, 3.0);
    CQuillonHeaderTools::AddToHistory(host.Image(), "scanned()", 0);
    host.Set("Neighborhood", Text("N6"));
    Run(host);
    double x = 0.0;
    double y = 0.0;
    double z = 0.0;
    ASSERT_TRUE(CQuillonHeaderTools::GetSpacing(host.Result(), x, y, z));
    EXPECT_EQ((std::array{x, y, z}), (std::array{1.0, 2.0, 3.0}));
    EXPECT_EQ(test::HistoryOf(host.Result()),
              (std::vector<std::string>{"scanned()", "localeulernumber(N6)"}));
    EXPECT_EQ(test::HistoryOf(host.Image()), std::vector<std::string>{"scanned()"});
    EXPECT_TRUE(test::RecordedMinMax(host.Image()).empty());
}

TEST_F(LocalEulerNumberPlugin, TheResultTakesTheLabelOfTheDocument) {
    test::CPackHost host(Empty(CSize(3, 3, 3)), "foam.tif");
    host.Set("Neighborhood", Text("N6"));
    Run(host);
    EXPECT_EQ(host.DocumentCount(), 1U);
    EXPECT_EQ(host.ResultLabel(), "foam.tif");
}

TEST_F(LocalEulerNumberPlugin, WithoutALabelTheResultIsCalledAfterThePlugin) {
    test::CPackHost host(Empty(CSize(3, 3, 3)), "");
    host.Set("Neighborhood", Text("N6"));
    Run(host);
    EXPECT_EQ(host.ResultLabel(), "LocalEulerNumber");
    host.Document().SetEntry("label", new CValueLong(3)); // no text
    Run(host);
    EXPECT_EQ(host.ResultLabel(), "LocalEulerNumber");
}

// --- figures
// ----------------------------------------------------------------------------------------------------------

TEST_F(LocalEulerNumberPlugin, AnImageWithoutForegroundHas0EverywhereAndTheLeastPositiveFloatForMaximum) {
    EXPECT_EQ(c_leastPositive, std::numeric_limits<float>::min());
    for (const std::string id : c_ids) {
        const auto [figures, minMax] = Figures(CSize(4, 3, 5), Bytes(60, 0), id);
        EXPECT_EQ(figures, Floats(60, 0));
        EXPECT_EQ(minMax, (std::vector<double>{0.0, double{c_leastPositive}}));
    }
}

TEST_F(LocalEulerNumberPlugin, TheMaximumStaysWhereItStartsIfNoFigureIsPositive) {
    // A cube without its corners and its centre: a net of loops, for N6.
    Bytes pixels(27, 1);
    for (const std::size_t left : {0U, 2U, 6U, 8U, 13U, 18U, 20U, 24U, 26U})
        pixels[left] = 0;
    const auto [figures, minMax] = Figures(CSize(3, 3, 3), pixels, "N6");
    EXPECT_EQ(figures[0], 0); // one loop around the corner that is left out
    EXPECT_EQ(figures[1], -1);
    EXPECT_EQ(figures[4], -3);
    EXPECT_EQ(figures[13], -6);
    EXPECT_EQ(minMax, (std::vector<double>{-6.0, double{c_leastPositive}}));
}

TEST_F(LocalEulerNumberPlugin, AFigureOf1ReplacesTheStartOfTheMaximum) {
    for (const std::string id : c_ids) {
        Bytes pixels(125, 0);
        pixels[62] = 1;
        const auto [figures, minMax] = Figures(CSize(5, 5, 5), pixels, id);
        EXPECT_EQ(minMax, (std::vector<double>{0.0, 1.0}));
        EXPECT_EQ(std::count(figures.begin(), figures.end(), 1.0F), 27);
        EXPECT_EQ(std::count(figures.begin(), figures.end(), 0.0F), 98);
    }
}

TEST_F(LocalEulerNumberPlugin, AnImageOfOnePixelHasItsPixelForFigure) {
    for (const std::string id : c_ids) {
        const auto one = Figures(CSize(1, 1, 1), {1}, id);
        EXPECT_EQ(one.figures, Floats{1});
        EXPECT_EQ(one.minMax, (std::vector<double>{1.0, 1.0}));
        const auto zero = Figures(CSize(1, 1, 1), {0}, id);
        EXPECT_EQ(zero.figures, Floats{0});
        EXPECT_EQ(zero.minMax, (std::vector<double>{0.0, double{c_leastPositive}}));
    }
}

TEST_F(LocalEulerNumberPlugin, NoPixelIsLeftUnset) {
    // A pixel that was left out would be 0.
    for (const std::string id : c_ids) {
        for (const CSize& size : {CSize(1, 1, 7), CSize(7, 1, 1), CSize(1, 7, 1), CSize(70, 5, 3)}) {
            const Bytes solid(static_cast<std::size_t>(size.PixelCount()), 1);
            EXPECT_EQ(Figures(size, solid, id).figures, Floats(solid.size(), 1.0F)) << size.ToString();
        }
    }
}

TEST_F(LocalEulerNumberPlugin, TheCentreIsLeftAsItIs) {
    // A ring around a pixel that is set or not.
    Bytes ring(27, 0);
    for (const std::size_t at : {9U, 10U, 11U, 12U, 14U, 15U, 16U, 17U})
        ring[at] = 1;
    for (const std::string id : c_ids) {
        EXPECT_EQ(Figures(CSize(3, 3, 3), ring, id).figures[13], 0) << id;
        Bytes disk = ring;
        disk[13] = 1;
        EXPECT_EQ(Figures(CSize(3, 3, 3), disk, id).figures[13], 1) << id;
    }
}

TEST_F(LocalEulerNumberPlugin, TheNeighbourhoodDecides) {
    const Bytes falling{1, 0, 0, 1};
    const Bytes rising{0, 1, 1, 0};
    const auto figure = [this](const Bytes& pixels, const std::string& id) {
        return Figures(CSize(2, 2, 1), pixels, id).figures[0];
    };
    EXPECT_EQ(figure(falling, "N6"), 2);
    EXPECT_EQ(figure(falling, "N14_1"), 1);
    EXPECT_EQ(figure(falling, "N14_2"), 2);
    EXPECT_EQ(figure(falling, "N26"), 1);
    EXPECT_EQ(figure(rising, "N6"), 2);
    EXPECT_EQ(figure(rising, "N14_1"), 2);
    EXPECT_EQ(figure(rising, "N14_2"), 1);
    EXPECT_EQ(figure(rising, "N26"), 1);
}

TEST_F(LocalEulerNumberPlugin, TheInputStays) {
    const Bytes pixels{1, 0, 7, 1, 1, 0, 0, 255};
    test::CPackHost host(ImageOf(IMAGE_BINARY_FG, CSize(2, 2, 2), pixels));
    host.Set("Neighborhood", Text("N6"));
    Run(host);
    EXPECT_EQ(PixelsOf<unsigned char>(host.Image()), pixels);
    EXPECT_TRUE(host.Image().Attributes().IsEmpty());
}

} // namespace
