#include "engine/pictures/Figure.h"

#include "engine/measurements/StUnit.h"
#include "engine/measurements/TableText.h"
#include "engine/pictures/CCanvas.h"
#include "engine/pictures/StAxis.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace engine {

namespace {

/// Size of the text in parts of the smaller side of the pictures together, and its limits in pixels.
constexpr double c_relativeTextSize = 1.0 / 26.0;
constexpr double c_leastTextSize = 11.0;
constexpr double c_greatestTextSize = 48.0;

// Lengths in multiples of the size of the text.
constexpr double c_margin = 0.8;
constexpr double c_gap = 0.5;
constexpr double c_lineHeight = 1.4;
constexpr double c_barThickness = 1.1;
constexpr double c_scaleBarThickness = 0.28;
constexpr double c_tickLength = 0.3;
constexpr double c_frameWidth = 0.08;
constexpr double c_discRadius = 2.6;
constexpr double c_middleOfText = 0.36; // how far the baseline lies below the middle of a line

/// Around a picture, in pixels.
constexpr double c_frame = 1.0;
/// Between the pictures of a montage, in pixels.
constexpr double c_plainGap = 4.0;
/// The scale bar is at least this part of the width of a picture.
constexpr double c_leastScaleBar = 0.15;
constexpr int c_mostBarTicks = 6;
constexpr int c_sectors = 120; // of the disc, one for each 3 degrees
constexpr double c_degrees = 180.0;

class CFigure {
public:
    CFigure(const std::vector<StView>& views, const StFigureOptions& options)
        : m_views(views)
        , m_options(options) {
        m_columns = FigureColumns(views.size());
        m_rows = (views.size() + m_columns - 1) / m_columns;
        m_tileWidth = static_cast<double>(First().picture.width);
        m_tileHeight = static_cast<double>(First().picture.height);
        const double side = std::min(static_cast<double>(m_columns) * m_tileWidth,
                                     static_cast<double>(m_rows) * m_tileHeight);
        m_text = std::round(std::clamp(c_relativeTextSize * side, c_leastTextSize, c_greatestTextSize));
    }

    /// Whether anything is drawn besides the pictures.
    [[nodiscard]] bool IsExplained() const {
        return HasScaleBar() || HasBar() || HasDisc() || HasLetters() || HasCaptions();
    }

    StPicture Draw() {
        Layout();
        const Drawing draw = [this](CCanvas& canvas) {
            for (std::size_t i = 0; i < m_views.size(); ++i)
                DrawTile(canvas, i);
            if (HasScaleBar())
                DrawScaleBar(canvas);
            if (HasBar())
                DrawBar(canvas);
            if (HasDisc())
                DrawDisc(canvas);
        };
        return DrawPicture(m_size, 1.0, draw);
    }

private:
    [[nodiscard]] const StView& First() const { return m_views.front(); }
    [[nodiscard]] bool HasScaleBar() const { return m_options.hasScaleBar; }
    [[nodiscard]] bool HasCaptions() const { return !m_options.captions.empty(); }
    [[nodiscard]] bool HasLetters() const {
        return m_options.hasLetters && !First().orientation.left.empty();
    }
    [[nodiscard]] bool HasDisc() const {
        return m_options.hasColourBar && First().meaning == MEANING_ANGLES && m_options.areAnglesInPlane;
    }
    [[nodiscard]] bool HasBar() const {
        const EnPictureMeaning meaning = First().meaning;
        return m_options.hasColourBar && !HasDisc() && meaning != MEANING_BINARY && meaning != MEANING_LABELS;
    }

    /// A whole number of pixels, so that pictures are not blurred.
    [[nodiscard]] double Lines(double lines) const { return std::ceil(lines * m_text); }

    [[nodiscard]] StTextStyle Style(EnTextAnchor anchor) const { return {m_text, anchor}; }

    void Layout() {
        m_border = IsExplained() ? Lines(c_margin) : 0.0;
        m_sideLetters = HasLetters() ? Lines(c_lineHeight) : 0.0;
        m_above = (HasCaptions() ? Lines(c_lineHeight) : 0.0) + (HasLetters() ? Lines(c_lineHeight) : 0.0);
        m_below = HasLetters() ? Lines(c_lineHeight) : 0.0;
        m_tileGap = IsExplained() ? Lines(c_gap) : c_plainGap;
        const double across = static_cast<double>(m_columns) * (m_tileWidth + 2.0 * m_sideLetters) +
                              static_cast<double>(m_columns - 1) * m_tileGap;
        const double down = static_cast<double>(m_rows) * (m_tileHeight + m_above + m_below) +
                            static_cast<double>(m_rows - 1) * m_tileGap;
        m_right = m_border + across + Lines(2.0 * c_gap);
        m_tilesBottom = m_border + down;
        m_size = {m_border + across + m_border, m_border + down + m_border};
        if (HasScaleBar())
            m_size.height += Lines(c_gap + c_lineHeight);
        if (HasBar())
            m_size.width += Lines(2.0 * c_gap + c_barThickness + c_tickLength + c_gap) + BarTextWidth();
        if (HasDisc())
            m_size.width += Lines(2.0 * c_gap + 2.0 * (c_discRadius + c_lineHeight));
    }

