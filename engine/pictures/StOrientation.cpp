#include "engine/pictures/StOrientation.h"

#include "engine/pictures/StPlane.h"

#include <sorblib2image/StImageGeometry.h>

#include <array>
#include <cmath>
#include <utility>

namespace engine {

namespace {

using Vector = ORVEN::StImageGeometry::Vector;

/// What the axes of the space point to, and what they point away from.
constexpr std::array c_towards = {"L", "P", "S"};
constexpr std::array c_awayFrom = {"R", "A", "I"};

/// The axis of space that an axis of the image runs along most, and whether it runs against it.
struct StSpaceAxis {
    std::size_t axis = 0;
    bool isReversed = false;
};

StSpaceAxis SpaceAxisOf(const Vector& direction) {
    StSpaceAxis found;
    for (std::size_t i = 1; i < direction.size(); ++i) {
        if (std::abs(direction[i]) > std::abs(direction[found.axis]))
            found.axis = i;
    }
    found.isReversed = direction[found.axis] < 0.0;
    return found;
}

} // namespace

StOrientation OrientationOf(const ORVEN::CImage& image, int axis) {
    StOrientation orientation;
    const auto geometry = ORVEN::StImageGeometry::Of(image);
    if (!geometry.isAnatomical)
        return orientation;
    constexpr std::size_t head = 2;
    const StPictureAxes axes = AxesAlong(axis);
    StSpaceAxis right = SpaceAxisOf(geometry.directions[axes.right]);
    StSpaceAxis down = SpaceAxisOf(geometry.directions[axes.down]);
    if (right.axis == down.axis)
        return orientation; // oblique by 45 degrees: no side has a name
    // Left to right comes before front to back, and that before head to foot.
    orientation.isTransposed = right.axis > down.axis;
    if (orientation.isTransposed)
        std::swap(right, down);
    // To the right run the patient's left and back, downwards the back and the feet.
    orientation.flipsRight = right.isReversed;
    orientation.flipsDown = down.isReversed != (down.axis == head);
    orientation.right = c_towards[right.axis];
    orientation.left = c_awayFrom[right.axis];
    orientation.bottom = down.axis == head ? c_awayFrom[head] : c_towards[down.axis];
    orientation.top = down.axis == head ? c_towards[head] : c_awayFrom[down.axis];
    return orientation;
}

} // namespace engine
