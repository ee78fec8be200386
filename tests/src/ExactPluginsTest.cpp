// "ExactMedialAxis" and "ExactBisector", through the loaded pack.

#include "oracles/AxisOracle.h"
#include "support/CRandomSeeds.h"
#include "support/CTestFolder.h"
#include "support/PluginTest.h"
#include "support/Raised.h"
#include "support/TestImage.h"

#include <QuillonTransformation/CExactBisector.h>
#include <QuillonTransformation/CExactMedialAxis.h>
#include <QuillonTransformation/CSkeletonCouprierZour.h>
#include <QuillonTransformation/axis/FindMedialAxisNeighborhood.h>
#include <QuillonTransformation/axis/LookUpTableFile.h>
#include <sorblib2core/CExBadParam.h>
#include <sorblib2core/CException.h>
#include <sorblib2core/CValueBool.h>
#include <sorblib2core/CValueDouble.h>
#include <sorblib2core/CValueLong.h>
#include <sorblib2core/CValueString.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <bit>
#include <cstring>
#include <fstream>

namespace {

using namespace ORVEN;
using test::Text;
using Bytes = std::vector<unsigned char>;
using Floats = std::vector<float>;

/// The bytes of all pixels.
Bytes BytesOf(const CImage& image) {
    if (image.Type() == IMAGE_BINARY_FG)
        return test::PixelsOf<unsigned char>(image);
    const Floats pixels = test::PixelsOf<float>(image);
    Bytes bytes(pixels.size() * sizeof(float));
    std::memcpy(bytes.data(), pixels.data(), bytes.size());
    return bytes;
}

struct StPluginWords {
    const char* name;
    const char* className;
    const char* plainHistory; ///< with radius 0 and angle 0
    bool isBisector;
};

std::ostream& operator<<(std::ostream& stream, const StPluginWords& words) { return stream << words.name; }

/// Clears the paths of the process, before and after.
class CPathsOfProcess {
public:
    CPathsOfProcess() { Clear(); }
    CPathsOfProcess(const CPathsOfProcess&) = delete;
    CPathsOfProcess& operator=(const CPathsOfProcess&) = delete;
    ~CPathsOfProcess() { Clear(); }

private:
    static void Clear() {
        CExactMedialAxis::Lut().clear();
        CExactBisector::Lut().clear();
    }
};

class ExactPlugins : public test::PluginTest, public testing::WithParamInterface<StPluginWords> {
protected:
    ExactPlugins()
        : PluginTest(GetParam().name) {}

