#include "segmentation/LocalThresholders.h"
#include "support/CRandomSeeds.h"
#include "support/PackHost.h"
#include "support/TestImage.h"

#include <QuillonSegmentation/CFastLocalThresholding.h>
#include <sorblib2core/CException.h>
#include <sorblib2core/CValueBool.h>
#include <sorblib2core/CValueDouble.h>
#include <sorblib2core/CValueLong.h>
#include <sorblib2core/CValueString.h>
#include <sorblib2core/UnwrapPointer.h>
#include <sorblib2image/CQuillonHeaderTools.h>

#include <gtest/gtest.h>

#include <limits>
#include <map>

namespace {

using namespace ORVEN;
using Bytes = std::vector<unsigned char>;
using Words = std::vector<unsigned short>;

const char* const c_niblackImprecise =
    "The machine precision on this system is not sufficient for computing the required statistics for "
    "Niblack "
    "thresholding in this image. Please try converting this image to a smaller data type!";
const char* const c_sauvolaImprecise =
    "The machine precision on this system is not sufficient for computing the required statistics for "
    "Sauvola "
    "thresholding in this image. Please try converting this image to a smaller data type!";

/// The message of the `CException` that the call raises, with its source in front.
template <class Call>
std::string Raised(const Call& call) {
    try {
        call();
    } catch (const CException& exception) {
        return std::string(exception.Source()) + ": " + exception.Message();
    }
    return "nothing";
}

void SetParameters(test::CPackHost& host, double coefficient, std::int32_t windowSize, bool usesNew) {
    host.Set("coefficient", new CValueDouble(coefficient));
    host.Set("windowsize", new CValueLong(windowSize));
    host.Set("usenewimpl", new CValueBool(usesNew));
}

std::unique_ptr<CImage> Ramp(const IImage::CType& type = IMAGE_GREY_8) {
    if (type == IMAGE_GREY_16)
        return test::ImageOf<unsigned short>(type, CSize(4, 3), {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12});
    if (type == IMAGE_GREY_32)
        return test::ImageOf<unsigned>(type, CSize(4, 3), {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12});
    if (type == IMAGE_GREY_F)
        return test::ImageOf<float>(type, CSize(4, 3), {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12});
    return test::ImageOf<unsigned char>(type, CSize(4, 3), {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12});
}

// --- what both plug-ins share
// -------------------------------------------------------------------------------------

struct StPluginCase {
    const char* factoryName;
    const char* name; // in history and as label
    const char* unsupported;
};

class LocalThresholdPlugin : public testing::TestWithParam<StPluginCase> {
protected:
    std::unique_ptr<CPluginBase> plugin = test::CreatePlugin(GetParam().factoryName);
};

INSTANTIATE_TEST_SUITE_P(
    Both, LocalThresholdPlugin,
    testing::Values(
        StPluginCase{"SegmNiblack", "Niblack",
                     "nonfast Niblack implementation supports only image types 8bit and 16bit integer."},
        StPluginCase{"SegmSauvola", "Sauvola",
                     "nonfast Sauvola implementation supports only image types 8bit and 16bit integer."}),
    [](const auto& parameter) { return std::string(parameter.param.name); });

TEST_P(LocalThresholdPlugin, NeedsDimension2Or3AndTwoPixelsOnEachAxis) {
    const auto accepts = [this](const CSize& size) {
        test::CPackHost host(std::make_unique<CImage>(IMAGE_GREY_8, size, CSize(0, 0, 0)));
        return plugin->TestParameters(host.Tree());
    };
    EXPECT_TRUE(accepts(CSize(2, 2)));
    EXPECT_TRUE(accepts(CSize(2, 2, 2)));
    EXPECT_FALSE(accepts(CSize(1, 2)));
    EXPECT_FALSE(accepts(CSize(2, 1)));
    EXPECT_FALSE(accepts(CSize(1, 2, 2)));
    EXPECT_FALSE(accepts(CSize(2, 1, 2)));
    EXPECT_FALSE(accepts(CSize(2, 2, 1)));
    CSize line(9, 9);
    line.SetDim(1);
    EXPECT_FALSE(accepts(line));
}

TEST_P(LocalThresholdPlugin, EachMissingParameterRaisesInTurn) {
    test::CPackHost host(Ramp());
    host.Tree().SetEntry("parameters", new CValueMap);
    const auto raised = [&] { return Raised([&] { plugin->UpdateParameters(host.Tree()); }); };
    EXPECT_EQ(raised(), "SegmSauvolaPlugin: No parameter coefficient specified");
    host.Set("coefficient", new CValueDouble(0.1));
    EXPECT_EQ(raised(), "SegmSauvolaPlugin: No parameter windowsize specified");
    host.Set("windowsize", new CValueLong(1));
    EXPECT_EQ(raised(), "SegmSauvolaPlugin: No parameter usenewimpl specified");
    host.Set("usenewimpl", new CValueBool(true));
    EXPECT_EQ(raised(), "nothing");
}

TEST_P(LocalThresholdPlugin, ATreeWithoutParametersKeepsAllMembersAndRaisesNothing) {
    test::CPackHost host(Ramp());
    host.Run(*plugin);
    EXPECT_EQ(test::HistoryOf(host.Result()).back(), std::string(GetParam().name) + "(w=5,c=-0.2)");
    SetParameters(host, 0.25, 2, true);
    host.Run(*plugin);
    host.Tree().RemoveEntry("parameters");
    host.Run(*plugin);
    EXPECT_EQ(test::HistoryOf(host.Result()).back(), std::string(GetParam().name) + "(w=2,c=0.25)");
}

TEST_P(LocalThresholdPlugin, AParameterOfTheWrongTypeEndsTheUpdateAndEarlierKeysStayStored) {
    test::CPackHost first(Ramp(), "first");
    SetParameters(first, 0.5, 3, true);
    plugin->UpdateParameters(first.Tree());

    test::CPackHost second(Ramp(), "second");
    SetParameters(second, 0.75, 4, false);
    second.Set("windowsize", new CValueDouble(4.0));
    plugin->UpdateParameters(second.Tree());

    // The coefficient is new; window size, implementation and document are not.
    plugin->GetData(first.Tree());
    const auto documents = test::TakeDocuments(first.Tree());
    ASSERT_EQ(documents.size(), 1U);
    EXPECT_EQ(documents[0]->EntryString("label").Std(), "first");
    const CImage& result = *UnwrapPointer<CImage>(documents[0]->Entry("content", true));
    EXPECT_EQ(test::HistoryOf(result).back(), std::string(GetParam().name) + "(w=3,c=0.75)");
}

TEST_P(LocalThresholdPlugin, ParametersThatAreNoMapEndTheUpdate) {
    test::CPackHost host(Ramp());
    host.Tree().SetEntry("parameters", new CValueLong(3));
    EXPECT_NO_THROW(host.Run(*plugin));
    EXPECT_EQ(host.DocumentCount(), 0U); // the document was not read either
}

TEST_P(LocalThresholdPlugin, TheOlderImplementationAcceptsOnly8And16Bit) {
    for (const auto& type : {IMAGE_GREY_32, IMAGE_GREY_F}) {
        test::CPackHost host(Ramp(type));
        SetParameters(host, -0.2, 1, false);
        testing::internal::CaptureStderr();
        EXPECT_EQ(Raised([&] { host.Run(*plugin); }),
                  std::string("SegmSauvolaPlugin: ") + GetParam().unsupported);
        EXPECT_EQ(testing::internal::GetCapturedStderr(),
                  std::string("SegmSauvolaPlugin caught an ORVEN::CException: ") + GetParam().unsupported +
                      "\n");
        EXPECT_FALSE(host.Tree().HasEntry("output"));
        SetParameters(host, -0.2, 1, true);
        EXPECT_NO_THROW(host.Run(*plugin));
        EXPECT_EQ(host.DocumentCount(), 1U);
    }
}

TEST_P(LocalThresholdPlugin, BothImplementationsProduceABinaryImageOf0And1) {
    for (const bool usesNew : {false, true}) {
        for (const auto& type : {IMAGE_GREY_8, IMAGE_GREY_16}) {
            test::CPackHost host(Ramp(type));
            SetParameters(host, 0.2, 1, usesNew);
            host.Run(*plugin);
            EXPECT_EQ(host.Result().Type(), IMAGE_BINARY_FG);
            EXPECT_EQ(host.Result().Size(), CSize(4, 3));
            const Bytes pixels = test::PixelsOf<unsigned char>(host.Result());
            EXPECT_GT(std::count(pixels.begin(), pixels.end(), 0), 0);
            EXPECT_GT(std::count(pixels.begin(), pixels.end(), 1), 0);
            EXPECT_EQ(std::count(pixels.begin(), pixels.end(), 0) +
                          std::count(pixels.begin(), pixels.end(), 1),
                      12);
        }
    }
}

TEST_P(LocalThresholdPlugin, TheResultInheritsAttributesAndLabel) {
    test::CPackHost host(Ramp(), "foam.tif");
    CQuillonHeaderTools::AddToHistory(host.Image(), "scanned()", 0);
    SetParameters(host, -0.1, 25, true);
    host.Run(*plugin);
    EXPECT_EQ(host.ResultLabel(), "foam.tif");
    EXPECT_EQ(test::HistoryOf(host.Result()),
              (std::vector<std::string>{"scanned()", std::string(GetParam().name) + "(w=25,c=-0.1)"}));
    EXPECT_EQ(test::HistoryOf(host.Image()), (std::vector<std::string>{"scanned()"}));
    EXPECT_EQ(test::PixelsOf<unsigned char>(host.Image()), test::PixelsOf<unsigned char>(*Ramp()));
}

TEST_P(LocalThresholdPlugin, ADocumentWithoutLabelIsLabelledWithTheNameOfTheMethod) {
    test::CPackHost host(Ramp(), "");
    host.Run(*plugin);
    EXPECT_EQ(host.ResultLabel(), GetParam().name);
}

TEST_P(LocalThresholdPlugin, RunsTheAlgorithmOfItsMethodWithTheCoefficientAsFloat) {
    std::mt19937 random(7);
    test::CPackHost host(test::RandomImage<unsigned char>(IMAGE_GREY_8, CSize(9, 8, 7), random, 0, 256));
    SetParameters(host, 0.1, 2, true);
    host.Run(*plugin);
    CFastLocalThresholding algorithm(nullptr, nullptr);
    algorithm.m_nWindowSize = 2;
    algorithm.m_fCoefficient = static_cast<double>(0.1F);
    algorithm.m_nMethod = std::string(GetParam().name) == "Niblack" ? 0 : 1;
    CImage expected(IMAGE_BINARY_FG, host.Image().Size(), CSize(0, 0, 0));
    algorithm.Binarize(expected, host.Image());
    EXPECT_EQ(test::PixelsOf<unsigned char>(host.Result()), test::PixelsOf<unsigned char>(expected));
}

TEST(SegmSauvola, PrintsTheTimeOfEitherImplementationOnStandardOutput) {
    const auto plugin = test::CreatePlugin("SegmSauvola");
    for (const bool usesNew : {false, true}) {
        test::CPackHost host(Ramp());
        SetParameters(host, -0.2, 1, usesNew);
        testing::internal::CaptureStdout();
        host.Run(*plugin);
        const std::string output = testing::internal::GetCapturedStdout();
        const std::string start = usesNew ? "NEW Sauvola: " : "OLD Sauvola: ";
        ASSERT_EQ(output.substr(0, start.size()), start);
        std::size_t used = 0;
        EXPECT_GE(std::stod(output.substr(start.size()), &used), 0.0);
        EXPECT_EQ(output.substr(start.size() + used), "\n");
    }
}

TEST(SegmNiblack, WritesNothingToStandardOutput) {
    const auto plugin = test::CreatePlugin("SegmNiblack");
    test::CPackHost host(Ramp());
    testing::internal::CaptureStdout();
    host.Run(*plugin);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
}

TEST(SegmNiblack, APrecisionFailureOfTheOlderImplementationDeliversNoDocument) {
    for (const auto& [name, site, message] :
         {std::tuple{"SegmNiblack", "CNiblackThresholder", c_niblackImprecise},
          std::tuple{"SegmSauvola", "CSauvolaThresholder", c_sauvolaImprecise}}) {
        const auto plugin = test::CreatePlugin(name);
        test::CPackHost host(test::ImageOf(IMAGE_GREY_16, CSize(3, 3), Words(9, 50000)));
        SetParameters(host, -0.2, 1, false);
        testing::internal::CaptureStderr();
        EXPECT_EQ(Raised([&] { host.Run(*plugin); }), std::string(site) + ": " + message);
        EXPECT_EQ(testing::internal::GetCapturedStderr(),
                  std::string("SegmSauvolaPlugin caught an ORVEN::CException: ") + message + "\n");
        EXPECT_FALSE(host.Tree().HasEntry("output"));
    }
}

// --- the older thresholders
// ---------------------------------------------------------------------------------------

template <class Thresholder>
Bytes Binarized(const CImage& input, std::int32_t windowSize, float coefficient) {
    CImage output(IMAGE_BINARY_FG, input.Size(), CSize(0, 0, 0));
    Thresholder{windowSize, coefficient, &input}(output);
    return test::PixelsOf<unsigned char>(output);
}

using Niblack8 = quillon::CNiblackThresholder<unsigned char>;
using Sauvola8 = quillon::CSauvolaThresholder<unsigned char>;
using Niblack16 = quillon::CNiblackThresholder<unsigned short>;
using Sauvola16 = quillon::CSauvolaThresholder<unsigned short>;

TEST(OlderThresholders, WindowSize0ComparesEachPixelWithTheFirstOfItsRow) {
    const auto image =
        test::ImageOf<unsigned char>(IMAGE_GREY_8, CSize(4, 2), {5, 6, 4, 5, 200, 100, 201, 255});
    EXPECT_EQ(Binarized<Niblack8>(*image, 0, -0.2F), (Bytes{0, 1, 0, 0, 0, 0, 1, 1}));
}

TEST(OlderThresholders, AWindowWiderThanTheRowIsTheWholeRowEverywhere) {
    // Mean 4, standard deviation 2; with k = 0.5 the threshold is 5 at every x.
    const auto image = test::ImageOf<unsigned char>(IMAGE_GREY_8, CSize(4, 1), {2, 2, 6, 6});
    EXPECT_EQ(Binarized<Niblack8>(*image, 4, 0.5F), (Bytes{0, 0, 1, 1}));
    EXPECT_EQ(Binarized<Niblack8>(*image, 40, 0.5F), (Bytes{0, 0, 1, 1}));
}

TEST(OlderThresholders, AConstantWindowBecomes0WithNiblack) {
    for (const unsigned char value : Bytes{0, 1, 127, 255}) {
        const auto image = test::ImageOf(IMAGE_GREY_8, CSize(5, 4, 3), Bytes(60, value));
        EXPECT_EQ(Binarized<Niblack8>(*image, 1, -0.2F), Bytes(60, 0));
    }
}

TEST(OlderThresholders, CannotTakeValuesAbove46340In16Bit) {
    const auto exact = test::ImageOf(IMAGE_GREY_16, CSize(4, 4), Words(16, 46340));
    EXPECT_EQ(Binarized<Niblack16>(*exact, 1, -0.2F), Bytes(16, 0));
    const auto wraps = test::ImageOf(IMAGE_GREY_16, CSize(4, 4), Words(16, 46341));
    EXPECT_EQ(Raised([&] { Binarized<Niblack16>(*wraps, 1, -0.2F); }),
              std::string("CNiblackThresholder: ") + c_niblackImprecise);
    EXPECT_EQ(Raised([&] { Binarized<Sauvola16>(*wraps, 1, -0.2F); }),
              std::string("CSauvolaThresholder: ") + c_sauvolaImprecise);
}

TEST(OlderThresholders, ANegativeWindowSizeIsAnEmptyWindowAndRaises) {
    const auto image = Ramp();
    EXPECT_EQ(Raised([&] { Binarized<Niblack8>(*image, -1, -0.2F); }),
              std::string("CNiblackThresholder: ") + c_niblackImprecise);
    EXPECT_EQ(Raised([&] { Binarized<Sauvola8>(*image, -3, -0.2F); }),
              std::string("CSauvolaThresholder: ") + c_sauvolaImprecise);
}

TEST(OlderThresholders, AnOutputOfAnotherSizeIsLeftAsItIs) {
    const auto image = Ramp();
    const auto output = test::ImageOf(IMAGE_BINARY_FG, CSize(4, 4), Bytes(16, 9));
    Niblack8{1, -0.2F, image.get()}(*output);
    EXPECT_EQ(test::PixelsOf<unsigned char>(*output), Bytes(16, 9));
}

TEST(OlderThresholders, TheThresholdIsRoundedAndClampedToThePixelType) {
    // Far above and far below every pixel; the window is the whole row, so that the deviation is not 0.
    const auto image = test::ImageOf<unsigned char>(IMAGE_GREY_8, CSize(2, 1), {0, 255});
    EXPECT_EQ(Binarized<Niblack8>(*image, 2, 100.0F), (Bytes{0, 0}));
    EXPECT_EQ(Binarized<Niblack8>(*image, 2, -100.0F), (Bytes{0, 1}));
    // Mean 127.5: the half that rounds takes the threshold to 128.
    const auto edge = test::ImageOf<unsigned char>(IMAGE_GREY_8, CSize(4, 1), {127, 128, 127, 128});
    EXPECT_EQ(Binarized<Niblack8>(*edge, 4, 0.0F), (Bytes{0, 0, 0, 0}));
}

/// The columns of the window at x, with how often each counts, as follows from the moves of the scan: columns
/// 0 to w at first, column i + w in after pixel i, column i - w out after pixel i.
std::map<std::int64_t, int> ColumnsAt(std::int64_t x, std::int64_t w, std::int64_t extent) {
    std::map<std::int64_t, int> columns;
    for (std::int64_t i = 0; i <= std::min(w, extent - 1); ++i)
        ++columns[i];
    for (std::int64_t i = 0; i < x; ++i) {
        if (i < extent - w)
            ++columns[i + w];
        if (i >= w)
            --columns[i - w];
    }
    return columns;
}

template <class T>
Bytes ExpectedByColumns(const CImage& image, std::int32_t w, float coefficient, bool isNiblack) {
    const CImageView<const T> view(image);
    Bytes expected;
    for (std::int64_t z = 0; z < view.nz; ++z) {
        for (std::int64_t y = 0; y < view.ny; ++y) {
            for (std::int64_t x = 0; x < view.nx; ++x) {
                double count = 0.0;
                double sum = 0.0;
                double squares = 0.0;
                for (const auto& [column, times] : ColumnsAt(x, w, view.nx)) {
                    for (std::int64_t wz = std::max<std::int64_t>(z - w, 0);
                         wz <= std::min(z + w, view.nz - 1); ++wz) {
                        for (std::int64_t wy = std::max<std::int64_t>(y - w, 0);
                             wy <= std::min(y + w, view.ny - 1); ++wy) {
                            const double value = view.Row(wy, wz)[column];
                            count += times;
                            sum += times * value;
                            squares += times * value * value;
                        }
                    }
                }
                const double mean = sum / count;
                const double deviation = std::sqrt(squares / count - mean * mean);
                const double k = static_cast<double>(coefficient);
                const double range = sizeof(T) == 1 ? 127.0 : 32767.0;
                double threshold = isNiblack ? deviation * k + mean + 0.5
                                             : ((deviation / range - 1.0) * k + 1.0) * mean + 0.5;
                threshold = std::max(0.0, std::min(threshold, sizeof(T) == 1 ? 255.0 : 65535.0));
                expected.push_back(view.Row(y, z)[x] > std::trunc(threshold) ? 1 : 0);
            }
        }
    }
    return expected;
}

TEST(OlderThresholders, AgreeWithTheColumnsThatTheirScanHolds) {
    for (const unsigned seed : test::CRandomSeeds(0, 300)) {
        std::mt19937 random(seed);
        const auto extent = [&] { return std::uniform_int_distribution<std::int64_t>(1, 9)(random); };
        const CSize size = seed % 3 == 0 ? CSize(extent(), extent()) : CSize(extent(), extent(), extent());
        const auto w = std::uniform_int_distribution<std::int32_t>(0, 10)(random);
        const float k = std::uniform_real_distribution<float>(-0.6F, 0.6F)(random);
        SCOPED_TRACE("size " + size.ToString() + " w " + std::to_string(w) + " k " + std::to_string(k));
        // Squares of 16-bit values up to 46340 are exact.
        const auto image8 = test::RandomImage<unsigned char>(IMAGE_GREY_8, size, random, 0, 256);
        const auto image16 = test::RandomImage<unsigned short>(IMAGE_GREY_16, size, random, 20000, 46341);
        ASSERT_EQ(Binarized<Niblack8>(*image8, w, k),
                  (ExpectedByColumns<unsigned char>(*image8, w, k, true)));
        ASSERT_EQ(Binarized<Sauvola8>(*image8, w, k),
                  (ExpectedByColumns<unsigned char>(*image8, w, k, false)));
        ASSERT_EQ(Binarized<Niblack16>(*image16, w, k),
                  (ExpectedByColumns<unsigned short>(*image16, w, k, true)));
        ASSERT_EQ(Binarized<Sauvola16>(*image16, w, k),
                  (ExpectedByColumns<unsigned short>(*image16, w, k, false)));
    }
}

TEST(OlderThresholders, ColumnWCountsTwiceUntil2WAndTheRightEdgeLags) {
    // Half width 1 on a row of 6: the columns in the window, written out by hand.
    using Columns = std::map<std::int64_t, int>;
    const auto held = [](std::int64_t x) {
        Columns columns = ColumnsAt(x, 1, 6);
        std::erase_if(columns, [](const auto& column) { return column.second == 0; });
        return columns;
    };
    EXPECT_EQ(held(0), (Columns{{0, 1}, {1, 1}}));
    EXPECT_EQ(held(1), (Columns{{0, 1}, {1, 2}}));
    EXPECT_EQ(held(2), (Columns{{1, 2}, {2, 1}}));
    EXPECT_EQ(held(3), (Columns{{1, 1}, {2, 1}, {3, 1}}));
    EXPECT_EQ(held(4), (Columns{{1, 1}, {3, 1}, {4, 1}}));
    EXPECT_EQ(held(5), (Columns{{1, 1}, {4, 1}, {5, 1}}));
    // A single bright pixel in column 1 is felt to the end of the row: without its copy left behind, the mean
    // at x = 5 would be that of the plateau and the last pixel no brighter than it.
    const auto image = test::ImageOf<unsigned char>(IMAGE_GREY_8, CSize(6, 1), {10, 40, 20, 20, 20, 25});
    EXPECT_EQ(Binarized<Niblack8>(*image, 1, 0.0F), (Bytes{0, 1, 0, 0, 0, 0}));
}

} // namespace
