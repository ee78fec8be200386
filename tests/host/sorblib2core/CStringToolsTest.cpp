#include <sorblib2core/CStringTools.h>

#include <gtest/gtest.h>

#include <limits>

using ORVEN::CStringTools;

TEST(CStringTools, PrintfFormatsLikeTheCLibrary) {
    EXPECT_EQ(CStringTools::Printf("%s(%d, %.2f)<%u>", "name", -3, 1.5, 7U), "name(-3, 1.50)<7>");
    EXPECT_EQ(CStringTools::Printf("100%%"), "100%");
    EXPECT_EQ(CStringTools::Printf("%s", ""), "");
}

TEST(CStringTools, PrintfReturnsTextsOfAnyLength) {
    const std::string longText(100000, 'x');
    EXPECT_EQ(CStringTools::Printf("<%s>", longText.c_str()), "<" + longText + ">");
}

TEST(CStringTools, ToStringWritesTheLimitsOfEachType) {
    EXPECT_EQ(CStringTools::toString(0), "0");
    EXPECT_EQ(CStringTools::toString(std::numeric_limits<int>::min()), "-2147483648");
    EXPECT_EQ(CStringTools::toString(std::numeric_limits<unsigned>::max()), "4294967295");
    EXPECT_EQ(CStringTools::toString(std::numeric_limits<unsigned long>::max()), "18446744073709551615");
}
