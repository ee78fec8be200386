#include "engine/catalogue/CCatalogue.h"

#include "engine/errors/CEngineError.h"
#include "engine/packs/CPackSet.h"
#include "support/CommandLine.h"
#include "support/Raised.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <filesystem>
#include <fstream>

using namespace engine;

namespace {

/// A sound entry to change one thing of.
nlohmann::json SoundEntry() {
    return nlohmann::json::parse(R"({
        "name": "Thing", "title": "A thing", "summary": "Does things",
        "images": {"types": ["grey8", "binary"], "dimensions": [2, 3], "minimumExtent": 4, "note": "without holes"},
        "parameters": [
            {"key": "a/b", "kind": "long", "meaning": "some number", "default": 3, "alwaysSent": true,
             "minimum": 0, "maximum": 9, "unit": "pixels"},
            {"key": "word", "kind": "string", "meaning": "some word", "choices": ["x", "y"]}
        ],
        "settings": [], "dialogs": false, "cancel": "partly", "documentsOut": 1})");
}

CCatalogue PackCatalogue() { return CCatalogue::OfPack(QUILLON_PACK); }

StCatalogueEntry Parse(const nlohmann::json& entry) {
    return ParseCatalogueEntry(*CJson::Parse(entry.dump()));
}

std::string Complaint(const nlohmann::json& entry) {
    return test::Raised<std::runtime_error>([&] { Parse(entry); }).what();
}

} // namespace

TEST(Catalogue, ReadsEveryEntryOfThePack) {
    const CCatalogue catalogue = PackCatalogue();
    EXPECT_EQ(catalogue.Pack(), "QuillonPack");
    EXPECT_EQ(catalogue.Version(), "1.0.0");
    ASSERT_FALSE(catalogue.Entries().empty());
    const std::vector<std::string> names = catalogue.Names();
    EXPECT_TRUE(std::is_sorted(names.begin(), names.end()));
    EXPECT_EQ(std::adjacent_find(names.begin(), names.end()), names.end());
}

TEST(Catalogue, ReadsDeviations) {
    nlohmann::json entry = SoundEntry();
    entry["deviations"] = {{{"rule", "a.b"}, {"reason", "because"}}};
    ASSERT_EQ(Parse(entry).deviations.size(), 1U);
    EXPECT_EQ(Parse(entry).deviations[0].rule, "a.b");
    EXPECT_EQ(Parse(entry).deviations[0].reason, "because");
    entry["deviations"][0]["reason"] = "";
    EXPECT_EQ(Complaint(entry), "catalogue: Thing: deviations: needs a 'reason'");
    entry["deviations"] = {{{"rule", "a.b"}, {"reason", "x"}}, {{"rule", "a.b"}, {"reason", "y"}}};
    EXPECT_EQ(Complaint(entry), "catalogue: Thing: deviations: 'a.b' is listed twice");
    entry["deviations"] = {{{"reason", "x"}}};
    EXPECT_EQ(Complaint(entry), "catalogue: Thing: deviations: lacks 'rule'");
    entry["deviations"] = "none";
    EXPECT_EQ(Complaint(entry), "catalogue: Thing: deviations: is not a list");
}

TEST(Catalogue, KeepsSummariesShortEnoughForOneLine) {
    const CCatalogue catalogue = PackCatalogue();
    for (const StCatalogueEntry& entry : catalogue.Entries())
        EXPECT_LE(entry.summary.size(), 90u) << entry.name;
}

