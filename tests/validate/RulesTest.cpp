// Each rule is broken by a plug-in, or a library, that breaks this rule and no other.

#include "support/CEnvironmentVariable.h"
#include "support/CommandLine.h"
#include "support/badpack/SoundEntry.h"
#include "validate/Runner.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <functional>
#include <map>
#include <set>
#include <string>

using nlohmann::json;

namespace validate {

namespace {

namespace fs = std::filesystem;

using Change = std::function<void(json& entry)>;

/// What makes an entry false, where it is the catalogue that breaks the rule; otherwise what the plug-in
/// needs.
const std::map<std::string, Change>& Changes() {
    static const std::map<std::string, Change> changes{
        {"progress.asks-as-declared", [](json& entry) { entry["cancel"] = "nowhere"; }},
        {"tree.results-outlive-the-input", [](json& entry) { entry["parameters"] = json::array(); }},
        {"truth.declared-keys-are-read",
         [](json& entry) {
             entry["parameters"].push_back({{"key", "ghost"}, {"kind", "bool"}, {"meaning", "nothing"}});
         }},
        {"truth.defaults-are-used", [](json& entry) { entry["parameters"][1]["default"] = 7; }},
        {"truth.declared-settings-are-read",
         [](json& entry) {
             entry["settings"].push_back({{"key", "ghost"}, {"kind", "string"}, {"meaning", "nothing"}});
         }},
        {"truth.declared-images-are-accepted",
         [](json& entry) { entry["images"]["types"].push_back("grey32"); }},
        {"truth.other-images-are-refused",
         [](json& entry) {
             entry["images"]["types"] = json::array({"grey8", "grey16"});
         }},
        {"truth.minimum-extent-is-true", [](json& entry) { entry["images"]["minimumExtent"] = 3; }},
        {"truth.measured-images-are-required", [](json& entry) { entry["images"]["after"] = {"Measure"}; }},
        {"truth.measurements-are-stored",
         [](json& entry) {
             entry["measurements"] = {{{"key", "Ghost"}, {"title", "Nothing"}, {"kind", "single"}}};
         }},
        {"truth.dialogs-are-as-declared", [](json& entry) { entry["dialogs"] = true; }},
        {"truth.files-are-as-declared", [](json& entry) { entry["asksForFile"] = true; }},
        {"truth.deviations-are-needed",
         [](json& entry) {
             entry["deviations"] = {{{"rule", "image.keeps-the-pixels"}, {"reason", "it is faster"}}};
         }},
    };
    return changes;
}

/// A pack whose catalogue has one plug-in, and another one that measures if the first one needs that.
class CBadPack {
public:
    CBadPack(const std::string& plugin, const std::string& file, const json& entry)
        : m_plugin("BAD_PACK_PLUGIN", plugin.c_str()) {
        const std::string library = m_folder / ("lib" + file + ".so");
        fs::copy_file(file == "library.exports-one-function" ? QUILLON_BAD_PACK_WITH_EXPORTS
                                                             : QUILLON_BAD_PACK,
                      library);
        json plugins = json::array({entry});
        if (entry["images"].contains("after")) {
            plugins.push_back(test::SoundEntry("Measure"));
            plugins.back()["parameters"] = json::array();
        }
        std::ofstream(m_folder / (file + ".catalogue.json"))
            << json{{"pack", "BadPack"}, {"version", "1"}, {"plugins", plugins}}.dump();
        m_plan.packPath = library;
        m_plan.packName = "BadPack";
        m_plan.catalogue = engine::CCatalogue::OfPack(library);
    }

