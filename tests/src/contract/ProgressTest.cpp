// From where plug-ins report progress, and where they ask whether to go on.

#include "engine/catalogue/CCatalogue.h"
#include "src/contract/PluginTable.h"
#include "support/QtTest.h"

#include <QuillonBase/CProgressProxy.h>
#include <QuillonBase/Parallel.h>
#include <sorblib2core/CException.h>
#include <sorblib2core/CString.h>
#include <sorblib2core/CValueBool.h>
#include <sorblib2core/CValueLong.h>
#include <sorblib2core/CValueString.h>
#include <sorblib2image/ImageView.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <cstring>
#include <ostream>
#include <string>
#include <thread>
#include <vector>

namespace {

using namespace ORVEN;
using test::CPackHost;
using test::StPluginRow;

/// The host's sink while it lives. Counts calls, and those that a host could not bear: from another thread
/// than the one that called the plug-in, or while another call is still running.
class CStrictSink : public IProgress {
public:
    CStrictSink()
        : m_before(CProgressProxy::SetHostSink(this)) {}
    CStrictSink(const CStrictSink&) = delete;
    CStrictSink& operator=(const CStrictSink&) = delete;
    ~CStrictSink() override { CProgressProxy::SetHostSink(m_before); }

    void Start(unsigned /*total*/, const char* /*text*/) override { const CCall call(*this); }
    void SetText(const char* /*text*/) override { const CCall call(*this); }
    void Step(unsigned /*amount*/, int /*flag*/) override { const CCall call(*this); }
    void SetPosition(unsigned /*position*/) override { const CCall call(*this); }
    void Finish() override { const CCall call(*this); }
    void Cancel() override { const CCall call(*this); }
    bool IsCancelled() override {
        const CCall call(*this);
        return questions++ >= cancelAt;
    }

    /// The question, from 0, from which on the answer is yes.
    std::int64_t cancelAt = INT64_MAX;
    std::atomic<std::int64_t> questions{0};
    std::atomic<std::int64_t> callsFromElsewhere{0};
    std::atomic<std::int64_t> overlappingCalls{0};

private:
    class CCall {
    public:
        explicit CCall(CStrictSink& sink)
            : m_sink(sink) {
            m_sink.overlappingCalls += m_sink.m_callsNow++ > 0 ? 1 : 0;
            m_sink.callsFromElsewhere += std::this_thread::get_id() != m_sink.m_owner ? 1 : 0;
        }
        CCall(const CCall&) = delete;
        CCall& operator=(const CCall&) = delete;
        ~CCall() { --m_sink.m_callsNow; }

    private:
        CStrictSink& m_sink;
    };

    IProgress* m_before;
    const std::thread::id m_owner = std::this_thread::get_id();
    std::atomic<int> m_callsNow{0};
};

using Row = testing::TestParamInfo<const StPluginRow*>;

class PluginProgress : public testing::TestWithParam<const StPluginRow*> {
protected:
    PluginProgress() { GetParam()->addAttributes(m_run.Host().Image().Attributes()); }
    ~PluginProgress() override { SetThreadCount(0); }

