#include "support/PluginTest.h"
#include "support/TestImage.h"

#include <sorblib2core/CValueLong.h>
#include <sorblib2core/UnwrapPointer.h>
#include <sorblib2image/CQuillonHeaderTools.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <memory>
#include <string>
#include <vector>

namespace {

using namespace ORVEN;
using test::ImageOf;
using test::PixelsOf;
using test::Text;
using Bytes = std::vector<unsigned char>;

constexpr std::array c_ids{"N6", "N26", "N14_1", "N14_2"};

std::unique_ptr<CImage> Binary(const CSize& size, const Bytes& pixels) {
    return ImageOf(IMAGE_BINARY_FG, size, pixels);
}

std::unique_ptr<CImage> Empty(const CSize& size) {
    return std::make_unique<CImage>(IMAGE_BINARY_FG, size, CSize(0, 0, 0));
}

/// 3 x 3 x 3 pixels around one, which is set and has these neighbours, in raster order.
Bytes Cube(const std::vector<std::size_t>& others) {
    Bytes pixels(27, 0);
    pixels[13] = 1;
    for (const std::size_t other : others)
        pixels[other] = 1;
    return pixels;
}

class MarkSimplePointsPlugin : public test::PluginTest {
protected:
    MarkSimplePointsPlugin()
        : PluginTest("MarkSimplePoints") {}

    /// The result's pixels.
    Bytes Marked(const CSize& size, const Bytes& pixels, const std::string& id) const {
        test::CPackHost host(Binary(size, pixels));
        host.Set("Neighborhood", Text(id));
        Run(host);
        EXPECT_EQ(host.Result().Type(), IMAGE_GREY_8);
        EXPECT_EQ(host.Result().Size(), size);
        return PixelsOf<unsigned char>(host.Result());
    }

