#pragma once

#include "engine/pictures/Colours.h"
#include "engine/pictures/StPicture.h"

#include <functional>
#include <span>
#include <string>

// Only CCanvas.cpp knows the drawing library.
using cairo_t = struct _cairo;

namespace engine {

struct StPoint {
    double x;
    double y;
};

/// Where a text stands relative to its point, along its line.
enum EnTextAnchor { ANCHOR_START, ANCHOR_MIDDLE, ANCHOR_END };

struct StTextStyle {
    double size = 8.0;
    EnTextAnchor anchor = ANCHOR_START;
    bool isUpright = false; ///< turned to run upwards
    bool isBold = false;
    bool hasSubscripts = false; ///< sets "V_V" with a subscript
    Colour colour = c_black;
};

struct StLineStyle {
    double width = 0.5;
    Colour colour = c_black;
    int dashes = 0; ///< 0 is a solid line; other numbers are patterns
};

/// What lines, areas and texts are drawn on: x runs right and y down, in points for SVG and PDF, in pixels
/// for a picture. Texts become outlines in SVG, so that they look the same everywhere, and embedded fonts in
/// PDF.
class CCanvas {
public:
    explicit CCanvas(cairo_t* context)
        : m_context(context) {}

    void Line(const StPoint& from, const StPoint& to, const StLineStyle& style);
    void Polyline(std::span<const StPoint> points, const StLineStyle& style);
    void Polygon(std::span<const StPoint> points, const Colour& colour);
    void Rectangle(const StPoint& corner, double width, double height, const Colour& colour);
    void Dot(const StPoint& centre, double radius, const Colour& colour);
    /// The baseline of the text runs through the point.
    void Text(const StPoint& at, const std::string& text, const StTextStyle& style);
    [[nodiscard]] double WidthOf(const std::string& text, const StTextStyle& style);
    /// Copies the picture with its upper left corner at a whole-numbered point. In pixels, the copy is exact.
    void Picture(const StPicture& picture, const StPoint& corner);

private:
    void SetColour(const Colour& colour);
    void Stroke(const StLineStyle& style);
    /// Draws the text from the current point, or only measures it; returns its width.
    double SetText(const std::string& text, const StTextStyle& style, bool isDrawn);

    cairo_t* m_context;
};

using Drawing = std::function<void(CCanvas&)>;

/// Size of a drawing in points of 1/72 inch.
struct StPaperSize {
    double width;
    double height;
};

// Each calls `draw` with a white canvas. The same drawing gives the same bytes; dates are not written. They
// raise `CEngineError` if the drawing library fails, which it does for lack of memory.

/// The text of an SVG file. `title` and `description` are for readers who do not see it, and for searching.
std::string DrawSvg(const StPaperSize& size, const std::string& title, const std::string& description,
                    const Drawing& draw);
/// The bytes of a PDF file of one page.
std::string DrawPdf(const StPaperSize& size, const std::string& title, const Drawing& draw);
/// A picture of `scale` pixels per unit of the drawing.
StPicture DrawPicture(const StPaperSize& size, double scale, const Drawing& draw);

} // namespace engine
