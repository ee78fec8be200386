// Rules about memory: that it runs out, and that it is given back.

#include "validate/drive/CTrial.h"
#include "validate/drive/Memory.h"
#include "validate/rules/RuleGroups.h"

#include <algorithm>
#include <functional>
#include <vector>

namespace validate {

using namespace ORVEN;

namespace {

/// A toolkit for dialogs ends the program when memory runs out, so that nothing can be said about a plug-in
/// that opens some.
void NeedNoDialogs(CRuleRun& run) {
    if (run.Entry().opensDialogs)
        CRuleRun::Skip("it opens dialogs, whose toolkit ends the program when memory runs out");
}

/// The first allocations one by one, then ever further apart.
std::vector<std::int64_t> SomeAllocations(std::int64_t count) {
    constexpr std::int64_t oneByOne = 10;
    std::vector<std::int64_t> some;
    for (std::int64_t i = 0; i < count; i += std::max<std::int64_t>(1, i / oneByOne))
        some.push_back(i);
    return some;
}

/// How many allocations a call makes. The second of two calls counts: a library may set itself up at the
/// first.
std::int64_t AllocationsOf(CRuleRun& run, const std::function<void(CTrial&)>& call) {
    std::int64_t count = 0;
    for (int i = 0; i < 2; ++i) {
        CTrial trial(run);
        trial.Update();
        const std::int64_t before = memory::g_allocations;
        (void)Raised([&] { call(trial); });
        count = memory::g_allocations - before;
    }
    return count;
}

/// Calls with one allocation failing. Returns what was raised.
std::optional<std::string> CallFailing(CTrial& trial, std::int64_t allocation,
                                       const std::function<void(CTrial&)>& call) {
    return Raised([&] {
        const memory::CFailure failure(allocation);
        call(trial);
    });
}

void GetData(CTrial& trial) { trial.Plugin().GetData(trial.Tree()); }

/// Calls `check(allocation)` for some of the allocations of a call.
void ForEachAllocation(CRuleRun& run, const std::function<void(CTrial&)>& call,
                       const std::function<void(std::int64_t)>& check) {
    NeedNoDialogs(run);
    for (const std::int64_t allocation : SomeAllocations(AllocationsOf(run, call))) {
        if (run.Begins("allocation " + std::to_string(allocation)))
            check(allocation);
    }
}

void RunFailing(CRuleRun& run, std::int64_t allocation) {
    CTrial trial(run);
    trial.Update();
    (void)CallFailing(trial, allocation, GetData);
    trial.Documents() = TakeDocuments(trial.Tree());
}

void FailureInARunIsNoCrash(CRuleRun& run) {
    ForEachAllocation(run, GetData, [&](std::int64_t allocation) { RunFailing(run, allocation); });
}

/// The allocations of a run whose failure does not end the process.
void ForEachHarmlessAllocation(CRuleRun& run, const std::function<void(std::int64_t)>& check) {
    ForEachAllocation(run, GetData, [&](std::int64_t allocation) {
        if (Survives([&] { RunFailing(run, allocation); }))
            check(allocation);
    });
}

void FailureInAnUpdateIsNoCrash(CRuleRun& run) {
    const auto update = [](CTrial& trial) { trial.Plugin().UpdateParameters(trial.Tree()); };
    ForEachAllocation(run, update, [&](std::int64_t allocation) {
        CTrial trial(run);
        (void)CallFailing(trial, allocation, update);
        (void)trial.TryToRun();
    });
}

void FailureInATestIsNotRaised(CRuleRun& run) {
    const auto test = [](CTrial& trial) { (void)trial.Plugin().TestParameters(trial.Tree()); };
    ForEachAllocation(run, test, [&](std::int64_t allocation) {
        CTrial trial(run);
        if (const auto raised = CallFailing(trial, allocation, test))
            CRuleRun::Break("if allocation " + std::to_string(allocation) +
                            " of it fails, TestParameters raises: " + *raised);
    });
}

/// Whether the number of live blocks grows with each call, beyond what is set up once.
std::int64_t GrowthOf(const std::function<void()>& call) {
    std::int64_t least = INT64_MAX;
    for (int i = 0; i < 2; ++i)
        call();
    for (int i = 0; i < 3; ++i) {
        const std::int64_t before = memory::g_liveBlocks;
        call();
        least = std::min<std::int64_t>(least, memory::g_liveBlocks - before);
    }
    return least;
}

void FailureLeaksNothing(CRuleRun& run) {
    NeedNoDialogs(run);
    if (GrowthOf([&] { RunFailing(run, -1); }) > 0)
        CRuleRun::Skip("a normal run leaks memory, see allocation.run-leaks-nothing");
    ForEachHarmlessAllocation(run, [&](std::int64_t allocation) {
        const std::int64_t growth = GrowthOf([&] { RunFailing(run, allocation); });
        if (growth > 0)
            CRuleRun::Break("if allocation " + std::to_string(allocation) + " of a run fails, " +
                            std::to_string(growth) + " blocks of memory are left");
    });
}

void RunsRightAfterAFailure(CRuleRun& run) {
    const StShown normal = NormalShown(run);
    ForEachHarmlessAllocation(run, [&](std::int64_t allocation) {
        CTrial trial(run);
        trial.Update();
        (void)CallFailing(trial, allocation, GetData);
        trial.Documents() = TakeDocuments(trial.Tree());
        trial.Focus(NormalImage(run));
        (void)trial.TryToRun();
        const std::string seen = Difference(normal, trial.Shown());
        if (!seen.empty())
            CRuleRun::Break("after allocation " + std::to_string(allocation) +
                            " of a run has failed: " + seen);
    });
}

void RunLeaksNothing(CRuleRun& run) {
    const std::int64_t growth = GrowthOf([&run] { (void)ShownAfter(run); });
    if (growth > 0)
        CRuleRun::Break("each run leaves " + std::to_string(growth) + " blocks of memory");
}

void ObjectLeaksNothing(CRuleRun& run) {
    const std::int64_t growth = GrowthOf([&run] {
        CTrial trial(run);
        CValueMap setup;
        trial.Plugin().GetPluginSetup(setup);
        (void)trial.Accepts();
    });
    if (growth > 0)
        CRuleRun::Break("each object that is not run leaves " + std::to_string(growth) + " blocks of memory");
}

constexpr StRule c_rules[] = {
    {"allocation.failure-in-a-run-is-no-crash", EnLevel::PLUGIN,
     "If memory runs out in GetData, it returns or raises.", "A crash takes all open images with it.",
     FailureInARunIsNoCrash},
    {"allocation.failure-in-an-update-is-no-crash", EnLevel::PLUGIN,
     "If memory runs out in UpdateParameters, it returns or raises.",
     "A crash takes all open images with it.", FailureInAnUpdateIsNoCrash},
    {"allocation.failure-in-a-test-is-not-raised", EnLevel::PLUGIN,
     "If memory runs out in TestParameters, it answers no and raises nothing.",
     "A host that draws its menu expects an answer.", FailureInATestIsNotRaised},
    {"allocation.failure-leaks-nothing", EnLevel::PLUGIN, "If memory runs out in GetData, none is lost.",
     "The user closes an image and tries again.", FailureLeaksNothing},
    {"allocation.runs-right-after-a-failure", EnLevel::PLUGIN,
     "After memory has run out, the next run of the same object gives the usual result.",
     "The user closes an image and tries again.", RunsRightAfterAFailure},
    {"allocation.run-leaks-nothing", EnLevel::PLUGIN, "A run leaks no memory.",
     "A batch of some thousand images would run out of it.", RunLeaksNothing},
    {"allocation.object-leaks-nothing", EnLevel::PLUGIN,
     "An object that is created, described, tested and destroyed leaks no memory.",
     "A host does that for each plug-in in its menu.", ObjectLeaksNothing},
};

} // namespace

std::span<const StRule> AllocationRules() { return c_rules; }

} // namespace validate