    // Enough planes for each thread to get some, however they are cut.
    test::CPluginRun m_run{*GetParam(), GetParam()->types.front(),
                           GetParam()->dimensions.back() == 3 ? CSize(11, 10, 80) : CSize(40, 300)};
};

INSTANTIATE_TEST_SUITE_P(Pack, PluginProgress, testing::ValuesIn(test::PluginRows()),
                         test::PluginRowName<Row>);

TEST_P(PluginProgress, IsReportedFromTheCallingThreadOneCallAtATimeWhateverTheNumberOfThreads) {
    std::int64_t leastQuestions = INT64_MAX;
    std::int64_t mostQuestions = 0;
    for (int threads = 1; threads <= 8; ++threads) {
        SetThreadCount(threads);
        CStrictSink sink;
        m_run.Run();
        EXPECT_EQ(sink.callsFromElsewhere, 0) << threads << " threads";
        EXPECT_EQ(sink.overlappingCalls, 0) << threads << " threads";
        leastQuestions = std::min<std::int64_t>(leastQuestions, sink.questions);
        mostQuestions = std::max<std::int64_t>(mostQuestions, sink.questions);
    }
    // Whoever asks on one thread asks on several as well.
    EXPECT_EQ(leastQuestions > 0, mostQuestions > 0);
}

TEST_P(PluginProgress, IsReportedFromTheCallingThreadInACancelledRunToo) {
    for (const int threads : {1, 3, 8}) {
        SetThreadCount(threads);
        for (const std::int64_t question : {0, 1, 30}) {
            CStrictSink sink;
            sink.cancelAt = question;
            try {
                m_run.Run();
            } catch (const CException&) {
                // The granulometry finds no diameter then, and raises as with any image that has none.
            }
            EXPECT_EQ(sink.callsFromElsewhere, 0) << threads << " threads, question " << question;
            EXPECT_EQ(sink.overlappingCalls, 0) << threads << " threads, question " << question;
        }
    }
}

// --- where the pack itself asks: at each plane and line of a traversal, once after it, and at few other
// places. Here the number of questions is exact; plug-ins that call an algorithm of the host are not among
// these, as such an algorithm asks as often as it thinks right.

/// The questions of one typed traversal.
std::int64_t QuestionsOfATraversal(const CSize& size) {
    return (size.Dim() == 3 ? size.z * (size.y + 1) : size.Dim() == 2 ? size.y : 0) + 1;
}

struct StQuestions {
    const char* name; ///< of the case
    const char* plugin;
    /// How many traversals there are, and how many questions beside them.
    std::int64_t traversals;
    std::int64_t others;
    /// The work that goes on without a question, however long it takes; null for none.
    const char* unaskedWork;
    /// What is unlike the normal run.
    void (*prepare)(CPackHost&) = nullptr;

