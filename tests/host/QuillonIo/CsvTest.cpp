#include "support/CRandomSeeds.h"

#include <QuillonIo/CCsvHeader.h>
#include <QuillonIo/CCsvOStream.h>
#include <QuillonIo/CCsvOStreamColumnTable.h>
#include <QuillonIo/CCsvOStreamValueMapLineariser.h>
#include <sorblib2core/CValueBool.h>
#include <sorblib2core/CValueDouble.h>
#include <sorblib2core/CValueLong.h>
#include <sorblib2core/CValueMap.h>
#include <sorblib2core/CValuePointer.h>
#include <sorblib2core/CValueString.h>
#include <sorblib2core/CValueVector.h>
#include <sorblib2image/CImage.h>
#include <sorblib2image/CQuillonHeaderTools.h>

#include <gtest/gtest.h>

#include <charconv>
#include <clocale>
#include <cstdint>
#include <cstring>
#include <limits>
#include <locale>
#include <random>
#include <sstream>
#include <string>
#include <vector>

namespace {

using namespace ORVEN;

CValueString* NewText(const std::string& text) { return new CValueString(text.c_str(), text.size()); }

std::string Written(const CValue& value, char separator = ';', char quote = '"') {
    std::ostringstream stream;
    CCsvOStream(stream, separator, quote) << value;
    return stream.str();
}

std::string Written(double number) { return Written(CValueDouble(number)); }

/// Reads one row of RFC 4180 fields from the start of `text`.
std::vector<std::string> ReadRow(const std::string& text, char separator, char quote) {
    std::vector<std::string> fields(1);
    bool isQuoted = false;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (isQuoted && text[i] == quote && i + 1 < text.size() && text[i + 1] == quote)
            fields.back() += text[i++];
        else if (text[i] == quote)
            isQuoted = !isQuoted;
        else if (!isQuoted && text[i] == separator)
            fields.emplace_back();
        else if (!isQuoted && text[i] == '\n')
            break;
        else
            fields.back() += text[i];
    }
    return fields;
}

TEST(CCsvOStream, WritesDoublesInTheShortestFormThatReadsBack) {
    EXPECT_EQ(Written(0.1), "0.1");
    EXPECT_EQ(Written(1e300), "1e+300");
    EXPECT_EQ(Written(5e-324), "5e-324");
    EXPECT_EQ(Written(100000.0), "100000");
    EXPECT_EQ(Written(1.5), "1.5");
    EXPECT_EQ(Written(-0.0), "0");
    EXPECT_EQ(Written(-3.0), "-3");
    EXPECT_EQ(Written(9007199254740991.0), "9007199254740991");
    EXPECT_EQ(Written(std::numeric_limits<double>::infinity()), "inf");
    EXPECT_EQ(Written(-std::numeric_limits<double>::infinity()), "-inf");
    EXPECT_EQ(Written(std::numeric_limits<double>::quiet_NaN()), "nan");
    EXPECT_EQ(Written(-std::numeric_limits<double>::quiet_NaN()), "nan");
}

TEST(CCsvOStream, DoublesOfAnyBitsReadBack) {
    std::mt19937_64 random(20);
    for (int i = 0; i < 20000; ++i) {
        const std::uint64_t bits = random();
        double number = 0.0;
        std::memcpy(&number, &bits, sizeof number);
        if (number != number)
            continue;
        const std::string text = Written(number);
        double back = 0.0;
        std::from_chars(text.data(), text.data() + text.size(), back);
        EXPECT_EQ(back, number) << text;
    }
}

/// A locale with a decimal comma and dots between thousands, independent of the installed locales.
struct StCommaLocale : std::numpunct<char> {
    [[nodiscard]] char do_decimal_point() const override { return ','; }
    [[nodiscard]] char do_thousands_sep() const override { return '.'; }
    [[nodiscard]] std::string do_grouping() const override { return "\3"; }
};

TEST(CCsvOStream, NumbersDoNotFollowTheLocale) {
    const std::locale before = std::locale::global(std::locale(std::locale::classic(), new StCommaLocale));
    CValueVector values;
    values.PushBack(new CValueDouble(1234567.5));
    values.PushBack(new CValueLong(1234567));
    const std::string text = Written(values);
    std::locale::global(before);
    EXPECT_EQ(text, "1234567.5;1234567");
}

