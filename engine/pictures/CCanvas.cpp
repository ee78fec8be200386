#include "engine/pictures/CCanvas.h"

#include "engine/errors/CEngineError.h"

#include <cairo-pdf.h>
#include <cairo-svg.h>
#include <cairo.h>

#include <cmath>
#include <cstdint>
#include <memory>
#include <numbers>
#include <vector>

namespace engine {

namespace {

/// Named so that a drawing looks the same on each machine that has it; another sans-serif replaces it.
constexpr const char* c_font = "DejaVu Sans";
constexpr double c_subscriptSize = 0.7; // of the size of the text
constexpr double c_subscriptDrop = 0.25;

constexpr double c_greatestTone = 255.0;

/// Lengths of dash and gap in multiples of the line width, for each pattern after the solid line.
constexpr std::array<std::array<double, 2>, 3> c_dashes = {{{4.0, 2.0}, {1.5, 1.5}, {7.0, 2.0}}};

using Surface = std::unique_ptr<cairo_surface_t, decltype(&cairo_surface_destroy)>;
using Context = std::unique_ptr<cairo_t, decltype(&cairo_destroy)>;

void RequireSuccess(cairo_status_t status) {
    if (status != CAIRO_STATUS_SUCCESS)
        throw CEngineError(EnFault::MACHINE,
                           std::string("the figure cannot be drawn: ") + cairo_status_to_string(status));
}

Surface Checked(cairo_surface_t* created) {
    Surface surface(created, cairo_surface_destroy);
    RequireSuccess(cairo_surface_status(surface.get()));
    return surface;
}

cairo_status_t AppendBytes(void* text, const unsigned char* bytes, unsigned length) {
    static_cast<std::string*>(text)->append(reinterpret_cast<const char*>(bytes), length);
    return CAIRO_STATUS_SUCCESS;
}

void Draw(cairo_surface_t* surface, double scale, const Drawing& draw) {
    const Context context(cairo_create(surface), cairo_destroy);
    // Hints move glyphs to the pixels of this machine's screen.
    const std::unique_ptr<cairo_font_options_t, decltype(&cairo_font_options_destroy)> font(
        cairo_font_options_create(), cairo_font_options_destroy);
    cairo_font_options_set_hint_style(font.get(), CAIRO_HINT_STYLE_NONE);
    cairo_font_options_set_hint_metrics(font.get(), CAIRO_HINT_METRICS_OFF);
    cairo_font_options_set_antialias(font.get(), CAIRO_ANTIALIAS_GRAY);
    cairo_set_font_options(context.get(), font.get());
    cairo_scale(context.get(), scale, scale);
    cairo_set_source_rgb(context.get(), 1.0, 1.0, 1.0);
    cairo_paint(context.get());
    CCanvas canvas(context.get());
    draw(canvas);
    RequireSuccess(cairo_status(context.get()));
}

/// Whether a subscript of one character follows: "_V" between a letter and something else.
bool IsSubscriptAt(const std::string& text, std::size_t place) {
    const auto isLetter = [&](std::size_t at) {
        return at < text.size() && std::isalpha(static_cast<unsigned char>(text[at])) != 0;
    };
    return text[place] == '_' && place > 0 && isLetter(place - 1) && isLetter(place + 1) &&
           !isLetter(place + 2);
}

std::string Escaped(const std::string& text) {
    std::string escaped;
    for (const char character : text) {
        switch (character) {
        case '&':
            escaped += "&amp;";
            break;
        case '<':
            escaped += "&lt;";
            break;
        case '>':
            escaped += "&gt;";
            break;
        default:
            // Control characters cannot occur in XML.
            escaped += static_cast<unsigned char>(character) < ' ' ? ' ' : character;
        }
    }
    return escaped;
}

/// Takes the number of the surface out of its name: the library counts the drawings of a process.
void RemoveSurfaceNumber(std::string& svg) {
    constexpr std::string_view name = "<g id=\"surface";
    const std::size_t start = svg.find(name);
    if (start == std::string::npos)
        return;
    const std::size_t number = start + name.size();
    svg.erase(number, svg.find('"', number) - number);
}

} // namespace

void CCanvas::SetColour(const Colour& colour) {
    cairo_set_source_rgb(m_context, colour[0] / c_greatestTone, colour[1] / c_greatestTone,
                         colour[2] / c_greatestTone);
}

void CCanvas::Stroke(const StLineStyle& style) {
    SetColour(style.colour);
    cairo_set_line_width(m_context, style.width);
    cairo_set_line_join(m_context, CAIRO_LINE_JOIN_ROUND);
    const std::size_t pattern = static_cast<std::size_t>(style.dashes) % (c_dashes.size() + 1);
    if (pattern == 0) {
        cairo_set_dash(m_context, nullptr, 0, 0.0);
    } else {
        const auto& dashes = c_dashes[pattern - 1];
        const std::array lengths = {dashes[0] * style.width, dashes[1] * style.width};
        cairo_set_dash(m_context, lengths.data(), static_cast<int>(lengths.size()), 0.0);
    }
    cairo_stroke(m_context);
}

void CCanvas::Line(const StPoint& from, const StPoint& to, const StLineStyle& style) {
    Polyline(std::array{from, to}, style);
}

void CCanvas::Polyline(std::span<const StPoint> points, const StLineStyle& style) {
    for (const StPoint& point : points)
        cairo_line_to(m_context, point.x, point.y);
    Stroke(style);
}

void CCanvas::Polygon(std::span<const StPoint> points, const Colour& colour) {
    for (const StPoint& point : points)
        cairo_line_to(m_context, point.x, point.y);
    SetColour(colour);
    cairo_fill(m_context);
}

void CCanvas::Rectangle(const StPoint& corner, double width, double height, const Colour& colour) {
    cairo_rectangle(m_context, corner.x, corner.y, width, height);
    SetColour(colour);
    cairo_fill(m_context);
}

void CCanvas::Dot(const StPoint& centre, double radius, const Colour& colour) {
    cairo_arc(m_context, centre.x, centre.y, radius, 0.0, 2.0 * std::numbers::pi);
    SetColour(colour);
    cairo_fill(m_context);
}

double CCanvas::SetText(const std::string& text, const StTextStyle& style, bool isDrawn) {
    cairo_select_font_face(m_context, c_font, CAIRO_FONT_SLANT_NORMAL,
                           style.isBold ? CAIRO_FONT_WEIGHT_BOLD : CAIRO_FONT_WEIGHT_NORMAL);
    double width = 0.0;
    const auto setRun = [&](const std::string& run, double size, double drop) {
        cairo_set_font_size(m_context, size);
        cairo_text_extents_t extents;
        cairo_text_extents(m_context, run.c_str(), &extents);
        width += extents.x_advance;
        if (!isDrawn)
            return;
        cairo_rel_move_to(m_context, 0.0, drop);
        cairo_show_text(m_context, run.c_str());
        cairo_rel_move_to(m_context, 0.0, -drop);
    };
    std::string run;
    for (std::size_t place = 0; place < text.size(); ++place) {
        if (!style.hasSubscripts || !IsSubscriptAt(text, place)) {
            run += text[place];
            continue;
        }
        setRun(run, style.size, 0.0);
        run.clear();
        setRun(std::string(1, text[++place]), c_subscriptSize * style.size, c_subscriptDrop * style.size);
    }
    setRun(run, style.size, 0.0);
    return width;
}

double CCanvas::WidthOf(const std::string& text, const StTextStyle& style) {
    return SetText(text, style, false);
}

void CCanvas::Text(const StPoint& at, const std::string& text, const StTextStyle& style) {
    const double width = WidthOf(text, style);
    const double shift = style.anchor == ANCHOR_START ? 0.0
                         : style.anchor == ANCHOR_END ? width
                                                      : width / 2.0;
    cairo_save(m_context);
    cairo_translate(m_context, at.x, at.y);
    if (style.isUpright)
        cairo_rotate(m_context, -std::numbers::pi / 2.0);
    cairo_move_to(m_context, -shift, 0.0);
    SetColour(style.colour);
    SetText(text, style, true);
    cairo_new_path(m_context);
    cairo_restore(m_context);
}

void CCanvas::Picture(const StPicture& picture, const StPoint& corner) {
    const auto width = static_cast<int>(picture.width);
    const auto height = static_cast<int>(picture.height);
    const Surface surface = Checked(cairo_image_surface_create(CAIRO_FORMAT_RGB24, width, height));
    unsigned char* const data = cairo_image_surface_get_data(surface.get());
    const auto stride = static_cast<std::int64_t>(cairo_image_surface_get_stride(surface.get()));
    const unsigned char* in = picture.rgb.data();
    for (std::int64_t y = 0; y < picture.height; ++y) {
        auto* out = reinterpret_cast<std::uint32_t*>(data + y * stride);
        for (std::int64_t x = 0; x < picture.width; ++x, in += 3)
            *out++ = std::uint32_t{in[0]} << 16 | std::uint32_t{in[1]} << 8 | in[2];
    }
    cairo_surface_mark_dirty(surface.get());
    cairo_set_source_surface(m_context, surface.get(), corner.x, corner.y);
    cairo_pattern_set_filter(cairo_get_source(m_context), CAIRO_FILTER_NEAREST);
    cairo_paint(m_context);
}

std::string DrawSvg(const StPaperSize& size, const std::string& title, const std::string& description,
                    const Drawing& draw) {
    std::string text;
    const Surface surface =
        Checked(cairo_svg_surface_create_for_stream(AppendBytes, &text, size.width, size.height));
    Draw(surface.get(), 1.0, draw);
    cairo_surface_finish(surface.get());
    RequireSuccess(cairo_surface_status(surface.get()));
    RemoveSurfaceNumber(text);
    const std::size_t end = text.find('>', text.find("<svg"));
    if (end != std::string::npos)
        text.insert(end + 1,
                    "\n<title>" + Escaped(title) + "</title>\n<desc>" + Escaped(description) + "</desc>");
    return text;
}

std::string DrawPdf(const StPaperSize& size, const std::string& title, const Drawing& draw) {
    std::string bytes;
    const Surface surface =
        Checked(cairo_pdf_surface_create_for_stream(AppendBytes, &bytes, size.width, size.height));
    cairo_pdf_surface_set_metadata(surface.get(), CAIRO_PDF_METADATA_TITLE, title.c_str());
    cairo_pdf_surface_set_metadata(surface.get(), CAIRO_PDF_METADATA_CREATE_DATE, "");
    Draw(surface.get(), 1.0, draw);
    cairo_surface_finish(surface.get());
    RequireSuccess(cairo_surface_status(surface.get()));
    return bytes;
}

StPicture DrawPicture(const StPaperSize& size, double scale, const Drawing& draw) {
    StPicture picture{std::llround(size.width * scale), std::llround(size.height * scale), {}};
    const Surface surface = Checked(cairo_image_surface_create(
        CAIRO_FORMAT_RGB24, static_cast<int>(picture.width), static_cast<int>(picture.height)));
    Draw(surface.get(), scale, draw);
    cairo_surface_flush(surface.get());
    const unsigned char* const data = cairo_image_surface_get_data(surface.get());
    const auto stride = static_cast<std::int64_t>(cairo_image_surface_get_stride(surface.get()));
    picture.rgb.reserve(static_cast<std::size_t>(3 * picture.width * picture.height));
    for (std::int64_t y = 0; y < picture.height; ++y) {
        const auto* in = reinterpret_cast<const std::uint32_t*>(data + y * stride);
        for (std::int64_t x = 0; x < picture.width; ++x, ++in) {
            for (const int shift : {16, 8, 0})
                picture.rgb.push_back(static_cast<unsigned char>(*in >> shift));
        }
    }
    return picture;
}

} // namespace engine
