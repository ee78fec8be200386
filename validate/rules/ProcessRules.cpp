// Rules about names, and about what a run leaves behind in the process. They belong to the group "library":
// it is the process that a plug-in shares with its host.

#include "engine/run/COutputCapture.h"
#include "validate/drive/CTrial.h"
#include "validate/drive/ProcessState.h"
#include "validate/rules/RuleGroups.h"

#include <algorithm>
#include <cctype>
#include <cstdio>

namespace validate {

namespace {

std::string Mapped(std::string text, int (*map)(int)) {
    std::transform(text.begin(), text.end(), text.begin(),
                   [map](unsigned char letter) { return static_cast<char>(map(letter)); });
    return text;
}

void KnowsNoOtherNames(CRuleRun& run) {
    const std::string& name = run.Entry().name;
    std::vector<std::string> others{"",
                                    name + "x",
                                    " " + name,
                                    name + " ",
                                    "C" + name,
                                    name + "\n",
                                    name.substr(1),
                                    name.substr(0, name.size() - 1),
                                    name + "Plugin"};
    others.push_back(Mapped(name, std::tolower));
    others.push_back(Mapped(name, std::toupper));
    for (const std::string& other : others) {
        if (run.Subject().catalogue->Find(other) == nullptr && run.Subject().pack->Provides(other))
            CRuleRun::Break("the pack creates a plug-in for the name '" + other + "'");
    }
}

void CreatesThePlugin(CRuleRun& run) {
    std::unique_ptr<ORVEN::CPluginBase> first;
    const auto raised = Raised([&] { first = run.Subject().pack->Create(run.Entry().name); });
    if (raised)
        CRuleRun::Break("creating it raises: " + *raised);
    if (first == nullptr)
        CRuleRun::Break("the catalogue lists it, and the pack does not create it");
    if (run.Subject().pack->Create(run.Entry().name).get() == first.get())
        CRuleRun::Break("the pack returns the same object twice");
}

void PrintsNothing(CRuleRun& run) {
    CTrial trial(run);
    engine::COutputCapture capture;
    (void)trial.Accepts();
    (void)trial.TryToRun();
    std::fflush(nullptr);
    capture.Stop();
    const auto check = [](const std::string& text, const char* stream) {
        if (!text.empty())
            CRuleRun::Break("a run writes '" + text.substr(0, text.find('\n')) + "' to " + stream);
    };
    check(capture.StandardOutput(), "standard output");
    check(capture.StandardError(), "standard error");
}

/// Breaks the rule if `state` differs after a run.
template <class State>
void StaysTheSame(CRuleRun& run, const State& state, const std::string& what) {
    if (run.Entry().opensDialogs)
        NeedApplication(); // what its toolkit changes is the host's doing
    const auto before = state();
    (void)ShownAfter(run);
    if (const auto after = state(); after != before)
        CRuleRun::Break(what + " " + after + " and was " + before);
}

// In the rules below, a first run is not counted: a library that the plug-in uses may set itself up once.

void LeavesNoThread(CRuleRun& run) {
    (void)ShownAfter(run);
    const int before = ThreadCount(1);
    (void)ShownAfter(run);
    const int after = ThreadCount(before);
    if (after > before)
        CRuleRun::Break(std::to_string(after - before) + " threads are left after a run");
}

void KeepsTheLocale(CRuleRun& run) { StaysTheSame(run, LocaleText, "the locale is"); }

void KeepsTheProcessState(CRuleRun& run) {
    StaysTheSame(run, ProcessStateText, "the state of the process is");
}

void LeavesNoOpenFile(CRuleRun& run) {
    (void)ShownAfter(run);
    const auto before = OpenFiles();
    (void)ShownAfter(run);
    for (const std::string& file : OpenFiles()) {
        if (std::find(before.begin(), before.end(), file) == before.end())
            CRuleRun::Break("descriptor " + file + " is left open after a run");
    }
}

constexpr StRule c_rules[] = {
    {"library.creates-its-plugins", EnLevel::PLUGIN,
     "The pack creates each plug-in that its catalogue lists, as a new object for each call.",
     "The catalogue is all that a host has to make a menu from.", CreatesThePlugin},
    {"library.knows-no-other-names", EnLevel::PLUGIN,
     "The pack creates nothing for a name that only resembles that of a plug-in.",
     "A script with a misspelt name has to fail, and the name may be that of a plug-in in another pack.",
     KnowsNoOtherNames},
    {"library.prints-nothing-in-a-run", EnLevel::PLUGIN,
     "A run writes nothing to standard output or standard error.",
     "Standard output belongs to the host, which may write a result there.", PrintsNothing},
    {"library.leaves-no-thread-after-a-run", EnLevel::PLUGIN, "No thread is left after a run.",
     "A thread that is still running when the pack is unloaded loses its code.", LeavesNoThread},
    {"library.leaves-no-open-file", EnLevel::PLUGIN, "No file is left open after a run.",
     "A batch of some thousand images would run out of descriptors.", LeavesNoOpenFile},
    {"library.keeps-the-locale-in-a-run", EnLevel::PLUGIN, "A run does not change the locale.",
     "The host's own numbers would be written and read differently.", KeepsTheLocale},
    {"library.keeps-the-state-of-the-process", EnLevel::PLUGIN,
     "A run changes neither working folder, umask, rounding mode nor the handlers of signals.",
     "The host and other plug-ins rely on them.", KeepsTheProcessState},
};

} // namespace

std::span<const StRule> ProcessRules() { return c_rules; }

} // namespace validate
