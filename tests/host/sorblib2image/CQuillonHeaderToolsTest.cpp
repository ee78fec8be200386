#include <sorblib2core/CExBadParam.h>
#include <sorblib2core/CString.h>
#include <sorblib2core/CValueBool.h>
#include <sorblib2core/CValueDouble.h>
#include <sorblib2core/CValueLong.h>
#include <sorblib2core/CValueMap.h>
#include <sorblib2core/CValueString.h>
#include <sorblib2core/CValueVector.h>
#include <sorblib2image/CImage.h>
#include <sorblib2image/CQuillonHeaderTools.h>

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <memory>
#include <string>
#include <vector>

using namespace ORVEN;
using Tools = CQuillonHeaderTools;

namespace {

class CQuillonHeaderToolsTest : public testing::Test {
protected:
    CValueMap& Attributes() { return m_image.Attributes(); }

    std::vector<std::string> History() {
        std::vector<std::string> lines;
        for (const CValue* line : *Attributes().Entry("history", true)->Vector())
            lines.push_back(line->String().Std());
        return lines;
    }

    void SetTriple(const char* key, CValue* x, CValue* y, CValue* z) {
        auto map = std::make_unique<CValueMap>();
        map->SetEntry("x", x);
        map->SetEntry("y", y);
        map->SetEntry("z", z);
        Attributes().SetEntry(key, map.release());
    }

    /// Expects that there is no spacing and that the arguments stay unchanged.
    void ExpectNoSpacing() {
        double x = 7;
        double y = 8;
        double z = 9;
        EXPECT_FALSE(Tools::GetSpacing(m_image, x, y, z));
        EXPECT_EQ(x, 7);
        EXPECT_EQ(y, 8);
        EXPECT_EQ(z, 9);
    }

    void ExpectNoOffset() {
        unsigned long x = 7;
        unsigned long y = 8;
        unsigned long z = 9;
        EXPECT_FALSE(Tools::GetOffset(m_image, x, y, z));
        EXPECT_EQ(x, 7U);
        EXPECT_EQ(y, 8U);
        EXPECT_EQ(z, 9U);
    }

    void ExpectNoNumberOfLabels() {
        std::size_t count = 7;
        EXPECT_FALSE(Tools::GetNumberOfLabels(m_image, count));
        EXPECT_EQ(count, 7U);
    }

    void ExpectNoMaxDistance() {
        double distance = 7;
        EXPECT_FALSE(Tools::GetMaxDistance(m_image, distance));
        EXPECT_EQ(distance, 7);
    }

    void ExpectNoMetaInfo(const char* key) {
        CValueLong out(7);
        EXPECT_FALSE(Tools::GetMetaInfo(m_image, key, out));
        EXPECT_EQ(out.Long(), 7);
    }

    CImage m_image{IMAGE_GREY_8, CSize(2, 2), CSize(0, 0)};
};

CValue* Long(int number) { return new CValueLong(number); }

CValue* Double(double number) { return new CValueDouble(number); }

CValue* String(const char* text) { return new CValueString(text, CString::NPOS); }

} // namespace

TEST_F(CQuillonHeaderToolsTest, NoAttributesExistAtFirst) {
    ExpectNoSpacing();
    ExpectNoOffset();
    ExpectNoNumberOfLabels();
    ExpectNoMaxDistance();
    ExpectNoMetaInfo("key");
    EXPECT_TRUE(Attributes().IsEmpty());
}

TEST_F(CQuillonHeaderToolsTest, TheMeaningOfPixelsIsRemovedAndTheRestStays) {
    Tools::SetNumberOfLabels(m_image, 3);
    Tools::SetMaxDistance(m_image, 2.5);
    Tools::SetSpacing(m_image, 1.0, 2.0, 3.0);
    for (int times = 0; times < 2; ++times) {
        Tools::RemoveMeaningOfPixels(m_image);
        ExpectNoNumberOfLabels();
        ExpectNoMaxDistance();
        EXPECT_EQ(Attributes().Size(), 1U);
    }
}

TEST_F(CQuillonHeaderToolsTest, AttributesOfAnotherFormCountAsMissing) {
    const std::vector<const char*> keys = {"spacing", "offset", "number of labels", "max distance", "meta"};
    const std::vector<CValue*> forms = {String("1"), new CValueBool(true), new CValueMap, new CValueVector,
                                        new CValuePointer<CImage>(&m_image, 1)};
    for (CValue* form : forms) {
        const std::unique_ptr<CValue> value(form);
        for (const char* key : keys)
            Attributes().SetEntry(key, value->Clone(CValue::TF_NONE));
        SCOPED_TRACE(value->Type().name());
        ExpectNoSpacing();
        ExpectNoOffset();
        ExpectNoNumberOfLabels();
        ExpectNoMaxDistance();
        ExpectNoMetaInfo("key");
    }
}

