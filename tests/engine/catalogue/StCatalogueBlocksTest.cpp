#include "engine/catalogue/StCatalogueBlocks.h"

#include "engine/catalogue/BlockMargin.h"
#include "engine/catalogue/StCatalogueEntry.h"
#include "support/Raised.h"

#include <gtest/gtest.h>

#include <stdexcept>

using namespace engine;

namespace {

double Margin(const std::string& text) {
    return EvaluateMargin(text, [](const std::string& key) { return key == "radius" ? 2.5 : 7.0; });
}

std::string MarginComplaint(const std::string& text) {
    return test::Raised<std::runtime_error>([&] { (void)Margin(text); }).what();
}

std::vector<StCatalogueParameter> Parameters() {
    StCatalogueParameter radius;
    radius.key = "radius";
    radius.kind = KIND_LONG;
    StCatalogueParameter operation;
    operation.key = "operation";
    operation.kind = KIND_STRING;
    return {radius, operation};
}

StCatalogueBlocks Parse(const std::string& json) {
    return ParseCatalogueBlocks(*CJson::Parse(json), Parameters(), "Thing: blocks");
}

std::string Complaint(const std::string& json) {
    return test::Raised<std::runtime_error>([&] { (void)Parse(json); }).what();
}

} // namespace

TEST(BlockMargin, IsAnExpressionOfParameters) {
    EXPECT_EQ(Margin("3"), 3.0);
    EXPECT_EQ(Margin("2 * radius + 1"), 6.0);
    EXPECT_EQ(Margin("1 + 2 * radius"), 6.0);
    EXPECT_EQ(Margin("ceil(radius)"), 3.0);
    EXPECT_EQ(Margin("max(radius, 1, other_1) - min(4, radius)"), 4.5);
    EXPECT_EQ(Margin("abs(1 - radius) / (radius - 2)"), 3.0);
    EXPECT_EQ(Margin(" ( ( 1.5 ) ) "), 1.5);
}

TEST(BlockMargin, NamesWhatIsNoExpression) {
    EXPECT_EQ(MarginComplaint(""), "'' is not a margin: it ends too early");
    EXPECT_EQ(MarginComplaint("2 *"), "'2 *' is not a margin: it ends too early");
    EXPECT_EQ(MarginComplaint("2 3"), "'2 3' is not a margin: '3' does not belong there");
    EXPECT_EQ(MarginComplaint("(2"), "'(2' is not a margin: ')' is missing");
    EXPECT_EQ(MarginComplaint("2 + *"), "'2 + *' is not a margin: '*' does not belong there");
    EXPECT_EQ(MarginComplaint("sqrt(2)"), "'sqrt(2)' is not a margin: there is no function sqrt of 1 number");
    EXPECT_EQ(MarginComplaint("ceil(2, 3)"),
              "'ceil(2, 3)' is not a margin: there is no function ceil of 2 numbers");
    EXPECT_EQ(MarginComplaint("1e999"), "'1e999' is not a margin: a number is out of range");
    const std::string deep = std::string(30, '(') + "1" + std::string(30, ')');
    EXPECT_EQ(MarginComplaint(deep), "'" + deep + "' is not a margin: too many brackets");
}

TEST(CatalogueBlocks, HoldWhatTheTextSays) {
    const StCatalogueBlocks blocks = Parse(R"({"rule": "halo", "margin": "radius",
        "cases": [{"key": "operation", "values": ["opening"], "margin": "2 * radius"}], "deviation": 1e-5,
        "except": [{"types": ["greyf"], "reason": "sums differ"},
                   {"key": "radius", "values": [null], "reason": "it is measured"}], "instead": "Convert it."})");
    EXPECT_EQ(blocks.rule, BLOCKS_HALO);
    EXPECT_EQ(blocks.margin, "radius");
    ASSERT_EQ(blocks.cases.size(), 1U);
    EXPECT_EQ(blocks.cases[0].margin, "2 * radius");
    EXPECT_EQ(blocks.deviation, 1e-5);
    ASSERT_EQ(blocks.exceptions.size(), 2U);
    EXPECT_EQ(blocks.exceptions[0].reason, "sums differ");
    EXPECT_EQ(blocks.instead, "Convert it.");
    EXPECT_EQ(BlocksInWords(blocks),
              "each block with a margin of radius pixels; 2 * radius for operation opening; within "
              "1e-05 of the range of values; not greyf: sums differ; not without radius: it is measured");
}

