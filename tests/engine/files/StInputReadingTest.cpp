#include "engine/files/StInputReading.h"

#include "engine/errors/CEngineError.h"
#include "support/CommandLine.h"
#include "support/Raised.h"
#include "support/TestImage.h"

#include <sorblib2image/StImageGeometry.h>

#include <gtest/gtest.h>

#include <string>

using namespace engine;

namespace {

std::string Refusal(const std::string& json) {
    return test::Raised<CCallerError>([&] { (void)InputReadingOf(*CJson::Parse(json)); }).what();
}

} // namespace

TEST(InputReading, IsTheSameAfterJson) {
    const std::string text = R"({"as":"greyf","channel":1,"time":12,"region":[[0,9],[2,3]],)"
                             R"("spacing":[0.5,2.0],"unit":"um","dpi_as_spacing":true})";
    const StInputReading reading = InputReadingOf(*CJson::Parse(text));
    EXPECT_EQ(ToJson(reading).Text(), text);
    EXPECT_FALSE(reading.IsPlain());
    EXPECT_TRUE(StInputReading().IsPlain());
    EXPECT_EQ(ToJson(StInputReading()).Text(), "{}");
}

TEST(InputReading, NamesTheMemberThatIsWrong) {
    EXPECT_EQ(Refusal(R"({"as": "gray"})"), R"("as": "gray" is not binary, grey8, grey16, grey32 or greyf)");
    EXPECT_EQ(Refusal(R"({"channel": -1})"), R"("channel": -1 is not an index from 0)");
    EXPECT_EQ(Refusal(R"({"region": [[0]]})"),
              R"("region": [[0]] is not a list of ranges such as [[0, 99], [0, 99]])");
    EXPECT_EQ(Refusal(R"({"spacing": [1, 0]})"),
              R"("spacing": [1,0] is not a list of two or three positive numbers)");
    EXPECT_EQ(Refusal(R"({"unit": "inch"})"), R"("unit": "inch" is not m, mm, um or nm)");
    EXPECT_EQ(Refusal(R"({"dpi_as_spacing": 1})"), R"("dpi_as_spacing": 1 is not true or false)");
    EXPECT_EQ(Refusal(R"({"zoom": 1})"),
              R"("zoom" is none of as, channel, time, region, spacing, unit and dpi_as_spacing)");
    EXPECT_EQ(Refusal("[]"), "[] is not an object");
}

TEST(InputReading, CorrectsTypePartAndSpacing) {
    const test::CTestFolder folder;
    WriteImage(*test::ImageOf<std::uint8_t>(ORVEN::IMAGE_GREY_8, {3, 2}, {1, 0, 2, 0, 3, 0}),
               folder / "a.nrrd");
    StInputReading reading =
        InputReadingOf(*CJson::Parse(R"({"as": "binary", "region": [[1, 2], [0, 1]], "spacing": [0.5, 2]})"));
    const auto image = ReadInput(folder / "a.nrrd", reading);
    EXPECT_EQ(test::PixelsOf<std::uint8_t>(*image), (std::vector<std::uint8_t>{0, 1, 1, 0}));
    EXPECT_EQ(ORVEN::StImageGeometry::Of(*image).spacing, (std::array<double, 3>{0.5, 2, 1}));
    EXPECT_EQ(ReadInputOutline(folder / "a.nrrd", reading).spacing, (std::array<double, 3>{0.5, 2, 1}));
    reading.spacing = {1, 1, 1};
    const std::string message = "'" + folder / "a.nrrd" + "' is a plane; its spacing takes two numbers";
    EXPECT_EQ(test::Raised<CCallerError>([&] { (void)ReadInput(folder / "a.nrrd", reading); }).what(),
              message);
    EXPECT_EQ(test::Raised<CCallerError>([&] { (void)ReadInputOutline(folder / "a.nrrd", reading); }).what(),
              message);
}
