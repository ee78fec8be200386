// Rules about progress and cancelling.

#include "validate/drive/CTrial.h"
#include "validate/drive/CWatchingSink.h"
#include "validate/drive/Images.h"
#include "validate/drive/Memory.h"
#include "validate/rules/RuleGroups.h"

#include "engine/files/ImageWords.h"

#include <QuillonBase/Parallel.h>

#include <algorithm>
#include <array>
#include <vector>

namespace validate {

using namespace ORVEN;

namespace {

/// An image with planes, or rows, for each of several threads.
std::unique_ptr<CImage> LongImage(CRuleRun& run) {
    const auto& images = run.Entry().images;
    const int dimension = NormalDimension(run.Entry());
    const CSize size = dimension == 3 ? CSize(11, 10, 24) : dimension == 2 ? CSize(20, 100) : SizeOf({500});
    return TrialImage(run, *engine::PixelTypeOfWord(images.types.front()), size);
}

/// What a whole run asks and reports, with one thread.
std::int64_t QuestionsOfARun(CRuleRun& run) {
    CTrial trial(run, LongImage(run));
    const CWatchingSink sink(run.Notes());
    if (const auto raised = trial.TryToRun())
        CRuleRun::Skip("a normal run raises: " + *raised);
    return sink.Questions();
}

/// The same for a plug-in that can be cancelled. Ends the check as inapplicable for any other.
std::int64_t QuestionsToCancelAt(CRuleRun& run) {
    if (run.Entry().cancel == engine::CANCEL_NOWHERE)
        CRuleRun::Skip("it cannot be cancelled, as declared");
    const std::int64_t questions = QuestionsOfARun(run);
    if (questions < 2)
        CRuleRun::Skip("it hardly ever asks whether it is cancelled");
    return questions;
}

void CallsOnTheCallingThread(CRuleRun& run) {
    for (const int threads : {1, 3, 8}) {
        if (!run.Begins(std::to_string(threads) + " threads"))
            continue;
        CTrial trial(run, LongImage(run));
        SetThreadCount(threads);
        const CWatchingSink sink(run.Notes());
        (void)trial.TryToRun();
        SetThreadCount(1);
        if (sink.CallsFromElsewhere() > 0)
            CRuleRun::Break("with " + std::to_string(threads) + " threads, " +
                            std::to_string(sink.CallsFromElsewhere()) +
                            " calls of the progress sink come from another thread");
    }
}

/// Breaks the rule if the count after a normal run is not 0.
void CountIsZero(CRuleRun& run, std::int64_t (CWatchingSink::*count)() const, const char* what) {
    CTrial trial(run, LongImage(run));
    const CWatchingSink sink(run.Notes());
    (void)trial.TryToRun();
    if (const std::int64_t seen = (sink.*count)(); seen != 0)
        CRuleRun::Break(std::to_string(seen) + what);
}

void StepsLieInPhases(CRuleRun& run) {
    CountIsZero(run, &CWatchingSink::StepsOutsideOfPhases, " steps lie before Start or behind Finish");
}

void PhasesHaveTexts(CRuleRun& run) {
    CountIsZero(run, &CWatchingSink::MissingTexts, " phases have a null text");
}

void PhasesAreBalanced(CRuleRun& run) {
    CTrial trial(run, LongImage(run));
    const CWatchingSink sink(run.Notes());
    (void)trial.TryToRun();
    if (sink.Starts() != sink.Finishes())
        CRuleRun::Break("a run starts " + std::to_string(sink.Starts()) + " phases and finishes " +
                        std::to_string(sink.Finishes()));
}

void WorksWithASink(CRuleRun& run) {
    const StShown normal = NormalShown(run);
    CTrial trial(run);
    const CWatchingSink sink(run.Notes());
    (void)trial.TryToRun();
    CRuleRun::BreakIf(Difference(normal, trial.Shown()));
}

/// The first questions one by one, then ever further apart.
std::vector<std::int64_t> SomeQuestions(std::int64_t count) {
    constexpr std::int64_t oneByOne = 6;
    std::vector<std::int64_t> questions;
    for (std::int64_t question = 0; question < count;
         question += std::max<std::int64_t>(1, question / oneByOne))
        questions.push_back(question);
    return questions;
}

std::string Words(std::int64_t question) { return "question " + std::to_string(question); }

void ReturnsWhereverItIsCancelled(CRuleRun& run) {
    for (const std::int64_t question : SomeQuestions(QuestionsToCancelAt(run))) {
        if (!run.Begins(Words(question)))
            continue;
        CTrial trial(run, LongImage(run));
        const CWatchingSink sink(run.Notes(), question);
        (void)trial.TryToRun();
    }
}

void StopsWorking(CRuleRun& run) {
    const std::int64_t questions = QuestionsToCancelAt(run);
    constexpr std::int64_t enough = 40;
    if (questions < enough)
        CRuleRun::Skip("it asks too seldom to see where it stops");
    CTrial trial(run, LongImage(run));
    const CWatchingSink sink(run.Notes(), questions / 4);
    (void)trial.TryToRun();
    if (sink.Questions() > questions * 3 / 4)
        CRuleRun::Break("cancelled at question " + std::to_string(questions / 4) + " of " +
                        std::to_string(questions) + ", it asks " +
                        std::to_string(sink.Questions() - questions / 4 - 1) + " times more");
}

void LeaksNothingWhenCancelled(CRuleRun& run) {
    const std::int64_t questions = QuestionsToCancelAt(run);
    const auto liveAfter = [&run](std::int64_t question) {
        {
            CTrial trial(run, LongImage(run));
            const CWatchingSink sink(run.Notes(), question);
            (void)trial.TryToRun();
        }
        return memory::g_liveBlocks.load();
    };
    for (const std::int64_t question : {questions / 3, questions / 2, questions * 3 / 4}) {
        if (!run.Begins(Words(question)))
            continue;
        for (int i = 0; i < 2; ++i)
            (void)liveAfter(question);
        const std::int64_t before = liveAfter(question);
        const std::int64_t between = liveAfter(question);
        const std::int64_t after = liveAfter(question);
        if (before < between && between < after)
            CRuleRun::Break("cancelled at " + Words(question) + ", a run leaves " +
                            std::to_string(after - between) + " blocks of memory");
    }
}

void RunsRightAfterACancelledRun(CRuleRun& run) {
    const std::int64_t questions = QuestionsToCancelAt(run);
    const StShown normal = NormalShown(run);
    CTrial trial(run);
    {
        const CWatchingSink sink(run.Notes(), std::min<std::int64_t>(1, questions - 1));
        (void)trial.TryToRun();
    }
    trial.Documents().clear();
    trial.Focus(NormalImage(run));
    (void)trial.TryToRun();
    CRuleRun::BreakIf(Difference(normal, trial.Shown()));
}

void KeepsTheInputWhenCancelled(CRuleRun& run) {
    const std::int64_t questions = QuestionsToCancelAt(run);
    for (const std::int64_t question : {questions / 3, questions / 2}) {
        if (!run.Begins(Words(question)))
            continue;
        CTrial trial(run, LongImage(run));
        const std::string before = PixelBytes(trial.Image());
        const CWatchingSink sink(run.Notes(), question);
        (void)trial.TryToRun();
        if (PixelBytes(trial.Image()) != before)
            CRuleRun::Break("cancelled at " + Words(question) + ", a run changes pixels of the input");
    }
}

void AsksAsDeclared(CRuleRun& run) {
    const std::int64_t questions = QuestionsOfARun(run);
    const bool isDeclared = run.Entry().cancel != engine::CANCEL_NOWHERE;
    if (isDeclared && questions == 0)
        CRuleRun::Break("the catalogue says that it can be cancelled, and it never asks");
    if (!isDeclared && questions > 0)
        CRuleRun::Break("the catalogue says that it cannot be cancelled, and it asks " +
                        std::to_string(questions) + " times");
}

constexpr StRule c_rules[] = {
    {"progress.calls-on-the-calling-thread", EnLevel::PLUGIN,
     "The progress sink is called on the thread that called GetData, whatever the number of threads.",
     "A sink draws windows, and only one thread may.", CallsOnTheCallingThread},
    {"progress.steps-lie-in-phases", EnLevel::PLUGIN, "Steps lie between Start and Finish.",
     "A step of no phase has no total to be shown against.", StepsLieInPhases},
    {"progress.phases-have-texts", EnLevel::PLUGIN, "Each phase has a text.", "It is what the user sees.",
     PhasesHaveTexts},
    {"progress.phases-are-balanced", EnLevel::PLUGIN,
     "A run that is not cancelled finishes each phase that it starts.",
     "A bar that is never finished stays on the screen.", PhasesAreBalanced},
    {"progress.changes-no-result", EnLevel::PLUGIN,
     "The result is the same with and without a progress sink.", "A script has none.", WorksWithASink},
    {"progress.returns-wherever-it-is-cancelled", EnLevel::PLUGIN,
     "Cancelled at any question, a run returns within 10 seconds.", "A user who cancels is waiting.",
     ReturnsWhereverItIsCancelled},
    {"progress.stops-when-cancelled", EnLevel::PLUGIN,
     "A cancelled run stops, and does not go on with its work.", "Cancelling is of no use otherwise.",
     StopsWorking},
    {"progress.leaks-nothing-when-cancelled", EnLevel::PLUGIN, "A cancelled run leaks no memory.",
     "Runs are cancelled because the image is large.", LeaksNothingWhenCancelled},
    {"progress.runs-right-after-a-cancelled-run", EnLevel::PLUGIN,
     "After a cancelled run, the next one of the same object gives the usual result.",
     "Users cancel in order to try again.", RunsRightAfterACancelledRun},
    {"progress.keeps-the-input-when-cancelled", EnLevel::PLUGIN,
     "A cancelled run changes no pixel of the input.",
     "A plug-in that restores the input in the end does not get there.", KeepsTheInputWhenCancelled},
    {"progress.asks-as-declared", EnLevel::PLUGIN,
     "A plug-in asks whether it is cancelled exactly if its catalogue entry says so.",
     "A host shows a button for cancelling, or not.", AsksAsDeclared},
};

} // namespace

std::span<const StRule> ProgressRules() { return c_rules; }

} // namespace validate
