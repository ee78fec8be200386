#pragma once

#include "engine/pictures/CCanvas.h"

#include <string>
#include <vector>

namespace engine {

enum EnChartForm {
    CHART_LINE,
    CHART_BARS, ///< each point is a bar of the chart's width that begins at its x
    CHART_STEPS ///< the value holds until the next point
};

struct StSeries {
    std::string label;
    std::vector<StPoint> points; ///< by ascending x
};

/// One or more curves or histograms in a frame with axes.
struct StChart {
    std::string title;
    std::string xTitle; ///< with the unit
    std::string yTitle;
    EnChartForm form = CHART_LINE;
    double barWidth = 0.0;
    std::vector<StSeries> series;
};

/// Draws the chart on the whole of a canvas of that size. Axes have ticks at round numbers; the y axis
/// includes 0, as heights can be compared only then. Several series differ in colour and dashes and have a
/// legend.
void DrawChart(CCanvas& canvas, const StChart& chart, const StPaperSize& size);

/// What the chart shows, in words.
std::string DescriptionOf(const StChart& chart);

} // namespace engine