TEST(CCsvOStream, QuotesTextsAndDoublesTheQuotesInThem) {
    EXPECT_EQ(Written(CValueString("a \"b\" c", CString::NPOS)), "\"a \"\"b\"\" c\"");
    EXPECT_EQ(Written(CValueString("", CString::NPOS)), "\"\"");
    EXPECT_EQ(Written(CValueString("a;b\nc", CString::NPOS)), "\"a;b\nc\"");
    EXPECT_EQ(Written(CValueString("it's", CString::NPOS), ',', '\''), "'it''s'");
}

TEST(CCsvOStream, WritesOtherKindsOfValues) {
    EXPECT_EQ(Written(CValueLong(-12)), "-12");
    EXPECT_EQ(Written(CValueBool(true)), "true");
    EXPECT_EQ(Written(CValueBool(false)), "false");
    CValueVector values;
    values.PushBack(new CValueLong(1));
    values.PushBack(new CValuePointer<CValueMap>(nullptr, 1));
    values.PushBack(nullptr);
    values.PushBack(new CValueLong(2));
    EXPECT_EQ(Written(values), "1;;;2") << "pointers and empty places are empty fields";
}

TEST(CCsvOStream, ContainersAreWrittenAsTheirLeaves) {
    CValueMap map;
    map.SetEntry("b", new CValueLong(3));
    map.SetEntry("a/y", new CValueLong(1));
    map.SetEntry("a/x/0", NewText("q"));
    map.SetEntry("a/x/1", new CValueBool(true));
    map.SetEntry("empty", new CValueMap);
    EXPECT_EQ(Written(map), "\"q\";true;1;3");
    EXPECT_EQ(Written(CValueMap()), "");
}

TEST(CCsvOStream, WritesSeparatorsOnlyBetweenFieldsOfALine) {
    std::ostringstream stream;
    CCsvOStream fields(stream, ';', '"');
    stream << "\"key\";";
    fields << CValueLong(1) << CValueMap() << CValueLong(2) << std::endl;
    fields << CValueLong(3) << std::endl;
    EXPECT_EQ(stream.str(), "\"key\";1;2\n3\n");
}

TEST(CCsvOStream, AnyTextsReadBack) {
    const std::string alphabet = "a;\"\n, 'x\xc3\xa4";
    for (const unsigned seed : test::CRandomSeeds(0, 500)) {
        std::mt19937 random(seed);
        CValueVector row;
        std::vector<std::string> texts;
        for (unsigned field = 0; field < 1 + random() % 5; ++field) {
            std::string text;
            for (unsigned i = random() % 8; i > 0; --i)
                text += alphabet[random() % alphabet.size()];
            texts.push_back(text);
            row.PushBack(NewText(text));
        }
        EXPECT_EQ(ReadRow(Written(row), ';', '"'), texts);
        EXPECT_EQ(ReadRow(Written(row, ',', '\''), ',', '\''), texts);
    }
}

TEST(CCsvOStreamValueMapLineariser, WritesThePathsOfTheLeavesInTheOrderOfTheRows) {
    CValueMap map;
    map.SetEntry("b", new CValueLong(2));
    map.SetEntry("a/y", new CValueLong(1));
    map.SetEntry("a/x", NewText("q"));
    std::ostringstream stream;
    const CCsvOStreamValueMapLineariser titles(map, stream, "ID", ';', '"');
    EXPECT_EQ(stream.str(), "\"ID\";\"a/x\";\"a/y\";\"b\"\n");
    EXPECT_EQ(Written(map), "\"q\";1;2");
}

TEST(CCsvOStreamValueMapLineariser, OmitsTheLeafNamedByTheFirstTitle) {
    CValueMap map;
    map.SetEntry("ID", NewText("field"));
    map.SetEntry("a/ID", new CValueLong(1));
    std::ostringstream stream;
    const CCsvOStreamValueMapLineariser titles(map, stream, "ID", ';', '"');
    EXPECT_EQ(stream.str(), "\"ID\";\"a/ID\"\n");
}

