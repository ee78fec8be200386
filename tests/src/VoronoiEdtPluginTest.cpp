#include "support/CRandomSeeds.h"
#include "support/PluginTest.h"
#include "support/TestImage.h"

#include <QuillonUtils/CCylinderMask.h>
#include <sorblib2core/CExBadParam.h>
#include <sorblib2core/CValueBool.h>
#include <sorblib2core/CValueDouble.h>
#include <sorblib2core/CValueLong.h>
#include <sorblib2core/CValueString.h>
#include <sorblib2core/CValueVector.h>
#include <sorblib2image/CQuillonHeaderTools.h>

#include <gtest/gtest.h>

#include <algorithm>
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

class VoronoiEdtPlugin : public test::PluginTest {
protected:
    VoronoiEdtPlugin()
        : PluginTest("VoronoiEdtPlugin") {}
};

// --- frame
// --------------------------------------------------------------------------------------------------------

TEST_F(VoronoiEdtPlugin, AFocusedTextIsNotTakenAndLeavesTheOldDocument) {
    test::CPackHost host(Binary(CSize(2, 2)));
    m_plugin->UpdateParameters(host.Tree());
    CValueMap tree;
    tree.SetEntry("input/documents/focused", Text("focus"));
    EXPECT_FALSE(m_plugin->TestParameters(tree));
    m_plugin->UpdateParameters(tree);
    const test::CapturedOutput silence;
    m_plugin->GetData(host.Tree());
    EXPECT_EQ(test::TakeDocuments(host.Tree()).size(), 1U);
}

TEST_F(VoronoiEdtPlugin, ADefaultObjectUsesTheMaskAndMeasuresExactDistancesInTheBackground) {
    test::CPackHost host(Binary(CSize(3, 2), {1, 0, 0, 0, 0, 0}));
    EXPECT_EQ(Run(host), "EdtVoronoi(exact,bg,NET,on cylindrical mask)");
    EXPECT_EQ(host.Result().Type(), IMAGE_GREY_F);
    EXPECT_EQ(PixelsOf<float>(host.Result()), (Floats{0, 1, 2, 1, std::sqrt(2.0F), std::sqrt(5.0F)}));
}

// --- parameters
// ---------------------------------------------------------------------------------------------------

TEST_F(VoronoiEdtPlugin, OnlyTheTextForegroundSelectsTheForeground) {
    test::CPackHost host(Binary(CSize(3, 1), {0, 1, 0}));
    host.Set("use cylindrical mask", new CValueBool(false));
    for (const char* text : {"background", "Foreground", "", "foreground ", "fg"}) {
        host.Set("ComputeOn", Text("foreground"));
        EXPECT_EQ(Run(host), "EdtVoronoi(exact,fg,NET)");
        EXPECT_EQ(PixelsOf<float>(host.Result()), (Floats{0, 1, 0}));
        host.Set("ComputeOn", Text(text));
        EXPECT_EQ(Run(host), "EdtVoronoi(exact,bg,NET)") << text;
        EXPECT_EQ(PixelsOf<float>(host.Result()), (Floats{1, 0, 1})) << text;
    }
}

TEST_F(VoronoiEdtPlugin, OnlyTheTextEmbeddedWithASmallEIsEmbedded) {
    test::CPackHost host(Binary(CSize(3, 1), {0, 0, 1}));
    host.Set("use cylindrical mask", new CValueBool(false));
    host.Set("EdgeTreatment", Text("embedded"));
    EXPECT_EQ(Run(host), "EdtVoronoi(exact,bg,EMB)");
    EXPECT_EQ(PixelsOf<float>(host.Result()), (Floats{1, 1, 0}));
    for (const char* text : {"Embedded", "EMBEDDED", "embedded edges", ""}) {
        host.Set("EdgeTreatment", Text(text));
        EXPECT_EQ(Run(host), "EdtVoronoi(exact,bg,NET)") << text;
        EXPECT_EQ(PixelsOf<float>(host.Result()), (Floats{2, 1, 0})) << text;
    }
}

TEST_F(VoronoiEdtPlugin, AnyTextButExactValuesYieldsSquares) {
    test::CPackHost host(Binary(CSize(3, 1), {0, 0, 1}));
    host.Set("use cylindrical mask", new CValueBool(false));
    for (const char* text : {"squared values", "Exact values", "exact", ""}) {
        host.Set("exact_or_squared", Text("exact values"));
        EXPECT_EQ(Run(host), "EdtVoronoi(exact,bg,NET)");
        EXPECT_EQ(PixelsOf<float>(host.Result()), (Floats{2, 1, 0}));
        host.Set("exact_or_squared", Text(text));
        EXPECT_EQ(Run(host), "EdtVoronoi(squared,bg,NET)") << text;
        EXPECT_EQ(PixelsOf<float>(host.Result()), (Floats{4, 1, 0})) << text;
    }
}

