#include <QuillonUtils/ObjectBasedFeatures.h>

#include "support/Raised.h"
#include "support/TestImage.h"

#include <sorblib2core/CException.h>
#include <sorblib2core/CValueBool.h>
#include <sorblib2core/CValueDouble.h>
#include <sorblib2core/CValueLong.h>
#include <sorblib2core/CValueString.h>
#include <sorblib2core/CValueVector.h>
#include <sorblib2image/CQuillonHeaderTools.h>

#include <gtest/gtest.h>

#include <limits>
#include <string>
#include <vector>

namespace {

using namespace ORVEN;

CValueString* NewText(const char* text) { return new CValueString(text, CString::NPOS); }

/// Adds an object with a label and a volume.
void AddObject(CValueMap& map, const std::string& key, const char* label, double volume) {
    map.SetEntry(key + "/object", NewText(label));
    map.SetEntry(key + "/volume", new CValueDouble(volume));
}

std::vector<float> Convert(const CValueMap& map, CImage& out, const std::vector<std::string>& names = {},
                           const char* kind = "object") {
    ConvertObjectBasedFeaturesIntoFeatureImage("Measured", map, kind, out, names);
    return test::PixelsOf<float>(out);
}

class FeatureImage : public testing::Test {
protected:
    CImage m_out{IMAGE_GREY_F, CSize(3, 3), CSize(0, 0, 0)};
};

TEST(IsObjectBasedFeaturesMap, RequiresAnEntryOfTheKindAndAnIndexInAllOfThem) {
    CValueMap map;
    EXPECT_FALSE(IsObjectBasedFeaturesMap(map, "object"));
    map.SetEntry("stepwidth", new CValueDouble(1.0));
    map.SetEntry("data/1", new CValueLong(1));
    EXPECT_FALSE(IsObjectBasedFeaturesMap(map, "object")) << "other entries are none of the kind";
    AddObject(map, "object 001", "1", 5.0);
    EXPECT_TRUE(IsObjectBasedFeaturesMap(map, "object"));
    EXPECT_FALSE(IsObjectBasedFeaturesMap(map, "grayvalue"));
    map.SetEntry("object 002/volume", new CValueDouble(2.0));
    EXPECT_FALSE(IsObjectBasedFeaturesMap(map, "object")) << "one without index";
    map.SetEntry("object 002/label", new CValueLong(2));
    EXPECT_TRUE(IsObjectBasedFeaturesMap(map, "object"));
}

TEST(IsObjectBasedFeaturesMap, AcceptsDigitsOrNonNegativeNumbersAsAnIndex) {
    const auto isIndex = [](CValue* index) {
        CValueMap map;
        map.SetEntry("object 001/object", index);
        return IsObjectBasedFeaturesMap(map, "object");
    };
    EXPECT_TRUE(isIndex(NewText("12")));
    EXPECT_TRUE(isIndex(NewText("007")));
    EXPECT_TRUE(isIndex(new CValueLong(0)));
    EXPECT_FALSE(isIndex(new CValueLong(-1)));
    EXPECT_FALSE(isIndex(new CValueDouble(1.0)));
    for (const char* text : {"", "-1", "+1", "1.5", "1 ", " 1", "one", "99999999999999999999"})
        EXPECT_FALSE(isIndex(NewText(text))) << "'" << text << "'";
}

TEST_F(FeatureImage, HasAColumnForEachIndexAndARowForEachFeature) {
    CValueMap map;
    AddObject(map, "object 001", "1", 5.0);
    AddObject(map, "object 003", "3", 7.0);
    EXPECT_EQ(Convert(map, m_out), (std::vector<float>{0, 5, 0, 7}));
    EXPECT_EQ(m_out.Size(), CSize(4, 1));
    EXPECT_EQ(m_out.Type(), IMAGE_GREY_F);
}

TEST_F(FeatureImage, EndsAtTheMaximumLabel) {
    CValueMap map;
    AddObject(map, "object 001", "1", 5.0);
    AddObject(map, "object 003", "3", 7.0);
    map.SetEntry("maximum label", new CValueLong(1));
    EXPECT_EQ(Convert(map, m_out), (std::vector<float>{0, 5}));
    map.SetEntry("maximum label", new CValueLong(4));
    EXPECT_EQ(Convert(map, m_out), (std::vector<float>{0, 5, 0, 7, 0}));
    for (CValue* none : std::vector<CValue*>{new CValueLong(-1), new CValueDouble(1.0)}) {
        map.SetEntry("maximum label", none);
        EXPECT_EQ(m_out.Size().y, 1);
        EXPECT_EQ(Convert(map, m_out).size(), 4U);
    }
}

TEST_F(FeatureImage, PlacesByIndexAndNotByKey) {
    CValueMap map;
    AddObject(map, "object 010", "10", 1.0);
    AddObject(map, "object 9", "9", 2.0);
    const auto pixels = Convert(map, m_out);
    EXPECT_EQ(pixels[10], 1.0F);
    EXPECT_EQ(pixels[9], 2.0F);
    AddObject(map, "object a", "9", 3.0); // the later key
    EXPECT_EQ(Convert(map, m_out)[9], 3.0F);
}

TEST_F(FeatureImage, HasAllNumbersOfAnyEntryInTheOrderOfTheirPaths) {
    CValueMap map;
    AddObject(map, "object 001", "1", 5.0);
    map.SetEntry("object 001/status", NewText("ok"));
    map.SetEntry("object 001/label", new CValueLong(1));
    map.SetEntry("object 001/isRound", new CValueBool(true));
    map.SetEntry("object 001/centroid/x", new CValueDouble(2.5));
    map.SetEntry("object 002/label", new CValueLong(2));
    map.SetEntry("object 002/bounding box/x0", new CValueLong(4));
    EXPECT_EQ(Convert(map, m_out), (std::vector<float>{0, 0, 4,    // bounding box/x0
                                                       0, 2.5F, 0, // centroid/x
                                                       0, 5, 0})); // volume
    CValueVector rows;
    ASSERT_TRUE(CQuillonHeaderTools::GetMetaInfo(m_out, "feature rows", rows));
    ASSERT_EQ(rows.size(), 3U);
    EXPECT_EQ(rows[0]->String(), "bounding box/x0");
    EXPECT_EQ(rows[2]->String(), "volume");
    CValueString text("", CString::NPOS);
    ASSERT_TRUE(CQuillonHeaderTools::GetMetaInfo(m_out, "feature columns", text));
    EXPECT_EQ(text.String(), "object");
    ASSERT_TRUE(CQuillonHeaderTools::GetMetaInfo(m_out, "feature", text));
    EXPECT_EQ(text.String(), "Measured");
}

TEST_F(FeatureImage, HasTheNamedRowsInTheirOrder) {
    CValueMap map;
    AddObject(map, "object 001", "1", 5.0);
    map.SetEntry("object 001/centroid/x", new CValueDouble(2.5));
    map.SetEntry("object 001/centroid/y", new CValueDouble(3.5));
    EXPECT_EQ(Convert(map, m_out, {"volume", "centroid/x"}), (std::vector<float>{0, 5, 0, 2.5F}));
}

TEST_F(FeatureImage, RaisesForAnUnknownNameAndForNoFeatures) {
    CValueMap map;
    AddObject(map, "object 001", "1", 5.0);
    const auto unknown = test::Raised<CException>([&] { (void)Convert(map, m_out, {"surface"}); });
    EXPECT_STREQ(unknown.Source(), "ConvertObjectBasedFeaturesIntoFeatureImage");
    EXPECT_STREQ(unknown.Message(), "'Measured' has no feature 'surface'.");
    const auto none = test::Raised<CException>([&] { (void)Convert(CValueMap(), m_out); });
    EXPECT_STREQ(none.Message(), "'Measured' has no features that are numbers.");
    EXPECT_EQ(m_out.Size(), CSize(3, 3)) << "nothing has changed";
}

TEST_F(FeatureImage, RaisesForAnImageOfMoreThan2To31Pixels) {
    CValueMap map;
    AddObject(map, "object 001", "1", 5.0);
    map.SetEntry("maximum label", new CValueLong(std::numeric_limits<std::int32_t>::max()));
    map.SetEntry("object 001/surface", new CValueDouble(5.0));
    const auto raised = test::Raised<CException>([&] { (void)Convert(map, m_out); });
    EXPECT_STREQ(raised.Message(), "The features of 'Measured' do not fit into an image.");
    map.RemoveEntry("maximum label");
    AddObject(map, "object 002", "9223372036854775807", 5.0);
    EXPECT_THROW((void)Convert(map, m_out), CException) << "one more than the largest index";
}

TEST_F(FeatureImage, KeepsTheAttributesOfTheImageAndAddsItsExtrema) {
    CQuillonHeaderTools::SetSpacing(m_out, 0.5, 0.5, 0.5);
    CQuillonHeaderTools::AddToHistory(m_out, "first", 0);
    CValueMap map;
    AddObject(map, "object 001", "1", -5.0);
    AddObject(map, "object 002", "2", std::numeric_limits<double>::quiet_NaN());
    (void)Convert(map, m_out);
    double x = 0.0;
    double y = 0.0;
    double z = 0.0;
    EXPECT_TRUE(CQuillonHeaderTools::GetSpacing(m_out, x, y, z));
    EXPECT_EQ(x, 0.5);
    EXPECT_TRUE(m_out.Attributes().HasEntry("history/0"));
    CValueVector range;
    ASSERT_TRUE(CQuillonHeaderTools::GetMetaInfo(m_out, CQuillonHeaderTools::c_sMetaMinMax.c_str(), range));
    EXPECT_EQ(range[0]->Double(), -5.0);
    EXPECT_EQ(range[1]->Double(), 0.0);
}

} // namespace
