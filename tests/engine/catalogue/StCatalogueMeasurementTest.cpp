#include "engine/catalogue/StCatalogueMeasurement.h"

#include "support/Raised.h"

#include <gtest/gtest.h>

#include <stdexcept>

using namespace engine;

namespace {

std::vector<StCatalogueMeasurement> Parse(const std::string& text) {
    return ParseCatalogueMeasurements(*CJson::Parse(text), "Thing: measurements");
}

std::string Complaint(const std::string& text) {
    return test::Raised<std::runtime_error>([&] { Parse(text); }).what();
}

} // namespace

TEST(CatalogueMeasurement, HoldsWhatTheTextSays) {
    const auto found =
        Parse(R"([{"key": "Sizes", "title": "Size distribution", "kind": "distribution", "rows": "data",
        "row": {"title": "diameter", "unit": "length"}, "counted": "pixels", "countedIf": {"filtered": "balls"},
        "limitedBy": ["stepwidth"], "columns": [{"key": "a/b", "title": "c", "unit": "rad", "statistics": false}]}])");
    ASSERT_EQ(found.size(), 1u);
    EXPECT_EQ(found[0].kind, MEASUREMENT_DISTRIBUTION);
    EXPECT_EQ(found[0].rows, "data");
    EXPECT_EQ(found[0].row.unit, "length");
    EXPECT_EQ(found[0].countedIf[0].second, "balls");
    EXPECT_EQ(found[0].limitedBy, std::vector<std::string>{"stepwidth"});
    EXPECT_EQ(found[0].columns[0].key, "a/b");
    EXPECT_FALSE(found[0].columns[0].hasStatistics);
}

TEST(CatalogueMeasurement, IsRefusedIfItIsNotAsDocumented) {
    EXPECT_EQ(Complaint("{}"), "catalogue: Thing: measurements: is not a list");
    EXPECT_EQ(Complaint(R"([{"key": "A", "title": "B", "kind": "heap"}])"),
              "catalogue: Thing: measurements 'A': 'kind' is none of distribution, curve, objects, single");
    EXPECT_EQ(Complaint(R"([{"key": "A", "title": "B", "kind": "curve"}])"),
              "catalogue: Thing: measurements 'A': lacks 'row'");
    EXPECT_EQ(Complaint(R"([{"key": "A", "title": "B", "kind": "single", "colour": 1}])"),
              "catalogue: Thing: measurements 'A': has the unknown member 'colour'");
    EXPECT_EQ(Complaint(R"([{"key": "A", "title": "B", "kind": "single", "columns": [{"key": "c"}]}])"),
              "catalogue: Thing: measurements 'A': columns: lacks 'title'");
    EXPECT_EQ(Complaint(R"([{"key": "A", "title": "B", "kind": "single", "countedIf": ["c"]}])"),
              "catalogue: Thing: measurements 'A': 'countedIf' is of the wrong kind");
}
