#include "engine/pictures/Curve.h"

#include "engine/errors/CEngineError.h"
#include "support/Raised.h"

#include <sorblib2core/CString.h>
#include <sorblib2core/CValueDouble.h>
#include <sorblib2core/CValueLong.h>
#include <sorblib2core/CValueMap.h>
#include <sorblib2core/CValueString.h>

#include <gtest/gtest.h>

#include <limits>
#include <string>

namespace {

using namespace engine;
using namespace ORVEN;

std::string PointsOf(const StCurve& curve) {
    std::string text;
    for (const StCurve::StPoint& point : curve.points)
        text += std::to_string(point.x) + ":" + std::to_string(point.y) + " ";
    return text;
}

TEST(Curve, TakesXFromTheKeysAndSortsByIt) {
    CValueMap map;
    map.SetEntry("1.000000e+01", new CValueLong(3));
    map.SetEntry("2.000000e+00", new CValueDouble(1.5));
    map.SetEntry("size 5", new CValueLong(2));
    EXPECT_EQ(PointsOf(CurveOf(map, "sizes", "")), "2.000000:1.500000 5.000000:2.000000 10.000000:3.000000 ");
}

TEST(Curve, TakesYFromTheFeature) {
    CValueMap map;
    map.SetEntry("grayvalue 001/V_V", new CValueDouble(0.5));
    map.SetEntry("grayvalue 001/S/x", new CValueLong(7));
    map.SetEntry("grayvalue 002/V_V", new CValueDouble(0.25));
    EXPECT_EQ(PointsOf(CurveOf(map, "grey", "V_V")), "1.000000:0.500000 2.000000:0.250000 ");
    EXPECT_EQ(PointsOf(CurveOf(map, "grey", "S/x")), "1.000000:7.000000 ");
}

TEST(Curve, LeavesOutWhatIsNoNumber) {
    CValueMap map;
    map.SetEntry("one", new CValueLong(1));
    map.SetEntry("2", new CValueString("two", CString::NPOS));
    map.SetEntry("3", new CValueDouble(std::numeric_limits<double>::infinity()));
    map.SetEntry("inf", new CValueLong(4));
    map.SetEntry("5", new CValueLong(5));
    EXPECT_EQ(PointsOf(CurveOf(map, "odd", "")), "5.000000:5.000000 ");
}

TEST(Curve, SaysWhatThereIsToPlot) {
    CValueMap map;
    map.SetEntry("object 001/volume", new CValueLong(1));
    map.SetEntry("object 001/centroid/x", new CValueDouble(1.0));
    map.SetEntry("object 001/status", new CValueString("ok", CString::NPOS));
    const auto none = ::test::Raised<CCallerError>([&] { (void)CurveOf(map, "Objects", ""); });
    EXPECT_STREQ(none.what(), "'Objects' has nothing to plot; --feature can be 'centroid/x', 'volume'");
    const auto unknown = ::test::Raised<CCallerError>([&] { (void)CurveOf(map, "Objects", "area"); });
    EXPECT_STREQ(
        unknown.what(),
        "'Objects' has nothing to plot for --feature 'area'; --feature can be 'centroid/x', 'volume'");
}

TEST(Curve, IsDrawnBetweenItsAxes) {
    const std::string svg = CurveAsSvg({"size", "a < b & c", {{0, 0}, {5, 10}, {10, 5}}});
    EXPECT_EQ(svg.rfind("<svg ", 0), 0U);
    // From the lower left corner up to the top in the middle, and half way down to the right.
    EXPECT_NE(svg.find("points=\"80,360 390,20 700,190\""), std::string::npos) << svg;
    EXPECT_NE(svg.find(">size</text>"), std::string::npos);
    EXPECT_NE(svg.find(">a &lt; b &amp; c</text>"), std::string::npos);
    for (const char* tick : {">0</text>", ">2</text>", ">10</text>"})
        EXPECT_NE(svg.find(tick), std::string::npos) << tick;
    EXPECT_EQ(svg.find("-0<"), std::string::npos);
}

TEST(Curve, ASinglePointStandsInTheMiddle) {
    const std::string svg = CurveAsSvg({"x", "y", {{4, 2}}});
    EXPECT_NE(svg.find("points=\"390,20\""), std::string::npos) << svg;
    EXPECT_EQ(CurveAsSvg({"x", "y", {{0, 0}}}).find("nan"), std::string::npos);
}

} // namespace
