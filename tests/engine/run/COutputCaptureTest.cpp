#include "engine/run/COutputCapture.h"

#include <gtest/gtest.h>

#include <unistd.h>

#include <cstdio>
#include <iostream>

using namespace engine;

TEST(OutputCapture, KeepsBothStreamsOfAllLanguagesApart) {
    COutputCapture capture;
    std::cout << "C++ ";
    std::cout.flush();
    std::printf("C ");
    std::fflush(stdout);
    EXPECT_EQ(write(STDOUT_FILENO, "system", 6), 6);
    std::cerr << "error";
    capture.Stop();
    EXPECT_EQ(capture.StandardOutput(), "C++ C system");
    EXPECT_EQ(capture.StandardError(), "error");
}

TEST(OutputCapture, KeepsWhatStillWaitsInBuffers) {
    COutputCapture capture;
    std::cout << "unflushed";
    std::printf(" text");
    capture.Stop();
    EXPECT_EQ(capture.StandardOutput(), "unflushed text");
}

TEST(OutputCapture, LeavesWhatWasWrittenBeforeAndAfterAlone) {
    COutputCapture outer;
    std::cout << "before ";
    {
        COutputCapture inner;
        std::cout << "inside";
        inner.Stop();
        EXPECT_EQ(inner.StandardOutput(), "inside");
    }
    std::cout << "after";
    outer.Stop();
    EXPECT_EQ(outer.StandardOutput(), "before after");
}

TEST(OutputCapture, LeadsToTheRealStandardErrorMeanwhile) {
    COutputCapture outer;
    {
        const COutputCapture inner;
        EXPECT_EQ(write(inner.RealStandardError(), "bar", 3), 3);
    }
    outer.Stop();
    EXPECT_EQ(outer.StandardError(), "bar");
}

TEST(OutputCapture, KeepsAMegabyteWithZeroBytes) {
    COutputCapture capture;
    const std::string line(1024, '\0');
    for (int i = 0; i < 1024; ++i)
        std::cout << line;
    capture.Stop();
    EXPECT_EQ(capture.StandardOutput(), std::string(1024 * 1024, '\0'));
}
