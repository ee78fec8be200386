#include "engine/pictures/ChartOfTables.h"

#include "engine/errors/CEngineError.h"
#include "support/Raised.h"

#include <gtest/gtest.h>

#include <string>

namespace {

using namespace engine;

StTable Distribution(const std::vector<std::pair<double, double>>& rows) {
    StTable table;
    table.name = "Sizes";
    table.title = "Size distribution";
    table.lengthUnit = "mm";
    table.kind = MEASUREMENT_DISTRIBUTION;
    table.counted = "pixels";
    table.row = {"", "diameter", {"mm", 1}};
    table.hasRowNumbers = true;
    table.columns = {{"", "pixels", {}}};
    for (const auto& [size, count] : rows)
        table.rows.push_back({"", size, {count}});
    return table;
}

StTable Objects() {
    StTable table = Distribution({});
    table.name = "Objects";
    table.kind = MEASUREMENT_OBJECTS;
    table.counted = "objects";
    table.columns = {{"volume", "volume", {"mm", 3}, true},
                     {"K_V [m^-3]", "curvature K_V", {"mm", -3}, true}};
    for (const double volume : {1.0, 2.0, 2.5, 9.0})
        table.rows.push_back({"", volume, {volume, -volume}});
    return table;
}

StTable Curve() {
    StTable table = Objects();
    table.name = "Grey";
    table.kind = MEASUREMENT_CURVE;
    table.row = {"", "grey value", {}};
    return table;
}

std::string PointsOf(const StSeries& series) {
    std::string text;
    for (const StPoint& point : series.points)
        text += std::to_string(point.x) + ":" + std::to_string(point.y) + " ";
    return text;
}

StChart ChartOfOne(const StTable& table, const StChartOptions& options = {}) {
    return ChartOf({{table, "a"}}, options);
}

std::string Complaint(const std::vector<StLabelledTable>& tables, const StChartOptions& options) {
    return ::test::Raised<CCallerError>([&] { (void)ChartOf(tables, options); }).what();
}

} // namespace

TEST(ChartOfTables, ShowsADistributionAsSharesInBins) {
    const StChart chart = ChartOfOne(Distribution({{0.3, 1}, {1.0, 2}, {1.5, 2}, {3.2, 5}}), {"", 1.0});
    EXPECT_EQ(chart.title, "Size distribution");
    EXPECT_EQ(chart.xTitle, "Diameter (mm)");
    EXPECT_EQ(chart.yTitle, "Share of pixels (%)");
    EXPECT_EQ(chart.form, CHART_BARS);
    EXPECT_EQ(PointsOf(chart.series[0]),
              "0.000000:10.000000 1.000000:40.000000 2.000000:0.000000 3.000000:50.000000 ");
}

TEST(ChartOfTables, PutsValuesAtABorderIntoTheBinAbove) {
    const StChart chart = ChartOfOne(Distribution({{0.1, 1}, {0.2, 1}, {0.3, 2}}), {"", 0.1});
    EXPECT_EQ(PointsOf(chart.series[0]), "0.100000:25.000000 0.200000:25.000000 0.300000:50.000000 ");
}

TEST(ChartOfTables, ChoosesARoundBinWidthForAllFiles) {
    const StChart chart =
        ChartOf({{Distribution({{1, 9}, {26, 9}}), "a"}, {Distribution({{1, 9}, {3, 9}}), "b"}}, {});
    EXPECT_EQ(chart.barWidth, 5.0);
    EXPECT_EQ(chart.series[1].label, "b");
    EXPECT_EQ(ChartOfOne(Distribution({{7, 3}})).barWidth, 0.5);
}

TEST(ChartOfTables, CumulatesShares) {
    StChartOptions options;
    options.isCumulative = true;
    const StChart chart = ChartOfOne(Distribution({{1, 1}, {2, 3}, {4, 4}}), options);
    EXPECT_EQ(chart.yTitle, "Cumulative share of pixels (%)");
    EXPECT_EQ(PointsOf(chart.series[0]), "1.000000:12.500000 2.000000:50.000000 4.000000:100.000000 ");
}

TEST(ChartOfTables, CountsObjectsByAFeature) {
    const StChart chart = ChartOfOne(Objects(), {"volume", 2.0});
    EXPECT_EQ(chart.xTitle, "Volume (mm³)");
    EXPECT_EQ(chart.yTitle, "Number of objects");
    EXPECT_EQ(PointsOf(chart.series[0]),
              "0.000000:1.000000 2.000000:2.000000 4.000000:0.000000 6.000000:0.000000 8.000000:1.000000 ");
    EXPECT_EQ(ChartOf({{Objects(), "a"}, {Objects(), "b"}}, {"volume", 2.0}).yTitle, "Share of objects (%)");
}

