#include "engine/pictures/StChart.h"

#include "engine/measurements/StUnit.h"
#include "engine/pictures/StAxis.h"

#include <algorithm>
#include <limits>

namespace engine {

namespace {

// All lengths are in points. Text of 8 points is what journals ask for at least.
constexpr double c_labelSize = 8.0;
constexpr double c_titleSize = 9.0;
constexpr double c_margin = 8.0;
constexpr double c_gap = 4.0;
constexpr double c_lineSpacing = 1.35; // of the size of the text
constexpr double c_tickLength = 3.0;
constexpr double c_frameWidth = 0.6;
constexpr double c_gridWidth = 0.4;
constexpr double c_curveWidth = 1.25;
constexpr double c_dotRadius = 2.0;
constexpr double c_barGap = 0.5;
constexpr double c_legendLine = 18.0;
constexpr double c_legendGap = 14.0;
constexpr Colour c_gridColour = {225, 225, 225};
/// With few points, each is marked with a dot.
constexpr std::size_t c_mostDots = 40;
/// Between labels of the x axis.
constexpr double c_xLabelGap = 10.0;
/// The space for one label of the y axis.
constexpr double c_yLabelSpace = 22.0;
constexpr int c_fewestTicks = 2;
constexpr int c_mostTicks = 10;
/// The part of the axis that a histogram may leave empty before its first bar.
constexpr double c_nearZero = 0.25;
/// How far the baseline lies below the middle of a line of text, in parts of its size.
constexpr double c_middleOfText = 0.36;

struct StRange {
    double least = std::numeric_limits<double>::infinity();
    double greatest = -std::numeric_limits<double>::infinity();

    void Include(double value) {
        least = std::min(least, value);
        greatest = std::max(greatest, value);
    }
};

/// The places of a chart on its canvas.
struct StFrame {
    double left;
    double right;
    double top;
    double bottom;
    StAxis across;
    StAxis up;

    [[nodiscard]] StPoint Place(double x, double y) const {
        return {left + across.Place(x) * (right - left), bottom - up.Place(y) * (bottom - top)};
    }
};

class CChartDrawing {
public:
    CChartDrawing(CCanvas& canvas, const StChart& chart, const StPaperSize& size)
        : m_canvas(canvas)
        , m_chart(chart)
        , m_size(size) {}

    void Draw() {
        PlaceFrame();
        DrawTitleAndLegend();
        DrawGrid();
        for (std::size_t i = 0; i < m_chart.series.size(); ++i)
            DrawSeries(i);
        DrawAxes();
    }

private:
    [[nodiscard]] bool HasLegend() const { return m_chart.series.size() > 1; }

    /// The rows of the legend, each a list of series that fit side by side.
    std::vector<std::vector<std::size_t>> LegendRows(double width) {
        std::vector<std::vector<std::size_t>> rows(1);
        double used = 0.0;
        for (std::size_t i = 0; i < m_chart.series.size(); ++i) {
            const double needed = LegendWidth(i);
            if (used > 0.0 && used + needed > width) {
                rows.emplace_back();
                used = 0.0;
            }
            rows.back().push_back(i);
            used += needed;
        }
        return rows;
    }

    double LegendWidth(std::size_t series) {
        return c_legendLine + c_gap + m_canvas.WidthOf(m_chart.series[series].label, {c_labelSize}) +
               c_legendGap;
    }

    void PlaceFrame() {
        StRange x;
        StRange y;
        y.Include(0.0);
        for (const StSeries& series : m_chart.series) {
            for (const StPoint& point : series.points) {
                x.Include(point.x);
                x.Include(point.x + (m_chart.form == CHART_BARS ? m_chart.barWidth : 0.0));
                y.Include(point.y);
            }
        }
        double top = c_margin;
        if (!m_chart.title.empty())
            top += c_lineSpacing * c_titleSize;
        if (HasLegend())
            top += static_cast<double>(LegendRows(m_size.width - 2.0 * c_margin).size()) * c_lineSpacing *
                   c_labelSize;
        top += c_labelSize; // for the exponent above the axis and half of its highest label
        const double bottom =
            m_size.height - c_margin - c_lineSpacing * (c_labelSize + c_titleSize) - c_tickLength;
        const int ticksUp = std::max(c_fewestTicks, static_cast<int>((bottom - top) / c_yLabelSpace));
        const StAxis up = StAxis::Covering(y.least, y.greatest, ticksUp);
        double labels = 0.0;
        for (const double tick : up.Ticks())
            labels = std::max(labels, m_canvas.WidthOf(up.Label(tick), {c_labelSize}));
        const double left = c_margin + c_lineSpacing * c_titleSize + c_gap + labels + c_gap + c_tickLength;
        const double right = m_size.width - 2.0 * c_margin;
        m_frame = {left, right, top, bottom, AxisAcross(x, right - left), up};
    }

