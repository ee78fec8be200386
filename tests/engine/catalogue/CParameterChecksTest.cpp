#include "engine/catalogue/CParameterChecks.h"

#include "engine/files/ValueJson.h"
#include "support/TestImage.h"

#include <gtest/gtest.h>
#include <sorblib2core/CValueString.h>

#include <string>
#include <vector>

using namespace engine;
using Words = std::vector<std::string>;

namespace {

StCatalogueEntry Entry() {
    return ParseCatalogueEntry(*CJson::Parse(R"({
        "name": "Thing", "title": "A thing", "summary": "Does things",
        "images": {"types": ["grey8"], "dimensions": [2, 3]},
        "parameters": [
            {"key": "mode", "kind": "string", "meaning": "m", "default": "plain", "choices": ["plain", "marker", "wide"],
             "requires": [{"values": ["marker"], "keys": ["markers"]}]},
            {"key": "markers", "kind": "image", "meaning": "m", "appliesWhen": [{"key": "mode", "values": ["marker"]}]},
            {"key": "width", "kind": "double", "meaning": "m", "unit": "pixels", "minimum": 0, "maximum": 9,
             "default": 1, "appliesWhen": [{"key": "mode", "values": ["wide", "marker"]}]},
            {"key": "group/factor", "kind": "double", "meaning": "m", "default": 1.5,
             "appliesWhen": [{"key": "mask", "given": false}]},
            {"key": "mask", "kind": "image", "meaning": "m"},
            {"key": "count", "kind": "long", "meaning": "m", "unit": "length", "minimum": 1},
            {"key": "colour", "kind": "string", "meaning": "m", "ignored": true},
            {"key": "use cylinder", "kind": "bool", "meaning": "m", "default": true,
             "appliesWhen": [{"attribute": "meta/Cylinder", "name": "cylinder", "from": ["Masker", "Cutter"]}]}
        ],
        "settings": [], "dialogs": false, "cancel": "partly", "documentsOut": 1})"));
}

/// The messages on parameters given as JSON.
Words MessagesOn(const StCatalogueEntry& entry, const std::string& json, const Words& images = {}) {
    const auto map = FromJson(*CJson::Parse(json));
    CParameterChecks checks(entry, *map->Map());
    for (const std::string& key : images)
        checks.SetByUser(key);
    Words messages;
    for (const StFinding& finding : checks.Findings())
        messages.push_back(finding.message);
    return messages;
}

Words MessagesOn(const std::string& json, const Words& images = {}) {
    return MessagesOn(Entry(), json, images);
}

} // namespace

TEST(ParameterChecks, FindNothingInSoundParameters) {
    EXPECT_EQ(MessagesOn("{}"), Words{});
    EXPECT_EQ(MessagesOn(R"({"mode": "wide", "width": 9.0, "count": 1})"), Words{});
    EXPECT_EQ(MessagesOn(R"({"mode": "marker", "width": 0.0})", {"markers"}), Words{});
    EXPECT_EQ(MessagesOn(R"({"width": 1.0, "group": {"factor": 1.5}})"), Words{}); // the defaults
}

TEST(ParameterChecks, NameTheChoicesAndTheOneThatWasMeant) {
    EXPECT_EQ(MessagesOn(R"({"mode": "Marker"})"),
              Words{"mode='Marker' is not one of plain, marker, wide; did you mean 'marker'?"});
    EXPECT_EQ(MessagesOn(R"({"mode": "palin"})"),
              Words{"mode='palin' is not one of plain, marker, wide; did you mean 'plain'?"});
    EXPECT_EQ(MessagesOn(R"({"mode": "mark"})"),
              Words{"mode='mark' is not one of plain, marker, wide; did you mean 'marker'?"});
    EXPECT_EQ(MessagesOn(R"({"mode": "x"})"), Words{"mode='x' is not one of plain, marker, wide"});
}

