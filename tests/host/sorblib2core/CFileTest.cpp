#include <sorblib2core/CFile.h>

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <string>

#include <unistd.h>

using ORVEN::CFile;

TEST(CFile, ExistsFromCreationToRemoval) {
    const std::string path = testing::TempDir() + "CFileTest" + std::to_string(getpid());
    std::filesystem::remove(path);
    EXPECT_FALSE(CFile::Exists(path.c_str()));
    std::ofstream(path) << "x";
    EXPECT_TRUE(CFile::Exists(path.c_str()));
    EXPECT_FALSE(CFile::Exists((path + "/below a file").c_str()));
    std::filesystem::remove(path);
    EXPECT_FALSE(CFile::Exists(path.c_str()));
}

TEST(CFile, ADirectoryIsNotAFile) {
    EXPECT_FALSE(CFile::Exists(testing::TempDir().c_str()));
    EXPECT_FALSE(CFile::Exists("."));
    EXPECT_TRUE(CFile::Exists("/dev/null")) << "other kinds of files are files";
}

TEST(CFile, PathsThatCannotBeExaminedDoNotExist) {
    EXPECT_FALSE(CFile::Exists(nullptr));
    EXPECT_FALSE(CFile::Exists(""));
    EXPECT_FALSE(CFile::Exists(std::string(100000, 'x').c_str()));
}