    /// The axis with as many ticks as have room for their labels.
    StAxis AxisAcross(const StRange& range, double length) {
        const bool isHistogram = m_chart.form != CHART_LINE;
        // A histogram that begins near 0 is easier to read with the 0.
        const bool beginsNearZero = range.least > 0.0 && range.least < range.greatest * c_nearZero;
        const double least = isHistogram && beginsNearZero ? 0.0 : range.least;
        StAxis axis;
        for (int ticks = c_mostTicks; ticks >= c_fewestTicks; --ticks) {
            axis = StAxis::Covering(least, range.greatest, ticks, !isHistogram);
            double widest = 0.0;
            for (const double tick : axis.Ticks())
                widest = std::max(widest, m_canvas.WidthOf(axis.Label(tick), {c_labelSize}));
            if ((widest + c_xLabelGap) * (axis.greatest - axis.least) / axis.step <= length)
                break;
        }
        return axis;
    }

    void DrawTitleAndLegend() {
        double y = c_margin;
        if (!m_chart.title.empty()) {
            y += c_titleSize;
            m_canvas.Text({(m_frame.left + m_frame.right) / 2.0, y}, m_chart.title,
                          {c_titleSize, ANCHOR_MIDDLE, false, true});
            y += (c_lineSpacing - 1.0) * c_titleSize;
        }
        if (!HasLegend())
            return;
        for (const auto& row : LegendRows(m_size.width - 2.0 * c_margin)) {
            y += c_labelSize;
            double width = -c_legendGap;
            for (const std::size_t series : row)
                width += LegendWidth(series);
            double x = std::max(c_margin, (m_frame.left + m_frame.right - width) / 2.0);
            for (const std::size_t series : row) {
                const double middle = y - c_middleOfText * c_labelSize;
                m_canvas.Line({x, middle}, {x + c_legendLine, middle}, StyleOf(series));
                m_canvas.Text({x + c_legendLine + c_gap, y}, m_chart.series[series].label, {c_labelSize});
                x += LegendWidth(series);
            }
            y += (c_lineSpacing - 1.0) * c_labelSize;
        }
    }

    void DrawGrid() {
        for (const double tick : m_frame.up.Ticks()) {
            const double y = m_frame.Place(m_frame.across.least, tick).y;
            m_canvas.Line({m_frame.left, y}, {m_frame.right, y}, {c_gridWidth, c_gridColour});
        }
    }

    void DrawAxes() {
        const StLineStyle line{c_frameWidth};
        m_canvas.Polyline(std::array<StPoint, 3>{{{m_frame.left, m_frame.top},
                                                  {m_frame.left, m_frame.bottom},
                                                  {m_frame.right, m_frame.bottom}}},
                          line);
        if (m_frame.up.least < 0.0) {
            const double zero = m_frame.Place(m_frame.across.least, 0.0).y;
            m_canvas.Line({m_frame.left, zero}, {m_frame.right, zero}, line);
        }
        for (const double tick : m_frame.across.Ticks()) {
            const double x = m_frame.Place(tick, m_frame.up.least).x;
            m_canvas.Line({x, m_frame.bottom}, {x, m_frame.bottom + c_tickLength}, line);
            m_canvas.Text({x, m_frame.bottom + c_tickLength + c_lineSpacing * c_labelSize - 2.0},
                          m_frame.across.Label(tick), {c_labelSize, ANCHOR_MIDDLE});
        }
        for (const double tick : m_frame.up.Ticks()) {
            const double y = m_frame.Place(m_frame.across.least, tick).y;
            m_canvas.Line({m_frame.left - c_tickLength, y}, {m_frame.left, y}, line);
            m_canvas.Text({m_frame.left - c_tickLength - c_gap, y + c_middleOfText * c_labelSize},
                          m_frame.up.Label(tick), {c_labelSize, ANCHOR_END});
        }
        DrawAxisTitles();
    }

