// What `quillon validate` prints, and how it ends. Whether rules find what they are for is tested with the
// rules.

#include "support/CommandLine.h"
#include "support/badpack/SoundEntry.h"
#include "validate/Report.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

using nlohmann::json;
using test::Quillon;
using test::StEnd;

namespace {

std::vector<std::string> LinesOf(const std::string& text) {
    std::vector<std::string> lines;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);)
        lines.push_back(line);
    return lines;
}

/// A pack with one plug-in that changes a pixel of its input.
class CPixelChanger {
public:
    explicit CPixelChanger(const json& deviations = json::array()) {
        std::filesystem::copy_file(QUILLON_BAD_PACK, m_library);
        json entry = test::SoundEntry("image.keeps-the-pixels");
        entry["deviations"] = deviations;
        std::ofstream(m_folder / "Changer.catalogue.json")
            << json{{"pack", "Changer"}, {"version", "2.1"}, {"plugins", {entry}}};
    }

    [[nodiscard]] const std::string& Library() const { return m_library; }

    [[nodiscard]] StEnd Validate(std::vector<std::string> arguments) const {
        arguments.insert(arguments.begin(), {"validate", m_library});
        return Quillon(arguments, {"BAD_PACK_PLUGIN=image.keeps-the-pixels"});
    }

private:
    test::CTestFolder m_folder;
    std::string m_library = m_folder / "libChanger.so";
};

json DeviationFrom(const char* rule) {
    return json::array({json{{"rule", rule}, {"reason", "It is faster."}}});
}

const std::string c_case = "image.keeps-the-pixels:image.keeps-the-pixels:1";

void ExpectUsageError(const std::vector<std::string>& arguments, const std::string& message) {
    const StEnd end = Quillon(arguments);
    EXPECT_EQ(end.status, 2);
    EXPECT_EQ(end.err, "quillon: " + message + "\n");
    EXPECT_EQ(end.out, "");
}

} // namespace

TEST(ValidateCommand, NamesWhatIsWrongWithTheCommandLine) {
    ExpectUsageError({"validate", "QuillonPack", "GausFilter"},
                     "there is no plug-in 'GausFilter'; the nearest name is 'GaussFilter'");
    ExpectUsageError({"validate", "--seed", "-1"}, "the seed is -1; it must be 0 to 4294967295");
    ExpectUsageError(
        {"validate", "--reproduce", "GaussFilter"},
        "'GaussFilter' is not a case; it must be RULE:PLUGIN:SEED or RULE:PLUGIN:SEED:VARIATION");
    ExpectUsageError(
        {"validate", "QuillonPack", "--reproduce", "image.keep-the-pixels:GaussFilter:1"},
        "there is no rule 'image.keep-the-pixels'; the nearest name is 'image.keeps-the-pixels'");
    ExpectUsageError({"validate", "QuillonPack", "--reproduce", "image.keeps-the-pixels:GausFilter:1"},
                     "there is no plug-in 'GausFilter'; the nearest name is 'GaussFilter'");
}

TEST(ValidateCommand, EndsWithOneLineForAPackThatCannotBeUsed) {
    const test::CTestFolder folder;
    const std::string text = folder / "text.so";
    std::ofstream(text) << "hello";
    const StEnd noLibrary = Quillon({"validate", text});
    EXPECT_EQ(noLibrary.status, 4);
    EXPECT_EQ(noLibrary.err, "quillon: cannot load the pack '" + text + "': it is not a shared library\n");

    const std::string plain = folder / "libPlain.so";
    std::filesystem::copy_file(QUILLON_BAD_PACK, plain);
    const StEnd noCatalogue = Quillon({"validate", plain});
    EXPECT_EQ(noCatalogue.status, 4);
    EXPECT_EQ(noCatalogue.err, "quillon: '" + plain +
                                   "' cannot be validated without a catalogue: there is no plug-in in '" +
                                   (folder / "Plain.catalogue.json") + "'\n");
    EXPECT_EQ(noCatalogue.out, "");
}

TEST(ValidateCommand, ListsRulesWithSentenceAndReason) {
    const StEnd end = Quillon({"validate", "--list"});
    EXPECT_EQ(end.status, 0);
    EXPECT_EQ(end.out.substr(0, end.out.find("library.loads-quickly")),
              "library.exports-one-function\n"
              "    The library exports CreatePluginInstanceEx and nothing else.\n"
              "    Why: Names that it exports can replace those of the host or of another pack.\n\n");
    EXPECT_EQ(LinesOf(end.out).size(), 4 * validate::Rules().size());
}

TEST(ValidateCommand, ListsRulesAsAnObjectPerLine) {
    const StEnd end = Quillon({"validate", "--list", "--json"});
    EXPECT_EQ(end.status, 0);
    const std::vector<std::string> lines = LinesOf(end.out);
    ASSERT_EQ(lines.size(), validate::Rules().size());
    for (std::size_t i = 0; i < lines.size(); ++i) {
        const json rule = json::parse(lines[i]);
        EXPECT_EQ(rule.size(), 5U);
        EXPECT_EQ(rule.at("rule"), validate::Rules()[i]->name);
        EXPECT_EQ(rule.at("group"), validate::Rules()[i]->Group());
        EXPECT_EQ(rule.at("sentence"), validate::Rules()[i]->sentence);
        EXPECT_EQ(rule.at("reason"), validate::Rules()[i]->reason);
        EXPECT_TRUE(rule.at("level") == "library" || rule.at("level") == "plug-in");
    }
}

