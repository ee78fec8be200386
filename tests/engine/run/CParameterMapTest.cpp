#include "engine/run/CParameterMap.h"

#include "engine/catalogue/NearestWord.h"
#include "engine/errors/CEngineError.h"
#include "engine/files/ImageFile.h"
#include "support/CommandLine.h"
#include "support/Raised.h"
#include "support/TestImage.h"

#include <sorblib2core/CString.h>
#include <sorblib2core/UnwrapPointer.h>

#include <gtest/gtest.h>

#include <clocale>
#include <cmath>
#include <fstream>

using namespace engine;

namespace {

CEngineError Refusal(const std::function<void()>& work) { return test::Raised<CEngineError>(work); }

StCatalogueParameter Known(const std::string& key, EnValueKind kind, CJson value = {}) {
    StCatalogueParameter parameter;
    parameter.key = key;
    parameter.kind = kind;
    parameter.isAlwaysSent = !value.IsNull();
    parameter.defaultValue = std::move(value);
    return parameter;
}

const std::vector<StCatalogueParameter> known = {
    Known("radius", KIND_DOUBLE, 2),     Known("steps", KIND_LONG, 7),     Known("name", KIND_STRING),
    Known("advanced/otsu", KIND_DOUBLE), Known("advanced/use", KIND_BOOL), Known("advanced/mask", KIND_IMAGE),
    Known("marker", KIND_IMAGE),
};

CParameterMap MapOf(std::initializer_list<const char*> assignments) {
    CParameterMap map("parameter", &known);
    for (const char* text : assignments)
        map.Set(ParseAssignment(text));
    return map;
}

} // namespace

TEST(ParseAssignment, SplitsAtTheFirstEqualsSign) {
    const StAssignment assignment = ParseAssignment("a key/b c=x=y:z");
    EXPECT_EQ(assignment.key, "a key/b c");
    EXPECT_FALSE(assignment.kind);
    EXPECT_EQ(assignment.value, "x=y:z");
}

TEST(ParseAssignment, TakesTheKindAfterTheKey) {
    EXPECT_EQ(ParseAssignment("a:bool=1").kind, KIND_BOOL);
    EXPECT_EQ(ParseAssignment("a:long=1").kind, KIND_LONG);
    EXPECT_EQ(ParseAssignment("a:double=1").kind, KIND_DOUBLE);
    EXPECT_EQ(ParseAssignment("a:string=").kind, KIND_STRING);
    EXPECT_EQ(ParseAssignment("a:image=x").kind, KIND_IMAGE);
    EXPECT_EQ(ParseAssignment("a:image=x").key, "a");
}

TEST(ParseAssignment, RefusesWhatIsNoAssignment) {
    for (const char* text : {"", "a", "=1", ":long=1", "a:int=1", "a//b=1", "/a=1", "a/=1"}) {
        const auto error = Refusal([text] { ParseAssignment(text); });
        EXPECT_EQ(error.Fault(), EnFault::CALLER) << text;
        EXPECT_NE(std::string(error.what()).find(text), std::string::npos) << text;
    }
}

TEST(ParseValue, ReadsTruthValues) {
    for (const char* text : {"true", "yes", "1", "on"})
        EXPECT_EQ(ParseBool(text), true) << text;
    for (const char* text : {"false", "no", "0", "off"})
        EXPECT_EQ(ParseBool(text), false) << text;
    for (const char* text : {"", "True", "2", "y", "true "})
        EXPECT_EQ(ParseBool(text), std::nullopt) << text;
}

TEST(ParseValue, ReadsIntegersOf32BitsAndNothingElse) {
    EXPECT_EQ(ParseLong("2147483647"), 2147483647);
    EXPECT_EQ(ParseLong("-2147483648"), -2147483647 - 1);
    EXPECT_EQ(ParseLong("+5"), 5);
    for (const char* text :
         {"2147483648", "-2147483649", "", "+", "+-5", "--5", "5 ", " 5", "5.0", "0x10", "1e3", "5px"})
        EXPECT_EQ(ParseLong(text), std::nullopt) << text;
}

