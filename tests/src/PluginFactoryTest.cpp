#include "support/CommandOutput.h"
#include "support/PackHost.h"

#include <sorblib2core/CString.h>
#include <sorblib2core/CValueString.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <string>
#include <string_view>

namespace {

/// All names of the pack.
constexpr std::array c_served{"ConvexifyObjects",
                              "CylinderMask",
                              "EuclideanSkeleton",
                              "ExactBisector",
                              "ExactMedialAxis",
                              "FeatureToImage",
                              "FieldFeaturesGrayValueImage",
                              "GaussFilter",
                              "Granulometry",
                              "GranulometryExport",
                              "LinearDt",
                              "LocalEulerNumber",
                              "LocalFiberDirections",
                              "LocalFiberDirectionsDialog",
                              "LocalFiberDirectionsExport",
                              "MarkSimplePoints",
                              "PartialDerivative",
                              "PointwiseRelation",
                              "SegmNiblack",
                              "SegmSauvola",
                              "Skeleton",
                              "SphericalMorphology",
                              "VoronoiEdtPlugin",
                              "Watershed"};

TEST(PluginFactory, ServesEveryName) {
    for (const char* name : c_served)
        EXPECT_NE(test::CreatePlugin(name), nullptr) << name;
}

TEST(PluginFactory, ComparesExactlyAndCaseSensitively) {
    for (const char* name : c_served) {
        const std::string text(name);
        EXPECT_EQ(test::CreatePlugin((text + " ").c_str()), nullptr);
        EXPECT_EQ(test::CreatePlugin((text + "x").c_str()), nullptr);
        EXPECT_EQ(test::CreatePlugin(text.substr(0, text.size() - 1).c_str()), nullptr);
        EXPECT_EQ(test::CreatePlugin(text.substr(1).c_str()), nullptr);
    }
    EXPECT_EQ(test::CreatePlugin("segmniblack"), nullptr);
    EXPECT_EQ(test::CreatePlugin("SEGMNIBLACK"), nullptr);
}

TEST(PluginFactory, DoesNotKnowVoronoiEdtWithoutItsLastWord) {
    EXPECT_EQ(test::CreatePlugin("VoronoiEdt"), nullptr);
}

TEST(PluginFactory, DoesNotKnowTheClassLikeNameTopologicalSkeleton) {
    EXPECT_EQ(test::CreatePlugin("TopologicalSkeleton"), nullptr);
}

TEST(PluginFactory, ReturnsNullForAnEmptyNameAndForNone) {
    EXPECT_EQ(test::CreatePlugin(""), nullptr);
    EXPECT_EQ(test::CreatePlugin(nullptr), nullptr);
}

TEST(PluginFactory, CreatesDistinctObjectsOfTheSameName) {
    const auto first = test::CreatePlugin("SegmNiblack");
    const auto second = test::CreatePlugin("SegmNiblack");
    ASSERT_NE(first, nullptr);
    ASSERT_NE(second, nullptr);
    EXPECT_NE(first.get(), second.get());
}

TEST(Pack, ExportsExactlyOneSymbol) {
    const std::string listing = test::CommandOutput("nm -D --defined-only '" QUILLON_PACK "'");
    ASSERT_FALSE(listing.empty());
    EXPECT_EQ(listing.substr(listing.find(' ') + 1), "T CreatePluginInstanceEx\n");
}

} // namespace
