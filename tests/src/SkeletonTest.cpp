// "Skeleton" and "EuclideanSkeleton", through the loaded pack and with the library's own algorithms. What
// they call, and who frees what, is in SkeletonCallsTest.cpp.

#include "oracles/TopologyOracle.h"
#include "support/CTestFolder.h"
#include "support/CThreadCount.h"
#include "support/PluginTest.h"
#include "support/Raised.h"
#include "support/TestImage.h"

#include <QuillonTransformation/CSkeletonCouprierZour.h>
#include <sorblib2core/CExBadParam.h>
#include <sorblib2core/CException.h>
#include <sorblib2core/CValueBool.h>
#include <sorblib2core/CValueDouble.h>
#include <sorblib2core/CValueLong.h>
#include <sorblib2core/CValueString.h>

#include <gtest/gtest.h>

#include <algorithm>

namespace {

using namespace ORVEN;
using test::Text;
using Bytes = std::vector<unsigned char>;

struct StPluginWords {
    const char* name;
    const char* className;
    const char* history; ///< up to the neighbourhood
    const char* label;
};

std::ostream& operator<<(std::ostream& stream, const StPluginWords& words) { return stream << words.name; }

class SkeletonPlugins : public test::PluginTest, public testing::WithParamInterface<StPluginWords> {
protected:
    SkeletonPlugins()
        : PluginTest(GetParam().name) {}
    ~SkeletonPlugins() override {
        CSkeletonCouprierZour::MaLut().clear();
        CSkeletonCouprierZour::BsLut().clear();
    }

    /// The history line with what stands behind r= and a=.
    static std::string Line(const std::string& neighborhood, const std::string& r, const std::string& a) {
        return std::string(GetParam().history) + neighborhood + ",r=" + r + ",a=" + a + ")";
    }

