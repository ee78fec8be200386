#include "engine/files/CJson.h"

#include "support/Raised.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <cstdint>
#include <limits>

using engine::CJson;

namespace {

std::string Rewritten(const char* text, int indent = -1) { return CJson::Parse(text)->Text(indent); }

} // namespace

TEST(Json, WritesWhatItReads) {
    for (const char* text :
         {"null", "true", "false", "0", "-7", "18446744073709551615", "-9223372036854775808", "3.0", "0.1",
          "1e+300", R"("a\u0001\"b")", "[]", "{}", R"([1,[null,{}],"x"])", R"({"b":1,"a":{"c":[2.5,true]}})"})
        EXPECT_EQ(Rewritten(text), text);
}

TEST(Json, IsIndentedLikeTheLibraryDoesIt) {
    const char* const text = R"({"b": [], "a": {"c": [1, {"d": null}], "e": {}}, "f": "x"})";
    for (const int indent : {-1, 0, 2, 3})
        EXPECT_EQ(Rewritten(text, indent), nlohmann::ordered_json::parse(text).dump(indent));
}

TEST(Json, KeepsTheKindsOfNumbersApart) {
    EXPECT_TRUE(CJson::Parse("3")->IsInteger());
    EXPECT_FALSE(CJson::Parse("3.0")->IsInteger());
    EXPECT_FALSE(CJson::Parse("true")->IsNumber());
    EXPECT_EQ(CJson::Parse("3.0")->Number(), 3.0);
    EXPECT_EQ(CJson::Parse("18446744073709551615")->IntegerAs<std::int64_t>(), std::nullopt);
    EXPECT_EQ(CJson::Parse("2147483648")->IntegerAs<std::int32_t>(), std::nullopt);
    EXPECT_EQ(CJson::Parse("-1")->IntegerAs<std::uint8_t>(), std::nullopt);
    EXPECT_EQ(CJson::Parse("-128")->IntegerAs<std::int8_t>(), -128);
}

TEST(Json, RefusesWhatIsNotJson) {
    for (const char* text : {"", "{", "[1,]", "{\"a\"}", "nul", "1 2", "\"\xff\"", "'a'"})
        EXPECT_FALSE(CJson::Parse(text)) << text;
}

TEST(Json, SaysWhereAPersonMadeAMistake) {
    const auto complaint = [](const char* text) {
        return std::string(test::Raised<std::runtime_error>([&] { CJson::ParseOrRaise(text); }).what());
    };
    EXPECT_EQ(complaint(""), "not valid JSON in line 1, column 1");
    EXPECT_EQ(complaint("{'a'"), "not valid JSON in line 1, column 2");
    EXPECT_EQ(complaint("{\n  \"a\": 1,\n}"), "not valid JSON in line 3, column 1");
    EXPECT_EQ(complaint("[1,\n2"), "not valid JSON in line 2, column 2");
    EXPECT_EQ(CJson::ParseOrRaise("[1, 2]").Elements().size(), 2u);
}

TEST(Json, TakesTheLastOfEqualNames) {
    EXPECT_EQ(Rewritten(R"({"a": 1, "b": 2, "a": 3, "c": {"x": 1, "x": 2}})"),
              R"({"b":2,"a":3,"c":{"x":2}})");
}

TEST(Json, FindsMembersOfObjectsOnly) {
    const CJson object = *CJson::Parse(R"({"a": 1})");
    EXPECT_EQ(*object.Find("a"), CJson(1));
    EXPECT_EQ(object.Find("b"), nullptr);
    EXPECT_EQ(CJson(1).Find("a"), nullptr);
}

TEST(Json, ReplacesInvalidTextAndEscapesOnRequest) {
    EXPECT_EQ(CJson("a\xff").Text(), "\"a\xef\xbf\xbd\"");
    EXPECT_EQ(CJson("\xc3\xa4").Text(-1, true), "\"\\u00e4\"");
    EXPECT_TRUE(engine::IsUtf8("\xc3\xa4"));
    EXPECT_FALSE(engine::IsUtf8("\xc3"));
}

TEST(Json, SurvivesAnyDepth) {
    const std::size_t depth = 2000000;
    const auto json = CJson::Parse(std::string(depth, '[') + std::string(depth, ']'));
    ASSERT_TRUE(json);
    EXPECT_TRUE(json->Elements().front().Elements().front().IsArray());
}
