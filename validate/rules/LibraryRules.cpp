// Rules about the library of a pack: what it exports, and what loading it does to the process.

#include "engine/errors/CEngineError.h"
#include "engine/run/COutputCapture.h"
#include "validate/drive/ExportedNames.h"
#include "validate/drive/Memory.h"
#include "validate/drive/ProcessState.h"
#include "validate/rules/CRuleRun.h"
#include "validate/rules/RuleGroups.h"

#include <dlfcn.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdio>
#include <string>

namespace validate {

namespace {

const char* const c_entryPoint = "CreatePluginInstanceEx";

void ExportsOneFunction(CRuleRun& run) {
    std::string others;
    for (const std::string& name : ExportedNames(run.Subject().packPath)) {
        if (name != c_entryPoint)
            others += (others.empty() ? "it also exports " : ", ") + name;
    }
    CRuleRun::BreakIf(others);
}

/// Loads the library and creates each plug-in once.
void LoadAndUse(const StSubject& subject) {
    const engine::CPackLibrary pack(subject.packPath);
    for (const engine::StCatalogueEntry& entry : subject.catalogue->Entries())
        (void)pack.Provides(entry.name);
}

void LoadsQuickly(CRuleRun& run) {
    using Clock = std::chrono::steady_clock;
    double best = 1e9;
    for (int i = 0; i < 3; ++i) {
        const auto start = Clock::now();
        const engine::CPackLibrary pack(run.Subject().packPath);
        best = std::min(best, std::chrono::duration<double>(Clock::now() - start).count());
    }
    std::array<char, 96> seen{};
    std::snprintf(seen.data(), seen.size(), "loading took %.2f s, the limit is %.2f s", best,
                  run.Subject().limits.loadSeconds);
    if (best > run.Subject().limits.loadSeconds)
        CRuleRun::Break(seen.data());
}

void LoadsAHundredTimes(CRuleRun& run) {
    for (int i = 1; i <= 100; ++i) {
        try {
            LoadAndUse(run.Subject());
        } catch (const engine::CEngineError& error) {
            CRuleRun::Break("time " + std::to_string(i) + ": " + error.what());
        }
    }
}

void UnloadingLeaksNothing(CRuleRun& run) {
    const auto liveAfterALoad = [&run] {
        LoadAndUse(run.Subject());
        return memory::g_liveBlocks.load();
    };
    for (int i = 0; i < 3; ++i)
        (void)liveAfterALoad();
    std::int64_t before = liveAfterALoad();
    const std::int64_t first = before;
    for (int i = 0; i < 5; ++i) {
        const std::int64_t after = liveAfterALoad();
        if (after <= before)
            return;
        before = after;
    }
    CRuleRun::Break(std::to_string(before - first) + " blocks of memory are left after 5 loads");
}

void LeavesNoThread(CRuleRun& run) {
    const int before = ThreadCount(1);
    const engine::CPackLibrary pack(run.Subject().packPath);
    const int after = ThreadCount(before);
    if (after > before)
        CRuleRun::Break(std::to_string(after - before) + " threads run once it is loaded");
}

std::string FirstOf(const std::string& text) {
    constexpr std::size_t shown = 60;
    std::string line = text.substr(0, text.find('\n'));
    return "'" + (line.size() > shown ? line.substr(0, shown) + "..." : line) + "'";
}

void PrintsNothing(CRuleRun& run) {
    engine::COutputCapture capture;
    LoadAndUse(run.Subject());
    std::fflush(nullptr);
    capture.Stop();
    if (!capture.StandardOutput().empty())
        CRuleRun::Break("it writes " + FirstOf(capture.StandardOutput()) + " to standard output");
    if (!capture.StandardError().empty())
        CRuleRun::Break("it writes " + FirstOf(capture.StandardError()) + " to standard error");
}

void LeavesTheLocale(CRuleRun& run) {
    const std::string before = LocaleText();
    LoadAndUse(run.Subject());
    if (const std::string after = LocaleText(); after != before)
        CRuleRun::Break("the locale is " + after + " and was " + before);
}

void KnowsNoNullName(CRuleRun& run) {
    const engine::CPackLibrary pack(run.Subject().packPath);
    void* const library = dlopen(run.Subject().packPath.c_str(), RTLD_NOW | RTLD_LOCAL);
    using CreateFunction = void* (*)(const char*);
    const auto create =
        reinterpret_cast<CreateFunction>(library != nullptr ? dlsym(library, c_entryPoint) : nullptr);
    if (create != nullptr && create(nullptr) != nullptr)
        CRuleRun::Break("it creates a plug-in for a null name");
}

constexpr StRule c_rules[] = {
    {"library.exports-one-function", EnLevel::LIBRARY,
     "The library exports CreatePluginInstanceEx and nothing else.",
     "Names that it exports can replace those of the host or of another pack.", ExportsOneFunction},
    {"library.loads-quickly", EnLevel::LIBRARY, "Loading the library takes less than a second.",
     "A host loads packs while a person waits for its window.", LoadsQuickly},
    {"library.loads-a-hundred-times", EnLevel::LIBRARY,
     "The library can be loaded, used and unloaded a hundred times.",
     "A host unloads packs that are not in use, and loads them again.", LoadsAHundredTimes},
    {"library.unloading-leaks-nothing", EnLevel::LIBRARY,
     "Loading and unloading the library leaks no memory.",
     "What a pack allocates when it is loaded, nobody else can free.", UnloadingLeaksNothing},
    {"library.starts-no-thread-when-loaded", EnLevel::LIBRARY, "Loading the library starts no thread.",
     "A thread that is still running when the pack is unloaded loses its code.", LeavesNoThread},
    {"library.prints-nothing-when-loaded", EnLevel::LIBRARY,
     "Loading the library and creating its plug-ins writes nothing to standard output or standard error.",
     "Standard output belongs to the host, which may write a result there.", PrintsNothing},
    {"library.keeps-the-locale-when-loaded", EnLevel::LIBRARY,
     "Loading the library and creating its plug-ins does not change the locale.",
     "The host's own numbers would be written and read differently.", LeavesTheLocale},
    {"library.creates-nothing-for-a-null-name", EnLevel::LIBRARY,
     "CreatePluginInstanceEx returns null for a null name.",
     "A host that has no name to ask for must not crash.", KnowsNoNullName},
};

} // namespace

std::span<const StRule> LibraryRules() { return c_rules; }

} // namespace validate