    const test::CTestFolder m_files;
};

INSTANTIATE_TEST_SUITE_P(, SkeletonPlugins,
                         testing::Values(StPluginWords{"Skeleton", "CTopologicalSkeletonPlugin",
                                                       "skeleton(topol,", "TopologicalSkeleton"},
                                         StPluginWords{"EuclideanSkeleton", "CEuclideanSkeletonPlugin",
                                                       "skeleton(euclidean,", "EuclideanSkeleton"}),
                         [](const auto& words) { return words.param.name; });

void SetNeighborhood(test::CPackHost& host, const std::string& id) { host.Set("Neighborhood", Text(id)); }

TEST_P(SkeletonPlugins, TestTheirInputStepByStep) {
    CValueMap tree;
    EXPECT_FALSE(m_plugin->TestParameters(tree));
    tree.SetEntry("input/documents/focused", new CValueLong(1));
    EXPECT_FALSE(m_plugin->TestParameters(tree));
    tree.SetEntry("input/documents/focused", new CValuePointer<CValueMap>(nullptr, 1));
    EXPECT_FALSE(m_plugin->TestParameters(tree));
    CValueMap document;
    tree.SetEntry("input/documents/focused", new CValuePointer<CValueMap>(&document, 1));
    EXPECT_FALSE(m_plugin->TestParameters(tree));
    document.SetEntry("content", new CValueLong(1));
    EXPECT_FALSE(m_plugin->TestParameters(tree));
    document.SetEntry("content", new CValuePointer<CImage>(nullptr, 1));
    EXPECT_FALSE(m_plugin->TestParameters(tree));
    CImage image(IMAGE_BINARY_FG, CSize(1, 1, 1), CSize(0, 0, 0));
    document.SetEntry("content", new CValuePointer<CImage>(&image, 1));
    EXPECT_TRUE(m_plugin->TestParameters(tree));
}

TEST_P(SkeletonPlugins, RaiseForAFocusedDocumentOfAnotherClass) {
    CValueMap tree;
    CImage image(IMAGE_BINARY_FG, CSize(1, 1, 1), CSize(0, 0, 0));
    tree.SetEntry("input/documents/focused", new CValuePointer<CImage>(&image, 1));
    EXPECT_THROW(m_plugin->UpdateParameters(tree), CExBadParam);
}

TEST_P(SkeletonPlugins, ShowTheAngleAfterRAndTheRadiusAfterA) {
    test::CPackHost host(test::Ball(9).Image());
    SetNeighborhood(host, "N26");
    host.Set("minRadius", new CValueLong(3));
    host.Set("minAngle", new CValueDouble(0.5));
    EXPECT_EQ(Run(host), Line("N26", "0.5", "3"));
}

TEST_P(SkeletonPlugins, WithoutRadiusAndAngleTheyAre0) {
    test::CPackHost host(test::Ball(9).Image());
    SetNeighborhood(host, "N6");
    EXPECT_EQ(Run(host), Line("N6", "0", "0"));
}

TEST_P(SkeletonPlugins, LeaveAParameterOfAnotherClassAsItWas) {
    test::CPackHost host(test::Ball(9).Image());
    SetNeighborhood(host, "N14_2");
    host.Set("minRadius", new CValueLong(-3));
    host.Set("minAngle", new CValueDouble(2.5));
    EXPECT_EQ(Run(host), Line("N14_2", "2.5", "-3"));
    host.Set("Neighborhood", new CValueLong(6));
    host.Set("minRadius", new CValueDouble(7.0));
    host.Set("minAngle", new CValueLong(1));
    EXPECT_EQ(Run(host), Line("N14_2", "2.5", "-3"));
    host.Tree().RemoveEntry("parameters");
    EXPECT_EQ(Run(host), Line("N14_2", "2.5", "-3"));
}

TEST_P(SkeletonPlugins, HandTheNeighborhoodOverUncheckedAndTheLibraryRefusesIt) {
    test::CPackHost host(test::Ball(9).Image());
    for (const std::string id : {"", "N18", "Neigh_26"}) {
        SetNeighborhood(host, id);
        EXPECT_EQ(Refusal(host),
                  "CSkeletonCouprierZour::EuclideanSkeleton: Invalid neighborhood id '" + id + "'.");
        EXPECT_EQ(m_standardError, "");
        EXPECT_FALSE(host.Tree().HasEntry("output"));
    }
}

TEST_P(SkeletonPlugins, GiveEachNeighborhoodItsSkeleton) {
    const test::StObject cube = test::Solid({6, 6, 6}, 1);
    const std::vector<std::int64_t> counts{56, 40, 49, 49};
    for (std::size_t i = 0; i < test::c_neighborhoodIds.size(); ++i) {
        test::CPackHost host(cube.Image());
        SetNeighborhood(host, test::c_neighborhoodIds[i]);
        Run(host);
        EXPECT_EQ(host.Result().Type(), IMAGE_BINARY_FG);
        EXPECT_EQ(host.Result().Size(), CSize(8, 8, 8));
        const auto pixels = test::PixelsOf<unsigned char>(host.Result());
        EXPECT_EQ(std::ranges::count(pixels, 1), counts[i]);
        EXPECT_EQ(std::ranges::count(pixels, 0), 512 - counts[i]);
    }
}

TEST_P(SkeletonPlugins, KeepTheAxisFromTheRadiusOn) {
    // A ball of radius 3 with a rod: the rod's end stays with radius 1 and falls with 3.
    test::StObject object = test::Solid({3, 3, 24}, 3);
    const test::StObject ball = test::Ball(9);
    for (const test::Vector& p : ball.Positions()) {
        if (ball.Has(p))
            object.pixels[object.Index({p[0], p[1], p[2]})] = 1;
    }
    const auto count = [&](std::int32_t radius) {
        test::CPackHost host(object.Image());
        SetNeighborhood(host, "N26");
        host.Set("minRadius", new CValueLong(radius));
        Run(host);
        const auto pixels = test::PixelsOf<unsigned char>(host.Result());
        return std::ranges::count(pixels, 1);
    };
    EXPECT_GE(count(1), 20);
    EXPECT_EQ(count(1), count(-1));
    EXPECT_LE(count(3), 6);
}

TEST_P(SkeletonPlugins, TakeImagesWithoutObjectFullAndOfOnePixel) {
    for (const std::string& id : test::c_neighborhoodIds) {
        test::CPackHost empty(test::StObject(4, 5, 6).Image());
        SetNeighborhood(empty, id);
        Run(empty);
        EXPECT_EQ(test::PixelsOf<unsigned char>(empty.Result()), Bytes(120));
        test::CPackHost full(test::Solid({3, 3, 3}, 0).Image());
        SetNeighborhood(full, id);
        Run(full);
        const auto pixels = test::PixelsOf<unsigned char>(full.Result());
        EXPECT_EQ(pixels[13], 1);
        EXPECT_EQ(std::ranges::count(pixels, 1), 1);
        test::CPackHost one(test::Solid({1, 1, 1}, 0).Image());
        SetNeighborhood(one, id);
        Run(one);
        EXPECT_EQ(test::PixelsOf<unsigned char>(one.Result()), Bytes{1});
    }
}

TEST_P(SkeletonPlugins, CarryTheAttributesOverAndChangeNothingOfTheInput) {
    test::CPackHost host(test::Ball(9).Image(), "foam.tif");
    CQuillonHeaderTools::SetSpacing(host.Image(), 0.5, 0.5, 2.0);
    CQuillonHeaderTools::AddToHistory(host.Image(), "scanned", 0);
    const auto before = test::PixelsOf<unsigned char>(host.Image());
    SetNeighborhood(host, "N26");
    Run(host);
    EXPECT_EQ(test::HistoryOf(host.Result()), (std::vector<std::string>{"scanned", Line("N26", "0", "0")}));
    EXPECT_EQ(test::HistoryOf(host.Image()), std::vector<std::string>{"scanned"});
    EXPECT_EQ(test::PixelsOf<unsigned char>(host.Image()), before);
    double x = 0.0;
    double y = 0.0;
    double z = 0.0;
    ASSERT_TRUE(CQuillonHeaderTools::GetSpacing(host.Result(), x, y, z));
    EXPECT_EQ(z, 2.0);
    EXPECT_EQ(host.DocumentCount(), 1U);
    EXPECT_EQ(host.ResultLabel(), "foam.tif");
}

TEST_P(SkeletonPlugins, NameTheResultThemselvesWhereTheDocumentHasNoLabel) {
    test::CPackHost host(test::Ball(9).Image(), "");
    SetNeighborhood(host, "N26");
    Run(host);
    EXPECT_EQ(host.ResultLabel(), GetParam().label);
    host.Document().SetEntry("label", new CValueBool(true));
    Run(host);
    EXPECT_EQ(host.ResultLabel(), GetParam().label);
}

TEST_P(SkeletonPlugins, ResetKeepsParametersAndDocument) {
    test::CPackHost host(test::Ball(9).Image());
    SetNeighborhood(host, "N26");
    const std::string line = Run(host);
    m_plugin->Reset();
    host.Tree().RemoveEntry("parameters");
    host.Tree().RemoveEntry("input");
    EXPECT_EQ(Run(host), line);
}

// --- look-up tables

TEST_P(SkeletonPlugins, TakePathsOfFilesThatExistForTheWholeProcess) {
    const std::string first = m_files.File("first.lut", "no table");
    const std::string second = m_files.File("second.lut", "no table");
    CValueMap settings;
    settings.SetEntry("malut", Text(first));
    settings.SetEntry("bslut", Text(second));
    m_plugin->Configure(nullptr, settings);
    EXPECT_EQ(CSkeletonCouprierZour::MaLut(), first);
    EXPECT_EQ(CSkeletonCouprierZour::BsLut(), second);
    // In either plug-in, and after this object too.
    test::CPackHost host(test::Ball(9).Image());
    SetNeighborhood(host, "N26");
    for (const char* name : {"Skeleton", "EuclideanSkeleton"}) {
        const auto raised = test::Raised<CException>([&] { host.Run(*test::CreatePlugin(name)); });
        const std::string begin = "Look-up table '" + first + "' is not usable: ";
        EXPECT_EQ(std::string(raised.Message()).substr(0, begin.size()), begin);
        EXPECT_FALSE(host.Tree().HasEntry("output"));
    }
    CSkeletonCouprierZour::MaLut().clear();
    const std::string begin = "Look-up table '" + second + "' is not usable: ";
    EXPECT_NE(Refusal(host).find(begin), std::string::npos);
}

TEST_P(SkeletonPlugins, KeepTheEarlierPathWhereTheFileIsMissingAndLookAtTheOtherAfterwards) {
    const std::string there = m_files.File("there.lut", "no table");
    CSkeletonCouprierZour::MaLut() = "earlier";
    CValueMap settings;
    settings.SetEntry("malut", Text(m_files / "no such file.lut"));
    settings.SetEntry("bslut", Text(there));
    m_plugin->Configure(nullptr, settings);
    EXPECT_EQ(CSkeletonCouprierZour::MaLut(), "earlier");
    EXPECT_EQ(CSkeletonCouprierZour::BsLut(), there);
    settings.SetEntry("bslut", Text(""));
    m_plugin->Configure(nullptr, settings);
    EXPECT_EQ(CSkeletonCouprierZour::BsLut(), there);
}

TEST_P(SkeletonPlugins, TakeNoDirectoryForALookUpTable) {
    CValueMap settings;
    settings.SetEntry("malut", Text(m_files.Path()));
    settings.SetEntry("bslut", Text(m_files.Path()));
    m_plugin->Configure(nullptr, settings);
    EXPECT_EQ(CSkeletonCouprierZour::MaLut(), "");
    EXPECT_EQ(CSkeletonCouprierZour::BsLut(), "");
    test::CPackHost host(test::Ball(9).Image());
    SetNeighborhood(host, "N26");
    EXPECT_NO_THROW(Run(host));
}

TEST_P(SkeletonPlugins, ReadPathsFromTheTopLevelAsTextsOnly) {
    const std::string there = m_files.File("there.lut", "no table");
    CValueMap settings;
    m_plugin->Configure(nullptr, settings);
    settings.SetEntry("malut", new CValueLong(1));
    settings.SetEntry("parameters/malut", Text(there));
    settings.SetEntry("parameters/bslut", Text(there));
    m_plugin->Configure(nullptr, settings);
    EXPECT_EQ(CSkeletonCouprierZour::MaLut(), "");
    EXPECT_EQ(CSkeletonCouprierZour::BsLut(), "");
}

// --- what differs

class SkeletonPlugin : public test::PluginTest {
protected:
    SkeletonPlugin()
        : PluginTest("Skeleton") {}
};

class EuclideanSkeletonPlugin : public test::PluginTest {
protected:
    EuclideanSkeletonPlugin()
        : PluginTest("EuclideanSkeleton") {}
};

Bytes SkeletonOfABlock(const char* name, double angle) {
    test::CPackHost host(test::Solid({8, 9, 20}, 1).Image());
    SetNeighborhood(host, "N26");
    host.Set("minAngle", new CValueDouble(angle));
    host.Run(*test::CreatePlugin(name));
    return test::PixelsOf<unsigned char>(host.Result());
}

TEST(SkeletonAngles, AreAMatterOfTheTopologicalOneAlone) {
    const Bytes whole = SkeletonOfABlock("EuclideanSkeleton", 0.0);
    EXPECT_EQ(SkeletonOfABlock("EuclideanSkeleton", 3.0), whole);
    EXPECT_EQ(SkeletonOfABlock("Skeleton", 0.0), whole);
    EXPECT_LT(std::ranges::count(SkeletonOfABlock("Skeleton", 3.0), 1), std::ranges::count(whole, 1));
}

TEST_F(SkeletonPlugin, CancelledAnywhereDeliversADocumentOfZerosOrAWholeOne) {
    const test::CThreadCount oneThread(1);
    const test::StObject cube = test::Solid({6, 6, 6}, 1);
    int zeros = 0;
    for (int question = 0;; ++question) {
        test::HostProgress progress;
        progress.cancelAt = question;
        test::CPackHost host(cube.Image());
        SetNeighborhood(host, "N26");
        EXPECT_EQ(Run(host), "skeleton(topol,N26,r=0,a=0)");
        ASSERT_EQ(host.DocumentCount(), 1U);
        const auto pixels = test::PixelsOf<unsigned char>(host.Result());
        if (!progress.wasCancelled) {
            EXPECT_EQ(std::ranges::count(pixels, 1), 40);
            break;
        }
        ASSERT_EQ(pixels, Bytes(512)) << question;
        ++zeros;
    }
    EXPECT_GT(zeros, 5);
}

TEST_F(EuclideanSkeletonPlugin, CancelledBeforeTheThinningDeliversNothingAndInItADocumentOfZeros) {
    const test::CThreadCount oneThread(1);
    const test::StObject cube = test::Solid({6, 6, 6}, 1);
    int nothing = 0;
    int zeros = 0;
    for (int question = 0;; ++question) {
        test::HostProgress progress;
        progress.cancelAt = question;
        test::CPackHost host(cube.Image());
        SetNeighborhood(host, "N26");
        const test::CapturedOutput silence;
        host.Run(*m_plugin);
        if (host.DocumentCount() == 0) {
            EXPECT_TRUE(progress.wasCancelled);
            EXPECT_EQ(zeros, 0);
            EXPECT_FALSE(host.Tree().HasEntry("output"));
            ++nothing;
            continue;
        }
        EXPECT_EQ(test::HistoryOf(host.Result()).back(), "skeleton(euclidean,N26,r=0,a=0)");
        const auto pixels = test::PixelsOf<unsigned char>(host.Result());
        if (!progress.wasCancelled) {
            EXPECT_EQ(std::ranges::count(pixels, 1), 40);
            break;
        }
        ASSERT_EQ(pixels, Bytes(512)) << question;
        ++zeros;
    }
    EXPECT_GT(nothing, 4);
    EXPECT_GT(zeros, 8);
}

} // namespace