TEST(ParameterChecks, ListNoMoreThanTenChoices) {
    std::string choices;
    for (int i = 0; i < 12; ++i)
        choices += (i > 0 ? ", \"c" : "\"c") + std::to_string(i) + "\"";
    const StCatalogueEntry entry = ParseCatalogueEntry(*CJson::Parse(
        R"({"name": "T", "title": "t", "summary": "s", "images": {"types": ["grey8"], "dimensions": [2]},
            "parameters": [{"key": "k", "kind": "string", "meaning": "m", "choices": [)" +
        choices + R"(]}], "settings": [], "dialogs": false, "cancel": "nowhere", "documentsOut": 0})"));
    EXPECT_EQ(MessagesOn(entry, R"({"k": "other"})"),
              Words{"k='other' is not one of c0, c1, c2, c3, c4, c5, c6, c7, c8, c9 and 2 more"});
}

TEST(ParameterChecks, NameTheRangeWithItsUnit) {
    EXPECT_EQ(MessagesOn(R"({"mode": "wide", "width": -2.5})"),
              Words{"width=-2.5 is out of range; allowed: 0 to 9 pixels"});
    EXPECT_EQ(MessagesOn(R"({"mode": "wide", "width": 9.5})"),
              Words{"width=9.5 is out of range; allowed: 0 to 9 pixels"});
    EXPECT_EQ(MessagesOn(R"({"count": 0})"),
              Words{"count=0 is out of range; allowed: at least 1, in the unit of the spacing"});
    EXPECT_EQ(MessagesOn(R"({"mode": "wide", "width": {"/double": "nan"}})").size(), 1u);
}

TEST(ParameterChecks, NameAKindThatThePluginDoesNotRead) {
    EXPECT_EQ(MessagesOn(R"({"mode": "wide", "width": 2})"),
              Words{"width=2 is a long; Thing takes a double, written with a decimal point"});
    EXPECT_EQ(MessagesOn(R"({"count": 2.0})"), Words{"count=2 is a double; Thing takes a long"});
    EXPECT_EQ(MessagesOn(R"({"count": "2"})"), Words{"count='2' is a string; Thing takes a long"});
}

TEST(ParameterChecks, NameParametersThatThePluginDoesNotHave) {
    EXPECT_EQ(MessagesOn(R"({"widht": 2.0, "group": {"faktor": 1.0}})"),
              (Words{"'group/faktor' is not a parameter of Thing; the nearest key is 'group/factor'",
                     "'widht' is not a parameter of Thing; the nearest key is 'width'"}));
    EXPECT_EQ(MessagesOn(R"({"secret": 2.0})", {"secret"}), Words{}); // deliberate
    StCatalogueEntry bare = Entry();
    bare.parameters.clear();
    EXPECT_EQ(MessagesOn(bare, R"({"width": 2.0})"),
              Words{"'width' is not a parameter of Thing, which has none"});
}

TEST(ParameterChecks, NameParametersWithoutEffect) {
    EXPECT_EQ(MessagesOn(R"({"width": 3.0})"),
              Words{"width=3 has no effect with mode='plain'; it applies with mode='wide' or mode='marker'"});
    EXPECT_EQ(MessagesOn("{}", {"markers"}),
              Words{"markers has no effect with mode='plain'; it applies with mode='marker'"});
    EXPECT_EQ(MessagesOn(R"({"group": {"factor": 2.0}})", {"mask"}),
              Words{"group/factor=2 has no effect with mask; it applies without mask"});
    EXPECT_EQ(MessagesOn(R"({"colour": "red"})"), Words{"colour='red' has no effect on the result of Thing"});
}

TEST(ParameterChecks, NameAMissingCompanion) {
    EXPECT_EQ(MessagesOn(R"({"mode": "marker"})"), Words{"mode='marker' needs markers, which is missing"});
    StCatalogueEntry entry = Entry();
    entry.parameters[5].isRequired = true;
    EXPECT_EQ(MessagesOn(entry, "{}"), Words{"Thing needs count, which is missing"});
    EXPECT_EQ(MessagesOn(entry, R"({"count": 2})"), Words{});
}

TEST(ParameterChecks, NameAlternativesThatAreMissingOrExcludeEachOther) {
    StCatalogueEntry entry = Entry();
    entry.alternatives = {{{"count", "mask"}, 1}};
    EXPECT_EQ(MessagesOn(entry, "{}"), Words{"Thing needs count or mask"});
    EXPECT_EQ(MessagesOn(entry, R"({"count": 2})"), Words{});
    EXPECT_EQ(MessagesOn(entry, R"({"count": 2})", {"mask"}),
              Words{"Thing takes either count or mask, not both"});
}

TEST(ParameterChecks, NameAParameterThatHasNoEffectOnThisImage) {
    const StCatalogueEntry entry = Entry();
    const auto map = FromJson(*CJson::Parse(R"({"use cylinder": true})"));
    CParameterChecks checks(entry, *map->Map());
    const auto image = test::ImageOf<std::uint8_t>(ORVEN::IMAGE_GREY_8, {2, 1}, {0, 1});
    EXPECT_TRUE(checks.FindingsOn(*image).empty()); // the user did not ask for it
    checks.SetByUser("use cylinder");
    ASSERT_EQ(checks.FindingsOn(*image).size(), 1u);
    EXPECT_EQ(checks.FindingsOn(*image)[0].message,
              "'use cylinder'=true has no effect: the image has no cylinder; run Masker or Cutter first");
    image->Attributes().SetEntry("meta/Cylinder", new ORVEN::CValueString("z", ORVEN::CString::NPOS));
    EXPECT_TRUE(checks.FindingsOn(*image).empty());
}

TEST(ParameterChecks, NameTheReportOfAnotherPlugin) {
    const StCatalogueEntry entry = Entry();
    EXPECT_TRUE(CheckReportedPlugin(entry, "", nullptr).empty());
    EXPECT_TRUE(CheckReportedPlugin(entry, "Thing", nullptr).empty());
    ASSERT_EQ(CheckReportedPlugin(entry, "Other", nullptr).size(), 1u);
    EXPECT_EQ(CheckReportedPlugin(entry, "Other", nullptr)[0].message,
              "the parameters are those of a run of Other, not of Thing");
    StCatalogueEntry dialog = Entry();
    dialog.parametersFor = "Thing"; // it asks for them
    EXPECT_TRUE(CheckReportedPlugin(entry, "Other", &dialog).empty());
}
