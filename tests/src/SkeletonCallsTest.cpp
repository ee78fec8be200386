// What the two skeleton plug-ins ask of the host library, in which order, with which images, and who frees
// them. This program defines the library's operations and the image factory itself: the pack, loaded as a
// host loads it, finds these before those of the libraries.

#include "support/PackHost.h"
#include "support/Raised.h"
#include "support/TestImage.h"
#include "support/TraversalTools.h"

#include <QuillonTransformation/CSkeletonCouprierZour.h>
#include <sorblib2core/CException.h>
#include <sorblib2core/CValueDouble.h>
#include <sorblib2core/CValueLong.h>
#include <sorblib2core/CValueString.h>
#include <sorblib2image/CSorbImageFactory.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <map>
#include <sstream>

namespace {

using namespace ORVEN;
using test::Log;

/// What the stand-ins below record, and what they are to do.
struct StSpy {
    Log log;
    std::map<const IImage*, std::string> names; ///< of the images alive that are known
    std::vector<std::unique_ptr<const IImage>> givenUp;
    std::function<void(const std::string& stage)> during = [](const std::string&) {};

    std::string NameOf(const IImage& image) const {
        const auto known = names.find(&image);
        return known != names.end() ? known->second : "unknown";
    }

    /// Adds a call with the names of its images and its other arguments.
    void Note(const std::string& stage, const std::vector<const IImage*>& images,
              const std::string& others = "") {
        std::string line = stage + "(";
        for (const IImage* image : images)
            line += (line.back() == '(' ? "" : ", ") + NameOf(*image);
        log.push_back(line + (others.empty() ? "" : "; " + others) + ")");
        during(stage);
    }
};

StSpy* g_spy = nullptr;

/// Tells when it is freed.
class CWatchedImage final : public CImage {
public:
    CWatchedImage(const CType& type, const CSize& size)
        : CImage(type, size, CSize(0, 0, 0)) {
        g_spy->names[this] = type.ToString();
        g_spy->log.push_back(std::string("new ") + type.ToString());
    }
    CWatchedImage(const CWatchedImage&) = delete;
    CWatchedImage& operator=(const CWatchedImage&) = delete;
    ~CWatchedImage() override {
        g_spy->log.push_back("free " + g_spy->NameOf(*this));
        g_spy->names.erase(this);
    }
};

template <class... Values>
std::string Listed(const Values&... values) {
    std::ostringstream text;
    const char* separator = "";
    ((text << separator << values, separator = ", "), ...);
    return text.str();
}

} // namespace

namespace ORVEN {

IImage* CSorbImageFactory::Create(const IImage::CType& type, const CSize& size) {
    return new CWatchedImage(type, size);
}

void CSkeletonCouprierZour::RunSkeletonCouprierZour(const IImage& input, IImage& output,
                                                    const std::string& neighborhood, std::int64_t radius,
                                                    float angle, CProgressProxy& progress, bool isReserved) {
    g_spy->names[&output] = "result";
    g_spy->Note("RunSkeletonCouprierZour", {&input, &output},
                Listed(neighborhood, radius, angle, &progress == &Progress(), isReserved));
}

void CSkeletonCouprierZour::SquaredEdt(const IImage& input, IImage& output, CProgressProxy& progress) {
    g_spy->Note("SquaredEdt", {&input, &output}, Listed(&progress == &Progress()));
}

void CSkeletonCouprierZour::MedialAxis(const IImage& squaredDistance, IImage& output,
                                       std::int64_t squaredRadius, CProgressProxy& progress,
                                       bool isReserved) {
    g_spy->names[&output] = "axis";
    g_spy->Note("MedialAxis", {&squaredDistance, &output},
                Listed(squaredRadius, &progress == &Progress(), isReserved));
}

void CSkeletonCouprierZour::Bisector(const IImage& squaredDistance, const IImage& medialAxis, IImage& output,
                                     CProgressProxy& progress, bool isReserved) {
    g_spy->Note("Bisector", {&squaredDistance, &medialAxis, &output},
                Listed(&progress == &Progress(), isReserved));
}

void CSkeletonCouprierZour::ConstrainedSet(const IImage& medialAxis, const IImage& squaredDistance,
                                           const IImage& bisector, IImage& output, std::int64_t radius,
                                           float angle, CProgressProxy& progress) {
    g_spy->names[&output] = "set";
    g_spy->givenUp.emplace_back(&bisector);
    g_spy->Note("ConstrainedSet", {&medialAxis, &squaredDistance, &bisector, &output},
                Listed(radius, angle, &progress == &Progress()));
}

void CSkeletonCouprierZour::EuclideanSkeleton(const IImage& input, const IImage& squaredDistance,
                                              const IImage& medialAxis, IImage& output,
                                              const std::string& neighborhood, CProgressProxy& progress) {
    g_spy->names[&output] = "result";
    g_spy->givenUp.emplace_back(&medialAxis);
    g_spy->Note("EuclideanSkeleton", {&input, &squaredDistance, &medialAxis, &output},
                Listed(neighborhood, &progress == &Progress()));
}

} // namespace ORVEN

