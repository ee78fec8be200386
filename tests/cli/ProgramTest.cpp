#include "support/CommandLine.h"

#include <nlohmann/json.hpp>

#include <gtest/gtest.h>

#include <elf.h>

using nlohmann::json;

namespace {

bool Contains(const std::string& text, const std::string& part) {
    return text.find(part) != std::string::npos;
}

/// Names in the order in which the folder of the user is searched.
constexpr std::array c_unusable{"libArm.so", "libFolder.so", "libLater.so", "libLoop.so", "libText.so"};

/// A folder of data of a user who has a pack of each kind that cannot be used.
class CUnusablePacks {
public:
    CUnusablePacks() {
        std::filesystem::create_directories(Path("libFolder.so"));
        std::filesystem::create_symlink("libLoop.so", Path("libLoop.so"));
        std::ofstream(Path("libText.so")) << "hello\n";
        std::filesystem::copy_file(QUILLON_LATER_PACK, Path("libLater.so"));
        std::filesystem::copy_file(QUILLON_TEST_PACK, Path("libArm.so"));
        std::fstream library(Path("libArm.so"), std::ios::binary | std::ios::in | std::ios::out);
        library.seekp(offsetof(Elf64_Ehdr, e_machine));
        library.put(static_cast<char>(EM_AARCH64));
    }

    [[nodiscard]] std::string DataFolder() const { return "XDG_DATA_HOME=" + (m_folder / "."); }
    [[nodiscard]] std::string Path(const std::string& name) const {
        return m_folder / ("./quillon/packs/" + name);
    }
    [[nodiscard]] std::string Complaints() const {
        constexpr std::array<const char*, c_unusable.size()> reasons{
            "it is built for another processor: 64-bit ARM", "it is a folder",
            "it is built for another version of Quillon than " QUILLON_VERSION
            ": it needs libsorblib2core.so.99",
            "Too many levels of symbolic links", "it is not a shared library"};
        std::string lines;
        for (std::size_t i = 0; i < reasons.size(); ++i)
            lines += "quillon: cannot load the pack '" + Path(c_unusable[i]) + "': " + reasons[i] + "\n";
        return lines;
    }

private:
    test::CTestFolder m_folder;
};

} // namespace

TEST(Program, ShowsItsHelpWithoutArguments) {
    const test::StEnd end = test::Quillon({});
    EXPECT_EQ(end.status, 0);
    for (const char* word : {"list", "describe", "run", "info", "convert", "preview", "table", "plot",
                             "chain", "repeat", "Examples:"})
        EXPECT_TRUE(Contains(end.out, word)) << word;
    EXPECT_EQ(test::Quillon({"--help"}).out, end.out);
}

TEST(Program, StartsWithoutTheLibrariesOfDicomAndTheSecondPack) {
    const test::StEnd end = test::Quillon({"--version"}, {"LD_TRACE_LOADED_OBJECTS=1"});
    ASSERT_TRUE(Contains(end.out, "libQuillonEngine")) << end.out;
    EXPECT_FALSE(Contains(end.out, "gdcm")) << end.out;
    EXPECT_FALSE(Contains(end.out, "ITK")) << end.out;
}

TEST(Program, ShowsTheHelpOfEveryCommand) {
    for (const char* command :
         {"list", "describe", "run", "info", "convert", "preview", "table", "plot", "chain", "repeat"}) {
        const test::StEnd end = test::Quillon({command, "--help"});
        EXPECT_EQ(end.status, 0) << command;
        EXPECT_FALSE(end.out.empty()) << command;
        EXPECT_EQ(end.err, "") << command;
    }
}

TEST(Program, PrintsItsVersion) {
    const test::StEnd end = test::Quillon({"--version"});
    EXPECT_EQ(end.status, 0);
    EXPECT_EQ(end.out.rfind("quillon ", 0), 0u) << end.out;
}

TEST(Program, EndsWithTwoForAnUnknownCommand) {
    const test::StEnd end = test::Quillon({"rnu"});
    EXPECT_EQ(end.status, 2);
    EXPECT_EQ(end.err.rfind("quillon: ", 0), 0u) << end.err;
    EXPECT_EQ(end.err.find('\n'), end.err.size() - 1);
}

