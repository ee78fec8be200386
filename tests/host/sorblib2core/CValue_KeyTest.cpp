#include <sorblib2core/CValue_Key.h>

#include <gtest/gtest.h>

#include <functional>
#include <limits>

using ORVEN::CValue_Key;

TEST(CValue_Key, IsConstructedFromAPathOrAnIndex) {
    EXPECT_STREQ(CValue_Key("output/documents/add/0").ToString(), "output/documents/add/0");
    EXPECT_STREQ(CValue_Key(std::string("label")).ToString(), "label");
    EXPECT_STREQ(CValue_Key(0).ToString(), "0");
    EXPECT_STREQ(CValue_Key(12).ToString(), "12");
    EXPECT_STREQ(CValue_Key(std::numeric_limits<int>::min()).ToString(), "-2147483648");
}

TEST(CValue_Key, NullAndDefaultAreTheEmptyKey) {
    EXPECT_STREQ(CValue_Key().ToString(), "");
    EXPECT_EQ(CValue_Key(static_cast<const char*>(nullptr)), CValue_Key());
}

TEST(CValue_Key, OwnsItsText) {
    std::string path = "label";
    const CValue_Key key(path.c_str());
    path = "other";
    EXPECT_STREQ(key.ToString(), "label");
}

TEST(CValue_Key, OrdersByStdLess) {
    const std::less<CValue_Key> less;
    EXPECT_TRUE(less("a", "b"));
    EXPECT_FALSE(less("b", "a"));
    EXPECT_FALSE(less("a", "a"));
    EXPECT_TRUE(less("a", "ab"));
    EXPECT_EQ(CValue_Key("7"), CValue_Key(7));
}
