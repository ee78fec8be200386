#pragma once

#include <string>
#include <vector>

namespace ORVEN {
class CValueMap;
}

namespace engine {

/// A measurement as a curve.
struct StCurve {
    struct StPoint {
        double x;
        double y;
    };

    std::string xTitle;
    std::string yTitle;
    std::vector<StPoint> points; ///< by ascending x
};

/// The curve of a measurement by size, grey value or label, with one entry in `map` for each: x is the number
/// that the key consists of or ends with, y the value. If the entries are maps themselves, `feature` is the
/// path to the value in them. Entries without such numbers, or with infinite ones, are left out. If none
/// remain, raises `CCallerError`, listing the available features.
StCurve CurveOf(const ORVEN::CValueMap& map, const std::string& name, const std::string& feature);

/// Draws the curve in a frame with axes. Returns the SVG text.
std::string CurveAsSvg(const StCurve& curve);

} // namespace engine
