// What holds for the pack as a whole.

#include "BasicsTest.h"

#include "support/CommandOutput.h"

#include <QuillonBase/CProgressProxy.h>
#include <QuillonBase/Parallel.h>

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <random>
#include <string>
#include <thread>

namespace {

using namespace ORVEN;
using test::CBasicsRun;
using test::PixelsOf;

TEST(BasicsPack, ExportsExactlyOneSymbol) {
    const std::string listing =
        test::CommandOutput("nm -D --defined-only '" + std::string(test::PackPath()) + "'");
    ASSERT_FALSE(listing.empty());
    EXPECT_EQ(listing.substr(listing.find(' ') + 1), "T CreatePluginInstanceEx\n");
}

TEST(BasicsPack, IsTheOnlyLibraryOfTheProjectThatNeedsItk) {
    const std::string pack = test::PackPath();
    const std::string folder = pack.substr(0, pack.rfind('/'));
    EXPECT_NE(test::CommandOutput("objdump -p '" + pack + "' | grep NEEDED").find("libITKCommon"),
              std::string::npos);
    const std::string others =
        test::CommandOutput("for library in '" + folder +
                            "'/*.so; do case $library in *Basics.so) ;; *) objdump -p $library;; "
                            "esac; done | grep NEEDED");
    EXPECT_NE(others.find("libsorblib2core"), std::string::npos);
    EXPECT_EQ(others.find("ITK"), std::string::npos);
}

TEST(BasicsPack, ComparesNamesExactly) {
    EXPECT_NE(test::CreatePlugin("Threshold"), nullptr);
    for (const char* name : {"threshold", "Threshold ", "Thresh", "GaussFilter", ""})
        EXPECT_EQ(test::CreatePlugin(name), nullptr) << name;
    EXPECT_EQ(test::CreatePlugin(nullptr), nullptr);
}

/// A sink that cancels at a question, and remembers whether another thread called it.
class CSink : public IProgress {
public:
    CSink()
        : m_before(CProgressProxy::SetHostSink(this)) {}
    CSink(const CSink&) = delete;
    CSink& operator=(const CSink&) = delete;
    ~CSink() override { CProgressProxy::SetHostSink(m_before); }

    void Start(unsigned, const char*) override { Check(); }
    void SetText(const char*) override { Check(); }
    void Step(unsigned, int) override { Check(); }
    void SetPosition(unsigned) override { Check(); }
    void Finish() override { Check(); }
    void Cancel() override { Check(); }
    bool IsCancelled() override {
        Check();
        return questions++ >= cancelAt;
    }

    int cancelAt = 1 << 30;
    int questions = 0;
    bool isCalledFromElsewhere = false;

private:
    void Check() { isCalledFromElsewhere = isCalledFromElsewhere || std::this_thread::get_id() != m_owner; }

    IProgress* m_before;
    std::thread::id m_owner = std::this_thread::get_id();
};

struct StCase {
    const char* plugin;
    std::function<void(CBasicsRun&)> prepare;
    bool isBinary = false;

    friend void PrintTo(const StCase& value, std::ostream* stream) { *stream << value.plugin; }
};

const CSize c_size(23, 19, 17);

std::unique_ptr<CImage> RandomOf(bool isBinary) {
    std::mt19937 random(5);
    return test::RandomImage<unsigned char>(isBinary ? IMAGE_BINARY_FG : IMAGE_GREY_8, c_size, random, 0,
                                            isBinary ? 2 : 256);
}

class BasicsRuns : public testing::TestWithParam<StCase> {
protected:
    ~BasicsRuns() override { SetThreadCount(0); }