TEST(ParseValue, ReadsNumbersWhateverTheLocale) {
    const std::string before = std::setlocale(LC_NUMERIC, nullptr);
    std::setlocale(LC_NUMERIC, "de_DE.UTF-8"); // stays as it is where the system lacks it
    EXPECT_EQ(ParseDouble("1.25"), 1.25);
    EXPECT_EQ(ParseDouble("1,25"), std::nullopt);
    std::setlocale(LC_NUMERIC, before.c_str());
    EXPECT_EQ(ParseDouble("-2e-3"), -2e-3);
    EXPECT_EQ(ParseDouble("+4"), 4.0);
    EXPECT_TRUE(std::isnan(ParseDouble("nan").value()));
    EXPECT_EQ(ParseDouble("-inf"), -HUGE_VAL);
    for (const char* text : {"", "x", "1.5x", "1.5 ", "1e999", "0x1p3", "1.5.5"})
        EXPECT_EQ(ParseDouble(text), std::nullopt) << text;
}

TEST(ParseValue, NamesKeyAndTextThatDoNotFit) {
    const auto error = Refusal([] { ParseValue("windowsize", KIND_LONG, "5px"); });
    EXPECT_EQ(error.Fault(), EnFault::CALLER);
    EXPECT_STREQ(error.what(), "windowsize: '5px' is not a whole number between -2147483648 and 2147483647");
}

TEST(NearestWord, ListsTheEquallySimilarOnesUpToTen) {
    const std::vector<std::string> words = {"cat", "hat", "cat", "house"};
    EXPECT_EQ(NearestWords("bat", words), (std::vector<std::string>{"cat", "hat"}));
    std::vector<std::string> many;
    for (char letter = 'a'; letter <= 'z'; ++letter)
        many.push_back(std::string("word") + letter);
    EXPECT_EQ(NearestWords("word", many).size(), 10u);
}

TEST(NearestWord, CountsChangedAddedAndMissingLetters) {
    const std::vector<std::string> words = {"windowsize", "coefficient", "usenewimpl"};
    EXPECT_EQ(NearestWord("windowsiz", words), "windowsize");
    EXPECT_EQ(NearestWord("WindowSize", words), "windowsize");
    EXPECT_EQ(NearestWord("coefficeint", words), "coefficient");
    EXPECT_EQ(NearestWord("newimpl", words), "usenewimpl");
    EXPECT_EQ(NearestWord("x", {}), "");
    EXPECT_TRUE(NearestWords("x", {}).empty());
}

TEST(ParameterMap, TakesKindsFromTheCatalogue) {
    const CParameterMap map = MapOf({"radius=3", "steps=3", "name=3", "advanced/use=on"});
    EXPECT_EQ(map.Map().Entry("radius", true)->GenericType(), ORVEN::CValue::VAL_DOUBLE);
    EXPECT_EQ(map.Map().Entry("steps", true)->GenericType(), ORVEN::CValue::VAL_LONG);
    EXPECT_EQ(map.Map().Entry("name", true)->String().Std(), "3");
    EXPECT_TRUE(map.Map().Entry("advanced/use", true)->Bool());
}

TEST(ParameterMap, LetsAKindOnTheCommandLineOverride) {
    const CParameterMap map = MapOf({"radius:string=3", "anything/at all:long=4"});
    EXPECT_EQ(map.Map().Entry("radius", true)->GenericType(), ORVEN::CValue::VAL_STRING);
    EXPECT_EQ(map.Map().Entry("anything/at all", true)->Long(), 4);
}

TEST(ParameterMap, KeepsTheLastOfSeveralValues) {
    EXPECT_EQ(MapOf({"steps=1", "steps=2"}).Map().Entry("steps", true)->Long(), 2);
}

TEST(ParameterMap, NamesTheNearestKeyForAnUnknownOne) {
    const auto error = Refusal([] { MapOf({"advanced/ostu=1"}); });
    EXPECT_EQ(error.Fault(), EnFault::CALLER);
    EXPECT_STREQ(error.what(), "unknown parameter 'advanced/ostu'; the nearest key is 'advanced/otsu'");
}

TEST(ParameterMap, AsksForAKindWhereTheCatalogueKnowsNothing) {
    CParameterMap map("setting", nullptr);
    const auto error = Refusal([&] { map.Set(ParseAssignment("steps=1")); });
    EXPECT_EQ(error.Fault(), EnFault::CALLER);
    EXPECT_NE(std::string(error.what()).find("give the kind, as in steps:long=1"), std::string::npos);
    map.Set(ParseAssignment("steps:long=1"));
    EXPECT_EQ(map.Map().Entry("steps", true)->Long(), 1);
}

TEST(ParameterMap, RefusesAPathThroughAValue) {
    EXPECT_EQ(Refusal([] { MapOf({"steps=1", "steps/deeper:long=1"}); }).Fault(), EnFault::CALLER);
}