TEST_F(VoronoiEdtPlugin, ParametersThatAreMissingOrOfAnotherKindKeepTheirOldValues) {
    test::CPackHost host(Binary(CSize(3, 1), {0, 0, 1}));
    host.Set("ComputeOn", Text("foreground"));
    host.Set("EdgeTreatment", Text("embedded"));
    host.Set("exact_or_squared", Text("squared values"));
    const std::string line = "EdtVoronoi(squared,fg,EMB,on cylindrical mask)";
    EXPECT_EQ(Run(host), line);
    host.Tree().RemoveEntry("parameters");
    EXPECT_EQ(Run(host), line);
    for (const char* key : {"ComputeOn", "EdgeTreatment", "exact_or_squared"})
        host.Set(key, new CValueBool(false));
    host.Set("use cylindrical mask", Text("no"));
    EXPECT_EQ(Run(host), line);
    host.Tree().SetEntry("parameters", Text("ComputeOn=background"));
    EXPECT_EQ(Run(host), line);
}

// --- the cylinder
// -------------------------------------------------------------------------------------------------

bool IsInside(std::int64_t p, std::int64_t q, double s, double t, double radius) {
    const double a = static_cast<double>(p) - s;
    const double b = static_cast<double>(q) - t;
    return a * a + b * b <= radius * radius;
}

TEST_F(VoronoiEdtPlugin, OutsideTheCylinderOnRecordTheImageCountsAs0AndTheDistanceIs0) {
    // A cylinder along z around (2, 1) with radius 1, in a plane of objects: its rim touches what is cut off.
    test::CPackHost host(Binary(CSize(6, 3, 1), Bytes(18, 1)));
    const CCylinderMask mask(nullptr, nullptr);
    mask.SetCylinderParameters(host.Image(), CString("Z", CString::ENC_UTF8), 2, 1, 1);
    host.Set("ComputeOn", Text("foreground"));
    EXPECT_EQ(Run(host), "EdtVoronoi(exact,fg,NET,on cylindrical mask)");
    const float root = std::sqrt(2.0F);
    EXPECT_EQ(PixelsOf<float>(host.Result()), (Floats{0, 0, 1, 0, 0, 0,    //
                                                      0, 1, root, 1, 0, 0, //
                                                      0, 0, 1, 0, 0, 0}));
    EXPECT_EQ(PixelsOf<unsigned char>(host.Image()), Bytes(18, 1)); // the input is only read

    host.Set("use cylindrical mask", new CValueBool(false));
    EXPECT_EQ(Run(host), "EdtVoronoi(exact,fg,NET)");
    EXPECT_EQ(PixelsOf<float>(host.Result()), Floats(18, 0)); // no seed at all
}

TEST_F(VoronoiEdtPlugin, EmbeddedTheImageCountsAs1OutsideTheCylinder) {
    test::CPackHost host(Binary(CSize(7, 1, 1), Bytes(7, 0)));
    const CCylinderMask mask(nullptr, nullptr);
    mask.SetCylinderParameters(host.Image(), CString("Z", CString::ENC_UTF8), 3, 0, 2);
    host.Set("EdgeTreatment", Text("embedded"));
    host.Set("exact_or_squared", Text("squared values"));
    Run(host);
    EXPECT_EQ(PixelsOf<float>(host.Result()),
              (Floats{0, 1, 1, 1, 1, 1, 0})); // the borders of y and z are near
    test::CPackHost tall(Binary(CSize(7, 9, 9), Bytes(567, 0)));
    mask.SetCylinderParameters(tall.Image(), CString("Z", CString::ENC_UTF8), 3, 4, 2);
    tall.Set("EdgeTreatment", Text("embedded"));
    Run(tall);
    const CImageView<const float> view(tall.Result());
    EXPECT_EQ(Floats(view.Row(4, 4), view.Row(4, 4) + 7), (Floats{0, 1, 2, 5, 2, 1, 0}));
}

TEST_F(VoronoiEdtPlugin, AnImageWithoutACylinderOnRecordIsMeasuredAsAWhole) {
    test::CPackHost host(Binary(CSize(4, 3, 2)));
    CImageView<unsigned char>(host.Image()).Row(1, 0)[2] = 1;
    Run(host);
    const Floats masked = PixelsOf<float>(host.Result());
    host.Set("use cylindrical mask", new CValueBool(false));
    Run(host);
    EXPECT_EQ(PixelsOf<float>(host.Result()), masked);
    EXPECT_GT(*std::ranges::max_element(masked), 2.0F);
}