TEST(ListCommand, ListsWhatThePackProvidesAndWhatItLacks) {
    const test::StEnd end = test::Quillon({"list", "--pack", QUILLON_TEST_PACK});
    EXPECT_EQ(end.status, 0) << end.err;
    EXPECT_TRUE(end.out.starts_with("QuillonTestPack 1.0.0\n  SegmNiblack  Local threshold")) << end.out;
    const auto lastLine = end.out.find("  Known but not in this pack: ");
    ASSERT_NE(lastLine, std::string::npos) << end.out;
    EXPECT_NE(end.out.find("SegmSauvola", lastLine), std::string::npos);
}

TEST(ListCommand, ListsAsJson) {
    const test::StEnd end = test::Quillon({"list", "--json", "--pack", QUILLON_TEST_PACK});
    const json list = json::parse(end.out);
    EXPECT_EQ(list[0]["name"], "SegmNiblack");
    EXPECT_TRUE(list[0]["summary"].is_string());
    EXPECT_EQ(list[0]["pack"], "QuillonTestPack");
    EXPECT_EQ(list[0]["version"], "1.0.0");
    EXPECT_EQ(list[1]["pack"], "QuillonPack");
}

TEST(ListCommand, GroupsSeveralPacks) {
    const test::StEnd end = test::Quillon({"list", "--pack", QUILLON_PACK, "--pack", QUILLON_TEST_PACK});
    EXPECT_EQ(end.status, 0) << end.err;
    EXPECT_TRUE(end.out.starts_with("QuillonPack 1.0.0\n  ConvexifyObjects ")) << end.out;
    EXPECT_TRUE(Contains(end.out, "\n\nQuillonTestPack 1.0.0\n  SegmNiblack  Local threshold")) << end.out;
    EXPECT_TRUE(Contains(end.out, "\n  Known but not in this pack: ConvexifyObjects, ")) << end.out;
}

TEST(ListCommand, ReportsAPackWithoutACatalogue) {
    const test::CTestFolder folder;
    std::filesystem::copy_file(QUILLON_TEST_PACK, folder / "libBare.so");
    const test::StEnd end =
        test::Quillon({"list", "--pack", QUILLON_TEST_PACK, "--pack", folder / "libBare.so"});
    EXPECT_TRUE(Contains(
        end.out,
        "\n\nlibBare.so\n  This pack has no usable catalogue, so its plug-ins cannot be listed.\n\n"))
        << end.out;
}

TEST(ListCommand, FindsThePackBesideTheProgram) {
    const test::StEnd end = test::Quillon({"list"});
    EXPECT_EQ(end.status, 0) << end.err;
    EXPECT_TRUE(Contains(end.out, "SegmNiblack  "));
    EXPECT_TRUE(Contains(end.out, "SegmSauvola  "));
}

TEST(ListCommand, LeavesOutPacksThatCannotBeUsed) {
    const test::StEnd end =
        test::Quillon({"list", "--pack", "/nowhere/pack.so", "--pack", QUILLON_HOSTILE_PACK "Crashes.so"});
    EXPECT_EQ(end.status, 0);
    EXPECT_EQ(end.err,
              "quillon: cannot load the pack '/nowhere/pack.so': No such file or directory\n"
              "quillon: cannot load the pack '" QUILLON_HOSTILE_PACK "Crashes.so': it crashed (Aborted)\n");
    EXPECT_EQ(end.out, test::Quillon({"list"}).out);
}

TEST(ListCommand, SaysOnOneLineWhatIsWrongWithAPack) {
    const CUnusablePacks packs;
    std::vector<std::string> arguments{"list"};
    for (const char* pack : c_unusable)
        arguments.insert(arguments.end(), {"--pack", packs.Path(pack)});
    const test::StEnd named = test::Quillon(arguments);
    EXPECT_EQ(named.status, 0);
    EXPECT_EQ(named.err, packs.Complaints());
    EXPECT_EQ(named.out, test::Quillon({"list"}).out);

    const test::StEnd ofTheUser = test::Quillon({"list"}, {packs.DataFolder()});
    EXPECT_EQ(ofTheUser.status, 0);
    EXPECT_EQ(ofTheUser.err, packs.Complaints());
    EXPECT_EQ(ofTheUser.out, named.out);
}

TEST(Program, RunsAPluginDespitePacksThatCannotBeUsed) {
    const CUnusablePacks packs;
    const test::CTestFolder folder;
    const test::StEnd end = test::Quillon(
        {"run", "SegmNiblack", QUILLON_TEST_DATA "/page.png", "--quiet", "-o", folder / "ink.nrrd"},
        {packs.DataFolder()});
    EXPECT_EQ(end.status, 0);
    EXPECT_EQ(end.err, packs.Complaints());
    EXPECT_TRUE(std::filesystem::exists(folder / "ink.nrrd"));
}

