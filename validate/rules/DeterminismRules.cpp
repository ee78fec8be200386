// Rules about results that must not depend on anything but the input.

#include "validate/drive/CTrial.h"
#include "validate/drive/Memory.h"
#include "validate/rules/RuleGroups.h"

#include <QuillonBase/Parallel.h>

#include <array>
#include <clocale>
#include <cstdlib>
#include <filesystem>
#include <locale>

namespace validate {

namespace {

void TwoObjectsAgree(CRuleRun& run) {
    CTrial first(run);
    if (const auto raised = first.TryToRun())
        CRuleRun::Skip("a normal run raises: " + *raised);
    const StShown shown = first.Shown();
    for (int i = 0; i < 3; ++i)
        CRuleRun::BreakIf(Difference(shown, ShownAfter(run)));
}

void TwoRunsOfAnObjectAgree(CRuleRun& run) {
    const StShown normal = NormalShown(run);
    CTrial trial(run);
    (void)trial.TryToRun();
    trial.Documents().clear();
    trial.Focus(NormalImage(run));
    (void)trial.TryToRun();
    CRuleRun::BreakIf(Difference(normal, trial.Shown()));
}

void ThreadsChangeNothing(CRuleRun& run) {
    const StShown normal = NormalShown(run);
    for (int threads = 1; threads <= 8; ++threads) {
        const std::string name = std::to_string(threads) + (threads == 1 ? " thread" : " threads");
        if (!run.Begins(name))
            continue;
        ORVEN::SetThreadCount(threads);
        const std::string seen = Difference(normal, ShownAfter(run));
        ORVEN::SetThreadCount(1);
        if (!seen.empty())
            CRuleRun::Break("with " + name + ", " + seen);
    }
}

/// Numbers with a comma and points between thousands.
class CCommaPunctuation : public std::numpunct<char> {
protected:
    [[nodiscard]] char do_decimal_point() const override { return ','; }
    [[nodiscard]] char do_thousands_sep() const override { return '.'; }
    [[nodiscard]] std::string do_grouping() const override { return "\3"; }
};

void LocaleChangesNothing(CRuleRun& run) {
    const StShown normal = NormalShown(run);
    const std::locale before = std::locale::global(std::locale(std::locale(), new CCommaPunctuation));
    // Any that is installed: the comma of the C library can only come from one of these.
    for (const char* name : {"de_DE.UTF-8", "fr_FR.UTF-8", "de_DE", "C.UTF-8"}) {
        if (std::setlocale(LC_ALL, name) != nullptr)
            break;
    }
    const StShown shown = ShownAfter(run);
    std::setlocale(LC_ALL, "C");
    std::locale::global(before);
    if (const std::string seen = Difference(normal, shown); !seen.empty())
        CRuleRun::Break("in a locale with a decimal comma, " + seen);
}

void FolderChangesNothing(CRuleRun& run) {
    const StShown normal = NormalShown(run);
    std::filesystem::current_path("/");
    if (const std::string seen = Difference(normal, ShownAfter(run)); !seen.empty())
        CRuleRun::Break("in another working folder, " + seen);
}

void EnvironmentChangesNothing(CRuleRun& run) {
    const StShown normal = NormalShown(run);
    const std::array<std::pair<const char*, const char*>, 4> variables{
        {{"TZ", "Asia/Kolkata"}, {"LANG", "xx_XX"}, {"HOME", "/nonexistent"}, {"USER", "somebody"}}};
    for (const auto& [name, value] : variables)
        setenv(name, value, 1);
    if (const std::string seen = Difference(normal, ShownAfter(run)); !seen.empty())
        CRuleRun::Break("in another environment, " + seen);
}

void ReadsNoMemoryThatItHasNotWritten(CRuleRun& run) {
    const StShown normal = NormalShown(run);
    constexpr std::array<unsigned char, 2> fillings{0xA5, 0x3C};
    for (const unsigned char filling : fillings) {
        CTrial trial(run);
        const memory::CFilling filled(filling);
        (void)trial.TryToRun();
        if (const std::string seen = Difference(normal, trial.Shown()); !seen.empty())
            CRuleRun::Break("if new memory is not 0, " + seen);
    }
}

constexpr StRule c_rules[] = {
    {"determinism.two-objects", EnLevel::PLUGIN, "Two objects with the same input give the same result.",
     "A result that cannot be repeated cannot be trusted.", TwoObjectsAgree},
    {"determinism.two-runs-of-an-object", EnLevel::PLUGIN,
     "Two runs of one object with the same input give the same result.",
     "Nothing may be carried over from one run to the next.", TwoRunsOfAnObjectAgree},
    {"determinism.any-number-of-threads", EnLevel::PLUGIN,
     "The result is the same with one to eight threads.", "People compare results from different machines.",
     ThreadsChangeNothing},
    {"determinism.any-locale", EnLevel::PLUGIN,
     "The result is the same in a locale with a decimal comma, with its history and its files.",
     "Files are read elsewhere.", LocaleChangesNothing},
    {"determinism.any-working-folder", EnLevel::PLUGIN, "The result is the same in another working folder.",
     "A host is started from anywhere.", FolderChangesNothing},
    {"determinism.any-environment", EnLevel::PLUGIN,
     "The result is the same with another time zone, language, user and home folder.",
     "People compare results from different machines.", EnvironmentChangesNothing},
    {"determinism.any-content-of-new-memory", EnLevel::PLUGIN,
     "The result does not depend on what new memory contains.",
     "Memory that was never written differs from run to run.", ReadsNoMemoryThatItHasNotWritten},
};

} // namespace

std::span<const StRule> DeterminismRules() { return c_rules; }

} // namespace validate
