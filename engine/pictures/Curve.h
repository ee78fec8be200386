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

/// The curve of a measurement by size, grey value or label, of which `map` has an entry each: x is the number
/// that the key is or ends with, y the value. Where entries are maps of their own, `feature` is the path in
/// them to the value. Entries without such numbers, or with infinite ones, are left out. Raises
/// `CCallerError` if that leaves none, with the features that there are.
StCurve CurveOf(const ORVEN::CValueMap& map, const std::string& name, const std::string& feature);

/// The curve in a frame with axes, as the text of an SVG picture.
std::string CurveAsSvg(const StCurve& curve);

} // namespace engine