TEST(ListCommand, SaysOnOneLineWhatIsWrongWithACatalogue) {
    const test::CTestFolder folder;
    std::filesystem::copy_file(QUILLON_TEST_PACK, folder / "libMine.so");
    std::ofstream(folder / "Mine.catalogue.json") << "{\n  \"plugins\": [],\n}";
    const test::StEnd typo = test::Quillon({"list", "--pack", folder / "libMine.so"});
    EXPECT_EQ(typo.status, 0);
    EXPECT_EQ(typo.err, "quillon: cannot read '" + (folder / "Mine.catalogue.json") +
                            "': not valid JSON in line 3, column 1\n");
    EXPECT_TRUE(typo.out.starts_with(
        "libMine.so\n  This pack has no usable catalogue, so its plug-ins cannot be listed.\n\nQuillonPack "))
        << typo.out;

    std::ofstream(folder / "Mine.catalogue.json") << R"({"pack": "Mine", "plugins": [{"name": "Echo"}]})";
    const test::StEnd lacking = test::Quillon({"list", "--pack", folder / "libMine.so"});
    EXPECT_EQ(lacking.status, 0);
    EXPECT_EQ(lacking.err, "quillon: cannot read '" + (folder / "Mine.catalogue.json") +
                               "': catalogue: Echo: lacks 'title'\n");
    EXPECT_EQ(lacking.out, typo.out);
}

TEST(ListCommand, FindsThePacksOfTheUser) {
    const test::CTestFolder folder;
    std::filesystem::create_directories(folder / "quillon/packs");
    std::filesystem::copy_file(QUILLON_TEST_PACK, folder / "quillon/packs/libMine.so");
    const test::StEnd end = test::Quillon({"list"}, {"XDG_DATA_HOME=" + (folder / ".")});
    EXPECT_TRUE(end.out.starts_with("libMine.so\n")) << end.out;
    EXPECT_TRUE(Contains(end.out, "\n\nQuillonPack 1.0.0\n")) << end.out;
}

TEST(DescribeCommand, NamesThePluginThatIsHidden) {
    const test::StEnd end = test::Quillon({"describe", "SegmNiblack", "--pack", QUILLON_TEST_PACK});
    EXPECT_TRUE(Contains(end.out, "\nHides the plug-in of the same name in QuillonPack (" QUILLON_PACK
                                  "); to use that one, give --pack " QUILLON_PACK ".\n"))
        << end.out;
}

TEST(DescribeCommand, PrintsImagesAndParameters) {
    const test::StEnd end = test::Quillon({"describe", "SegmNiblack"});
    EXPECT_EQ(end.status, 0) << end.err;
    for (const char* words :
         {"Takes images: grey8, grey16, grey32 or greyf of 2 or 3 dimensions", "Delivers: a new image",
          "PARAMETER    KIND    DEFAULT  VALUES", "coefficient  double  -0.2",
          "windowsize   long    5        at least 0 pixels", "usenewimpl   bool    true"})
        EXPECT_TRUE(Contains(end.out, words)) << words << "\nnot in\n" << end.out;
}

TEST(DescribeCommand, PrintsWhetherARunCanBeCancelled) {
    for (const auto& [plugin, words] :
         {std::pair{"GaussFilter", "yes"}, std::pair{"LinearDt", "in parts of its work"},
          std::pair{"LocalEulerNumber", "no"}}) {
        const std::string line = std::string("Can be cancelled: ") + words + "\n";
        EXPECT_TRUE(Contains(test::Quillon({"describe", plugin}).out, line)) << plugin;
    }
}

TEST(DescribeCommand, PrintsTheCatalogueEntryAsJson) {
    const json entry = json::parse(test::Quillon({"describe", "SegmNiblack", "--json"}).out);
    EXPECT_EQ(entry["name"], "SegmNiblack");
    EXPECT_EQ(entry["cancel"], "partly");
    ASSERT_EQ(entry["parameters"].size(), 3u);
    EXPECT_EQ(entry["parameters"][1]["default"], 5);
}

TEST(DescribeCommand, EndsWithTwoForAnUnknownName) {
    const test::StEnd end = test::Quillon({"describe", "sauvola"});
    EXPECT_EQ(end.status, 2);
    EXPECT_EQ(end.err, "quillon: there is no plug-in 'sauvola'; the nearest name is 'SegmSauvola'\n");
}
