#include <QuillonBase/CAlgorithm.h>
#include <QuillonBase/CProgressProxy.h>
#include <QuillonBase/ISummingProgress.h>

#include "support/CRecordingProgress.h"
#include "support/CSummingSink.h"
#include "support/VirtualSlot.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <thread>
#include <vector>

using namespace ORVEN;
using test::CRecordingProgress;
using test::VirtualSlot;

namespace {

using Calls = std::vector<std::string>;

/// Sets a host's sink for as long as it lives.
class CHostSink {
public:
    explicit CHostSink(IProgress* sink)
        : m_former(CProgressProxy::SetHostSink(sink)) {}
    ~CHostSink() { CProgressProxy::SetHostSink(m_former); }
    CHostSink(const CHostSink&) = delete;
    CHostSink& operator=(const CHostSink&) = delete;

private:
    IProgress* m_former;
};

void RunEveryOperation(IProgress& progress) {
    progress.Start(10, "phase");
    progress.SetText("other text");
    progress.Step(1, 0);
    progress.SetPosition(5);
    progress.Finish();
}

} // namespace

TEST(IProgress, HasItsVirtualOperationsInOrder) {
    EXPECT_EQ(VirtualSlot(&IProgress::Start), 2);
    EXPECT_EQ(VirtualSlot(&IProgress::SetText), 3);
    EXPECT_EQ(VirtualSlot(&IProgress::Step), 4);
    EXPECT_EQ(VirtualSlot(&IProgress::SetPosition), 5);
    EXPECT_EQ(VirtualSlot(&IProgress::Finish), 6);
    EXPECT_EQ(VirtualSlot(&IProgress::Cancel), 7);
    EXPECT_EQ(VirtualSlot(&IProgress::IsCancelled), 8);
}

TEST(CProgressProxy, PassesEverythingOn) {
    CRecordingProgress sink;
    CProgressProxy proxy(&sink);
    RunEveryOperation(proxy);
    EXPECT_EQ(sink.calls,
              (Calls{"Start 10 phase", "SetText other text", "Step 1 0", "SetPosition 5", "Finish"}));
    EXPECT_FALSE(proxy.IsCancelled());
    proxy.Cancel();
    EXPECT_TRUE(sink.isCancelled);
    EXPECT_TRUE(proxy.IsCancelled());
}

TEST(CProgressProxy, CaptionReplacesTheTextsOfAllPhases) {
    CRecordingProgress sink;
    CProgressProxy proxy(&sink, "caption");
    RunEveryOperation(proxy);
    EXPECT_EQ(sink.calls, (Calls{"Start 10 caption", "Step 1 0", "SetPosition 5", "Finish"}));
}

TEST(CProgressProxy, WithoutATargetReportsNothingAndIsNeverCancelled) {
    CProgressProxy none;
    CProgressProxy null(nullptr, "caption");
    for (CProgressProxy* proxy : {&none, &null}) {
        EXPECT_NO_THROW(RunEveryOperation(*proxy));
        proxy->Cancel();
        EXPECT_FALSE(proxy->IsCancelled());
    }
}

TEST(CProgressProxy, CopiesShareTheTarget) {
    CRecordingProgress sink;
    const CProgressProxy original(&sink, "caption");
    CProgressProxy copy(original);
    CProgressProxy assigned;
    assigned = original;
    copy.Start(1, "");
    assigned.Start(2, "");
    EXPECT_EQ(sink.calls, (Calls{"Start 1 caption", "Start 2 caption"}));
}

TEST(CProgressProxy, ProxiesCanBeChained) {
    CRecordingProgress sink;
    CProgressProxy inner(&sink, "inner");
    CProgressProxy outer(&inner);
    outer.Start(1, "text");
    EXPECT_EQ(sink.calls, Calls{"Start 1 inner"});
}