TEST(ChartOfTables, ShowsOtherFeaturesAsCurves) {
    for (const char* feature : {"K_V [m^-3]", "K_V", "curvature K_V"}) {
        const StChart chart = ChartOfOne(Curve(), {feature, std::nullopt});
        EXPECT_EQ(chart.xTitle, "Grey value");
        EXPECT_EQ(chart.yTitle, "Curvature K_V (per mm³)");
        EXPECT_EQ(chart.form, CHART_LINE);
        EXPECT_EQ(chart.series[0].points.size(), 4u);
    }
}

TEST(ChartOfTables, SaysWhatThereIsToPlot) {
    EXPECT_EQ(Complaint({{Curve(), "a"}}, {}),
              "'Grey' has several features: 'volume', 'K_V'; choose one: --feature 'volume'");
    EXPECT_EQ(Complaint({{Curve(), "a"}}, {"area", std::nullopt}),
              "'Grey' has no feature 'area'; it has 'volume', 'K_V'");
    StTable many = Curve();
    for (int i = 0; i < 11; ++i)
        many.columns.push_back({"f" + std::to_string(i), "", {}});
    EXPECT_EQ(Complaint({{many, "a"}}, {"area", std::nullopt}),
              "'Grey' has no feature 'area'; it has 'volume', 'K_V', 'f0', 'f1', 'f2', 'f3', 'f4', 'f5', "
              "'f6', 'f7' "
              "and 3 more");
}

TEST(ChartOfTables, RefusesWhatDoesNotFit) {
    const StTable sizes = Distribution({{1, 1}, {5, 1}});
    EXPECT_EQ(Complaint({{sizes, "a"}}, {"", 0.0}), "--bin 0: a bin must be wider than 0");
    EXPECT_EQ(Complaint({{sizes, "a"}}, {"", 1e-6}),
              "--bin 1e-06: too narrow for values from 1 to 5; at most 2000 bins can be drawn");
    EXPECT_EQ(Complaint({{Curve(), "a"}}, {"volume", 1.0}), "--bin: 'Grey' is not a distribution");
    EXPECT_EQ(Complaint({{Curve(), "a"}}, {"volume", std::nullopt, true}),
              "--cumulative: 'Grey' is not a distribution");
    StTable other = sizes;
    other.lengthUnit = "px";
    EXPECT_EQ(Complaint({{sizes, "a"}, {other, "b"}}, {}),
              "'a' and 'b' differ in the unit of length: mm and px");
    EXPECT_EQ(Complaint({{Distribution({{1, 0}}), "a"}}, {}), "'Sizes' holds no numbers to plot");
    StTable unordered = Curve();
    unordered.hasRowNumbers = false;
    EXPECT_EQ(Complaint({{unordered, "a"}}, {"volume", std::nullopt}),
              "'Grey' has no order in which it could be plotted; 'quillon table' shows it");
}

TEST(Chart, StaysOnItsPaper) {
    // Long titles, large numbers and several series: nothing but white at the rim.
    StChart chart =
        ChartOf({{Objects(), "a first long label"}, {Objects(), "a second one"}}, {"volume", 2.0});
    chart.yTitle = "A very long title of an axis that cannot be set in full size (per mm³)";
    for (StPoint& point : chart.series[0].points)
        point.y *= 1e7;
    for (const double width : {140.0, 340.0, 1400.0}) {
        const StPaperSize size{width, width * 2 / 3};
        const StPicture picture =
            DrawPicture(size, 1, [&](CCanvas& canvas) { DrawChart(canvas, chart, size); });
        for (std::int64_t x = 0; x < picture.width; ++x) {
            EXPECT_EQ(picture.rgb[static_cast<std::size_t>(3 * x)], 255);
            EXPECT_EQ(picture.rgb[picture.rgb.size() - 3 - static_cast<std::size_t>(3 * x)], 255);
        }
        for (std::int64_t y = 0; y < picture.height; ++y)
            EXPECT_EQ(picture.rgb[static_cast<std::size_t>(3 * y * picture.width)], 255);
    }
}

TEST(Chart, SaysInWordsWhatItShows) {
    EXPECT_EQ(DescriptionOf(ChartOf({{Curve(), "a"}, {Curve(), "b"}}, {"volume", std::nullopt})),
              "Volume (mm³) over Grey value: a, b");
}