/// The definition: each pixel against all pixels, in an image that was cut to the cylinder.
Floats BruteForce(const CImage& binary, bool onForeground, bool isEmbedded,
                  const std::vector<double>& cylinder, const std::vector<double>& spacing) {
    const CImageView<const unsigned char> view(binary);
    const auto isIn = [&](std::int64_t x, std::int64_t y) {
        return cylinder.empty() || IsInside(x, y, cylinder[0], cylinder[1], cylinder[2]);
    };
    const auto isBeyond = [&](std::int64_t x, std::int64_t y, std::int64_t z) {
        return x < 0 || y < 0 || z < 0 || x >= view.nx || y >= view.ny || z >= view.nz;
    };
    const auto isSeed = [&](std::int64_t x, std::int64_t y, std::int64_t z) {
        if (isBeyond(x, y, z))
            return isEmbedded;
        const bool isObject = isIn(x, y) ? view.Row(y, z)[x] != 0 : isEmbedded;
        return isObject != onForeground;
    };
    Floats distances;
    for (std::int64_t z = 0; z < view.nz; ++z) {
        for (std::int64_t y = 0; y < view.ny; ++y) {
            for (std::int64_t x = 0; x < view.nx; ++x) {
                double nearest = std::numeric_limits<double>::infinity();
                for (std::int64_t w = -1; w <= view.nz; ++w) {
                    for (std::int64_t v = -1; v <= view.ny; ++v) {
                        for (std::int64_t u = -1; u <= view.nx; ++u) {
                            if (!isSeed(u, v, w))
                                continue;
                            const double dx = spacing[0] * static_cast<double>(u - x);
                            const double dy = spacing[1] * static_cast<double>(v - y);
                            const double dz = spacing[2] * static_cast<double>(w - z);
                            nearest = std::min(nearest, dx * dx + dy * dy + dz * dz);
                        }
                    }
                }
                const bool isMeasured = isIn(x, y) && std::isfinite(nearest);
                distances.push_back(isMeasured ? static_cast<float>(std::sqrt(nearest)) : 0.0F);
            }
        }
    }
    return distances;
}

TEST_F(VoronoiEdtPlugin, EqualsTheDefinitionOnRandomImagesInAllModes) {
    for (const unsigned seed : test::CRandomSeeds(0, 200)) {
        std::mt19937 random(seed);
        const auto extent = [&random] { return std::uniform_int_distribution<std::int64_t>(1, 9)(random); };
        const auto coin = [&random] { return random() % 2 == 0; };
        const CSize size(extent(), extent(), extent());
        test::CPackHost host(Binary(size));
        const CImageView<unsigned char> view(host.Image());
        const unsigned sparsity = 2 + static_cast<unsigned>(random() % 20);
        for (std::int64_t z = 0; z < view.nz; ++z) {
            for (std::int64_t y = 0; y < view.ny; ++y) {
                for (std::int64_t x = 0; x < view.nx; ++x)
                    view.Row(y, z)[x] = random() % sparsity == 0 ? 1 : 0;
            }
        }
        std::vector<double> spacing{1, 1, 1};
        if (coin())
            spacing = {1, 2, 3};
        CQuillonHeaderTools::SetSpacing(host.Image(), spacing[0], spacing[1], spacing[2]);
        std::vector<double> cylinder;
        if (coin()) {
            cylinder = {static_cast<double>(random() % 9), static_cast<double>(random() % 9),
                        static_cast<double>(random() % 6)};
            CCylinderMask(nullptr, nullptr)
                .SetCylinderParameters(host.Image(), CString("Z", CString::ENC_UTF8), cylinder[0],
                                       cylinder[1], cylinder[2]);
        }
        const bool onForeground = coin();
        const bool isEmbedded = coin();
        host.Set("ComputeOn", Text(onForeground ? "foreground" : "background"));
        host.Set("EdgeTreatment", Text(isEmbedded ? "embedded" : ""));
        const std::string history = Run(host);
        ASSERT_EQ(PixelsOf<float>(host.Result()),
                  BruteForce(host.Image(), onForeground, isEmbedded, cylinder, spacing))
            << size.ToString() << ' ' << history;
    }
}

// --- the result
// ---------------------------------------------------------------------------------------------------

TEST_F(VoronoiEdtPlugin, TheResultAlwaysHasItsOwnMinimumAndMaximum) {
    test::CPackHost host(Binary(CSize(4, 1), {0, 0, 0, 1}));
    CValueVector earlier;
    earlier.PushBack(new CValueDouble(-7));
    earlier.PushBack(new CValueDouble(7));
    CQuillonHeaderTools::SetMetaInfo(host.Image(), CQuillonHeaderTools::c_sMetaMinMax.c_str(), earlier);
    for (const bool usesCylinder : {true, false}) {
        host.Set("use cylindrical mask", new CValueBool(usesCylinder));
        Run(host);
        EXPECT_EQ(test::RecordedMinMax(host.Result()), (std::vector<double>{0, 3}));
    }
}