    const CPathsOfProcess m_paths;
    const test::CTestFolder m_files;
};

INSTANTIATE_TEST_SUITE_P(, ExactPlugins,
                         testing::Values(StPluginWords{"ExactMedialAxis", "CExactMedialAxisPlugin",
                                                       "medialaxis(exact,r=0)", false},
                                         StPluginWords{"ExactBisector", "CExactBisectorPlugin",
                                                       "Bisector(exact,r=0,a=0)", true}),
                         [](const auto& words) { return words.param.name; });

TEST_P(ExactPlugins, TestTheirInputStepByStep) {
    CValueMap tree;
    EXPECT_FALSE(m_plugin->TestParameters(tree));
    tree.SetEntry("input/documents/focused", new CValueLong(1));
    EXPECT_FALSE(m_plugin->TestParameters(tree));
    tree.SetEntry("input/documents/focused", new CValuePointer<CValueMap>(nullptr, 1));
    EXPECT_FALSE(m_plugin->TestParameters(tree));
    CValueMap document;
    tree.SetEntry("input/documents/focused", new CValuePointer<CValueMap>(&document, 1));
    EXPECT_FALSE(m_plugin->TestParameters(tree));
    document.SetEntry("content", new CValuePointer<CImage>(nullptr, 1));
    EXPECT_FALSE(m_plugin->TestParameters(tree));
    CImage image(IMAGE_BINARY_FG, CSize(1, 1, 1), CSize(0, 0, 0));
    document.SetEntry("content", new CValuePointer<CImage>(&image, 1));
    EXPECT_TRUE(m_plugin->TestParameters(tree));
}

TEST_P(ExactPlugins, WriteNothingWithoutABinaryImage) {
    CValueMap tree;
    m_plugin->UpdateParameters(tree);
    m_plugin->GetData(tree);
    EXPECT_TRUE(tree.IsEmpty());

    CImage grey(IMAGE_GREY_8, CSize(3, 3, 3), CSize(0, 0, 0));
    CValueMap document;
    tree.SetEntry("input/documents/focused", new CValuePointer<CValueMap>(&document, 1));
    m_plugin->UpdateParameters(tree);
    m_plugin->GetData(tree);
    EXPECT_FALSE(tree.HasEntry("output"));
    document.SetEntry("content", new CValuePointer<CImage>(&grey, 1));
    m_plugin->GetData(tree);
    EXPECT_FALSE(tree.HasEntry("output"));
}

TEST_P(ExactPlugins, RaiseForAFocusedDocumentOfAnotherClass) {
    CValueMap tree;
    CImage image(IMAGE_BINARY_FG, CSize(1, 1, 1), CSize(0, 0, 0));
    tree.SetEntry("input/documents/focused", new CValuePointer<CImage>(&image, 1));
    EXPECT_THROW(m_plugin->UpdateParameters(tree), CExBadParam);
}

TEST_P(ExactPlugins, CarryTheAttributesOverAndChangeNothingOfTheInput) {
    test::CPackHost host(test::Ball(9).Image(), "foam.tif");
    CQuillonHeaderTools::SetSpacing(host.Image(), 0.5, 0.5, 2.0);
    CQuillonHeaderTools::AddToHistory(host.Image(), "scanned", 0);
    const Bytes before = BytesOf(host.Image());
    EXPECT_EQ(Run(host), GetParam().plainHistory);
    EXPECT_EQ(test::HistoryOf(host.Result()), (std::vector<std::string>{"scanned", GetParam().plainHistory}));
    EXPECT_EQ(test::HistoryOf(host.Image()), std::vector<std::string>{"scanned"});
    EXPECT_EQ(BytesOf(host.Image()), before);
    double x = 0.0;
    double y = 0.0;
    double z = 0.0;
    ASSERT_TRUE(CQuillonHeaderTools::GetSpacing(host.Result(), x, y, z));
    EXPECT_EQ(z, 2.0);
    EXPECT_EQ(host.DocumentCount(), 1U);
    EXPECT_EQ(host.ResultLabel(), "foam.tif");
    EXPECT_EQ(host.Result().Type(), GetParam().isBisector ? IMAGE_GREY_F : IMAGE_BINARY_FG);
    EXPECT_EQ(host.Result().Size(), host.Image().Size());
}

TEST_P(ExactPlugins, NameTheResultThemselvesWhereTheDocumentHasNoLabel) {
    test::CPackHost host(test::Ball(9).Image(), "");
    Run(host);
    EXPECT_EQ(host.ResultLabel(), GetParam().name);
    host.Document().SetEntry("label", new CValueBool(true));
    Run(host);
    EXPECT_EQ(host.ResultLabel(), GetParam().name);
    host.Document().SetEntry("label", Text("")); // an empty text is one
    Run(host);
    EXPECT_EQ(host.ResultLabel(), "");
}

TEST_P(ExactPlugins, ResetKeepsParametersAndDocument) {
    test::CPackHost host(test::Ball(9).Image());
    host.Set("minRadius", new CValueLong(2));
    const std::string line = Run(host);
    m_plugin->Reset();
    host.Tree().RemoveEntry("parameters");
    host.Tree().RemoveEntry("input");
    EXPECT_EQ(Run(host), line);
}

TEST_P(ExactPlugins, TakeImagesWithoutObjectFullAndOfOnePixel) {
    const auto nonZero = [this](const test::StObject& object) {
        test::CPackHost host(object.Image());
        Run(host);
        const Bytes bytes = BytesOf(host.Result());
        return std::ranges::any_of(bytes, [](unsigned char byte) { return byte != 0; });
    };
    EXPECT_FALSE(nonZero(test::StObject(4, 5, 6)));
    EXPECT_TRUE(nonZero(test::Solid({4, 5, 6}, 0)));
    EXPECT_TRUE(nonZero(test::Solid({1, 1, 1}, 0)));
}

/// Cancels itself at a step.
class CCancelAtStep : public test::HostProgress {
public:
    explicit CCancelAtStep(std::int64_t step)
        : m_step(step) {}
    void Step(unsigned amount, int flag) override {
        RecordingProgress::Step(amount, flag);
        m_isCancelled = m_isCancelled || steps >= m_step;
    }
    bool IsCancelled() override { return m_isCancelled; }

private:
    std::int64_t m_step;
    std::atomic<bool> m_isCancelled{false};
};

TEST_P(ExactPlugins, DeliverADocumentHoweverEarlyTheUserCancels) {
    const test::StObject block = test::Solid({20, 20, 40}, 0);
    Bytes whole;
    std::int64_t stepCount = 0;
    {
        const test::HostProgress progress;
        test::CPackHost host(block.Image());
        Run(host);
        whole = BytesOf(host.Result());
        stepCount = progress.steps;
    }
    ASSERT_GT(stepCount, 4);
    bool wasCutShort = false;
    for (std::int64_t step = 0; step <= stepCount; ++step) {
        SCOPED_TRACE(step);
        const CCancelAtStep progress(step);
        test::CPackHost host(block.Image());
        EXPECT_EQ(Run(host), GetParam().plainHistory);
        EXPECT_EQ(host.DocumentCount(), 1U);
        const Bytes bytes = BytesOf(host.Result());
        EXPECT_EQ(bytes.size(), whole.size());
        wasCutShort = wasCutShort || bytes != whole;
    }
    EXPECT_TRUE(wasCutShort);
}

TEST_P(ExactPlugins, ReportToTheHostInBothStages) {
    const test::HostProgress progress;
    test::CPackHost host(test::Ball(9).Image());
    Run(host);
    ASSERT_GE(progress.texts.size(), 2U);
    EXPECT_EQ(progress.texts.back(), GetParam().isBisector ? "bisector" : "medial axis");
    EXPECT_EQ(progress.finished, static_cast<int>(progress.texts.size()));
}

// --- look-up tables ---

TEST_P(ExactPlugins, TakeThePathsThatTheyReadOfFilesThatExist) {
    const std::string axis = m_files.File("axis.lut", "no table");
    const std::string spheres = m_files.File("spheres.lut", "no table");
    CValueMap settings;
    settings.SetEntry("malut", Text(axis));
    settings.SetEntry("bslut", Text(spheres));
    m_plugin->Configure(nullptr, settings);
    EXPECT_EQ(CExactMedialAxis::Lut(), axis);
    EXPECT_EQ(CExactBisector::Lut(), GetParam().isBisector ? spheres : "");
    EXPECT_EQ(CSkeletonCouprierZour::MaLut(), ""); // the skeletons have paths of their own
    EXPECT_EQ(CSkeletonCouprierZour::BsLut(), "");
}

TEST_P(ExactPlugins, KeepTheEarlierPathWhereTheFileIsMissingAndLookAtTheOtherAfterwards) {
    const std::string there = m_files.File("there.lut", "no table");
    CExactMedialAxis::Lut() = "earlier";
    CValueMap settings;
    settings.SetEntry("malut", Text(there + ".missing"));
    settings.SetEntry("bslut", Text(there));
    m_plugin->Configure(nullptr, settings);
    EXPECT_EQ(CExactMedialAxis::Lut(), "earlier");
    EXPECT_EQ(CExactBisector::Lut(), GetParam().isBisector ? there : "");
}

TEST_P(ExactPlugins, TakeNoDirectoryForALookUpTable) {
    CValueMap settings;
    settings.SetEntry("malut", Text(m_files.Path()));
    settings.SetEntry("bslut", Text(m_files.Path()));
    m_plugin->Configure(nullptr, settings);
    EXPECT_EQ(CExactMedialAxis::Lut(), "");
    EXPECT_EQ(CExactBisector::Lut(), "");
    test::CPackHost host(test::Ball(9).Image());
    EXPECT_NO_THROW(Run(host));
}

TEST_P(ExactPlugins, ReadPathsFromTheTopLevelAsTextsOnly) {
    const std::string there = m_files.File("there.lut", "no table");
    CValueMap settings;
    m_plugin->Configure(nullptr, settings);
    settings.SetEntry("malut", new CValueLong(1));
    settings.SetEntry("bslut", new CValueLong(1));
    settings.SetEntry("parameters/malut", Text(there));
    settings.SetEntry("parameters/bslut", Text(there));
    m_plugin->Configure(nullptr, settings);
    EXPECT_EQ(CExactMedialAxis::Lut(), "");
    EXPECT_EQ(CExactBisector::Lut(), "");
}

TEST_P(ExactPlugins, ADamagedTableRaisesAndLeavesTheTreeAsItWas) {
    const std::string damaged = m_files.File("damaged.lut", "no table");
    (GetParam().isBisector ? CExactBisector::Lut() : CExactMedialAxis::Lut()) = damaged;
    test::CPackHost host(test::Ball(9).Image());
    EXPECT_EQ(Refusal(host), "ORVEN::LookUpTableFile: Look-up table '" + damaged +
                                 "' is not usable: it is not a look-up table.");
    EXPECT_FALSE(host.Tree().HasEntry("output"));
    CExactBisector::Lut().clear();
    CExactMedialAxis::Lut().clear();
    EXPECT_EQ(Run(host), GetParam().plainHistory); // the object stays usable
}

// --- what differs ---

/// A block with balls up to a squared radius of 25 and a rod with balls of 1.
test::StObject BlockWithRod() {
    test::StObject object = test::Solid({9, 9, 9}, 3);
    for (std::int64_t z = 0; z < object.size[2]; ++z)
        object.pixels[object.Index({7, 7, z})] = 1;
    return object;
}

class ExactMedialAxisPlugin : public test::PluginTest {
protected:
    ExactMedialAxisPlugin()
        : PluginTest("ExactMedialAxis") {}