TEST(CProgressProxy, SetHostSinkReturnsTheFormerSink) {
    CRecordingProgress first;
    CRecordingProgress second;
    EXPECT_EQ(CProgressProxy::SetHostSink(&first), nullptr);
    EXPECT_EQ(CProgressProxy::HostSink(), &first);
    EXPECT_EQ(CProgressProxy::SetHostSink(&second), &first);
    EXPECT_EQ(CProgressProxy::SetHostSink(nullptr), &second);
    EXPECT_EQ(CProgressProxy::HostSink(), nullptr);
}

TEST(CProgressProxy, HostSinkIsAMatterOfTheThread) {
    CRecordingProgress ours;
    CRecordingProgress theirs;
    const CHostSink host(&ours);
    IProgress* atFirst = &ours;
    std::jthread([&] {
        atFirst = CProgressProxy::HostSink();
        const CHostSink other(&theirs);
        CAlgorithm(nullptr, nullptr).Progress().Step(2, 0);
    }).join();
    CAlgorithm(nullptr, nullptr).Progress().Step(1, 0);
    EXPECT_EQ(atFirst, nullptr);
    EXPECT_EQ(CProgressProxy::HostSink(), &ours);
    EXPECT_EQ(ours.calls, Calls{"Step 1 0"});
    EXPECT_EQ(theirs.calls, Calls{"Step 2 0"});
}

TEST(CAlgorithm, ReportsToTheSinkOfTheThreadThatMadeIt) {
    CRecordingProgress sink;
    std::unique_ptr<CAlgorithm> algorithm;
    {
        const CHostSink host(&sink);
        algorithm = std::make_unique<CAlgorithm>(nullptr, nullptr);
    }
    algorithm->Progress().Start(3, "phase");
    EXPECT_EQ(sink.calls, Calls{"Start 3 phase"});
}

TEST(CAlgorithm, ItsNameIsShownInPlaceOfTheTexts) {
    CRecordingProgress sink;
    const CHostSink host(&sink);
    const CAlgorithm algorithm("Linear distance", nullptr);
    algorithm.Progress().Start(3, "phase");
    EXPECT_EQ(sink.calls, Calls{"Start 3 Linear distance"});
}

TEST(CAlgorithm, WithoutAHostReportsNothing) {
    const CAlgorithm algorithm("name", nullptr);
    EXPECT_NO_THROW(RunEveryOperation(algorithm.Progress()));
    EXPECT_FALSE(algorithm.Progress().IsCancelled());
}

TEST(CAlgorithm, ReportsToAnotherSinkOnceItIsSet) {
    CRecordingProgress first;
    CRecordingProgress second;
    const CHostSink host(&first);
    CAlgorithm algorithm("name", nullptr);
    algorithm.SetProgress(CProgressProxy(&second));
    algorithm.Progress().Start(1, "phase");
    EXPECT_TRUE(first.calls.empty());
    EXPECT_EQ(second.calls, Calls{"Start 1 phase"});
}

TEST(CAlgorithm, ReturnsItsParentAndIsAnObject) {
    const CAlgorithm parent(nullptr, nullptr);
    EXPECT_EQ(parent.Parent(), nullptr);
    const std::unique_ptr<IObject> child(new CAlgorithm("child", &parent));
    EXPECT_EQ(dynamic_cast<CAlgorithm&>(*child).Parent(), &parent);
    EXPECT_NO_THROW(child->SetInstance("instance"));
}

TEST(ISummingProgress, NeedsNoSingleSteps) {
    test::CSummingSink sums;
    CRecordingProgress each;
    EXPECT_FALSE(NeedsSingleSteps(sums));
    EXPECT_TRUE(NeedsSingleSteps(each));
}

TEST(ISummingProgress, IsFoundBehindProxies) {
    test::CSummingSink sums;
    CRecordingProgress each;
    CProgressProxy toSums(&sums);
    CProgressProxy toEach(&each);
    EXPECT_FALSE(NeedsSingleSteps(CProgressProxy(&toSums)));
    EXPECT_TRUE(NeedsSingleSteps(CProgressProxy(&toEach)));
    EXPECT_FALSE(NeedsSingleSteps(CProgressProxy())) << "nobody listens";
}
