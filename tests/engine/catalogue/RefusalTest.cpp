#include "engine/catalogue/Refusal.h"

#include "support/TestImage.h"

#include <gtest/gtest.h>
#include <sorblib2image/CQuillonHeaderTools.h>

#include <cmath>
#include <string>
#include <vector>

using namespace engine;
using namespace ORVEN;
using Words = std::vector<std::string>;

namespace {

StCatalogueEntry Entry(const std::string& name, const Words& types, const Words& suggestedFor = {}) {
    StCatalogueEntry entry;
    entry.name = name;
    entry.images.types = types;
    entry.images.dimensions = {2};
    entry.suggestedFor = suggestedFor;
    return entry;
}

/// Plug-ins that a refusal can suggest.
const StCatalogueEntry g_threshold = Entry("Cut", {"grey8", "greyf"}, {"binary"});
const StCatalogueEntry g_scaler = Entry("Scale", {"grey8", "grey16", "greyf"}, {"grey8", "equal spacing"});
const std::vector<const StCatalogueEntry*> g_known = {&g_threshold, &g_scaler, &g_threshold};

void ExpectRefusal(const StCatalogueEntry& entry, const CImage& image, const std::string& reason,
                   EnRemedy remedy, const Words& words) {
    const StRefusal refusal = ExplainRefusal(entry, image, g_known);
    EXPECT_EQ(refusal.reason, reason);
    EXPECT_EQ(refusal.remedy, remedy);
    EXPECT_EQ(refusal.words, words);
}

} // namespace

TEST(Refusal, SuggestsToReadAnImageOfTwoValuesAsBinary) {
    const StCatalogueEntry entry = Entry("Thin", {"binary"});
    ExpectRefusal(entry, *test::ImageOf<std::uint8_t>(IMAGE_GREY_8, {3, 1}, {255, 0, 255}),
                  "is grey8 with the values 0 and 255", REMEDY_CONVERT, {"binary"});
    ExpectRefusal(entry, *test::ImageOf<float>(IMAGE_GREY_F, {3, 1}, {0, 0.5, 0}),
                  "is greyf with the values 0 and 0.5", REMEDY_CONVERT, {"binary"});
    ExpectRefusal(entry, *test::ImageOf<std::uint8_t>(IMAGE_GREY_8, {3, 1}, {255, 1, 255}), "is grey8",
                  REMEDY_RUN_FIRST, {"Cut"});
    ExpectRefusal(entry, *test::ImageOf<std::uint8_t>(IMAGE_GREY_8, {3, 1}, {7, 7, 7}), "is grey8",
                  REMEDY_RUN_FIRST, {"Cut"});
}

TEST(Refusal, SuggestsATypeThatHoldsTheValues) {
    const StCatalogueEntry entry = Entry("Measure", {"grey8"});
    ExpectRefusal(entry, *test::ImageOf<std::uint16_t>(IMAGE_GREY_16, {3, 1}, {0, 3, 255}), "is grey16",
                  REMEDY_CONVERT, {"grey8"});
    ExpectRefusal(entry, *test::ImageOf<std::uint16_t>(IMAGE_GREY_16, {3, 1}, {0, 3, 256}), "is grey16",
                  REMEDY_RUN_FIRST, {"Scale"});
    ExpectRefusal(entry, *test::ImageOf<float>(IMAGE_GREY_F, {3, 1}, {0, 0.5, 3}), "is greyf",
                  REMEDY_RUN_FIRST, {"Scale"});
    ExpectRefusal(entry, *test::ImageOf<float>(IMAGE_GREY_F, {3, 1}, {0, std::nanf(""), 3}), "is greyf",
                  REMEDY_RUN_FIRST, {"Scale"});
    ExpectRefusal(entry, *test::ImageOf<std::uint8_t>(IMAGE_BINARY_FG, {3, 1}, {0, 1, 1}), "is binary",
                  REMEDY_CONVERT, {"grey8"});
    ExpectRefusal(Entry("Slope", {"greyf"}),
                  *test::ImageOf<std::uint16_t>(IMAGE_GREY_16, {3, 1}, {0, 3, 256}), "is grey16",
                  REMEDY_CONVERT, {"greyf"});
}

TEST(Refusal, AsksForAnotherImageOverDimensionAndExtent) {
    StCatalogueEntry entry = Entry("Deep", {"grey8"});
    entry.images.dimensions = {1, 3};
    const auto image = test::ImageOf<std::uint8_t>(IMAGE_GREY_8, {3, 1}, {0, 1, 2});
    ExpectRefusal(entry, *image, "has 2 dimensions", REMEDY_OTHER_IMAGE, {"1 or 3 dimensions"});
    entry.images.dimensions = {2};
    entry.images.minimumExtent = 2;
    ExpectRefusal(entry, *image, "has 1 pixel along y", REMEDY_OTHER_IMAGE,
                  {"at least 2 pixels along each axis"});
}

TEST(Refusal, NamesThePluginThatMeasures) {
    StCatalogueEntry entry = Entry("Export", {"grey8"});
    const auto image = test::ImageOf<std::uint8_t>(IMAGE_GREY_8, {3, 1}, {0, 1, 2});
    ExpectRefusal(entry, *image, "", REMEDY_UNKNOWN, {});
    entry.images.after = {"Measure", "Count"};
    ExpectRefusal(entry, *image, "has no measurement that Export can use", REMEDY_RUN_FIRST,
                  {"Measure", "Count"});
}

TEST(Refusal, SuggestsNoMoreThanTenPlugins) {
    std::vector<StCatalogueEntry> many;
    for (int i = 0; i < 12; ++i)
        many.push_back(Entry("Cut" + std::to_string(i), {"grey8"}, {"binary"}));
    std::vector<const StCatalogueEntry*> known;
    for (const StCatalogueEntry& entry : many)
        known.push_back(&entry);
    const auto image = test::ImageOf<std::uint8_t>(IMAGE_GREY_8, {3, 1}, {0, 1, 2});
    EXPECT_EQ(ExplainRefusal(Entry("Thin", {"binary"}), *image, known).words.size(), 10u);
}

TEST(Refusal, KnowsUnequalSpacing) {
    const auto image = test::ImageOf<std::uint8_t>(IMAGE_GREY_8, {3, 1}, {0, 1, 2});
    EXPECT_FALSE(HasUnequalSpacing(*image));
    CQuillonHeaderTools::SetSpacing(*image, 2, 2, 5); // a plane has no z
    EXPECT_FALSE(HasUnequalSpacing(*image));
    CQuillonHeaderTools::SetSpacing(*image, 2, 3, 5);
    EXPECT_TRUE(HasUnequalSpacing(*image));
    EXPECT_EQ(PluginsSuggestedFor("equal spacing", *image, g_known), Words{"Scale"});
}