    void DrawAxisTitles() {
        const std::string xTitle = WithExponent(m_chart.xTitle, m_frame.across);
        const std::string yTitle = WithExponent(m_chart.yTitle, m_frame.up);
        const double centre = (m_frame.left + m_frame.right) / 2.0;
        m_canvas.Text({centre, m_size.height - c_margin}, xTitle,
                      FittedTitle(xTitle, 2.0 * std::min(centre, m_size.width - centre), false));
        // A long title may use the whole height.
        const double height = m_size.height - 2.0 * c_margin;
        const StTextStyle up = FittedTitle(yTitle, height, true);
        const double length = m_canvas.WidthOf(yTitle, up);
        const double middle = std::clamp((m_frame.top + m_frame.bottom) / 2.0, c_margin + length / 2.0,
                                         m_size.height - c_margin - length / 2.0);
        m_canvas.Text({c_margin + c_titleSize, middle}, yTitle, up);
    }

    /// The style of an axis title, smaller if it would not fit otherwise.
    StTextStyle FittedTitle(const std::string& title, double room, bool isUpright) {
        StTextStyle style{c_titleSize, ANCHOR_MIDDLE, isUpright, false, true};
        const double width = m_canvas.WidthOf(title, style);
        style.size *= std::min(1.0, room / std::max(width, 1.0));
        return style;
    }

    /// "Length (×10³ mm)" if the labels of the axis are in thousands.
    static std::string WithExponent(const std::string& title, const StAxis& axis) {
        const int exponent = axis.Exponent();
        if (exponent == 0)
            return title;
        const std::string power = "×" + StUnit{"10", std::abs(exponent)}.Typeset();
        const std::string factor = exponent > 0 ? power : "×10⁻" + power.substr(std::string("×10").size());
        const std::size_t unit = title.rfind('(');
        if (unit == std::string::npos || !title.ends_with(')'))
            return title + " (" + factor + ")";
        return title.substr(0, unit + 1) + factor + " " + title.substr(unit + 1);
    }

    static StLineStyle StyleOf(std::size_t series) {
        return {c_curveWidth, ColourOfSeries(series), static_cast<int>(series)};
    }

    void DrawSeries(std::size_t index) {
        const StSeries& series = m_chart.series[index];
        if (m_chart.form == CHART_BARS && !HasLegend()) {
            DrawBars(series);
            return;
        }
        std::vector<StPoint> line;
        for (const StPoint& point : series.points) {
            if (m_chart.form != CHART_LINE)
                line.push_back(m_frame.Place(point.x, line.empty() ? 0.0 : m_heldHeight));
            line.push_back(m_frame.Place(point.x, point.y));
            m_heldHeight = point.y;
        }
        if (m_chart.form == CHART_BARS && !series.points.empty()) {
            const double end = series.points.back().x + m_chart.barWidth;
            line.push_back(m_frame.Place(end, m_heldHeight));
            line.push_back(m_frame.Place(end, 0.0));
        }
        if (m_chart.form == CHART_STEPS && !series.points.empty())
            line.push_back(m_frame.Place(m_frame.across.greatest, m_heldHeight));
        m_canvas.Polyline(line, StyleOf(index));
        if (m_chart.form == CHART_LINE && series.points.size() <= c_mostDots) {
            for (const StPoint& point : series.points)
                m_canvas.Dot(m_frame.Place(point.x, point.y), c_dotRadius, ColourOfSeries(index));
        }
    }

    void DrawBars(const StSeries& series) {
        for (const StPoint& point : series.points) {
            const StPoint upper = m_frame.Place(point.x, point.y);
            const StPoint lower = m_frame.Place(point.x + m_chart.barWidth, 0.0);
            const double width = lower.x - upper.x;
            const double gap = std::min(c_barGap, width / 4.0);
            m_canvas.Rectangle({upper.x + gap / 2.0, upper.y}, width - gap, lower.y - upper.y,
                               ColourOfSeries(0));
        }
    }

    CCanvas& m_canvas;
    const StChart& m_chart;
    StPaperSize m_size;
    StFrame m_frame{};
    double m_heldHeight = 0.0; // of the step that is being drawn
};

} // namespace

void DrawChart(CCanvas& canvas, const StChart& chart, const StPaperSize& size) {
    CChartDrawing(canvas, chart, size).Draw();
}

std::string DescriptionOf(const StChart& chart) {
    std::string text = chart.yTitle + " over " + chart.xTitle;
    if (chart.series.size() > 1) {
        for (std::size_t i = 0; i < chart.series.size(); ++i)
            text.append(i == 0 ? ": " : ", ").append(chart.series[i].label);
    }
    return text;
}

} // namespace engine
