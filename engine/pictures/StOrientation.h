#pragma once

#include <sorblib2image/CImage.h>

#include <string>

namespace engine {

/// How a plane is turned for display, and what its sides are called.
struct StOrientation {
    bool isTransposed = false; ///< first: rows become columns
    bool flipsRight = false;   ///< then: left and right change places
    bool flipsDown = false;
    // The sides of a patient at the sides of the picture: "L", "R", "A", "P", "S", "I". Empty if unknown.
    std::string left;
    std::string right;
    std::string top;
    std::string bottom;
};

/// The orientation in which planes viewed along an axis of the image are shown to physicians: the patient's
/// right on the left, the front above the back and to the left of it, the head above the feet. This needs an
/// image in the space of a patient, with "LPS" at "space" in its attributes (axes to the left, the back and
/// the head) and its axes at "directions"; other images are shown as they are stored.
StOrientation OrientationOf(const ORVEN::CImage& image, int axis);

} // namespace engine
