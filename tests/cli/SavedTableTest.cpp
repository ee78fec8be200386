#include "support/RunFixture.h"

#include <nlohmann/json.hpp>

#include <filesystem>
#include <fstream>

// A plug-in asks in a file dialog for the name of a table and writes to it itself. What stood there stays
// until the run has succeeded.

namespace {

class SavedTable : public test::RunFixture {
protected:
    [[nodiscard]] test::StEnd Export(const std::vector<std::string>& parameters) const {
        std::vector<std::string> options = {"--file", table};
        for (const std::string& parameter : parameters)
            options.insert(options.end(), {"-p", parameter});
        return Run("Export", options);
    }

    void ExpectOnlyTheOld() const {
        EXPECT_EQ(test::ReadText(table), "old");
        EXPECT_EQ(folder.Names(), (std::vector<std::string>{"in.nrrd", "t.csv"}));
    }

    const std::string table = folder / "t.csv";
};

/// The plug-ins of the real pack that save tables, on images that carry what they save.
class RealTable : public test::RunFixture, public testing::WithParamInterface<std::string> {
protected:
    RealTable() {
        const std::string text =
            GetParam() == "GranulometryExport"
                ? R"({"features":{"Granulometry":{"on foreground":true,"data":{"2.000000e+00":7}}}})"
                : Fibres();
        std::ofstream(measured) << "NRRD0004\ntype: uint8\ndimension: 3\nsizes: 1 1 1\nencoding: raw\n"
                                   "quillon type:=IMAGE_BINARY_FG\nquillon attributes:="
                                << text << "\n\n"
                                << '\1';
    }

    static std::string Fibres() {
        return R"({"features":{"FiberDirections":{"FieldFiberDirections":{"Orientation tensor":{"xx":1.0}}}}})";
    }

    [[nodiscard]] std::vector<std::string> Saving(const std::string& path) const {
        return {"run", GetParam(), measured, "--file", path};
    }

    const std::string measured = folder / "measured.nrrd";
    const std::string table = folder / "t.csv";
};

} // namespace

TEST_F(SavedTable, IsReplacedWhenTheRunSucceeds) {
    for (const std::string box : {"", "information"}) {
        std::ofstream(table) << "old";
        const test::StEnd end = Export({"box:string=" + box});
        EXPECT_EQ(end.status, 0) << end.err;
        EXPECT_EQ(test::ReadText(table), "half and half");
        EXPECT_EQ(folder.Names(), (std::vector<std::string>{"in.nrrd", "t.csv"}));
    }
}

TEST_F(SavedTable, StaysWhenAnErrorBoxAppeared) {
    for (const std::string kind : {"critical", "warning"}) {
        SCOPED_TRACE(kind);
        std::ofstream(table) << "old";
        const test::StEnd end = Export({"box:string=" + kind});
        EXPECT_EQ(end.status, 4);
        ExpectOneErrorLine(end, kind == "critical" ? "quillon: Export says: It could not be saved.\n"
                                                   : "quillon: Export says: There is nothing to save.\n");
        ExpectOnlyTheOld();
    }
}

TEST_F(SavedTable, StaysWhenThePluginRaises) {
    std::ofstream(table) << "old";
    EXPECT_EQ(Export({"raise:bool=true"}).status, 1);
    ExpectOnlyTheOld();
}

TEST_F(SavedTable, IsNotLeftHalfWrittenWhereThereWasNone) {
    EXPECT_EQ(Export({"box:string=critical"}).status, 4);
    EXPECT_EQ(Export({"raise:bool=true"}).status, 1);
    EXPECT_EQ(folder.Names(), std::vector<std::string>{"in.nrrd"});
}

TEST_F(SavedTable, IsLeftEmptyWhereThereWasNoneByAPluginThatWarns) {
    EXPECT_EQ(Export({"box:string=warning", "empty:bool=true"}).status, 4);
    EXPECT_TRUE(std::filesystem::is_regular_file(table));
    EXPECT_EQ(test::ReadText(table), "");
}

TEST_F(SavedTable, ErrorBoxIsTheErrorOfTheReport) {
    const std::string report = folder / "report.json";
    EXPECT_EQ(Run("Export", {"--file", table, "-p", "box:string=critical", "--report", report}).status, 4);
    const auto json = nlohmann::json::parse(test::ReadText(report));
    EXPECT_EQ(json["error"]["source"], "Export");
    EXPECT_EQ(json["error"]["message"], "It could not be saved.");
    EXPECT_EQ(json["boxes"].size(), 1u);
}

TEST_P(RealTable, IsWritten) {
    const test::StEnd end = test::Quillon(Saving(table));
    EXPECT_EQ(end.status, 0) << end.err;
    EXPECT_GT(test::ReadText(table).size(), 30u);
}

TEST_P(RealTable, ADeviceWithoutSpaceEndsWithFour) {
    const test::StEnd end = test::Quillon(Saving("/dev/full"));
    EXPECT_EQ(end.status, 4);
    ExpectOneErrorLine(end, "Could not save csv file");
    EXPECT_NE(end.out.find("Could not save csv file"), std::string::npos)
        << end.out; // the box, in the summary
}

TEST_P(RealTable, AFullDiskLeavesTheOldOne) {
#ifdef __SANITIZE_THREAD__
    GTEST_SKIP() << "the thread sanitizer writes a file of its own when a program starts";
#endif
    std::ofstream(table) << "old";
    // The limit is for all that the shell writes to, and the test keeps its output in files.
    const test::StEnd end = test::QuillonInShell(
        "said=$( (ulimit -f 0; \"$@\" 2>&1 >/dev/null); echo status $?); echo \"$said\"", Saving(table));
    EXPECT_NE(end.out.find("Could not save csv file"), std::string::npos) << end.out;
    EXPECT_NE(end.out.find("status 4"), std::string::npos) << end.out;
    EXPECT_EQ(test::ReadText(table), "old");
    EXPECT_EQ(folder.Names(), (std::vector<std::string>{"in.nrrd", "measured.nrrd", "t.csv"}));
}

INSTANTIATE_TEST_SUITE_P(SavedTable, RealTable,
                         testing::Values("GranulometryExport", "LocalFiberDirectionsExport"));