TEST_F(CQuillonHeaderToolsTest, SpacingIsReadAsItWasSet) {
    Tools::SetSpacing(m_image, 0.1, 2e-6, 3);
    double x = 0;
    double y = 0;
    double z = 0;
    EXPECT_TRUE(Tools::GetSpacing(m_image, x, y, z));
    EXPECT_EQ(x, 0.1);
    EXPECT_EQ(y, 2e-6);
    EXPECT_EQ(z, 3);
    Tools::SetSpacing(m_image, 4, 5, 6);
    EXPECT_TRUE(Tools::GetSpacing(m_image, x, y, Tools::g_dSpacingDummy));
    EXPECT_EQ(x, 4);
    EXPECT_EQ(y, 5);
    EXPECT_EQ(Tools::g_dSpacingDummy, 6);
}

TEST_F(CQuillonHeaderToolsTest, SpacingIsStoredAsAMapOfXYZ) {
    Tools::SetSpacing(m_image, 1.5, 2.5, 3.5);
    EXPECT_EQ(std::as_const(*Attributes().Entry("spacing/x", true)).Double(), 1.5);
    EXPECT_EQ(std::as_const(*Attributes().Entry("spacing/z", true)).Double(), 3.5);
}

TEST_F(CQuillonHeaderToolsTest, SpacingOfWholeNumbersIsRead) {
    SetTriple("spacing", Long(1), Double(2.5), Long(3));
    double x = 0;
    double y = 0;
    double z = 0;
    EXPECT_TRUE(Tools::GetSpacing(m_image, x, y, z));
    EXPECT_EQ(x, 1);
    EXPECT_EQ(y, 2.5);
    EXPECT_EQ(z, 3);
}

TEST_F(CQuillonHeaderToolsTest, IncompleteOrMistypedSpacingCountsAsMissing) {
    SetTriple("spacing", Double(1), Double(2), String("3"));
    ExpectNoSpacing();
    SetTriple("spacing", Double(1), nullptr, Double(3));
    ExpectNoSpacing();
}

TEST_F(CQuillonHeaderToolsTest, HistoryKeepsItsLinesInOrder) {
    Tools::AddToHistory(m_image, "first", 0);
    Tools::AddToHistory(m_image, CValueString("second", CString::NPOS));
    Tools::AddToHistory(m_image, "third", 2);
    Tools::AddToHistory(m_image, "", 0);
    EXPECT_EQ(History(), (std::vector<std::string>{"first", "second", "third", ""}));
}

TEST_F(CQuillonHeaderToolsTest, HistoryOfAnotherKindIsReplaced) {
    Attributes().SetEntry("history", String("no vector"));
    Tools::AddToHistory(m_image, "first", 0);
    EXPECT_EQ(History(), std::vector<std::string>{"first"});
}

TEST_F(CQuillonHeaderToolsTest, HistoryAcceptsOneOfItsOwnLines) {
    Tools::AddToHistory(m_image, "first", 0);
    const auto& line = static_cast<const CValueString&>(*Attributes().Entry("history/0", true));
    Tools::AddToHistory(m_image, line);
    EXPECT_EQ(History(), (std::vector<std::string>{"first", "first"}));
}

TEST_F(CQuillonHeaderToolsTest, SetAttributesReplacesAllAttributes) {
    CImage source(IMAGE_GREY_F, CSize(1, 1), CSize(0, 0));
    Tools::SetSpacing(source, 1, 2, 3);
    Tools::AddToHistory(source, "step", 0);
    Tools::SetMaxDistance(m_image, 4);
    Tools::AddToHistory(m_image, "forgotten", 0);
    Tools::SetAttributes(m_image, source.Attributes());
    EXPECT_TRUE(Attributes().Equal(source.Attributes()));
    Tools::AddToHistory(m_image, "next", 0);
    EXPECT_EQ(source.Attributes().Entry("history", true)->Vector()->Size(), 1U);
}