TEST(CatalogueBlocks, SayWhyTheWholeVolumeIsNeeded) {
    const StCatalogueBlocks blocks =
        Parse(R"({"rule": "whole", "reason": "floods spread", "instead": "Cut it."})");
    EXPECT_EQ(BlocksInWords(blocks), "no: floods spread");
    EXPECT_EQ(BlocksInWords(Parse(R"({"rule": "sum", "margin": "greatest_radius"})")),
              "sums over the blocks, each with a margin of greatest_radius pixels");
    EXPECT_EQ(BlocksInWords(Parse(R"({"rule": "pointwise", "needsGreatest": true})")),
              "each block by itself, after the greatest value of the volume");
    EXPECT_EQ(BlocksInWords({}), "");
}

TEST(CatalogueBlocks, AreRefusedIfTheyContradictThemselves) {
    const std::string place = "catalogue: Thing: blocks: ";
    EXPECT_EQ(Complaint("{}"), place + "lacks 'rule'");
    EXPECT_EQ(
        Complaint(R"({"rule": "magic"})"),
        place + "'rule' is none of pointwise, halo, place, lines, passes, sum, reduce, components, objects, "
                "measurement, whole");
    EXPECT_EQ(Complaint(R"({"rule": "lines", "colour": 1})"), place + "has the unknown member 'colour'");
    EXPECT_EQ(Complaint(R"({"rule": "halo"})"), place + "needs a 'margin'");
    EXPECT_EQ(Complaint(R"({"rule": "lines", "margin": "1"})"), place + "has a 'margin' and no halo");
    EXPECT_EQ(Complaint(R"({"rule": "halo", "margin": "2 *"})"),
              place + "'2 *' is not a margin: it ends too early");
    EXPECT_EQ(Complaint(R"({"rule": "halo", "margin": "size"})"),
              place + "'size' is not a margin: 'size' is not the key of a number");
    EXPECT_EQ(Complaint(R"({"rule": "halo", "margin": "operation"})"),
              place + "'operation' is not a margin: 'operation' is not the key of a number");
    EXPECT_EQ(Complaint(R"({"rule": "halo", "margin": "greatest_radius"})"),
              place + "'greatest_radius' is not a margin: 'greatest_radius' is not the key of a number");
    EXPECT_EQ(Complaint(R"({"rule": "whole", "reason": "x"})"),
              place + "needs a 'reason' and what to do 'instead'");
    EXPECT_EQ(Complaint(R"({"rule": "lines", "reason": "x"})"), place + "has a 'reason' and is not whole");
    EXPECT_EQ(Complaint(R"({"rule": "lines", "instead": "x"})"),
              place + "needs 'except' and what to do 'instead', or neither");
    EXPECT_EQ(Complaint(R"({"rule": "halo", "margin": "1", "deviation": 0.1})"),
              place + "'deviation' is not from 0 to 0.0001");
    EXPECT_EQ(Complaint(R"({"rule": "lines", "needsGreatest": true})"),
              place + "has 'needsGreatest' and is not pointwise");
    EXPECT_EQ(
        Complaint(R"({"rule": "lines", "except": [{"types": ["grey9"], "reason": "x"}], "instead": "y"})"),
        place + "except: knows no pixel type 'grey9'");
    EXPECT_EQ(Complaint(R"({"rule": "lines", "except": [{"reason": "x"}], "instead": "y"})"),
              place + "except: needs 'types', or a 'key' with 'values'");
    EXPECT_EQ(
        Complaint(
            R"({"rule": "lines", "except": [{"key": "size", "values": [1], "reason": "x"}], "instead": "y"})"),
        place + "except: names the unknown parameter 'size'");
}
