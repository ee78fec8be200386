#include "distance/CLinearDistanceTransformation.h"
#include "support/CRandomSeeds.h"
#include "support/PluginTest.h"
#include "support/TestImage.h"

#include <sorblib2core/CExBadParam.h>
#include <sorblib2core/CValueBool.h>
#include <sorblib2core/CValueDouble.h>
#include <sorblib2core/CValueLong.h>
#include <sorblib2core/CValueString.h>
#include <sorblib2image/CQuillonHeaderTools.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <memory>
#include <random>
#include <string>
#include <vector>

namespace {

using namespace ORVEN;
using test::ImageOf;
using test::PixelsOf;
using test::Text;
using Bytes = std::vector<unsigned char>;
using Floats = std::vector<float>;

std::unique_ptr<CImage> Binary(const CSize& size, const Bytes& pixels = {}) {
    return ImageOf(IMAGE_BINARY_FG, size, pixels);
}

class LinearDtPlugin : public test::PluginTest {
protected:
    LinearDtPlugin()
        : PluginTest("LinearDt") {}

    /// The map of a row of pixels along x.
    Floats Row(const Bytes& pixels, bool onForeground, bool isEmbedded = false) const {
        test::CPackHost host(Binary(CSize(static_cast<std::int64_t>(pixels.size()), 1), pixels));
        host.Set("compute on foreground", new CValueBool(onForeground));
        host.Set("embedded edge treatment", new CValueBool(isEmbedded));
        Run(host);
        return PixelsOf<float>(host.Result());
    }
};

// --- frame
// --------------------------------------------------------------------------------------------------------

TEST_F(LinearDtPlugin, ADefaultObjectMeasuresExactDistancesInTheBackgroundAlongX) {
    test::CPackHost host(Binary(CSize(5, 2), {0, 0, 1, 0, 1, 1, 0, 0, 0, 0}));
    EXPECT_EQ(Run(host), "LinearDt(x,exact,bg,NET)");
    EXPECT_EQ(host.Result().Type(), IMAGE_GREY_F);
    EXPECT_EQ(PixelsOf<float>(host.Result()), (Floats{2, 1, 0, 1, 0, 0, 1, 2, 3, 4}));
}

// --- parameters
// ---------------------------------------------------------------------------------------------------

TEST_F(LinearDtPlugin, TheFirstLetterOfTheDirectionSelectsTheAxis) {
    test::CPackHost host(Binary(CSize(2, 2, 2)));
    const auto direction = [&](const std::string& text) {
        host.Set("direction", Text(text));
        return Run(host);
    };
    for (const char* text : {"x", "X", "x-axis", "Xyz"})
        EXPECT_EQ(direction(text), "LinearDt(x,exact,bg,NET)") << text;
    for (const char* text : {"y", "Y", "y-axis", "Yak"})
        EXPECT_EQ(direction(text), "LinearDt(y,exact,bg,NET)") << text;
    for (const char* text : {"z", "Z", "z-axis", "ZX"})
        EXPECT_EQ(direction(text), "LinearDt(z,exact,bg,NET)") << text;
    for (const char* text : {"", "q", "0", "W", "w", "[", "{", " y", "\xC3\xBF"}) {
        direction("z");
        EXPECT_EQ(direction(text), "LinearDt(x,exact,bg,NET)") << text;
    }
}

TEST_F(LinearDtPlugin, TheHistoryListsAllParameters) {
    test::CPackHost host(Binary(CSize(2, 2, 2)));
    host.Set("direction", Text("y"));
    host.Set("compute on foreground", new CValueBool(true));
    host.Set("embedded edge treatment", new CValueBool(true));
    host.Set("compute exact values", new CValueBool(false));
    EXPECT_EQ(Run(host), "LinearDt(y,squared,fg,EMB)");
}

TEST_F(LinearDtPlugin, ParametersThatAreMissingOrOfAnotherKindKeepTheirOldValues) {
    test::CPackHost host(Binary(CSize(2, 2, 2)));
    host.Set("direction", Text("z"));
    host.Set("compute on foreground", new CValueBool(true));
    Run(host);
    host.Tree().RemoveEntry("parameters");
    EXPECT_EQ(Run(host), "LinearDt(z,exact,fg,NET)");
    host.Set("direction", new CValueLong('y'));
    for (const char* key : {"compute on foreground", "embedded edge treatment", "compute exact values"})
        host.Set(key, new CValueLong(0));
    EXPECT_EQ(Run(host), "LinearDt(z,exact,fg,NET)");
    host.Tree().SetEntry("parameters", Text("direction=y"));
    EXPECT_EQ(Run(host), "LinearDt(z,exact,fg,NET)");
}

// --- distances
// ----------------------------------------------------------------------------------------------------

TEST_F(LinearDtPlugin, ThePhaseThatIsNotMeasuredHolds0) {
    EXPECT_EQ(Row({0, 1, 1, 1, 0}, true), (Floats{0, 1, 2, 1, 0}));
    EXPECT_EQ(Row({0, 1, 1, 1, 0}, false), (Floats{1, 0, 0, 0, 1}));
    EXPECT_EQ(Row({1, 0, 0, 0, 1}, false), (Floats{0, 1, 2, 1, 0}));
}

TEST_F(LinearDtPlugin, ALineWithoutASeedIs0) {
    EXPECT_EQ(Row({1, 1, 1, 1, 1}, true), Floats(5, 0));
    EXPECT_EQ(Row({0, 0, 0}, false), Floats(3, 0));
}

TEST_F(LinearDtPlugin, EmbeddedThePixelsBeyondBothEndsAreSeeds) {
    EXPECT_EQ(Row({1, 1, 1, 1, 1}, true, true), (Floats{1, 2, 3, 2, 1}));
    EXPECT_EQ(Row({0, 0, 0}, false, true), (Floats{1, 2, 1}));
    EXPECT_EQ(Row({0, 0, 0, 0, 1, 0}, false, true), (Floats{1, 2, 2, 1, 0, 1}));
}

TEST_F(LinearDtPlugin, ADirectionThatTheImageLacksYields0Everywhere) {
    test::CPackHost host(Binary(CSize(3, 2), {0, 1, 0, 1, 1, 0}));
    CQuillonHeaderTools::SetSpacing(host.Image(), 1, 2, std::numeric_limits<double>::quiet_NaN());
    for (const bool isEmbedded : {false, true}) {
        host.Set("direction", Text("z"));
        host.Set("embedded edge treatment", new CValueBool(isEmbedded));
        Run(host);
        EXPECT_EQ(PixelsOf<float>(host.Result()), Floats(6, 0));
        EXPECT_EQ(test::RecordedMinMax(host.Result()), (std::vector<double>{0, 0}));
    }
}

TEST_F(LinearDtPlugin, EqualSpacingIsTheUnitOfTheDistances) {
    test::CPackHost host(Binary(CSize(3, 1, 1), {1, 0, 0}));
    CQuillonHeaderTools::SetSpacing(host.Image(), 2, 2, 2);
    Run(host);
    EXPECT_EQ(PixelsOf<float>(host.Result()), (Floats{0, 2, 4}));
    host.Set("compute exact values", new CValueBool(false));
    Run(host);
    EXPECT_EQ(PixelsOf<float>(host.Result()), (Floats{0, 4, 16}));
}

TEST_F(LinearDtPlugin, UnequalSpacingCountsAlongTheDirectionOnly) {
    test::CPackHost host(Binary(CSize(2, 3, 1), {1, 1, 0, 0, 0, 0}));
    CQuillonHeaderTools::SetSpacing(host.Image(), 1, 2, 3);
    host.Set("direction", Text("y"));
    host.Set("compute exact values", new CValueBool(false));
    Run(host);
    EXPECT_EQ(PixelsOf<float>(host.Result()), (Floats{0, 0, 4, 4, 16, 16}));
}

/// The definition: each pixel against all pixels of its line.
Floats BruteForce(const CImage& binary, int axis, bool onForeground, bool squared, bool isEmbedded,
                  double pixelLength) {
    const CImageView<const unsigned char> view(binary);
    const auto factor = static_cast<float>(pixelLength * pixelLength);
    Floats distances;
    for (std::int64_t z = 0; z < view.nz; ++z) {
        for (std::int64_t y = 0; y < view.ny; ++y) {
            for (std::int64_t x = 0; x < view.nx; ++x) {
                const std::array extents{view.nx, view.ny, view.nz};
                const auto axisIndex = static_cast<std::size_t>(axis);
                std::array<std::int64_t, 3> place{x, y, z};
                const std::int64_t here = place[axisIndex];
                std::int64_t nearest = std::numeric_limits<std::int64_t>::max();
                if (isEmbedded)
                    nearest = std::min(here + 1, extents[axisIndex] - here);
                for (std::int64_t other = 0; other < extents[axisIndex]; ++other) {
                    place[axisIndex] = other;
                    const bool isObject = view.Row(place[1], place[2])[place[0]] != 0;
                    if (isObject != onForeground)
                        nearest = std::min(nearest, std::abs(other - here));
                }
                if (nearest == std::numeric_limits<std::int64_t>::max())
                    nearest = 0;
                const float square = factor * static_cast<float>(nearest * nearest);
                distances.push_back(squared ? square
                                            : static_cast<float>(std::sqrt(static_cast<double>(square))));
            }
        }
    }
    return distances;
}

TEST_F(LinearDtPlugin, EqualsTheDefinitionOnRandomImagesInAllModes) {
    for (const unsigned seed : test::CRandomSeeds(0, 400)) {
        std::mt19937 random(seed);
        const auto extent = [&random] { return std::uniform_int_distribution<std::int64_t>(1, 18)(random); };
        const auto coin = [&random] { return random() % 2 == 0; };
        const bool isFlat = coin();
        const CSize size = isFlat ? CSize(extent(), extent()) : CSize(extent(), extent(), extent());
        test::CPackHost host(Binary(size));
        const CImageView<unsigned char> view(host.Image());
        const unsigned sparsity = 2 + static_cast<unsigned>(random() % 8);
        for (std::int64_t z = 0; z < view.nz; ++z) {
            for (std::int64_t y = 0; y < view.ny; ++y) {
                for (std::int64_t x = 0; x < view.nx; ++x)
                    view.Row(y, z)[x] = random() % sparsity == 0 ? 1 : 0;
            }
        }
        const std::array spacing{0.5, 3.0, 0.3};
        const bool hasSpacing = coin();
        if (hasSpacing)
            CQuillonHeaderTools::SetSpacing(host.Image(), spacing[0], spacing[1], spacing[2]);
        const int axis = static_cast<int>(random() % (isFlat ? 2 : 3));
        const bool onForeground = coin();
        const bool isExact = coin();
        const bool isEmbedded = coin();
        host.Set("direction", Text(std::string(1, static_cast<char>('x' + axis))));
        host.Set("compute on foreground", new CValueBool(onForeground));
        host.Set("compute exact values", new CValueBool(isExact));
        host.Set("embedded edge treatment", new CValueBool(isEmbedded));
        const std::string history = Run(host);
        const double pixelLength = hasSpacing ? spacing[static_cast<std::size_t>(axis)] : 1.0;
        ASSERT_EQ(PixelsOf<float>(host.Result()),
                  BruteForce(host.Image(), axis, onForeground, !isExact, isEmbedded, pixelLength))
            << size.ToString() << ' ' << history;
    }
}

TEST_F(LinearDtPlugin, EmptyImagesAndSinglePixelsPass) {
    for (const CSize& size : {CSize(0, 3, 2), CSize(3, 0, 2), CSize(3, 2, 0), CSize(0, 0), CSize(1, 1, 1)}) {
        for (const char* direction : {"x", "y", "z"}) {
            test::CPackHost host(Binary(size));
            host.Set("direction", Text(direction));
            Run(host);
            EXPECT_EQ(host.Result().Size(), size);
            EXPECT_EQ(PixelsOf<float>(host.Result()), Floats(static_cast<std::size_t>(size.PixelCount()), 0));
        }
    }
}

TEST_F(LinearDtPlugin, AnExtentOf65535IsRefusedWithAMaximumOfMinus1) {
    const auto refusal = [this](const CSize& size) {
        test::CPackHost host(Binary(size));
        const std::string text = Refusal(host);
        EXPECT_FALSE(host.Tree().HasEntry("output"));
        return text;
    };
    const std::string source = "ORVEN::CLinearDistanceTransformation::CalculateDistanceMap: ";
    EXPECT_EQ(refusal(CSize(65535, 1)),
              source + "Binary image exceeds size in direction '0' with value '65535' (max is '-1').");
    EXPECT_EQ(m_standardError, "VoronoiEdtPlugin caught an ORVEN::CException: Binary image exceeds size in "
                               "direction '0' with value '65535' (max is '-1').\n");
    EXPECT_EQ(refusal(CSize(1, 65536)),
              source + "Binary image exceeds size in direction '1' with value '65536' (max is '-1').");
    EXPECT_EQ(refusal(CSize(1, 1, 65535)),
              source + "Binary image exceeds size in direction '2' with value '65535' (max is '-1').");
}

TEST_F(LinearDtPlugin, AnExtentOf65534IsMeasuredToItsEnd) {
    test::CPackHost host(Binary(CSize(1, 65534)));
    CImageView<unsigned char>(host.Image()).Row(0, 0)[0] = 1;
    host.Set("direction", Text("y"));
    Run(host);
    const Floats distances = PixelsOf<float>(host.Result());
    for (std::size_t i = 0; i < distances.size(); ++i)
        ASSERT_EQ(distances[i], static_cast<float>(i));
}

TEST_F(LinearDtPlugin, SpacingThatIsNoLengthRunsThrough) {
    constexpr double nan = std::numeric_limits<double>::quiet_NaN();
    constexpr double infinity = std::numeric_limits<double>::infinity();
    for (const double length : {0.0, -2.0, 1e-200, 1e200, infinity, nan}) {
        test::CPackHost host(Binary(CSize(3, 1), {1, 0, 0}));
        CQuillonHeaderTools::SetSpacing(host.Image(), length, 1, 1);
        Run(host);
        const Floats distances = PixelsOf<float>(host.Result());
        EXPECT_TRUE(std::ranges::all_of(distances, [](float d) { return d >= 0; })) << length;
    }
}

// --- the result
// ---------------------------------------------------------------------------------------------------

TEST_F(LinearDtPlugin, TheResultHasTheSpacingOfTheInputExtremaAndGreatestDistance) {
    test::CPackHost host(Binary(CSize(4, 1), {0, 0, 0, 1}));
    CQuillonHeaderTools::SetSpacing(host.Image(), 0.5, 2, 3);
    CQuillonHeaderTools::SetMetaInfo(host.Image(), "sample", CValueDouble(7));
    CQuillonHeaderTools::AddToHistory(host.Image(), "earlier", 0);
    Run(host);
    double x = 0;
    double y = 0;
    double z = 0;
    ASSERT_TRUE(CQuillonHeaderTools::GetSpacing(host.Result(), x, y, z));
    EXPECT_EQ(x, 0.5);
    EXPECT_EQ(y, 2);
    EXPECT_EQ(z, 3);
    EXPECT_EQ(test::RecordedMinMax(host.Result()), (std::vector<double>{0, 1.5}));
    double greatest = 0;
    ASSERT_TRUE(CQuillonHeaderTools::GetMaxDistance(host.Result(), greatest));
    EXPECT_EQ(greatest, 1.5);
    CValueDouble sample(0);
    EXPECT_TRUE(CQuillonHeaderTools::GetMetaInfo(host.Result(), "sample", sample));
    EXPECT_EQ(test::HistoryOf(host.Result()),
              (std::vector<std::string>{"earlier", "LinearDt(x,exact,bg,NET)"}));
}

TEST_F(LinearDtPlugin, WithoutSpacingTheResultHas1InEachDirection) {
    test::CPackHost host(Binary(CSize(2, 2)));
    Run(host);
    double x = 0;
    double y = 0;
    double z = 0;
    ASSERT_TRUE(CQuillonHeaderTools::GetSpacing(host.Result(), x, y, z));
    EXPECT_EQ(x + y + z, 3);
}

TEST_F(LinearDtPlugin, TheLabelIsThatOfTheDocumentOrVoronoiEdt) {
    test::CPackHost labelled(Binary(CSize(2, 2)), "pores");
    Run(labelled);
    EXPECT_EQ(labelled.ResultLabel(), "pores");
    test::CPackHost bare(Binary(CSize(2, 2)), "");
    Run(bare);
    EXPECT_EQ(bare.ResultLabel(), "Voronoi EDT");
}

TEST_F(LinearDtPlugin, ReportsItsPhasesAndWritesTheDebuggingLinesOfItsTraversals) {
    test::CPackHost host(Binary(CSize(2, 2)));
    test::HostProgress progress;
    const test::CapturedOutput output;
    host.Run(*m_plugin);
    EXPECT_EQ(progress.texts,
              (std::vector<std::string>{"Initializing Distance Map",
                                        "ORVEN::Impl::VisitorHelper<0>::VisitImageData processing...",
                                        "Square Rooting Distance Map", "Finding extremal values"}));
    const std::string begin = "DEBUG************* ";
    const std::string initialize = "visitor=N5ORVEN12_GLOBAL__N_114CInitDistImageIfEE image=N5ORVEN6IImageE ";
    EXPECT_EQ(output.Text(),
              begin + "access0 is readwrite " + initialize + "pixeltype=f\n" + begin +
                  "access1 is readonly " + initialize + "pixeltype=h\n" + begin +
                  "access is readwrite visitor=N5ORVEN12_GLOBAL__N_132CorrectInitAndDoIsotropicScalingE "
                  "image=N5ORVEN6IImageE pixeltype=f\n" +
                  begin +
                  "access is readwrite visitor=N5ORVEN8visitors5CRootIffEE image=N5ORVEN6IImageE "
                  "pixeltype=f\n" +
                  begin +
                  "access is readonly visitor=N5ORVEN8visitors15CAnalyzerMinMaxIfEE image=N5ORVEN6IImageE "
                  "pixeltype=f\n");
}

TEST_F(LinearDtPlugin, SquaredValuesAreNotRooted) {
    test::CPackHost host(Binary(CSize(2, 2)));
    host.Set("compute exact values", new CValueBool(false));
    test::HostProgress progress;
    Run(host);
    EXPECT_EQ(progress.texts.size(), 3U);
    EXPECT_EQ(progress.texts.back(), "Finding extremal values");
}

// --- the algorithm on images that the plug-in does not make
// -------------------------------------------------------

/// What the algorithm raises for these images, with its source in front.
std::string Refusal(CImage& distance, const CImage& binary) {
    const test::CapturedOutput silence;
    CLinearDistanceTransformation algorithm(nullptr, nullptr);
    try {
        algorithm.CalculateDistanceMap(distance, binary, 'x', false, false, false);
    } catch (const CException& raised) {
        return raised.Message();
    }
    return "nothing";
}

TEST(CLinearDistanceTransformation, ChecksTypesThenSizesThenExtents) {
    CImage wrongDistance(IMAGE_GREY_16, CSize(2, 2), CSize(0, 0, 0));
    CImage distance(IMAGE_GREY_F, CSize(2, 2), CSize(0, 0, 0));
    const CImage wrongBinary(IMAGE_GREY_8, CSize(70000, 1), CSize(0, 0, 0));
    const auto large = Binary(CSize(70000, 1));
    EXPECT_EQ(Refusal(wrongDistance, wrongBinary),
              "Distance image is not of type 'IMAGE_GREY_F' or 'IMAGE_GREY_32' but 'IMAGE_GREY_16'.");
    EXPECT_EQ(Refusal(distance, wrongBinary),
              "Binary image is not of type 'IMAGE_MONO_BINARY' but 'IMAGE_GREY_8'.");
    EXPECT_EQ(Refusal(distance, *large),
              "Binary image size and distance image size differ: (70000,1) vs (2,2)");
    EXPECT_TRUE(distance.Attributes().IsEmpty());
}

TEST(CLinearDistanceTransformation, TheSpacingIsThereBeforeAnExtentIsRefused) {
    const auto binary = Binary(CSize(65535, 1));
    CQuillonHeaderTools::SetSpacing(*binary, 4, 5, 6);
    CImage distance(IMAGE_GREY_F, CSize(65535, 1), CSize(0, 0, 0));
    EXPECT_EQ(Refusal(distance, *binary),
              "Binary image exceeds size in direction '0' with value '65535' (max is '-1').");
    double x = 0;
    double y = 0;
    double z = 0;
    ASSERT_TRUE(CQuillonHeaderTools::GetSpacing(distance, x, y, z));
    EXPECT_EQ(y, 5);
}

TEST(CLinearDistanceTransformation, A32BitMapIsTransformedAndThenRefusedByTheTypedTraversal) {
    const auto binary = Binary(CSize(4, 2), {0, 0, 1, 0, 0, 0, 0, 0});
    CImage distance(IMAGE_GREY_32, CSize(4, 2), CSize(0, 0, 0));
    EXPECT_EQ(Refusal(distance, *binary),
              "input image: Pixel type 'f' and image type 'f' do not match -- unregistered image type?.");
    constexpr unsigned none = 0xFFFFFFFF;
    EXPECT_EQ(PixelsOf<unsigned>(distance), (std::vector<unsigned>{4, 1, 0, 1, none, none, none, none}));
}

TEST(CLinearDistanceTransformation, AnyOtherDirectionRunsNoLine) {
    const auto binary = Binary(CSize(3, 1), {1, 0, 0});
    for (const char direction : {'w', '{', 'X', '\0'}) {
        const test::CapturedOutput silence;
        CImage distance(IMAGE_GREY_F, CSize(3, 1), CSize(0, 0, 0));
        CLinearDistanceTransformation(nullptr, nullptr)
            .CalculateDistanceMap(distance, *binary, direction, false, false, false);
        EXPECT_EQ(PixelsOf<float>(distance), Floats(3, 0));
    }
}

TEST(CLinearDistanceTransformation, AcceptsOnly0And1AsSeeds) {
    const test::CapturedOutput silence;
    const auto binary = Binary(CSize(3, 1), {1, 7, 0});
    CImage distance(IMAGE_GREY_F, CSize(3, 1), CSize(0, 0, 0));
    CLinearDistanceTransformation algorithm(nullptr, nullptr);
    algorithm.CalculateDistanceMap(distance, *binary, 'x', false, false, false);
    EXPECT_EQ(PixelsOf<float>(distance), (Floats{0, 1, 2}));
    algorithm.CalculateDistanceMap(distance, *binary, 'x', true, false, false);
    EXPECT_EQ(PixelsOf<float>(distance), (Floats{2, 1, 0}));
}

} // namespace
