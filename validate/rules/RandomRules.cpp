// Rules about random legal parameters, drawn from the catalogue.

#include "validate/drive/CTrial.h"
#include "validate/drive/Images.h"
#include "validate/rules/RuleGroups.h"

#include <functional>

namespace validate {

namespace {

constexpr int c_rounds = 20;

/// Calls `check` with the parameters of each round. Each round draws the same, whether the others run or not.
void ForEachRound(CRuleRun& run, const std::function<void(const Choice&)>& check) {
    if (run.Entry().parameters.empty())
        CRuleRun::Skip("it has no parameters");
    std::mt19937 random = run.Random();
    for (int round = 1; round <= c_rounds; ++round) {
        const Choice choice = RandomChoice(run.Entry(), random);
        if (!run.Begins("round " + std::to_string(round)))
            continue;
        run.Notes().Detail("round " + std::to_string(round) + ": " + TextOf(choice));
        check(choice);
    }
}

void RunWith(CRuleRun& run, const Choice& choice) {
    (void)ShownAfter(run, [&choice](CTrial& trial) { trial.Choose(choice); });
}

void RunsOrRefuses(CRuleRun& run) {
    ForEachRound(run, [&run](const Choice& choice) { RunWith(run, choice); });
}

/// The rounds that do not end the process.
void ForEachHarmlessRound(CRuleRun& run, const std::function<void(const Choice&)>& check) {
    ForEachRound(run, [&](const Choice& choice) {
        if (Survives([&] { RunWith(run, choice); }))
            check(choice);
    });
}

void KeepsThePixels(CRuleRun& run) {
    ForEachHarmlessRound(run, [&run](const Choice& choice) {
        CTrial trial(run);
        trial.Choose(choice);
        const std::string before = PixelBytes(trial.Image());
        (void)trial.TryToRun();
        if (PixelBytes(trial.Image()) != before)
            CRuleRun::Break("with " + TextOf(choice) + ", a run changes pixels of the input");
    });
}

void TwoObjectsAgree(CRuleRun& run) {
    (void)NormalShown(run);
    ForEachHarmlessRound(run, [&run](const Choice& choice) {
        const auto choose = [&choice](CTrial& trial) { trial.Choose(choice); };
        const StShown first = ShownAfter(run, choose);
        if (const std::string seen = Difference(first, ShownAfter(run, choose)); !seen.empty())
            CRuleRun::Break("with " + TextOf(choice) + ": " + seen);
    });
}

void DeliversAsManyAsDeclared(CRuleRun& run) {
    ForEachHarmlessRound(run, [&run](const Choice& choice) {
        CTrial trial(run);
        trial.Choose(choice);
        (void)trial.TryToRun();
        if (std::cmp_greater(trial.Documents().size(), run.Entry().documentsOut))
            CRuleRun::Break("with " + TextOf(choice) + ", a run delivers " +
                            std::to_string(trial.Documents().size()) + " documents; the catalogue allows " +
                            std::to_string(run.Entry().documentsOut));
    });
}

constexpr StRule c_rules[] = {
    {"random.runs-or-refuses", EnLevel::PLUGIN, "A run with any legal parameters returns or raises.",
     "What the catalogue allows, people try.", RunsOrRefuses},
    {"random.keeps-the-pixels", EnLevel::PLUGIN,
     "A run with any legal parameters changes no pixel of the input.",
     "The input is on the user's screen, and often the only copy.", KeepsThePixels},
    {"random.two-objects-agree", EnLevel::PLUGIN,
     "Two objects with the same input and any legal parameters give the same result.",
     "A result that cannot be repeated cannot be trusted.", TwoObjectsAgree},
    {"random.delivers-as-many-as-declared", EnLevel::PLUGIN,
     "A run with any legal parameters delivers at most as many documents as the catalogue says.",
     "A command line needs a name for each of them.", DeliversAsManyAsDeclared},
};

} // namespace

std::span<const StRule> RandomRules() { return c_rules; }

} // namespace validate