    StPlan& Plan() { return m_plan; }

private:
    test::CTestFolder m_folder;
    test::CEnvironmentVariable m_plugin;
    StPlan m_plan;
};

/// The names of the rules that a plan breaks, each with what was seen.
std::map<std::string, std::string> Broken(const StPlan& plan) {
    std::map<std::string, std::string> broken;
    Validate(plan, [&broken](const std::string&, const std::vector<StResult>& results) {
        for (const StResult& result : results) {
            if (result.outcome == EnOutcome::BROKEN)
                broken.emplace(result.rule->name, result.seen + " (" + result.repeated.Text() + ")");
        }
    });
    return broken;
}

json EntryFor(const std::string& rule, const std::string& plugin) {
    json entry = test::SoundEntry(plugin);
    const auto change = Changes().find(rule);
    if (change != Changes().end())
        change->second(entry);
    return entry;
}

} // namespace

TEST(SoundPlugin, KeepsAllRules) {
    CBadPack pack("Scale", "BadPack", test::SoundEntry("Scale"));
    pack.Plan().plugins = {"Scale"};
    EXPECT_EQ(Broken(pack.Plan()), (std::map<std::string, std::string>()));
}

/// Over all rules of the table: a new rule without a plug-in that breaks it fails here.
class BadPlugin : public testing::TestWithParam<const StRule*> {};

void PrintTo(const StRule* rule, std::ostream* stream) { *stream << rule->name; }

TEST_P(BadPlugin, BreaksItsRuleAndNoOther) {
    const StRule& rule = *GetParam();
    const std::string name = rule.name;
    const bool isLibrary = rule.level == EnLevel::LIBRARY;
    const std::string plugin = isLibrary ? "Scale" : name;
    CBadPack pack(plugin, isLibrary ? name : "BadPack", EntryFor(name, plugin));
    if (!isLibrary)
        pack.Plan().plugins = {plugin};
    if (name == "library.loads-quickly")
        pack.Plan().limits.loadSeconds = 0.1;
    if (name == "progress.returns-wherever-it-is-cancelled")
        pack.Plan().limits.cancelSeconds = 2;
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
    // Sanitizers keep libraries loaded, and make each process too expensive to try all rules.
    if (name == "library.loads-a-hundred-times" || name == "library.unloading-leaks-nothing" ||
        name == "library.loads-quickly")
        GTEST_SKIP() << "sanitizers keep libraries loaded";
    const StResult result = Reproduce(pack.Plan(), {name, isLibrary ? "BadPack" : plugin, 1, ""});
    EXPECT_EQ(result.outcome, EnOutcome::BROKEN) << result.seen;
#else
    const auto broken = Broken(pack.Plan());
    std::set<std::string> names;
    for (const auto& [broke, seen] : broken) {
        names.insert(broke);
        EXPECT_EQ(broke, name) << seen;
    }
    EXPECT_EQ(names, std::set<std::string>{name});
#endif
}

std::string TestName(const testing::TestParamInfo<const StRule*>& info) {
    std::string name;
    bool isCapital = true;
    for (const char letter : std::string(info.param->name)) {
        const bool isLetter = std::isalnum(static_cast<unsigned char>(letter)) != 0;
        if (isLetter)
            name += isCapital ? static_cast<char>(std::toupper(static_cast<unsigned char>(letter))) : letter;
        isCapital = !isLetter;
    }
    return name;
}

INSTANTIATE_TEST_SUITE_P(Rules, BadPlugin, testing::ValuesIn(Rules()), TestName);

TEST(RuleTable, HasSixtyRulesOrMoreWithNameSentenceAndReason) {
    EXPECT_GE(Rules().size(), 60U);
    std::set<std::string> names;
    for (const StRule* rule : Rules()) {
        EXPECT_TRUE(names.insert(rule->name).second) << rule->name;
        EXPECT_NE(rule->Group(), rule->name);
        EXPECT_EQ(std::string(rule->sentence).back(), '.') << rule->name;
        EXPECT_EQ(std::string(rule->reason).back(), '.') << rule->name;
        EXPECT_EQ(rule->check == nullptr, rule->name == c_deviationRule);
    }
}

TEST(RuleTable, HasTheGroupsOfTheContract) {
    std::set<std::string> groups;
    for (const StRule* rule : Rules())
        groups.insert(rule->Group());
    EXPECT_EQ(groups, (std::set<std::string>{"library", "life-cycle", "tree", "image", "progress",
                                             "determinism", "allocation", "random", "truth"}));
}

} // namespace validate