TEST(Catalogue, KnowsTheThresholdersAndTheirRequiredParameters) {
    const CCatalogue catalogue = PackCatalogue();
    for (const char* name : {"SegmNiblack", "SegmSauvola"}) {
        const StCatalogueEntry* entry = catalogue.Find(name);
        ASSERT_NE(entry, nullptr);
        ASSERT_EQ(entry->parameters.size(), 3u);
        EXPECT_EQ(entry->parameters[0].key, "coefficient");
        EXPECT_EQ(entry->parameters[0].kind, KIND_DOUBLE);
        EXPECT_EQ(entry->parameters[0].defaultValue, -0.2);
        EXPECT_EQ(entry->parameters[1].key, "windowsize");
        EXPECT_EQ(entry->parameters[1].kind, KIND_LONG);
        EXPECT_EQ(entry->parameters[1].defaultValue, 5);
        EXPECT_EQ(entry->parameters[2].key, "usenewimpl");
        EXPECT_EQ(entry->parameters[2].kind, KIND_BOOL);
        EXPECT_EQ(entry->parameters[2].defaultValue, true);
        for (const StCatalogueParameter& parameter : entry->parameters)
            EXPECT_TRUE(parameter.isAlwaysSent);
    }
}

TEST(Catalogue, OfBothPacksSaysWhatChecksAndEstimatesNeed) {
    const std::string basics =
        std::filesystem::path(QUILLON_PACK).replace_filename("libQuillonBasics.so").string();
    if (!std::filesystem::exists(basics)) // left out of builds with a sanitizer
        GTEST_SKIP() << "this build has no second pack";
    CPackSet packs({QUILLON_PACK, basics});
    ASSERT_EQ(packs.Entries().size(), 38u);
    for (const StCatalogueEntry* entry : packs.Entries()) {
        SCOPED_TRACE(entry->name);
        EXPECT_NE(entry->group, "");
        EXPECT_FALSE(entry->keywords.empty());
        EXPECT_NE(entry->spacingUse, SPACING_UNKNOWN);
        EXPECT_NE(entry->blocks.rule, BLOCKS_UNKNOWN);
        EXPECT_EQ(entry->resultTypes.empty(), entry->documentsOut == 0);
        // What only shows or exports takes memory for its measurement, whatever the size of the image.
        EXPECT_EQ(entry->bytesPerVoxel.empty(), entry->opensDialogs && entry->name != "PointwiseRelation");
        for (const std::string& plugin : entry->images.after)
            EXPECT_NE(packs.FindEntry(plugin), nullptr) << plugin;
        for (const StCatalogueParameter& parameter : entry->parameters) {
            for (const StCondition& condition : parameter.appliesWhen) {
                for (const std::string& plugin : condition.from)
                    EXPECT_NE(packs.FindEntry(plugin), nullptr) << plugin;
            }
            EXPECT_TRUE(parameter.defaultValue.IsNull() || IsLegal(parameter, parameter.defaultValue))
                << parameter.key;
        }
    }
}

TEST(Catalogue, FindsNamesWithTheirCapitalsOnly) {
    EXPECT_NE(PackCatalogue().Find("SegmNiblack"), nullptr);
    EXPECT_EQ(PackCatalogue().Find("segmniblack"), nullptr);
    EXPECT_EQ(PackCatalogue().Find(""), nullptr);
}

TEST(Catalogue, NamesTheNearestPluginForAnUnknownOne) {
    EXPECT_EQ(UnknownPluginMessage("segmniblak", PackCatalogue().Names()),
              "there is no plug-in 'segmniblak'; the nearest name is 'SegmNiblack'");
}

TEST(CatalogueEntry, HoldsWhatTheTextSays) {
    const StCatalogueEntry entry = Parse(SoundEntry());
    EXPECT_EQ(entry.name, "Thing");
    EXPECT_EQ(entry.images.minimumExtent, 4);
    EXPECT_EQ(entry.documentsOut, 1);
    EXPECT_FALSE(entry.opensDialogs);
    EXPECT_EQ(entry.cancel, CANCEL_PARTLY);
    ASSERT_EQ(entry.parameters.size(), 2u);
    EXPECT_EQ(entry.parameters[0].unit, "pixels");
    EXPECT_TRUE(entry.parameters[0].isAlwaysSent);
    EXPECT_FALSE(entry.parameters[1].isAlwaysSent);
    EXPECT_TRUE(entry.parameters[1].defaultValue.IsNull());
}

