#include "engine/run/StChain.h"

#include "engine/errors/CEngineError.h"
#include "support/CommandLine.h"
#include "support/Raised.h"

#include <gtest/gtest.h>

#include <fstream>
#include <string>

using namespace engine;

namespace {

std::string Refusal(const std::string& json) {
    return test::Raised<CCallerError>([&] { (void)ChainOf(*CJson::Parse(json)); }).what();
}

std::string RefusalOfStep(const std::string& members) {
    return Refusal(R"({"quillon": 1, "steps": [{)" + members + "}]}");
}

} // namespace

TEST(Chain, IsTheSameAfterJson) {
    const std::string text =
        R"({"quillon":1,"steps":[{"id":"a","plugin":"Crop","pack":"P","input":"in.nrrd",)"
        R"("read":{"as":"binary"},"parameters":{"b":{"c":1}},"images":{"m/n":"x.nrrd"},)"
        R"("settings":{"s":"t"},"answers":{"z":"1","y":"2"},"output":"o.nrrd","bare":true,"force":true},)"
        R"({"id":"b","plugin":"Echo","input":"a","output":["o1.nrrd","o2.nrrd"]}],"result":"b#2"})";
    EXPECT_EQ(ToJson(ChainOf(*CJson::Parse(text))).Text(), text);
}

TEST(Chain, IsRefusedAsAWhole) {
    EXPECT_EQ(Refusal("[]"), "it is not an object");
    EXPECT_EQ(Refusal("{}"), "it is not a chain: \"quillon\": 1 is missing");
    EXPECT_EQ(Refusal(R"({"quillon": 2})"),
              "\"quillon\": 2 is not a version of chains that this program knows; it knows 1");
    EXPECT_EQ(Refusal(R"({"quillon": 1})"), "\"steps\" is not a list of at least one step");
    EXPECT_EQ(Refusal(R"({"quillon": 1, "steps": []})"), "\"steps\" is not a list of at least one step");
    EXPECT_EQ(Refusal(R"({"quillon": 1, "steps": [1], "step": 1})"),
              "unknown member \"step\"; the nearest one is \"steps\"");
    EXPECT_EQ(Refusal(R"({"quillon": 1, "steps": [{"id": "a", "plugin": "A"}], "result": "b"})"),
              "\"result\": there is no step 'b'");
}

TEST(Chain, NamesTheStepThatIsWrong) {
    EXPECT_EQ(Refusal(R"({"quillon": 1, "steps": [{"id": "a", "plugin": "A"}, 7]})"),
              "step 2: it is not an object");
    EXPECT_EQ(RefusalOfStep(R"("plugin": "A")"), "step 1: \"id\" is missing");
    EXPECT_EQ(RefusalOfStep(R"("id": "")"), "step 1: \"id\" is not a text");
    EXPECT_EQ(RefusalOfStep(R"("id": "a#2")"),
              "step 1: \"id\": 'a#2' has a '#', which separates an id from the number of a result");
    EXPECT_EQ(RefusalOfStep(R"("id": "a")"), "step 'a': \"plugin\" is missing");
    const std::string step = R"("id": "a", "plugin": "A", )";
    EXPECT_EQ(RefusalOfStep(step + R"("inputs": "b")"),
              "step 'a': unknown member \"inputs\"; the nearest one is \"input\"");
    EXPECT_EQ(RefusalOfStep(step + R"("input": 3)"), "step 'a': \"input\" is not a text");
    EXPECT_EQ(RefusalOfStep(step + R"("parameters": [])"), "step 'a': \"parameters\" is not an object");
    EXPECT_EQ(RefusalOfStep(step + R"("images": {"m": 1})"),
              "step 'a': \"images\": the value of \"m\" is not a text");
    EXPECT_EQ(RefusalOfStep(step + R"("output": [""])"),
              "step 'a': \"output\" is neither a text nor a list of texts");
    EXPECT_EQ(RefusalOfStep(step + R"("bare": 1)"), "step 'a': \"bare\" is neither true nor false");
    EXPECT_EQ(RefusalOfStep(step + R"("read": {"unit": 1})"),
              "step 'a': \"read\": \"unit\": 1 is not m, mm, um or nm");
    EXPECT_EQ(Refusal(R"({"quillon": 1, "steps": [{"id": "a", "plugin": "A"}, {"id": "b", "plugin": "B"}]})"),
              "step 'b': \"input\" is missing; only the first step can do without");
    EXPECT_EQ(Refusal(R"({"quillon": 1, "steps": [{"id": "a", "plugin": "A"},
                         {"id": "a", "plugin": "B", "input": "a"}]})"),
              "step 'a': another step has the same id");
}

TEST(Chain, FindsResultsByIdAndNumber) {
    const StChain chain = ChainOf(*CJson::Parse(
        R"({"quillon": 1, "steps": [{"id": "a", "plugin": "A"}, {"id": "b", "plugin": "B", "input": "a"}]})"));
    EXPECT_EQ(FindResult(chain, "b")->step, 1u);
    EXPECT_EQ(FindResult(chain, "b")->result, 0u);
    EXPECT_EQ(FindResult(chain, "a#2")->step, 0u);
    EXPECT_EQ(FindResult(chain, "a#2")->result, 1u);
    for (const char* name : {"c", "a#0", "a#", "a#x", "a#2x", "#1", ""})
        EXPECT_FALSE(FindResult(chain, name)) << name;
}

TEST(Chain, ErrorsNameTheFile) {
    const test::CTestFolder folder;
    const std::string file = folder / "c.json";
    std::ofstream(file) << "{";
    EXPECT_EQ(test::Raised<CFileError>([&] { (void)ReadChain(file); }).what(),
              "'" + file + "' is not valid JSON");
    std::ofstream(file) << R"({"quillon": 1, "steps": [{}]})";
    EXPECT_EQ(test::Raised<CCallerError>([&] { (void)ReadChain(file); }).what(),
              "'" + file + "': step 1: \"id\" is missing");
}
