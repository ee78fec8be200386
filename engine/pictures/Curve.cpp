#include "engine/pictures/Curve.h"

#include "engine/errors/CEngineError.h"

#include <sorblib2core/CString.h>
#include <sorblib2core/CValueMap.h>
#include <sorblib2core/ForEachLeaf.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <optional>
#include <set>
#include <string_view>

namespace engine {

using ORVEN::CValue;
using ORVEN::CValueMap;

namespace {

/// The number that a key consists of or ends with: "2.5e+00", "grayvalue 017".
std::optional<double> NumberOfKey(std::string_view key) {
    const std::string_view word = key.substr(key.rfind(' ') + 1);
    double number = 0.0;
    const auto end = std::from_chars(word.data(), word.data() + word.size(), number);
    const bool isNumber = !word.empty() && end.ec == std::errc() && end.ptr == word.data() + word.size();
    return isNumber && std::isfinite(number) ? std::optional(number) : std::nullopt;
}

std::optional<double> NumberOf(const CValue* value) {
    const auto type = value != nullptr ? value->GenericType() : CValue::VAL_NONE;
    if (type != CValue::VAL_LONG && type != CValue::VAL_DOUBLE)
        return std::nullopt;
    const double number = value->Double();
    return std::isfinite(number) ? std::optional(number) : std::nullopt;
}

/// Lists the paths of the numbers in the entries, for an error message.
std::string FeaturesOf(const CValueMap& map) {
    std::set<std::string> paths;
    for (const CValue* entry : map) {
        if (entry->Map() == nullptr)
            continue;
        ORVEN::ForEachLeaf(entry, {}, [&paths](const std::string& path, const CValue* leaf) {
            if (NumberOf(leaf))
                paths.insert(path);
        });
    }
    std::string list;
    for (const std::string& path : paths)
        list += (list.empty() ? "'" : ", '") + path + "'";
    return list;
}

} // namespace

StCurve CurveOf(const CValueMap& map, const std::string& name, const std::string& feature) {
    StCurve curve;
    curve.xTitle = name;
    curve.yTitle = feature.empty() ? "value" : feature;
    for (auto entry = map.begin(); entry != map.end(); ++entry) {
        const CValueMap* features = entry.Value()->Map();
        const CValue* value = feature.empty()       ? entry.Value()
                              : features != nullptr ? features->Entry(feature, true)
                                                    : nullptr;
        const auto x = NumberOfKey(entry.Key().ToString());
        const auto y = NumberOf(value);
        if (x && y)
            curve.points.push_back({*x, *y});
    }
    if (curve.points.empty()) {
        const std::string features = FeaturesOf(map);
        throw CCallerError("'" + name + "' has nothing to plot" +
                           (feature.empty() ? "" : " for --feature '" + feature + "'") +
                           (features.empty() ? "" : "; --feature can be " + features));
    }
    std::stable_sort(curve.points.begin(), curve.points.end(),
                     [](const auto& a, const auto& b) { return a.x < b.x; });
    return curve;
}

namespace {

constexpr double c_width = 720.0;
constexpr double c_height = 420.0;
constexpr double c_left = 80.0;
constexpr double c_right = 700.0;
constexpr double c_top = 20.0;
constexpr double c_bottom = 360.0;

/// Formats a coordinate or tick; six digits are more than a viewer can see.
std::string Text(double number) {
    std::array<char, 32> text{};
    const double shown = number == 0.0 ? 0.0 : number; // never "-0"
    const auto end =
        std::to_chars(text.data(), text.data() + text.size(), shown, std::chars_format::general, 6);
    return {text.data(), end.ptr};
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
            escaped += character;
        }
    }
    return escaped;
}

/// An axis from one end of the picture to the other, with ticks at round numbers.
class CAxis {
public:
    CAxis(double least, double greatest, double begin, double end)
        : m_least(least)
        , m_greatest(greatest)
        , m_begin(begin)
        , m_end(end) {
        if (m_least == m_greatest) { // a single value is placed in the middle
            const double around = m_least == 0.0 ? 1.0 : std::abs(m_least) / 2.0;
            m_least -= around;
            m_greatest += around;
        }
    }

