#include "support/RunFixture.h"

#include <sys/stat.h>

#include <filesystem>
#include <fstream>
#include <thread>

// Names that no file can be read from or written to are found out before the plug-in runs, and nothing waits
// for a pipe with nothing at its other end.

namespace {

class OutputNames : public test::RunFixture {
protected:
    OutputNames() {
        if (mkfifo(fifo.c_str(), 0600) != 0)
            throw std::runtime_error("no FIFO for the test");
    }

    /// Asserts an end with one line and status 4, before the plug-in could do anything.
    void ExpectRefusedBeforeTheRun(const std::vector<std::string>& options, const std::string& part,
                                   const std::string& script = "exec timeout 60 \"$@\"") const {
        SCOPED_TRACE(testing::PrintToString(options));
        // A plug-in that runs ends with 1, and what waits for ever with 124.
        const test::StEnd end = test::QuillonInShell(script, Words("Raise", options));
        EXPECT_EQ(end.status, 4);
        ExpectOneErrorLine(end, part);
        EXPECT_EQ(end.err.find("filesystem error"), std::string::npos);
    }

    const std::string fifo = folder / "fifo.nrrd";
};

} // namespace

TEST_F(OutputNames, WorkUpToTheLongestNameOfTheFileSystem) {
    for (const std::string ending : {".nrrd", ".mha", ".mhd", ".nii", ".nii.gz", ".tif", ".tiff", ".png"}) {
        for (const std::size_t length : {240u, 250u, 255u}) {
            SCOPED_TRACE(ending + " " + std::to_string(length));
            const std::string path = folder / (std::string(length - ending.size(), 'a') + ending);
            const test::StEnd end = Run("Echo", {"-o", path});
            EXPECT_EQ(end.status, 0) << end.err;
            EXPECT_EQ(engine::ReadImage(path)->Attributes().Entry("history/0", true)->String().Std(),
                      "Echo()");
        }
    }
}

TEST_F(OutputNames, ThatAreTooLongAreRefusedBeforeTheRun) {
    const std::string stem(252, 'a');
    for (const std::string ending : {".nrrd", ".tif", ".mhd"})
        ExpectRefusedBeforeTheRun({"-o", folder / (stem + ending)}, "is too long for the file system");
    ExpectRefusedBeforeTheRun({"--report", folder / (stem + ".json")}, "is too long for the file system");
    ExpectRefusedBeforeTheRun({"--pack-log", folder / (stem + ".txt")}, "is too long for the file system");
}

TEST_F(OutputNames, ThatWouldReplaceAForeignFileAreRefusedBeforeTheRun) {
    std::ofstream(folder / "a.raw") << "somebody's";
    std::ofstream(folder / "a.tif.attributes.json") << "somebody's";
    ExpectRefusedBeforeTheRun({"-o", folder / "a.mhd"}, "which does not belong to it");
    ExpectRefusedBeforeTheRun({"-o", folder / "a.tif"}, "which does not belong to it");
}

TEST_F(OutputNames, ThatMeetInOneFileAreRefused) {
    std::filesystem::create_directory(folder / "sub");
    for (const std::vector<std::string>& options :
         {std::vector<std::string>{"-o", folder / "a.mhd", "-o", folder / "a.MHD"},
          {"-o", folder / "a.mhd", "--report", folder / "a.raw"},
          {"-o", folder / "a.tif", "--pack-log", folder / "a.tif.attributes.json"},
          {"-o", folder / "a.nrrd", "-o", folder / "sub/../a.nrrd"},
          {"-o", folder / "a.nrrd", "--file", folder / "a.nrrd"}}) {
        SCOPED_TRACE(testing::PrintToString(options));
        const test::StEnd end = Run("Echo", options);
        EXPECT_EQ(end.status, 2);
        ExpectOneErrorLine(end, "would be written twice; give each output a name of its own");
    }
}