TEST(CatalogueEntry, DescribesAcceptedImagesInWords) {
    EXPECT_EQ(AcceptedInWords(Parse(SoundEntry()).images),
              "grey8 or binary of 2 or 3 dimensions, at least 4 pixels along each axis, without holes");
}

TEST(CatalogueEntry, DescribesChoicesAndRangesInWords) {
    const StCatalogueEntry entry = Parse(SoundEntry());
    EXPECT_EQ(LegalValuesInWords(entry.parameters[0]), "0 to 9");
    EXPECT_EQ(LegalValuesInWords(entry.parameters[1]), "one of x, y");
}

TEST(CatalogueEntry, HoldsRelationsOfParametersAndFactsForEstimates) {
    auto entry = SoundEntry();
    entry["parameters"][0]["step"] = 2;
    entry["parameters"][0]["required"] = true;
    entry["parameters"][0]["appliesWhen"] = {{{"key", "word"}, {"values", {"x"}}}};
    entry["parameters"][1]["requires"] = {{{"values", {"y"}}, {"keys", {"a/b"}}}};
    entry["parameters"][1]["ignored"] = true;
    entry["alternatives"] = {{{"keys", {"a/b", "word"}}}};
    entry["usesSpacing"] = "refuses unequal";
    entry["bytesPerVoxel"] = {{"grey8", 2.5}};
    entry["fixedBytes"] = 7;
    entry["resultScale"] = {{"factor", "a/b"}};
    entry["resultTypes"] = {"same", "greyf"};
    entry["suggestedFor"] = {"binary", "equal spacing"};
    const StCatalogueEntry parsed = Parse(entry);
    EXPECT_EQ(parsed.parameters[0].step, 2.0);
    EXPECT_TRUE(parsed.parameters[0].isRequired);
    ASSERT_EQ(parsed.parameters[0].appliesWhen.size(), 1u);
    EXPECT_EQ(parsed.parameters[0].appliesWhen[0].key, "word");
    ASSERT_EQ(parsed.parameters[1].requirements.size(), 1u);
    EXPECT_EQ(parsed.parameters[1].requirements[0].keys, std::vector<std::string>{"a/b"});
    EXPECT_TRUE(parsed.parameters[1].isIgnored);
    ASSERT_EQ(parsed.alternatives.size(), 1u);
    EXPECT_EQ(parsed.alternatives[0].atMost, 2u);
    EXPECT_EQ(parsed.spacingUse, SPACING_REQUIRES_EQUAL);
    EXPECT_EQ(parsed.bytesPerVoxel.at("grey8"), 2.5);
    EXPECT_EQ(parsed.fixedBytes.at(""), 7);
    EXPECT_EQ(parsed.scaleFactor, "a/b");
}

