#include "cli/Commands.h"
#include "cli/PackOption.h"
#include "engine/packs/CPackSet.h"
#include "validate/Report.h"

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <limits>
#include <memory>
#include <optional>

namespace cli {

using namespace engine;
using namespace validate;

namespace {

struct StValidateOptions {
    std::vector<std::string> words; // a pack, and names
    bool asJson = false;
    bool isOnlyFailed = false;
    bool isList = false;
    std::optional<std::int64_t> seed;
    std::optional<std::string> reproduced;
};

/// Whether the first word is a pack: a path rather than a name.
bool IsPath(const std::string& word) {
    return word.find('/') != std::string::npos || std::filesystem::path(word).extension() == ".so";
}

/// A plan for a pack with its catalogue. Raises `CFileError` if one of them cannot be used.
StPlan PlanFor(CPack& pack) {
    if (!pack.IsUsable())
        throw CFileError(pack.Scan().problem, pack.Scan().fault);
    StPlan plan;
    plan.packPath = std::filesystem::absolute(pack.Path()).string();
    plan.catalogue = CCatalogue::OfPack(pack.Path());
    plan.packName = pack.Name();
    if (plan.catalogue.Entries().empty()) {
        throw CFileError("'" + pack.Path() +
                         "' cannot be validated without a catalogue: there is no plug-in in '" +
                         CCatalogue::PathBeside(pack.Path()) + "'");
    }
    return plan;
}

/// The packs to validate, with their plug-ins.
std::vector<StPlan> PlansFor(std::vector<std::string> words) {
    std::vector<StPlan> plans;
    if (!words.empty() && IsPath(words.front())) {
        CPack pack(words.front(), {});
        plans.push_back(PlanFor(pack));
        words.erase(words.begin());
    } else {
        CPackSet packs = OpenPacks({});
        const auto isFirst = [&words](CPack& pack) { return !words.empty() && pack.Name() == words.front(); };
        const auto named = std::find_if(packs.Packs().begin(), packs.Packs().end(), isFirst);
        if (named != packs.Packs().end()) {
            plans.push_back(PlanFor(*named));
            words.erase(words.begin());
        } else {
            for (CPack& pack : packs.Packs())
                plans.push_back(PlanFor(pack));
        }
    }
    std::vector<std::string> known;
    for (StPlan& plan : plans) {
        for (const std::string& name : plan.catalogue.Names()) {
            known.push_back(name);
            if (std::find(words.begin(), words.end(), name) != words.end())
                plan.plugins.push_back(name);
        }
    }
    for (const std::string& word : words) {
        if (std::find(known.begin(), known.end(), word) == known.end())
            throw CCallerError(UnknownPluginMessage(word, known));
    }
    if (!words.empty())
        std::erase_if(plans, [](const StPlan& plan) { return plan.plugins.empty(); });
    return plans;
}

void List(bool asJson) {
    for (const StRule* rule : Rules())
        std::printf("%s\n%s", (asJson ? RuleJson(*rule) : RuleText(*rule)).c_str(), asJson ? "" : "\n");
}

[[noreturn]] void EndBroken(std::size_t count) {
    throw CCommandError(STATUS_PLUGIN_RAISED,
                        std::to_string(count) + (count == 1 ? " rule is broken" : " rules are broken"));
}

/// What is printed of the results of one plug-in, or of the library.
void Print(const StPlan& plan, const StValidateOptions& options, const std::string& plugin,
           const std::vector<StResult>& results) {
    if (!options.asJson && !options.isOnlyFailed)
        std::printf("%s\n", SummaryLine(plan.catalogue.Find(plugin), results).c_str());
    for (const StResult& result : results) {
        const bool isBroken = result.outcome == EnOutcome::BROKEN;
        if (options.isOnlyFailed && !isBroken)
            continue;
        if (options.asJson)
            std::printf("%s\n", ResultJson(plan, result).c_str());
        else if (isBroken || result.outcome == EnOutcome::DECLARED)
            std::printf("  %s\n", ResultLine(result).c_str());
    }
    std::fflush(stdout);
}

std::string Heading(const StPlan& plan) {
    return plan.packName + " " + plan.catalogue.Version() + " (" + plan.packPath + "), " +
           std::to_string(Rules().size()) + " rules, seed " + std::to_string(plan.seed) +
           (c_hasMemoryLimit ? "" : ", no limit on memory in this build");
}

void ValidateAll(std::vector<StPlan>& plans, const StValidateOptions& options) {
    std::size_t broken = 0;
    for (StPlan& plan : plans) {
        plan.seed = static_cast<std::uint32_t>(options.seed.value_or(plan.seed));
        if (!options.asJson)
            std::printf("%s\n", Heading(plan).c_str());
        Validate(plan, [&](const std::string& plugin, const std::vector<StResult>& results) {
            Print(plan, options, plugin, results);
            broken += static_cast<std::size_t>(
                std::count_if(results.begin(), results.end(),
                              [](const StResult& result) { return result.outcome == EnOutcome::BROKEN; }));
        });
    }
    if (broken > 0)
        EndBroken(broken);
    if (!options.asJson)
        std::printf("No rule is broken.\n");
}

void ReproduceOne(const std::vector<StPlan>& plans, const StCase& one, bool asJson) {
    const StPlan* found = nullptr;
    for (const StPlan& plan : plans) {
        const bool hasIt = plan.catalogue.Find(one.plugin) != nullptr || plan.packName == one.plugin;
        if (found == nullptr && hasIt)
            found = &plan;
    }
    // Without one, the message says which plug-ins there are.
    const StPlan& plan = found != nullptr ? *found : plans.front();
    const StResult result = Reproduce(plan, one);
    if (asJson) {
        std::printf("%s\n", ResultJson(plan, result).c_str());
    } else {
        std::printf("%s\n", RuleText(*result.rule).c_str());
        for (const std::string& detail : result.details)
            std::printf("%s\n", detail.c_str());
        std::printf("%s\n", ResultLine(result).c_str());
    }
    if (result.outcome == EnOutcome::BROKEN)
        EndBroken(1);
}

void Run(const StValidateOptions& options) {
    if (options.isList) {
        List(options.asJson);
        return;
    }
    const auto one = options.reproduced ? std::optional(ParseCase(*options.reproduced)) : std::nullopt;
    if (options.seed && (*options.seed < 0 || *options.seed > std::numeric_limits<std::uint32_t>::max()))
        throw CCallerError("the seed is " + std::to_string(*options.seed) + "; it must be 0 to 4294967295");
    std::vector<StPlan> plans = PlansFor(options.words);
    if (one)
        ReproduceOne(plans, *one, options.asJson);
    else
        ValidateAll(plans, options);
}

} // namespace

void AddValidateCommand(CArgumentParser& program) {
    CCommand command =
        program.AddCommand("validate", "Check that a pack keeps the rules of the contract with its host");
    const auto options = std::make_shared<StValidateOptions>();
    command.AddOptionalPositionals(
        "PACK NAME", options->words,
        "A pack, as a path or a name, and plug-ins of it; without a pack, all of them, and "
        "without names, all plug-ins");
    command.AddFlag("--json", options->asJson, "Print a JSON object for each rule and plug-in, one per line");
    command.AddFlag("--only-failed", options->isOnlyFailed, "Print broken rules only");
    command.AddFlag("--list", options->isList,
                    "Print the rules, with the reason for each, and check nothing");
    command.AddOption("--seed", options->seed, "Draw other random parameters", "N");
    command.AddOption("--reproduce", options->reproduced,
                      "Check one case again, as printed behind a broken rule", "CASE");
    command.SetFooter("Exit status:\n"
                      "  0  all rules hold, or are broken as the catalogue declares\n"
                      "  1  a rule is broken\n"
                      "  2  the command line is wrong\n"
                      "  4  the pack cannot be loaded, or has no catalogue");
    command.OnRun([options] { Run(*options); });
}

} // namespace cli
