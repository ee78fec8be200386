#include "engine/packs/CPackSet.h"

#include "engine/errors/CEngineError.h"
#include "support/CommandLine.h"
#include "support/Raised.h"

#include <gtest/gtest.h>

#include <fstream>

using namespace engine;

namespace {

/// A folder with a copy of the test pack, which has no catalogue there.
class PackWithoutCatalogue : public ::testing::Test {
protected:
    PackWithoutCatalogue() { std::filesystem::copy_file(QUILLON_TEST_PACK, pack); }

    test::CTestFolder folder;
    const std::string pack = folder / "libBare.so";
};

std::string Complaint(CPackSet packs, const std::string& name) {
    return test::Raised<CCallerError>([&] { packs.Find(name); }).what();
}

} // namespace

TEST(PackSet, AsksThePacksInOrder) {
    CPackSet realFirst({QUILLON_PACK, QUILLON_TEST_PACK});
    EXPECT_EQ(&realFirst.Find("SegmNiblack").pack, &realFirst.Packs()[0].Library());
    EXPECT_EQ(&realFirst.Find("Echo").pack, &realFirst.Packs()[1].Library());
    CPackSet testFirst({QUILLON_TEST_PACK, QUILLON_PACK});
    EXPECT_EQ(&testFirst.Find("SegmNiblack").pack, &testFirst.Packs()[0].Library());
    EXPECT_EQ(&testFirst.Find("SegmSauvola").pack, &testFirst.Packs()[1].Library());
}

TEST(PackSet, TakesTheEntryFromThePackThatProvidesThePlugin) {
    CPackSet packs({QUILLON_TEST_PACK, QUILLON_PACK});
    EXPECT_EQ(packs.Find("SegmSauvola").entry, packs.Packs()[1].Catalogue().Find("SegmSauvola"));
    EXPECT_EQ(packs.Find("Echo").entry, nullptr);
}

TEST(PackSet, LeavesOutAPackThatCannotBeUsedAndReportsItOnce) {
    std::vector<std::string> reports;
    CPackSet packs({"/nowhere/pack.so", QUILLON_PACK},
                   [&](const std::string& problem) { reports.push_back(problem); });
    EXPECT_NE(packs.Find("SegmNiblack").entry, nullptr);
    EXPECT_NE(packs.Find("SegmSauvola").entry, nullptr);
    EXPECT_EQ(reports,
              std::vector<std::string>{"cannot load the pack '/nowhere/pack.so': No such file or directory"});
}

TEST(PackSet, DoesNotTryAPackBeforeItIsNeeded) {
    std::vector<std::string> reports;
    CPackSet packs({QUILLON_PACK, "/nowhere/pack.so"},
                   [&](const std::string& problem) { reports.push_back(problem); });
    EXPECT_NE(packs.Find("SegmNiblack").entry, nullptr);
    EXPECT_TRUE(reports.empty());
}

TEST(PackSet, RaisesIfTheOnlyPackCannotBeUsed) {
    CPackSet packs({"/nowhere/pack.so"});
    EXPECT_EQ(test::Raised<CFileError>([&] { packs.Find("SegmNiblack"); }).Fault(), EnFault::FILE);
}

TEST(PackSet, ReportsADamagedCatalogueAndUsesThePackWithoutIt) {
    const test::CTestFolder folder;
    std::filesystem::copy_file(QUILLON_TEST_PACK, folder / "libOther.so");
    std::ofstream(folder / "Other.catalogue.json") << "{";
    std::vector<std::string> reports;
    CPackSet packs({folder / "libOther.so"}, [&](const std::string& problem) { reports.push_back(problem); });
    EXPECT_EQ(packs.Find("SegmNiblack").entry, nullptr);
    ASSERT_EQ(reports.size(), 1u);
    EXPECT_NE(reports[0].find("Other.catalogue.json"), std::string::npos) << reports[0];
}

TEST(PackSet, NamesThePacksWhosePluginIsHidden) {
    CPackSet packs({QUILLON_PACK, QUILLON_TEST_PACK});
    EXPECT_EQ(packs.Describe("SegmNiblack").pack, packs.Packs().data());
    const auto hidden = packs.Describe("SegmNiblack").hidden;
    EXPECT_EQ(hidden, std::vector<CPack*>{&packs.Packs()[1]});
}

TEST(PackSet, SuggestsNamesOfAllPacks) {
    const test::CTestFolder folder;
    std::ofstream(folder / "Other.catalogue.json") << R"({"pack": "Other", "plugins": [
        {"name": "SegmNiblock", "title": "A", "summary": "B", "images": {"types": ["grey8"], "dimensions": [2]},
         "parameters": [], "settings": [], "dialogs": false, "cancel": "nowhere", "documentsOut": 1}]})";
    std::filesystem::copy_file(QUILLON_TEST_PACK, folder / "libOther.so");
    EXPECT_EQ(Complaint(CPackSet({QUILLON_PACK, folder / "libOther.so"}), "SegmNiblick"),
              "there is no plug-in 'SegmNiblick'; the nearest names are 'SegmNiblack' and 'SegmNiblock'");
}

TEST(PackSet, SuggestsEachNameOnce) {
    EXPECT_EQ(Complaint(CPackSet({QUILLON_PACK, QUILLON_TEST_PACK}), "segmniblak"),
              "there is no plug-in 'segmniblak'; the nearest name is 'SegmNiblack'");
}

TEST(PackSet, ReportsANameThatOnlyACatalogueKnows) {
    EXPECT_EQ(Complaint(CPackSet({QUILLON_TEST_PACK}), "SegmSauvola"),
              "the pack does not provide 'SegmSauvola'");
    EXPECT_EQ(Complaint(CPackSet({QUILLON_TEST_PACK, QUILLON_TEST_PACK}), "SegmSauvola"),
              "no pack provides 'SegmSauvola'");
}

TEST(PackSet, DescribesFromAnyCatalogue) {
    CPackSet packs({"/nowhere/libBare.so", QUILLON_PACK});
    EXPECT_EQ(packs.Describe("SegmSauvola").entry.name, "SegmSauvola");
    EXPECT_THROW(packs.Describe("Sauvola"), CCallerError);
}

TEST_F(PackWithoutCatalogue, ProvidesItsPlugins) {
    CPackSet packs({pack});
    const StFoundPlugin found = packs.Find("SegmNiblack");
    EXPECT_EQ(found.entry, nullptr);
    EXPECT_NE(found.pack.Create("SegmNiblack"), nullptr);
    EXPECT_EQ(packs.Packs()[0].Name(), "libBare.so");
    EXPECT_EQ(Complaint(CPackSet({pack}), "Nobody"), "there is no plug-in 'Nobody'");
}
