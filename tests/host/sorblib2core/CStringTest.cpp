#include <sorblib2core/CString.h>

#include <gtest/gtest.h>

#include <limits>
#include <sstream>

using ORVEN::CString;

namespace {

CString Text(const char* text) { return {text, CString::ENC_UTF8}; }

std::string Shown(double number) { return Text("%1").Arg(number, 0).Std(); }

} // namespace

TEST(CString, NullIsTheEmptyText) {
    EXPECT_EQ(Text(nullptr), "");
    EXPECT_TRUE(Text("") == static_cast<const char*>(nullptr));
    EXPECT_FALSE(Text("a") == static_cast<const char*>(nullptr));
    EXPECT_EQ(Text("[%1]").Arg(static_cast<const char*>(nullptr)), "[]");
}

TEST(CString, ConvertsToItsTerminatedText) {
    const CString text = Text("größe");
    const char* terminated = text;
    EXPECT_STREQ(terminated, "größe");
    EXPECT_EQ(text.Std(), "größe");
}

TEST(CString, CopyIsIndependent) {
    const CString original = Text("%1");
    CString copy(original);
    copy.Arg("changed");
    EXPECT_EQ(original, "%1");
    EXPECT_EQ(copy, "changed");
}

TEST(CString, IsComparedByItsText) {
    EXPECT_TRUE(Text("same") == Text("same"));
    EXPECT_FALSE(Text("same") == Text("other"));
}

TEST(CString, IsWrittenToAStreamUnchanged) {
    std::ostringstream stream;
    stream << Text("a %1 b");
    EXPECT_EQ(stream.str(), "a %1 b");
}

TEST(CString, NposMeansTheWholeText) { EXPECT_EQ(CString::NPOS, std::string::npos); }

TEST(CStringArg, AcceptsEveryKindOfArgument) {
    EXPECT_EQ(Text("<%1>").Arg(Text("CString")), "<CString>");
    EXPECT_EQ(Text("<%1>").Arg("characters"), "<characters>");
    EXPECT_EQ(Text("<%1>").Arg(std::string("string")), "<string>");
    EXPECT_EQ(Text("<%1>").Arg('c'), "<c>");
    EXPECT_EQ(Text("<%1>").Arg(static_cast<short>(-3), 0), "<-3>");
    EXPECT_EQ(Text("<%1>").Arg(2147483647, 0), "<2147483647>");
    EXPECT_EQ(Text("<%1>").Arg(std::numeric_limits<long long>::min(), 0), "<-9223372036854775808>");
    EXPECT_EQ(Text("<%1>").Arg(2.5, 0), "<2.5>");
}

TEST(CStringArg, ReturnsTheTextItself) {
    CString text = Text("%1");
    EXPECT_EQ(&text.Arg("x"), &text);
}

TEST(CStringArg, FillsTheLowestNumberAtAnyPosition) {
    EXPECT_EQ(Text("%3 %1 %2").Arg("first"), "%3 first %2");
    EXPECT_EQ(Text("%3 %1 %2").Arg("1st").Arg("2nd").Arg("3rd"), "3rd 1st 2nd");
    EXPECT_EQ(Text("%7 %4").Arg("low").Arg("high"), "high low");
}

TEST(CStringArg, FillsEveryOccurrenceOfTheNumber) {
    EXPECT_EQ(Text("'%2' and '%2' of %1").Arg("name").Arg("type"), "'type' and 'type' of name");
}

TEST(CStringArg, WithoutAPlaceholderLeftChangesNothing) {
    EXPECT_EQ(Text("plain").Arg("x"), "plain");
    EXPECT_EQ(Text("%1").Arg("a").Arg("b"), "a");
    EXPECT_EQ(Text("").Arg("x"), "");
}

TEST(CStringArg, ReadsOneOrTwoDigitsAsANumber) {
    EXPECT_EQ(Text("%10 %9").Arg("nine").Arg("ten"), "ten nine");
    EXPECT_EQ(Text("%99").Arg("x"), "x");
    EXPECT_EQ(Text("%123").Arg("twelve"), "twelve3");
    EXPECT_EQ(Text("%1").Arg(1, 0), "1");
    EXPECT_EQ(Text("%0 %1").Arg("zero").Arg("one"), "zero one");
    EXPECT_EQ(Text("%01").Arg("one"), "one");
}

TEST(CStringArg, LeavesPercentSignsWithoutANumberAlone) {
    EXPECT_EQ(Text("%s: '%d' 100% %").Arg("x"), "%s: '%d' 100% %");
    EXPECT_EQ(Text("%%1%").Arg("50"), "%50%");
}

TEST(CStringArg, FillsPlaceholdersOfEarlierArguments) {
    EXPECT_EQ(Text("%1 %2").Arg("%5").Arg("b").Arg("c"), "c b");
}

TEST(CStringArg, AcceptsItselfAsArgument) {
    CString text = Text("a%1");
    EXPECT_EQ(text.Arg(text), "aa%1");
}

TEST(CStringArg, PadsNumbersOnTheLeftToTheWidth) {
    EXPECT_EQ(Text("[%1]").Arg(42, 5), "[   42]");
    EXPECT_EQ(Text("[%1]").Arg(static_cast<short>(-1), 4), "[  -1]");
    EXPECT_EQ(Text("[%1]").Arg(7LL, 2), "[ 7]");
    EXPECT_EQ(Text("[%1]").Arg(0.5, 6), "[   0.5]");
    EXPECT_EQ(Text("[%1]").Arg(12345, 2), "[12345]");
    EXPECT_EQ(Text("[%1]").Arg(1, -8), "[1]");
}

TEST(CStringArg, WritesDoublesLikePercentGWithSixDigits) {
    EXPECT_EQ(Shown(1.0), "1");
    EXPECT_EQ(Shown(0.0), "0");
    EXPECT_EQ(Shown(-0.0), "-0");
    EXPECT_EQ(Shown(0.1), "0.1");
    EXPECT_EQ(Shown(1.0 / 3.0), "0.333333");
    EXPECT_EQ(Shown(1e-4), "0.0001");
    EXPECT_EQ(Shown(1e-7), "1e-07");
    EXPECT_EQ(Shown(123456.0), "123456");
    EXPECT_EQ(Shown(1234567.0), "1.23457e+06");
    EXPECT_EQ(Shown(-2.5e300), "-2.5e+300");
    EXPECT_EQ(Shown(std::numeric_limits<double>::quiet_NaN()), "nan");
    EXPECT_EQ(Shown(-std::numeric_limits<double>::infinity()), "-inf");
}