TEST(ValidateCommand, ReportsABrokenRuleWithItsCase) {
    const CPixelChanger pack;
    const StEnd end = pack.Validate({"image.keeps-the-pixels", "--only-failed"});
    EXPECT_EQ(end.status, 1);
    EXPECT_EQ(end.err, "quillon: 1 rule is broken\n");
    const std::vector<std::string> lines = LinesOf(end.out);
    ASSERT_EQ(lines.size(), 2U);
    EXPECT_TRUE(lines[0].starts_with("Changer 2.1 (" + pack.Library() + "), "));
    EXPECT_EQ(lines[1], "  BROKEN image.keeps-the-pixels image.keeps-the-pixels: a run changes pixel 0 of "
                        "the input (--reproduce " +
                            c_case + ")");
}

TEST(ValidateCommand, SaysSoIfNoRuleIsBroken) {
    const StEnd end = Quillon({"validate", "QuillonPack", "GranulometryExport", "--only-failed"});
    EXPECT_EQ(end.status, 0);
    const std::vector<std::string> lines = LinesOf(end.out);
    ASSERT_EQ(lines.size(), 2U) << end.out;
    EXPECT_EQ(lines[1], "No rule is broken.");
}

TEST(ValidateCommand, ReportsRulesAsAnObjectPerLine) {
    const CPixelChanger pack;
    const StEnd end = pack.Validate({"image.keeps-the-pixels", "--json"});
    EXPECT_EQ(end.status, 1);
    std::vector<json> broken;
    std::size_t count = 0;
    for (const std::string& line : LinesOf(end.out)) {
        const json record = json::parse(line);
        ++count;
        EXPECT_NE(validate::FindRule(record.at("rule").get<std::string>()), nullptr);
        if (record.at("outcome") == "broken")
            broken.push_back(record);
    }
    EXPECT_GT(count, 60U);
    ASSERT_EQ(broken.size(), 1U);
    EXPECT_EQ(broken[0], json({{"rule", "image.keeps-the-pixels"},
                               {"pack", "Changer"},
                               {"plugin", "image.keeps-the-pixels"},
                               {"outcome", "broken"},
                               {"seen", "a run changes pixel 0 of the input"},
                               {"reason", nullptr},
                               {"case", c_case}}));
    const StEnd failed = pack.Validate({"image.keeps-the-pixels", "--json", "--only-failed"});
    EXPECT_EQ(json::parse(failed.out), broken[0]);
}

TEST(ValidateCommand, ReproducesACase) {
    const CPixelChanger pack;
    const StEnd end = pack.Validate({"--reproduce", c_case});
    EXPECT_EQ(end.status, 1);
    EXPECT_EQ(end.err, "quillon: 1 rule is broken\n");
    EXPECT_EQ(end.out,
              "image.keeps-the-pixels\n"
              "    A run changes no pixel of the input.\n"
              "    Why: The input is on the user's screen, and often the only copy.\n"
              "BROKEN image.keeps-the-pixels image.keeps-the-pixels: a run changes pixel 0 of the input "
              "(--reproduce " +
                  c_case + ")\n");
    const StEnd other = pack.Validate({"--reproduce", "tree.keeps-the-input:image.keeps-the-pixels:1"});
    EXPECT_EQ(other.status, 0);
    EXPECT_EQ(LinesOf(other.out).back(), "holds: tree.keeps-the-input image.keeps-the-pixels");
}

TEST(ValidateCommand, ShowsADeclaredDeviation) {
    const CPixelChanger pack(DeviationFrom("image.keeps-the-pixels"));
    const StEnd end = pack.Validate({"--reproduce", c_case});
    EXPECT_EQ(end.status, 0);
    EXPECT_EQ(LinesOf(end.out).back(), "declared image.keeps-the-pixels image.keeps-the-pixels: a run "
                                       "changes pixel 0 of the input; It is faster. "
                                       "(--reproduce " +
                                           c_case + ")");
}

TEST(ValidateCommand, RefusesADeviationFromARuleThatHolds) {
    const CPixelChanger pack(DeviationFrom("tree.keeps-the-input"));
    const StEnd end = pack.Validate({"--reproduce", "truth.deviations-are-needed:image.keeps-the-pixels:1"});
    EXPECT_EQ(end.status, 1);
    EXPECT_EQ(
        LinesOf(end.out).back(),
        "BROKEN truth.deviations-are-needed image.keeps-the-pixels: the catalogue declares a deviation from "
        "'tree.keeps-the-input', which is not broken (--reproduce "
        "truth.deviations-are-needed:image.keeps-the-pixels:1)");
}

TEST(ValidateCommand, IsDocumentedWithAllRules) {
    const std::string page = test::ReadText(QUILLON_TEST_DATA "/../../docs/validate.md");
    std::size_t rows = 0;
    for (const std::string& line : LinesOf(page))
        rows += line.starts_with("| `") && line.find('.') < line.find("` |") ? 1 : 0;
    EXPECT_EQ(rows, validate::Rules().size());
    for (const validate::StRule* rule : validate::Rules()) {
        const std::string row =
            "| `" + std::string(rule->name) + "` | " + rule->sentence + " | " + rule->reason + " |\n";
        EXPECT_NE(page.find(row), std::string::npos) << rule->name;
    }
}