TEST_F(CQuillonHeaderToolsTest, SetAttributesCopiesOwnedPointersAsPlainOnesAndLeavesThemWithTheirOwner) {
    CImage source(IMAGE_GREY_F, CSize(1, 1), CSize(0, 0));
    const auto owned = [] {
        return new CValueOwnedPointer<CImage>(new CImage(IMAGE_GREY_8, CSize(1, 1), CSize(0, 0)), 1);
    };
    const std::vector<std::string> keys{"mask", "features/mask", "list/1"};
    for (const std::string& key : keys)
        source.Attributes().SetEntry(key.c_str(), owned());
    source.Attributes().SetEntry("unit", String("mm"));
    source.Attributes().Entry("unit", true)->Meta().SetEntry("mask", owned());
    Tools::SetAttributes(m_image, source.Attributes());
    const auto expectPlainCopy = [](const CValue& original, const CValue& copy) {
        EXPECT_EQ(copy.VoidPointer(), original.VoidPointer());
        EXPECT_TRUE(original.Pointer()->IsOwner());
        EXPECT_FALSE(copy.Pointer()->IsOwner());
    };
    for (const std::string& key : keys) {
        SCOPED_TRACE(key);
        expectPlainCopy(*source.Attributes().Entry(key.c_str(), true),
                        *Attributes().Entry(key.c_str(), true));
    }
    EXPECT_EQ(Attributes().EntryString("unit"), "mm");
    expectPlainCopy(*source.Attributes().Entry("unit", true)->Meta().Entry("mask", true),
                    *Attributes().Entry("unit", true)->Meta().Entry("mask", true));
}

TEST_F(CQuillonHeaderToolsTest, SetAttributesFromTheImagesOwnAttributesChangesNothing) {
    Tools::SetSpacing(m_image, 1, 2, 3);
    const CValueMap before(Attributes());
    Tools::SetAttributes(m_image, Attributes());
    EXPECT_TRUE(Attributes().Equal(before));
}

TEST_F(CQuillonHeaderToolsTest, SetAttributesFromAPartOfTheImagesOwnAttributesIsSafe) {
    Tools::SetMetaInfo(m_image, "key", CValueLong(5));
    Tools::SetAttributes(m_image, *Attributes().Entry("meta", true)->Map());
    EXPECT_EQ(Attributes().Size(), 1U);
    EXPECT_EQ(Attributes().Entry("key", true)->Long(), 5);
}

TEST_F(CQuillonHeaderToolsTest, MetaInfoOfEveryKindIsReadAsItWasSet) {
    Tools::SetMetaInfo(m_image, "bool", CValueBool(true));
    Tools::SetMetaInfo(m_image, "long", CValueLong(-5));
    Tools::SetMetaInfo(m_image, "double", CValueDouble(0.5));
    Tools::SetMetaInfo(m_image, "string", CValueString("text", CString::NPOS));
    Tools::SetMetaInfo(m_image, "pointer", CValuePointer<CImage>(&m_image, 1));
    CValueBool truth(false);
    CValueLong integer(0);
    CValueDouble number(0);
    CValueString text("", 0);
    CValuePointer<CImage> pointer(nullptr, 0);
    EXPECT_TRUE(Tools::GetMetaInfo(m_image, "bool", truth));
    EXPECT_TRUE(Tools::GetMetaInfo(m_image, "long", integer));
    EXPECT_TRUE(Tools::GetMetaInfo(m_image, "double", number));
    EXPECT_TRUE(Tools::GetMetaInfo(m_image, "string", text));
    EXPECT_TRUE(Tools::GetMetaInfo(m_image, "pointer", pointer));
    EXPECT_TRUE(truth.Bool());
    EXPECT_EQ(integer.Long(), -5);
    EXPECT_EQ(number.Double(), 0.5);
    EXPECT_EQ(text.String(), "text");
    EXPECT_EQ(pointer.Void(), &m_image);
}

TEST_F(CQuillonHeaderToolsTest, MetaInfoHoldsMinimumAndMaximumAsAVectorOfTwo) {
    Tools::SetMetaInfo(m_image, Tools::c_sMetaMinMax.c_str(), CValueVector(Double(-1.5), Double(8)));
    CValueVector out;
    EXPECT_TRUE(Tools::GetMetaInfo(m_image, Tools::c_sMetaMinMax.c_str(), out));
    EXPECT_EQ(out.Size(), 2U);
    EXPECT_EQ(out[0]->Double(), -1.5);
    EXPECT_EQ(out[1]->Double(), 8);
    EXPECT_TRUE(Attributes().HasEntry("meta/" + Tools::c_sMetaMinMax, CValue::VAL_VECTOR));
}

TEST_F(CQuillonHeaderToolsTest, MetaInfoOfAnotherKindIsNotReturned) {
    Tools::SetMetaInfo(m_image, "key", CValueDouble(1));
    ExpectNoMetaInfo("key");
    CValueMap map;
    Tools::SetMetaInfo(m_image, "key", CValuePointer<CValueMap>(&map, 1));
    CValuePointer<CImage> out(&m_image, 1);
    EXPECT_FALSE(Tools::GetMetaInfo(m_image, "key", out));
    EXPECT_EQ(out.Void(), &m_image);
}