TEST(CatalogueEntry, RefusesRelationsToNothing) {
    auto entry = SoundEntry();
    entry["parameters"][0]["appliesWhen"] = {{{"key", "wrod"}, {"values", {"x"}}}};
    EXPECT_EQ(Complaint(entry), "catalogue: Thing: 'appliesWhen' names the unknown parameter 'wrod'");
    entry = SoundEntry();
    entry["parameters"][0]["appliesWhen"] = {{{"key", "word"}, {"values", {1}}}};
    EXPECT_EQ(Complaint(entry),
              "catalogue: Thing: parameters 'a/b': 'appliesWhen' has a value of the wrong kind");
    entry = SoundEntry();
    entry["parameters"][0]["appliesWhen"] = {{{"key", "word"}}};
    EXPECT_EQ(Complaint(entry),
              "catalogue: Thing: parameters 'a/b': appliesWhen: needs a 'key' with 'values' or "
              "'given', or an 'attribute'");
    entry = SoundEntry();
    entry["parameters"][1]["requires"] = {{{"values", {1}}, {"keys", {"a/b"}}}};
    EXPECT_EQ(Complaint(entry),
              "catalogue: Thing: parameters 'word': 'requires' has a value that is not of its kind");
    entry = SoundEntry();
    entry["alternatives"] = {{{"keys", {"a/b", "wrod"}}}};
    EXPECT_EQ(Complaint(entry), "catalogue: Thing: 'alternatives' names the unknown parameter 'wrod'");
    entry = SoundEntry();
    entry["usesSpacing"] = "maybe";
    EXPECT_EQ(Complaint(entry),
              "catalogue: Thing: 'usesSpacing' is none of yes, no, irrelevant, refuses unequal");
    entry = SoundEntry();
    entry["parameters"][0]["unit"] = "miles";
    EXPECT_EQ(Complaint(entry),
              "catalogue: Thing: parameters 'a/b': 'unit' is none of length, pixels, angle, grey value");
    entry = SoundEntry();
    entry["bytesPerVoxel"] = "many";
    EXPECT_EQ(Complaint(entry), "catalogue: Thing: 'bytesPerVoxel' is neither a number nor an object");
}

TEST(CatalogueEntry, RefusesUnknownMembersAtEachLevel) {
    auto entry = SoundEntry();
    entry["colour"] = 1;
    EXPECT_EQ(Complaint(entry), "catalogue: Thing: has the unknown member 'colour'");
    entry = SoundEntry();
    entry["images"]["colour"] = 1;
    EXPECT_EQ(Complaint(entry), "catalogue: Thing: images: has the unknown member 'colour'");
    entry = SoundEntry();
    entry["parameters"][0]["colour"] = 1;
    EXPECT_EQ(Complaint(entry), "catalogue: Thing: parameters 'a/b': has the unknown member 'colour'");
}

TEST(CatalogueEntry, RefusesAMissingMember) {
    for (const char* member : {"name", "title", "summary", "images", "parameters", "settings", "dialogs",
                               "cancel", "documentsOut"}) {
        auto entry = SoundEntry();
        entry.erase(member);
        EXPECT_NE(Complaint(entry).find("lacks '" + std::string(member) + "'"), std::string::npos) << member;
    }
}

TEST(CatalogueEntry, RefusesMembersOfTheWrongKind) {
    auto entry = SoundEntry();
    entry["dialogs"] = 1;
    EXPECT_EQ(Complaint(entry), "catalogue: Thing: 'dialogs' is of the wrong kind");
    entry = SoundEntry();
    entry["documentsOut"] = 1.5;
    EXPECT_EQ(Complaint(entry), "catalogue: Thing: 'documentsOut' is of the wrong kind");
    entry = SoundEntry();
    entry["cancel"] = "sometimes";
    EXPECT_EQ(Complaint(entry), "catalogue: Thing: 'cancel' is none of anywhere, partly, nowhere");
    entry = SoundEntry();
    entry["images"]["types"] = {"grey9"};
    EXPECT_EQ(Complaint(entry), "catalogue: Thing: images: knows no pixel type 'grey9'");
}

TEST(CatalogueEntry, RefusesParametersThatContradictThemselves) {
    auto entry = SoundEntry();
    entry["parameters"][0]["default"] = 2.5;
    EXPECT_NE(Complaint(entry).find("'default' is not of its kind"), std::string::npos);
    entry = SoundEntry();
    entry["parameters"][0].erase("default");
    EXPECT_NE(Complaint(entry).find("is always sent and has no 'default'"), std::string::npos);
    entry = SoundEntry();
    entry["parameters"][0]["kind"] = "integer";
    EXPECT_NE(Complaint(entry).find("'kind' is none of bool, long, double, string, image"),
              std::string::npos);
    entry = SoundEntry();
    entry["parameters"][1]["choices"] = {"x", 1};
    EXPECT_NE(Complaint(entry).find("has a choice that is not of its kind"), std::string::npos);
    entry = SoundEntry();
    entry["parameters"][0]["file"] = true;
    EXPECT_NE(Complaint(entry).find("is a 'file' and not a string"), std::string::npos);
    entry = SoundEntry();
    entry["parameters"][1]["key"] = "a/b";
    EXPECT_NE(Complaint(entry).find("'a/b' is listed twice"), std::string::npos);
}