    /// What becomes of the centre of a cube.
    int MarkOf(const std::vector<std::size_t>& others, const std::string& id) const {
        return Marked(CSize(3, 3, 3), Cube(others), id)[13];
    }
};

// --- frame
// --------------------------------------------------------------------------------------------------------

TEST_F(MarkSimplePointsPlugin, DoesNothingForAnImageOfAnotherType) {
    for (const auto& type : {IMAGE_BINARY_BG, IMAGE_GREY_8, IMAGE_GREY_F}) {
        test::CPackHost host(std::make_unique<CImage>(type, CSize(3, 3, 3), CSize(0, 0, 0)));
        host.Set("Neighborhood", Text("N6"));
        EXPECT_EQ(Refusal(host), "nothing");
        EXPECT_EQ(host.DocumentCount(), 0U);
    }
}

TEST_F(MarkSimplePointsPlugin, ConfigureAndResetChangeNothing) {
    test::CPackHost host(Empty(CSize(3, 3, 3)));
    host.Set("Neighborhood", Text("N14_2"));
    m_plugin->UpdateParameters(host.Tree());
    CValueMap settings;
    m_plugin->Configure(nullptr, settings);
    m_plugin->Reset();
    host.Tree().RemoveEntry("parameters");
    EXPECT_EQ(Run(host), "simplepoints(N14_2)");
}

TEST_F(MarkSimplePointsPlugin, KeepsTheNeighbourhoodWhenNoneIsGivenOrItIsNoText) {
    test::CPackHost host(Empty(CSize(3, 3, 3)));
    host.Set("Neighborhood", Text("N26"));
    EXPECT_EQ(Run(host), "simplepoints(N26)");
    host.Set("Neighborhood", new CValueLong(6));
    EXPECT_EQ(Run(host), "simplepoints(N26)");
    host.Tree().RemoveEntry("parameters");
    EXPECT_EQ(Run(host), "simplepoints(N26)");
}

TEST_F(MarkSimplePointsPlugin, RecordsTheNeighbourhoodInTheHistory) {
    for (const std::string id : c_ids) {
        test::CPackHost host(Empty(CSize(3, 3, 3)));
        host.Set("Neighborhood", Text(id));
        EXPECT_EQ(Run(host), "simplepoints(" + id + ")");
    }
}

TEST_F(MarkSimplePointsPlugin, AnUnknownNeighbourhoodIsQuotedAsGivenAndLeavesNothing) {
    for (const std::string id : {"n6", "N6 ", "N18", "Neigh_6", "N14", "N4"}) {
        test::CPackHost host(Empty(CSize(3, 3, 3)));
        host.Set("Neighborhood", Text(id));
        EXPECT_EQ(Refusal(host), "CMarkSimplePointsPlugin: Invalid neighborhood id '" + id + "'.");
        EXPECT_FALSE(host.Tree().HasEntry("output"));
    }
}

TEST_F(MarkSimplePointsPlugin, WithoutAnyNeighbourhoodNothingIsQuoted) {
    test::CPackHost host(Empty(CSize(3, 3, 3)));
    EXPECT_EQ(Refusal(host), "CMarkSimplePointsPlugin: Invalid neighborhood id ''.");
    EXPECT_FALSE(host.Tree().HasEntry("output"));
}

TEST_F(MarkSimplePointsPlugin, FindsOutAboutTheNeighbourhoodAfterTheCopy) {
    const test::HostProgress progress;
    test::CPackHost host(Empty(CSize(3, 3, 3)));
    EXPECT_NE(Refusal(host), "nothing");
    EXPECT_EQ(progress.steps, 27);
}

// --- result document
// ----------------------------------------------------------------------------------------------

TEST_F(MarkSimplePointsPlugin, TheResultHasTheAttributesOfTheInputAnd255Labels) {
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
    EXPECT_EQ(test::HistoryOf(host.Result()), (std::vector<std::string>{"scanned()", "simplepoints(N6)"}));
    std::size_t count = 0;
    ASSERT_TRUE(CQuillonHeaderTools::GetNumberOfLabels(host.Result(), count));
    EXPECT_EQ(count, 255U);
    EXPECT_EQ(test::HistoryOf(host.Image()), std::vector<std::string>{"scanned()"});
}

TEST_F(MarkSimplePointsPlugin, TheResultTakesTheLabelOfTheDocument) {
    test::CPackHost host(Empty(CSize(3, 3, 3)), "foam.tif");
    host.Set("Neighborhood", Text("N6"));
    Run(host);
    EXPECT_EQ(host.DocumentCount(), 1U);
    EXPECT_EQ(host.ResultLabel(), "foam.tif");
}

TEST_F(MarkSimplePointsPlugin, WithoutALabelTheResultIsCalledAfterThePlugin) {
    test::CPackHost host(Empty(CSize(3, 3, 3)), "");
    host.Set("Neighborhood", Text("N6"));
    Run(host);
    EXPECT_EQ(host.ResultLabel(), "MarkSimplePoints");
    host.Document().SetEntry("label", new CValueLong(3)); // no text
    Run(host);
    EXPECT_EQ(host.ResultLabel(), "MarkSimplePoints");
}

TEST_F(MarkSimplePointsPlugin, ReportsTheCopyAloneAsProgress) {
    const test::HostProgress progress;
    test::CPackHost host(Binary(CSize(3, 3, 3), Cube({12})));
    host.Set("Neighborhood", Text("N6"));
    Run(host);
    EXPECT_EQ(progress.steps, 27);
    EXPECT_EQ(progress.finished, 1);
}

TEST_F(MarkSimplePointsPlugin, ACancelledCopyIsDeliveredWithTheRest0) {
    test::HostProgress progress;
    progress.cancelAt = 6; // in the second of three planes
    test::CPackHost host(Binary(CSize(3, 3, 3), Bytes(27, 1)));
    host.Set("Neighborhood", Text("N6"));
    EXPECT_EQ(Run(host), "simplepoints(N6)");
    EXPECT_TRUE(progress.wasCancelled);
    const auto pixels = PixelsOf<unsigned char>(host.Result());
    EXPECT_EQ(pixels.front(), 255); // a corner, in surroundings that the cancelling leaves alone
    EXPECT_EQ(Bytes(pixels.end() - 9, pixels.end()), Bytes(9, 0));
}

// --- marks
// ------------------------------------------------------------------------------------------------------------

TEST_F(MarkSimplePointsPlugin, AnIsolatedPixelStays1) {
    for (const std::string id : c_ids) {
        EXPECT_EQ(MarkOf({}, id), 1) << id;
        EXPECT_EQ(Marked(CSize(1, 1, 1), {1}, id), Bytes{1}) << id;
    }
}

TEST_F(MarkSimplePointsPlugin, APixelWithAll26NeighboursStays1) {
    std::vector<std::size_t> all;
    for (std::size_t cell = 0; cell < 27; ++cell)
        all.push_back(cell);
    for (const std::string id : c_ids)
        EXPECT_EQ(MarkOf(all, id), 1) << id;
}

TEST_F(MarkSimplePointsPlugin, InASolidBallOnlyTheSurfaceIsMarkedAndTheBackgroundStays0) {
    const CSize size(13, 13, 13);
    const auto isInside = [](std::int64_t x, std::int64_t y, std::int64_t z) {
        return (x - 6) * (x - 6) + (y - 6) * (y - 6) + (z - 6) * (z - 6) <= 20;
    };
    Bytes ball;
    for (std::int64_t z = 0; z < 13; ++z) {
        for (std::int64_t y = 0; y < 13; ++y) {
            for (std::int64_t x = 0; x < 13; ++x)
                ball.push_back(isInside(x, y, z) ? 1 : 0);
        }
    }
    for (const std::string id : c_ids) {
        const Bytes marked = Marked(size, ball, id);
        EXPECT_GT(std::ranges::count(marked, 255), 50) << id;
        for (std::int64_t index = 0; index < 13 * 13 * 13; ++index) {
            const std::int64_t x = index % 13;
            const std::int64_t y = index / 13 % 13;
            const std::int64_t z = index / 169;
            const auto i = static_cast<std::size_t>(index);
            bool isInterior = true;
            for (std::int64_t step = 0; step < 27; ++step)
                isInterior = isInterior && isInside(x + step % 3 - 1, y + step / 3 % 3 - 1, z + step / 9 - 1);
            if (isInterior) {
                EXPECT_EQ(marked[i], 1) << id;
            }
            if (!isInside(x, y, z)) {
                EXPECT_EQ(marked[i], 0) << id;
            }
        }
    }
}

TEST_F(MarkSimplePointsPlugin, AnInputWithoutForegroundYieldsZeros) {
    for (const std::string id : c_ids) {
        test::CPackHost host(Empty(CSize(5, 4, 3)));
        host.Set("Neighborhood", Text(id));
        Run(host);
        EXPECT_EQ(host.Result().Type(), IMAGE_GREY_8);
        EXPECT_EQ(PixelsOf<unsigned char>(host.Result()), Bytes(60, 0));
        std::size_t count = 0;
        ASSERT_TRUE(CQuillonHeaderTools::GetNumberOfLabels(host.Result(), count));
        EXPECT_EQ(count, 255U);
    }
}

TEST_F(MarkSimplePointsPlugin, ForegroundBytesOtherThan1AreCopiedAndNotExamined) {
    for (const unsigned char byte : Bytes{2, 77, 254, 255}) {
        Bytes pixels = Cube({12});
        for (unsigned char& pixel : pixels)
            pixel = pixel != 0 ? byte : 0;
        for (const std::string id : c_ids)
            EXPECT_EQ(Marked(CSize(3, 3, 3), pixels, id), pixels) << id;
        // They are foreground for a 1 beside them all the same.
        pixels[13] = 1;
        for (const std::string id : c_ids)
            EXPECT_EQ(Marked(CSize(3, 3, 3), pixels, id)[13], 255) << id;
    }
}

TEST_F(MarkSimplePointsPlugin, TwoNeighbouringSimplePointsAreBothMarked) {
    for (const std::string id : c_ids) {
        const Bytes marked = Marked(CSize(3, 3, 3), Cube({12}), id);
        EXPECT_EQ(marked[12], 255) << id;
        EXPECT_EQ(marked[13], 255) << id;
        EXPECT_EQ(Marked(CSize(2, 1, 1), {1, 1}, id), (Bytes{255, 255})) << id;
    }
}

TEST_F(MarkSimplePointsPlugin, APixelThatAloneConnectsTwoOthersStays1) {
    for (const std::string id : c_ids) {
        EXPECT_EQ(Marked(CSize(3, 1, 1), {1, 1, 1}, id), (Bytes{255, 1, 255})) << id;
        EXPECT_EQ(Marked(CSize(1, 3, 1), {1, 1, 1}, id), (Bytes{255, 1, 255})) << id;
        EXPECT_EQ(Marked(CSize(1, 1, 3), {1, 1, 1}, id), (Bytes{255, 1, 255})) << id;
    }
}

TEST_F(MarkSimplePointsPlugin, BeyondTheBorderIsBackgroundSoThatASolidIsPeeledThereToo) {
    // All but the centre, which has no background around it.
    Bytes expected(27, 255);
    expected[13] = 1;
    for (const std::string id : c_ids)
        EXPECT_EQ(Marked(CSize(3, 3, 3), Bytes(27, 1), id), expected) << id;
    EXPECT_EQ(Marked(CSize(2, 2, 2), Bytes(8, 1), "N6"), Bytes(8, 255));
}

TEST_F(MarkSimplePointsPlugin, CellsThatNothingConnectsCountAsConnectedUnlessTheyShareARow) {
    // A pixel that hangs on the one at (1, 2, 1) and can go. Two more, at corners of the cube, touch nothing:
    // in rows of their own they are seeds, in one row the second is not.
    EXPECT_EQ(MarkOf({16}, "N6"), 255);
    EXPECT_EQ(MarkOf({16, 20, 26}, "N6"), 255);
    EXPECT_EQ(MarkOf({16, 24, 26}, "N6"), 1);
}

TEST_F(MarkSimplePointsPlugin, TheNeighbourhoodDecides) {
    // A diagonal neighbour alone: connected to the pixel or not.
    EXPECT_EQ(MarkOf({9}, "N6"), 1);
    EXPECT_EQ(MarkOf({9}, "N26"), 255);
    EXPECT_EQ(MarkOf({9}, "N14_1"), 255);
    EXPECT_EQ(MarkOf({9}, "N14_2"), 1);
    EXPECT_EQ(MarkOf({11}, "N6"), 1);
    EXPECT_EQ(MarkOf({11}, "N26"), 255);
    EXPECT_EQ(MarkOf({11}, "N14_1"), 1);
    EXPECT_EQ(MarkOf({11}, "N14_2"), 255);
}

TEST_F(MarkSimplePointsPlugin, TheInputStaysAndTwoRunsGiveTheSame) {
    const Bytes pixels = Cube({3, 4, 12, 15, 22});
    test::CPackHost host(Binary(CSize(3, 3, 3), pixels));
    host.Set("Neighborhood", Text("N26"));
    Run(host);
    const Bytes first = PixelsOf<unsigned char>(host.Result());
    Run(host);
    EXPECT_EQ(PixelsOf<unsigned char>(host.Result()), first);
    EXPECT_EQ(PixelsOf<unsigned char>(host.Image()), pixels);
    EXPECT_TRUE(host.Image().Attributes().IsEmpty());
}

} // namespace