TEST_F(VoronoiEdtPlugin, TheResultHasTheAttributesOfTheInput) {
    test::CPackHost host(Binary(CSize(2, 2)));
    CQuillonHeaderTools::SetSpacing(host.Image(), 1, 2, 3);
    CQuillonHeaderTools::AddToHistory(host.Image(), "earlier", 0);
    CCylinderMask(nullptr, nullptr)
        .SetCylinderParameters(host.Image(), CString("Z", CString::ENC_UTF8), 1, 1, 5);
    Run(host);
    double x = 0;
    double y = 0;
    double z = 0;
    ASSERT_TRUE(CQuillonHeaderTools::GetSpacing(host.Result(), x, y, z));
    EXPECT_EQ(z, 3);
    EXPECT_EQ(test::HistoryOf(host.Result()),
              (std::vector<std::string>{"earlier", "EdtVoronoi(exact,bg,NET,on cylindrical mask)"}));
    CValueMap record;
    EXPECT_TRUE(CQuillonHeaderTools::GetMetaInfo(host.Result(), "CylinderMask", record));
    EXPECT_EQ(host.Image().Attributes().Entry("history", true)->Vector()->size(), 1U);
}

TEST_F(VoronoiEdtPlugin, ADocumentWithoutLabelGetsEdtVoronoi) {
    test::CPackHost bare(Binary(CSize(2, 2)), "");
    Run(bare);
    EXPECT_EQ(bare.ResultLabel(), "EdtVoronoi");
    test::CPackHost labelled(Binary(CSize(2, 2)), "pores");
    Run(labelled);
    EXPECT_EQ(labelled.ResultLabel(), "pores");
}

TEST_F(VoronoiEdtPlugin, WritesTheDebuggingLineOfItsExtrema) {
    test::CPackHost host(Binary(CSize(2, 2)));
    const test::CapturedOutput output;
    host.Run(*m_plugin);
    EXPECT_EQ(output.Text(),
              "DEBUG************* access is readonly visitor=N5ORVEN8visitors15CAnalyzerMinMaxIfEE "
              "image=N5ORVEN6IImageE pixeltype=f\n");
}

TEST_F(VoronoiEdtPlugin, AnErrorOfTheTransformIsReportedAndPropagates) {
    for (const bool usesCylinder : {true, false}) {
        test::CPackHost host(ImageOf<unsigned char>(IMAGE_GREY_8, CSize(2, 2), {}));
        host.Set("use cylindrical mask", new CValueBool(usesCylinder));
        EXPECT_EQ(Refusal(host), "ORVEN::CEdtVoronoi::CalculateDistanceMap: Binary image is not of type "
                                 "'IMAGE_MONO_BINARY' but 'IMAGE_GREY_8'.");
        EXPECT_EQ(m_standardError,
                  "VoronoiEdtPlugin caught an ORVEN::CException: Binary image is not of type "
                  "'IMAGE_MONO_BINARY' but 'IMAGE_GREY_8'.\n");
        EXPECT_FALSE(host.Tree().HasEntry("output"));
    }
    test::CPackHost large(Binary(CSize(65535, 1)));
    EXPECT_EQ(Refusal(large),
              "ORVEN::CEdtVoronoi::CalculateDistanceMap: Binary image exceeds size in direction '0' "
              "with value '65535' (max is '-1').");
}

TEST_F(VoronoiEdtPlugin, SpacingThatIsNoLengthRunsThrough) {
    constexpr double nan = std::numeric_limits<double>::quiet_NaN();
    constexpr double infinity = std::numeric_limits<double>::infinity();
    for (const double length : {0.0, -2.0, 1e-200, 1e200, infinity, nan}) {
        for (const bool isEmbedded : {false, true}) {
            test::CPackHost host(Binary(CSize(4, 3, 2)));
            CImageView<unsigned char>(host.Image()).Row(1, 0)[2] = 1;
            CQuillonHeaderTools::SetSpacing(host.Image(), length, 1, 2);
            host.Set("EdgeTreatment", Text(isEmbedded ? "embedded" : ""));
            EXPECT_EQ(Refusal(host), "nothing") << length;
            CQuillonHeaderTools::SetSpacing(host.Image(), length, length, length);
            EXPECT_EQ(Refusal(host), "nothing") << length;
        }
    }
}

TEST_F(VoronoiEdtPlugin, EmptyImagesAndSinglePixelsPass) {
    for (const CSize& size : {CSize(0, 3, 2), CSize(3, 2, 0), CSize(0, 0), CSize(1, 1, 1), CSize(1, 1)}) {
        test::CPackHost host(Binary(size));
        Run(host);
        EXPECT_EQ(host.Result().Size(), size);
        EXPECT_EQ(PixelsOf<float>(host.Result()), Floats(static_cast<std::size_t>(size.PixelCount()), 0));
    }
}

} // namespace
