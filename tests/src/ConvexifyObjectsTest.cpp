#include "support/CRandomSeeds.h"
#include "support/PluginTest.h"
#include "support/TestImage.h"

#include <QuillonMeasurement/CExtractorLabelData.h>
#include <QuillonNumeric/CConvexHullComputer.h>
#include <sorblib2core/CExBadParam.h>
#include <sorblib2core/CValueBool.h>
#include <sorblib2core/CValueLong.h>
#include <sorblib2core/CValueString.h>
#include <sorblib2core/CValueVector.h>
#include <sorblib2image/CQuillonHeaderTools.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <memory>
#include <random>
#include <set>
#include <string>
#include <vector>

namespace {

using namespace ORVEN;
using test::ImageOf;
using test::PixelsOf;
using test::Text;
using Bytes = std::vector<unsigned char>;

const char* const c_onlyBackground = "OverwriteOnlyBackground";

std::unique_ptr<CImage> Empty(const IImage::CType& type, const CSize& size) {
    return std::make_unique<CImage>(type, size, CSize(0, 0, 0));
}

class ConvexifyObjectsPlugin : public test::PluginTest {
protected:
    ConvexifyObjectsPlugin()
        : PluginTest("ConvexifyObjects") {}

    /// Runs, and keeps what was written to the standard error stream. Returns the line of history.
    std::string RunAndListen(test::CPackHost& host) {
        testing::internal::CaptureStderr();
        const std::string line = Run(host);
        m_standardError = testing::internal::GetCapturedStderr();
        return line;
    }