    std::string RunWithRadius(test::CPackHost& host, std::int32_t radius) const {
        host.Set("minRadius", new CValueLong(radius));
        return Run(host);
    }

    const CPathsOfProcess m_paths;
    const test::CTestFolder m_files;
};

TEST_F(ExactMedialAxisPlugin, MarksTheCentresOfMaximalBalls) {
    for (const unsigned seed : test::CRandomSeeds(0, 10)) {
        std::mt19937 random(seed);
        const test::StObject object = test::RandomObject(random, 10);
        test::CPackHost host(object.Image());
        Run(host);
        EXPECT_EQ(BytesOf(host.Result()), test::CentresOfMaximalBalls(object));
    }
}

TEST_F(ExactMedialAxisPlugin, PassesTheSquareOfTheRadius) {
    const test::StObject object = BlockWithRod();
    const auto distances = test::SquaredDistancesOf(object);
    const Bytes all = test::CentresOfMaximalBalls(object);
    test::CPackHost host(object.Image());
    for (const std::int32_t radius : {0, 1, 2, 3, 5, 6, -2, -6, 70000, -2147483647 - 1}) {
        SCOPED_TRACE(radius);
        Bytes expected(all);
        for (std::size_t i = 0; i < expected.size(); ++i)
            expected[i] = all[i] != 0 && distances[i] >= std::int64_t{radius} * radius ? 1 : 0;
        EXPECT_EQ(RunWithRadius(host, radius), "medialaxis(exact,r=" + std::to_string(radius) + ")");
        EXPECT_EQ(BytesOf(host.Result()), expected);
    }
}

TEST_F(ExactMedialAxisPlugin, ARadiusOfMinus2CutsAt4AndTheHistoryShowsMinus2) {
    test::CPackHost host(BlockWithRod().Image());
    EXPECT_EQ(RunWithRadius(host, 2), "medialaxis(exact,r=2)");
    const Bytes positive = BytesOf(host.Result());
    EXPECT_EQ(RunWithRadius(host, -2), "medialaxis(exact,r=-2)");
    EXPECT_EQ(BytesOf(host.Result()), positive);
    RunWithRadius(host, 0);
    EXPECT_NE(BytesOf(host.Result()), positive);
}

TEST_F(ExactMedialAxisPlugin, LeavesARadiusOfAnotherClassAsItWas) {
    test::CPackHost host(test::Ball(9).Image());
    EXPECT_EQ(RunWithRadius(host, 3), "medialaxis(exact,r=3)");
    host.Set("minRadius", new CValueDouble(7.0));
    EXPECT_EQ(Run(host), "medialaxis(exact,r=3)");
    host.Tree().RemoveEntry("parameters");
    EXPECT_EQ(Run(host), "medialaxis(exact,r=3)");
}

TEST_F(ExactMedialAxisPlugin, WithBslutAloneInTheSettingsNothingChanges) {
    const std::string there = m_files.File("there.lut", "no table");
    CValueMap settings;
    settings.SetEntry("bslut", Text(there));
    m_plugin->Configure(nullptr, settings);
    EXPECT_EQ(CExactMedialAxis::Lut(), "");
    EXPECT_EQ(CExactBisector::Lut(), "");
    test::CreatePlugin("ExactBisector")->Configure(nullptr, settings);
    EXPECT_EQ(CExactBisector::Lut(), there);
}

TEST_F(ExactMedialAxisPlugin, WorksWithTheTableOfItsSettings) {
    // A list without long vectors leaves more of a ball than its centre.
    const std::string path = m_files / "poor.lut";
    std::ofstream file(path, std::ios::binary);
    WriteMedialAxisNeighborhood(file, {100, {}});
    file.close();
    CValueMap settings;
    settings.SetEntry("malut", Text(path));
    m_plugin->Configure(nullptr, settings);
    test::CPackHost host(test::Ball(26).Image());
    Run(host);
    EXPECT_GT(std::ranges::count(BytesOf(host.Result()), 1), 1);
}

class ExactBisectorPlugin : public test::PluginTest {
protected:
    ExactBisectorPlugin()
        : PluginTest("ExactBisector") {}