    [[nodiscard]] StPoint TileCorner(std::size_t index) const {
        const auto column = static_cast<double>(index % m_columns);
        const auto row = static_cast<double>(index / m_columns);
        return {m_border + m_sideLetters + column * (m_tileWidth + 2.0 * m_sideLetters + m_tileGap),
                m_border + m_above + row * (m_tileHeight + m_above + m_below + m_tileGap)};
    }

    void DrawTile(CCanvas& canvas, std::size_t index) {
        const StPoint corner = TileCorner(index);
        if (IsExplained()) // on white paper, white pixels need an end
            canvas.Rectangle({corner.x - c_frame, corner.y - c_frame}, m_tileWidth + 2.0 * c_frame,
                             m_tileHeight + 2.0 * c_frame, c_black);
        canvas.Picture(m_views[index].picture, corner);
        const double centre = corner.x + m_tileWidth / 2.0;
        if (HasCaptions())
            canvas.Text({centre, corner.y - m_above + m_text}, m_options.captions[index],
                        Style(ANCHOR_MIDDLE));
        if (!HasLetters())
            return;
        const StOrientation& sides = m_views[index].orientation;
        const double middle = corner.y + m_tileHeight / 2.0 + c_middleOfText * m_text;
        const double beside = m_sideLetters / 2.0;
        canvas.Text({centre, corner.y - Lines(c_gap) / 2.0}, sides.top, Style(ANCHOR_MIDDLE));
        canvas.Text({centre, corner.y + m_tileHeight + m_text}, sides.bottom, Style(ANCHOR_MIDDLE));
        canvas.Text({corner.x - beside, middle}, sides.left, Style(ANCHOR_MIDDLE));
        canvas.Text({corner.x + m_tileWidth + beside, middle}, sides.right, Style(ANCHOR_MIDDLE));
    }

    /// "0.5 mm", "20 px".
    [[nodiscard]] std::string LengthText(double length) const {
        const bool isUnknown = m_options.lengthUnit == "unit";
        return NumberText(length) + " " +
               (isUnknown && length != 1.0 ? "units" : StUnit{m_options.lengthUnit}.Typeset());
    }

    void DrawScaleBar(CCanvas& canvas) {
        const double length = RoundUp125(c_leastScaleBar * m_tileWidth * First().pixelLength);
        const double pixels = length / First().pixelLength;
        const double left = TileCorner(0).x;
        const double middle = m_tilesBottom + Lines(c_gap) + Lines(c_lineHeight) / 2.0;
        canvas.Rectangle({left, std::round(middle - c_scaleBarThickness * m_text / 2.0)}, pixels,
                         std::max(1.0, std::round(c_scaleBarThickness * m_text)), c_black);
        canvas.Text({left + pixels + Lines(c_gap), middle + c_middleOfText * m_text}, LengthText(length),
                    Style(ANCHOR_START));
    }

    /// The range of the bar, from its lower end to its upper end.
    [[nodiscard]] StAxis BarAxis() const {
        switch (First().meaning) {
        case MEANING_ANGLES:
            return {0.0, c_degrees, c_degrees / 4.0};
        case MEANING_DEPTH:
            return StAxis::Covering(0.0, std::max(First().depth, First().pixelLength), c_mostBarTicks, true);
        default:
            return StAxis::Covering(First().window.black, First().window.white, c_mostBarTicks, true);
        }
    }

    [[nodiscard]] std::string BarLabel(const StAxis& axis, double tick) const {
        return axis.Label(tick) + (First().meaning == MEANING_ANGLES ? "°" : "");
    }

    [[nodiscard]] std::string BarTitle(const StAxis& axis) const {
        std::string title = m_options.barTitle;
        if (First().meaning == MEANING_ANGLES)
            title = "Angle";
        if (First().meaning == MEANING_DEPTH)
            title = "Depth (" + StUnit{m_options.lengthUnit}.Typeset() + ")";
        if (const int exponent = axis.Exponent(); exponent != 0)
            title.append(title.empty() ? "" : ", ").append("×1e").append(std::to_string(exponent));
        return title;
    }