    Bytes PixelsAfter(std::unique_ptr<CImage> image, const std::string& method) {
        test::CPackHost host(std::move(image));
        host.Set("method", Text(method));
        RunAndListen(host);
        return PixelsOf<unsigned char>(host.Result());
    }
};

std::size_t LabelCountOf(const CImage& image) {
    std::size_t count = 0;
    EXPECT_TRUE(CQuillonHeaderTools::GetNumberOfLabels(image, count));
    return count;
}

void SetOffset(CImage& image, std::int32_t x, std::int32_t y, std::int32_t z) {
    image.Attributes().SetEntry("offset/x", new CValueLong(x));
    image.Attributes().SetEntry("offset/y", new CValueLong(y));
    image.Attributes().SetEntry("offset/z", new CValueLong(z));
}

StLabelingData Measured(const CImage& image) {
    StLabelingData data;
    CExtractorLabelData(nullptr, nullptr).Extract(image, data);
    return data;
}

void SetLabelData(CImage& image, const StLabelingData& data) {
    CQuillonHeaderTools::SetFeatures(image, CExtractorLabelData::KeyToLabelData(), CValueMap(data));
}

// --- frame

TEST_F(ConvexifyObjectsPlugin, MakesANewDocumentWithTheHeaderOfTheInputAndLeavesTheInputAsItWas) {
    test::CPackHost host(ImageOf<unsigned char>(IMAGE_GREY_8, CSize(3, 3), {4, 0, 4, 0, 0, 0, 4, 0, 0}),
                         "grains");
    CQuillonHeaderTools::SetSpacing(host.Image(), 0.5, 0.25, 2.0);
    CQuillonHeaderTools::AddToHistory(host.Image(), "scan", 0);
    CQuillonHeaderTools::SetNumberOfLabels(host.Image(), 77);
    const Bytes before = PixelsOf<unsigned char>(host.Image());
    const CValueMap attributes(host.Image().Attributes());
    host.Set("method", Text("OverwriteAll"));
    EXPECT_EQ(Run(host), "ConvexifyObjects<2>(OverwriteAll)");

    EXPECT_EQ(host.DocumentCount(), 1U);
    EXPECT_EQ(host.ResultLabel(), "grains");
    EXPECT_EQ(host.Result().Type(), IMAGE_GREY_8);
    EXPECT_EQ(host.Result().Size(), CSize(3, 3));
    EXPECT_EQ(PixelsOf<unsigned char>(host.Result()), (Bytes{4, 4, 4, 4, 4, 0, 4, 0, 0}));
    EXPECT_EQ(test::HistoryOf(host.Result()),
              (std::vector<std::string>{"scan", "ConvexifyObjects<2>(OverwriteAll)"}));
    EXPECT_EQ(LabelCountOf(host.Result()), 2U);
    double x = 0.0;
    double y = 0.0;
    double z = 0.0;
    ASSERT_TRUE(CQuillonHeaderTools::GetSpacing(host.Result(), x, y, z));
    EXPECT_EQ(x, 0.5);
    EXPECT_EQ(y, 0.25);
    EXPECT_EQ(z, 2.0);
    EXPECT_EQ(PixelsOf<unsigned char>(host.Image()), before);
    EXPECT_TRUE(host.Image().Attributes().Equal(attributes));
}

TEST_F(ConvexifyObjectsPlugin, ReplacesEarlierNewDocuments) {
    test::CPackHost host(Empty(IMAGE_GREY_8, CSize(2, 2)));
    host.Tree().SetEntry("output/documents/add/3", Text("from an earlier run"));
    host.Tree().SetEntry("output/documents/other", Text("too"));
    host.Tree().SetEntry("output/views", Text("stays"));
    m_plugin->UpdateParameters(host.Tree());
    {
        const test::CapturedOutput silence;
        m_plugin->GetData(host.Tree());
    }
    EXPECT_EQ(host.Tree().Entry("output/documents", true)->Map()->Size(), 1U);
    EXPECT_EQ(host.Tree().Entry("output/documents/add", true)->Vector()->Size(), 1U);
    EXPECT_TRUE(host.Tree().HasEntry("output/views"));
    EXPECT_EQ(test::TakeDocuments(host.Tree()).size(), 1U);
}

TEST_F(ConvexifyObjectsPlugin, ADocumentWithoutALabelGetsAnEmptyOne) {
    test::CPackHost host(Empty(IMAGE_GREY_8, CSize(2, 2)), "");
    Run(host);
    EXPECT_EQ(host.ResultLabel(), "");
}

TEST_F(ConvexifyObjectsPlugin, KeepsItsMethodUntilAnotherTextComes) {
    test::CPackHost host(Empty(IMAGE_GREY_8, CSize(2, 2)));
    EXPECT_EQ(Run(host), "ConvexifyObjects<1>()");
    host.Set("method", Text(c_onlyBackground));
    EXPECT_EQ(Run(host), "ConvexifyObjects<1>(OverwriteOnlyBackground)");
    host.Set("method", new CValueLong(3));
    EXPECT_EQ(Run(host), "ConvexifyObjects<1>(OverwriteOnlyBackground)");
    host.Set("method", Text(""));
    EXPECT_EQ(Run(host), "ConvexifyObjects<1>()");
}

// --- what is counted

TEST_F(ConvexifyObjectsPlugin, AnImageWithoutObjectHasACountOf1ForTheBackground) {
    for (const auto& type : {IMAGE_BINARY_FG, IMAGE_GREY_8, IMAGE_GREY_16, IMAGE_GREY_32}) {
        for (const CSize& size : {CSize(4, 3), CSize(4, 3, 2), CSize(1, 1, 1), CSize(0, 4)}) {
            test::CPackHost host(Empty(type, size));
            EXPECT_EQ(RunAndListen(host), "ConvexifyObjects<1>()");
            EXPECT_EQ(LabelCountOf(host.Result()), 1U);
            EXPECT_EQ(m_standardError, "");
        }
    }
}

TEST_F(ConvexifyObjectsPlugin, Labels1And2And5YieldACountOf4) {
    // clang-format off
    test::CPackHost host(ImageOf<unsigned short>(IMAGE_GREY_16, CSize(6, 4), {1, 0, 1, 5, 0, 5,
                                                                            0, 0, 0, 5, 0, 0,
                                                                            1, 0, 0, 2, 0, 2,
                                                                            0, 0, 0, 2, 2, 2}));
    // clang-format on
    EXPECT_EQ(RunAndListen(host), "ConvexifyObjects<4>()");
    EXPECT_EQ(m_standardError, "");
    EXPECT_EQ(LabelCountOf(host.Result()), 4U);
    // clang-format off
    EXPECT_EQ(PixelsOf<unsigned short>(host.Result()), (std::vector<unsigned short>{1, 1, 1, 5, 5, 5,
                                                                                  1, 1, 0, 5, 0, 0,
                                                                                  1, 0, 0, 2, 2, 2,
                                                                                  0, 0, 0, 2, 2, 2}));
    // clang-format on
}

TEST_F(ConvexifyObjectsPlugin, ObjectsWithoutAHullAreReportedCountedAndKept) {
    auto image = Empty(IMAGE_GREY_32, CSize(4, 4, 4));
    const CImageView<unsigned int> view(*image);
    view.Row(0, 0)[0] = 1; // a single pixel
    for (std::int64_t x = 0; x < 3; ++x)
        view.Row(3, 0)[x] = 4; // a line
    for (std::int64_t y = 0; y < 3; ++y)
        view.Row(y, 2)[3] = view.Row(y, 3)[3] = 1000; // a plane
    const auto before = PixelsOf<unsigned int>(*image);
    test::CPackHost host(std::move(image));
    EXPECT_EQ(RunAndListen(host), "ConvexifyObjects<4>()");
    EXPECT_EQ(m_standardError, "convex hull features failed for object #1\n"
                               "\treason: Convex hull needs 4 affinely independent points, found 1.\n"
                               "convex hull features failed for object #4\n"
                               "\treason: Convex hull needs 4 affinely independent points, found 2.\n"
                               "convex hull features failed for object #1000\n"
                               "\treason: Convex hull needs 4 affinely independent points, found 3.\n");
    EXPECT_EQ(PixelsOf<unsigned int>(host.Result()), before);
}

TEST_F(ConvexifyObjectsPlugin, AnObjectWithoutAHullStaysAsEarlierHullsHaveLeftIt) {
    const auto image = [] {
        // clang-format off
        return ImageOf<unsigned char>(IMAGE_GREY_8, CSize(4, 3), {1, 0, 0, 1,
                                                                  0, 2, 0, 0,
                                                                  1, 0, 0, 0});
        // clang-format on
    };
    EXPECT_EQ(PixelsAfter(image(), ""), (Bytes{1, 1, 1, 1, 1, 1, 0, 0, 1, 0, 0, 0}));
    EXPECT_EQ(m_standardError, "convex hull features failed for object #2\n"
                               "\treason: Convex hull needs 3 affinely independent points, found 1.\n");
    EXPECT_EQ(PixelsAfter(image(), c_onlyBackground), (Bytes{1, 1, 1, 1, 1, 2, 0, 0, 1, 0, 0, 0}));
}

// --- what happens where hulls meet

/// A frame of one label around a square of another.
std::unique_ptr<CImage> Surrounded(unsigned char outer, unsigned char inner) {
    auto image = Empty(IMAGE_GREY_8, CSize(8, 8));
    const CImageView<unsigned char> view(*image);
    for (std::int64_t i = 0; i < 8; ++i)
        view.Row(0, 0)[i] = view.Row(7, 0)[i] = view.Row(i, 0)[0] = view.Row(i, 0)[7] = outer;
    for (std::int64_t y = 3; y < 5; ++y)
        view.Row(y, 0)[3] = view.Row(y, 0)[4] = inner;
    return image;
}

TEST_F(ConvexifyObjectsPlugin, AnInnerObjectOfALowerLabelDisappearsUnderTheHullAroundIt) {
    EXPECT_EQ(PixelsAfter(Surrounded(2, 1), ""), Bytes(64, 2));
}

TEST_F(ConvexifyObjectsPlugin, AnInnerObjectOfAHigherLabelStays) {
    const Bytes after = PixelsAfter(Surrounded(1, 2), "");
    EXPECT_EQ(std::count(after.begin(), after.end(), 2), 4);
    EXPECT_EQ(std::count(after.begin(), after.end(), 1), 60);
    EXPECT_EQ(after[3 * 8 + 3], 2);
}

TEST_F(ConvexifyObjectsPlugin, AnInnerObjectStaysInAnyCaseIfOnlyBackgroundIsOverwritten) {
    for (const unsigned char inner : Bytes{1, 3}) {
        const Bytes after = PixelsAfter(Surrounded(2, inner), c_onlyBackground);
        EXPECT_EQ(std::count(after.begin(), after.end(), inner), 4);
        EXPECT_EQ(std::count(after.begin(), after.end(), 2), 60);
        EXPECT_EQ(after[4 * 8 + 4], inner);
    }
}

TEST_F(ConvexifyObjectsPlugin, AMethodThatDiffersInCaseAloneIsAnyOtherValue) {
    for (const char* method :
         {"overwriteonlybackground", "OVERWRITEONLYBACKGROUND", "OverwriteOnlyBackground "})
        EXPECT_EQ(PixelsAfter(Surrounded(2, 1), method), Bytes(64, 2)) << method;
}

/// Two triangles of three pixels each, whose hulls cross; each has a tip under the hull of the other.
std::unique_ptr<CImage> CrossedTriangles(unsigned char downwards, unsigned char upwards) {
    auto image = Empty(IMAGE_GREY_8, CSize(7, 7));
    const CImageView<unsigned char> view(*image);
    view.Row(6, 0)[0] = view.Row(6, 0)[6] = view.Row(1, 0)[3] = upwards;
    view.Row(0, 0)[0] = view.Row(0, 0)[6] = view.Row(6, 0)[3] = downwards;
    return image;
}

TEST_F(ConvexifyObjectsPlugin, WhereTwoHullsOverlapTheHigherLabelWinsAndTheLowerObjectIsLost) {
    // clang-format off
    EXPECT_EQ(PixelsAfter(CrossedTriangles(1, 2), ""), (Bytes{1, 1, 1, 1, 1, 1, 1,
                                                              0, 1, 1, 2, 1, 1, 0,
                                                              0, 1, 1, 2, 1, 1, 0,
                                                              0, 0, 2, 2, 2, 0, 0,
                                                              0, 0, 2, 2, 2, 0, 0,
                                                              0, 2, 2, 2, 2, 2, 0,
                                                              2, 2, 2, 2, 2, 2, 2}));
    EXPECT_EQ(PixelsAfter(CrossedTriangles(2, 1), ""), (Bytes{2, 2, 2, 2, 2, 2, 2,
                                                              0, 2, 2, 2, 2, 2, 0,
                                                              0, 2, 2, 2, 2, 2, 0,
                                                              0, 0, 2, 2, 2, 0, 0,
                                                              0, 0, 2, 2, 2, 0, 0,
                                                              0, 1, 1, 2, 1, 1, 0,
                                                              1, 1, 1, 2, 1, 1, 1}));
    // clang-format on
}

TEST_F(ConvexifyObjectsPlugin, OnBackgroundTheHigherLabelWinsThoughObjectsKeepTheirPixels) {
    // clang-format off
    EXPECT_EQ(PixelsAfter(CrossedTriangles(1, 2), c_onlyBackground), (Bytes{1, 1, 1, 1, 1, 1, 1,
                                                                            0, 1, 1, 2, 1, 1, 0,
                                                                            0, 1, 1, 2, 1, 1, 0,
                                                                            0, 0, 2, 2, 2, 0, 0,
                                                                            0, 0, 2, 2, 2, 0, 0,
                                                                            0, 2, 2, 2, 2, 2, 0,
                                                                            2, 2, 2, 1, 2, 2, 2}));
    // clang-format on
}

TEST_F(ConvexifyObjectsPlugin, AHullCanSplitAnEarlierOne) {
    // clang-format off
    EXPECT_EQ(PixelsAfter(ImageOf<unsigned char>(IMAGE_GREY_8, CSize(5, 5), {0, 0, 2, 0, 0,
                                                                             1, 0, 0, 0, 1,
                                                                             1, 0, 2, 0, 1,
                                                                             0, 0, 0, 0, 0,
                                                                             0, 0, 2, 2, 0}), ""),
              (Bytes{0, 0, 2, 0, 0,
                     1, 1, 2, 1, 1,
                     1, 1, 2, 1, 1,
                     0, 0, 2, 0, 0,
                     0, 0, 2, 2, 0}));
    // clang-format on
}

TEST_F(ConvexifyObjectsPlugin, AThirdHullCoversThePixelsThatAnObjectHadTakenBack) {
    // A bar of label 2 through the frame of label 1, and a frame of label 3 around both.
    auto image = Empty(IMAGE_GREY_8, CSize(6, 6));
    const CImageView<unsigned char> view(*image);
    view.Row(1, 0)[1] = view.Row(1, 0)[4] = view.Row(4, 0)[1] = view.Row(4, 0)[4] = 1;
    view.Row(2, 0)[2] = view.Row(2, 0)[3] = view.Row(3, 0)[2] = 2;
    view.Row(0, 0)[0] = view.Row(0, 0)[5] = view.Row(5, 0)[0] = view.Row(5, 0)[5] = 3;
    EXPECT_EQ(PixelsAfter(std::move(image), ""), Bytes(36, 3));
}

TEST_F(ConvexifyObjectsPlugin, ABinaryImageIsOneObjectWhateverTheMethod) {
    const Bytes tips{1, 0, 0, 0, 1, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1, 0, 0, 0};
    for (const char* method : {"", c_onlyBackground}) {
        test::CPackHost host(ImageOf(IMAGE_BINARY_FG, CSize(5, 4), tips));
        host.Set("method", Text(method));
        EXPECT_EQ(Run(host), std::string("ConvexifyObjects<2>(") + method + ")");
        EXPECT_EQ(host.Result().Type(), IMAGE_BINARY_FG);
        EXPECT_EQ(PixelsOf<unsigned char>(host.Result()),
                  (Bytes{1, 1, 1, 1, 1, 0, 1, 1, 1, 0, 0, 1, 1, 0, 0, 0, 1, 0, 0, 0}));
    }
}

/// All labels by the rules: each hull alone in an image of its own, over the result in the order of labels.
template <class T>
std::vector<T> ConvexifiedSlowly(const CImage& image, bool keepsObjects, std::size_t& count) {
    const std::vector<T> before = PixelsOf<T>(image);
    std::vector<T> after = before;
    const auto n = [&](std::int64_t extent) { return static_cast<int>(extent); };
    std::set<T> labels(before.begin(), before.end());
    labels.erase(0);
    count = labels.size() + 1;
    for (const T label : labels) {
        CConvexHullComputer hull(static_cast<std::size_t>(image.Size().Dim()), nullptr, nullptr);
        const int depth = image.Size().Dim() == 2 ? 1 : n(image.Size().z);
        hull.loadPointsFromImageBox(image, label, 0, 0, 0, n(image.Size().x), n(image.Size().y), depth);
        try {
            hull.compute();
        } catch (const CException&) {
            continue;
        }
        const auto alone = Empty(IMAGE_GREY_8, image.Size());
        hull.paintConvexHullToImage(*alone, {0, 0, 0, n(image.Size().x), n(image.Size().y), depth}, 1);
        const Bytes mask = PixelsOf<unsigned char>(*alone);
        for (std::size_t i = 0; i < after.size(); ++i)
            after[i] = mask[i] != 0 ? label : after[i];
    }
    for (std::size_t i = 0; keepsObjects && i < after.size(); ++i)
        after[i] = before[i] != 0 ? before[i] : after[i];
    return after;
}

template <class T>
void CompareWithTheSlowWay(CPluginBase& plugin, const IImage::CType& type, const CSize& size, double greatest,
                           std::mt19937& random) {
    for (const bool keepsObjects : {false, true}) {
        // Mostly background.
        auto image = test::RandomImage<T>(type, size, random, 0, greatest);
        const CImageView<T> view(*image);
        for (std::int64_t z = 0; z < view.nz; ++z) {
            for (std::int64_t y = 0; y < view.ny; ++y) {
                for (std::int64_t x = 0; x < view.nx; ++x)
                    view.Row(y, z)[x] = random() % 5 == 0 ? view.Row(y, z)[x] : T{0};
            }
        }
        SetOffset(*image, 100, 3, 17); // must not matter when the boxes are measured
        test::CPackHost host(std::move(image));
        if (keepsObjects)
            host.Set("method", Text(c_onlyBackground));
        else
            host.Set("method", Text("any"));
        {
            const test::CapturedOutput silence;
            testing::internal::CaptureStderr();
            host.Run(plugin);
            testing::internal::GetCapturedStderr();
        }
        std::size_t count = 0;
        ASSERT_EQ(PixelsOf<T>(host.Result()), ConvexifiedSlowly<T>(host.Image(), keepsObjects, count));
        ASSERT_EQ(LabelCountOf(host.Result()), count);
    }
}

TEST_F(ConvexifyObjectsPlugin, FollowsTheRulesOnRandomImagesOfAllTypes) {
    for (const unsigned seed : test::CRandomSeeds(0, 25)) {
        std::mt19937 random(seed);
        const auto extent = [&random] { return static_cast<std::int64_t>(1 + random() % 11); };
        const CSize size =
            seed % 2 == 0 ? CSize(2 * extent(), 2 * extent()) : CSize(extent(), extent(), extent());
        CompareWithTheSlowWay<unsigned char>(*m_plugin, IMAGE_GREY_8, size, 6, random);
        CompareWithTheSlowWay<unsigned short>(*m_plugin, IMAGE_GREY_16, size, 9, random);
        CompareWithTheSlowWay<unsigned int>(*m_plugin, IMAGE_GREY_32, size, 12, random);
        CompareWithTheSlowWay<unsigned char>(*m_plugin, IMAGE_BINARY_FG, size, 1.9, random);
        if (HasFatalFailure())
            return;
    }
}

// --- label data in the header

/// Three open corners of label 1, 2 and 3, side by side.
std::unique_ptr<CImage> ThreeCorners() {
    // clang-format off
    return ImageOf<unsigned char>(IMAGE_GREY_8, CSize(9, 3), {1, 0, 1, 2, 0, 2, 3, 0, 3,
                                                              0, 0, 0, 0, 0, 0, 0, 0, 0,
                                                              1, 0, 0, 2, 0, 0, 3, 0, 0});
    // clang-format on
}

/// How many of the labels 1, 2, 3 are filled.
std::vector<std::int64_t> FilledCorners(const CImage& image) {
    const Bytes pixels = PixelsOf<unsigned char>(image);
    std::vector<std::int64_t> filled;
    for (const int label : {1, 2, 3})
        filled.push_back(std::count(pixels.begin(), pixels.end(), label) == 6 ? 1 : 0);
    return filled;
}

using Filled = std::vector<std::int64_t>;

TEST_F(ConvexifyObjectsPlugin, LabelDataAreVisitedUpToOneLabelAboveThoseThatTheHeaderNames) {
    for (std::size_t named = 0; named < 5; ++named) {
        auto image = ThreeCorners();
        SetLabelData(*image, Measured(*image));
        CQuillonHeaderTools::SetNumberOfLabels(*image, named);
        test::CPackHost host(std::move(image));
        // The data end with label 3: what lies above is absent, and no error.
        const std::size_t visited = std::min<std::size_t>(named + 1, 3);
        EXPECT_EQ(Run(host), "ConvexifyObjects<" + std::to_string(visited + 1) + ">()");
        EXPECT_EQ(FilledCorners(host.Result()), (Filled{1, visited > 1 ? 1 : 0, visited > 2 ? 1 : 0}));
        EXPECT_EQ(LabelCountOf(host.Result()), visited + 1);
    }
}

TEST_F(ConvexifyObjectsPlugin, LabelDataWithoutANumberOfLabelsAreVisitedUpToLabel1) {
    auto image = ThreeCorners();
    SetLabelData(*image, Measured(*image));
    test::CPackHost host(std::move(image));
    EXPECT_EQ(Run(host), "ConvexifyObjects<2>()");
    EXPECT_EQ(FilledCorners(host.Result()), (Filled{1, 0, 0}));
}

TEST_F(ConvexifyObjectsPlugin, LabelsBeyondTheEndOfTheDataAreAbsent) {
    for (const std::size_t length : {0U, 1U, 2U, 3U}) {
        auto image = ThreeCorners();
        StLabelingData data = Measured(*image);
        data.volume.resize(length);
        SetLabelData(*image, data);
        CQuillonHeaderTools::SetNumberOfLabels(*image, 1000000);
        test::CPackHost host(std::move(image));
        const std::size_t count = std::max<std::size_t>(length, 1);
        EXPECT_EQ(Run(host), "ConvexifyObjects<" + std::to_string(count) + ">()");
        EXPECT_EQ(FilledCorners(host.Result()), (Filled{length > 1 ? 1 : 0, length > 2 ? 1 : 0, 0}));
    }
    // Boxes too can be the ones that are too short.
    auto image = ThreeCorners();
    StLabelingData data = Measured(*image);
    data.extentZ.resize(3);
    SetLabelData(*image, data);
    CQuillonHeaderTools::SetNumberOfLabels(*image, 4);
    test::CPackHost host(std::move(image));
    EXPECT_EQ(Run(host), "ConvexifyObjects<3>()");
    EXPECT_EQ(FilledCorners(host.Result()), (Filled{1, 1, 0}));
}

TEST_F(ConvexifyObjectsPlugin, LabelDataAreTrustedWithoutReadingThePixels) {
    auto image = ThreeCorners();
    StLabelingData data = Measured(*image);
    data.volume[2] = 0;
    data.extentX[3] = 1;  // a box that cuts the object down to a column
    data.extentX[1] = 50; // one that leaves the image
    data.startY[1] = -4;
    data.extentY[1] = 40;
    SetLabelData(*image, data);
    CQuillonHeaderTools::SetNumberOfLabels(*image, 4);
    test::CPackHost host(std::move(image));
    EXPECT_EQ(RunAndListen(host), "ConvexifyObjects<3>()");
    EXPECT_EQ(FilledCorners(host.Result()), (Filled{1, 0, 0}));
    EXPECT_EQ(m_standardError, "convex hull features failed for object #3\n"
                               "\treason: Convex hull needs 3 affinely independent points, found 2.\n");
}

TEST_F(ConvexifyObjectsPlugin, HeaderOffsetsShiftTheBoxesOfARecordOfALargerImage) {
    // A record of a large image, of which a part from (20, 30, 40) on is left.
    CImage large(IMAGE_GREY_16, CSize(32, 40, 50), CSize(0, 0, 0));
    const CImageView<unsigned short> all(large);
    for (const auto& [x, y, z] : {std::array{22, 31, 41}, {25, 31, 41}, {22, 34, 41}, {22, 31, 44}})
        all.Row(y, z)[x] = 300;
    auto part = Empty(IMAGE_GREY_16, CSize(8, 6, 7));
    const CImageView<unsigned short> view(*part);
    for (std::int64_t z = 0; z < view.nz; ++z) {
        for (std::int64_t y = 0; y < view.ny; ++y)
            std::copy_n(all.Row(y + 30, z + 40) + 20, view.nx, view.Row(y, z));
    }
    SetLabelData(*part, Measured(large));
    CQuillonHeaderTools::SetNumberOfLabels(*part, 301);
    const auto before = PixelsOf<unsigned short>(*part);
    test::CPackHost host(std::move(part));
    // Without the offset the box lies outside.
    EXPECT_EQ(RunAndListen(host), "ConvexifyObjects<2>()");
    EXPECT_EQ(m_standardError, "convex hull features failed for object #300\n"
                               "\treason: Convex hull needs 4 affinely independent points, found 0.\n");
    EXPECT_EQ(PixelsOf<unsigned short>(host.Result()), before);
    SetOffset(host.Image(), 20, 30, 40);
    EXPECT_EQ(RunAndListen(host), "ConvexifyObjects<2>()");
    EXPECT_EQ(m_standardError, "");
    const auto after = PixelsOf<unsigned short>(host.Result());
    EXPECT_EQ(std::count(after.begin(), after.end(), 300), 20);
}

TEST_F(ConvexifyObjectsPlugin, DamagedLabelDataRaiseAndLeaveTheTreeAsItWas) {
    auto image = ThreeCorners();
    CQuillonHeaderTools::SetFeatures(*image, CExtractorLabelData::KeyToLabelData(), CValueMap());
    test::CPackHost host(std::move(image));
    EXPECT_EQ(Refusal(host), "StLabelingData: Label data lack the numbers \"volume\".");
    EXPECT_EQ(m_standardError, "");
    EXPECT_FALSE(host.Tree().HasEntry("output"));
}

TEST_F(ConvexifyObjectsPlugin, AValueOfAnotherKindUnderTheKeyOfTheLabelDataIsIgnored) {
    auto image = ThreeCorners();
    CQuillonHeaderTools::SetFeatures(*image, CExtractorLabelData::KeyToLabelData(), CValueBool(true));
    test::CPackHost host(std::move(image));
    EXPECT_EQ(Run(host), "ConvexifyObjects<4>()");
    EXPECT_EQ(FilledCorners(host.Result()), (Filled{1, 1, 1}));
}

// --- progress

TEST_F(ConvexifyObjectsPlugin, ACancelledRunEndsWithoutAnError) {
    test::HostProgress progress;
    progress.cancelAt = 0;
    test::CPackHost host(ThreeCorners());
    EXPECT_EQ(Run(host), "ConvexifyObjects<1>()"); // nothing was copied, nothing measured
    EXPECT_EQ(PixelsOf<unsigned char>(host.Result()), Bytes(27, 0));
}

TEST_F(ConvexifyObjectsPlugin, ReportsTheCopyTheMaximumTheMeasuringAndTheRepair) {
    test::HostProgress progress;
    test::CPackHost host(ThreeCorners());
    host.Set("method", Text(c_onlyBackground));
    Run(host);
    const std::string traversal = "ORVEN::Impl::VisitorHelper<0>::VisitImageData processing...";
    EXPECT_EQ(progress.texts,
              (std::vector<std::string>{traversal, traversal, "Measuring labels...", traversal}));
    EXPECT_EQ(progress.finished, 4);
}

} // namespace
