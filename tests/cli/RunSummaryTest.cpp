#include "cli/RunSummary.h"

#include "engine/run/PluginCall.h"
#include "engine/run/StRunRecord.h"

#include <sorblib2core/CValueMap.h>
#include <sorblib2image/CImage.h>

#include <gtest/gtest.h>

#include <string>
#include <vector>

using namespace cli;
using namespace engine;
using namespace ORVEN;

TEST(RunSummary, NamesResultsAndBoxes) {
    StRunRecord record;
    record.plugin = "Noting";
    record.image = "four.png";
    record.outcome.isAccepted = true;
    CImage image(IMAGE_GREY_16, CSize(4, 3, 2), CSize(0, 0, 0));
    record.outcome.documents.push_back(MakeDocument(image, "a"));
    record.outcome.seconds = 1.234;
    record.files = {""};
    record.boxes = {{"information", "Result", "two\nlines"}};
    EXPECT_EQ(RunSummary(record, {}), "Noting on four.png: done in 1.2 s\n"
                                      "  result 'a', grey16, 4 x 3 x 2, not written\n"
                                      "  Result: two\n"
                                      "    lines\n"
                                      "Nothing was written: give -o FILE to keep the result.\n");
    record.files = {"a.nrrd"};
    record.outcome.seconds = 0.0123;
    record.boxes.clear();
    const std::vector<std::string> outputs = {"a.nrrd", "b.nrrd"};
    EXPECT_EQ(RunSummary(record, outputs),
              "Noting on four.png: done in 12 ms\n"
              "  result 'a', grey16, 4 x 3 x 2, written to a.nrrd\n"
              "Nothing was written to b.nrrd: the plug-in delivered one result.\n");
}

TEST(RunSummary, SuggestsHowToKeepResults) {
    StRunRecord record;
    record.plugin = "Noting";
    record.image = "four.png";
    const std::string first = "Noting on four.png: done in 0 ms\n";
    EXPECT_EQ(RunSummary(record, {}),
              first + "Nothing was written: give --report FILE to save the parameters.\n");
    record.isReported = true;
    EXPECT_EQ(RunSummary(record, {}), first);
    record.isReported = false;
    record.hasShownWindows = true;
    EXPECT_EQ(RunSummary(record, {}), first);
    record.hasMeasured = true;
    EXPECT_EQ(RunSummary(record, {}),
              first + "Nothing was written: give -o FILE to keep the image with what was measured.\n");
    record.hasMeasured = false;
    record.pickedFile = "table.csv";
    EXPECT_EQ(RunSummary(record, {}), first + "  table.csv was picked in a file dialog\n");
    record.pickedFile.clear();
    record.boxes = {{"information", "Result", "text"}};
    EXPECT_EQ(RunSummary(record, {}), first + "  Result: text\n");
}