    [[nodiscard]] double Place(double value) const {
        return m_begin + (value - m_least) / (m_greatest - m_least) * (m_end - m_begin);
    }

    /// Multiples of 1, 2 or 5 times a power of ten, at most nine of them.
    [[nodiscard]] std::vector<double> Ticks() const {
        const double range = m_greatest - m_least;
        const double power = std::pow(10.0, std::floor(std::log10(range / 8.0)));
        double step = power;
        for (const double factor : {2.0, 5.0, 10.0}) {
            if (range / step > 8.0)
                step = factor * power;
        }
        std::vector<double> ticks;
        for (double i = std::ceil(m_least / step); i * step <= m_greatest; ++i)
            ticks.push_back(i * step);
        return ticks;
    }

private:
    double m_least;
    double m_greatest;
    double m_begin;
    double m_end;
};

std::string Line(double x1, double y1, double x2, double y2, const char* colour) {
    return "<line x1=\"" + Text(x1) + "\" y1=\"" + Text(y1) + "\" x2=\"" + Text(x2) + "\" y2=\"" + Text(y2) +
           "\" stroke=\"" + colour + "\"/>\n";
}

std::string Label(double x, double y, const char* anchor, const std::string& text) {
    return "<text x=\"" + Text(x) + "\" y=\"" + Text(y) + "\" text-anchor=\"" + anchor + "\">" +
           Escaped(text) + "</text>\n";
}

} // namespace

std::string CurveAsSvg(const StCurve& curve) {
    double least = 0.0; // heights can be compared only if 0 is visible
    double greatest = 0.0;
    for (const StCurve::StPoint& point : curve.points) {
        least = std::min(least, point.y);
        greatest = std::max(greatest, point.y);
    }
    const CAxis across(curve.points.front().x, curve.points.back().x, c_left, c_right);
    const CAxis up(least, greatest, c_bottom, c_top);

    std::string svg = "<svg xmlns=\"http://www.w3.org/2000/svg\" viewBox=\"0 0 " + Text(c_width) + " " +
                      Text(c_height) +
                      "\" font-family=\"sans-serif\" font-size=\"13\">\n"
                      "<rect width=\"100%\" height=\"100%\" fill=\"white\"/>\n";
    for (const double tick : across.Ticks()) {
        const double x = across.Place(tick);
        svg += Line(x, c_top, x, c_bottom, "#dddddd") + Label(x, c_bottom + 18.0, "middle", Text(tick));
    }
    for (const double tick : up.Ticks()) {
        const double y = up.Place(tick);
        svg += Line(c_left, y, c_right, y, "#dddddd") + Label(c_left - 8.0, y + 4.0, "end", Text(tick));
    }
    svg +=
        Line(c_left, c_bottom, c_right, c_bottom, "black") + Line(c_left, c_top, c_left, c_bottom, "black");
    svg += "<polyline fill=\"none\" stroke=\"#1f5fa8\" stroke-width=\"2\" points=\"";
    for (const StCurve::StPoint& point : curve.points)
        svg += Text(across.Place(point.x)) + "," + Text(up.Place(point.y)) + " ";
    svg.back() = '"';
    svg += "/>\n";
    // If there are few points, each is marked with a dot.
    constexpr std::size_t mostDots = 40;
    for (const StCurve::StPoint& point : curve.points) {
        if (curve.points.size() <= mostDots)
            svg += "<circle cx=\"" + Text(across.Place(point.x)) + "\" cy=\"" + Text(up.Place(point.y)) +
                   "\" r=\"3\" fill=\"#1f5fa8\"/>\n";
    }
    svg += Label((c_left + c_right) / 2.0, c_height - 15.0, "middle", curve.xTitle);
    svg += "<text transform=\"translate(18 " + Text((c_top + c_bottom) / 2.0) +
           ") rotate(-90)\" text-anchor=\"middle\">" + Escaped(curve.yTitle) + "</text>\n";
    return svg + "</svg>\n";
}

} // namespace engine