    friend void PrintTo(const StQuestions& questions, std::ostream* stream) { *stream << questions.name; }
};

void UseOlderImplementation(CPackHost& host) { host.Set("usenewimpl", new CValueBool(false)); }

void UseSquares(CPackHost& host) { host.Set("compute exact values", new CValueBool(false)); }

void Preflood(CPackHost& host) {
    host.Set("type", new CValueString(CString("preflood"))).Set("nParameter", new CValueLong(1000000));
}

void SetOtherMethod(CPackHost& host) { host.Set("method", new CValueString(CString("OverwriteAll"))); }

// Three questions before the levels, one at each of 256, and one after them.
constexpr std::int64_t c_flood = 3 + 256 + 1;

constexpr StQuestions c_questions[] = {
    // Copy, and the objects get their labels back.
    {"ConvexifyObjects", "ConvexifyObjects", 2, 0, "the loop over the objects"},
    {"ConvexifyObjectsOverAll", "ConvexifyObjects", 1, 0, "the loop over the objects", SetOtherMethod},
    {"FieldFeaturesGrayValueImage", "FieldFeaturesGrayValueImage", 0, 0, "all"},
    {"GranulometryExport", "GranulometryExport", 0, 0, "all"},
    // Seeds, scaling, root and extremes.
    {"LinearDt", "LinearDt", 4, 0, "the loop over the lines"},
    {"LinearDtSquared", "LinearDt", 3, 0, "the loop over the lines", UseSquares},
    {"LocalEulerNumber", "LocalEulerNumber", 0, 0, "all"},
    {"LocalFiberDirectionsDialog", "LocalFiberDirectionsDialog", 0, 0, "all"},
    {"LocalFiberDirectionsExport", "LocalFiberDirectionsExport", 0, 0, "all"},
    // The copy.
    {"MarkSimplePoints", "MarkSimplePoints", 1, 0, "the scan"},
    {"PointwiseRelation", "PointwiseRelation", 1, 0, nullptr},
    {"SegmNiblackOlder", "SegmNiblack", 0, 0, "all of the older implementation", UseOlderImplementation},
    {"SegmSauvolaOlder", "SegmSauvola", 0, 0, "all of the older implementation", UseOlderImplementation},
    // Labels, counting, sorting and narrowing.
    {"Watershed", "Watershed", 4, c_flood, nullptr},
    {"WatershedPreflood", "Watershed", 4, c_flood, nullptr, Preflood},
};

class PluginQuestions : public testing::TestWithParam<StQuestions> {};

INSTANTIATE_TEST_SUITE_P(Pack, PluginQuestions, testing::ValuesIn(c_questions),
                         [](const auto& parameter) { return std::string(parameter.param.name); });

TEST_P(PluginQuestions, AreAskedAtPlanesAndLinesOfTraversalsAndNowhereElse) {
    const StPluginRow& row = test::PluginRow(GetParam().plugin);
    for (const CSize& size : {CSize(7, 6, 5), CSize(5, 9, 3), CSize(8, 11), test::SizeOf({9})}) {
        if (std::ranges::find(row.dimensions, size.Dim()) == row.dimensions.end())
            continue;
        test::CPluginRun run(row, row.types.front(), size);
        // With the record of the labels, the host has none to extract.
        row.addAttributes(run.Host().Image().Attributes());
        if (GetParam().prepare != nullptr)
            GetParam().prepare(run.Host());
        CStrictSink sink;
        run.Run();
        EXPECT_EQ(sink.questions, GetParam().traversals * QuestionsOfATraversal(size) + GetParam().others)
            << size.ToString();
    }
}

TEST(PluginQuestionsOfTheWatershed, AreOnePerValueBeyond16Bits) {
    // Beyond 16 bits the levels are those values that occur; sorting asks at least as often as a traversal.
    const StPluginRow& row = test::PluginRow("Watershed");
    for (const auto& type : {IMAGE_GREY_32, IMAGE_GREY_F}) {
        const CSize size(7, 6, 5);
        const auto questionsOf = [&](bool isConstant) {
            test::CPluginRun run(row, type, size);
            run.Host().Set("type", new CValueString(CString("normal")));
            if (isConstant)
                std::memset(CImageView<std::uint32_t>(run.Host().Image()).Row(0, 0), 0,
                            static_cast<std::size_t>(size.PixelCount()) * sizeof(std::uint32_t));
            CStrictSink sink;
            run.Run();
            return sink.questions.load();
        };
        const std::int64_t constant = questionsOf(true);
        EXPECT_GE(constant, 4 * QuestionsOfATraversal(size) + 3 + 1 + 1);
        EXPECT_GT(questionsOf(false), constant);
    }
}

// --- what the pack's catalogue says about it

/// Whether the table above knows work of the plug-in that asks nothing.
bool HasUnaskedWork(const std::string& plugin) {
    return std::ranges::any_of(c_questions, [&](const StQuestions& questions) {
        return questions.plugin == plugin && questions.unaskedWork != nullptr;
    });
}

TEST_P(PluginProgress, IsAskedAboutWhereTheCatalogueSaysThatARunCanBeCancelled) {
    const auto catalogue = engine::CCatalogue::OfPack(QUILLON_PACK);
    const auto* entry = catalogue.Find(GetParam()->name);
    ASSERT_NE(entry, nullptr);
    SetThreadCount(1);
    const auto questionsOf = [&](std::int64_t cancelAt) {
        CStrictSink sink;
        sink.cancelAt = cancelAt;
        try {
            m_run.Run();
        } catch (const CException&) {
        }
        return sink.questions.load();
    };
    const std::int64_t questions = questionsOf(INT64_MAX);
    if (entry->cancel == engine::CANCEL_NOWHERE) {
        EXPECT_EQ(questions, 0);
        return;
    }
    EXPECT_EQ(entry->cancel == engine::CANCEL_PARTLY, HasUnaskedWork(entry->name));
    EXPECT_GT(questions, 40);
    // The work ends with the answer, and with it the questions.
    EXPECT_LT(questionsOf(questions / 4), questions / 2);
}

} // namespace