    const CPathsOfProcess m_paths;
    const test::CTestFolder m_files;
};

TEST_F(ExactBisectorPlugin, WritesTheAnglesOfAllObjectPixels) {
    for (const unsigned seed : test::CRandomSeeds(0, 10)) {
        std::mt19937 random(seed);
        const test::StObject object = test::RandomObject(random, 9);
        test::CPackHost host(object.Image());
        Run(host);
        const Floats angles = test::PixelsOf<float>(host.Result());
        const auto expected = test::BisectorAngles(object);
        for (std::size_t i = 0; i < angles.size(); ++i)
            ASSERT_NEAR(angles[i], expected[i], 2.5e-7);
    }
}

TEST_F(ExactBisectorPlugin, AnglesBelowTheGivenOneAre0) {
    const test::StObject object = test::Solid({9, 9, 5}, 1);
    test::CPackHost host(object.Image());
    Run(host);
    Floats expected = test::PixelsOf<float>(host.Result());
    host.Set("minAngle", new CValueDouble(0.1));
    EXPECT_EQ(Run(host), "Bisector(exact,r=0,a=0.1)");
    EXPECT_EQ(test::PixelsOf<float>(host.Result()), expected);
    host.Set("minAngle", new CValueDouble(1.25));
    EXPECT_EQ(Run(host), "Bisector(exact,r=0,a=1.25)");
    std::ranges::replace_if(
        expected, [](float angle) { return angle < 1.25F; }, 0.0F);
    EXPECT_EQ(test::PixelsOf<float>(host.Result()), expected);
}

TEST_F(ExactBisectorPlugin, TheAngleIsNarrowedToAFloatBeforeItIsCompared) {
    // The float of pi is a little above pi; as a double it would pass nothing.
    test::CPackHost host(test::Solid({1, 1, 1}, 0).Image());
    host.Set("minAngle", new CValueDouble(3.14159275));
    EXPECT_EQ(Run(host), "Bisector(exact,r=0,a=3.14159)");
    EXPECT_EQ(test::PixelsOf<float>(host.Result()), Floats{3.1415927F});
}

TEST_F(ExactBisectorPlugin, ARadiusOf5AndOneOf7DifferInTheHistoryLineAlone) {
    test::CPackHost host(test::Ball(30).Image());
    host.Set("minAngle", new CValueDouble(0.5));
    host.Set("minRadius", new CValueLong(5));
    EXPECT_EQ(Run(host), "Bisector(exact,r=5,a=0.5)");
    const Bytes first = BytesOf(host.Result());
    host.Set("minRadius", new CValueLong(7));
    EXPECT_EQ(Run(host), "Bisector(exact,r=7,a=0.5)");
    EXPECT_EQ(BytesOf(host.Result()), first);
}

TEST_F(ExactBisectorPlugin, LeavesAParameterOfAnotherClassAsItWas) {
    test::CPackHost host(test::Ball(9).Image());
    host.Set("minRadius", new CValueLong(-3));
    host.Set("minAngle", new CValueDouble(2.5));
    EXPECT_EQ(Run(host), "Bisector(exact,r=-3,a=2.5)");
    host.Set("minRadius", new CValueDouble(7.0));
    host.Set("minAngle", new CValueLong(1));
    EXPECT_EQ(Run(host), "Bisector(exact,r=-3,a=2.5)");
    host.Tree().RemoveEntry("parameters");
    EXPECT_EQ(Run(host), "Bisector(exact,r=-3,a=2.5)");
}

TEST_F(ExactBisectorPlugin, TheRangeIs0ToPiEvenIfNoPixelReachesEitherEnd) {
    test::CPackHost host(test::StObject(3, 3, 3).Image());
    Run(host);
    EXPECT_EQ(BytesOf(host.Result()), Bytes(27 * sizeof(float), 0));
    const std::vector<double> range = test::RecordedMinMax(host.Result());
    ASSERT_EQ(range.size(), 2U);
    EXPECT_EQ(range[0], 0.0);
    EXPECT_EQ(std::bit_cast<std::uint64_t>(range[1]), 0x400921FB54442D18U);
    double greatest = 0.0;
    ASSERT_TRUE(CQuillonHeaderTools::GetMaxDistance(host.Result(), greatest));
    EXPECT_EQ(std::bit_cast<std::uint64_t>(greatest), 0x400921FB54442D18U);
    EXPECT_TRUE(test::RecordedMinMax(host.Image()).empty());
}

TEST_F(ExactBisectorPlugin, TheRangeReplacesTheOneOfTheInput) {
    test::CPackHost host(test::Ball(4).Image());
    CQuillonHeaderTools::SetMaxDistance(host.Image(), 77.0);
    Run(host);
    double greatest = 0.0;
    ASSERT_TRUE(CQuillonHeaderTools::GetMaxDistance(host.Result(), greatest));
    EXPECT_LT(greatest, 4.0);
}

} // namespace