TEST(ParameterMap, FillsInWhatIsAlwaysSentAndLeavesGroupsAlone) {
    CParameterMap map = MapOf({"steps=1"});
    map.FillDefaults();
    EXPECT_EQ(map.Map().Entry("steps", true)->Long(), 1);
    EXPECT_EQ(map.Map().Entry("radius", true)->GenericType(), ORVEN::CValue::VAL_DOUBLE);
    EXPECT_EQ(map.Map().Entry("radius", true)->Double(), 2);
    EXPECT_FALSE(map.Map().HasEntry("name"));
    EXPECT_FALSE(map.Map().HasEntry("advanced"));
    EXPECT_FALSE(map.Map().HasEntry("marker"));
}

TEST(ParameterMap, SendsANullImageWhereItsGroupIsSent) {
    CParameterMap map = MapOf({"advanced/otsu=1"});
    map.FillDefaults();
    const ORVEN::CValue* mask = map.Map().Entry("advanced/mask", true);
    ASSERT_TRUE(ORVEN::AreTypesEqual(mask, typeid(ORVEN::CValuePointer<ORVEN::CImage>)));
    EXPECT_EQ(ORVEN::UnwrapPointer<ORVEN::CImage>(mask), nullptr);
}

TEST(ParameterMap, SendsANullImageWhereAFileSendsItsGroup) {
    const test::CTestFolder folder;
    std::ofstream(folder / "p.json") << R"({"advanced": {"otsu": 1.5}})";
    CParameterMap map = MapOf({});
    map.ReadFile(folder / "p.json");
    const ORVEN::CValue* mask = map.Map().Entry("advanced/mask", true);
    ASSERT_TRUE(ORVEN::AreTypesEqual(mask, typeid(ORVEN::CValuePointer<ORVEN::CImage>)));
    EXPECT_EQ(ORVEN::UnwrapPointer<ORVEN::CImage>(mask), nullptr);
}

TEST(ParameterMap, ReadsImagesFromFiles) {
    const test::CTestFolder folder;
    WriteImage(*test::ImageOf<std::uint8_t>(ORVEN::IMAGE_GREY_8, {3, 2}, {1, 2, 3, 4, 5, 6}),
               folder / "m.nrrd");
    CParameterMap map = MapOf({("marker=" + (folder / "m.nrrd")).c_str()});
    map.ReadImages();
    const auto* image = ORVEN::UnwrapPointer<ORVEN::CImage>(map.Map().Entry("marker", true));
    ASSERT_NE(image, nullptr);
    EXPECT_EQ(image->Size(), ORVEN::CSize(3, 2));
}

TEST(ParameterMap, RaisesAFileErrorForAnImageThatIsNotThere) {
    CParameterMap map = MapOf({"marker=/nowhere/m.nrrd"});
    EXPECT_THROW(map.ReadImages(), CFileError);
}

TEST(ParameterMap, TakesAFileUnchanged) {
    const test::CTestFolder folder;
    std::ofstream(folder / "p.json") << R"({"radius": 1.0, "steps": 2, "deep": {"list": ["x", true]}})";
    CParameterMap map("parameter", &known);
    map.ReadFile(folder / "p.json");
    EXPECT_EQ(map.Map().Size(), 3u);
    EXPECT_EQ(map.Map().Entry("radius", true)->GenericType(), ORVEN::CValue::VAL_DOUBLE);
    EXPECT_EQ(map.Map().Entry("steps", true)->GenericType(), ORVEN::CValue::VAL_LONG);
    EXPECT_EQ(map.Map().Entry("deep/list/0", true)->String().Std(), "x");
}

TEST(ParameterMap, TakesTheParametersOutOfAReport) {
    const test::CTestFolder folder;
    std::ofstream(folder / "r.json") << R"({"plugin": "X", "accepted": true, "parameters": {"steps": 2}})";
    CParameterMap map("parameter", &known);
    map.ReadFile(folder / "r.json");
    EXPECT_EQ(map.Map().Size(), 1u);
    EXPECT_EQ(map.Map().Entry("steps", true)->Long(), 2);
}

TEST(ParameterMap, RaisesAFileErrorForAFileThatHoldsNoParameters) {
    const test::CTestFolder folder;
    for (const char* text : {"", "{", "[1]", "3", R"({"/double": "nan"})"}) {
        std::ofstream(folder / "p.json") << text;
        CParameterMap map("parameter", &known);
        EXPECT_THROW(map.ReadFile(folder / "p.json"), CFileError) << text;
    }
    CParameterMap map("parameter", &known);
    EXPECT_THROW(map.ReadFile(folder / "none.json"), CFileError);
}