TEST(CCsvOStreamValueMapLineariser, WritesOnlyTheFirstTitleForAnEmptyMap) {
    std::ostringstream stream;
    { const CCsvOStreamValueMapLineariser titles(CValueMap(), stream, "ID", ';', '"'); }
    EXPECT_EQ(stream.str(), "\"ID\"\n");
}

TEST(CCsvOStreamColumnTable, WritesOneLinePerEntryAndNoFinalLineEnd) {
    CValueMap map;
    map.SetEntry("2.000000e+00", new CValueDouble(7.0));
    map.SetEntry("4.000000e+00", new CValueDouble(0.5));
    std::ostringstream stream;
    CCsvOStreamColumnTable table(stream, ';', '"');
    table << CCsvOStreamColumnTable::BindValueMap{&map, "diameter", "count", true, true};
    EXPECT_EQ(stream.str(), "\"diameter\";\"count\"\n2.000000e+00;7\n4.000000e+00;0.5");
    table << std::endl;
    EXPECT_EQ(stream.str().back(), '\n');
}

TEST(CCsvOStreamColumnTable, KeysAreQuotedUnlessPlainNumbersAreAllowed) {
    CValueMap map;
    map.SetEntry("12", new CValueLong(1));
    map.SetEntry("12 mm", new CValueLong(2));
    map.SetEntry("map", new CValueMap);
    std::ostringstream plain;
    CCsvOStreamColumnTable(plain, ';', '"')
        << CCsvOStreamColumnTable::BindValueMap{&map, "key", "value", false, true};
    EXPECT_EQ(plain.str(), "12;1\n\"12 mm\";2") << "entries that are containers are left out";
    std::ostringstream quoted;
    CCsvOStreamColumnTable(quoted, ';', '"')
        << CCsvOStreamColumnTable::BindValueMap{&map, "key", "value", false, false};
    EXPECT_EQ(quoted.str(), "\"12\";1\n\"12 mm\";2");
}

TEST(CCsvOStreamColumnTable, WritesOnlyTheTitlesForANullMap) {
    std::ostringstream stream;
    CCsvOStreamColumnTable(stream, ';', '"')
        << CCsvOStreamColumnTable::BindValueMap{nullptr, "key", "value", true, true};
    EXPECT_EQ(stream.str(), "\"key\";\"value\"");
}

TEST(CCsvHeader, WritesItsLinesOnceWhenFinished) {
    CImage image(IMAGE_GREY_8, CSize(4, 3, 2), CSize(0, 0, 0));
    CQuillonHeaderTools::SetSpacing(image, 0.5, 0.5, 2.0);
    CValueMap measurement;
    measurement.SetEntry("stepwidth", new CValueDouble(0.25));
    measurement.SetEntry("data/1", new CValueLong(9));
    CQuillonHeaderTools::SetFeatures(image, "Sizes", measurement);
    CValueMap parameters;
    parameters.SetEntry("filename", NewText("a\n\"b\".csv"));

    std::ostringstream stream;
    CCsvHeader header(stream, ';', '"');
    header.AddVersionInformation();
    header.AddImageAttributes(image);
    header.AddMap("parameters", parameters);
    EXPECT_EQ(stream.str(), "") << "nothing stands there before the end";
    header.Finish();
    const std::string text = stream.str();
    EXPECT_EQ(text, "# \"software\";\"Quillon\"\n"
                    "# \"version\";\"version 1.0.0\"\n"
                    "# \"image\"\n"
                    "# \"type\";\"IMAGE_GREY_8\"\n"
                    "# \"size x\";4\n"
                    "# \"size y\";3\n"
                    "# \"size z\";2\n"
                    "# \"features/Sizes/stepwidth\";0.25\n"
                    "# \"spacing/x\";0.5\n"
                    "# \"spacing/y\";0.5\n"
                    "# \"spacing/z\";2\n"
                    "# \"parameters\"\n"
                    "# \"filename\";\"a\\n\"\"b\"\".csv\"\n");
    header.Finish();
    EXPECT_EQ(stream.str(), text);
}

} // namespace