namespace {

constexpr const char* c_stages[] = {"SquaredEdt", "MedialAxis", "Bisector", "ConstrainedSet",
                                    "EuclideanSkeleton"};

class SkeletonCalls : public testing::Test {
protected:
    SkeletonCalls() {
        g_spy = &m_spy;
        m_spy.names[&m_host.Image()] = "input";
        m_host.Set("Neighborhood", new CValueString("N14_1", CString::NPOS));
        m_host.Set("minRadius", new CValueLong(3));
        m_host.Set("minAngle", new CValueDouble(0.5));
    }

    void Run(const char* name) {
        const auto plugin = test::CreatePlugin(name);
        m_host.Run(*plugin);
        m_spy.log.push_back("end");
    }

    /// The lines of the log from the call of a stage on.
    [[nodiscard]] Log From(const std::string& stage) const {
        const auto call = std::ranges::find_if(
            m_spy.log, [&](const std::string& line) { return line.starts_with(stage + "("); });
        return {call, m_spy.log.end()};
    }

    StSpy m_spy;
    test::CPackHost m_host{test::ImageOf<unsigned char>(IMAGE_BINARY_FG, CSize(2, 2, 2), {1})};
};

TEST_F(SkeletonCalls, TheTopologicalPluginCallsOnce) {
    Run("Skeleton");
    EXPECT_EQ(m_spy.log, (Log{"RunSkeletonCouprierZour(input, result; N14_1, 3, 0.5, 1, 0)", "end"}));
}

TEST_F(SkeletonCalls, TheEuclideanPluginRunsFiveStagesAndThrowsTheConstraintSetAway) {
    Run("EuclideanSkeleton");
    // The third image of the last stage is the medial axis.
    EXPECT_EQ(m_spy.log,
              (Log{"new IMAGE_GREY_32", "SquaredEdt(input, IMAGE_GREY_32; 1)", "new IMAGE_BINARY_FG",
                   "MedialAxis(IMAGE_GREY_32, axis; 9, 1, 0)", "new IMAGE_GREY_F",
                   "Bisector(IMAGE_GREY_32, axis, IMAGE_GREY_F; 1, 0)", "new IMAGE_BINARY_FG",
                   "ConstrainedSet(axis, IMAGE_GREY_32, IMAGE_GREY_F, set; 3, 0.5, 1)",
                   "EuclideanSkeleton(input, IMAGE_GREY_32, axis, result; N14_1, 1)", "free set",
                   "free IMAGE_GREY_32", "end"}));
}

TEST_F(SkeletonCalls, TheRadiusIsSquaredIn64Bits) {
    for (const auto& [radius, squared] :
         std::map<std::int32_t, std::string>{{0, "0"},
                                             {-2, "4"},
                                             {2147483647, "4611686014132420609"},
                                             {-2147483647 - 1, "4611686018427387904"}}) {
        m_host.Set("minRadius", new CValueLong(radius));
        m_spy.log.clear();
        Run("EuclideanSkeleton");
        EXPECT_EQ(From("MedialAxis").front(), "MedialAxis(IMAGE_GREY_32, axis; " + squared + ", 1, 0)");
        EXPECT_EQ(From("ConstrainedSet").front(), "ConstrainedSet(axis, IMAGE_GREY_32, IMAGE_GREY_F, set; " +
                                                      std::to_string(radius) + ", 0.5, 1)");
        m_spy.log.clear();
        Run("Skeleton");
        EXPECT_EQ(m_spy.log.front(),
                  "RunSkeletonCouprierZour(input, result; N14_1, " + std::to_string(radius) + ", 0.5, 1, 0)");
    }
}

TEST_F(SkeletonCalls, WithoutParametersRadiusAngleAndNeighborhoodAreEmpty) {
    m_host.Tree().RemoveEntry("parameters");
    Run("EuclideanSkeleton");
    EXPECT_EQ(From("MedialAxis").front(), "MedialAxis(IMAGE_GREY_32, axis; 0, 1, 0)");
    EXPECT_EQ(From("ConstrainedSet").front(),
              "ConstrainedSet(axis, IMAGE_GREY_32, IMAGE_GREY_F, set; 0, 0, 1)");
    EXPECT_EQ(From("EuclideanSkeleton").front(),
              "EuclideanSkeleton(input, IMAGE_GREY_32, axis, result; , 1)");
}

TEST_F(SkeletonCalls, TheAngleIsNarrowedToAFloat) {
    m_host.Set("minAngle", new CValueDouble(1.0 + 1e-12));
    Run("EuclideanSkeleton");
    EXPECT_EQ(From("ConstrainedSet").front(),
              "ConstrainedSet(axis, IMAGE_GREY_32, IMAGE_GREY_F, set; 3, 1, 1)");
}

TEST_F(SkeletonCalls, AfterEachOfTheFirstFourStagesThePluginAsksAndSteps) {
    test::HostProgress progress;
    progress.log = &m_spy.log;
    Run("EuclideanSkeleton");
    EXPECT_EQ(progress.questions, 4);
    EXPECT_EQ(progress.steps, 4);
    EXPECT_TRUE(progress.areAllStepsOne);
    for (const char* stage : {"SquaredEdt", "MedialAxis", "Bisector", "ConstrainedSet"})
        EXPECT_EQ(From(stage).at(1), "cancelled?") << stage;
    EXPECT_EQ(From("EuclideanSkeleton").at(1), "free set");
}

/// What is freed when a stage has been cancelled or has raised, in this order.
Log FreedAfter(const std::string& stage) {
    if (stage == "SquaredEdt")
        return {"free IMAGE_GREY_32"};
    if (stage == "MedialAxis")
        return {"free axis", "free IMAGE_GREY_32"};
    if (stage == "Bisector")
        return {"free IMAGE_GREY_F", "free axis", "free IMAGE_GREY_32"};
    if (stage == "ConstrainedSet") // the bisector was given up
        return {"free set", "free axis", "free IMAGE_GREY_32"};
    return {"free set", "free IMAGE_GREY_32"}; // and so was the medial axis
}

Log WithoutFirst(Log log) {
    log.erase(log.begin());
    return log;
}

TEST_F(SkeletonCalls,
       CancelledDuringOneOfTheFirstFourStagesThePluginFreesTheYoungestFirstAndDeliversNothing) {
    for (const std::string stage : {"SquaredEdt", "MedialAxis", "Bisector", "ConstrainedSet"}) {
        test::HostProgress progress;
        m_spy.during = [&](const std::string& running) {
            if (running == stage)
                progress.cancelAt = progress.questions;
        };
        m_spy.log.clear();
        m_spy.givenUp.clear();
        m_spy.log.clear();
        EXPECT_NO_THROW(Run("EuclideanSkeleton"));
        Log expected = FreedAfter(stage);
        expected.emplace_back("end");
        EXPECT_EQ(WithoutFirst(From(stage)), expected) << stage;
        EXPECT_EQ(m_host.DocumentCount(), 0U);
        EXPECT_FALSE(m_host.Tree().HasEntry("output"));
        EXPECT_EQ(m_spy.givenUp.size(), stage == "ConstrainedSet" ? 1U : 0U);
    }
}

TEST_F(SkeletonCalls, CancelledDuringTheLastStageTheDocumentIsDelivered) {
    test::HostProgress progress;
    m_spy.during = [&](const std::string& running) {
        if (running == "EuclideanSkeleton")
            progress.cancelAt = progress.questions;
    };
    Run("EuclideanSkeleton");
    EXPECT_EQ(m_host.DocumentCount(), 1U);
    EXPECT_EQ(progress.questions, 4);
}

TEST_F(SkeletonCalls, AnExceptionOfAStagePassesAndTheImagesInHandAreFreed) {
    for (const std::string stage : c_stages) {
        m_spy.during = [&](const std::string& running) {
            if (running == stage)
                throw CException("library", "broken", nullptr);
        };
        m_spy.givenUp.clear();
        m_spy.log.clear();
        const auto raised = test::Raised<CException>([&] { Run("EuclideanSkeleton"); });
        EXPECT_STREQ(raised.Message(), "broken");
        EXPECT_EQ(WithoutFirst(From(stage)), FreedAfter(stage)) << stage;
        EXPECT_FALSE(m_host.Tree().HasEntry("output"));
    }
}

TEST_F(SkeletonCalls, AnExceptionOfTheOneCallPassesAndNothingIsDelivered) {
    m_spy.during = [&](const std::string&) { throw CException("library", "broken", nullptr); };
    EXPECT_THROW(Run("Skeleton"), CException);
    EXPECT_FALSE(m_host.Tree().HasEntry("output"));
}

TEST_F(SkeletonCalls, TheImagesGivenUpAreLeftToTheLibrary) {
    Run("EuclideanSkeleton");
    ASSERT_EQ(m_spy.givenUp.size(), 2U);
    EXPECT_EQ(m_spy.givenUp[0]->Type(), IMAGE_GREY_F);
    EXPECT_EQ(m_spy.givenUp[1]->Type(), IMAGE_BINARY_FG);
    EXPECT_EQ(m_spy.NameOf(*m_spy.givenUp[1]), "axis");
    m_spy.log.clear();
    m_spy.givenUp.clear();
    EXPECT_EQ(m_spy.log, (Log{"free IMAGE_GREY_F", "free axis"}));
}

TEST_F(SkeletonCalls, AnImageWithoutDocumentOrOfAnotherTypeCallsNothing) {
    for (const char* name : {"Skeleton", "EuclideanSkeleton"}) {
        const auto plugin = test::CreatePlugin(name);
        CValueMap tree;
        plugin->UpdateParameters(tree);
        plugin->GetData(tree);
        EXPECT_TRUE(tree.IsEmpty());
        for (const auto& type : {IMAGE_GREY_8, IMAGE_BINARY_BG, IMAGE_GREY_F}) {
            test::CPackHost host(std::make_unique<CImage>(type, CSize(2, 2, 2), CSize(0, 0, 0)));
            host.Run(*plugin);
            EXPECT_EQ(host.DocumentCount(), 0U);
        }
        test::CPackHost host(std::make_unique<CImage>(IMAGE_BINARY_FG, CSize(2, 2, 2), CSize(0, 0, 0)));
        host.Document().RemoveEntry("content");
        host.Run(*plugin);
        EXPECT_EQ(host.DocumentCount(), 0U);
    }
    EXPECT_TRUE(m_spy.log.empty());
}

} // namespace