TEST(Catalogue, IsEmptyForAPackWithoutOne) {
    const test::CTestFolder folder;
    EXPECT_EQ(CCatalogue::PathBeside(folder / "libThing.so"), folder / "Thing.catalogue.json");
    const CCatalogue catalogue = CCatalogue::OfPack(folder / "libThing.so");
    EXPECT_TRUE(catalogue.Entries().empty());
    EXPECT_EQ(catalogue.Pack(), "");
}

TEST(Catalogue, RefusesAPackOrVersionThatIsNotAString) {
    const auto complaint = [](const char* text) {
        return std::string(test::Raised<std::runtime_error>([&] { CCatalogue{text}; }).what());
    };
    EXPECT_EQ(complaint(R"({"pack": 1, "plugins": []})"), "catalogue: 'pack' is not a string");
    EXPECT_EQ(complaint(R"({"pack": "A", "version": 1.0, "plugins": []})"),
              "catalogue: 'version' is not a string");
    EXPECT_EQ(complaint(R"({"pack": null, "plugins": []})"), "catalogue: 'pack' is not a string");
}

TEST(Catalogue, NamesTheFileThatIsNone) {
    const test::CTestFolder folder;
    for (const auto& [text, reason] :
         {std::pair("", "not valid JSON in line 1, column 1"),
          std::pair("{", "not valid JSON in line 1, column 2"),
          std::pair("{\"plugins\":\n [],}", "not valid JSON in line 2, column 5"),
          std::pair("[]", "catalogue: not a JSON object with a list \"plugins\""),
          std::pair("{}", "catalogue: not a JSON object with a list \"plugins\""),
          std::pair(R"({"plugins": 1})", "catalogue: not a JSON object with a list \"plugins\""),
          std::pair(R"({"plugins": [{}]})", "catalogue: an entry: lacks 'name'"),
          std::pair(R"({"plugins": [3]})", "catalogue: an entry: is not an object"),
          std::pair(R"({"pack": 1, "plugins": []})", "catalogue: 'pack' is not a string")}) {
        std::ofstream(folder / "Thing.catalogue.json") << text;
        const auto raised = test::Raised<CFileError>([&] { CCatalogue::OfPack(folder / "libThing.so"); });
        EXPECT_EQ(raised.what(), "cannot read '" + (folder / "Thing.catalogue.json") + "': " + reason);
    }
}

TEST(Catalogue, NamesTheFileThatCannotBeRead) {
    const test::CTestFolder folder;
    const auto complaint = [&](const char* name) {
        return std::string(test::Raised<CFileError>([&] {
                               CCatalogue::OfPack(folder / (std::string(name) + ".so"));
                           }).what());
    };
    std::filesystem::create_directory(folder / "A.catalogue.json");
    EXPECT_EQ(complaint("libA"), "cannot read '" + (folder / "A.catalogue.json") + "': it is a folder");
    std::filesystem::create_symlink("B.catalogue.json", folder / "B.catalogue.json");
    EXPECT_EQ(complaint("libB"),
              "cannot read '" + (folder / "B.catalogue.json") + "': Too many levels of symbolic links");
}

TEST(Catalogue, RefusesAPluginThatIsListedTwice) {
    const std::string entry = SoundEntry().dump();
    const auto raised = test::Raised<std::runtime_error>(
        [&] { CCatalogue("{\"plugins\": [" + entry + ", " + entry + "]}"); });
    EXPECT_STREQ(raised.what(), "catalogue: 'Thing' is listed twice");
}