TEST_F(CQuillonHeaderToolsTest, MetaInfoIsReplacedUnderItsKeyOnly) {
    Tools::SetMetaInfo(m_image, "key", CValueLong(1));
    Tools::SetMetaInfo(m_image, "other", CValueLong(2));
    Tools::SetMetaInfo(m_image, "key", CValueLong(3));
    EXPECT_EQ(Attributes().Entry("meta/key", true)->Long(), 3);
    EXPECT_EQ(Attributes().Entry("meta/other", true)->Long(), 2);
}

TEST_F(CQuillonHeaderToolsTest, MetaInfoAndFeaturesReplaceAValueThatIsNotAMap) {
    for (const auto& [key, set] : {std::pair{"meta", &Tools::SetMetaInfo},
                                   std::pair{Tools::c_sTagFeatures.c_str(), &Tools::SetFeatures}}) {
        Attributes().SetEntry(key, Long(4));
        set(m_image, "key", *Attributes().Entry(key, true)); // the value that is replaced
        EXPECT_EQ(Attributes().Entry(key, true)->Map()->Entry("key", true)->Long(), 4) << key;
    }
}

TEST_F(CQuillonHeaderToolsTest, MetaInfoAndFeaturesRefuseOwningPointers) {
    const CValueOwnedPointer<CValueMap> owner(new CValueMap, 1);
    EXPECT_THROW(Tools::SetMetaInfo(m_image, "key", owner), CExBadParam);
    EXPECT_THROW(Tools::SetFeatures(m_image, "key", owner), CExBadParam);
    EXPECT_TRUE(owner.IsOwner());
    EXPECT_TRUE(Attributes().IsEmpty());
}

TEST_F(CQuillonHeaderToolsTest, FeaturesAreStoredBelowTheFeaturesTag) {
    CValueMap histogram;
    histogram.SetEntry("1.5", Long(3));
    Tools::SetFeatures(m_image, "Granulometry", histogram);
    Tools::SetFeatures(m_image, "Other", CValueLong(1));
    const CValueMap* features = Attributes().Entry(Tools::c_sTagFeatures, true)->Map();
    EXPECT_TRUE(features->Entry("Granulometry", true)->Equal(histogram));
    EXPECT_EQ(features->Size(), 2U);
}

TEST_F(CQuillonHeaderToolsTest, MaxDistanceIsReadAsItWasSet) {
    Tools::SetMaxDistance(m_image, 12.25);
    double distance = 0;
    EXPECT_TRUE(Tools::GetMaxDistance(m_image, distance));
    EXPECT_EQ(distance, 12.25);
    Attributes().SetEntry("max distance", Long(3));
    EXPECT_TRUE(Tools::GetMaxDistance(m_image, distance));
    EXPECT_EQ(distance, 3);
}

TEST_F(CQuillonHeaderToolsTest, NumberOfLabelsIsReadAsItWasSetAbove31BitsToo) {
    for (const std::size_t expected :
         {std::size_t{0}, std::size_t{1}, (std::size_t{1} << 31) - 1, std::size_t{1} << 31,
          (std::size_t{1} << 32) - 3, (std::size_t{1} << 40) + 1, std::size_t{1} << 53}) {
        Tools::SetNumberOfLabels(m_image, expected);
        std::size_t count = 7;
        EXPECT_TRUE(Tools::GetNumberOfLabels(m_image, count));
        EXPECT_EQ(count, expected);
    }
}

TEST_F(CQuillonHeaderToolsTest, NumberOfLabelsThatIsNotACountIsNotReturned) {
    Attributes().SetEntry("number of labels", Long(-1));
    ExpectNoNumberOfLabels();
    for (const double number : {-1.0, 2.5, 1e300, std::nan(""), std::numeric_limits<double>::infinity()}) {
        SCOPED_TRACE(number);
        Attributes().SetEntry("number of labels", Double(number));
        ExpectNoNumberOfLabels();
    }
}

TEST_F(CQuillonHeaderToolsTest, OffsetIsReadFromIntegersAndWholeDoubles) {
    SetTriple("offset", Long(10), Double(20), Double(4294967296.0));
    unsigned long x = 0;
    unsigned long y = 0;
    unsigned long z = 0;
    EXPECT_TRUE(Tools::GetOffset(m_image, x, y, z));
    EXPECT_EQ(x, 10U);
    EXPECT_EQ(y, 20U);
    EXPECT_EQ(z, 4294967296U);
}

TEST_F(CQuillonHeaderToolsTest, OffsetThatIsNotAPixelPositionIsNotReturned) {
    SetTriple("offset", Long(-1), Long(0), Long(0));
    ExpectNoOffset();
    SetTriple("offset", Long(0), Double(0.5), Long(0));
    ExpectNoOffset();
    SetTriple("offset", Long(0), Long(0), nullptr);
    ExpectNoOffset();
}