    static CBasicsRun NewRun() {
        CBasicsRun run(GetParam().plugin, RandomOf(GetParam().isBinary));
        if (GetParam().prepare)
            GetParam().prepare(run);
        return run;
    }
};

INSTANTIATE_TEST_SUITE_P(
    Basics, BasicsRuns,
    testing::Values(
        StCase{"Threshold", [](CBasicsRun& run) { run.With("lower", 100); }}, StCase{"AutoThreshold", {}},
        StCase{"Invert", {}}, StCase{"Rescale", {}},
        StCase{"Arithmetic", [](CBasicsRun& run) { run.WithImage2(RandomOf(false)); }},
        StCase{"Mask", [](CBasicsRun& run) { run.WithImage2(RandomOf(true)); }}, StCase{"Median", {}},
        StCase{"FillHoles", {}, true}, StCase{"ConnectedComponents", {}, true}, StCase{"RegionalMaxima", {}},
        StCase{"Resample",
               [](CBasicsRun& run) { run.With("factor", 1.5).WithText("interpolation", "bspline"); }}),
    [](const auto& parameter) { return std::string(parameter.param.plugin); });

/// The bytes of a result of any integer type.
std::vector<std::uint32_t> ValuesOf(const CImage& image) {
    if (image.Type() == IMAGE_GREY_16) {
        const auto pixels = PixelsOf<unsigned short>(image);
        return {pixels.begin(), pixels.end()};
    }
    if (image.Type() == IMAGE_GREY_32 || image.Type() == IMAGE_GREY_F)
        return PixelsOf<std::uint32_t>(image);
    const auto pixels = PixelsOf<unsigned char>(image);
    return {pixels.begin(), pixels.end()};
}

TEST_P(BasicsRuns, GiveTheSameResultOnAnyNumberOfThreads) {
    SetThreadCount(1);
    CBasicsRun one = NewRun();
    one.Run();
    for (const int threads : {2, 3, 8}) {
        SetThreadCount(threads);
        CBasicsRun several = NewRun();
        several.Run();
        EXPECT_EQ(ValuesOf(several.Result()), ValuesOf(one.Result())) << threads;
    }
}

TEST_P(BasicsRuns, ReportFromTheCallingThreadAndHandOverNothingOnceCancelled) {
    for (const int threads : {1, 3}) {
        SetThreadCount(threads);
        int questions = 0;
        {
            CSink whole;
            NewRun().Run();
            EXPECT_FALSE(whole.isCalledFromElsewhere);
            questions = whole.questions;
        }
        ASSERT_GT(questions, 0);
        // On several threads the number of questions depends on how long the calling thread waits.
        for (const int question : {0, threads == 1 ? questions / 2 : 0, threads == 1 ? questions - 1 : 0}) {
            CSink sink;
            sink.cancelAt = question;
            CBasicsRun cancelled = NewRun();
            cancelled.Run();
            EXPECT_EQ(cancelled.Host().DocumentCount(), 0U) << question << " of " << questions;
            EXPECT_FALSE(sink.isCalledFromElsewhere);
        }
    }
}

TEST_P(BasicsRuns, AcceptAnImageWithABorder) {
    const auto image = RandomOf(GetParam().isBinary);
    auto bordered = std::make_unique<CImage>(image->Type(), c_size, CSize(2, 1, 3));
    const CImageView<const unsigned char> from(*image);
    const CImageView<unsigned char> to(*bordered);
    for (std::int64_t z = 0; z < to.nz; ++z) {
        for (std::int64_t y = 0; y < to.ny; ++y)
            std::copy_n(from.Row(y, z), to.nx, to.Row(y, z));
    }
    CBasicsRun expected = NewRun();
    expected.Run();
    CBasicsRun run(GetParam().plugin, std::move(bordered));
    if (GetParam().prepare)
        GetParam().prepare(run);
    run.Run();
    EXPECT_EQ(ValuesOf(run.Result()), ValuesOf(expected.Result()));
}

TEST(BasicsHandOver, LabelHistoryAttributesAndRangeGoToTheResult) {
    CBasicsRun run("Threshold", test::ImageOf<unsigned char>(IMAGE_GREY_8, CSize(3, 1), {1, 2, 3}));
    CQuillonHeaderTools::SetSpacing(run.Host().Image(), 0.5, 0.25, 1.0);
    CQuillonHeaderTools::AddToHistory(run.Host().Image(), "scanned()", 0);
    CQuillonHeaderTools::SetNumberOfLabels(run.Host().Image(), 4);
    CQuillonHeaderTools::SetMaxDistance(run.Host().Image(), 4.0);
    run.With("lower", 2).Run();
    EXPECT_EQ(run.Host().ResultLabel(), "input");
    EXPECT_EQ(test::HistoryOf(run.Result()), (std::vector<std::string>{"scanned()", "threshold(lower=2)"}));
    EXPECT_EQ(test::AttributeOf(run.Result(), "spacing/x"), 0.5);
    EXPECT_EQ(test::RecordedMinMax(run.Result()), (test::Numbers{0.0, 1.0}));
    // A binary image has neither labels nor distances.
    EXPECT_FALSE(run.Result().Attributes().HasEntry("number of labels"));
    EXPECT_FALSE(run.Result().Attributes().HasEntry("max distance"));
}

} // namespace