TEST_F(OutputNames, InADeletedFolderAreRefusedBeforeTheRun) {
    const std::string deleted = "mkdir -p '" + (folder / "gone") + "'; cd '" + (folder / "gone") +
                                "'; rmdir '" + (folder / "gone") + "'; exec \"$@\"";
    for (const char* const option : {"-o", "--report", "--pack-log", "--file"})
        ExpectRefusedBeforeTheRun({option, "x.nrrd"},
                                  "cannot write 'x.nrrd': the current folder no longer exists", deleted);
    for (const std::vector<std::string>& arguments : {std::vector<std::string>{"convert", image, "x.nrrd"},
                                                      {"preview", image, "-o", "x.png"},
                                                      {"plot", image, "Sizes", "-o", "x.svg"}}) {
        const test::StEnd end = test::QuillonInShell(deleted, arguments);
        EXPECT_EQ(end.status, 4);
        ExpectOneErrorLine(end, "the current folder no longer exists");
    }
    const test::StEnd pack = test::QuillonInShell(deleted, {"list", "--pack", "x.so"});
    EXPECT_EQ(pack.status, 0);
    ExpectOneErrorLine(pack, "cannot load the pack");
    // Names that do not depend on the working folder still do.
    EXPECT_EQ(test::QuillonInShell(deleted, Words("Echo", {"-o", folder / "a.nrrd"})).status, 0);
}

TEST_F(OutputNames, ParametersFromAFolderAreRefused) {
    ExpectRefusedBeforeTheRun({"--parameters", folder / "."}, "it is a folder");
    ExpectRefusedBeforeTheRun({"--parameters", folder / "none"}, "No such file or directory");
    ExpectRefusedBeforeTheRun({"--parameters", "/dev/zero"}, "it is not a regular file");
}

TEST_F(OutputNames, PipesThatNobodyUsesAreNotWaitedFor) {
    ExpectRefusedBeforeTheRun({"--parameters", fifo}, "it is a pipe without a writer");
    ExpectRefusedBeforeTheRun({"--report", fifo}, "it is a pipe without a reader");
    ExpectRefusedBeforeTheRun({"--pack-log", fifo}, "it is a pipe without a reader");
    ExpectRefusedBeforeTheRun({"--file", fifo}, "it is a pipe without a reader");
    ExpectRefusedBeforeTheRun({"-o", fifo}, "it is not a regular file");
    ExpectRefusedBeforeTheRun({"-p", "a:image=" + fifo}, "it is not a regular file");
    const test::StEnd pack = test::Quillon({"list", "--pack", fifo});
    EXPECT_EQ(pack.status, 0);
    ExpectOneErrorLine(pack, "is not a regular file");
    for (const std::string setting : {"ExactMedialAxis malut", "ExactBisector malut", "ExactBisector bslut",
                                      "Skeleton malut", "EuclideanSkeleton bslut"}) {
        SCOPED_TRACE(setting);
        const auto blank = setting.find(' ');
        const test::StEnd end = test::Quillon(
            {"run", setting.substr(0, blank), image, "-s", setting.substr(blank + 1) + "=" + fifo});
        EXPECT_EQ(end.status, 4);
        ExpectOneErrorLine(end, "cannot read '" + fifo + "': it is not a regular file");
    }
}

TEST_F(OutputNames, PipesThatAreReadTakeTheReport) {
    std::string report;
    std::thread reader([&] { report = test::ReadText(fifo); });
    // The reader waits for a writer, or comes in time: the program is started until it finds it.
    test::StEnd end;
    do
        end = Run("Echo", {"--report", fifo});
    while (end.status == 4);
    reader.join();
    EXPECT_EQ(end.status, 0) << end.err;
    EXPECT_NE(report.find("\"plugin\": \"Echo\""), std::string::npos) << report;
}

TEST_F(OutputNames, PipesThatAreWrittenToGiveParameters) {
    std::thread writer([&] { std::ofstream(fifo) << R"({"steps": 3})"; });
    test::StEnd end;
    do
        end = Run("Echo", {"--parameters", fifo, "--pack-log", folder / "log"});
    while (end.status == 4);
    writer.join();
    EXPECT_EQ(end.status, 0) << end.err;
    EXPECT_NE(test::ReadText(folder / "log").find("steps long 3\n"), std::string::npos);
}
