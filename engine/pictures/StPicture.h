#pragma once

#include <sorblib2image/CImage.h>

#include <cstdint>
#include <optional>
#include <vector>

namespace engine {

/// A picture for people: rows from top to bottom, three bytes (red, green, blue) a pixel.
struct StPicture {
    std::int64_t width = 0;
    std::int64_t height = 0;
    std::vector<unsigned char> rgb;
};

enum EnPictureColours {
    COLOURS_AUTOMATIC, ///< labels for an image that tells its number of labels, else grey
    COLOURS_LABELS,
    COLOURS_ANGLES, ///< a hue for each angle of a direction map
};

struct StPictureOptions {
    int axis = 2;                      ///< the axis that one looks along: 0 is x, 1 is y, 2 is z
    std::optional<std::int64_t> slice; ///< the plane on that axis; without it the middle one
    bool isProjection = false;         ///< the greatest value along the axis instead of one plane
    EnPictureColours colours = COLOURS_AUTOMATIC;
};

/// Number of planes that an image has along an axis.
std::int64_t PlaneCount(const ORVEN::CImage& image, int axis);

/// The picture of one plane. Looking along z, x runs right and y down; along y, x right and z down; along x,
/// y right and z down. `slice` must be one of `PlaneCount`.
///
/// Grey: black is the value that 0.5 % of the plane's finite pixels do not reach, white that which 0.5 %
/// exceed (least and greatest value if these are equal); not a number is black. Binary: black and white.
/// Labels: 0 is black, and each number has its colour, neighbouring numbers clearly different ones. Angles,
/// in radians: the hue goes once round from 0 to pi, where a direction comes back to itself; below 0, which
/// stands for no direction, is black.
///
/// Pixels of unequal spacing get their true proportions by repeating rows or columns, and small planes are
/// enlarged by a whole factor until the short side has 256 pixels, within 8192 on the long one.
/// Raises `CException` for complex pixels. Linear in the pixels looked at.
StPicture MakePicture(const ORVEN::CImage& image, const StPictureOptions& options);

} // namespace engine