    /// Room for the labels and the title of the bar.
    double BarTextWidth() {
        const StAxis axis = BarAxis();
        double width = 0.0;
        const Drawing measure = [&](CCanvas& canvas) {
            for (const double tick : axis.Ticks())
                width = std::max(width, canvas.WidthOf(BarLabel(axis, tick), Style(ANCHOR_START)));
        };
        DrawPicture({1.0, 1.0}, 1.0, measure);
        m_barLabelWidth = std::ceil(width);
        return m_barLabelWidth + (BarTitle(axis).empty() ? 0.0 : Lines(c_lineHeight));
    }

    [[nodiscard]] Colour BarColour(double place) const {
        switch (First().meaning) {
        case MEANING_ANGLES:
            return ColourOfAngle(place * std::numbers::pi);
        case MEANING_DEPTH:
            return ColourOfDepth(place, 1.0);
        default:
            return Mixed(c_black, c_white, place);
        }
    }

    void DrawBar(CCanvas& canvas) {
        const StAxis axis = BarAxis();
        const double top = TileCorner(0).y;
        const double bottom = TileCorner(m_views.size() - 1).y + m_tileHeight;
        const double left = m_right;
        const double width = Lines(c_barThickness);
        // One row of pixels for each colour: no gaps, no blending.
        for (double y = top; y < bottom; ++y)
            canvas.Rectangle({left, y}, width, 1.0, BarColour((bottom - y - 0.5) / (bottom - top)));
        const StLineStyle line{std::max(1.0, std::round(c_frameWidth * m_text))};
        canvas.Polyline(
            std::array<StPoint, 5>{
                {{left, top}, {left + width, top}, {left + width, bottom}, {left, bottom}, {left, top}}},
            line);
        const double tickEnd = left + width + c_tickLength * m_text;
        for (const double tick : axis.Ticks()) {
            const double y = bottom - axis.Place(tick) * (bottom - top);
            canvas.Line({left + width, y}, {tickEnd, y}, line);
            canvas.Text({tickEnd + c_gap * m_text / 2.0, y + c_middleOfText * m_text}, BarLabel(axis, tick),
                        Style(ANCHOR_START));
        }
        StTextStyle style = Style(ANCHOR_MIDDLE);
        style.isUpright = true;
        canvas.Text({tickEnd + c_gap * m_text + m_barLabelWidth + m_text, (top + bottom) / 2.0},
                    BarTitle(axis), style);
    }

    /// Each sector of the disc has the colour of the direction that it lies in.
    void DrawDisc(CCanvas& canvas) {
        const double radius = c_discRadius * m_text;
        const StPoint centre = {m_right + radius, TileCorner(0).y + radius + m_text};
        for (int sector = 0; sector < c_sectors; ++sector) {
            const double angle = 2.0 * std::numbers::pi * sector / c_sectors;
            const double half = 1.1 * std::numbers::pi / c_sectors; // overlapping a little, without gaps
            const auto rim = [&](double at) {
                return StPoint{centre.x + radius * std::cos(at), centre.y + radius * std::sin(at)};
            };
            canvas.Polygon(std::array{centre, rim(angle - half), rim(angle + half)},
                           ColourOfAngle(std::fmod(angle, std::numbers::pi)));
        }
        canvas.Text({centre.x + radius + c_gap * m_text / 2.0, centre.y + c_middleOfText * m_text}, "x",
                    Style(ANCHOR_START));
        canvas.Text({centre.x, centre.y + radius + m_text}, "y", Style(ANCHOR_MIDDLE));
    }

    const std::vector<StView>& m_views;
    const StFigureOptions& m_options;
    std::size_t m_columns = 1;
    std::size_t m_rows = 1;
    double m_tileWidth = 0.0;
    double m_tileHeight = 0.0;
    double m_text = c_leastTextSize;
    double m_border = 0.0;
    double m_sideLetters = 0.0;
    double m_above = 0.0;
    double m_below = 0.0;
    double m_tileGap = 0.0;
    double m_right = 0.0; ///< where explanations beside the pictures begin
    double m_tilesBottom = 0.0;
    double m_barLabelWidth = 0.0;
    StPaperSize m_size{};
};

} // namespace

std::size_t FigureColumns(std::size_t pictures) {
    return static_cast<std::size_t>(
        std::ceil(std::sqrt(static_cast<double>(std::max<std::size_t>(pictures, 1)))));
}

StPicture MakeFigure(const std::vector<StView>& views, const StFigureOptions& options) {
    CFigure figure(views, options);
    return views.size() == 1 && !figure.IsExplained() ? views.front().picture : figure.Draw();
}

} // namespace engine
